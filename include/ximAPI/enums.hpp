// The enumerations of the public records. Each value travels in JSON as exactly one text, which is
// its name here; the values count 0, 1, 2, ... in the order written. Reading ignores a text that it
// does not know and leaves the record's value alone.
#pragma once

#include <cstdint>

namespace ximAPI {

/// Level of a log record. Written "ERROR", read back only as "ERR".
enum class LogLevel : std::int32_t { INFO, WARNING, ERROR, EXCEPTION, SUCCESS, FAILURE };

/// The model that moves the underlyings. DEFAULT_MODEL leaves the choice to the library.
enum class ModelName : std::int32_t {
    DEFAULT_MODEL,
    BLACK_SCHOLES_MODEL,
    BLACK_SCHOLES_TERM_STRUCTURE_MODEL,
    HESTON_STOCHASTIC_VOLATILITY_MODEL,
    DUPIRE_LOCAL_VOLATILITY_MODEL,
    FREE_MODEL
};

/// Where the one volatility of the Black-Scholes model comes from: given in the market data, or at
/// the money forward.
enum class BlackScholesCalibrationKind : std::int32_t { MANUAL, AT_THE_MONEY_FORWARD };

/// Which days are closed. DUMMY: none, weekends included.
enum class Calendar : std::int32_t { DUMMY };

/// How a span of days counts as a fraction of a year. ACT_365: days over 365.
enum class Basis : std::int32_t { ACT_365 };

/// On which side of a level a digital is spread into a ramp. The spelling SYMETRIC is the accepted
/// one.
enum class SmoothingType : std::int32_t { NONE, LOWER, SYMETRIC, UPPER };

/// How a price is computed.
enum class PricingMethod : std::int32_t {
    MONTE_CARLO,
    FINITE_DIFFERENCE,
    STATIC_REPLICATION,
    AUTOMATIC_ADJOINT_DIFFERENTIATION
};

/// What stays fixed on the volatility surface when a spot is bumped.
enum class SpotVolatilityDynamic : std::int32_t { STICKY_STRIKE, STICKY_DELTA, STICKY_OPTION };

/// Side of the difference quotient of a first order greek.
enum class GreekDirection : std::int32_t { LEFT, CENTER, RIGHT };

/// Condition at the edge of the finite difference grid.
enum class BoundaryCondition : std::int32_t { DIRICHLET, NEUMANN };

enum class PayoffKind : std::int32_t { CALL_TYPE, PUT_TYPE };
enum class BarrierKind : std::int32_t { KNOCK_IN, KNOCK_OUT };
enum class BarrierType : std::int32_t { DOWN, UP };

/// How the performances of a basket become one number. No product can be built on RAINBOW.
enum class BasketKind : std::int32_t { BASKET, BEST_OF, RAINBOW, WORST_OF };

enum class StrikeKind : std::int32_t { ASIAN, LOOKBACK_MAX, LOOKBACK_MIN };
enum class ObservableKind : std::int32_t { BASKET };

/// The product form of a contract: which keys follow in its record. The six certificates marked *
/// have a text but no keys yet.
enum class ContractKind : std::int32_t {
    CONSOLE,
    FILE,
    AIRGBAG_CERTIFICATE_EXAMPLE,  // *
    AMERICAN_OPTION_EXAMPLE,
    ASIAN_OPTION_EXAMPLE,
    BARRIER_OPTION_EXAMPLE,
    BARRIER_REVERSE_CONVERTIBLE_EXAMPLE,
    BONUS_CERTIFICATE_EXAMPLE,  // *
    BUTTERFLY_SPREAD_EXAMPLE,
    CAPPED_BONUS_CERTIFICATE_EXAMPLE,  // *
    CONDOR_SPREAD_EXAMPLE,
    DIGITAL_OPTION_EXAMPLE,
    DISCOUNT_CERTIFICATE_EXAMPLE,  // *
    DOUBLE_BARRIER_OPTION_EXAMPLE,
    EUROPEAN_OPTION_EXAMPLE,
    MULTI_ASSET_OPTION_EXAMPLE,
    OUT_PERFORMANCE_BONUS_CERTIFICATE_EXAMPLE,  // *
    REVERSE_CONVERTIBLE_EXAMPLE,
    RISK_REVERSAL_EXAMPLE,
    SPREAD_OPTION_EXAMPLE,
    STRADDLE_EXAMPLE,
    STRANGLE_EXAMPLE,
    TWIN_WIN_CERTIFICATE_EXAMPLE,  // *
    AUTOCALL,
    VANILLA
};

/// Written only: a JSON text never changes an asset class.
enum class AssetClass : std::int32_t {
    SHARE,
    FUND,
    INDEX,
    EXCHANGE_RATE,
    ZERO_COUPON_BOND,
    DEPOSIT_RATE,
    SWAP_RATE
};

enum class AssetKind : std::int32_t { EQUITY, FOREIGN_EXCHANGE, INTEREST_RATE };

enum class EventKind : std::int32_t {
    BARRIER,
    CHOICE,
    FIXING,
    NOTHING,
    PAYMENT,
    PURCHASE,
    RECEIPT,
    SALE,
    SETTING
};

/// What a ladder moves: named values of the contract, or market data.
enum class LadderKind : std::int32_t { CONTRACT, MARKET };
enum class BumpKind : std::int32_t { ADDITIVE, ASSIGNMENT, HYBRID, MULTIPLICATIVE };
enum class BumpUnit : std::int32_t { PERCENTAGE, BASIS_POINT, NONE };

/// Where the search of an implied volatility starts.
enum class InitialGuessMethod : std::int32_t { LEGACY, STEFANICA_RADOICIC };

/// In which quantity the value of an option is given. VS_SPOT: divided by the spot. PCT: in
/// percent.
enum class PriceKind : std::int32_t {
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

/// In which quantity the strike of an option is given. PCT: in percent.
enum class SpaceKind : std::int32_t {
    FORWARD_MONEYNESS,
    FORWARD_MONEYNESS_PCT,
    MONEYNESS,
    MONEYNESS_PCT,
    LOG_MONEYNESS,
    LOG_FORWARD_MONEYNESS,
    STRIKE
};

/// Rule of a sequence of numbers.
enum class SequenceKind : std::int32_t { UNIFORM, CONSTANT, CHEBYCHEV };

}  // namespace ximAPI
