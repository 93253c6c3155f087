// What a contract depends on, gathered from its tree in one walk: the index space of every table of
// a pricing. Header only and free of includes of other layers, so that market data can add to it
// too.
#pragma once

#include <vector>

namespace ximCORE::Toolbox {
class Date;
}
namespace ximCORE::Data {
class Currency;
class Underlying;
}  // namespace ximCORE::Data

namespace ximCORE::Contract {

/// The distinct dates and market objects of a contract, each list sorted ascending once
/// `CashFlow::scan_all` has run. The position of an element is its rank in that role. Nothing is
/// owned: dates belong to the nodes of the tree (ranks set on them are read there by `eval`),
/// currencies and underlyings to the market data cache.
struct ContractInformation {
    std::vector<Data::Currency*> currencies;
    std::vector<Data::Underlying*> equity_like_underlyings;
    std::vector<Toolbox::Date*> fixing_dates;
    std::vector<Toolbox::Date*> payment_dates;
    std::vector<Toolbox::Date*> choice_dates;
    std::vector<Toolbox::Date*> maturity_dates;
    std::vector<Toolbox::Date*> pillar_dates;
};

}  // namespace ximCORE::Contract
