// The simulation engine: each trial revalues the contract on the central state and on every bumped
// one with the same random numbers, and the paired differences are the statistics of the
// sensitivities.

#pragma once

#include <memory>
#include <vector>

#include "core/pricing/greek_evaluation.hpp"
#include "core/pricing/mc_engine.hpp"
#include "core/pricing/pricer.hpp"

namespace ximCORE::Pricing {

class MCPricer final : public Pricer, public IMCPricer {
 protected:
    [[nodiscard]] bool run_core(Contract::Contract& contract, Modeling::Model* model) override;
    [[nodiscard]] Modeling::Helper* _c_safe_new_helper(Modeling::Model* model) const override;
    void _c_safe_delete_helper(Modeling::Model* model) const override;
    [[nodiscard]] std::unique_ptr<IMCThread> _new_thread() override;
};

class MCThread final : public IMCThread {
 public:
    /// Copies the sizes and names of the pricer's results, and the directions of the settings.
    explicit MCThread(MCPricer& pricer);

    void _agregate_thread_results() override;

 protected:
    /// Always true.
    [[nodiscard]] bool _compute_price(std::uint64_t trial) override;

 private:
    /// A sensitivity with results, as this engine evaluates it.
    struct Active {
        Greek const* greek;
        EvaluationRule rule;
        bool assigned;  ///< each trial replaces the results in place of adding to them
    };

    Results m_results;
    MCPricer* m_pricer;
    std::vector<Active> m_active;
};

}  // namespace ximCORE::Pricing
