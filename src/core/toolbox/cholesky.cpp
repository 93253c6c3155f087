#include "core/toolbox/cholesky.hpp"

#include <cmath>
#include <cstdint>

namespace ximCORE::Toolbox {

namespace {

/// Sum of L(i, k) L(j, k) over the columns k before j.
double dot_before(Triangle<double, 1> const& factor, std::uint64_t i, std::uint64_t j) {
    double sum = 0.0;
    for (std::uint64_t k = 0; k < j; ++k) {
        sum += factor.get(i, k) * factor.get(j, k);
    }
    return sum;
}

}  // namespace

void cholesky(Triangle<double, -1> const& correlation, Triangle<double, 1>& factor) {
    std::uint64_t const side = correlation.c_get_side();
    if (side == 0) {
        return;
    }
    factor = Triangle<double, 1>(side);
    factor.unsafe_get(0, 0) = 1.0;
    for (std::uint64_t i = 1; i < side; ++i) {
        factor.unsafe_get(i, 0) = correlation.get(i, 0);
    }
    for (std::uint64_t j = 1; j < side; ++j) {
        double const diagonal = std::sqrt(1.0 - dot_before(factor, j, j));
        factor.unsafe_get(j, j) = diagonal;
        for (std::uint64_t i = j + 1; i < side; ++i) {
            factor.unsafe_get(i, j) = (correlation.get(i, j) - dot_before(factor, i, j)) / diagonal;
        }
    }
}

}  // namespace ximCORE::Toolbox
