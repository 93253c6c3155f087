#include "core/data/curves/forward_curve.hpp"

#include "core/data/cache.hpp"
#include "core/data/curves/yield_curve.hpp"
#include "core/data/perturbation.hpp"
#include "core/data/spot.hpp"
#include "core/data/underlying.hpp"

namespace ximCORE::Data {

EquityUnderlyingForwardCurve::EquityUnderlyingForwardCurve(RepoCurve* repo_curve)
    : m_repo_curve(repo_curve) {}

std::unique_ptr<ForwardCurveInternal> EquityUnderlyingForwardCurve::c_clone() const {
    return std::make_unique<EquityUnderlyingForwardCurve>(*this);
}

void EquityUnderlyingForwardCurve::c_add_dependency_item(ForwardCurve*) const {}

double EquityUnderlyingForwardCurve::_eval_internal(Toolbox::Date const&) {
    return 1.0;
}

double EquityUnderlyingForwardCurve::_eval_internal(double) {
    return 1.0;
}

ForeignExchangeUnderlyingForwardCurve::ForeignExchangeUnderlyingForwardCurve(
    YieldCurve* foreign_yield_curve)
    : m_foreign_yield_curve(foreign_yield_curve) {}

ForeignExchangeUnderlyingForwardCurve::ForeignExchangeUnderlyingForwardCurve(
    std::unique_ptr<YieldCurve> foreign_yield_curve)
    : m_owned_yield_curve(std::move(foreign_yield_curve)),
      m_foreign_yield_curve(m_owned_yield_curve.get()) {}

ForeignExchangeUnderlyingForwardCurve::~ForeignExchangeUnderlyingForwardCurve() = default;

std::unique_ptr<ForwardCurveInternal> ForeignExchangeUnderlyingForwardCurve::c_clone() const {
    return std::make_unique<ForeignExchangeUnderlyingForwardCurve>(
        m_foreign_yield_curve->c_clone());
}

void ForeignExchangeUnderlyingForwardCurve::c_add_dependency_item(ForwardCurve* curve) const {
    m_foreign_yield_curve->add_dependency_item(curve);
}

double ForeignExchangeUnderlyingForwardCurve::_eval_internal(Toolbox::Date const& date) {
    return m_foreign_yield_curve->eval_zero_coupon(date);
}

double ForeignExchangeUnderlyingForwardCurve::_eval_internal(double t) {
    return m_foreign_yield_curve->eval_zero_coupon(t);
}

ForwardCurve::ForwardCurve(Toolbox::Date const& date, Underlying const* underlying)
    : m_date(date), m_underlying(underlying) {}

ForwardCurve::ForwardCurve(ForwardCurve const& other)
    : MarketDataPerturbableItem(other),
      m_date(other.m_date),
      m_underlying(other.m_underlying),
      m_owned_spot(other.m_spot == nullptr ? nullptr : other.m_spot->c_clone()),
      m_owned_yield_curve(other.m_yield_curve == nullptr ? nullptr
                                                         : other.m_yield_curve->c_clone()),
      m_spot(m_owned_spot.get()),
      m_yield_curve(m_owned_yield_curve.get()),
      m_internal(other.m_internal == nullptr ? nullptr : other.m_internal->c_clone()) {}

ForwardCurve::~ForwardCurve() = default;

std::unique_ptr<ForwardCurve> ForwardCurve::c_clone() const {
    return std::make_unique<ForwardCurve>(*this);
}

bool ForwardCurve::get_dependencies() {
    MarketDataCache& cache = MarketDataCache::s_get();
    m_spot = cache.get_spot(m_date, m_underlying, Level::silent);
    bool const has_currency = m_underlying->c_has_currency(Level::silent);
    if (has_currency) {
        m_yield_curve =
            cache.get_yield_curve(m_date, m_underlying->c_get_currency().get(), Level::silent);
    }
    bool const has_internal = _link_internal();
    // Relied on: the quote currency's yield curve does not mark the forward curve dirty
    m_spot->add_dependency_item(this);
    if (m_internal != nullptr) m_internal->c_add_dependency_item(this);
    return has_currency && has_internal;
}

/// Replaces the strategy by a new one of the underlying's kind; false for a kind that has none, or
/// not yet.
bool ForwardCurve::_link_internal() {
    MarketDataCache& cache = MarketDataCache::s_get();
    switch (m_underlying->c_get_asset_kind()) {
        case AssetKind::equity:
            m_internal = std::make_unique<EquityUnderlyingForwardCurve>(
                cache.get_repo_curve(m_date, m_underlying));
            return true;
        case AssetKind::foreign_exchange: {
            auto const base = m_underlying->c_get_base_currency();
            if (base == nullptr) return false;
            m_internal = std::make_unique<ForeignExchangeUnderlyingForwardCurve>(
                cache.get_yield_curve(m_date, base.get(), Level::silent));
            return true;
        }
        default:
            return false;
    }
}

bool ForwardCurve::eval_absolute(Toolbox::Date const& date, double& out) {
    return _eval_absolute(date, out);
}

bool ForwardCurve::eval_absolute(double t, double& out) {
    return _eval_absolute(t, out);
}

double ForwardCurve::eval_relative(Toolbox::Date const& date) {
    return _eval_factor(date);
}

double ForwardCurve::eval_relative(double t) {
    return _eval_factor(t);
}

bool ForwardCurve::eval(Toolbox::Date const& date, double& relative, double& absolute) {
    if (!_c_is_linked() || !m_spot->eval(absolute, Level::error)) return false;
    relative = _eval_factor(date);
    absolute *= relative;
    return true;
}

bool ForwardCurve::c_aeval_relative(Toolbox::AAD::Tape& tape, bool reverse,
                                    Toolbox::Date const& date, double& value, double& adjoint,
                                    double* d_numerator, double* d_zero_coupon) const {
    double numerator = 1.0;
    double zero_coupon = 1.0;
    if (!reverse) {
        if (m_yield_curve != nullptr && m_internal != nullptr) {
            numerator = m_internal->_eval_internal(date);
            zero_coupon = m_yield_curve->eval_zero_coupon(date);
        }
        tape.dpush(numerator);
        tape.dpush(zero_coupon);
        value = numerator / zero_coupon;
        return true;
    }
    tape.dpop(zero_coupon);
    tape.dpop(numerator);
    if (d_numerator != nullptr) *d_numerator += adjoint / zero_coupon;
    if (d_zero_coupon != nullptr) *d_zero_coupon -= numerator / zero_coupon / zero_coupon * adjoint;
    return true;
}

bool ForwardCurve::c_aeval_absolute(Toolbox::AAD::Tape& tape, bool reverse,
                                    Toolbox::Date const& date, double& value, double& adjoint,
                                    double& spot_adjoint, double* d_numerator,
                                    double* d_zero_coupon) const {
    using enum Toolbox::AAD::SweepType;
    double spot = 0.0;
    double relative = 0.0;
    double relative_adjoint = 0.0;
    if (!reverse) {
        if (!_c_is_linked() || !m_spot->aeval(tape, FORWARD, spot, 0.0, spot_adjoint)) return false;
        std::ignore = c_aeval_relative(tape, false, date, relative, relative_adjoint, nullptr,
                                       nullptr);  // needs no spot, so it cannot fail
        tape.dpush(spot);
        tape.dpush(relative);
        value = c_shift(spot * relative);
        return true;
    }
    tape.dpop(relative);
    tape.dpop(spot);
    double const product_adjoint = adjoint * c_get_shift_slope();
    relative_adjoint = product_adjoint * spot;
    return c_aeval_relative(tape, true, date, relative, relative_adjoint, d_numerator,
                            d_zero_coupon) &&
           m_spot->aeval(tape, BACKWARD, spot, product_adjoint * relative, spot_adjoint);
}

bool ForwardCurve::_c_is_affected(MarketDataPerturbationItem const& item) const {
    return item.c_affects(PerturbationTarget::forward, m_underlying);
}

void ForwardCurve::_build_internal() {}

bool ForwardCurve::_c_is_linked() const {
    return m_spot != nullptr && m_yield_curve != nullptr && m_internal != nullptr;
}

/// Forward over spot at a date or a time; 1 where the curves are not linked.
template <class X>
double ForwardCurve::_eval_factor(X const& x) {
    if (m_yield_curve == nullptr || m_internal == nullptr) return 1.0;
    return m_internal->_eval_internal(x) / m_yield_curve->eval_zero_coupon(x);
}

template <class X>
bool ForwardCurve::_eval_absolute(X const& x, double& out) {
    double spot = 0.0;
    if (!_c_is_linked() || !m_spot->eval(spot, Level::error)) return false;
    build();
    out = c_shift(spot * _eval_factor(x));
    return true;
}

}  // namespace ximCORE::Data
