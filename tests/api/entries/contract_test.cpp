// "/GetContract" end to end on the demonstration data.

#include "api/route_call.hpp"
#include "support/precompiled.hpp"

namespace {

using namespace ximAPI::testing;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;

Json::Value contract_request(std::string const& script, std::string const& currency = "USD") {
    Json::Value request;
    request["ContractConfiguration"]["Date"] = "2021-05-03";
    request["ContractConfiguration"]["PremiumCurrency"] = currency;
    request["ContractConfiguration"]["Kind"] = "CONSOLE";
    request["ContractConfiguration"]["Script"] = script;
    return request;
}

Json::Value override_of(char const* date, char const* ticker, double quote) {
    Json::Value fixing;
    fixing["Date"] = date;
    fixing["Ticker"] = ticker;
    fixing["Quote"] = quote;
    fixing["Edit"] = true;
    return fixing;
}

std::vector<std::string> event_types(RouteAnswer const& answer) {
    std::vector<std::string> types;
    for (Json::Value const& event : answer.document["Contract"]["Events"]) {
        types.push_back(event["Type"].asString());
    }
    return types;
}

TEST(GetContract, WritesTheScriptBack) {
    auto const answer = call_route(
        "/GetContract", contract_request("Pay(Max(Spot(^GSPC,2022-05-03)-4150,0),2022-05-03,USD)"));
    ASSERT_TRUE(answer.success) << answer.log();
    EXPECT_EQ(answer.document["Contract"]["Script"].asString(),
              R"(Pay(Max(Spot("^GSPC", "2022-05-03") - 4150, 0), "2022-05-03", "USD"))");
}

TEST(GetContract, DescribesTheUnderlying) {
    auto const answer = call_route(
        "/GetContract", contract_request("Pay(Spot(^STOXX50E,2022-05-03),2022-05-03,EUR)", "EUR"));
    ASSERT_TRUE(answer.success) << answer.log();
    Json::Value const& underlying = answer.document["Contract"]["Underlyings"][0];
    EXPECT_EQ(underlying["Ticker"].asString(), "^STOXX50E");
    EXPECT_EQ(underlying["CompleteName"].asString(), "Underlying 2");
    EXPECT_EQ(underlying["QuoteCurrency"].asString(), "EUR");
    EXPECT_EQ(underlying["AssetClass"].asString(), "SHARE");
    EXPECT_EQ(underlying["AssetKind"].asString(), "EQUITY");
    EXPECT_TRUE(underlying["IsInBasket"].asBool());
    EXPECT_FALSE(underlying["IsQuanto"].asBool());
    EXPECT_TRUE(underlying["HasLastQuote"].asBool());
    EXPECT_NEAR(underlying["LastQuote"].asDouble(), 3816.39, 1e-3);
}

TEST(GetContract, QuantoUnderlyingShowsItsExchangeRate) {
    auto const answer = call_route(
        "/GetContract", contract_request("Pay(Spot(^GSPC,2022-05-03),2022-05-03,EUR)", "EUR"));
    ASSERT_TRUE(answer.success) << answer.log();
    Json::Value const& underlyings = answer.document["Contract"]["Underlyings"];
    ASSERT_EQ(underlyings.size(), 2U);
    EXPECT_EQ(underlyings[0]["Ticker"].asString(), "^GSPC");
    EXPECT_TRUE(underlyings[0]["IsQuanto"].asBool());
    EXPECT_EQ(underlyings[1]["Ticker"].asString(), "USD-EUR");
    EXPECT_EQ(underlyings[1]["AssetClass"].asString(), "EXCHANGE_RATE");
    EXPECT_FALSE(underlyings[1]["IsInBasket"].asBool());
}

TEST(GetContract, CorrelationWithItselfIsAHundredPercent) {
    Json::Value request = contract_request(
        "Pay(Max(Spot(^GSPC,2022-05-03),Spot(^STOXX50E,2022-05-03)),2022-05-03,USD)");
    request["ContractConfiguration"]["Date"] =
        "2021-10-07";  // the day of the demonstration correlations
    auto const answer = call_route("/GetContract", request);
    ASSERT_TRUE(answer.success) << answer.log();
    Json::Value const& matrix = answer.document["Contract"]["CorrelationMatrix"];
    ASSERT_EQ(matrix["Rows"].size(), 3U) << "two shares and the exchange rate of the quanto one";
    EXPECT_EQ(matrix["Rows"], matrix["Cols"]);
    for (Json::ArrayIndex i = 0; i < 3; ++i) {
        EXPECT_EQ(matrix["Data"][i][i]["Value"].asDouble(), 100.0);
        EXPECT_TRUE(matrix["Data"][i][i]["HasValue"].asBool());
    }
    EXPECT_NEAR(matrix["Data"][0][1]["Value"].asDouble(), 50.0, 1e-4);
    EXPECT_NEAR(matrix["Data"][1][0]["Value"].asDouble(), 50.0, 1e-4);
}

TEST(GetContract, UnknownCorrelationHasNoValue) {
    auto const answer =
        call_route("/GetContract",
                   contract_request("Pay(Max(Spot(^GSPC,2022-05-03),Spot(^STOXX50E,2022-05-03)),"
                                    "2022-05-03,USD)"));
    ASSERT_TRUE(answer.success) << answer.log();
    EXPECT_FALSE(
        answer.document["Contract"]["CorrelationMatrix"]["Data"][0][1]["HasValue"].asBool());
    EXPECT_THAT(answer.messages("WARNING"), Contains(HasSubstr("correlation of pair")));
}

TEST(GetContract, ListsPastAndOpenFixings) {
    auto const answer =
        call_route("/GetContract", contract_request("Pay(Spot(^GSPC,2021-04-05)+Spot(^GSPC,2021-05-"
                                                    "03)+Spot(^GSPC,2022-05-03),2022-05-03,USD)"));
    ASSERT_TRUE(answer.success) << answer.log();
    Json::Value const& fixings = answer.document["Contract"]["Fixings"];
    ASSERT_EQ(fixings.size(), 3U);
    EXPECT_EQ(fixings[0]["Date"].asString(), "2021-04-05");
    EXPECT_TRUE(fixings[0]["IsPast"].asBool());
    EXPECT_TRUE(fixings[0]["HasQuote"].asBool());
    EXPECT_TRUE(fixings[1]["IsPast"].asBool())
        << "a fixing on the date itself, without the intraday flag";
    EXPECT_NEAR(fixings[1]["Quote"].asDouble(), 4153.925, 1e-3);
    EXPECT_FALSE(fixings[2]["IsPast"].asBool());
    EXPECT_FALSE(fixings[2]["HasQuote"].asBool());
    EXPECT_EQ(fixings[2]["QuoteCurrency"].asString(), "USD");
}

TEST(GetContract, IntradayFixingOnTheDateIsOpen) {
    Json::Value request = contract_request("Pay(Spot(^GSPC,2021-05-03),2022-05-03,USD)");
    request["ContractConfiguration"]["IntradayFixings"] = true;
    auto const answer = call_route("/GetContract", request);
    ASSERT_TRUE(answer.success) << answer.log();
    EXPECT_FALSE(answer.document["Contract"]["Fixings"][0]["IsPast"].asBool());
}

TEST(GetContract, EditedFixingReplacesTheQuote) {
    Json::Value request =
        contract_request("Pay(Spot(^GSPC,2021-04-05)+Spot(^GSPC,2022-05-03),2022-05-03,USD)");
    request["Contract"]["Fixings"].append(override_of("2021-04-05", "^GSPC", 100.0));
    auto const answer = call_route("/GetContract", request);
    ASSERT_TRUE(answer.success) << answer.log();
    Json::Value const& fixing = answer.document["Contract"]["Fixings"][0];
    EXPECT_EQ(fixing["Quote"].asDouble(), 100.0);
    EXPECT_TRUE(fixing["HasQuote"].asBool());
    EXPECT_TRUE(fixing["IsPast"].asBool());
    EXPECT_FALSE(fixing["Edit"].asBool());
    EXPECT_THAT(answer.document["Contract"]["Script"].asString(), HasSubstr("100 + "));
}

TEST(GetContract, EditedFixingWorksForAFutureDateAndAMissingQuote) {
    for (char const* date : {"2022-05-03", "2021-05-01"}) {
        Json::Value request =
            contract_request(std::string("Pay(Spot(^GSPC,") + date + "),2022-05-03,USD)");
        request["Contract"]["Fixings"].append(override_of(date, "^GSPC", 77.0));
        auto const answer = call_route("/GetContract", request);
        ASSERT_TRUE(answer.success) << answer.log();
        Json::Value const& fixing = answer.document["Contract"]["Fixings"][0];
        EXPECT_EQ(fixing["Quote"].asDouble(), 77.0);
        EXPECT_THAT(answer.document["Contract"]["Script"].asString(), HasSubstr("Pay(77, "));
    }
}

TEST(GetContract, MissingPastFixingFails) {
    auto const answer =
        call_route("/GetContract", contract_request("Pay(Spot(^GSPC,2021-05-01),2022-05-03,USD)"));
    EXPECT_FALSE(answer.success);
    EXPECT_THAT(answer.messages("ERROR"),
                Contains("Cannot find spot at '2021-05-01' for underlying with ticker '^GSPC'"));
}

TEST(GetContract, ListsPastEventsThenWhatIsToCome) {
    auto const answer = call_route(
        "/GetContract", contract_request("Pay(1,2021-01-04,USD)&"
                                         "Set(x,Spot(^GSPC,2021-04-05))&"
                                         "If(Spot(^GSPC,2022-05-03)>4000,0.01,0.02)"
                                         "(Pay(2,2022-05-03,USD),Receive(3,2022-05-03,USD))"));
    ASSERT_TRUE(answer.success) << answer.log();
    EXPECT_THAT(event_types(answer),
                ElementsAre("PAYMENT", "SETTING", "SETTING", "BARRIER", "PAYMENT", "RECEIPT"));
    Json::Value const& events = answer.document["Contract"]["Events"];
    EXPECT_TRUE(events[0]["Attributes"]["HasValue"].asBool());
    EXPECT_EQ(events[0]["Attributes"]["Value"].asDouble(), 1.0);
    EXPECT_TRUE(events[1]["Attributes"]["HasValue"].asBool());
    EXPECT_EQ(events[1]["Date"].asString(), "2021-05-03")
        << "its amount is a number by now: no fixing dates it";
    EXPECT_FALSE(events[2]["Attributes"]["HasValue"].asBool())
        << "the value that stands in front of what remains";
    Json::Value const& barrier = events[3];
    EXPECT_EQ(barrier["Date"].asString(), "2022-05-03");
    EXPECT_TRUE(barrier["Attributes"]["WithSpread"].asBool());
    EXPECT_NEAR(barrier["Attributes"]["SpreadLeft"].asDouble(), 0.01, 1e-8);
    EXPECT_NEAR(barrier["Attributes"]["SpreadRight"].asDouble(), 0.02, 1e-8);
    EXPECT_EQ(barrier["Attributes"]["StartLeft"].asInt(), 4);
    EXPECT_EQ(barrier["Attributes"]["EndLeft"].asInt(), 4);
    EXPECT_EQ(barrier["Attributes"]["StartRight"].asInt(), 5);
    EXPECT_EQ(barrier["Attributes"]["EndRight"].asInt(), 5);
    EXPECT_EQ(barrier["Attributes"]["Script"].asString(), R"(Spot("^GSPC", "2022-05-03") > 4000)");
}

TEST(GetContract, ChoiceAndPurchaseListTheirParts) {
    auto const answer = call_route(
        "/GetContract", contract_request("Either(Putable,2022-05-03)(Pay(1,2022-05-03,USD),End())&"
                                         "Buy(2022-05-03,2,Pay(3,2022-06-03,USD))"));
    ASSERT_TRUE(answer.success) << answer.log();
    EXPECT_THAT(event_types(answer), ElementsAre("CHOICE", "PAYMENT", "PURCHASE", "PAYMENT"));
    Json::Value const& events = answer.document["Contract"]["Events"];
    EXPECT_EQ(events[0]["Attributes"]["ChoiceOwnership"].asString(), "Putable");
    EXPECT_EQ(events[0]["Attributes"]["Starts"][0].asInt(), 1);
    EXPECT_EQ(events[0]["Attributes"]["Ends"][0].asInt(), 1);
    EXPECT_EQ(events[0]["Attributes"]["Starts"][1].asInt(), 2);
    EXPECT_EQ(events[0]["Attributes"]["Ends"][1].asInt(), 1)
        << "an empty alternative ends before it starts";
    EXPECT_EQ(events[2]["Attributes"]["Quantity"].asDouble(), 2.0);
    EXPECT_EQ(events[2]["Attributes"]["Start"].asInt(), 3);
    EXPECT_EQ(events[2]["Attributes"]["End"].asInt(), 3);
}

TEST(GetContract, BarrierWithoutAFixingIsDatedByTheValuation) {
    auto const answer = call_route(
        "/GetContract", contract_request("If(AmountRef(x)>1)(Pay(1,2022-05-03,USD),End())"));
    ASSERT_TRUE(answer.success) << answer.log();
    EXPECT_EQ(answer.document["Contract"]["Events"][0]["Date"].asString(), "2021-05-03");
}

TEST(GetContract, ReportsAreNotAppendedToThoseOfTheRequest) {
    Json::Value request = contract_request("Pay(Spot(^GSPC,2022-05-03),2022-05-03,USD)");
    auto const first = call_route("/GetContract", request);
    ASSERT_TRUE(first.success) << first.log();
    request["Contract"] = first.document["Contract"];
    auto const second = call_route("/GetContract", request);
    ASSERT_TRUE(second.success) << second.log();
    EXPECT_EQ(second.document["Contract"], first.document["Contract"]);
}

TEST(GetContract, SquareRootHasNoText) {
    auto const answer = call_route(
        "/GetContract", contract_request("Pay(Sqr(Spot(^GSPC,2022-05-03)),2022-05-03,USD)"));
    EXPECT_FALSE(answer.success);
    EXPECT_THAT(answer.messages("EXCEPTION"), ElementsAre("Unknown error"));
}

TEST(GetContract, UnknownTickerFailsByName) {
    auto const answer =
        call_route("/GetContract", contract_request("Pay(Spot(NOBODY,2022-05-03),2022-05-03,USD)"));
    EXPECT_FALSE(answer.success);
    EXPECT_THAT(answer.messages("ERROR"), Contains(HasSubstr("NOBODY"))) << answer.log();
}

}  // namespace
