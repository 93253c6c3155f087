// The encoded form of a contract as a graph of numbered nodes, checked before any recursion walks
// it.
#pragma once

#include <cstdint>
#include <vector>

#include "core/contract/component.hpp"

namespace ximCORE::Contract {

/// What hangs below a node.
struct Extent {
    std::uint64_t depth{
        0};  ///< nodes on the longest way down, the members of a list joined by "&" as one level
    std::uint64_t nodes{1};  ///< a node with several parents counts once for each
};

/// Nodes of the three families under one numbering. Cost: linear in nodes and children; no
/// recursion.
class EncodedGraph {
 public:
    explicit EncodedGraph(NodeLists const& lists);

    /// False when a child's number has no node, or a node is below itself.
    [[nodiscard]] bool check();
    /// After a successful `check`. The counts stop growing at 2^62.
    Extent const& c_get_amount(std::uint64_t number) const { return m_extents[number]; }
    Extent const& c_get_cashflow(std::uint64_t number) const {
        return m_extents[m_first_cashflow + number];
    }

 private:
    enum class State : std::uint8_t { unseen, entered, left };
    struct Visit {
        std::uint64_t node;
        std::uint64_t next;  ///< the child to go to, as a position in `m_children`
    };

    template <class Node>
    void add(std::vector<std::shared_ptr<Node>> const& nodes);
    [[nodiscard]] bool append(std::vector<std::uint64_t> const& numbers, std::uint64_t offset,
                              std::uint64_t count);
    [[nodiscard]] bool walk(std::uint64_t from);
    void measure(std::uint64_t node);

    std::uint64_t m_nb_amounts;
    std::uint64_t m_nb_events;
    std::uint64_t m_nb_cashflows;
    std::uint64_t m_first_cashflow;
    bool m_is_complete{true};
    std::vector<std::uint64_t> m_first_child;  ///< per node, and one behind the last
    std::vector<std::uint64_t> m_children;
    std::vector<bool> m_is_list;
    std::vector<State> m_states;
    std::vector<Extent> m_extents;
    std::vector<Visit> m_path;
};

}  // namespace ximCORE::Contract
