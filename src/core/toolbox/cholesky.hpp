// Cholesky factor of a correlation matrix with an implied unit diagonal, and its adjoint.
#pragma once

#include "core/toolbox/containers.hpp"
#include "core/toolbox/tape.hpp"

namespace ximCORE::Toolbox {

/// Fills `factor` with L, sized as `correlation`, such that L times its transpose is the
/// correlation matrix. A side of 0 leaves `factor` as it was. A matrix that is not positive
/// definite is not detected: it gives NaN, and no record.
void cholesky(Triangle<double, -1> const& correlation, Triangle<double, 1>& factor);

/// Adjoint form of `cholesky`, the statements of the factorisation in reverse order (S. P. Smith,
/// Differentiation of the Cholesky algorithm, 1995, row by row). `forward`: fills `factor` as
/// `cholesky` does. Not `forward`: reads the factor as the forward sweep left it and adds to
/// `correlation_adjoints`, sized as `correlations`, what the derivatives by the factor in
/// `factor_adjoints`, sized as `factor`, amount to; `factor_adjoints` is working space then, and
/// neither is cleared first. Nothing to hand on below two assets. The tape is not used.
void acholesky(AAD::Tape& tape, bool const& forward, Triangle<double, -1> const& correlations,
               Triangle<double, -1>& correlation_adjoints, Triangle<double, 1>& factor,
               Triangle<double, 1>& factor_adjoints);

}  // namespace ximCORE::Toolbox
