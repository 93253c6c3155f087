#include "core/data/surfaces/smiler.hpp"

#include <cmath>

namespace ximCORE::Data {

double StochasticVolatilityInspired::eval(double const& t, double const& x) const {
    if (t == 0.0) return 0.0;
    double const theta = 2 * half_variance * t;
    double const phi = eta * std::pow(theta, -gamma - 1) * theta;
    double const y = x * phi;
    double const root = std::sqrt((y + rho) * (y + rho) + one_minus_rho_squared);
    return half_variance * t * (1 + rho * y + root);
}

double StochasticVolatilityInspired::at_the_money_eval(double const& t) const {
    return 2 * half_variance * t;
}

}  // namespace ximCORE::Data
