// Heston call prices by a road of their own: the two probabilities of the literature, integrated
// adaptively; and the ten-point rule that turns prices into volatilities, from its definition.
#pragma once

#include <array>
#include <cmath>
#include <complex>
#include <numbers>

namespace ximTest {

struct HestonModel {
    double maturity{1.0};
    double kappa{0.0};
    double sigma{0.0};  // of the variance
    double v0{0.0};
    double theta{0.0};
    double rho{0.0};
};

/// Simpson's rule on [a, b], halved until the halves agree with the whole.
template <class F>
double integrate(F const& f, double a, double b, double fa, double fm, double fb, double tolerance,
                 int depth) {
    double const m = 0.5 * (a + b);
    double const fl = f(0.5 * (a + m));
    double const fr = f(0.5 * (m + b));
    double const whole = (b - a) / 6.0 * (fa + 4.0 * fm + fb);
    double const halves = (b - a) / 12.0 * (fa + 4.0 * fl + 2.0 * fm + 4.0 * fr + fb);
    if (depth == 0 || std::abs(halves - whole) < 15.0 * tolerance) {
        return halves + (halves - whole) / 15.0;
    }
    return integrate(f, a, m, fa, fl, fm, 0.5 * tolerance, depth - 1) +
           integrate(f, m, b, fm, fr, fb, 0.5 * tolerance, depth - 1);
}

/// J. Gatheral, The Volatility Surface (2006), equations 2.10 to 2.13: the probability of ending
/// above the strike under the money measure (j = 0) and that of the share (j = 1). `x`: log of
/// forward over strike.
inline double heston_probability(HestonModel const& h, double x, int j) {
    using Complex = std::complex<double>;
    Complex const i(0.0, 1.0);
    auto const integrand = [&](double u) {
        Complex const alpha = -0.5 * u * u - 0.5 * i * u + i * (j * u);
        Complex const beta = h.kappa - h.rho * h.sigma * j - h.rho * h.sigma * i * u;
        double const gamma = 0.5 * h.sigma * h.sigma;
        Complex const d = std::sqrt(beta * beta - 4.0 * alpha * gamma);
        Complex const minus = (beta - d) / (2.0 * gamma);
        Complex const plus = (beta + d) / (2.0 * gamma);
        Complex const g = minus / plus;
        Complex const decay = std::exp(-d * h.maturity);
        Complex const D = minus * (1.0 - decay) / (1.0 - g * decay);
        Complex const C =
            h.kappa * (minus * h.maturity -
                       2.0 / (h.sigma * h.sigma) * std::log((1.0 - g * decay) / (1.0 - g)));
        return (std::exp(C * h.theta + D * h.v0 + i * u * x) / (i * u)).real();
    };
    double sum = 0.0;
    double from = 1e-9;
    for (double to = 1.0; to < 1e6; to *= 2.0) {
        double const m = 0.5 * (from + to);
        double const part =
            integrate(integrand, from, to, integrand(from), integrand(m), integrand(to), 1e-12, 30);
        sum += part;
        if (to > 16.0 && std::abs(integrand(to)) < 1e-14 && std::abs(part) < 1e-13) {
            break;
        }
        from = to;
    }
    return 0.5 + sum / std::numbers::pi;
}

/// Call over forward, not discounted. `k`: log of strike over forward.
inline double heston_call(HestonModel const& h, double k) {
    return heston_probability(h, -k, 1) - std::exp(k) * heston_probability(h, -k, 0);
}

/// Black and Scholes' call over forward from the error function.
inline double textbook_call(double k, double s) {
    auto const normal = [](double x) { return 0.5 * std::erfc(-x / std::numbers::sqrt2); };
    double const d1 = -k / s + 0.5 * s;
    return normal(d1) - std::exp(k) * normal(d1 - s);
}

/// The ten points of Gauss and Legendre on [-1, 1], from the polynomial itself.
struct TenPoints {
    std::array<double, 10> nodes{};
    std::array<double, 10> weights{};

    TenPoints() {
        for (int n = 0; n < 10; ++n) {
            double x = std::cos(std::numbers::pi * (n + 0.75) / 10.5);
            double slope = 0.0;
            for (int step = 0; step < 20; ++step) {
                double previous = 1.0;
                double p = x;
                for (int degree = 2; degree <= 10; ++degree) {
                    double const next =
                        ((2.0 * degree - 1.0) * x * p - (degree - 1.0) * previous) / degree;
                    previous = p;
                    p = next;
                }
                slope = 10.0 * (x * p - previous) / (x * x - 1.0);
                x -= p / slope;
            }
            nodes[static_cast<std::size_t>(n)] = x;
            weights[static_cast<std::size_t>(n)] = 2.0 / ((1.0 - x * x) * slope * slope);
        }
    }
};

/// The call as the library defines it: intrinsic value plus the ten-point rule over total
/// volatility.
inline double ten_point_call(double k, double s) {
    static TenPoints const points;
    double sum = 0.0;
    for (std::size_t n = 0; n < 10; ++n) {
        double const u = 0.5 * s * (1.0 + points.nodes[n]);
        double const d1 = -k / u + 0.5 * u;
        sum += points.weights[n] * std::exp(-0.5 * d1 * d1);
    }
    double const intrinsic = k < 0.0 ? 1.0 - std::exp(k) : 0.0;
    return intrinsic + 0.5 * s * sum / std::sqrt(2.0 * std::numbers::pi);
}

/// The total volatility at which `ten_point_call` is `price`, by bisection.
inline double ten_point_volatility(double k, double price) {
    double lower = 0.0;
    double upper = 10.0;
    for (int step = 0; step < 200; ++step) {
        double const mid = 0.5 * (lower + upper);
        (ten_point_call(k, mid) < price ? lower : upper) = mid;
    }
    return 0.5 * (lower + upper);
}

}  // namespace ximTest
