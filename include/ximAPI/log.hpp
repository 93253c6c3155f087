// The log record that every framed call appends to its caller's vector.
#pragma once

#include <string>

#include "ximAPI/enums.hpp"

namespace ximAPI {

/// One record of the log of a call, in the order of writing. A failing call ends with a record at
/// level FAILURE.
struct Log {
    LogLevel Level{};
    std::string
        Message;  ///< one complete text; the start and end records of a call end with a newline
};

}  // namespace ximAPI
