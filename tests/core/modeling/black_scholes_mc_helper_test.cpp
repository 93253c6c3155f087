#include "core/modeling/black_scholes_mc_helper.hpp"

#include <cmath>
#include <random>

#include "core/modeling/black_scholes_model.hpp"
#include "core/modeling/black_scholes_term_structure_mc_helper.hpp"
#include "core/pricing/options.hpp"
#include "support/hand_made_information.hpp"
#include "support/market.hpp"
#include "support/matchers.hpp"

namespace ximCORE::Modeling {
namespace {

using Pricing::MCPricerOptions;
using Testing::HandMadeInformation;
using Toolbox::Date;
using ximTest::IsNearRel;

constexpr std::uint64_t c_trials = 50;

class BlackScholesPathTest : public Testing::MarketTest {
 protected:
    BlackScholesPathTest() { MCPricerOptions::s_options = {.trials = c_trials}; }
    ~BlackScholesPathTest() override { MCPricerOptions::s_options = {}; }

    std::shared_ptr<Data::Underlying> add(std::shared_ptr<Data::Underlying> asset, double spot,
                                          double volatility) {
        set_spot(*asset, spot);
        set_volatility(*asset, volatility);
        std::ignore = surface(*asset);
        std::ignore = forward_curve(*asset).get_dependencies();
        information.add_underlying(*asset);
        return asset;
    }

    void correlate(double correlation) {
        for (auto const* first : information.lists.equity_like_underlyings)
            for (auto const* second : information.lists.equity_like_underlyings)
                set_correlation(*first, *second, correlation);
    }

    void prepare(MCHelper& helper) {
        helper.set(today, Toolbox::DayCounter(), information.lists, nullptr);
        helper.switch_to_central();
        ASSERT_TRUE(helper.calibrate(today, *currency("EUR"), information.lists));
    }

    double value(MCHelper& helper, std::uint64_t fixing, std::uint64_t underlying) {
        return helper.get_fixing_grid().c_get_equity_like().get(fixing, underlying).value;
    }

    HandMadeInformation information;
    std::vector<Date> const dates{half_year, one_year, two_years};
    std::vector<double> const steps{182.0 / 365.0, 183.0 / 365.0, 366.0 / 365.0};
};

TEST_F(BlackScholesPathTest, APathIsLognormalAroundTheForwardOfEachDate) {
    add(share("A"), 100.0, 0.25);
    for (auto const& date : dates) information.add_fixing(date);
    BlackScholesMCHelper helper;
    prepare(helper);
    std::mt19937_64 generator(23051994);
    std::normal_distribution<double> normal;
    for (std::uint64_t trial = 0; trial < c_trials; ++trial) {
        helper.diffuse(trial);
        double log_value = std::log(100.0);
        for (std::uint64_t k = 0; k < 3; ++k) {
            log_value +=
                0.25 * std::sqrt(steps[k]) * normal(generator) - 0.5 * 0.25 * 0.25 * steps[k];
            ASSERT_THAT(value(helper, k, 0), IsNearRel(std::exp(log_value), 1e-12));
        }
        normal(generator);  // the step that is drawn and not read
    }
}

TEST_F(BlackScholesPathTest, TwoPathsAreCorrelated) {
    add(share("A"), 100.0, 0.25);
    add(share("B"), 50.0, 0.5);
    correlate(-0.5);
    information.add_fixing(one_year);
    BlackScholesMCHelper helper;
    prepare(helper);
    std::mt19937_64 generator(23051994);
    std::normal_distribution<double> normal;
    for (std::uint64_t trial = 0; trial < c_trials; ++trial) {
        helper.diffuse(trial);
        double const first = normal(generator);
        double const second = -0.5 * first + std::sqrt(0.75) * normal(generator);
        ASSERT_THAT(value(helper, 0, 0),
                    IsNearRel(100.0 * std::exp(0.25 * first - 0.03125), 1e-12));
        ASSERT_THAT(value(helper, 0, 1), IsNearRel(50.0 * std::exp(0.5 * second - 0.125), 1e-12));
        normal(generator);
        normal(generator);
    }
}

TEST_F(BlackScholesPathTest, WithoutVolatilityTheCellIsTheForwardOfItsDate) {
    auto asset = share("A");
    std::ignore = yield_curve(*currency("EUR"));
    add(asset, 100.0, 0.0);
    push<Data::MarketDataYieldPerturbationItem>(
        Shift::Kind::additive, Shift::Unit::percentage, -5.0,
        static_cast<Data::Currency const*>(currency("EUR").get()));
    for (auto const& date : dates) information.add_fixing(date);
    BlackScholesMCHelper helper;
    prepare(helper);
    helper.diffuse(0);
    for (std::uint64_t k = 0; k < 3; ++k) {
        EXPECT_EQ(value(helper, k, 0), helper.c_get_current().forwards.get(0, k));
        EXPECT_GT(value(helper, k, 0), k == 0 ? 100.0 : value(helper, k - 1, 0));
    }
}

TEST_F(BlackScholesPathTest, UnopenedCellsKeepTheirValueAndAClosedOneEndsTheColumn) {
    auto asset = add(share("A"), 100.0, 0.25);
    for (auto const& date : dates) information.add_fixing(date);
    BlackScholesMCHelper helper;
    prepare(helper);
    auto& grid = helper.get_fixing_grid();
    FixingGrid fresh;
    fresh.init(3, 0, 1, 0, 0);
    auto const& impl = dynamic_cast<Data::EquityLikeUnderlying&>(*asset->c_get_impl());
    fresh.open_equity_like(*information.lists.fixing_dates[1], impl);
    fresh.filter();
    grid.init(fresh);
    helper.diffuse(0);
    EXPECT_EQ(value(helper, 0, 0), 0.0);
    EXPECT_GT(value(helper, 1, 0), 0.0);
    EXPECT_EQ(value(helper, 2, 0), 0.0);
}

TEST_F(BlackScholesPathTest, WithoutOpenedCellLeavesTheGridAsCalibrated) {
    add(share("A"), 100.0, 0.25);
    information.add_fixing(one_year);
    BlackScholesMCHelper helper;
    prepare(helper);
    FixingGrid fresh;
    fresh.init(1, 0, 1, 0, 0);
    helper.get_fixing_grid().init(fresh);
    helper.diffuse(0);
    EXPECT_EQ(value(helper, 0, 0), 0.0);
}

/// A share in USD paid in EUR, with the exchange rate as second underlying.
class QuantoPathTest : public BlackScholesPathTest {
 protected:
    QuantoPathTest() {
        rate = exchange_rate("USDEUR", "USD", "EUR");
        asset = share("Q", "USD");
        std::ignore = asset->set_quanto_exchange_rate(*currency("EUR"));
        add(asset, 100.0, 0.25);
        add(asset->c_get_quanto_exchange_rate(), 0.9, 0.125);
        correlate(0.5);
        information.add_fixing(one_year);
    }

    std::shared_ptr<Data::Underlying> asset;
    std::shared_ptr<Data::Underlying> rate;
};

TEST_F(QuantoPathTest, AQuantoUnderlyingDriftsWithTheCovarianceOfItsRate) {
    BlackScholesMCHelper helper;
    prepare(helper);
    ASSERT_EQ(helper.c_get_quanto_ranks().get(0), 1U);
    ASSERT_EQ(helper.c_get_quanto_ranks().get(1), 65535U);
    std::mt19937_64 generator(23051994);
    std::normal_distribution<double> normal;
    for (std::uint64_t trial = 0; trial < c_trials; ++trial) {
        helper.diffuse(trial);
        double const z = normal(generator);
        double const drift =
            0.5 * 0.125 * 0.25;  // correlation, volatility of the rate, own volatility
        ASSERT_THAT(value(helper, 0, 0),
                    IsNearRel(100.0 * std::exp(0.25 * z - 0.03125 + drift), 1e-12));
        for (int skipped = 0; skipped < 3; ++skipped) normal(generator);
    }
}

TEST_F(QuantoPathTest, AnUnderlyingWithoutRateHasNoQuantoDrift) {
    BlackScholesMCHelper helper;
    prepare(helper);
    std::mt19937_64 generator(23051994);
    std::normal_distribution<double> normal;
    helper.diffuse(0);
    double const z0 = normal(generator);
    double const z1 = 0.5 * z0 + std::sqrt(0.75) * normal(generator);
    EXPECT_THAT(value(helper, 0, 1),
                IsNearRel(static_cast<double>(0.9F) * std::exp(0.125 * z1 - 0.0078125), 1e-12));
}

TEST_F(QuantoPathTest, TheTermStructureHelperIgnoresTheQuantoRate) {
    BlackScholesTermStructureMCHelper helper;
    prepare(helper);
    ASSERT_EQ(helper.c_get_quanto_ranks().get(0), 1U);
    std::mt19937_64 generator(23051994);
    std::normal_distribution<double> normal;
    helper.diffuse(0);
    double const sigma = std::sqrt(surface(*asset).at_the_money_eval(1.0));
    EXPECT_THAT(
        value(helper, 0, 0),
        IsNearRel(100.0 * std::exp(sigma * normal(generator) - 0.5 * sigma * sigma), 1e-10));
}

TEST_F(BlackScholesPathTest, OnlyTheLowByteOfAQuantoRankIsReadAsASignedOne) {
    // 130 underlyings, the first one quanto by the last: rank 129 is -127 as a signed byte, so
    // there is no drift
    auto const rate = exchange_rate("USDEUR", "USD", "EUR");
    auto const asset = share("Q", "USD");
    std::ignore = asset->set_quanto_exchange_rate(*currency("EUR"));
    add(asset, 100.0, 0.25);
    for (int i = 1; i < 129; ++i) add(share("S" + std::to_string(i)), 100.0, 0.25);
    add(asset->c_get_quanto_exchange_rate(), 0.9, 0.125);
    correlate(0.0);
    set_correlation(*information.lists.equity_like_underlyings.back(), *asset, 0.5);
    information.add_fixing(one_year);
    BlackScholesMCHelper helper;
    prepare(helper);
    ASSERT_EQ(helper.c_get_quanto_ranks().get(0), 129U);
    std::mt19937_64 generator(23051994);
    std::normal_distribution<double> normal;
    helper.diffuse(0);
    EXPECT_THAT(value(helper, 0, 0),
                IsNearRel(100.0 * std::exp(0.25 * normal(generator) - 0.03125), 1e-12));
}

TEST_F(BlackScholesPathTest, TheTermStructurePathUsesOneVolatilityPerInterval) {
    auto asset = add(share("A"), 100.0, 0.25);
    for (auto const& date : dates) information.add_fixing(date);
    BlackScholesTermStructureMCHelper helper;
    prepare(helper);
    std::mt19937_64 generator(23051994);
    std::normal_distribution<double> normal;
    auto& asset_surface = surface(*asset);
    for (std::uint64_t trial = 0; trial < c_trials; ++trial) {
        helper.diffuse(trial);
        double log_value = std::log(100.0);
        double time = 0.0;
        double variance = 0.0;
        for (std::uint64_t k = 0; k < 3; ++k) {
            time += steps[k];
            double const step_variance = asset_surface.at_the_money_eval(time) - variance;
            variance += step_variance;
            log_value += std::sqrt(step_variance) * normal(generator) - 0.5 * step_variance;
            ASSERT_THAT(value(helper, k, 0), IsNearRel(std::exp(log_value), 1e-11));
        }
        normal(generator);
    }
}

TEST_F(BlackScholesPathTest, AMissingVolatilityEndsTheCalibration) {
    auto asset = share("A");
    set_spot(*asset, 100.0);
    std::ignore = forward_curve(*asset).get_dependencies();
    information.add_underlying(*asset);
    information.add_fixing(one_year);
    BlackScholesMCHelper helper;
    helper.set(today, Toolbox::DayCounter(), information.lists, nullptr);
    helper.switch_to_central();
    EXPECT_FALSE(helper.calibrate(today, *currency("EUR"), information.lists));
    EXPECT_EQ(errors().size(), 1U);
}

TEST_F(BlackScholesPathTest, WithoutFixingDiffusesNothing) {
    add(share("A"), 100.0, 0.25);
    BlackScholesMCHelper constant;
    BlackScholesTermStructureMCHelper term_structure;
    prepare(constant);
    prepare(term_structure);
    constant.diffuse(0);
    term_structure.diffuse(0);
    EXPECT_EQ(constant.get_fixing_grid().c_get_equity_like().c_get_rows(), 0U);
}

TEST_F(BlackScholesPathTest, ACloneDiffusesTheSamePath) {
    add(share("A"), 100.0, 0.25);
    add(share("B"), 50.0, 0.5);
    correlate(0.25);
    for (auto const& date : dates) information.add_fixing(date);
    BlackScholesMCHelper constant;
    BlackScholesTermStructureMCHelper term_structure;
    for (MCHelper* helper : std::initializer_list<MCHelper*>{&constant, &term_structure}) {
        prepare(*helper);
        auto const clone = helper->c_clone();
        helper->diffuse(4);
        clone->diffuse(4);
        for (std::uint64_t k = 0; k < 3; ++k)
            for (std::uint64_t u = 0; u < 2; ++u)
                EXPECT_EQ(value(*clone, k, u), value(*helper, k, u));
        clone->diffuse(5);
        EXPECT_NE(value(*clone, 0, 0), value(*helper, 0, 0));
    }
}

}  // namespace
}  // namespace ximCORE::Modeling
