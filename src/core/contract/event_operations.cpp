#include "core/contract/event_operations.hpp"

#include <stdexcept>

#include "core/contract/text.hpp"

namespace ximCORE::Contract {

namespace {

/// The value of an amount as the weighing reads it.
bool read(Amount& amount, Weighing const& weighing, double& value) {
    if (weighing.grid == nullptr) return amount.eval(value, Data::Level::silent);
    value = value_on_path(amount, *weighing.grid, *weighing.variables);
    return true;
}

}  // namespace

// EventUnaryOperation

bool EventUnaryOperation::weigh(Weighing const& weighing, Weights& weights) {
    Weights operand;
    if (!m_child->weigh(weighing, operand)) return false;
    weights = {1.0 - operand.towards, 1.0 - operand.opposite};
    return true;
}

void EventUnaryOperation::c_to_string(std::string& text) const {
    text.append(m_operation.c_str()) += '(';
    m_child->c_to_string(text);
    text += ')';
}

// EventBinaryOperation

bool EventBinaryOperation::weigh(Weighing const& weighing, Weights& weights) {
    Weights p;
    Weights q;
    if (!m_right->weigh(weighing, q) || !m_left->weigh(weighing, p)) return false;
    weights = c_combine(p, q);
    return true;
}

Weights EventBinaryOperation::c_combine(Weights const& p, Weights const& q) const {
    switch (m_operation.c_get_type()) {
        case Operation::Type::logical_and:
            return {p.towards * q.towards, p.opposite * q.opposite};
        case Operation::Type::logical_or:
            return {p.towards + q.towards - p.opposite * q.opposite,
                    p.opposite + q.opposite - p.towards * q.towards};
        default:
            throw std::runtime_error("Unknown error");
    }
}

void EventBinaryOperation::append_side(std::string& text, Event const& side) const {
    auto const* inner = dynamic_cast<EventBinaryOperation const*>(&side);
    bool const in_parentheses =
        inner && inner->m_operation.c_get_type() != m_operation.c_get_type();
    if (in_parentheses) text += '(';
    side.c_to_string(text);
    if (in_parentheses) text += ')';
}

void EventBinaryOperation::c_to_string(std::string& text) const {
    append_operation(
        text, m_operation, false, [&](bool) { append_side(text, *m_left); },
        [&](bool) { append_side(text, *m_right); });
}

// EventAmountBinaryOperation

bool EventAmountBinaryOperation::weigh(Weighing const& weighing, Weights& weights) {
    double left{};
    double right{};
    if (!read(*m_right, weighing, right) || !read(*m_left, weighing, left)) return false;
    auto const& [grid, variables, lhs, rhs, direction] = weighing;
    weights = {c_smooth_eval(left, right, lhs, rhs, direction),
               c_smooth_eval(left, right, lhs, rhs, -direction)};
    return true;
}

void EventAmountBinaryOperation::c_to_string(std::string& text) const {
    append_operation(
        text, m_operation, false, [&](bool inner) { m_left->c_to_string(text, inner); },
        [&](bool inner) { m_right->c_to_string(text, inner); });
}

// EventAmountHybridOperation

template <Side side>
bool EventAmountHybridOperation<side>::weigh(Weighing const& weighing, Weights& weights) {
    double x{};
    if (!read(*m_child, weighing, x)) return false;
    auto const& [grid, variables, lhs, rhs, direction] = weighing;
    weights = {c_smooth_eval(x, lhs, rhs, direction), c_smooth_eval(x, lhs, rhs, -direction)};
    return true;
}

template <Side side>
void EventAmountHybridOperation<side>::c_to_string(std::string& text) const {
    auto const constant = [&](bool) { text += to_string_wtz(m_constant); };
    auto const amount = [&](bool inner) { m_child->c_to_string(text, inner); };
    if constexpr (side == Side::left)
        append_operation(text, m_operation, false, constant, amount);
    else
        append_operation(text, m_operation, false, amount, constant);
}

template class EventAmountHybridOperation<Side::left>;
template class EventAmountHybridOperation<Side::right>;

}  // namespace ximCORE::Contract
