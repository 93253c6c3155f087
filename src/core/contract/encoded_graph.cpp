#include "core/contract/encoded_graph.hpp"

#include <algorithm>
#include <type_traits>

#include "core/contract/amount.hpp"
#include "core/contract/cashflow.hpp"
#include "core/contract/event.hpp"

namespace ximCORE::Contract {

namespace {

constexpr std::uint64_t c_many = std::uint64_t{1} << 62;

bool is_list(auto const&) {
    return false;
}
bool is_list(CashFlow const& cashflow) {
    return cashflow.c_get_shape() == CashFlow::Shape::list;
}

}  // namespace

EncodedGraph::EncodedGraph(NodeLists const& lists)
    : m_nb_amounts(lists.amounts.size()),
      m_nb_events(lists.events.size()),
      m_nb_cashflows(lists.cashflows.size()),
      m_first_cashflow(m_nb_amounts + m_nb_events) {
    add(lists.amounts);
    add(lists.events);
    add(lists.cashflows);
    m_first_child.push_back(m_children.size());
    m_states.resize(m_is_list.size());
    m_extents.resize(m_is_list.size());
}

template <class Node>
void EncodedGraph::add(std::vector<std::shared_ptr<Node>> const& nodes) {
    for (auto const& node : nodes) {
        m_first_child.push_back(m_children.size());
        m_is_list.push_back(node != nullptr && is_list(*node));
        ChildNumbers numbers;
        if (node) node->c_accumulate_numbers(numbers);
        m_is_complete = m_is_complete && node &&
                        append(numbers.events, m_nb_amounts, m_nb_events) &&
                        append(numbers.amounts, 0, m_nb_amounts) &&
                        append(numbers.cashflows, m_first_cashflow, m_nb_cashflows);
    }
}

bool EncodedGraph::append(std::vector<std::uint64_t> const& numbers, std::uint64_t offset,
                          std::uint64_t count) {
    for (auto const number : numbers) {
        if (number >= count) return false;
        m_children.push_back(offset + number);
    }
    return true;
}

bool EncodedGraph::check() {
    if (!m_is_complete) return false;
    for (std::uint64_t node = 0; node < m_states.size(); ++node)
        if (!walk(node)) return false;
    return true;
}

/// Depth first, the way down kept in `m_path`; an entered node that is met again is below itself.
bool EncodedGraph::walk(std::uint64_t from) {
    auto const enter = [&](std::uint64_t node) {
        m_states[node] = State::entered;
        m_path.push_back({node, m_first_child[node]});
    };
    if (m_states[from] == State::unseen) enter(from);
    while (!m_path.empty()) {
        auto& [node, next] = m_path.back();
        if (next == m_first_child[node + 1]) {
            measure(node);
            m_path.pop_back();
            continue;
        }
        auto const child = m_children[next++];
        if (m_states[child] == State::entered) return false;
        if (m_states[child] == State::unseen) enter(child);
    }
    return true;
}

void EncodedGraph::measure(std::uint64_t node) {
    m_states[node] = State::left;
    auto& extent = m_extents[node];
    auto const last = m_first_child[node + 1];
    for (auto position = m_first_child[node]; position < last; ++position) {
        auto const& child = m_extents[m_children[position]];
        bool const is_next_member = m_is_list[node] && position + 1 == last;
        extent.depth = std::max(extent.depth, child.depth + (is_next_member ? 0 : 1));
        extent.nodes = std::min(extent.nodes + child.nodes, c_many);
    }
}

}  // namespace ximCORE::Contract
