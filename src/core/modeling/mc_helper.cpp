#include "core/modeling/mc_helper.hpp"

#include <cmath>

#include "core/contract/cashflow.hpp"
#include "core/contract/information.hpp"
#include "core/data/cache.hpp"
#include "core/data/correlation.hpp"
#include "core/pricing/options.hpp"
#include "core/toolbox/cholesky.hpp"
#include "core/toolbox/date_shift.hpp"

namespace ximCORE::Modeling {

MCHelper::MCHelper(std::uint64_t nb_factors_per_underlying, std::uint64_t nb_factors_per_currency,
                   bool use_sub_steps)
    : Helper(nb_factors_per_underlying, nb_factors_per_currency), m_use_sub_steps(use_sub_steps) {}

MCHelper::MCHelper(MCHelper const& other)
    : Helper(other),
      m_use_sub_steps(other.m_use_sub_steps),
      m_times(other.m_times),
      m_time_steps(other.m_time_steps),
      m_sqrt_time_steps(other.m_sqrt_time_steps),
      m_fixing_steps(other.m_fixing_steps),
      m_payment_steps(other.m_payment_steps),
      m_correlated_normals(other.m_correlated_normals),
      m_fixing_grid(other.m_fixing_grid),
      m_correlation_adjoints(other.m_correlation_adjoints),
      m_correlated_normal_adjoints(other.m_correlated_normal_adjoints),
      m_forward_adjoints(other.m_forward_adjoints),
      m_normals(other.m_normals),
      m_central_cholesky(other.m_central_cholesky),
      m_cega_up_cholesky(other.m_cega_up_cholesky),
      m_cega_down_cholesky(other.m_cega_down_cholesky),
      m_cholesky_adjoints(other.m_cholesky_adjoints),
      m_spot_adjoints(other.m_spot_adjoints),
      m_rate_adjoints(other.m_rate_adjoints) {
    for (auto factors : {&MCHelper::m_cega_up_cholesky, &MCHelper::m_cega_down_cholesky})
        for (std::uint64_t k = 0; k < (other.*factors).c_get_count(); ++k)
            if (other.m_current_cholesky == (other.*factors).begin() + k)
                m_current_cholesky = (this->*factors).begin() + k;
}

void MCHelper::set(Toolbox::Date const& start, Toolbox::DayCounter const& day_counter,
                   Contract::ContractInformation const& information, Contract::CashFlow* cashflow) {
    m_fixing_steps.clear();
    m_payment_steps.clear();
    auto const dates =
        m_use_sub_steps ? _make_refined_grid(start, information) : _make_plain_grid(information);
    _set_times(start, day_counter, dates);
    _set_counts(information);
    m_fixing_grid.init(m_nb_fixing_dates, m_nb_maturity_dates, m_nb_underlyings, m_nb_currencies,
                       m_nb_payment_dates);
    if (cashflow != nullptr) {
        cashflow->c_set_fixing_grid_internal(m_fixing_grid);
    } else {
        m_fixing_grid.open_all();
    }
    // Relied on: a plain grid draws one more step than a path reads
    std::uint64_t const steps = dates.size() + (m_use_sub_steps ? 0 : 1);
    m_normals = std::make_shared<Cube>(steps, _c_get_nb_factors(),
                                       Pricing::MCPricerOptions::s_options.trials, s_seed);
}

MCHelper::Dates MCHelper::_make_plain_grid(Contract::ContractInformation const& information) {
    Dates dates;
    for (auto const* fixing : information.fixing_dates) {
        // Relied on: a plain grid counts a payment from rank 1 on, and notes the step before its
        // date
        if (fixing->c_get_payment_rank() > 0) m_payment_steps.push_back(dates.size());
        dates.push_back(*fixing);
        m_fixing_steps.push_back(dates.size());
    }
    return dates;
}

MCHelper::Dates MCHelper::_make_refined_grid(Toolbox::Date const& start,
                                             Contract::ContractInformation const& information) {
    Toolbox::DateShift const two_days("+2d", nullptr);
    Dates dates;
    auto const& fixings = information.fixing_dates;
    if (!fixings.empty() && *fixings.front() == start) {
        dates.push_back(start);
        m_fixing_steps.push_back(dates.size());
    }
    Toolbox::Date running = start;
    for (auto const* fixing : fixings) {
        bool reached = false;
        while (!reached && running < *fixing) {
            Toolbox::Date const next = running.c_shift(two_days);
            reached =
                next >= *fixing || next <= running;  // the end of the calendar ends the walk too
            dates.push_back(reached ? *fixing : next);
            // Relied on: past an odd number of days, the walk to the next fixing sets out from the
            // day before this one
            if (running < next && next <= *fixing) running = next;
        }
        if (!reached) continue;
        m_fixing_steps.push_back(dates.size());
        // Relied on: a refined grid counts a payment from rank 0 on, and notes the step of its date
        if (fixing->c_get_payment_rank() >= 0) m_payment_steps.push_back(dates.size());
    }
    return dates;
}

void MCHelper::_set_times(Toolbox::Date const& start, Toolbox::DayCounter const& day_counter,
                          Dates const& dates) {
    m_times.assign(1, 0.0);
    m_time_steps.clear();
    m_sqrt_time_steps.clear();
    for (auto const& date : dates) {
        // a date behind us, as that of a passed choice, counts as the start
        double const time = date < start ? 0.0 : day_counter.c_year_fraction(start, date);
        double const step = time - m_times.back();
        m_times.push_back(time);
        m_time_steps.push_back(step);
        m_sqrt_time_steps.push_back(std::sqrt(step));
    }
}

void MCHelper::switch_to_central() {
    Helper::switch_to_central();
    m_current_cholesky = &m_central_cholesky;
}

void MCHelper::allocate(Bump bump, std::size_t n) {
    Helper::allocate(bump, n);
    auto* const factors = _find_factors(bump);
    if (factors == nullptr || n == 0) return;
    if (factors->begin() <= m_current_cholesky && m_current_cholesky < factors->end())
        m_current_cholesky = &m_central_cholesky;
    *factors = Factors(n);
}

void MCHelper::select(Bump bump, std::size_t i, std::size_t j) {
    Helper::select(bump, i, j);
    auto* const factors = _find_factors(bump);
    m_current_cholesky = factors == nullptr ? &m_central_cholesky : &factors->unsafe_get(i, j);
}

MCHelper::Factors* MCHelper::_find_factors(Bump bump) {
    if (bump == Bump::cega_up) return &m_cega_up_cholesky;
    if (bump == Bump::cega_down) return &m_cega_down_cholesky;
    return nullptr;
}

bool MCHelper::calibrate_method(Toolbox::Date const&, Contract::ContractInformation const&) {
    _init_forward_fixing_grid();
    _init_discount_factor_fixing_grid();
    return true;
}

void MCHelper::_init_forward_fixing_grid() {
    auto const& forwards = c_get_current().forwards;
    for (std::uint64_t underlying = 0; underlying < m_nb_underlyings; ++underlying) {
        auto const column = static_cast<short>(underlying);
        for (std::uint64_t fixing = 0; fixing < m_nb_fixing_dates; ++fixing)
            if (!m_fixing_grid.set_equity_like(static_cast<short>(fixing), column,
                                               forwards.get(underlying, fixing)))
                break;
    }
}

void MCHelper::_init_discount_factor_fixing_grid() {
    auto const& zero_coupons = c_get_current().zero_coupons;
    for (std::uint64_t currency = 0; currency < m_nb_currencies; ++currency) {
        for (std::uint64_t maturity = 0; maturity < m_nb_maturity_dates; ++maturity) {
            double const zero_coupon = zero_coupons.get(currency, maturity);
            // Relied on: rates are not stochastic, a bond on a path is worth today's bond of its
            // maturity
            for (std::uint64_t fixing = 0; fixing < m_nb_fixing_dates; ++fixing)
                if (!m_fixing_grid.set_zero_coupon(static_cast<short>(fixing),
                                                   static_cast<unsigned char>(currency),
                                                   static_cast<short>(maturity), zero_coupon))
                    break;
        }
    }
}

bool MCHelper::_calibrate_correlation_matrix_common(
    Toolbox::Date const& date, Contract::ContractInformation const& information) {
    auto& cache = Data::MarketDataCache::s_get();
    auto const& underlyings = information.equity_like_underlyings;
    auto& correlations = _get_current().correlations;
    correlations = Toolbox::Triangle<double, -1>(_c_get_nb_factors());
    for (std::uint64_t i = 1; i < m_nb_factors_per_underlying * m_nb_underlyings; ++i) {
        for (std::uint64_t j = 0; j < i; ++j) {
            auto* const correlation =
                cache.get_correlation(date, underlyings[i], underlyings[j], Data::Level::error);
            auto& cell =
                correlations.unsafe_get(_c_get_equity_like_index(i), _c_get_equity_like_index(j));
            if (correlation == nullptr || !correlation->eval(cell, Data::Level::error))
                return false;
        }
    }
    return true;
}

bool MCHelper::_calibrate_correlation_matrix_internal() {
    Toolbox::cholesky(c_get_current().correlations, m_current_cholesky->cholesky);
    _size_correlated_normals(m_correlated_normals);
    return true;
}

void MCHelper::_size_correlated_normals(Toolbox::Array2D<double>& normals) const {
    std::uint64_t const factors = _c_get_nb_factors();
    if (!m_time_steps.empty() && factors > 0)
        normals = Toolbox::Array2D<double>(m_time_steps.size(), factors);
}

void MCHelper::diffuse(std::uint64_t trial) {
    if (_c_get_nb_factors() == 0) return;
    if (!m_time_steps.empty()) _correlate(c_get_normals()->c_get_slice(trial));
    _diffuse_internal(trial);
}

void MCHelper::_correlate(double const* normals) {
    std::uint64_t const factors = _c_get_nb_factors();
    auto const& cholesky = m_current_cholesky->cholesky;
    if (cholesky.c_get_side() != factors ||
        m_correlated_normals.c_get_rows() != m_time_steps.size())
        Toolbox::raise_segmentation_fault();
    double* correlated = m_correlated_normals.begin();
    double* const end = m_correlated_normals.end();
    for (; correlated != end; normals += factors) {
        double const* row = cholesky.begin();
        for (std::uint64_t factor = 0; factor < factors; ++factor) {
            double sum = 0.0;
            for (std::uint64_t j = 0; j <= factor; ++j) sum += *row++ * normals[j];
            *correlated++ = sum;
        }
    }
}

MCHelper::PathInputs MCHelper::_get_path_inputs(std::uint64_t underlying) {
    auto const& forwards = c_get_current().forwards;
    std::uint64_t const factor = _c_get_equity_like_index(underlying);
    if (forwards.c_get_cols() < m_nb_fixing_dates || m_time_steps.size() < m_nb_fixing_dates ||
        m_correlated_normals.c_get_rows() < m_nb_fixing_dates)
        Toolbox::raise_segmentation_fault();
    return {&m_correlated_normals.unsafe_get(0, factor),
            m_correlated_normals.c_get_cols(),
            m_time_steps.data(),
            m_sqrt_time_steps.data(),
            &forwards.get(underlying, 0),
            m_fixing_grid.get_column(underlying)};
}

void MCHelper::apply_antithetic(std::uint64_t trial) {
    c_get_normals()->opposite(trial);
}

void MCHelper::_diffuse_internal(std::uint64_t) {}

bool MCHelper::c_get_lognormal_steps(std::uint64_t, std::vector<double>&,
                                     std::vector<double>&) const {
    return false;
}

}  // namespace ximCORE::Modeling
