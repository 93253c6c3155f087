// What one walk of a tree hands out: each list that is given takes the things of its kind, in the
// order of the walk (left before right, event before branches). What is done to every payment, date
// or name of a contract is done on such a list.
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "core/contract/information.hpp"

namespace ximCORE::Contract {

class Amount;
class BuySell;
class Event;
class Fixing;
class If;
class PayReceive;

/// A place in the tree that reads or writes a named value.
struct NamedSlot {
    std::string const* name;
    short* rank;
};

/// Where a node holds one of its amounts. A walk lists an amount before those below it, and `end`
/// is the position behind the last of these.
struct AmountPlace {
    std::shared_ptr<Amount>* amount;
    std::size_t end;
};

/// Null lists are left out. Everything handed out belongs to the tree or the market data cache; a
/// node with several parents is handed out once for each.
struct Harvest {
    /// Set: market objects add what they need to it, and one that lacks its currency ends the walk
    /// with false.
    ContractInformation* everything{nullptr};

    std::vector<Data::Currency*>* currencies{nullptr};
    std::vector<Data::Underlying*>* equity_like_underlyings{nullptr};
    std::vector<Data::Underlying*>* underlyings{nullptr};
    std::vector<Toolbox::Date*>* fixing_dates{nullptr};
    std::vector<Toolbox::Date*>* payment_dates{nullptr};
    std::vector<Toolbox::Date*>* choice_dates{nullptr};
    std::vector<Toolbox::Date*>* maturity_dates{nullptr};
    std::vector<Toolbox::Date*>* pillar_dates{nullptr};

    std::vector<Fixing*>* fixings{nullptr};
    std::vector<Event*>* barriers{nullptr};  ///< the whole event of each `If`, not its parts
    std::vector<PayReceive*>* payments{nullptr};
    std::vector<BuySell*>* purchases{nullptr};
    std::vector<If*>* conditions{nullptr};
    std::vector<NamedSlot>* names{nullptr};
    std::vector<AmountPlace>* amounts{nullptr};

    std::string const* tag{nullptr};  ///< the name of the constants that go to `tags`
    std::vector<double*>* tags{nullptr};
};

/// Appends when the list is wanted.
template <class List, class Item>
void hand_out(List* list, Item&& item) {
    if (list) list->push_back(item);
}

}  // namespace ximCORE::Contract
