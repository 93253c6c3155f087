#include "core/data/surfaces/implied_volatility_surface.hpp"

#include <cmath>
#include <limits>
#include <tuple>

#include "core/data/cache.hpp"
#include "core/data/curves/forward_curve.hpp"
#include "core/data/perturbation.hpp"
#include "core/data/scenario.hpp"
#include "core/data/underlying.hpp"
#include "core/toolbox/errors.hpp"

namespace ximCORE::Data {

namespace {

constexpr double c_moneyness_step = 0.01;

}  // namespace

ImpliedVolatilitySurface::ImpliedVolatilitySurface(Toolbox::Date const& date,
                                                   Underlying const* underlying)
    : m_underlying(underlying),
      m_maturity_dates{date},
      m_maturity_times{0.0},
      m_grid{{Point{}}},
      m_forward_curve(MarketDataCache::s_get().get_forward_curve(date, underlying, Level::error)) {
    if (m_forward_curve == nullptr) throw Toolbox::ConstructorException();
    if (MarketDataScenario::s_spot_volatility_dynamic_kind == SpotVolatilityDynamic::sticky_option)
        m_forward_curve->add_dependency_item(this);
}

ImpliedVolatilitySurface::~ImpliedVolatilitySurface() = default;

double ImpliedVolatilitySurface::eval(double t, double x) {
    double const volatility = _eval_volatility(t, x);
    return volatility * volatility * t;
}

double ImpliedVolatilitySurface::at_the_money_eval(double t) {
    return eval(t, 0.0);
}

double ImpliedVolatilitySurface::skew_eval(double t) {
    return (eval(t, c_moneyness_step) - eval(t, -c_moneyness_step)) / 0.02;
}

double ImpliedVolatilitySurface::curve_eval(double t) {
    return (eval(t, c_moneyness_step) - 2 * eval(t, 0.0) + eval(t, -c_moneyness_step)) /
           c_moneyness_step / c_moneyness_step;
}

Toolbox::Volatility ImpliedVolatilitySurface::eval(Toolbox::MarketParameters const& parameters,
                                                   double value,
                                                   Toolbox::Volatility::SpaceKind space) {
    Toolbox::Volatility volatility(parameters);
    volatility.set(value, space);
    double const t = parameters.maturity;
    double const sigma = _eval_volatility(
        t, volatility.c_get(Toolbox::Volatility::SpaceKind::LOG_FORWARD_MONEYNESS));
    // A total variance always fits: only prices can be without a volatility.
    std::ignore = volatility.set(sigma * sigma * t, Toolbox::Volatility::ValueKind::TOTAL_VARIANCE);
    return volatility;
}

/// The shifted volatility of a point: shifts act on it, not on the variance.
double ImpliedVolatilitySurface::_eval_volatility(double t, double x) {
    build();
    if (m_smiler == nullptr) return std::numeric_limits<double>::quiet_NaN();
    // Relied on: no guard at t = 0, where the quotient is not a number
    return c_shift(std::sqrt(m_smiler->eval(t, m_is_inverse_pair ? -x : x) / t));
}

void ImpliedVolatilitySurface::clear() {
    m_maturity_dates.clear();
    m_maturity_times.clear();
    m_grid.clear();
    m_smiler.reset();
    m_forward_curve_copy.reset();
}

std::vector<Toolbox::Date> const& ImpliedVolatilitySurface::get_maturity_dates() const {
    return m_maturity_dates;
}

std::vector<double> const& ImpliedVolatilitySurface::get_maturity_times() const {
    return m_maturity_times;
}

ImpliedVolatilitySmiler::Grid const& ImpliedVolatilitySurface::get_grid() const {
    return m_grid;
}

void ImpliedVolatilitySurface::set_smiler() {
    if (s_smiler_kind != SmilerKind::stochastic_volatility_inspired) return;
    m_smiler = std::make_unique<StochasticVolatilityInspired>(m_maturity_times, m_grid);
}

bool ImpliedVolatilitySurface::_c_is_affected(MarketDataPerturbationItem const& item) const {
    return item.c_affects(PerturbationTarget::volatility, m_underlying);
}

void ImpliedVolatilitySurface::_build_internal() {
    m_forward_curve_copy = m_forward_curve->c_clone();
    set_smiler();
}

}  // namespace ximCORE::Data
