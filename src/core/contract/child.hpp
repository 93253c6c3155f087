// A node's hold on one child: a number first, then the pointer that `populate` finds for it.
#pragma once

#include <type_traits>

#include "core/contract/amount.hpp"
#include "core/contract/cashflow.hpp"
#include "core/contract/event.hpp"
#include "core/contract/harvest.hpp"

namespace ximCORE::Contract {

/// The list of a family among others: `lists` is `NodeLists` or `ChildNumbers`.
template <class Node>
auto& list_of(auto& lists) {
    if constexpr (std::is_same_v<Node, Amount>)
        return lists.amounts;
    else if constexpr (std::is_same_v<Node, Event>)
        return lists.events;
    else
        return lists.cashflows;
}

template <class Node>
class Child {
 public:
    using Family = Node;

    explicit Child(std::uint64_t number) : m_number(number) {}
    explicit Child(std::shared_ptr<Node> node) : m_node(std::move(node)) {}

    Node* operator->() const { return m_node.get(); }
    Node& operator*() const { return *m_node; }
    std::shared_ptr<Node> const& c_get() const { return m_node; }
    std::shared_ptr<Node>& get() { return m_node; }
    std::uint64_t c_get_number() const { return m_number; }

    /// Finds the node of the number, without going on below. False when there is none.
    [[nodiscard]] bool link(NodeLists const& lists) {
        auto const& nodes = list_of<Node>(lists);
        if (m_number >= nodes.size() || nodes[m_number] == nullptr) return false;
        m_node = nodes[m_number];
        return true;
    }
    [[nodiscard]] bool populate(NodeLists const& lists) {
        return link(lists) && m_node->populate(lists);
    }

    /// Hands out what the child and those below hold, and the place of an amount.
    [[nodiscard]] bool accumulate(Harvest& harvest) {
        if constexpr (std::is_same_v<Node, Amount>) {
            if (harvest.amounts) return accumulate_place(harvest, *harvest.amounts);
        }
        return m_node->accumulate(harvest);
    }

    /// Takes over what stands in place of the child, if anything.
    void adopt() {
        if (auto reduced = m_node->c_get_reducted()) m_node = std::move(reduced);
    }
    void clone() { m_node = m_node->clone(); }

 private:
    bool accumulate_place(Harvest& harvest, std::vector<AmountPlace>& places) {
        auto const position = places.size();
        places.push_back({&m_node, position});
        bool const success = m_node->accumulate(harvest);
        places[position].end = places.size();
        return success;
    }

    std::shared_ptr<Node> m_node;
    std::uint64_t m_number{0};
};

}  // namespace ximCORE::Contract
