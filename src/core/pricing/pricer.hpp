// The common body of every pricing engine: the life of one run (prepare, calibrate, clear, compute,
// scale, agregate), the calibration of one market state per bump of each sensitivity, and the
// record through which all engines report.

#pragma once

#include <memory>

#include "core/contract/information.hpp"
#include "core/pricing/greek.hpp"
#include "core/pricing/options.hpp"
#include "core/pricing/results.hpp"

namespace ximCORE::Contract {
class Contract;
}

namespace ximCORE::Modeling {
class Helper;
class Model;
}  // namespace ximCORE::Modeling

namespace ximCORE::Pricing {

/// Anything that runs a contract under a model. One run at a time in a process: the settings and
/// the scenario are shared.
class IPricer : public PricerOptions {
 public:
    IPricer() = default;
    virtual ~IPricer() = default;
    IPricer(IPricer const&) = delete;
    IPricer& operator=(IPricer const&) = delete;

    /// Prepares, makes and sets the model's helper, runs, and deletes the helper whatever the
    /// outcome. False when a step failed; whoever knew the cause has reported it. `model` may be
    /// null: no helper is then asked for.
    [[nodiscard]] virtual bool run(Contract::Contract& contract, Modeling::Model* model);
    [[nodiscard]] virtual bool run_internal(Contract::Contract& contract,
                                            Modeling::Model* model) = 0;
    /// Scans the contract into the index space of the results and sizes them.
    [[nodiscard]] virtual bool prepare_pricer(Contract::Contract const& contract);

    [[nodiscard]] Contract::ContractInformation const& c_get_information() const {
        return m_information;
    }

 protected:
    virtual void _prepare_results() {}
    [[nodiscard]] virtual bool _prepare_contract(Contract::Contract const& contract);
    /// The helper of the engine's method, owned by the model; null for a null model or an engine
    /// without one.
    [[nodiscard]] virtual Modeling::Helper* _c_safe_new_helper(Modeling::Model* model) const;
    virtual void _c_safe_delete_helper(Modeling::Model* model) const;

    Contract::ContractInformation m_information;
};

/// An engine that reports a price and sensitivities.
class Pricer : public IPricer {
 public:
    [[nodiscard]] bool run_internal(Contract::Contract& contract, Modeling::Model* model) override;
    /// A run on states that are already calibrated.
    [[nodiscard]] bool price(Contract::Contract& contract, Modeling::Model* model);
    /// Calibrates the central state and one per bump of each active sensitivity. On a failure under
    /// a bump, the scenario keeps its perturbations and the helper its bumped state: the caller
    /// ends the request there.
    [[nodiscard]] bool calibrate(Contract::Contract& contract, Modeling::Model* model);
    /// Empties the flat list and all statistics, without freeing; the rows of epsilonn are not
    /// visited.
    void clear();
    /// Closes all statistics and appends them to the flat list; without a `clear` before it, rows
    /// repeat.
    void agregate();
    /// Turns summed differences of values into sensitivities per unit move.
    void shift_greeks();

    [[nodiscard]] Results const& c_get_results() const { return m_results; }
    [[nodiscard]] Results& get_results() { return m_results; }

 protected:
    /// The computation, on prepared and cleared results.
    [[nodiscard]] virtual bool run_core(Contract::Contract& contract, Modeling::Model* model) = 0;
    void _prepare_results() override;

    Results m_results;

 private:
    void _prepare_greek(Greek const& greek);
};

/// The engine of the method in the settings; null when there is none.
[[nodiscard]] std::unique_ptr<Pricer> get_pricer();

}  // namespace ximCORE::Pricing
