#include "dsl/script/messages.hpp"

#include <algorithm>
#include <array>
#include <locale>
#include <optional>
#include <sstream>
#include <stdexcept>
#include <string>

#include "dsl/script/parser.hpp"
#include "dsl/script/text.hpp"
#include "dsl/script/words.hpp"

namespace ximAPI::Toolkit {

namespace {

constexpr auto a_statement = "a statement: Pay, Receive, Buy, Sell, Set, End, Either or If";
constexpr auto an_expression =
    "an amount or event: a number, Spot, Cst, CstRef, AmountRef, If or a function";
constexpr auto write_a_negative_number =
    "write Cst(-1.5) for a negative number, and 0-x or Cst(-1)*x for a change of sign";
constexpr auto write_a_point = "the decimal separator is a point; commas separate arguments";

/// A sign or word that the language lacks, and what to write instead.
struct Trap {
    std::string_view text;
    std::string_view hint;
};

// clang-format off
// The longer one of two with the same beginning comes first.
constexpr auto traps = std::to_array<Trap>({
    {"==", "a script has no equality: write a>=b&&a<=b"},
    {"=", "write <, <=, > or >= to compare, and Set(name, amount) to store an amount"},
    {"!=", "a script has no inequality: write a<b||a>b"},
    {"!", "a script has no negation: turn the comparison round, as in a<=b for the opposite of a>b"},
    {"{", "a script groups with round brackets only"},
    {"}", "a script groups with round brackets only"},
    {"[", "a script groups with round brackets only"},
    {"]", "a script groups with round brackets only"},
    {"|", "write || for either of two events"},
    {"&", "write && between events; & joins statements"},
    {"^", "a script has no power: write x*x, or Exp(y*Log(x))"},
    {"%", "write a fraction: 0.01 for one percent"},
    {";", "join statements with &, and end the script without a sign"},
    {"//", "a script has no comments"},
    {"#", "a script has no comments"},
    {"'", "no quotes are needed; double quotes are ignored"},
    {".", "write a digit on the left of the point, and one point only: 0.5"},
    {"Sqrt", "the square root is written Sqr"},
    {"Pow", "a script has no power: write x*x, or Exp(y*Log(x))"},
    {"Sorted", "a script cannot sort: write Max and Min"},
    {"true", "a script has no constant event: write 1>0"},
    {"false", "a script has no constant event: write 0>1"},
    {"Putable", "write Either(Putable, date)(statement, statement)"},
    {"Callable", "write Either(Callable, date)(statement, statement)"},
});
// clang-format on

bool is_statement(Remark const& remark) {
    return remark.argument == Argument::statement;
}

char before(std::string_view text, std::size_t position) {
    return position > 0 ? text[position - 1] : '\0';
}
bool is_digit(char character) {
    return character >= '0' && character <= '9';
}

/// The row whose word this is.
Construct const* construct_of(std::string_view word) {
    for (auto const rows : {get_statement_constructs(), get_expression_constructs()}) {
        auto const row = std::ranges::find(rows, word, &Construct::word);
        if (row != rows.end()) return &*row;
    }
    return nullptr;
}

bool is_word_of(std::span<Construct const> rows, std::string_view word) {
    return std::ranges::find(rows, word, &Construct::word) != rows.end();
}

bool is_function_word(std::string_view word) {
    return std::ranges::find(get_functions(), word, &Operator::word) != get_functions().end();
}

std::string hint_of_trap(std::string_view text, std::string_view word) {
    for (auto const& [trap, hint] : traps) {
        auto const is_sign = word.empty() && text.starts_with(trap);
        if (is_sign || word == trap) return std::string(hint);
    }
    return {};
}

std::string quoted(std::string_view text) {
    return '"' + std::string(text) + '"';
}

/// What could stand at the position of an unknown text, judged by the character in front of it.
std::string expected_at(std::string_view text, std::size_t position, bool statement) {
    auto const last = before(text, position);
    auto const behind_value = last == ')' || (!statement && (is_digit(last) || last == '.'));
    if (!behind_value) return statement ? a_statement : an_expression;
    return statement ? "\"&\" and another statement, or the end"
                     : "an operator, a comma or a bracket";
}

/// A word that belongs to the other language, or lacks its bracket; nothing for any other word.
bool describe_known_word(ScriptRemark& remark, std::string_view word, std::string_view rest,
                         bool statement) {
    auto const* const construct = construct_of(word);
    auto const expression_word =
        is_word_of(get_expression_constructs(), word) || is_function_word(word);
    auto const own = statement ? is_word_of(get_statement_constructs(), word) : expression_word;
    if (construct != nullptr) remark.signature = construct->signature;
    if (own && !rest.starts_with('(')) {
        remark.message = quoted(word) + " needs its bracket directly behind it";
        remark.expected = "\"(\"";
    } else if (statement && expression_word) {
        remark.message = quoted(word) + " is an amount; a statement is needed here";
        remark.hint = "write Pay(amount, date, currency)";
    } else if (!statement && construct != nullptr) {
        remark.message = quoted(word) + " is a statement; an amount or event is needed here";
    } else {
        return false;
    }
    return true;
}

std::size_t describe_unknown_text(ScriptRemark& remark, Remark const& about,
                                  std::string_view text) {
    auto const statement = is_statement(about);
    auto const word = word_at(text, about.position);
    auto const position =
        word.empty() ? about.position : static_cast<std::size_t>(word.data() - text.data());
    auto const behind_number = is_digit(before(text, position)) || before(text, position) == '.';
    remark.found = found_at(text, position);
    remark.expected = expected_at(text, position, statement);
    if (word.empty()) {
        remark.message = "unexpected " + remark.found;
        remark.hint = hint_of_trap(text.substr(position), {});
        if (statement && remark.found == "\"(\"")
            remark.hint = "statements are not bracketed: join them with &";
        if (statement && remark.found == "\",\"") remark.hint = "join statements with &";
        if (statement && is_digit(text[position]))
            remark.hint = "an amount alone is no contract: write Pay(amount, date, currency)";
    } else if (behind_number && !statement) {
        remark.message = remark.found + " directly behind a number";
        auto const exponent = word.front() == 'e' || word.front() == 'E';
        remark.hint = exponent ? "a plain number has no exponent: write Cst(1e-3) or 0.001" : "";
    } else if (!describe_known_word(remark, word, text.substr(position + word.size()), statement)) {
        remark.message = "unknown word " + remark.found;
        remark.hint = hint_of_trap({}, word);
        remark.nearest = nearest_word(word, statement);
        if (auto const* const near = construct_of(remark.nearest))
            remark.signature = near->signature;
    }
    return position;
}

void describe_argument_count(ScriptRemark& remark, Remark const& about, std::string_view text) {
    auto const& construct = *about.construct;
    auto const least = std::to_string(construct.first_min);
    auto const count = std::to_string(about.number);
    remark.message = quoted(construct.word) + " takes " + least +
                     (construct.first_min == 1 ? " argument" : " arguments") + ", not " + count;
    remark.expected = least;
    remark.found =
        about.number == 1 && text.substr(about.position + construct.word.size()).starts_with("()")
            ? "none"
            : count;
    if (construct.word == "Spot" && about.number == 3) {
        remark.hint =
            "leave the currency out: a script reads a fixing in the currency of its underlying";
    } else if (std::cmp_greater(about.number, construct.first_max)) {
        remark.hint = write_a_point;
    }
}

void describe_branch_count(ScriptRemark& remark, Remark const& about) {
    auto const statements = about.construct->branch == Argument::statement;
    remark.message =
        quoted(about.construct->word) + " takes 2 branches, not " + std::to_string(about.number);
    remark.expected = "2";
    remark.found = std::to_string(about.number);
    if (about.number == 1) {
        remark.hint = statements ? "write End() for a branch that pays nothing"
                                 : "write 0 for the missing branch";
    } else {
        remark.hint = statements ? "join the statements of one branch with &" : write_a_point;
    }
}

void describe_bad_number(ScriptRemark& remark, Remark const& about, std::string_view text) {
    remark.found = argument_at(text, about.position);
    remark.expected = "a number";
    remark.message = "no number stands here";
    try {
        std::ignore = read_number(text.substr(about.position));
    } catch (std::out_of_range const&) {
        remark.message = "the number does not fit into 32 bits";
        remark.expected = "a number between 1.2e-38 and 3.4e38 in size";
    } catch (std::logic_error const&) {
        auto const computes = remark.found.find_first_of("+-*/(") != std::string::npos;
        if (computes) remark.hint = "a plain number is needed: nothing is computed here";
    }
}

/// The operator or function at the position.
std::string_view operator_at(std::string_view text, std::size_t position, bool statement) {
    auto const rest = text.substr(position);
    auto const* const row = statement                      ? is_CashFlowBinaryOperation(rest)
                            : is_function(rest) != nullptr ? is_function(rest)
                                                           : is_operator(rest);
    return row == nullptr ? rest.substr(0, 1) : row->word;
}

void describe_missing_operand(ScriptRemark& remark, Remark const& about, std::string_view text) {
    auto const word = operator_at(text, about.position, is_statement(about));
    auto const rest = text.substr(about.position + word.size());
    auto const inside = argument_at(rest, 0);
    remark.message = quoted(word) + " lacks an operand";
    remark.found = quoted(word);
    remark.expected = "an amount on each side";
    if (is_function_word(word)) {
        auto const two = word == "Max" || word == "Min";
        remark.signature = std::string(word) + (two ? "(amount, amount)" : "(amount)");
        remark.expected = two ? "two amounts" : "an amount";
    }
    if (is_statement(about)) {
        remark.expected = "a statement on each side";
        remark.hint = rest.starts_with('&') || before(text, about.position) == '&'
                          ? "a single & joins statements"
                          : "write End() for nothing";
    } else if (word == "&&" || word == "||") {
        remark.expected = "an event on each side";
    } else if (word == "-" || rest.starts_with('-') || inside.find(",-") != std::string::npos ||
               inside.find("(-") != std::string::npos) {
        remark.hint = write_a_negative_number;
    }
}

void describe_wrong_operand(ScriptRemark& remark, Remark const& about, std::string_view text) {
    auto const word = operator_at(text, about.position, is_statement(about));
    auto const joins_events = word == "&&" || word == "||";
    remark.message = quoted(word) + (joins_events ? " needs events, but an amount stands here"
                                                  : " needs amounts, but an event stands here");
    remark.found = found_at(text, about.position);
    remark.expected = joins_events ? "comparisons, as in a<b&&b<c" : "amounts";
    if (word.starts_with('<') || word.starts_with('>')) remark.hint = "compare pairs: a<b&&b<c";
}

void describe_wrong_argument(ScriptRemark& remark, Remark const& about, std::string_view text) {
    auto const needs_event = about.argument == Argument::event;
    remark.message = needs_event ? "an event is needed here, not an amount"
                                 : "an amount is needed here, not an event";
    remark.expected = needs_event ? "an event" : "an amount";
    remark.found = argument_at(text, about.position);
    remark.hint = needs_event ? "compare it, as in Spot(AAA, 2025-06-30)>100"
                              : "write If(event)(1, 0) for the number of an event";
}

void describe_empty_text(ScriptRemark& remark, Remark const& about, std::string_view text) {
    auto const statement = is_statement(about);
    remark.message = text.empty() ? "the script is empty"
                     : statement  ? "a statement is missing"
                                  : "an amount or event is missing";
    remark.expected = statement ? a_statement : an_expression;
    remark.found = found_at(text, about.position);
    remark.hint = statement ? "write End() where nothing is paid" : "";
}

/// Where the nesting passes the limit.
std::size_t describe_too_many_brackets(ScriptRemark& remark, std::string_view text) {
    remark.message = "brackets nested deeper than " + std::to_string(max_nesting);
    remark.expected = "fewer brackets";
    std::size_t depth = 0;
    for (std::size_t position = 0; position < text.size(); ++position) {
        if (text[position] == '(' && ++depth > max_nesting) return position;
        if (text[position] == ')' && depth > 0) --depth;
    }
    return 0;
}

void describe_rounded_number(ScriptRemark& remark, Remark const& about) {
    std::ostringstream message;
    message.imbue(std::locale::classic());
    message << "six significant digits are kept: the contract reads "
            << static_cast<double>(about.value);
    remark.message = message.str();
}

/// What is said of a reason whatever the text, in the order of the reasons.
struct Row {
    Reason reason;
    std::string_view message;
    std::string_view expected;
    std::string_view hint;
    std::string (*found)(std::string_view, std::size_t);
};

// clang-format off
constexpr auto rows = std::to_array<Row>({
    {Reason::unclosed_bracket, "this bracket is never closed", "\")\"", "", nullptr},
    {Reason::missing_branches, "the branches are missing: a second bracket stands directly behind the first", "\"(\"", "", found_at},
    {Reason::unclosed_branches, "this bracket is never closed", "\")\"", "", nullptr},
    {Reason::unknown_ownership, "unknown ownership", "Putable or Callable", "", argument_at},
    {Reason::text_in_end, "\"End\" takes nothing in its bracket", "\")\"", "", argument_at},
    {Reason::unopened_parenthesis, "this bracket closes nothing", "an operator or the end", "", found_at},
    {Reason::unclosed_parenthesis, "this bracket is never closed", "\")\"", "", nullptr},
    {Reason::too_deep, "operators nested deeper than 10000", "a shorter chain", "store partial results with Set and AmountRef", found_at},
    {Reason::early_group, "the operator ends at the closing bracket: 1+(2)*3 is (1+2)*3", "", "bracket the product: 1+((2)*3)", found_at},
    {Reason::callable, R"("Callable" is read as "Putable" in a script)", "", "the callable choice can only be built in C++: Either(date, 0)", found_at},
    {Reason::lone_spread, "one spread alone is ignored", "", "write two spreads: If(event, 0.01, 0.01)(...)", argument_at},
    {Reason::extra_arguments, "what stands behind the two spreads is ignored", "", "", argument_at},
    {Reason::dropped, "this is dropped: without an operator only the last one counts", "", "", found_at},
    {Reason::bare_function, "a function without its bracket takes what stands in front of an operator", "", "write the bracket, as in Abs(x)", found_at},
    {Reason::trailing_text, "what follows the number is ignored", "", "", found_at},
    {Reason::bad_date, "this is no date: pricing will refuse the contract", "", "write year-month-day, as in 2025-06-30", argument_at},
    {Reason::empty_argument, "this argument is empty: pricing will refuse the contract", "", "", argument_at},
    {Reason::deaf_argument, "a text with a comma in it cannot reach the contract", "", "leave out brackets and commas", argument_at},
});
// clang-format on

std::size_t describe_by_row(ScriptRemark& remark, Remark const& about, std::string_view text) {
    auto const row = std::ranges::find(rows, about.reason, &Row::reason);
    remark.message = row->message;
    remark.expected = row->expected;
    remark.hint = row->hint;
    remark.found = row->found == nullptr ? "end of the script" : row->found(text, about.position);
    if (about.reason == Reason::missing_branches &&
        hint_of_trap(text.substr(about.position), {}).size() > 0) {
        remark.hint = hint_of_trap(text.substr(about.position), {});
    }
    if (about.reason == Reason::unknown_ownership)
        remark.nearest = nearest_word(word_at(text, about.position), true);
    return about.position;
}

}  // namespace

Described describe(Remark const& about, std::string_view text) {
    Described described{{}, about.position};
    auto& [remark, position] = described;
    if (about.construct != nullptr) remark.signature = about.construct->signature;
    switch (about.reason) {
        case Reason::unknown_text:
            position = describe_unknown_text(remark, about, text);
            break;
        case Reason::argument_count:
            describe_argument_count(remark, about, text);
            break;
        case Reason::branch_count:
            describe_branch_count(remark, about);
            break;
        case Reason::bad_number:
            describe_bad_number(remark, about, text);
            break;
        case Reason::missing_operand:
            describe_missing_operand(remark, about, text);
            break;
        case Reason::wrong_operand:
            describe_wrong_operand(remark, about, text);
            break;
        case Reason::wrong_argument:
            describe_wrong_argument(remark, about, text);
            break;
        case Reason::empty_text:
            describe_empty_text(remark, about, text);
            break;
        case Reason::too_many_brackets:
            position = describe_too_many_brackets(remark, text);
            break;
        case Reason::rounded_number:
            describe_rounded_number(remark, about);
            break;
        default:
            position = describe_by_row(remark, about, text);
            break;
    }
    return described;
}

}  // namespace ximAPI::Toolkit
