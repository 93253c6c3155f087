// The engine room of the simulation: trials of a contract on one or more plain threads. A worker
// owns a private tree and a private helper; what a trial accumulates is the worker's business.
// Results depend on the number of threads only through the order of sums.

#pragma once

#include <cstdint>
#include <memory>

#include "core/contract/variables.hpp"
#include "core/pricing/options.hpp"
#include "core/toolbox/containers.hpp"

namespace ximCORE::Contract {
class CashFlow;
class Contract;
}  // namespace ximCORE::Contract

namespace ximCORE::Modeling {
class MCHelper;
class Model;
}  // namespace ximCORE::Modeling

namespace ximCORE::Pricing {

/// One worker. All sizing happens before its thread starts. Per trial: no allocation, no lock, no
/// exception.
class IMCThread {
 public:
    IMCThread() = default;
    virtual ~IMCThread() = default;
    IMCThread(IMCThread const&) = delete;
    IMCThread& operator=(IMCThread const&) = delete;

    /// Takes a tree that no other thread walks, and sizes the named values of a path for it.
    virtual void _set_cashflow(std::shared_ptr<Contract::CashFlow> const& cashflow);
    /// Takes a calibrated helper, not owned, and sizes the flows to its discount factors.
    virtual void _set_MC_helper(Modeling::MCHelper* helper);
    /// Adds the worker's results to the pricer's; on the caller's thread, after all trials.
    virtual void _agregate_thread_results() = 0;
    /// Adds what the worker's helper gathered to the model's helper. Nothing here.
    virtual void _c_agregate_thread_helpers(Modeling::MCHelper*) const {}

    /// The trials [first, last), up to the first one that answers false.
    [[nodiscard]] bool run(std::uint64_t first, std::uint64_t last);
    /// Releases the tree without deep recursion.
    void clean();

 protected:
    /// The discounted value of the contract on the path in the grid, in its currency. The weight is
    /// not used here.
    virtual double _eval_casfhlow_internal(double weight);
    /// Adds weight times the value to that of the trial.
    virtual void _eval_cashflow(double weight);
    /// The trial under the state in force: (1 - a) V(Z) + a V(-Z), a the antithetic factor.
    virtual void _launch(std::uint64_t trial);
    [[nodiscard]] virtual bool _compute_price(std::uint64_t trial) = 0;

    std::shared_ptr<Contract::CashFlow> m_cashflow;
    Modeling::MCHelper* m_helper{nullptr};
    Toolbox::Array1D<double> m_flows;  // [payment date]
    Contract::Variables m_variables;
    double m_path_value{0.0};
    double m_antithetic_factor{MCPricerOptions::s_options.antithetic_factor};
};

/// The body of a thread: the trials [first, last) of a worker.
void run_thread(IMCThread* worker, std::uint64_t first, std::uint64_t last);

class IMCPricer : public MCPricerOptions {
 public:
    IMCPricer() = default;
    virtual ~IMCPricer() = default;
    IMCPricer(IMCPricer const&) = delete;
    IMCPricer& operator=(IMCPricer const&) = delete;

    /// Runs all trials on the model's calibrated helper, or on clones of it, one per thread. The
    /// last thread takes the remainder of the trials. The first records of each worker are added to
    /// the log after the joins, in the order of the workers. False when there is no worker or no
    /// helper; no thread at all raises `SegmentationFaultException`.
    [[nodiscard]] bool compute(Contract::Contract& contract, Modeling::Model* model);

 protected:
    [[nodiscard]] virtual std::unique_ptr<IMCThread> _new_thread() = 0;

 private:
    using Workers = Toolbox::Array1D<std::unique_ptr<IMCThread>>;
    /// One thread per worker, on clones of the tree and of the helper.
    void _run_threads(Contract::Contract const& contract, Modeling::MCHelper& helper,
                      Workers& workers);
};

}  // namespace ximCORE::Pricing
