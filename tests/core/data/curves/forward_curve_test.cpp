#include "core/data/curves/forward_curve.hpp"

#include <cmath>
#include <random>

#include "core/data/curves/repo_curve.hpp"
#include "core/data/interest_rates.hpp"
#include "support/market.hpp"

namespace ximCORE::Data {
namespace {

using ::testing::DoubleNear;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class ForwardCurveTest : public Testing::MarketTest {
 protected:
    static constexpr double c_untouched = -7.0;

    /// The forward at a date, or c_untouched where there is none.
    static double forward(ForwardCurve& curve, Date const& date) {
        double result = c_untouched;
        bool const success = curve.eval_absolute(date, result);
        EXPECT_EQ(success, result != c_untouched);
        return result;
    }

    ForwardCurve& linked_curve(Underlying const& asset) const {
        auto& curve = forward_curve(asset);
        EXPECT_TRUE(curve.get_dependencies());
        return curve;
    }

    std::shared_ptr<Underlying> const stock = share("AAA");
    std::shared_ptr<Underlying> const pair = exchange_rate("EURUSD", "EUR", "USD");
};

TEST_F(ForwardCurveTest, WithoutYieldShiftTheForwardOfAnEquityIsItsSpotAtAnyDate) {
    set_spot(*stock, 100.0);
    auto& curve = linked_curve(*stock);
    for (auto const& date : {today, half_year, one_year, two_years})
        EXPECT_EQ(forward(curve, date), 100.0);
}

TEST_F(ForwardCurveTest, WithoutYieldShiftTheForwardOfAnExchangeRateIsItsSpotAtAnyDate) {
    set_spot(*pair, 1.25);
    auto& curve = linked_curve(*pair);
    for (auto const& date : {today, half_year, one_year, two_years})
        EXPECT_EQ(forward(curve, date), 1.25);
}

TEST_F(ForwardCurveTest, AForwardShiftMovesTheAbsoluteForwardAlone) {
    set_spot(*stock, 100.0);
    auto& curve = linked_curve(*stock);
    push<MarketDataForwardPerturbationItem>(Shift::Kind::hybrid, Shift::Unit::percentage, 10.0,
                                            stock.get());
    EXPECT_NEAR(forward(curve, one_year), 110.0, 1e-12);
    EXPECT_EQ(curve.eval_relative(one_year), 1.0);
    double relative = 0.0;
    double absolute = 0.0;
    ASSERT_TRUE(curve.eval(one_year, relative, absolute));
    EXPECT_EQ(relative, 1.0);
    EXPECT_EQ(absolute, 100.0);
    pop();
    EXPECT_EQ(forward(curve, one_year), 100.0);
}

TEST_F(ForwardCurveTest, AForwardShiftLeavesTheCurveOfAnotherUnderlyingAlone) {
    auto const other = share("BBB");
    set_spot(*stock, 100.0);
    set_spot(*other, 50.0);
    auto& curve = linked_curve(*stock);
    push<MarketDataForwardPerturbationItem>(Shift::Kind::assignment, Shift::Unit::none, 1.0,
                                            other.get());
    EXPECT_EQ(forward(curve, one_year), 100.0);
    EXPECT_EQ(forward(linked_curve(*other), one_year), 50.0);  // made after the push: no slot
}

TEST_F(ForwardCurveTest, ASpotShiftComesBeforeAForwardShift) {
    set_spot(*stock, 100.0);
    auto& curve = linked_curve(*stock);
    push<MarketDataForwardPerturbationItem>(Shift::Kind::additive, Shift::Unit::none, 1.0,
                                            stock.get());
    push<MarketDataSpotPerturbationItem>(Shift::Kind::multiplicative, Shift::Unit::none, 2.0,
                                         stock.get());
    EXPECT_EQ(forward(curve, one_year), 201.0);
}

TEST_F(ForwardCurveTest, AnAdditiveYieldShiftOfTheQuoteCurrencyDividesTheForward) {
    set_spot(*stock, 100.0);
    auto& curve = linked_curve(*stock);
    push<MarketDataYieldPerturbationItem>(Shift::Kind::additive, Shift::Unit::percentage, 1.0,
                                          stock->c_get_currency().get());
    EXPECT_NEAR(forward(curve, one_year), 100.0 * std::exp(-0.01), 1e-11);
    EXPECT_NEAR(curve.eval_relative(one_year), std::exp(-0.01), 1e-14);
}

TEST_F(ForwardCurveTest, AYieldShiftOfTheBaseCurrencyMultipliesAnExchangeRateAndMakesItDirty) {
    set_spot(*pair, 1.25);
    auto& curve = linked_curve(*pair);
    ASSERT_EQ(forward(curve, one_year), 1.25);
    ASSERT_FALSE(curve.c_is_dirty());
    push<MarketDataYieldPerturbationItem>(Shift::Kind::additive, Shift::Unit::percentage, 1.0,
                                          pair->c_get_base_currency().get());
    EXPECT_TRUE(curve.c_is_dirty());
    EXPECT_NEAR(forward(curve, one_year), 1.25 * std::exp(0.01), 1e-13);
}

TEST_F(ForwardCurveTest, TheQuoteCurrencysYieldCurveDoesNotMarkTheForwardCurveDirty) {
    set_spot(*pair, 1.25);
    auto& curve = linked_curve(*pair);
    ASSERT_EQ(forward(curve, one_year), 1.25);
    push<MarketDataYieldPerturbationItem>(Shift::Kind::additive, Shift::Unit::percentage, 1.0,
                                          pair->c_get_currency().get());
    EXPECT_FALSE(curve.c_is_dirty());
    EXPECT_NEAR(forward(curve, one_year), 1.25 * std::exp(-0.01), 1e-13);
}

TEST_F(ForwardCurveTest, EqualYieldShiftsOfBothCurrenciesCancelInAnExchangeRate) {
    std::mt19937 generator(7);
    std::uniform_real_distribution<double> shift(-5.0, 5.0);
    std::uniform_real_distribution<double> time(0.01, 30.0);
    set_spot(*pair, 1.25);
    auto& curve = linked_curve(*pair);
    for (int i = 0; i < 50; ++i) {
        double const value = shift(generator);
        for (auto const& side : {pair->c_get_base_currency(), pair->c_get_currency()})
            push<MarketDataYieldPerturbationItem>(Shift::Kind::additive, Shift::Unit::percentage,
                                                  value, side.get());
        double out = 0.0;
        ASSERT_TRUE(curve.eval_absolute(time(generator), out));
        EXPECT_NEAR(out, 1.25, 1e-12);
        pop();
        pop();
    }
}

TEST_F(ForwardCurveTest, TheDateAndTheTimeFormAgree) {
    set_spot(*pair, 1.25);
    auto& curve = linked_curve(*pair);
    push<MarketDataYieldPerturbationItem>(Shift::Kind::additive, Shift::Unit::percentage, 3.0,
                                          pair->c_get_base_currency().get());
    double by_time = 0.0;
    ASSERT_TRUE(curve.eval_absolute(182.0 / 365.0, by_time));
    EXPECT_EQ(by_time, forward(curve, half_year));
    EXPECT_EQ(curve.eval_relative(182.0 / 365.0), curve.eval_relative(half_year));
}

TEST_F(ForwardCurveTest, AMissingSpotIsReportedAndLeavesTheOutputAlone) {
    auto& curve = linked_curve(*stock);
    EXPECT_EQ(forward(curve, one_year), c_untouched);
    EXPECT_THAT(errors(),
                ElementsAre("Cannot find spot at '2023-01-01' for underlying with ticker 'AAA'"));
    EXPECT_EQ(curve.eval_relative(one_year), 1.0);
    double relative = c_untouched;
    double absolute = c_untouched;
    EXPECT_FALSE(curve.eval(one_year, relative, absolute));
    EXPECT_EQ(relative, c_untouched);
    EXPECT_EQ(absolute, c_untouched);
}

TEST_F(ForwardCurveTest, ACurveThatWasNeverLinkedAnswersFalseAndARelativeForwardOfOne) {
    auto& curve = forward_curve(*stock);
    EXPECT_EQ(forward(curve, one_year), c_untouched);
    EXPECT_EQ(curve.eval_relative(2.0), 1.0);
    auto const copy = curve.c_clone();
    EXPECT_EQ(forward(*copy, one_year), c_untouched);
}

TEST_F(ForwardCurveTest, DeclaringSucceedsOnceCurrencyAndKindAreKnown) {
    auto const late = cache().get_underlying("LATE", Level::silent);
    auto& curve = forward_curve(*late);
    EXPECT_FALSE(curve.get_dependencies());
    late->set_impl(std::make_shared<Index>());
    EXPECT_FALSE(curve.get_dependencies());
    late->set_currency(currency("EUR"));
    EXPECT_TRUE(curve.get_dependencies());
    set_spot(*late, 10.0);
    EXPECT_EQ(forward(curve, one_year), 10.0);
    EXPECT_THAT(errors(), IsEmpty());
}

TEST_F(ForwardCurveTest, AnExchangeRateWithoutBaseCurrencyIsNotLinked) {
    auto const half = underlying("ZZZUSD", "USD", std::make_shared<ExchangeRate>());
    set_spot(*half, 2.0);
    auto& curve = forward_curve(*half);
    EXPECT_FALSE(curve.get_dependencies());
    EXPECT_EQ(forward(curve, one_year), c_untouched);
}

TEST_F(ForwardCurveTest, AnInterestRateIsNotLinked) {
    auto const rate = underlying("EUR3M", "EUR", std::make_shared<DepositRate>());
    auto& curve = forward_curve(*rate);
    EXPECT_FALSE(curve.get_dependencies());
    EXPECT_EQ(forward(curve, one_year), c_untouched);
}

TEST_F(ForwardCurveTest, DeclaringTwiceKeepsTheCurveUsable) {
    set_spot(*pair, 1.25);
    auto& curve = linked_curve(*pair);
    EXPECT_TRUE(curve.get_dependencies());
    EXPECT_EQ(forward(curve, one_year), 1.25);
}

TEST_F(ForwardCurveTest, ACopyIsFrozenAgainstLaterShifts) {
    set_spot(*pair, 1.25);
    auto& curve = linked_curve(*pair);
    push<MarketDataYieldPerturbationItem>(Shift::Kind::additive, Shift::Unit::percentage, 1.0,
                                          pair->c_get_base_currency().get());
    auto const copy = curve.c_clone();
    push<MarketDataSpotPerturbationItem>(Shift::Kind::multiplicative, Shift::Unit::none, 2.0,
                                         pair.get());
    push<MarketDataForwardPerturbationItem>(Shift::Kind::multiplicative, Shift::Unit::none, 2.0,
                                            pair.get());
    for (auto const& side : {pair->c_get_base_currency(), pair->c_get_currency()})
        push<MarketDataYieldPerturbationItem>(Shift::Kind::additive, Shift::Unit::percentage, 5.0,
                                              side.get());
    EXPECT_NEAR(forward(*copy, one_year), 1.25 * std::exp(0.01), 1e-13);
    EXPECT_NEAR(forward(curve, one_year), 5.0 * std::exp(0.01), 1e-13);
}

TEST_F(ForwardCurveTest, TheForwardOfAForwardShiftOnACopyOfACopyStaysFrozenToo) {
    set_spot(*stock, 100.0);
    auto& curve = linked_curve(*stock);
    auto const copy = curve.c_clone()->c_clone();
    push<MarketDataSpotPerturbationItem>(Shift::Kind::assignment, Shift::Unit::none, 1.0,
                                         stock.get());
    EXPECT_EQ(forward(*copy, one_year), 100.0);
}

TEST_F(ForwardCurveTest, ARepoCurveIsNeverSet) {
    EXPECT_FALSE(cache().get_repo_curve(today, stock.get())->c_is_set());
}

}  // namespace
}  // namespace ximCORE::Data
