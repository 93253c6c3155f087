#include "core/toolbox/formulas/volatility.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>
#include <stdexcept>
#include <utility>
#include <vector>

#include "core/toolbox/formulas/black_scholes.hpp"
#include "support/matchers.hpp"

using namespace ximCORE::Toolbox;
using Space = Volatility::SpaceKind;
using Value = Volatility::ValueKind;
using ximTest::IsNearRel;
using ximTest::Raises;

namespace {

MarketParameters const c_market{.maturity = 2.25, .spot = 100.0, .forward = 108.0};

double normal_cdf(double x) {
    return 0.5 * std::erfc(-x / std::numbers::sqrt2);
}

TEST(Volatility, StartsWithAllFormsAtZero) {
    Volatility const volatility(c_market);
    for (int kind = 0; kind <= 6; ++kind) {
        EXPECT_EQ(volatility.c_get(static_cast<Space>(kind)), 0.0);
    }
    for (int kind = 0; kind <= 10; ++kind) {
        EXPECT_EQ(volatility.c_get(static_cast<Value>(kind)), 0.0);
    }
}

TEST(Volatility, AnyFormOfTheStrikeGivesAllOthers) {
    std::vector<std::pair<Space, double>> const forms{
        {Space::FORWARD_MONEYNESS, 120.0 / 108.0},
        {Space::FORWARD_MONEYNESS_PCT, 100.0 * 120.0 / 108.0},
        {Space::MONEYNESS, 1.2},
        {Space::MONEYNESS_PCT, 120.0},
        {Space::LOG_MONEYNESS, std::log(1.2)},
        {Space::LOG_FORWARD_MONEYNESS, std::log(120.0 / 108.0)},
        {Space::STRIKE, 120.0},
    };
    for (auto const& [given, number] : forms) {
        Volatility volatility(c_market);
        volatility.set(number, given);
        for (auto const& [asked, expected] : forms) {
            EXPECT_THAT(volatility.c_get(asked), IsNearRel(expected, 1e-13));
        }
    }
}

TEST(Volatility, AnUnknownFormOfTheStrikeKeepsIt) {
    Volatility volatility(c_market);
    volatility.set(120.0, Space::STRIKE);
    volatility.set(7.0, static_cast<Space>(7));
    EXPECT_EQ(volatility.c_get(Space::STRIKE), 120.0);
    EXPECT_EQ(volatility.c_get(Space::MONEYNESS), 1.2);
}

TEST(Volatility, AnyFormOfTheVolatilityGivesAllOthers) {
    double const sigma = 0.24;
    std::vector<std::pair<Value, double>> const forms{
        {Value::TOTAL_VARIANCE, sigma * sigma * 2.25},
        {Value::TOTAL_VOLATILITY, sigma * 1.5},
        {Value::VARIANCE, sigma * sigma},
        {Value::VOLATILITY, sigma},
        {Value::VOLATILITY_PCT, 24.0},
    };
    for (auto const& [given, number] : forms) {
        Volatility volatility(c_market);
        EXPECT_TRUE(volatility.set(120.0, Space::STRIKE, number, given));
        for (auto const& [asked, expected] : forms) {
            EXPECT_THAT(volatility.c_get(asked), IsNearRel(expected, 1e-13));
        }
    }
}

TEST(Volatility, PricesAreThoseOfTheTenPointRuleTimesTheSpot) {
    Volatility volatility(c_market);
    EXPECT_TRUE(volatility.set(120.0, Space::STRIKE, 0.24, Value::VOLATILITY));
    double const k = std::log(120.0 / 108.0);
    double const call = BlackScholesCallPricer::price(k, 0.36, 1);
    double const put = BlackScholesCallPricer::price(k, 0.36, -1);
    EXPECT_THAT(volatility.c_get(Value::CALL_PRICE_VS_SPOT), IsNearRel(call, 1e-12));
    EXPECT_THAT(volatility.c_get(Value::CALL_PRICE_VS_SPOT_PCT), IsNearRel(100.0 * call, 1e-12));
    EXPECT_THAT(volatility.c_get(Value::CALL_PRICE), IsNearRel(100.0 * call, 1e-12));
    EXPECT_THAT(volatility.c_get(Value::PUT_PRICE_VS_SPOT), IsNearRel(put, 1e-12));
    EXPECT_THAT(volatility.c_get(Value::PUT_PRICE_VS_SPOT_PCT), IsNearRel(100.0 * put, 1e-12));
    EXPECT_THAT(volatility.c_get(Value::PUT_PRICE), IsNearRel(100.0 * put, 1e-12));
    double const d1 = -k / 0.36 + 0.18;
    EXPECT_NEAR(call, normal_cdf(d1) - std::exp(k) * normal_cdf(d1 - 0.36), 1e-3);
}

TEST(Volatility, EachPriceImpliesTheVolatilityItWasMadeWith) {
    MarketParameters const one_year{.maturity = 1.0, .spot = 80.0, .forward = 82.0};
    for (double const strike : {60.0, 82.0, 95.0}) {
        Volatility origin(one_year);
        EXPECT_TRUE(origin.set(strike, Space::STRIKE, 0.3, Value::VOLATILITY));
        for (Value const kind :
             {Value::CALL_PRICE, Value::CALL_PRICE_VS_SPOT, Value::CALL_PRICE_VS_SPOT_PCT,
              Value::PUT_PRICE, Value::PUT_PRICE_VS_SPOT, Value::PUT_PRICE_VS_SPOT_PCT}) {
            Volatility back(one_year);
            EXPECT_TRUE(back.set(strike, Space::STRIKE, origin.c_get(kind), kind));
            EXPECT_NEAR(back.c_get(Value::VOLATILITY), 0.3, 1e-6) << strike;
            EXPECT_NEAR(back.c_get(Value::CALL_PRICE), origin.c_get(Value::CALL_PRICE), 1e-4);
            EXPECT_NEAR(back.c_get(Value::PUT_PRICE), origin.c_get(Value::PUT_PRICE), 1e-4);
        }
    }
}

TEST(Volatility, FromAPriceTheTotalVolatilityIsTakenAsSigma) {
    // Relied on: the implied total volatility is stored as sigma, also for a maturity other than 1
    Volatility origin(c_market);
    EXPECT_TRUE(origin.set(120.0, Space::STRIKE, 0.24, Value::VOLATILITY));
    Volatility back(c_market);
    EXPECT_TRUE(back.set(120.0, Space::STRIKE, origin.c_get(Value::CALL_PRICE), Value::CALL_PRICE));
    EXPECT_NEAR(back.c_get(Value::VOLATILITY), 0.36, 1e-6);
    EXPECT_NEAR(back.c_get(Value::TOTAL_VOLATILITY), 0.36 * 1.5, 1e-6);
    EXPECT_GT(back.c_get(Value::CALL_PRICE), origin.c_get(Value::CALL_PRICE));
}

TEST(Volatility, APriceWithoutAnImpliedVolatilityLeavesTheOtherForms) {
    Volatility volatility(c_market);
    EXPECT_TRUE(volatility.set(120.0, Space::STRIKE, 0.24, Value::VOLATILITY));
    double const call = volatility.c_get(Value::CALL_PRICE);
    EXPECT_FALSE(volatility.set(0.0, Value::CALL_PRICE));
    EXPECT_FALSE(volatility.set(1.0, Value::PUT_PRICE));
    EXPECT_EQ(volatility.c_get(Value::CALL_PRICE), call);
    EXPECT_EQ(volatility.c_get(Value::VOLATILITY), 0.24);
}

TEST(Volatility, AnUnknownFormOfTheValueComputesTheOthersFromSigma) {
    Volatility volatility(c_market);
    EXPECT_TRUE(volatility.set(120.0, Space::STRIKE, 0.24, Value::VOLATILITY));
    double const before = volatility.c_get(Value::CALL_PRICE);
    volatility.set(90.0, Space::STRIKE);
    EXPECT_TRUE(volatility.set(5.0, static_cast<Value>(11)));
    EXPECT_EQ(volatility.c_get(Value::VOLATILITY), 0.24);
    EXPECT_GT(volatility.c_get(Value::CALL_PRICE), before);
}

TEST(Volatility, AnUnknownFormCannotBeAskedFor) {
    Volatility const volatility(c_market);
    EXPECT_THAT([&] { return volatility.c_get(static_cast<Space>(7)); },
                Raises<std::runtime_error>("Unknown error"));
    EXPECT_THAT([&] { return volatility.c_get(static_cast<Value>(11)); },
                Raises<std::runtime_error>("Unknown error"));
}

TEST(Volatility, ATotalVarianceWithoutMaturityGivesNoNumber) {
    Volatility volatility({.maturity = 0.0, .spot = 100.0, .forward = 100.0});
    EXPECT_TRUE(volatility.set(100.0, Space::STRIKE, 0.0, Value::TOTAL_VARIANCE));
    EXPECT_TRUE(std::isnan(volatility.c_get(Value::VOLATILITY)));
    EXPECT_TRUE(volatility.set(100.0, Space::STRIKE, 0.04, Value::TOTAL_VARIANCE));
    EXPECT_FALSE(std::isfinite(volatility.c_get(Value::VOLATILITY)));
}

}  // namespace
