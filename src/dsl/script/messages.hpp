// Remarks of the parser in words.
#pragma once

#include <cstddef>
#include <string_view>

#include "dsl/script/trace.hpp"
#include "ximAPI/diagnosis.hpp"

namespace ximAPI::Toolkit {

/// A remark without line and column, and the position in the cleaned script that it is about.
struct Described {
    ScriptRemark remark;
    std::size_t position;
};

Described describe(Remark const& remark, std::string_view text);

}  // namespace ximAPI::Toolkit
