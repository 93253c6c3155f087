// A small market in the cache for tests: every test starts and ends with an empty cache, scenario
// and log, and with the class-wide switches of market data at their start values.

#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "core/data/cache.hpp"
#include "core/data/correlation.hpp"
#include "core/data/curves/forward_curve.hpp"
#include "core/data/curves/yield_curve.hpp"
#include "core/data/equity_like.hpp"
#include "core/data/perturbation.hpp"
#include "core/data/scenario.hpp"
#include "core/data/spot.hpp"
#include "core/data/surfaces/black_scholes_volatility.hpp"
#include "core/data/surfaces/implied_volatility_surface.hpp"
#include "core/data/underlying.hpp"
#include "core/toolbox/date.hpp"
#include "core/toolbox/log.hpp"

namespace ximCORE::Testing {

class MarketTest : public ::testing::Test {
 protected:
    using Date = Toolbox::Date;
    using Shift = Data::MarketDataShift;

    MarketTest() { reset(); }
    ~MarketTest() override { reset(); }

    static void reset() {
        cache().clear();
        Data::MarketDataScenario::s_get().clear();
        Data::MarketDataScenario::s_spot_volatility_dynamic_kind =
            Data::SpotVolatilityDynamic::sticky_strike;
        Data::Spot::s_set_default_value = false;
        Data::Spot::s_set_default_fx_value = false;
        Data::Correlation::s_set_default_value = false;
        Data::BlackScholesVolatility::s_set_default_value = false;
        Toolbox::Log::s_get().clear();
    }

    static Data::MarketDataCache& cache() { return Data::MarketDataCache::s_get(); }

    /// A full currency; alpha is where its forward rates stop rising between two pillars.
    static std::shared_ptr<Data::Currency> currency(std::string const& ticker, float alpha = 0.5F) {
        auto result = cache().get_currency(ticker, Data::Level::silent);
        result->set_name(ticker);
        result->set_calendar("dummy");
        result->set_day_counter("act_365");
        result->set_forward_rate_affinity_factor(alpha);
        return result;
    }

    /// A full underlying with the impl given, without any quote.
    static std::shared_ptr<Data::Underlying> underlying(
        std::string const& ticker, std::string const& currency_ticker,
        std::shared_ptr<Data::Underlying::Impl> impl) {
        auto result = cache().get_underlying(ticker, Data::Level::silent);
        result->set_name(ticker);
        result->set_fixing_calendar("dummy");
        result->set_day_counter("act_365");
        result->set_currency(currency(currency_ticker));
        result->set_impl(std::move(impl));
        return result;
    }

    static std::shared_ptr<Data::Underlying> share(std::string const& ticker,
                                                   std::string const& currency_ticker = "EUR") {
        return underlying(ticker, currency_ticker, std::make_shared<Data::Share>());
    }

    static std::shared_ptr<Data::Underlying> exchange_rate(std::string const& ticker,
                                                           std::string const& base,
                                                           std::string const& quote) {
        return underlying(ticker, quote, std::make_shared<Data::ExchangeRate>(currency(base)));
    }

    void set_spot(Data::Underlying const& asset, double value) const {
        cache().get_spot(today, &asset, Data::Level::silent)->set_val(static_cast<float>(value));
    }

    void set_volatility(Data::Underlying const& asset, double value) const {
        cache()
            .get_blackscholes_volatility(today, &asset, Data::Level::silent)
            ->set_val(static_cast<float>(value));
    }

    void set_correlation(Data::Underlying const& first, Data::Underlying const& second,
                         double value) const {
        cache()
            .get_correlation(today, &first, &second, Data::Level::silent)
            ->set_val(static_cast<float>(value));
    }

    Data::YieldCurve& yield_curve(Data::Currency const& owner) const {
        return *cache().get_yield_curve(today, &owner, Data::Level::silent);
    }

    Data::ForwardCurve& forward_curve(Data::Underlying const& asset) const {
        return *cache().get_forward_curve(today, &asset, Data::Level::silent);
    }

    Data::ImpliedVolatilitySurface& surface(Data::Underlying const& asset) const {
        return *cache().get_volatility_surface(today, &asset, Data::Level::silent);
    }

    /// Pushes one shift on the scenario: `Item` of `objects`.
    template <class Item, class... Objects>
    static void push(Shift::Kind kind, Shift::Unit unit, double value, Objects const*... objects) {
        Data::MarketDataScenario::s_get().push_back(Data::MarketDataPerturbationItem(
            std::make_shared<Item const>(objects...), kind, unit, value));
    }
    static void pop() { Data::MarketDataScenario::s_get().pop_back(); }

    /// The texts of the log at one level, oldest first.
    static std::vector<std::string> logged(Toolbox::Log::Level level) {
        std::vector<std::string> texts;
        for (auto const& entry : Toolbox::Log::s_get())
            if (entry.level == level) texts.push_back(entry.text);
        return texts;
    }
    static std::vector<std::string> errors() { return logged(Toolbox::Log::Level::ERROR); }
    static std::vector<std::string> warnings() { return logged(Toolbox::Log::Level::WARNING); }

    Date const today{2023, 1, 1};
    Date const half_year{2023, 7, 2};  // 182 days
    Date const one_year{2024, 1, 1};   // 365 days
    Date const two_years{2025, 1, 1};  // 731 days
};

}  // namespace ximCORE::Testing
