#include "core/data/surfaces/black_scholes_volatility.hpp"

#include "core/data/missing.hpp"
#include "core/data/perturbation.hpp"
#include "core/data/underlying.hpp"

namespace ximCORE::Data {

bool BlackScholesVolatility::_c_is_affected(MarketDataPerturbationItem const& item) const {
    return item.c_affects(PerturbationTarget::volatility, m_underlying);
}

bool BlackScholesVolatility::c_has_val(Level level) {
    if (c_is_set()) return true;
    if (!is_reported(level) || !m_underlying->c_has_ticker(level)) return false;
    if (s_set_default_value) {
        set_val(0.0F);
        level = Level::warning;
    }
    missing_text(level, "Cannot find Black-Scholes volatility at '", c_get_date().c_str(),
                 "' for underlying with ticker '", m_underlying->c_str(), "'");
    return c_is_set();
}

}  // namespace ximCORE::Data
