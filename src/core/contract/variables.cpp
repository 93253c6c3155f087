#include "core/contract/variables.hpp"

#include <algorithm>

#include "core/toolbox/errors.hpp"

namespace ximCORE::Contract {

Variables::Variables(std::vector<std::string> names)
    : m_names(std::make_shared<std::vector<std::string> const>(std::move(names))),
      m_slots(m_names->size()) {}

Variables& Variables::operator=(Variables const& other) {
    if (m_names != other.m_names) m_names = other.m_names;
    m_slots = other.m_slots;
    return *this;
}

void Variables::clear() {
    std::ranges::fill(m_slots, Slot{});
}

double const* Variables::c_find(std::string_view name) const {
    if (m_names == nullptr) return nullptr;
    auto const found = std::ranges::find(*m_names, name);
    if (found == m_names->end()) return nullptr;
    auto const& slot = m_slots[static_cast<std::size_t>(found - m_names->begin())];
    return slot.present ? &slot.value : nullptr;
}

void Variables::raise_unknown_rank() {
    Toolbox::raise_segmentation_fault();
}

}  // namespace ximCORE::Contract
