#include "core/contract/amount_operations.hpp"

#include "core/contract/text.hpp"

namespace ximCORE::Contract {

void AmountUnaryOperation::c_to_string(std::string& text, bool) const {
    text.append(m_operation.c_str()) += '(';
    m_child->c_to_string(text, false);
    text += ')';
}

void AmountBinaryOperation::c_to_string(std::string& text, bool bracket) const {
    append_operation(
        text, m_operation, bracket, [&](bool inner) { m_left->c_to_string(text, inner); },
        [&](bool inner) { m_right->c_to_string(text, inner); });
}

template <Side side>
void AmountHybridOperation<side>::c_to_string(std::string& text, bool bracket) const {
    auto const constant = [&](bool) { text += to_string_wtz(m_constant); };
    auto const amount = [&](bool inner) { m_child->c_to_string(text, inner); };
    if constexpr (side == Side::left)
        append_operation(text, m_operation, bracket, constant, amount);
    else
        append_operation(text, m_operation, bracket, amount, constant);
}

template class AmountHybridOperation<Side::left>;
template class AmountHybridOperation<Side::right>;

}  // namespace ximCORE::Contract
