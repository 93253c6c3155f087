#include "core/toolbox/formulas/heston.hpp"

#include <cmath>
#include <complex>

namespace ximCORE::Toolbox {

namespace {

using Complex = std::complex<double>;
constexpr Complex c_i(0.0, 1.0);

/// The letters of the header; what does not depend on u is worked out once.
class StochasticVariance {
 public:
    explicit StochasticVariance(HestonPricer::Parameters const& p)
        : m_maturity(p.maturity),
          m_sigma_squared(p.variance_volatility * p.variance_volatility),
          m_rho_sigma(p.correlation * p.variance_volatility),
          m_reversion_over_sigma_squared(p.mean_reversion_rate * p.long_term_variance /
                                         m_sigma_squared),
          m_start_over_sigma_squared(p.initial_volatility * p.initial_volatility / m_sigma_squared),
          m_kappa(p.mean_reversion_rate) {}

    Complex operator()(Complex u) const {
        Complex const a = -0.5 * u * (u + c_i);
        Complex const beta = m_kappa - m_rho_sigma * c_i * u;
        Complex const D = std::sqrt(beta * beta - 4.0 * a * (m_sigma_squared / 2.0));
        Complex const r = beta - D;
        Complex const g = r / (beta + D);
        Complex const e = std::exp(-D * m_maturity);
        Complex const ge = g * e;
        Complex const C = m_reversion_over_sigma_squared *
                          (m_maturity * r - 2.0 * std::log((ge - 1.0) / (g - 1.0)));
        Complex const E = m_start_over_sigma_squared * r * (1.0 - e) / (1.0 - ge);
        return std::exp(C + E);
    }

 private:
    double m_maturity;
    double m_sigma_squared;
    double m_rho_sigma;
    double m_reversion_over_sigma_squared;
    double m_start_over_sigma_squared;
    double m_kappa;
};

}  // namespace

CharacteristicFunction HestonPricer::characteristic_function(Parameters const& p) {
    double const v0 = p.initial_volatility * p.initial_volatility;
    if (p.variance_volatility > 0.0) {
        return StochasticVariance(p);
    }
    if (p.mean_reversion_rate > 0.0) {
        double const theta = p.long_term_variance;
        double const kappa = p.mean_reversion_rate;
        return normal_characteristic_function(
            (v0 - theta) * (1.0 - std::exp(-kappa * p.maturity)) / kappa + theta * p.maturity);
    }
    return normal_characteristic_function(p.maturity * v0);
}

void HestonPricer::slice(MarketParameters const& market, Parameters const& p,
                         std::vector<Volatility>& out, unsigned N, double eta, double alpha) {
    FourierPricing::price(market, characteristic_function(p), out, N, eta, alpha);
}

}  // namespace ximCORE::Toolbox
