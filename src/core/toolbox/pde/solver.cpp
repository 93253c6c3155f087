#include "core/toolbox/pde/solver.hpp"

#include <cmath>
#include <utility>

#include "core/toolbox/errors.hpp"

namespace ximCORE::Toolbox {

namespace {

constexpr Eigen::Index c_min_points = 3;  // one interior point between two edges
constexpr double c_equal_steps = 1e-10;   // relative: the rounding of year fractions

}  // namespace

// XTPDE

void XTPDE::set_time_grid(std::vector<double> times, std::vector<std::size_t> time_index) {
    m_time_grid = std::move(times);
    m_time_index = std::move(time_index);
    std::size_t const steps = m_time_grid.empty() ? 0 : m_time_grid.size() - 1;
    m_time_steps.resize(static_cast<Eigen::Index>(steps));
    for (std::size_t k = 0; k < steps; ++k)
        m_time_steps[static_cast<Eigen::Index>(k)] = m_time_grid[k] - m_time_grid[k + 1];
}

bool XTPDE::_set_coefficients(std::size_t const&) {
    return false;
}

std::size_t XTPDE::_c_get_index(std::size_t rank) const {
    if (rank >= m_time_index.size() || m_time_index[rank] >= m_time_grid.size())
        raise_segmentation_fault();
    return m_time_index[rank];
}

// XTPDE1DLinearParabolic

void XTPDE1DLinearParabolic::init() {
    _init_common();
    _init_system();
}

void XTPDE1DLinearParabolic::_init_common() {
    double const dx = m_space_steps.empty() ? 0.0 : m_space_steps.front();
    auto const make = [&](double rate) {
        return Factors{.dt_dx2 = rate * m_time_steps / (dx * dx),
                       .two_dt_dx2 = rate * 2.0 * m_time_steps / (dx * dx),
                       .half_dt_dx = rate * 0.5 * m_time_steps / dx,
                       .dt = rate * m_time_steps};
    };
    m_explicit_factors = make(m_explicit_rate);
    m_implicit_factors = make(m_implicit_rate);
}

void XTPDE1DLinearParabolic::_init_system() {
    m_rhs = Grid::Zero(static_cast<Eigen::Index>(m_space_size));
    m_explicit_key = {};
    m_implicit_key = {};
}

void XTPDE1DLinearParabolic::solve(std::size_t const& first, std::size_t const& last, Grid& values,
                                   bool forward) {
    auto index = static_cast<std::ptrdiff_t>(_c_get_index(forward ? last : first));
    auto const other = static_cast<std::ptrdiff_t>(_c_get_index(forward ? first : last));
    if (values.size() != static_cast<Eigen::Index>(m_space_size)) raise_segmentation_fault();
    // Relied on: a forward solve stops one step before its first pillar
    std::ptrdiff_t const stop = forward ? other - 1 : other;
    m_direction = forward ? 1 : -1;
    for (; forward ? index < stop : index > stop; index += m_direction)
        _step(static_cast<std::size_t>(index), values);
}

void XTPDE1DLinearParabolic::_step(std::size_t time_index, Grid& values) {
    if (values.size() < c_min_points) return;
    std::size_t const step = m_direction > 0 ? time_index + 1 : time_index - 1;
    if (m_has_explicit_part) {
        // at all other times, the implicit half of the step before has set them
        if (time_index + 1 == m_time_grid.size()) _refresh_coefficients(time_index);
        _make_explicit(step, values);
    }
    if (m_implicit_rate > 0.0) {
        _refresh_coefficients(time_index);
        _make_implicit(step, values);
    }
}

void XTPDE1DLinearParabolic::_refresh_coefficients(std::size_t time_index) {
    if (_set_coefficients(time_index)) _touch_coefficients();
}

bool XTPDE1DLinearParabolic::_is_current(Key& key, std::size_t step) const {
    double const length = m_time_steps[static_cast<Eigen::Index>(step)];
    if (key.revision == m_revision &&
        std::abs(length - key.step) <= c_equal_steps * std::abs(key.step))
        return true;
    key = {.step = length, .revision = m_revision};
    return false;
}

void XTPDE1DLinearParabolic::_make_explicit(std::size_t step, Grid& values) {
    if (!_is_current(m_explicit_key, step)) {
        auto const m = static_cast<Eigen::Index>(step);
        auto const& [dt_dx2, two_dt_dx2, half_dt_dx, dt] = m_explicit_factors;
        m_explicit_rows.lower = -dt_dx2[m] * m_a + half_dt_dx[m] * m_b;
        m_explicit_rows.diagonal = 1.0 + two_dt_dx2[m] * m_a - dt[m] * m_c;
        m_explicit_rows.upper = -dt_dx2[m] * m_a - half_dt_dx[m] * m_b;
        m_explicit_rows.source = -dt[m] * m_s;
    }
    _solve_explicit(values);
}

void XTPDE1DLinearParabolic::_solve_explicit(Grid& values) {
    Eigen::Index const inner = values.size() - 2;
    auto const& [lower, diagonal, upper, source] = m_explicit_rows;
    m_rhs = values;
    values.segment(1, inner) = lower.segment(1, inner) * m_rhs.segment(0, inner) +
                               diagonal.segment(1, inner) * m_rhs.segment(1, inner) +
                               upper.segment(1, inner) * m_rhs.segment(2, inner) +
                               source.segment(1, inner);
}

void XTPDE1DLinearParabolic::_make_implicit(std::size_t step, Grid& values) {
    if (!_is_current(m_implicit_key, step)) {
        auto const m = static_cast<Eigen::Index>(step);
        auto const& [dt_dx2, two_dt_dx2, half_dt_dx, dt] = m_implicit_factors;
        m_implicit_rows.lower = dt_dx2[m] * m_a - half_dt_dx[m] * m_b;
        m_implicit_rows.diagonal = 1.0 - two_dt_dx2[m] * m_a + dt[m] * m_c;
        m_implicit_rows.upper = dt_dx2[m] * m_a + half_dt_dx[m] * m_b;
        m_implicit_rows.source = dt[m] * m_s;
        _set_lhs();
    }
    _set_rhs(values);
    _solve_implicit(values);
}

void XTPDE1DLinearParabolic::_set_lhs() {
    auto& [lower, diagonal, upper, source] = m_implicit_rows;
    Eigen::Index const last = diagonal.size() - 1;
    bool const keeps_slope = m_boundary_condition == BoundaryCondition::NEUMANN;
    diagonal[0] = 1.0;
    upper[0] = keeps_slope ? -1.0 : 0.0;
    lower[last] = keeps_slope ? 1.0 : 0.0;
    diagonal[last] = keeps_slope ? -1.0 : 1.0;

    m_multipliers.resize(last + 1);
    m_inverse_pivots.resize(last + 1);
    m_upper_ratios.resize(last + 1);
    m_multipliers[0] = 0.0;
    m_inverse_pivots[0] = 1.0 / diagonal[0];
    for (Eigen::Index i = 1; i <= last; ++i) {
        m_multipliers[i] = lower[i] * m_inverse_pivots[i - 1];
        m_inverse_pivots[i] = 1.0 / (diagonal[i] - m_multipliers[i] * upper[i - 1]);
    }
    m_upper_ratios = upper * m_inverse_pivots;
}

void XTPDE1DLinearParabolic::_set_rhs(Grid& values) {
    Eigen::Index const last = values.size() - 1;
    m_rhs = values;
    m_rhs.segment(1, last - 1) -= m_implicit_rows.source.segment(1, last - 1);
    if (m_boundary_condition == BoundaryCondition::NEUMANN) {
        m_rhs[0] = values[0] - values[1];
        m_rhs[last] = values[last - 1] - values[last];
    }
}

void XTPDE1DLinearParabolic::_solve_implicit(Grid& values) const {
    Eigen::Index const last = values.size() - 1;
    double const* const rhs = m_rhs.data();
    double const* const multipliers = m_multipliers.data();
    double const* const ratios = m_upper_ratios.data();
    double* const u = values.data();
    double carry = u[0] = rhs[0];
    for (Eigen::Index i = 1; i <= last; ++i) u[i] = carry = rhs[i] - multipliers[i] * carry;
    values *= m_inverse_pivots;
    carry = u[last];
    for (Eigen::Index i = last; i-- > 0;) u[i] = carry = u[i] - ratios[i] * carry;
}

}  // namespace ximCORE::Toolbox
