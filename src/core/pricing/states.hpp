// The market moves of the bumped states: what a state of `Modeling::bump.hpp` pushes on the
// scenario, for the engines that calibrate under it and for the one that prices under it.

#pragma once

#include <cstddef>
#include <vector>

#include "core/contract/information.hpp"
#include "core/data/perturbation.hpp"
#include "core/pricing/greek.hpp"

namespace ximCORE::Pricing {

/// The moves of state `bump` at index i, or at the pair (i, j), in the order of its name, each by
/// its bump of the setting. Spots move by a fraction of themselves, all else by an amount. The
/// objects moved are those of `information`, which must hold the indices.
[[nodiscard]] std::vector<Data::MarketDataPerturbationItem> make_perturbations(
    Contract::ContractInformation const& information, Greek const& greek,
    GreekSetting const& setting, Modeling::Bump bump, std::size_t i, std::size_t j);

}  // namespace ximCORE::Pricing
