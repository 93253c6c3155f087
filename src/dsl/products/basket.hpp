// How the terms of the items of a basket become one amount.
#pragma once

#include "ximAPI/dsl.hpp"
#include "ximAPI/enums.hpp"

namespace ximAPI {

/// The terms of the items combined in order, the first one standing alone; empty without items.
template <class Items, class Term, class Combine>
ximDSL::AmountPtr fold(Items const& items, Term const& term, Combine const& combine) {
    ximDSL::AmountPtr total;
    for (auto const& item : items)
        total = total == nullptr ? term(item) : combine(total, term(item));
    return total;
}

/// BASKET adds the weighted terms, WORST_OF and BEST_OF take the smallest and the largest plain
/// term. Empty for any other kind and without items.
template <class Items, class Plain, class Weighted>
ximDSL::AmountPtr fold_basket(Items const& items, BasketKind kind, Plain const& plain,
                              Weighted const& weighted) {
    using namespace ximDSL;
    switch (kind) {
        case BasketKind::BASKET:
            return fold(items, weighted, [](auto& l, auto const& r) { return l + r; });
        case BasketKind::WORST_OF:
            return fold(items, plain, [](auto& l, auto const& r) { return Min(l, r); });
        case BasketKind::BEST_OF:
            return fold(items, plain, [](auto& l, auto const& r) { return Max(l, r); });
        default:
            return {};
    }
}

}  // namespace ximAPI
