// A whole slice of option prices, one maturity on a grid of strikes, from the characteristic
// function of the terminal level.
#pragma once

#include <complex>
#include <functional>
#include <vector>

#include "core/toolbox/formulas/volatility.hpp"

namespace ximCORE::Toolbox {

/// phi(u), the mean of exp(i u log(terminal level / forward)), for complex u: phi(0) = phi(-i) = 1.
using CharacteristicFunction = std::function<std::complex<double>(std::complex<double>)>;

/// That of a normal logarithm with the total variance w: phi(u) = exp(-w / 2 u (u + i)).
[[nodiscard]] CharacteristicFunction normal_characteristic_function(double total_variance);

class FourierPricing {
 public:
    /// Call prices by the damped transform of P. Carr and D. Madan (Option valuation using the fast
    /// Fourier transform, 1999): with k = log(strike / forward),
    ///     C(k) = exp(-alpha k) / pi * integral over v > 0 of Re(exp(-i v k) psi(v)),
    ///     psi(v) = phi(v - (alpha + 1) i) / (alpha^2 + alpha - v^2 + i (2 alpha + 1) v),
    /// by Simpson's rule with step `eta` on `N` points, for all k at once. Appends `N` objects to
    /// `out`, with k from -pi / eta in steps of 2 pi / (N eta); the price of each is implied as a
    /// volatility (`Volatility::set`): one without a volatility keeps forms of the value at 0, the
    /// volatility apart, which has the last number of a search that did not end.
    ///
    /// `N`: a power of two. `alpha`: the damping, above 0; the mean of the level to the power
    /// alpha + 1 must exist. Prices repeat with the period 2 pi / eta in k, so that what
    /// exp(-alpha k) C(k) keeps there stands as an error in all of them. The price on the way is a
    /// number of double precision of size exp(-alpha k): far below the forward the time value
    /// drowns in it. Nothing fails; a phi without a number leaves strikes alone. Not for two
    /// threads at once.
    static void price(MarketParameters const& market, CharacteristicFunction const& phi,
                      std::vector<Volatility>& out, unsigned N, double eta, double alpha);
};

}  // namespace ximCORE::Toolbox
