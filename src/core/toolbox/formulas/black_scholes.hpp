// Closed forms of the normalised Black-Scholes model: the forward is 1 and nothing is discounted.
// The time value is an integral over total volatility by a 10-point Gauss-Legendre rule, not a
// difference of normal distributions: it stays accurate far out of the money, and its derivative is
// the integrand at the end of the range.
//
// In all functions: `k` is log(strike / forward); `s` is the total volatility, sigma times the
// square root of the maturity in years; `omega` is +1 for a call and -1 for a put. Prices are
// fractions of the forward. With d1 = -k / s + s / 2, n the normal density and N its distribution
// function (Math).
#pragma once

#include <cstdint>
#include <vector>

namespace ximCORE::Toolbox {

class Volatility;
struct MarketParameters;

class BlackScholesCallPricer {
 public:
    enum class InitialGuessMethod : std::uint8_t { LEGACY, STEFANICA_RADOICIC };

    /// (1 - exp(k)) * omega in the money, 0 elsewhere.
    [[nodiscard]] static double intrinsic_value(double k, double s, signed char omega);

    /// I(k, s), the integral of g(k, u) = exp(-(-k / u + u / 2)^2 / 2) over u from 0 to s; 0 for
    /// s = 0. Divided by sqrt(2 pi) it is the time value of the call and of the put. The ten points
    /// put the price off by less than 0.002 s: most near |k| = 0.03 s, where the integrand rises
    /// from 0 to 1 before the first node, and by less than 0.000025 s where |k| is 0 or above s
    /// / 2.
    [[nodiscard]] static double time_value(double k, double s);

    /// Intrinsic value plus I(k, s) / sqrt(2 pi).
    [[nodiscard]] static double price(double k, double s, signed char omega);

    /// The textbook price omega * (N(omega d1) - exp(k) N(omega (d1 - s))), for comparisons: no
    /// pricing uses it.
    [[nodiscard]] static double legacy_price(double k, double s, signed char omega);

    /// omega * N(omega * d1).
    [[nodiscard]] static double delta(double k, double s, signed char omega);
    /// n(d1) / s.
    [[nodiscard]] static double gamma(double k, double s, signed char omega);
    /// g(k, u) at u = s * (x + 1) / 2, x in [-1, 1]; 1 at u = 0. At x = 1 it is the derivative of
    /// I(k, s) in s.
    [[nodiscard]] static double vega(double k, double s, double x);
    /// (1 - d1 / s) * s * n(d1).
    [[nodiscard]] static double vanna(double k, double s, signed char omega);
    /// s * n(d1) * d1 * (d1 - s).
    [[nodiscard]] static double volga(double k, double s, signed char omega);

    /// Implied total volatility of `price` into `s`, by Newton's method on I(k, s); `tolerance` is
    /// on the step in s. `iterations`, if not null, is increased by the steps taken; `walked`, if
    /// not null, by those that were computed and not counted as rounds of a cycle. An unknown
    /// `method` starts from 0. Fails: false when the price is not above its intrinsic value (then
    /// `s` stays), or after `max_iterations` steps.
    [[nodiscard]] static bool volatility(double k, double price, signed char omega, double& s,
                                         double tolerance, std::uint64_t max_iterations,
                                         InitialGuessMethod method, std::uint64_t* iterations,
                                         std::uint64_t* walked = nullptr);

    /// sqrt(2 |k|), the inflection point of the price in s (Manaster and Koehler). Never fails.
    [[nodiscard]] static bool compute_legacy_initial_guess(double k, double price,
                                                           signed char omega, double& guess);
    /// Explicit formula of Stefanica and Radoicic (An Explicit Implied Volatility Formula, 2017),
    /// always with its minus branch: at k = 0 the guess is 0. Fails: false where it gives no number
    /// or a negative one.
    [[nodiscard]] static bool compute_stefanica_initial_guess(double k, double price,
                                                              signed char omega, double& guess);

    /// Appends to `out` the smile slice of the total volatility `s`, by the transform of its
    /// characteristic function: see `FourierPricing::price`.
    static void slice(MarketParameters const& market, double s, std::vector<Volatility>& out,
                      unsigned N, double eta, double alpha);
};

}  // namespace ximCORE::Toolbox
