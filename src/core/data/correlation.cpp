#include "core/data/correlation.hpp"

#include "core/data/missing.hpp"
#include "core/data/perturbation.hpp"
#include "core/data/underlying.hpp"

namespace ximCORE::Data {

bool Correlation::_c_is_affected(MarketDataPerturbationItem const& item) const {
    return item.c_affects(m_first, m_second);
}

bool Correlation::c_has_val(Level level) {
    if (c_is_set()) return true;
    if (!is_reported(level)) return false;
    if (!m_first->c_has_ticker(level) || !m_second->c_has_ticker(level)) return false;
    if (s_set_default_value) set_val(0.0F);
    missing_text(c_is_set() ? Level::warning : level, "Cannot find value for correlation of pair '",
                 m_first->c_str(), "-", m_second->c_str(), "'");
    return c_is_set();
}

}  // namespace ximCORE::Data
