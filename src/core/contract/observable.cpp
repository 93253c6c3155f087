#include "core/contract/observable.hpp"

#include <algorithm>
#include <numeric>
#include <stdexcept>
#include <tuple>

#include "core/contract/child.hpp"
#include "core/contract/contract.hpp"
#include "core/contract/ranking.hpp"
#include "core/toolbox/log.hpp"

namespace ximCORE::Contract {

bool Observable::Item::populate(NodeLists const& lists) {
    Child<Amount> child(amount_number);
    if (!child.populate(lists)) return false;
    amount = child.c_get();
    return true;
}

bool Observable::set(std::vector<Item> items) {
    if (items.empty() ||
        std::ranges::any_of(items, [](Item const& item) { return item.amount == nullptr; }))
        return false;
    m_items = std::move(items);
    std::vector<NamedSlot> slots;
    for (auto& item : m_items) item.amount->accumulate_names(slots);
    m_variables = Variables(rank_slots(slots));
    return true;
}

bool Observable::get_dependencies(Toolbox::Date const& date) {
    bool is_complete = true;
    for (auto& item : m_items)
        is_complete = item.amount->get_dependencies(date, nullptr) && is_complete;
    return is_complete;
}

void Observable::scan_underlyings(std::vector<Data::Underlying*>& out) {
    for (auto& item : m_items) item.amount->accumulate_underlyings(out);
    sort_underlyings(out);
}

void Observable::scan_currencies(std::vector<Data::Currency*>& out) {
    for (auto& item : m_items) item.amount->accumulate_currencies(out);
    sort_currencies(out);
}

bool Observable::scan_all(ContractInformation& information, bool accumulate) {
    if (accumulate && !std::ranges::all_of(m_items, [&](Item& item) {
            return item.amount->accumulate_all(information);
        }))
        return false;
    return sort_all(information, false);
}

bool Observable::move(Toolbox::Date const& date) {
    try {
        for (auto& item : m_items) {
            Child<Amount> child(item.amount);
            child->move(date, {}, Contract::s_intraday, {}, false);
            child.adopt();
            item.amount = child.c_get();
        }
    } catch (std::runtime_error const& error) {
        Toolbox::Log::s_log(Toolbox::Log::Level::ERROR, error.what());
        return false;
    }
    return true;
}

bool Observable::eval() {
    for (auto& item : m_items) {
        item.available = item.amount->eval(item.value, Data::Level::error);
        if (!item.available) item.value = 0.0;
    }
    return true;
}

bool Observable::eval(std::uint64_t, Modeling::FixingGrid& grid) {
    for (auto& item : m_items) {
        m_variables.clear();
        item.values.at(0) = item.amount->eval(grid, m_variables);
        item.available = true;
    }
    return true;
}

void Observable::agregate() {
    for (auto& item : m_items) {
        item.value = std::accumulate(item.values.begin(), item.values.end(), 0.0) /
                     static_cast<double>(item.values.size());
        item.minimum = std::min(item.minimum, item.value);
        item.maximum = std::max(item.maximum, item.value);
    }
}

}  // namespace ximCORE::Contract
