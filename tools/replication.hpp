// "/GetStaticReplication1D": a payoff as a portfolio of options.
#pragma once

#include <json/value.h>

#include <iosfwd>
#include <vector>

#include "chart.hpp"

namespace xim {

/// Gives the grid of strikes what the request leaves out: 100 strikes on each side, from 0.5 to
/// 1.5 times the forward.
void prepare_replication(Json::Value& request);

/// The zero coupon, the puts and the calls with strike, quantity and price, their sum, and how far
/// the portfolio is from the payoff at worst.
void report_replication(Json::Value const& answer, std::ostream& out);

/// Payoff and portfolio over the level of the underlying, and the quantities over their strikes.
std::vector<Chart> replication_charts(Json::Value const& answer);

}  // namespace xim
