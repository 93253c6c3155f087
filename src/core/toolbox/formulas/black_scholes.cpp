#include "core/toolbox/formulas/black_scholes.hpp"

#include <array>
#include <cmath>
#include <numbers>

#include "core/toolbox/formulas/fourier.hpp"
#include "core/toolbox/math.hpp"
#include "core/toolbox/root_finder.hpp"

namespace ximCORE::Toolbox {

namespace {

constexpr double c_inverse_sqrt_2pi = 0.3989422804014327;
constexpr double c_sqrt_2pi = 2.5066282746310002;
constexpr double c_2_over_pi = 0.6366197723675814;
constexpr double c_1_minus_2_over_pi = 0.3633802276324186;

/// A pair of symmetric nodes of the 10-point Gauss-Legendre rule on [-1, 1], shifted by 1.
struct NodePair {
    double negative;  // 1 - x
    double positive;  // 1 + x
    double weight;
};

constexpr auto c_node_pairs = std::to_array<NodePair>({
    {0.8511256610183688, 1.1488743389816312, 0.2955242247147529},
    {0.5666046058707528, 1.4333953941292472, 0.2692667193099963},
    {0.32059043170097556, 1.6794095682990244, 0.219086362515982},
    {0.13493663331101546, 1.8650633666889846, 0.1494513491505806},
    {0.026093471482828257, 1.9739065285171717, 0.0666713443086881},
});

double d1_of(double k, double s) {
    return -k / s + 0.5 * s;
}

/// g(k, u) of the header.
double integrand(double k, double u) {
    if (u == 0.0) {
        return 1.0;
    }
    double const d = d1_of(k, u);
    return std::exp(-0.5 * d * d);
}

/// I(k, x) - target, whose derivative in x is the integrand at x.
class ImpliedVolatilityFinderFunc final : public RootFinderFunc {
 public:
    ImpliedVolatilityFinderFunc(double k, double price, signed char omega)
        : m_k(k), m_target(_target(k, price, omega)) {}

    /// Whether a volatility can exist: the time value is above 0.
    [[nodiscard]] bool c_has_time_value() const { return m_target > 0.0; }

    [[nodiscard]] bool c_compute_value(double x, double& y) const override {
        y = BlackScholesCallPricer::time_value(m_k, x) - m_target;
        return true;
    }
    [[nodiscard]] bool c_compute_value_and_derivative(double x, double& y,
                                                      double& dy) const override {
        dy = integrand(m_k, x);
        return c_compute_value(x, y);
    }

 private:
    /// The price's time value, on the scale of I.
    static double _target(double k, double price, signed char omega) {
        double const time_value = omega * k > 0.0 ? price : price - omega * (1.0 - std::exp(k));
        return time_value * c_sqrt_2pi;
    }

    double m_k;
    double m_target;
};

double initial_guess(double k, double price, signed char omega,
                     BlackScholesCallPricer::InitialGuessMethod method) {
    using enum BlackScholesCallPricer::InitialGuessMethod;
    double guess = 0.0;
    bool const is_explicit =
        method == STEFANICA_RADOICIC &&
        BlackScholesCallPricer::compute_stefanica_initial_guess(k, price, omega, guess);
    bool const is_known = method == STEFANICA_RADOICIC || method == LEGACY;
    if (is_explicit || (is_known && BlackScholesCallPricer::compute_legacy_initial_guess(
                                        k, price, omega, guess))) {
        return guess;
    }
    return 0.0;
}

}  // namespace

double BlackScholesCallPricer::intrinsic_value(double k, double, signed char omega) {
    return omega * k < 0.0 ? (1.0 - std::exp(k)) * omega : 0.0;
}

double BlackScholesCallPricer::time_value(double k, double s) {
    if (s == 0.0) {
        return 0.0;
    }
    double const half = 0.5 * s;
    double sum = 0.0;
    for (NodePair const& pair : c_node_pairs) {
        sum += pair.weight * integrand(k, half * pair.negative);
        sum += pair.weight * integrand(k, half * pair.positive);
    }
    return half * sum;
}

double BlackScholesCallPricer::price(double k, double s, signed char omega) {
    return intrinsic_value(k, s, omega) + time_value(k, s) * c_inverse_sqrt_2pi;
}

double BlackScholesCallPricer::legacy_price(double k, double s, signed char omega) {
    double const d1 = d1_of(k, s);
    return omega * (Math::cdfnorm(omega * d1) - std::exp(k) * Math::cdfnorm(omega * (d1 - s)));
}

double BlackScholesCallPricer::delta(double k, double s, signed char omega) {
    return omega * Math::cdfnorm(omega * d1_of(k, s));
}

double BlackScholesCallPricer::gamma(double k, double s, signed char) {
    return Math::dnorm(d1_of(k, s)) / s;
}

double BlackScholesCallPricer::vega(double k, double s, double x) {
    return integrand(k, s * 0.5 * (x + 1.0));
}

double BlackScholesCallPricer::vanna(double k, double s, signed char) {
    double const d1 = d1_of(k, s);
    return (1.0 - d1 / s) * s * Math::dnorm(d1);
}

double BlackScholesCallPricer::volga(double k, double s, signed char) {
    double const d1 = d1_of(k, s);
    return s * Math::dnorm(d1) * d1 * (d1 - s);
}

bool BlackScholesCallPricer::volatility(double k, double price, signed char omega, double& s,
                                        double tolerance, std::uint64_t max_iterations,
                                        InitialGuessMethod method, std::uint64_t* iterations,
                                        std::uint64_t* walked) {
    ImpliedVolatilityFinderFunc const func(k, price, omega);
    if (!func.c_has_time_value()) {
        return false;
    }
    NewtonRaphson newton(initial_guess(k, price, omega, method));
    bool const found = rootfinder(func, {&newton}, s, tolerance, max_iterations, iterations);
    if (walked != nullptr) {
        *walked += newton.c_get_nb_walked();
    }
    return found;
}

bool BlackScholesCallPricer::compute_legacy_initial_guess(double k, double, signed char,
                                                          double& guess) {
    guess = std::sqrt(2.0 * std::abs(k));
    return true;
}

bool BlackScholesCallPricer::compute_stefanica_initial_guess(double k, double price,
                                                             signed char omega, double& guess) {
    double const y = -k;
    double const exp_y = std::exp(y);
    double const c = 2.0 * price * exp_y - omega * exp_y + 1.0;
    double const c2 = c * c;
    double const exp_up = std::exp(c_1_minus_2_over_pi * y);
    double const exp_down = std::exp(-c_1_minus_2_over_pi * y);
    double const a = exp_up - exp_down;
    double const below = c2 - (exp_y - 1.0) * (exp_y - 1.0);
    double const above = c2 - (exp_y + 1.0) * (exp_y + 1.0);
    double const product = -std::exp(-2.0 * y) * below * above;
    if (product == 0.0) {
        return false;
    }
    double const b = 4.0 * (std::exp(c_2_over_pi * y) + std::exp(-c_2_over_pi * y)) -
                     2.0 * std::exp(-y) * (exp_up + exp_down) * (std::exp(2.0 * y) + 1.0 - c2);
    double const beta = 2.0 * product / (b + std::sqrt(b * b + 4.0 * a * a * product));
    double const gamma = -0.5 * std::numbers::pi * std::log(beta);
    // Relied on: always the minus branch; a root of a negative number is no number, and is refused
    // below
    guess = k > 0.0 ? std::sqrt(gamma + k) - std::sqrt(gamma - k)
                    : std::sqrt(gamma - k) - std::sqrt(gamma + k);
    return guess >= 0.0;
}

void BlackScholesCallPricer::slice(MarketParameters const& market, double s,
                                   std::vector<Volatility>& out, unsigned N, double eta,
                                   double alpha) {
    FourierPricing::price(market, normal_characteristic_function(s * s), out, N, eta, alpha);
}

}  // namespace ximCORE::Toolbox
