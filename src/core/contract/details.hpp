// What one walk of a path leaves behind beside its payments: the fixings and conditions that the
// path met, and where it ended. `CashFlow::eval_details` fills it; its bodies stand in
// details_*.cpp.
#pragma once

#include <cstdint>

#include "core/toolbox/containers.hpp"

namespace ximCORE::Contract {

/// The level of a fixing that the path met.
struct FixingDetail {
    double value{0.0};
    bool set{false};
};

/// Whether a condition that the path met holds, 1 or 0.
struct EventDetail {
    std::uint8_t value{0};
    bool set{false};
};

/// [fixing rank], of `CashFlow::scan_fixings`. A fixing that stands in several places is one slot.
using FixingDetails = Toolbox::Array1D<FixingDetail>;
/// [event rank], of `CashFlow::scan_barriers`. Relied on: an event that two conditions share is
/// noted at the later of its ranks alone.
using EventDetails = Toolbox::Array1D<EventDetail>;

}  // namespace ximCORE::Contract
