// What the parser tells about a script beside the contract: why it stopped, and what may not mean
// what it seems to.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "dsl/script/recognisers.hpp"

namespace ximAPI::Toolkit {

enum class Reason : std::uint8_t {
    // rejected
    unknown_text,          ///< no construct starts here
    unclosed_bracket,      ///< the first bracket of a construct never closes
    argument_count,        ///< the first bracket holds `number` arguments
    missing_branches,      ///< no second bracket follows directly
    unclosed_branches,     ///< the second bracket never closes
    branch_count,          ///< the second bracket holds `number` arguments
    unknown_ownership,     ///< neither Putable nor Callable
    bad_number,            ///< no number starts here, or it does not fit
    text_in_end,           ///< something stands in the bracket of End
    missing_operand,       ///< an operator or function lacks an operand
    wrong_operand,         ///< an operand is an event where an amount is needed, or the reverse
    wrong_argument,        ///< a nested text is of the wrong family
    empty_text,            ///< nothing stands where a statement, an amount or an event is needed
    unopened_parenthesis,  ///< ")" without "("
    unclosed_parenthesis,  ///< "(" without ")"
    too_many_brackets,     ///< nested too deeply
    too_deep,              ///< operators nested too deeply
    // accepted, but worth a warning
    early_group,      ///< "1+(2)*3": the operator ends with the group
    callable,         ///< read as Putable
    lone_spread,      ///< one spread is read as none
    extra_arguments,  ///< arguments behind the spreads are ignored
    dropped,          ///< a value or cash flow that nothing takes up
    bare_function,    ///< a function without its bracket
    rounded_number,   ///< six significant digits are kept
    trailing_text,    ///< what stands behind the number is ignored
    bad_date,         ///< no date: pricing will refuse the contract
    empty_argument,   ///< a ticker, currency or name without text
    deaf_argument     ///< a text with a bracket or comma inside, which the contract cannot carry
};

/// `position` counts in the cleaned script; at its end it is its size. `construct`, `argument` (the
/// kind that is needed there: statement, or amount for any expression, where the reason is about a
/// text), `number` and `value` (the number read) are set where the reason speaks of them.
struct Remark {
    Reason reason;
    std::size_t position;
    Construct const* construct{};
    Argument argument{};
    std::ptrdiff_t number{};
    float value{};
};

struct Trace {
    std::optional<Remark> failure;
    std::vector<Remark> notes;
};

}  // namespace ximAPI::Toolkit
