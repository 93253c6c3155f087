// The engine of `MCPricer`, of `MCAADPricer` and of the one-pass contract ladder, where contract
// and model allow.

#pragma once

#include <vector>

#include "core/pricing/contract_ladder.hpp"
#include "core/pricing/results.hpp"

namespace ximCORE::Contract {
class Contract;
}
namespace ximCORE::Modeling {
class MCHelper;
}

namespace ximCORE::Pricing::Block {

/// Adds the trials of a price and of its active sensitivities to `results`, on the calibrated
/// states of `helper`. False, with nothing added, where the reference engine has to run: a node
/// without steps, a model whose paths are not lognormal, a cross vanna (of which that engine keeps
/// the last trial alone), no threads.
[[nodiscard]] bool price(Contract::Contract const& contract, Modeling::MCHelper& helper,
                         Results& results);

/// Adds the trials of each point's price, on the central state. False as above, and without points.
[[nodiscard]] bool price(Contract::Contract const& contract, Modeling::MCHelper& helper,
                         std::vector<ContractLadderResults>& points);

/// Adds the trials of a price to `results`, and what they come to by forwards, volatilities,
/// correlations and Cholesky factor to the adjoints of `helper`, between the two sweeps of its
/// calibration. False as above.
[[nodiscard]] bool differentiate(Contract::Contract const& contract, Modeling::MCHelper& helper,
                                 Results& results);

}  // namespace ximCORE::Pricing::Block
