// The functions that make the leaves and the cash flows of a contract, and the helpers for
// conditions and choices.
#include <memory>
#include <utility>

#include "dsl/cashflow.hpp"

namespace ximDSL {

namespace {

constexpr short outgoing = 1;   // Pay, Buy
constexpr short incoming = -1;  // Receive, Sell

}  // namespace

AmountPtr Spot(std::string const& ticker, std::string const& date, std::string const& currency) {
    return std::make_shared<Fixing>(ticker, date, currency);
}

AmountPtr CstRef(std::string const& name, float value) {
    return std::make_shared<Ref>(name, value);
}

AmountPtr Cst(float value) {
    return std::make_shared<DeterministicAmount>(value);
}

EventPtr make_constant_event(bool value) {
    return std::make_shared<DeterministicEvent>(value);
}

AmountPtr AmountRef(std::string const& name) {
    return std::make_shared<RefAmount>(name);
}

CashFlowPtr Pay(AmountPtr const& amount, std::string const& date, std::string const& currency) {
    return std::make_shared<PayReceive>(amount, date, currency, outgoing);
}

CashFlowPtr Pay(float amount, std::string const& date, std::string const& currency) {
    return Pay(Cst(amount), date, currency);
}

CashFlowPtr Receive(AmountPtr const& amount, std::string const& date, std::string const& currency) {
    return std::make_shared<PayReceive>(amount, date, currency, incoming);
}

CashFlowPtr Receive(float amount, std::string const& date, std::string const& currency) {
    return Receive(Cst(amount), date, currency);
}

CashFlowPtr Buy(std::string const& date, float quantity, CashFlowPtr const& cashflow) {
    return std::make_shared<BuySell>(date, quantity, cashflow, outgoing);
}

CashFlowPtr Buy(std::string const& date, CashFlowPtr const& cashflow) {
    return Buy(date, 1.0f, cashflow);
}

CashFlowPtr Sell(std::string const& date, float quantity, CashFlowPtr const& cashflow) {
    return std::make_shared<BuySell>(date, quantity, cashflow, incoming);
}

CashFlowPtr Sell(std::string const& date, CashFlowPtr const& cashflow) {
    return Sell(date, 1.0f, cashflow);
}

CashFlowPtr End() {
    return std::make_shared<Nothing>();
}

CashFlowPtr Set(std::string const& name, AmountPtr const& amount) {
    return std::make_shared<RefAmountSetter>(name, amount);
}

Sorted::Sorted(std::vector<AmountPtr> amounts) : m_amounts(std::move(amounts)) {}

AmountPtr Sorted::operator[](int rank) const {
    return std::make_shared<SortedAmounts>(m_amounts, rank);
}

If::If(EventPtr event) : If(std::move(event), 0.0f) {}

If::If(EventPtr event, float spread) : If(std::move(event), spread, spread) {}

If::If(EventPtr event, float first_spread, float second_spread)
    : m_event(std::move(event)), m_first_spread(first_spread), m_second_spread(second_spread) {}

AmountPtr If::operator()(AmountPtr const& then, AmountPtr const& otherwise) const {
    return std::make_shared<Iff>(m_event, then, otherwise);
}

AmountPtr If::operator()(AmountPtr const& then) const {
    return (*this)(then, 0.0f);
}

AmountPtr If::operator()(float then) const {
    return (*this)(then, 0.0f);
}

AmountPtr If::operator()(float then, AmountPtr const& otherwise) const {
    return (*this)(Cst(then), otherwise);
}

AmountPtr If::operator()(AmountPtr const& then, float otherwise) const {
    return (*this)(then, Cst(otherwise));
}

AmountPtr If::operator()(float then, float otherwise) const {
    return (*this)(Cst(then), Cst(otherwise));
}

CashFlowPtr If::operator()(CashFlowPtr const& then, CashFlowPtr const& otherwise) const {
    return std::make_shared<Barrier>(m_event, then, otherwise, m_first_spread, m_second_spread);
}

CashFlowPtr If::operator()(CashFlowPtr const& then) const {
    return (*this)(then, End());
}

Either::Either(std::string date, int owner) : m_date(std::move(date)), m_owner(owner) {}

CashFlowPtr Either::operator()(std::vector<CashFlowPtr> const& alternatives) const {
    return std::make_shared<IfExercise>(m_owner != 0, m_date, alternatives);
}

Observation::Observation(std::string observation_date, AmountPtr observed)
    : date(std::move(observation_date)), amount(std::move(observed)) {}

}  // namespace ximDSL
