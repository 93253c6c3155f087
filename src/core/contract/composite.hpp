// Nodes with children name them once, by `children()`; what is only passed on to them is written
// here.
#pragma once

#include <algorithm>
#include <tuple>
#include <vector>

#include "core/contract/child.hpp"

namespace ximCORE::Contract {

/// `Self` offers `auto children()` and `auto children() const`: a tuple of references to children
/// or vectors of children, in the order of the walk (left before right, event before branches).
template <class Self, class Family>
class Composite : public Family {
 public:
    void c_accumulate_numbers(ChildNumbers& out) const override {
        for_each(static_cast<Self const&>(*this), [&](auto const& child) {
            list_of<typename std::remove_cvref_t<decltype(child)>::Family>(out).push_back(
                child.c_get_number());
            return true;
        });
    }
    [[nodiscard]] bool populate(NodeLists const& lists) override {
        return for_each(self(), [&](auto& child) { return child.populate(lists); });
    }
    [[nodiscard]] bool accumulate(Harvest& harvest) override {
        return for_each(self(), [&](auto& child) { return child.accumulate(harvest); });
    }

 protected:
    using Family::Family;

    /// Visits children until one answers false, which is the answer.
    static bool for_each(auto& node, auto&& visit) {
        return std::apply([&](auto&... child) { return (one(child, visit) && ...); },
                          node.children());
    }
    /// Visits all children.
    void each(auto&& visit) {
        std::ignore = for_each(self(), [&](auto& child) {
            visit(child);
            return true;
        });
    }

    /// For `clone`: a copy of the node with copies of its children.
    template <class Node>
    static std::shared_ptr<Family> copy_tree(Node const& node) {
        auto copy = std::make_shared<Node>(node);
        copy->each([](auto& child) { child.clone(); });
        return copy;
    }

 private:
    Self& self() { return static_cast<Self&>(*this); }

    static bool one(auto& child, auto&& visit) { return visit(child); }
    template <class Node>
    static bool one(std::vector<Child<Node>>& list, auto&& visit) {
        return std::ranges::all_of(list, visit);
    }
    template <class Node>
    static bool one(std::vector<Child<Node>> const& list, auto&& visit) {
        return std::ranges::all_of(list, visit);
    }
};

}  // namespace ximCORE::Contract
