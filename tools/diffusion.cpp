#include "diffusion.hpp"

#include <algorithm>
#include <array>
#include <limits>
#include <ostream>

#include "table.hpp"

namespace xim {

namespace {

/// What the paths do on one date.
struct Spread {
    double lowest{std::numeric_limits<double>::infinity()};
    double mean{};
    double highest{-std::numeric_limits<double>::infinity()};
};

Spread spread_at(Fan const& fan, std::size_t date) {
    Spread spread;
    for (auto const& path : fan.values) {
        spread.lowest = std::min(spread.lowest, path[date]);
        spread.highest = std::max(spread.highest, path[date]);
        spread.mean += path[date];
    }
    spread.mean /= static_cast<double>(fan.values.size());
    return spread;
}

}  // namespace

std::optional<int> find_trajectory(Json::Value const& request) {
    Json::Value const& model = request["Model"];
    if (!model.isObject() || !model["Diffusion"].isObject()) return std::nullopt;
    return model["Diffusion"].get("Trajectory", 0).asInt();
}

void set_trajectory(Json::Value& request, int trajectory) {
    request["Model"]["Diffusion"]["Trajectory"] = trajectory;
}

std::optional<Json::Value> make_settings_request(Json::Value const& request) {
    if (!request.isMember("PricerConfiguration")) return std::nullopt;
    std::string const currency = text(request["Model"]["Diffusion"]["Currency"]);
    std::string const date = text(request["ModelConfiguration"]["CalibrationDate"]);
    Json::Value settings;
    settings["DataConfiguration"] = request["DataConfiguration"];
    settings["ModelConfiguration"] = request["ModelConfiguration"];
    settings["PricerConfiguration"] = request["PricerConfiguration"];
    settings["PricerConfiguration"]["Method"] = "MONTE_CARLO";
    settings["PricerConfiguration"]["MonteCarloNbThreads"] = 1;
    settings["PricerConfiguration"]["WithGreeks"] = false;
    settings["ContractConfiguration"]["Date"] = date;
    settings["ContractConfiguration"]["PremiumCurrency"] = currency;
    settings["ContractConfiguration"]["Kind"] = "CONSOLE";
    settings["ContractConfiguration"]["Script"] = "Pay(1,2199-01-01," + currency + ')';
    return settings;
}

void add_path(Fan& fan, int trajectory, Json::Value const& answer) {
    std::vector<double> values;
    bool const is_first = fan.values.empty();
    for (Json::Value const& point : answer["Model"]["Diffusion"]["Series"]) {
        if (is_first) fan.dates.push_back(text(point["Date"]));
        values.push_back(value_of(point["Value"]));
    }
    values.resize(fan.dates.size(), std::numeric_limits<double>::quiet_NaN());
    fan.trajectories.push_back(trajectory);
    fan.values.push_back(std::move(values));
}

void report_fan(Fan const& fan, std::ostream& out) {
    if (fan.values.empty()) return;
    std::vector<std::string> head{"Date", "Path " + std::to_string(fan.trajectories.front())};
    bool const has_many = fan.values.size() > 1;
    if (has_many) head.insert(head.end(), {"Lowest", "Mean", "Highest"});
    Table table(head);
    for (std::size_t i = 0; i < fan.dates.size(); ++i) {
        std::vector<std::string> row{fan.dates[i], number(fan.values.front()[i])};
        auto const [lowest, mean, highest] = spread_at(fan, i);
        if (has_many) row.insert(row.end(), {number(lowest), number(mean), number(highest)});
        table.add(row);
    }
    if (has_many) {
        out << "Paths " << fan.trajectories.front() << " to " << fan.trajectories.back() << '\n';
    }
    table.print(out);
}

std::vector<Chart> fan_charts(Fan const& fan) {
    constexpr std::array<char const*, 4> c_colours{"#c6dbef", "#9ecae1", "#6baed6", "#4292c6"};
    Chart chart{"Paths", "date", "value", true, {}, {}};
    std::vector<double> x;
    for (std::string const& date : fan.dates) x.push_back(seconds_of(date));
    for (std::size_t k = 0; k < fan.values.size(); ++k) {
        chart.curves.push_back({"", Mark::line, c_colours[k % c_colours.size()], x, fan.values[k]});
    }
    if (fan.values.size() > 1) {
        Curve mean{"mean", Mark::line_points, "#08306b", x, {}};
        for (std::size_t i = 0; i < x.size(); ++i) mean.y.push_back(spread_at(fan, i).mean);
        chart.curves.push_back(std::move(mean));
    }
    return {chart};
}

}  // namespace xim
