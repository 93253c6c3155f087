// The rows of tests/published/prices.json, and the request that reprices one.
#pragma once

#include <gtest/gtest.h>
#include <json/value.h>

#include <fstream>
#include <iterator>
#include <optional>
#include <string>
#include <vector>

#include "api/route_call.hpp"

namespace ximAPI::testing {

struct PublishedPrice {
    std::string name;
    Json::Value row;

    [[nodiscard]] double exact() const { return row["exact"].asDouble(); }
};

inline void PrintTo(PublishedPrice const& price, std::ostream* out) {
    *out << price.name << " (" << price.row["source"].asString() << ")";
}

/// The rows that a filter takes, in the order of the file.
template <class Filter>
std::vector<PublishedPrice> read_published_prices(Filter const& filter) {
    std::ifstream file(XIM_ROOT "/tests/published/prices.json");
    std::vector<PublishedPrice> prices;
    for (Json::Value const& row : parse_json({std::istreambuf_iterator<char>(file), {}})) {
        if (filter(row)) {
            prices.push_back({.name = row["name"].asString(), .row = row});
        }
    }
    return prices;
}

/// The source description of a market with the row's assets alone.
inline Json::Value market_of(Json::Value const& row) {
    Json::Value market;
    market["Kind"] = "manual";
    Json::Value& items = market["Data"];
    auto const add = [&items](char const* type) -> Json::Value& {
        Json::Value& item = items.append(Json::Value(Json::objectValue));
        item["type"] = type;
        return item;
    };
    Json::Value& currency = add("Currency");
    currency["ticker"] = currency["name"] = row["currency"];
    currency["forward_rate_affinity_factor"] = 0.5;
    currency["calendar"] = "dummy";
    currency["day_counter"] = "act_365";
    for (Json::Value const& asset : row["assets"]) {
        Json::Value& underlying = add("ShareUnderlying");
        underlying["ticker"] = underlying["name"] = asset["ticker"];
        underlying["currency"] = row["currency"];
        underlying["fixing_calendar"] = "dummy";
        underlying["day_counter"] = "act_365";
        Json::Value& spot = add("Spot");
        spot["bid"] = spot["ask"] = asset["spot"];
        Json::Value& volatility = add("BlackScholesVolatility");
        volatility["value"] = asset["volatility"].asDouble() * 100.0;
        for (Json::Value* dated : {&spot, &volatility}) {
            (*dated)["ticker"] = asset["ticker"];
            (*dated)["date"] = "2021-05-03";
        }
    }
    for (Json::Value const& pair : row["correlations"]) {
        Json::Value& correlation = add("Correlation");
        correlation["first"] = pair["first"];
        correlation["second"] = pair["second"];
        correlation["date"] = "2021-05-03";
        correlation["value"] = pair["value"].asDouble() * 100.0;
    }
    return market;
}

/// Prices a row by a method, on a market file of its own that is removed afterwards.
inline RouteAnswer reprice(PublishedPrice const& price, Json::Value const& pricer,
                           Json::Value const& model) {
    std::string const path = ::testing::TempDir() + "xim_published_" + price.name + ".json";
    std::ofstream(path) << market_of(price.row);
    Json::Value request =
        price_request(price.row["script"].asString(), 0, price.row["currency"].asString());
    request["DataConfiguration"]["WithoutLogin"] = true;
    request["DataConfiguration"]["Sources"][0]["File"] = path;
    request["DataConfiguration"]["Sources"][0]["IsActivated"] = true;
    for (auto const& key : pricer.getMemberNames()) {
        request["PricerConfiguration"][key] = pricer[key];
    }
    for (auto const& key : model.getMemberNames()) {
        request["ModelConfiguration"][key] = model[key];
    }
    RouteAnswer answer = call_route("/GetPrice", request);
    std::remove(path.c_str());
    return answer;
}

}  // namespace ximAPI::testing
