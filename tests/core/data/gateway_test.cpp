#include "core/data/gateway.hpp"

#include <gtest/gtest.h>

#include <string>

#include "core/data/interest_rates.hpp"
#include "core/data/table_source.hpp"
#include "support/market.hpp"
#include "support/matchers.hpp"

namespace ximCORE::Data {
namespace {

using ximTest::IsNearRel;
using ximTest::LogsError;

class GatewayTest : public Testing::MarketTest {
 protected:
    TableSource& add(Journal& journal) {
        auto source = std::make_unique<TableSource>(journal);
        auto& result = *source;
        EXPECT_TRUE(gateway.push_back(std::move(source)));
        return result;
    }
    std::shared_ptr<Underlying> pair(char const* base, char const* quote) {
        return cache().get_currency_pair(*cache().get_currency(base, Level::silent),
                                         *cache().get_currency(quote, Level::silent),
                                         Level::silent);
    }
    static API::GetCurrencyPairsOut pair_record(char const* ticker, char const* base,
                                                char const* quote) {
        API::GetCurrencyPairsOut record;
        if (ticker) record.ticker.set(ticker);
        record.name.set("name");
        record.fixing_calendar.set("dummy");
        record.day_counter.set("act_365");
        record.base.set(base);
        record.quote.set(quote);
        return record;
    }
    Spot& spot(std::shared_ptr<Underlying> const& underlying) {
        return *cache().get_spot(today, underlying.get(), Level::silent);
    }
    Correlation& correlation(std::shared_ptr<Underlying> const& first,
                             std::shared_ptr<Underlying> const& second) {
        return *cache().get_correlation(today, first.get(), second.get(), Level::silent);
    }

    Journal first_journal;
    Journal second_journal;
    MarketDataGateway gateway;
};

TEST_F(GatewayTest, SucceedsWithoutSourcesAndLeavesEverythingMissing) {
    auto const a = share("A");
    spot(a);
    EXPECT_TRUE(gateway.execute_dependencies());
    EXPECT_TRUE(gateway.connect());
    EXPECT_TRUE(gateway.disconnect());
    double value = 0.0;
    EXPECT_THAT([&] { EXPECT_FALSE(a->eval(today, value, Level::error)); },
                LogsError("Cannot find spot at '2023-01-01' for underlying with ticker 'A'"));
}

TEST_F(GatewayTest, AsksALaterSourceOnlyForWhatTheEarlierOnesLeftOpen) {
    auto const a = share("A");
    auto const b = share("B");
    spot(a);
    spot(b);
    add(first_journal).spots = {{"2023-01-01 A", 100.0F}};
    add(second_journal).spots = {{"2023-01-01 A", 200.0F}, {"2023-01-01 B", 50.0F}};
    EXPECT_TRUE(gateway.get_spots());
    EXPECT_EQ(second_journal.questions, std::vector<std::string>{"2023-01-01 B"});
    EXPECT_EQ(spot(a).c_get_val(), 100.0);
    EXPECT_EQ(spot(b).c_get_val(), 50.0);
}

TEST_F(GatewayTest, TheSettingsOfAGatewayAreStoredAndNeverReadAFailedSourceIsNotAskedAgain) {
    spot(share("A"));
    add(first_journal);  // its `get_*` answer false
    auto& flag = MarketDataGateway::s_success_on_spot_request_failure;
    for (bool const value : {false, true}) {
        flag = value;
        MarketDataGateway::s_ntry = value ? 10 : 1;
        first_journal.questions.clear();
        EXPECT_TRUE(gateway.get_spots());
        EXPECT_EQ(first_journal.questions, std::vector<std::string>{"2023-01-01 A"});
    }
    flag = false;
    MarketDataGateway::s_ntry = 1;
}

TEST_F(GatewayTest, AsksForAllItemsOfAKindAtOnce) {
    auto const a = share("A");
    spot(a);
    static_cast<void>(cache().get_spot(one_year, a.get(), Level::silent));
    add(first_journal);
    EXPECT_TRUE(gateway.get_spots());
    EXPECT_EQ(first_journal.questions, (std::vector<std::string>{"2023-01-01 A", "2024-01-01 A"}));
}

TEST_F(GatewayTest, FillsACurrencyFromAReply) {
    auto const euro = cache().get_currency("EUR", Level::silent);
    API::GetCurrenciesOut record;
    record.ticker.set("EUR");
    record.name.set("Euro");
    record.calendar.set("dummy");
    record.day_counter.set("act_365");
    record.forward_rate_affinity_factor.set(0.25F);
    add(first_journal).currencies = {record};
    EXPECT_TRUE(gateway.get_currencies());
    EXPECT_TRUE(euro->c_is_set());
    EXPECT_EQ(euro->c_get_name(), "Euro");
    EXPECT_TRUE(gateway.get_currencies());
    EXPECT_EQ(first_journal.questions.size(), 1u);
}

TEST_F(GatewayTest, DropsRepliesThatNothingAskedFor) {
    spot(share("A"));
    cache().get_currency("ZZZ", Level::silent);
    cache().get_underlying("X", Level::silent);
    auto& source = add(first_journal);
    source.is_chatty = true;
    source.spots = {{"2023-01-01 A", 1.0F}, {"2023-01-02 A", 2.0F}, {"2023-01-01 B", 3.0F}};
    API::GetCurrenciesOut currency;
    currency.ticker.set("GBP");
    source.currencies = {currency, {}};
    API::GetUnderlyingsOut underlying;
    underlying.ticker.set("C");
    source.underlyings = {underlying, {}};
    pair("USD", "EUR");
    source.pairs = {pair_record("GBP-CHF", "GBP", "CHF"), {}};
    EXPECT_TRUE(gateway.execute_dependencies());
    EXPECT_EQ(cache().c_get_spots().size(), 1u);
    EXPECT_FALSE(cache().c_get_currencies().contains("GBP"));
    EXPECT_FALSE(cache().c_get_underlyings().contains("C"));
    EXPECT_FALSE(cache().c_get_underlyings().contains("B"));
    EXPECT_EQ(cache().c_get_currency_pairs().size(), 1u);
}

TEST_F(GatewayTest, DropsRepliesWhoseDateDoesNotRead) {
    spot(share("A"));
    auto& source = add(first_journal);
    source.is_chatty = true;
    source.spots = {{"soon A", 1.0F}};
    EXPECT_THAT([&] { EXPECT_TRUE(gateway.get_spots()); }, LogsError("Cannot read date soon"));
    EXPECT_FALSE(spot(share("A")).c_is_set());
}

TEST_F(GatewayTest, MakesEachKindOfUnderlyingFromItsRecord) {
    using Out = API::GetUnderlyingsOut;
    auto const deposit = std::make_shared<Out::DepositRate>();
    deposit->start.set("+2d");
    deposit->end.set("+6m");
    auto const swap = std::make_shared<Out::SwapRate>();
    swap->end.set("+1y");
    swap->frequency.set("+3m");
    auto const bond = std::make_shared<Out::ZeroCouponBond>();
    bond->end.set("+1y");
    bond->calendar.set("dummy");
    auto const rate = std::make_shared<Out::ExchangeRate>();
    rate->base.set("USD");
    struct Row {
        std::shared_ptr<Out::Impl> record;
        AssetClass asset_class;
    };
    Row const rows[] = {{std::make_shared<Out::Share>(), AssetClass::share},
                        {std::make_shared<Out::Fund>(), AssetClass::fund},
                        {std::make_shared<Out::Index>(), AssetClass::index},
                        {rate, AssetClass::exchange_rate},
                        {deposit, AssetClass::deposit_rate},
                        {swap, AssetClass::swap_rate},
                        {bond, AssetClass::zero_coupon_bond},
                        {nullptr, AssetClass::none}};
    auto& source = add(first_journal);
    int n = 0;
    for (auto const& row : rows) {
        auto const ticker = "U" + std::to_string(n++);
        cache().get_underlying(ticker, Level::silent);
        Out record;
        record.ticker.set(ticker);
        record.name.set("name");
        record.currency.set("EUR");
        record.fixing_calendar.set("dummy");
        record.day_counter.set("act_365");
        record.impl = row.record;
        source.underlyings.push_back(record);
    }
    EXPECT_TRUE(gateway.get_underlyings());
    for (n = 0; auto const& row : rows) {
        auto const own = cache().get_underlying("U" + std::to_string(n++), Level::silent);
        EXPECT_EQ(own->c_get_asset_class(), row.asset_class);
        EXPECT_EQ(own->c_is_set(), row.record != nullptr);
        EXPECT_STREQ(own->c_get_currency()->c_str(), "EUR");
    }
    EXPECT_STREQ(cache().get_underlying("U3", Level::silent)->c_get_base_currency()->c_str(),
                 "USD");
    auto const own_swap = cache().get_underlying("U5", Level::silent);
    ASSERT_TRUE(own_swap->build(today));
    EXPECT_EQ(static_cast<SwapRate const&>(*own_swap->c_get_impl()).c_get_nb_periods(), 4u);
}

TEST_F(GatewayTest, LeavesTheKindOpenWhenItsShiftDoesNotRead) {
    using Out = API::GetUnderlyingsOut;
    auto const deposit = std::make_shared<Out::DepositRate>();
    deposit->start.set("2 days");
    auto const underlying = cache().get_underlying("DEPO", Level::silent);
    Out record;
    record.ticker.set("DEPO");
    record.impl = deposit;
    add(first_journal).underlyings = {record};
    EXPECT_THAT([&] { EXPECT_TRUE(gateway.get_underlyings()); },
                LogsError("Cannot read date shift 2 days"));
    EXPECT_FALSE(underlying->c_has_impl(Level::silent));
}

TEST_F(GatewayTest, FillsACurrencyPair) {
    auto const usd_eur = pair("USD", "EUR");
    add(first_journal).pairs = {pair_record("USDEUR", "USD", "EUR")};
    EXPECT_TRUE(gateway.get_currency_pairs());
    EXPECT_STREQ(usd_eur->c_str(), "USDEUR");
    EXPECT_EQ(usd_eur->c_get_name(), "name");
    EXPECT_TRUE(usd_eur->c_is_set());
    EXPECT_EQ(first_journal.questions, std::vector<std::string>{"USD EUR"});
}

TEST_F(GatewayTest, NamesAPairThatASourceKnowsByItsInverseAlone) {
    auto const eur_usd = pair("EUR", "USD");
    spot(eur_usd);
    cache().get_blackscholes_volatility(today, eur_usd.get(), Level::silent);
    auto& source = add(first_journal);
    source.pairs = {pair_record("EURUSD=X", "USD", "EUR")};
    source.spots = {{"2023-01-01 EURUSD=X", 0.8F}};
    source.volatilities = {{"2023-01-01 EURUSD=X", 12.5F}};
    EXPECT_FALSE(gateway.execute_dependencies());  // the inverse has no ticker yet
    EXPECT_STREQ(eur_usd->c_str(), "EUR-USD");
    EXPECT_EQ(eur_usd->c_get_name(), "EUR-USD");
    EXPECT_TRUE(eur_usd->c_is_set());
    EXPECT_TRUE(gateway.execute_dependencies());
    EXPECT_EQ(spot(eur_usd).c_get_val(), static_cast<double>(1.0F / 0.8F));
    EXPECT_EQ(cache().get_blackscholes_volatility(today, eur_usd.get(), Level::silent)->c_get_val(),
              0.125);
}

TEST_F(GatewayTest, PadsShortTickersInTheNameOfAnInversePair) {
    auto const inverse = pair("AB", "USD");
    add(first_journal).pairs = {pair_record("X", "USD", "AB")};
    EXPECT_TRUE(gateway.get_currency_pairs());
    EXPECT_STREQ(inverse->c_str(), " AB-USD");
}

TEST_F(GatewayTest, LeavesAnInversePairNamelessWhenTheReplyIs) {
    auto const inverse = pair("EUR", "USD");
    add(first_journal).pairs = {pair_record(nullptr, "USD", "EUR")};
    EXPECT_TRUE(gateway.get_currency_pairs());
    EXPECT_FALSE(inverse->c_has_ticker(Level::silent));
    EXPECT_EQ(inverse->c_get_name(), "EUR-USD");
}

TEST_F(GatewayTest, ReportsASpotThatCannotBeAskedForWithoutATicker) {
    spot(pair("USD", "EUR"));
    add(first_journal);
    EXPECT_FALSE(gateway.get_spots());
    EXPECT_TRUE(first_journal.questions.empty());
}

TEST_F(GatewayTest, ScalesVolatilitiesFromPercentInSinglePrecision) {
    auto const a = share("A");
    auto const* volatility = cache().get_blackscholes_volatility(today, a.get(), Level::silent);
    add(first_journal).volatilities = {{"2023-01-01 A", 17.0F}};
    EXPECT_TRUE(gateway.get_black_scholes_volatilities());
    EXPECT_EQ(volatility->c_get_val(), static_cast<double>(17.0F * 0.01F));
}

TEST_F(GatewayTest, SetsACorrelationWithItselfWithoutAsking) {
    auto const a = share("A");
    correlation(a, a);
    add(first_journal);
    EXPECT_TRUE(gateway.get_correlations());
    EXPECT_EQ(correlation(a, a).c_get_val(), 1.0);
    EXPECT_TRUE(first_journal.questions.empty());
}

TEST_F(GatewayTest, FindsACorrelationHeldForTheReversedPair) {
    auto const a = share("A");
    auto const b = share("B");
    correlation(a, b);
    add(first_journal).correlations = {{"2023-01-01 B A", 50.0F}};
    EXPECT_TRUE(gateway.get_correlations());
    EXPECT_EQ(correlation(a, b).c_get_val(), static_cast<double>(50.0F * 0.01F));
    EXPECT_EQ(first_journal.questions,
              (std::vector<std::string>{"2023-01-01 A B", "2023-01-01 B A"}));
}

/// The eight ways to hold the correlation of two exchange rates, each of which may be inverted.
TEST_F(GatewayTest, FindsACorrelationHeldForInversePairsWithTheSameSign) {
    for (auto const* key :
         {"USD-EUR GBP-EUR", "EUR-USD GBP-EUR", "USD-EUR EUR-GBP", "EUR-USD EUR-GBP",
          "GBP-EUR USD-EUR", "GBP-EUR EUR-USD", "EUR-GBP USD-EUR", "EUR-GBP EUR-USD"}) {
        reset();
        auto const dollar = exchange_rate("USD-EUR", "USD", "EUR");
        auto const pound = exchange_rate("GBP-EUR", "GBP", "EUR");
        exchange_rate("EUR-USD", "EUR", "USD");
        exchange_rate("EUR-GBP", "EUR", "GBP");
        correlation(dollar, pound);
        Journal journal;
        MarketDataGateway own;
        auto source = std::make_unique<TableSource>(journal);
        source->correlations = {{std::string("2023-01-01 ") + key, -30.0F}};
        ASSERT_TRUE(own.push_back(std::move(source)));
        EXPECT_TRUE(own.get_correlations());
        EXPECT_THAT(correlation(dollar, pound).c_get_val(), IsNearRel(-0.3, 1e-7)) << key;
    }
}

TEST_F(GatewayTest, AsksForNoCorrelationByAnInverseWithoutTicker) {
    auto const dollar = exchange_rate("USD-EUR", "USD", "EUR");
    correlation(dollar, share("A"));
    add(first_journal);
    EXPECT_FALSE(gateway.get_correlations());
    EXPECT_EQ(first_journal.questions,
              (std::vector<std::string>{"2023-01-01 USD-EUR A", "2023-01-01 A USD-EUR"}));
}

TEST_F(GatewayTest, AnswersForTheCorrelationsOfTheLastSourceAlone) {
    auto const nameless = pair("USD", "EUR");
    correlation(nameless, share("A"));
    add(first_journal);
    EXPECT_FALSE(gateway.get_correlations());
    auto& second = add(second_journal);
    static_cast<void>(second);
    nameless->set_ticker("USD-EUR");
    pair("EUR", "USD")->set_ticker("EUR-USD");
    EXPECT_TRUE(gateway.get_correlations());
}

TEST_F(GatewayTest, DropsASourceThatDoesNotConnect) {
    auto source = std::make_unique<TableSource>(first_journal);
    source->can_connect = false;
    EXPECT_FALSE(gateway.push_back(std::move(source)));
    EXPECT_EQ(first_journal.deleted, 1);
    EXPECT_TRUE(gateway.c_get_sources().empty());
}

TEST_F(GatewayTest, ConnectsAndDisconnectsInOrderUpToTheFirstFailure) {
    auto& first = add(first_journal);
    add(second_journal);
    EXPECT_TRUE(gateway.connect());
    EXPECT_EQ(first_journal.connected, 2);
    EXPECT_EQ(second_journal.connected, 2);
    first.can_connect = false;
    first.can_disconnect = false;
    EXPECT_FALSE(gateway.connect());
    EXPECT_EQ(second_journal.connected, 2);
    EXPECT_FALSE(gateway.disconnect());
    EXPECT_EQ(second_journal.disconnected, 0);
    EXPECT_FALSE(gateway.clear());
    EXPECT_TRUE(gateway.c_get_sources().empty());
    EXPECT_EQ(second_journal.deleted, 1);
}

TEST_F(GatewayTest, DisconnectsItsSourcesAtItsEnd) {
    {
        MarketDataGateway own;
        ASSERT_TRUE(own.push_back(std::make_unique<TableSource>(first_journal)));
    }
    EXPECT_EQ(first_journal.disconnected, 1);
    EXPECT_EQ(first_journal.deleted, 1);
}

}  // namespace
}  // namespace ximCORE::Data
