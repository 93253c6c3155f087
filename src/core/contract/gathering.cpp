#include "core/contract/gathering.hpp"

#include <tuple>

#include "core/contract/cashflow.hpp"
#include "core/contract/component.hpp"
#include "core/contract/fixing.hpp"
#include "core/contract/ranking.hpp"

namespace ximCORE::Contract {

template <class Node>
bool Gathering<Node>::accumulate_all(ContractInformation& information) {
    Harvest harvest;
    harvest.everything = &information;
    harvest.currencies = &information.currencies;
    harvest.fixing_dates = &information.fixing_dates;
    harvest.payment_dates = &information.payment_dates;
    harvest.maturity_dates = &information.maturity_dates;
    harvest.pillar_dates = &information.pillar_dates;
    return static_cast<Node&>(*this).accumulate(harvest);
}

template <class Node>
void Gathering<Node>::walk(Harvest& harvest) {
    std::ignore =
        static_cast<Node&>(*this).accumulate(harvest);  // only a walk for everything can fail
}

template <class Node>
void Gathering<Node>::c_accumulate_fixings(std::vector<Fixing const*>& out) const {
    std::vector<Fixing*> fixings;
    c_gather(&Harvest::fixings, fixings);
    out.insert(out.end(), fixings.begin(), fixings.end());
}

template <class Node>
void Gathering<Node>::unsafe_get_tags(std::string const& name, std::vector<double*>& tags) {
    Harvest harvest;
    harvest.tag = &name;
    harvest.tags = &tags;
    walk(harvest);
}

template <class Node>
void Gathering<Node>::scan_currencies(std::vector<Data::Currency*>& out, bool accumulate) {
    if (accumulate) accumulate_currencies(out);
    sort_currencies(out);
}

template <class Node>
void Gathering<Node>::scan_equity_like_underlyings(std::vector<Data::Underlying*>& out,
                                                   bool accumulate) {
    if (accumulate) accumulate_equity_like_underlyings(out);
    sort_equity_like_underlyings(out);
}

template <class Node>
void Gathering<Node>::scan_underlyings(std::vector<Data::Underlying*>& out, bool accumulate) {
    if (accumulate) accumulate_underlyings(out);
    sort_underlyings(out);
}

template <class Node>
void Gathering<Node>::scan_fixing_dates(std::vector<Toolbox::Date*>& out, bool accumulate) {
    if (accumulate) accumulate_fixing_dates(out);
    sort_fixing_dates(out);
}

template <class Node>
void Gathering<Node>::scan_payment_dates(std::vector<Toolbox::Date*>& out, bool accumulate) {
    if (accumulate) accumulate_payment_dates(out);
    sort_payment_dates(out);
}

template <class Node>
void Gathering<Node>::scan_choice_dates(std::vector<Toolbox::Date*>& out, bool accumulate) {
    if (accumulate) accumulate_choice_dates(out);
    sort_choice_dates(out);
}

template <class Node>
void Gathering<Node>::scan_maturity_dates(std::vector<Toolbox::Date*>& out, bool accumulate) {
    if (accumulate) accumulate_maturity_dates(out);
    sort_maturity_dates(out);
}

template <class Node>
void Gathering<Node>::scan_pillar_dates(std::vector<Toolbox::Date*>& out, bool accumulate) {
    if (accumulate) accumulate_pillar_dates(out);
    sort_pillar_dates(out);
}

template <class Node>
void Gathering<Node>::scan_fixings(std::vector<Fixing const*>& out, bool accumulate) {
    if (accumulate) c_accumulate_fixings(out);
    sort_fixings(out);
}

template <class Node>
void Gathering<Node>::scan_barriers(std::vector<Event*>& out, bool accumulate) {
    if (accumulate) accumulate_barriers(out);
    sort_events(out);
}

template class Gathering<Component>;
template class Gathering<CashFlow>;

}  // namespace ximCORE::Contract
