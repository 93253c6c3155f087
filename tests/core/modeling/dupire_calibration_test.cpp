// The grid of local variance that a calibrated state holds.

#include <algorithm>

#include "core/modeling/local_volatility_case.hpp"
#include "support/matchers.hpp"

namespace ximCORE::Modeling {
namespace {

using ximTest::IsNearRel;

class DupireCalibrationTest : public LocalVolatilityCase {
 protected:
    DupireCalibrationTest() : asset(add(share("A"), 100.0)) {}

    /// Undiscounted call on a forward of 1, from the total variance of the surface.
    double call(double t, double k) {
        double const s = std::sqrt(surface(*asset).eval(t, k));
        auto const cdf = [](double x) { return 0.5 * std::erfc(-x / std::sqrt(2.0)); };
        return cdf(-k / s + 0.5 * s) - std::exp(k) * cdf(-k / s - 0.5 * s);
    }

    std::shared_ptr<Data::Underlying> asset;
};

TEST_F(DupireCalibrationTest, EveryCellOfAFlatSurfaceIsTheFlatVariance) {
    information.add_fixing(one_year);
    Helper helper;
    prepare(helper);
    auto const& grid = local(helper, 0).local_variances;
    ASSERT_EQ(grid.c_get_rows(), 184U);
    ASSERT_EQ(grid.c_get_cols(), 1000U);
    for (double const cell : grid) ASSERT_THAT(cell, IsNearRel(0.04, 1e-11));
}

TEST_F(DupireCalibrationTest, AShiftOfTheVolatilityMovesEveryCell) {
    push<Data::MarketDataVolatilityPerturbationItem>(
        Shift::Kind::additive, Shift::Unit::percentage, 5.0,
        static_cast<Data::Underlying const*>(asset.get()));
    fix_after({9});
    Helper helper;
    prepare(helper);
    for (double const cell : local(helper, 0).local_variances)
        ASSERT_THAT(cell, IsNearRel(0.0625, 1e-11));
}

TEST_F(DupireCalibrationTest, TheGridReachesTenDeviationsOfTheLastDateToBothSides) {
    information.add_fixing(half_year);
    information.add_fixing(one_year);
    Helper::s_space_size = 11;
    Helper helper;
    prepare(helper);
    auto const& model = local(helper, 0);
    EXPECT_THAT(model.upper, IsNearRel(2.0, 1e-14));
    EXPECT_EQ(model.lower, -model.upper);
    EXPECT_THAT(model.step, IsNearRel(0.4, 1e-14));
    EXPECT_EQ(model.local_variances.c_get_rows(), helper.c_get_times().size());
}

TEST_F(DupireCalibrationTest, TheFirstRowIsTheVarianceOfTheFirstStepAtTheForward) {
    set_smile(*asset, c_skew);
    fix_after({5});
    Helper helper;
    prepare(helper);
    auto const& grid = local(helper, 0).local_variances;
    double const dt = 2.0 / 365.0;
    for (std::uint64_t column = 0; column < 1000; ++column)
        ASSERT_EQ(grid.get(0, column), surface(*asset).at_the_money_eval(dt) / dt);
}

TEST_F(DupireCalibrationTest, AStepOfNoLengthTakesTheNextOneThatHasSome) {
    set_smile(*asset, c_skew);
    fix_after({0, 6});
    Helper helper;
    prepare(helper);
    ASSERT_EQ(helper.c_get_time_steps().front(), 0.0);
    auto const& grid = local(helper, 0).local_variances;
    double const dt = 2.0 / 365.0;
    for (std::uint64_t row : {0U, 1U})
        EXPECT_EQ(grid.get(row, 17), surface(*asset).at_the_money_eval(dt) / dt);
}

// The same local variance from prices: 2 dC/dT / (K^2 d2C/dK2) on a forward of 1 (B. Dupire,
// "Pricing with a smile", 1994), by differences of the undiscounted call.
TEST_F(DupireCalibrationTest, TheCellsOfASkewedSurfaceAgreeWithTheFormulaInPrices) {
    set_smile(*asset, c_skew);
    information.add_fixing(one_year);
    Helper helper;
    prepare(helper);
    auto const& model = local(helper, 0);
    double least = 1.0;
    double most = 0.0;
    for (std::uint64_t row : {40U, 90U, 150U, 182U}) {
        double const t = helper.c_get_times()[row];
        double const dt = 0.5 / 365.0;
        for (double const moneyness : {-0.4, -0.25, -0.1, 0.0, 0.1, 0.2}) {
            double const k = moneyness * std::sqrt(t);
            double const strike = std::exp(k);
            double const dk = 1e-3;
            double const dc_dt = (call(t + 2.0 * dt, k) - call(t, k)) / (2.0 * dt);
            auto const c = [&](double x) { return call(t, std::log(x)); };
            double const d2c_dk2 = (c(strike + dk) - 2.0 * c(strike) + c(strike - dk)) / (dk * dk);
            double const variance = 2.0 * dc_dt / (strike * strike * d2c_dk2);
            EXPECT_THAT(model.c_interpolate(row, k), IsNearRel(variance, 0.02))
                << "t = " << t << ", k = " << k;
            least = std::min(least, variance);
            most = std::max(most, variance);
        }
    }
    EXPECT_GT(most, 3.0 * least);  // the surface is far from flat
}

TEST_F(DupireCalibrationTest, FloorAndCapBoundEveryCell) {
    set_smile(*asset, {.rho = -0.9, .eta = 6.0, .gamma = 0.5});  // not free of arbitrage
    fix_after({30});
    Helper helper;
    prepare(helper);
    auto const& grid = local(helper, 0).local_variances;
    EXPECT_TRUE(std::ranges::all_of(grid, [](double x) { return x >= 0.0 && x <= 10.0; }));
    EXPECT_GT(std::ranges::count(grid, 0.0), 0);
    EXPECT_GT(std::ranges::count(grid, 10.0), 0);
    Helper::s_floor = 0.01;
    Helper::s_cap = 0.09;
    prepare(helper);
    auto const& narrow = local(helper, 0).local_variances;
    EXPECT_EQ(std::ranges::count(narrow, 0.01) > 0, true);
    EXPECT_EQ(std::ranges::count(narrow, 0.09) > 0, true);
    EXPECT_TRUE(std::ranges::all_of(narrow, [](double x) { return x >= 0.01 && x <= 0.09; }));
}

TEST_F(DupireCalibrationTest, ALocalVarianceThatIsNotANumberPassesFloorAndCap) {
    // the root of the form has no value at all on the left of the forward
    set_smile(*asset, {.rho = 1.0, .eta = 1.0, .gamma = 0.0});
    dynamic_cast<Data::StochasticVolatilityInspired&>(*surface(*asset).get_smiler())
        .one_minus_rho_squared = -0.9;
    fix_after({400});
    Helper helper;
    prepare(helper);
    auto const& model = local(helper, 0);
    EXPECT_TRUE(std::isnan(model.c_interpolate(100, -1.0)));
    EXPECT_FALSE(std::isnan(model.c_interpolate(100, 1.0)));
    for (std::uint64_t trial = 0; trial < 20; ++trial) helper.diffuse(trial);  // no crash
}

TEST_F(DupireCalibrationTest, EveryStateHasAGridOfItsOwn) {
    fix_after({9});
    Helper helper;
    prepare(helper);
    push<Data::MarketDataVolatilityPerturbationItem>(
        Shift::Kind::additive, Shift::Unit::percentage, 1.0,
        static_cast<Data::Underlying const*>(asset.get()));
    helper.set_vega_up(1);
    helper.switch_to_vega_up(0);
    ASSERT_TRUE(helper.calibrate(today, *currency("EUR"), information.lists));
    auto const& bumped = local(helper, 0);
    EXPECT_THAT(bumped.c_interpolate(2, 0.0), IsNearRel(0.21 * 0.21, 1e-11));
    helper.switch_to_central();
    auto const& central = local(helper, 0);
    EXPECT_NE(&bumped, &central);
    EXPECT_THAT(central.c_interpolate(2, 0.0), IsNearRel(0.04, 1e-11));
}

TEST_F(DupireCalibrationTest, AGridBeyondAGibibyteIsRefused) {
    fix_after({40});
    Helper::s_space_size = (std::uint64_t{1} << 27U) / 21 + 1;  // the grid has 21 dates
    Helper helper;
    helper.set(today, Toolbox::DayCounter(), information.lists, nullptr);
    helper.switch_to_central();
    EXPECT_THAT([&] { EXPECT_FALSE(helper.calibrate(today, *currency("EUR"), information.lists)); },
                ximTest::LogsError("Local volatility over too many dates: 21"));
}

TEST_F(DupireCalibrationTest, ASurfaceWithoutVarianceGivesAGridOnWhichNothingMoves) {
    push<Data::MarketDataVolatilityPerturbationItem>(
        Shift::Kind::assignment, Shift::Unit::percentage, 0.0,
        static_cast<Data::Underlying const*>(asset.get()));
    fix_after({4, 9});
    Helper helper;
    prepare(helper);
    helper.diffuse(0);
    EXPECT_EQ(value(helper, 0, 0), 100.0);
    EXPECT_EQ(value(helper, 1, 0), 100.0);
}

}  // namespace
}  // namespace ximCORE::Modeling
