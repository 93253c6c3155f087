#include "core/data/curves/yield_curve_stripper.hpp"

#include <cmath>
#include <functional>

#include "core/data/interest_rates.hpp"
#include "support/market.hpp"

namespace ximCORE::Data {
namespace {

class YieldCurveStripperTest : public Testing::MarketTest {
 protected:
    using Stripper = YieldCurveLegacyStripper;

    template <class Rate>
    InterestRateLikeUnderlying const* add(std::shared_ptr<Rate> rate) {
        EXPECT_TRUE(rate->build(today));
        auto const asset = underlying("R" + std::to_string(rates.size()), "EUR", rate);
        rates.push_back(rate);
        instruments.push_back({rate.get(), cache().get_spot(today, asset.get(), Level::silent)});
        return rate.get();
    }

    InterestRateLikeUnderlying const* add_deposit(std::string const& start,
                                                  std::string const& end) {
        auto rate = std::make_shared<DepositRate>();
        rate->set_start(start);
        rate->set_end(end);
        return add(rate);
    }

    InterestRateLikeUnderlying const* add_bond(std::string const& start, std::string const& end) {
        auto bond = std::make_shared<ZeroCouponBond>();
        bond->set_start(start);
        bond->set_end(end);
        return add(bond);
    }

    InterestRateLikeUnderlying const* add_swap(std::string const& end,
                                               std::string const& frequency) {
        auto swap = std::make_shared<SwapRate>();
        swap->set_end(end);
        swap->set_frequency(frequency);
        return add(swap);
    }

    Stripper make(double alpha) const { return {today, Toolbox::DayCounter(), alpha, instruments}; }

    /// Solves the knots one after the other for the quotes given, as a strip would.
    void solve(Stripper& stripper, std::vector<double> const& quotes) const {
        double forward = 0.0;
        for (std::size_t i = 0; i < quotes.size(); ++i) {
            auto& knot = stripper.get_knots().unsafe_get(i);
            knot.has_rate = true;
            YieldCurveSolver const solver(knot.rate, &instruments[i], quotes[i], &stripper);
            Toolbox::NewtonRaphson newton(0.5);
            ASSERT_TRUE(Toolbox::rootfinder(solver, {&newton}, knot.rate, 1e-8, 100, nullptr));
            ASSERT_TRUE(static_cast<YieldCurveStripper const&>(stripper).c_eval(
                knot.time, knot.zero_coupon, forward));
            knot.has_zero_coupon = true;
        }
    }

    /// Knots set by hand: rates at the maturities of the instruments, zero coupons by quadrature of
    /// the forward.
    static void set_knots(Stripper& stripper, std::vector<double> const& knot_rates) {
        double forward = 0.0;
        for (std::size_t i = 0; i < knot_rates.size(); ++i) {
            auto& knot = stripper.get_knots().unsafe_get(i);
            knot.rate = knot_rates[i];
            knot.has_rate = true;
            ASSERT_TRUE(stripper.c_eval(knot.time, knot.zero_coupon, forward));
            knot.has_zero_coupon = true;
        }
    }

    static double zero_coupon(Stripper const& stripper, double t) {
        double result = 0.0;
        double forward = 0.0;
        EXPECT_TRUE(stripper.c_eval(t, result, forward));
        return result;
    }

    static double forward(Stripper const& stripper, double t) {
        double result = 0.0;
        double forward = 0.0;
        EXPECT_TRUE(stripper.c_eval(t, result, forward));
        return forward;
    }

    std::vector<std::shared_ptr<InterestRateLikeUnderlying>> rates;
    std::vector<YieldCurveInstrument> instruments;
};

TEST_F(YieldCurveStripperTest, KnotsStandAtTheMaturitiesAndStartEmpty) {
    add_deposit("", "+1y");
    add_deposit("", "+2y");
    auto const stripper = make(0.5);
    ASSERT_EQ(stripper.c_get_knots().c_get_size(), 2U);
    EXPECT_EQ(stripper.c_get_knots().get(0).time, 1.0);
    EXPECT_EQ(stripper.c_get_knots().get(1).time, 731.0 / 365.0);
    EXPECT_FALSE(stripper.c_get_knots().get(0).has_rate);
    EXPECT_FALSE(stripper.c_get_knots().get(0).has_zero_coupon);
}

TEST_F(YieldCurveStripperTest, WithoutInstrumentsStrippingSucceedsAndNothingCanBeEvaluated) {
    auto stripper = make(0.5);
    EXPECT_TRUE(stripper.strip());
    double zero_coupon = -1.0;
    double forward = -1.0;
    EXPECT_FALSE(stripper.c_eval(1.0, zero_coupon, forward));
    EXPECT_EQ(zero_coupon, -1.0);
    EXPECT_EQ(forward, -1.0);
}

TEST_F(YieldCurveStripperTest, UnsolvedKnotsCannotBeEvaluated) {
    add_deposit("", "+1y");
    add_deposit("", "+2y");
    auto const stripper = make(0.5);
    for (double const t : {0.0, 0.5, 1.0, 1.5, 731.0 / 365.0, 3.0}) {
        double zero_coupon = -1.0;
        double forward = -1.0;
        EXPECT_FALSE(stripper.c_eval(t, zero_coupon, forward)) << t;
        EXPECT_EQ(zero_coupon, -1.0);
    }
}

// One year, 365 days: (1 + q) exp(-r) = 1.
TEST_F(YieldCurveStripperTest, ADepositFromTodaySolvesToTheLogarithmOfItsReturn) {
    add_deposit("", "+1y");
    auto stripper = make(0.5);
    solve(stripper, {0.03});
    EXPECT_NEAR(stripper.c_get_knots().get(0).rate, std::log(1.03), 1e-8);
    EXPECT_NEAR(zero_coupon(stripper, 0.25), std::pow(1.03, -0.25), 1e-8);
    EXPECT_NEAR(forward(stripper, 0.25), std::log(1.03), 1e-8);
}

// A bond of price p at one year: exp(-r) = p.
TEST_F(YieldCurveStripperTest, AZeroCouponBondSolvesToMinusTheLogarithmOfItsPrice) {
    add_bond("", "+1y");
    auto stripper = make(0.5);
    solve(stripper, {0.96});
    EXPECT_NEAR(stripper.c_get_knots().get(0).rate, -std::log(0.96), 1e-8);
}

// Piecewise flat (alpha 0): the forward deposit fixes the second rate alone, (1 + c q) exp(-c r)
// = 1.
TEST_F(YieldCurveStripperTest, WithAlphaZeroAForwardDepositGivesTheRateOfItsOwnInterval) {
    add_deposit("", "+1y");
    add_deposit("+1y", "+2y");
    auto stripper = make(0.0);
    solve(stripper, {0.03, 0.05});
    double const coverage = 366.0 / 365.0;
    EXPECT_NEAR(stripper.c_get_knots().get(1).rate, std::log(1.0 + 0.05 * coverage) / coverage,
                1e-8);
    EXPECT_NEAR(forward(stripper, 1.5), stripper.c_get_knots().get(1).rate, 1e-15);
    EXPECT_NEAR(forward(stripper, 0.9), stripper.c_get_knots().get(0).rate, 1e-15);
}

// Linear (alpha 1): the integral over the second interval is the mean of its two rates times its
// length.
TEST_F(YieldCurveStripperTest, WithAlphaOneTheMeanOfTwoRatesPricesTheSecondInterval) {
    add_deposit("", "+1y");
    add_deposit("+1y", "+2y");
    auto stripper = make(1.0);
    solve(stripper, {0.03, 0.05});
    double const coverage = 366.0 / 365.0;
    double const mean = std::log(1.0 + 0.05 * coverage) / coverage;
    EXPECT_NEAR(stripper.c_get_knots().get(1).rate, 2.0 * mean - std::log(1.03), 2e-8);
    EXPECT_NEAR(forward(stripper, 1.0 + 0.5 * coverage), mean, 1e-8);
}

TEST_F(YieldCurveStripperTest, AStrippedCurveRepricesDepositsBondsAndSwaps) {
    for (double const alpha : {0.0, 0.3, 0.5, 1.0}) {
        rates.clear();
        instruments.clear();
        add_deposit("", "+1y");
        add_bond("", "+2y");
        add_swap("+3y", "+1y");
        auto stripper = make(alpha);
        std::vector<double> const quotes{0.03, 0.93, 0.04};
        solve(stripper, quotes);
        for (std::size_t i = 0; i < quotes.size(); ++i) {
            double residual = 1.0;
            ASSERT_TRUE(rates[i]->c_eval(quotes[i], &stripper, residual));
            EXPECT_NEAR(residual, 0.0, 1e-9) << "instrument " << i << " alpha " << alpha;
        }
        double const z1 = zero_coupon(stripper, 1.0);
        double const z2 = zero_coupon(stripper, 731.0 / 365.0);
        double const z3 = zero_coupon(stripper, 1096.0 / 365.0);
        EXPECT_NEAR(z1, 1.0 / 1.03, 1e-9);
        EXPECT_NEAR(z2, 0.93, 1e-9);
        // par swap by hand: 1 - z3 = q (z1 + 366/365 z2 + z3)
        EXPECT_NEAR(z3, (1.0 - 0.04 * (z1 + 366.0 / 365.0 * z2)) / 1.04, 1e-9);
    }
}

// Independent check of the curve between knots: the zero coupon is the exponential of minus the
// integral of the forward, here by the midpoint rule.
TEST_F(YieldCurveStripperTest, TheZeroCouponIntegratesTheForwardBetweenKnots) {
    for (double const alpha : {0.0, 0.25, 0.5, 1.0}) {
        rates.clear();
        instruments.clear();
        for (auto const* end : {"+1y", "+2y", "+4y"}) add_deposit("", end);
        auto stripper = make(alpha);
        set_knots(stripper, {0.02, 0.05, -0.01});
        int const steps = 20000;
        double const last = stripper.c_get_knots().get(2).time;
        double const step = last / steps;
        double integral = 0.0;
        for (int i = 0; i < steps; ++i) {
            integral += step * forward(stripper, (i + 0.5) * step);
            double const t = (i + 1) * step;
            if (i % 1000 != 999 || t > last) continue;
            EXPECT_NEAR(zero_coupon(stripper, t), std::exp(-integral), 5e-6)
                << "t " << t << " alpha " << alpha;
        }
    }
}

TEST_F(YieldCurveStripperTest, TheForwardRisesLinearlyToTheSwitchTimeThenStaysFlat) {
    add_deposit("", "+1y");
    add_deposit("", "+3y");  // 1096 days
    auto stripper = make(0.5);
    set_knots(stripper, {0.02, 0.06});
    double const switch_time = 0.5 * (1.0 + 1096.0 / 365.0);
    EXPECT_NEAR(forward(stripper, 0.5 * (1.0 + switch_time)), 0.04, 1e-15);
    EXPECT_EQ(forward(stripper, switch_time), 0.06);
    EXPECT_EQ(forward(stripper, switch_time + 0.2), 0.06);
    double const area = 0.5 * (switch_time - 1.0) * 0.08;
    EXPECT_NEAR(zero_coupon(stripper, switch_time), std::exp(-0.02 - area), 1e-15);
    EXPECT_NEAR(zero_coupon(stripper, switch_time + 0.2), std::exp(-0.02 - area - 0.2 * 0.06),
                1e-15);
}

TEST_F(YieldCurveStripperTest, AnInteriorKnotIsServedByTheIntervalThatEndsThere) {
    for (auto const* end : {"+1y", "+2y", "+3y", "+4y", "+5y"}) add_deposit("", end);
    auto stripper = make(0.0);  // piecewise flat: the two intervals at a knot disagree
    set_knots(stripper, {0.01, 0.02, 0.03, 0.04, 0.05});
    for (std::uint64_t knot = 0; knot < 5; ++knot) {
        double const t = stripper.c_get_knots().get(knot).time;
        EXPECT_EQ(forward(stripper, t), 0.01 * static_cast<double>(knot + 1)) << knot;
        EXPECT_NEAR(zero_coupon(stripper, t), stripper.c_get_knots().get(knot).zero_coupon, 1e-15);
    }
}

TEST_F(YieldCurveStripperTest, AfterAFinishedStripThereIsNoRateBeyondTheLastKnot) {
    add_deposit("", "+1y");
    auto stripper = make(0.5);
    auto& knot = stripper.get_knots().unsafe_get(0);
    knot = {.time = 1.0, .rate = 0.03, .has_rate = true, .zero_coupon = 0.9};
    EXPECT_NEAR(zero_coupon(stripper, 2.0), 0.9 * std::exp(-0.03), 1e-15);
    EXPECT_EQ(forward(stripper, 2.0), 0.03);
    knot.has_zero_coupon = true;
    double zero_coupon = -1.0;
    double forward = -1.0;
    EXPECT_FALSE(stripper.c_eval(2.0, zero_coupon, forward));
    EXPECT_EQ(zero_coupon, -1.0);
}

TEST_F(YieldCurveStripperTest, TheDateFormMeasuresTimeFromTheDateOfTheCurve) {
    add_deposit("", "+1y");
    auto stripper = make(0.5);
    set_knots(stripper, {0.03});
    double by_date = 0.0;
    double forward = 0.0;
    ASSERT_TRUE(stripper.c_eval(half_year, by_date, forward));
    EXPECT_EQ(by_date, zero_coupon(stripper, 182.0 / 365.0));
}

TEST_F(YieldCurveStripperTest, StrippingSolvesInstrumentsWithoutQuotesForAQuoteOfZero) {
    add_deposit("", "+1y");
    add_swap("+3y", "+1y");
    auto stripper = make(0.5);
    ASSERT_TRUE(stripper.strip());
    for (auto const& knot : stripper.c_get_knots()) {
        EXPECT_NEAR(knot.rate, 0.0, 1e-8);
        EXPECT_NEAR(knot.zero_coupon, 1.0, 1e-8);
        EXPECT_TRUE(knot.has_rate && knot.has_zero_coupon);
    }
}

TEST_F(YieldCurveStripperTest, AnInstrumentWithAQuoteIsNotSolvedOneWithoutIsSolvedForAQuoteOfZero) {
    add_deposit("", "+1y");
    add_deposit("", "+2y");
    instruments[1].spot->set_val(0.02F);
    auto stripper = make(0.5);
    EXPECT_FALSE(stripper.strip());
    EXPECT_TRUE(stripper.c_get_knots().get(0).has_zero_coupon);
    EXPECT_TRUE(stripper.c_get_knots().get(1).has_rate);
    EXPECT_FALSE(stripper.c_get_knots().get(1).has_zero_coupon);
}

TEST_F(YieldCurveStripperTest, AnEquationWithoutRootEndsTheStrip) {
    add_bond("", "+1y");  // no rate makes a bond worth a quote of 0
    auto stripper = make(0.5);
    EXPECT_FALSE(stripper.strip());
    EXPECT_FALSE(stripper.c_get_knots().get(0).has_zero_coupon);
}

TEST_F(YieldCurveStripperTest, ASwapWithoutPeriodsHasAResidualOfZeroAndCannotBeSolved) {
    add_swap("+3y", "");
    auto stripper = make(0.5);
    double residual = 1.0;
    EXPECT_TRUE(rates[0]->c_eval(0.04, &stripper, residual));
    EXPECT_EQ(residual, 0.0);
    EXPECT_FALSE(stripper.strip());  // the derivative is 0 too
}

TEST_F(YieldCurveStripperTest, AnInstrumentWithoutUnderlyingOrSpotIsNotSolved) {
    add_deposit("", "+1y");
    auto stripper = make(0.5);
    double rate = 0.0;
    EXPECT_FALSE(
        (YieldCurveInstrument{nullptr, instruments[0].spot}.c_solve(&stripper, 0.5, rate)));
    EXPECT_FALSE((YieldCurveInstrument{rates[0].get(), nullptr}.c_solve(&stripper, 0.5, rate)));
}

TEST_F(YieldCurveStripperTest, AResidualFailsWhereTheStripperDoes) {
    for (auto const* end : {"+1y", "+2y"}) add_deposit("", end);
    add_bond("", "+2y");
    add_swap("+2y", "+1y");
    auto const stripper = make(0.5);
    for (auto const& rate : rates) {
        double residual = 0.0;
        EXPECT_FALSE(rate->c_eval(0.01, &stripper, residual));
    }
}

TEST_F(YieldCurveStripperTest, TheSolverGivesAForwardDifferenceAndLeavesTheKnotAtItsArgument) {
    add_deposit("", "+1y");
    auto stripper = make(0.5);
    auto& knot = stripper.get_knots().unsafe_get(0);
    knot.has_rate = true;
    double const quote = 0.03;
    YieldCurveSolver const solver(knot.rate, &instruments[0], quote, &stripper);
    double f = 0.0;
    double df = 0.0;
    ASSERT_TRUE(solver.c_compute_value_and_derivative(0.02, f, df));
    EXPECT_NEAR(f, 1.03 * std::exp(-0.02) - 1.0, 1e-15);
    EXPECT_NEAR(df, (1.03 * std::exp(-0.0201) - 1.03 * std::exp(-0.02)) * 10000.0, 1e-10);
    EXPECT_EQ(knot.rate, 0.02);
}

TEST_F(YieldCurveStripperTest, ACopyHasItsOwnKnotsAndTakesNewInstruments) {
    add_deposit("", "+1y");
    auto stripper = make(0.5);
    set_knots(stripper, {0.03});
    auto const copy = stripper.c_clone();
    std::vector<YieldCurveInstrument> const others = instruments;
    copy->set_instruments(&others);
    stripper.get_knots().unsafe_get(0).rate = 0.5;
    double zero_coupon = 0.0;
    double forward = 0.0;
    ASSERT_TRUE(copy->c_eval(0.5, zero_coupon, forward));
    EXPECT_EQ(forward, 0.03);
}

TEST_F(YieldCurveStripperTest, ASwapCutsItsLastPeriodAtTheEnd) {
    auto swap = std::make_shared<SwapRate>();
    swap->set_end("+30m");
    swap->set_frequency("+1y");
    ASSERT_TRUE(swap->build(today));
    EXPECT_EQ(swap->c_get_nb_periods(), 3U);
    EXPECT_EQ(swap->c_get_maturity_date(), Date(2025, 7, 1));
}

}  // namespace
}  // namespace ximCORE::Data
