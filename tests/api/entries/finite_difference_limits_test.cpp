// Finite differences against the simulation, and what they refuse or warn of.

#include <cmath>

#include "api/finite_difference_case.hpp"
#include "support/precompiled.hpp"

namespace {

using namespace ximAPI::testing;
using ::testing::Contains;
using ::testing::ElementsAre;

void expect_engines_agree(std::string const& script, char const* smoothing, int grid_size = 1000) {
    ShareMarket const market(100.0, 0.25);
    Json::Value request = finite_difference_request(script, grid_size);
    Json::Value& pricer = request["PricerConfiguration"];
    pricer["SmoothingType"] = smoothing;
    pricer["MonteCarloTrials"] = 100000;
    double const grid = mean_of(call_route("/GetPrice", market.on(request)));
    pricer["Method"] = "MONTE_CARLO";
    auto const simulated = call_route("/GetPrice", market.on(request));
    ASSERT_TRUE(simulated.success) << simulated.log();
    double const error = simulated.price()["Stddev"].asDouble();
    EXPECT_NEAR(grid, simulated.price()["Mean"].asDouble(), 3.0 * error) << smoothing;
    EXPECT_GT(error, 0.0);
}

TEST(FiniteDifference, DiscreteBarriersAgreeWithTheSimulationSmoothedOrNot) {
    std::string script;
    std::string closing;
    for (int k = 1; k <= 6; ++k) {
        script += "If(Spot(AAA," + day(60 * k) + ")<85,2,1)(Pay(3," + day(60 * k) + ",USD),";
        closing += ")";
    }
    script += call_script(100, day(360)) + closing;
    for (char const* smoothing : {"NONE", "SYMETRIC"}) expect_engines_agree(script, smoothing);
}

TEST(FiniteDifference, OneSidedRampsAgreeWithTheSimulation) {
    std::string const spot = "Spot(AAA," + day(365) + ")";
    for (char const* smoothing : {"NONE", "LOWER", "SYMETRIC", "UPPER"}) {
        expect_engines_agree(
            "If(" + spot + ">105,4,6)(Pay(20," + day(365) + ",USD),Pay(5," + day(365) + ",USD))",
            smoothing);
        expect_engines_agree(
            "If(" + spot + ">130||" + spot + "<80,3,3)(Pay(20," + day(365) + ",USD),End())",
            smoothing);
        expect_engines_agree(
            "If(" + spot + ">90&&" + spot + "<110,3,3)(Pay(20," + day(365) + ",USD),End())",
            smoothing);
    }
}

TEST(FiniteDifference, ACliquetOnTheInitialLevelAgreesWithTheSimulation) {
    std::string script;
    for (int k = 1; k <= 4; ++k)
        script += (k == 1 ? "" : "&") + ("Pay(100*Min(Max(Spot(AAA," + day(91 * k) +
                                         ")/100-0.98,0),0.07)," + day(91 * k) + ",USD)");
    for (char const* smoothing : {"NONE", "SYMETRIC"}) expect_engines_agree(script, smoothing);
}

TEST(FiniteDifference, AnAutocallAgreesWithTheSimulationSmoothedOrNot) {
    std::string script;
    std::string closing;
    for (int k = 1; k <= 5; ++k) {
        script += "If(Spot(AAA," + day(120 * k) + ")/100>1,0.01,0.01)(Pay(" + text(100 + 4 * k) +
                  "," + day(120 * k + 5) + ",USD),";
        closing += ")";
    }
    script += "If(Spot(AAA," + day(600) + ")/100>0.7,0.02,0.02)(Pay(100," + day(605) +
              ",USD),Pay(Spot(AAA," + day(600) + ")," + day(605) + ",USD))" + closing;
    for (char const* smoothing : {"NONE", "SYMETRIC"}) expect_engines_agree(script, smoothing);
}

// Several dates, references ------------------------------------------------------------------

TEST(FiniteDifference, SeveralOpenDatesReadTheEarliestAfterOneWarning) {
    std::string const script =
        "Pay(Max(Spot(AAA," + day(200) + ")-Spot(AAA," + day(100) + "),0)," + day(200) + ",USD)";
    Json::Value request = finite_difference_request(script);
    request["PricerConfiguration"]["WithGreeks"] = true;
    request["PricerConfiguration"]["ComputeDelta"] = true;
    auto const answer = call_route("/GetPrice", ShareMarket(100.0, 0.2).on(request));
    EXPECT_NEAR(mean_of(answer), 0.0, 1e-9);  // both are the share on the first of the two days
    EXPECT_THAT(answer.messages("WARNING"),
                ElementsAre("Finite difference reads several dates at " + day(100)));
}

TEST(FiniteDifference, AFixingBeforeTheConditionAboveItIsWarnedOf) {
    std::string const script = "If(Spot(AAA," + day(200) + ")>100)(Pay(Spot(AAA," + day(100) +
                               ")," + day(300) + ",USD),End())";
    auto const answer =
        call_route("/GetPrice", ShareMarket(100.0, 0.2).on(finite_difference_request(script)));
    EXPECT_THAT(answer.messages("WARNING"),
                ElementsAre("Finite difference reads several dates at " + day(100)));
}

TEST(FiniteDifference, KnownNamesAreNumbersAndOpenOnesAreRefused) {
    std::string const past = "Set(x,Spot(AAA,2021-05-03))&Pay(Max(Spot(AAA," + day(365) +
                             ")-AmountRef(x),0)," + day(365) + ",USD)";
    EXPECT_NEAR(price(finite_difference_request(past)), call_formula(100.0, 100.0, 0.2), 1e-2);
    std::string const open =
        "Set(x,Spot(AAA," + day(10) + "))&Pay(AmountRef(x)," + day(365) + ",USD)";
    auto const answer =
        call_route("/GetPrice", ShareMarket(100.0, 0.2).on(finite_difference_request(open)));
    EXPECT_FALSE(answer.success);
    EXPECT_THAT(answer.messages("ERROR"),
                ElementsAre("Contract non eligible to finite difference method"
                            "Because it contains a reference"));
}

TEST(FiniteDifference, AGridThatDoesNotReachTheForwardIsWarnedOf) {
    Json::Value request = finite_difference_request(call_script(100, day(365)));
    request["ModelConfiguration"]["BlackScholesFiniteDifferenceConfidenceLevel"] = 0.01;
    auto const answer = call_route("/GetPrice", ShareMarket(100.0, 0.2).on(request));
    EXPECT_THAT(answer.messages("WARNING"),
                ElementsAre("Finite difference grid does not reach the forward"));
}

// Refusals -----------------------------------------------------------------------------------

std::vector<std::string> refusal(Json::Value const& request, std::string const& more = "") {
    auto const answer = call_route("/GetPrice", ShareMarket(100.0, 0.2, more).on(request));
    EXPECT_FALSE(answer.success);
    EXPECT_TRUE(answer.document["Pricer"].isNull()) << "no results";
    return answer.messages("ERROR");
}

TEST(FiniteDifference, TwoUnderlyingsAreRefused) {
    std::string const other =
        R"(,{"type": "ShareUnderlying", "ticker": "BBB", "name": "B", "currency": "USD",)"
        R"( "fixing_calendar": "dummy", "day_counter": "act_365"},)"
        R"({"type": "Spot", "ticker": "BBB", "date": "2021-05-03", "bid": 50, "ask": 50},)"
        R"({"type": "BlackScholesVolatility", "ticker": "BBB", "date": "2021-05-03", "value": 20})";
    EXPECT_THAT(refusal(finite_difference_request("Pay(Max(Spot(AAA,2022-05-03)," +
                                                  std::string("Spot(BBB,2022-05-03)),2022-05-03,"
                                                              "USD)")),
                        other),
                ElementsAre("Contract non eligible to finite difference method"
                            "Because it contains multiple underlyings"));
}

TEST(FiniteDifference, AFixingOfARateIsRefused) {
    std::string const rate =
        R"(,{"type": "DepositRateUnderlying", "ticker": "RATE", "name": "R", "currency": "USD",)"
        R"( "fixing_calendar": "dummy", "day_counter": "act_365", "start": "+0d", "end": "+3m"})";
    EXPECT_THAT(
        refusal(finite_difference_request("Pay(Spot(RATE,2022-05-03),2022-05-03,USD)"), rate),
        ElementsAre("Contract non eligible to finite difference method"
                    "Because it contains a non-Equity/FX fixing"));
}

TEST(FiniteDifference, AModelWithoutAHelperIsRefused) {
    for (char const* model : {"DEFAULT_MODEL", "BLACK_SCHOLES_TERM_STRUCTURE_MODEL",
                              "DUPIRE_LOCAL_VOLATILITY_MODEL", "FREE_MODEL"}) {
        Json::Value request = finite_difference_request(call_script(100, day(30)));
        request["ModelConfiguration"]["Name"] = model;
        EXPECT_THAT(refusal(request), Contains("Model uneligible for finite difference")) << model;
    }
}

TEST(FiniteDifference, ALevelOutsideItsDomainIsRefused) {
    for (double const level : {0.0, 1.0, 100.0, -0.5, 120.0}) {
        Json::Value request = finite_difference_request(call_script(100, day(30)));
        request["ModelConfiguration"]["BlackScholesFiniteDifferenceConfidenceLevel"] = level;
        EXPECT_THAT(refusal(request),
                    ElementsAre("Invalid BlackScholesFiniteDifferenceConfidenceLevel"))
            << level;
    }
}

TEST(FiniteDifference, ALevelAboveOneIsAPercentage) {
    Json::Value request = finite_difference_request(call_script(100, day(365)));
    double const fraction = price(request);
    request["ModelConfiguration"]["BlackScholesFiniteDifferenceConfidenceLevel"] = 99.99;
    EXPECT_NEAR(price(request), fraction, 1e-4);
}

TEST(FiniteDifference, FewerThanThreePointsAreRefused) {
    for (int const size : {2, 1, 0, -5, 1'000'001}) {
        EXPECT_THAT(refusal(finite_difference_request(call_script(100, day(30)), size)),
                    ElementsAre("Invalid BlackScholesFiniteDifferenceGridSize"))
            << size;
    }
    EXPECT_GT(price(finite_difference_request(call_script(100, day(30)), 3)), 0.0);
}

TEST(FiniteDifference, ATimeStepBelowADayIsRefused) {
    for (int const step : {0, -1}) {
        Json::Value request = finite_difference_request(call_script(100, day(30)));
        request["PricerConfiguration"]["FiniteDifferenceTimeStep"] = step;
        EXPECT_THAT(refusal(request), ElementsAre("Invalid FiniteDifferenceTimeStep"));
    }
}

TEST(FiniteDifference, ItsSettingsDoNotMatterToTheSimulation) {
    Json::Value request = price_request(call_script(100, day(30)));
    request["ModelConfiguration"]["BlackScholesFiniteDifferenceGridSize"] = 0;
    request["ModelConfiguration"]["BlackScholesFiniteDifferenceConfidenceLevel"] = 0;
    request["PricerConfiguration"]["FiniteDifferenceTimeStep"] = 0;
    EXPECT_GT(price(request), 0.0);
}

}  // namespace
