#include "details.hpp"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <ostream>
#include <string>

#include "table.hpp"

namespace xim {

namespace {

constexpr double c_percent = 100.0;

Json::Value const& record_of(Json::Value const& answer) {
    return answer["Pricer"]["MCDetails"];
}

/// The number of paths behind a point: its "Trials" is the index of the last one.
double paths_of(Json::Value const& point) {
    return value_of(point["Trials"]) + 1.0;
}

void add_point(Curve& curve, double x, Estimate const& estimate, double factor) {
    curve.x.push_back(x);
    curve.y.push_back(factor * estimate.mean);
    curve.lower.push_back(factor * estimate.lower);
    curve.upper.push_back(factor * estimate.upper);
}

void report_head(Json::Value const& answer, std::ostream& out) {
    Json::Value const& record = record_of(answer);
    double price = 0.0;
    for (Json::Value const& payment : record["Decomposition"]) {
        price += read_estimate(payment["Price"]).mean;
    }
    out << "Price            " << number(price) << ' '
        << text(answer["ContractConfiguration"]["PremiumCurrency"]) << '\n'
        << "Duration         " << number(record["Duration"]["Mean"]) << " years\n";
}

void report_payments(Json::Value const& payments, std::ostream& out) {
    Table table(
        {"Date", "Price", "Lower", "Upper", "Paid %", "Positive %", "Ends %", "Ended until %"});
    for (Json::Value const& row : payments) {
        table.add({text(row["Date"]), number(row["Price"]["Mean"]), number(row["Price"]["Lower"]),
                   number(row["Price"]["Upper"]), number(row["ProbaExists"]["Mean"]),
                   number(row["ProbaPositive"]["Mean"]), number(row["ProbaIsKilled"]["Mean"]),
                   number(row["ProbaHasBeenKilled"]["Mean"])});
    }
    out << "\nPayments\n";
    table.print(out);
}

void report_barriers(Json::Value const& barriers, std::ostream& out) {
    if (barriers.empty()) return;
    Table table({"#", "Date", "Holds %", "Lower", "Upper", "Condition"});
    int rank = 0;
    for (Json::Value const& row : barriers) {
        auto const [mean, lower, upper] = read_estimate(row["ProbaIn"]);
        table.add({std::to_string(++rank), text(row["EventDate"]), number(c_percent * mean),
                   number(c_percent * lower), number(c_percent * upper), text(row["EventScript"])});
    }
    out << "\nConditions, of the paths that reach them\n";
    table.print(out);
}

void report_fixings(Json::Value const& fixings, std::ostream& out) {
    if (fixings.empty()) return;
    Table table({"Date", "Underlying", "Currency", "Mean", "Lower", "Upper"});
    for (Json::Value const& row : fixings) {
        auto const [mean, lower, upper] = read_estimate(row["Value"]);
        table.add({text(row["FixingDate"]), text(row["Ticker"]), text(row["Currency"]),
                   number(mean), number(lower), number(upper)});
    }
    out << "\nForward fixings, of the paths that reach them\n";
    table.print(out);
}

/// About ten points of the list.
void report_convergence(Json::Value const& convergence, std::ostream& out) {
    constexpr Json::ArrayIndex c_most_rows = 10;
    if (convergence.empty()) return;
    Table table({"Paths", "Price", "Lower", "Upper", "Standard error"});
    Json::ArrayIndex const size = convergence.size();
    Json::ArrayIndex const step = (size + c_most_rows - 1) / c_most_rows;
    for (Json::ArrayIndex i = (size - 1) % step; i < size; i += step) {
        Json::Value const& result = convergence[i]["Result"];
        table.add({number(paths_of(convergence[i])), number(result["Mean"]),
                   number(result["Lower"]), number(result["Upper"]), number(result["Stddev"])});
    }
    out << "\nConvergence\n";
    table.print(out);
}

/// The bounds of the band without its wide beginning.
std::optional<std::pair<double, double>> settled_range(Curve const& band) {
    constexpr std::size_t c_beginning = 20;  // one part of so many
    double lower = std::numeric_limits<double>::infinity();
    double upper = -lower;
    for (std::size_t i = band.x.size() / c_beginning; i < band.x.size(); ++i) {
        if (std::isfinite(band.lower[i])) lower = std::min(lower, band.lower[i]);
        if (std::isfinite(band.upper[i])) upper = std::max(upper, band.upper[i]);
    }
    if (!(lower < upper)) return std::nullopt;
    constexpr double c_margin = 0.1;
    double const margin = c_margin * (upper - lower);
    return std::pair{lower - margin, upper + margin};
}

Chart convergence_chart(Json::Value const& convergence, std::string const& currency) {
    Curve band{"confidence", Mark::band, "#9ecae1", {}, {}};
    Curve mean{"mean", Mark::line, "#08519c", {}, {}};
    for (Json::Value const& point : convergence) {
        Estimate const estimate = read_estimate(point["Result"]);
        add_point(band, paths_of(point), estimate, 1.0);
        mean.x.push_back(paths_of(point));
        mean.y.push_back(estimate.mean);
    }
    auto const range = settled_range(band);
    return {"Convergence", "paths", "price, " + currency, false, range, {band, mean}};
}

Chart barrier_chart(Json::Value const& barriers) {
    Curve points{"holds", Mark::points, "#d62728", {}, {}};
    int rank = 0;
    for (Json::Value const& row : barriers) {
        add_point(points, seconds_of(text(row["EventDate"])), read_estimate(row["ProbaIn"]),
                  c_percent);
        points.labels.push_back(std::to_string(++rank));
    }
    return {"Conditions, by their number in the table",
            "date",
            "% of the paths that reach them",
            true,
            std::pair{-5.0, 105.0},
            {points}};
}

Chart payment_chart(Json::Value const& payments) {
    struct Row {
        char const* key;
        char const* name;
        char const* colour;
        Mark mark;
    };
    constexpr std::array<Row, 3> c_rows{
        {{"ProbaExists", "paid", "#08519c", Mark::line_points},
         {"ProbaPositive", "positive", "#2ca02c", Mark::points},
         {"ProbaHasBeenKilled", "ended until", "#ff7f0e", Mark::line_points}}};
    Chart chart{"Payments", "date", "% of all paths", true, std::pair{-5.0, 105.0}, {}};
    for (Row const& row : c_rows) {
        Curve curve{row.name, row.mark, row.colour, {}, {}};
        for (Json::Value const& payment : payments) {
            add_point(curve, seconds_of(text(payment["Date"])), read_estimate(payment[row.key]),
                      1.0);
        }
        chart.curves.push_back(std::move(curve));
    }
    return chart;
}

}  // namespace

void prepare_details(Json::Value& request) {
    constexpr int c_points = 200;
    Json::Value& record = request["Pricer"]["MCDetails"];
    if (!record.isMember("ConvergenceSize")) record["ConvergenceSize"] = c_points;
}

bool has_details(Json::Value const& answer) {
    Json::Value const& payments = record_of(answer)["Decomposition"];
    return std::any_of(payments.begin(), payments.end(), [](Json::Value const& payment) {
        return std::isfinite(read_estimate(payment["Price"]).mean);
    });
}

void report_details(Json::Value const& answer, std::ostream& out) {
    Json::Value const& record = record_of(answer);
    report_head(answer, out);
    report_payments(record["Decomposition"], out);
    report_barriers(record["Barriers"], out);
    report_fixings(record["ForwardFixings"], out);
    report_convergence(record["Convergence"], out);
}

std::vector<Chart> details_charts(Json::Value const& answer) {
    Json::Value const& record = record_of(answer);
    return {convergence_chart(record["Convergence"],
                              text(answer["ContractConfiguration"]["PremiumCurrency"])),
            barrier_chart(record["Barriers"]), payment_chart(record["Decomposition"])};
}

}  // namespace xim
