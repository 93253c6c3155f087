#include "core/pricing/mc_pricer.hpp"

#include <algorithm>
#include <cmath>

#include "support/simulation_test.hpp"

namespace ximCORE::Pricing {
namespace {

using ximTest::IsNearRel;

class OneSharePricer : public OnEachEngine<OneShareTest> {};
INSTANTIATE_TEST_SUITE_P(Engines, OneSharePricer, each_engine, engine_name);

class ThreeSharePricer : public OnEachEngine<ThreeShareTest> {};
INSTANTIATE_TEST_SUITE_P(Engines, ThreeSharePricer, each_engine, engine_name);

TEST_P(OneSharePricer, PriceIsThatOfPlainLoopsForAnyAntitheticWeight) {
    auto const priced = european_call();
    for (double const antithetic : {0.0, 0.3, 0.5, 1.0}) {
        MCPricerOptions::s_options.antithetic_factor = antithetic;
        draw();
        auto const pricer = run(*priced);
        auto const& price = pricer->c_get_results().price;
        EXPECT_THAT(price.mean, IsNearRel(Testing::mean(central_values), 1e-12)) << antithetic;
        EXPECT_THAT(price.min, IsNearRel(std::ranges::min(central_values), 1e-12));
        EXPECT_THAT(price.max, IsNearRel(std::ranges::max(central_values), 1e-12));
        expect_statistic(price, central_values, 0);
    }
}

TEST_P(OneSharePricer, EveryGreekIsThatOfPlainLoopsInEachDirection) {
    auto const priced = european_call();
    for (std::int32_t const direction : {-1, 0, 1})
        for (double const antithetic : {0.0, 0.3, 0.5}) {
            SCOPED_TRACE("direction " + std::to_string(direction));
            MCPricerOptions::s_options = {.trials = 200, .antithetic_factor = antithetic};
            activate_all(direction, direction, direction);
            draw();
            auto const pricer = run(*priced);
            expect_rows(pricer->c_get_results(), direction, direction);
            EXPECT_EQ(pricer->c_get_results().xgamma.c_get_count(), 0U);
        }
}

TEST_P(ThreeSharePricer, PriceIsThatOfPlainLoopsForAnyAntitheticWeight) {
    auto const priced = basket();
    for (double const antithetic : {0.0, 0.3, 0.5}) {
        MCPricerOptions::s_options.antithetic_factor = antithetic;
        draw();
        auto const pricer = run(*priced);
        EXPECT_THAT(pricer->c_get_results().price.mean,
                    IsNearRel(Testing::mean(central_values), 1e-12));
        expect_statistic(pricer->c_get_results().price, central_values, 0);
    }
}

TEST_P(ThreeSharePricer, EveryGreekIsThatOfPlainLoopsInEachDirection) {
    auto const priced = basket();
    for (std::int32_t const direction : {-1, 0, 1}) {
        SCOPED_TRACE("direction " + std::to_string(direction));
        MCPricerOptions::s_options = {.trials = 100,
                                      .antithetic_factor = direction == 0 ? 0.3 : 0.0};
        activate_all(direction, direction, direction);
        draw();
        auto const pricer = run(*priced);
        expect_rows(pricer->c_get_results(), direction, direction);
        expect_pairs(pricer->c_get_results(), direction);
    }
}

TEST_P(OneSharePricer, TheReferenceTermOfADownVegaReadsTheDirectionOfDelta) {
    auto const priced = european_call();
    MCPricerOptions::s_options.trials = 100;
    draw();
    Values const down = bumped({{'v', 0, -1}});
    activate_all(0, -1, 0);
    expect_statistic(run(*priced)->c_get_results().vega.get(0).result, (-1.0 / c_bump) * down, 1);
    for (std::int32_t const delta_direction : {-1, 1}) {
        activate_all(delta_direction, -1, 0);
        expect_statistic(run(*priced)->c_get_results().vega.get(0).result,
                         (1.0 / c_bump) * (central_values - down), 1);
    }
    // an up vega and a two-sided one do not look at delta
    Values const up = bumped({{'v', 0, 1}});
    activate_all(-1, 0, 0);
    expect_statistic(run(*priced)->c_get_results().vega.get(0).result, (0.5 / c_bump) * (up - down),
                     1);
    activate_all(0, 1, 0);
    expect_statistic(run(*priced)->c_get_results().vega.get(0).result,
                     (1.0 / c_bump) * (up - central_values), 1);
}

TEST_P(ThreeSharePricer, ACrossVannaKeepsTheLastTrialOfEachThread) {
    auto const priced = basket();
    MCPricerOptions::s_options = {.trials = 100, .nb_threads = 3};
    activate_all(0, 0, 0);
    draw();
    auto const pricer = run(*priced);
    Values const all = mixed('s', 2, 'v', 1);
    auto const& cell = pricer->c_get_results().xvanna.get(2, 1).result;
    EXPECT_EQ(cell.count, 3U);
    EXPECT_NEAR(cell.mean, (all[32] + all[65] + all[99]) / 3.0, 1e-12 * level / c_bump / c_bump);
}

TEST_P(ThreeSharePricer, AnotherNumberOfThreadsChangesRoundingAlone) {
    auto const priced = basket();
    MCPricerOptions::s_options = {.trials = 1000, .antithetic_factor = 0.5};
    auto& greeks = PricerOptions::s_options.greeks;
    greeks.delta = {};
    greeks.delta.activate = greeks.cega.activate = greeks.vanna.activate = true;
    auto const one = run(*priced);
    for (int const threads : {2, 3, 7}) {
        MCPricerOptions::s_options.nb_threads = static_cast<std::uint8_t>(threads);
        auto const several = run(*priced);
        auto const again = run(*priced);
        auto const& reported = several->c_get_results().results;
        auto const& expected = one->c_get_results().results;
        ASSERT_EQ(reported.size(), expected.size());
        for (std::size_t k = 0; k < reported.size(); ++k) {
            EXPECT_EQ(reported[k].name, expected[k].name);
            EXPECT_EQ(reported[k].result.count, 1000U);
            EXPECT_NEAR(reported[k].result.sum, expected[k].result.sum,
                        1e-12 * (std::abs(expected[k].result.sum) +
                                 std::sqrt(1000.0 * expected[k].result.sum_of_squares)));
            EXPECT_EQ(reported[k].result.min, expected[k].result.min);
            EXPECT_EQ(reported[k].result.max, expected[k].result.max);
            EXPECT_EQ(reported[k].result.sum, again->c_get_results().results[k].result.sum);
        }
    }
}

TEST_P(OneSharePricer, WithFewerTrialsThanThreadsTheLastThreadRunsThemAll) {
    auto const priced = european_call();
    MCPricerOptions::s_options.trials = 3;
    draw();
    MCPricerOptions::s_options.nb_threads = 7;
    auto const pricer = run(*priced);
    // one thread alone ran trials, so the sums are those of one thread to the bit
    MCPricerOptions::s_options.nb_threads = 1;
    EXPECT_EQ(pricer->c_get_results().price.sum, run(*priced)->c_get_results().price.sum);
    expect_statistic(pricer->c_get_results().price, central_values, 0);
}

TEST_P(OneSharePricer, WithoutTrialsThePriceHasACountOfZero) {
    auto const priced = european_call();
    for (int const threads : {1, 2}) {
        MCPricerOptions::s_options = {.trials = 0,
                                      .nb_threads = static_cast<std::uint8_t>(threads)};
        auto const pricer = run(*priced);
        EXPECT_EQ(pricer->c_get_results().price.count, 0U);
        EXPECT_TRUE(std::isnan(pricer->c_get_results().price.mean));
    }
}

TEST_P(OneSharePricer, AnotherSeedGivesAnotherPrice) {
    auto const priced = european_call();
    auto const first = run(*priced);
    Modeling::MCHelper::s_seed = 19940523;
    draw();
    auto const second = run(*priced);
    EXPECT_NE(first->c_get_results().price.mean, second->c_get_results().price.mean);
    EXPECT_THAT(second->c_get_results().price.mean,
                IsNearRel(Testing::mean(central_values), 1e-12));
}

TEST_P(OneSharePricer, AEuropeanCallAgreesWithTheClosedForm) {
    auto const priced = european_call();
    MCPricerOptions::s_options = {.trials = 100000, .antithetic_factor = 0.5};
    auto const pricer = run(*priced);
    // Black and Scholes (1973), one year, rate 3 %
    double const d1 = (std::log(100.0 / 105.0) + c_rate) / 0.25 + 0.125;
    auto const cumulated = [](double x) { return 0.5 * std::erfc(-x / std::sqrt(2.0)); };
    double const expected =
        100.0 * cumulated(d1) - 105.0 * std::exp(-c_rate) * cumulated(d1 - 0.25);
    auto const& price = pricer->c_get_results().price;
    EXPECT_NEAR(price.mean, expected, 4.0 * price.standard_error);
    EXPECT_LT(price.standard_error, 0.01 * expected);
}

}  // namespace
}  // namespace ximCORE::Pricing
