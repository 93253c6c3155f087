// Calls a route as a front end does: a JSON document in, a JSON document out.
#pragma once

#include <json/reader.h>
#include <json/value.h>
#include <json/writer.h>

#include <algorithm>
#include <sstream>
#include <string>
#include <vector>

#include "ximAPI/ximAPI.hpp"

namespace ximAPI::testing {

struct RouteAnswer {
    bool success{};
    Json::Value document;

    /// The messages of one level, in order.
    [[nodiscard]] std::vector<std::string> messages(std::string const& level) const {
        std::vector<std::string> found;
        for (Json::Value const& record : document["Logger"]) {
            if (record["Level"].asString() == level) {
                found.push_back(record["Message"].asString());
            }
        }
        return found;
    }

    /// Levels and messages, a line each, for the text of a failing expectation.
    [[nodiscard]] std::string log() const {
        std::string text;
        for (Json::Value const& record : document["Logger"]) {
            text += record["Level"].asString() + ": " + record["Message"].asString() + "\n";
        }
        return text;
    }

    [[nodiscard]] Json::Value const& price() const {
        return document["Pricer"]["Pricer"]["Price"][0]["Value"];
    }
    [[nodiscard]] Json::Value const& greek(char const* name, Json::ArrayIndex index = 0) const {
        return document["Pricer"]["Pricer"][name][index]["Value"];
    }
};

inline Json::Value parse_json(std::string const& text) {
    Json::Value value;
    std::istringstream stream(text);
    stream >> value;
    return value;
}

inline RouteAnswer call_route(char const* path, Json::Value const& request) {
    std::string const text = Json::writeString(Json::StreamWriterBuilder(), request);
    char* out = nullptr;
    RouteAnswer answer;
    answer.success = RequestSafely(path, text.c_str(), &out);
    answer.document = parse_json(out);
    ReleaseAnswer(out);
    return answer;
}

/// A simulation of a script on the demonstration data at 3 May 2021, under Black and Scholes.
inline Json::Value price_request(std::string const& script, int trials = 1000,
                                 std::string const& currency = "USD") {
    Json::Value request;
    request["ContractConfiguration"]["Date"] = "2021-05-03";
    request["ContractConfiguration"]["PremiumCurrency"] = currency;
    request["ContractConfiguration"]["Kind"] = "CONSOLE";
    request["ContractConfiguration"]["Script"] = script;
    request["ModelConfiguration"]["CalibrationDate"] = "2021-05-03";
    request["ModelConfiguration"]["Name"] = "BLACK_SCHOLES_MODEL";
    Json::Value& pricer = request["PricerConfiguration"];
    pricer["Method"] = "MONTE_CARLO";
    pricer["MonteCarloTrials"] = trials;
    pricer["MonteCarloSeed"] = 23051994;
    pricer["MonteCarloNbThreads"] = 1;
    pricer["MonteCarloAntitheticFactor"] = 50;
    return request;
}

}  // namespace ximAPI::testing
