#include "core/data/closed_form.hpp"

#include "core/data/cache.hpp"
#include "core/data/curves/forward_curve.hpp"
#include "core/data/curves/yield_curve.hpp"
#include "core/data/equity_like.hpp"
#include "core/data/interest_rates.hpp"
#include "core/data/spot.hpp"
#include "core/data/underlying.hpp"

namespace ximCORE::Data {

namespace {

using Toolbox::Date;

constexpr char const* c_refusal = "Contract non eligible to closed form method";

/// A level of the underlying's own currency, brought to today by the curve of the payment.
bool discount(ForwardPayment const& payment, double level, double& price) {
    double zero_coupon{};
    if (!eval_zero_coupon(payment.today, payment.pricing, payment.payment, zero_coupon))
        return false;
    price = level * zero_coupon;
    return true;
}

/// The value of a rate on the curve of its currency.
bool price_rate(InterestRateLikeUnderlying const& rate, Underlying const& owner,
                ForwardPayment const& payment, double& price) {
    if (!is_paid_in_pricing_currency(payment, " (payment ccy) != ", "(pricing ccy)")) return false;
    if (!owner.c_has_currency(Level::error)) return false;
    auto* const curve = MarketDataCache::s_get().get_yield_curve(
        payment.today, owner.c_get_currency().get(), Level::error);
    return curve != nullptr && discount(payment, rate.c_price(curve), price);
}

}  // namespace

bool eval_zero_coupon(Date const& today, Currency const& currency, Date const& date,
                      double& zero_coupon) {
    auto* const curve = MarketDataCache::s_get().get_yield_curve(today, &currency, Level::error);
    if (curve == nullptr) return false;
    zero_coupon = curve->eval_zero_coupon(date);
    return true;
}

bool eval_unit_payment(ForwardPayment const& payment, double& value) {
    double zero_coupon{};
    double rate{1.0};
    if (!eval_zero_coupon(payment.today, payment.payment_currency, payment.payment, zero_coupon))
        return false;
    if (!(payment.payment_currency == payment.pricing)) {
        auto const pair = MarketDataCache::s_get().get_currency_pair(payment.payment_currency,
                                                                     payment.pricing, Level::error);
        if (pair == nullptr || !pair->eval(payment.today, rate, Level::error)) return false;
    }
    value = zero_coupon * rate;
    return true;
}

bool is_paid_in_pricing_currency(ForwardPayment const& payment, std::string_view differs,
                                 std::string_view pricing) {
    return payment.payment_currency == payment.pricing ||
           missing_text(Level::error, c_refusal, "Because it contains a forward payment in ",
                        payment.payment_currency.c_str(), differs, payment.pricing.c_str(), pricing,
                        "Quanto correlation and quanto volatility dynamic is required");
}

bool Underlying::c_compute_closed_form_price(Date const& today, Currency const& pricing,
                                             Date const& payment, Currency const& payment_currency,
                                             Date const& fixing, double& price) const {
    return c_has_impl(Level::error) &&
           m_impl.get()->c_compute_closed_form_price(
               *this, {today, pricing, payment, payment_currency}, fixing, price);
}

bool EquityLikeUnderlying::c_compute_closed_form_price(Underlying const& owner,
                                                       ForwardPayment const& payment,
                                                       Date const& fixing, double& price) const {
    if (!is_paid_in_pricing_currency(payment)) return false;
    double forward{};
    auto* const curve =
        MarketDataCache::s_get().get_forward_curve(payment.today, &owner, Level::error);
    return curve != nullptr && curve->eval_absolute(fixing, forward) &&
           discount(payment, forward, price);
}

bool DepositRate::c_compute_closed_form_price(Underlying const& owner,
                                              ForwardPayment const& payment, Date const&,
                                              double& price) const {
    return price_rate(*this, owner, payment, price);
}

bool ZeroCouponBond::c_compute_closed_form_price(Underlying const& owner,
                                                 ForwardPayment const& payment, Date const&,
                                                 double& price) const {
    return price_rate(*this, owner, payment, price);
}

bool SwapRate::c_compute_closed_form_price(Underlying const&, ForwardPayment const&, Date const&,
                                           double&) const {
    return missing_text(Level::error, c_refusal, "Because it contains a CMS underlying");
}

}  // namespace ximCORE::Data
