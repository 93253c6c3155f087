#include "dsl/cashflow.hpp"

#include <algorithm>

namespace ximDSL {

bool CashFlow::write_header(Encoded& encoded) {
    Counts counts{encoded.amounts, encoded.events, encoded.cashflows};
    if (!c_count(counts)) return false;
    encoded.amounts = counts.amounts;
    encoded.events = counts.events;
    encoded.cashflows = counts.cashflows;
    encoded.items.reserve(counts.amounts + counts.events + counts.cashflows);
    encoded.root = static_cast<int>(c_get_id());
    return true;
}

bool CashFlow::encode(Encoded& encoded) {
    if (!write_header(encoded)) return false;
    write(encoded);
    return encoded.text_with_comma.empty();
}

bool CashFlowBinaryOperation::parse(std::stack<NodePtr>& stack) {
    if (!take(stack, m_right)) return false;
    return take(stack, m_left);
}

std::uint32_t CashFlowBinaryOperation::c_measure(std::vector<Node*> const& children) const {
    return std::max(children.front()->c_get_depth() + 1, children.back()->c_get_depth());
}

}  // namespace ximDSL
