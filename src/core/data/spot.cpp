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

bool Spot::aeval(Toolbox::AAD::Tape& tape, Toolbox::AAD::SweepType sweep, double& value,
                 double const& adjoint_in, double& adjoint_out) {
    if (sweep == Toolbox::AAD::SweepType::FORWARD) {
        if (!eval(value, Level::error)) return false;
        tape.dpush(value);
    } else {
        tape.dpop(value);
        adjoint_out += value * adjoint_in;  // Relied on: the adjoint of a spot is per relative move
                                            // of the shifted value
    }
    return true;
}

}  // namespace ximCORE::Data
