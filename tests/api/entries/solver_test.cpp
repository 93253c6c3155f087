// "/GetImpliedContractFeature" end to end on the demonstration data.

#include <cmath>

#include "api/route_call.hpp"
#include "support/precompiled.hpp"

namespace {

using namespace ximAPI::testing;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::StartsWith;

constexpr char const* c_sum = "Pay(CstRef(a,1)+10*CstRef(b,0),2021-05-03,USD)";

Json::Value solver_request(std::string const& script, double target, int trials = 100) {
    Json::Value request = price_request(script, trials);
    request["ContractConfiguration"]["IntradayPayments"] = true;
    request["Pricer"]["Solver"]["Price"] = target;
    request["Pricer"]["Solver"]["FeaturesToSolve"] = Json::arrayValue;
    return request;
}

void add_feature(Json::Value& request, char const* name, double min, double max, int precision) {
    Json::Value feature;
    feature["Name"] = name;
    feature["Min"] = min;
    feature["Max"] = max;
    feature["Precision"] = precision;
    request["Pricer"]["Solver"]["FeaturesToSolve"].append(feature);
}

Json::Value const& solver_of(RouteAnswer const& answer) {
    return answer.document["Pricer"]["Solver"];
}
Json::Value const& feature_of(RouteAnswer const& answer, Json::ArrayIndex i = 0) {
    return solver_of(answer)["FeaturesToSolve"][i];
}

TEST(GetImpliedContractFeature, ALinearPriceGivesTheExactRoot) {
    Json::Value request = solver_request(c_sum, 3.25);
    add_feature(request, "a", 0.0, 10.0, 11);
    auto const answer = call_route("/GetImpliedContractFeature", request);
    ASSERT_TRUE(answer.success) << answer.log();
    EXPECT_FLOAT_EQ(feature_of(answer)["Root"].asFloat(), 3.25F);
    EXPECT_FLOAT_EQ(feature_of(answer)["Lower"].asFloat(), 3.0F);
    EXPECT_FLOAT_EQ(feature_of(answer)["Upper"].asFloat(), 4.0F);
    EXPECT_FLOAT_EQ(solver_of(answer)["Lower"].asFloat(), 3.0F);
    EXPECT_FLOAT_EQ(solver_of(answer)["Upper"].asFloat(), 4.0F);
    for (char const* flag : {"HasRoot", "HasLower", "HasUpper"})
        EXPECT_TRUE(feature_of(answer)[flag].asBool()) << flag;
    for (char const* flag : {"HasLower", "HasUpper"})
        EXPECT_TRUE(solver_of(answer)[flag].asBool()) << flag;
    EXPECT_THAT(answer.messages("SUCCESS"),
                ElementsAre(StartsWith("Execution of GetImpliedContractFeature ended at ")));
}

TEST(GetImpliedContractFeature, SeveralFeaturesAreSolvedTogether) {
    Json::Value request = solver_request(c_sum, 9.5);
    add_feature(request, "a", 0.0, 9.0, 4);
    add_feature(request, "b", 0.0, 1.0, 2);
    auto const answer = call_route("/GetImpliedContractFeature", request);
    ASSERT_TRUE(answer.success) << answer.log();
    EXPECT_FLOAT_EQ(feature_of(answer, 0)["Root"].asFloat(), 4.5F);
    EXPECT_FLOAT_EQ(feature_of(answer, 1)["Root"].asFloat(), 0.5F);
}

// Bossu, Advanced Equity Derivatives, chapter 1: a note over three years with a knock-in at 70 %.
// Times and the volatility of 25 % are carried to the 20 % of the demonstration data. 7.5617 % is
// the quadrature over the three dates.
constexpr char const* c_autocall =
    "If(Spot(^GSPC,2022-11-24)/Spot(^GSPC,2021-05-03)>1)(Pay(1+CstRef(C,0.08),2022-11-24,USD),"
    "If(Spot(^GSPC,2024-06-16)/Spot(^GSPC,2021-05-03)>1)(Pay(1+2*CstRef(C,0.08),2024-06-16,USD),"
    "If(Spot(^GSPC,2026-01-07)/Spot(^GSPC,2021-05-03)>0.7)"
    "(Pay(Max(1+3*CstRef(C,0.08),Spot(^GSPC,2026-01-07)/Spot(^GSPC,2021-05-03)),2026-01-07,USD),"
    "Pay(Spot(^GSPC,2026-01-07)/Spot(^GSPC,2021-05-03),2026-01-07,USD))))";

TEST(GetImpliedContractFeature, TheCouponOfAnAutocallMakesItWorthPar) {
    for (int const threads : {1, 3}) {
        Json::Value request = solver_request(c_autocall, 1.0, 100000);
        request["PricerConfiguration"]["MonteCarloNbThreads"] = threads;
        add_feature(request, "C", 0.01, 0.2, 39);
        auto const answer = call_route("/GetImpliedContractFeature", request);
        ASSERT_TRUE(answer.success) << answer.log();
        double const coupon = feature_of(answer)["Root"].asDouble();
        EXPECT_NEAR(coupon, 0.075617, 0.002);

        Json::Value check = price_request(c_autocall, 100000);
        check["Pricer"]["Ladder1D"]["Name"] = "C";
        check["Pricer"]["Ladder1D"]["BumpKind"] = "ASSIGNMENT";
        check["Pricer"]["Ladder1D"]["BumpUnit"] = "NONE";
        check["Pricer"]["Ladder1D"]["Plots"][0]["BumpValue"] = coupon;
        auto const priced = call_route("/GetLadder1D", check);
        EXPECT_NEAR(
            priced
                .document["Pricer"]["Ladder1D"]["Plots"][0]["Results"]["Price"][0]["Value"]["Mean"]
                .asDouble(),
            1.0, 1e-4);
    }
}

TEST(GetImpliedContractFeature, AStrikeIsSolvedOnFiniteDifferencesToo) {
    // a call at the money forward, one year, volatility 20 %, no rates: spot * (2 N(0.1) - 1)
    double const target = 4153.925 * std::erf(0.1 / std::sqrt(2.0));
    Json::Value request = solver_request(
        "Pay(Max(Spot(^GSPC,2022-05-03)-CstRef(strike,4000),0),2022-05-03,USD)", target);
    request["PricerConfiguration"]["Method"] = "FINITE_DIFFERENCE";
    request["PricerConfiguration"]["FiniteDifferenceTimeStep"] = 2;
    request["PricerConfiguration"]["FiniteDifferenceExplicitRate"] = 50;
    request["PricerConfiguration"]["FiniteDifferenceBoundaryCondition"] = "DIRICHLET";
    request["ModelConfiguration"]["BlackScholesFiniteDifferenceGridSize"] = 300;
    request["ModelConfiguration"]["BlackScholesFiniteDifferenceConfidenceLevel"] = 0.9999;
    add_feature(request, "strike", 4000.0, 4300.0, 7);
    auto const answer = call_route("/GetImpliedContractFeature", request);
    ASSERT_TRUE(answer.success) << answer.log();
    EXPECT_NEAR(feature_of(answer)["Root"].asDouble(), 4153.925, 5.0);
}

TEST(GetImpliedContractFeature, ATargetThatIsNotBracketedLeavesTheRequestAsItCame) {
    Json::Value request = solver_request(c_sum, 11.0);
    add_feature(request, "a", 0.0, 10.0, 11);
    request["Pricer"]["Solver"]["HasLower"] = true;
    auto const answer = call_route("/GetImpliedContractFeature", request);
    EXPECT_FALSE(answer.success);
    EXPECT_THAT(answer.messages("ERROR"), ElementsAre("Bounds too tight"));
    EXPECT_EQ(answer.document["Pricer"], request["Pricer"]);
}

TEST(GetImpliedContractFeature, OldFlagsAreClearedOnATypedCallThatFails) {
    ximAPI::Data data;
    ximAPI::Contract contract;
    contract.Date = "2021-05-03";
    contract.PremiumCurrency = "USD";
    contract.IntradayPayments = true;
    contract.Product = std::make_unique<ximAPI::Console>(c_sum);
    ximAPI::Model model;
    model.CalibrationDate = "2021-05-03";
    model.Name = ximAPI::ModelName::BLACK_SCHOLES_MODEL;
    ximAPI::Pricer pricer;
    pricer.MonteCarloTrials = 10;
    ximAPI::ImpliedContractFeatureResults results;
    results.Target = {.HasLower = true, .HasUpper = true, .Price = 50.0F};
    results.FeaturesToSolve = {
        {.Name = "a", .Max = 10.0F, .Precision = 11, .HasRoot = true, .HasUpper = true}};
    std::vector<ximAPI::Log> logs;
    EXPECT_FALSE(GetImpliedContractFeature(data, contract, model, pricer, results, logs));
    EXPECT_FALSE(results.Target.HasLower || results.Target.HasUpper);
    EXPECT_FALSE(results.FeaturesToSolve[0].HasRoot || results.FeaturesToSolve[0].HasUpper);
}

TEST(GetImpliedContractFeature, APrecisionBelowZeroIsRefused) {
    Json::Value request = solver_request(c_sum, 3.0);
    add_feature(request, "a", 0.0, 10.0, -1);
    auto const answer = call_route("/GetImpliedContractFeature", request);
    EXPECT_FALSE(answer.success);
    EXPECT_THAT(answer.messages("ERROR"), ElementsAre("Invalid Precision"));
}

TEST(GetImpliedContractFeature, TooManyCombinationsAreRefused) {
    Json::Value request = solver_request(c_sum, 3.0);
    add_feature(request, "a", 0.0, 10.0, 2147483647);
    auto const answer = call_route("/GetImpliedContractFeature", request);
    EXPECT_FALSE(answer.success);
    EXPECT_THAT(answer.messages("ERROR"), ElementsAre("Too many points"));
}

TEST(GetImpliedContractFeature, AFeatureWithoutPointsIsReported) {
    Json::Value request = solver_request(c_sum, 3.0);
    add_feature(request, "a", 0.0, 10.0, 11);
    add_feature(request, "b", 0.0, 1.0, 0);
    auto const answer = call_route("/GetImpliedContractFeature", request);
    EXPECT_FALSE(answer.success);
    EXPECT_THAT(answer.messages("EXCEPTION"), ElementsAre("map::at"));
}

TEST(GetImpliedContractFeature, TheNumberOfFeaturesIsTakenInEightBits) {
    Json::Value request = solver_request(c_sum, 3.25);
    add_feature(request, "a", 0.0, 10.0, 11);
    for (int i = 0; i < 256; ++i) add_feature(request, "b", 0.0, 1.0, 100);
    auto const answer = call_route("/GetImpliedContractFeature", request);
    ASSERT_TRUE(answer.success) << answer.log();
    EXPECT_FLOAT_EQ(feature_of(answer)["Root"].asFloat(), 3.25F);
    EXPECT_FALSE(feature_of(answer, 1)["HasRoot"].asBool());
}

TEST(GetImpliedContractFeature, WithoutFeaturesNothingIsBracketed) {
    auto const answer = call_route("/GetImpliedContractFeature", solver_request(c_sum, 1.0));
    EXPECT_FALSE(answer.success);
    EXPECT_THAT(answer.messages("ERROR"), ElementsAre("Bounds too tight"));
}

TEST(GetImpliedContractFeature, AContractThatCannotBePricedIsReported) {
    Json::Value request =
        solver_request("Pay(Spot(NOBODY,2022-05-03)+CstRef(a,1),2022-05-03,USD)", 3.0);
    add_feature(request, "a", 0.0, 10.0, 11);
    auto const answer = call_route("/GetImpliedContractFeature", request);
    EXPECT_FALSE(answer.success);
    EXPECT_THAT(answer.messages("ERROR"), Contains(::testing::HasSubstr("NOBODY")));
}

}  // namespace
