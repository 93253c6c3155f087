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

/// The statements that made column j, last one first: hands the derivatives by the column on to the
/// columns before it and to the correlations.
void take_back_column(std::uint64_t j, Triangle<double, -1>& correlation_adjoints,
                      Triangle<double, 1> const& factor, Triangle<double, 1>& adjoints) {
    double const diagonal = factor.get(j, j);
    for (std::uint64_t i = factor.c_get_side() - 1; i > j; --i) {
        double const t = -adjoints.get(i, j) / diagonal;
        correlation_adjoints.unsafe_get(i, j) -= t;
        adjoints.unsafe_get(j, j) += factor.get(i, j) * t;
        for (std::uint64_t k = j; k-- > 0;) {
            adjoints.unsafe_get(j, k) += factor.get(i, k) * t;
            adjoints.unsafe_get(i, k) += factor.get(j, k) * t;
        }
    }
    double const d = -0.5 * adjoints.get(j, j) / diagonal;
    for (std::uint64_t k = j; k-- > 0;) adjoints.unsafe_get(j, k) += 2.0 * factor.get(j, k) * d;
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

void acholesky(AAD::Tape&, bool const& forward, Triangle<double, -1> const& correlations,
               Triangle<double, -1>& correlation_adjoints, Triangle<double, 1>& factor,
               Triangle<double, 1>& factor_adjoints) {
    if (forward) {
        cholesky(correlations, factor);
        return;
    }
    std::uint64_t const side = correlations.c_get_side();
    if (side < 2) return;
    for (std::uint64_t j = side - 1; j >= 1; --j)
        take_back_column(j, correlation_adjoints, factor, factor_adjoints);
    for (std::uint64_t i = side - 1; i >= 1; --i)
        correlation_adjoints.unsafe_get(i, 0) += factor_adjoints.get(i, 0) / factor.get(0, 0);
}

}  // namespace ximCORE::Toolbox
