#include "core/toolbox/formulas/volatility.hpp"

#include <cmath>
#include <stdexcept>

#include "core/toolbox/formulas/black_scholes.hpp"
#include "core/toolbox/math.hpp"

namespace ximCORE::Toolbox {

namespace {

constexpr double c_tolerance = 1e-05;
constexpr std::uint64_t c_max_iterations = 100;

}  // namespace

Volatility::Volatility(MarketParameters const& market)
    : m_maturity(market.maturity), m_forward(market.forward), m_spot(market.spot) {}

void Volatility::set(double space, SpaceKind kind) {
    using enum SpaceKind;
    switch (kind) {
        case FORWARD_MONEYNESS:
            m_strike = space * m_forward;
            break;
        case FORWARD_MONEYNESS_PCT:
            m_strike = Math::get_absolute(space) * m_forward;
            break;
        case MONEYNESS:
            m_strike = space * m_spot;
            break;
        case MONEYNESS_PCT:
            m_strike = Math::get_absolute(space) * m_spot;
            break;
        case LOG_MONEYNESS:
            m_strike = std::exp(space) * m_spot;
            break;
        case LOG_FORWARD_MONEYNESS:
            m_strike = std::exp(space) * m_forward;
            break;
        case STRIKE:
            m_strike = space;
            break;
    }
    m_moneyness = m_strike / m_spot;
    m_forward_moneyness = m_strike / m_forward;
    m_moneyness_pct = Math::get_percentage(m_moneyness);
    m_forward_moneyness_pct = Math::get_percentage(m_forward_moneyness);
    m_log_moneyness = std::log(m_moneyness);
    m_log_forward_moneyness = std::log(m_forward_moneyness);
}

bool Volatility::set(double value, ValueKind kind) {
    if (!_set_sigma(value, kind)) {
        return false;
    }
    _set_values();
    return true;
}

bool Volatility::set(double space, SpaceKind space_kind, double value, ValueKind value_kind) {
    set(space, space_kind);
    return set(value, value_kind);
}

double Volatility::c_get(SpaceKind kind) const {
    using enum SpaceKind;
    switch (kind) {
        case FORWARD_MONEYNESS:
            return m_forward_moneyness;
        case FORWARD_MONEYNESS_PCT:
            return m_forward_moneyness_pct;
        case MONEYNESS:
            return m_moneyness;
        case MONEYNESS_PCT:
            return m_moneyness_pct;
        case LOG_MONEYNESS:
            return m_log_moneyness;
        case LOG_FORWARD_MONEYNESS:
            return m_log_forward_moneyness;
        case STRIKE:
            return m_strike;
    }
    throw std::runtime_error("Unknown error");
}

double Volatility::c_get(ValueKind kind) const {
    using enum ValueKind;
    switch (kind) {
        case CALL_PRICE:
            return m_call_price;
        case CALL_PRICE_VS_SPOT:
            return m_call_price_vs_spot;
        case CALL_PRICE_VS_SPOT_PCT:
            return m_call_price_vs_spot_pct;
        case PUT_PRICE:
            return m_put_price;
        case PUT_PRICE_VS_SPOT:
            return m_put_price_vs_spot;
        case PUT_PRICE_VS_SPOT_PCT:
            return m_put_price_vs_spot_pct;
        case TOTAL_VARIANCE:
            return m_total_variance;
        case TOTAL_VOLATILITY:
            return m_total_volatility;
        case VARIANCE:
            return m_variance;
        case VOLATILITY:
            return m_volatility;
        case VOLATILITY_PCT:
            return m_volatility_pct;
    }
    throw std::runtime_error("Unknown error");
}

bool Volatility::_imply(double price, signed char omega) {
    // Relied on: the implied total volatility is stored as sigma, also for a maturity other than 1
    return BlackScholesCallPricer::volatility(
        m_log_forward_moneyness, price, omega, m_volatility, c_tolerance, c_max_iterations,
        BlackScholesCallPricer::InitialGuessMethod::STEFANICA_RADOICIC, nullptr);
}

bool Volatility::_set_sigma(double value, ValueKind kind) {
    using enum ValueKind;
    switch (kind) {
        case CALL_PRICE:
            return _imply(value / m_spot, 1);
        case CALL_PRICE_VS_SPOT:
            return _imply(value, 1);
        case CALL_PRICE_VS_SPOT_PCT:
            return _imply(Math::get_absolute(value), 1);
        case PUT_PRICE:
            return _imply(value / m_spot, -1);
        case PUT_PRICE_VS_SPOT:
            return _imply(value, -1);
        case PUT_PRICE_VS_SPOT_PCT:
            return _imply(Math::get_absolute(value), -1);
        case TOTAL_VARIANCE:
            m_volatility = std::sqrt(value / m_maturity);
            break;
        case TOTAL_VOLATILITY:
            m_volatility = value / std::sqrt(m_maturity);
            break;
        case VARIANCE:
            m_volatility = std::sqrt(value);
            break;
        case VOLATILITY:
            m_volatility = value;
            break;
        case VOLATILITY_PCT:
            m_volatility = Math::get_absolute(value);
            break;
    }
    return true;
}

void Volatility::_set_values() {
    m_volatility_pct = Math::get_percentage(m_volatility);
    m_total_volatility = std::sqrt(m_maturity) * m_volatility;
    m_variance = m_volatility * m_volatility;
    m_total_variance = m_variance * m_maturity;
    m_call_price_vs_spot =
        BlackScholesCallPricer::price(m_log_forward_moneyness, m_total_volatility, 1);
    m_call_price_vs_spot_pct = Math::get_percentage(m_call_price_vs_spot);
    m_put_price_vs_spot =
        BlackScholesCallPricer::price(m_log_forward_moneyness, m_total_volatility, -1);
    m_put_price_vs_spot_pct = Math::get_percentage(m_put_price_vs_spot);
    m_call_price = m_call_price_vs_spot * m_spot;
    m_put_price = m_put_price_vs_spot * m_spot;
}

}  // namespace ximCORE::Toolbox
