#include "core/data/spot.hpp"

#include "core/data/missing.hpp"
#include "core/data/perturbation.hpp"
#include "core/data/underlying.hpp"

namespace ximCORE::Data {

bool Spot::_c_is_affected(MarketDataPerturbationItem const& item) const {
    return item.c_affects(PerturbationTarget::spot, m_underlying);
}

bool Spot::c_has_val(Level level) {
    if (c_is_set()) return true;
    if (!is_reported(level) || !m_underlying->c_has_ticker(level)) return false;
    bool const is_rate = m_underlying->c_get_asset_class() == AssetClass::exchange_rate;
    if (is_rate && s_set_default_fx_value)
        set_val(1.0F);
    else if (s_set_default_value)
        set_val(0.0F);
    missing_text(c_is_set() ? Level::warning : level, "Cannot find spot at '", c_get_date().c_str(),
                 "' for underlying with ticker '", m_underlying->c_str(), "'");
    return c_is_set();
}

}  // namespace ximCORE::Data
