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
        int const setting = encoder.set("x", encoder.a(32, payload(1, a, b, encoder.ref("k", 100))));
        int const payment = encoder.buy("2023-07-02", 2, encoder.pay(encoder.reference("x"), "2024-01-01", "USD"));
        int const barrier = encoder.condition(encoder.above(a, 100), payment, encoder.pay(b, "2025-01-01"), 2, 2);
        return encoder.both(setting, barrier);
    }
    Cloning() { exchange_rate("USDEUR", "USD", "EUR"); }
};

TEST_F(Cloning, ACloneEvaluatesAtOnceOnTheOriginalsGrid) {
    smooth(Pricing::SmoothingType::SYMETRIC);
    Encoder encoder;
    auto const on_contract = contract(encoder, mixed(encoder));
    auto original = path(on_contract.get_current());
    original.set("A", "2023-07-02", 101).set("B", "2023-07-02", 90).set("USDEUR", "2024-01-01", 0.5);
    auto const clone = on_contract.get_current()->clone();
    double const expected = original.flow("2024-01-01");
    EXPECT_EQ(expected, 2.0 * 100.0 * 0.5 * 0.75);
    Toolbox::Array1D<double> flows(original.flows.c_get_size());
    Variables variables(clone->rank_names());
    clone->eval(original.grid, variables, flows);
    for (std::uint64_t i = 0; i < flows.c_get_size(); ++i) EXPECT_EQ(flows.get(i), original.flows.get(i));
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
        EXPECT_EQ(fixing->c_get_fixing_date().c_get_fixing_rank(), original.c_get_fixing_date().c_get_fixing_rank());
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
    auto const root = encoder.read(encoder.both(encoder.buy("2023-07-02", 1, encoder.both(end, end)), encoder.both(end, end)));
    std::vector<std::shared_ptr<CashFlow>*> pointers;
    root->accumulate_cashflows(pointers);
    ASSERT_EQ(pointers.size(), 7U);
    for (std::size_t i = 0; i < pointers.size(); ++i) {
        std::vector<std::shared_ptr<CashFlow>*> below;
        (*pointers[i])->accumulate_cashflows(below);
        for (auto* pointer : below)
            EXPECT_LT(std::find(pointers.begin(), pointers.end(), pointer) - pointers.begin(), static_cast<long>(i));
    }
}

// Long lists and deep trees

#if defined(__OPTIMIZE__) && !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
constexpr std::size_t c_stack_bytes = std::size_t{8} << 20;
#else
constexpr std::size_t c_stack_bytes = std::size_t{256} << 20;  // frames of an unoptimised build are several times larger
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
        if (clone->eval(value)) EXPECT_EQ(value, expected);  // not with a reference
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

TEST_F(Size, ATreeOfTheGreatestDepthLivesOnTheStackOfAProcess) {
    auto const nest = [](int kind, std::uint64_t depth) {  // `depth` nodes below the root, all on one way
        auto encoder = std::make_shared<Encoder>();
        int node = 0;
        auto const spot = encoder->spot("A", "2023-07-02");
        std::uint64_t const inner = depth - 1;
        if (kind == 0) {
            node = spot;
            for (std::uint64_t i = 0; i < inner; ++i) node = encoder->a(i % 2 ? 18 : 24, i % 2 ? payload(1, node) : payload(node, 1));
            node = encoder->pay(node, "2024-01-01");
        } else if (kind == 1) {
            node = spot;
            for (std::uint64_t i = 0; i < inner; ++i) node = encoder->a(2, payload(node, spot));
            node = encoder->pay(node, "2024-01-01");
        } else if (kind == 2) {
            node = encoder->pay(spot, "2024-01-01");
            int const event = encoder->above(spot, 0);
            for (std::uint64_t i = 0; i < inner; ++i) node = encoder->condition(event, node, encoder->nothing());
        } else if (kind == 3) {
            int event = encoder->above(spot, 0);
            for (std::uint64_t i = 0; i + 1 < inner; ++i) event = encoder->e(7 + static_cast<int>(i % 2), payload(event, 0));
            node = encoder->condition(event, encoder->pay(spot, "2024-01-01"), encoder->nothing());
        } else if (kind == 6) {
            node = encoder->pay(encoder->add(spot, encoder->reference("x")), "2024-01-01");
            int const event = encoder->above(spot, 0);
            int const setting = encoder->set("x", encoder->number(0));
            for (std::uint64_t i = 0; i < inner; ++i) node = encoder->condition(event, node, setting, 0.01, 0.01);
        } else if (kind == 7) {
            node = spot;
            int const event = encoder->above(spot, 0);
            for (std::uint64_t i = 0; i < inner; ++i) node = encoder->iff(event, node, spot);
            node = encoder->pay(node, "2024-01-01");
        } else if (kind == 4) {
            node = encoder->pay(spot, "2024-01-01");
            for (std::uint64_t i = 0; i < inner; ++i) node = encoder->buy("2023-01-01", 1, node);
        } else {
            node = encoder->pay(spot, "2024-01-01");
            for (std::uint64_t i = 0; i < inner; ++i) node = encoder->both(node, encoder->nothing());
        }
        return std::pair(encoder, node);
    };
    for (int kind = 0; kind < 8; ++kind) {
        SCOPED_TRACE(kind);
        auto [encoder, root] = nest(kind, c_max_depth);
        run_on_stack(c_stack_bytes, [&, &encoded = *encoder, top = root] {
            live(encoded, top, 1.0);
        });
        auto [deeper, deeper_root] = nest(kind, c_max_depth + 1);
        deeper->tree.root = deeper_root;
        std::shared_ptr<CashFlow> refused;
        EXPECT_THAT(([&, &tree = deeper->tree] { EXPECT_FALSE(reflect_contract(tree, refused)); }),
                    LogsError("Cannot read contract"));
    }
}

}  // namespace
}  // namespace ximCORE::Testing
