// What the demonstration data describe, apart from the daily spots: read by the program that writes
// the document and by the source that serves the same data without it.

#pragma once

#include <array>
#include <string_view>

namespace ximCORE::Data::Demo {

struct CurrencyRow {
    std::string_view ticker;
    std::string_view name;
    int affinity_factor_tenths;
};

inline constexpr auto currency_table = std::to_array<CurrencyRow>({
    {"USD", "Currency 1", 5},
    {"EUR", "Currency 2", 6},
    {"JPY", "Currency 3", 4},
});

struct ShareRow {
    std::string_view ticker;
    std::string_view name;
    std::string_view currency;
};

inline constexpr auto share_table = std::to_array<ShareRow>({
    {"^GSPC", "Underlying 1", "USD"},
    {"^STOXX50E", "Underlying 2", "EUR"},
    {"^N225", "Underlying 3", "JPY"},
});

struct ExchangeRateRow {
    std::string_view ticker;
    std::string_view name;
    std::string_view base;
    std::string_view quote;
};

inline constexpr auto exchange_rate_table = std::to_array<ExchangeRateRow>({
    {"USD-EUR", "Currency 1 vs Currency 2", "USD", "EUR"},
    {"USD-JPY", "Currency 1 vs Currency 3", "USD", "JPY"},
    {"EUR-JPY", "Currency 2 vs Currency 3", "EUR", "JPY"},
});

inline constexpr std::string_view calendar = "dummy";
inline constexpr std::string_view day_counter = "act_365";

inline constexpr std::string_view volatility_date = "2021-05-03";
inline constexpr int volatility_percent = 20;
inline constexpr auto volatility_tickers = std::to_array<std::string_view>(
    {"^GSPC", "^STOXX50E", "^N225", "USD-EUR", "USD-JPY", "EUR-JPY"});

struct CorrelationRow {
    std::string_view first;
    std::string_view second;
    int percent;
};

inline constexpr std::string_view correlation_date = "2021-10-07";
inline constexpr auto correlation_table = std::to_array<CorrelationRow>({
    {"^GSPC", "^STOXX50E", 50},
    {"^STOXX50E", "^N225", 30},
    {"^GSPC", "^N225", 20},
    {"USD-EUR", "^GSPC", 25},
    {"USD-EUR", "^STOXX50E", 33},
    {"USD-EUR", "^N225", 28},
    {"USD-JPY", "^GSPC", 34},
    {"USD-JPY", "^STOXX50E", 48},
    {"USD-JPY", "^N225", 25},
    {"USD-JPY", "USD-EUR", 36},
});

}  // namespace ximCORE::Data::Demo
