// The solver of a linear parabolic equation in time and one space variable, on a uniform space
// grid, by a theta scheme. It knows nothing of finance: who uses it fills the time grid and the
// coefficients, and applies events to the values between two calls of `solve`.

#pragma once

#include <Eigen/Core>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <vector>

#include "core/toolbox/pde/grid.hpp"

namespace ximCORE::Toolbox {

/// A differential equation, and one with partial derivatives.
class DE {
 public:
    virtual ~DE() = default;
    DE(DE const&) = delete;
    DE& operator=(DE const&) = delete;

 protected:
    DE() = default;
};
class PDE : public DE {};

/// A numerical solver of a PDE on a grid of times and of space points. Life: `set_time_grid` and
/// `set_space_grid`, then `init`, then any number of `solve`. For one thread at a time.
class XTPDE : public PDE {
 public:
    /// In the order of the request's texts. DIRICHLET keeps the two edge values through a step,
    /// NEUMANN keeps the difference of the two points at each edge.
    enum class BoundaryCondition : std::uint32_t { DIRICHLET, NEUMANN };

    struct Options {
        double explicit_rate;  ///< a fraction: 0 implicit, 0.5 Crank-Nicolson, 1 explicit
        BoundaryCondition boundary_condition;
    };
    /// Written before a pricing; a solver copies them when it is made.
    inline static Options s_options{.explicit_rate = 0.0,
                                    .boundary_condition = BoundaryCondition::DIRICHLET};

    /// One space dimension.
    struct GridParameters {
        std::int32_t size;
        double lower;
        double upper;
    };

    /// `times`: years, ascending, not empty. `time_index`: the position in `times` of each pillar
    /// rank. A step k leads from time k + 1 back to time k and is negative.
    void set_time_grid(std::vector<double> times, std::vector<std::size_t> time_index);
    virtual void set_space_grid(std::vector<GridParameters> const& grids) = 0;
    /// Derives the factors of the steps from both grids. After each change of a grid.
    virtual void init() = 0;

    /// Advances the values in place from one pillar to another. Backward from `first` down to
    /// `last`; in the wrong order nothing happens. Forward from `last` up to the step before
    /// `first`. A rank outside the pillars raises `SegmentationFaultException`. An operator without
    /// an inverse gives values that are not finite. Per step: no allocation.
    virtual void solve(std::size_t const& first, std::size_t const& last, Grid& values,
                       bool forward) = 0;

    [[nodiscard]] std::size_t c_get_space_size() const { return m_space_size; }
    /// The points of the first dimension.
    [[nodiscard]] Grid const& c_get_grid() const { return m_space_values; }
    [[nodiscard]] std::vector<double> const& c_get_times() const { return m_time_grid; }
    [[nodiscard]] std::vector<std::size_t> const& c_get_time_index() const { return m_time_index; }
    /// Signed, in years.
    [[nodiscard]] Grid const& c_get_time_steps() const { return m_time_steps; }

 protected:
    /// Puts the coefficients of one time in force. Answers whether they changed: what was derived
    /// from them is then made anew. Nothing here.
    [[nodiscard]] virtual bool _set_coefficients(std::size_t const& time_index);
    /// The time index of a pillar rank.
    [[nodiscard]] std::size_t _c_get_index(std::size_t rank) const;

    std::vector<double> m_time_grid;
    std::vector<std::size_t> m_time_index;  // [pillar rank]
    Grid m_time_steps;
    std::vector<Grid> m_space_grid;  // [dimension]
    Grid m_space_values;
    std::size_t m_space_size{0};
    std::vector<double> m_space_steps;  // [dimension]
};

/// u_t + A u_xx + B u_x + C u + S = 0, seen from the last time. With L u = A u_xx + B u_x + C u
/// (central differences) and the signed step t, one step solves
///     (1 + i t L) u_new = (1 - e t L) u_old - t S,   i = 1 - e the implicit, e the explicit rate.
/// The matrix is tridiagonal: it is factorised once (elimination without exchange of rows) and
/// serves all steps of that length. Steps whose lengths agree to 1e-10, the rounding of year
/// fractions, count as equal. Fewer than three points have no interior: the values stay.
/// (J. Crank and P. Nicolson, 1947; tridiagonal elimination: L. H. Thomas, 1949.)
class XTPDE1DLinearParabolic : public XTPDE {
 public:
    XTPDE1DLinearParabolic() = default;

    void init() override;
    void solve(std::size_t const& first, std::size_t const& last, Grid& values,
               bool forward) override;

    [[nodiscard]] bool c_has_explicit_part() const { return m_has_explicit_part; }
    [[nodiscard]] double c_get_implicit_rate() const { return m_implicit_rate; }

 protected:
    /// The rows of an operator on the interior points, and what it adds.
    struct Rows {
        Grid lower;
        Grid diagonal;
        Grid upper;
        Grid source;
    };
    /// The four factors of each step: t / dx^2, 2 t / dx^2, t / (2 dx) and t, all times a rate.
    struct Factors {
        Grid dt_dx2;
        Grid two_dt_dx2;
        Grid half_dt_dx;
        Grid dt;
    };
    /// What a set of rows was made for.
    struct Key {
        double step{std::numeric_limits<double>::quiet_NaN()};
        std::uint64_t revision{0};
    };

    /// Writes the boundary rows of the implicit operator and factorises it.
    virtual void _set_lhs();
    /// The right side of a step from the values before it.
    virtual void _set_rhs(Grid& values);
    /// The coefficients have changed.
    void _touch_coefficients() { ++m_revision; }

    Grid m_a;  // coefficients of u_xx, u_x and u, and the source, at each point
    Grid m_b;
    Grid m_c;
    Grid m_s;
    Grid m_rhs;
    Rows m_implicit_rows;
    Rows m_explicit_rows;
    BoundaryCondition m_boundary_condition{s_options.boundary_condition};

 private:
    void _init_common();
    void _init_system();
    void _refresh_coefficients(std::size_t time_index);
    void _step(std::size_t time_index, Grid& values);
    void _make_explicit(std::size_t step, Grid& values);
    void _make_implicit(std::size_t step, Grid& values);
    void _solve_explicit(Grid& values);
    void _solve_implicit(Grid& values) const;
    /// Whether rows made for `key` serve the step; if not, `key` is that of the step.
    [[nodiscard]] bool _is_current(Key& key, std::size_t step) const;

    double m_explicit_rate{s_options.explicit_rate};
    double m_implicit_rate{1.0 - m_explicit_rate};
    bool m_has_explicit_part{m_explicit_rate > 0.0};
    Factors m_explicit_factors;
    Factors m_implicit_factors;
    Key m_explicit_key;
    Key m_implicit_key;
    std::uint64_t m_revision{0};
    Grid m_multipliers;     // of the rows above, in the elimination
    Grid m_inverse_pivots;  // and those of the substitution
    Grid m_upper_ratios;
    std::int32_t m_direction{-1};
};

}  // namespace ximCORE::Toolbox
