// "/GetMCPriceWithDetails": the anatomy of a simulation.
#pragma once

#include <json/value.h>

#include <iosfwd>
#include <vector>

#include "chart.hpp"

namespace xim {

/// Asks for about 200 points of the convergence when the request says nothing about it.
void prepare_details(Json::Value& request);

/// Whether anything was computed: the route answers true when the market does not suffice, too.
bool has_details(Json::Value const& answer);

/// Price and duration, then tables of payments, conditions, forward fixings and convergence.
void report_details(Json::Value const& answer, std::ostream& out);

/// The convergence with its confidence band, the probabilities of the conditions and of the
/// payments over time.
std::vector<Chart> details_charts(Json::Value const& answer);

}  // namespace xim
