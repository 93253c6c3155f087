// A market state as the block engine reads it from a calibrated helper.

#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace ximCORE::Modeling {
class MCHelper;
}

namespace ximCORE::Pricing::Block {

/// The market of a state, as far as paths and payments see it. A bumped state holds what it has in
/// common with the central one by the same pointers.
struct State {
    /// The path of one underlying: x += diffusion[step] sum_j loading[j] z[step][j] + drift[step],
    /// and the level is e^x times the forward.
    struct Path {
        std::vector<double> loadings;
        std::vector<double> diffusions;
        std::vector<double> drifts;

        bool operator==(Path const&) const = default;
    };
    using Forwards = std::vector<double>;  ///< [fixing date]

    std::vector<std::shared_ptr<Path const>> paths;         ///< [underlying]
    std::vector<std::shared_ptr<Forwards const>> forwards;  ///< [underlying]
    std::vector<double> discount_factors;                   ///< [payment date]

    /// The state in force of a helper; `central` is the one to share with, if there is one. False
    /// for a model whose paths are not lognormal.
    [[nodiscard]] bool read(Modeling::MCHelper const& helper, State const* central = nullptr);

    /// How the levels of an underlying differ from those of the state that this one shares with.
    enum class Change : std::uint8_t { none, forward, path };
    [[nodiscard]] Change c_get_change(State const& central, std::size_t underlying) const {
        if (paths[underlying] != central.paths[underlying]) return Change::path;
        return forwards[underlying] != central.forwards[underlying] ? Change::forward
                                                                    : Change::none;
    }
};

}  // namespace ximCORE::Pricing::Block
