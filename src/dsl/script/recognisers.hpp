// The words of the script language. A construct with brackets is a row: its word, its arguments,
// and the node that it makes. Functions and operators are rows of their own.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <span>
#include <string_view>
#include <vector>

#include "dsl/node.hpp"

namespace ximAPI::Toolkit {

/// What stands as an argument: plain text, a number, the word of an ownership, or a text of the
/// language itself.
// clang-format off
enum class Argument : std::uint8_t {
    ticker, date, currency, name,  // taken as they stand
    value, quantity, spread,       // a number
    ownership,                     // Putable or Callable
    nothing,                       // an empty text
    amount, event, statement       // a text to parse
};
// clang-format on

[[nodiscard]] constexpr bool is_number(Argument argument) {
    return argument == Argument::value || argument == Argument::quantity ||
           argument == Argument::spread;
}
[[nodiscard]] constexpr bool is_nested(Argument argument) {
    return argument >= Argument::amount;
}

/// What has been read of a construct: the first bracket as text, its numbers, and the nodes of the
/// nested texts of both brackets, in order.
struct Reading {
    std::vector<std::string_view> texts;
    std::vector<float> numbers;
    std::vector<ximDSL::NodePtr> nodes;
};

/// A construct: a word and a bracket directly behind it, for some directly followed by a second
/// one.
struct Construct {
    static constexpr std::size_t any = std::numeric_limits<std::size_t>::max();

    std::string_view word;
    std::string_view signature;
    std::array<Argument, 3>
        arguments;  ///< of the first bracket; those beyond `first_max` have no meaning
    std::size_t first_min;
    std::size_t first_max;
    Argument branch;         ///< of each argument of the second bracket
    std::size_t second_min;  ///< 0: no second bracket
    std::size_t second_max;
    ximDSL::NodePtr (*make)(Reading const&);
};

/// The constructs of each language. No word is the beginning of another one's word and bracket.
std::span<Construct const> get_statement_constructs();
std::span<Construct const> get_expression_constructs();

/// The construct whose word and opening bracket stand at the start of the text; null if there is
/// none.
Construct const* find_construct(std::span<Construct const> constructs, std::string_view text);

/// A function or an infix operator of an expression: its word and a node without operands.
struct Operator {
    std::string_view word;
    ximDSL::NodePtr (*make)();
};

/// The function, or the operator, whose word stands at the start of the text; null if there is
/// none.
Operator const* is_function(std::string_view text);
Operator const* is_operator(std::string_view text);

/// The statement operator "&".
Operator const* is_CashFlowBinaryOperation(std::string_view text);

std::span<Operator const> get_functions();

/// The length of the number at the start of the text: digits with at most one point, beginning with
/// a digit. 0 if there is none. A sign and an exponent are no part of it.
[[nodiscard]] std::size_t is_Float(std::string_view text);

}  // namespace ximAPI::Toolkit
