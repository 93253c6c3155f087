// "/GetBlackScholesCalibration" and "/GetBlackScholesTermStructureCalibration" end to end.

#include "api/share_market.hpp"
#include "support/precompiled.hpp"

namespace {

using namespace ximAPI::testing;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::StartsWith;

constexpr char const* c_flat = "/GetBlackScholesCalibration";
constexpr char const* c_term = "/GetBlackScholesTermStructureCalibration";

/// A second share, BBB, without a volatility.
constexpr char const* c_bbb =
    R"(, {"type": "ShareUnderlying", "ticker": "BBB", "name": "B", "currency": "USD",)"
    R"( "fixing_calendar": "dummy", "day_counter": "act_365"})"
    R"(, {"type": "Spot", "ticker": "BBB", "date": "2021-05-03", "bid": 50, "ask": 50})";

std::string volatility_object(std::string const& ticker, std::string const& date, double value) {
    return R"(, {"type": "BlackScholesVolatility", "ticker": ")" + ticker + R"(", "date": ")" +
           date + R"(", "value": )" + std::to_string(value) + "}";
}

Json::Value calibration_request(std::string const& script, char const* kind = "MANUAL",
                                char const* tenor = "+1y") {
    Json::Value request = price_request(script);
    request.removeMember("PricerConfiguration");
    Json::Value& model = request["ModelConfiguration"];
    model["BlackScholesCalibrationKind"] = kind;
    model["BlackScholesVolatilityCalibrationTenor"]["Shift"] = tenor;
    model["BlackScholesVolatilityCalibrationTenor"]["Calendar"] = "DUMMY";
    return request;
}

Json::Value const& flat_of(RouteAnswer const& answer) {
    return answer.document["ModelConfiguration"]["BlackScholesModel"]["Volatility"];
}
Json::Value const& term_of(RouteAnswer const& answer) {
    return answer.document["ModelConfiguration"]["BlackScholesTermStructureModel"]["Volatility"];
}

constexpr char const* c_call = "Pay(Max(Spot(AAA,2022-05-03)-100,0),2022-05-03,USD)";
constexpr char const* c_both =
    "Pay(Spot(BBB,2022-05-03)+Spot(AAA,2022-05-03)+Spot(AAA,2023-05-03),2023-05-03,USD)";

TEST(GetBlackScholesCalibration, ManualIsTheQuoteInPercent) {
    ShareMarket const market(100.0, 0.325);
    auto const answer = call_route(c_flat, market.on(calibration_request(c_call)));
    ASSERT_TRUE(answer.success) << answer.log();
    ASSERT_EQ(flat_of(answer).size(), 1U);
    EXPECT_EQ(flat_of(answer)[0]["Ticker"].asString(), "AAA");
    EXPECT_FLOAT_EQ(flat_of(answer)[0]["Volatility"].asFloat(), 32.5F);
    EXPECT_THAT(answer.messages("SUCCESS"),
                ElementsAre(StartsWith("Execution of GetBlackScholesCalibration ended at ")));
}

TEST(GetBlackScholesCalibration, AtTheMoneyForwardIsTheFlatSurface) {
    ShareMarket const market(100.0, 0.325);
    for (char const* const tenor : {"+1m", "+1y", "+5y"}) {
        auto const answer = call_route(
            c_flat, market.on(calibration_request(c_call, "AT_THE_MONEY_FORWARD", tenor)));
        ASSERT_TRUE(answer.success) << answer.log();
        ASSERT_EQ(flat_of(answer).size(), 1U) << answer.log();
        EXPECT_FLOAT_EQ(flat_of(answer)[0]["Volatility"].asFloat(), 20.0F);
    }
}

TEST(GetBlackScholesCalibration, UnderlyingsComeSortedAndOnce) {
    ShareMarket const market(100.0, 0.25, c_bbb + volatility_object("BBB", "2021-05-03", 40.0));
    auto const answer = call_route(c_flat, market.on(calibration_request(c_both)));
    ASSERT_TRUE(answer.success) << answer.log();
    ASSERT_EQ(flat_of(answer).size(), 2U);
    EXPECT_EQ(flat_of(answer)[0]["Ticker"].asString(), "AAA");
    EXPECT_EQ(flat_of(answer)[1]["Ticker"].asString(), "BBB");
    EXPECT_FLOAT_EQ(flat_of(answer)[1]["Volatility"].asFloat(), 40.0F);
}

TEST(GetBlackScholesCalibration, AnUnderlyingWithoutAVolatilityIsLeftOut) {
    ShareMarket const market(100.0, 0.25, c_bbb);
    auto const answer = call_route(c_flat, market.on(calibration_request(c_both)));
    ASSERT_TRUE(answer.success) << answer.log();
    ASSERT_EQ(flat_of(answer).size(), 1U);
    EXPECT_EQ(flat_of(answer)[0]["Ticker"].asString(), "AAA");
    EXPECT_THAT(answer.messages("ERROR"),
                ElementsAre("Cannot find Black-Scholes volatility at '2021-05-03' for underlying "
                            "with ticker 'BBB'"));
}

TEST(GetBlackScholesCalibration, AnEmptyTenorLeavesItsUnderlyingOut) {
    ShareMarket const market(100.0, 0.25);
    auto const answer =
        call_route(c_flat, market.on(calibration_request(c_call, "AT_THE_MONEY_FORWARD", "+0d")));
    ASSERT_TRUE(answer.success) << answer.log();
    EXPECT_EQ(flat_of(answer).size(), 0U);
    EXPECT_THAT(answer.messages("ERROR"),
                ElementsAre("Cannot calibrate volatility with an empty tenor"));
}

// The volatility of the contract's own date, also when the model is calibrated on another.
TEST(GetBlackScholesCalibration, ReadsTheMarketOfTheContractsDate) {
    ShareMarket const market(100.0, 0.25, volatility_object("AAA", "2021-06-03", 45.0));
    Json::Value request = market.on(calibration_request(c_call));
    request["ContractConfiguration"]["Date"] = "2021-06-03";
    auto const answer = call_route(c_flat, request);
    ASSERT_TRUE(answer.success) << answer.log();
    ASSERT_EQ(flat_of(answer).size(), 1U) << answer.log();
    EXPECT_FLOAT_EQ(flat_of(answer)[0]["Volatility"].asFloat(), 45.0F);
}

TEST(GetBlackScholesCalibration, ResultsOfTheRequestAreForgotten) {
    ShareMarket const market(100.0, 0.25);
    Json::Value request = market.on(calibration_request(c_call));
    request["ModelConfiguration"]["BlackScholesModel"]["Volatility"][0]["Ticker"] = "OLD";
    request["ModelConfiguration"]["BlackScholesModel"]["Volatility"][1]["Ticker"] = "OLD";
    auto const answer = call_route(c_flat, request);
    ASSERT_EQ(flat_of(answer).size(), 1U);
    EXPECT_EQ(flat_of(answer)[0]["Ticker"].asString(), "AAA");
    EXPECT_EQ(answer.document["ModelConfiguration"]["Name"].asString(), "BLACK_SCHOLES_MODEL");
}

TEST(GetBlackScholesTermStructureCalibration, AFlatSurfaceIsFlatOnEveryOpenFixingDate) {
    ShareMarket const market(100.0, 0.325, c_bbb);
    auto const answer = call_route(c_term, market.on(calibration_request(c_both)));
    ASSERT_TRUE(answer.success) << answer.log();
    ASSERT_EQ(term_of(answer).size(), 2U);
    for (Json::ArrayIndex i = 0; i < 2; ++i) {
        EXPECT_EQ(term_of(answer)[i]["Ticker"].asString(), i == 0 ? "AAA" : "BBB");
        Json::Value const& volatilities = term_of(answer)[i]["Volatility"];
        ASSERT_EQ(volatilities.size(), 2U);  // of all underlyings
        EXPECT_EQ(volatilities[0]["Tenor"].asString(), "2022-05-03");
        EXPECT_EQ(volatilities[1]["Tenor"].asString(), "2023-05-03");
        EXPECT_FLOAT_EQ(volatilities[0]["Volatility"].asFloat(), 20.0F);
        EXPECT_FLOAT_EQ(volatilities[1]["Volatility"].asFloat(), 20.0F);
    }
    EXPECT_THAT(
        answer.messages("SUCCESS"),
        ElementsAre(StartsWith("Execution of GetBlackScholesTermStructureCalibration ended at ")));
}

TEST(GetBlackScholesTermStructureCalibration, AFixingOfTodayThatIsOpenHasNoVolatility) {
    ShareMarket const market(100.0, 0.325);
    Json::Value request = market.on(
        calibration_request("Pay(Spot(AAA,2021-05-03)*Spot(AAA,2022-05-03),2022-05-03,USD)"));
    request["ContractConfiguration"]["IntradayFixings"] = true;
    auto const answer = call_route(c_term, request);
    ASSERT_TRUE(answer.success) << answer.log();
    Json::Value const& volatilities = term_of(answer)[0]["Volatility"];
    ASSERT_EQ(volatilities.size(), 2U);
    EXPECT_EQ(volatilities[0]["Volatility"].asFloat(), 0.0F);
    EXPECT_FLOAT_EQ(volatilities[1]["Volatility"].asFloat(), 20.0F);
}

TEST(GetBlackScholesTermStructureCalibration, AFixingOfThePastIsNotCalibrated) {
    ShareMarket const market(100.0, 0.325);
    auto const answer =
        call_route(c_term, market.on(calibration_request(
                               "Pay(Spot(AAA,2021-05-03)*Spot(AAA,2022-05-03),2022-05-03,USD)")));
    ASSERT_TRUE(answer.success) << answer.log();
    ASSERT_EQ(term_of(answer)[0]["Volatility"].size(), 1U);
    EXPECT_EQ(term_of(answer)[0]["Volatility"][0]["Tenor"].asString(), "2022-05-03");
}

class Calibrations : public ::testing::TestWithParam<char const*> {};

TEST_P(Calibrations, OfAContractThatIsOverAreEmpty) {
    ShareMarket const market(100.0, 0.25);
    auto const answer =
        call_route(GetParam(), market.on(calibration_request("Pay(1,2020-05-03,USD)")));
    ASSERT_TRUE(answer.success) << answer.log();
    EXPECT_EQ(flat_of(answer).size() + term_of(answer).size(), 0U);
}

TEST_P(Calibrations, OfAnUnknownTickerAreEmpty) {
    ShareMarket const market(100.0, 0.25);
    auto const answer = call_route(
        GetParam(), market.on(calibration_request("Pay(Spot(ZZZ,2022-05-03),2022-05-03,USD)")));
    ASSERT_TRUE(answer.success) << answer.log();
    EXPECT_THAT(answer.messages("ERROR"),
                ElementsAre("Cannot find kind of underlying with ticker 'ZZZ'"));
    EXPECT_EQ(flat_of(answer).size() + term_of(answer).size(), 0U);
}

TEST_P(Calibrations, OfAnUnknownModelFail) {
    ShareMarket const market(100.0, 0.25);
    Json::Value request = market.on(calibration_request(c_call));
    request["ModelConfiguration"]["Name"] = "HESTON_STOCHASTIC_VOLATILITY_MODEL";
    auto const answer = call_route(GetParam(), request);
    EXPECT_FALSE(answer.success);
    EXPECT_THAT(answer.messages("ERROR"), ElementsAre("Unknown model"));
    request["Logger"] = answer.document["Logger"];
    EXPECT_EQ(answer.document, request);
}

TEST_P(Calibrations, OfAScriptThatDoesNotReadFail) {
    ShareMarket const market(100.0, 0.25);
    EXPECT_FALSE(call_route(GetParam(), market.on(calibration_request("Pay("))).success);
}

TEST_P(Calibrations, OfAMissingPastFixingFail) {
    ShareMarket const market(100.0, 0.25);
    auto const answer = call_route(
        GetParam(), market.on(calibration_request(
                        "Pay(Spot(AAA,2021-04-01)*Spot(AAA,2022-05-03),2022-05-03,USD)")));
    EXPECT_FALSE(answer.success);
    EXPECT_THAT(answer.messages("ERROR"), Contains(StartsWith("Cannot find spot")));
}

TEST_P(Calibrations, AfterARefusedLoginAreEmpty) {
    Json::Value request = calibration_request(c_call);
    request["DataConfiguration"]["Sources"][0]["File"] = "none.json";
    auto const answer = call_route(GetParam(), request);
    EXPECT_EQ(flat_of(answer).size() + term_of(answer).size(), 0U);
    EXPECT_THAT(answer.messages("ERROR"), Contains("Authentication failure."));
}

TEST_P(Calibrations, OfAnEmptyDocumentFail) {
    EXPECT_FALSE(call_route(GetParam(), Json::objectValue).success);
}

INSTANTIATE_TEST_SUITE_P(Route, Calibrations, ::testing::Values(c_flat, c_term));

}  // namespace
