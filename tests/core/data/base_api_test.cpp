// The market database source against a real server, which tools/market_database/server.sh runs with
// market_database.json in it: the fixture of the tests labelled `database`.

#include "core/data/base_api.hpp"

#include <gtest/gtest.h>
#include <json/json.h>
#include <mysql.h>

#include <algorithm>
#include <cstdlib>
#include <sstream>
#include <string>

#include "core/data/gateway.hpp"
#include "core/data/interest_rates.hpp"
#include "support/market.hpp"
#include "support/matchers.hpp"

namespace ximCORE::Data {
namespace {

using ::testing::EndsWith;
using ::testing::HasSubstr;
using ximTest::LogsNothing;
using ximTest::LogsWarning;

std::string setting(char const* name, char const* value) {
    char const* own = std::getenv(name);
    return own ? own : value;
}

Json::Value credentials(std::string const& base = "market") {
    Json::Value out;
    out["Hostname"] = "127.0.0.1";
    out["Port"] = std::stoi(setting("XIM_MARKET_DATABASE_PORT", "3307"));
    out["Basename"] = base;
    out["Username"] = setting("XIM_MARKET_DATABASE_USER", "market");
    out["Password"] = setting("XIM_MARKET_DATABASE_PASSWORD", "market-password");
    return out;
}

/// A connection of the tests' own, to prepare tables and to disturb sources.
class Client {
 public:
    Client() : m_handle(mysql_init(nullptr)) {
        auto const own = credentials();
        auto const* result = mysql_real_connect(m_handle, "127.0.0.1", own["Username"].asCString(),
                                                own["Password"].asCString(), nullptr,
                                                own["Port"].asUInt(), nullptr, 0);
        EXPECT_NE(result, nullptr) << mysql_error(m_handle);
    }
    Client(Client const&) = delete;
    Client& operator=(Client const&) = delete;
    ~Client() { mysql_close(m_handle); }

    /// The first column of the first row; empty without one.
    std::string run(std::string const& sql) {
        EXPECT_EQ(mysql_query(m_handle, sql.c_str()), 0) << mysql_error(m_handle);
        MYSQL_RES* result = mysql_store_result(m_handle);
        if (!result) return {};
        MYSQL_ROW const row = mysql_fetch_row(result);
        std::string const text = row && row[0] ? row[0] : "";
        mysql_free_result(result);
        return text;
    }
    unsigned long id() { return mysql_thread_id(m_handle); }

 private:
    MYSQL* m_handle;
};

class BaseApiTest : public Testing::MarketTest {
 protected:
    BaseApiTest() : base(credentials()) { EXPECT_TRUE(base.connect()); }

    std::vector<API::GetUnderlyingsOut> underlyings(
        std::vector<API::GetUnderlyingsIn> const& requests) {
        std::vector<API::GetUnderlyingsOut> replies;
        EXPECT_TRUE(base.get_underlyings(requests, replies));
        return replies;
    }
    std::vector<API::GetSpotsOut> spots(std::vector<API::GetSpotsIn> const& requests) {
        std::vector<API::GetSpotsOut> replies;
        EXPECT_TRUE(base.get_spots(requests, replies));
        return replies;
    }

    BaseAPI base;
};

TEST_F(BaseApiTest, ConnectsDisconnectsAndConnectsAgain) {
    EXPECT_TRUE(base.disconnect());
    EXPECT_TRUE(base.disconnect());
    EXPECT_TRUE(base.connect());
    EXPECT_TRUE(base.connect());
    EXPECT_EQ(spots({{"2023-01-01", "SHARE"}}).size(), 1u);
}

TEST_F(BaseApiTest, ReportsAWrongPassword) {
    auto wrong = credentials();
    wrong["Password"] = "guess";
    BaseAPI refused(wrong);
    auto const warnings =
        ximTest::texts_of(Toolbox::Log::Level::WARNING, [&] { EXPECT_FALSE(refused.connect()); });
    ASSERT_EQ(warnings.size(), 1u);
    EXPECT_THAT(warnings[0], EndsWith(" (mysqlerrno: 1045)"));
    EXPECT_EQ(warnings[0], BaseAPI::s_error_cstr.data());
}

TEST_F(BaseApiTest, ReportsAnUnknownDatabase) {
    BaseAPI refused(credentials("no_market"));
    auto const warnings =
        ximTest::texts_of(Toolbox::Log::Level::WARNING, [&] { EXPECT_FALSE(refused.connect()); });
    ASSERT_EQ(warnings.size(), 1u);
    EXPECT_THAT(warnings[0], HasSubstr("(mysqlerrno: "));
}

TEST_F(BaseApiTest, ReportsAServerThatIsDown) {
    auto down = credentials();
    down["Port"] = 1;
    BaseAPI refused(down);
    auto const warnings =
        ximTest::texts_of(Toolbox::Log::Level::WARNING, [&] { EXPECT_FALSE(refused.connect()); });
    ASSERT_EQ(warnings.size(), 1u);
    EXPECT_THAT(warnings[0], HasSubstr("(mysqlerrno: 200"));  // 2002 or 2003: cannot connect
}

TEST_F(BaseApiTest, DoesNotTryWithoutCompleteCredentials) {
    for (auto const* key : {"Hostname", "Port", "Basename", "Username", "Password"}) {
        for (bool const is_absent : {true, false}) {
            auto incomplete = credentials();
            if (is_absent)
                incomplete.removeMember(key);
            else
                incomplete[key] = Json::Value(Json::arrayValue);
            std::unique_ptr<BaseAPI> source;
            EXPECT_THAT([&] { source = std::make_unique<BaseAPI>(incomplete); },
                        LogsWarning("Cannot parse credentials"));
            EXPECT_THAT([&] { EXPECT_FALSE(source->connect()); }, LogsNothing());
        }
    }
    EXPECT_FALSE(BaseAPI().connect());
}

TEST_F(BaseApiTest, AnswersCurrencies) {
    std::vector<API::GetCurrenciesOut> replies;
    EXPECT_TRUE(base.get_currencies({{"EUR"}, {"EUR"}, {"GBP"}}, replies));
    ASSERT_EQ(replies.size(), 1u);
    EXPECT_STREQ(replies[0].ticker.c_str(), "EUR");
    EXPECT_STREQ(replies[0].name.c_str(), "Euro");
    EXPECT_EQ(replies[0].forward_rate_affinity_factor.get(), 0.6F);
    EXPECT_STREQ(replies[0].calendar.c_str(), "dummy");
    EXPECT_STREQ(replies[0].day_counter.c_str(), "act_365");
}

TEST_F(BaseApiTest, CutsANameToItsFieldAtACharacter) {
    std::vector<API::GetCurrenciesOut> replies;
    EXPECT_TRUE(base.get_currencies({{"USD"}}, replies));
    ASSERT_EQ(replies.size(), 1u);
    EXPECT_STREQ(replies[0].name.c_str(), "A name of forty bytes, cut to t");
}

TEST_F(BaseApiTest, LeavesTheFieldOfANullTextUnset) {
    std::vector<API::GetCurrenciesOut> replies;
    EXPECT_TRUE(base.get_currencies({{"JPY"}}, replies));
    ASSERT_EQ(replies.size(), 1u);
    EXPECT_FALSE(replies[0].name.has());
    EXPECT_FALSE(replies[0].calendar.has());
    EXPECT_EQ(replies[0].forward_rate_affinity_factor.get(), 0.4F);
    auto const bare = underlyings({{"BARE"}});
    ASSERT_EQ(bare.size(), 1u);
    EXPECT_FALSE(bare[0].currency.has());
    EXPECT_NE(dynamic_cast<API::GetUnderlyingsOut::Share*>(bare[0].impl.get()), nullptr);
}

TEST_F(BaseApiTest, SkipsTheRowOfANullNumber) {
    std::vector<API::GetCurrenciesOut> currencies;
    EXPECT_TRUE(base.get_currencies({{"CHF"}, {"EUR"}}, currencies));
    ASSERT_EQ(currencies.size(), 1u);
    EXPECT_STREQ(currencies[0].ticker.c_str(), "EUR");
    EXPECT_TRUE(spots({{"2023-01-01", "^INDEX"}}).empty());
    std::vector<API::GetBlackScholesVolatilitiesOut> volatilities;
    EXPECT_TRUE(base.get_black_scholes_volatilities({{"2023-01-01", "FUND"}}, volatilities));
    EXPECT_TRUE(volatilities.empty());
}

TEST_F(BaseApiTest, AnswersUnderlyingsOfEachKind) {
    using Out = API::GetUnderlyingsOut;
    auto const replies = underlyings(
        {{"DEPO6M"}, {"BOND"}, {"SWAP2Y"}, {"USD-EUR"}, {"^INDEX"}, {"FUND"}, {"SHARE"}, {"none"}});
    ASSERT_EQ(replies.size(), 7u);
    EXPECT_STREQ(replies[0].ticker.c_str(), "SHARE");
    EXPECT_STREQ(replies[0].name.c_str(), "Share \\ 'one'");
    EXPECT_STREQ(replies[0].currency.c_str(), "EUR");
    EXPECT_STREQ(replies[0].fixing_calendar.c_str(), "dummy");
    EXPECT_STREQ(replies[0].day_counter.c_str(), "act_365");
    EXPECT_NE(dynamic_cast<Out::Share*>(replies[0].impl.get()), nullptr);
    EXPECT_NE(dynamic_cast<Out::Fund*>(replies[1].impl.get()), nullptr);
    EXPECT_NE(dynamic_cast<Out::Index*>(replies[2].impl.get()), nullptr);
    EXPECT_STREQ(dynamic_cast<Out::ExchangeRate&>(*replies[3].impl).base.c_str(), "USD");
    EXPECT_STREQ(replies[3].currency.c_str(), "EUR");
    auto const& swap = dynamic_cast<Out::SwapRate&>(*replies[4].impl);
    EXPECT_STREQ(swap.start.c_str(), "+2d");
    EXPECT_STREQ(swap.end.c_str(), "+2y");
    EXPECT_STREQ(swap.frequency.c_str(), "+6m");
    auto const& bond = dynamic_cast<Out::ZeroCouponBond&>(*replies[5].impl);
    EXPECT_STREQ(bond.start.c_str(), "+1bd");
    EXPECT_STREQ(bond.calendar.c_str(), "dummy");
    auto const& deposit = dynamic_cast<Out::DepositRate&>(*replies[6].impl);
    EXPECT_STREQ(deposit.start.c_str(), "+2d");
    EXPECT_STREQ(deposit.end.c_str(), "+6m");
}

TEST_F(BaseApiTest, AnswersCurrencyPairsInTheirOwnDirectionOnly) {
    std::vector<API::GetCurrencyPairsOut> replies;
    EXPECT_TRUE(base.get_currency_pairs({{"EUR", "USD"}}, replies));
    EXPECT_TRUE(replies.empty());
    EXPECT_TRUE(base.get_currency_pairs({{"USD", "EUR"}}, replies));
    ASSERT_EQ(replies.size(), 1u);
    EXPECT_STREQ(replies[0].ticker.c_str(), "USD-EUR");
    EXPECT_STREQ(replies[0].base.c_str(), "USD");
    EXPECT_STREQ(replies[0].quote.c_str(), "EUR");
    EXPECT_STREQ(replies[0].name.c_str(), "Dollar in euro");
    EXPECT_STREQ(replies[0].fixing_calendar.c_str(), "dummy");
}

TEST_F(BaseApiTest, AnswersTheMidOfBidAndAsk) {
    auto const replies = spots({{"2023-01-02", "SHARE"}});
    ASSERT_EQ(replies.size(), 1u);
    EXPECT_STREQ(replies[0].date.c_str(), "2023-01-02");
    EXPECT_STREQ(replies[0].ticker.c_str(), "SHARE");
    EXPECT_EQ(replies[0].value.get(), 101.5F);
}

TEST_F(BaseApiTest, AnswersTheCrossProductOfDatesAndTickers) {
    auto const replies = spots({{"2023-01-01", "FUND"}, {"2023-01-02", "SHARE"}});
    EXPECT_EQ(replies.size(), 3u);
}

TEST_F(BaseApiTest, AnswersVolatilitiesAndCorrelationsInPercent) {
    std::vector<API::GetBlackScholesVolatilitiesOut> volatilities;
    EXPECT_TRUE(base.get_black_scholes_volatilities({{"2023-01-01", "SHARE"}}, volatilities));
    ASSERT_EQ(volatilities.size(), 1u);
    EXPECT_EQ(volatilities[0].value.get(), 20.0F);
    std::vector<API::GetCorrelationsOut> correlations;
    EXPECT_TRUE(base.get_correlations({{"2023-01-01", "FUND", "SHARE"}}, correlations));
    EXPECT_TRUE(correlations.empty());
    EXPECT_TRUE(base.get_correlations({{"2023-01-01", "SHARE", "FUND"}}, correlations));
    ASSERT_EQ(correlations.size(), 1u);
    EXPECT_STREQ(correlations[0].first.c_str(), "SHARE");
    EXPECT_STREQ(correlations[0].second.c_str(), "FUND");
    EXPECT_EQ(correlations[0].value.get(), 50.0F);
}

TEST_F(BaseApiTest, LogsTheServersErrorForAnEmptyListAndAnswersTrue) {
    auto const log =
        ximTest::texts_of(Toolbox::Log::Level::WARNING, [&] { EXPECT_TRUE(spots({}).empty()); });
    ASSERT_EQ(log.size(), 1u);
    EXPECT_THAT(log[0], EndsWith(" (mysqlerrno: 1064)"));
    auto const logs = ximTest::texts_of(Toolbox::Log::Level::WARNING,
                                        [&] { EXPECT_TRUE(underlyings({}).empty()); });
    EXPECT_EQ(logs.size(), 7u);
}

TEST_F(BaseApiTest, FindsNothingForTextsWithMetacharacters) {
    for (auto const* ticker :
         {"' OR '1'='1", "SHARE'", "x' UNION SELECT", "SHARE\\", "\"", "SHARE\n"}) {
        EXPECT_TRUE(spots({{"2023-01-01", ticker}}).empty()) << ticker;
        EXPECT_EQ(spots({{"2023-01-01", ticker}, {"2023-01-01", "FUND"}}).size(), 1u) << ticker;
    }
    EXPECT_EQ(Client().run("SELECT COUNT(*) FROM market.Spot"), "5");
}

TEST_F(BaseApiTest, ComparesTickersByteByByte) {
    EXPECT_TRUE(spots({{"2023-01-01", "share"}}).empty());
}

TEST_F(BaseApiTest, SelectsAgainAfterAResultThatNobodyRead) {
    EXPECT_EQ(base._select("SELECT 1"), nullptr);
    EXPECT_EQ(base._select("SELECT _ticker FROM Spot"), nullptr);
    EXPECT_EQ(spots({{"2023-01-01", "FUND"}}).size(), 1u);
}

TEST_F(BaseApiTest, GivesTheTextOfAStatementsError) {
    char const* error = nullptr;
    EXPECT_THAT([&] { error = base._select("SELECT nothing FROM nowhere"); },
                LogsWarning("Table 'market.nowhere' doesn't exist (mysqlerrno: 1146)"));
    EXPECT_STREQ(error, "Table 'market.nowhere' doesn't exist (mysqlerrno: 1146)");
    EXPECT_EQ(spots({{"2023-01-01", "FUND"}}).size(), 1u);
}

TEST_F(BaseApiTest, CutsAnErrorToItsBuffer) {
    std::string const wide = "SELECT '" + std::string(5000, 'x');
    EXPECT_NE(base._select(wide), nullptr);
    EXPECT_LT(std::string(BaseAPI::s_error_cstr.data()).size(), BaseAPI::s_error_cstr.size());
}

TEST_F(BaseApiTest, AnswersNothingWithoutAConnection) {
    EXPECT_TRUE(base.disconnect());
    EXPECT_THAT(
        [&] {
            EXPECT_TRUE(spots({{"2023-01-01", "FUND"}}).empty());
        },
        LogsWarning("Not connected (mysqlerrno: 0)"));
}

TEST_F(BaseApiTest, SurvivesAServerThatHangsUp) {
    Client client;
    auto const others = "SELECT id FROM information_schema.processlist WHERE id <> " +
                        std::to_string(client.id()) + " AND db = 'market' ORDER BY id DESC LIMIT 1";
    client.run("KILL " + client.run(others));
    auto const log = ximTest::texts_of(Toolbox::Log::Level::WARNING, [&] {
        EXPECT_TRUE(spots({{"2023-01-01", "FUND"}}).empty());
    });
    ASSERT_FALSE(log.empty());
    EXPECT_THAT(log[0], HasSubstr("(mysqlerrno: "));
    EXPECT_TRUE(base.connect());
    EXPECT_EQ(spots({{"2023-01-01", "FUND"}}).size(), 1u);
}

// Tables whose columns are all texts, as another administrator may have made them.

class TextTablesTest : public Testing::MarketTest {
 protected:
    TextTablesTest() : base(credentials("market_texts")) {
        Client client;
        client.run("CREATE OR REPLACE DATABASE market_texts CHARACTER SET utf8mb4");
        client.run(
            "CREATE TABLE market_texts.Currency (_ticker VARCHAR(99), _name VARCHAR(99), "
            "_forward_rate_affinity_factor VARCHAR(99), _calendar VARCHAR(99), _day_counter "
            "VARCHAR(99))");
        client.run(
            "INSERT INTO market_texts.Currency VALUES ('EUR', 'Euro', 'half', 'dummy', 'act_365'),"
            " ('USD', 'Dollar', '0.5', 'dummy', 'act_365'), ('JPY', 'Yen', '', NULL, NULL),"
            " ('GBP', 'Pound', '1e99', NULL, NULL),"
            " ('CHF', 'Franc', ' 0.25 of 1', 'a calendar with a name of over 31 bytes', '')");
        client.run(
            "CREATE TABLE market_texts.Correlation (_date VARCHAR(99), _first VARCHAR(99), _second "
            "VARCHAR(99), _value VARCHAR(99))");
        client.run(
            "INSERT INTO market_texts.Correlation VALUES ('2023-01-01', 'A', 'B', 'n/a'),"
            " ('2023-01-01', 'A', 'C', '30')");
        client.run(
            "CREATE TABLE market_texts.BlackScholesVolatility (_date VARCHAR(99), _ticker "
            "VARCHAR(99), _value VARCHAR(99))");
        client.run(
            "INSERT INTO market_texts.BlackScholesVolatility VALUES ('2023-01-01', 'A', '-'),"
            " ('2023-01-01', 'B', '20')");
        client.run(
            "CREATE TABLE market_texts.ExchangeRateUnderlying (_ticker VARCHAR(99), _name "
            "VARCHAR(99), _quote_currency VARCHAR(99), _fixing_calendar VARCHAR(99), _day_counter "
            "VARCHAR(99), _base_currency VARCHAR(99))");
        client.run(
            "INSERT INTO market_texts.ExchangeRateUnderlying VALUES ('A', 'N', 'EURO', 'dummy', "
            "'act_365', 'USD')");
        EXPECT_TRUE(base.connect());
    }

    BaseAPI base;
};

TEST_F(TextTablesTest, SkipsRowsWhoseNumberDoesNotRead) {
    std::vector<API::GetCurrenciesOut> currencies;
    auto const log = ximTest::texts_of(Toolbox::Log::Level::WARNING, [&] {
        EXPECT_TRUE(base.get_currencies({{"EUR"}, {"USD"}, {"JPY"}, {"GBP"}, {"CHF"}}, currencies));
    });
    ASSERT_EQ(currencies.size(), 2u);
    EXPECT_STREQ(currencies[0].ticker.c_str(), "USD");
    EXPECT_EQ(currencies[0].forward_rate_affinity_factor.get(), 0.5F);
    EXPECT_EQ(currencies[1].forward_rate_affinity_factor.get(), 0.25F);
    EXPECT_EQ(log,
              std::vector<std::string>{"Text too long: a calendar with a name of over 31 bytes"});
    EXPECT_FALSE(currencies[1].calendar.has());
}

TEST_F(TextTablesTest, SkipsQuotesWhoseNumberDoesNotRead) {
    std::vector<API::GetCorrelationsOut> correlations;
    EXPECT_TRUE(
        base.get_correlations({{"2023-01-01", "A", "B"}, {"2023-01-01", "A", "C"}}, correlations));
    ASSERT_EQ(correlations.size(), 1u);
    EXPECT_EQ(correlations[0].value.get(), 30.0F);
    std::vector<API::GetBlackScholesVolatilitiesOut> volatilities;
    EXPECT_TRUE(base.get_black_scholes_volatilities({{"2023-01-01", "A"}, {"2023-01-01", "B"}},
                                                    volatilities));
    ASSERT_EQ(volatilities.size(), 1u);
    EXPECT_EQ(volatilities[0].value.get(), 20.0F);
}

TEST_F(TextTablesTest, GoesOnToTheNextTableWhereOneIsMissing) {
    std::vector<API::GetUnderlyingsOut> underlyings;
    auto const log = ximTest::texts_of(Toolbox::Log::Level::WARNING, [&] {
        EXPECT_TRUE(base.get_underlyings({{"A"}}, underlyings));
    });
    ASSERT_EQ(underlyings.size(), 1u);
    EXPECT_FALSE(underlyings[0].currency.has());
    EXPECT_EQ(log.size(), 6u + 1u);  // six tables that are not there, one text too long
    EXPECT_EQ(std::ranges::count(log, "Text too long: EURO"), 1);
}

// The whole road through the gateway.

class BaseGatewayTest : public Testing::MarketTest {
 protected:
    BaseGatewayTest() {
        Json::Value description;
        description["Kind"] = "base";
        description["Data"] = credentials();
        std::istringstream stream(description.toStyledString());
        EXPECT_TRUE(gateway._push_back_internal(stream));
    }
    MarketDataGateway gateway;
};

TEST_F(BaseGatewayTest, FillsWhatAContractDeclares) {
    auto const share = cache().get_underlying("SHARE", Level::silent);
    auto const fund = cache().get_underlying("FUND", Level::silent);
    auto const* spot = cache().get_spot(today, share.get(), Level::silent);
    auto const* volatility = cache().get_blackscholes_volatility(today, share.get(), Level::silent);
    auto const* reversed = cache().get_correlation(today, fund.get(), share.get(), Level::silent);
    EXPECT_TRUE(gateway.execute_dependencies());
    EXPECT_TRUE(share->c_is_set());
    EXPECT_EQ(spot->c_get_val(), 100.0);
    EXPECT_EQ(volatility->c_get_val(), static_cast<double>(20.0F * 0.01F));
    EXPECT_EQ(reversed->c_get_val(), static_cast<double>(50.0F * 0.01F));
    EXPECT_TRUE(gateway.execute_dependencies());
    EXPECT_TRUE(cache().get_currency("EUR", Level::silent)->c_is_set());
}

TEST_F(BaseGatewayTest, ResolvesAPairByItsInverse) {
    auto const share = cache().get_underlying("SHARE", Level::silent);
    auto const pair =
        cache().get_currency_pair(*cache().get_currency("EUR", Level::silent),
                                  *cache().get_currency("USD", Level::silent), Level::silent);
    auto const* spot = cache().get_spot(today, pair.get(), Level::silent);
    auto const* volatility = cache().get_blackscholes_volatility(today, pair.get(), Level::silent);
    auto const* item = cache().get_correlation(today, share.get(), pair.get(), Level::silent);
    for (int round = 0; round < 3; ++round) std::ignore = gateway.execute_dependencies();
    EXPECT_STREQ(pair->c_str(), "EUR-USD");
    EXPECT_TRUE(pair->c_is_set());
    EXPECT_EQ(spot->c_get_val(), static_cast<double>(1.0F / 0.8F));
    EXPECT_EQ(volatility->c_get_val(), static_cast<double>(12.5F * 0.01F));
    EXPECT_EQ(item->c_get_val(), static_cast<double>(-25.0F * 0.01F));
}

TEST_F(BaseGatewayTest, RefusesASourceWhoseLoginFails) {
    Json::Value description;
    description["Kind"] = "base";
    description["Data"] = credentials();
    description["Data"]["Username"] = "stranger";
    std::istringstream stream(description.toStyledString());
    EXPECT_FALSE(gateway._push_back_internal(stream));
    EXPECT_EQ(gateway.c_get_sources().size(), 1u);
}

}  // namespace
}  // namespace ximCORE::Data
