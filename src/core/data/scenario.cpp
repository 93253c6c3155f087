#include "core/data/scenario.hpp"

#include "core/data/cache.hpp"

namespace ximCORE::Data {

MarketDataScenario& MarketDataScenario::s_get() {
    static MarketDataScenario scenario;
    return scenario;
}

void MarketDataScenario::push_back(MarketDataPerturbationItem const& item) {
    m_items.push_back(item);
    MarketDataCache::s_get().push_back_perturbation_item(item, m_items.size());
}

void MarketDataScenario::push_back(std::vector<MarketDataPerturbationItem> const& items) {
    for (auto const& item : items) push_back(item);
}

void MarketDataScenario::pop_back() {
    if (m_items.empty()) return;
    MarketDataCache::s_get().pop_back_perturbation_item(m_items.back(), m_items.size() - 1);
    m_items.pop_back();
}

void MarketDataScenario::pop_back(std::vector<MarketDataPerturbationItem> const& items) {
    for (std::size_t i = 0; i < items.size(); ++i) pop_back();
}

void MarketDataScenario::clear() {
    m_items.clear();
    MarketDataCache::s_get().clear_perturbation_items();
}

}  // namespace ximCORE::Data
