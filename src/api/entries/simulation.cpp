#include "ximAPI/simulation.hpp"

#include "core/pricing/options.hpp"

namespace ximAPI {

void SetSimulationEngine(SimulationEngine engine) {
    using ximCORE::Pricing::MCOptions;
    ximCORE::Pricing::MCPricerOptions::s_options.engine = engine == SimulationEngine::REFERENCE
                                                              ? MCOptions::Engine::reference
                                                              : MCOptions::Engine::automatic;
}

bool LastSimulationRanInBlocks() {
    return ximCORE::Pricing::MCPricerOptions::s_options.ran_in_blocks;
}

}  // namespace ximAPI
