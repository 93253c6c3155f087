#include "ladder.hpp"

#include <array>
#include <ostream>
#include <utility>

namespace xim {

namespace {

/// How a shift reads in front of its value.
std::string verb_of(std::string const& kind) {
    if (kind == "ADDITIVE") return "plus";
    if (kind == "HYBRID") return "moved by";
    if (kind == "MULTIPLICATIVE") return "times";
    return "set to";
}

std::string unit_of(std::string const& unit) {
    if (unit == "PERCENTAGE") return " %";
    if (unit == "BASIS_POINT") return " bp";
    return "";
}

Axis make_axis(std::string const& name, Json::Value const& kind, Json::Value const& unit) {
    std::string const sign = unit_of(text(unit));
    return {name + ' ' + verb_of(text(kind)) + (sign.empty() ? "" : "," + sign), {}, {}};
}

void add_value(Axis& axis, double value) {
    axis.values.push_back(value);
    axis.labels.push_back(number(value));
}

Axis read_scenarios(Json::Value const& plots) {
    Axis axis{"scenario", {}, {}};
    for (Json::Value const& plot : plots) {
        std::string label;
        for (Json::Value const& shift : plot["Scenarios"]) {
            label += (label.empty() ? "" : ", ") + text(shift["Name"]) + ' ' +
                     verb_of(text(shift["BumpKind"])) + ' ' + number(shift["BumpValue"]) +
                     unit_of(text(shift["BumpUnit"]));
        }
        axis.values.push_back(static_cast<double>(axis.values.size() + 1));
        axis.labels.push_back(label.empty() ? "nothing" : label);
    }
    return axis;
}

/// What a results record reports, by name.
std::vector<std::pair<std::string, Estimate>> read_results(Json::Value const& results) {
    std::vector<std::pair<std::string, Estimate>> found{
        {"Price", read_estimate(results["Price"][0]["Value"])}};
    for (std::string const greek : {"Delta", "Gamma", "Vega", "Volga", "Vanna"}) {
        for (Json::Value const& row : results[greek]) {
            found.emplace_back(greek + ' ' + text(row["Ticker"]), read_estimate(row["Value"]));
        }
    }
    for (std::string const greek : {"XGamma", "XVolga", "XVanna", "Cega"}) {
        for (Json::Value const& cell : results[greek]) {
            found.emplace_back(
                greek + ' ' + text(cell["FirstTicker"]) + " / " + text(cell["SecondTicker"]),
                read_estimate(cell["Value"]));
        }
    }
    return found;
}

/// All points report the same names in the same order.
void add_point(std::vector<Series>& series, Json::Value const& results) {
    auto const found = read_results(results);
    for (std::size_t i = 0; i < series.size() && i < found.size(); ++i) {
        series[i].points.push_back(found[i].second);
    }
}

std::vector<Series> start_series(Json::Value const& central) {
    std::vector<Series> series;
    for (auto const& [name, estimate] : read_results(central)) {
        series.push_back({name, estimate, {}});
    }
    return series;
}

void report_line(Ladder const& ladder, std::ostream& out) {
    std::vector<std::string> head{ladder.first.name, "Price", "Lower", "Upper"};
    for (std::size_t i = 1; i < ladder.series.size(); ++i) {
        head.push_back(ladder.series[i].name);
    }
    Table table(head);
    auto const add = [&](std::string const& label, auto const& estimate_of) {
        Estimate const& price = estimate_of(ladder.series.front());
        std::vector<std::string> row{label, number(price.mean), number(price.lower),
                                     number(price.upper)};
        for (std::size_t i = 1; i < ladder.series.size(); ++i) {
            row.push_back(number(estimate_of(ladder.series[i]).mean));
        }
        table.add(row);
    };
    add("(central)", [](Series const& series) { return series.central; });
    for (std::size_t k = 0; k < ladder.first.labels.size(); ++k) {
        add(ladder.first.labels[k], [k](Series const& series) { return series.points[k]; });
    }
    table.print(out);
}

void report_grid(Ladder const& ladder, std::ostream& out) {
    auto const& second = *ladder.second;
    out << "Down: " << ladder.first.name << "\nAcross: " << second.name << '\n';
    for (Series const& series : ladder.series) {
        out << '\n' << series.name << ", central " << number(series.central.mean) << '\n';
        if (series.points.empty()) continue;
        std::vector<std::string> head{""};
        head.insert(head.end(), second.labels.begin(), second.labels.end());
        Table table(head);
        for (std::size_t i = 0; i < ladder.first.labels.size(); ++i) {
            std::vector<std::string> row{ladder.first.labels[i]};
            for (std::size_t j = 0; j < second.labels.size(); ++j) {
                row.push_back(number(series.points[i * second.labels.size() + j].mean));
            }
            table.add(row);
        }
        table.print(out);
    }
}

}  // namespace

std::optional<std::string> find_ladder_route(Json::Value const& request) {
    Json::Value const& pricer = request["Pricer"];
    for (std::string const form : {"Ladder1D", "Ladder2D", "Ladder"}) {
        if (pricer.isObject() && pricer.isMember(form)) return "/Get" + form;
    }
    return std::nullopt;
}

Ladder read_ladder(Json::Value const& answer, std::string const& route) {
    Json::Value const& json = answer["Pricer"][route.substr(4)];
    Ladder ladder{text(answer["ContractConfiguration"]["PremiumCurrency"]),
                  {},
                  {},
                  start_series(json["CentralResult"])};
    if (route == "/GetLadder2D") {
        ladder.first =
            make_axis(text(json["FirstName"]), json["FirstBumpKind"], json["FirstBumpUnit"]);
        ladder.second =
            make_axis(text(json["SecondName"]), json["SecondBumpKind"], json["SecondBumpUnit"]);
        for (Json::Value const& x : json["Plots"]["Rows"]) add_value(ladder.first, value_of(x));
        for (Json::Value const& x : json["Plots"]["Cols"]) add_value(*ladder.second, value_of(x));
        for (Json::Value const& row : json["Plots"]["Data"]) {
            for (Json::Value const& cell : row) add_point(ladder.series, cell["Results"]);
        }
        return ladder;
    }
    if (route == "/GetLadder1D") {
        ladder.first = make_axis(text(json["Name"]), json["BumpKind"], json["BumpUnit"]);
        for (Json::Value const& plot : json["Plots"]) {
            add_value(ladder.first, value_of(plot["BumpValue"]));
        }
    } else {
        ladder.first = read_scenarios(json["Plots"]);
    }
    for (Json::Value const& plot : json["Plots"]) add_point(ladder.series, plot["Results"]);
    return ladder;
}

void report_ladder(Ladder const& ladder, std::ostream& out) {
    out << "Prices in " << ladder.contract_currency << '\n';
    if (ladder.second) {
        report_grid(ladder, out);
    } else {
        report_line(ladder, out);
    }
}

void report_solution(Json::Value const& answer, std::ostream& out) {
    Json::Value const& solver = answer["Pricer"]["Solver"];
    out << "Target price     " << number(solver["Price"]) << ' '
        << text(answer["ContractConfiguration"]["PremiumCurrency"]) << '\n'
        << "Between prices   " << number(solver["Lower"]) << " and " << number(solver["Upper"])
        << '\n';
    Table table({"Feature", "Value", "From", "To"});
    for (Json::Value const& feature : solver["FeaturesToSolve"]) {
        table.add({text(feature["Name"]), number(feature["Root"]), number(feature["Lower"]),
                   number(feature["Upper"])});
    }
    table.print(out);
}

}  // namespace xim
