// The parts of a contract's text that several nodes share.
#pragma once

#include <cstdint>
#include <string>

#include "core/contract/operation.hpp"

namespace ximCORE::Contract {

/// "%f" without trailing zeros and without a trailing point: 2, 0.5, -1.25.
std::string to_string_wtz(double value);

/// Starts a new line with `indent` blanks, at most `width`: the text of a deep tree stays in
/// proportion to its nodes.
void start_line(std::string& text, std::uint64_t indent, std::uint64_t width);

/// Appends `part` to `text`. While what is left of it is longer than `width`, it is broken at the
/// last blank behind a closing parenthesis that keeps the line within `width`, else at the first
/// such blank; the new line starts with `indent` blanks.
void append_lines(std::string& text, std::string const& part, std::uint64_t indent,
                  std::uint64_t width);

/// Appends the operation on two sides. "Max", "Min" and "Pow" are functions; "*" and "/" ask their
/// sides to bracket sums and stand unbracketed themselves; "+" and "-" stand in parentheses if
/// `bracket`; comparisons ask nothing. `left`, `right`: append their side, given whether to bracket
/// it.
template <class Left, class Right>
void append_operation(std::string& text, Operation operation, bool bracket, Left&& left,
                      Right&& right) {
    using enum Operation::Type;
    auto const type = operation.c_get_type();
    bool const is_function = type == max || type == min || type == pow;
    bool const is_product = type == mul || type == div;
    bool const in_parentheses = bracket && (type == add || type == sub);
    if (is_function) text.append(operation.c_str()) += '(';
    if (in_parentheses) text += '(';
    left(is_product);
    if (is_function)
        text += ", ";
    else
        text.append(" ").append(operation.c_str()) += ' ';
    right(is_product);
    if (is_function || in_parentheses) text += ')';
}

}  // namespace ximCORE::Contract
