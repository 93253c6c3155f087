#include "core/modeling/black_scholes_model.hpp"

#include <cmath>
#include <tuple>

#include "core/data/cache.hpp"
#include "core/data/surfaces/black_scholes_volatility.hpp"
#include "core/data/surfaces/implied_volatility_surface.hpp"
#include "core/data/underlying.hpp"
#include "core/modeling/black_scholes_mc_helper.hpp"
#include "core/modeling/black_scholes_pde_helper.hpp"
#include "core/modeling/model_dependencies.hpp"
#include "core/toolbox/log.hpp"

namespace ximCORE::Modeling {

namespace {

using Toolbox::Log;

bool calibrate_manual(Toolbox::Date const& date, Data::Underlying const* underlying,
                      double& volatility) {
    auto* const quote = Data::MarketDataCache::s_get().get_blackscholes_volatility(
        date, underlying, Data::Level::error);
    return quote != nullptr && quote->eval(volatility);
}

bool calibrate_at_the_money_forward(Toolbox::Date const& date, Data::Underlying const* underlying,
                                    double& volatility) {
    Toolbox::Date const maturity = date.c_shift(BlackScholesModel::s_calibration_tenor);
    double const t = underlying->c_get_day_counter().c_year_fraction(date, maturity);
    if (t == 0.0) {
        Log::s_log(Log::Level::ERROR, "Cannot calibrate volatility with an empty tenor");
        return false;
    }
    auto* const surface =
        Data::MarketDataCache::s_get().get_volatility_surface(date, underlying, Data::Level::error);
    if (surface == nullptr) return false;
    volatility = std::sqrt(surface->at_the_money_eval(t) / t);
    return true;
}

}  // namespace

BlackScholesModel::BlackScholesModel(Toolbox::Date const& calibration_date)
    : Model(calibration_date, "BlackScholesModel") {}

bool BlackScholesModel::get_dependencies(std::vector<Data::Underlying*> const& underlyings,
                                         std::vector<Data::Currency*> const& currencies) {
    bool const is_complete = Model::get_dependencies(underlyings, currencies);
    // Relied on: a refused correlation does not make the declaration incomplete
    std::ignore = declare_correlations(c_get_calibration_date(), underlyings);
    switch (s_calibration_kind) {
        case CalibrationKind::manual:
            return declare_black_scholes_volatilities(c_get_calibration_date(), underlyings) &&
                   is_complete;
        case CalibrationKind::at_the_money_forward:
            return declare_volatility_surfaces(c_get_calibration_date(), underlyings) &&
                   is_complete;
        default:
            return false;
    }
}

bool BlackScholesModel::s_calibrate_volatility(Toolbox::Date const& date,
                                               Data::Underlying const* underlying,
                                               double& volatility) {
    switch (s_calibration_kind) {
        case CalibrationKind::manual:
            return calibrate_manual(date, underlying, volatility);
        case CalibrationKind::at_the_money_forward:
            return calibrate_at_the_money_forward(date, underlying, volatility);
        default:
            return false;
    }
}

std::unique_ptr<MCHelper> BlackScholesModel::_new_MC_helper() {
    return std::make_unique<BlackScholesMCHelper>();
}

std::unique_ptr<PDEHelper> BlackScholesModel::_new_PDE_helper() {
    return std::make_unique<BlackScholesPDEHelper>();
}

}  // namespace ximCORE::Modeling
