#include "core/toolbox/formulas/fourier.hpp"

#include <cmath>
#include <numbers>
#include <tuple>

#include "core/toolbox/containers.hpp"
#include "core/toolbox/formulas/fft.hpp"

namespace ximCORE::Toolbox {

namespace {

using Complex = std::complex<double>;

/// Simpson's weights over 1/3, 4/3, 2/3, 4/3, ...
double simpson_weight(unsigned j) {
    // Relied on: the last point of a Fourier integral takes the weight of its parity, not 1/3
    return j == 0 ? 1.0 / 3.0 : (j % 2 == 1 ? 4.0 / 3.0 : 2.0 / 3.0);
}

/// The damped transform of the call price at the frequency v.
Complex damped_transform(CharacteristicFunction const& phi, double v, double alpha) {
    Complex const u(v, -(alpha + 1.0));
    return phi(u) / Complex(alpha * alpha + alpha - v * v, (2.0 * alpha + 1.0) * v);
}

}  // namespace

CharacteristicFunction normal_characteristic_function(double total_variance) {
    double const c = -0.5 * total_variance;
    return [c](Complex u) { return std::exp(c * u * (u + Complex(0.0, 1.0))); };
}

void FourierPricing::price(MarketParameters const& market, CharacteristicFunction const& phi,
                           std::vector<Volatility>& out, unsigned N, double eta, double alpha) {
    double const b = std::numbers::pi / eta;
    Array1D<Complex> x(N);
    for (unsigned j = 0; j < N; ++j) {
        double const v = j * eta;
        x.unsafe_get(j) =
            damped_transform(phi, v, alpha) * std::exp(Complex(0.0, v * b)) * simpson_weight(j);
    }
    Array1D<Complex> y;
    FFT::evaluate(x, y, N);
    out.reserve(out.size() + N);
    for (unsigned u = 0; u < N; ++u) {
        double const k = u * ((2.0 * std::numbers::pi / N) / eta) - b;
        double const price = eta / std::numbers::pi * std::exp(-alpha * k) * y.get(u).real();
        // a price without a volatility leaves the point's value at 0
        std::ignore =
            out.emplace_back(market).set(k, Volatility::SpaceKind::LOG_FORWARD_MONEYNESS, price,
                                         Volatility::ValueKind::CALL_PRICE_VS_SPOT);
    }
}

}  // namespace ximCORE::Toolbox
