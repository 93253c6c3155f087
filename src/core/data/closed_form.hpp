// What the closed form prices of a contract have in common: when and in what a payment is made, and
// the market factors that bring it to today, each after an ERROR record where it is missing.

#pragma once

#include <string_view>

#include "core/data/currency.hpp"
#include "core/toolbox/date.hpp"

namespace ximCORE::Data {

/// A payment to be valued today in the pricing currency.
struct ForwardPayment {
    Toolbox::Date const& today;
    Currency const& pricing;
    Toolbox::Date const& payment;
    Currency const& payment_currency;
};

/// The zero coupon price of `date`, in the curve of `currency` seen from `today`.
[[nodiscard]] bool eval_zero_coupon(Toolbox::Date const& today, Currency const& currency,
                                    Toolbox::Date const& date, double& zero_coupon);
/// What one unit paid is worth today in the pricing currency: the zero coupon price in the payment
/// currency, times the spot of the pair where the two differ.
[[nodiscard]] bool eval_unit_payment(ForwardPayment const& payment, double& value);

/// Whether an amount that depends on a market level is paid in the pricing currency. `differs` and
/// `pricing`: the words of the record behind each ticker.
[[nodiscard]] bool is_paid_in_pricing_currency(ForwardPayment const& payment,
                                               std::string_view differs = "(payment ccy) != ",
                                               std::string_view pricing = " (pricing ccy)");

}  // namespace ximCORE::Data
