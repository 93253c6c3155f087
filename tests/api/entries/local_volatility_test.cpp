// "/GetPrice" under local volatility on the demonstration data, whose surfaces are flat at 20 %, as
// its volatilities are.

#include <cmath>

#include "api/route_call.hpp"
#include "support/precompiled.hpp"

namespace {

using namespace ximAPI::testing;
using ::testing::IsEmpty;

constexpr char const* c_call = "Pay(Max(Spot(^GSPC,2021-08-03)-4150,0),2021-08-03,USD)";
constexpr char const* c_asian =
    "Pay(Max((Spot(^GSPC,2021-06-03)+Spot(^GSPC,2021-07-05)+Spot(^GSPC,2021-08-03))/3-4150,0),"
    "2021-08-03,USD)";
/// Two shares, each read on every fixing date.
constexpr char const* c_worst =
    "Pay(Max(Min(Spot(^GSPC,2021-06-03)/4153,Spot(^STOXX50E,2021-06-03)/3816)+"
    "Min(Spot(^GSPC,2021-07-05)/4153,Spot(^STOXX50E,2021-07-05)/3816)-1.9,0),2021-07-05,USD)";

Json::Value local(char const* script, int trials = 4000) {
    auto request = price_request(script, trials);
    request["ModelConfiguration"]["Name"] = "DUPIRE_LOCAL_VOLATILITY_MODEL";
    request["DataConfiguration"]["SuccessOnCorrelationRequestFailure"] = true;
    return request;
}

/// The same under Black and Scholes, with other random numbers.
Json::Value flat(char const* script, int trials = 4000) {
    auto request = local(script, trials);
    request["ModelConfiguration"]["Name"] = "BLACK_SCHOLES_MODEL";
    request["PricerConfiguration"]["MonteCarloSeed"] = 7;
    return request;
}

void expect_same(Json::Value const& one, Json::Value const& other) {
    double const error = std::hypot(one["Stddev"].asDouble(), other["Stddev"].asDouble());
    EXPECT_GT(error, 0.0);
    EXPECT_NEAR(one["Mean"].asDouble(), other["Mean"].asDouble(), 4.0 * error);
}

TEST(LocalVolatility, OnAFlatSurfacePricesAreThoseOfBlackAndScholes) {
    for (auto const* script : {c_call, c_asian, c_worst}) {
        auto const answer = call_route("/GetPrice", local(script));
        ASSERT_TRUE(answer.success) << answer.log();
        auto const reference = call_route("/GetPrice", flat(script));
        ASSERT_TRUE(reference.success) << reference.log();
        expect_same(answer.price(), reference.price());
        EXPECT_GT(answer.price()["Mean"].asDouble(), 10.0 * answer.price()["Stddev"].asDouble())
            << script;
    }
}

TEST(LocalVolatility, OnAFlatSurfaceBumpedSensitivitiesAreThoseOfBlackAndScholes) {
    auto const with_greeks = [](Json::Value request) {
        auto& pricer = request["PricerConfiguration"];
        pricer["WithGreeks"] = true;
        for (char const* greek : {"Delta", "Gamma", "Vega"})
            pricer[std::string("Compute") + greek] = true;
        pricer["DeltaSpotBump"] = pricer["GammaSpotBump"] = pricer["VegaVolatilityBump"] = 100;
        return request;
    };
    auto const answer = call_route("/GetPrice", with_greeks(local(c_call)));
    ASSERT_TRUE(answer.success) << answer.log();
    auto const reference = call_route("/GetPrice", with_greeks(flat(c_call)));
    ASSERT_TRUE(reference.success) << reference.log();
    for (char const* greek : {"Delta", "Gamma", "Vega"}) {
        SCOPED_TRACE(greek);
        expect_same(answer.greek(greek), reference.greek(greek));
        EXPECT_GT(answer.greek(greek)["Mean"].asDouble(), 0.0);
    }
}

TEST(LocalVolatility, ThreadCountsAgreeUpToTheOrderOfSums) {
    std::vector<double> prices;
    for (int const threads : {1, 2, 5}) {
        auto request = local(c_worst, 501);
        request["PricerConfiguration"]["MonteCarloNbThreads"] = threads;
        auto const answer = call_route("/GetPrice", request);
        ASSERT_TRUE(answer.success) << answer.log();
        prices.push_back(answer.price()["Mean"].asDouble());
    }
    EXPECT_THAT(prices, ::testing::Each(::testing::DoubleNear(prices.front(), 1e-6)));
}

// Rates are 0 here, so that the adjoint engine, which discounts nothing, has the same price.
TEST(LocalVolatility, TheAdjointEngineHasThePriceAndTheDeltaOfTheBumps) {
    auto request = local(c_asian);
    auto& pricer = request["PricerConfiguration"];
    pricer["WithGreeks"] = true;
    pricer["ComputeDelta"] = pricer["ComputeVega"] = true;
    pricer["DeltaSpotBump"] = pricer["VegaVolatilityBump"] = 1;
    auto const bumped = call_route("/GetPrice", request);
    ASSERT_TRUE(bumped.success) << bumped.log();
    pricer["Method"] = "AUTOMATIC_ADJOINT_DIFFERENTIATION";
    auto const answer = call_route("/GetPrice", request);
    ASSERT_TRUE(answer.success) << answer.log();
    EXPECT_THAT(answer.messages("ERROR"), IsEmpty());
    EXPECT_NEAR(answer.price()["Mean"].asDouble(), bumped.price()["Mean"].asDouble(), 1e-4);
    // a path of the forward scales with the spot: no difference but that of the kink
    EXPECT_NEAR(answer.greek("Delta")["Mean"].asDouble(), bumped.greek("Delta")["Mean"].asDouble(),
                1e-3 * bumped.greek("Delta")["Mean"].asDouble());
    EXPECT_GT(bumped.greek("Vega")["Mean"].asDouble(), 0.0);
}

/// The price of a call on ^GSPC at 4000 on 5 July beside what else is in the script.
RouteAnswer call_beside(std::string const& rest) {
    auto const script = "Pay(Max(Spot(^GSPC,2021-07-05)-4000,0),2021-07-05,USD)&" + rest;
    auto answer = call_route("/GetPrice", local(script.c_str(), 2000));
    EXPECT_TRUE(answer.success) << answer.log();
    return answer;
}

// 153.925 in the money, and more with its time value.
TEST(LocalVolatility, AnUnderlyingThatIsNotReadOnAnEarlierFixingStaysAtItsForward) {
    auto const answer = call_beside("Pay(Spot(^STOXX50E,2021-06-03)/3816,2021-06-03,USD)");
    EXPECT_NEAR(answer.price()["Mean"].asDouble(), 153.925 + 1.0, 0.01);
    EXPECT_LT(answer.price()["Stddev"].asDouble(), 0.01);
}

TEST(LocalVolatility, AnEarlierPaymentDateIsAFixingDateThatNoUnderlyingReads) {
    auto const answer = call_beside("Pay(1,2021-06-03,USD)");
    EXPECT_NEAR(answer.price()["Mean"].asDouble(), 153.925 + 1.0, 0.001);
    EXPECT_EQ(answer.price()["Stddev"].asDouble(), 0.0);
}

TEST(LocalVolatility, SensitivitiesLeaveThePriceAloneAlsoWhereAPathStaysAtItsForward) {
    auto request =
        local("Pay(Max(Spot(^GSPC,2021-07-05)-4000,0),2021-07-05,USD)&Pay(1,2021-06-03,USD)", 200);
    auto& pricer = request["PricerConfiguration"];
    pricer["WithGreeks"] = pricer["ComputeDelta"] = pricer["ComputeVanna"] = true;
    pricer["DeltaSpotBump"] = pricer["VannaSpotBump"] = pricer["VannaVolatilityBump"] = 100;
    auto const answer = call_route("/GetPrice", request);
    ASSERT_TRUE(answer.success) << answer.log();
    EXPECT_NEAR(answer.price()["Mean"].asDouble(), 153.925 + 1.0, 0.001);
    EXPECT_NEAR(answer.greek("Delta")["Mean"].asDouble(), 4153.925, 0.05);  // of the forward
}

TEST(LocalVolatility, AWeightOfZeroReadsAnUnderlyingOnADate) {
    auto const answer = call_beside("Pay(1+0*Spot(^GSPC,2021-06-03),2021-06-03,USD)");
    auto const reference = call_route(
        "/GetPrice",
        flat("Pay(1,2021-07-05,USD)&Pay(Max(Spot(^GSPC,2021-07-05)-4000,0),2021-07-05,USD)"));
    ASSERT_TRUE(reference.success) << reference.log();
    expect_same(answer.price(), reference.price());
    EXPECT_GT(answer.price()["Mean"].asDouble(), 153.925 + 20.0);
}

// The only step behind the last fixing is that to the payment.
TEST(LocalVolatility, APaymentBehindTheLastFixingLeavesTheAdjointEngineWithoutItsDelta) {
    auto request = local("Pay(Max(Spot(^GSPC,2021-07-05)-4000,0),2021-07-07,USD)", 200);
    auto& pricer = request["PricerConfiguration"];
    pricer["WithGreeks"] = pricer["ComputeDelta"] = true;
    pricer["Method"] = "AUTOMATIC_ADJOINT_DIFFERENTIATION";
    auto const answer = call_route("/GetPrice", request);
    ASSERT_TRUE(answer.success) << answer.log();
    EXPECT_THAT(answer.messages("ERROR"),
                ::testing::Contains("Cannot pop back an empty double stack"));
    EXPECT_GT(answer.price()["Stddev"].asDouble(), 0.0);
    EXPECT_EQ(answer.greek("Delta")["Mean"].asDouble(), 0.0);
}

TEST(LocalVolatility, FiniteDifferencesAreRefused) {
    auto request = local(c_call);
    request["PricerConfiguration"]["Method"] = "FINITE_DIFFERENCE";
    request["PricerConfiguration"]["FiniteDifferenceTimeStep"] = 1;
    request["ModelConfiguration"]["BlackScholesFiniteDifferenceGridSize"] = 100;
    request["ModelConfiguration"]["BlackScholesFiniteDifferenceConfidenceLevel"] = 0.9999;
    auto const answer = call_route("/GetPrice", request);
    EXPECT_FALSE(answer.success);
    EXPECT_THAT(answer.messages("ERROR"),
                ::testing::Contains("Model uneligible for finite difference"));
}

}  // namespace
