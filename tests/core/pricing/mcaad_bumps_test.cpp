// The adjoint simulation against bump and revaluation on the same normals, as the bump goes to
// zero, and the places where it differs by design.

#include "core/pricing/adjoint_case.hpp"

namespace ximCORE::Pricing {
namespace {

using ximTest::IsNearRel;

// Bumps, in basis points: where nothing has a kink, large enough for the rounding of a difference;
// otherwise so small that no path has a kink between its two sides.
constexpr double c_smooth_bp = 20.0;
constexpr double c_kinked_bp = 0.05;

struct Setting {
    double antithetic;
    std::uint8_t threads;
};
constexpr Setting c_settings[]{{0.0, 1}, {0.3, 1}, {0.5, 1}, {0.0, 3}, {0.3, 3}, {0.5, 3}};

class AdjointBumpsTest : public AdjointTest, public testing::WithParamInterface<std::size_t> {
 protected:
    AdjointBumpsTest() {
        add_flat_currency("EUR");
        add_shares(GetParam());
    }

    void expect_derivatives_of_bumps(Contract::Contract& priced, double bump_bp) {
        for (auto const& [antithetic, threads] : c_settings) {
            SCOPED_TRACE("antithetic " + std::to_string(antithetic) + ", threads " +
                         std::to_string(threads));
            MCPricerOptions::s_options = {
                .trials = 100, .nb_threads = threads, .antithetic_factor = antithetic};
            expect_equal(by_adjoints(priced), by_bumps(priced, bump_bp));
        }
    }
};

TEST_P(AdjointBumpsTest, ASmoothPayoff) {
    expect_derivatives_of_bumps(*smooth_contract(), c_smooth_bp);
}

TEST_P(AdjointBumpsTest, ACallOnTheWorstShare) {
    expect_derivatives_of_bumps(*worst_of_call(), c_kinked_bp);
}

TEST_P(AdjointBumpsTest, ConditionsInEachKindOfSmoothing) {
    for (auto const smoothing : {SmoothingType::NONE, SmoothingType::LOWER, SmoothingType::SYMETRIC,
                                 SmoothingType::UPPER}) {
        SCOPED_TRACE("smoothing " + std::to_string(static_cast<int>(smoothing)));
        PricerOptions::s_options.smoothing = smoothing;
        expect_derivatives_of_bumps(*smoothed_contract(), c_kinked_bp);
    }
}

INSTANTIATE_TEST_SUITE_P(Shares, AdjointBumpsTest, testing::Values(1, 2, 3, 4, 5));

/// With rates of 3 % (one unit in t years is worth exp(-0.03 t) today).
class AdjointRatesTest : public AdjointTest {
 protected:
    AdjointRatesTest() {
        add_currency("EUR");
        add_shares(2);
    }
};

TEST_F(AdjointRatesTest, NothingIsDiscountedAndForwardsGrow) {
    MCPricerOptions::s_options = {.trials = 100, .antithetic_factor = 0.5};
    auto const priced = worst_of_call();
    auto const discounted = by_bumps(*priced, c_kinked_bp);
    auto const growth = std::exp(c_rate * years(one_year));
    expect_equal(by_adjoints(*priced), combine(discounted, growth, discounted, 0.0));
    // the growth of the forward is in both: without it the call would be worth less
    EXPECT_GT(discounted.price, 0.0);
}

TEST_F(AdjointRatesTest, AForwardGrowsWithTheRate) {
    TreeBuilder tree;
    auto const priced = contract(tree, tree.pay(tree.fixing("A", two_years), two_years, "EUR"));
    MCPricerOptions::s_options = {.trials = 100000, .antithetic_factor = 0.5};
    activate_first_order(1.0);
    PricerOptions::s_options.method = PricingMethod::AUTOMATIC_ADJOINT_DIFFERENTIATION;
    auto const pricer = run(*priced);
    auto const& results = pricer->c_get_results();
    double const forward = 100.0 * std::exp(c_rate * years(two_years));
    EXPECT_NEAR(results.price.mean, forward, 4.0 * results.price.standard_error);
    EXPECT_LT(results.price.standard_error, 0.001 * forward);
    // linear in its spot, path by path
    EXPECT_THAT(results.delta.get(0).result.mean, IsNearRel(results.price.mean, 1e-12));
}

/// A share of each currency and their rate, under a contract in EUR.
class AdjointQuantoTest : public AdjointTest {
 protected:
    AdjointQuantoTest() {
        for (char const* ticker : {"EUR", "USD"}) add_flat_currency(ticker);
        auto const domestic = add_share("E", 100.0, 0.3125);
        auto const quanto = add_share("Q", 50.0, 0.25, "USD");
        auto const rate = exchange_rate("USDEUR", "USD", "EUR");
        add_market(*rate, 0.875, c_rate_volatility);
        correlate(*domestic, *quanto, 0.25);
        correlate(*domestic, *rate, -0.375);
        correlate(*quanto, *rate, c_correlation);
    }

    /// The ranks of a contract on Q alone.
    enum Rank : std::size_t { quanto_share, quanto_rate };

    /// By bumps, less what the vega of this engine leaves out: the share's volatility in the quanto
    /// drift. On the only fixing at T it is correlation x volatility of the rate x T x delta.
    static FirstOrder without_quanto_term(FirstOrder bumps, double fixing_years) {
        bumps.vega.at(quanto_share) -=
            c_correlation * c_rate_volatility * fixing_years * bumps.delta.at(quanto_share);
        return bumps;
    }

    static constexpr double c_rate_volatility = 0.125;
    static constexpr double c_correlation = 0.5;
};

TEST_F(AdjointQuantoTest, TheVegaOfAQuantoShareLeavesTheDriftOut) {
    TreeBuilder tree;
    auto const priced =
        contract(tree, tree.pay(tree.call(tree.fixing("Q", two_years), 45.0), two_years, "EUR"));
    for (auto const& [antithetic, threads] : c_settings) {
        SCOPED_TRACE(antithetic);
        MCPricerOptions::s_options = {
            .trials = 100, .nb_threads = threads, .antithetic_factor = antithetic};
        auto const bumps = by_bumps(*priced, c_kinked_bp);
        auto const adjoints = by_adjoints(*priced);
        expect_equal(adjoints, without_quanto_term(bumps, years(two_years)));
        // what is left out is no rounding, and the rate's vega and the cega are there in full
        EXPECT_GT(std::abs(bumps.vega.at(quanto_share) - adjoints.vega.at(quanto_share)),
                  0.01 * bumps.price);
        EXPECT_GT(std::abs(adjoints.vega.at(quanto_rate)), 0.01 * bumps.price);
        EXPECT_GT(std::abs(adjoints.cega.at(0)), 0.01 * bumps.price);
        EXPECT_EQ(adjoints.delta.at(quanto_rate), 0.0);
    }
}

TEST_F(AdjointQuantoTest, APaymentInTheShareCurrencyIsConvertedOnThePath) {
    TreeBuilder tree;
    auto const priced = contract(
        tree, tree.pay(tree.right(TreeBuilder::pow_number, tree.fixing("Q", one_year), 1.5),
                       one_year, "USD"));
    for (auto const& [antithetic, threads] : c_settings) {
        SCOPED_TRACE(antithetic);
        MCPricerOptions::s_options = {
            .trials = 100, .nb_threads = threads, .antithetic_factor = antithetic};
        auto const bumps = by_bumps(*priced, c_smooth_bp);
        expect_equal(by_adjoints(*priced), without_quanto_term(bumps, years(one_year)));
        EXPECT_THAT(bumps.delta.at(quanto_rate), IsNearRel(bumps.price, 1e-9));
    }
}

TEST_F(AdjointQuantoTest, AConvertedPaymentOnADomesticShareHasNoDriftToLeaveOut) {
    TreeBuilder tree;
    int const early = tree.pay(tree.fixing("E", half_year), half_year, "USD");
    int const late = tree.pay(tree.right(TreeBuilder::pow_number, tree.fixing("E", one_year), 0.5),
                              two_years, "USD", -1);
    auto const priced = contract(tree, tree.both(early, late));
    for (auto const& [antithetic, threads] : c_settings) {
        SCOPED_TRACE(antithetic);
        MCPricerOptions::s_options = {
            .trials = 100, .nb_threads = threads, .antithetic_factor = antithetic};
        expect_equal(by_adjoints(*priced), by_bumps(*priced, c_smooth_bp));
    }
}

TEST_F(AdjointQuantoTest, ABasketOfBothShares) {
    TreeBuilder tree;
    int const product =
        tree.binary(TreeBuilder::mul, tree.fixing("E", one_year), tree.fixing("Q", one_year));
    auto const priced = contract(tree, tree.pay(product, one_year, "EUR"));
    MCPricerOptions::s_options = {.trials = 100, .nb_threads = 3, .antithetic_factor = 0.3};
    auto expected = by_bumps(*priced, c_smooth_bp);
    // E, Q, the rate
    expected.vega.at(1) -=
        c_correlation * c_rate_volatility * years(one_year) * expected.delta.at(1);
    expect_equal(by_adjoints(*priced), expected);
}

/// Forward volatilities of the flat 20 % surfaces.
class AdjointTermStructureTest : public AdjointTest {
 protected:
    AdjointTermStructureTest() {
        add_flat_currency("EUR");
        add_shares(3);
    }
};

TEST_F(AdjointTermStructureTest, ATermStructureHasNoVega) {
    auto const priced = smooth_contract();
    for (auto const& [antithetic, threads] : c_settings) {
        SCOPED_TRACE(antithetic);
        MCPricerOptions::s_options = {
            .trials = 100, .nb_threads = threads, .antithetic_factor = antithetic};
        auto const name = ModelName::black_scholes_term_structure;
        auto actual = by_adjoints(*priced, name);
        auto expected = by_bumps(*priced, c_smooth_bp, name);
        ASSERT_EQ(actual.vega.size(), 3U);
        for (double const vega : actual.vega) EXPECT_TRUE(std::isnan(vega));  // a count of 0
        for (double const vega : expected.vega) EXPECT_GT(std::abs(vega), 1e-4 * expected.price);
        actual.vega.clear();
        expected.vega.clear();
        expect_equal(actual, expected);
    }
}

TEST_F(AdjointTermStructureTest, LocalVolatilityHasNoVega) {
    TreeBuilder tree;
    auto const priced = contract(tree, tree.pay(tree.fixing("A", half_year), half_year, "EUR"));
    for (auto const& [antithetic, threads] : {Setting{0.0, 1}, Setting{0.3, 3}}) {
        MCPricerOptions::s_options = {
            .trials = 20, .nb_threads = threads, .antithetic_factor = antithetic};
        auto const read = by_adjoints(*priced, ModelName::dupire);
        ASSERT_EQ(read.vega.size(), 1U);
        EXPECT_TRUE(std::isnan(read.vega[0]));                     // a count of 0
        EXPECT_THAT(read.delta[0], IsNearRel(read.price, 1e-12));  // linear in its spot
    }
}

}  // namespace
}  // namespace ximCORE::Pricing
