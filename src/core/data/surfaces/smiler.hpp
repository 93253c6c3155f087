// The parametric form behind an implied volatility surface: total variance by time and
// log-forward-moneyness.

#pragma once

#include <vector>

namespace ximCORE::Data {

/// A market point of the surface's grid. Nothing quotes it yet.
struct ImpliedVolatilityPoint {};

class ImpliedVolatilitySmiler {
 public:
    using Grid = std::vector<std::vector<ImpliedVolatilityPoint>>;

    /// Both arguments belong to the surface and outlive the smiler.
    ImpliedVolatilitySmiler(std::vector<double> const& maturity_times, Grid const& grid)
        : m_maturity_times(maturity_times), m_grid(grid) {}
    virtual ~ImpliedVolatilitySmiler() = default;
    ImpliedVolatilitySmiler(ImpliedVolatilitySmiler const&) = delete;
    ImpliedVolatilitySmiler& operator=(ImpliedVolatilitySmiler const&) = delete;

    /// Total implied variance after `t` years at log-forward-moneyness `x`.
    [[nodiscard]] virtual double eval(double const& t, double const& x) const = 0;
    /// The same at the forward.
    [[nodiscard]] virtual double at_the_money_eval(double const& t) const = 0;

 protected:
    std::vector<double> const& m_maturity_times;
    Grid const& m_grid;
};

/// Surface SVI with a power-law curvature (Gatheral and Jacquier, Arbitrage-free SVI volatility
/// surfaces, 2014):
///   w(t, x) = theta / 2 (1 + rho y + sqrt((y + rho)^2 + 1 - rho^2)),  y = x phi(theta),
///   theta = 2 half_variance t,  phi(theta) = eta theta^(-gamma).
/// The start values give a flat volatility of 20%. The parameters are public so that a calibration
/// can set them.
class StochasticVolatilityInspired final : public ImpliedVolatilitySmiler {
 public:
    using ImpliedVolatilitySmiler::ImpliedVolatilitySmiler;

    /// 0 at t = 0.
    [[nodiscard]] double eval(double const& t, double const& x) const override;
    [[nodiscard]] double at_the_money_eval(double const& t) const override;

    double rho = 0.0;                             ///< correlation of the form
    double eta = 0.0;                             ///< level of the curvature function
    double gamma = 0.0;                           ///< power of the curvature function
    double half_variance = 0.020000000000000004;  ///< half the at-the-money variance rate
    double one_minus_rho_squared = 1.0;
};

}  // namespace ximCORE::Data
