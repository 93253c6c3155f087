#include "core/toolbox/pde/black_scholes.hpp"

#include <tuple>

#include "core/toolbox/errors.hpp"

namespace ximCORE::Toolbox {

void XTPDE1DBlackScholes::set_space_grid(std::vector<GridParameters> const& grids) {
    if (grids.empty()) raise_segmentation_fault();
    auto const& [size, lower, upper] = grids.front();
    m_space_grid.assign(1, Grid::LinSpaced(size, lower, upper));
    m_space_values = m_space_grid.front();
    m_space_size = static_cast<std::size_t>(size);
    m_space_steps.assign(1, size > 1 ? m_space_values[1] - m_space_values[0] : 0.0);
}

void XTPDEBlackScholesConstant::init_coefficients(double sigma) {
    auto const size = static_cast<Eigen::Index>(m_space_size);
    double const half_variance = 0.5 * sigma * sigma;
    m_a = Grid::Constant(size, half_variance);
    m_b = Grid::Constant(size, -half_variance);
    m_c = Grid::Zero(size);
    m_s = Grid::Zero(size);
    _touch_coefficients();
}

void XTPDEBlackScholesConstant::solve(std::size_t const& first, std::size_t const& last,
                                      Grid& values, bool forward) {
    bool const is_flat = values.size() > 0 && (values == values[0]).all();
    if (is_flat) {
        std::ignore = _c_get_index(first);  // a wrong rank fails all the same
        std::ignore = _c_get_index(last);
        return;
    }
    XTPDE1DLinearParabolic::solve(first, last, values, forward);
}

}  // namespace ximCORE::Toolbox
