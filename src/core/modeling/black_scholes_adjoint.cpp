// The adjoint half of the lognormal paths. Nothing goes on the tape: each step can be taken back
// from the value that it left in its cell.

#include "core/modeling/black_scholes_mc_helper.hpp"
#include "core/modeling/black_scholes_term_structure_mc_helper.hpp"
#include "core/pricing/results.hpp"

namespace ximCORE::Modeling {

using Toolbox::AAD::SweepType;
using Toolbox::AAD::Tape;

double& BlackScholesMCHelper::_get_vega_adjoint(std::uint64_t underlying) {
    auto& slot = _get_current().volatilities.unsafe_get(underlying);
    return static_cast<BlackScholesVolatilityModel&>(*slot.model).vega_adjoint;
}

bool BlackScholesMCHelper::acalibrate_internal_core(
    Tape&, SweepType sweep, Toolbox::Date const&,
    Contract::ContractInformation const& information) {
    return sweep == SweepType::BACKWARD || _c_has_quanto_cells(information);
}

void BlackScholesMCHelper::_adiffuse_internal(Tape&, SweepType sweep, bool antithetic,
                                              std::uint64_t) {
    if (m_nb_fixing_dates == 0) return;
    if (sweep == SweepType::FORWARD)
        for (std::uint64_t u = 0; u < m_nb_underlyings; ++u) _diffuse_underlying(u, antithetic);
    else
        for (std::uint64_t u = m_nb_underlyings; u-- > 0;) _adiffuse_underlying(u, antithetic);
}

void BlackScholesMCHelper::_adiffuse_underlying(std::uint64_t u, bool antithetic) {
    double const sigma = _c_get_volatility(u);
    double vega_adjoint = _get_vega_adjoint(u);
    PathInputs const path = _get_path_inputs(u);
    PathAdjoints const adjoints = _get_path_adjoints(u);
    double x_adjoint = 0.0;
    double drift_adjoint = 0.0;  // by the quanto drift
    for (std::uint64_t k = m_nb_fixing_dates; k-- > 0;) {
        auto& cell = path.cells[k];
        if (cell.opened) {
            double const p = cell.get_adjoint(antithetic) * cell.get_value(antithetic);
            x_adjoint += p;
            adjoints.forwards[k] += p / path.forwards[k];
        }
        drift_adjoint += sigma * path.time_steps[k] * x_adjoint;
        adjoints.normal(k) += sigma * path.sqrt_time_steps[k] * x_adjoint;
        // Relied on: the vega of a quanto underlying leaves out what its drift gains by its
        // volatility
        vega_adjoint +=
            (path.normal(k) * path.sqrt_time_steps[k] - sigma * path.time_steps[k]) * x_adjoint;
    }
    _get_vega_adjoint(u) = vega_adjoint;
    _add_quanto_adjoints(u, drift_adjoint);
}

void BlackScholesMCHelper::_add_step_adjoints(std::uint64_t u, std::span<StepAdjoint const> steps) {
    double const sigma = _c_get_volatility(u);
    double drift_adjoint = 0.0;
    for (std::size_t k = steps.size(); k-- > 0;) {
        double const variance_step = sigma * m_time_steps.at(k) * steps[k].x;
        drift_adjoint += variance_step;
        _get_vega_adjoint(u) += m_sqrt_time_steps.at(k) * steps[k].normal - variance_step;
    }
    _add_quanto_adjoints(u, drift_adjoint);
}

void BlackScholesMCHelper::_add_quanto_adjoints(std::uint64_t u, double drift_adjoint) {
    auto const rate = _c_get_quanto_rate(u);
    if (!rate) return;
    std::uint64_t const row = _c_get_equity_like_index(*rate);
    std::uint64_t const column = _c_get_equity_like_index(u);
    m_correlation_adjoints.unsafe_get(row, column) += _c_get_volatility(*rate) * drift_adjoint;
    _get_vega_adjoint(*rate) += _c_get_correlation(row, column) * drift_adjoint;
}

void BlackScholesMCHelper::c_accumulate_vega(
    Toolbox::Array1D<Pricing::RowGreekResult>& rows) const {
    auto const& slots = c_get_current().volatilities;
    std::uint64_t const size = std::min(rows.c_get_size(), slots.c_get_size());
    for (std::uint64_t u = 0; u < size; ++u) {
        auto const& model = static_cast<BlackScholesVolatilityModel const&>(*slots.get(u).model);
        rows.unsafe_get(u).result += model.vega_adjoint;
    }
}

void BlackScholesTermStructureMCHelper::_adiffuse_internal(Tape&, SweepType sweep, bool antithetic,
                                                           std::uint64_t) {
    if (m_nb_fixing_dates == 0) return;
    if (sweep == SweepType::FORWARD)
        for (std::uint64_t u = 0; u < m_nb_underlyings; ++u) _diffuse_underlying(u, antithetic);
    else
        for (std::uint64_t u = m_nb_underlyings; u-- > 0;) _adiffuse_underlying(u, antithetic);
}

void BlackScholesTermStructureMCHelper::_adiffuse_underlying(std::uint64_t u, bool antithetic) {
    auto& volatility = _get_volatility(u);
    if (volatility.vega_adjoints.c_get_size() < m_nb_fixing_dates)
        Toolbox::raise_segmentation_fault();
    double const* const sigmas = volatility.volatilities.begin();
    double* const vega_adjoints = volatility.vega_adjoints.begin();
    PathInputs const path = _get_path_inputs(u);
    PathAdjoints const adjoints = _get_path_adjoints(u);
    double x_adjoint = 0.0;
    for (std::uint64_t k = m_nb_fixing_dates; k-- > 0;) {
        auto& cell = path.cells[k];
        if (cell.opened) {
            double const p = cell.get_adjoint(antithetic) * cell.get_value(antithetic);
            x_adjoint += p;
            adjoints.forwards[k] += p / path.forwards[k];
        }
        adjoints.normal(k) += sigmas[k] * path.sqrt_time_steps[k] * x_adjoint;
        vega_adjoints[k] +=
            (path.normal(k) * path.sqrt_time_steps[k] - sigmas[k] * path.time_steps[k]) * x_adjoint;
    }
}

void BlackScholesTermStructureMCHelper::_add_step_adjoints(std::uint64_t u,
                                                           std::span<StepAdjoint const> steps) {
    auto& volatility = _get_volatility(u);
    if (volatility.vega_adjoints.c_get_size() < steps.size()) Toolbox::raise_segmentation_fault();
    for (std::size_t k = steps.size(); k-- > 0;)
        volatility.vega_adjoints.unsafe_get(k) +=
            m_sqrt_time_steps.at(k) * steps[k].normal -
            volatility.volatilities.get(k) * m_time_steps.at(k) * steps[k].x;
}

}  // namespace ximCORE::Modeling
