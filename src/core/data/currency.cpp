#include "core/data/currency.hpp"

#include <cstring>

namespace ximCORE::Data {

namespace {

constexpr float c_default_affinity_factor = 0.5F;

/// The report of a missing field that may take a default: with `use_default` the field is set and
/// the message is a WARNING at every level.
template <class T, class MakeDefault>
bool missing_or_default(SetOnce<T>& field, bool use_default, MakeDefault make_default, Level level,
                        std::string_view prefix, Currency const& currency) {
    if (!use_default) return missing(level, prefix, currency);
    field.set(make_default());
    missing(Level::warning, prefix, currency);
    return true;
}

Toolbox::DayCounter make_day_counter(std::shared_ptr<Toolbox::Basis::IBasis const> const& basis) {
    return Toolbox::DayCounter(basis, Toolbox::Calendar::of_id(0));
}

}  // namespace

bool Currency::c_is_set() const {
    return m_ticker.has() && m_name.has() && m_calendar.has() && m_day_counter.has() &&
           m_forward_rate_affinity_factor.has();
}

int Currency::c_cmp(Currency const& other) const {
    return std::strcmp(c_str(), other.c_str());
}

bool Currency::c_has_ticker(Level level) const {
    return m_ticker.has() || missing_text(level, "Unknown currency");
}

bool Currency::c_has_name(Level level) const {
    return m_name.has() || missing(level, "Cannot find name for currency with ticker '", *this);
}

bool Currency::c_has_calendar(Level level) const {
    return m_calendar.has() || missing_or_default(
                                   m_calendar, s_set_at_default_calendar,
                                   [] { return Toolbox::Calendar::of_str("dummy"); }, level,
                                   "Cannot find calendar for currency with ticker '", *this);
}

bool Currency::c_has_day_counter(Level level) const {
    return m_day_counter.has() ||
           missing_or_default(
               m_day_counter, s_set_at_default_day_counter,
               [] { return make_day_counter(Toolbox::Basis::of_str("act_365")); }, level,
               "Cannot find day counter for currency with ticker '", *this);
}

bool Currency::c_has_forward_rate_affinity_factor(Level level) const {
    return m_forward_rate_affinity_factor.has() ||
           missing_or_default(
               m_forward_rate_affinity_factor, s_set_at_default_forward_rate_affinity_factor,
               [] { return c_default_affinity_factor; }, level,
               "Cannot find forward rate affinity factor for currency with ticker '", *this);
}

void Currency::set_calendar(std::string_view text) {
    if (auto calendar = Toolbox::Calendar::of_str(std::string(text))) m_calendar.set(calendar);
}

void Currency::set_day_counter(std::string_view text) {
    if (auto basis = Toolbox::Basis::of_str(std::string(text)))
        m_day_counter.set(make_day_counter(basis));
}

}  // namespace ximCORE::Data
