#include "dsl/amount.hpp"

namespace ximDSL {

bool AmountUnaryOperation::parse(std::stack<NodePtr>& stack) {
    return take(stack, m_operand);
}

bool AmountBinaryOperation::parse(std::stack<NodePtr>& stack) {
    // Plain conditions: between nodes the operators of this namespace describe contracts.
    if (!take(stack, m_right)) return false;
    return take(stack, m_left);
}

int AmountBinaryOperation::c_get_precedence() const {
    switch (m_id) {
        case Id::multiply:
        case Id::divide:
            return 3;
        case Id::add:
        case Id::subtract:
            return 4;
        default:
            return 0;
    }
}

}  // namespace ximDSL
