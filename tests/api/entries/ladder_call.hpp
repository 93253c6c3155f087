// Ladder requests on the demonstration data, and what is read in their answers.
#pragma once

#include <algorithm>
#include <cmath>
#include <initializer_list>
#include <string>

#include "api/route_call.hpp"
#include "support/precompiled.hpp"

namespace ximAPI::testing {

inline constexpr char const* c_ladder_call =
    "Pay(Max(Spot(^GSPC,2022-05-03)-CstRef(strike,4150),0),2022-05-03,USD)";
inline constexpr double c_gspc = 4153.925;   // mid of the demonstration data on 2021-05-03
inline constexpr double c_volatility = 0.2;  // of every underlying of the demonstration data

inline double cumulative(double x) {
    return 0.5 * std::erfc(-x / std::sqrt(2.0));
}

/// Black and Scholes without rates, one year.
inline double call_formula(double spot, double strike, double volatility) {
    double const d = std::log(spot / strike) / volatility + 0.5 * volatility;
    return spot * cumulative(d) - strike * cumulative(d - volatility);
}

inline Json::Value scenario(std::string const& name, double value, char const* kind = "ASSIGNMENT",
                            char const* unit = "NONE") {
    Json::Value json;
    json["Name"] = name;
    json["BumpKind"] = kind;
    json["BumpUnit"] = unit;
    json["BumpValue"] = value;
    return json;
}

inline Json::Value array(std::initializer_list<double> values) {
    Json::Value json(Json::arrayValue);
    for (double const value : values) json.append(value);
    return json;
}

inline Json::Value ladder_request(std::string const& script, char const* kind, int trials = 2000) {
    Json::Value request = price_request(script, trials);
    request["Pricer"]["Ladder"]["LadderKind"] = kind;
    request["Pricer"]["Ladder"]["Plots"] = Json::arrayValue;
    return request;
}

inline void add_plot(Json::Value& request, std::initializer_list<Json::Value> scenarios) {
    Json::Value plot;
    plot["Scenarios"] = Json::arrayValue;
    for (auto const& one : scenarios) plot["Scenarios"].append(one);
    request["Pricer"]["Ladder"]["Plots"].append(plot);
}

inline Json::Value request_1d(char const* kind, std::string const& name,
                              std::initializer_list<double> values, int trials = 2000) {
    Json::Value request = price_request(c_ladder_call, trials);
    Json::Value& ladder = request["Pricer"]["Ladder1D"];
    ladder["LadderKind"] = kind;
    ladder["Name"] = name;
    ladder["BumpKind"] = "ASSIGNMENT";
    ladder["BumpUnit"] = "NONE";
    ladder["Plots"] = Json::arrayValue;
    for (double const value : values) {
        Json::Value plot;
        plot["BumpValue"] = value;
        ladder["Plots"].append(plot);
    }
    return request;
}

inline Json::Value request_2d(char const* kind, std::string const& first,
                              std::initializer_list<double> first_values, std::string const& second,
                              std::initializer_list<double> second_values) {
    Json::Value request = price_request(c_ladder_call, 2000);
    Json::Value& ladder = request["Pricer"]["Ladder2D"];
    ladder["LadderKind"] = kind;
    ladder["FirstName"] = first;
    ladder["SecondName"] = second;
    ladder["FirstBumpKind"] = ladder["SecondBumpKind"] = "ASSIGNMENT";
    ladder["FirstBumpUnit"] = ladder["SecondBumpUnit"] = "NONE";
    ladder["FirstBumpValues"] = array(first_values);
    ladder["SecondBumpValues"] = array(second_values);
    return request;
}

inline Json::Value const& price_of(Json::Value const& results) {
    return results["Price"][0]["Value"];
}
inline double mean_of(Json::Value const& results) {
    return price_of(results)["Mean"].asDouble();
}
inline Json::Value const& ladder_of(RouteAnswer const& answer, char const* form) {
    return answer.document["Pricer"][form];
}
inline Json::Value const& plot_of(RouteAnswer const& answer, char const* form, Json::ArrayIndex i) {
    return ladder_of(answer, form)["Plots"][i]["Results"];
}

inline void expect_within_errors(Json::Value const& results, double exact) {
    auto const& estimate = price_of(results);
    EXPECT_NEAR(estimate["Mean"].asDouble(), exact,
                4.5 * estimate["Stddev"].asDouble() + 5e-5 * std::max(1.0, exact));
    EXPECT_GT(estimate["Stddev"].asDouble(), 0.0);
}

}  // namespace ximAPI::testing
