// What a scenario shifts, and by how much.

#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "core/data/shift.hpp"

namespace ximCORE::Data {

class Currency;
class Underlying;

/// The quantity that is shifted. Its text key: "spot", "forward", "volatility", "yield",
/// "correlation".
enum class PerturbationTarget : std::uint8_t { spot, forward, volatility, yield, correlation };

class IMarketDataPerturbationItem {
 public:
    virtual ~IMarketDataPerturbationItem() = default;
    PerturbationTarget c_get_target() const { return m_target; }

 protected:
    explicit IMarketDataPerturbationItem(PerturbationTarget target) : m_target(target) {}

 private:
    PerturbationTarget m_target;
};

/// A quantity of one underlying; from a text, the cache's underlying of that ticker.
template <PerturbationTarget target>
class UnderlyingPerturbationItem final : public IMarketDataPerturbationItem {
 public:
    explicit UnderlyingPerturbationItem(Underlying const* underlying)
        : IMarketDataPerturbationItem(target), m_underlying(underlying) {}
    explicit UnderlyingPerturbationItem(std::string const& ticker);
    Underlying const* c_get_underlying() const { return m_underlying; }

 private:
    Underlying const* m_underlying;
};

using MarketDataSpotPerturbationItem = UnderlyingPerturbationItem<PerturbationTarget::spot>;
using MarketDataForwardPerturbationItem = UnderlyingPerturbationItem<PerturbationTarget::forward>;
using MarketDataVolatilityPerturbationItem =
    UnderlyingPerturbationItem<PerturbationTarget::volatility>;

extern template class UnderlyingPerturbationItem<PerturbationTarget::spot>;
extern template class UnderlyingPerturbationItem<PerturbationTarget::forward>;
extern template class UnderlyingPerturbationItem<PerturbationTarget::volatility>;

/// The yields of one currency; from a text, the cache's currency of that ticker.
class MarketDataYieldPerturbationItem final : public IMarketDataPerturbationItem {
 public:
    explicit MarketDataYieldPerturbationItem(Currency const* currency)
        : IMarketDataPerturbationItem(PerturbationTarget::yield), m_currency(currency) {}
    explicit MarketDataYieldPerturbationItem(std::string const& ticker);
    Currency const* c_get_currency() const { return m_currency; }

 private:
    Currency const* m_currency;
};

/// The correlation of a pair, in both orders; from a text, "<ticker>#<ticker>".
/// Throws std::out_of_range for a text without '#'.
class MarketDataCorrelationPerturbationItem final : public IMarketDataPerturbationItem {
 public:
    MarketDataCorrelationPerturbationItem(Underlying const* first, Underlying const* second)
        : IMarketDataPerturbationItem(PerturbationTarget::correlation),
          m_first(first),
          m_second(second) {}
    explicit MarketDataCorrelationPerturbationItem(std::string const& tickers);
    Underlying const* c_get_first_underlying() const { return m_first; }
    Underlying const* c_get_second_underlying() const { return m_second; }

 private:
    Underlying const* m_first;
    Underlying const* m_second;
};

class MarketDataPerturbationItem {
 public:
    /// A null item affects nothing.
    MarketDataPerturbationItem(std::shared_ptr<IMarketDataPerturbationItem const> item,
                               MarketDataShift::Kind kind, MarketDataShift::Unit unit,
                               double value);
    /// From a key "<type>@<name>", split at the first '@'; an unknown type affects nothing. Asks
    /// the cache for the objects named, so it belongs after the fetch of the market data. Throws
    /// std::out_of_range for a key without
    /// '@', and for a correlation's name without '#'.
    MarketDataPerturbationItem(std::string const& key, MarketDataShift::Kind kind,
                               MarketDataShift::Unit unit, double value);

    /// Owned by this record and its copies together; may be null.
    IMarketDataPerturbationItem const* c_get_item() const { return m_item.get(); }
    MarketDataShift const& c_get_shift() const { return m_shift; }

    /// True when this shifts `target` of the object given, which is compared by `c_cmp`; false for
    /// null objects.
    [[nodiscard]] bool c_affects(PerturbationTarget target, Underlying const* underlying) const;
    [[nodiscard]] bool c_affects(Currency const* currency) const;
    [[nodiscard]] bool c_affects(Underlying const* first, Underlying const* second) const;

 private:
    std::shared_ptr<IMarketDataPerturbationItem const> m_item;
    MarketDataShift m_shift;
};

}  // namespace ximCORE::Data
