#include "core/data/curves/yield_curve.hpp"

#include <cmath>
#include <random>

#include "core/data/interest_rates.hpp"
#include "support/market.hpp"

namespace ximCORE::Data {
namespace {

using ::testing::IsEmpty;

class YieldCurveTest : public Testing::MarketTest {
 protected:
    void shift(Shift::Kind kind, Shift::Unit unit, double value) const {
        push<MarketDataYieldPerturbationItem>(kind, unit, value, euro.get());
    }

    /// A deposit from `start` to `end` (shifts of the date) whose dates are built.
    static std::shared_ptr<DepositRate> deposit(std::string const& start, std::string const& end,
                                                Date const& date) {
        auto result = std::make_shared<DepositRate>();
        result->set_start(start);
        result->set_end(end);
        EXPECT_TRUE(result->build(date));
        return result;
    }

    std::shared_ptr<Currency> const euro = currency("EUR");
    YieldCurve& curve = yield_curve(*euro);
};

TEST_F(YieldCurveTest, WithoutInstrumentsAndShiftsTheZeroCouponIsOneAndAllRatesAreZero) {
    for (auto const& date : {half_year, one_year, two_years, Date(2093, 5, 17)}) {
        EXPECT_EQ(curve.eval_zero_coupon(date), 1.0);
        EXPECT_EQ(curve.eval_deposit_rate(date), 0.0);
        EXPECT_EQ(curve.eval_continuous_rate(date), 0.0);
        EXPECT_EQ(curve.eval_continuous_forward_rate(date), 0.0);
    }
    EXPECT_EQ(curve.c_get_stripper(), nullptr);
}

TEST_F(YieldCurveTest, TheContinuousRateEntersTheZeroCouponWithAPlusSign) {
    shift(Shift::Kind::additive, Shift::Unit::percentage, 1.0);
    EXPECT_DOUBLE_EQ(curve.eval_zero_coupon(2.0), std::exp(0.02));
    EXPECT_NEAR(curve.eval_continuous_rate(two_years), -0.01, 1e-15);
}

TEST_F(YieldCurveTest, AnAdditiveShiftGivesTheExponentialOfTimeTimesShiftForAnyTime) {
    std::mt19937 generator(11);
    std::uniform_real_distribution<double> basis_points(-500.0, 500.0);
    std::uniform_real_distribution<double> time(0.001, 50.0);
    for (int i = 0; i < 100; ++i) {
        double const bump = basis_points(generator);
        double const t = time(generator);
        shift(Shift::Kind::additive, Shift::Unit::basis_point, bump);
        EXPECT_NEAR(curve.eval_zero_coupon(t) / std::exp(t * bump * 1e-4), 1.0, 1e-13);
        pop();
    }
    EXPECT_EQ(curve.eval_zero_coupon(3.0), 1.0);
}

TEST_F(YieldCurveTest, ShiftsActInTheOrderOfTheirPushes) {
    shift(Shift::Kind::additive, Shift::Unit::percentage, 1.0);
    shift(Shift::Kind::multiplicative, Shift::Unit::none, 3.0);
    EXPECT_NEAR(curve.eval_zero_coupon(1.0), std::exp(0.03), 1e-15);
    pop();
    pop();
    shift(Shift::Kind::multiplicative, Shift::Unit::none, 3.0);
    shift(Shift::Kind::additive, Shift::Unit::percentage, 1.0);
    EXPECT_NEAR(curve.eval_zero_coupon(1.0), std::exp(0.01), 1e-15);
}

TEST_F(YieldCurveTest, AShiftOfAnotherCurrencyChangesNothing) {
    auto const dollar = currency("USD");
    push<MarketDataYieldPerturbationItem>(Shift::Kind::assignment, Shift::Unit::percentage, 9.0,
                                          dollar.get());
    EXPECT_EQ(curve.eval_zero_coupon(one_year), 1.0);
}

TEST_F(YieldCurveTest, AShiftNamesACurrencyByItsTicker) {
    Currency const twin("EUR", true);
    push<MarketDataYieldPerturbationItem>(Shift::Kind::additive, Shift::Unit::percentage, 2.0,
                                          &twin);
    EXPECT_DOUBLE_EQ(curve.eval_zero_coupon(1.0), std::exp(0.02));
}

TEST_F(YieldCurveTest, TheZeroCouponAtTimeZeroIsOneWhateverTheShifts) {
    shift(Shift::Kind::assignment, Shift::Unit::percentage, 50.0);
    shift(Shift::Kind::additive, Shift::Unit::percentage, -7.0);
    EXPECT_EQ(curve.eval_zero_coupon(0.0), 1.0);
    EXPECT_EQ(curve.eval_zero_coupon(today), 1.0);
}

TEST_F(YieldCurveTest, NoGuardAtTheDateOfTheCurve) {
    EXPECT_FALSE(std::isfinite(curve.eval_deposit_rate(today)));
    EXPECT_FALSE(std::isfinite(curve.eval_continuous_rate(today)));
}

TEST_F(YieldCurveTest, TheDepositRateIsTheSimpleRateOfTheShiftedZeroCoupon) {
    shift(Shift::Kind::additive, Shift::Unit::percentage, 2.0);
    double const t = 182.0 / 365.0;
    EXPECT_NEAR(curve.eval_deposit_rate(half_year), (std::exp(-0.02 * t) - 1.0) / t, 1e-14);
}

TEST_F(YieldCurveTest, AllRatesAtOnceIgnoreTheShifts) {
    shift(Shift::Kind::additive, Shift::Unit::percentage, 2.0);
    double zero_coupon = -1.0;
    double deposit = -1.0;
    double continuous = -1.0;
    double forward = -1.0;
    curve.eval(one_year, zero_coupon, deposit, continuous, forward);
    EXPECT_EQ(zero_coupon, 1.0);
    EXPECT_EQ(deposit, 0.0);
    EXPECT_EQ(continuous, 0.0);
    EXPECT_EQ(forward, 0.0);
}

TEST_F(YieldCurveTest, AShiftDoesNotMarkTheCurveDirty) {
    std::ignore = curve.eval_zero_coupon(1.0);
    ASSERT_FALSE(curve.c_is_dirty());
    shift(Shift::Kind::additive, Shift::Unit::percentage, 2.0);
    EXPECT_FALSE(curve.c_is_dirty());
}

TEST_F(YieldCurveTest, AnInstrumentWithoutQuoteIsSolvedForAQuoteOfZeroAndReportsTheMissingQuote) {
    auto const rate = deposit("", "+1y", today);
    auto const asset = underlying("EUR1Y", "EUR", rate);
    curve.get_instruments().push_back(
        {rate.get(), cache().get_spot(today, asset.get(), Level::silent)});
    EXPECT_NEAR(curve.eval_zero_coupon(1.0), 1.0, 1e-10);
    EXPECT_NEAR(curve.eval_continuous_forward_rate(half_year), 0.0, 1e-10);
    EXPECT_THAT(errors(), ::testing::ElementsAre(
                              "Cannot find spot at '2023-01-01' for underlying with ticker "
                              "'EUR1Y'"));
    EXPECT_NEAR(curve.price_instruments().front().price, 0.0, 1e-10);
}

TEST_F(YieldCurveTest, AnInstrumentWithAQuoteIsNotSolvedAndTheZeroCouponStaysOne) {
    auto const rate = deposit("", "+1y", today);
    auto const asset = underlying("EUR1Y", "EUR", rate);
    set_spot(*asset, 0.03);
    curve.get_instruments().push_back(
        {rate.get(), cache().get_spot(today, asset.get(), Level::silent)});
    std::ignore = curve.eval_zero_coupon(1.0);
    ASSERT_NE(curve.c_get_stripper(), nullptr);
    auto const& knots =
        dynamic_cast<YieldCurveLegacyStripper const&>(*curve.c_get_stripper()).c_get_knots();
    EXPECT_EQ(knots.get(0).rate, 0.0);
    EXPECT_FALSE(knots.get(0).has_zero_coupon);
    EXPECT_EQ(curve.eval_zero_coupon(2.0),
              1.0);  // beyond the unsolved knot too
    EXPECT_THAT(errors(), IsEmpty());
}

/// A curve of one instrument without quote, whose single knot is then set to a rate by hand.
class StrippedYieldCurveTest : public YieldCurveTest {
 protected:
    StrippedYieldCurveTest() {
        asset->set_impl(rate);
        curve.get_instruments().push_back(
            {rate.get(), cache().get_spot(today, asset.get(), Level::silent)});
        std::ignore = curve.eval_zero_coupon(1.0);
        set_rate(curve, 0.04);
    }

    static void set_rate(YieldCurve& target, double value) {
        auto& stripper = const_cast<YieldCurveStripper&>(*target.c_get_stripper());
        auto& knot = dynamic_cast<YieldCurveLegacyStripper&>(stripper).get_knots().unsafe_get(0);
        knot.rate = value;
        knot.zero_coupon = std::exp(-value * knot.time);
    }

    std::shared_ptr<DepositRate> const rate = deposit("", "+1y", today);
    std::shared_ptr<Underlying> const asset = underlying("EUR1Y", "EUR", rate);
};

TEST_F(StrippedYieldCurveTest, TheZeroCouponIsTheReciprocalOfTheStrippers) {
    EXPECT_NEAR(curve.eval_zero_coupon(0.75), std::exp(0.04 * 0.75), 1e-14);
    EXPECT_NEAR(curve.eval_continuous_rate(one_year), -0.04, 1e-14);
}

TEST_F(StrippedYieldCurveTest, AShiftAddsToTheStrippedRate) {
    shift(Shift::Kind::additive, Shift::Unit::percentage, 1.0);
    EXPECT_NEAR(curve.eval_zero_coupon(0.5), std::exp(0.05 * 0.5), 1e-14);
    EXPECT_NEAR(curve.eval_continuous_forward_rate(half_year), 0.04, 1e-15);
}

TEST_F(StrippedYieldCurveTest, AllRatesAtOnceReadTheStripperAsItIs) {
    double zero_coupon = 0.0;
    double deposit_rate = 0.0;
    double continuous = 0.0;
    double forward = 0.0;
    curve.eval(one_year, zero_coupon, deposit_rate, continuous, forward);
    EXPECT_NEAR(zero_coupon, std::exp(-0.04), 1e-15);
    EXPECT_NEAR(deposit_rate, std::exp(0.04) - 1.0, 1e-14);
    EXPECT_NEAR(continuous, 0.04, 1e-15);
    EXPECT_EQ(forward, 0.04);
}

TEST_F(StrippedYieldCurveTest, BeyondTheLastKnotAFinishedStripGivesAZeroCouponOfOne) {
    EXPECT_EQ(curve.eval_zero_coupon(1.5), 1.0);
    EXPECT_EQ(curve.eval_continuous_forward_rate(two_years), 0.0);
}

TEST_F(StrippedYieldCurveTest, InstrumentsArePricedOnTheReciprocalZeroCoupons) {
    EXPECT_NEAR(curve.price_instruments().front().price, std::exp(-0.04) - 1.0, 1e-14);
}

TEST_F(StrippedYieldCurveTest, ACopyStripsItsOwnInstrumentsOnItsFirstEvaluation) {
    auto copy = curve.c_clone();
    ASSERT_NE(copy->c_get_stripper(), nullptr);
    EXPECT_NE(copy->c_get_stripper(), curve.c_get_stripper());
    double zero_coupon = 0.0;
    double forward = 0.0;
    ASSERT_TRUE(copy->c_get_stripper()->c_eval(0.5, zero_coupon, forward));
    EXPECT_NEAR(zero_coupon, std::exp(-0.02), 1e-15);
    curve.get_instruments().clear();
    EXPECT_NEAR(copy->eval_zero_coupon(0.5), 1.0, 1e-10);  // stripped anew, for a quote of 0
}

TEST_F(StrippedYieldCurveTest, ACopyKeepsTheShiftsInForceAndIgnoresLaterOnes) {
    shift(Shift::Kind::additive, Shift::Unit::percentage, 1.0);
    auto copy = yield_curve(*currency("USD")).c_clone();
    push<MarketDataYieldPerturbationItem>(Shift::Kind::additive, Shift::Unit::percentage, 1.0,
                                          cache().get_currency("USD", Level::silent).get());
    EXPECT_EQ(copy->eval_zero_coupon(1.0), 1.0);
    auto const shifted = yield_curve(*currency("USD")).c_clone();
    pop();
    EXPECT_DOUBLE_EQ(shifted->eval_zero_coupon(1.0), std::exp(0.01));
}

TEST_F(YieldCurveTest, AnUnknownStripperKindMakesNoStripper) {
    auto const rate = deposit("", "+1y", today);
    auto const asset = underlying("EUR1Y", "EUR", rate);
    curve.get_instruments().push_back(
        {rate.get(), cache().get_spot(today, asset.get(), Level::silent)});
    YieldCurve::s_stripper_kind = static_cast<YieldCurve::StripperKind>(1);
    double const zero_coupon = curve.eval_zero_coupon(0.5);
    YieldCurve::s_stripper_kind = YieldCurve::StripperKind::legacy;
    EXPECT_EQ(zero_coupon, 1.0);
    EXPECT_EQ(curve.c_get_stripper(), nullptr);
}

}  // namespace
}  // namespace ximCORE::Data
