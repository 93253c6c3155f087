// "/GetStaticReplication1D", and the pricing method "STATIC_REPLICATION" of the other routes, end
// to end on the demonstration data.

#include <cmath>

#include "api/entries/ladder_call.hpp"
#include "core/toolbox/formulas/black_scholes.hpp"

namespace {

using namespace ximAPI::testing;
using ::testing::ElementsAre;
using ::testing::StartsWith;

constexpr char const* c_call = "Pay(Max(Spot(^GSPC,2022-05-03)-4150,0),2022-05-03,USD)";
constexpr char const* c_route = "/GetStaticReplication1D";

/// A grid of 2 size + 1 levels between two fractions of the forward.
Json::Value closed_form_request(std::string const& script, int size = 50, double lower = 0.4,
                                double upper = 2.4) {
    Json::Value request = price_request(script);
    Json::Value& pricer = request["PricerConfiguration"];
    pricer["Method"] = "STATIC_REPLICATION";
    pricer["ClosedFormMoneynessGridSize"] = size;
    pricer["ClosedFormMoneynessGridLowerBound"] = lower;
    pricer["ClosedFormMoneynessGridUpperBound"] = upper;
    return request;
}

/// The library's own price of an option on the index in a year; rates are 0.
double ten_point(double strike, signed char omega) {
    return c_gspc * ximCORE::Toolbox::BlackScholesCallPricer::price(std::log(strike / c_gspc),
                                                                    c_volatility, omega);
}

Json::Value const& replication_of(RouteAnswer const& answer) {
    return answer.document["Pricer"]["StaticReplication1D"];
}

void expect_error(char const* route, Json::Value const& request, std::string const& message) {
    auto const answer = call_route(route, request);
    EXPECT_FALSE(answer.success);
    EXPECT_THAT(answer.messages("ERROR"), ElementsAre(message)) << answer.log();
}

// Prices

TEST(StaticReplication, PricesACallLikeItsOwnTenPointRule) {
    auto const answer = call_route("/GetPrice", closed_form_request(c_call));
    ASSERT_TRUE(answer.success) << answer.log();
    // between two levels the payoff is replaced by its chord: a call at each of them
    double const h = c_gspc * 2.0 / 100.0;
    double const below = 0.4 * c_gspc + std::floor((4150.0 - 0.4 * c_gspc) / h) * h;
    double const part = (4150.0 - below) / h;
    EXPECT_NEAR(answer.price()["Mean"].asDouble(),
                (1.0 - part) * ten_point(below, 1) + part * ten_point(below + h, 1), 1e-2);
    EXPECT_NEAR(answer.price()["Mean"].asDouble(), call_formula(c_gspc, 4150.0, c_volatility),
                h * h / (8.0 * c_volatility * below * 2.5) + 1e-3 * c_gspc);
}

TEST(StaticReplication, PricesUnderEveryModelAlike) {
    auto const price = [](char const* model) {
        Json::Value request = closed_form_request(c_call);
        request["ModelConfiguration"]["Name"] = model;
        auto const answer = call_route("/GetPrice", request);
        EXPECT_TRUE(answer.success) << model << "\n" << answer.log();
        return answer.price()["Mean"].asDouble();
    };
    double const expected = price("FREE_MODEL");
    for (char const* model :
         {"DEFAULT_MODEL", "BLACK_SCHOLES_MODEL", "BLACK_SCHOLES_TERM_STRUCTURE_MODEL",
          "DUPIRE_LOCAL_VOLATILITY_MODEL"})
        EXPECT_EQ(price(model), expected) << model;
}

TEST(StaticReplication, ReadsTheMarketOfTheContractsDate) {
    Json::Value request = closed_form_request("Pay(Spot(^GSPC,2022-05-03),2022-05-03,USD)");
    request["ModelConfiguration"]["CalibrationDate"] = "2021-10-07";
    auto const answer = call_route("/GetPrice", request);
    ASSERT_TRUE(answer.success) << answer.log();
    EXPECT_NEAR(answer.price()["Mean"].asDouble(), c_gspc, 1e-3);
}

TEST(StaticReplication, ReportsSensitivities) {
    Json::Value request = closed_form_request("Pay(Spot(^GSPC,2022-05-03),2022-05-03,USD)");
    Json::Value& pricer = request["PricerConfiguration"];
    pricer["WithGreeks"] = true;
    pricer["ComputeDelta"] = pricer["ComputeGamma"] = pricer["ComputeVega"] = true;
    pricer["DeltaDirection"] = pricer["VegaDirection"] = "CENTER";
    pricer["DeltaSpotBump"] = pricer["GammaSpotBump"] = pricer["VegaVolatilityBump"] = 100;
    auto const answer = call_route("/GetPrice", request);
    ASSERT_TRUE(answer.success) << answer.log();
    EXPECT_NEAR(answer.greek("Delta")["Mean"].asDouble(), c_gspc, 1e-2);
    EXPECT_NEAR(answer.greek("Gamma")["Mean"].asDouble(), 0.0, 1e-2);
    EXPECT_EQ(answer.greek("Vega")["Mean"].asDouble(), 0.0);
}

TEST(StaticReplication, RefusesWhatItCannotPriceInItsWords) {
    expect_error(
        "/GetPrice",
        closed_form_request("If(Spot(^GSPC,2022-05-03)>4000)(Pay(1,2022-05-03,USD),End())"),
        "Contract non eligible to closef form methodBecause it contains a barrier");
    expect_error("/GetPrice",
                 closed_form_request("Either(Putable,2022-05-03)(Pay(1,2022-05-03,USD),End())"),
                 "Contract non eligible to closed form method"
                 "Because it contains a choice at 2022-05-03");
    expect_error("/GetPrice", closed_form_request("Pay(Spot(^GSPC,2022-05-03),2022-05-03,EUR)"),
                 "Contract non eligible to closed form method"
                 "Because it contains a forward payment in EUR(payment ccy) != USD (pricing ccy)"
                 "Quanto correlation and quanto volatility dynamic is required");
    expect_error("/GetPrice", closed_form_request(c_call, 1'000'000), "Too many points");
    expect_error("/GetPrice", closed_form_request(c_call, -1),
                 "Invalid ClosedFormMoneynessGridSize");
}

TEST(StaticReplication, ConvertsAConstantPaymentAtTodaysRate) {
    auto const in_euro = [](std::string const& script) {
        Json::Value request = closed_form_request(script);
        request["ContractConfiguration"]["PremiumCurrency"] = "EUR";
        auto const answer = call_route("/GetPrice", request);
        EXPECT_TRUE(answer.success) << answer.log();
        return answer.price()["Mean"].asDouble();
    };
    double const dollars = in_euro("Pay(1000,2022-05-03,USD)");
    EXPECT_NEAR(dollars, 850.0, 60.0);  // near the quotes of that spring
    // rates are 0: the forward of the rate is its spot
    EXPECT_NEAR(dollars, in_euro("Pay(1000*Spot(USD-EUR,2022-05-03),2022-05-03,EUR)"), 1e-3);
}

TEST(StaticReplication, DrivesTheSolver) {
    constexpr char const* c_named =
        "Pay(Max(Spot(^GSPC,2022-05-03)-CstRef(strike,4150),0),2022-05-03,USD)";
    Json::Value solver = closed_form_request(c_named);
    solver["Pricer"]["Solver"]["Price"] = 300.0;
    Json::Value feature;
    feature["Name"] = "strike";
    feature["Min"] = 3500.0;
    feature["Max"] = 4800.0;
    feature["Precision"] = 66;
    solver["Pricer"]["Solver"]["FeaturesToSolve"].append(feature);
    auto const answer = call_route("/GetImpliedContractFeature", solver);
    ASSERT_TRUE(answer.success) << answer.log();
    double const root =
        answer.document["Pricer"]["Solver"]["FeaturesToSolve"][0]["Root"].asDouble();
    EXPECT_NEAR(ten_point(root, 1), 300.0, 1.0);
}

// The decomposition

TEST(GetStaticReplication1D, AZeroCouponHasOneEntryAndNoVanillas) {
    auto const answer = call_route(c_route, closed_form_request("Pay(100,2022-05-03,USD)"));
    ASSERT_TRUE(answer.success) << answer.log();
    Json::Value const& results = replication_of(answer);
    ASSERT_EQ(results["ZeroCoupon"].size(), 1U);
    EXPECT_EQ(results["ZeroCoupon"][0]["MaturityDate"].asString(), "2022-05-03");
    EXPECT_EQ(results["ZeroCoupon"][0]["Quantity"].asDouble(), 100.0);
    EXPECT_EQ(results["ZeroCoupon"][0]["Price"].asDouble(), 100.0);
    EXPECT_EQ(results["ZeroCoupon"][0]["Value"].asDouble(), 1.0);
    EXPECT_EQ(results["Vanillas"].size(), 0U);
    EXPECT_EQ(results["Replication"].size(), 0U);
    EXPECT_THAT(answer.messages("SUCCESS"),
                ElementsAre(StartsWith("Execution of GetStaticReplication1D ended at ")));
}

TEST(GetStaticReplication1D, ALinearPayoffKeepsTheOptionsOfTheMiddleAlone) {
    auto const answer = call_route(
        c_route, closed_form_request("Pay(Spot(^GSPC,2022-05-03),2022-05-03,USD)", 10, 0.5, 1.5));
    ASSERT_TRUE(answer.success) << answer.log();
    Json::Value const& results = replication_of(answer);
    ASSERT_EQ(results["Vanillas"].size(), 2U);
    EXPECT_EQ(results["Vanillas"][0]["PayoffKind"].asString(), "PUT_TYPE");
    EXPECT_NEAR(results["Vanillas"][0]["Quantity"].asDouble(), -1.0, 1e-5);
    EXPECT_EQ(results["Vanillas"][1]["PayoffKind"].asString(), "CALL_TYPE");
    EXPECT_NEAR(results["Vanillas"][1]["Quantity"].asDouble(), 1.0, 1e-5);
    for (auto const& option : results["Vanillas"]) {
        EXPECT_NEAR(option["Strike"].asDouble(), c_gspc, 1e-2);
        EXPECT_EQ(option["MaturityDate"].asString(), "2022-05-03");
    }
    EXPECT_NEAR(results["ZeroCoupon"][0]["Quantity"].asDouble(), c_gspc, 1e-2);
}

TEST(GetStaticReplication1D, ListsPutsThenCallsAndTheirPricesSumToThePrice) {
    constexpr char const* c_twin_win =
        "Pay(100+Abs(Spot(^GSPC,2022-05-03)-4150)/41.5,2022-05-03,USD)";
    auto const answer = call_route(c_route, closed_form_request(c_twin_win, 20));
    ASSERT_TRUE(answer.success) << answer.log();
    Json::Value const& results = replication_of(answer);
    double sum = results["ZeroCoupon"][0]["Price"].asDouble();
    double strike = 0.0;
    std::string kind = "PUT_TYPE";
    for (auto const& option : results["Vanillas"]) {
        sum += option["Price"].asDouble();
        if (option["PayoffKind"].asString() != kind) {
            EXPECT_EQ(kind, "PUT_TYPE");
            kind = option["PayoffKind"].asString();
            strike = 0.0;
        }
        EXPECT_GT(option["Strike"].asDouble(), strike);
        strike = option["Strike"].asDouble();
        EXPECT_GE(std::abs(option["Quantity"].asDouble()), 0.0001);
        EXPECT_NEAR(option["Price"].asDouble(),
                    option["Quantity"].asDouble() *
                        ten_point(option["Strike"].asDouble(), kind == "PUT_TYPE" ? -1 : 1),
                    2e-3);
    }
    EXPECT_EQ(kind, "CALL_TYPE");
    auto const half = [](double x) { return 100.0 + std::abs(x - 4150.0) / 41.5; };
    ASSERT_EQ(results["Replication"].size(), 41U);
    for (auto const& point : results["Replication"]) {
        EXPECT_NEAR(point["Payoff"].asDouble(), half(point["Spot"].asDouble()), 1e-3);
        EXPECT_NEAR(point["Replication"].asDouble(), point["Payoff"].asDouble(), 1e-3);
    }
    // 100 and a straddle, dearer by the chord of its cell
    double const straddle = (ten_point(4150.0, 1) + ten_point(4150.0, -1)) / 41.5;
    EXPECT_NEAR(sum, 100.0 + straddle, 0.5);
    EXPECT_GT(sum, 100.0 + straddle - 0.05);
}

TEST(GetStaticReplication1D, AQuantityBelowTheThresholdLeavesAnEmptyZeroCoupon) {
    auto const answer = call_route(c_route, closed_form_request(c_call, 10, 0.2, 0.9));
    ASSERT_TRUE(answer.success) << answer.log();
    Json::Value const& results = replication_of(answer);
    ASSERT_EQ(results["ZeroCoupon"].size(), 1U);
    EXPECT_EQ(results["ZeroCoupon"][0]["MaturityDate"].asString(), "");
    EXPECT_EQ(results["ZeroCoupon"][0]["Quantity"].asDouble(), 0.0);
    EXPECT_EQ(results["ZeroCoupon"][0]["Value"].asDouble(), 0.0);
    EXPECT_EQ(results["Vanillas"].size(), 0U);
    EXPECT_EQ(results["Replication"].size(), 21U);
}

TEST(GetStaticReplication1D, WhatCameWithTheRequestIsReplaced) {
    Json::Value request = closed_form_request("Pay(100,2022-05-03,USD)");
    request["Pricer"]["StaticReplication1D"]["Vanillas"][0]["Strike"] = 7.0;
    request["Pricer"]["StaticReplication1D"]["Replication"][0]["Spot"] = 7.0;
    request["Pricer"]["StaticReplication1D"]["ZeroCoupon"][0]["Quantity"] = 7.0;
    auto const answer = call_route(c_route, request);
    ASSERT_TRUE(answer.success) << answer.log();
    EXPECT_EQ(replication_of(answer)["Vanillas"].size(), 0U);
    EXPECT_EQ(replication_of(answer)["Replication"].size(), 0U);
    EXPECT_EQ(replication_of(answer)["ZeroCoupon"][0]["Quantity"].asDouble(), 100.0);
}

TEST(GetStaticReplication1D, ASizeOfZeroIsTheZeroCouponOfThePayoffAtTheUpperBound) {
    auto const answer = call_route(c_route, closed_form_request(c_call, 0, 0.0, 0.0));
    ASSERT_TRUE(answer.success) << answer.log();
    ASSERT_EQ(replication_of(answer)["Replication"].size(), 1U);
    EXPECT_EQ(replication_of(answer)["Replication"][0]["Spot"].asDouble(), 0.0);
    EXPECT_EQ(replication_of(answer)["Replication"][0]["Payoff"].asDouble(), 0.0);
}

TEST(GetStaticReplication1D, BoundsLeftOutAreTheZeroCouponOfThePayoffAtZero) {
    Json::Value request = closed_form_request(
        "Pay(100-Max(4150-Spot(^GSPC,2022-05-03),0),2022-05-03,USD)", 100, 0.0, 0.0);
    request["PricerConfiguration"].removeMember("ClosedFormMoneynessGridLowerBound");
    request["PricerConfiguration"].removeMember("ClosedFormMoneynessGridUpperBound");
    auto const answer = call_route(c_route, request);
    ASSERT_TRUE(answer.success) << answer.log();
    EXPECT_EQ(replication_of(answer)["ZeroCoupon"][0]["Quantity"].asDouble(), 100.0 - 4150.0);
    EXPECT_EQ(replication_of(answer)["Vanillas"].size(), 0U);
    EXPECT_EQ(replication_of(answer)["Replication"].size(), 201U);
}

TEST(GetStaticReplication1D, BoundsLeftAtPercentMultiplyTheForwardAsTheyStand) {
    auto const answer = call_route(c_route, closed_form_request(c_call, 5, 50.0, 150.0));
    ASSERT_TRUE(answer.success) << answer.log();
    EXPECT_THAT(answer.messages("WARNING"), ElementsAre(StartsWith("By not providing data")));
    EXPECT_NEAR(replication_of(answer)["Replication"][0]["Spot"].asDouble(), 50.0 * c_gspc, 1.0);
    EXPECT_NEAR(replication_of(answer)["Replication"][10]["Spot"].asDouble(), 150.0 * c_gspc, 1.0);
}

TEST(GetStaticReplication1D, AFallingGridStaysFalling) {
    auto const answer = call_route(c_route, closed_form_request(c_call, 5, 1.5, 0.5));
    ASSERT_TRUE(answer.success) << answer.log();
    auto const& points = replication_of(answer)["Replication"];
    for (Json::ArrayIndex i = 0; i + 1 < points.size(); ++i)
        EXPECT_GT(points[i]["Spot"].asDouble(), points[i + 1]["Spot"].asDouble());
}

TEST(GetStaticReplication1D, BadInputIsRefusedWithItsReason) {
    std::string const refusal = "Contract non eligible to static replication method";
    expect_error(c_route, closed_form_request(c_call, -1), "Invalid ClosedFormMoneynessGridSize");
    expect_error(c_route, closed_form_request(c_call, 2'000'000'000), "Too many points");
    expect_error(c_route, closed_form_request(c_call, 5, 0.5, 1e39),
                 refusal + "Because the grid of levels is not finite");
    expect_error(c_route, closed_form_request(c_call, 5, -1.0, 1.0),
                 refusal + "Because the grid of levels has a negative strike");
    expect_error(c_route,
                 closed_form_request("Pay(1/Spot(^GSPC,2022-05-03),2022-05-03,USD)", 5, 0.0, 2.0),
                 refusal + "Because the payoff is not finite at level 0");
    expect_error(c_route, closed_form_request("Pay(1,2022-05-03,USD)&Pay(1,2022-06-03,USD)"),
                 refusal + "Because of it contains more than one payment dates");
    expect_error(
        c_route,
        closed_form_request("Pay(Spot(^GSPC,2022-05-03)*Spot(^GSPC,2022-04-04),2022-05-03,USD)"),
        refusal +
            "Because of a forward payment that contains multiple fixings"
            "Volatility dynamic is required");
    expect_error(c_route, closed_form_request("End()"),
                 refusal + "Because of it contains no payment");
    expect_error(c_route, closed_form_request("Pay(1,2020-05-03,USD)"),
                 refusal + "Because of it contains no payment");
}

TEST(GetStaticReplication1D, AFailureLeavesTheRecordAsItCame) {
    Json::Value request = closed_form_request("End()");
    request["Pricer"]["StaticReplication1D"]["Vanillas"][0]["Strike"] = 7.0;
    auto const answer = call_route(c_route, request);
    EXPECT_FALSE(answer.success);
    EXPECT_EQ(replication_of(answer)["Vanillas"][0]["Strike"].asDouble(), 7.0);
}

TEST(GetStaticReplication1D, AnEmptyDocumentFailsWithARecord) {
    auto const answer = call_route(c_route, Json::Value(Json::objectValue));
    EXPECT_FALSE(answer.success);
    EXPECT_GE(answer.document["Logger"].size(), 2U);
}

TEST(GetStaticReplication1D, TheSettingsOfTheModelsStay) {
    Json::Value request = closed_form_request("Pay(100,2022-05-03,USD)");
    request["PricerConfiguration"]["Method"] = "FINITE_DIFFERENCE";  // without a word to the models
    auto const answer = call_route(c_route, request);
    EXPECT_TRUE(answer.success) << answer.log();
}

}  // namespace
