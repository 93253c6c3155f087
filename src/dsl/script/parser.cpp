#include "dsl/script/parser.hpp"

#include <algorithm>
#include <stack>
#include <stdexcept>
#include <utility>

#include "dsl/script/text.hpp"

namespace ximAPI::Toolkit {

using ximDSL::NodePtr;

namespace {

/// Whether the node can stand as an argument of this kind.
bool fits(Argument kind, NodePtr const& node) {
    switch (kind) {
        case Argument::amount:
            return dynamic_cast<ximDSL::Amount const*>(node.get()) != nullptr;
        case Argument::event:
            return dynamic_cast<ximDSL::Event const*>(node.get()) != nullptr;
        default:
            return dynamic_cast<ximDSL::CashFlow const*>(node.get()) != nullptr;
    }
}

Language language_of(Argument kind) {
    return kind == Argument::statement ? Language::statement : Language::expression;
}

}  // namespace

Parser::Parser(std::string_view text, Trace* trace)
    : m_text(text), m_brackets(text), m_trace(trace) {}

NodePtr Parser::parse(Language language) {
    if (m_brackets.c_get_depth() > max_nesting) {
        fail({.reason = Reason::too_many_brackets, .position = 0});
        return {};
    }
    std::vector<Level> levels;
    levels.push_back(open(language, m_text));
    for (;;) {
        auto& level = levels.back();
        switch (build_reverse_polish_notation(level)) {
            case Progress::nested: {
                auto const& [kind, text] =
                    level.pending->nested[level.pending->reading.nodes.size()];
                levels.push_back(open(language_of(kind), text));
                break;
            }
            case Progress::finished: {
                auto node = evaluate(level);
                levels.pop_back();
                if (levels.empty() || node.get() == nullptr) return node;
                if (!deliver(levels.back(), std::move(node))) return {};
                break;
            }
            default:
                return {};
        }
    }
}

Parser::Level Parser::open(Language language, std::string_view text) const {
    auto const start = place(text);
    return {language, start, start + text.size(), {}, {}, {}};
}

bool Parser::deliver(Level& level, NodePtr node) {
    auto& [construct, position, next, reading, nested] = *level.pending;
    auto const& [kind, text] = nested[reading.nodes.size()];
    if (!fits(kind, node)) {
        return fail({Reason::wrong_argument, place(text), construct, kind});
    }
    reading.nodes.push_back(std::move(node));
    return reading.nodes.size() < nested.size() || make(level);
}

NodePtr Parser::evaluate(Level& level) {
    auto const kind =
        level.language == Language::statement ? Argument::statement : Argument::amount;
    std::stack<NodePtr> stack;
    std::stack<std::size_t> starts;  // where each value of the stack begins
    for (auto& [node, position] : level.output) {
        auto const available = stack.size();
        if (!node->parse(stack)) {
            auto const reason = stack.empty() ? Reason::missing_operand : Reason::wrong_operand;
            fail({.reason = reason, .position = position, .argument = kind});
            return {};
        }
        if (!measure(*node, position)) return {};
        auto start = position;
        for (auto taken = available - stack.size(); taken > 0; --taken) {
            start = std::min(start, starts.top());
            starts.pop();
        }
        stack.push(std::move(node));
        starts.push(start);
    }
    if (stack.empty()) {
        fail({.reason = Reason::empty_text, .position = level.end, .argument = kind});
        return {};
    }
    if (stack.size() > 1) {
        starts.pop();
        note({.reason = Reason::dropped, .position = starts.top(), .argument = kind});
    }
    return stack.top();
}

Parser::Progress Parser::build_reverse_polish_notation(Level& level) {
    if (level.pending.has_value()) return Progress::nested;
    auto progress = Progress::going;
    while (progress == Progress::going) {
        if (level.position == level.end) return close(level);
        progress =
            level.language == Language::statement ? step_statement(level) : step_expression(level);
    }
    return progress;
}

Parser::Progress Parser::close(Level& level) {
    while (!level.operators.empty()) {
        auto& last = level.operators.back();
        if (last.node.get() == nullptr) {
            fail({.reason = Reason::unclosed_parenthesis, .position = last.position});
            return Progress::rejected;
        }
        level.output.push_back(std::move(last));
        level.operators.pop_back();
    }
    return Progress::finished;
}

Parser::Progress Parser::recognise(Level& level, Construct const& construct) {
    Pending pending{&construct, level.position, level.position + construct.word.size(), {}, {}};
    std::vector<std::string_view> branches;
    if (!read_brackets(pending, branches) || !read_arguments(pending)) return Progress::rejected;
    for (auto const branch : branches) pending.nested.push_back({construct.branch, branch});
    level.pending = std::move(pending);
    if (!level.pending->nested.empty()) return Progress::nested;
    return make(level) ? Progress::going : Progress::rejected;
}

bool Parser::read_brackets(Pending& pending, std::vector<std::string_view>& branches) {
    auto const& construct = *pending.construct;
    auto const behind = [&](std::vector<std::string_view> const& arguments) {
        return place(arguments.back()) + arguments.back().size() + 1;
    };
    auto const is_within = [](std::ptrdiff_t count, std::size_t least, std::size_t most) {
        return std::cmp_greater_equal(count, least) && std::cmp_less_equal(count, most);
    };

    auto const count = m_brackets.parse_args(pending.next, pending.reading.texts);
    if (count < 0)
        return fail({.reason = Reason::unclosed_bracket,
                     .position = pending.next,
                     .construct = &construct});
    if (!is_within(count, construct.first_min, construct.first_max)) {
        return fail({.reason = Reason::argument_count,
                     .position = pending.position,
                     .construct = &construct,
                     .number = count});
    }
    pending.next = behind(pending.reading.texts);
    if (construct.second_min == 0) return true;

    auto const missing = pending.next >= m_text.size() || m_text[pending.next] != '(';
    if (missing)
        return fail({.reason = Reason::missing_branches,
                     .position = pending.next,
                     .construct = &construct});
    auto const branch_count = m_brackets.parse_args(pending.next, branches);
    if (branch_count < 0) {
        return fail({.reason = Reason::unclosed_branches,
                     .position = pending.next,
                     .construct = &construct});
    }
    if (!is_within(branch_count, construct.second_min, construct.second_max)) {
        return fail({.reason = Reason::branch_count,
                     .position = pending.next,
                     .construct = &construct,
                     .number = branch_count});
    }
    pending.next = behind(branches);
    return true;
}

bool Parser::read_arguments(Pending& pending) {
    auto const& construct = *pending.construct;
    auto const& texts = pending.reading.texts;
    // Relied on: one spread alone is ignored, and so is what stands behind two.
    auto const with_spreads = texts.size() >= 3;
    for (std::size_t index = 0; index < std::min(texts.size(), construct.arguments.size());
         ++index) {
        auto const kind = construct.arguments[index];
        if (kind == Argument::spread && !with_spreads) {
            note({Reason::lone_spread, place(texts[index]), &construct, kind});
        } else if (!read_argument(pending, kind, texts[index])) {
            return false;
        }
    }
    if (texts.size() > construct.arguments.size()) {
        note({.reason = Reason::extra_arguments,
              .position = place(texts[construct.arguments.size()]),
              .construct = &construct});
    }
    return true;
}

bool Parser::read_argument(Pending& pending, Argument kind, std::string_view text) {
    if (is_nested(kind)) {
        pending.nested.push_back({kind, text});
    } else if (is_number(kind)) {
        pending.reading.numbers.push_back(read_number(pending, kind, text));
    } else if (kind == Argument::ownership) {
        if (text == "Callable") note({Reason::callable, place(text), pending.construct, kind});
        if (text != "Putable" && text != "Callable") {
            return fail({Reason::unknown_ownership, place(text), pending.construct, kind});
        }
    } else if (kind == Argument::nothing) {
        if (!text.empty()) return fail({Reason::text_in_end, place(text), pending.construct, kind});
    } else {
        note_text(pending, kind, text);
    }
    return true;
}

float Parser::read_number(Pending const& pending, Argument kind, std::string_view text) {
    auto const position = place(text);
    try {
        std::size_t length{};
        auto const value = Toolkit::read_number(text, &length);
        note_number(position, value);
        if (length < text.size())
            note({Reason::trailing_text, position + length, pending.construct, kind});
        return value;
    } catch (std::logic_error const&) {
        fail({Reason::bad_number, position, pending.construct, kind});
        throw;
    }
}

bool Parser::make(Level& level) {
    auto node = level.pending->construct->make(level.pending->reading);
    auto const position = level.pending->position;
    level.position = level.pending->next;
    level.pending.reset();
    if (!measure(*node, position)) return false;
    level.output.push_back({std::move(node), position});
    return true;
}

bool Parser::measure(ximDSL::Node& node, std::size_t position) {
    node.measure();
    return node.c_get_depth() <= max_nesting ||
           fail({.reason = Reason::too_deep, .position = position});
}

bool Parser::fail(Remark remark) {
    if (m_trace != nullptr && !m_trace->failure.has_value()) m_trace->failure = remark;
    return false;
}

void Parser::note(Remark remark) {
    if (m_trace != nullptr && m_trace->notes.size() < max_notes) m_trace->notes.push_back(remark);
}

std::string_view Parser::rest(Level const& level) const {
    return m_text.substr(level.position, level.end - level.position);
}

std::size_t Parser::place(std::string_view part) const {
    return static_cast<std::size_t>(part.data() - m_text.data());
}

template <>
std::shared_ptr<ximDSL::CashFlow> parse(std::string_view text) {
    return std::dynamic_pointer_cast<ximDSL::CashFlow>(Parser(text).parse(Language::statement));
}

template <>
std::shared_ptr<ximDSL::Component> parse(std::string_view text) {
    return std::dynamic_pointer_cast<ximDSL::Component>(Parser(text).parse(Language::expression));
}

}  // namespace ximAPI::Toolkit
