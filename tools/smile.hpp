// "/GetModelImpliedVolatility" and "/GetHestonImpliedVolatility": values of options over strikes.
#pragma once

#include <json/value.h>

#include <cstdint>
#include <iosfwd>
#include <optional>
#include <string>
#include <vector>

#include "chart.hpp"

namespace xim {

/// Strikes at equal distances, both ends among them.
struct Spaces {
    double first;
    double last;
    std::uint32_t size;
};

/// The route of the smile that a request describes: that of "Model"."Repricing", else that of
/// "ModelConfiguration"."HestonStochasticVolatilityModel". Nothing without one.
std::optional<std::string> find_smile_route(Json::Value const& request);

/// Replaces the strikes of the request.
void set_spaces(Json::Value& request, std::string const& route, Spaces const& spaces);

/// A line for each strike: market and model, or the value under Heston's parameters. A maturity
/// other than one year is followed by a warning how to read the volatilities.
void report_smile(Json::Value const& answer, std::string const& route, std::ostream& out);

/// The values over the strikes.
std::vector<Chart> smile_charts(Json::Value const& answer, std::string const& route);

}  // namespace xim
