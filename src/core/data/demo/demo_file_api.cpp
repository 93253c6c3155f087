#include <algorithm>
#include <string>
#include <vector>

#include "core/data/cache.hpp"
#include "core/data/correlation.hpp"
#include "core/data/demo/content.hpp"
#include "core/data/demo/document.hpp"
#include "core/data/equity_like.hpp"
#include "core/data/file_api.hpp"
#include "core/data/spot.hpp"
#include "core/data/surfaces/black_scholes_volatility.hpp"

namespace ximCORE::Data {

namespace {

MarketDataCache& cache() {
    return MarketDataCache::s_get();
}

std::shared_ptr<Underlying> underlying_of(std::string_view ticker) {
    return cache().get_underlying(std::string(ticker), Level::silent);
}

/// The generated spots, for the underlyings that carry their tickers now.
class DemoSpots final : public SpotArchive {
 public:
    DemoSpots() {
        for (auto const& series : Demo::series())
            m_items.push_back({underlying_of(series.ticker).get(), series.quotes});
    }

    void c_fill(Spot& spot) const override {
        auto const item = std::ranges::find(m_items, spot.c_get_underlying(), &Item::underlying);
        if (item == m_items.end()) return;
        auto const& date = spot.c_get_date();
        auto const day = date.c_get_year() * 10000 + date.c_get_month() * 100 + date.c_get_day();
        auto const quote = std::ranges::lower_bound(item->quotes, day, {}, &Demo::Quote::day);
        if (quote != item->quotes.end() && quote->day == day) spot.set_val(quote->value);
    }

 private:
    struct Item {
        Underlying const* underlying;
        std::span<Demo::Quote const> quotes;
    };
    std::vector<Item> m_items;
};

float from_percent(int percent) {
    return static_cast<float>(percent * 0.01);
}

void build_currency(Demo::CurrencyRow const& row) {
    std::string const ticker(row.ticker);
    auto const currency = cache().get_currency(ticker, Level::silent);
    currency->set_ticker(ticker);
    currency->set_calendar(Demo::calendar);
    currency->set_day_counter(Demo::day_counter);
    currency->set_name(row.name);
    currency->set_forward_rate_affinity_factor(
        static_cast<float>(row.affinity_factor_tenths / 10.0));
}

void build_underlying(std::string_view ticker, std::string_view name, std::string_view currency,
                      std::shared_ptr<Underlying::Impl> impl) {
    auto const underlying = underlying_of(ticker);
    underlying->set_ticker(ticker);
    underlying->set_fixing_calendar(Demo::calendar);
    underlying->set_day_counter(Demo::day_counter);
    underlying->set_name(name);
    underlying->set_currency(std::string(currency));
    underlying->set_impl(std::move(impl));
}

void build_exchange_rate(Demo::ExchangeRateRow const& row) {
    auto impl = std::make_shared<ExchangeRate>();
    impl->set_base_currency(std::string(row.base));
    build_underlying(row.ticker, row.name, row.quote, std::move(impl));
}

void build_volatility(Toolbox::Date const& date, std::string_view ticker) {
    cache()
        .get_blackscholes_volatility(date, underlying_of(ticker).get(), Level::silent)
        ->set_val(from_percent(Demo::volatility_percent));
}

void build_correlation(Toolbox::Date const& date, Demo::CorrelationRow const& row) {
    cache()
        .get_correlation(date, underlying_of(row.first).get(), underlying_of(row.second).get(),
                         Level::silent)
        ->set_val(from_percent(row.percent));
}

}  // namespace

bool DemoFileAPI::connect() {
    for (auto const& row : Demo::currency_table) build_currency(row);
    for (auto const& row : Demo::share_table)
        build_underlying(row.ticker, row.name, row.currency, std::make_shared<Share>());
    for (auto const& row : Demo::exchange_rate_table) build_exchange_rate(row);
    cache().set_spot_archive(std::make_shared<DemoSpots>());
    Toolbox::Date const volatility_date{std::string(Demo::volatility_date)};
    for (auto const ticker : Demo::volatility_tickers) build_volatility(volatility_date, ticker);
    Toolbox::Date const correlation_date{std::string(Demo::correlation_date)};
    for (auto const& row : Demo::correlation_table) build_correlation(correlation_date, row);
    return true;
}

}  // namespace ximCORE::Data
