// Sorting what a contract consists of, and giving each element its rank: the position among the
// distinct ones of its kind.
#pragma once

#include <string>
#include <vector>

#include "core/contract/harvest.hpp"

namespace ximCORE::Contract {

/// Each sorts ascending by `c_cmp`, sets the rank named behind it (equal elements share theirs, so
/// all copies of a date in a tree get it) and leaves one element of each kind, so that the size is
/// the number of ranks. Market objects that cannot be compared raise `std::runtime_error` "Unknown
/// error".
void sort_currencies(std::vector<Data::Currency*>& currencies);  // Currency::set_rank
void sort_equity_like_underlyings(
    std::vector<Data::Underlying*>& underlyings);  // EquityLikeUnderlying::set_rank
void sort_underlyings(std::vector<Data::Underlying*>& underlyings);  // none
void sort_fixing_dates(std::vector<Toolbox::Date*>& dates);          // Date::set_fixing_rank
void sort_payment_dates(std::vector<Toolbox::Date*>& dates);         // Date::set_payment_rank
void sort_maturity_dates(std::vector<Toolbox::Date*>& dates);        // Date::set_maturity_rank
void sort_pillar_dates(std::vector<Toolbox::Date*>& dates);          // Date::set_pillar_rank
void sort_choice_dates(std::vector<Toolbox::Date*>& dates);          // Date::set_fixing_rank
void sort_fixings(std::vector<Fixing const*>& fixings);              // Fixing::set_rank

/// By constatation date, events without one first; equal dates by text, byte by byte. Each event's
/// rank is its position; duplicates stay, and an event that stands twice carries the later rank.
void sort_events(std::vector<Event*>& events);

/// Gives each place the rank of its name among the distinct ones, which are returned sorted.
std::vector<std::string> rank_slots(std::vector<NamedSlot> const& slots);

/// Sorts and ranks the lists of a pricing: underlyings, fixing dates, maturity dates, currencies,
/// payment dates and, for cash flows, pillar dates. False, after an ERROR record, when a list has
/// more elements than a rank can count.
[[nodiscard]] bool sort_all(ContractInformation& information, bool with_pillars);

}  // namespace ximCORE::Contract
