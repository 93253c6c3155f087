#include "core/data/surfaces/implied_volatility_surface.hpp"

#include <cmath>

#include "core/toolbox/formulas/black_scholes.hpp"
#include "support/market.hpp"

namespace ximCORE::Data {
namespace {

using Space = Toolbox::Volatility::SpaceKind;
using Value = Toolbox::Volatility::ValueKind;

class ImpliedVolatilitySurfaceTest : public Testing::MarketTest {
 protected:
    void shift(Shift::Kind kind, Shift::Unit unit, double value) const {
        push<MarketDataVolatilityPerturbationItem>(kind, unit, value, stock.get());
    }

    static StochasticVolatilityInspired& smiler_of(ImpliedVolatilitySurface& surface) {
        std::ignore = surface.eval(1.0, 0.0);
        return dynamic_cast<StochasticVolatilityInspired&>(*surface.get_smiler());
    }

    static void set_skew(ImpliedVolatilitySurface& surface) {
        auto& smiler = smiler_of(surface);
        smiler.rho = -0.5;
        smiler.one_minus_rho_squared = 0.75;
        smiler.eta = 1.2;
        smiler.gamma = 0.4;
    }

    std::shared_ptr<Underlying> const stock = share("AAA");
    ImpliedVolatilitySurface& flat = surface(*stock);
};

TEST_F(ImpliedVolatilitySurfaceTest, TheFlatSurfaceIsTwentyPercentForAllStrikesAndMaturities) {
    EXPECT_NEAR(flat.eval(2.0, 0.3), 0.08, 1e-15);
    EXPECT_NEAR(flat.at_the_money_eval(2.0), 0.08, 1e-15);
    for (double const t : {0.1, 1.0, 10.0})
        for (double const x : {-1.0, 0.0, 0.5}) EXPECT_NEAR(flat.eval(t, x) / t, 0.04, 1e-15);
}

TEST_F(ImpliedVolatilitySurfaceTest, TheFlatSurfaceHasNeitherSkewNorCurvature) {
    EXPECT_NEAR(flat.skew_eval(2.0), 0.0, 1e-13);
    EXPECT_NEAR(flat.curve_eval(2.0), 0.0, 1e-11);
}

// Derivatives of theta / 2 (1 + rho y + sqrt((y + rho)^2 + 1 - rho^2)), y = phi x, at x = 0: theta
// rho phi and theta phi^2 (1 - rho^2) / 2.
TEST_F(ImpliedVolatilitySurfaceTest, SkewAndCurvatureAreTheDerivativesOfTheForm) {
    set_skew(flat);
    double const theta = 0.08;
    double const phi = 1.2 * std::pow(theta, -0.4);
    EXPECT_NEAR(flat.skew_eval(2.0), theta * -0.5 * phi, 1e-4);
    EXPECT_NEAR(flat.curve_eval(2.0), theta * phi * phi * 0.75 / 2.0, 1e-3);
}

TEST_F(ImpliedVolatilitySurfaceTest, AnAdditiveShiftMovesTheVolatilityNotTheVariance) {
    shift(Shift::Kind::additive, Shift::Unit::percentage, 1.0);
    for (double const x : {-0.4, 0.0, 0.2}) EXPECT_NEAR(flat.eval(1.0, x), 0.21 * 0.21, 1e-15);
    EXPECT_NEAR(flat.eval(4.0, 0.0), 0.21 * 0.21 * 4.0, 1e-14);
}

TEST_F(ImpliedVolatilitySurfaceTest, ARelativeShiftMultipliesTheVolatility) {
    shift(Shift::Kind::hybrid, Shift::Unit::percentage, 10.0);
    EXPECT_NEAR(flat.eval(1.0, 0.1), 0.22 * 0.22, 1e-15);
}

TEST_F(ImpliedVolatilitySurfaceTest, AShiftOfAnotherUnderlyingChangesNothing) {
    auto const other = share("BBB");
    push<MarketDataVolatilityPerturbationItem>(Shift::Kind::assignment, Shift::Unit::none, 3.0,
                                               other.get());
    EXPECT_NEAR(flat.eval(1.0, 0.1), 0.04, 1e-15);
}

TEST_F(ImpliedVolatilitySurfaceTest, AtTimeZeroTheVarianceIsNotANumber) {
    EXPECT_TRUE(std::isnan(flat.eval(0.0, 0.1)));
}

TEST_F(ImpliedVolatilitySurfaceTest, TheInversePairReadsTheMoneynessWithTheOppositeSign) {
    auto const other = share("BBB");
    auto& inverse = surface(*other);
    inverse.is_inverse_pair(true);
    set_skew(flat);
    set_skew(inverse);
    ASSERT_NE(flat.eval(1.0, 0.2), flat.eval(1.0, -0.2));
    for (double const x : {-0.3, -0.01, 0.0, 0.2})
        EXPECT_EQ(inverse.eval(1.0, x), flat.eval(1.0, -x)) << x;
}

TEST_F(ImpliedVolatilitySurfaceTest, AStrikeGivesAllFormsOfTheShiftedVolatility) {
    shift(Shift::Kind::additive, Shift::Unit::percentage, 5.0);
    Toolbox::MarketParameters const market{.maturity = 2.0, .spot = 100.0, .forward = 105.0};
    auto const point = flat.eval(market, 110.0, Space::STRIKE);
    double const k = std::log(110.0 / 105.0);
    EXPECT_NEAR(point.c_get(Value::VOLATILITY), 0.25, 1e-14);
    EXPECT_NEAR(point.c_get(Value::TOTAL_VARIANCE), 0.125, 1e-14);
    EXPECT_NEAR(point.c_get(Space::LOG_FORWARD_MONEYNESS), k, 1e-15);
    EXPECT_NEAR(point.c_get(Value::CALL_PRICE),
                100.0 * Toolbox::BlackScholesCallPricer::price(k, 0.25 * std::sqrt(2.0), 1), 1e-11);
}

TEST_F(ImpliedVolatilitySurfaceTest, AStrikeOfTheInversePairReadsTheOppositeMoneyness) {
    set_skew(flat);
    Toolbox::MarketParameters const market{.maturity = 1.0, .spot = 100.0, .forward = 100.0};
    double const low = flat.eval(market, -0.2, Space::LOG_FORWARD_MONEYNESS).c_get(Value::VARIANCE);
    flat.is_inverse_pair(true);
    double const high = flat.eval(market, 0.2, Space::LOG_FORWARD_MONEYNESS).c_get(Value::VARIANCE);
    EXPECT_NEAR(low, high, 1e-15);
    EXPECT_NEAR(low, flat.eval(1.0, 0.2), 1e-15);
}

TEST_F(ImpliedVolatilitySurfaceTest, StartsWithItsOwnDateAndNoSmiler) {
    EXPECT_EQ(flat.get_size(), 1U);
    EXPECT_EQ(flat.get_maturity_dates().front(), today);
    EXPECT_EQ(flat.get_maturity_times().front(), 0.0);
    ASSERT_EQ(flat.get_grid().size(), 1U);
    EXPECT_EQ(flat.get_grid().front().size(), 1U);
    EXPECT_FALSE(flat.c_has_missing());
    EXPECT_EQ(flat.get_smiler(), nullptr);
    std::ignore = flat.eval(1.0, 0.0);
    EXPECT_NE(flat.get_smiler(), nullptr);
}

TEST_F(ImpliedVolatilitySurfaceTest, ClearedItIsMissingAndEvaluatesToNoNumber) {
    std::ignore = flat.eval(1.0, 0.0);
    flat.clear();
    EXPECT_TRUE(flat.c_has_missing());
    EXPECT_EQ(flat.get_size(), 0U);
    EXPECT_TRUE(std::isnan(flat.eval(1.0, 0.0)));
    flat.set_smiler();
    EXPECT_NEAR(flat.eval(1.0, 0.0), 0.04, 1e-15);
}

TEST_F(ImpliedVolatilitySurfaceTest, AnUnknownSmilerKindEvaluatesToNoNumber) {
    ImpliedVolatilitySurface::s_smiler_kind = static_cast<ImpliedVolatilitySurface::SmilerKind>(1);
    double const variance = flat.eval(1.0, 0.0);
    ImpliedVolatilitySurface::s_smiler_kind =
        ImpliedVolatilitySurface::SmilerKind::stochastic_volatility_inspired;
    EXPECT_TRUE(std::isnan(variance));
}

TEST_F(ImpliedVolatilitySurfaceTest, AVolatilityShiftKeepsTheSmiler) {
    set_skew(flat);
    double const before = flat.eval(1.0, 0.2);
    shift(Shift::Kind::additive, Shift::Unit::none, 0.0);
    EXPECT_EQ(flat.eval(1.0, 0.2), before);
}

TEST_F(ImpliedVolatilitySurfaceTest, UnderStickyOptionASpotShiftRebuildsTheSmiler) {
    MarketDataScenario::s_spot_volatility_dynamic_kind = SpotVolatilityDynamic::sticky_option;
    auto const other = share("BBB");
    auto& sticky = surface(*other);
    ASSERT_TRUE(forward_curve(*other).get_dependencies());
    set_skew(sticky);
    push<MarketDataSpotPerturbationItem>(Shift::Kind::hybrid, Shift::Unit::percentage, 1.0,
                                         other.get());
    EXPECT_TRUE(sticky.c_is_dirty());
    EXPECT_NEAR(sticky.eval(1.0, 0.2), 0.04, 1e-15);  // start values again
}

TEST_F(ImpliedVolatilitySurfaceTest, UnderStickyOptionAForwardShiftRebuildsTheSmiler) {
    MarketDataScenario::s_spot_volatility_dynamic_kind = SpotVolatilityDynamic::sticky_option;
    auto const other = share("BBB");
    auto& sticky = surface(*other);
    set_skew(sticky);
    push<MarketDataForwardPerturbationItem>(Shift::Kind::hybrid, Shift::Unit::percentage, 1.0,
                                            other.get());
    EXPECT_TRUE(sticky.c_is_dirty());
}

TEST_F(ImpliedVolatilitySurfaceTest, UnderStickyStrikeASpotShiftLeavesTheSurfaceAlone) {
    ASSERT_TRUE(forward_curve(*stock).get_dependencies());
    set_skew(flat);
    double const before = flat.eval(1.0, 0.2);
    push<MarketDataSpotPerturbationItem>(Shift::Kind::hybrid, Shift::Unit::percentage, 1.0,
                                         stock.get());
    EXPECT_FALSE(flat.c_is_dirty());
    EXPECT_EQ(flat.eval(1.0, 0.2), before);
}

}  // namespace
}  // namespace ximCORE::Data
