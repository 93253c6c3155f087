#include "core/modeling/black_scholes_term_structure_mc_helper.hpp"

#include <cmath>

#include "core/modeling/black_scholes_term_structure_model.hpp"

namespace ximCORE::Modeling {

BlackScholesTermStructureMCHelper::BlackScholesTermStructureMCHelper() : MCHelper(1, 0, false) {}

std::unique_ptr<MCHelper> BlackScholesTermStructureMCHelper::c_clone() const {
    return std::make_unique<BlackScholesTermStructureMCHelper>(*this);
}

bool BlackScholesTermStructureMCHelper::_c_calibrate_equity_like_volatility_internal(
    Toolbox::Date const& date, Contract::ContractInformation const&,
    Data::Underlying const* underlying, std::unique_ptr<VolatilityModel>& slot) const {
    Toolbox::Array1D<double> times(m_fixing_steps.size());
    for (std::size_t fixing = 0; fixing < m_fixing_steps.size(); ++fixing)
        times.unsafe_get(fixing) = m_times.at(m_fixing_steps[fixing]);
    auto model = std::make_unique<BlackScholesTermStructureVolatilityModel>();
    if (!BlackScholesTermStructureModel::s_calibrate_volatility(date, underlying, times,
                                                                model->volatilities))
        return false;
    model->vega_adjoints = Toolbox::Array1D<double>(model->volatilities.c_get_size());
    slot = std::move(model);
    return true;
}

bool BlackScholesTermStructureMCHelper::c_get_lognormal_steps(std::uint64_t underlying,
                                                              std::vector<double>& diffusions,
                                                              std::vector<double>& drifts) const {
    auto const& slot = c_get_current().volatilities.get(underlying);
    auto const& sigmas =
        static_cast<BlackScholesTermStructureVolatilityModel const&>(*slot.model).volatilities;
    diffusions.clear();
    drifts.clear();
    for (std::uint64_t k = 0; k < m_nb_fixing_dates; ++k) {
        double const sigma = sigmas.get(k);
        diffusions.push_back(m_sqrt_time_steps.at(k) * sigma);
        drifts.push_back((0.0 - sigma * 0.5) * m_time_steps.at(k) * sigma);
    }
    return true;
}

BlackScholesTermStructureVolatilityModel& BlackScholesTermStructureMCHelper::_get_volatility(
    std::uint64_t underlying) {
    auto& slot = _get_current().volatilities.unsafe_get(underlying);
    auto& model = static_cast<BlackScholesTermStructureVolatilityModel&>(*slot.model);
    if (model.volatilities.c_get_size() < m_nb_fixing_dates) Toolbox::raise_segmentation_fault();
    return model;
}

void BlackScholesTermStructureMCHelper::_diffuse_internal(std::uint64_t) {
    if (m_nb_fixing_dates == 0) return;
    for (std::uint64_t u = 0; u < m_nb_underlyings; ++u) _diffuse_underlying(u, false);
}

void BlackScholesTermStructureMCHelper::_diffuse_underlying(std::uint64_t u, bool antithetic) {
    double const* const sigmas = _get_volatility(u).volatilities.begin();
    PathInputs const path = _get_path_inputs(u);
    double x = 0.0;
    for (std::uint64_t k = 0; k < m_nb_fixing_dates; ++k) {
        double const sigma = sigmas[k];
        // Relied on: no quanto drift, whatever the underlying
        x += ((0.0 - sigma * 0.5) * path.time_steps[k] + path.sqrt_time_steps[k] * path.normal(k)) *
             sigma;
        auto& cell = path.cells[k];
        if (cell.opened) cell.get_value(antithetic) = std::exp(x) * path.forwards[k];
        if (cell.closed) break;
    }
}

}  // namespace ximCORE::Modeling
