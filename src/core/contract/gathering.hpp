// The lists that a contract is asked for, by their names: each is one walk of the tree
// (harvest.hpp). `accumulate_x` appends in the order of the walk; `scan_x` sorts, ranks and removes
// duplicates too.
#pragma once

#include <string>
#include <vector>

#include "core/contract/harvest.hpp"

namespace ximCORE::Contract {

/// Shared by `Component` and `CashFlow`, which both offer `bool accumulate(Harvest&)`. Pointers
/// that are handed out live as long as the tree or the market data cache.
template <class Node>
class Gathering {
 public:
    /// Everything that a pricing indexes, but for choice dates. False, after an ERROR record, when
    /// a market object is missing.
    [[nodiscard]] bool accumulate_all(ContractInformation& information);

    void accumulate_currencies(std::vector<Data::Currency*>& out) {
        gather(&Harvest::currencies, out);
    }
    void accumulate_equity_like_underlyings(std::vector<Data::Underlying*>& out) {
        gather(&Harvest::equity_like_underlyings, out);
    }
    void accumulate_underlyings(std::vector<Data::Underlying*>& out) {
        gather(&Harvest::underlyings, out);
    }
    void accumulate_fixing_dates(std::vector<Toolbox::Date*>& out) {
        gather(&Harvest::fixing_dates, out);
    }
    void accumulate_payment_dates(std::vector<Toolbox::Date*>& out) {
        gather(&Harvest::payment_dates, out);
    }
    void accumulate_choice_dates(std::vector<Toolbox::Date*>& out) {
        gather(&Harvest::choice_dates, out);
    }
    void accumulate_maturity_dates(std::vector<Toolbox::Date*>& out) {
        gather(&Harvest::maturity_dates, out);
    }
    void accumulate_pillar_dates(std::vector<Toolbox::Date*>& out) {
        gather(&Harvest::pillar_dates, out);
    }
    void accumulate_barriers(std::vector<Event*>& out) { gather(&Harvest::barriers, out); }
    /// The places that read or write named values.
    void accumulate_names(std::vector<NamedSlot>& out) { gather(&Harvest::names, out); }
    void c_accumulate_fixings(std::vector<Fixing const*>& out) const;

    /// The addresses of the values of all `Ref` of that name: the way to change a constant of a
    /// built contract.
    void unsafe_get_tags(std::string const& name, std::vector<double*>& tags);

    /// With `accumulate` false only what the list already holds is sorted and ranked.
    /// `scan_choice_dates` sets fixing ranks, counted among the choice dates alone;
    /// `scan_underlyings` sets no rank; `scan_barriers` keeps duplicates.
    void scan_currencies(std::vector<Data::Currency*>& out, bool accumulate);
    void scan_equity_like_underlyings(std::vector<Data::Underlying*>& out, bool accumulate);
    void scan_underlyings(std::vector<Data::Underlying*>& out, bool accumulate);
    void scan_fixing_dates(std::vector<Toolbox::Date*>& out, bool accumulate);
    void scan_payment_dates(std::vector<Toolbox::Date*>& out, bool accumulate);
    void scan_choice_dates(std::vector<Toolbox::Date*>& out, bool accumulate);
    void scan_maturity_dates(std::vector<Toolbox::Date*>& out, bool accumulate);
    void scan_pillar_dates(std::vector<Toolbox::Date*>& out, bool accumulate);
    void scan_fixings(std::vector<Fixing const*>& out, bool accumulate);
    void scan_barriers(std::vector<Event*>& out, bool accumulate);

 protected:
    Gathering() = default;
    Gathering(Gathering const&) = default;
    Gathering& operator=(Gathering const&) = default;
    ~Gathering() = default;

    template <class T>
    void gather(std::vector<T>* Harvest::*list, std::vector<T>& out) {
        Harvest harvest;
        harvest.*list = &out;
        walk(harvest);
    }
    template <class T>
    void c_gather(std::vector<T>* Harvest::*list, std::vector<T>& out) const {
        const_cast<Gathering&>(*this).gather(list, out);  // the walk itself changes nothing
    }

 private:
    /// For lists that a missing market object cannot stop.
    void walk(Harvest& harvest);
};

}  // namespace ximCORE::Contract
