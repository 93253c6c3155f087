// The solver for a lognormal price, in the variable x = log(price / forward): the drift is then
// -sigma^2 / 2, and nothing is discounted.

#pragma once

#include "core/toolbox/pde/solver.hpp"

namespace ximCORE::Toolbox {

/// One space dimension of equally spaced points.
class XTPDE1DBlackScholes : public XTPDE1DLinearParabolic {
 public:
    /// Takes the first element: `size` points from `lower` to `upper`, both exactly. Points lie on
    /// lower + i step or, when `lower` is the larger in absolute value, upper - (size - 1 - i)
    /// step. A size of 1 gives `upper` alone. An empty vector raises `SegmentationFaultException`.
    void set_space_grid(std::vector<GridParameters> const& grids) override;
};

/// One volatility for all times.
class XTPDEBlackScholesConstant final : public XTPDE1DBlackScholes {
 public:
    /// A = sigma^2 / 2, B = -A, C = S = 0 at every point. `sigma`: a fraction. After
    /// `set_space_grid`.
    void init_coefficients(double sigma);

    /// As the base. Values that are equal at all points solve the equation at all times, and stay.
    void solve(std::size_t const& first, std::size_t const& last, Grid& values,
               bool forward) override;
};

}  // namespace ximCORE::Toolbox
