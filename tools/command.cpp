#include "command.hpp"

#include <json/reader.h>
#include <json/writer.h>

#include <fstream>
#include <iostream>
#include <iterator>
#include <sstream>

#include "ximAPI/ximAPI.hpp"

namespace xim {

namespace {

Json::Value parse(std::string const& text) {
    Json::CharReaderBuilder builder;
    Json::Value document;
    std::string problems;
    std::istringstream stream(text);
    if (!Json::parseFromStream(builder, stream, &document, &problems)) {
        throw Json::RuntimeError(problems);
    }
    if (!document.isObject()) {
        throw Json::RuntimeError("The request is not a JSON object.");
    }
    return document;
}

Json::Value& member(Json::Value& document, char const* name) {
    Json::Value& value = document[name];
    if (!value.isNull() && !value.isObject()) {
        throw Json::RuntimeError(std::string("\"") + name + "\" is not a JSON object.");
    }
    return value;
}

}  // namespace

std::optional<std::string> read_text(std::string const& path) {
    if (path == "-") {
        return std::string(std::istreambuf_iterator<char>(std::cin), {});
    }
    std::ifstream file(path, std::ios::binary);
    if (!file) {
        return std::nullopt;
    }
    std::ostringstream text;
    text << file.rdbuf();
    if (file.bad()) {
        return std::nullopt;
    }
    return text.str();
}

Json::Value prepare(std::string const& text, Overrides const& overrides) {
    Json::Value document = parse(text);
    if (!overrides.markets.empty()) {
        Json::Value& data = member(document, "DataConfiguration");
        data["WithoutLogin"] = true;
        data["Sources"] = Json::Value(Json::arrayValue);
        for (std::string const& market : overrides.markets) {
            Json::Value source;
            source["File"] = market;
            source["IsActivated"] = true;
            data["Sources"].append(source);
        }
    }
    if (overrides.trials) {
        member(document, "PricerConfiguration")["MonteCarloTrials"] = *overrides.trials;
    }
    if (overrides.threads) {
        member(document, "PricerConfiguration")["MonteCarloNbThreads"] = *overrides.threads;
    }
    if (overrides.contract_date) {
        member(document, "ContractConfiguration")["Date"] = *overrides.contract_date;
        member(document, "ModelConfiguration")["CalibrationDate"] = *overrides.contract_date;
    }
    return document;
}

Answer run(std::string const& path, std::string const& request) {
    Answer answer;
    char* text = nullptr;
    answer.success = RequestSafely(path.c_str(), request.c_str(), &text);
    answer.text = text == nullptr ? "" : text;
    ReleaseAnswer(text);
    answer.document = parse(answer.text);
    return answer;
}

}  // namespace xim
