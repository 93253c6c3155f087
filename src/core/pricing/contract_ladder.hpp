// One contract with many values of its named features: each point overwrites named numbers of the
// contract and reprices, on one calibration. When only prices are wanted, a simulation revalues all
// points on each path (mc_payoff_ladder.hpp).

#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "core/data/shift.hpp"
#include "core/pricing/pricer.hpp"

namespace ximCORE::Contract {
class CashFlow;
}

namespace ximCORE::Pricing {

/// One contract and what it is worth.
struct ContractLadderResults {
    std::map<std::string, Data::MarketDataShift> shifts;  ///< by feature
    Results results;
};

/// The places of one feature in a contract, which keeps them alive, and the numbers that stand
/// there without a shift. A name that the contract does not have has no place.
struct ContractFeature {
    std::vector<double*> places;
    std::vector<double> originals;
};
using ContractFeatures = std::map<std::string, ContractFeature>;

/// Looks up the features of a point that are not there yet.
void add_features(ContractLadderResults const& point, Contract::CashFlow& cashflow,
                  ContractFeatures& features);

/// Writes the shifts of a point into the contract (`apply`), or the originals back. A shift always
/// starts from the original. Throws `std::runtime_error` "Unknown error" for a shift of an unknown
/// kind.
void update_feature_value(ContractLadderResults const& point, ContractFeatures& features,
                          bool apply);

class ContractLadder final : public IPricer {
 public:
    /// Prices the points in order, with the engine of the settings. The first point that fails ends
    /// the ladder with false. The contract has its original numbers afterwards, whatever happened.
    [[nodiscard]] bool run_internal(Contract::Contract& contract, Modeling::Model* model) override;
    /// Also looks up the features of all points.
    [[nodiscard]] bool prepare_pricer(Contract::Contract const& contract) override;

    /// Filled by the caller before the run; for a ladder with a central point, element 0 is that,
    /// without shifts.
    [[nodiscard]] std::vector<ContractLadderResults>& get_results() { return m_results; }
    [[nodiscard]] std::vector<ContractLadderResults> const& c_get_results() const {
        return m_results;
    }

 protected:
    [[nodiscard]] Modeling::Helper* _c_safe_new_helper(Modeling::Model* model) const override;
    void _c_safe_delete_helper(Modeling::Model* model) const override;

 private:
    [[nodiscard]] bool _run_points(Contract::Contract& contract, Modeling::Model* model);
    [[nodiscard]] bool _run_one_pass(Contract::Contract& contract, Modeling::Model* model);

    std::vector<ContractLadderResults> m_results;
    ContractFeatures m_features;
};

[[nodiscard]] std::unique_ptr<ContractLadder> get_contract_ladder();

}  // namespace ximCORE::Pricing
