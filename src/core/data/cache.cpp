#include "core/data/cache.hpp"

#include <utility>

#include "core/data/correlation.hpp"
#include "core/data/curves/forward_curve.hpp"
#include "core/data/curves/repo_curve.hpp"
#include "core/data/curves/yield_curve.hpp"
#include "core/data/scenario.hpp"
#include "core/data/spot.hpp"
#include "core/data/surfaces/black_scholes_volatility.hpp"
#include "core/data/surfaces/implied_volatility_surface.hpp"
#include "core/data/underlying.hpp"

namespace ximCORE::Data {

namespace {

/// The item of the key, and whether `make` has just made it. Making an item may itself add others.
template <class Map, class Make>
std::pair<typename Map::mapped_type&, bool> find_or_make(Map& items,
                                                         typename Map::key_type const& key,
                                                         Make make) {
    auto const found = items.lower_bound(key);
    if (found != items.end() && !(key < found->first)) return {found->second, false};
    return {items.emplace_hint(found, key, make())->second, true};
}

bool is_pair(Underlying const& underlying, Currency const& base, Currency const& quote) {
    auto const own_base = underlying.c_get_base_currency();
    auto const& own_quote = underlying.c_get_currency();
    return own_base && own_quote && *own_quote == quote && *own_base == base;
}

/// Gives an item that comes late the slots of the stack in force.
void catch_up(MarketDataPerturbableItem& item) {
    std::size_t depth = 0;
    for (auto const& perturbation : MarketDataScenario::s_get().c_get_perturbation_items())
        item.push_back_perturbation_step(perturbation, ++depth);
}

}  // namespace

MarketDataCache::MarketDataCache() = default;
MarketDataCache::~MarketDataCache() = default;

MarketDataCache& MarketDataCache::s_get() {
    static MarketDataCache cache;
    return cache;
}

std::shared_ptr<Currency> MarketDataCache::get_currency(std::string const& ticker, Level) {
    return find_or_make(m_currencies, ticker,
                        [&] { return std::make_shared<Currency>(ticker, true); })
        .first;
}

std::shared_ptr<Underlying> MarketDataCache::get_underlying(std::string const& ticker, Level) {
    for (auto const& [key, pair] : m_currency_pairs)
        if (pair->c_has_ticker(Level::silent) && pair->c_get_ticker() == ticker) return pair;
    return find_or_make(m_underlyings, ticker,
                        [&] { return std::make_shared<Underlying>(ticker, true); })
        .first;
}

std::shared_ptr<Underlying> MarketDataCache::get_currency_pair(Currency const& base,
                                                               Currency const& quote, Level) {
    for (auto const& [ticker, underlying] : m_underlyings)
        if (is_pair(*underlying, base, quote)) return underlying;
    return find_or_make(m_currency_pairs, {base, quote},
                        [&] { return std::make_shared<Underlying>(base, quote); })
        .first;
}

Spot* MarketDataCache::get_spot(Toolbox::Date const& date, Underlying const* underlying, Level) {
    auto const [spot, is_new] = find_or_make(
        m_spots, {date, underlying}, [&] { return std::make_unique<Spot>(date, underlying); });
    if (is_new && m_spot_archive) {
        m_spot_archive->c_fill(*spot);
        if (spot->c_is_set()) catch_up(*spot);
    }
    return spot.get();
}

BlackScholesVolatility* MarketDataCache::get_blackscholes_volatility(Toolbox::Date const& date,
                                                                     Underlying const* underlying,
                                                                     Level) {
    return find_or_make(m_black_scholes_volatilities, {date, underlying},
                        [&] { return std::make_unique<BlackScholesVolatility>(date, underlying); })
        .first.get();
}

Correlation* MarketDataCache::get_correlation(Toolbox::Date const& date, Underlying const* first,
                                              Underlying const* second, Level) {
    return find_or_make(m_correlations, {date, first, second},
                        [&] { return std::make_unique<Correlation>(date, first, second); })
        .first.get();
}

YieldCurve* MarketDataCache::get_yield_curve(Toolbox::Date const& date, Currency const* currency,
                                             Level) {
    return find_or_make(m_yield_curves, {date, currency},
                        [&] { return std::make_unique<YieldCurve>(date, currency); })
        .first.get();
}

ForwardCurve* MarketDataCache::get_forward_curve(Toolbox::Date const& date,
                                                 Underlying const* underlying, Level) {
    return find_or_make(m_forward_curves, {date, underlying},
                        [&] { return std::make_unique<ForwardCurve>(date, underlying); })
        .first.get();
}

RepoCurve* MarketDataCache::get_repo_curve(Toolbox::Date const& date,
                                           Underlying const* underlying) {
    return find_or_make(m_repo_curves, {date, underlying},
                        [] { return std::make_unique<RepoCurve>(); })
        .first.get();
}

ImpliedVolatilitySurface* MarketDataCache::get_volatility_surface(Toolbox::Date const& date,
                                                                  Underlying const* underlying,
                                                                  Level) {
    return find_or_make(
               m_volatility_surfaces, {date, underlying},
               [&] { return std::make_unique<ImpliedVolatilitySurface>(date, underlying); })
        .first.get();
}

void MarketDataCache::each_perturbable(auto&& visit) {
    auto const each = [&](auto& items) {
        for (auto& [key, item] : items) visit(*item);
    };
    each(m_black_scholes_volatilities);
    each(m_spots);
    each(m_volatility_surfaces);
    each(m_forward_curves);
    each(m_yield_curves);
    each(m_correlations);
}

void MarketDataCache::push_back_perturbation_item(MarketDataPerturbationItem const& item,
                                                  std::size_t const& depth) {
    each_perturbable([&](auto& own) { own.push_back_perturbation_step(item, depth); });
}

void MarketDataCache::pop_back_perturbation_item(MarketDataPerturbationItem const& item,
                                                 std::size_t const& depth) {
    each_perturbable([&](auto& own) { own.pop_back_perturbation_step(item, depth); });
}

void MarketDataCache::clear_perturbation_items() {
    each_perturbable([](auto& own) { own.clear_perturbation_step(); });
}

void MarketDataCache::clear() {
    m_spot_archive.reset();
    // Items before what they point to.
    m_volatility_surfaces.clear();
    m_forward_curves.clear();
    m_repo_curves.clear();
    m_yield_curves.clear();
    m_black_scholes_volatilities.clear();
    m_correlations.clear();
    m_spots.clear();
    m_currency_pairs.clear();
    m_underlyings.clear();
    m_currencies.clear();
}

void MarketDataCache::set_spot_archive(std::shared_ptr<SpotArchive const> archive) {
    m_spot_archive = std::move(archive);
    if (!m_spot_archive) return;
    for (auto& [key, spot] : m_spots)
        if (!spot->c_is_set()) m_spot_archive->c_fill(*spot);
}

}  // namespace ximCORE::Data
