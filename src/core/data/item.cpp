#include "core/data/item.hpp"

#include <algorithm>

#include "core/data/perturbation.hpp"

namespace ximCORE::Data {

MarketDataPerturbableItem::MarketDataPerturbableItem(MarketDataPerturbableItem const& other)
    : MarketDataItem(other), m_shifts(other.m_shifts) {}

void MarketDataPerturbableItem::push_back_perturbation_step(MarketDataPerturbationItem const& item,
                                                            std::size_t const& depth) {
    // Relied on: an item made after some pushes has fewer slots than the stack and starts at its
    // own depth.
    if (m_shifts.size() == depth) return;
    if (!_c_is_affected(item)) {
        m_shifts.emplace_back();
        return;
    }
    m_shifts.push_back(item.c_get_shift());
    for (auto* dependent : m_dependents) dependent->propagate_perturbation();
}

void MarketDataPerturbableItem::pop_back_perturbation_step(MarketDataPerturbationItem const&,
                                                           std::size_t const&) {
    if (!m_shifts.empty()) m_shifts.pop_back();
}

void MarketDataPerturbableItem::add_dependency_item(MarketDataPerturbableItem* item) {
    if (std::find(m_dependents.begin(), m_dependents.end(), item) == m_dependents.end())
        m_dependents.push_back(item);
}

void MarketDataPerturbableItem::propagate_perturbation() {
    m_dirty = true;
    for (auto* dependent : m_dependents) dependent->propagate_perturbation();
}

}  // namespace ximCORE::Data
