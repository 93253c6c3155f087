// The frame round each entry point that takes a log: start and end records, exceptions as records,
// market data forgotten.
#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "ximAPI/log.hpp"

namespace ximAPI::Toolkit {

/// The work of one call. It holds addresses of the call's arguments, so it lives no longer than the
/// call.
using Work = std::function<bool()>;

/// Adds the INFO record "Execution of <name> started at <local time>". Always true.
[[nodiscard]] bool Begin(std::string_view name);

/// Ends a call: adds the record "Execution of <name> ended at <local time>" at SUCCESS or FAILURE,
/// moves the whole log of the process behind what `logs` holds, clears the stack of scenarios and
/// the market data cache. Gives `result` back.
[[nodiscard]] bool End(std::string_view name, bool result, std::vector<Log>& logs);

/// Runs `work` between `Begin` and `End` and gives its result. An exception, also that of an empty
/// `work`, ends the call with false after a record at level EXCEPTION. Not reentrant: one call at a
/// time.
[[nodiscard]] bool request(std::string_view name, std::vector<Log>& logs, Work const& work);

/// Inside a handler: the text of the exception, "Unknown exception" for one that is no
/// `std::exception`.
[[nodiscard]] std::string current_exception_text();

}  // namespace ximAPI::Toolkit
