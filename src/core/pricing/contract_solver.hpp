// Which value of a contract's named features makes it worth a given price? A grid of values is
// priced through one contract ladder, in the usual case in a single simulation, and the solution is
// interpolated between the two grid points whose prices bracket the target.

#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "core/pricing/contract_ladder.hpp"

namespace ximCORE::Pricing {

/// A feature to solve for: name and grid in, solution out.
struct ContractSolverFeature {
    std::string name;
    double min{0.0};
    double max{0.0};
    std::uint64_t size{0};  ///< grid points from `min` to `max`; 1 is `max` alone
    double root{0.0};
    double lower{0.0};  ///< the smaller of the two grid values
    double upper{0.0};
};

struct ContractSolverResults {
    std::vector<ContractSolverFeature> features;
    double target{0.0};  ///< price to reach, in the contract's currency
    double lower_price{0.0};
    double upper_price{0.0};
};

class ContractSolver final : public IPricer {
 public:
    /// Prices all combinations of the grids and interpolates linearly, once. With several features
    /// the two neighbours in price may lie far apart in the grid: each feature is interpolated
    /// between its own values there. False after an ERROR record "Bounds too tight" when the prices
    /// do not bracket the target, or one is no number, and "Too many points" beyond 1,000,000
    /// combinations; false with the ladder's records when it fails. Throws `std::out_of_range` when
    /// a feature of size 0 stands beside others.
    [[nodiscard]] bool run(Contract::Contract& contract, Modeling::Model* model) override;

    [[nodiscard]] ContractSolverResults& get_results() { return m_results; }

 protected:
    [[nodiscard]] bool run_internal(Contract::Contract&, Modeling::Model*) override;

 private:
    void _interpolate(ContractLadderResults const& below, ContractLadderResults const& above);

    ContractSolverResults m_results;
};

}  // namespace ximCORE::Pricing
