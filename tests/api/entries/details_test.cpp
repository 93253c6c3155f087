// "/GetMCPriceWithDetails": the anatomy of a simulation, from the JSON document to the answer.

#include <cmath>

#include "api/share_market.hpp"
#include "support/plain_simulation.hpp"
#include "support/precompiled.hpp"

namespace {

using namespace ximAPI::testing;
using ::testing::Contains;
using ::testing::ElementsAre;
using ximCORE::Testing::PlainSimulation;

constexpr int c_trials = 2000;
constexpr double c_first = 184.0 / 365.0;   // 2021-11-03
constexpr double c_second = 365.0 / 365.0;  // 2022-05-03
/// 104 at 105 or above after half a year, else 100 at 80 or above after a year, else the share.
constexpr char const* c_autocall =
    "If(Spot(AAA,2021-11-03)>=105)(Pay(104,2021-11-03,USD),"
    "If(Spot(AAA,2022-05-03)>=80)(Pay(100,2022-05-03,USD),"
    "Receive(100-Spot(AAA,2022-05-03),2022-05-03,USD)))";

Json::Value details_request(std::string const& script, int convergence_size = 10) {
    Json::Value request = price_request(script, c_trials);
    request["PricerConfiguration"]["MonteCarloAntitheticFactor"] = 0;
    request["ModelConfiguration"]["BlackScholesCalibrationKind"] = "MANUAL";
    request["Pricer"]["MCDetails"]["ConvergenceSize"] = convergence_size;
    return request;
}

Json::Value const& details(RouteAnswer const& answer) {
    return answer.document["Pricer"]["MCDetails"];
}

/// Plain observations of the paths of the request.
struct Counts {
    std::vector<double> values;
    std::vector<double> late;  ///< the share after a year, on the paths that get there
    double called{0.0};
    double whole{0.0};
};

Counts count(std::size_t trials) {
    Counts counts;
    PlainSimulation plain;
    plain.times = {c_first, c_second};
    plain.payoff = [&counts](std::vector<std::vector<double>> const& paths) {
        double const half = paths[0][0];
        double const late = paths[0][1];
        if (half >= 105.0) {
            counts.called += 1.0;
            return 104.0;
        }
        counts.late.push_back(late);
        if (late >= 80.0) counts.whole += 1.0;
        return late >= 80.0 ? 100.0 : late - 100.0;
    };
    plain.draw(23051994, trials, 1);
    counts.values =
        plain.values({.spots = {100.0}, .volatilities = {0.25}, .correlations = {{1.0}}});
    return counts;
}

void expect_mean(Json::Value const& result, double mean) {
    EXPECT_NEAR(result["Mean"].asDouble(), mean, 1e-5 * (1.0 + std::abs(mean)));
}

TEST(GetMCPriceWithDetails, EverythingAgreesWithCountsOfAPlainSimulation) {
    ShareMarket const market(100.0, 0.25);
    Counts const counts = count(c_trials);
    double const called = counts.called / c_trials;
    for (int const threads : {1, 3}) {
        SCOPED_TRACE(threads);
        Json::Value request = market.on(details_request(c_autocall));
        request["PricerConfiguration"]["MonteCarloNbThreads"] = threads;
        auto const answer = call_route("/GetMCPriceWithDetails", request);
        ASSERT_TRUE(answer.success) << answer.log();
        Json::Value const& first = details(answer)["Decomposition"][0];
        Json::Value const& second = details(answer)["Decomposition"][1];
        ASSERT_EQ(details(answer)["Decomposition"].size(), 2U);
        EXPECT_EQ(first["Date"].asString(), "2021-11-03");
        EXPECT_EQ(second["Date"].asString(), "2022-05-03");
        expect_mean(first["Price"], 104.0 * called);
        expect_mean(second["Price"], ximCORE::Testing::mean(counts.values) - 104.0 * called);
        expect_mean(first["ProbaExists"], 100.0 * called);
        expect_mean(first["ProbaIsKilled"], 100.0 * called);
        expect_mean(first["ProbaHasBeenKilled"], 100.0 * called);
        expect_mean(second["ProbaExists"], 100.0 * (1.0 - called));
        expect_mean(second["ProbaPositive"], 100.0 * counts.whole / c_trials);
        expect_mean(second["ProbaIsKilled"], 100.0 * (1.0 - called));
        expect_mean(second["ProbaHasBeenKilled"], 100.0);
        EXPECT_NEAR(first["ProbaIsKilled"]["Stddev"].asDouble(),
                    100.0 * std::sqrt(called * (1.0 - called) / (c_trials - 1.0)), 1e-4);
        expect_mean(details(answer)["Duration"], c_first * called + c_second * (1.0 - called));

        Json::Value const& fixings = details(answer)["ForwardFixings"];
        ASSERT_EQ(fixings.size(), 2U);
        EXPECT_EQ(fixings[1]["FixingDate"].asString(), "2022-05-03");
        EXPECT_EQ(fixings[1]["Ticker"].asString(), "AAA");
        EXPECT_EQ(fixings[1]["Currency"].asString(), "USD");
        expect_mean(fixings[1]["Value"], ximCORE::Testing::mean(counts.late));

        Json::Value const& barriers = details(answer)["Barriers"];
        ASSERT_EQ(barriers.size(), 2U);
        EXPECT_EQ(barriers[0]["EventDate"].asString(), "2021-11-03");
        EXPECT_EQ(barriers[0]["EventScript"].asString(), R"(Spot("AAA", "2021-11-03") >= 105)");
        expect_mean(barriers[0]["ProbaIn"], called);  // a fraction
        expect_mean(barriers[1]["ProbaIn"], counts.whole / static_cast<double>(counts.late.size()));
    }
}

// Relied on: a point is numbered by its last trial, counted from 0
TEST(GetMCPriceWithDetails, ConvergencePointsAreRunningStatistics) {
    ShareMarket const market(100.0, 0.25);
    Counts const counts = count(c_trials);
    auto const answer =
        call_route("/GetMCPriceWithDetails", market.on(details_request(c_autocall, 100)));
    ASSERT_TRUE(answer.success) << answer.log();
    Json::Value const& points = details(answer)["Convergence"];
    ASSERT_EQ(points.size(), 20U);  // 2000 / 100 = 20: steps of 100
    for (Json::ArrayIndex k = 0; k < points.size(); ++k) {
        EXPECT_EQ(points[k]["Trials"].asUInt(), 100 * k);
        std::vector<double> const first(counts.values.begin(),
                                        counts.values.begin() + 100 * static_cast<long>(k) + 1);
        expect_mean(points[k]["Result"], ximCORE::Testing::mean(first));
        if (k == 0) continue;
        EXPECT_NEAR(points[k]["Result"]["Stddev"].asDouble(),
                    ximCORE::Testing::standard_error(first), 1e-4);
    }
    EXPECT_EQ(points[0]["Result"]["Stddev"].asDouble(), 0.0);
}

// Relied on: the step is above the plain quotient, so that fewer points come than asked for
TEST(GetMCPriceWithDetails, ConvergenceIsThinnedByPowersOfTen) {
    ShareMarket const market(100.0, 0.25);
    struct Case {
        int trials, size;
        unsigned points, step;
    };
    // trials | size | points | step
    for (auto const& [trials, size, points, step] : std::vector<Case>{{2000, 5000, 2000, 1},
                                                                      {2000, 2001, 2000, 1},
                                                                      {2000, 2000, 200, 10},
                                                                      {2000, 201, 200, 10},
                                                                      {2000, 200, 20, 100},
                                                                      {2000, 10, 2, 1000},
                                                                      {2000, 2, 1, 10000},
                                                                      {1999, 200, 200, 10},
                                                                      {1, 1, 1, 10},
                                                                      {0, 10, 0, 1},
                                                                      {2000, 0, 0, 1},
                                                                      {2000, -3, 0, 1}}) {
        Json::Value request = market.on(details_request(c_autocall, size));
        request["PricerConfiguration"]["MonteCarloTrials"] = trials;
        auto const answer = call_route("/GetMCPriceWithDetails", request);
        ASSERT_TRUE(answer.success) << answer.log();
        Json::Value const& got = details(answer)["Convergence"];
        ASSERT_EQ(got.size(), points) << trials << " " << size;
        for (Json::ArrayIndex k = 0; k < got.size(); ++k)
            ASSERT_EQ(got[k]["Trials"].asUInt(), step * k) << trials << " " << size;
    }
}

TEST(GetMCPriceWithDetails, AFixingThatIsNeverReachedIsNull) {
    ShareMarket const market(100.0, 0.25);
    auto const answer =
        call_route("/GetMCPriceWithDetails",
                   market.on(details_request("If(Spot(AAA,2021-11-03)>0)(Pay(1,2021-11-03,USD),"
                                             "Pay(Spot(AAA,2022-05-03),2022-05-03,USD))")));
    ASSERT_TRUE(answer.success) << answer.log();
    Json::Value const& fixings = details(answer)["ForwardFixings"];
    ASSERT_EQ(fixings.size(), 2U);
    EXPECT_TRUE(fixings[1]["Value"]["Mean"].isNull());
    EXPECT_FALSE(fixings[0]["Value"]["Mean"].isNull());
}

TEST(GetMCPriceWithDetails, WhatCameInWithTheRequestIsReplaced) {
    ShareMarket const market(100.0, 0.25);
    Json::Value request = market.on(details_request(c_autocall));
    for (char const* list : {"Decomposition", "ForwardFixings", "Barriers", "Convergence"}) {
        request["Pricer"]["MCDetails"][list].append(Json::Value(Json::objectValue));
    }
    auto const answer = call_route("/GetMCPriceWithDetails", request);
    ASSERT_TRUE(answer.success) << answer.log();
    EXPECT_EQ(details(answer)["Decomposition"].size(), 2U);
    EXPECT_EQ(details(answer)["ForwardFixings"].size(), 2U);
    EXPECT_EQ(details(answer)["Barriers"].size(), 2U);
    EXPECT_EQ(details(answer)["Convergence"].size(), 2U);
    EXPECT_EQ(details(answer)["ConvergenceSize"].asInt(), 10);
}

TEST(GetMCPriceWithDetails, ThePriceIsThatOfTheSimulationWhateverTheMethod) {
    ShareMarket const market(100.0, 0.25);
    Json::Value request = market.on(details_request(c_autocall, 2001));
    auto const price = call_route("/GetPrice", request);
    ASSERT_TRUE(price.success) << price.log();
    for (char const* method : {"MONTE_CARLO", "FINITE_DIFFERENCE", "STATIC_REPLICATION",
                               "AUTOMATIC_ADJOINT_DIFFERENTIATION"}) {
        request["PricerConfiguration"]["Method"] = method;
        auto const answer = call_route("/GetMCPriceWithDetails", request);
        ASSERT_TRUE(answer.success) << answer.log();
        Json::Value const& last = details(answer)["Convergence"][c_trials - 1];
        EXPECT_FLOAT_EQ(last["Result"]["Mean"].asFloat(), price.price()["Mean"].asFloat());
        EXPECT_EQ(answer.document["PricerConfiguration"]["Method"].asString(), method);
    }
}

TEST(GetMCPriceWithDetails, IncompleteMarketDataIsTrueWithoutResults) {
    ShareMarket const market(100.0, 0.25);
    std::string const script =
        "If(Spot(UNKNOWN,2022-05-03)>10)(Pay(Spot(AAA,2022-05-03),2022-05-03,USD),"
        "Pay(1,2022-05-03,USD))";
    auto const unknown = call_route("/GetMCPriceWithDetails", market.on(details_request(script)));
    EXPECT_FALSE(unknown.messages("ERROR").empty()) << unknown.log();

    // an underlying with everything but a spot
    ShareMarket const unquoted(100.0, 0.25,
                               R"(,{"type": "ShareUnderlying", "ticker": "BBB", "name": "B",)"
                               R"( "currency": "USD", "fixing_calendar": "dummy",)"
                               R"( "day_counter": "act_365"})");
    Json::Value request = unquoted.on(details_request("Pay(Spot(BBB,2022-05-03),2022-05-03,USD)"));
    auto const answer = call_route("/GetMCPriceWithDetails", request);
    EXPECT_TRUE(answer.success) << answer.log();
    EXPECT_FALSE(answer.messages("ERROR").empty());
    EXPECT_EQ(details(answer)["Decomposition"].size(), 0U);
    EXPECT_EQ(details(answer)["ForwardFixings"].size(), 0U);
    EXPECT_EQ(details(answer)["Barriers"].size(), 0U);
    EXPECT_EQ(details(answer)["Convergence"].size(), 0U);
    EXPECT_EQ(details(answer)["Duration"]["Mean"].asDouble(), 0.0);
}

TEST(GetMCPriceWithDetails, BadInputIsRefusedByItsName) {
    ShareMarket const market(100.0, 0.25);
    // member of the document | value | message
    auto const refused = [&](char const* outer, char const* member, Json::Value const& value) {
        Json::Value request = market.on(details_request(c_autocall));
        request[outer][member] = value;
        auto const answer = call_route("/GetMCPriceWithDetails", request);
        EXPECT_FALSE(answer.success) << member;
        EXPECT_EQ(details(answer), details_request(c_autocall)["Pricer"]["MCDetails"]);
        return answer;
    };
    EXPECT_THAT(refused("PricerConfiguration", "MonteCarloTrials", -1).messages("ERROR"),
                ElementsAre("Invalid MonteCarloTrials"));
    EXPECT_THAT(refused("ModelConfiguration", "Name", "FREE_MODEL").messages("ERROR"),
                ElementsAre("Model uneligible for Monte Carlo"));
    EXPECT_THAT(refused("ModelConfiguration", "Name", "HESTON_STOCHASTIC_VOLATILITY_MODEL")
                    .messages("ERROR"),
                ElementsAre("Unknown model"));
    EXPECT_THAT(refused("PricerConfiguration", "MonteCarloNbThreads", 0).messages("ERROR"),
                ElementsAre("Monte Carlo without threads"));
    EXPECT_FALSE(refused("ContractConfiguration", "Date", "2021-13-45").messages("ERROR").empty());
}

TEST(GetMCPriceWithDetails, AConditionWithASquareRootHasNoText) {
    ShareMarket const market(100.0, 0.25);
    Json::Value const request = market.on(details_request(
        "If(Sqr(Spot(AAA,2022-05-03))>10)(Pay(1,2022-05-03,USD),Pay(2,2022-05-03,USD))"));
    EXPECT_TRUE(call_route("/GetPrice", request).success);
    auto const answer = call_route("/GetMCPriceWithDetails", request);
    EXPECT_FALSE(answer.success);
    EXPECT_THAT(answer.messages("EXCEPTION"), ElementsAre(::testing::HasSubstr("Unknown error")));
}

TEST(GetMCPriceWithDetails, AMissingPastFixingIsRefused) {
    ShareMarket const market(100.0, 0.25);
    auto const answer = call_route(
        "/GetMCPriceWithDetails",
        market.on(
            details_request("Pay(Spot(AAA,2022-05-03)/Spot(AAA,2021-04-01),2022-05-03,USD)")));
    EXPECT_FALSE(answer.success);
    EXPECT_THAT(answer.messages("ERROR"), Contains("Cannot find fixing")) << answer.log();
}

TEST(GetMCPriceWithDetails, AnEmptyDocumentIsRefused) {
    auto const answer = call_route("/GetMCPriceWithDetails", Json::Value(Json::objectValue));
    EXPECT_FALSE(answer.success);
    EXPECT_FALSE(answer.messages("ERROR").empty() && answer.messages("EXCEPTION").empty());
}

TEST(GetMCPriceWithDetails, AContractThatIsOverHasNoPayments) {
    ShareMarket const market(100.0, 0.25);
    auto const answer =
        call_route("/GetMCPriceWithDetails", market.on(details_request("Pay(100,2021-05-01,USD)")));
    ASSERT_TRUE(answer.success) << answer.log();
    EXPECT_EQ(details(answer)["Decomposition"].size(), 0U);
    EXPECT_TRUE(details(answer)["Duration"]["Mean"].isNull());
    EXPECT_EQ(details(answer)["Convergence"][0]["Result"]["Mean"].asDouble(), 0.0);
}

}  // namespace
