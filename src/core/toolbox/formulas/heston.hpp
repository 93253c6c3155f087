// The smile of the stochastic variance model of S. Heston (A closed-form solution for options with
// stochastic volatility, 1993): dS = S sqrt(v) dW, dv = kappa (theta - v) dt + sigma sqrt(v) dZ,
// with correlation rho between W and Z; S is the level over its forward.
#pragma once

#include <vector>

#include "core/toolbox/formulas/fourier.hpp"
#include "core/toolbox/formulas/volatility.hpp"

namespace ximCORE::Toolbox {

class HestonPricer {
 public:
    struct Parameters {
        double maturity{0.0};             ///< T, years
        double mean_reversion_rate{0.0};  ///< kappa, per year
        double variance_volatility{0.0};  ///< sigma, volatility of the variance
        double initial_volatility{0.0};   ///< square root of the variance at the start, v0
        double long_term_variance{0.0};   ///< theta
        double correlation{0.0};          ///< rho, between level and variance
    };

    /// The characteristic function of log S(T). With sigma not above 0 the variance is
    /// deterministic, with a total of (v0 - theta) (1 - exp(-kappa T)) / kappa + theta T, or of
    /// v0 T for kappa not above 0 too. Otherwise, in the form that stays on one branch of the
    /// logarithm for all maturities (H. Albrecher, P. Mayer, W. Schoutens and J. Tistaert, The
    /// little Heston trap, 2007), with a = -u (u + i) / 2, beta = kappa - rho sigma i u,
    /// D = sqrt(beta^2 - 2 a sigma^2), r = beta - D, g = r / (beta + D), e = exp(-D T):
    ///     exp(kappa theta / sigma^2 (T r - 2 log((g e - 1) / (g - 1)))
    ///         + v0 / sigma^2 r (1 - e) / (1 - g e)).
    [[nodiscard]] static CharacteristicFunction characteristic_function(Parameters const& p);

    /// Appends the slice of the model to `out`: `FourierPricing::price` with its characteristic
    /// function. The maturity stands twice, in the market and in `p`.
    static void slice(MarketParameters const& market, Parameters const& p,
                      std::vector<Volatility>& out, unsigned N, double eta, double alpha);
};

}  // namespace ximCORE::Toolbox
