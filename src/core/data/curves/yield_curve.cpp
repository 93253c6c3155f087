#include "core/data/curves/yield_curve.hpp"

#include <cmath>
#include <tuple>

#include "core/data/currency.hpp"
#include "core/data/interest_rates.hpp"
#include "core/data/perturbation.hpp"

namespace ximCORE::Data {

YieldCurve::YieldCurve(Toolbox::Date const& date, Currency const* currency)
    : m_date(date), m_currency(currency) {}

YieldCurve::YieldCurve(YieldCurve const& other)
    : MarketDataPerturbableItem(other),
      m_date(other.m_date),
      m_currency(other.m_currency),
      m_stripper(other.m_stripper == nullptr ? nullptr : other.m_stripper->c_clone()),
      m_instruments(other.m_instruments) {
    if (m_stripper != nullptr) m_stripper->set_instruments(&m_instruments);
}

YieldCurve::~YieldCurve() = default;

std::unique_ptr<YieldCurve> YieldCurve::c_clone() const {
    return std::make_unique<YieldCurve>(*this);
}

double YieldCurve::eval_zero_coupon(double t) {
    build();
    double zero_coupon = 1.0;
    double forward = 0.0;
    if (m_stripper != nullptr)
        std::ignore = m_stripper->c_eval(t, zero_coupon, forward);  // keeps 1
    if (t == 0.0) return 1.0;
    double const rate = c_shift(-std::log(zero_coupon) / t);
    // Relied on: the continuous rate enters the zero coupon with a plus sign
    return std::exp(t * rate);
}

double YieldCurve::eval_zero_coupon(Toolbox::Date const& date) {
    return eval_zero_coupon(_c_time(date));
}

double YieldCurve::eval_deposit_rate(Toolbox::Date const& date) {
    double const t = _c_time(date);
    // Relied on: no guard at the date of the curve, where t is 0
    return (1.0 / eval_zero_coupon(t) - 1.0) / t;
}

double YieldCurve::eval_continuous_rate(Toolbox::Date const& date) {
    double const t = _c_time(date);
    return -std::log(eval_zero_coupon(t)) / t;
}

double YieldCurve::eval_continuous_forward_rate(Toolbox::Date const& date) {
    build();
    double zero_coupon = 1.0;
    double forward = 0.0;
    if (m_stripper != nullptr) std::ignore = m_stripper->c_eval(date, zero_coupon, forward);
    return forward;
}

void YieldCurve::eval(Toolbox::Date const& date, double& zero_coupon, double& deposit,
                      double& continuous, double& forward) {
    build();
    double const t = _c_time(date);
    zero_coupon = 1.0;
    forward = 0.0;
    if (m_stripper != nullptr) std::ignore = m_stripper->c_eval(t, zero_coupon, forward);
    deposit = (1.0 / zero_coupon - 1.0) / t;
    continuous = -std::log(zero_coupon) / t;
}

std::vector<YieldCurveInstrument>& YieldCurve::price_instruments() {
    for (auto& instrument : m_instruments) instrument.price = instrument.underlying->c_price(this);
    return m_instruments;
}

bool YieldCurve::_c_is_affected(MarketDataPerturbationItem const& item) const {
    return item.c_affects(m_currency);
}

void YieldCurve::_build_internal() {
    if (!m_instruments.empty()) std::ignore = _set_stripper();  // a partly filled stripper stays
}

bool YieldCurve::_set_stripper() {
    m_stripper.reset();
    if (s_stripper_kind != StripperKind::legacy) return true;
    m_stripper = std::make_unique<YieldCurveLegacyStripper>(
        m_date, m_currency->c_get_day_counter(), m_currency->c_get_forward_rate_affinity_factor(),
        m_instruments);
    return m_stripper->strip();
}

double YieldCurve::_c_time(Toolbox::Date const& date) const {
    return m_currency->c_get_day_counter().c_year_fraction(m_date, date);
}

}  // namespace ximCORE::Data
