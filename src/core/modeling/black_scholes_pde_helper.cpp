#include "core/modeling/black_scholes_pde_helper.hpp"

#include <cmath>

#include "core/data/equity_like.hpp"
#include "core/data/underlying.hpp"
#include "core/modeling/black_scholes_model.hpp"
#include "core/toolbox/log.hpp"
#include "core/toolbox/math.hpp"
#include "core/toolbox/pde/black_scholes.hpp"

namespace ximCORE::Modeling {

namespace {

using Toolbox::Math;

constexpr std::int32_t c_min_grid_size = 3;
constexpr std::int32_t c_max_grid_size = 1'000'000;

/// The level as a fraction; above 1 it is a percentage.
double quantile_level() {
    auto const level = static_cast<double>(BlackScholesPDEHelper::s_quantile_level);
    return level > 1.0 ? Math::get_absolute(level) : level;
}

bool check(bool valid, char const* key) {
    if (!valid) Toolbox::Log::s_log(Toolbox::Log::Level::ERROR, "Invalid ", key);
    return valid;
}

}  // namespace

bool BlackScholesPDEHelper::s_check_settings() {
    double const level = quantile_level();
    return check(s_grid_size >= c_min_grid_size && s_grid_size <= c_max_grid_size,
                 "BlackScholesFiniteDifferenceGridSize") &&
           check(level > 0.0 && level < 1.0, "BlackScholesFiniteDifferenceConfidenceLevel") &&
           check(s_time_step >= 1, "FiniteDifferenceTimeStep");
}

BlackScholesPDEHelper::BlackScholesPDEHelper()
    : PDEHelper(1, 0, std::make_unique<Toolbox::XTPDEBlackScholesConstant>()) {}

void BlackScholesPDEHelper::calibrate_solver() {
    static_cast<Toolbox::XTPDEBlackScholesConstant&>(_get_solver())
        .init_coefficients(_c_get_volatility());
}

Toolbox::Grid BlackScholesPDEHelper::c_eval(Toolbox::Date const& date,
                                            Data::Underlying const* underlying) const {
    if (underlying == nullptr || !underlying->c_is_equity_like()) return {};
    auto const index = [](short rank) {  // a negative rank becomes one that no array holds
        return static_cast<std::uint64_t>(std::int64_t{rank});
    };
    double const forward = c_get_current().forwards.get(index(underlying->c_get_rank()),
                                                        index(date.c_get_fixing_rank()));
    return c_get_grid().exp() * forward;
}

bool BlackScholesPDEHelper::_c_calibrate_equity_like_volatility_internal(
    Toolbox::Date const& date, Contract::ContractInformation const&,
    Data::Underlying const* underlying, std::unique_ptr<VolatilityModel>& slot) const {
    auto model = std::make_unique<BlackScholesVolatilityModel>();
    if (!BlackScholesModel::s_calibrate_volatility(date, underlying, model->volatility))
        return false;
    slot = std::move(model);
    return true;
}

bool BlackScholesPDEHelper::calibrate_model(Toolbox::Date const&,
                                            Contract::ContractInformation const&) {
    if (!s_check_settings()) return false;
    double const z = Math::cdfnorm_inv((quantile_level() + 1.0) * 0.5);
    double const sigma = _c_get_volatility();
    double const variance = sigma * sigma * c_get_solver().c_get_times().back();
    bool const is_open = variance > 0.0;
    m_lower_bound = is_open ? -z * std::sqrt(variance) - 0.5 * variance : -1.0;
    m_upper_bound = is_open ? z * std::sqrt(variance) - 0.5 * variance : 1.0;
    return true;
}

void BlackScholesPDEHelper::_set_space_grid() {
    _get_solver().set_space_grid(
        {{.size = s_grid_size, .lower = m_lower_bound, .upper = m_upper_bound}});
}

double BlackScholesPDEHelper::_c_get_volatility() const {
    auto const& volatilities = c_get_current().volatilities;
    if (m_nb_underlyings == 0 || volatilities.c_get_size() == 0) return 0.0;
    auto const& slot = volatilities.get(0);
    return slot.model == nullptr
               ? 0.0
               : static_cast<BlackScholesVolatilityModel const&>(*slot.model).volatility;
}

}  // namespace ximCORE::Modeling
