// Prices a ready product through "/GetPrice", on a market of two shares made for the test.
#pragma once

#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

#include "api/products/formulas.hpp"
#include "api/route_call.hpp"
#include "api/share_market.hpp"

namespace ximAPI::testing {

inline constexpr char const* c_second_share =
    R"(,{"type": "ShareUnderlying", "ticker": "BBB", "name": "B", "currency": "USD",)"
    R"( "fixing_calendar": "dummy", "day_counter": "act_365"},)"
    R"({"type": "Spot", "ticker": "BBB", "date": "2021-05-03", "bid": 95, "ask": 95},)"
    R"({"type": "BlackScholesVolatility", "ticker": "BBB", "date": "2021-05-03", "value": 35},)"
    R"({"type": "Correlation", "first": "AAA", "second": "BBB", "date": "2021-05-03", "value": 40})";

inline constexpr Asset c_aaa{.spot = 100.0, .volatility = 0.25};
inline constexpr Asset c_bbb{.spot = 95.0, .volatility = 0.35};
inline constexpr double c_correlation = 0.4;

/// A request for a product whose keys are `terms`; its ticker AAA, currency USD and maturity a year
/// away, on 2022-05-03, if the terms say nothing else.
inline Json::Value product_request(std::string const& kind, Json::Value const& terms,
                                   int trials = 20000) {
    Json::Value request = price_request("", trials);
    Json::Value& contract = request["ContractConfiguration"];
    contract.removeMember("Script");
    contract["Kind"] = kind;
    contract["Ticker"] = "AAA";
    contract["PaymentCurrency"] = "USD";
    contract["MaturityDate"] = "2022-05-03";
    for (auto const& key : terms.getMemberNames()) contract[key] = terms[key];
    return request;
}

inline RouteAnswer price_product(std::string const& kind, std::string const& terms,
                                 int trials = 20000) {
    ShareMarket const market(c_aaa.spot, c_aaa.volatility, c_second_share);
    return call_route("/GetPrice", market.on(product_request(kind, parse_json(terms), trials)));
}

/// Within three standard errors, and the rounding of a 32-bit record.
inline void expect_price(RouteAnswer const& answer, double exact) {
    ASSERT_TRUE(answer.success) << answer.log();
    double const error = answer.price()["Stddev"].asDouble();
    EXPECT_NEAR(answer.price()["Mean"].asDouble(), exact,
                3.0 * error + 1e-6 * std::max(1.0, std::abs(exact)))
        << "standard error " << error;
}

inline double mean_of(RouteAnswer const& answer) {
    EXPECT_TRUE(answer.success) << answer.log();
    return answer.price()["Mean"].asDouble();
}

inline double error_of(RouteAnswer const& answer) {
    return answer.price()["Stddev"].asDouble();
}

}  // namespace ximAPI::testing
