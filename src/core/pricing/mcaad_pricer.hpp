// The adjoint simulation: one forward and one backward sweep a trial give the delta, the vega and
// the cega of all underlyings at once, in place of one revaluation for each bump. The derivatives
// are written by hand, routine by routine, on the tape of `core/toolbox/tape.hpp`: the `aeval` of
// the contract, the `adiffuse` of the helper, the `acalibrate_internal` of its market.
//
// The first order alone: rows of gamma, volga, vanna and of the cross sensitivities keep their
// cleared values. Nothing is discounted, and rates have no sensitivity.

#pragma once

#include <memory>

#include "core/pricing/mc_engine.hpp"
#include "core/pricing/pricer.hpp"
#include "core/toolbox/tape.hpp"

namespace ximCORE::Modeling {
class FixingGrid;
}

namespace ximCORE::Pricing {

/// Rows hold the derivative of the mean price with a count of 1, without a statistic of their own:
/// delta per unit of relative spot move, vega per unit of volatility, cega per unit of correlation.
class MCAADPricer : public Pricer, public IMCPricer {
 public:
    /// `price`: no bumped state is calibrated.
    [[nodiscard]] bool run_internal(Contract::Contract& contract, Modeling::Model* model) override;

 protected:
    /// Calibrates forwards, runs the trials, in blocks where contract and model allow, and takes
    /// what they left on the helper back through the calibration. False without a helper or with a
    /// market that is not complete, after a record.
    [[nodiscard]] bool run_core(Contract::Contract& contract, Modeling::Model* model) override;
    [[nodiscard]] Modeling::Helper* _c_safe_new_helper(Modeling::Model* model) const override;
    void _c_safe_delete_helper(Modeling::Model* model) const override;
    [[nodiscard]] std::unique_ptr<IMCThread> _new_thread() override;
    /// Adds the adjoints of spots, volatilities and correlations to the rows.
    void _accumulate_adjoints(Modeling::Model* model);

 private:
    Toolbox::AAD::Tape m_tape;  ///< of the calibration; each worker has its own
};

/// One worker. Per trial: no allocation once its tape has grown, no lock; nothing logs but a tape
/// that runs short.
class MCAADThread : public IMCThread {
 public:
    explicit MCAADThread(MCAADPricer& pricer);

    void _set_MC_helper(Modeling::MCHelper* helper) override;
    /// The price alone: sensitivities have no statistic.
    void _agregate_thread_results() override;
    /// Adds the adjoints on the worker's helper to those of the model's.
    void _c_agregate_thread_helpers(Modeling::MCHelper* target) const override;

 protected:
    using Tape = Toolbox::AAD::Tape;
    using SweepType = Toolbox::AAD::SweepType;

    /// Both sweeps of a trial. Always true: a path cannot fail.
    [[nodiscard]] bool _compute_price(std::uint64_t trial) override;
    /// One sweep of a trial. Forward: the value of the trial. Backward: the adjoints of its inputs,
    /// the derivative of the mean by the trial's value being `m_flow_adjoint`.
    void _alaunch(Tape& tape, SweepType sweep, std::uint64_t trial);
    /// One sweep of the contract on the plain or the mirrored path of the grid. Forward: adds to
    /// `value`. Backward: `adjoint` is the derivative of the mean by that value.
    void _aeval(Tape& tape, SweepType sweep, bool antithetic, Modeling::FixingGrid& grid,
                double& value, double& adjoint);

    Tape m_tape;

 private:
    /// The trial with a mirrored path, weighted by the antithetic factor.
    void _alaunch_pair(Tape& tape, SweepType sweep, std::uint64_t trial);

    Results m_results;
    MCAADPricer* m_pricer;
    double m_flow_adjoint{1.0};  ///< the seed while a trial runs
    double m_seed;               ///< 1 / trials, so that sums of adjoints are derivatives of a mean
    Toolbox::Array1D<double> m_flow_adjoints;  // [payment date]
};

}  // namespace ximCORE::Pricing
