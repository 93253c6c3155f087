// "/GetModelDiffusion": a basket along one simulated path, from a file of observations.

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <fstream>

#include "api/share_market.hpp"
#include "core/modeling/mc_helper.hpp"
#include "core/pricing/options.hpp"
#include "support/plain_simulation.hpp"
#include "support/precompiled.hpp"
#include "ximAPI/observable.hpp"

namespace {

using namespace ximAPI::testing;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ximCORE::Modeling::MCHelper;
using ximCORE::Pricing::MCPricerOptions;
using ximCORE::Testing::PlainSimulation;

constexpr std::uint64_t c_trials = 40;
/// AAA at 100 with 25 %, BBB at 80 with 50 %, correlated by 0.5: numbers without rounding.
constexpr char const* c_second_share =
    R"(,{"type": "ShareUnderlying", "ticker": "BBB", "name": "B", "currency": "USD",)"
    R"( "fixing_calendar": "dummy", "day_counter": "act_365"},)"
    R"({"type": "Spot", "ticker": "BBB", "date": "2021-05-03", "bid": 80, "ask": 80},)"
    R"({"type": "BlackScholesVolatility", "ticker": "BBB", "date": "2021-05-03", "value": 50},)"
    R"({"type": "Correlation", "first": "AAA", "second": "BBB", "date": "2021-05-03", "value": 50})";

struct Dated {
    char const* text;
    std::int64_t epoch;  ///< seconds since 1970-01-01
    double years;
};
/// Every second month from the calibration date, which is in the past.
std::vector<Dated> const c_dates{{"2021-05-03", 1620000000, 0.0},
                                 {"2021-07-03", 1625270400, 61.0 / 365.0},
                                 {"2021-09-03", 1630627200, 123.0 / 365.0},
                                 {"2021-11-03", 1635897600, 184.0 / 365.0}};

/// The settings that the route reads without a record of its own, put back at the end.
class GetModelDiffusion : public ::testing::Test {
 protected:
    GetModelDiffusion()
        : path(::testing::TempDir() + "xim_path_" + std::to_string(::getpid()) + ".txt") {
        MCPricerOptions::s_options.trials = c_trials;
        MCHelper::s_seed = 1234567;
    }
    ~GetModelDiffusion() override {
        MCPricerOptions::s_options = {};
        MCHelper::s_seed = 23051994;
        std::remove(path.c_str());
    }
    GetModelDiffusion(GetModelDiffusion const&) = delete;
    GetModelDiffusion& operator=(GetModelDiffusion const&) = delete;

    /// Saves 60 % of AAA and 40 % of BBB over their levels at the start.
    void save_basket(ximAPI::BasketKind kind = ximAPI::BasketKind::BASKET,
                     char const* start = "2021-05-03") const {
        ximAPI::BasketObservable basket;
        basket.Basket = {{"AAA", 60.0F}, {"BBB", 40.0F}};
        basket.BasketKind = kind;
        basket.ForwardStartDate = start;
        std::vector<ximDSL::Observation> observations;
        for (auto const& date : c_dates)
            observations.emplace_back(date.text, GetBasketPerformance(basket, date.text));
        ASSERT_TRUE(ximDSL::Save(observations, path));
    }

    Json::Value request(int trajectory) const {
        Json::Value result;
        result["ModelConfiguration"]["Name"] = "BLACK_SCHOLES_MODEL";
        result["ModelConfiguration"]["CalibrationDate"] = "2021-05-03";
        result["ModelConfiguration"]["BlackScholesCalibrationKind"] = "MANUAL";
        Json::Value& diffusion = result["Model"]["Diffusion"];
        diffusion["File"] = path;
        diffusion["Currency"] = "USD";
        diffusion["Trajectory"] = trajectory;
        return result;
    }
    RouteAnswer call(Json::Value const& asked) const {
        return call_route("/GetModelDiffusion", market.on(asked));
    }
    static std::vector<double> values(RouteAnswer const& answer) {
        EXPECT_TRUE(answer.success) << answer.log();
        std::vector<double> result;
        for (auto const& point : answer.document["Model"]["Diffusion"]["Series"])
            result.push_back(point["Value"].asDouble());
        return result;
    }

    /// The performances of both shares along all paths: [path][date][share].
    static std::vector<std::vector<std::array<double, 2>>> plain_paths() {
        std::vector<std::vector<std::array<double, 2>>> result;
        PlainSimulation plain;
        for (auto const& date : c_dates)
            if (date.years > 0.0) plain.times.push_back(date.years);
        plain.payoff = [&result](auto const& levels) {
            auto& path_of_trial = result.emplace_back();
            path_of_trial.push_back({1.0, 1.0});
            for (std::size_t k = 0; k < levels[0].size(); ++k)
                path_of_trial.push_back({levels[0][k] / 100.0, levels[1][k] / 80.0});
            return 0.0;
        };
        plain.draw(MCHelper::s_seed, c_trials, 2);
        std::ignore = plain.values({.spots = {100.0, 80.0},
                                    .volatilities = {0.25, 0.5},
                                    .correlations = {{1.0, 0.5}, {0.5, 1.0}}});
        return result;
    }

    ShareMarket market{100.0, 0.25, c_second_share};
    std::string path;
};

TEST_F(GetModelDiffusion, APathIsThatOfAPlainSimulation) {
    save_basket();
    auto const paths = plain_paths();
    for (int const trajectory : {0, 1, 17, 39}) {
        SCOPED_TRACE(trajectory);
        auto const answer = call(request(trajectory));
        ASSERT_TRUE(answer.success) << answer.log();
        Json::Value const& series = answer.document["Model"]["Diffusion"]["Series"];
        ASSERT_EQ(series.size(), c_dates.size());
        for (Json::ArrayIndex k = 0; k < series.size(); ++k) {
            EXPECT_EQ(series[k]["Date"].asString(), c_dates[k].text);
            EXPECT_EQ(series[k]["Epoch"].asInt64(), c_dates[k].epoch);
            auto const& [a, b] = paths[static_cast<std::size_t>(trajectory)][k];
            EXPECT_NEAR(series[k]["Value"].asDouble(), 0.6 * a + 0.4 * b, 1e-6);
        }
    }
}

TEST_F(GetModelDiffusion, TheWorstOfABasketFollowsItsSmallestPerformance) {
    save_basket(ximAPI::BasketKind::WORST_OF);
    auto const paths = plain_paths();
    auto const got = values(call(request(5)));
    ASSERT_EQ(got.size(), c_dates.size());
    for (std::size_t k = 0; k < got.size(); ++k)
        EXPECT_NEAR(got[k], std::min(paths[5][k][0], paths[5][k][1]), 1e-6);
}

TEST_F(GetModelDiffusion, SeedAndTrajectoryDecideThePath) {
    save_basket();
    auto const first = values(call(request(3)));
    EXPECT_EQ(values(call(request(3))), first);
    EXPECT_NE(values(call(request(4))), first);
    MCHelper::s_seed = 7654321;
    EXPECT_NE(values(call(request(3))), first);
    MCHelper::s_seed = 1234567;
    MCPricerOptions::s_options.trials = 4;  // the same path of a shorter run
    EXPECT_EQ(values(call(request(3))), first);
}

TEST_F(GetModelDiffusion, SeedAndTrialsStayAsTheLastPricingLeftThem) {
    save_basket();
    Json::Value pricing = price_request("Pay(Spot(AAA,2021-11-03),2021-11-03,USD)", 6);
    pricing["PricerConfiguration"]["MonteCarloSeed"] = 99;
    ASSERT_TRUE(call_route("/GetPrice", market.on(pricing)).success);
    auto const got = values(call(request(5)));
    EXPECT_FALSE(call(request(6)).success);
    MCHelper::s_seed = 99;
    MCPricerOptions::s_options.trials = c_trials;
    EXPECT_EQ(values(call(request(5))), got);
}

TEST_F(GetModelDiffusion, OtherModelsWithPathsAnswerToo) {
    save_basket();
    auto asked = request(2);
    asked["ModelConfiguration"]["Name"] = "BLACK_SCHOLES_TERM_STRUCTURE_MODEL";
    asked["DataConfiguration"]["SuccessOnVolatilityRequestFailure"] = true;
    auto const answer = call(asked);
    if (answer.success) {  // it needs a volatility surface, which this market does not have
        EXPECT_EQ(values(answer).size(), c_dates.size());
    } else {
        EXPECT_FALSE(answer.messages("ERROR").empty()) << answer.log();
    }
}

TEST_F(GetModelDiffusion, AnswersOnTheDemonstrationData) {
    ximAPI::BasketObservable basket;
    basket.Basket = {{"^GSPC", 50.0F}, {"^STOXX50E", 50.0F}};
    basket.ForwardStartDate = "2021-05-03";
    ASSERT_TRUE(
        ximDSL::Save({{"2021-08-03", ximAPI::GetBasketPerformance(basket, "2021-08-03")}}, path));
    auto asked = request(0);
    asked["Model"]["Diffusion"]["Currency"] = "EUR";
    asked["DataConfiguration"]["SuccessOnCorrelationRequestFailure"] = true;  // of a later day
    auto const answer = call_route("/GetModelDiffusion", asked);
    ASSERT_TRUE(answer.success) << answer.log();
    auto const got = values(answer);
    ASSERT_EQ(got.size(), 1U);
    EXPECT_GT(got[0], 0.5);
    EXPECT_LT(got[0], 2.0);
}

TEST_F(GetModelDiffusion, WhatCameInIsReplacedAndTheRestKept) {
    save_basket();
    auto asked = request(1);
    asked["Model"]["Diffusion"]["Series"][0]["Date"] = "old";
    auto const answer = call(asked);
    EXPECT_EQ(values(answer).size(), c_dates.size());
    Json::Value const& diffusion = answer.document["Model"]["Diffusion"];
    EXPECT_EQ(diffusion["File"].asString(), path);
    EXPECT_EQ(diffusion["Currency"].asString(), "USD");
    EXPECT_EQ(diffusion["Trajectory"].asInt(), 1);
}

TEST_F(GetModelDiffusion, AnUnreadableFileIsRefused) {
    auto asked = request(0);
    asked["Model"]["Diffusion"]["File"] = "/nowhere/path.txt";
    EXPECT_THAT(call(asked).messages("ERROR"), ElementsAre("Cannot find file/nowhere/path.txt"));
    // text of the file | message
    std::vector<std::pair<char const*, char const*>> const files{
        {"", "Observable empty"},
        {"hello", "Observable empty"},
        {"0 0 0 0\n", "Observable empty"},
        {"0 1 0 0\na 0 27 1\n", "Observable empty"},
        {"0 1 0 0\na 0 27 1\no 0 0 2021-05-03,1\n", "Cannot read contract"},
        {"0 1 0 0\na 0 27 1\no 1 0 2021-05-03,0\n", "Cannot read contract"},
        {"0 2 0 0\na 0 27 1\no 0 0 2021-05-03,0\n", "Cannot read contract"},
        {"0 1 0 0\na 0 99 1\no 0 0 2021-05-03,0\n", "Cannot read contract"},
        {"0 1 0 0\na 0 0 0,0\no 0 0 2021-05-03,0\n", "Cannot read contract"}};
    for (auto const& [text, message] : files) {
        std::ofstream(path) << text;
        auto const answer = call(request(0));
        EXPECT_FALSE(answer.success) << text;
        EXPECT_THAT(answer.messages("ERROR"), ElementsAre(message)) << text;
    }
}

TEST_F(GetModelDiffusion, AConstantNeedsNoPath) {
    std::ofstream(path) << "0 1 0 0\na 0 27 1.5\no 0 0 2022-05-03,0\n";
    EXPECT_THAT(values(call(request(0))), ElementsAre(1.5));
}

TEST_F(GetModelDiffusion, ATrajectoryOutsideTheRunIsRefused) {
    save_basket();
    auto const negative = call(request(-1));
    EXPECT_FALSE(negative.success);
    EXPECT_THAT(negative.messages("ERROR"), ElementsAre("Invalid Trajectory"));
    for (int const trajectory : {static_cast<int>(c_trials), 1000000000}) {
        auto const answer = call(request(trajectory));
        EXPECT_FALSE(answer.success);
        EXPECT_EQ(answer.messages("EXCEPTION").size(), 1U) << answer.log();
        EXPECT_TRUE(answer.document["Model"]["Diffusion"]["Series"].isNull());
    }
}

TEST_F(GetModelDiffusion, AnUnknownCurrencyIsRefused) {
    save_basket();
    for (char const* currency : {"ZZZ", ""}) {
        auto asked = request(0);
        asked["Model"]["Diffusion"]["Currency"] = currency;
        auto const answer = call(asked);
        EXPECT_FALSE(answer.success);
        EXPECT_THAT(answer.messages("ERROR"),
                    Contains(std::string("Cannot find currency ") + currency))
            << answer.log();
    }
}

TEST_F(GetModelDiffusion, AMissingPastFixingIsRefused) {
    save_basket(ximAPI::BasketKind::BASKET, "2021-04-01");
    auto const answer = call(request(0));
    EXPECT_FALSE(answer.success);
    EXPECT_THAT(answer.messages("ERROR"), Contains("Cannot find fixing")) << answer.log();
}

TEST_F(GetModelDiffusion, AModelWithoutPathsIsRefused) {
    save_basket();
    // name | message
    for (auto const& [name, message] : std::vector<std::pair<char const*, char const*>>{
             {"FREE_MODEL", "Model uneligible for diffusion"},
             {"DEFAULT_MODEL", "Model uneligible for diffusion"},
             {"HESTON_STOCHASTIC_VOLATILITY_MODEL", "Unknown model"}}) {
        auto asked = request(0);
        asked["ModelConfiguration"]["Name"] = name;
        auto const answer = call(asked);
        EXPECT_FALSE(answer.success) << name;
        EXPECT_THAT(answer.messages("ERROR"), ElementsAre(message)) << name;
    }
}

TEST_F(GetModelDiffusion, MissingMarketDataIsRefused) {
    std::ofstream(path) << "0 1 0 0\na 0 28 CCC,2022-05-03,\no 0 0 2022-05-03,0\n";
    auto const answer = call(request(0));
    EXPECT_FALSE(answer.success);
    EXPECT_FALSE(answer.messages("ERROR").empty()) << answer.log();
}

TEST_F(GetModelDiffusion, AnEmptyDocumentIsRefused) {
    auto const answer = call_route("/GetModelDiffusion", Json::Value(Json::objectValue));
    EXPECT_FALSE(answer.success);
    EXPECT_THAT(answer.messages("ERROR"), ElementsAre("Cannot find file"));
}

}  // namespace
