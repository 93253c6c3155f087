#include "dsl/event.hpp"

namespace ximDSL {

bool EventUnaryOperation::parse(std::stack<NodePtr>& stack) {
    return take(stack, m_operand);
}

bool EventBinaryOperation::parse(std::stack<NodePtr>& stack) {
    if (!take(stack, m_right)) return false;
    return take(stack, m_left);
}

int EventBinaryOperation::c_get_precedence() const {
    return m_id == Id::both ? 11 : 12;
}

bool EventAmountBinaryOperation::parse(std::stack<NodePtr>& stack) {
    if (!take(stack, m_right)) return false;
    return take(stack, m_left);
}

}  // namespace ximDSL
