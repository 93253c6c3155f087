// The chart source against a real HTTP server on the loopback interface. The answers have the shape
// of the service's own.

#include "core/data/chart_api.hpp"

#include <gtest/gtest.h>
#include <json/json.h>

#include <algorithm>
#include <chrono>
#include <sstream>
#include <string>
#include <thread>

#include "core/data/gateway.hpp"
#include "support/http_server.hpp"
#include "support/market.hpp"
#include "support/matchers.hpp"

namespace ximCORE::Data {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using Testing::HttpServer;
using ::testing::IsEmpty;
using ::testing::UnorderedElementsAre;
using ximTest::LogsNothing;
using ximTest::LogsWarning;

/// Noon, Greenwich, of a day of January 2023.
long long noon(int day) {
    return 1'672'574'400LL + 86'400LL * (day - 1);
}

/// The answer of the service for one ticker.
std::string chart(std::string const& meta, std::string const& times = "[]",
                  std::string const& closes = "[]") {
    return R"({"chart": {"result": [{"meta": )" + meta + R"(, "timestamp": )" + times +
           R"(, "indicators": {"quote": [{"volume": [null], "close": )" + closes +
           R"(}], "adjclose": [{"adjclose": []}]}}], "error": null}})";
}

std::string closes_of_january(std::string const& closes) {
    std::string times;
    auto const count = std::ranges::count(closes, ',') + 1;
    for (int day = 1; day <= count; ++day)
        times += (times.empty() ? "" : ", ") + std::to_string(noon(day));
    return chart(R"({"symbol": "A"})", "[" + times + "]", "[" + closes + "]");
}

constexpr char const* c_not_found =
    R"({"chart": {"result": null, "error": {"code": "Not Found", "description": "No data found"}}})";

class ChartTest : public Testing::MarketTest {
 protected:
    ChartTest() : service(server.base_url()) { EXPECT_TRUE(source.connect()); }

    void answer_with(std::string body, std::string status = "200 OK") {
        server.set_answer([body = std::move(body), status = std::move(status)](
                              std::string const&, HttpServer::Connection& client) {
            client.answer(body, status);
        });
    }

    std::vector<std::string> spots(std::vector<API::GetSpotsIn> const& in) {
        std::vector<API::GetSpotsOut> out;
        EXPECT_TRUE(source.get_spots(in, out));
        std::vector<std::string> texts;
        for (auto const& spot : out) {
            EXPECT_TRUE(spot.date.has() && spot.ticker.has() && spot.value.has());
            std::ostringstream text;
            text << spot.date.c_str() << ' ' << spot.ticker.c_str() << ' ' << spot.value.get();
            texts.push_back(text.str());
        }
        return texts;
    }
    std::vector<API::GetUnderlyingsOut> underlyings(std::vector<API::GetUnderlyingsIn> const& in) {
        std::vector<API::GetUnderlyingsOut> out;
        EXPECT_TRUE(source.get_underlyings(in, out));
        return out;
    }
    std::vector<API::GetCurrencyPairsOut> pairs(std::vector<API::GetCurrencyPairsIn> const& in) {
        std::vector<API::GetCurrencyPairsOut> out;
        EXPECT_TRUE(source.get_currency_pairs(in, out));
        return out;
    }

    HttpServer server;
    Testing::ChartServiceAt service;
    YahooFinanceAPI source;
};

// Spots.

TEST_F(ChartTest, OneDateAsksForTheDayUpToTheNextAndKeepsAllDaysThatComeBack) {
    answer_with(closes_of_january("100.5, 101.25, 99"));
    EXPECT_THAT(spots({{"2023-01-02", "A"}}),
                ElementsAre("2023-01-01 A 100.5", "2023-01-02 A 101.25", "2023-01-03 A 99"));
    // Monday 2023-01-02 is 1672617600 at midnight; the period ends a day of 86400 seconds later
    EXPECT_THAT(server.targets(),
                ElementsAre("A?metrics=CLOSE?&interval=1d&period1=1672617600&period2=1672704000"));
}

TEST_F(ChartTest, TheQueryForClosesHasASecondQuestionMarkBehindItsFirstParameter) {
    answer_with(c_not_found);
    spots({{"2023-01-02", "^GSPC"}});
    EXPECT_THAT(server.targets()[0],
                ::testing::StartsWith("^GSPC?metrics=CLOSE?&interval=1d&period1="));
    EXPECT_THAT(server.requests()[0], HasSubstr("\r\nUser-Agent: simple scraper\r\n"));
    EXPECT_THAT(server.requests()[0], ::testing::StartsWith("GET /v8/finance/chart/^GSPC?"));
}

TEST_F(ChartTest, TheDatesOfATickerMakeOneRequestFromTheEarliestToTheLatest) {
    answer_with(closes_of_january("1, 2"));
    char const* const a = "A";
    char const* const b = "B";
    spots({{"2023-01-05", a}, {"2023-01-03", b}, {"2023-01-02", a}, {"2023-01-04", a}});
    EXPECT_THAT(
        server.targets(),
        UnorderedElementsAre("A?metrics=CLOSE?&interval=1d&period1=1672617600&period2=1672963200",
                             "B?metrics=CLOSE?&interval=1d&period1=1672704000&period2=1672790400"));
}

TEST_F(ChartTest, TickersOfOneTextInTwoPlacesMakeTwoRequestsToTheChartService) {
    answer_with(closes_of_january("1"));
    std::string const first = "A";
    std::string const second = "A";
    EXPECT_EQ(spots({{"2023-01-01", first.c_str()}, {"2023-01-01", second.c_str()}}).size(), 2U);
    EXPECT_EQ(server.targets().size(), 2U);
}

TEST_F(ChartTest, ADayWithoutACloseIsSkipped) {
    answer_with(closes_of_january(R"(null, 2.5, "3", true, 4, [5])"));
    EXPECT_THAT(spots({{"2023-01-01", "A"}}), ElementsAre("2023-01-02 A 2.5", "2023-01-05 A 4"));
}

TEST_F(ChartTest, ATimeThatIsNoWholeNumberIsSkipped) {
    answer_with(chart(
        "{}",
        "[null, \"1672574400\", 1.5, 1e300, 18446744073709551615, " + std::to_string(noon(1)) + "]",
        "[1, 2, 3, 4, 5, 6]"));
    EXPECT_THAT(spots({{"2023-01-01", "A"}}), ElementsAre("2023-01-01 A 6"));
}

TEST_F(ChartTest, ATimeThatIsNoDateIsSkipped) {
    answer_with(chart(
        "{}",
        "[-9223372036854775808, 9223372036854775807, -315576000, " + std::to_string(noon(1)) + "]",
        "[1, 2, 3, 4]"));
    EXPECT_THAT(spots({{"2023-01-01", "A"}}), ElementsAre("2023-01-01 A 4"));
}

TEST_F(ChartTest, AnAnswerFullOfTimesThatAreNoDateLeavesAHundredRecords) {
    std::string times = "-315576000";
    std::string closes = "1";
    for (int i = 1; i < 500; ++i) {
        times += ", -315576000";
        closes += ", 1";
    }
    answer_with(chart("{}", "[" + times + "]", "[" + closes + "]"));
    auto const texts = ximTest::texts_of(ximTest::Log::Level::ERROR, [&] {
        EXPECT_THAT(spots({{"2023-01-01", "A"}}), IsEmpty());
    });
    EXPECT_EQ(texts.size(), 100U);
}

TEST_F(ChartTest, DaysAndClosesOfDifferentLengthMeetAtTheShorter) {
    answer_with(
        chart("{}", "[" + std::to_string(noon(1)) + ", " + std::to_string(noon(2)) + "]", "[7]"));
    EXPECT_THAT(spots({{"2023-01-01", "A"}}), ElementsAre("2023-01-01 A 7"));
    answer_with(chart("{}", "[" + std::to_string(noon(1)) + "]", "[7, 8, 9]"));
    EXPECT_THAT(spots({{"2023-01-01", "A"}}), ElementsAre("2023-01-01 A 7"));
}

TEST_F(ChartTest, ADateOfTheRequestThatDoesNotReadIsNotAskedFor) {
    answer_with(closes_of_january("1"));
    EXPECT_THAT(spots({{"no date", "A"}}), IsEmpty());
    EXPECT_THAT(server.targets(), IsEmpty());
}

TEST_F(ChartTest, ATickerThatNoAnswerCanHoldIsNotAskedFor) {
    answer_with(closes_of_january("1"));
    EXPECT_THAT(
        [&] {
            spots({{"2023-01-01", "ABCDEFGHIJKLMNOP"}});
        },
        LogsWarning("Text too long: ABCDEFGHIJKLMNOP"));
    std::string const endless(2000, 'A');
    std::ignore = underlyings({{endless.c_str()}});
    std::ignore = pairs({{"ABCDEFG", "HIJKLMN"}});
    EXPECT_THAT(server.targets(), IsEmpty());
}

// Answers of another shape than expected.

constexpr char const* bad_answers[] = {
    "",
    "null",
    "5",
    "[]",
    "\"text\"",
    "<html><body>Too Many Requests</body></html>",
    R"({"chart": )",
    "{}",
    R"({"chart": null})",
    R"({"chart": []})",
    R"({"chart": {}})",
    R"({"chart": {"result": null, "error": {"code": "Not Found"}}})",
    R"({"chart": {"result": []}})",
    R"({"chart": {"result": {}}})",
    R"({"chart": {"result": "text"}})",
    R"({"chart": {"result": [null]}})",
    R"({"chart": {"result": [[]]}})",
    R"({"chart": {"result": [{}]}})",
    R"({"chart": {"result": [{"meta": null, "timestamp": null, "indicators": null}]}})",
    R"({"chart": {"result": [{"timestamp": [1672574400]}]}})",
    R"({"chart": {"result": [{"timestamp": [1672574400], "indicators": {}}]}})",
    R"({"chart": {"result": [{"timestamp": [1672574400], "indicators": {"quote": []}}]}})",
    R"({"chart": {"result": [{"timestamp": [1672574400], "indicators": {"quote": {}}}]}})",
    R"({"chart": {"result": [{"timestamp": [1672574400], "indicators": {"quote": [{}]}}]}})",
    R"({"chart": {"result": [{"timestamp": [1672574400], "indicators": {"quote": [5]}}]}})",
    R"({"chart": {"result": [{"timestamp": [1672574400],
        "indicators": {"quote": [{"close": {}}]}}]}})",
    R"({"chart": {"result": [{"timestamp": {"0": 1672574400},
        "indicators": {"quote": [{"close": [1]}]}}]}})",
    R"({"chart": {"result": [{"indicators": {"quote": [{"close": [1]}]}}]}})",
};

TEST_F(ChartTest, AnAnswerOfAnotherShapeGivesNothingAndNoError) {
    for (auto const* body : bad_answers) {
        answer_with(body);
        EXPECT_THAT(
            [&] {
                EXPECT_THAT(spots({{"2023-01-01", "A"}}), IsEmpty());
                EXPECT_THAT(underlyings({{"A"}}), IsEmpty());
                EXPECT_THAT(pairs({{"EUR", "USD"}}), IsEmpty());
            },
            LogsNothing())
            << body;
    }
}

TEST_F(ChartTest, DeepNestingEndsItsRequestAlone) {
    server.set_answer([](std::string const& target, HttpServer::Connection& client) {
        client.answer(target.find("/DEEP") == std::string::npos ? closes_of_january("1")
                                                                : std::string(5000, '['));
    });
    EXPECT_THAT(spots({{"2023-01-01", "DEEP"}, {"2023-01-01", "A"}}),
                ElementsAre("2023-01-01 A 1"));
    EXPECT_THAT(underlyings({{"DEEP"}}), IsEmpty());
    EXPECT_THAT(pairs({{"EP", "DE"}}), IsEmpty());
}

TEST_F(ChartTest, AnUnknownTickerIsNoErrorAndTheNextIsAsked) {
    server.set_answer([](std::string const& target, HttpServer::Connection& client) {
        if (target.find("/NONE") != std::string::npos)
            return client.answer(c_not_found, "404 Not Found");
        client.answer(closes_of_january("1"));
    });
    EXPECT_THAT([&] { EXPECT_THAT(spots({{"2023-01-01", "NONE"}}), IsEmpty()); }, LogsNothing());
    EXPECT_EQ(spots({{"2023-01-01", "NONE"}, {"2023-01-01", "A"}}).size(), 1U);
    EXPECT_EQ(underlyings({{"NONE"}, {"A"}}).size(), 1U);
}

TEST_F(ChartTest, AMovedServiceIsNotFollowed) {
    server.set_answer([](std::string const&, HttpServer::Connection& client) {
        client.send(
            "HTTP/1.1 302 Found\r\nLocation: file:///etc/passwd\r\nContent-Length: 0\r\n"
            "Connection: close\r\n\r\n");
    });
    EXPECT_THAT([&] { EXPECT_THAT(spots({{"2023-01-01", "A"}}), IsEmpty()); }, LogsNothing());
    EXPECT_EQ(server.targets().size(), 1U);
}

// Transports that fail.

TEST_F(ChartTest, AServerThatHangsLeavesAWarningAndTheNextRequestGoesOn) {
    YahooFinanceAPI::s_service.timeout_ms = 100;
    ASSERT_TRUE(source.connect());
    server.set_answer([](std::string const& target, HttpServer::Connection& client) {
        if (target.find("/SLOW") != std::string::npos) return client.hang();
        client.answer(closes_of_january("1"));
    });
    EXPECT_THAT(
        [&] {
            EXPECT_THAT(spots({{"2023-01-01", "SLOW"}, {"2023-01-01", "A"}}),
                        ElementsAre("2023-01-01 A 1"));
        },
        LogsWarning("Timeout was reached"));
}

TEST_F(ChartTest, AServerThatStopsHalfwayLeavesAWarning) {
    server.set_answer([](std::string const&, HttpServer::Connection& client) {
        auto const body = closes_of_january("1, 2, 3");
        client.send("HTTP/1.1 200 OK\r\nContent-Length: " + std::to_string(body.size()) +
                    "\r\n\r\n" + body.substr(0, body.size() / 2));
    });
    EXPECT_THAT(
        [&] {
            EXPECT_THAT(spots({{"2023-01-01", "A"}}), IsEmpty());
        },
        LogsWarning("Transferred a partial file"));
}

TEST_F(ChartTest, AServerThatStallsHalfwayLeavesAWarning) {
    YahooFinanceAPI::s_service.timeout_ms = 100;
    ASSERT_TRUE(source.connect());
    server.set_answer([](std::string const&, HttpServer::Connection& client) {
        client.send("HTTP/1.1 200 OK\r\nContent-Length: 1000\r\n\r\n{\"chart\": ");
        client.hang();
    });
    EXPECT_THAT(
        [&] {
            EXPECT_THAT(spots({{"2023-01-01", "A"}}), IsEmpty());
        },
        LogsWarning("Timeout was reached"));
}

TEST_F(ChartTest, AServerThatSaysNothingLeavesAWarning) {
    server.set_answer([](std::string const&, HttpServer::Connection&) {});
    EXPECT_THAT([&] { EXPECT_THAT(underlyings({{"A"}}), IsEmpty()); },
                LogsWarning("Server returned nothing (no headers, no data)"));
}

TEST_F(ChartTest, AHostThatRefusesLeavesAWarning) {
    std::string nowhere;
    {
        HttpServer const gone;
        nowhere = gone.base_url();
    }
    YahooFinanceAPI::s_service.base_url = nowhere.c_str();
    EXPECT_THAT(
        [&] {
            EXPECT_THAT(pairs({{"EUR", "USD"}}), IsEmpty());
        },
        LogsWarning("Couldn't connect to server"));
}

TEST_F(ChartTest, OnlyHttpIsSpoken) {
    YahooFinanceAPI::s_service.base_url = "file:///v8/finance/chart/";
    EXPECT_THAT([&] { EXPECT_THAT(underlyings({{"A"}}), IsEmpty()); },
                LogsWarning("Unsupported protocol"));
}

TEST_F(ChartTest, ATickerWithALineEndMakesNoRequest) {
    EXPECT_THAT(
        [&] {
            EXPECT_THAT(spots({{"2023-01-01", "A\r\nX: y"}}), IsEmpty());
        },
        LogsWarning("URL using bad/illegal format or missing URL"));
    EXPECT_THAT(server.targets(), IsEmpty());
}

TEST_F(ChartTest, ATickerGoesIntoTheAddressAsItStands) {
    struct Row {
        char const* ticker;
        char const* target;  // null: no address
    };
    for (auto const& [ticker, target] :
         {Row{"A?range=max", "A?range=max"}, Row{"A&B=C", "A&B=C"}, Row{"A%20B", "A%20B"},
          Row{"{A,B}[1-9]", "{A,B}[1-9]"}, Row{"@host:1", "@host:1"}, Row{"A#B", "A"}, Row{"", ""},
          Row{"A B", nullptr}, Row{"A\tB", nullptr}}) {
        answer_with(c_not_found);
        auto const before = server.targets().size();
        auto const warnings = ximTest::texts_of(ximTest::Log::Level::WARNING, [&, ticker = ticker] {
            EXPECT_THAT(underlyings({{ticker}}), IsEmpty());
        });
        auto const targets = server.targets();
        ASSERT_EQ(targets.size(), before + (target ? 1 : 0)) << ticker;
        ASSERT_EQ(warnings.size(), target ? 0U : 1U) << ticker;
        if (target) {
            EXPECT_EQ(targets.back(), target);
        }
    }
}

TEST_F(ChartTest, ATickerDoesNotLeaveTheHost) {
    answer_with(c_not_found);
    for (auto const* ticker : {"../../../x", "//other/x", "http://other/x"}) {
        EXPECT_THAT(underlyings({{ticker}}), IsEmpty());
        EXPECT_THAT(server.requests().back(), HasSubstr("\r\nHost: 127.0.0.1:"));
    }
    EXPECT_EQ(server.requests().size(), 3U);
}

TEST_F(ChartTest, AnAnswerThatDripsEndsWithTheTimeOfTheWholeRequest) {
    YahooFinanceAPI::s_service.timeout_ms = 200;
    ASSERT_TRUE(source.connect());
    server.set_answer([](std::string const&, HttpServer::Connection& client) {
        client.send("HTTP/1.1 200 OK\r\nConnection: close\r\n\r\n");
        while (client.send(" ")) std::this_thread::sleep_for(std::chrono::milliseconds(5));
    });
    EXPECT_THAT([&] { EXPECT_THAT(underlyings({{"A"}}), IsEmpty()); },
                LogsWarning("Timeout was reached"));
}

TEST_F(ChartTest, ALargeAnswerIsReadWhole) {
    std::string closes = "1";
    for (int day = 2; day <= 20'000; ++day) closes += ", " + std::to_string(day) + ".5";
    answer_with(closes_of_january(closes));
    EXPECT_EQ(spots({{"2023-01-01", "A"}}).size(), 20'000U);
}

TEST_F(ChartTest, AnAnswerBeyondTheLimitIsDropped) {
    YahooFinanceAPI::s_service.answer_limit = 100'000;
    server.set_answer([](std::string const&, HttpServer::Connection& client) {
        client.send("HTTP/1.1 200 OK\r\nConnection: close\r\n\r\n[");
        std::string const block(65'536, ' ');
        while (client.send(block)) {
        }
    });
    EXPECT_THAT(
        [&] {
            EXPECT_THAT(spots({{"2023-01-01", "A"}}), IsEmpty());
        },
        LogsWarning("Failed writing received data to disk/application"));
    answer_with(closes_of_january("1"));
    EXPECT_EQ(spots({{"2023-01-01", "A"}}).size(), 1U);
}

TEST_F(ChartTest, SuccessIsSilentAndEveryOtherCodeHasItsText) {
    EXPECT_THAT([] { YahooFinanceAPI::error_handler(0); }, LogsNothing());
    EXPECT_THAT([] { YahooFinanceAPI::error_handler(28); }, LogsWarning("Timeout was reached"));
    EXPECT_THAT([] { YahooFinanceAPI::error_handler(-1); }, LogsWarning("Unknown error"));
}

TEST_F(ChartTest, WithoutConnectingGivesNothing) {
    YahooFinanceAPI idle;
    std::vector<API::GetSpotsOut> out;
    EXPECT_TRUE(idle.disconnect());
    std::ignore = ximTest::records_of([&] {
        EXPECT_TRUE(idle.get_spots({{"2023-01-01", "A"}}, out));
    });
    EXPECT_THAT(out, IsEmpty());
}

TEST_F(ChartTest, ConnectsAgainAfterDisconnecting) {
    answer_with(closes_of_january("1"));
    for (int round = 0; round < 3; ++round) {
        EXPECT_TRUE(source.connect());
        EXPECT_EQ(spots({{"2023-01-01", "A"}}).size(), 1U);
        EXPECT_TRUE(source.disconnect());
    }
}

// Underlyings.

struct InstrumentCase {
    char const* type;
    std::type_info const* implementation;  // null: none
};

InstrumentCase const instrument_cases[] = {
    {"INDEX", &typeid(API::GetUnderlyingsOut::Index)},
    {"EQUITY", &typeid(API::GetUnderlyingsOut::Share)},
    {"FUND", &typeid(API::GetUnderlyingsOut::Fund)},
    {"CURRENCY", &typeid(API::GetUnderlyingsOut::ExchangeRate)},
    {"MUTUALFUND", nullptr},
    {"equity", nullptr},
    {"", nullptr},
};

TEST_F(ChartTest, TheInstrumentTypeSelectsTheKindOfAnUnderlying) {
    for (auto const& row : instrument_cases) {
        answer_with(chart(R"({"currency": "USD", "symbol": "A", "instrumentType": ")" +
                          std::string(row.type) + "\"}"));
        auto const found = underlyings({{"A"}});
        ASSERT_EQ(found.size(), 1U);
        EXPECT_STREQ(found[0].ticker.c_str(), "A");
        EXPECT_STREQ(found[0].name.c_str(), "A");
        EXPECT_STREQ(found[0].currency.c_str(), "USD");
        EXPECT_FALSE(found[0].fixing_calendar.has());
        EXPECT_FALSE(found[0].day_counter.has());
        auto const* impl = found[0].impl.get();
        ASSERT_EQ(impl == nullptr, row.implementation == nullptr) << row.type;
        if (impl) {
            EXPECT_TRUE(typeid(*impl) == *row.implementation) << row.type;
        }
        if (auto const* rate = dynamic_cast<API::GetUnderlyingsOut::ExchangeRate const*>(impl)) {
            EXPECT_FALSE(rate->base.has());
        }
    }
    EXPECT_EQ(server.targets()[0], "A");
}

TEST_F(ChartTest, AMetaWithoutInstrumentTypeIsAnUnderlyingWithoutImplementation) {
    answer_with(chart(R"({"currency": "USD", "symbol": "A"})"));
    auto const found = underlyings({{"A"}});
    ASSERT_EQ(found.size(), 1U);
    EXPECT_STREQ(found[0].ticker.c_str(), "A");
    EXPECT_EQ(found[0].impl, nullptr);
}

TEST_F(ChartTest, AMetaWithoutASymbolIsARecordWithoutTickerAndName) {
    for (auto const* meta : {"{}", R"({"symbol": null})", R"({"symbol": ""})"}) {
        answer_with(chart(meta));
        auto const found = underlyings({{"A"}});
        ASSERT_EQ(found.size(), 1U) << meta;
        EXPECT_FALSE(found[0].ticker.has() || found[0].name.has() || found[0].currency.has());
        auto const found_pairs = pairs({{"EUR", "USD"}});
        ASSERT_EQ(found_pairs.size(), 1U) << meta;
        EXPECT_FALSE(found_pairs[0].ticker.has());
    }
}

TEST_F(ChartTest, AMetaOfAnotherTypeEndsItsRequestAlone) {
    server.set_answer([](std::string const& target, HttpServer::Connection& client) {
        client.answer(chart(target.find("/BAD") == std::string::npos ? R"({"symbol": "A"})"
                                                                     : R"({"symbol": ["A"]})"));
    });
    EXPECT_EQ(underlyings({{"BAD"}, {"A"}}).size(), 1U);
    EXPECT_EQ(pairs({{"D", "BA"}, {"EUR", "USD"}}).size(), 1U);
    answer_with(chart(R"({"symbol": "A", "instrumentType": {"is": "EQUITY"}})"));
    EXPECT_THAT(underlyings({{"A"}}), IsEmpty());
    for (auto const* meta : {"[]", "\"text\"", "5", "[{\"symbol\": \"A\"}]"}) {
        answer_with(chart(meta));
        EXPECT_THAT(underlyings({{"A"}}), IsEmpty()) << meta;
        EXPECT_THAT(pairs({{"EUR", "USD"}}), IsEmpty()) << meta;
    }
}

// Currency pairs.

TEST_F(ChartTest, TheSymbolOfAPairStartsWithItsQuoteCurrency) {
    answer_with(
        chart(R"({"symbol": "USDEUR=X", "currency": "EUR", "instrumentType": "CURRENCY"})"));
    auto const found = pairs({{"EUR", "USD"}});
    EXPECT_THAT(server.targets(), ElementsAre("USDEUR=X"));
    ASSERT_EQ(found.size(), 1U);
    EXPECT_STREQ(found[0].ticker.c_str(), "USDEUR=X");
    EXPECT_STREQ(found[0].base.c_str(), "EUR");
    EXPECT_STREQ(found[0].quote.c_str(), "USD");
    EXPECT_FALSE(found[0].name.has());
}

TEST_F(ChartTest, CurrenciesVolatilitiesAndCorrelationsAreLeftToOtherSources) {
    std::vector<API::GetCurrenciesOut> currencies;
    std::vector<API::GetBlackScholesVolatilitiesOut> volatilities;
    std::vector<API::GetCorrelationsOut> correlations;
    EXPECT_TRUE(source.get_currencies({{"EUR"}}, currencies));
    EXPECT_TRUE(source.get_black_scholes_volatilities({{"2023-01-01", "A"}}, volatilities));
    EXPECT_TRUE(source.get_correlations({{"2023-01-01", "A", "B"}}, correlations));
    EXPECT_TRUE(currencies.empty() && volatilities.empty() && correlations.empty());
    EXPECT_THAT(server.targets(), IsEmpty());
}

// Behind the gateway.

TEST_F(ChartTest, TheGatewayFillsWhatAFileLeftOpen) {
    server.set_answer([](std::string const& target, HttpServer::Connection& client) {
        client.answer(
            target.find('?') == std::string::npos
                ? chart(R"({"symbol": "A", "currency": "USD", "instrumentType": "EQUITY"})")
                : closes_of_january("100.5, 101.25"));
    });
    MarketDataGateway gateway;
    std::istringstream file(R"({"Kind": "manual", "Data": [
        {"type": "Currency", "ticker": "USD", "name": "dollar", "calendar": "dummy",
         "day_counter": "act_365", "forward_rate_affinity_factor": 0.5},
        {"type": "ShareUnderlying", "ticker": "A", "name": "Acme", "fixing_calendar": "dummy",
         "day_counter": "act_365"},
        {"type": "Spot", "ticker": "A", "date": "2023-01-01", "bid": 7, "ask": 7}]})");
    std::istringstream charts(R"({"Kind": "yfinance", "Data": {}})");
    ASSERT_TRUE(gateway._push_back_internal(file));
    ASSERT_TRUE(gateway._push_back_internal(charts));
    auto const a = cache().get_underlying("A", Level::silent);
    auto* const first = cache().get_spot(Date(2023, 1, 1), a.get(), Level::silent);
    auto* const second = cache().get_spot(Date(2023, 1, 2), a.get(), Level::silent);
    auto* const third = cache().get_spot(Date(2023, 1, 3), a.get(), Level::silent);
    EXPECT_TRUE(gateway.execute_dependencies());
    EXPECT_TRUE(a->c_is_set());
    EXPECT_EQ(a->c_get_name(), "Acme");
    EXPECT_EQ(first->c_get_val(), 7.0);
    EXPECT_EQ(second->c_get_val(), 101.25);
    EXPECT_FALSE(third->c_is_set());
    EXPECT_TRUE(gateway.clear());
}

TEST(ChartService, TheHostOfTheBuildStandsBeforeThePathOfTheCharts) {
    EXPECT_THAT(YahooFinanceAPI::s_service.base_url, ::testing::EndsWith("/v8/finance/chart/"));
    EXPECT_EQ(YahooFinanceAPI::s_service.connect_timeout_ms, 5'000);
    EXPECT_EQ(YahooFinanceAPI::s_service.timeout_ms, 20'000);
}

}  // namespace
}  // namespace ximCORE::Data
