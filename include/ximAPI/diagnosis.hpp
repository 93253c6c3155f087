// Tells why a script is rejected, and where, and warns of scripts that are accepted but mean
// something else than they look like. It runs the very parser that builds the contract, so the two
// always agree.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "ximAPI/export.hpp"

namespace ximAPI {

/// One observation about a script. A text that does not apply is empty.
struct ScriptRemark {
    std::size_t line{};     ///< from 1, in the script as written
    std::size_t column{};   ///< from 1, in characters (a UTF-8 sequence is one); one past the line
                            ///< at its end
    std::string message;    ///< what is wrong, or surprising
    std::string expected;   ///< what could stand here
    std::string found;      ///< what stands here: a word, a character, "end of the script"
    std::string nearest;    ///< the known word that is closest to an unknown one
    std::string signature;  ///< how the construct is written, as in "Pay(amount, date, currency)"
    std::string hint;       ///< what to write instead
};

/// The verdict on a script. `error` holds the first thing that the parser stumbles over; it is
/// blank when the script is accepted. `warnings` stand in the order of the text; a rejected script
/// has those of the part before the error.
struct ScriptDiagnosis {
    bool accepted{};
    ScriptRemark error;
    std::vector<ScriptRemark> warnings;
};

/// Diagnoses the script, as it stands in the key "Script" (blanks, quotes and line breaks
/// included). `accepted` is what `Console::build` answers, except that a text with a comma only
/// warns; where that raises an exception, the script is not accepted. Never throws, logs nothing.
/// Cost: that of one parse.
XIM_EXPORT ScriptDiagnosis diagnose_script(std::string const& script) noexcept;

/// The diagnosis for a terminal: for the error and each warning the place and message, the line of
/// the script, a caret under the column, and what helps. "" for an accepted script without
/// warnings.
XIM_EXPORT std::string render_diagnosis(ScriptDiagnosis const& diagnosis,
                                        std::string const& script);

}  // namespace ximAPI
