// "/GetBlackScholesCalibration" and "/GetBlackScholesTermStructureCalibration": the volatilities
// that the models take from the market for one contract.
#pragma once

#include <json/value.h>

#include <iosfwd>
#include <vector>

#include "chart.hpp"

namespace xim {

/// One volatility for each underlying; then those between the fixing dates.
/// `flat`, `term_structure`: the answers of the two routes.
void report_calibration(Json::Value const& flat, Json::Value const& term_structure,
                        std::ostream& out);

/// The volatilities over time, a colour for each underlying.
std::vector<Chart> calibration_charts(Json::Value const& flat, Json::Value const& term_structure);

}  // namespace xim
