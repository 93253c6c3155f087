#include "core/modeling/black_scholes_mc_helper.hpp"

#include <cmath>

#include "core/modeling/black_scholes_model.hpp"

namespace ximCORE::Modeling {

BlackScholesMCHelper::BlackScholesMCHelper() : MCHelper(1, 0, false) {}

std::unique_ptr<MCHelper> BlackScholesMCHelper::c_clone() const {
    return std::make_unique<BlackScholesMCHelper>(*this);
}

bool BlackScholesMCHelper::_c_calibrate_equity_like_volatility_internal(
    Toolbox::Date const& date, Contract::ContractInformation const&,
    Data::Underlying const* underlying, std::unique_ptr<VolatilityModel>& slot) const {
    auto model = std::make_unique<BlackScholesVolatilityModel>();
    if (!BlackScholesModel::s_calibrate_volatility(date, underlying, model->volatility))
        return false;
    slot = std::move(model);
    return true;
}

double BlackScholesMCHelper::_c_get_volatility(std::uint64_t underlying) const {
    auto const& slot = c_get_current().volatilities.get(underlying);
    return static_cast<BlackScholesVolatilityModel const&>(*slot.model).volatility;
}

double BlackScholesMCHelper::_c_get_quanto_drift(std::uint64_t underlying) const {
    auto const rate = _c_get_quanto_rate(underlying);
    return rate ? _c_get_correlation(_c_get_equity_like_index(*rate),
                                     _c_get_equity_like_index(underlying)) *
                      _c_get_volatility(*rate)
                : 0.0;
}

bool BlackScholesMCHelper::c_get_lognormal_steps(std::uint64_t underlying,
                                                 std::vector<double>& diffusions,
                                                 std::vector<double>& drifts) const {
    double const sigma = _c_get_volatility(underlying);
    double const drift = _c_get_quanto_drift(underlying) - sigma * 0.5;
    diffusions.clear();
    drifts.clear();
    for (std::uint64_t k = 0; k < m_nb_fixing_dates; ++k) {
        diffusions.push_back(m_sqrt_time_steps.at(k) * sigma);
        drifts.push_back(drift * m_time_steps.at(k) * sigma);
    }
    return true;
}

void BlackScholesMCHelper::_diffuse_internal(std::uint64_t) {
    if (m_nb_fixing_dates == 0) return;
    for (std::uint64_t u = 0; u < m_nb_underlyings; ++u) _diffuse_underlying(u, false);
}

void BlackScholesMCHelper::_diffuse_underlying(std::uint64_t u, bool antithetic) {
    double const sigma = _c_get_volatility(u);
    double const drift = _c_get_quanto_drift(u) - sigma * 0.5;
    PathInputs const path = _get_path_inputs(u);
    double x = 0.0;
    for (std::uint64_t k = 0; k < m_nb_fixing_dates; ++k) {
        x += (path.normal(k) * path.sqrt_time_steps[k] + drift * path.time_steps[k]) * sigma;
        auto& cell = path.cells[k];
        if (cell.opened) cell.get_value(antithetic) = std::exp(x) * path.forwards[k];
        if (cell.closed) break;
    }
}

}  // namespace ximCORE::Modeling
