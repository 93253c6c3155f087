// "/GetPrice" end to end on the demonstration data.

#include <cmath>

#include "api/route_call.hpp"
#include "support/precompiled.hpp"

namespace {

using namespace ximAPI::testing;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::StartsWith;

constexpr char const* c_call = "Pay(Max(Spot(^GSPC,2022-05-03)-4150,0),2022-05-03,USD)";
constexpr double c_gspc = 4153.925;   // mid of the demonstration data on 2021-05-03
constexpr double c_stoxx = 3816.39;   // likewise
constexpr double c_volatility = 0.2;  // of every underlying of the demonstration data

double cumulative(double x) {
    return 0.5 * std::erfc(-x / std::sqrt(2.0));
}

double d1(double spot, double strike) {
    return std::log(spot / strike) / c_volatility + 0.5 * c_volatility;
}

/// Black and Scholes without rates, one year.
double call_formula(double spot, double strike) {
    double const d = d1(spot, strike);
    return spot * cumulative(d) - strike * cumulative(d - c_volatility);
}

void expect_within_errors(Json::Value const& estimate, double exact, double count = 4.0) {
    EXPECT_NEAR(estimate["Mean"].asDouble(), exact, count * estimate["Stddev"].asDouble())
        << "standard error " << estimate["Stddev"].asDouble();
    EXPECT_GT(estimate["Stddev"].asDouble(), 0.0);
}

TEST(GetPrice, CallAgreesWithTheFormula) {
    auto const answer = call_route("/GetPrice", price_request(c_call, 100000));
    ASSERT_TRUE(answer.success) << answer.log();
    expect_within_errors(answer.price(), call_formula(c_gspc, 4150.0));
    EXPECT_LT(answer.price()["Lower"].asDouble(), answer.price()["Mean"].asDouble());
    EXPECT_GT(answer.price()["Upper"].asDouble(), answer.price()["Mean"].asDouble());
}

TEST(GetPrice, GreeksAgreeWithTheFormula) {
    Json::Value request = price_request(c_call, 100000);
    Json::Value& pricer = request["PricerConfiguration"];
    pricer["WithGreeks"] = true;
    for (char const* greek : {"Delta", "Gamma", "Vega"}) {
        pricer[std::string("Compute") + greek] = true;
    }
    pricer["DeltaSpotBump"] = pricer["GammaSpotBump"] = pricer["VegaVolatilityBump"] = 100;
    auto const answer = call_route("/GetPrice", request);
    ASSERT_TRUE(answer.success) << answer.log();
    double const d = d1(c_gspc, 4150.0);
    double const density = std::exp(-0.5 * d * d) / std::sqrt(2.0 * std::acos(-1.0));
    expect_within_errors(answer.greek("Delta"), c_gspc * cumulative(d));
    expect_within_errors(answer.greek("Gamma"), c_gspc * density / c_volatility);
    expect_within_errors(answer.greek("Vega"), c_gspc * density);
    EXPECT_EQ(answer.document["Pricer"]["Pricer"]["Delta"][0]["Ticker"].asString(), "^GSPC");
    EXPECT_TRUE(answer.document["Pricer"]["Pricer"]["Cega"].empty());
}

TEST(GetPrice, ThreadCountsAgreeUpToTheOrderOfSums) {
    std::vector<double> prices;
    for (int const threads : {1, 2, 3, 7}) {
        Json::Value request = price_request(c_call, 1001);
        request["PricerConfiguration"]["MonteCarloNbThreads"] = threads;
        auto const answer = call_route("/GetPrice", request);
        ASSERT_TRUE(answer.success) << answer.log();
        prices.push_back(answer.price()["Mean"].asDouble());
    }
    EXPECT_THAT(prices, ::testing::Each(::testing::DoubleNear(prices.front(), 1e-4)));
}

TEST(GetPrice, OneTrialHasNoStandardError) {
    auto const answer = call_route("/GetPrice", price_request(c_call, 1));
    ASSERT_TRUE(answer.success) << answer.log();
    EXPECT_EQ(answer.price()["Stddev"].asDouble(), 0.0);
    EXPECT_EQ(answer.price()["Lower"].asDouble(), answer.price()["Upper"].asDouble());
}

TEST(GetPrice, NoTrialGivesNullBecauseTheMeanIsNoNumber) {
    auto const answer = call_route("/GetPrice", price_request(c_call, 0));
    ASSERT_TRUE(answer.success) << answer.log();
    EXPECT_TRUE(answer.price()["Mean"].isNull());
}

TEST(GetPrice, PaymentOfAConstantNeedsNoMarket) {
    auto const answer = call_route("/GetPrice", price_request("Pay(100,2022-05-03,USD)", 10));
    ASSERT_TRUE(answer.success) << answer.log();
    EXPECT_DOUBLE_EQ(answer.price()["Mean"].asDouble(), 100.0);
}

TEST(GetPrice, PaymentInAnotherCurrencyIsConvertedAtTheForward) {
    // 100 dollars on a date in euros: the expected exchange rate is today's, 0.858555
    auto const answer =
        call_route("/GetPrice", price_request("Pay(100,2022-05-03,USD)", 20000, "EUR"));
    ASSERT_TRUE(answer.success) << answer.log();
    expect_within_errors(answer.price(), 85.8555, 4.5);
}

TEST(GetPrice, QuantoWithoutCorrelationIsTheForeignPriceInDomesticUnits) {
    Json::Value request =
        price_request("Pay(Max(Spot(^GSPC,2022-05-03)-4150,0),2022-05-03,EUR)", 50000, "EUR");
    request["DataConfiguration"]["SuccessOnCorrelationRequestFailure"] = true;
    auto const answer = call_route("/GetPrice", request);
    ASSERT_TRUE(answer.success) << answer.log();
    expect_within_errors(answer.price(), call_formula(c_gspc, 4150.0));
    EXPECT_THAT(answer.messages("WARNING"),
                Contains(StartsWith("Cannot find value for correlation of pair")));
}

TEST(GetPrice, MissingCorrelationFailsWithAMessage) {
    auto const answer = call_route(
        "/GetPrice",
        price_request("Pay(Max(Spot(^GSPC,2022-05-03),Spot(^STOXX50E,2022-05-03)),2022-05-03,USD)",
                      10));
    EXPECT_FALSE(answer.success);
    EXPECT_THAT(answer.messages("ERROR"),
                Contains(StartsWith("Cannot find value for correlation of pair '")));
}

TEST(GetPrice, UnknownTickerIsNamed) {
    auto const answer =
        call_route("/GetPrice", price_request("Pay(Spot(NOBODY,2022-05-03),2022-05-03,USD)", 10));
    EXPECT_FALSE(answer.success);
    EXPECT_THAT(answer.messages("ERROR"), Contains(::testing::HasSubstr("NOBODY"))) << answer.log();
}

TEST(GetPrice, MissingPastFixingIsNamed) {
    auto const answer =
        call_route("/GetPrice",
                   price_request("Pay(Spot(^GSPC,2021-05-01),2022-05-03,USD)", 10));  // a Saturday
    EXPECT_FALSE(answer.success);
    EXPECT_THAT(answer.messages("ERROR"),
                Contains("Cannot find spot at '2021-05-01' for underlying with ticker '^GSPC'"))
        << answer.log();
}

TEST(GetPrice, UnknownCurrencyIsNamed) {
    auto const answer = call_route("/GetPrice", price_request("Pay(1,2022-05-03,ZZZ)", 10));
    EXPECT_FALSE(answer.success);
    EXPECT_THAT(answer.messages("ERROR"), ::testing::Not(IsEmpty())) << answer.log();
}

TEST(GetPrice, FailureLeavesTheDocumentAsItCame) {
    Json::Value request = price_request("Pay(", 10);
    request["Note"] = "stays";
    auto const answer = call_route("/GetPrice", request);
    EXPECT_FALSE(answer.success);
    Json::Value without_log = answer.document;
    without_log.removeMember("Logger");
    EXPECT_EQ(without_log, request);
    Json::Value const& last = answer.document["Logger"][answer.document["Logger"].size() - 1];
    EXPECT_EQ(last["Level"].asString(), "FAILURE");
    EXPECT_THAT(last["Message"].asString(), StartsWith("Execution of GetPrice ended at "));
}

TEST(GetPrice, RejectedScriptIsSilent) {
    auto const answer = call_route("/GetPrice", price_request("Pay(1+,2022-05-03,USD)", 10));
    EXPECT_FALSE(answer.success);
    EXPECT_THAT(answer.messages("ERROR"), IsEmpty()) << answer.log();
}

TEST(GetPrice, ProductThatIsNotThereIsAnEmptyContract) {
    for (char const* kind : {"BONUS_CERTIFICATE_EXAMPLE", "TWIN_WIN_CERTIFICATE_EXAMPLE"}) {
        Json::Value request = price_request(c_call, 10);
        request["ContractConfiguration"]["Kind"] = kind;
        auto const answer = call_route("/GetPrice", request);
        EXPECT_FALSE(answer.success);
        EXPECT_THAT(answer.messages("ERROR"), ElementsAre("Contract empty")) << kind;
    }
}

TEST(GetPrice, ModelThatIsNotThereIsUnknown) {
    Json::Value request = price_request(c_call, 10);
    request["ModelConfiguration"]["Name"] = "HESTON_STOCHASTIC_VOLATILITY_MODEL";
    auto const answer = call_route("/GetPrice", request);
    EXPECT_FALSE(answer.success);
    EXPECT_THAT(answer.messages("ERROR"), ElementsAre("Unknown model"));
}

TEST(GetPrice, ModelWithoutPathsIsUneligible) {
    for (char const* name : {"DEFAULT_MODEL", "FREE_MODEL"}) {
        Json::Value request = price_request(c_call, 10);
        request["ModelConfiguration"]["Name"] = name;
        auto const answer = call_route("/GetPrice", request);
        EXPECT_FALSE(answer.success);
        EXPECT_THAT(answer.messages("ERROR"), ElementsAre("Model uneligible for Monte Carlo"))
            << name;
    }
}

TEST(GetPrice, TermStructureModelPricesTheCallOnTheFlatSurface) {
    Json::Value request = price_request(c_call, 50000);
    request["ModelConfiguration"]["Name"] = "BLACK_SCHOLES_TERM_STRUCTURE_MODEL";
    auto const answer = call_route("/GetPrice", request);
    ASSERT_TRUE(answer.success) << answer.log();
    expect_within_errors(answer.price(), call_formula(c_gspc, 4150.0));
}

TEST(GetPrice, AtTheMoneyForwardCalibrationReadsTheSurface) {
    Json::Value request = price_request(c_call, 50000);
    request["ModelConfiguration"]["BlackScholesCalibrationKind"] = "AT_THE_MONEY_FORWARD";
    request["ModelConfiguration"]["BlackScholesVolatilityCalibrationTenor"]["Shift"] = "+1y";
    auto const answer = call_route("/GetPrice", request);
    ASSERT_TRUE(answer.success) << answer.log();
    expect_within_errors(answer.price(), call_formula(c_gspc, 4150.0));
}

TEST(GetPrice, NegativeTrialsAreInvalid) {
    auto const answer = call_route("/GetPrice", price_request(c_call, -1));
    EXPECT_FALSE(answer.success);
    EXPECT_THAT(answer.messages("ERROR"), ElementsAre("Invalid MonteCarloTrials"));
}

TEST(GetPrice, NoThreadIsASegmentationFaultRecord) {
    Json::Value request = price_request(c_call, 10);
    request["PricerConfiguration"]["MonteCarloNbThreads"] = 0;
    auto const answer = call_route("/GetPrice", request);
    EXPECT_FALSE(answer.success);
    EXPECT_THAT(answer.messages("ERROR"), ElementsAre("Monte Carlo without threads"));
    EXPECT_THAT(answer.messages("EXCEPTION"), ElementsAre("Segmentation fault"));
}

TEST(GetPrice, BadDateIsNamed) {
    Json::Value request = price_request(c_call, 10);
    request["ContractConfiguration"]["Date"] = "2021-13-45";
    auto const answer = call_route("/GetPrice", request);
    EXPECT_FALSE(answer.success);
    EXPECT_THAT(answer.messages("ERROR"), Contains("Cannot read date 2021-13-45"));
    EXPECT_THAT(answer.messages("EXCEPTION"), ElementsAre("std::exception"));
}

TEST(GetPrice, SmoothingMovesADigitalToTheSafeSide) {
    auto const price = [](char const* smoothing) {
        Json::Value request = price_request(
            "If(Spot(^GSPC,2022-05-03)>4150,100,100)(Pay(1,2022-05-03,USD),End())", 50000);
        request["PricerConfiguration"]["SmoothingType"] = smoothing;
        auto const answer = call_route("/GetPrice", request);
        EXPECT_TRUE(answer.success) << answer.log();
        return answer.price()["Mean"].asDouble();
    };
    double const none = price("NONE");
    EXPECT_LT(price("LOWER"), none);
    EXPECT_GT(price("UPPER"), none);
    EXPECT_NEAR(none, cumulative(d1(c_gspc, 4150.0) - c_volatility), 0.01);
}

TEST(GetPrice, NamedValuesAreReadOnThePath) {
    auto const named = call_route(
        "/GetPrice",
        price_request(
            "Set(S,Spot(^GSPC,2022-05-03))&Pay(Max(AmountRef(S)-4150,0),2022-05-03,USD)"));
    auto const plain = call_route("/GetPrice", price_request(c_call));
    ASSERT_TRUE(named.success) << named.log();
    EXPECT_EQ(named.price()["Mean"].asDouble(), plain.price()["Mean"].asDouble());
}

TEST(GetPrice, WorstOfOfTwoAssetsAgreesWithTheFormulaOfMargrabe) {
    // Min(A, B) = A - Max(A - B, 0); without correlation the exchange option has volatility sqrt(2)
    // 20 %
    Json::Value request = price_request(
        "Pay(Min(Spot(^GSPC,2022-05-03)/Spot(^GSPC,2021-05-03),Spot(^STOXX50E,2022-05-03)/"
        "Spot(^STOXX50E,2021-05-03)),2022-05-03,USD)",
        100000);
    request["DataConfiguration"]["SuccessOnCorrelationRequestFailure"] = true;
    request["ContractConfiguration"]["PremiumCurrency"] = "USD";
    auto const answer = call_route("/GetPrice", request);
    ASSERT_TRUE(answer.success) << answer.log();
    double const total = std::sqrt(2.0) * c_volatility;
    double const exchange = 2.0 * cumulative(0.5 * total) - 1.0;
    expect_within_errors(answer.price(), 1.0 - exchange);
}

}  // namespace
