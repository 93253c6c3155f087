// One contract under many markets: each point shifts the market data and reprices, calibration
// included. All points of a simulation run on the same random numbers.

#pragma once

#include <memory>
#include <vector>

#include "core/data/perturbation.hpp"
#include "core/pricing/pricer.hpp"

namespace ximCORE::Pricing {

/// One market and what the contract is worth in it.
struct ModelLadderResults {
    std::vector<Data::MarketDataPerturbationItem> items;  ///< in force together, later ones on top
    Results results;
};

class ModelLadder final : public IPricer {
 public:
    /// Prices the points in order, with the engine of the settings. The first point that fails ends
    /// the ladder with false: those behind it have no results. The scenario is left as it was
    /// found, but for what an engine leaves there when a calibration under a bump fails.
    [[nodiscard]] bool run_internal(Contract::Contract& contract, Modeling::Model* model) override;

    /// Element 0 is the central point, without items. Filled by the caller before the run.
    [[nodiscard]] std::vector<ModelLadderResults>& get_results() { return m_results; }
    [[nodiscard]] std::vector<ModelLadderResults> const& c_get_results() const { return m_results; }

 protected:
    [[nodiscard]] Modeling::Helper* _c_safe_new_helper(Modeling::Model* model) const override;
    void _c_safe_delete_helper(Modeling::Model* model) const override;

 private:
    std::vector<ModelLadderResults> m_results;
};

[[nodiscard]] std::unique_ptr<ModelLadder> get_model_ladder();

}  // namespace ximCORE::Pricing
