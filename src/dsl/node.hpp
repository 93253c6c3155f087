// What every node of a contract description has: a number within its family, children, an item in
// the encoded form. A node names its fields once (`Described`); numbering, writing and releasing
// walk them without recursion, so that a tree of any depth is handled on any stack.
#pragma once

#include <cstdint>
#include <memory>
#include <stack>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "dsl/encoded.hpp"

namespace ximDSL {

class Node;
using NodePtr = std::shared_ptr<Node>;

/// The next free number of each family.
struct Counts {
    std::uint64_t amounts{};
    std::uint64_t events{};
    std::uint64_t cashflows{};
};

/// A node goes one way: fresh, counted, written. A shared node keeps its first number and is
/// written once.
class Node {
 public:
    Node() = default;
    Node(Node const&) = delete;
    Node& operator=(Node const&) = delete;
    virtual ~Node() = default;

    /// Takes the operands of an operation from the top of the stack, the right one first. False if
    /// one is missing or of the wrong family. A node that is no operation takes nothing.
    [[nodiscard]] virtual bool parse(std::stack<NodePtr>& stack);

    /// Binding strength in a script: the lower, the tighter. 0 for all but the infix operators.
    [[nodiscard]] virtual int c_get_precedence() const { return 0; }

    /// Numbers this node and what stands below it: depth first, parents before children, children
    /// from left to right. False if a child is missing; the tree is then of no use.
    [[nodiscard]] bool c_count(Counts& counts);

    /// Appends the items of this node and of what stands below it, as far as not yet written.
    void write(Encoded& encoded);

    /// The node's number; meaningful after `c_count`.
    [[nodiscard]] std::uint64_t c_get_id() const { return m_id; }

    /// Edges down to the deepest leaf, as of the last `measure`; the right side of "&" counts as
    /// level.
    [[nodiscard]] std::uint32_t c_get_depth() const { return m_depth; }

    /// Takes the depth from the children, which must have been measured.
    void measure();

 protected:
    /// Appends the children in order, an empty pointer for a missing one.
    virtual void c_list_children(std::vector<Node*>& children) const = 0;

    /// Appends the item of this node alone.
    virtual void c_write_internal(Encoded& encoded) const = 0;

    /// Whether the item stands in front of those of the children; else it stands behind them.
    [[nodiscard]] virtual bool c_is_written_first() const { return false; }

    /// The depth of this node, given its children.
    [[nodiscard]] virtual std::uint32_t c_measure(std::vector<Node*> const& children) const;

 private:
    virtual std::uint64_t& _counter(Counts& counts) const = 0;
    void _incr(std::uint64_t& counter);

    std::uint64_t m_id{};
    std::uint32_t m_depth{};
    bool m_counted{};
    bool m_written{};
};

/// Hands a node over for release. Nodes released while another one is being destroyed are destroyed
/// after it, not inside it: a chain of any length uses one stack frame.
void release(std::shared_ptr<void> node) noexcept;

/// The owning link from a node to a child.
template <class T>
class Child {
 public:
    Child() = default;
    Child(std::shared_ptr<T> node) : m_node(std::move(node)) {}  // NOLINT: a pointer is a child
    Child(Child&&) noexcept = default;
    Child& operator=(Child&&) noexcept = default;
    ~Child() {
        if (m_node.use_count() == 1) release(std::move(m_node));
    }

    [[nodiscard]] T* get() const { return m_node.get(); }

 private:
    std::shared_ptr<T> m_node;
};

/// Takes the top of the stack as an operand of the family T.
template <class T>
[[nodiscard]] bool take(std::stack<NodePtr>& stack, Child<T>& operand) {
    if (stack.empty()) return false;
    auto node = std::dynamic_pointer_cast<T>(stack.top());
    if (node.get() == nullptr) return false;
    stack.pop();
    operand = std::move(node);
    return true;
}

// How a field goes into the payload and the list of children.
inline void write_field(std::ostream& out, std::string const& text) {
    out << text;
}
inline void write_field(std::ostream& out, float number) {
    out << static_cast<double>(number);
}
inline void write_field(std::ostream& out, int number) {
    out << number;
}
inline void write_field(std::ostream& out, short number) {
    out << number;
}
inline void write_field(std::ostream& out, bool flag) {
    out << (flag ? 1 : 0);
}
template <class T>
void write_field(std::ostream& out, Child<T> const& child) {
    out << child.get()->c_get_id();
}
template <class T>
void write_field(std::ostream& out, std::vector<Child<T>> const& children) {
    auto separator = "";
    for (auto const& child : children) {
        out << separator << child.get()->c_get_id();
        separator = ",";
    }
}

/// Notes the first text that the commas of a payload would cut.
template <class Field>
void check_field(Encoded&, Field const&) {}
inline void check_field(Encoded& encoded, std::string const& text) {
    if (encoded.text_with_comma.empty() && text.find(',') != std::string::npos)
        encoded.text_with_comma = text;
}

template <class Field>
void list_field(std::vector<Node*>&, Field const&) {}
template <class T>
void list_field(std::vector<Node*>& children, Child<T> const& child) {
    children.push_back(child.get());
}
template <class T>
void list_field(std::vector<Node*>& children, std::vector<Child<T>> const& list) {
    for (auto const& child : list) children.push_back(child.get());
}

/// A node class `Self` of the family `Family`: it offers `c_fields()`, the tuple of its fields in
/// the order of its payload, and `c_get_op()`, its operation code.
template <class Self, class Family>
class Described : public Family {
 protected:
    void c_list_children(std::vector<Node*>& children) const final {
        std::apply([&](auto const&... field) { (list_field(children, field), ...); },
                   self().c_fields());
    }

    void c_write_internal(Encoded& encoded) const final {
        auto const id = static_cast<int>(this->c_get_id());
        auto& item =
            encoded.items.emplace_back(Family::tag, id, static_cast<int>(self().c_get_op()));
        auto separator = "";
        auto const write = [&](auto const& field) {
            if (is_empty(field)) return;
            check_field(encoded, field);
            item.payload << std::exchange(separator, ",");
            write_field(item.payload, field);
        };
        std::apply([&](auto const&... field) { (write(field), ...); }, self().c_fields());
    }

 private:
    template <class Field>
    static bool is_empty(Field const&) {
        return false;
    }
    template <class T>
    static bool is_empty(std::vector<Child<T>> const& children) {
        return children.empty();
    }

    [[nodiscard]] Self const& self() const { return static_cast<Self const&>(*this); }
};

}  // namespace ximDSL
