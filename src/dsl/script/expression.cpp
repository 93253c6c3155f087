// The loop over a text of the expression language: operators wait on a list until one that binds no
// tighter, a comma or a closing parenthesis sends them to the output.
#include <string>
#include <utility>

#include "dsl/script/parser.hpp"
#include "dsl/script/text.hpp"

namespace ximAPI::Toolkit {

Parser::Progress Parser::step_expression(Level& level) {
    auto const text = rest(level);
    if (auto const* construct = find_construct(get_expression_constructs(), text)) {
        return recognise(level, *construct);
    }
    if (auto const length = is_Float(text); length > 0) {
        add_number(level, length);
    } else if (auto const* function = is_function(text)) {
        if (!text.substr(function->word.size()).starts_with('(')) {
            note({.reason = Reason::bare_function, .position = level.position});
        }
        level.operators.push_back({function->make(), level.position});
        level.position += function->word.size();
    } else if (auto const* infix = is_operator(text)) {
        push_operator(level, *infix);
    } else {
        return step_punctuation(level);
    }
    return Progress::going;
}

void Parser::add_number(Level& level, std::size_t length) {
    auto const text = rest(level).substr(0, length);
    auto const value = read_digits(text);
    note_number(level.position, value);
    auto node = std::make_shared<ximDSL::DeterministicAmount>(value);
    level.output.push_back({std::move(node), level.position});
    level.position += length;
}

void Parser::push_operator(Level& level, Operator const& row) {
    auto node = row.make();
    auto& waiting = level.operators;
    while (!waiting.empty() && waiting.back().node.get() != nullptr &&
           node->c_get_precedence() >= waiting.back().node->c_get_precedence()) {
        level.output.push_back(std::move(waiting.back()));
        waiting.pop_back();
    }
    waiting.push_back({std::move(node), level.position});
    level.position += row.word.size();
}

Parser::Progress Parser::step_punctuation(Level& level) {
    switch (m_text[level.position]) {
        case ',':
            move_operators(level);
            ++level.position;
            return Progress::going;
        case '(':
            level.operators.push_back({{}, level.position});
            ++level.position;
            return Progress::going;
        case ')':
            return close_group(level);
        default:
            fail({.reason = Reason::unknown_text,
                  .position = level.position,
                  .argument = Argument::amount});
            return Progress::rejected;
    }
}

void Parser::move_operators(Level& level) {
    auto& waiting = level.operators;
    while (!waiting.empty() && waiting.back().node.get() != nullptr) {
        level.output.push_back(std::move(waiting.back()));
        waiting.pop_back();
    }
}

Parser::Progress Parser::close_group(Level& level) {
    move_operators(level);
    auto& waiting = level.operators;
    if (waiting.empty()) {
        fail({.reason = Reason::unopened_parenthesis, .position = level.position});
        return Progress::rejected;
    }
    waiting.pop_back();
    ++level.position;
    if (waiting.empty()) return Progress::going;

    // Relied on: a group ends the binary amount operator in front of it, so "1+(2)*3" is (1+2)*3.
    auto* const operation = dynamic_cast<ximDSL::AmountBinaryOperation*>(waiting.back().node.get());
    if (operation == nullptr) return Progress::going;
    auto const* const next = is_operator(rest(level));
    if (next != nullptr && next->make()->c_get_precedence() < operation->c_get_precedence()) {
        note({.reason = Reason::early_group, .position = waiting.back().position});
    }
    level.output.push_back(std::move(waiting.back()));
    waiting.pop_back();
    return Progress::going;
}

}  // namespace ximAPI::Toolkit
