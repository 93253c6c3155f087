// The events of a contract description: comparisons of amounts, what is combined from them, and the
// amount that depends on one.
#pragma once

#include <cstdint>
#include <tuple>
#include <utility>

#include "dsl/amount.hpp"

namespace ximDSL {

class Event : public Component {
 public:
    /// The operation codes of events in the encoded form.
    // clang-format off
    enum class Id : std::uint8_t {
        negation,
        equal, greater, greater_or_equal, lower, lower_or_equal, not_equal,  // two amounts
        both, either,
        left_equal, left_greater, left_greater_or_equal, left_lower, left_lower_or_equal,
        left_not_equal,                                                      // number, amount
        right_equal, right_greater, right_greater_or_equal, right_lower, right_lower_or_equal,
        right_not_equal,                                                     // amount, number
        constant
    };
    // clang-format on
    static constexpr char tag = 'e';

 private:
    std::uint64_t& _counter(Counts& counts) const final { return counts.events; }
};

class DeterministicEvent final : public Described<DeterministicEvent, Event> {
 public:
    explicit DeterministicEvent(bool value) : m_value(value) {}
    [[nodiscard]] auto c_fields() const { return std::tie(m_value); }
    static constexpr Id c_get_op() { return Id::constant; }

 private:
    bool m_value;
};

class EventUnaryOperation final : public Described<EventUnaryOperation, Event> {
 public:
    explicit EventUnaryOperation(Id id, EventPtr operand = {})
        : m_id(id), m_operand(std::move(operand)) {}
    [[nodiscard]] auto c_fields() const { return std::tie(m_operand); }
    [[nodiscard]] Id c_get_op() const { return m_id; }
    [[nodiscard]] bool parse(std::stack<NodePtr>& stack) override;

 private:
    Id m_id;
    Child<Event> m_operand;
};

class EventBinaryOperation final : public Described<EventBinaryOperation, Event> {
 public:
    explicit EventBinaryOperation(Id id, EventPtr left = {}, EventPtr right = {})
        : m_id(id), m_left(std::move(left)), m_right(std::move(right)) {}
    [[nodiscard]] auto c_fields() const { return std::tie(m_left, m_right); }
    [[nodiscard]] Id c_get_op() const { return m_id; }
    [[nodiscard]] bool parse(std::stack<NodePtr>& stack) override;
    [[nodiscard]] int c_get_precedence() const override;

 private:
    Id m_id;
    Child<Event> m_left;
    Child<Event> m_right;
};

/// A comparison of two amounts.
class EventAmountBinaryOperation final : public Described<EventAmountBinaryOperation, Event> {
 public:
    explicit EventAmountBinaryOperation(Id id, AmountPtr left = {}, AmountPtr right = {})
        : m_id(id), m_left(std::move(left)), m_right(std::move(right)) {}
    [[nodiscard]] auto c_fields() const { return std::tie(m_left, m_right); }
    [[nodiscard]] Id c_get_op() const { return m_id; }
    [[nodiscard]] bool parse(std::stack<NodePtr>& stack) override;
    [[nodiscard]] int c_get_precedence() const override { return 6; }

 private:
    Id m_id;
    Child<Amount> m_left;
    Child<Amount> m_right;
};

class LeftEventAmountHybridOperation final
    : public Described<LeftEventAmountHybridOperation, Event> {
 public:
    LeftEventAmountHybridOperation(Id id, float left, AmountPtr right)
        : m_id(id), m_left(left), m_right(std::move(right)) {}
    [[nodiscard]] auto c_fields() const { return std::tie(m_left, m_right); }
    [[nodiscard]] Id c_get_op() const { return m_id; }

 private:
    Id m_id;
    float m_left;
    Child<Amount> m_right;
};

class RightEventAmountHybridOperation final
    : public Described<RightEventAmountHybridOperation, Event> {
 public:
    RightEventAmountHybridOperation(Id id, AmountPtr left, float right)
        : m_id(id), m_left(std::move(left)), m_right(right) {}
    [[nodiscard]] auto c_fields() const { return std::tie(m_left, m_right); }
    [[nodiscard]] Id c_get_op() const { return m_id; }

 private:
    Id m_id;
    Child<Amount> m_left;
    float m_right;
};

/// One of two amounts, by an event.
class Iff final : public Described<Iff, Amount> {
 public:
    Iff(EventPtr event, AmountPtr then, AmountPtr otherwise)
        : m_event(std::move(event)), m_then(std::move(then)), m_otherwise(std::move(otherwise)) {}
    [[nodiscard]] auto c_fields() const { return std::tie(m_event, m_then, m_otherwise); }
    static constexpr Id c_get_op() { return Id::iff; }

 private:
    Child<Event> m_event;
    Child<Amount> m_then;
    Child<Amount> m_otherwise;
};

}  // namespace ximDSL
