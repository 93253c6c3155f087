// "/GetModelImpliedVolatility" end to end: the smile of a model beside that of the market, which is
// flat at 20 %.

#include <cmath>

#include "api/share_market.hpp"
#include "core/pricing/options.hpp"
#include "support/heston_reference.hpp"
#include "support/precompiled.hpp"

namespace {

using namespace ximAPI::testing;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::StartsWith;

constexpr char const* c_route = "/GetModelImpliedVolatility";
constexpr double c_spot = 100.0;

struct Question {
    char const* maturity{"2022-05-03"};
    char const* payoff{"CALL_TYPE"};
    char const* price{"VOLATILITY"};
    char const* space{"FORWARD_MONEYNESS_PCT"};
    std::vector<double> spaces{80.0, 100.0, 120.0};
};

Json::Value repricing_request(Question const& question = {}) {
    Json::Value request = price_request("", 20000);
    request.removeMember("ContractConfiguration");
    request["ModelConfiguration"]["BlackScholesCalibrationKind"] = "MANUAL";
    Json::Value& record = request["Model"]["Repricing"];
    record["MaturityDate"] = question.maturity;
    record["Ticker"] = "AAA";
    record["PayoffKind"] = question.payoff;
    record["PriceKind"] = question.price;
    record["SpaceKind"] = question.space;
    record["Slice"] = Json::arrayValue;
    for (double const space : question.spaces) {
        Json::Value entry;
        entry["Space"] = space;
        record["Slice"].append(entry);
    }
    return request;
}

Json::Value const& entry_of(RouteAnswer const& answer, Json::ArrayIndex i) {
    return answer.document["Model"]["Repricing"]["Slice"][i];
}

/// The total volatilities at which a call is worth the textbook price of sigma, and that price
/// moved by 4.5 standard errors either way.
struct Expected {
    double lower;
    double mean;
    double upper;
};
Expected expected_volatilities(double k, double total, Json::Value const& entry) {
    double const price = ximTest::textbook_call(k, total);
    double const error = 4.5 * entry["Model"]["Stddev"].asDouble() / c_spot;
    return {ximTest::ten_point_volatility(k, price - error),
            ximTest::ten_point_volatility(k, price),
            ximTest::ten_point_volatility(k, price + error)};
}

void expect_returned(Json::Value const& entry, double k, double total) {
    auto const [lower, mean, upper] = expected_volatilities(k, total, entry);
    EXPECT_GT(entry["Model"]["Mean"].asDouble(), lower - 1e-5) << k;
    EXPECT_LT(entry["Model"]["Mean"].asDouble(), upper + 1e-5) << k;
    EXPECT_LT(entry["Model"]["Lower"].asDouble(), entry["Model"]["Mean"].asDouble());
    EXPECT_GT(entry["Model"]["Upper"].asDouble(), entry["Model"]["Mean"].asDouble());
    EXPECT_LT(upper - lower, 0.05) << "no test of anything";
    EXPECT_NEAR(mean, total, 0.01);
}

TEST(GetModelImpliedVolatility, AFlatModelReturnsItsVolatilityOverOneYear) {
    ShareMarket const market(c_spot, 0.25);
    for (char const* const payoff : {"CALL_TYPE", "PUT_TYPE"}) {
        auto const answer = call_route(c_route, market.on(repricing_request({.payoff = payoff})));
        ASSERT_TRUE(answer.success) << answer.log();
        double const spaces[] = {80.0, 100.0, 120.0};
        for (Json::ArrayIndex i = 0; i < 3; ++i) {
            expect_returned(entry_of(answer, i), std::log(spaces[i] / 100.0), 0.25);
            EXPECT_NEAR(entry_of(answer, i)["Market"].asDouble(), 0.2, 1e-7);
        }
        EXPECT_THAT(answer.messages("SUCCESS"),
                    ElementsAre(StartsWith("Execution of GetModelImpliedVolatility ended at ")));
    }
}

TEST(GetModelImpliedVolatility, TheModelThatTheMarketIsMadeOfHasItsVolatility) {
    ShareMarket const market(c_spot, 0.25);
    for (char const* const model :
         {"BLACK_SCHOLES_TERM_STRUCTURE_MODEL", "DUPIRE_LOCAL_VOLATILITY_MODEL"}) {
        Json::Value request = market.on(repricing_request());
        request["ModelConfiguration"]["Name"] = model;
        auto const answer = call_route(c_route, request);
        ASSERT_TRUE(answer.success) << answer.log();
        expect_returned(entry_of(answer, 1), 0.0, 0.2);
    }
}

// The implied total volatility stands as the volatility: over four years twice what it should be,
// and the total volatility is twice too large once more. The market is as it should be.
TEST(GetModelImpliedVolatility, AnotherMaturityReadsTheTotalVolatilityAsTheVolatility) {
    ShareMarket const market(c_spot, 0.25);
    auto const answer =
        call_route(c_route, market.on(repricing_request({.maturity = "2025-05-02"})));
    ASSERT_TRUE(answer.success) << answer.log();
    expect_returned(entry_of(answer, 1), 0.0, 0.5);
    EXPECT_NEAR(entry_of(answer, 1)["Market"].asDouble(), 0.2, 1e-7);
    auto const total = call_route(
        c_route,
        market.on(repricing_request({.maturity = "2025-05-02", .price = "TOTAL_VOLATILITY"})));
    EXPECT_FLOAT_EQ(entry_of(total, 1)["Model"]["Mean"].asFloat(),
                    2.0F * entry_of(answer, 1)["Model"]["Mean"].asFloat());
    EXPECT_NEAR(entry_of(total, 1)["Market"].asDouble(), 0.4, 1e-6);
}

TEST(GetModelImpliedVolatility, PricesAreThoseOfAPricing) {
    ShareMarket const market(c_spot, 0.25);
    auto const answer = call_route(
        c_route, market.on(repricing_request(
                     {.price = "CALL_PRICE", .space = "STRIKE", .spaces = {90.0, 110.0}})));
    ASSERT_TRUE(answer.success) << answer.log();
    for (Json::ArrayIndex i = 0; i < 2; ++i) {
        std::string const strike = i == 0 ? "90" : "110";
        auto const priced = call_route(
            "/GetPrice",
            market.on(price_request(
                "Pay(Max(Spot(AAA,2022-05-03)-" + strike + ",0),2022-05-03,USD)", 20000)));
        ASSERT_TRUE(priced.success) << priced.log();
        Json::Value const& model = entry_of(answer, i)["Model"];
        for (char const* const key : {"Lower", "Mean", "Upper"})
            EXPECT_NEAR(model[key].asDouble(), priced.price()[key].asDouble(), 5e-4) << key;
        EXPECT_NEAR(model["Stddev"].asDouble(), priced.price()["Stddev"].asDouble(), 1e-6);
    }
}

/// The three-way rule on the numbers of the record.
double distance_of(Json::Value const& entry) {
    double const market = entry["Market"].asDouble();
    Json::Value const& model = entry["Model"];
    if (market > model["Mean"].asDouble()) return market - model["Mean"].asDouble();
    if (model["Upper"].asDouble() > market) return market - model["Upper"].asDouble();
    return market - model["Lower"].asDouble();
}

// Relied on: above the mean the distance is to the mean, below it to the upper bound first
TEST(GetModelImpliedVolatility, AboveTheMeanTheDistanceIsToTheMeanBelowItToTheUpperBoundFirst) {
    for (double const sigma : {0.15, 0.2, 0.25}) {
        ShareMarket const market(c_spot, sigma);
        auto const answer = call_route(c_route, market.on(repricing_request()));
        ASSERT_TRUE(answer.success) << answer.log();
        for (Json::ArrayIndex i = 0; i < 3; ++i) {
            Json::Value const& entry = entry_of(answer, i);
            EXPECT_NEAR(entry["Error"].asDouble(), distance_of(entry), 1e-7);
            if (sigma < 0.2) {
                EXPECT_NEAR(entry["Error"].asDouble(), 0.2 - entry["Model"]["Mean"].asDouble(),
                            1e-7);
            }
            if (sigma > 0.2) {
                EXPECT_NEAR(entry["Error"].asDouble(), 0.2 - entry["Model"]["Upper"].asDouble(),
                            1e-7);
            }
        }
    }
}

TEST(GetModelImpliedVolatility, EverySpaceOfOneStrikeIsTheSameOption) {
    ShareMarket const market(c_spot, 0.25);
    std::vector<std::pair<char const*, double>> const spaces{
        {"FORWARD_MONEYNESS", 1.2},
        {"FORWARD_MONEYNESS_PCT", 120.0},
        {"MONEYNESS", 1.2},
        {"MONEYNESS_PCT", 120.0},
        {"LOG_MONEYNESS", std::log(1.2)},
        {"LOG_FORWARD_MONEYNESS", std::log(1.2)},
        {"STRIKE", 120.0}};
    for (auto const& [kind, space] : spaces) {
        auto const answer =
            call_route(c_route, market.on(repricing_request({.space = kind, .spaces = {space}})));
        ASSERT_TRUE(answer.success) << answer.log();
        expect_returned(entry_of(answer, 0), std::log(1.2), 0.25);
    }
}

TEST(GetModelImpliedVolatility, APriceWithoutAVolatilityReadsZero) {
    ShareMarket const market(c_spot, 0.25);
    // never reached; always exercised, at its intrinsic value or below; no strike at all
    auto const answer =
        call_route(c_route, market.on(repricing_request({.spaces = {1e6, 1e-6, 0.0, -50.0}})));
    ASSERT_TRUE(answer.success) << answer.log();
    EXPECT_EQ(entry_of(answer, 0)["Model"]["Mean"].asFloat(), 0.0F);
    EXPECT_EQ(entry_of(answer, 0)["Model"]["Lower"].asFloat(), 0.0F);
    EXPECT_EQ(entry_of(answer, 3)["Model"]["Mean"].asFloat(), 0.0F);
}

TEST(GetModelImpliedVolatility, GridsReturnTheVolatilityToo) {
    ShareMarket const market(c_spot, 0.25);
    Json::Value request = market.on(repricing_request({.spaces = {100.0}}));
    Json::Value const grid = finite_difference_request("");
    for (char const* const part : {"PricerConfiguration", "ModelConfiguration"})
        for (auto const& key : grid[part].getMemberNames()) request[part][key] = grid[part][key];
    auto const answer = call_route(c_route, request);
    ASSERT_TRUE(answer.success) << answer.log();
    EXPECT_NEAR(entry_of(answer, 0)["Model"]["Mean"].asDouble(), 0.25, 2e-4);
}

TEST(GetModelImpliedVolatility, SensitivitiesAreNotComputedAndTheirSettingsComeBack) {
    using ximCORE::Pricing::PricerOptions;
    ShareMarket const market(c_spot, 0.25);
    for (bool const fails : {false, true}) {
        Json::Value request = market.on(repricing_request());
        request["PricerConfiguration"]["WithGreeks"] = true;
        request["PricerConfiguration"]["ComputeVega"] = true;
        request["PricerConfiguration"]["VegaVolatilityBump"] = 7.0;
        if (fails) request["Model"]["Repricing"]["Ticker"] = "ZZZ";
        PricerOptions::s_options = {};
        auto const answer = call_route(c_route, request);
        EXPECT_NE(answer.success, fails) << answer.log();
        EXPECT_TRUE(PricerOptions::s_options.greeks.vega.activate);
        EXPECT_EQ(PricerOptions::s_options.greeks.vega.bump, 7.0);
    }
    PricerOptions::s_options = {};
}

TEST(GetModelImpliedVolatility, AnEmptySliceIsTrue) {
    ShareMarket const market(c_spot, 0.25);
    auto const answer = call_route(c_route, market.on(repricing_request({.spaces = {}})));
    EXPECT_TRUE(answer.success) << answer.log();
    EXPECT_EQ(answer.document["Model"]["Repricing"]["Slice"].size(), 0U);
}

/// A failed call says this and leaves the document.
void expect_refused(Json::Value request, std::string const& message) {
    auto const answer = call_route(c_route, request);
    EXPECT_FALSE(answer.success);
    EXPECT_THAT(answer.messages("ERROR"), Contains(StartsWith(message)));
    request["Logger"] = answer.document["Logger"];
    EXPECT_EQ(answer.document, request);
}

TEST(GetModelImpliedVolatility, AMaturityThatIsNotAheadIsRefused) {
    ShareMarket const market(c_spot, 0.25);
    for (char const* const maturity : {"2021-05-03", "2021-05-02", "1999-01-01"})
        expect_refused(market.on(repricing_request({.maturity = maturity})),
                       "Invalid MaturityDate");
}

TEST(GetModelImpliedVolatility, AnUnknownTickerIsRefused) {
    ShareMarket const market(c_spot, 0.25);
    Json::Value request = market.on(repricing_request());
    request["Model"]["Repricing"]["Ticker"] = "ZZZ";
    expect_refused(request, "Cannot find");
    request["Model"]["Repricing"]["Ticker"] = "";
    EXPECT_FALSE(call_route(c_route, request).success);
}

TEST(GetModelImpliedVolatility, AnUnderlyingWithoutASpotIsRefused) {
    ShareMarket const market(
        c_spot, 0.25,
        R"(, {"type": "ShareUnderlying", "ticker": "CCC", "name": "C", "currency": "USD",)"
        R"( "fixing_calendar": "dummy", "day_counter": "act_365"})");
    Json::Value request = market.on(repricing_request());
    request["Model"]["Repricing"]["Ticker"] = "CCC";
    expect_refused(request, "Cannot find spot");
    request["DataConfiguration"]["SuccessOnSpotRequestFailure"] = true;  // a spot of 0 then
    expect_refused(request, "Cannot imply a volatility from a level that is not positive");
}

TEST(GetModelImpliedVolatility, ALevelBelowZeroIsRefused) {
    ShareMarket const market(-c_spot, 0.25);
    expect_refused(market.on(repricing_request()),
                   "Cannot imply a volatility from a level that is not positive");
}

TEST(GetModelImpliedVolatility, AModelWithoutPathsIsRefused) {
    ShareMarket const market(c_spot, 0.25);
    Json::Value request = market.on(repricing_request());
    request["ModelConfiguration"]["Name"] = "DEFAULT_MODEL";
    expect_refused(request, "Model uneligible for Monte Carlo");
    request["ModelConfiguration"]["Name"] = "HESTON_STOCHASTIC_VOLATILITY_MODEL";
    expect_refused(request, "Unknown model");
}

TEST(GetModelImpliedVolatility, AnInterestRateAsUnderlyingIsRefused) {
    ShareMarket const market(
        c_spot, 0.25,
        R"(, {"type": "DepositRateUnderlying", "ticker": "RATE", "name": "R", "currency": "USD",)"
        R"( "fixing_calendar": "dummy", "day_counter": "act_365", "start": "+2d", "end": "+3m"})"
        R"(, {"type": "Spot", "ticker": "RATE", "date": "2021-05-03", "bid": 0.02, "ask": 0.02})");
    Json::Value request = market.on(repricing_request());
    request["Model"]["Repricing"]["Ticker"] = "RATE";
    auto const answer = call_route(c_route, request);
    EXPECT_FALSE(answer.success);
    EXPECT_THAT(answer.messages("ERROR"),
                ElementsAre("Cannot imply a volatility without a forward"));
}

TEST(GetModelImpliedVolatility, ARefusedLoginIsRefused) {
    Json::Value request = repricing_request();
    request["DataConfiguration"]["Sources"][0]["File"] = "none.json";
    expect_refused(request, "Authentication failure.");
}

TEST(GetModelImpliedVolatility, TooManyStrikesAreRefused) {
    expect_refused(repricing_request({.spaces = std::vector<double>(100001, 100.0)}),
                   "Too many points");
}

TEST(GetModelImpliedVolatility, AnEmptyDocumentIsRefused) {
    EXPECT_FALSE(call_route(c_route, Json::objectValue).success);
}

}  // namespace
