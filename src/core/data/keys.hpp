// The keys of the cache. Underlyings and currencies are compared by address, which is safe because
// they live in the cache until it is cleared.

#pragma once

#include <functional>

#include "core/data/currency.hpp"
#include "core/toolbox/date.hpp"

namespace ximCORE::Data {

class Underlying;

/// By date, then by address.
template <class Owner>
struct DatedKey {
    Toolbox::Date date;
    Owner const* owner;

    bool operator<(DatedKey const& other) const {
        int const dates = date.c_cmp(other.date);
        return dates != 0 ? dates < 0 : std::less<>()(owner, other.owner);
    }
};

using SpotKey = DatedKey<Underlying>;
using BlackScholesVolatilityKey = DatedKey<Underlying>;
using YieldCurveKey = DatedKey<Currency>;

/// By date, then first, then second address. Not normalised: (A, B) and (B, A) are two keys.
struct CorrelationKey {
    Toolbox::Date date;
    Underlying const* first;
    Underlying const* second;

    bool operator<(CorrelationKey const& other) const {
        int const dates = date.c_cmp(other.date);
        if (dates != 0) return dates < 0;
        if (first != other.first) return std::less<>()(first, other.first);
        return std::less<>()(second, other.second);
    }
};

/// Copies of both currencies, compared by their tickers.
struct CurrencyPairKey {
    Currency first;
    Currency second;

    bool operator<(CurrencyPairKey const& other) const {
        int const firsts = first.c_cmp(other.first);
        return firsts != 0 ? firsts < 0 : second.c_cmp(other.second) < 0;
    }
};

}  // namespace ximCORE::Data
