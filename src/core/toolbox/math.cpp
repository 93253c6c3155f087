#include "core/toolbox/math.hpp"

#include <cmath>

namespace ximCORE::Toolbox {

namespace {

/// Density times polynomial of 26.2.17: the probability above |x|.
double upper_tail(double abs_x) {
    double const t = 1.0 / (1.0 + 0.2316419 * abs_x);
    double const t2 = t * t;
    double const t3 = t2 * t;
    double const t4 = t3 * t;
    double const t5 = t4 * t;
    return Math::dnorm(abs_x) * (0.31938153 * t - 0.356563782 * t2 + 1.781477937 * t3 -
                                 1.821255978 * t4 + 1.330274429 * t5);
}

/// Rational expression of 26.2.23: the point that a normal number exceeds with the probability
/// exp(-t^2 / 2).
double upper_quantile(double t) {
    double const t2 = t * t;
    return t - (2.515517 + 0.802853 * t + 0.010328 * t2) /
                   (1.0 + 1.432788 * t + 0.189269 * t2 + 0.001308 * t2 * t);
}

}  // namespace

void Math::indent(std::string& text, std::size_t count) {
    text.append(count, ' ');
}

double Math::dnorm(double x) {
    return std::exp(-0.5 * x * x) * 0.3989422804;
}

double Math::cdfnorm(double x) {
    if (x > 0.0) {
        return 1.0 - upper_tail(x);
    }
    return x < 0.0 ? upper_tail(-x) : 0.5;
}

double Math::cdfnorm_inv(double p) {
    if (p >= 0.5) {
        return upper_quantile(std::sqrt(-2.0 * std::log(1.0 - p)));
    }
    return -upper_quantile(std::sqrt(-2.0 * std::log(p)));
}

}  // namespace ximCORE::Toolbox
