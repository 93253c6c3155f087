// The contract language as C++: functions and operators that build the description of a contract,
// so that a product reads like its formula:
//
//     using namespace ximDSL;
//     auto const spot = Spot("AAA", "2025-06-30", "");
//     auto const contract = Pay(Max(spot - 100.0f, 0.0f), "2025-07-01", "EUR");
//
// Every function makes a new node; a node may stand below several parents and is then described
// once. Numbers are 32-bit floats. Dates, currencies, tickers and names are plain text, read only
// when the contract is priced. Nothing here fails or evaluates anything. Inside these operators `a
// == b` and `!a` build nodes: test a pointer for emptiness with `a.get() == nullptr`.
#pragma once

#include <concepts>
#include <memory>
#include <string>
#include <vector>

#include "ximAPI/export.hpp"

namespace ximDSL {

class Amount;
class Event;
class CashFlow;

using AmountPtr = std::shared_ptr<Amount>;
using EventPtr = std::shared_ptr<Event>;
using CashFlowPtr = std::shared_ptr<CashFlow>;

// Leaves
// -------------------------------------------------------------------------------------------------------------

/// The level of `ticker` at `date`, in `currency`; an empty currency leaves it in the currency of
/// the underlying.
XIM_EXPORT AmountPtr Spot(std::string const& ticker, std::string const& date,
                          std::string const& currency);

/// A constant that keeps a name, under which its value can be solved for or bumped.
XIM_EXPORT AmountPtr CstRef(std::string const& name, float value);

/// A constant.
XIM_EXPORT AmountPtr Cst(float value);

/// An event that is always, or never, true. Only a genuine `bool` makes an event.
template <std::same_as<bool> Bool>
EventPtr Cst(Bool value);

/// The amount last set under `name` by `Set`.
XIM_EXPORT AmountPtr AmountRef(std::string const& name);

// Cash flows
// ---------------------------------------------------------------------------------------------------------

/// Pays the amount at `date` in `currency`; a positive amount goes to the holder.
XIM_EXPORT CashFlowPtr Pay(AmountPtr const& amount, std::string const& date,
                           std::string const& currency);
XIM_EXPORT CashFlowPtr Pay(float amount, std::string const& date, std::string const& currency);

/// The same with the opposite sign.
XIM_EXPORT CashFlowPtr Receive(AmountPtr const& amount, std::string const& date,
                               std::string const& currency);
XIM_EXPORT CashFlowPtr Receive(float amount, std::string const& date, std::string const& currency);

/// Buys (sells) `quantity` times the cash flow at `date`; the quantity is 1 unless given.
XIM_EXPORT CashFlowPtr Buy(std::string const& date, float quantity, CashFlowPtr const& cashflow);
XIM_EXPORT CashFlowPtr Buy(std::string const& date, CashFlowPtr const& cashflow);
XIM_EXPORT CashFlowPtr Sell(std::string const& date, float quantity, CashFlowPtr const& cashflow);
XIM_EXPORT CashFlowPtr Sell(std::string const& date, CashFlowPtr const& cashflow);

/// The contract that pays nothing.
XIM_EXPORT CashFlowPtr End();

/// Stores the amount under `name`, for a later `AmountRef`.
XIM_EXPORT CashFlowPtr Set(std::string const& name, AmountPtr const& amount);

/// Both cash flows.
XIM_EXPORT CashFlowPtr operator&(CashFlowPtr const& left, CashFlowPtr const& right);

// Functions of amounts
// -----------------------------------------------------------------------------------------------

XIM_EXPORT AmountPtr Abs(AmountPtr const& x);
XIM_EXPORT AmountPtr Cos(AmountPtr const& x);
XIM_EXPORT AmountPtr Sin(AmountPtr const& x);
XIM_EXPORT AmountPtr Tan(AmountPtr const& x);
XIM_EXPORT AmountPtr Exp(AmountPtr const& x);
XIM_EXPORT AmountPtr Log(AmountPtr const& x);
XIM_EXPORT AmountPtr Sqrt(AmountPtr const& x);
XIM_EXPORT AmountPtr Pow(AmountPtr const& x, float exponent);

XIM_EXPORT AmountPtr Max(AmountPtr const& left, AmountPtr const& right);
XIM_EXPORT AmountPtr Max(AmountPtr const& left, float right);
XIM_EXPORT AmountPtr Max(float left, AmountPtr const& right);
XIM_EXPORT AmountPtr Min(AmountPtr const& left, AmountPtr const& right);
XIM_EXPORT AmountPtr Min(AmountPtr const& left, float right);
XIM_EXPORT AmountPtr Min(float left, AmountPtr const& right);

/// The amounts in increasing order: `Sorted(amounts)[0]` is the smallest.
class XIM_EXPORT Sorted {
 public:
    explicit Sorted(std::vector<AmountPtr> amounts);
    AmountPtr operator[](int rank) const;

 private:
    std::vector<AmountPtr> m_amounts;
};

// Arithmetic
// ---------------------------------------------------------------------------------------------------------

XIM_EXPORT AmountPtr operator+(AmountPtr const& left, AmountPtr const& right);
XIM_EXPORT AmountPtr operator+(AmountPtr const& left, float right);
XIM_EXPORT AmountPtr operator+(float left, AmountPtr const& right);
XIM_EXPORT AmountPtr operator-(AmountPtr const& left, AmountPtr const& right);
XIM_EXPORT AmountPtr operator-(AmountPtr const& left, float right);
XIM_EXPORT AmountPtr operator-(float left, AmountPtr const& right);
XIM_EXPORT AmountPtr operator*(AmountPtr const& left, AmountPtr const& right);
XIM_EXPORT AmountPtr operator*(AmountPtr const& left, float right);
XIM_EXPORT AmountPtr operator*(float left, AmountPtr const& right);
XIM_EXPORT AmountPtr operator/(AmountPtr const& left, AmountPtr const& right);
XIM_EXPORT AmountPtr operator/(AmountPtr const& left, float right);
XIM_EXPORT AmountPtr operator/(float left, AmountPtr const& right);

/// The same node.
XIM_EXPORT AmountPtr operator+(AmountPtr const& x);
XIM_EXPORT AmountPtr operator-(AmountPtr const& x);

// Comparisons and events
// ---------------------------------------------------------------------------------------------

XIM_EXPORT EventPtr operator==(AmountPtr const& left, AmountPtr const& right);
XIM_EXPORT EventPtr operator==(AmountPtr const& left, float right);
XIM_EXPORT EventPtr operator==(float left, AmountPtr const& right);
XIM_EXPORT EventPtr operator!=(AmountPtr const& left, AmountPtr const& right);
XIM_EXPORT EventPtr operator!=(AmountPtr const& left, float right);
XIM_EXPORT EventPtr operator!=(float left, AmountPtr const& right);
XIM_EXPORT EventPtr operator>(AmountPtr const& left, AmountPtr const& right);
XIM_EXPORT EventPtr operator>(AmountPtr const& left, float right);
XIM_EXPORT EventPtr operator>(float left, AmountPtr const& right);
XIM_EXPORT EventPtr operator>=(AmountPtr const& left, AmountPtr const& right);
XIM_EXPORT EventPtr operator>=(AmountPtr const& left, float right);
XIM_EXPORT EventPtr operator>=(float left, AmountPtr const& right);
XIM_EXPORT EventPtr operator<(AmountPtr const& left, AmountPtr const& right);
XIM_EXPORT EventPtr operator<(AmountPtr const& left, float right);
XIM_EXPORT EventPtr operator<(float left, AmountPtr const& right);
/// Between two amounts this is the strict comparison: `a <= b` describes the same event as `a < b`.
/// The forms with a number, and the script text "<=", are lower or equal.
XIM_EXPORT EventPtr operator<=(AmountPtr const& left, AmountPtr const& right);
XIM_EXPORT EventPtr operator<=(AmountPtr const& left, float right);
XIM_EXPORT EventPtr operator<=(float left, AmountPtr const& right);

/// Both operands are described: there is no short circuit.
XIM_EXPORT EventPtr operator&&(EventPtr const& left, EventPtr const& right);
XIM_EXPORT EventPtr operator||(EventPtr const& left, EventPtr const& right);
XIM_EXPORT EventPtr operator!(EventPtr const& event);

// Conditions and choices
// ---------------------------------------------------------------------------------------------

/// `If(event, left, right)(a, b)` is `a` where the event holds and `b` elsewhere, for two amounts
/// or two cash flows. The spreads widen the step of a cash-flow condition into a ramp when
/// smoothing is on, from `first_spread` below the level to `second_spread` above it, in the unit of
/// what is compared: 0.01 is one percent of a performance. One spread counts for both sides. An
/// amount condition has no spreads. A missing `b` is `Cst(0)` or `End()`.
class XIM_EXPORT If {
 public:
    explicit If(EventPtr event);
    If(EventPtr event, float spread);
    If(EventPtr event, float first_spread, float second_spread);

    AmountPtr operator()(AmountPtr const& then, AmountPtr const& otherwise) const;
    AmountPtr operator()(AmountPtr const& then) const;
    AmountPtr operator()(float then) const;
    AmountPtr operator()(float then, AmountPtr const& otherwise) const;
    AmountPtr operator()(AmountPtr const& then, float otherwise) const;
    AmountPtr operator()(float then, float otherwise) const;
    CashFlowPtr operator()(CashFlowPtr const& then, CashFlowPtr const& otherwise) const;
    CashFlowPtr operator()(CashFlowPtr const& then) const;

 private:
    EventPtr m_event;
    float m_first_spread;
    float m_second_spread;
};

/// `Either(date, owner)(alternatives)`: at `date` one alternative is chosen, the best for the
/// holder if `owner` is not 0 (putable), the worst if it is 0 (callable).
class XIM_EXPORT Either {
 public:
    Either(std::string date, int owner);
    CashFlowPtr operator()(std::vector<CashFlowPtr> const& alternatives) const;

 private:
    std::string m_date;
    int m_owner;
};

/// An amount that is to be read back at a date after a run.
class XIM_EXPORT Observation {
 public:
    Observation(std::string date, AmountPtr amount);

    std::string date;
    AmountPtr amount;
};

// Files
// --------------------------------------------------------------------------------------------------------------

/// Writes the encoded text of the contract, which `ximAPI::File` reads back; the tree must not have
/// been encoded before. False if the file cannot be written, if there is nothing to write, or if a
/// text holds a comma.
[[nodiscard]] XIM_EXPORT bool Save(CashFlowPtr const& cashflow, std::string const& filename);
[[nodiscard]] XIM_EXPORT bool Save(std::vector<Observation> const& observations,
                                   std::string const& filename);

/// The form of `Cst(bool)` without a template.
XIM_EXPORT EventPtr make_constant_event(bool value);

template <std::same_as<bool> Bool>
EventPtr Cst(Bool value) {
    return make_constant_event(value);
}

}  // namespace ximDSL
