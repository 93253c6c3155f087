#include "core/pricing/mc_result.hpp"

#include <algorithm>
#include <cmath>

#include "core/toolbox/math.hpp"

namespace ximCORE::Pricing {

MCResult& MCResult::operator+=(MCResult const& other) {
    sum += other.sum;
    sum_of_squares += other.sum_of_squares;
    count += other.count;
    min = std::min(min, other.min);
    max = std::max(max, other.max);
    return *this;
}

MCResult& MCResult::operator*=(double scale) {
    sum *= scale;
    sum_of_squares *= scale * scale;
    // Relied on: a scaling folds the extremes with the factor itself
    min = std::min(min, scale);
    max = std::max(max, scale);
    return *this;
}

void MCResult::agregate() {
    constexpr double tail = 0.012500000000000011;  // (1 - 0.975) / 2 as a double
    double const quantile = Toolbox::Math::cdfnorm_inv(tail);
    auto const n = static_cast<double>(count);
    mean = sum / n;
    standard_error = 0.0;
    if (count > 1) {
        double const variance = std::max((sum_of_squares - sum * sum / n) / (n - 1.0), 0.0);
        standard_error = std::sqrt(variance / n);
    }
    lower_bound = mean + standard_error * quantile;
    upper_bound = mean - standard_error * quantile;
}

}  // namespace ximCORE::Pricing
