#include "smile.hpp"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <ostream>

#include "table.hpp"

namespace xim {

namespace {

constexpr char const* c_model_route = "/GetModelImpliedVolatility";
constexpr char const* c_heston_route = "/GetHestonImpliedVolatility";

/// The record of a route. `document`: a value, const or not.
auto& record_of(auto& document, std::string const& route) {
    return route == c_model_route
               ? document["Model"]["Repricing"]
               : document["ModelConfiguration"]["HestonStochasticVolatilityModel"];
}

bool is_there(Json::Value const& document, char const* outer, char const* inner) {
    Json::Value const& value = document[outer];
    return value.isObject() && value.isMember(inner);
}

/// The text of an enumeration as words: "LOG_MONEYNESS" is "log moneyness", "VOLATILITY_PCT"
/// "volatility, %".
std::string words_of(Json::Value const& kind) {
    std::string words = text(kind);
    std::string const percent = "_PCT";
    if (words.size() > percent.size() && words.substr(words.size() - percent.size()) == percent) {
        words = words.substr(0, words.size() - percent.size()) + ", %";
    }
    std::transform(words.begin(), words.end(), words.begin(), [](unsigned char c) {
        return c == '_' ? ' ' : static_cast<char>(std::tolower(c));
    });
    return words;
}

/// The strikes from left to right.
std::vector<Json::Value> sorted_slice(Json::Value const& slice) {
    std::vector<Json::Value> points(slice.begin(), slice.end());
    std::stable_sort(points.begin(), points.end(), [](auto const& left, auto const& right) {
        return value_of(left["Space"]) < value_of(right["Space"]);
    });
    return points;
}

/// Values that come from prices keep the total volatility where the volatility belongs.
void report_maturity(double years, std::ostream& out) {
    if (std::isnan(years) || years == 1.0) return;
    out << "The maturity is " << number(years)
        << " years, not 1: a volatility found from a price is the total one, times the root of "
           "the maturity.\n";
}

void report_repricing(Json::Value const& record, double years, std::ostream& out) {
    out << text(record["Ticker"]) << " until " << text(record["MaturityDate"]) << ", "
        << words_of(record["PriceKind"]) << '\n';
    report_maturity(years, out);
    Table table({words_of(record["SpaceKind"]), "Market", "Model", "Lower", "Upper", "Error"});
    for (Json::Value const& point : record["Slice"]) {
        auto const [mean, lower, upper] = read_estimate(point["Model"]);
        table.add({number(point["Space"]), number(point["Market"]), number(mean), number(lower),
                   number(upper), number(point["Error"])});
    }
    table.print(out);
}

void report_heston(Json::Value const& record, std::ostream& out) {
    out << "Heston, " << number(record["MaturityTime"]) << " y\n";
    report_maturity(value_of(record["MaturityTime"]), out);
    Table table({words_of(record["SpaceKind"]), words_of(record["ValueKind"])});
    for (Json::Value const& point : record["Slice"]) {
        table.add({number(point["Space"]), number(point["Value"])});
    }
    table.print(out);
}

Chart repricing_chart(Json::Value const& record) {
    Curve market{"market", Mark::line, "#969696", {}, {}};
    Curve model{"model", Mark::points, "#08519c", {}, {}};
    for (Json::Value const& point : sorted_slice(record["Slice"])) {
        auto const [mean, lower, upper] = read_estimate(point["Model"]);
        for (Curve* curve : {&market, &model}) curve->x.push_back(value_of(point["Space"]));
        market.y.push_back(value_of(point["Market"]));
        model.y.push_back(mean);
        model.lower.push_back(lower);
        model.upper.push_back(upper);
    }
    return {text(record["Ticker"]) + " until " + text(record["MaturityDate"]),
            words_of(record["SpaceKind"]),
            words_of(record["PriceKind"]),
            false,
            {},
            {market, model}};
}

Chart heston_chart(Json::Value const& record) {
    Curve value{"", Mark::line_points, "#08519c", {}, {}};
    for (Json::Value const& point : sorted_slice(record["Slice"])) {
        value.x.push_back(value_of(point["Space"]));
        value.y.push_back(value_of(point["Value"]));
    }
    return {"Heston, " + number(record["MaturityTime"]) + " y",
            words_of(record["SpaceKind"]),
            words_of(record["ValueKind"]),
            false,
            {},
            {value}};
}

}  // namespace

std::optional<std::string> find_smile_route(Json::Value const& request) {
    if (is_there(request, "Model", "Repricing")) return c_model_route;
    if (is_there(request, "ModelConfiguration", "HestonStochasticVolatilityModel")) {
        return c_heston_route;
    }
    return std::nullopt;
}

void set_spaces(Json::Value& request, std::string const& route, Spaces const& spaces) {
    Json::Value slice(Json::arrayValue);
    for (std::uint32_t i = 0; i < spaces.size; ++i) {
        double const share = spaces.size == 1 ? 0.0 : i / (spaces.size - 1.0);
        Json::Value point;
        point["Space"] = std::lerp(spaces.first, spaces.last, share);
        slice.append(point);
    }
    record_of(request, route)["Slice"] = slice;
}

void report_smile(Json::Value const& answer, std::string const& route, std::ostream& out) {
    if (route == c_model_route) {
        constexpr double c_year = 365.0 * 86400.0;
        Json::Value const& record = record_of(answer, route);
        double const start = seconds_of(text(answer["ModelConfiguration"]["CalibrationDate"]));
        double const end = seconds_of(text(record["MaturityDate"]));
        report_repricing(record, (end - start) / c_year, out);
    } else {
        report_heston(record_of(answer, route), out);
    }
}

std::vector<Chart> smile_charts(Json::Value const& answer, std::string const& route) {
    Json::Value const& record = record_of(answer, route);
    return {route == c_model_route ? repricing_chart(record) : heston_chart(record)};
}

}  // namespace xim
