// From one strike-like and one price-like number, all the equivalent ways to write a strike and the
// value of an option.
#pragma once

#include <cstdint>

namespace ximCORE::Toolbox {

/// The market in which an option stands; both levels in the same currency.
struct MarketParameters {
    double maturity{0.0};  // years
    double spot{0.0};
    double forward{0.0};
};

/// Starts with all forms at 0. Set a space (strike) first, then a value. Fields named `_pct` are in
/// percent, the other ratios are fractions; "vs spot" prices are those of `BlackScholesCallPricer`,
/// and prices are these times the spot.
class Volatility {
 public:
    enum class SpaceKind : std::uint8_t {
        FORWARD_MONEYNESS,
        FORWARD_MONEYNESS_PCT,
        MONEYNESS,
        MONEYNESS_PCT,
        LOG_MONEYNESS,
        LOG_FORWARD_MONEYNESS,
        STRIKE
    };
    enum class ValueKind : std::uint8_t {
        CALL_PRICE,
        CALL_PRICE_VS_SPOT,
        CALL_PRICE_VS_SPOT_PCT,
        PUT_PRICE,
        PUT_PRICE_VS_SPOT,
        PUT_PRICE_VS_SPOT_PCT,
        TOTAL_VARIANCE,
        TOTAL_VOLATILITY,
        VARIANCE,
        VOLATILITY,
        VOLATILITY_PCT
    };

    explicit Volatility(MarketParameters const& market);

    /// Sets the strike and all forms of it. An unknown kind keeps the strike and computes the other
    /// forms from it.
    void set(double space, SpaceKind kind);
    /// Sets sigma and all forms of the value, at the strike set before. From a price, the implied
    /// TOTAL volatility is taken as sigma, whatever the maturity is. An unknown kind keeps sigma
    /// and computes the other forms from it. Fails: false for a price without an implied
    /// volatility; no form but the volatility may then have changed.
    [[nodiscard]] bool set(double value, ValueKind kind);
    [[nodiscard]] bool set(double space, SpaceKind space_kind, double value, ValueKind value_kind);

    /// Fails: an unknown kind throws `std::runtime_error` ("Unknown error").
    [[nodiscard]] double c_get(SpaceKind kind) const;
    [[nodiscard]] double c_get(ValueKind kind) const;

 private:
    [[nodiscard]] bool _imply(double price, signed char omega);
    [[nodiscard]] bool _set_sigma(double value, ValueKind kind);
    void _set_values();

    double m_maturity;
    double m_forward;
    double m_spot;
    double m_strike{0.0};
    double m_moneyness{0.0};
    double m_forward_moneyness{0.0};
    double m_moneyness_pct{0.0};
    double m_forward_moneyness_pct{0.0};
    double m_log_moneyness{0.0};
    double m_log_forward_moneyness{0.0};
    double m_call_price{0.0};
    double m_call_price_vs_spot{0.0};
    double m_call_price_vs_spot_pct{0.0};
    double m_put_price{0.0};
    double m_put_price_vs_spot{0.0};
    double m_put_price_vs_spot_pct{0.0};
    double m_volatility{0.0};
    double m_volatility_pct{0.0};
    double m_total_volatility{0.0};
    double m_variance{0.0};
    double m_total_variance{0.0};
};

}  // namespace ximCORE::Toolbox
