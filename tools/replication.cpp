#include "replication.hpp"

#include <cmath>
#include <ostream>

#include "table.hpp"

namespace xim {

namespace {

Json::Value const& record_of(Json::Value const& answer) {
    return answer["Pricer"]["StaticReplication1D"];
}

std::string kind_of(Json::Value const& option) {
    return text(option["PayoffKind"]) == "PUT_TYPE" ? "put" : "call";
}

/// The largest distance of portfolio and payoff on the grid, and where it is.
void report_distance(Json::Value const& points, std::ostream& out) {
    double worst = 0.0;
    double level = 0.0;
    for (Json::Value const& point : points) {
        double const distance =
            std::abs(value_of(point["Replication"]) - value_of(point["Payoff"]));
        if (!(distance > worst)) continue;
        worst = distance;
        level = value_of(point["Spot"]);
    }
    if (points.empty()) return;
    out << "Grid           " << points.size() << " levels, " << number(points[0]["Spot"]) << " to "
        << number(points[points.size() - 1]["Spot"]) << '\n'
        << "Worst distance " << number(worst) << " at a level of the grid";
    if (worst > 0.0) out << ", " << number(level);
    out << '\n';
}

/// The quantities of one kind over their strikes.
Curve quantities(Json::Value const& options, std::string const& kind, std::string const& name,
                 std::string const& colour) {
    Curve curve{name, Mark::impulses, colour, {}, {}};
    for (Json::Value const& option : options) {
        if (kind_of(option) != kind) continue;
        curve.x.push_back(value_of(option["Strike"]));
        curve.y.push_back(value_of(option["Quantity"]));
    }
    return curve;
}

}  // namespace

void prepare_replication(Json::Value& request) {
    constexpr int c_strikes = 100;
    constexpr double c_lower = 0.5;
    constexpr double c_upper = 1.5;
    Json::Value& pricer = request["PricerConfiguration"];
    auto const fill = [&pricer](char const* key, Json::Value const& value) {
        if (!pricer.isMember(key)) pricer[key] = value;
    };
    fill("ClosedFormMoneynessGridSize", c_strikes);
    fill("ClosedFormMoneynessGridLowerBound", c_lower);
    fill("ClosedFormMoneynessGridUpperBound", c_upper);
}

void report_replication(Json::Value const& answer, std::ostream& out) {
    Json::Value const& record = record_of(answer);
    Table table({"Item", "Strike", "Quantity", "Price", "Maturity"});
    double sum = 0.0;
    auto const add = [&](std::string const& item, std::string const& strike,
                         Json::Value const& entry) {
        table.add({item, strike, number(entry["Quantity"]), number(entry["Price"]),
                   text(entry["MaturityDate"])});
        sum += value_of(entry["Price"]);
    };
    Json::Value const& zero_coupon = record["ZeroCoupon"][0];
    if (!text(zero_coupon["MaturityDate"]).empty()) add("zero coupon", "", zero_coupon);
    for (Json::Value const& option : record["Vanillas"]) {
        add(kind_of(option), number(option["Strike"]), option);
    }
    table.print(out);
    out << "\nSum of prices  " << number(sum) << '\n';
    report_distance(record["Replication"], out);
}

std::vector<Chart> replication_charts(Json::Value const& answer) {
    Json::Value const& record = record_of(answer);
    Curve payoff{"payoff", Mark::line, "#08519c", {}, {}};
    Curve portfolio{"replication", Mark::points, "#d62728", {}, {}};
    for (Json::Value const& point : record["Replication"]) {
        for (Curve* curve : {&payoff, &portfolio}) curve->x.push_back(value_of(point["Spot"]));
        payoff.y.push_back(value_of(point["Payoff"]));
        portfolio.y.push_back(value_of(point["Replication"]));
    }
    Curve zero{"", Mark::line, "#969696", {}, {}};  // as wide as the payoff
    if (!payoff.x.empty())
        zero = {"", Mark::line, "#969696", {payoff.x.front(), payoff.x.back()}, {0.0, 0.0}};
    std::string const level = "level of the underlying at the fixing";
    Json::Value const& options = record["Vanillas"];
    return {{"Payoff and replication", level, "", false, {}, {payoff, portfolio}},
            {"Quantities",
             "strike",
             "",
             false,
             {},
             {zero, quantities(options, "put", "puts", "#ff7f0e"),
              quantities(options, "call", "calls", "#2ca02c")}}};
}

}  // namespace xim
