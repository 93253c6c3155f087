// What finite differences add to the calibrated market: a solver with its time grid, made from the
// dates of a contract, the roll-back of values between two of these dates, and the price read off
// the space grid. The contract's cash flows, amounts and events see the grid through this class.

#pragma once

#include <Eigen/Core>
#include <cstdint>
#include <memory>
#include <set>
#include <string>

#include "core/modeling/helper.hpp"
#include "core/toolbox/log.hpp"
#include "core/toolbox/pde/solver.hpp"

namespace ximCORE::Modeling {

/// Life: `set`, `calibrate` for each market state, and before each valuation `select` and
/// `calibrate_solver`. All states share the space grid that the last calibration has made. What the
/// contract calls is defined here, so that it does not link against this layer.
class PDEHelper : public Helper {
 public:
    /// Days between two dates of the time grid; the dates of the contract are added.
    inline static std::int32_t s_time_step{1};

    /// Counts and time grid. Rank 0 of the pillars is `date`, at time 0; then the contract's pillar
    /// dates, in their order. A date behind us has time 0. A time step that does not advance leaves
    /// an ERROR record, and `calibrate_method` answers false until the next `set`.
    void set(Toolbox::Date const& date, Toolbox::DayCounter const& day_counter,
             Contract::ContractInformation const& information,
             Contract::CashFlow* cashflow) override;

    /// Makes the space grid and prepares the solver. False after a `set` that has failed.
    [[nodiscard]] bool calibrate_method(Toolbox::Date const& date,
                                        Contract::ContractInformation const& information) override;
    /// Hands the volatility of the state in force to the solver.
    virtual void calibrate_solver() = 0;

    /// The underlying on the space grid at one of the contract's fixing dates; empty for one that
    /// is not equity-like.
    [[nodiscard]] virtual Toolbox::Grid c_eval(Toolbox::Date const& date,
                                               Data::Underlying const* underlying) const = 0;

    /// Rolls values back from one pillar date to another. False, with the values as they were, when
    /// `from` lies before `to`. A date without a pillar rank raises `SegmentationFaultException`.
    bool run(Toolbox::Date const& from, Toolbox::Date const& to, Toolbox::Grid& values) {
        if (from < to) return false;
        m_solver->solve(s_rank_of(from), s_rank_of(to), values, false);
        return true;
    }
    [[nodiscard]] Toolbox::Grid c_make_grid_of_double(double value) const {
        return Toolbox::Grid::Constant(static_cast<Eigen::Index>(c_get_space_size()), value);
    }
    [[nodiscard]] Toolbox::IntGrid c_make_grid_of_int(int value) const {
        return Toolbox::IntGrid::Constant(static_cast<Eigen::Index>(c_get_space_size()), value);
    }

    /// Logs a WARNING at the first time that it is given.
    void warn_once(std::string const& text) {
        if (m_warnings.insert(text).second) Toolbox::Log::s_log(Toolbox::Log::Level::WARNING, text);
    }

    [[nodiscard]] std::size_t c_get_space_size() const { return m_solver->c_get_space_size(); }
    [[nodiscard]] Toolbox::Grid const& c_get_grid() const { return m_solver->c_get_grid(); }
    [[nodiscard]] Toolbox::XTPDE const& c_get_solver() const { return *m_solver; }
    /// The value at the forward, interpolated on a straight line between its two neighbours. Fewer
    /// than two points raise `SegmentationFaultException`.
    [[nodiscard]] double c_get_result(Toolbox::Grid const& values) const;

 protected:
    PDEHelper(std::uint64_t nb_factors_per_underlying, std::uint64_t nb_factors_per_currency,
              std::unique_ptr<Toolbox::XTPDE> solver);

    virtual void _set_space_grid() = 0;
    [[nodiscard]] Toolbox::XTPDE& _get_solver() { return *m_solver; }

 private:
    /// A date without a rank becomes a rank that no solver has.
    [[nodiscard]] static std::size_t s_rank_of(Toolbox::Date const& date) {
        return static_cast<std::size_t>(std::ptrdiff_t{date.c_get_pillar_rank()});
    }

    std::unique_ptr<Toolbox::XTPDE> m_solver;
    bool m_has_time_grid{false};
    std::set<std::string> m_warnings;
};

}  // namespace ximCORE::Modeling
