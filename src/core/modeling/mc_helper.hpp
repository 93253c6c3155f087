// What a simulation adds to the calibrated market: a time grid, all random numbers of the run, a
// Cholesky factor per correlation state, and the frame of a path: correlate the normals, then let
// the derived class write the path into the fixing grid. One helper per thread does the work; all
// of them read the same normals.
//
// The adjoint simulation takes three pairs of sweeps: `acalibrate_internal` forward once,
// `adiffuse` forward and backward for each trial, `acalibrate_internal` backward once. Backward
// sweeps add to derivatives that the helper holds; each clone holds its own.

#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <span>
#include <vector>

#include "core/modeling/cube.hpp"
#include "core/modeling/fixing_grid.hpp"
#include "core/modeling/helper.hpp"
#include "core/toolbox/tape.hpp"

namespace ximCORE::Pricing {
struct CrossGreekResult;
struct RowGreekResult;
}  // namespace ximCORE::Pricing

namespace ximCORE::Modeling {

/// After `set` and `calibrate`, only the correlated normals, the fixing grid and the adjoints of a
/// helper change, and the slices of the shared normals that belong to the trials it is given. Per
/// trial: no allocation.
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

    /// Adjoint form of `diffuse`, on one side of the fixing grid. Forward: as `diffuse`, into the
    /// values of that side. Backward, after the contract's own, with the normals as they were on
    /// the forward sweep: takes the adjoints of the cells of that side back to forwards,
    /// volatilities and the Cholesky factor, and adds them to the adjoints of this helper. Per
    /// trial: no allocation once the tape has grown.
    void adiffuse(Toolbox::AAD::Tape& tape, Toolbox::AAD::SweepType sweep, bool antithetic,
                  std::uint64_t trial);

    /// Adjoint form of `calibrate`, in the state in force. Forward: calibrates all but the discount
    /// factors, and zeroes all adjoints; false at the first market object that is missing.
    /// Backward: takes the adjoints of forwards and Cholesky factor back to spots and correlations.
    /// All discount factors are 1, so that nothing is discounted and rates have no sensitivity.
    [[nodiscard]] virtual bool acalibrate_internal(
        Toolbox::AAD::Tape& tape, Toolbox::AAD::SweepType sweep, Toolbox::Date const& date,
        Contract::ContractInformation const& information);
    /// The step of a model, the last one forward and the first one backward. Nothing here.
    [[nodiscard]] virtual bool acalibrate_internal_core(
        Toolbox::AAD::Tape& tape, Toolbox::AAD::SweepType sweep, Toolbox::Date const& date,
        Contract::ContractInformation const& information);

    /// One observation for each row within both sizes: the derivative of what the trials summed up
    /// by a relative spot move, by a volatility (nothing here), and by the correlation of a pair.
    void c_accumulate_delta(Toolbox::Array1D<Pricing::RowGreekResult>& rows) const;
    virtual void c_accumulate_vega(Toolbox::Array1D<Pricing::RowGreekResult>& rows) const;
    void c_accumulate_cega(Toolbox::Triangle<Pricing::CrossGreekResult, -1>& cells) const;
    /// Adds what a clone's trials gathered to the helper that it was cloned from, as far as the
    /// options ask for it: forwards with delta, volatilities with vega, correlations and factor
    /// with cega.
    virtual void c_accumulate_adjoints(MCHelper* target) const;

    /// The path of an underlying in the state in force, where the model's has this form:
    ///     x += z diffusion[fixing] + drift[fixing],   cell = exp(x) forward[fixing].
    /// False, with nothing written, for any other model.
    [[nodiscard]] virtual bool c_get_lognormal_steps(std::uint64_t underlying,
                                                     std::vector<double>& diffusions,
                                                     std::vector<double>& drifts) const;

    /// What the backward sweeps of all trials add to the adjoints of this helper, from sums over
    /// the trials for one underlying of such a model, up to the last fixing date that counts.
    /// `levels`: [fixing date], the adjoint of a cell times the cell; `normals`: [fixing
    /// date][factor], the adjoint of x there times each normal, as far as the underlying's own
    /// factor. Nothing for any other model.
    void add_lognormal_adjoints(std::uint64_t underlying, std::span<double const> levels,
                                std::span<double const> normals);

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
    /// Drawn by the first who asks. Null before `set`.
    [[nodiscard]] std::shared_ptr<Cube> const& c_get_normals() const {
        if (m_normals != nullptr) m_normals->draw();
        return m_normals;
    }
    /// The same numbers for somebody who draws them himself; null before `set`.
    [[nodiscard]] Cube const* c_get_undrawn_normals() const { return m_normals.get(); }
    /// [grid step][factor], of the last path.
    [[nodiscard]] Toolbox::Array2D<double> const& c_get_correlated_normals() const {
        return m_correlated_normals;
    }
    [[nodiscard]] Toolbox::Triangle<double, 1> const& c_get_cholesky() const {
        return m_current_cholesky->cholesky;
    }
    /// [underlying][fixing date], per unit of the forward.
    [[nodiscard]] Toolbox::Array2D<double> const& c_get_forward_adjoints() const {
        return m_forward_adjoints;
    }
    /// [underlying], per unit of relative spot move; 0 before the last backward sweep.
    [[nodiscard]] Toolbox::Array1D<double> const& c_get_spot_adjoints() const {
        return m_spot_adjoints;
    }
    /// [factor][factor], with the diagonal.
    [[nodiscard]] Toolbox::Triangle<double, 1> const& c_get_cholesky_adjoints() const {
        return m_cholesky_adjoints;
    }
    /// [factor][factor], strict.
    [[nodiscard]] Toolbox::Triangle<double, -1> const& c_get_correlation_adjoints() const {
        return m_correlation_adjoints;
    }
    /// [currency], by maturity in years: empty, rates having no sensitivity.
    [[nodiscard]] Toolbox::Array1D<std::map<double, double>> const& c_get_rate_adjoints() const {
        return m_rate_adjoints;
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
    /// Adjoint form of it. Backward: adds to the adjoints of correlated normals, forwards,
    /// volatilities and correlations. Nothing here.
    virtual void _adiffuse_internal(Toolbox::AAD::Tape& tape, Toolbox::AAD::SweepType sweep,
                                    bool antithetic, std::uint64_t trial);

    /// The adjoint of x on one step, and the sum of it times the correlated normal.
    struct StepAdjoint {
        double x{0.0};
        double normal{0.0};
    };
    /// The part of `add_lognormal_adjoints` for volatilities and drift. Nothing here.
    virtual void _add_step_adjoints(std::uint64_t underlying, std::span<StepAdjoint const> steps);

    /// Whether the derivative by the correlation of each underlying with its quanto rate has a
    /// cell. Fails: an ERROR record.
    [[nodiscard]] bool _c_has_quanto_cells(Contract::ContractInformation const& information) const;

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

    /// What its backward sweep adds to, in the same strides.
    struct PathAdjoints {
        double* normals;
        std::size_t stride;
        double* forwards;

        [[nodiscard]] double& normal(std::size_t step) const { return normals[step * stride]; }
    };
    [[nodiscard]] PathAdjoints _get_path_adjoints(std::uint64_t underlying);

    bool m_use_sub_steps;
    std::vector<double> m_times;
    std::vector<double> m_time_steps;
    std::vector<double> m_sqrt_time_steps;
    std::vector<std::uint64_t> m_fixing_steps;
    std::vector<std::uint64_t> m_payment_steps;
    Toolbox::Array2D<double> m_correlated_normals;  // [grid step][factor]
    FixingGrid m_fixing_grid;
    Toolbox::Triangle<double, -1> m_correlation_adjoints;   // [factor][factor]
    Toolbox::Array2D<double> m_correlated_normal_adjoints;  // [grid step][factor]
    Toolbox::Array2D<double> m_forward_adjoints;            // [underlying][fixing date]

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
    void _init_forward_fixing_grid();
    void _init_discount_factor_fixing_grid();
    void _size_correlated_normals(Toolbox::Array2D<double>& normals) const;
    void _correlate(double const* normals);
    void _acorrelate(double const* normals);
    [[nodiscard]] bool _acalibrate_correlation_matrix(
        Toolbox::AAD::Tape& tape, Toolbox::AAD::SweepType sweep, Toolbox::Date const& date,
        Contract::ContractInformation const& information);
    [[nodiscard]] bool _acalibrate_equity_like_forward_curve(
        Toolbox::AAD::Tape& tape, Toolbox::AAD::SweepType sweep, Toolbox::Date const& date,
        Contract::ContractInformation const& information);
    [[nodiscard]] bool _acalibrate_equity_like_volatility(
        Toolbox::AAD::SweepType sweep, Toolbox::Date const& date,
        Contract::ContractInformation const& information);
    [[nodiscard]] bool _acalibrate_currency_yield_curve(
        Toolbox::AAD::SweepType sweep, Toolbox::Date const& date,
        Contract::ContractInformation const& information);
    /// The factors of a correlation bump; null for any other bump.
    [[nodiscard]] Factors* _find_factors(Bump bump);

    std::shared_ptr<Cube> m_normals;
    Calibration m_central_cholesky;
    Factors m_cega_up_cholesky;
    Factors m_cega_down_cholesky;
    Calibration* m_current_cholesky{&m_central_cholesky};
    Toolbox::Triangle<double, 1> m_cholesky_adjoints;            // [factor][factor]
    Toolbox::Array1D<double> m_spot_adjoints;                    // [underlying]
    Toolbox::Array1D<std::map<double, double>> m_rate_adjoints;  // [currency]
};

}  // namespace ximCORE::Modeling
