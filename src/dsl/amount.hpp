// The amounts of a contract description: numbers, fixings, names and what is computed from them.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "dsl/component.hpp"

namespace ximDSL {

class Amount : public Component {
 public:
    /// The operation codes of amounts in the encoded form.
    // clang-format off
    enum class Id : std::uint8_t {
        add, divide, max, min, multiply, subtract,                          // two amounts
        abs, cos, exp, log, sin, square_root, minus, tan,                   // one amount
        left_add, left_divide, left_max, left_min, left_multiply, left_subtract,  // number, amount
        right_add, right_divide, right_max, right_min, right_multiply, right_power,
        right_subtract,                                                     // amount, number
        constant, fixing, iff, ref, ref_amount, sorted
    };
    // clang-format on
    static constexpr char tag = 'a';

 private:
    std::uint64_t& _counter(Counts& counts) const final { return counts.amounts; }
};

class DeterministicAmount final : public Described<DeterministicAmount, Amount> {
 public:
    explicit DeterministicAmount(float value) : m_value(value) {}
    [[nodiscard]] auto c_fields() const { return std::tie(m_value); }
    static constexpr Id c_get_op() { return Id::constant; }

 private:
    float m_value;
};

/// A constant with a name.
class Ref final : public Described<Ref, Amount> {
 public:
    Ref(std::string name, float value) : m_value(value), m_name(std::move(name)) {}
    [[nodiscard]] auto c_fields() const { return std::tie(m_name, m_value); }
    static constexpr Id c_get_op() { return Id::ref; }

 private:
    float m_value;
    std::string m_name;
};

/// The amount last set under a name.
class RefAmount final : public Described<RefAmount, Amount> {
 public:
    explicit RefAmount(std::string name) : m_name(std::move(name)) {}
    [[nodiscard]] auto c_fields() const { return std::tie(m_name); }
    static constexpr Id c_get_op() { return Id::ref_amount; }

 private:
    std::string m_name;
};

/// The level of an underlying at a date; an empty currency leaves it in its own.
class Fixing final : public Described<Fixing, Amount> {
 public:
    Fixing(std::string underlying, std::string date, std::string currency)
        : m_underlying(std::move(underlying)),
          m_date(std::move(date)),
          m_currency(std::move(currency)) {}
    [[nodiscard]] auto c_fields() const { return std::tie(m_underlying, m_date, m_currency); }
    static constexpr Id c_get_op() { return Id::fixing; }

 private:
    std::string m_underlying;
    std::string m_date;
    std::string m_currency;
};

/// The amount that stands at `rank`, from 0, when the amounts are put in increasing order.
class SortedAmounts final : public Described<SortedAmounts, Amount> {
 public:
    SortedAmounts(std::vector<AmountPtr> const& amounts, int rank)
        : m_amounts(amounts.begin(), amounts.end()), m_rank(rank) {}
    [[nodiscard]] auto c_fields() const { return std::tie(m_rank, m_amounts); }
    static constexpr Id c_get_op() { return Id::sorted; }

 private:
    [[nodiscard]] bool c_is_written_first() const override { return true; }

    std::vector<Child<Amount>> m_amounts;
    int m_rank;
};

class AmountUnaryOperation final : public Described<AmountUnaryOperation, Amount> {
 public:
    explicit AmountUnaryOperation(Id id, AmountPtr operand = {})
        : m_id(id), m_operand(std::move(operand)) {}
    [[nodiscard]] auto c_fields() const { return std::tie(m_operand); }
    [[nodiscard]] Id c_get_op() const { return m_id; }
    [[nodiscard]] bool parse(std::stack<NodePtr>& stack) override;

 private:
    Id m_id;
    Child<Amount> m_operand;
};

class AmountBinaryOperation final : public Described<AmountBinaryOperation, Amount> {
 public:
    explicit AmountBinaryOperation(Id id, AmountPtr left = {}, AmountPtr right = {})
        : m_id(id), m_left(std::move(left)), m_right(std::move(right)) {}
    [[nodiscard]] auto c_fields() const { return std::tie(m_left, m_right); }
    [[nodiscard]] Id c_get_op() const { return m_id; }
    [[nodiscard]] bool parse(std::stack<NodePtr>& stack) override;
    [[nodiscard]] int c_get_precedence() const override;

 private:
    Id m_id;
    Child<Amount> m_left;
    Child<Amount> m_right;
};

class LeftAmountHybridOperation final : public Described<LeftAmountHybridOperation, Amount> {
 public:
    LeftAmountHybridOperation(Id id, float left, AmountPtr right)
        : m_id(id), m_left(left), m_right(std::move(right)) {}
    [[nodiscard]] auto c_fields() const { return std::tie(m_left, m_right); }
    [[nodiscard]] Id c_get_op() const { return m_id; }

 private:
    Id m_id;
    float m_left;
    Child<Amount> m_right;
};

class RightAmountHybridOperation final : public Described<RightAmountHybridOperation, Amount> {
 public:
    RightAmountHybridOperation(Id id, AmountPtr left, float right)
        : m_id(id), m_left(std::move(left)), m_right(right) {}
    [[nodiscard]] auto c_fields() const { return std::tie(m_left, m_right); }
    [[nodiscard]] Id c_get_op() const { return m_id; }

 private:
    Id m_id;
    Child<Amount> m_left;
    float m_right;
};

}  // namespace ximDSL
