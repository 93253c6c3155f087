#include "core/modeling/black_scholes_term_structure_model.hpp"

#include <cmath>

#include "core/data/cache.hpp"
#include "core/data/surfaces/implied_volatility_surface.hpp"
#include "core/data/underlying.hpp"
#include "core/modeling/black_scholes_term_structure_mc_helper.hpp"
#include "core/modeling/model_dependencies.hpp"

namespace ximCORE::Modeling {

BlackScholesTermStructureModel::BlackScholesTermStructureModel(
    Toolbox::Date const& calibration_date)
    : Model(calibration_date, "BlackScholesTermStructureModel") {}

bool BlackScholesTermStructureModel::get_dependencies(
    std::vector<Data::Underlying*> const& underlyings,
    std::vector<Data::Currency*> const& currencies) {
    bool is_complete = Model::get_dependencies(underlyings, currencies);
    // Relied on: here a refused correlation makes the declaration incomplete
    if (!declare_correlations(c_get_calibration_date(), underlyings)) is_complete = false;
    return declare_volatility_surfaces(c_get_calibration_date(), underlyings) && is_complete;
}

bool BlackScholesTermStructureModel::s_calibrate_volatility(
    Toolbox::Date const& date, Data::Underlying const* underlying,
    Toolbox::Array1D<double> const& times, Toolbox::Array1D<double>& volatilities) {
    auto* const surface =
        Data::MarketDataCache::s_get().get_volatility_surface(date, underlying, Data::Level::error);
    if (surface == nullptr) return false;
    volatilities = Toolbox::Array1D<double>(times.c_get_size());
    double previous_time = 0.0;
    double previous_variance = 0.0;
    for (std::uint64_t interval = 0; interval < times.c_get_size(); ++interval) {
        double const time = times.get(interval);
        double const length = time - previous_time;
        if (length == 0.0) continue;  // no variance over an interval of length 0
        double const variance = surface->at_the_money_eval(time);
        volatilities.unsafe_get(interval) = std::sqrt((variance - previous_variance) / length);
        previous_time = time;
        previous_variance = variance;
    }
    return true;
}

std::unique_ptr<MCHelper> BlackScholesTermStructureModel::_new_MC_helper() {
    return std::make_unique<BlackScholesTermStructureMCHelper>();
}

}  // namespace ximCORE::Modeling
