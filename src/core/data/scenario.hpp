// The stack of shifts in force. Pushed and popped on the pricing thread, between runs.

#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "core/data/perturbation.hpp"

namespace ximCORE::Data {

/// What the volatility surface keeps when the spot moves.
enum class SpotVolatilityDynamic : std::uint8_t { sticky_strike, sticky_delta, sticky_option };

class MarketDataScenario {
 public:
    inline static SpotVolatilityDynamic s_spot_volatility_dynamic_kind{
        SpotVolatilityDynamic::sticky_strike};

    /// The one scenario of the process.
    static MarketDataScenario& s_get();

    /// Cost: one step per item of the cache.
    void push_back(MarketDataPerturbationItem const& item);
    void push_back(std::vector<MarketDataPerturbationItem> const& items);
    /// Takes the last item off; nothing when there is none.
    void pop_back();
    /// Pops once per element of `items`, whatever they are.
    void pop_back(std::vector<MarketDataPerturbationItem> const& items);
    void clear();

    std::vector<MarketDataPerturbationItem>& get_perturbation_items() { return m_items; }
    std::vector<MarketDataPerturbationItem> const& c_get_perturbation_items() const {
        return m_items;
    }
    std::size_t c_get_size() const { return m_items.size(); }

 private:
    std::vector<MarketDataPerturbationItem> m_items;
};

}  // namespace ximCORE::Data
