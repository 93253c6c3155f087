// A path must not allocate: this suite counts every allocation of the process while a pricing runs,
// and requires the number not to depend on the number of trials.

#include <atomic>
#include <cstdlib>
#include <new>

#include "core/pricing/contract_ladder.hpp"
#include "core/pricing/mc_details.hpp"
#include "support/pricing_test.hpp"

namespace {

std::atomic<bool> counting{false};
std::atomic<std::uint64_t> allocations{0};
std::atomic<std::uint64_t> bytes{0};  // asked for, whether given back or not

void note(std::size_t size) noexcept {
    if (!counting.load(std::memory_order_relaxed)) return;
    allocations.fetch_add(1, std::memory_order_relaxed);
    bytes.fetch_add(size, std::memory_order_relaxed);
}

void* try_allocate(std::size_t size) noexcept {
    note(size);
    return std::malloc(size == 0 ? 1 : size);
}

void* allocate(std::size_t size) {
    if (void* const memory = try_allocate(size)) return memory;
    throw std::bad_alloc();
}

}  // namespace

// g++ takes the operators below for several allocators once it has inlined one of them.
#pragma GCC diagnostic ignored "-Wmismatched-new-delete"

void* operator new(std::size_t size) {
    return allocate(size);
}
void* operator new[](std::size_t size) {
    return allocate(size);
}
void* operator new(std::size_t size, std::nothrow_t const&) noexcept {
    return try_allocate(size);
}
void* operator new[](std::size_t size, std::nothrow_t const&) noexcept {
    return try_allocate(size);
}
void* operator new(std::size_t size, std::align_val_t alignment) {
    note(size);
    auto const step = static_cast<std::size_t>(alignment);
    if (void* const memory = std::aligned_alloc(step, (size + step) / step * step)) return memory;
    throw std::bad_alloc();
}
void operator delete(void* memory, std::align_val_t) noexcept {
    std::free(memory);
}
void operator delete(void* memory, std::size_t, std::align_val_t) noexcept {
    std::free(memory);
}
void operator delete(void* memory) noexcept {
    std::free(memory);
}
void operator delete[](void* memory) noexcept {
    std::free(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
    std::free(memory);
}
void operator delete[](void* memory, std::size_t) noexcept {
    std::free(memory);
}

namespace ximCORE::Pricing {
namespace {

using Testing::TreeBuilder;

class AllocationTest : public PricingTest {
 protected:
    AllocationTest() {
        add_currency("EUR");
        auto const a = add_share("A", 100.0, 0.25);
        auto const b = add_share("B", 80.0, 0.375);
        correlate(*a, *b, 0.5);
        auto& greeks = PricerOptions::s_options.greeks;
        for (auto* record : {&greeks.delta, &greeks.vega, &greeks.cega}) record->activate = true;
        for (auto* record : {&greeks.gamma, &greeks.volga, &greeks.xgamma, &greeks.xvolga})
            record->activate = true;
        for (auto* record : {&greeks.vanna, &greeks.xvanna}) record->activate = true;
        PricerOptions::s_options.smoothing = SmoothingType::SYMETRIC;
    }

    /// A memory coupon: named values, smoothed conditions, a maximum, two payments.
    std::unique_ptr<Contract::Contract> memory_coupon() {
        TreeBuilder tree;
        int const least =
            tree.binary(TreeBuilder::min, tree.fixing("A", half_year), tree.fixing("B", half_year));
        int const set = tree.set("coupon", least);
        int const above = tree.compare(TreeBuilder::greater, tree.fixing("A", one_year), 95.0);
        int const coupon = tree.pay(tree.reference("coupon"), one_year, "EUR");
        int const fallback =
            tree.pay(tree.call(tree.fixing("B", one_year), 80.0), two_years, "EUR");
        return contract(tree, tree.both(set, tree.condition(above, coupon, fallback, 1.0, 2.0)));
    }

    /// Allocations of one whole run.
    std::uint64_t count(Contract::Contract& priced, std::uint64_t trials, int threads,
                        std::unique_ptr<IPricer> pricer = get_pricer()) {
        MCPricerOptions::s_options = {.trials = trials,
                                      .nb_threads = static_cast<std::uint8_t>(threads),
                                      .antithetic_factor = 0.5,
                                      .engine = chosen_engine};
        auto const model = Modeling::get_model(today, model_name);
        EXPECT_TRUE(model->get_dependencies(priced));
        allocations = bytes = 0;
        counting = true;
        bool const success = pricer->run(priced, model.get());
        counting = false;
        EXPECT_TRUE(success);
        return allocations;
    }

    Modeling::ModelName model_name = Modeling::ModelName::black_scholes;
};

class AllocationOfEachEngine : public OnEachEngine<AllocationTest> {
 protected:
    AllocationOfEachEngine() {
        // which the block engine has not
        PricerOptions::s_options.greeks.xvanna.activate =
            chosen_engine == MCOptions::Engine::reference;
    }
    /// Enough for three threads, and twice that: the block engine hands out thousands at a time.
    [[nodiscard]] std::uint64_t few() const {
        return chosen_engine == MCOptions::Engine::reference ? 10 : 20'000;
    }
    [[nodiscard]] std::uint64_t many() const {
        return chosen_engine == MCOptions::Engine::reference ? 1000 : 40'000;
    }
    ~AllocationOfEachEngine() override {
        EXPECT_EQ(MCPricerOptions::s_options.ran_in_blocks,
                  chosen_engine == MCOptions::Engine::automatic);
    }
};
INSTANTIATE_TEST_SUITE_P(Engines, AllocationOfEachEngine, each_engine, engine_name);

TEST_P(AllocationOfEachEngine, ATrialAllocatesNothing) {
    auto const priced = memory_coupon();
    std::ignore = count(*priced, 1, 1);  // what is made once, on the first use of the market
    for (int const threads : {1, 3}) {
        auto const expected = count(*priced, few(), threads);
        EXPECT_GT(expected, 0U);
        EXPECT_EQ(count(*priced, many(), threads), expected) << threads;
    }
}

TEST_F(AllocationTest, ATrialUnderLocalVolatilityAllocatesNothing) {
    model_name = Modeling::ModelName::dupire;
    PricerOptions::s_options.greeks = {};
    TreeBuilder tree;
    int const average =
        tree.binary(TreeBuilder::add, tree.fixing("A", half_year), tree.fixing("A", one_year));
    auto const priced = contract(tree, tree.pay(tree.call(average, 200.0), one_year, "EUR"));
    for (auto const method :
         {PricingMethod::MONTE_CARLO, PricingMethod::AUTOMATIC_ADJOINT_DIFFERENTIATION}) {
        PricerOptions::s_options.method = method;
        std::ignore = count(*priced, 1, 1);
        for (int const threads : {1, 3}) {
            auto const few = count(*priced, 10, threads);
            EXPECT_GT(few, 0U);
            EXPECT_EQ(count(*priced, 100, threads), few) << threads;
        }
    }
}

TEST_P(AllocationOfEachEngine, ATrialByAdjointsAllocatesNothingOnceItsTapeHasGrown) {
    auto const priced = memory_coupon();
    PricerOptions::s_options.method = PricingMethod::AUTOMATIC_ADJOINT_DIFFERENTIATION;
    for (auto const smoothing : {SmoothingType::SYMETRIC, SmoothingType::NONE}) {
        PricerOptions::s_options.smoothing = smoothing;
        std::ignore = count(*priced, 1, 1);
        for (int const threads : {1, 3}) {
            auto const expected = count(*priced, few(), threads);
            EXPECT_GT(expected, 0U);
            EXPECT_EQ(count(*priced, many(), threads), expected) << threads;
        }
    }
}

TEST_P(AllocationOfEachEngine, ATrialOfALadderAllocatesNothing) {
    PricerOptions::s_options.greeks = {};
    TreeBuilder tree;
    int const coupon =
        tree.binary(TreeBuilder::mul, tree.constant("coupon", 2.0), tree.fixing("A", half_year));
    int const above = tree.compare(TreeBuilder::greater, tree.fixing("A", one_year), 95.0);
    int const pay = tree.pay(tree.reference("memory"), one_year, "EUR");
    auto const priced = contract(
        tree, tree.both(tree.set("memory", coupon),
                        tree.condition(above, pay, tree.pay(coupon, two_years, "EUR"), 1.0, 2.0)));
    auto const ladder = [] {
        auto made = get_contract_ladder();
        for (double const value : {1.0, 3.0, 5.0})
            made->get_results().push_back(
                {{{"coupon", {.kind = {}, .unit = {}, .value = value}}}, {}});
        return made;
    };
    std::ignore = count(*priced, 1, 1, ladder());
    for (int const threads : {1, 3}) {
        auto const expected = count(*priced, few(), threads, ladder());
        EXPECT_EQ(count(*priced, many(), threads, ladder()), expected) << threads;
    }
}

TEST_F(AllocationTest, TheBlockEngineStartsNoThreadWithoutWork) {
    PricerOptions::s_options.greeks = {};
    auto const priced = memory_coupon();
    std::ignore = count(*priced, 1, 1);
    EXPECT_EQ(count(*priced, 100, 255), count(*priced, 100, 1));
    EXPECT_GT(count(*priced, 20'000, 255), count(*priced, 20'000, 1));
    EXPECT_TRUE(MCPricerOptions::s_options.ran_in_blocks);
}

TEST_F(AllocationTest, TheBlockEngineStoresNoNormals) {
    PricerOptions::s_options.greeks = {};
    TreeBuilder tree;
    int sum = tree.fixing("A", half_year);
    Date date = half_year;
    for (int month = 1; month < 24; ++month) {
        date += 30;
        Date const fixing(date);  // whose text is its own
        sum = tree.binary(TreeBuilder::add, sum, tree.fixing(month % 2 == 0 ? "A" : "B", fixing));
    }
    auto const priced = contract(tree, tree.pay(tree.call(sum, 2160.0), Date(date), "EUR"));
    for (int const threads : {1, 2}) {
        std::ignore = count(*priced, 1'000'000, threads);
        EXPECT_TRUE(MCPricerOptions::s_options.ran_in_blocks);
        EXPECT_LT(bytes, std::uint64_t{8} << 20);  // the normals are 384 MB
    }
    chosen_engine = MCOptions::Engine::reference;
    std::ignore = count(*priced, 1'000, 1);
    EXPECT_FALSE(MCPricerOptions::s_options.ran_in_blocks);
    EXPECT_GT(bytes, 1'000U * 48U * sizeof(double));
}

TEST_F(AllocationTest, ATrialWithDetailsAllocatesNothing) {
    auto const priced = memory_coupon();
    auto const details = [] { return std::make_unique<MCDetails>(); };
    std::ignore = count(*priced, 1, 1, details());
    for (int const threads : {1, 3}) {
        auto const few = count(*priced, 10, threads, details());
        EXPECT_EQ(count(*priced, 1000, threads, details()), few) << threads;
    }
}

}  // namespace
}  // namespace ximCORE::Pricing
