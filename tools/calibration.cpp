#include "calibration.hpp"

#include <algorithm>
#include <array>
#include <ostream>
#include <string>

#include "table.hpp"

namespace xim {

namespace {

Json::Value const& flat_rows(Json::Value const& answer) {
    return answer["ModelConfiguration"]["BlackScholesModel"]["Volatility"];
}

Json::Value const& term_structure_rows(Json::Value const& answer) {
    return answer["ModelConfiguration"]["BlackScholesTermStructureModel"]["Volatility"];
}

std::string colour_of(std::size_t rank) {
    constexpr std::array<char const*, 6> c_colours{"#08519c", "#d62728", "#2ca02c",
                                                   "#ff7f0e", "#9467bd", "#8c564b"};
    return c_colours[rank % c_colours.size()];
}

/// All underlyings have the fixing dates of the contract.
void report_term_structure(Json::Value const& rows, std::ostream& out) {
    std::vector<std::string> head{"Until"};
    for (Json::Value const& row : rows) head.push_back(text(row["Ticker"]));
    Table table(head);
    Json::ArrayIndex const nb_dates = rows.empty() ? 0 : rows[0]["Volatility"].size();
    for (Json::ArrayIndex i = 0; i < nb_dates; ++i) {
        std::vector<std::string> line{text(rows[0]["Volatility"][i]["Tenor"])};
        for (Json::Value const& row : rows) {
            line.push_back(number(row["Volatility"][i]["Volatility"]));
        }
        table.add(line);
    }
    table.print(out);
}

/// The volatility of an interval stands at its end; the first one starts at the valuation date.
Curve steps(Json::Value const& row, double start, std::string const& colour) {
    Curve curve{text(row["Ticker"]) + ", intervals", Mark::steps_back, colour, {}, {}};
    for (Json::Value const& point : row["Volatility"]) {
        if (curve.x.empty()) {
            curve.x.push_back(start);
            curve.y.push_back(value_of(point["Volatility"]));
        }
        curve.x.push_back(seconds_of(text(point["Tenor"])));
        curve.y.push_back(value_of(point["Volatility"]));
    }
    return curve;
}

}  // namespace

void report_calibration(Json::Value const& flat, Json::Value const& term_structure,
                        std::ostream& out) {
    Table table({"Underlying", "Volatility"});
    for (Json::Value const& row : flat_rows(flat)) {
        table.add({text(row["Ticker"]), number(row["Volatility"])});
    }
    out << "Volatilities, percent\n";
    table.print(out);
    out << "\nVolatilities from the date before, percent\n";
    report_term_structure(term_structure_rows(term_structure), out);
}

std::vector<Chart> calibration_charts(Json::Value const& flat, Json::Value const& term_structure) {
    double const start = seconds_of(text(flat["ContractConfiguration"]["Date"]));
    Chart chart{"Calibrated volatilities", "date", "volatility, %", true, {}, {}};
    double end = start;
    std::size_t rank = 0;
    for (Json::Value const& row : term_structure_rows(term_structure)) {
        chart.curves.push_back(steps(row, start, colour_of(rank++)));
        if (!chart.curves.back().x.empty()) end = std::max(end, chart.curves.back().x.back());
    }
    rank = 0;
    for (Json::Value const& row : flat_rows(flat)) {
        double const volatility = value_of(row["Volatility"]);
        chart.curves.push_back({text(row["Ticker"]) + ", flat",
                                Mark::line_points,
                                colour_of(rank++),
                                {start, end},
                                {volatility, volatility}});
    }
    return {chart};
}

}  // namespace xim
