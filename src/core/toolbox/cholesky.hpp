// Cholesky factor of a correlation matrix with an implied unit diagonal.
#pragma once

#include "core/toolbox/containers.hpp"

namespace ximCORE::Toolbox {

/// Fills `factor` with L, sized as `correlation`, such that L times its transpose is the
/// correlation matrix. A side of 0 leaves `factor` as it was. A matrix that is not positive
/// definite is not detected: it gives NaN, and no record.
void cholesky(Triangle<double, -1> const& correlation, Triangle<double, 1>& factor);

}  // namespace ximCORE::Toolbox
