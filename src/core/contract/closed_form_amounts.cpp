// Amounts in closed form: what is linear in its fixings is priced by its parts, all other payoffs
// by replication.

#include <algorithm>
#include <initializer_list>
#include <vector>

#include "core/contract/iff.hpp"
#include "core/contract/operations.hpp"
#include "core/contract/ranking.hpp"
#include "core/contract/sorted.hpp"
#include "core/data/closed_form.hpp"
#include "core/data/missing.hpp"
#include "core/pricing/static_replication.hpp"

namespace ximCORE::Contract {

namespace {

using Data::Currency;
using Data::ForwardPayment;
using Data::Level;
using Toolbox::Date;
using Type = Operation::Type;

constexpr char const* c_closed_form_refusal = "Contract non eligible to closed form method";
constexpr char const* c_replication_refusal = "Contract non eligible to static replication method";

bool refuse(char const* method, char const* reason) {
    return Data::missing_text(Level::error, method, reason);
}

bool price_constant(double value, ForwardPayment const& payment, double& price) {
    double unit{};
    if (!Data::eval_unit_payment(payment, unit)) return false;
    price = value * unit;
    return true;
}

std::vector<Fixing const*> distinct_fixings(Amount const& amount) {
    std::vector<Fixing const*> fixings;
    amount.c_accumulate_fixings(fixings);
    sort_fixings(fixings);
    return fixings;
}

bool refers_to_names(Amount const& amount) {
    std::vector<NamedSlot> names;
    const_cast<Amount&>(amount).accumulate_names(names);  // the walk itself changes nothing
    return !names.empty();
}

/// The operator on the prices of its operands, if that is the price of its value; else the node's
/// replication.
template <class Node>
bool price_operator(Node const& node, Operation operation, std::initializer_list<Type> by_parts,
                    ForwardPayment const& payment, double& price) {
    if (std::ranges::find(by_parts, operation.c_get_type()) == by_parts.end())
        return node.Amount::c_compute_closed_form_price(
            payment.today, payment.pricing, payment.payment, payment.payment_currency, price);
    return node.compute(price, [&payment](auto const& operand, double& out) {
        return operand->c_compute_closed_form_price(payment.today, payment.pricing, payment.payment,
                                                    payment.payment_currency, out);
    });
}

}  // namespace

bool Amount::c_compute_closed_form_price(Date const& today, Currency const& pricing,
                                         Date const& payment, Currency const& payment_currency,
                                         double& price) const {
    ForwardPayment const forward{today, pricing, payment, payment_currency};
    if (distinct_fixings(*this).empty()) {
        if (refers_to_names(*this))
            return refuse(c_replication_refusal, "Because it contains a reference");
        return price_constant(c_eval_carr_madan(0.0), forward, price);
    }
    return Data::is_paid_in_pricing_currency(forward) &&
           c_compute_carr_madan_price(today, payment, price);
}

bool Amount::c_compute_carr_madan_price(Date const& today, Date const& payment,
                                        double& price) const {
    auto const fixings = distinct_fixings(*this);
    if (fixings.empty()) return refuse(c_replication_refusal, "Because it contains no fixing");
    auto const& fixing = *fixings.front();
    // a level that is converted at a rate is a payoff of both
    if (fixings.size() > 1 || fixing.c_get_conversion() != nullptr)
        return refuse(c_replication_refusal,
                      "Because of a forward payment that contains multiple fixings");
    if (fixing.c_get_underlying() == nullptr || !fixing.c_get_underlying()->c_is_equity_like())
        return refuse(c_replication_refusal,
                      "Because of a forward payment that contains a non-Equity/FX fixing");
    Pricing::StaticReplication1D::Results results;
    // Relied on: a reference inside a replicated payoff counts as 0
    if (!Pricing::StaticReplication1D::compute_carr_madan_price(
            today, fixing.c_get_fixing_date(), payment, fixing.c_get_underlying().get(),
            [this](double x) { return c_eval_carr_madan(x); }, results))
        return false;
    price = results.price;
    return true;
}

// Leaves

bool DeterministicAmount::c_compute_closed_form_price(Date const& today, Currency const& pricing,
                                                      Date const& payment,
                                                      Currency const& payment_currency,
                                                      double& price) const {
    return price_constant(m_value, {today, pricing, payment, payment_currency}, price);
}

bool Ref::c_compute_closed_form_price(Date const& today, Currency const& pricing,
                                      Date const& payment, Currency const& payment_currency,
                                      double& price) const {
    return price_constant(m_value, {today, pricing, payment, payment_currency}, price);
}

bool RefAmount::c_compute_closed_form_price(Date const&, Currency const&, Date const&,
                                            Currency const&, double&) const {
    return false;
}

bool Fixing::c_compute_closed_form_price(Date const& today, Currency const& pricing,
                                         Date const& payment, Currency const& payment_currency,
                                         double& price) const {
    if (!m_underlying)
        return Data::missing_text(Level::error, "Cannot find underlying ", m_underlying_name);
    if (m_conversion)
        return refuse(c_closed_form_refusal,
                      "Because it contains a fixing converted into another currency");
    return m_underlying->c_compute_closed_form_price(today, pricing, payment, payment_currency,
                                                     m_date, price);
}

// Operations

bool AmountUnaryOperation::c_compute_closed_form_price(Date const& today, Currency const& pricing,
                                                       Date const& payment,
                                                       Currency const& payment_currency,
                                                       double& price) const {
    return price_operator(*this, m_operation, {Type::sub},
                          {today, pricing, payment, payment_currency}, price);
}

bool AmountBinaryOperation::c_compute_closed_form_price(Date const& today, Currency const& pricing,
                                                        Date const& payment,
                                                        Currency const& payment_currency,
                                                        double& price) const {
    return price_operator(*this, m_operation, {Type::sub, Type::add},
                          {today, pricing, payment, payment_currency}, price);
}

template <Side side>
bool AmountHybridOperation<side>::c_compute_closed_form_price(Date const& today,
                                                              Currency const& pricing,
                                                              Date const& payment,
                                                              Currency const& payment_currency,
                                                              double& price) const {
    ForwardPayment const forward{today, pricing, payment, payment_currency};
    // Relied on: a number added to an amount is not discounted in closed form
    if constexpr (side == Side::left)
        return price_operator(*this, m_operation, {Type::sub, Type::mul, Type::add}, forward,
                              price);
    else
        return price_operator(*this, m_operation, {Type::sub, Type::mul, Type::div, Type::add},
                              forward, price);
}
template bool AmountHybridOperation<Side::left>::c_compute_closed_form_price(
    Date const&, Currency const&, Date const&, Currency const&, double&) const;
template bool AmountHybridOperation<Side::right>::c_compute_closed_form_price(
    Date const&, Currency const&, Date const&, Currency const&, double&) const;

double Iff::c_eval_carr_madan(double x) const {
    return m_event->c_eval_carr_madan(x) != 0.0 ? m_then->c_eval_carr_madan(x)
                                                : m_else->c_eval_carr_madan(x);
}

bool Sorted::c_compute_closed_form_price(Date const&, Currency const&, Date const&, Currency const&,
                                         double&) const {
    return refuse(c_closed_form_refusal, "");
}

}  // namespace ximCORE::Contract
