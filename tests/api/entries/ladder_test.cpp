// "/GetLadder", "/GetLadder1D" and "/GetLadder2D" end to end on the demonstration data.

#include "api/entries/ladder_call.hpp"

namespace {

using namespace ximAPI::testing;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::StartsWith;

// Published prices, on the demonstration market with all that matters assigned. Rates stand in the
// scripts.
struct Published {
    char const* source;
    char const* script;
    std::vector<std::pair<char const*, double>> market;
    double exact;
};

class PublishedPrices : public ::testing::TestWithParam<Published> {};

TEST_P(PublishedPrices, AreMetByAMarketLadderOfOnePoint) {
    Json::Value request = ladder_request(GetParam().script, "MARKET", 100000);
    request["DataConfiguration"]["SuccessOnCorrelationRequestFailure"] = true;
    add_plot(request, {});
    auto& scenarios = request["Pricer"]["Ladder"]["Plots"][0]["Scenarios"];
    for (auto const& [name, value] : GetParam().market) scenarios.append(scenario(name, value));
    auto const answer = call_route("/GetLadder", request);
    ASSERT_TRUE(answer.success) << answer.log();
    expect_within_errors(plot_of(answer, "Ladder", 0), GetParam().exact);
}

INSTANTIATE_TEST_SUITE_P(
    All, PublishedPrices,
    ::testing::Values(
        Published{"Haug, Option Pricing Formulas (1998), p. 2-8",
                  "Pay(Exp(Cst(-0.02))*Max(Exp(0.02)*Spot(^GSPC,2022-05-03)-65,0),2022-05-03,USD)",
                  {{"spot@^GSPC", 60.0}, {"volatility@^GSPC", 0.15}},
                  2.1333684},
        Published{"Haug (1998), p. 88, cash or nothing",
                  "If(Spot(^GSPC,2022-05-03)<80)(Pay(Exp(Cst(-0.045))*10,2022-05-03,USD),End())",
                  {{"spot@^GSPC", 100.0}, {"volatility@^GSPC", 0.303108891}},
                  2.6710457},
        Published{"Haug (1998), p. 58, call on the larger of two",
                  "Pay(Exp(Cst(-0.025))*Max(Max(Exp(Cst(-0.005))*Spot(^GSPC,2022-05-03),"
                  "Exp(Cst(-0.02))*Spot(^STOXX50E,2022-05-03))-98,0),2022-05-03,USD)",
                  {{"spot@^GSPC", 100.0},
                   {"volatility@^GSPC", 0.0777817459},
                   {"spot@^STOXX50E", 105.0},
                   {"volatility@^STOXX50E", 0.113137085},
                   {"correlation@^GSPC#^STOXX50E", 0.63}},
                  8.0700804},
        Published{"Choi, Sum of all Black-Scholes-Merton models (2018), spread",
                  "Pay(Max(Spot(^GSPC,2022-05-03)-Spot(^STOXX50E,2022-05-03)-100,0),2022-05-03,"
                  "USD)",
                  {{"spot@^GSPC", 200.0},
                   {"volatility@^GSPC", 0.15},
                   {"spot@^STOXX50E", 100.0},
                   {"volatility@^STOXX50E", 0.3},
                   {"correlation@^STOXX50E#^GSPC", 0.1}},
                  16.010219}));

TEST(GetLadder, WithoutPlotsPricesTheCentralPointAlone) {
    for (char const* kind : {"CONTRACT", "MARKET"}) {
        auto const request = ladder_request(c_ladder_call, kind);
        auto const answer = call_route("/GetLadder", request);
        ASSERT_TRUE(answer.success) << answer.log();
        EXPECT_EQ(mean_of(ladder_of(answer, "Ladder")["CentralResult"]),
                  call_route("/GetPrice", request).price()["Mean"].asDouble());
        EXPECT_TRUE(ladder_of(answer, "Ladder")["Plots"].empty());
    }
}

TEST(GetLadder, ItsFrameIsNamedAfterTheInternalFunction) {
    auto const answer = call_route("/GetLadder", ladder_request(c_ladder_call, "MARKET", 10));
    EXPECT_THAT(answer.messages("INFO"),
                Contains(StartsWith("Execution of GetLadderInternal started at ")));
    EXPECT_THAT(answer.messages("SUCCESS"),
                ElementsAre(StartsWith("Execution of GetLadderInternal ended at ")));
    auto const answer_1d = call_route("/GetLadder1D", request_1d("MARKET", "spot@^GSPC", {}, 10));
    EXPECT_THAT(answer_1d.messages("SUCCESS"),
                ElementsAre(StartsWith("Execution of GetLadder1DInternal ended at ")));
    auto const answer_2d = call_route("/GetLadder2D", request_2d("MARKET", "", {}, "", {}));
    EXPECT_THAT(answer_2d.messages("SUCCESS"),
                ElementsAre(StartsWith("Execution of GetLadder2DInternal ended at ")));
}

TEST(GetLadder, AnAbsentKindIsAContractLadder) {
    Json::Value request = ladder_request(c_ladder_call, "CONTRACT");
    request["Pricer"]["Ladder"].removeMember("LadderKind");
    add_plot(request, {scenario("strike", 5000.0)});
    auto const answer = call_route("/GetLadder", request);
    ASSERT_TRUE(answer.success) << answer.log();
    EXPECT_EQ(ladder_of(answer, "Ladder")["LadderKind"].asString(), "CONTRACT");
    EXPECT_LT(mean_of(plot_of(answer, "Ladder", 0)),
              mean_of(ladder_of(answer, "Ladder")["CentralResult"]));
}

TEST(GetLadder, AKindOutsideTheEnumerationFailsWithoutARecord) {
    ximAPI::Data data;
    ximAPI::Contract contract;
    ximAPI::Model model;
    ximAPI::Pricer pricer;
    ximAPI::LadderResults results;
    results.LadderKind = static_cast<ximAPI::LadderKind>(2);
    std::vector<ximAPI::Log> logs;
    EXPECT_FALSE(GetLadder(data, contract, model, pricer, results, logs));
    EXPECT_THAT(logs, IsEmpty());
}

TEST(GetLadder, AFeatureThatTheContractDoesNotHaveGivesTheCentralPrice) {
    Json::Value request = ladder_request(c_ladder_call, "CONTRACT");
    add_plot(request, {scenario("nobody", 1.0)});
    auto const answer = call_route("/GetLadder", request);
    ASSERT_TRUE(answer.success) << answer.log();
    EXPECT_EQ(price_of(plot_of(answer, "Ladder", 0)),
              price_of(ladder_of(answer, "Ladder")["CentralResult"]));
}

TEST(GetLadder, OfTwoScenariosOnOneFeatureTheLastCounts) {
    Json::Value request = ladder_request(c_ladder_call, "CONTRACT");
    add_plot(request, {scenario("strike", 5000.0), scenario("strike", 4300.0)});
    add_plot(request, {scenario("strike", 4300.0)});
    auto const answer = call_route("/GetLadder", request);
    ASSERT_TRUE(answer.success) << answer.log();
    EXPECT_EQ(price_of(plot_of(answer, "Ladder", 0)), price_of(plot_of(answer, "Ladder", 1)));
}

TEST(GetLadder, TheOutputNamesStayAsTheyCame) {
    Json::Value request = ladder_request(c_ladder_call, "MARKET", 10);
    request["Pricer"]["Ladder"]["OutputNames"][0]["Name"] = "mine";
    auto const answer = call_route("/GetLadder", request);
    EXPECT_EQ(ladder_of(answer, "Ladder")["OutputNames"][0]["Name"].asString(), "mine");
}

TEST(GetLadder, EveryPointIsThePriceOfAnotherContract) {
    Json::Value request = ladder_request(c_ladder_call, "CONTRACT");
    add_plot(request, {scenario("strike", 4300.0)});
    add_plot(request, {scenario("strike", 10.0, "HYBRID", "PERCENTAGE")});  // 4565
    for (int const threads : {1, 3}) {
        request["PricerConfiguration"]["MonteCarloNbThreads"] = threads;
        auto const answer = call_route("/GetLadder", request);
        ASSERT_TRUE(answer.success) << answer.log();
        for (Json::ArrayIndex i = 0; i < 2; ++i) {
            auto const alone = call_route(
                "/GetPrice", price_request(std::string("Pay(Max(Spot(^GSPC,2022-05-03)-") +
                                               (i == 0 ? "4300" : "4565") + ",0),2022-05-03,USD)",
                                           2000));
            EXPECT_NEAR(mean_of(plot_of(answer, "Ladder", i)), alone.price()["Mean"].asDouble(),
                        1e-3);
        }
    }
}

TEST(GetLadder, GreeksComeWithEveryPoint) {
    for (char const* kind : {"CONTRACT", "MARKET"}) {
        Json::Value request = ladder_request(c_ladder_call, kind);
        add_plot(request, {scenario("spot@^GSPC", 5000.0), scenario("strike", 3000.0)});
        request["PricerConfiguration"]["WithGreeks"] = true;
        request["PricerConfiguration"]["ComputeDelta"] = true;
        request["PricerConfiguration"]["DeltaSpotBump"] = 100;
        auto const answer = call_route("/GetLadder", request);
        if (std::string(kind) == "MARKET") {
            EXPECT_FALSE(answer.success);  // "strike" has no '@'
            continue;
        }
        ASSERT_TRUE(answer.success) << answer.log();
        auto const delta = [&](Json::Value const& results) {
            return results["Delta"][0]["Value"]["Mean"].asDouble();
        };
        EXPECT_GT(delta(plot_of(answer, "Ladder", 0)),
                  1.3 * delta(ladder_of(answer, "Ladder")["CentralResult"]));
    }
}

TEST(GetLadder1D, ASpotLadderOfACallFollowsTheFormula) {
    auto const answer = call_route(
        "/GetLadder1D", request_1d("MARKET", "spot@^GSPC", {3500.0, 4000.0, 4500.0}, 50000));
    ASSERT_TRUE(answer.success) << answer.log();
    expect_within_errors(ladder_of(answer, "Ladder1D")["CentralResult"],
                         call_formula(c_gspc, 4150.0, c_volatility));
    for (Json::ArrayIndex i = 0; i < 3; ++i)
        expect_within_errors(plot_of(answer, "Ladder1D", i),
                             call_formula(3500.0 + 500.0 * i, 4150.0, c_volatility));
}

TEST(GetLadder1D, AStrikeLadderOfACallFollowsTheFormula) {
    auto const answer = call_route(
        "/GetLadder1D", request_1d("CONTRACT", "strike", {3500.0, 4000.0, 4500.0}, 50000));
    ASSERT_TRUE(answer.success) << answer.log();
    for (Json::ArrayIndex i = 0; i < 3; ++i)
        expect_within_errors(plot_of(answer, "Ladder1D", i),
                             call_formula(c_gspc, 3500.0 + 500.0 * i, c_volatility));
}

TEST(GetLadder1D, TheDataRecordIsAlsoWrittenUnderData) {
    Json::Value request = request_1d("CONTRACT", "strike", {}, 10);
    request["DataConfiguration"]["SuccessOnCorrelationRequestFailure"] = true;
    request["Data"]["Mine"] = 1;
    auto const answer = call_route("/GetLadder1D", request);
    ASSERT_TRUE(answer.success) << answer.log();
    EXPECT_EQ(answer.document["Data"]["Mine"].asInt(), 1);
    Json::Value written = answer.document["Data"];
    written.removeMember("Mine");
    EXPECT_EQ(written, answer.document["DataConfiguration"]);
    EXPECT_TRUE(written["SuccessOnCorrelationRequestFailure"].asBool());
    EXPECT_FALSE(
        call_route("/GetLadder2D", request_2d("MARKET", "", {}, "", {})).document.isMember("Data"));
}

TEST(GetLadder1D, AFailureWritesNeither) {
    Json::Value request = request_1d("MARKET", "spot", {1.0}, 10);
    auto const answer = call_route("/GetLadder1D", request);
    EXPECT_FALSE(answer.success);
    EXPECT_FALSE(answer.document.isMember("Data"));
    EXPECT_EQ(answer.document["Pricer"], request["Pricer"]);
}

TEST(GetLadder2D, EveryCellHasBothShifts) {
    auto const answer = call_route(
        "/GetLadder2D",
        request_2d("MARKET", "spot@^GSPC", {4000.0, 4200.0}, "volatility@^GSPC", {0.1, 0.2, 0.3}));
    ASSERT_TRUE(answer.success) << answer.log();
    auto const& plots = ladder_of(answer, "Ladder2D")["Plots"];
    ASSERT_EQ(plots["Rows"].size(), 2U);
    ASSERT_EQ(plots["Cols"].size(), 3U);
    for (Json::ArrayIndex i = 0; i < 2; ++i)
        for (Json::ArrayIndex j = 0; j < 3; ++j)
            expect_within_errors(plots["Data"][i][j]["Results"],
                                 call_formula(4000.0 + 200.0 * i, 4150.0, 0.1 * (j + 1)));
}

TEST(GetLadder2D, OneFeatureOnBothAxesTakesTheSecond) {
    auto const answer = call_route(
        "/GetLadder2D", request_2d("CONTRACT", "strike", {3000.0, 4000.0}, "strike", {4150.0}));
    ASSERT_TRUE(answer.success) << answer.log();
    auto const& ladder = ladder_of(answer, "Ladder2D");
    for (Json::ArrayIndex i = 0; i < 2; ++i)
        EXPECT_EQ(price_of(ladder["Plots"]["Data"][i][0]["Results"]),
                  price_of(ladder["CentralResult"]));
}

TEST(GetLadder2D, AnAxisWithoutValuesLeavesTheCentralPointAlone) {
    auto const without_second =
        call_route("/GetLadder2D", request_2d("CONTRACT", "strike", {1.0, 2.0}, "strike", {}));
    ASSERT_TRUE(without_second.success) << without_second.log();
    auto const& first = ladder_of(without_second, "Ladder2D");
    EXPECT_GT(mean_of(first["CentralResult"]), 0.0);
    EXPECT_EQ(first["Plots"]["Rows"].size(), 2U);
    EXPECT_TRUE(first["Plots"]["Cols"].empty());
    EXPECT_TRUE(first["Plots"]["Data"].empty());

    auto const without_first =
        call_route("/GetLadder2D", request_2d("MARKET", "spot", {}, "spot", {1.0, 2.0, 3.0}));
    ASSERT_TRUE(without_first.success) << without_first.log();
    auto const& second = ladder_of(without_first, "Ladder2D");
    EXPECT_TRUE(second["Plots"]["Rows"].empty());
    EXPECT_EQ(second["Plots"]["Cols"].size(), 3U);
    EXPECT_TRUE(second["Plots"]["Data"].empty());
}

TEST(GetLadder, WorksOnFiniteDifferencesToo) {
    for (char const* kind : {"CONTRACT", "MARKET"}) {
        bool const on_contract = std::string(kind) == "CONTRACT";
        Json::Value request = ladder_request(c_ladder_call, kind);
        request["PricerConfiguration"]["Method"] = "FINITE_DIFFERENCE";
        request["PricerConfiguration"]["FiniteDifferenceTimeStep"] = 2;
        request["PricerConfiguration"]["FiniteDifferenceExplicitRate"] = 50;
        request["PricerConfiguration"]["FiniteDifferenceBoundaryCondition"] = "DIRICHLET";
        request["ModelConfiguration"]["BlackScholesFiniteDifferenceGridSize"] = 400;
        request["ModelConfiguration"]["BlackScholesFiniteDifferenceConfidenceLevel"] = 0.9999;
        request["PricerConfiguration"]["WithGreeks"] = true;
        request["PricerConfiguration"]["ComputeDelta"] = true;
        request["PricerConfiguration"]["DeltaSpotBump"] = 100;
        for (double const x : {3900.0, 4400.0})
            add_plot(request, {scenario(on_contract ? "strike" : "spot@^GSPC", x)});
        auto const answer = call_route("/GetLadder", request);
        ASSERT_TRUE(answer.success) << answer.log();
        EXPECT_NEAR(mean_of(ladder_of(answer, "Ladder")["CentralResult"]),
                    call_formula(c_gspc, 4150.0, c_volatility), 1.0);
        for (Json::ArrayIndex i = 0; i < 2; ++i) {
            double const x = 3900.0 + 500.0 * i;
            double const spot = on_contract ? c_gspc : x;
            double const strike = on_contract ? x : 4150.0;
            auto const& results = plot_of(answer, "Ladder", i);
            EXPECT_NEAR(mean_of(results), call_formula(spot, strike, c_volatility), 1.0);
            double const delta =
                spot * cumulative(std::log(spot / strike) / c_volatility + 0.5 * c_volatility);
            EXPECT_NEAR(results["Delta"][0]["Value"]["Mean"].asDouble(), delta, 0.01 * delta);
        }
    }
}

}  // namespace
