#include "core/data/underlying.hpp"

#include <cstring>
#include <stdexcept>
#include <utility>

#include "core/contract/information.hpp"
#include "core/data/cache.hpp"
#include "core/data/equity_like.hpp"
#include "core/data/spot.hpp"

namespace ximCORE::Data {

namespace {

int sign(int x) {
    return (x > 0) - (x < 0);
}

ExchangeRate* as_exchange_rate(Underlying const& underlying) {
    return underlying.c_get_asset_class() == AssetClass::exchange_rate
               ? static_cast<ExchangeRate*>(underlying.c_get_impl().get())
               : nullptr;
}

template <class T>
std::shared_ptr<T> clone(std::shared_ptr<T> const& source) {
    return source ? source->c_clone() : nullptr;
}

/// Visits the underlying, its quanto rate, the rate's own and so on until `visit` answers false.
template <class Visit>
bool each_link(Underlying* underlying, Visit visit) {
    for (; underlying; underlying = underlying->c_get_quanto_exchange_rate().get())
        if (!visit(*underlying)) return false;
    return true;
}

}  // namespace

Underlying::Underlying(Currency const& base, Currency const& quote) {
    auto& cache = MarketDataCache::s_get();
    set_impl(
        std::make_shared<ExchangeRate>(cache.get_currency(base.c_get_ticker(), Level::silent)));
    set_currency(cache.get_currency(quote.c_get_ticker(), Level::silent));
}

Underlying::Underlying(Underlying const& other)
    : MarketDataStaticItem(other),
      m_ticker(other.m_ticker),
      m_name(other.m_name),
      m_fixing_calendar(other.m_fixing_calendar),
      m_day_counter(other.m_day_counter),
      m_currency(clone(other.m_currency.get()), other.m_currency.has()),
      m_impl(clone(other.m_impl.get()), other.m_impl.has()),
      m_quanto_exchange_rate(clone(other.m_quanto_exchange_rate)),
      m_is_in_basket(other.m_is_in_basket) {}

bool Underlying::c_is_set() const {
    return m_ticker.has() && m_name.has() && m_fixing_calendar.has() && m_day_counter.has() &&
           m_currency.has() && m_impl.has() && m_impl.get()->c_is_set();
}

int Underlying::c_cmp(Underlying const& other) const {
    if (this == &other) return 0;
    auto const own_class = c_get_asset_class();
    auto const other_class = other.c_get_asset_class();
    if (own_class != other_class) return own_class < other_class ? -1 : 1;
    if (m_ticker.has() && other.m_ticker.has()) return sign(std::strcmp(c_str(), other.c_str()));
    if (m_currency.has() && other.m_currency.has()) {
        int const quotes = sign(m_currency.get()->c_cmp(*other.m_currency.get()));
        if (quotes != 0) return quotes;
        auto const base = c_get_base_currency();
        auto const other_base = other.c_get_base_currency();
        if (base && other_base) return sign(base->c_cmp(*other_base));
    }
    throw std::runtime_error("Unknown error");
}

std::shared_ptr<Currency> Underlying::c_get_base_currency() const {
    auto const* rate = as_exchange_rate(*this);
    return rate ? rate->c_get_base_currency() : nullptr;
}

AssetClass Underlying::c_get_asset_class() const {
    return m_impl.has() ? m_impl.get()->c_get_asset_class() : AssetClass::none;
}

AssetKind Underlying::c_get_asset_kind() const {
    return m_impl.has() ? m_impl.get()->c_get_asset_kind() : AssetKind::none;
}

short Underlying::c_get_rank() const {
    return c_is_equity_like() ? static_cast<EquityLikeUnderlying&>(*m_impl.get()).c_get_rank()
                              : short{-1};
}

void Underlying::set_rank(short rank) {
    if (c_is_equity_like()) static_cast<EquityLikeUnderlying&>(*m_impl.get()).set_rank(rank);
}

bool Underlying::report(Level level, std::string_view prefix) const {
    return is_reported(level) && c_has_ticker(Level::error) && missing(level, prefix, *this);
}

bool Underlying::c_has_currency(Level level) const {
    return m_currency.has() || report(level, "Cannot find currency of underlying with ticker '");
}

bool Underlying::c_has_name(Level level) const {
    return m_name.has() || report(level, "Cannot find name for underlying with ticker '");
}

bool Underlying::c_has_impl(Level level) const {
    return m_impl.has() || report(level, "Cannot find kind of underlying with ticker '");
}

bool Underlying::c_has_fixing_calendar(Level level) const {
    return m_fixing_calendar.has() ||
           report(level, "Cannot find fixing calendar of underlying with ticker '");
}

bool Underlying::c_has_day_counter(Level level) const {
    return m_day_counter.has() ||
           report(level, "Cannot find day counter of underlying with ticker '");
}

bool Underlying::c_has_ticker(Level level) const {
    if (m_ticker.has()) return true;
    if (!is_reported(level)) return false;
    auto const* rate = as_exchange_rate(*this);
    // Without its currency there is no pair to name, and `c_has_currency` would ask for the ticker
    // again.
    if (!rate || !m_currency.has()) return missing_text(level, "Unknown underlying");
    if (!rate->c_has_base_currency(*this, level)) return false;
    auto const& base = *rate->c_get_base_currency();
    auto const& quote = *m_currency.get();
    return base.c_has_ticker(level) && quote.c_has_ticker(level) &&
           missing_text(level, "Cannot find ticker of currency pair '", base.c_str(), "-",
                        quote.c_str(), "'");
}

void Underlying::set_fixing_calendar(std::string_view text) {
    if (auto calendar = Toolbox::Calendar::of_str(std::string(text)))
        m_fixing_calendar.set(calendar);
}

void Underlying::set_day_counter(std::string_view text) {
    if (auto basis = Toolbox::Basis::of_str(std::string(text)))
        m_day_counter.set(Toolbox::DayCounter(basis, Toolbox::Calendar::of_id(0)));
}

void Underlying::set_currency(std::string const& text) {
    if (!m_currency.has() && !text.empty())
        set_currency(MarketDataCache::s_get().get_currency(text, Level::silent));
}

void Underlying::set_currency(std::shared_ptr<Currency> currency) {
    if (currency) m_currency.set(std::move(currency));
}

void Underlying::set_impl(std::shared_ptr<Impl> impl) {
    if (impl) m_impl.set(std::move(impl));
}

bool Underlying::set_quanto_exchange_rate(Currency const& pay) {
    if (m_quanto_exchange_rate) return true;
    if (!m_currency.has()) return false;
    if (pay == *m_currency.get()) return true;
    m_quanto_exchange_rate =
        MarketDataCache::s_get().get_currency_pair(*m_currency.get(), pay, Level::silent);
    return true;
}

bool Underlying::eval(Toolbox::Date const& date, double& out, Level level) const {
    // Relied on: a missing spot is an error whatever the level asked
    return MarketDataCache::s_get().get_spot(date, this, level)->eval(out, Level::error);
}

void Underlying::c_set_fixing_grid_internal(Toolbox::Date const& date,
                                            Modeling::FixingGrid& grid) const {
    if (m_impl.has() && m_currency.has())
        m_impl.get()->c_set_fixing_grid_internal(date, *m_currency.get(), grid);
}

bool Underlying::build(Toolbox::Date const& date) {
    return !m_impl.has() || m_impl.get()->build(date);
}

std::shared_ptr<Underlying> Underlying::c_get_reverse_pair() const {
    auto const base = c_get_base_currency();
    if (!base || !m_currency.has()) return nullptr;
    return MarketDataCache::s_get().get_currency_pair(*m_currency.get(), *base, Level::silent);
}

void Underlying::accumulate_underlyings(std::vector<Underlying*>& out) {
    each_link(this, [&](Underlying& link) {
        out.push_back(&link);
        return true;
    });
}

void Underlying::accumulate_equity_like_underlyings(std::vector<Underlying*>& out) {
    each_link(this, [&](Underlying& link) {
        if (link.c_is_equity_like()) out.push_back(&link);
        return true;
    });
}

void Underlying::accumulate_currencies(std::vector<Currency*>& out) {
    each_link(this, [&](Underlying& link) {
        if (link.c_get_currency()) out.push_back(link.c_get_currency().get());
        if (link.c_get_impl()) link.c_get_impl()->accumulate_currencies(out);
        return true;
    });
}

void Underlying::accumulate_maturity_dates(std::vector<Toolbox::Date*>& out) {
    each_link(this, [&](Underlying& link) {
        if (link.c_get_impl()) link.c_get_impl()->accumulate_maturity_dates(out);
        return true;
    });
}

bool Underlying::accumulate_all(Contract::ContractInformation& information) {
    return each_link(this, [&](Underlying& link) {
        if (!link.c_get_currency())
            return link.c_has_ticker(Level::error) &&
                   missing_text(Level::error, "Cannot find currency of underlying with ticker ",
                                link.c_str());
        information.currencies.push_back(link.c_get_currency().get());
        if (link.c_is_equity_like()) information.equity_like_underlyings.push_back(&link);
        return !link.c_get_impl() || link.c_get_impl()->accumulate_all(information, link);
    });
}

}  // namespace ximCORE::Data
