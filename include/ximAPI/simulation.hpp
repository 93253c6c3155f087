// Which of the two engines of the simulation runs: a switch for those who compare or debug them.

#pragma once

#include "ximAPI/export.hpp"

namespace ximAPI {

/// AUTOMATIC works on blocks of paths where contract and model allow, and path by path elsewhere.
/// REFERENCE always works path by path. Prices agree to rounding.
enum class SimulationEngine { AUTOMATIC, REFERENCE };

/// For all calls of the process from now on.
XIM_EXPORT void SetSimulationEngine(SimulationEngine engine);

/// Whether the last simulation worked on blocks of paths.
[[nodiscard]] XIM_EXPORT bool LastSimulationRanInBlocks();

}  // namespace ximAPI
