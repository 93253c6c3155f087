#include <pthread.h>

#include <functional>
#include <thread>

#include "core/contract/contract_test_case.hpp"

namespace ximCORE::Testing {
namespace {

class Cloning : public ContractCase {
 protected:
    /// A smoothed barrier with a purchase, a name, a conversion and a sorted amount.
    static int mixed(Encoder& encoder) {
        int const a = encoder.spot("A", "2023-07-02");
        int const b = encoder.spot("B", "2023-07-02");
        int const setting =
            encoder.set("x", encoder.a(32, payload(1, a, b, encoder.ref("k", 100))));
        int const payment =
            encoder.buy("2023-07-02", 2, encoder.pay(encoder.reference("x"), "2024-01-01", "USD"));
        int const barrier =
            encoder.condition(encoder.above(a, 100), payment, encoder.pay(b, "2025-01-01"), 2, 2);
        return encoder.both(setting, barrier);
    }
    Cloning() { exchange_rate("USDEUR", "USD", "EUR"); }
};

TEST_F(Cloning, ACloneEvaluatesAtOnceOnTheOriginalsGrid) {
    smooth(Pricing::SmoothingType::SYMETRIC);
    Encoder encoder;
    auto const on_contract = contract(encoder, mixed(encoder));
    auto original = path(on_contract.get_current());
    original.set("A", "2023-07-02", 101)
        .set("B", "2023-07-02", 90)
        .set("USDEUR", "2024-01-01", 0.5);
    auto const clone = on_contract.get_current()->clone();
    double const expected = original.flow("2024-01-01");
    EXPECT_EQ(expected, 2.0 * 100.0 * 0.5 * 0.75);
    Toolbox::Array1D<double> flows(original.flows.c_get_size());
    Variables variables(clone->rank_names());
    clone->eval(original.grid, variables, flows);
    for (std::uint64_t i = 0; i < flows.c_get_size(); ++i)
        EXPECT_EQ(flows.get(i), original.flows.get(i));
}

TEST_F(Cloning, ACloneOwnsItsConstantsAndItsScale) {
    Encoder encoder;
    auto const on_contract = contract(encoder, mixed(encoder));
    auto const clone = on_contract.get_current()->clone();
    std::vector<double*> tags;
    clone->unsafe_get_tags("k", tags);
    ASSERT_EQ(tags.size(), 1U);
    *tags[0] = 5;
    std::vector<double*> originals;
    on_contract.get_current()->unsafe_get_tags("k", originals);
    EXPECT_EQ(*originals[0], 100.0);
    std::vector<PayReceive*> payments;
    clone->accumulate_payments(payments);
    payments[0]->scale(10);
    EXPECT_EQ(payments[0]->c_get_scale(), 20.0);
    payments.clear();
    on_contract.get_current()->accumulate_payments(payments);
    EXPECT_EQ(payments[0]->c_get_scale(), 2.0);
}

TEST_F(Cloning, ACloneSharesItsUnderlyingsAndKeepsRanks) {
    Encoder encoder;
    auto on_contract = contract(encoder, mixed(encoder));
    std::ignore = path(on_contract.get_current());
    std::vector<Fixing const*> originals;
    on_contract.get_current()->scan_fixings(originals, true);
    std::vector<Fixing const*> clones;
    auto const clone = on_contract.get_current()->clone();
    clone->c_accumulate_fixings(clones);
    for (auto const* fixing : clones) {
        auto const& original = *originals[static_cast<std::size_t>(fixing->c_get_rank())];
        EXPECT_NE(fixing, &original);
        EXPECT_EQ(fixing->c_get_underlying(), original.c_get_underlying());
        EXPECT_EQ(fixing->c_get_fixing_date().c_get_fixing_rank(),
                  original.c_get_fixing_date().c_get_fixing_rank());
    }
    EXPECT_EQ(text(*clone), text(on_contract));
}

TEST_F(Cloning, ACloneLeavesOutWhatItsOriginalWasReducedTo) {
    Encoder encoder;
    auto const root = encoder.read(encoder.pay(encoder.number(0), "2024-01-01"));
    root->reduce();
    ASSERT_NE(root->c_get_reducted(), nullptr);
    EXPECT_EQ(root->clone()->c_get_reducted(), nullptr);
}

TEST_F(Cloning, ReleasingACloneLeavesTheOriginal) {
    Encoder encoder;
    auto const on_contract = contract(encoder, mixed(encoder));
    auto const before = text(on_contract);
    auto clone = on_contract.get_current()->clone();
    CashFlow::s_release(clone);
    EXPECT_EQ(clone, nullptr);
    EXPECT_EQ(text(on_contract), before);
    CashFlow::s_release(clone);  // nothing to free
}

TEST_F(Cloning, PointersAreListedChildrenFirst) {
    Encoder encoder;
    int const end = encoder.nothing();
    auto const root = encoder.read(
        encoder.both(encoder.buy("2023-07-02", 1, encoder.both(end, end)), encoder.both(end, end)));
    std::vector<std::shared_ptr<CashFlow>*> pointers;
    root->accumulate_cashflows(pointers);
    ASSERT_EQ(pointers.size(), 7U);
    for (std::size_t i = 0; i < pointers.size(); ++i) {
        std::vector<std::shared_ptr<CashFlow>*> below;
        (*pointers[i])->accumulate_cashflows(below);
        for (auto* pointer : below)
            EXPECT_LT(std::find(pointers.begin(), pointers.end(), pointer) - pointers.begin(),
                      static_cast<long>(i));
    }
}

// Long lists and deep trees

#if defined(__OPTIMIZE__) && !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
constexpr std::size_t c_stack_bytes = std::size_t{8} << 20;
#else
constexpr std::size_t c_stack_bytes =
    std::size_t{256} << 20;  // frames of an unoptimised build are several times larger
#endif

/// Runs `work` on a thread with the stack of a process (`bytes`).
void run_on_stack(std::size_t bytes, std::function<void()> work) {
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    ASSERT_EQ(pthread_attr_setstacksize(&attributes, bytes), 0);
    pthread_t thread;
    auto const run = [](void* argument) -> void* {
        (*static_cast<std::function<void()>*>(argument))();
        return nullptr;
    };
    ASSERT_EQ(pthread_create(&thread, &attributes, run, &work), 0);
    pthread_join(thread, nullptr);
    pthread_attr_destroy(&attributes);
}

class Size : public ContractCase {
 protected:
    /// Everything that is done with a contract, from reading to freeing.
    void live(Encoder& encoder, int root, double expected) {
        auto on = contract(encoder, root);
        ASSERT_NE(on.c_get_cashflow(), nullptr);
        std::ignore = on.get_dependencies();
        std::vector<CashFlow const*> list;
        on.c_get_cashflow()->accumulate_events(list, 0);
        EXPECT_STREQ(on.c_get_cashflow()->c_get_maturity_date(today).c_str(), "2024-01-01");
        EXPECT_FALSE(text(on).empty());
        ASSERT_TRUE(on.move(today, {}, nullptr));
        auto clone = on.get_current()->clone();
        EXPECT_EQ(path(clone).set("A", "2023-07-02", 1).flow("2024-01-01"), expected);
        quote("A", "2023-07-02", 1);
        double value{1.0};
        bool const is_known = clone->eval(value);  // not with a reference
        EXPECT_EQ(value, is_known ? expected : 1.0);
        CashFlow::s_release(clone);
        quote("A", "2023-07-02", 1);
        ASSERT_TRUE(on.move(Date("2023-08-01"), {}, nullptr));
        ASSERT_TRUE(on.move(Date("2024-08-01"), {}, nullptr));
        EXPECT_EQ(text(on), "End()");
    }
};

TEST_F(Size, AListOfTwentyThousandPaymentsLivesOnASmallStack) {
    constexpr int count = 20'000;
    Encoder encoder;
    int const spot = encoder.spot("A", "2023-07-02");
    int list = encoder.pay(spot, "2024-01-01");
    for (int i = 1; i < count; ++i) list = encoder.both(encoder.pay(spot, "2024-01-01"), list);
    run_on_stack(std::size_t{1} << 18, [&] { live(encoder, list, count); });
}

TEST_F(Size, ALongListIsFreedInALoopWhoeverHoldsIt) {
    Encoder encoder;
    int list = encoder.nothing();
    int const payment = encoder.pay(encoder.number(0), "2024-01-01");
    for (int i = 0; i < 50'000; ++i) list = encoder.both(payment, list);
    run_on_stack(std::size_t{1} << 18, [&] {
        auto root = encoder.read(list);
        root->reduce();  // the root keeps both the list and what it becomes
        EXPECT_TRUE(root->c_get_reducted()->c_is_nothing());
        root.reset();
    });
}

TEST_F(Size, ThreadsCloneEvaluateAndFreeTheSameLongList) {
    constexpr int count = 10'000;
    Encoder encoder;
    int const spot = encoder.spot("A", "2023-07-02");
    int list = encoder.nothing();
    for (int i = 0; i < count; ++i) list = encoder.both(encoder.pay(spot, "2024-01-01"), list);
    auto const on = contract(encoder, list);
    auto original = path(on.get_current());
    original.set("A", "2023-07-02", 2);
    std::vector<std::thread> threads;
    std::vector<double> sums(4);
    for (auto& sum : sums)
        threads.emplace_back([&, grid = original.grid]() mutable {
            auto clone = on.get_current()->clone();
            Toolbox::Array1D<double> flows(1);
            Variables variables(clone->rank_names());
            clone->eval(grid, variables, flows);
            sum = flows.get(0);
            CashFlow::s_release(clone);
        });
    for (auto& thread : threads) thread.join();
    for (double const sum : sums) EXPECT_EQ(sum, 2.0 * count);
}

/// A tree whose deepest node lies `depth` nodes below the root.
struct DeepShape {
    char const* name;
    std::function<int(Encoder&, std::uint64_t depth)> encode;
};

int repeat(std::uint64_t times, int node, std::function<int(int)> const& wrap) {
    for (std::uint64_t i = 0; i < times; ++i) node = wrap(node);
    return node;
}

std::vector<DeepShape> deep_shapes() {
    auto const spot = [](Encoder& encoder) { return encoder.spot("A", "2023-07-02"); };
    auto const pay = [](Encoder& encoder, int amount) { return encoder.pay(amount, "2024-01-01"); };
    return {{"hybrids",
             [=](Encoder& encoder, std::uint64_t depth) {
                 return pay(encoder, repeat(depth - 1, spot(encoder), [&](int node) {
                                return encoder.a(24, payload(node, 1));
                            }));
             }},
            {"maxima",
             [=](Encoder& encoder, std::uint64_t depth) {
                 int const leaf = spot(encoder);
                 return pay(encoder, repeat(depth - 1, leaf, [&](int node) {
                                return encoder.a(2, payload(node, leaf));
                            }));
             }},
            {"chosen amounts",
             [=](Encoder& encoder, std::uint64_t depth) {
                 int const leaf = spot(encoder);
                 int const event = encoder.above(leaf, 0);
                 return pay(encoder, repeat(depth - 2, leaf, [&](int node) {
                                return encoder.iff(event, node, leaf);
                            }));
             }},
            {"events",
             [=](Encoder& encoder, std::uint64_t depth) {
                 int const leaf = spot(encoder);
                 int const first = encoder.above(leaf, 0);
                 int const event = repeat(depth - 2, first, [&](int node) {
                     return encoder.e(7 + node % 2, payload(node, first));
                 });
                 return encoder.condition(event, pay(encoder, leaf), encoder.nothing());
             }},
            {"conditions",
             [=](Encoder& encoder, std::uint64_t depth) {
                 int const leaf = spot(encoder);
                 int const event = encoder.above(leaf, 0);
                 return repeat(depth - 1, pay(encoder, leaf), [&](int node) {
                     return encoder.condition(event, node, encoder.nothing());
                 });
             }},
            {"conditions with names",
             [=](Encoder& encoder, std::uint64_t depth) {
                 int const leaf = spot(encoder);
                 int const event = encoder.above(leaf, 0);
                 int const setting = encoder.set("x", encoder.number(0));
                 int const payment = pay(encoder, encoder.add(leaf, encoder.reference("x")));
                 return repeat(depth - 2, payment, [&](int node) {
                     return encoder.condition(event, node, setting, 0.01, 0.01);
                 });
             }},
            {"purchases",
             [=](Encoder& encoder, std::uint64_t depth) {
                 return repeat(depth - 1, pay(encoder, spot(encoder)),
                               [&](int node) { return encoder.buy("2023-01-01", 1, node); });
             }},
            {"lists to the left", [=](Encoder& encoder, std::uint64_t depth) {
                 return repeat(depth - 1, pay(encoder, spot(encoder)),
                               [&](int node) { return encoder.both(node, encoder.nothing()); });
             }}};
}

TEST_F(Size, ATreeOfTheGreatestDepthLivesOnTheStackOfAProcess) {
    for (auto const& shape : deep_shapes()) {
        Encoder encoder;
        int const root = shape.encode(encoder, c_max_depth);
        run_on_stack(c_stack_bytes, [&] {
            SCOPED_TRACE(shape.name);
            live(encoder, root, 1.0);
        });
    }
}

TEST_F(Size, ADeeperTreeIsRefused) {
    for (auto const& shape : deep_shapes()) {
        Encoder encoder;
        encoder.tree.root = shape.encode(encoder, c_max_depth + 1);
        std::shared_ptr<CashFlow> root;
        EXPECT_THAT([&] { EXPECT_FALSE(reflect_contract(encoder.tree, root)); },
                    LogsError("Cannot read contract"))
            << shape.name;
    }
}

}  // namespace
}  // namespace ximCORE::Testing
