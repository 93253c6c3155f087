#include "core/data/perturbation.hpp"

#include <stdexcept>
#include <utility>

#include "core/data/cache.hpp"
#include "core/data/currency.hpp"
#include "core/data/underlying.hpp"

namespace ximCORE::Data {

namespace {

Underlying const* find_underlying(std::string const& ticker) {
    return MarketDataCache::s_get().get_underlying(ticker, Level::error).get();
}

/// The text before and after the first separator; throws std::out_of_range without one.
std::pair<std::string, std::string> split(std::string const& text, char separator) {
    auto const position = text.find(separator);
    if (position == std::string::npos)
        throw std::out_of_range(std::string("No '") + separator + "' in " + text);
    return {text.substr(0, position), text.substr(position + 1)};
}

template <class Item>
std::shared_ptr<IMarketDataPerturbationItem const> make_item(std::string const& name) {
    return std::make_shared<Item>(name);
}

struct Type {
    std::string_view key;
    std::shared_ptr<IMarketDataPerturbationItem const> (*make)(std::string const& name);
};

constexpr auto type_table = std::to_array<Type>({
    {"spot", make_item<MarketDataSpotPerturbationItem>},
    {"forward", make_item<MarketDataForwardPerturbationItem>},
    {"volatility", make_item<MarketDataVolatilityPerturbationItem>},
    {"yield", make_item<MarketDataYieldPerturbationItem>},
    {"correlation", make_item<MarketDataCorrelationPerturbationItem>},
});

std::shared_ptr<IMarketDataPerturbationItem const> read_key(std::string const& text) {
    auto const [key, name] = split(text, '@');
    for (auto const& type : type_table)
        if (type.key == key) return type.make(name);
    return nullptr;
}

template <class T>
bool is_same(T const* left, T const* right) {
    return left && right && (left == right || left->c_cmp(*right) == 0);
}

template <class Item>
Underlying const* underlying_of(IMarketDataPerturbationItem const& item) {
    return static_cast<Item const&>(item).c_get_underlying();
}

}  // namespace

template <PerturbationTarget target>
UnderlyingPerturbationItem<target>::UnderlyingPerturbationItem(std::string const& ticker)
    : UnderlyingPerturbationItem(find_underlying(ticker)) {}

template class UnderlyingPerturbationItem<PerturbationTarget::spot>;
template class UnderlyingPerturbationItem<PerturbationTarget::forward>;
template class UnderlyingPerturbationItem<PerturbationTarget::volatility>;

MarketDataYieldPerturbationItem::MarketDataYieldPerturbationItem(std::string const& ticker)
    : MarketDataYieldPerturbationItem(
          MarketDataCache::s_get().get_currency(ticker, Level::error).get()) {}

MarketDataCorrelationPerturbationItem::MarketDataCorrelationPerturbationItem(
    std::string const& tickers)
    : IMarketDataPerturbationItem(PerturbationTarget::correlation) {
    auto const [first, second] = split(tickers, '#');
    m_first = find_underlying(first);
    m_second = find_underlying(second);
}

MarketDataPerturbationItem::MarketDataPerturbationItem(
    std::shared_ptr<IMarketDataPerturbationItem const> item, MarketDataShift::Kind kind,
    MarketDataShift::Unit unit, double value)
    : m_item(std::move(item)), m_shift{kind, unit, value} {}

MarketDataPerturbationItem::MarketDataPerturbationItem(std::string const& key,
                                                       MarketDataShift::Kind kind,
                                                       MarketDataShift::Unit unit, double value)
    : MarketDataPerturbationItem(read_key(key), kind, unit, value) {}

bool MarketDataPerturbationItem::c_affects(PerturbationTarget target,
                                           Underlying const* underlying) const {
    if (!m_item || m_item->c_get_target() != target) return false;
    switch (target) {
        case PerturbationTarget::spot:
            return is_same(underlying_of<MarketDataSpotPerturbationItem>(*m_item), underlying);
        case PerturbationTarget::forward:
            return is_same(underlying_of<MarketDataForwardPerturbationItem>(*m_item), underlying);
        case PerturbationTarget::volatility:
            return is_same(underlying_of<MarketDataVolatilityPerturbationItem>(*m_item),
                           underlying);
        case PerturbationTarget::yield:
        case PerturbationTarget::correlation:
            break;
    }
    return false;
}

bool MarketDataPerturbationItem::c_affects(Currency const* currency) const {
    if (!m_item || m_item->c_get_target() != PerturbationTarget::yield) return false;
    auto const& item = static_cast<MarketDataYieldPerturbationItem const&>(*m_item);
    return is_same(item.c_get_currency(), currency);
}

bool MarketDataPerturbationItem::c_affects(Underlying const* first,
                                           Underlying const* second) const {
    if (!m_item || m_item->c_get_target() != PerturbationTarget::correlation) return false;
    auto const& item = static_cast<MarketDataCorrelationPerturbationItem const&>(*m_item);
    auto const* item_first = item.c_get_first_underlying();
    auto const* item_second = item.c_get_second_underlying();
    return (is_same(item_first, first) && is_same(item_second, second)) ||
           (is_same(item_first, second) && is_same(item_second, first));
}

}  // namespace ximCORE::Data
