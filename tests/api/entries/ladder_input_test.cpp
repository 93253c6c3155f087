// Bad input of the three ladder routes, and what a failure leaves for the next call.

#include "api/entries/ladder_call.hpp"
#include "core/data/scenario.hpp"

namespace {

using namespace ximAPI::testing;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;

TEST(GetLadder1D, ThousandsOfPointsAreAnswered) {
    Json::Value request = request_1d("CONTRACT", "strike", {}, 20);
    for (int i = 0; i < 5000; ++i)
        request["Pricer"]["Ladder1D"]["Plots"][i]["BumpValue"] = 4000.0 + 0.1 * i;
    auto const answer = call_route("/GetLadder1D", request);
    ASSERT_TRUE(answer.success) << answer.log();
    EXPECT_GE(mean_of(plot_of(answer, "Ladder1D", 0)), mean_of(plot_of(answer, "Ladder1D", 4999)));
}

TEST(GetLadder2D, TooManyCellsAreRefused) {
    Json::Value request = request_2d("CONTRACT", "strike", {}, "strike", {});
    for (char const* axis : {"FirstBumpValues", "SecondBumpValues"})
        for (int i = 0; i < 1000; ++i) request["Pricer"]["Ladder2D"][axis].append(i);
    auto const answer = call_route("/GetLadder2D", request);
    EXPECT_FALSE(answer.success);
    EXPECT_THAT(answer.messages("ERROR"), Contains("Too many points"));
}

struct BadInput {
    char const* what;
    char const* kind;
    char const* name;
    bool success;
    char const* exception;  // part of the text of the EXCEPTION record; null without one
};

class BadNames : public ::testing::TestWithParam<BadInput> {};

TEST_P(BadNames, AreAnswered) {
    auto const& expected = GetParam();
    auto const answer =
        call_route("/GetLadder1D", request_1d(expected.kind, expected.name, {0.5, 1e30}, 100));
    EXPECT_EQ(answer.success, expected.success) << answer.log();
    if (expected.exception != nullptr) {
        EXPECT_THAT(answer.messages("EXCEPTION"), Contains(HasSubstr(expected.exception)));
    }
    if (answer.success) {
        EXPECT_EQ(price_of(plot_of(answer, "Ladder1D", 0)),
                  price_of(ladder_of(answer, "Ladder1D")["CentralResult"]));
    }
}

INSTANTIATE_TEST_SUITE_P(
    All, BadNames,
    ::testing::Values(BadInput{"NoSeparator", "MARKET", "spot", false, "'@'"},
                      BadInput{"Empty", "MARKET", "", false, "'@'"},
                      BadInput{"UnknownType", "MARKET", "colour@^GSPC", true, nullptr},
                      BadInput{"UnknownTicker", "MARKET", "spot@NOBODY", true, nullptr},
                      BadInput{"NoTicker", "MARKET", "volatility@", true, nullptr},
                      BadInput{"UnknownCurrency", "MARKET", "yield@ZZZ", true, nullptr},
                      BadInput{"OneTicker", "MARKET", "correlation@^GSPC", false, "'#'"},
                      BadInput{"UnknownPair", "MARKET", "correlation@A#B", true, nullptr},
                      BadInput{"EmptyFeature", "CONTRACT", "", true, nullptr},
                      BadInput{"MarketKeyAsFeature", "CONTRACT", "spot@^GSPC", true, nullptr}),
    [](auto const& parameter) { return parameter.param.what; });

TEST(GetLadder1D, ShiftsBeyondAllBoundsAreAnswered) {
    for (char const* name : {"spot@^GSPC", "volatility@^GSPC", "yield@USD", "forward@^GSPC"}) {
        for (double const value : {0.0, -1.0, 1e30, -1e30}) {
            auto const answer =
                call_route("/GetLadder1D", request_1d("MARKET", name, {value}, 100));
            EXPECT_FALSE(answer.messages("INFO").empty()) << name << ' ' << value;
        }
    }
}

TEST(GetLadder, AModelWithoutPathsIsUneligible) {
    for (char const* kind : {"CONTRACT", "MARKET"}) {
        Json::Value request = ladder_request(c_ladder_call, kind, 10);
        request["ModelConfiguration"]["Name"] = "FREE_MODEL";
        auto const answer = call_route("/GetLadder", request);
        EXPECT_FALSE(answer.success);
        EXPECT_THAT(answer.messages("ERROR"), ElementsAre("Model uneligible for Monte Carlo"));
    }
}

// What a failed calibration under a bump leaves on the stack of scenarios ends with its request.
TEST(GetLadder, TheRequestAfterAFailureIsUnaffected) {
    auto const good = ladder_request(c_ladder_call, "MARKET");
    auto const before = call_route("/GetLadder", good);
    ASSERT_TRUE(before.success) << before.log();

    Json::Value bad = ladder_request(
        "Pay(Spot(^GSPC,2022-05-03)+Spot(^STOXX50E,2022-05-03),2022-05-03,USD)", "MARKET");
    add_plot(bad, {scenario("spot@^GSPC", 1.0), scenario("volatility@^GSPC", 1.0)});
    EXPECT_FALSE(call_route("/GetLadder", bad).success);
    add_plot(bad, {scenario("spot", 1.0)});
    EXPECT_FALSE(call_route("/GetLadder", bad).success);
    EXPECT_EQ(ximCORE::Data::MarketDataScenario::s_get().c_get_size(), 0U);

    auto const after = call_route("/GetLadder", good);
    ASSERT_TRUE(after.success) << after.log();
    EXPECT_EQ(after.document["Pricer"], before.document["Pricer"]);
}

TEST(GetLadder, AStackThatAnotherCallLeftBehindIsClearedAtTheEndOfTheFirst) {
    using ximCORE::Data::MarketDataShift;
    auto const good = ladder_request(c_ladder_call, "CONTRACT");
    auto const before = call_route("/GetLadder", good);
    ximCORE::Data::MarketDataScenario::s_get().push_back(
        {"spot@^GSPC", MarketDataShift::Kind::assignment, MarketDataShift::Unit::none, 1.0});
    std::ignore = call_route("/GetPrice", price_request("Pay(", 1));
    EXPECT_EQ(ximCORE::Data::MarketDataScenario::s_get().c_get_size(), 0U);
    auto const after = call_route("/GetLadder", good);
    EXPECT_EQ(after.document["Pricer"], before.document["Pricer"]);
}

}  // namespace
