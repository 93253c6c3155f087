#include "core/pricing/cf_details.hpp"

#include <algorithm>
#include <tuple>
#include <vector>

#include "core/contract/cashflow.hpp"
#include "core/contract/contract.hpp"
#include "core/contract/fixing.hpp"
#include "core/contract/payments.hpp"
#include "core/data/closed_form.hpp"
#include "core/data/missing.hpp"
#include "core/data/underlying.hpp"

namespace ximCORE::Pricing {

namespace {

bool refuse(char const* reason, char const* more = "") {
    return Data::missing_text(Data::Level::error,
                              "Contract non eligible to static replication method", reason, more);
}

/// Whether the payoff depends on a fixing. The rate that brings a payment into the currency of the
/// contract is no part of it.
bool reads_a_level(Contract::CashFlow& cashflow) {
    std::vector<Contract::AmountPlace> places;
    Contract::Harvest harvest;
    harvest.amounts = &places;
    std::ignore = cashflow.accumulate(harvest);  // only a walk for everything can fail
    return std::ranges::any_of(places, [](auto const& place) {
        return (*place.amount)->c_get_shape() == Contract::Amount::Shape::fixing;
    });
}

/// A payoff that no level moves: a number of zero coupons in the currency of the payment.
bool make_zero_coupon(Toolbox::Date const& today, Contract::CashFlow& cashflow,
                      StaticReplication1D::Results& results) {
    std::vector<Contract::PayReceive*> payments;
    cashflow.accumulate_payments(payments);
    auto const& payment = *payments.front();
    double discount{};
    if (!Data::eval_zero_coupon(today, *payment.c_get_currency(), payment.c_get_payment_date(),
                                discount))
        return false;
    double const quantity = cashflow.c_eval_carr_madan(0.0);
    results = {};
    results.zero_coupon = {payment.c_get_payment_date(), quantity, quantity * discount};
    results.price = results.zero_coupon.price;
    return true;
}

}  // namespace

bool CFDetails::run_internal(Contract::Contract& contract, Modeling::Model*) {
    auto& cashflow = *contract.c_get_cashflow();
    std::vector<Toolbox::Date*> payment_dates;
    cashflow.scan_payment_dates(payment_dates, true);
    if (payment_dates.empty()) return refuse("Because of it contains no payment");
    if (payment_dates.size() > 1)
        return refuse("Because of it contains more than one payment dates");
    if (!reads_a_level(cashflow))
        return make_zero_coupon(contract.c_get_date(), cashflow, m_results);
    std::vector<Contract::Fixing const*> fixings;
    cashflow.scan_fixings(fixings, true);
    auto const& fixing = *fixings.front();
    if (fixings.size() > 1 || fixing.c_get_conversion() != nullptr)
        return refuse("Because of a forward payment that contains multiple fixings",
                      "Volatility dynamic is required");
    if (!fixing.c_get_underlying()->c_is_equity_like())
        return refuse("Because of a forward payment that contains a non-Equity/FX fixing");
    return StaticReplication1D::compute_carr_madan_price(
        contract.c_get_date(), fixing.c_get_fixing_date(), *payment_dates.front(),
        fixing.c_get_underlying().get(),
        [&cashflow](double x) { return cashflow.c_eval_carr_madan(x); }, m_results);
}

}  // namespace ximCORE::Pricing
