#include "core/data/underlying.hpp"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

#include "core/contract/information.hpp"
#include "support/market.hpp"
#include "support/matchers.hpp"

namespace ximCORE::Data {
namespace {

using ximTest::LogsError;
using ximTest::LogsNothing;
using ximTest::LogsWarning;
using ximTest::Raises;

class UnderlyingTest : public Testing::MarketTest {};

struct Field {
    bool (Underlying::*has)(Level) const;
    char const* message;
};

constexpr Field fields[] = {
    {&Underlying::c_has_currency, "Cannot find currency of underlying with ticker 'A'"},
    {&Underlying::c_has_name, "Cannot find name for underlying with ticker 'A'"},
    {&Underlying::c_has_impl, "Cannot find kind of underlying with ticker 'A'"},
    {&Underlying::c_has_fixing_calendar,
     "Cannot find fixing calendar of underlying with ticker 'A'"},
    {&Underlying::c_has_day_counter, "Cannot find day counter of underlying with ticker 'A'"},
};

TEST_F(UnderlyingTest, ReportsEachMissingFieldAtTheLevelAsked) {
    Underlying const underlying("A", true);
    for (auto const& field : fields) {
        EXPECT_THAT([&] { EXPECT_FALSE((underlying.*field.has)(Level::silent)); }, LogsNothing());
        EXPECT_THAT([&] { EXPECT_FALSE((underlying.*field.has)(Level::warning)); },
                    LogsWarning(std::string(field.message)));
        EXPECT_THAT([&] { EXPECT_FALSE((underlying.*field.has)(Level::error)); },
                    LogsError(std::string(field.message)));
        EXPECT_THAT([&] { std::ignore = (underlying.*field.has)(static_cast<Level>(3)); },
                    Raises<std::runtime_error>("Unknown error"));
    }
}

TEST_F(UnderlyingTest, ReportsAMissingTickerInPlaceOfTheFieldAndAsAnError) {
    Underlying const underlying;
    for (auto const& field : fields) {
        EXPECT_THAT([&] { EXPECT_FALSE((underlying.*field.has)(Level::warning)); },
                    LogsError("Unknown underlying"));
        EXPECT_THAT([&] { EXPECT_FALSE((underlying.*field.has)(Level::silent)); }, LogsNothing());
    }
}

TEST_F(UnderlyingTest, NamesThePairOfAnExchangeRateWithoutTicker) {
    Underlying const pair(Currency("USD", true), Currency("EUR", true));
    EXPECT_THAT([&] { EXPECT_FALSE(pair.c_has_ticker(Level::error)); },
                LogsError("Cannot find ticker of currency pair 'USD-EUR'"));
    EXPECT_THAT([&] { EXPECT_FALSE(pair.c_has_ticker(Level::warning)); },
                LogsWarning("Cannot find ticker of currency pair 'USD-EUR'"));
}

TEST_F(UnderlyingTest, ReportsWhatAnExchangeRateWithoutTickerLacks) {
    Underlying no_base;
    no_base.set_impl(std::make_shared<ExchangeRate>());
    EXPECT_THAT([&] { EXPECT_FALSE(no_base.c_has_ticker(Level::error)); },
                LogsError("Unknown underlying"));
    no_base.set_currency("EUR");
    EXPECT_THAT([&] { EXPECT_FALSE(no_base.c_has_ticker(Level::error)); },
                LogsError("Cannot find base currency of exchange rate with ticker ''"));

    Underlying no_quote_ticker;
    no_quote_ticker.set_impl(std::make_shared<ExchangeRate>(currency("USD")));
    no_quote_ticker.set_currency(std::make_shared<Currency>("EUR", false));
    EXPECT_THAT([&] { EXPECT_FALSE(no_quote_ticker.c_has_ticker(Level::error)); },
                LogsError("Unknown currency"));
}

TEST_F(UnderlyingTest, IsSetWhenAllItsFieldsAndItsImplAre) {
    auto const rate = cache().get_underlying("USD-EUR", Level::silent);
    rate->set_name("");
    rate->set_fixing_calendar("dummy");
    rate->set_day_counter("act_365");
    rate->set_currency("EUR");
    auto const impl = std::make_shared<ExchangeRate>();
    rate->set_impl(impl);
    EXPECT_FALSE(rate->c_is_set());
    impl->set_base_currency("USD");
    EXPECT_TRUE(rate->c_is_set());
}

TEST_F(UnderlyingTest, KeepsTheFirstValueOfEachField) {
    auto const underlying = share("A", "EUR");
    auto const impl = underlying->c_get_impl();
    underlying->set_ticker("B");
    underlying->set_name("other");
    underlying->set_currency("USD");
    underlying->set_impl(std::make_shared<Fund>());
    EXPECT_STREQ(underlying->c_str(), "A");
    EXPECT_EQ(underlying->c_get_name(), "A");
    EXPECT_STREQ(underlying->c_get_currency()->c_str(), "EUR");
    EXPECT_EQ(underlying->c_get_impl(), impl);
}

TEST_F(UnderlyingTest, CountsEmptyTextsAsAbsentButAName) {
    Underlying underlying;
    underlying.set_ticker("");
    underlying.set_currency("");
    underlying.set_fixing_calendar("");
    underlying.set_name("");
    EXPECT_FALSE(underlying.c_has_ticker(Level::silent));
    EXPECT_FALSE(underlying.c_has_currency(Level::silent));
    EXPECT_FALSE(underlying.c_has_fixing_calendar(Level::silent));
    EXPECT_TRUE(underlying.c_has_name(Level::silent));
    EXPECT_TRUE(cache().c_get_currencies().empty());
}

TEST_F(UnderlyingTest, RefusesANullTextForACurrency) {
    Underlying underlying("A", true);
    char const* null = nullptr;
    EXPECT_THROW(underlying.set_currency(std::string(null)), std::logic_error);
}

TEST_F(UnderlyingTest, AnswersItsClassAndKindByItsImpl) {
    struct Row {
        std::shared_ptr<Underlying::Impl> impl;
        int asset_class;
        int asset_kind;
    };
    for (auto const& row :
         {Row{std::make_shared<Share>(), 0, 0}, Row{std::make_shared<Fund>(), 1, 0},
          Row{std::make_shared<Index>(), 2, 0}, Row{std::make_shared<ExchangeRate>(), 3, 1},
          Row{nullptr, 7, 3}}) {
        Underlying underlying("A", true);
        underlying.set_impl(row.impl);
        EXPECT_EQ(int(underlying.c_get_asset_class()), row.asset_class);
        EXPECT_EQ(int(underlying.c_get_asset_kind()), row.asset_kind);
        EXPECT_EQ(underlying.c_is_equity_like(), row.asset_kind < 2);
    }
}

TEST_F(UnderlyingTest, ComparesByClassThenTicker) {
    auto const a = share("A");
    auto const b = share("B");
    auto const index = underlying("A2", "EUR", std::make_shared<Index>());
    Underlying const unknown("0", true);
    EXPECT_EQ(a->c_cmp(*b), -1);
    EXPECT_EQ(b->c_cmp(*a), 1);
    EXPECT_EQ(a->c_cmp(*a->c_clone()), 0);
    EXPECT_EQ(b->c_cmp(*index), -1);
    EXPECT_EQ(unknown.c_cmp(*index), 1);
}

TEST_F(UnderlyingTest, ComparesPairsWithoutTickersByTheirCurrencies) {
    auto const pair = [](char const* base, char const* quote) {
        return Underlying(Currency(base, true), Currency(quote, true));
    };
    EXPECT_EQ(pair("USD", "EUR").c_cmp(pair("USD", "JPY")), -1);
    EXPECT_EQ(pair("USD", "EUR").c_cmp(pair("GBP", "EUR")), 1);
    EXPECT_EQ(pair("USD", "EUR").c_cmp(pair("USD", "EUR")), 0);
    auto const named = exchange_rate("GBP-EUR", "GBP", "EUR");
    EXPECT_EQ(named->c_cmp(pair("USD", "EUR")), -1);
}

TEST_F(UnderlyingTest, RefusesToCompareWhatHasNeitherTickerNorCurrency) {
    EXPECT_THAT([] { static_cast<void>(Underlying().c_cmp(Underlying())); },
                Raises<std::runtime_error>("Unknown error"));
}

TEST_F(UnderlyingTest, HasNoReversePairUnlessItIsAnExchangeRate) {
    EXPECT_EQ(share("A")->c_get_reverse_pair(), nullptr);
    EXPECT_EQ(Underlying("A", true).c_get_reverse_pair(), nullptr);
    Underlying rate("USD-EUR", true);
    rate.set_currency("EUR");
    rate.set_impl(std::make_shared<ExchangeRate>());
    EXPECT_EQ(rate.c_get_reverse_pair(), nullptr);
    EXPECT_TRUE(cache().c_get_currency_pairs().empty());
}

TEST_F(UnderlyingTest, MakesItsReversePairOnceInTheCache) {
    auto const rate = exchange_rate("USD-EUR", "USD", "EUR");
    auto const reverse = rate->c_get_reverse_pair();
    ASSERT_NE(reverse, nullptr);
    EXPECT_STREQ(reverse->c_get_base_currency()->c_str(), "EUR");
    EXPECT_STREQ(reverse->c_get_currency()->c_str(), "USD");
    EXPECT_EQ(rate->c_get_reverse_pair(), reverse);
    EXPECT_EQ(reverse->c_get_reverse_pair(), rate);
}

TEST_F(UnderlyingTest, IsNotQuantoInItsOwnCurrency) {
    auto const underlying = share("A", "EUR");
    EXPECT_TRUE(underlying->set_quanto_exchange_rate(*currency("EUR")));
    EXPECT_FALSE(underlying->c_is_quanto());
}

TEST_F(UnderlyingTest, IsQuantoInAnotherCurrencyByTheRateFromItsOwn) {
    auto const underlying = share("A", "EUR");
    EXPECT_TRUE(underlying->set_quanto_exchange_rate(*currency("USD")));
    ASSERT_TRUE(underlying->c_is_quanto());
    auto const rate = underlying->c_get_quanto_exchange_rate();
    EXPECT_STREQ(rate->c_get_base_currency()->c_str(), "EUR");
    EXPECT_STREQ(rate->c_get_currency()->c_str(), "USD");
    EXPECT_TRUE(underlying->set_quanto_exchange_rate(*currency("JPY")));
    EXPECT_EQ(underlying->c_get_quanto_exchange_rate(), rate);
}

TEST_F(UnderlyingTest, CannotBeQuantoWithoutACurrency) {
    Underlying underlying("A", true);
    EXPECT_FALSE(underlying.set_quanto_exchange_rate(*currency("USD")));
}

TEST_F(UnderlyingTest, ReportsAMissingSpotAsAnErrorWhateverTheLevel) {
    auto const underlying = share("A");
    double value = 5.0;
    for (auto const level : {Level::silent, Level::warning, Level::error})
        EXPECT_THAT([&] { EXPECT_FALSE(underlying->eval(today, value, level)); },
                    LogsError("Cannot find spot at '2023-01-01' for underlying with ticker 'A'"));
    EXPECT_EQ(value, 5.0);
    set_spot(*underlying, 100.0);
    EXPECT_TRUE(underlying->eval(today, value, Level::silent));
    EXPECT_EQ(value, 100.0);
}

TEST_F(UnderlyingTest, DoesNothingOnTheGridWithoutItsImpl) {
    Underlying underlying("A", true);
    EXPECT_TRUE(underlying.build(today));
    std::vector<Toolbox::Date*> dates;
    underlying.accumulate_maturity_dates(dates);
    EXPECT_TRUE(dates.empty());
}

TEST_F(UnderlyingTest, AccumulatesAlongItsChainOfQuantoRates) {
    auto const underlying = share("A", "EUR");
    ASSERT_TRUE(underlying->set_quanto_exchange_rate(*currency("USD")));
    auto const rate = underlying->c_get_quanto_exchange_rate();

    std::vector<Underlying*> underlyings;
    underlying->accumulate_underlyings(underlyings);
    EXPECT_EQ(underlyings, (std::vector{underlying.get(), rate.get()}));
    std::vector<Underlying*> equity_like;
    underlying->accumulate_equity_like_underlyings(equity_like);
    EXPECT_EQ(equity_like, underlyings);

    Contract::ContractInformation information;
    EXPECT_TRUE(underlying->accumulate_all(information));
    auto* euro = currency("EUR").get();
    auto* dollar = currency("USD").get();
    EXPECT_EQ(information.currencies, (std::vector{euro, dollar, euro}));
    EXPECT_EQ(information.equity_like_underlyings, underlyings);
    std::vector<Currency*> currencies;
    underlying->accumulate_currencies(currencies);
    EXPECT_EQ(currencies, information.currencies);
}

TEST_F(UnderlyingTest, LeavesInterestRatesOutOfTheEquityLikeOnes) {
    Underlying unknown("A", true);
    std::vector<Underlying*> underlyings;
    unknown.accumulate_equity_like_underlyings(underlyings);
    EXPECT_TRUE(underlyings.empty());
}

TEST_F(UnderlyingTest, StopsAccumulatingAtALinkWithoutCurrency) {
    Underlying underlying("A", true);
    underlying.set_impl(std::make_shared<Share>());
    Contract::ContractInformation information;
    EXPECT_THAT([&] { EXPECT_FALSE(underlying.accumulate_all(information)); },
                LogsError("Cannot find currency of underlying with ticker A"));
    EXPECT_TRUE(information.equity_like_underlyings.empty());

    Underlying nameless;
    EXPECT_THAT([&] { EXPECT_FALSE(nameless.accumulate_all(information)); },
                LogsError("Unknown underlying"));
}

TEST_F(UnderlyingTest, StopsAccumulatingAtAnExchangeRateWithoutBaseCurrency) {
    Underlying rate("USD-EUR", true);
    rate.set_currency("EUR");
    rate.set_impl(std::make_shared<ExchangeRate>());
    Contract::ContractInformation information;
    EXPECT_THAT([&] { EXPECT_FALSE(rate.accumulate_all(information)); },
                LogsError("Cannot find base currency of exchange rate with ticker USD-EUR"));
}

TEST_F(UnderlyingTest, CopiesDeeply) {
    auto const underlying = exchange_rate("USD-EUR", "USD", "EUR");
    ASSERT_TRUE(underlying->set_quanto_exchange_rate(*currency("JPY")));
    underlying->set_rank(2);
    underlying->set_is_in_basket(true);
    auto const copy = underlying->c_clone();
    EXPECT_NE(copy->c_get_currency(), underlying->c_get_currency());
    EXPECT_NE(copy->c_get_base_currency(), underlying->c_get_base_currency());
    EXPECT_NE(copy->c_get_quanto_exchange_rate(), underlying->c_get_quanto_exchange_rate());
    EXPECT_EQ(*copy->c_get_base_currency(), *underlying->c_get_base_currency());
    EXPECT_TRUE(copy->c_is_set());
    EXPECT_TRUE(copy->c_is_in_basket());
    underlying->set_rank(5);
    EXPECT_EQ(copy->c_get_rank(), 2);
}

}  // namespace
}  // namespace ximCORE::Data
