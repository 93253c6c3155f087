// What a request says that cannot be meant: the library reads past a key and a text that it does
// not know, and prices what is left.
#pragma once

#include <json/value.h>

#include <string>
#include <string_view>
#include <vector>

namespace xim {

/// The members of a request that have no effect, or another one than their text says: unknown keys
/// and texts of enumerations, values of a wrong type, and what a price cannot do without. One line
/// each, with the place of the member; empty for a request without such.
std::vector<std::string> find_remarks(Json::Value const& request);

/// Why a run of a route without result has none, as far as the request tells: dates that are
/// absent, a simulation without paths, a replication without grid. One line each.
std::vector<std::string> find_gaps(Json::Value const& request, std::string_view route);

/// The files of the request's sources that are no JSON: the library passes over them in silence.
/// One line each.
std::vector<std::string> find_unreadable_sources(Json::Value const& request);

}  // namespace xim
