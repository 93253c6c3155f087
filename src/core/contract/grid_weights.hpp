// The weighing of smoothed events on a space grid. Apart from event.hpp, so that only what computes
// with grids needs the arrays.

#pragma once

#include <Eigen/Core>

#include "core/contract/event.hpp"
#include "core/modeling/pde_helper.hpp"

namespace ximCORE::Contract {

/// As `Weighing`: the widths and the direction of each point.
struct GridWeighing {
    Modeling::PDEHelper& helper;
    Toolbox::Grid const& lhs;
    Toolbox::Grid const& rhs;
    Toolbox::IntGrid const& direction;
};

/// As `Weights`, at each point.
struct GridWeights {
    Toolbox::Grid towards;
    Toolbox::Grid opposite;
};

}  // namespace ximCORE::Contract
