// The texts under which the values of the enumerations travel in JSON, each once. Reading differs
// from writing only where a second table says so. The texts of the contract kinds stand in
// products.hpp, beside their readers.
#pragma once

#include <array>
#include <cstddef>
#include <optional>
#include <string_view>
#include <type_traits>

#include "ximAPI/enums.hpp"

namespace ximAPI::Toolkit {

/// The texts of an enumeration, indexed by its values 0, 1, 2, ...; empty for every other type.
template <class E>
inline constexpr std::array<std::string_view, 0> texts{};

/// The texts that reading accepts, where they differ from the written ones.
template <class E>
inline constexpr auto& read_texts = texts<E>;

template <class E>
concept Enumeration = std::is_enum_v<E> && !texts<E>.empty();

/// The text of a value; empty for a value outside the enumeration.
template <Enumeration E>
[[nodiscard]] constexpr std::string_view to_text(E value) {
    auto const index = static_cast<std::size_t>(value);
    return index < texts<E>.size() ? texts<E>[index] : std::string_view{};
}

/// The value that a text reads as; nothing for an unknown text.
template <Enumeration E>
[[nodiscard]] constexpr std::optional<E> from_text(std::string_view text) {
    for (std::size_t index = 0; index < read_texts<E>.size(); ++index) {
        if (read_texts<E>[index] == text) return static_cast<E>(index);
    }
    return std::nullopt;
}

// clang-format off
template <> inline constexpr auto texts<LogLevel> = std::to_array<std::string_view>({
    "INFO", "WARNING", "ERROR", "EXCEPTION", "SUCCESS", "FAILURE"});
// Relied on: the level ERROR is written "ERROR" and read only from "ERR"
template <> inline constexpr auto read_texts<LogLevel> = std::to_array<std::string_view>({
    "INFO", "WARNING", "ERR", "EXCEPTION", "SUCCESS", "FAILURE"});

template <> inline constexpr auto texts<ModelName> = std::to_array<std::string_view>({
    "DEFAULT_MODEL", "BLACK_SCHOLES_MODEL", "BLACK_SCHOLES_TERM_STRUCTURE_MODEL",
    "HESTON_STOCHASTIC_VOLATILITY_MODEL", "DUPIRE_LOCAL_VOLATILITY_MODEL", "FREE_MODEL"});
template <> inline constexpr auto texts<BlackScholesCalibrationKind> = std::to_array<std::string_view>({
    "MANUAL", "AT_THE_MONEY_FORWARD"});
template <> inline constexpr auto texts<Calendar> = std::to_array<std::string_view>({"DUMMY"});
template <> inline constexpr auto texts<Basis> = std::to_array<std::string_view>({"ACT_365"});
template <> inline constexpr auto texts<SmoothingType> = std::to_array<std::string_view>({
    "NONE", "LOWER", "SYMETRIC", "UPPER"});
template <> inline constexpr auto texts<PricingMethod> = std::to_array<std::string_view>({
    "MONTE_CARLO", "FINITE_DIFFERENCE", "STATIC_REPLICATION", "AUTOMATIC_ADJOINT_DIFFERENTIATION"});
template <> inline constexpr auto texts<SpotVolatilityDynamic> = std::to_array<std::string_view>({
    "STICKY_STRIKE", "STICKY_DELTA", "STICKY_OPTION"});
template <> inline constexpr auto texts<GreekDirection> = std::to_array<std::string_view>({
    "LEFT", "CENTER", "RIGHT"});
template <> inline constexpr auto texts<BoundaryCondition> = std::to_array<std::string_view>({
    "DIRICHLET", "NEUMANN"});

template <> inline constexpr auto texts<PayoffKind> = std::to_array<std::string_view>({"CALL_TYPE", "PUT_TYPE"});
template <> inline constexpr auto texts<BarrierKind> = std::to_array<std::string_view>({"KNOCK_IN", "KNOCK_OUT"});
template <> inline constexpr auto texts<BarrierType> = std::to_array<std::string_view>({"DOWN", "UP"});
template <> inline constexpr auto texts<BasketKind> = std::to_array<std::string_view>({
    "BASKET", "BEST_OF", "RAINBOW", "WORST_OF"});
template <> inline constexpr auto texts<StrikeKind> = std::to_array<std::string_view>({
    "ASIAN", "LOOKBACK_MAX", "LOOKBACK_MIN"});
template <> inline constexpr auto texts<ObservableKind> = std::to_array<std::string_view>({"BASKET"});

template <> inline constexpr auto texts<AssetClass> = std::to_array<std::string_view>({
    "SHARE", "FUND", "INDEX", "EXCHANGE_RATE", "ZERO_COUPON_BOND", "DEPOSIT_RATE", "SWAP_RATE"});
// Relied on: an asset class is written and never read
template <> inline constexpr std::array<std::string_view, 0> read_texts<AssetClass>{};
template <> inline constexpr auto texts<AssetKind> = std::to_array<std::string_view>({
    "EQUITY", "FOREIGN_EXCHANGE", "INTEREST_RATE"});
template <> inline constexpr auto texts<EventKind> = std::to_array<std::string_view>({
    "BARRIER", "CHOICE", "FIXING", "NOTHING", "PAYMENT", "PURCHASE", "RECEIPT", "SALE", "SETTING"});

template <> inline constexpr auto texts<LadderKind> = std::to_array<std::string_view>({"CONTRACT", "MARKET"});
template <> inline constexpr auto texts<BumpKind> = std::to_array<std::string_view>({
    "ADDITIVE", "ASSIGNMENT", "HYBRID", "MULTIPLICATIVE"});
template <> inline constexpr auto texts<BumpUnit> = std::to_array<std::string_view>({
    "PERCENTAGE", "BASIS_POINT", "NONE"});
template <> inline constexpr auto texts<InitialGuessMethod> = std::to_array<std::string_view>({
    "LEGACY", "STEFANICA_RADOICIC"});
template <> inline constexpr auto texts<PriceKind> = std::to_array<std::string_view>({
    "CALL_PRICE", "CALL_PRICE_VS_SPOT", "CALL_PRICE_VS_SPOT_PCT",
    "PUT_PRICE", "PUT_PRICE_VS_SPOT", "PUT_PRICE_VS_SPOT_PCT",
    "TOTAL_VARIANCE", "TOTAL_VOLATILITY", "VARIANCE", "VOLATILITY", "VOLATILITY_PCT"});
template <> inline constexpr auto texts<SpaceKind> = std::to_array<std::string_view>({
    "FORWARD_MONEYNESS", "FORWARD_MONEYNESS_PCT", "MONEYNESS", "MONEYNESS_PCT",
    "LOG_MONEYNESS", "LOG_FORWARD_MONEYNESS", "STRIKE"});
template <> inline constexpr auto texts<SequenceKind> = std::to_array<std::string_view>({
    "UNIFORM", "CONSTANT", "CHEBYCHEV"});
// clang-format on

}  // namespace ximAPI::Toolkit
