// A ladder as a person looks at it: named series of estimates over one axis or two.
#pragma once

#include <json/value.h>

#include <iosfwd>
#include <optional>
#include <string>
#include <vector>

#include "table.hpp"

namespace xim {

/// The values that one name takes.
struct Axis {
    std::string name;                 ///< with kind and unit
    std::vector<std::string> labels;  ///< [value]
    std::vector<double> values;       ///< [value]
};

/// The price, or a greek of an underlying or a pair.
struct Series {
    std::string name;
    Estimate central;
    std::vector<Estimate> points;  ///< [point]; of two axes [first * second values + second]
};

struct Ladder {
    std::string contract_currency;
    Axis first;
    std::optional<Axis> second;
    std::vector<Series> series;  ///< the price is the first
};

/// The route of the ladder that a request describes: the first of "Pricer"."Ladder1D", "Ladder2D"
/// and "Ladder" that is there. Nothing without one.
std::optional<std::string> find_ladder_route(Json::Value const& request);

/// The answered ladder of a route.
Ladder read_ladder(Json::Value const& answer, std::string const& route);

/// One table, a line for each point; of two axes a table for each series.
void report_ladder(Ladder const& ladder, std::ostream& out);

/// The solution of "/GetImpliedContractFeature".
void report_solution(Json::Value const& answer, std::ostream& out);

}  // namespace xim
