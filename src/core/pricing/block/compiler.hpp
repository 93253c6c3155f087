// From the tree of a contract to its flat program. Names become slots, constants are folded, equal
// steps are taken once, conditions become masks.

#pragma once

#include <cstdint>
#include <optional>
#include <span>

#include "core/pricing/block/program.hpp"

namespace ximCORE::Contract {
class CashFlow;
}
namespace ximCORE::Modeling {
class FixingGrid;
}

namespace ximCORE::Pricing::Block {

struct CompilerSettings {
    /// [payment date], where all states of a run share them; empty: they are inputs.
    std::span<double const> discount_factors;
    /// Named constants that are inputs: the places of their numbers, in ascending order. Others are
    /// constants.
    std::span<double const* const> inputs;
    /// Steps that no input moves go to the prologue.
    bool with_prologue{false};
    /// Steps that give the derivatives by all cells follow. Not with a prologue.
    bool with_adjoints{false};
};

/// Nothing for a contract that the block engine does not take: a node without steps, more than 64
/// amounts to sort, conditions nested deeper than 500, more than 200,000 instructions. `grid`: that
/// of a calibrated helper; values that no path moves are read from it. Ranks are set.
[[nodiscard]] std::optional<Program> compile(Contract::CashFlow const& cashflow,
                                             Modeling::FixingGrid& grid,
                                             CompilerSettings const& settings);

}  // namespace ximCORE::Pricing::Block
