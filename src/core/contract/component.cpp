#include "core/contract/component.hpp"

#include <algorithm>

#include "core/contract/fixing.hpp"

namespace ximCORE::Contract {

bool Component::get_dependencies(Toolbox::Date const& date, Data::Currency const* pricing) {
    std::vector<Fixing*> fixings;
    gather(&Harvest::fixings, fixings);
    bool is_complete = true;
    for (auto* fixing : fixings) is_complete = fixing->resolve(date, pricing) && is_complete;
    return is_complete;
}

void Component::c_set_fixing_grid_internal(Modeling::FixingGrid& grid) const {
    std::vector<Fixing*> fixings;
    c_gather(&Harvest::fixings, fixings);
    for (auto const* fixing : fixings) fixing->c_open(grid);
}

bool Component::unsafe_get_constatation_date(Toolbox::Date& date) const {
    std::vector<Toolbox::Date*> dates;
    c_gather(&Harvest::fixing_dates, dates);
    if (dates.empty()) return false;
    date = **std::ranges::min_element(dates, [](auto const* a, auto const* b) { return *a < *b; });
    return true;
}

}  // namespace ximCORE::Contract
