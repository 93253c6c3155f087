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

bool BlackScholesVolatility::aeval(Toolbox::AAD::Tape& tape, Toolbox::AAD::SweepType sweep,
                                   double& value, double const& adjoint_in, double* adjoint_out) {
    if (sweep == Toolbox::AAD::SweepType::FORWARD) {
        if (!eval(value)) return false;
        tape.dpush(value);
    } else {
        tape.dpop(value);
        if (adjoint_out != nullptr) *adjoint_out += adjoint_in;
    }
    return true;
}

}  // namespace ximCORE::Data
