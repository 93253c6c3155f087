// The method "AUTOMATIC_ADJOINT_DIFFERENTIATION" end to end on the demonstration data, which have
// no rates.

#include <cmath>
#include <map>

#include "api/entries/ladder_call.hpp"
#include "api/share_market.hpp"

namespace {

using namespace ximAPI::testing;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr char const* c_call = "Pay(Max(Spot(^GSPC,2022-05-03)-4150,0),2022-05-03,USD)";
constexpr char const* c_worst_of =
    "Pay(100*Max(Min(Spot(^GSPC,2022-05-03)/Spot(^GSPC,2021-05-03),Spot(^STOXX50E,2022-05-03)/"
    "Spot(^STOXX50E,2021-05-03))-0.9,0),2022-05-03,USD)";

/// With delta, vega and cega. The bumps of a simulation are small; here they have no effect.
Json::Value adjoint_request(std::string const& script, int trials = 1000) {
    Json::Value request = price_request(script, trials);
    request["DataConfiguration"]["SuccessOnCorrelationRequestFailure"] = true;
    Json::Value& pricer = request["PricerConfiguration"];
    pricer["Method"] = "AUTOMATIC_ADJOINT_DIFFERENTIATION";
    pricer["WithGreeks"] = pricer["ComputeDelta"] = pricer["ComputeVega"] = true;
    pricer["ComputeCega"] = true;
    for (char const* bump : {"DeltaSpotBump", "VegaVolatilityBump", "CegaCorrelationBump"})
        pricer[bump] = 0.1;
    return request;
}

Json::Value by_bumps(Json::Value request) {
    request["PricerConfiguration"]["Method"] = "MONTE_CARLO";
    for (char const* direction : {"DeltaDirection", "VegaDirection", "CegaDirection"})
        request["PricerConfiguration"][direction] = "CENTER";
    return request;
}

double mean(RouteAnswer const& answer, char const* greek, Json::ArrayIndex i = 0) {
    return answer.greek(greek, i)["Mean"].asDouble();
}

TEST(GetPriceByAdjoints, PriceIsThatOfTheSimulation) {
    for (int const threads : {1, 3}) {
        Json::Value request = adjoint_request(c_call);
        request["PricerConfiguration"]["MonteCarloNbThreads"] = threads;
        auto const adjoint = call_route("/GetPrice", request);
        auto const simulated = call_route("/GetPrice", by_bumps(request));
        ASSERT_TRUE(adjoint.success) << adjoint.log();
        ASSERT_TRUE(simulated.success) << simulated.log();
        for (char const* key : {"Mean", "Stddev", "Lower", "Upper"})
            EXPECT_NEAR(adjoint.price()[key].asDouble(), simulated.price()[key].asDouble(), 1e-4)
                << key;
    }
}

TEST(GetPriceByAdjoints, DeltaAndVegaAgreeWithTheFormula) {
    auto const answer = call_route("/GetPrice", adjoint_request(c_call, 200000));
    ASSERT_TRUE(answer.success) << answer.log();
    double const d = std::log(c_gspc / 4150.0) / c_volatility + 0.5 * c_volatility;
    double const density = std::exp(-0.5 * d * d) / std::sqrt(2.0 * std::acos(-1.0));
    // a path's delta has a standard deviation below the spot's forward, its vega below twice that
    double const error = 4.5 * c_gspc / std::sqrt(200000.0);
    EXPECT_NEAR(mean(answer, "Delta"), c_gspc * cumulative(d), error);
    EXPECT_NEAR(mean(answer, "Vega"), c_gspc * density, 2.0 * error);
    EXPECT_EQ(answer.greek("Delta")["Stddev"].asDouble(), 0.0);  // no statistic of its own
    EXPECT_EQ(answer.document["Pricer"]["Pricer"]["Delta"][0]["Ticker"].asString(), "^GSPC");
}

TEST(GetPriceByAdjoints, EveryGreekOfAWorstOfAgreesWithSmallBumps) {
    for (int const threads : {1, 3}) {
        Json::Value request = adjoint_request(c_worst_of);
        request["PricerConfiguration"]["MonteCarloNbThreads"] = threads;
        auto const adjoint = call_route("/GetPrice", request);
        auto const bumped = call_route("/GetPrice", by_bumps(request));
        ASSERT_TRUE(adjoint.success) << adjoint.log();
        ASSERT_TRUE(bumped.success) << bumped.log();
        for (Json::ArrayIndex i = 0; i < 2; ++i)
            for (char const* greek : {"Delta", "Vega"})
                EXPECT_NEAR(mean(adjoint, greek, i), mean(bumped, greek, i),
                            1e-3 * std::abs(mean(bumped, greek, i)))
                    << greek << i;
        EXPECT_NEAR(mean(adjoint, "Cega"), mean(bumped, "Cega"),
                    1e-3 * std::abs(mean(bumped, "Cega")));
        EXPECT_GT(mean(adjoint, "Cega"), 1.0);
    }
}

TEST(GetPriceByAdjoints, GreeksOfSecondOrderAreNull) {
    Json::Value request = adjoint_request(c_call);
    request["PricerConfiguration"]["ComputeGamma"] = true;
    request["PricerConfiguration"]["GammaSpotBump"] = 100;
    auto const answer = call_route("/GetPrice", request);
    ASSERT_TRUE(answer.success) << answer.log();
    EXPECT_TRUE(answer.greek("Gamma")["Mean"].isNull());
    EXPECT_TRUE(answer.greek("Delta")["Mean"].isNumeric());
}

TEST(GetPriceByAdjoints, TheTermStructureModelHasNoVega) {
    Json::Value request = adjoint_request(c_call);
    request["ModelConfiguration"]["Name"] = "BLACK_SCHOLES_TERM_STRUCTURE_MODEL";
    auto const adjoint = call_route("/GetPrice", request);
    auto const bumped = call_route("/GetPrice", by_bumps(request));
    ASSERT_TRUE(adjoint.success) << adjoint.log();
    EXPECT_TRUE(adjoint.greek("Vega")["Mean"].isNull());
    EXPECT_NEAR(mean(adjoint, "Delta"), mean(bumped, "Delta"), 1e-3 * mean(bumped, "Delta"));
}

TEST(GetPriceByAdjoints, AModelWithoutPathsIsUneligible) {
    for (char const* name : {"DEFAULT_MODEL", "FREE_MODEL"}) {
        Json::Value request = adjoint_request(c_call);
        request["ModelConfiguration"]["Name"] = name;
        auto const answer = call_route("/GetPrice", request);
        EXPECT_FALSE(answer.success);
        EXPECT_THAT(answer.messages("ERROR"), ElementsAre("Model uneligible for Monte Carlo"))
            << name;
    }
}

TEST(GetPriceByAdjoints, AMissingCorrelationFailsWithAMessage) {
    Json::Value request = adjoint_request(c_worst_of);
    request.removeMember("DataConfiguration");
    for (int const threads : {1, 3}) {
        request["PricerConfiguration"]["MonteCarloNbThreads"] = threads;
        auto const answer = call_route("/GetPrice", request);
        EXPECT_FALSE(answer.success);
        EXPECT_THAT(answer.messages("ERROR"), ::testing::Contains(::testing::StartsWith(
                                                  "Cannot find value for correlation of pair '")));
    }
}

TEST(GetPriceByAdjoints, AQuantoRateThatSortsBeforeItsUnderlyingIsRefusedBeforeAnyPath) {
    // USDGBP paid in EUR is quanto by the rate from GBP to EUR
    std::string more;
    for (char const* ticker : {"EUR", "GBP"})
        more += R"(, {"type": "Currency", "ticker": ")" + std::string(ticker) +
                R"(", "name": "money", "calendar": "dummy", "day_counter": "act_365",)" +
                R"( "forward_rate_affinity_factor": 0.5})";
    for (std::string const rate : {"USDGBP", "GBPEUR"})
        more += R"(, {"type": "ExchangeRateUnderlying", "ticker": ")" + rate +
                R"(", "name": "rate", "base_currency": ")" + rate.substr(0, 3) +
                R"(", "currency": ")" + rate.substr(3) +
                R"(", "fixing_calendar": "dummy", "day_counter": "act_365"},)" +
                R"({"type": "Spot", "ticker": ")" + rate +
                R"(", "date": "2021-05-03", "bid": 0.8, "ask": 0.8},)" +
                R"({"type": "BlackScholesVolatility", "ticker": ")" + rate +
                R"(", "date": "2021-05-03", "value": 10.0})";
    ShareMarket const market(100.0, 0.2, more);
    Json::Value request = market.on(adjoint_request("Pay(Spot(USDGBP,2022-05-03),2022-05-03,EUR)"));
    request["ContractConfiguration"]["PremiumCurrency"] = "EUR";
    for (int const threads : {1, 3}) {
        request["PricerConfiguration"]["MonteCarloNbThreads"] = threads;
        auto const bumped = call_route("/GetPrice", by_bumps(request));
        EXPECT_TRUE(bumped.success) << bumped.log();
        auto const answer = call_route("/GetPrice", request);
        EXPECT_FALSE(answer.success);
        EXPECT_THAT(
            answer.messages("ERROR"),
            ElementsAre("Adjoint differentiation needs a quanto rate that sorts after USDGBP"));
    }
}

TEST(GetPriceByAdjoints, NoTrialGivesNull) {
    auto const answer = call_route("/GetPrice", adjoint_request(c_call, 0));
    ASSERT_TRUE(answer.success) << answer.log();
    EXPECT_TRUE(answer.price()["Mean"].isNull());
}

TEST(GetPriceByAdjoints, AChoiceIsWorthNothingAsInASimulation) {
    auto const answer = call_route(
        "/GetPrice",
        adjoint_request("Either(Putable,2021-11-03)(Pay(Spot(^GSPC,2022-05-03),2022-05-03,USD),"
                        "Pay(Spot(^GSPC,2022-05-03)/2,2022-05-03,USD))"));
    ASSERT_TRUE(answer.success) << answer.log();
    EXPECT_EQ(answer.price()["Mean"].asDouble(), 0.0);
    EXPECT_EQ(mean(answer, "Delta"), 0.0);
}

// Sensitivities of books, per unit of relative spot move. Rates stand in the scripts, time in the
// volatility.
TEST(GetLadderByAdjoints, ThePublishedDeltaOfACallOnAFuture) {
    // Haug, Option Pricing Formulas (1998) p. 11: 105, 100, half a year, 10 %, 36 %: 0.5946 x 105
    Json::Value request = adjoint_request(
        "Pay(Exp(Cst(-0.05))*Max(Spot(^GSPC,2022-05-03)-100,0),2022-05-03,USD)", 200000);
    request["Pricer"]["Ladder"]["LadderKind"] = "MARKET";
    add_plot(request,
             {scenario("spot@^GSPC", 105.0), scenario("volatility@^GSPC", 0.36 * std::sqrt(0.5))});
    auto const answer = call_route("/GetLadder", request);
    ASSERT_TRUE(answer.success) << answer.log();
    double const delta = plot_of(answer, "Ladder", 0)["Delta"][0]["Value"]["Mean"].asDouble();
    EXPECT_NEAR(delta, 62.436, 0.01 * 62.436);
}

TEST(GetLadderByAdjoints, ThePublishedSensitivitiesOfAnExchangeOption) {
    // Haug (1998) p. 52: 22 against 20, yields of 6 and 4 %, half a year, 20 % each, uncorrelated:
    // deltas 0.680 and -0.616; the correlation from the formula of Margrabe:
    // -forward density sqrt(T) v1 v2 / v = -0.7415
    Json::Value request = adjoint_request(
        "Pay(Max(Exp(Cst(-0.03))*Spot(^GSPC,2022-05-03)-Exp(Cst(-0.02))*Spot(^STOXX50E,2022-05-03),"
        "0),2022-05-03,USD)",
        200000);
    request["Pricer"]["Ladder"]["LadderKind"] = "MARKET";
    double const volatility = 0.2 * std::sqrt(0.5);
    add_plot(request, {scenario("spot@^GSPC", 22.0), scenario("spot@^STOXX50E", 20.0),
                       scenario("volatility@^GSPC", volatility),
                       scenario("volatility@^STOXX50E", volatility)});
    auto const answer = call_route("/GetLadder", request);
    ASSERT_TRUE(answer.success) << answer.log();
    auto const& results = plot_of(answer, "Ladder", 0);
    std::map<std::string, double> deltas;
    for (auto const& row : results["Delta"])
        deltas[row["Ticker"].asString()] = row["Value"]["Mean"].asDouble();
    EXPECT_NEAR(deltas.at("^GSPC"), 14.9608, 0.01 * 14.9608);
    EXPECT_NEAR(deltas.at("^STOXX50E"), -12.3112, 0.01 * 12.3112);
    EXPECT_NEAR(results["Cega"][0]["Value"]["Mean"].asDouble(), -0.74148, 0.01 * 0.74148);
}

/// One market and one contract moved, each with its own sensitivities.
TEST(GetLadderByAdjoints, EachPointHasThePriceAndTheSensitivitiesOfItsOwnPricing) {
    for (char const* kind : {"CONTRACT", "MARKET"}) {
        bool const on_contract = std::string(kind) == "CONTRACT";
        Json::Value request = adjoint_request(c_ladder_call);
        request["Pricer"]["Ladder"]["LadderKind"] = kind;
        add_plot(request, {scenario(on_contract ? "strike" : "spot@^GSPC", 4400.0)});
        auto const adjoint = call_route("/GetLadder", request);
        auto const bumped = call_route("/GetLadder", by_bumps(request));
        ASSERT_TRUE(adjoint.success) << adjoint.log();
        ASSERT_TRUE(bumped.success) << bumped.log();
        auto const& actual = plot_of(adjoint, "Ladder", 0);
        auto const& expected = plot_of(bumped, "Ladder", 0);
        EXPECT_NEAR(mean_of(actual), mean_of(expected), 1e-3);
        for (char const* greek : {"Delta", "Vega"}) {
            double const value = expected[greek][0]["Value"]["Mean"].asDouble();
            EXPECT_NEAR(actual[greek][0]["Value"]["Mean"].asDouble(), value, 2e-3 * value) << kind;
        }
    }
}

TEST(GetImpliedContractFeatureByAdjoints, TheRootIsThatOfTheSimulation) {
    std::vector<double> roots;
    for (char const* method : {"MONTE_CARLO", "AUTOMATIC_ADJOINT_DIFFERENTIATION"}) {
        Json::Value request = price_request(c_ladder_call);
        request["PricerConfiguration"]["Method"] = method;
        Json::Value& solver = request["Pricer"]["Solver"];
        solver["Price"] = 300.0;
        Json::Value feature;
        feature["Name"] = "strike";
        feature["Min"] = 3900.0;
        feature["Max"] = 4400.0;
        feature["Precision"] = 11;
        solver["FeaturesToSolve"].append(feature);
        auto const answer = call_route("/GetImpliedContractFeature", request);
        ASSERT_TRUE(answer.success) << answer.log();
        roots.push_back(
            answer.document["Pricer"]["Solver"]["FeaturesToSolve"][0]["Root"].asDouble());
    }
    EXPECT_GT(roots[0], 3900.0);
    EXPECT_NEAR(roots[0], roots[1], 1e-3 * roots[0]);
}

}  // namespace
