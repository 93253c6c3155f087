// Spots and correlations: first value, missing values, defaults, shifts.

#include <gtest/gtest.h>

#include <stdexcept>

#include "core/data/correlation.hpp"
#include "core/data/spot.hpp"
#include "support/market.hpp"
#include "support/matchers.hpp"

namespace ximCORE::Data {
namespace {

using ximTest::IsNearRel;
using ximTest::LogsError;
using ximTest::LogsNothing;
using ximTest::LogsWarning;
using ximTest::Raises;

class SpotTest : public Testing::MarketTest {
 protected:
    Spot& spot(Underlying const& underlying) const {
        return *cache().get_spot(today, &underlying, Level::silent);
    }
};

TEST_F(SpotTest, KeepsTheFirstValueSet) {
    auto& quote = spot(*share("A"));
    EXPECT_FALSE(quote.c_is_set());
    quote.set_val(100.0F);
    quote.set_val(200.0F);
    EXPECT_TRUE(quote.c_is_set());
    EXPECT_EQ(quote.c_get_val(), 100.0);
}

TEST_F(SpotTest, KeepsSinglePrecision) {
    auto& quote = spot(*share("A"));
    quote.set_val(0.1F);
    EXPECT_EQ(quote.c_get_val(), static_cast<double>(0.1F));
}

TEST_F(SpotTest, ReportsAMissingValueAtTheLevelAsked) {
    auto& quote = spot(*share("A"));
    std::string const message = "Cannot find spot at '2023-01-01' for underlying with ticker 'A'";
    EXPECT_THAT([&] { EXPECT_FALSE(quote.c_has_val(Level::silent)); }, LogsNothing());
    EXPECT_THAT([&] { EXPECT_FALSE(quote.c_has_val(Level::warning)); }, LogsWarning(message));
    EXPECT_THAT([&] { EXPECT_FALSE(quote.c_has_val(Level::error)); }, LogsError(message));
    EXPECT_THAT([&] { std::ignore = quote.c_has_val(static_cast<Level>(3)); },
                Raises<std::runtime_error>("Unknown error"));
}

TEST_F(SpotTest, ReportsTheUnknownTickerInPlaceOfTheSpot) {
    Underlying const nameless;
    Spot quote(today, &nameless);
    EXPECT_THAT([&] { EXPECT_FALSE(quote.c_has_val(Level::error)); },
                LogsError("Unknown underlying"));
}

TEST_F(SpotTest, BecomesOneForAMissingExchangeRateWhenThatSwitchIsOn) {
    Spot::s_set_default_fx_value = true;
    auto& rate = spot(*exchange_rate("USD-EUR", "USD", "EUR"));
    EXPECT_THAT([&] { EXPECT_TRUE(rate.c_has_val(Level::error)); },
                LogsWarning("Cannot find spot at '2023-01-01' for underlying with ticker "
                            "'USD-EUR'"));
    EXPECT_EQ(rate.c_get_val(), 1.0);
    EXPECT_THAT([&] { EXPECT_TRUE(rate.c_has_val(Level::error)); }, LogsNothing());
    auto& stock = spot(*share("A"));
    EXPECT_THAT([&] { EXPECT_FALSE(stock.c_has_val(Level::error)); },
                LogsError("Cannot find spot at '2023-01-01' for underlying with ticker 'A'"));
}

TEST_F(SpotTest, BecomesZeroWhenOnlyTheGeneralSwitchIsOn) {
    Spot::s_set_default_value = true;
    auto& rate = spot(*exchange_rate("USD-EUR", "USD", "EUR"));
    EXPECT_THAT([&] { EXPECT_TRUE(rate.c_has_val(Level::warning)); },
                LogsWarning("Cannot find spot at '2023-01-01' for underlying with ticker "
                            "'USD-EUR'"));
    EXPECT_EQ(rate.c_get_val(), 0.0);
}

TEST_F(SpotTest, TakesNoDefaultWhenAskedSilently) {
    Spot::s_set_default_value = true;
    auto& quote = spot(*share("A"));
    EXPECT_THAT([&] { EXPECT_FALSE(quote.c_has_val(Level::silent)); }, LogsNothing());
    EXPECT_FALSE(quote.c_is_set());
}

TEST_F(SpotTest, EvaluatesItsValueThroughItsShifts) {
    auto const underlying = share("A");
    set_spot(*underlying, 100.0);
    push<MarketDataSpotPerturbationItem>(Shift::Kind::additive, Shift::Unit::none, 1.0,
                                         underlying.get());
    push<MarketDataSpotPerturbationItem>(Shift::Kind::hybrid, Shift::Unit::percentage, 10.0,
                                         underlying.get());
    double value = 0.0;
    EXPECT_TRUE(spot(*underlying).eval(value, Level::error));
    EXPECT_THAT(value, IsNearRel(111.1, 1e-14));
    EXPECT_EQ(spot(*underlying).c_get_val(), 100.0);
}

TEST_F(SpotTest, LeavesTheResultAloneWhenItIsMissing) {
    double value = 5.0;
    EXPECT_THAT([&] { EXPECT_FALSE(spot(*share("A")).eval(value, Level::silent)); }, LogsNothing());
    EXPECT_EQ(value, 5.0);
}

TEST_F(SpotTest, ClonesItsValueAndItsShifts) {
    auto const underlying = share("A");
    set_spot(*underlying, 100.0);
    push<MarketDataSpotPerturbationItem>(Shift::Kind::additive, Shift::Unit::none, 1.0,
                                         underlying.get());
    auto const copy = spot(*underlying).c_clone();
    pop();
    double value = 0.0;
    EXPECT_TRUE(copy->eval(value, Level::error));
    EXPECT_EQ(value, 101.0);
}

class CorrelationTest : public Testing::MarketTest {};

TEST_F(CorrelationTest, OfAPairAndOfItsReverseAreTwoItems) {
    auto const a = share("A");
    auto const b = share("B");
    set_correlation(*a, *b, 0.5);
    set_correlation(*b, *a, 0.25);
    EXPECT_EQ(cache().get_correlation(today, a.get(), b.get(), Level::silent)->c_get_val(), 0.5);
    EXPECT_EQ(cache().get_correlation(today, b.get(), a.get(), Level::silent)->c_get_val(), 0.25);
}

TEST_F(CorrelationTest, ReportsAMissingValueWithBothTickers) {
    auto* item = cache().get_correlation(today, share("A").get(), share("B").get(), Level::silent);
    EXPECT_THAT([&] { EXPECT_FALSE(item->c_has_val(Level::error)); },
                LogsError("Cannot find value for correlation of pair 'A-B'"));
    EXPECT_THAT([&] { EXPECT_FALSE(item->c_has_val(Level::silent)); }, LogsNothing());
}

TEST_F(CorrelationTest, ReportsAnUnknownTickerInPlaceOfTheValue) {
    Underlying const nameless;
    Correlation item(today, share("A").get(), &nameless);
    EXPECT_THAT([&] { EXPECT_FALSE(item.c_has_val(Level::error)); },
                LogsError("Unknown underlying"));
}

TEST_F(CorrelationTest, BecomesZeroWhenItsSwitchIsOn) {
    Correlation::s_set_default_value = true;
    auto* item = cache().get_correlation(today, share("A").get(), share("B").get(), Level::silent);
    EXPECT_THAT([&] { EXPECT_TRUE(item->c_has_val(Level::error)); },
                LogsWarning("Cannot find value for correlation of pair 'A-B'"));
    double value = 1.0;
    EXPECT_TRUE(item->eval(value, Level::error));
    EXPECT_EQ(value, 0.0);
}

}  // namespace
}  // namespace ximCORE::Data
