#include "core/contract/fixing.hpp"

#include <stdexcept>

#include "core/contract/contract.hpp"
#include "core/data/cache.hpp"
#include "core/data/missing.hpp"

namespace ximCORE::Contract {

namespace {

using Data::Level;
using Data::MarketDataCache;
using Data::Underlying;

/// Underlyings exist once for each ticker, but a source can give a pair its ticker after it was
/// made under its currencies.
bool is_same(Underlying const& a, Underlying const& b) {
    return &a == &b ||
           (a.c_has_ticker(Level::silent) && b.c_has_ticker(Level::silent) && a.c_cmp(b) == 0);
}

bool hand_out_underlying(Underlying& underlying, Harvest& harvest) {
    if (harvest.everything) return underlying.accumulate_all(*harvest.everything);
    if (harvest.currencies) underlying.accumulate_currencies(*harvest.currencies);
    if (harvest.equity_like_underlyings)
        underlying.accumulate_equity_like_underlyings(*harvest.equity_like_underlyings);
    if (harvest.underlyings) underlying.accumulate_underlyings(*harvest.underlyings);
    if (harvest.maturity_dates) underlying.accumulate_maturity_dates(*harvest.maturity_dates);
    return true;
}

/// Known itself, and its quanto rate if it has one.
bool is_set(Underlying const& underlying) {
    auto const& rate = underlying.c_get_quanto_exchange_rate();
    return underlying.c_is_set() && (rate == nullptr || rate->c_is_set());
}

}  // namespace

Fixing::Fixing(Toolbox::Date const& date, std::string underlying, std::string currency,
               Toolbox::DateShift shift)
    : Amount(Shape::fixing),
      m_date(date),
      m_underlying_name(std::move(underlying)),
      m_currency_name(std::move(currency)),
      m_shift(std::move(shift)) {}

Fixing::Fixing(Toolbox::Date const& date, std::shared_ptr<Data::Underlying> underlying)
    : Amount(Shape::fixing),
      m_date(date),
      m_underlying(std::move(underlying)),
      m_underlying_name(m_underlying->c_str()) {
    find_equity_like();
}

int Fixing::c_cmp(Fixing const& other) const {
    if (int const dates = m_date.c_cmp(other.m_date); dates != 0) return dates;
    if (m_underlying && other.m_underlying) {
        if (int const underlyings = m_underlying->c_cmp(*other.m_underlying); underlyings != 0)
            return underlyings;
    } else if (int const names = m_underlying_name.compare(other.m_underlying_name); names != 0) {
        return names < 0 ? -1 : 1;
    }
    int const currencies =
        m_currency_name.compare(other.m_currency_name);  // an empty one comes first
    return (currencies > 0) - (currencies < 0);
}

bool Fixing::c_get_value(double& value) const {
    return c_eval_known(value, Level::error);
}

bool Fixing::resolve(Toolbox::Date const& date, Data::Currency const* pricing) {
    auto& cache = MarketDataCache::s_get();
    if (!m_underlying) {
        m_underlying = cache.get_underlying(m_underlying_name, Level::silent);
        m_underlying->set_is_in_basket(true);
    }
    bool is_complete = resolve_conversion(pricing);
    // an observation, which has no pricing currency, always looks at today's fixing
    bool const with_today = pricing == nullptr || !Contract::s_intraday.IntradayFixings;
    if (m_date < date || (m_date == date && with_today)) {
        cache.get_spot(m_date, m_underlying.get(), Level::silent);
        if (m_conversion) cache.get_spot(m_date, m_conversion.get(), Level::silent);
    }
    if (pricing) is_complete = m_underlying->set_quanto_exchange_rate(*pricing) && is_complete;
    is_complete = m_underlying->build(m_date) && is_complete;
    find_equity_like();
    return is_complete && is_set(*m_underlying);
}

/// Redone each time: a source can meanwhile have told an underlying that is the pair.
bool Fixing::resolve_conversion(Data::Currency const* pricing) {
    m_conversion.reset();
    if (m_currency_name.empty()) return true;
    auto& cache = MarketDataCache::s_get();
    if (!m_currency) m_currency = cache.get_currency(m_currency_name, Level::silent);
    auto const& own = m_underlying->c_get_currency();
    if (!own) return false;
    if (*own == *m_currency) return m_currency->c_is_set();
    m_conversion = cache.get_currency_pair(*own, *m_currency, Level::silent);
    m_conversion->set_is_in_basket(true);
    bool const is_complete = pricing == nullptr || m_conversion->set_quanto_exchange_rate(*pricing);
    return is_complete && m_currency->c_is_set() && is_set(*m_conversion);
}

void Fixing::find_equity_like() {
    if (m_equity_like == nullptr && m_underlying)
        m_equity_like =
            dynamic_cast<Data::EquityLikeUnderlying const*>(m_underlying->c_get_impl().get());
}

void Fixing::c_open(Modeling::FixingGrid& grid) const {
    if (m_underlying) m_underlying->c_set_fixing_grid_internal(m_date, grid);
    if (m_conversion) m_conversion->c_set_fixing_grid_internal(m_date, grid);
}

double Fixing::eval_underlying(Modeling::FixingGrid& grid) {
    find_equity_like();
    return m_underlying ? m_underlying->eval(m_date, grid) : 0.0;
}

bool Fixing::eval(double& value, Level level) {
    return c_eval_known(value, level);
}

bool Fixing::c_eval_known(double& value, Level level) const {
    if (!m_underlying)
        return Data::missing_text(level, "Cannot find underlying ", m_underlying_name);
    double spot{};
    double rate{1.0};
    if (!m_underlying->eval(m_date, spot, level)) return false;
    if (m_conversion && !m_conversion->eval(m_date, rate, level)) return false;
    value = spot * rate;
    return true;
}

bool Fixing::accumulate(Harvest& harvest) {
    hand_out(harvest.fixings, this);
    hand_out(harvest.fixing_dates, &m_date);
    hand_out(harvest.pillar_dates, &m_date);
    if (!m_underlying)
        return Data::missing_text(harvest.everything ? Level::error : Level::silent,
                                  "Cannot find underlying ", m_underlying_name) ||
               harvest.everything == nullptr;
    return hand_out_underlying(*m_underlying, harvest) &&
           (!m_conversion || hand_out_underlying(*m_conversion, harvest));
}

void Fixing::move(Toolbox::Date const& date, NamedValues::Map const&, Intraday const& intraday,
                  FixingOverrides const& fixings, bool) {
    double value{};
    if (auto const* given = c_find_override(fixings))
        value = *given;
    else if (date < m_date || (date == m_date && intraday.IntradayFixings))
        return;
    else if (!c_get_value(value))
        throw std::runtime_error("Cannot find fixing");
    replace_by(std::make_shared<DeterministicAmount>(value));
}

double const* Fixing::c_find_override(FixingOverrides const& fixings) const {
    for (auto const& [date, underlying, value] : fixings)
        if (date == m_date && underlying && m_underlying && is_same(*underlying, *m_underlying))
            return &value;
    return nullptr;
}

void Fixing::c_to_string(std::string& text, bool) const {
    text.append("Spot(\"").append(m_underlying_name).append("\", \"").append(m_date.c_str()) += '"';
    if (!m_currency_name.empty()) text.append(", \"").append(m_currency_name) += '"';
    text += ')';
}

std::shared_ptr<Amount> Fixing::clone() const {
    return std::make_shared<Fixing>(*this);
}

}  // namespace ximCORE::Contract
