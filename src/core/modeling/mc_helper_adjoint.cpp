// The adjoint half of the simulation's frame: the backward sweeps of a path and of the calibration,
// and what becomes of the derivatives.

#include <algorithm>
#include <cstddef>

#include "core/contract/information.hpp"
#include "core/data/cache.hpp"
#include "core/data/curves/forward_curve.hpp"
#include "core/data/underlying.hpp"
#include "core/modeling/mc_helper.hpp"
#include "core/pricing/options.hpp"
#include "core/pricing/results.hpp"
#include "core/toolbox/cholesky.hpp"
#include "core/toolbox/log.hpp"

namespace ximCORE::Modeling {

using Toolbox::AAD::SweepType;
using Toolbox::AAD::Tape;

namespace {

/// Adds element by element; other shapes raise `SegmentationFaultException`.
void add_elements(auto& target, auto const& source) {
    auto const size = source.end() - source.begin();
    if (target.end() - target.begin() != size) Toolbox::raise_segmentation_fault();
    std::transform(source.begin(), source.end(), target.begin(), target.begin(), std::plus<>());
}

}  // namespace

void MCHelper::adiffuse(Tape& tape, SweepType sweep, bool antithetic, std::uint64_t trial) {
    if (_c_get_nb_factors() == 0) return;
    double const* const normals =
        m_time_steps.empty() ? nullptr : c_get_normals()->c_get_slice(trial);
    // the other side of a trial may have overwritten them since the forward sweep
    if (normals != nullptr) _correlate(normals);
    _adiffuse_internal(tape, sweep, antithetic, trial);
    if (normals != nullptr && sweep == SweepType::BACKWARD) _acorrelate(normals);
}

void MCHelper::_acorrelate(double const* normals) {
    std::uint64_t const factors = _c_get_nb_factors();
    if (m_cholesky_adjoints.c_get_side() != factors ||
        m_correlated_normal_adjoints.c_get_rows() != m_time_steps.size())
        Toolbox::raise_segmentation_fault();
    double* adjoint = m_correlated_normal_adjoints.end();
    double const* step = normals + m_correlated_normal_adjoints.c_get_rows() * factors;
    while (adjoint != m_correlated_normal_adjoints.begin()) {
        step -= factors;
        double* cell = m_cholesky_adjoints.end();
        for (std::uint64_t factor = factors; factor-- > 0;) {
            double const weight = *--adjoint;
            for (std::uint64_t j = factor + 1; j-- > 0;) *--cell += step[j] * weight;
            *adjoint = 0.0;
        }
    }
}

void MCHelper::_adiffuse_internal(Tape&, SweepType, bool, std::uint64_t) {}

MCHelper::PathAdjoints MCHelper::_get_path_adjoints(std::uint64_t underlying) {
    if (m_forward_adjoints.c_get_cols() < m_nb_fixing_dates ||
        m_correlated_normal_adjoints.c_get_rows() < m_nb_fixing_dates)
        Toolbox::raise_segmentation_fault();
    return {&m_correlated_normal_adjoints.unsafe_get(0, _c_get_equity_like_index(underlying)),
            m_correlated_normal_adjoints.c_get_cols(),
            &m_forward_adjoints.unsafe_get(underlying, 0)};
}

void MCHelper::_add_step_adjoints(std::uint64_t, std::span<StepAdjoint const>) {}

void MCHelper::add_lognormal_adjoints(std::uint64_t underlying, std::span<double const> levels,
                                      std::span<double const> normals) {
    std::vector<double> diffusions;
    std::vector<double> drifts;
    if (!c_get_lognormal_steps(underlying, diffusions, drifts)) return;
    std::uint64_t const own = _c_get_equity_like_index(underlying);
    if (diffusions.size() < levels.size() || m_forward_adjoints.c_get_cols() < levels.size() ||
        normals.size() != levels.size() * (own + 1))
        Toolbox::raise_segmentation_fault();
    auto const& forwards = c_get_current().forwards;
    std::vector<StepAdjoint> steps(levels.size());
    double x = 0.0;
    for (std::size_t k = levels.size(); k-- > 0;) {
        if (m_fixing_grid.c_get_equity_like().get(k, underlying).opened)
            m_forward_adjoints.unsafe_get(underlying, k) += levels[k] / forwards.get(underlying, k);
        steps[k].x = x += levels[k];
        for (std::uint64_t j = 0; j <= own; ++j) {
            double const normal = normals[k * (own + 1) + j];
            steps[k].normal += c_get_cholesky().get(own, j) * normal;
            m_cholesky_adjoints.unsafe_get(own, j) += diffusions[k] * normal;
        }
    }
    _add_step_adjoints(underlying, steps);
}

bool MCHelper::acalibrate_internal(Tape& tape, SweepType sweep, Toolbox::Date const& date,
                                   Contract::ContractInformation const& information) {
    if (sweep == SweepType::BACKWARD)
        return acalibrate_internal_core(tape, sweep, date, information) &&
               _acalibrate_currency_yield_curve(sweep, date, information) &&
               _acalibrate_equity_like_forward_curve(tape, sweep, date, information) &&
               _acalibrate_correlation_matrix(tape, sweep, date, information);
    if (!_acalibrate_correlation_matrix(tape, sweep, date, information) ||
        !_acalibrate_equity_like_forward_curve(tape, sweep, date, information) ||
        !_acalibrate_equity_like_volatility(sweep, date, information) ||
        !_set_quanto_adjustment(information))
        return false;
    _init_forward_fixing_grid();
    if (!_acalibrate_currency_yield_curve(sweep, date, information)) return false;
    _init_discount_factor_fixing_grid();
    return acalibrate_internal_core(tape, sweep, date, information);
}

bool MCHelper::acalibrate_internal_core(Tape&, SweepType, Toolbox::Date const&,
                                        Contract::ContractInformation const&) {
    return true;
}

bool MCHelper::_c_has_quanto_cells(Contract::ContractInformation const& information) const {
    // a path must not find out
    for (std::uint64_t u = 0; u < m_nb_underlyings; ++u) {
        auto const rate = _c_get_quanto_rate(u);
        if (!rate || *rate > u) continue;
        Toolbox::Log::s_log(Toolbox::Log::Level::ERROR,
                            "Adjoint differentiation needs a quanto rate that sorts after ",
                            information.equity_like_underlyings.at(u)->c_str());
        return false;
    }
    return true;
}

bool MCHelper::_acalibrate_correlation_matrix(Tape& tape, SweepType sweep,
                                              Toolbox::Date const& date,
                                              Contract::ContractInformation const& information) {
    bool const forward = sweep == SweepType::FORWARD;
    auto& factor = m_current_cholesky->cholesky;
    if (forward) {
        if (!_calibrate_correlation_matrix_common(date, information)) return false;
        std::uint64_t const factors = _c_get_nb_factors();
        factor = Toolbox::Triangle<double, 1>(factors);
        m_cholesky_adjoints = Toolbox::Triangle<double, 1>(factors);
        m_correlation_adjoints = Toolbox::Triangle<double, -1>(factors);
        _size_correlated_normals(m_correlated_normals);
        _size_correlated_normals(m_correlated_normal_adjoints);
    }
    Toolbox::acholesky(tape, forward, c_get_current().correlations, m_correlation_adjoints, factor,
                       m_cholesky_adjoints);
    return true;
}

bool MCHelper::_acalibrate_equity_like_forward_curve(
    Tape& tape, SweepType sweep, Toolbox::Date const& date,
    Contract::ContractInformation const& information) {
    bool const reverse = sweep == SweepType::BACKWARD;
    auto& forwards = _get_current().forwards;
    if (!reverse) {
        forwards = Toolbox::Array2D<double>(m_nb_underlyings, m_nb_fixing_dates);
        m_forward_adjoints = forwards;
        m_spot_adjoints = Toolbox::Array1D<double>(m_nb_underlyings);
    }
    std::uint64_t const cells = m_nb_underlyings * m_nb_fixing_dates;
    for (std::uint64_t i = 0; i < cells; ++i) {
        std::uint64_t const cell = reverse ? cells - 1 - i : i;
        std::uint64_t const underlying = cell / m_nb_fixing_dates;
        std::uint64_t const fixing = cell % m_nb_fixing_dates;
        auto* const curve = Data::MarketDataCache::s_get().get_forward_curve(
            date, information.equity_like_underlyings.at(underlying), Data::Level::error);
        if (curve == nullptr ||
            !curve->c_aeval_absolute(tape, reverse, *information.fixing_dates.at(fixing),
                                     forwards.unsafe_get(underlying, fixing),
                                     m_forward_adjoints.unsafe_get(underlying, fixing),
                                     m_spot_adjoints.unsafe_get(underlying)))
            return false;
    }
    return true;
}

bool MCHelper::_acalibrate_equity_like_volatility(
    SweepType sweep, Toolbox::Date const& date, Contract::ContractInformation const& information) {
    return sweep == SweepType::BACKWARD || _calibrate_equity_like_volatility(date, information);
}

bool MCHelper::_acalibrate_currency_yield_curve(SweepType sweep, Toolbox::Date const& date,
                                                Contract::ContractInformation const& information) {
    if (sweep == SweepType::BACKWARD) return true;
    m_rate_adjoints = Toolbox::Array1D<std::map<double, double>>(m_nb_currencies);
    auto& discount_factors = _get_current().discount_factors;
    discount_factors = Toolbox::Array1D<double>(m_nb_payment_dates);
    // Relied on: the adjoint simulation does not discount
    std::fill(discount_factors.begin(), discount_factors.end(), 1.0);
    return m_nb_currencies == 0 || _calibrate_zero_coupons(date, information);
}

void MCHelper::c_accumulate_delta(Toolbox::Array1D<Pricing::RowGreekResult>& rows) const {
    std::uint64_t const size = std::min(rows.c_get_size(), m_spot_adjoints.c_get_size());
    for (std::uint64_t i = 0; i < size; ++i) rows.unsafe_get(i).result += m_spot_adjoints.get(i);
}

void MCHelper::c_accumulate_vega(Toolbox::Array1D<Pricing::RowGreekResult>&) const {}

void MCHelper::c_accumulate_cega(Toolbox::Triangle<Pricing::CrossGreekResult, -1>& cells) const {
    std::uint64_t const side = std::min(cells.c_get_side(), m_correlation_adjoints.c_get_side());
    for (std::uint64_t i = 1; i < side; ++i)
        for (std::uint64_t j = 0; j < i; ++j)
            cells.unsafe_get(i, j).result += m_correlation_adjoints.get(i, j);
}

void MCHelper::c_accumulate_adjoints(MCHelper* target) const {
    auto const& greeks = Pricing::PricerOptions::s_options.greeks;
    if (greeks.delta.activate) add_elements(target->m_forward_adjoints, m_forward_adjoints);
    if (greeks.vega.activate) {
        auto const& own = c_get_current().volatilities;
        auto& others = target->_get_current().volatilities;
        for (std::uint64_t underlying = 0; underlying < own.c_get_size(); ++underlying) {
            auto& model = others.unsafe_get(underlying).model;
            if (model != nullptr) model->accumulate(own.get(underlying).model.get());
        }
    }
    if (greeks.cega.activate) {
        add_elements(target->m_correlation_adjoints, m_correlation_adjoints);
        add_elements(target->m_cholesky_adjoints, m_cholesky_adjoints);
    }
}

}  // namespace ximCORE::Modeling
