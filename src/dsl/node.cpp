#include "dsl/node.hpp"

#include <algorithm>
#include <cstddef>

namespace ximDSL {

namespace {

/// The nodes that wait for their release on this thread, while somebody is at it. A plain pointer,
/// so that nodes in static storage can go after the thread's own variables.
thread_local std::vector<std::shared_ptr<void>>* graveyard = nullptr;

/// Appends the children of `node` so that the leftmost one stands on top.
template <class List>
void push_children(std::vector<Node*>& pending, List const& list) {
    auto const first = static_cast<std::ptrdiff_t>(pending.size());
    list(pending);
    std::reverse(pending.begin() + first, pending.end());
}

}  // namespace

void release(std::shared_ptr<void> node) noexcept {
    if (graveyard != nullptr) {
        graveyard->push_back(std::move(node));
        return;
    }
    std::vector<std::shared_ptr<void>> waiting;
    graveyard = &waiting;
    node.reset();
    while (!waiting.empty()) {
        auto released = std::move(waiting.back());
        waiting.pop_back();
        released.reset();
    }
    graveyard = nullptr;
}

bool Node::parse(std::stack<NodePtr>&) {
    return true;
}

void Node::_incr(std::uint64_t& counter) {
    m_id = counter++;
    m_counted = true;
}

bool Node::c_count(Counts& counts) {
    std::vector<Node*> pending{this};
    while (!pending.empty()) {
        auto* const node = pending.back();
        pending.pop_back();
        if (node == nullptr) return false;
        if (node->m_counted) continue;
        node->_incr(node->_counter(counts));
        push_children(pending, [&](auto& list) { node->c_list_children(list); });
    }
    return true;
}

void Node::write(Encoded& encoded) {
    // An empty pointer marks that the node below it in the list has its children written.
    std::vector<Node*> pending{this};
    while (!pending.empty()) {
        auto* node = pending.back();
        pending.pop_back();
        if (node == nullptr) {
            node = pending.back();
            pending.pop_back();
            node->c_write_internal(encoded);
            node->m_written = true;
            continue;
        }
        if (node->m_written) continue;
        if (node->c_is_written_first()) {
            node->c_write_internal(encoded);
            node->m_written = true;
        } else {
            pending.push_back(node);
            pending.push_back(nullptr);
        }
        push_children(pending, [&](auto& list) { node->c_list_children(list); });
    }
}

void Node::measure() {
    std::vector<Node*> children;
    c_list_children(children);
    m_depth = c_measure(children);
}

std::uint32_t Node::c_measure(std::vector<Node*> const& children) const {
    std::uint32_t depth = 0;
    for (auto const* child : children) depth = std::max(depth, child->c_get_depth() + 1);
    return depth;
}

}  // namespace ximDSL
