#include "core/data/file_api.hpp"

#include <gtest/gtest.h>
#include <json/json.h>

#include <limits>
#include <random>
#include <string>

#include "core/data/interest_rates.hpp"
#include "core/data/json_text.hpp"
#include "support/market.hpp"
#include "support/matchers.hpp"

namespace ximCORE::Data {
namespace {

using ximTest::LogsError;
using ximTest::LogsNothing;
using ximTest::LogsWarning;

class FileApiTest : public Testing::MarketTest {
 protected:
    static Json::Value parse(std::string const& text) {
        Json::Value document;
        EXPECT_TRUE(parse_json(text, document)) << text;
        return document;
    }
    static void build(std::string const& text) { FileAPI{parse(text)}; }

    static std::shared_ptr<Underlying> find(std::string const& ticker) {
        return cache().get_underlying(ticker, Level::silent);
    }
    static Spot& spot(std::string const& ticker, std::string const& date) {
        return *cache().get_spot(Date(date), find(ticker).get(), Level::silent);
    }
};

TEST_F(FileApiTest, ReadsACurrency) {
    build(R"([{"type": "Currency", "ticker": "USD", "name": "Dollar", "calendar": "dummy",
               "day_counter": "act_365", "forward_rate_affinity_factor": 0.25,
               "creation_date": "2023-11-05", "colour": "green"}])");
    auto const dollar = cache().get_currency("USD", Level::silent);
    EXPECT_TRUE(dollar->c_is_set());
    EXPECT_EQ(dollar->c_get_name(), "Dollar");
    EXPECT_EQ(dollar->c_get_forward_rate_affinity_factor(), 0.25F);
}

TEST_F(FileApiTest, SkipsAnAffinityFactorThatIsAText) {
    EXPECT_THAT(
        [] {
            build(R"([{"type": "Currency", "ticker": "USD", "name": "Dollar", "calendar": "dummy",
                   "day_counter": "act_365", "forward_rate_affinity_factor": "0.25"}])");
        },
        LogsNothing());
    EXPECT_FALSE(cache().get_currency("USD", Level::silent)->c_is_set());
}

struct UnderlyingCase {
    char const* type;
    AssetClass asset_class;
};

constexpr UnderlyingCase underlying_cases[] = {
    {"ShareUnderlying", AssetClass::share},
    {"FundUnderlying", AssetClass::fund},
    {"IndexUnderlying", AssetClass::index},
    {"ExchangeRateUnderlying", AssetClass::exchange_rate},
    {"DepositRateUnderlying", AssetClass::deposit_rate},
    {"SwapRateUnderlying", AssetClass::swap_rate},
    {"ZeroCouponBondUnderlying", AssetClass::zero_coupon_bond},
};

TEST_F(FileApiTest, ReadsAnUnderlyingOfEachType) {
    for (auto const& c : underlying_cases) {
        build(R"([{"type": ")" + std::string(c.type) + R"(", "ticker": ")" + c.type +
              R"(", "name": "N", "currency": "EUR", "fixing_calendar": "dummy",
                 "day_counter": "act_365", "base_currency": "USD", "start": "+2d", "end": "+6m",
                 "frequency": "+3m", "calendar": "dummy"}])");
        auto const underlying = find(c.type);
        EXPECT_EQ(underlying->c_get_asset_class(), c.asset_class) << c.type;
        EXPECT_TRUE(underlying->c_is_set()) << c.type;
        EXPECT_EQ(underlying->c_get_name(), "N");
        EXPECT_STREQ(underlying->c_get_currency()->c_str(), "EUR");
    }
    EXPECT_STREQ(find("ExchangeRateUnderlying")->c_get_base_currency()->c_str(), "USD");
    auto const swap = find("SwapRateUnderlying");
    ASSERT_TRUE(swap->build(Date("2023-01-01")));
    EXPECT_EQ(static_cast<SwapRate const&>(*swap->c_get_impl()).c_get_nb_periods(), 2u);
    auto const deposit = find("DepositRateUnderlying");
    ASSERT_TRUE(deposit->build(Date("2023-01-01")));
    auto const& impl = static_cast<DepositRate const&>(*deposit->c_get_impl());
    EXPECT_STREQ(impl.c_get_start().c_str(), "2023-01-03");
    EXPECT_STREQ(impl.c_get_end().c_str(), "2023-07-01");
}

TEST_F(FileApiTest, TakesTheQuoteCurrencyOnlyWithoutACurrency) {
    build(R"([{"type": "ExchangeRateUnderlying", "ticker": "A", "quote_currency": "EUR"},
              {"type": "ExchangeRateUnderlying", "ticker": "B", "quote_currency": "EUR",
               "currency": "JPY"}])");
    EXPECT_STREQ(find("A")->c_get_currency()->c_str(), "EUR");
    EXPECT_STREQ(find("B")->c_get_currency()->c_str(), "JPY");
}

TEST_F(FileApiTest, LeavesAnExchangeRateWithoutBaseCurrencyUnset) {
    build(R"([{"type": "ExchangeRateUnderlying", "ticker": "A", "name": "N", "currency": "EUR",
               "fixing_calendar": "dummy", "day_counter": "act_365"}])");
    EXPECT_EQ(find("A")->c_get_asset_class(), AssetClass::exchange_rate);
    EXPECT_FALSE(find("A")->c_is_set());
}

TEST_F(FileApiTest, SetsASpotToTheMidOfBidAndAskInAnyOrder) {
    build(R"([{"type": "Spot", "ticker": "A", "date": "2023-01-01", "bid": 101, "ask": 99},
              {"type": "Spot", "ticker": "A", "date": "2023-01-02", "bid": 0.1, "ask": 0.2}])");
    EXPECT_EQ(spot("A", "2023-01-01").c_get_val(), 100.0);
    EXPECT_EQ(spot("A", "2023-01-02").c_get_val(),
              static_cast<double>(static_cast<float>(0.5 * static_cast<double>(0.1F + 0.2F))));
}

TEST_F(FileApiTest, SkipsASpotThatLacksARequiredKey) {
    build(R"([{"type": "Spot", "ticker": "A", "date": "2023-01-01", "bid": 100},
              {"type": "Spot", "ticker": "A", "date": "2023-01-01", "ask": 100},
              {"type": "Spot", "ticker": "A", "bid": 100, "ask": 100},
              {"type": "Spot", "date": "2023-01-01", "bid": 100, "ask": 100},
              {"type": "Spot", "ticker": "A", "date": "2023-01-01", "bid": 100, "ask": null},
              {"type": "Spot", "ticker": "A", "date": "2023-01-01", "bid": 100, "ask": "100"}])");
    EXPECT_TRUE(cache().c_get_spots().empty());
}

TEST_F(FileApiTest, ReadsVolatilitiesAndCorrelationsAsPercentages) {
    build(R"([{"type": "BlackScholesVolatility", "ticker": "A", "date": "2023-01-01", "value": 25},
              {"type": "Correlation", "first": "A", "second": "B", "date": "2023-01-01",
               "value": -50.0}])");
    EXPECT_EQ(
        cache().get_blackscholes_volatility(today, find("A").get(), Level::silent)->c_get_val(),
        0.25);
    EXPECT_EQ(cache()
                  .get_correlation(today, find("A").get(), find("B").get(), Level::silent)
                  ->c_get_val(),
              -0.5);
    EXPECT_FALSE(cache()
                     .get_correlation(today, find("B").get(), find("A").get(), Level::silent)
                     ->c_is_set());
}

TEST_F(FileApiTest, IgnoresALaterDuplicate) {
    build(R"([{"type": "Spot", "ticker": "A", "date": "2023-01-01", "bid": 1, "ask": 1},
              {"type": "Spot", "ticker": "A", "date": "2023-1-1", "bid": 2, "ask": 2}])");
    EXPECT_EQ(spot("A", "2023-01-01").c_get_val(), 1.0);
}

TEST_F(FileApiTest, DoesNotCareAboutTheOrderOfObjects) {
    build(R"([{"type": "Spot", "ticker": "A", "date": "2023-01-01", "bid": 1, "ask": 1},
              {"type": "ShareUnderlying", "ticker": "A", "currency": "EUR"},
              {"type": "Currency", "ticker": "EUR", "name": "Euro"}])");
    EXPECT_EQ(spot("A", "2023-01-01").c_get_underlying(), find("A").get());
    EXPECT_EQ(find("A")->c_get_currency()->c_get_name(), "Euro");
}

TEST_F(FileApiTest, SkipsUnknownTypesAndShapesInSilence) {
    for (auto const* text : {
             R"([{"type": "YahooProvider", "ticker": "A", "code": "A"}])",
             R"([{"type": "spot", "ticker": "A"}])",
             R"([{"ticker": "A"}])",
             R"([{"type": ["Spot"], "ticker": "A"}])",
             R"([{"type": "Currency", "ticker": {"a": 1}}])",
             R"([{"type": "ShareUnderlying", "ticker": []}])",
             R"([1, "Spot", null, true, [], [[{"type": "Currency", "ticker": "A"}]]])",
             R"({"type": "Currency", "ticker": "A"})",
             R"({})",
             R"([])",
         }) {
        EXPECT_THAT([&] { build(text); }, LogsNothing()) << text;
        EXPECT_TRUE(cache().c_get_currencies().empty()) << text;
        EXPECT_TRUE(cache().c_get_underlyings().empty()) << text;
    }
    EXPECT_THAT([] { FileAPI{Json::Value(5)}; }, LogsNothing());
    EXPECT_THAT([] { FileAPI{Json::Value()}; }, LogsNothing());
}

TEST_F(FileApiTest, SkipsAnObjectWithABadDateAfterItsError) {
    EXPECT_THAT(
        [] {
            build(R"([{"type": "Spot", "ticker": "A", "date": "2023-02-30", "bid": 1, "ask": 1},
                  {"type": "Spot", "ticker": "A", "date": "2023-01-01", "bid": 1, "ask": 1}])");
        },
        LogsError("Cannot read date 2023-02-30"));
    EXPECT_EQ(cache().c_get_spots().size(), 1u);
    EXPECT_THAT(
        [] {
            build(
                R"([{"type": "Correlation", "first": "A", "second": "B", "date": "x", "value": 1}])");
        },
        LogsError("Cannot read date x"));
    EXPECT_THAT(
        [] {
            build(R"([{"type": "BlackScholesVolatility", "ticker": "A", "date": "", "value": 1}])");
        },
        LogsError("Cannot read date "));
}

TEST_F(FileApiTest, SkipsAnObjectWithABadShiftWhole) {
    EXPECT_THAT(
        [] { build(R"([{"type": "SwapRateUnderlying", "ticker": "R", "frequency": "3m"}])"); },
        LogsError("Cannot read date shift 3m"));
    EXPECT_THAT(
        [] {
            build(
                R"([{"type": "DepositRateUnderlying", "ticker": "R", "start": "+99999999999d"}])");
        },
        LogsNothing());
    EXPECT_TRUE(cache().c_get_underlyings().empty());
}

TEST_F(FileApiTest, SurvivesExtremeTextsAndNumbers) {
    std::string const wide(1 << 20, 'x');
    build(R"([{"type": "Currency", "ticker": ")" + wide + R"(", "name": ")" + wide + R"("},
              {"type": "Spot", "ticker": "A", "date": "2023-01-01", "bid": 1e308, "ask": -1e308},
              {"type": "Spot", "ticker": "B\u0000C", "date": "2023-01-01", "bid": 1, "ask": 1},
              {"type": "Currency", "ticker": "", "name": ""}])");
    EXPECT_TRUE(cache().c_get_currencies().contains(wide));
    EXPECT_THAT(
        [&] {
            build(R"([{"type": "Spot", "ticker": "A", "date": ")" + wide +
                  R"(", "bid": 1, "ask": 1}])");
        },
        LogsError("Cannot read date " + wide));
}

TEST_F(FileApiTest, SurvivesRandomDocuments) {
    std::mt19937_64 random(11);
    std::string const atoms[] = {"[",
                                 "]",
                                 "{",
                                 "}",
                                 ",",
                                 ":",
                                 "null",
                                 "true",
                                 "1e400",
                                 "-5",
                                 "\"Spot\"",
                                 "\"type\"",
                                 "\"ticker\"",
                                 "\"date\"",
                                 "\"2023-01-01\"",
                                 "\"bid\"",
                                 "\"ask\"",
                                 "\"SwapRateUnderlying\"",
                                 "\"start\"",
                                 "\"+1d\"",
                                 "\"-1y\"",
                                 "{\"type\":\"Spot\",\"ticker\":",
                                 "/*",
                                 "\"Correlation\""};
    for (int document = 0; document < 2000; ++document) {
        std::string text = "[";
        for (auto n = random() % 30; n > 0; --n) text += atoms[random() % std::size(atoms)];
        text += "]";
        Json::Value root;
        if (parse_json(text, root)) FileAPI{root};
        Json::Value item(Json::objectValue);
        char const* const keys[] = {"type", "ticker", "date",  "bid",
                                    "ask",  "first",  "value", "end"};
        Json::Value const values[] = {Json::Value(),
                                      "Spot",
                                      "SwapRateUnderlying",
                                      "Correlation",
                                      5,
                                      Json::Value(Json::arrayValue),
                                      Json::Value(Json::objectValue),
                                      "2023-01-01",
                                      "+1x",
                                      true};
        for (auto const* key : keys) item[key] = values[random() % std::size(values)];
        Json::Value array(Json::arrayValue);
        array.append(item);
        FileAPI{array};
    }
    SUCCEED();
}

TEST_F(FileApiTest, AnswersSpotsOfExactlyTheDateAsked) {
    FileAPI file(parse(
        R"([{"type": "Spot", "ticker": "A", "date": "2023-01-01", "bid": 100, "ask": 101}])"));
    std::vector<API::GetSpotsOut> replies;
    EXPECT_TRUE(
        file.get_spots({{"2023-01-01", "A"}, {"2023-01-02", "A"}, {"2023-01-01", "B"}}, replies));
    ASSERT_EQ(replies.size(), 1u);
    EXPECT_STREQ(replies[0].date.c_str(), "2023-01-01");
    EXPECT_STREQ(replies[0].ticker.c_str(), "A");
    EXPECT_EQ(replies[0].value.get(), 100.5F);
}

TEST_F(FileApiTest, AnswersVolatilitiesAndCorrelationsInPercent) {
    FileAPI file(parse(
        R"([{"type": "BlackScholesVolatility", "ticker": "A", "date": "2023-01-01", "value": 25},
            {"type": "Correlation", "first": "A", "second": "B", "date": "2023-01-01", "value": 50}])"));
    std::vector<API::GetBlackScholesVolatilitiesOut> volatilities;
    EXPECT_TRUE(
        file.get_black_scholes_volatilities({{"2023-01-01", "A"}, {"bad", "A"}}, volatilities));
    ASSERT_EQ(volatilities.size(), 1u);
    EXPECT_EQ(volatilities[0].value.get(), 25.0F);
    std::vector<API::GetCorrelationsOut> correlations;
    EXPECT_TRUE(
        file.get_correlations({{"2023-01-01", "A", "B"}, {"2023-01-01", "B", "A"}}, correlations));
    ASSERT_EQ(correlations.size(), 1u);
    EXPECT_STREQ(correlations[0].first.c_str(), "A");
    EXPECT_STREQ(correlations[0].second.c_str(), "B");
    EXPECT_EQ(correlations[0].value.get(), 50.0F);
}

TEST_F(FileApiTest, AnswersThePairsThatHaveATicker) {
    FileAPI file(parse(R"([{"type": "ExchangeRateUnderlying", "ticker": "USD-EUR", "name": "N",
                            "currency": "EUR", "base_currency": "USD"}])"));
    std::vector<API::GetCurrencyPairsOut> replies;
    EXPECT_TRUE(file.get_currency_pairs({{"USD", "EUR"}, {"EUR", "USD"}}, replies));
    ASSERT_EQ(replies.size(), 1u);
    EXPECT_STREQ(replies[0].ticker.c_str(), "USD-EUR");
    EXPECT_STREQ(replies[0].name.c_str(), "N");
    EXPECT_STREQ(replies[0].base.c_str(), "USD");
    EXPECT_STREQ(replies[0].quote.c_str(), "EUR");
}

TEST_F(FileApiTest, LeavesTickersThatNoReplyCanHoldUnanswered) {
    FileAPI file(parse(R"([{"type": "Spot", "ticker": "ABCDEFGHIJKLMNOP", "date": "2023-01-01",
                            "bid": 1, "ask": 1}])"));
    std::vector<API::GetSpotsOut> replies;
    EXPECT_THAT(
        [&] {
            EXPECT_TRUE(file.get_spots({{"2023-01-01", "ABCDEFGHIJKLMNOP"}}, replies));
        },
        LogsWarning("Text too long: ABCDEFGHIJKLMNOP"));
    ASSERT_EQ(replies.size(), 1u);
    EXPECT_FALSE(replies[0].ticker.has());
}

TEST_F(FileApiTest, AnswersNothingForCurrenciesAndUnderlyings) {
    FileAPI file(parse(R"([{"type": "Currency", "ticker": "EUR", "name": "Euro"}])"));
    std::vector<API::GetCurrenciesOut> currencies;
    EXPECT_TRUE(file.get_currencies({{"EUR"}}, currencies));
    EXPECT_TRUE(currencies.empty());
    std::vector<API::GetUnderlyingsOut> underlyings;
    EXPECT_TRUE(file.get_underlyings({{"A"}}, underlyings));
    EXPECT_TRUE(underlyings.empty());
    EXPECT_TRUE(FileAPI().connect());
    EXPECT_TRUE(FileAPI().disconnect());
}

TEST_F(FileApiTest, ReadsItsMarketAgainAfterTheCacheForgotIt) {
    std::string const text =
        R"([{"type": "Spot", "ticker": "A", "date": "2023-01-01", "bid": 1, "ask": 1}])";
    build(text);
    cache().clear();
    EXPECT_FALSE(spot("A", "2023-01-01").c_is_set());
    build(text);
    EXPECT_TRUE(spot("A", "2023-01-01").c_is_set());
}

TEST(JsonText, AllowsCommentsAndNoTrailingComma) {
    Json::Value root;
    EXPECT_TRUE(parse_json("// a market\n[1, /* two */ 2]", root));
    EXPECT_EQ(root.size(), 2u);
    EXPECT_FALSE(parse_json("[1,", root));
    EXPECT_FALSE(parse_json("", root));
}

TEST(JsonText, RefusesDeepNestingByAnException) {
    Json::Value root;
    EXPECT_THROW(std::ignore = parse_json(std::string(100000, '['), root), Json::Exception);
}

TEST(JsonText, CountsMembersOfAnotherTypeAsAbsent) {
    Json::Value item;
    item["text"] = "1.5";
    item["number"] = 1.5;
    item["null"] = Json::Value();
    std::string text = "before";
    float number = 9.0F;
    EXPECT_TRUE(has(item, "text", text));
    EXPECT_EQ(text, "1.5");
    EXPECT_TRUE(has(item, "number", number));
    EXPECT_EQ(number, 1.5F);
    for (auto const* key : {"text", "null", "absent"}) EXPECT_FALSE(has(item, key, number)) << key;
    EXPECT_EQ(number, 1.5F);
    EXPECT_FALSE(has(Json::Value(5), "text", text));
    EXPECT_FALSE(has(Json::Value(Json::arrayValue), "text", text));
}

}  // namespace
}  // namespace ximCORE::Data
