// A list of dated amounts to look at rather than to price: a basket's performance in history, or
// along one simulated path.
#pragma once

#include <cstdint>
#include <limits>
#include <memory>
#include <vector>

#include "core/contract/amount.hpp"
#include "core/contract/variables.hpp"

namespace ximCORE::Contract {

/// Asking for spots ignores the intraday rules: a fixing on today's date is always asked for.
class Observable {
 public:
    struct Item {
        Toolbox::Date date;
        std::uint64_t amount_number{0};
        std::shared_ptr<Amount> amount;
        std::vector<double> values{0.0};  ///< one for each path seen
        double value{0.0};
        double minimum{std::numeric_limits<double>::max()};
        double maximum{std::numeric_limits<double>::min()};  // Relied on: starts at the smallest
                                                             // positive number
        bool available{false};

        /// Finds the amount by its number and wires it. False when there is none.
        [[nodiscard]] bool populate(NodeLists const& lists);
    };

    /// False for an empty list or one with a missing amount; the old items stay then.
    [[nodiscard]] bool set(std::vector<Item> items);
    std::vector<Item> const& c_get_items() const { return m_items; }

    /// As `Component::get_dependencies` of all amounts, without a pricing currency.
    [[nodiscard]] bool get_dependencies(Toolbox::Date const& date);
    /// Each once, over all items; see `Gathering`.
    void scan_underlyings(std::vector<Data::Underlying*>& out);
    void scan_currencies(std::vector<Data::Currency*>& out);
    /// As `Amount::scan_all`, over all items.
    [[nodiscard]] bool scan_all(ContractInformation& information, bool accumulate);
    /// Past fixings become numbers, by the intraday rules of contracts. False, after ERROR records,
    /// when one is missing.
    [[nodiscard]] bool move(Toolbox::Date const& date);

    /// Each value from what is known now, with its availability. Always true.
    [[nodiscard]] bool eval();
    /// Each value on the current path of the grid.
    [[nodiscard]] bool eval(std::uint64_t trajectory, Modeling::FixingGrid& grid);
    /// Sets each value to the mean of its values, and widens the extremes by it.
    void agregate();

 private:
    std::vector<Item> m_items;
    Variables m_variables;
};

}  // namespace ximCORE::Contract
