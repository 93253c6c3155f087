#include "core/data/file_api.hpp"

#include <json/json.h>

#include <stdexcept>
#include <string>

#include "core/data/cache.hpp"
#include "core/data/correlation.hpp"
#include "core/data/date_reader.hpp"
#include "core/data/equity_like.hpp"
#include "core/data/interest_rates.hpp"
#include "core/data/json_text.hpp"
#include "core/data/spot.hpp"
#include "core/data/surfaces/black_scholes_volatility.hpp"
#include "core/toolbox/errors.hpp"

namespace ximCORE::Data {

namespace {

MarketDataCache& cache() {
    return MarketDataCache::s_get();
}

Underlying const* underlying_of(std::string const& ticker) {
    return cache().get_underlying(ticker, Level::silent).get();
}

/// Hands the member to `set` if it is there.
template <class T, class Set>
void set_optional(Json::Value const& item, char const* key, Set set) {
    if (T value; has(item, key, value)) set(value);
}

void read_currency(Json::Value const& item, DateReader&) {
    std::string ticker;
    if (!has(item, "ticker", ticker)) return;
    auto const currency = cache().get_currency(ticker, Level::silent);
    using Text = std::string;
    currency->set_ticker(ticker);
    set_optional<Text>(item, "calendar", [&](Text const& text) { currency->set_calendar(text); });
    set_optional<Text>(item, "day_counter",
                       [&](Text const& text) { currency->set_day_counter(text); });
    set_optional<Text>(item, "name", [&](Text const& text) { currency->set_name(text); });
    set_optional<float>(item, "forward_rate_affinity_factor",
                        [&](float factor) { currency->set_forward_rate_affinity_factor(factor); });
}

// The fields of each kind of underlying. They may throw, so they are read before the cache is
// touched.

void read_impl(Json::Value const&, EquityUnderlying&) {}

void read_impl(Json::Value const& item, ExchangeRate& impl) {
    set_optional<std::string>(item, "base_currency",
                              [&](auto const& text) { impl.set_base_currency(text); });
}

void read_start_and_end(Json::Value const& item, auto& impl) {
    set_optional<std::string>(item, "start", [&](auto const& text) { impl.set_start(text); });
    set_optional<std::string>(item, "end", [&](auto const& text) { impl.set_end(text); });
}

void read_impl(Json::Value const& item, DepositRate& impl) {
    read_start_and_end(item, impl);
}

void read_impl(Json::Value const& item, SwapRate& impl) {
    read_start_and_end(item, impl);
    set_optional<std::string>(item, "frequency",
                              [&](auto const& text) { impl.set_frequency(text); });
}

void read_impl(Json::Value const& item, ZeroCouponBond& impl) {
    set_optional<std::string>(item, "calendar", [&](auto const& text) { impl.set_calendar(text); });
    read_start_and_end(item, impl);
}

template <class Impl>
void read_underlying(Json::Value const& item, DateReader&) {
    std::string ticker;
    if (!has(item, "ticker", ticker)) return;
    auto impl = std::make_shared<Impl>();
    read_impl(item, *impl);

    auto const underlying = cache().get_underlying(ticker, Level::silent);
    using Text = std::string;
    underlying->set_ticker(ticker);
    set_optional<Text>(item, "fixing_calendar",
                       [&](Text const& text) { underlying->set_fixing_calendar(text); });
    set_optional<Text>(item, "day_counter",
                       [&](Text const& text) { underlying->set_day_counter(text); });
    set_optional<Text>(item, "name", [&](Text const& text) { underlying->set_name(text); });
    if (Text text; has(item, "currency", text) || has(item, "quote_currency", text))
        underlying->set_currency(text);
    underlying->set_impl(std::move(impl));
}

void read_spot(Json::Value const& item, DateReader& dates) {
    std::string ticker;
    std::string date;
    float bid = 0.0F;
    float ask = 0.0F;
    if (!has(item, "ticker", ticker) || !has(item, "date", date) || !has(item, "bid", bid) ||
        !has(item, "ask", ask))
        return;
    auto const& day = dates.read(date);
    cache()
        .get_spot(day, underlying_of(ticker), Level::silent)
        ->set_val(static_cast<float>(0.5 * static_cast<double>(bid + ask)));
}

float from_percent(float percent) {
    return static_cast<float>(static_cast<double>(percent) * 0.01);
}

float to_percent(double fraction) {
    return static_cast<float>(fraction * 100.0);
}

void read_correlation(Json::Value const& item, DateReader& dates) {
    std::string first;
    std::string second;
    std::string date;
    float value = 0.0F;
    if (!has(item, "first", first) || !has(item, "second", second) || !has(item, "date", date) ||
        !has(item, "value", value))
        return;
    auto const& day = dates.read(date);
    cache()
        .get_correlation(day, underlying_of(first), underlying_of(second), Level::silent)
        ->set_val(from_percent(value));
}

void read_volatility(Json::Value const& item, DateReader& dates) {
    std::string ticker;
    std::string date;
    float value = 0.0F;
    if (!has(item, "ticker", ticker) || !has(item, "date", date) || !has(item, "value", value))
        return;
    auto const& day = dates.read(date);
    cache()
        .get_blackscholes_volatility(day, underlying_of(ticker), Level::silent)
        ->set_val(from_percent(value));
}

struct Type {
    std::string_view name;
    void (*read)(Json::Value const& item, DateReader& dates);
};

constexpr auto type_table = std::to_array<Type>({
    {"Spot", read_spot},
    {"Currency", read_currency},
    {"ShareUnderlying", read_underlying<Share>},
    {"FundUnderlying", read_underlying<Fund>},
    {"IndexUnderlying", read_underlying<Index>},
    {"ExchangeRateUnderlying", read_underlying<ExchangeRate>},
    {"DepositRateUnderlying", read_underlying<DepositRate>},
    {"SwapRateUnderlying", read_underlying<SwapRate>},
    {"ZeroCouponBondUnderlying", read_underlying<ZeroCouponBond>},
    {"Correlation", read_correlation},
    {"BlackScholesVolatility", read_volatility},
});

void read_item(Json::Value const& item, DateReader& dates) {
    std::string name;
    if (!has(item, "type", name)) return;
    auto const* type = std::ranges::find(type_table, name, &Type::name);
    if (type == type_table.end()) return;
    try {
        type->read(item, dates);
    } catch (Toolbox::ConstructorException const&) {
        return;  // a date or shift that does not read has left its record
    } catch (std::out_of_range const&) {
        return;  // a shift's count beyond all numbers
    }
}

/// One reply for each request whose item has a value. `find` gives the item of a date and request;
/// `fill` writes all but the date of the reply.
template <class In, class Out>
void answer(std::vector<In> const& in, std::vector<Out>& out, auto find, auto fill) {
    DateReader dates;
    for (auto const& request : in) {
        auto const* date = dates.find(request.date);
        if (!date) continue;
        auto* item = find(*date, request);
        if (!item->c_has_val(Level::silent)) continue;
        auto& reply = out.emplace_back();
        reply.date.set(request.date);
        fill(request, item->c_get_val(), reply);
    }
}

}  // namespace

void FileAPI::_c_build(Json::Value const& document) const {
    if (!document.isArray()) return;
    DateReader dates;
    for (auto const& item : document) read_item(item, dates);
}

bool FileAPI::get_currency_pairs(std::vector<GetCurrencyPairsIn> const& in,
                                 std::vector<GetCurrencyPairsOut>& out) {
    for (auto const& request : in) {
        auto const base = cache().get_currency(request.base, Level::silent);
        auto const quote = cache().get_currency(request.quote, Level::silent);
        auto const pair = cache().get_currency_pair(*base, *quote, Level::silent);
        if (!pair->c_has_ticker(Level::silent)) continue;
        auto& reply = out.emplace_back();
        reply.ticker.set(pair->c_get_ticker());
        if (pair->c_has_name(Level::silent)) reply.name.set_cut(pair->c_get_name());
        reply.quote.set(quote->c_get_ticker());
        reply.base.set(base->c_get_ticker());
    }
    return true;
}

bool FileAPI::get_spots(std::vector<GetSpotsIn> const& in, std::vector<GetSpotsOut>& out) {
    auto const find = [](Toolbox::Date const& date, GetSpotsIn const& request) {
        return cache().get_spot(date, underlying_of(request.ticker), Level::silent);
    };
    answer(in, out, find, [](GetSpotsIn const& request, double value, GetSpotsOut& reply) {
        reply.ticker.set(request.ticker);
        reply.value.set(static_cast<float>(value));
    });
    return true;
}

bool FileAPI::get_black_scholes_volatilities(std::vector<GetBlackScholesVolatilitiesIn> const& in,
                                             std::vector<GetBlackScholesVolatilitiesOut>& out) {
    auto const find = [](Toolbox::Date const& date, auto const& request) {
        return cache().get_blackscholes_volatility(date, underlying_of(request.ticker),
                                                   Level::silent);
    };
    answer(in, out, find, [](auto const& request, double value, auto& reply) {
        reply.ticker.set(request.ticker);
        reply.value.set(to_percent(value));
    });
    return true;
}

bool FileAPI::get_correlations(std::vector<GetCorrelationsIn> const& in,
                               std::vector<GetCorrelationsOut>& out) {
    auto const find = [](Toolbox::Date const& date, auto const& request) {
        return cache().get_correlation(date, underlying_of(request.first),
                                       underlying_of(request.second), Level::silent);
    };
    answer(in, out, find, [](auto const& request, double value, auto& reply) {
        reply.first.set(request.first);
        reply.second.set(request.second);
        reply.value.set(to_percent(value));
    });
    return true;
}

}  // namespace ximCORE::Data
