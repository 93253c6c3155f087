// How an answer reads for a person.
#pragma once

#include <json/value.h>

#include <iosfwd>

namespace xim {

/// The records of the log that matter to a person: warnings, errors, exceptions. One line each;
/// equal ones in a row, as each path may leave one, once with their number.
void report_log(Json::Value const& answer, std::ostream& out);

/// Why the script of a rejected contract does not read, with a caret; nothing for a contract of
/// another kind and for a script without remarks.
void report_script(Json::Value const& request, std::ostream& out);

/// Price, confidence interval, standard error, and the greeks as a table.
void report_price(Json::Value const& answer, std::ostream& out);

/// Script, underlyings, correlations, fixings and events.
void report_contract(Json::Value const& answer, std::ostream& out);

}  // namespace xim
