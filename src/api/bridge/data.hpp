// Decides which market data sources a call uses, and fetches what it needs.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "ximAPI/configuration.hpp"
#include "ximAPI/results/data.hpp"

namespace ximCORE::Contract {
class Observable;
}

namespace ximAPI::Toolkit {

/// Fetches into the market data cache everything that `dependencies` asks it for, and updates the
/// status of the sources.
///
/// `dependencies`: asks the cache for each item that the call will read and answers whether nothing
/// was missing. It runs once per round of fetching, because an item that has arrived can reveal the
/// next need; after ten rounds whatever has arrived has to do. An empty one raises
/// std::bad_function_call.
///
/// Without sources the demonstration data answers, after a WARNING. With sources the login on the
/// market database is checked first, unless `WithoutLogin` is set; a refusal writes four records
/// and leaves everything undeclared. Always true: a gap in the data shows when it is read.
bool set_data(Data& data, std::function<bool()> const& dependencies);

/// Makes the runtime observable of an observation on the dates of a schedule.
/// False after an ERROR record when there is nothing to observe or the encoded form does not read.
[[nodiscard]] bool set_observable(std::vector<std::string> const& schedule,
                                  Observation& observation,
                                  ximCORE::Contract::Observable& observable);

}  // namespace ximAPI::Toolkit
