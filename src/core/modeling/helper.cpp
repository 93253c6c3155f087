#include "core/modeling/helper.hpp"

#include <algorithm>

#include "core/contract/information.hpp"
#include "core/data/cache.hpp"
#include "core/data/curves/forward_curve.hpp"
#include "core/data/curves/yield_curve.hpp"
#include "core/data/underlying.hpp"

namespace ximCORE::Modeling {

Helper::Helper(std::uint64_t nb_factors_per_underlying, std::uint64_t nb_factors_per_currency)
    : m_nb_factors_per_underlying(nb_factors_per_underlying),
      m_nb_factors_per_currency(nb_factors_per_currency) {}

Helper::Helper(Helper const& other)
    : m_nb_fixing_dates(other.m_nb_fixing_dates),
      m_nb_maturity_dates(other.m_nb_maturity_dates),
      m_nb_payment_dates(other.m_nb_payment_dates),
      m_nb_factors_per_underlying(other.m_nb_factors_per_underlying),
      m_nb_underlyings(other.m_nb_underlyings),
      m_nb_factors_per_currency(other.m_nb_factors_per_currency),
      m_nb_currencies(other.m_nb_currencies),
      m_quanto_ranks(other.m_quanto_ranks),
      m_central(other.m_central),
      m_rows(other.m_rows),
      m_pairs(other.m_pairs),
      m_selection(other.m_selection),
      m_current(&_find(m_selection)),
      m_calibration_date(other.m_calibration_date) {}

bool Helper::calibrate(Toolbox::Date const& date, Data::Currency const& currency,
                       Contract::ContractInformation const& information) {
    m_calibration_date.emplace(date);
    return _calibrate_correlation_matrix(date, information) &&
           _calibrate_equity_like_forward_curve(date, information) &&
           _calibrate_equity_like_volatility(date, information) &&
           _set_quanto_adjustment(information) &&
           _calibrate_currency_yield_curve(date, currency, information) &&
           calibrate_model(date, information) && calibrate_method(date, information);
}

void Helper::switch_to_central() {
    m_selection = {};
    m_current = &m_central;
}

void Helper::allocate(Bump bump, std::size_t n) {
    if (n == 0) return;
    if (m_selection.bump == bump) Helper::switch_to_central();
    if (is_row(bump)) {
        m_rows.at(index_of(bump)) = Toolbox::Array1D<Calibration>(n);
    } else {
        m_pairs.at(index_of(bump) - nb_row_bumps) = Toolbox::Triangle<Calibration, -1>(n);
    }
}

void Helper::select(Bump bump, std::size_t i, std::size_t j) {
    Selection const selection{.bump = bump, .i = i, .j = j};
    m_current = &_find(selection);
    m_selection = selection;
}

Helper::Calibration& Helper::_find(Selection const& selection) {
    auto const& [bump, i, j] = selection;
    if (bump == Bump::end) return m_central;
    return is_row(bump) ? m_rows.at(index_of(bump)).unsafe_get(i)
                        : m_pairs.at(index_of(bump) - nb_row_bumps).unsafe_get(i, j);
}

Toolbox::Array1D<double> const& Helper::c_get_discount_factors() const {
    return m_current->discount_factors;
}

Toolbox::Date const* Helper::c_get_calibration_date() const {
    return m_calibration_date.has_value() ? &*m_calibration_date : nullptr;
}

Toolbox::Array1D<std::uint16_t> const& Helper::c_get_quanto_ranks() const {
    return m_quanto_ranks;
}

std::uint64_t Helper::_c_get_equity_like_index(std::uint64_t underlying) const {
    return underlying * m_nb_factors_per_underlying;
}

std::uint64_t Helper::_c_get_currency_index(std::uint64_t currency) const {
    return m_nb_factors_per_underlying * m_nb_underlyings + currency * m_nb_factors_per_currency;
}

std::uint64_t Helper::_c_get_nb_factors() const {
    return m_nb_factors_per_underlying * m_nb_underlyings +
           m_nb_factors_per_currency * m_nb_currencies;
}

std::optional<std::uint64_t> Helper::_c_get_quanto_rate(std::uint64_t underlying) const {
    // Relied on: only the low byte of the rank is read, and as a signed one
    auto const rank = static_cast<std::int8_t>(m_quanto_ranks.get(underlying) & 0xFF);
    return rank < 0 ? std::nullopt : std::optional<std::uint64_t>(rank);
}

double Helper::_c_get_correlation(std::uint64_t i, std::uint64_t j) const {
    return i == j ? 1.0 : m_current->correlations.get(std::max(i, j), std::min(i, j));
}

bool Helper::calibrate_model(Toolbox::Date const&, Contract::ContractInformation const&) {
    return true;
}

bool Helper::_c_calibrate_equity_like_volatility_internal(Toolbox::Date const&,
                                                          Contract::ContractInformation const&,
                                                          Data::Underlying const*,
                                                          std::unique_ptr<VolatilityModel>&) const {
    return true;
}

bool Helper::_calibrate_correlation_matrix(Toolbox::Date const& date,
                                           Contract::ContractInformation const& information) {
    return _calibrate_correlation_matrix_common(date, information) &&
           _calibrate_correlation_matrix_internal();
}

bool Helper::_calibrate_correlation_matrix_common(Toolbox::Date const&,
                                                  Contract::ContractInformation const&) {
    return true;
}

bool Helper::_calibrate_correlation_matrix_internal() {
    return true;
}

void Helper::_set_counts(Contract::ContractInformation const& information) {
    m_nb_fixing_dates = information.fixing_dates.size();
    m_nb_maturity_dates = information.maturity_dates.size();
    m_nb_payment_dates = information.payment_dates.size();
    m_nb_underlyings = information.equity_like_underlyings.size();
    m_nb_currencies = information.currencies.size();
}

bool Helper::_calibrate_equity_like_forward_curve(
    Toolbox::Date const& date, Contract::ContractInformation const& information) {
    if (m_nb_underlyings == 0) return true;
    auto& forwards = m_current->forwards;
    forwards = Toolbox::Array2D<double>(m_nb_underlyings, m_nb_fixing_dates);
    for (std::uint64_t underlying = 0; underlying < m_nb_underlyings; ++underlying) {
        auto* const curve = Data::MarketDataCache::s_get().get_forward_curve(
            date, information.equity_like_underlyings.at(underlying), Data::Level::error);
        if (curve == nullptr) return false;
        for (std::uint64_t fixing = 0; fixing < m_nb_fixing_dates; ++fixing) {
            if (!curve->eval_absolute(*information.fixing_dates.at(fixing),
                                      forwards.unsafe_get(underlying, fixing)))
                return false;
        }
    }
    return true;
}

bool Helper::_calibrate_equity_like_volatility(Toolbox::Date const& date,
                                               Contract::ContractInformation const& information) {
    if (m_nb_underlyings == 0) return true;
    m_current->volatilities = Toolbox::Array1D<VolatilitySlot>(m_nb_underlyings);
    for (std::uint64_t underlying = 0; underlying < m_nb_underlyings; ++underlying) {
        if (!_c_calibrate_equity_like_volatility_internal(
                date, information, information.equity_like_underlyings.at(underlying),
                m_current->volatilities.unsafe_get(underlying).model))
            return false;
    }
    return true;
}

bool Helper::_set_quanto_adjustment(Contract::ContractInformation const& information) {
    if (m_nb_underlyings == 0) return true;
    m_quanto_ranks = Toolbox::Array1D<std::uint16_t>(m_nb_underlyings);
    for (std::uint64_t underlying = 0; underlying < m_nb_underlyings; ++underlying) {
        auto const& rate =
            information.equity_like_underlyings.at(underlying)->c_get_quanto_exchange_rate();
        m_quanto_ranks.unsafe_get(underlying) = rate != nullptr && rate->c_is_equity_like()
                                                    ? static_cast<std::uint16_t>(rate->c_get_rank())
                                                    : s_no_quanto_rank;
    }
    return true;
}

bool Helper::_calibrate_currency_yield_curve(Toolbox::Date const& date,
                                             Data::Currency const& currency,
                                             Contract::ContractInformation const& information) {
    auto* const curve =
        Data::MarketDataCache::s_get().get_yield_curve(date, &currency, Data::Level::error);
    if (curve == nullptr) return false;
    if (m_nb_payment_dates > 0) {
        auto& discount_factors = m_current->discount_factors;
        discount_factors = Toolbox::Array1D<double>(m_nb_payment_dates);
        for (std::uint64_t payment = 0; payment < m_nb_payment_dates; ++payment) {
            discount_factors.unsafe_get(payment) =
                curve->eval_zero_coupon(*information.payment_dates.at(payment));
        }
    }
    return m_nb_currencies == 0 || _calibrate_zero_coupons(date, information);
}

bool Helper::_calibrate_zero_coupons(Toolbox::Date const& date,
                                     Contract::ContractInformation const& information) {
    auto& zero_coupons = m_current->zero_coupons;
    if (m_nb_maturity_dates > 0)
        zero_coupons = Toolbox::Array2D<double>(m_nb_currencies, m_nb_maturity_dates);
    for (std::uint64_t currency = 0; currency < m_nb_currencies; ++currency) {
        auto* const curve = Data::MarketDataCache::s_get().get_yield_curve(
            date, information.currencies.at(currency), Data::Level::error);
        if (curve == nullptr) return false;
        for (std::uint64_t maturity = 0; maturity < m_nb_maturity_dates; ++maturity) {
            zero_coupons.unsafe_get(currency, maturity) =
                curve->eval_zero_coupon(*information.maturity_dates.at(maturity));
        }
    }
    return true;
}

}  // namespace ximCORE::Modeling
