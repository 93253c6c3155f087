// The cash flows of a contract description: payments, choices and conditions.
#pragma once

#include <cstdint>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "dsl/event.hpp"

namespace ximDSL {

class CashFlow : public Node {
 public:
    /// The operation codes of cash flows in the encoded form.
    enum class Id : std::uint8_t {
        both,
        barrier,
        exercise,
        setter,
        buy_sell,
        pay_receive,
        nothing
    };
    static constexpr char tag = 'c';

    /// Numbers the tree, adds the counts to the header, and makes this node the root. False if a
    /// child is missing.
    [[nodiscard]] bool write_header(Encoded& encoded);

    /// The encoded form of the contract whose root this node is. To be called once, on a fresh
    /// tree: a node that has been written adds nothing. False if a child is missing or a text holds
    /// a comma.
    [[nodiscard]] bool encode(Encoded& encoded);

 private:
    std::uint64_t& _counter(Counts& counts) const final { return counts.cashflows; }
};

class Nothing final : public Described<Nothing, CashFlow> {
 public:
    [[nodiscard]] static auto c_fields() { return std::tie(c_filler); }
    static constexpr Id c_get_op() { return Id::nothing; }

 private:
    static constexpr int c_filler = 0;  // a reader of a file needs a payload
};

class PayReceive final : public Described<PayReceive, CashFlow> {
 public:
    /// `sign`: 1 to pay, -1 to receive.
    PayReceive(AmountPtr amount, std::string date, std::string currency, short sign)
        : m_date(std::move(date)),
          m_currency(std::move(currency)),
          m_amount(std::move(amount)),
          m_sign(sign) {}
    [[nodiscard]] auto c_fields() const { return std::tie(m_amount, m_date, m_currency, m_sign); }
    static constexpr Id c_get_op() { return Id::pay_receive; }

 private:
    std::string m_date;
    std::string m_currency;
    Child<Amount> m_amount;
    short m_sign;
};

class BuySell final : public Described<BuySell, CashFlow> {
 public:
    /// `sign`: 1 to buy, -1 to sell.
    BuySell(std::string date, float quantity, CashFlowPtr cashflow, short sign)
        : m_date(std::move(date)),
          m_sign(sign),
          m_quantity(quantity),
          m_cashflow(std::move(cashflow)) {}
    [[nodiscard]] auto c_fields() const { return std::tie(m_date, m_quantity, m_cashflow, m_sign); }
    static constexpr Id c_get_op() { return Id::buy_sell; }

 private:
    std::string m_date;
    short m_sign;
    float m_quantity;
    Child<CashFlow> m_cashflow;
};

/// Stores an amount under a name.
class RefAmountSetter final : public Described<RefAmountSetter, CashFlow> {
 public:
    RefAmountSetter(std::string name, AmountPtr amount)
        : m_name(std::move(name)), m_amount(std::move(amount)) {}
    [[nodiscard]] auto c_fields() const { return std::tie(m_name, m_amount); }
    static constexpr Id c_get_op() { return Id::setter; }

 private:
    std::string m_name;
    Child<Amount> m_amount;
};

/// Both of two cash flows.
class CashFlowBinaryOperation final : public Described<CashFlowBinaryOperation, CashFlow> {
 public:
    explicit CashFlowBinaryOperation(CashFlowPtr left = {}, CashFlowPtr right = {})
        : m_left(std::move(left)), m_right(std::move(right)) {}
    [[nodiscard]] auto c_fields() const { return std::tie(m_left, m_right); }
    static constexpr Id c_get_op() { return Id::both; }
    [[nodiscard]] bool parse(std::stack<NodePtr>& stack) override;

 private:
    [[nodiscard]] std::uint32_t c_measure(std::vector<Node*> const& children) const override;

    Child<CashFlow> m_left;
    Child<CashFlow> m_right;
};

/// One of two cash flows, by an event; the spreads are in the unit of what the event compares.
class Barrier final : public Described<Barrier, CashFlow> {
 public:
    Barrier(EventPtr event, CashFlowPtr then, CashFlowPtr otherwise, float first_spread,
            float second_spread)
        : m_event(std::move(event)),
          m_then(std::move(then)),
          m_otherwise(std::move(otherwise)),
          m_first_spread(first_spread),
          m_second_spread(second_spread) {}
    [[nodiscard]] auto c_fields() const {
        return std::tie(m_event, m_then, m_otherwise, m_first_spread, m_second_spread);
    }
    static constexpr Id c_get_op() { return Id::barrier; }

 private:
    Child<Event> m_event;
    Child<CashFlow> m_then;
    Child<CashFlow> m_otherwise;
    float m_first_spread;
    float m_second_spread;
};

/// The choice of one alternative at a date, by the holder if the flag is set (putable), against him
/// if not (callable).
class IfExercise final : public Described<IfExercise, CashFlow> {
 public:
    IfExercise(bool owner, std::string date, std::vector<CashFlowPtr> const& alternatives)
        : m_owner(owner),
          m_date(std::move(date)),
          m_alternatives(alternatives.begin(), alternatives.end()) {}
    [[nodiscard]] auto c_fields() const { return std::tie(m_owner, m_date, m_alternatives); }
    static constexpr Id c_get_op() { return Id::exercise; }

 private:
    [[nodiscard]] bool c_is_written_first() const override { return true; }

    bool m_owner;
    std::string m_date;
    std::vector<Child<CashFlow>> m_alternatives;
};

}  // namespace ximDSL
