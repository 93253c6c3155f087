// The interface of all sources of market data: batched questions, answered by plain records.

#pragma once

#include <memory>
#include <vector>

#include "core/data/missing.hpp"
#include "core/data/text_field.hpp"

namespace ximCORE::Data {

/// A `get_*` appends a record for each request that the source can answer, in any order and
/// possibly with others that nobody asked for. No answer is no failure; false means that the source
/// itself failed.
class API {
 public:
    /// The texts of a request belong to the caller and live as long as the call.
    struct GetCurrenciesIn {
        char const* ticker;
    };
    struct GetUnderlyingsIn {
        char const* ticker;
    };
    struct GetCurrencyPairsIn {
        char const* base;
        char const* quote;
    };
    struct GetSpotsIn {
        char const* date;
        char const* ticker;
    };
    struct GetBlackScholesVolatilitiesIn {
        char const* date;
        char const* ticker;
    };
    struct GetCorrelationsIn {
        char const* date;
        char const* first;
        char const* second;
    };

    using Ticker = TextField<16>;
    using Name = TextField<32>;
    using CalendarText = TextField<32>;
    using DayCounterText = TextField<16>;
    using CurrencyText = TextField<4>;
    using DateText = TextField<16>;
    using ShiftText = TextField<8>;

    struct GetCurrenciesOut {
        Ticker ticker;
        Name name;
        SetOnce<float> forward_rate_affinity_factor;
        CalendarText calendar;
        DayCounterText day_counter;
    };

    struct GetUnderlyingsOut {
        /// Tells the kind of the underlying by its dynamic type.
        struct Impl {
            virtual ~Impl() = default;
        };
        struct Share final : Impl {};
        struct Fund final : Impl {};
        struct Index final : Impl {};
        struct ExchangeRate final : Impl {
            CurrencyText base;
        };
        struct DepositRate final : Impl {
            ShiftText start;
            ShiftText end;
        };
        struct SwapRate final : Impl {
            ShiftText start;
            ShiftText end;
            ShiftText frequency;
        };
        struct ZeroCouponBond final : Impl {
            ShiftText start;
            ShiftText end;
            CalendarText calendar;
        };

        Ticker ticker;
        Name name;
        CalendarText fixing_calendar;
        DayCounterText day_counter;
        CurrencyText currency;
        std::shared_ptr<Impl> impl;
    };

    struct GetCurrencyPairsOut {
        Ticker ticker;
        Name name;
        CalendarText fixing_calendar;
        DayCounterText day_counter;
        CurrencyText base;
        CurrencyText quote;
    };

    struct GetSpotsOut {
        DateText date;
        Ticker ticker;
        SetOnce<float> value;
    };

    /// The value is in percent.
    struct GetBlackScholesVolatilitiesOut {
        DateText date;
        Ticker ticker;
        SetOnce<float> value;
    };

    /// The value is in percent.
    struct GetCorrelationsOut {
        DateText date;
        Ticker first;
        Ticker second;
        SetOnce<float> value;
    };

    API() = default;
    API(API const&) = delete;
    API& operator=(API const&) = delete;
    virtual ~API() = default;

    /// Opens and closes the source. A source whose `connect` fails is dropped by the gateway.
    [[nodiscard]] virtual bool connect() { return true; }
    [[nodiscard]] virtual bool disconnect() { return true; }

    [[nodiscard]] virtual bool get_currencies(std::vector<GetCurrenciesIn> const&,
                                              std::vector<GetCurrenciesOut>&) {
        return true;
    }
    [[nodiscard]] virtual bool get_underlyings(std::vector<GetUnderlyingsIn> const&,
                                               std::vector<GetUnderlyingsOut>&) {
        return true;
    }
    [[nodiscard]] virtual bool get_currency_pairs(std::vector<GetCurrencyPairsIn> const&,
                                                  std::vector<GetCurrencyPairsOut>&) {
        return true;
    }
    [[nodiscard]] virtual bool get_spots(std::vector<GetSpotsIn> const&,
                                         std::vector<GetSpotsOut>&) {
        return true;
    }
    [[nodiscard]] virtual bool get_black_scholes_volatilities(
        std::vector<GetBlackScholesVolatilitiesIn> const&,
        std::vector<GetBlackScholesVolatilitiesOut>&) {
        return true;
    }
    [[nodiscard]] virtual bool get_correlations(std::vector<GetCorrelationsIn> const&,
                                                std::vector<GetCorrelationsOut>&) {
        return true;
    }
};

}  // namespace ximCORE::Data
