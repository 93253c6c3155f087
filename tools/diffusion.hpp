// "/GetModelDiffusion": paths of a basket under a model.
#pragma once

#include <json/value.h>

#include <iosfwd>
#include <optional>
#include <string>
#include <vector>

#include "chart.hpp"

namespace xim {

/// Paths over the same dates.
struct Fan {
    std::vector<std::string> dates;
    std::vector<int> trajectories;            ///< [path], their numbers
    std::vector<std::vector<double>> values;  ///< [path][date]
};

/// The number of the first path of a request; nothing if it describes no diffusion.
std::optional<int> find_trajectory(Json::Value const& request);

void set_trajectory(Json::Value& request, int trajectory);

/// The diffusion keeps seed, number of trials and step of the last call that had a record for
/// them: a price of a constant amount with the "PricerConfiguration" of `request`. Nothing if the
/// request has none.
std::optional<Json::Value> make_settings_request(Json::Value const& request);

void add_path(Fan& fan, int trajectory, Json::Value const& answer);

/// A line for each date: the first path, and of several the lowest, mean and highest.
void report_fan(Fan const& fan, std::ostream& out);

/// All paths, and their mean in front.
std::vector<Chart> fan_charts(Fan const& fan);

}  // namespace xim
