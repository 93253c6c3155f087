#include "core/contract/ranking.hpp"

#include <algorithm>
#include <limits>
#include <string>

#include "core/contract/event.hpp"
#include "core/contract/fixing.hpp"
#include "core/data/currency.hpp"
#include "core/toolbox/log.hpp"

namespace ximCORE::Contract {

namespace {

using Toolbox::Date;

constexpr std::size_t c_first_pillar_rank = 1;  // rank 0 is the valuation date

/// Sorts by `c_cmp`, gives each element the number of strictly greater steps before it, and keeps
/// one of each. The sort is stable, so that an order that contradicts itself (pairs with and
/// without ticker) stays inside the list.
template <class T, class SetRank>
void rank_and_unique(std::vector<T*>& items, SetRank&& set_rank) {
    std::stable_sort(items.begin(), items.end(),
                     [](T const* a, T const* b) { return a->c_cmp(*b) < 0; });
    std::size_t rank = 0;
    for (std::size_t i = 0; i < items.size(); ++i) {
        if (i > 0 && items[i]->c_cmp(*items[i - 1]) > 0) ++rank;
        set_rank(*items[i], rank);
    }
    auto const same = [](T const* a, T const* b) { return a->c_cmp(*b) == 0; };
    items.erase(std::unique(items.begin(), items.end(), same), items.end());
}

template <void (Date::*set_rank)(short), std::size_t first = 0>
void rank_dates(std::vector<Date*>& dates) {
    rank_and_unique(dates, [](Date& date, std::size_t rank) {
        (date.*set_rank)(static_cast<short>(first + rank));
    });
}

/// What `sort_events` compares; the text is written on demand, where dates are equal.
struct EventKey {
    Event* event;
    Date date;
    bool is_dated;
    mutable std::string text{};
    mutable bool is_written{false};

    explicit EventKey(Event* of)
        : event(of), date(1970, 1, 1), is_dated(of->unsafe_get_constatation_date(date)) {}

    std::string const& get_text() const {
        if (!is_written) event->c_write(text);
        is_written = true;
        return text;
    }
    bool is_before(EventKey const& other) const {
        if (is_dated != other.is_dated) return other.is_dated;
        if (is_dated && date != other.date) return date < other.date;
        return event != other.event && get_text() < other.get_text();
    }
};

/// False, after an ERROR record, when a rank cannot count the list.
bool is_countable(std::size_t size, std::size_t limit, char const* what) {
    if (size > limit)
        Toolbox::Log::s_log(Toolbox::Log::Level::ERROR, "Contract with too many ", what);
    return size <= limit;
}

}  // namespace

void sort_currencies(std::vector<Data::Currency*>& currencies) {
    rank_and_unique(currencies, [](Data::Currency& currency, std::size_t rank) {
        currency.set_rank(static_cast<unsigned char>(rank));
    });
}

void sort_equity_like_underlyings(std::vector<Data::Underlying*>& underlyings) {
    rank_and_unique(underlyings, [](Data::Underlying& underlying, std::size_t rank) {
        if (auto* impl = dynamic_cast<Data::EquityLikeUnderlying*>(underlying.c_get_impl().get()))
            impl->set_rank(static_cast<short>(rank));
    });
}

void sort_underlyings(std::vector<Data::Underlying*>& underlyings) {
    rank_and_unique(underlyings, [](Data::Underlying&, std::size_t) {});
}

void sort_fixing_dates(std::vector<Date*>& dates) {
    rank_dates<&Date::set_fixing_rank>(dates);
}
void sort_payment_dates(std::vector<Date*>& dates) {
    rank_dates<&Date::set_payment_rank>(dates);
}
void sort_maturity_dates(std::vector<Date*>& dates) {
    rank_dates<&Date::set_maturity_rank>(dates);
}
void sort_pillar_dates(std::vector<Date*>& dates) {
    rank_dates<&Date::set_pillar_rank, c_first_pillar_rank>(dates);
}

void sort_choice_dates(std::vector<Date*>& dates) {
    // Relied on: a scan of choice dates overwrites the fixing ranks of those dates alone
    rank_dates<&Date::set_fixing_rank>(dates);
}

void sort_fixings(std::vector<Fixing const*>& fixings) {
    rank_and_unique(fixings, [](Fixing const& fixing, std::size_t rank) {
        fixing.set_rank(static_cast<short>(rank));
    });
}

void sort_events(std::vector<Event*>& events) {
    std::vector<EventKey> keys(events.begin(), events.end());
    std::stable_sort(keys.begin(), keys.end(),
                     [](EventKey const& a, EventKey const& b) { return a.is_before(b); });
    for (std::size_t i = 0; i < keys.size(); ++i) {
        events[i] = keys[i].event;
        events[i]->set_rank(static_cast<short>(i));
    }
}

std::vector<std::string> rank_slots(std::vector<NamedSlot> const& slots) {
    std::vector<std::string> names;
    for (auto const& slot : slots) names.push_back(*slot.name);
    std::ranges::sort(names);
    names.erase(std::unique(names.begin(), names.end()), names.end());
    for (auto const& slot : slots)
        *slot.rank =
            static_cast<short>(std::ranges::lower_bound(names, *slot.name) - names.begin());
    return names;
}

bool sort_all(ContractInformation& information, bool with_pillars) {
    constexpr auto max_rank = static_cast<std::size_t>(std::numeric_limits<short>::max());
    constexpr auto max_currencies = std::size_t{std::numeric_limits<unsigned char>::max()} + 1;
    sort_equity_like_underlyings(information.equity_like_underlyings);
    sort_fixing_dates(information.fixing_dates);
    sort_maturity_dates(information.maturity_dates);
    sort_currencies(information.currencies);
    sort_payment_dates(information.payment_dates);
    if (with_pillars) sort_pillar_dates(information.pillar_dates);
    return is_countable(information.equity_like_underlyings.size(), max_rank, "underlyings") &&
           is_countable(information.fixing_dates.size(), max_rank, "fixing dates") &&
           is_countable(information.maturity_dates.size(), max_rank, "maturity dates") &&
           is_countable(information.currencies.size(), max_currencies, "currencies") &&
           is_countable(information.payment_dates.size(), max_rank, "payment dates") &&
           (!with_pillars ||
            is_countable(information.pillar_dates.size(), max_rank, "pillar dates"));
}

}  // namespace ximCORE::Contract
