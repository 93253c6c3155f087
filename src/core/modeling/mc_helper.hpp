// What a simulation adds to the calibrated market: a time grid, all random numbers of the run, a
// Cholesky factor per correlation state, and the frame of a path: correlate the normals, then let
// the derived class write the path into the fixing grid. One helper per thread does the work; all
// of them read the same normals.

#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "core/modeling/cube.hpp"
#include "core/modeling/fixing_grid.hpp"
#include "core/modeling/helper.hpp"

namespace ximCORE::Modeling {

/// After `set` and `calibrate`, only the correlated normals and the fixing grid of a helper change,
/// and the slices of the shared normals that belong to the trials it is given. Per trial: no
/// allocation.
class MCHelper : public Helper {
 public:
    /// What a correlation state adds.
    struct Calibration {
        Toolbox::Triangle<double, 1> cholesky;  ///< [factor][factor]
    };

    inline static std::uint64_t s_seed{23051994};
    inline static std::uint8_t s_path_step{
        2};  // Relied on: stored and never read, a refined grid steps by two days

    /// Builds the time grid, the counts, the fixing grid (opened by `cashflow`, or wholly without
    /// one) and the normals.
    void set(Toolbox::Date const& start, Toolbox::DayCounter const& day_counter,
             Contract::ContractInformation const& information,
             Contract::CashFlow* cashflow) override;

    void switch_to_central() override;
    void allocate(Bump bump, std::size_t n) override;
    void select(Bump bump, std::size_t i, std::size_t j = 0) override;

    /// One path of the state in force, into the fixing grid. `trial` outside the run raises
    /// `SegmentationFaultException`. Without any factor nothing happens.
    void diffuse(std::uint64_t trial);
    /// Flips the sign of the normals of `trial`; twice restores them.
    void apply_antithetic(std::uint64_t trial);

    /// Deep copy in the same state, but for the normals, which all copies share.
    [[nodiscard]] virtual std::unique_ptr<MCHelper> c_clone() const = 0;

    [[nodiscard]] FixingGrid& get_fixing_grid() { return m_fixing_grid; }
    /// Years from the start date of each grid date; the first is 0.
    [[nodiscard]] std::vector<double> const& c_get_times() const { return m_times; }
    [[nodiscard]] std::vector<double> const& c_get_time_steps() const { return m_time_steps; }
    [[nodiscard]] std::vector<double> const& c_get_sqrt_time_steps() const {
        return m_sqrt_time_steps;
    }
    /// [fixing rank]: grid index of that fixing date.
    [[nodiscard]] std::vector<std::uint64_t> const& c_get_fixing_steps() const {
        return m_fixing_steps;
    }
    /// Grid positions of the fixing dates that are also payment dates.
    [[nodiscard]] std::vector<std::uint64_t> const& c_get_payment_steps() const {
        return m_payment_steps;
    }
    /// Null before `set`.
    [[nodiscard]] std::shared_ptr<Cube> const& c_get_normals() const { return m_normals; }
    /// [grid step][factor], of the last path.
    [[nodiscard]] Toolbox::Array2D<double> const& c_get_correlated_normals() const {
        return m_correlated_normals;
    }
    [[nodiscard]] Toolbox::Triangle<double, 1> const& c_get_cholesky() const {
        return m_current_cholesky->cholesky;
    }

 protected:
    MCHelper(std::uint64_t nb_factors_per_underlying, std::uint64_t nb_factors_per_currency,
             bool use_sub_steps);
    MCHelper(MCHelper const& other);

    /// Copies the forwards and the zero-coupons of the state in force into the fixing grid.
    [[nodiscard]] bool calibrate_method(Toolbox::Date const& date,
                                        Contract::ContractInformation const& information) override;
    /// Reads the correlation of each pair of underlyings. A missing one answers false.
    [[nodiscard]] bool _calibrate_correlation_matrix_common(
        Toolbox::Date const& date, Contract::ContractInformation const& information) override;
    [[nodiscard]] bool _calibrate_correlation_matrix_internal() override;
    /// Writes the path of the correlated normals into the fixing grid. Nothing here.
    virtual void _diffuse_internal(std::uint64_t trial);

    /// What the path of one underlying reads and writes, one fixing a grid step. All checked; loops
    /// over the fixing dates read it unchecked. There must be a fixing date.
    struct PathInputs {
        double const* normals;  ///< of the underlying's factor, one per stride
        std::size_t stride;
        double const* time_steps;
        double const* sqrt_time_steps;
        double const* forwards;
        FixingGrid::Column cells;

        [[nodiscard]] double normal(std::size_t step) const { return normals[step * stride]; }
    };
    [[nodiscard]] PathInputs _get_path_inputs(std::uint64_t underlying);

    bool m_use_sub_steps;
    std::vector<double> m_times;
    std::vector<double> m_time_steps;
    std::vector<double> m_sqrt_time_steps;
    std::vector<std::uint64_t> m_fixing_steps;
    std::vector<std::uint64_t> m_payment_steps;
    Toolbox::Array2D<double> m_correlated_normals;  // [grid step][factor]
    FixingGrid m_fixing_grid;

 private:
    using Dates = std::vector<Toolbox::Date>;
    using Factors = Toolbox::Triangle<Calibration, -1>;

    /// The grid dates after the start, one per fixing date; fills the fixing and payment steps.
    [[nodiscard]] Dates _make_plain_grid(Contract::ContractInformation const& information);
    /// The same, refined to steps of two calendar days.
    [[nodiscard]] Dates _make_refined_grid(Toolbox::Date const& start,
                                           Contract::ContractInformation const& information);
    void _set_times(Toolbox::Date const& start, Toolbox::DayCounter const& day_counter,
                    Dates const& dates);
    void _init_discount_factor_fixing_grid();
    void _correlate(double const* normals);
    /// The factors of a correlation bump; null for any other bump.
    [[nodiscard]] Factors* _find_factors(Bump bump);

    std::shared_ptr<Cube> m_normals;
    Calibration m_central_cholesky;
    Factors m_cega_up_cholesky;
    Factors m_cega_down_cholesky;
    Calibration* m_current_cholesky{&m_central_cholesky};
};

}  // namespace ximCORE::Modeling
