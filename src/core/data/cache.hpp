// The one store of market items of the process. Whoever will need an item asks for it and gets an
// empty one; the gateway then fills all empty items from the sources; pricing reads them. Cleared
// at the end of every call. No lock: the maps belong to the request's thread, and are only read
// while a pricing runs.

#pragma once

#include <cstddef>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "core/data/keys.hpp"
#include "core/data/level.hpp"

namespace ximCORE::Data {

class BlackScholesVolatility;
class Correlation;
class ForwardCurve;
class ImpliedVolatilitySurface;
class MarketDataPerturbationItem;
class RepoCurve;
class Spot;
class YieldCurve;

/// Quotes that a source holds ready and gives when an item is first asked for, instead of making an
/// item for each of them when the source is opened. To all readers both ways look the same.
class SpotArchive {
 public:
    virtual ~SpotArchive() = default;
    /// Sets the value of `spot` if the archive has one.
    virtual void c_fill(Spot& spot) const = 0;
};

class MarketDataCache {
 public:
    template <class Key, class Item>
    using Items = std::map<Key, std::unique_ptr<Item>>;

    static MarketDataCache& s_get();
    ~MarketDataCache();

    /// These find an item or make an empty one: the answer is never null. The level has no effect;
    /// the item's own `c_has_*` reports. Plain pointers stay valid until `clear`.
    std::shared_ptr<Currency> get_currency(std::string const& ticker, Level level);
    /// A currency pair that a source has named is found under its ticker too.
    std::shared_ptr<Underlying> get_underlying(std::string const& ticker, Level level);
    /// An underlying that is the exchange rate of the two currencies is found before the unnamed
    /// pairs.
    std::shared_ptr<Underlying> get_currency_pair(Currency const& base, Currency const& quote,
                                                  Level level);
    Spot* get_spot(Toolbox::Date const& date, Underlying const* underlying, Level level);
    BlackScholesVolatility* get_blackscholes_volatility(Toolbox::Date const& date,
                                                        Underlying const* underlying, Level level);
    Correlation* get_correlation(Toolbox::Date const& date, Underlying const* first,
                                 Underlying const* second, Level level);
    YieldCurve* get_yield_curve(Toolbox::Date const& date, Currency const* currency, Level level);
    ForwardCurve* get_forward_curve(Toolbox::Date const& date, Underlying const* underlying,
                                    Level level);
    RepoCurve* get_repo_curve(Toolbox::Date const& date, Underlying const* underlying);
    /// The surface takes its forward curve from this cache while it is made.
    ImpliedVolatilitySurface* get_volatility_surface(Toolbox::Date const& date,
                                                     Underlying const* underlying, Level level);

    /// One step of the scenario stack on every perturbable item: volatilities, spots, surfaces,
    /// forward curves, yield curves, correlations. Cost: one step per item.
    void push_back_perturbation_item(MarketDataPerturbationItem const& item,
                                     std::size_t const& depth);
    void pop_back_perturbation_item(MarketDataPerturbationItem const& item,
                                    std::size_t const& depth);
    void clear_perturbation_items();

    /// Destroys every item, and forgets the archive.
    void clear();

    /// Fills the unset spots that are here and those made from now on, until `clear`. A spot made
    /// under a scenario gets the slots that it would have if it had been here all the time.
    void set_spot_archive(std::shared_ptr<SpotArchive const> archive);

    std::map<std::string, std::shared_ptr<Currency>> const& c_get_currencies() const {
        return m_currencies;
    }
    std::map<std::string, std::shared_ptr<Underlying>> const& c_get_underlyings() const {
        return m_underlyings;
    }
    std::map<CurrencyPairKey, std::shared_ptr<Underlying>> const& c_get_currency_pairs() const {
        return m_currency_pairs;
    }
    Items<SpotKey, Spot> const& c_get_spots() const { return m_spots; }
    Items<BlackScholesVolatilityKey, BlackScholesVolatility> const&
    c_get_blackscholes_volatilities() const {
        return m_black_scholes_volatilities;
    }
    Items<CorrelationKey, Correlation> const& c_get_correlations() const { return m_correlations; }

 private:
    MarketDataCache();

    void each_perturbable(auto&& visit);

    std::map<std::string, std::shared_ptr<Currency>> m_currencies;
    std::map<std::string, std::shared_ptr<Underlying>> m_underlyings;
    std::map<CurrencyPairKey, std::shared_ptr<Underlying>> m_currency_pairs;
    Items<SpotKey, ForwardCurve> m_forward_curves;
    Items<SpotKey, Spot> m_spots;
    Items<SpotKey, ImpliedVolatilitySurface> m_volatility_surfaces;
    Items<BlackScholesVolatilityKey, BlackScholesVolatility> m_black_scholes_volatilities;
    Items<SpotKey, RepoCurve> m_repo_curves;
    Items<YieldCurveKey, YieldCurve> m_yield_curves;
    Items<CorrelationKey, Correlation> m_correlations;
    std::shared_ptr<SpotArchive const> m_spot_archive;
};

}  // namespace ximCORE::Data
