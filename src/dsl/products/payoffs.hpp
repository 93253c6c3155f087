// The terms that the ready products share.
#pragma once

#include <string>

#include "ximAPI/dsl.hpp"
#include "ximAPI/enums.hpp"

namespace ximAPI {

/// x - k for a call, k - x for a put; empty for any other kind.
inline ximDSL::AmountPtr call_put(PayoffKind kind, ximDSL::AmountPtr const& x,
                                  ximDSL::AmountPtr const& k) {
    switch (kind) {
        case PayoffKind::CALL_TYPE:
            return x - k;
        case PayoffKind::PUT_TYPE:
            return k - x;
        default:
            return {};
    }
}

/// The positive part of `call_put`.
inline ximDSL::AmountPtr option(PayoffKind kind, ximDSL::AmountPtr const& x,
                                ximDSL::AmountPtr const& k) {
    return ximDSL::Max(call_put(kind, x, k), 0.0f);
}

/// The fixing of an underlying in its own currency.
inline ximDSL::AmountPtr spot(std::string const& ticker, std::string const& date) {
    return ximDSL::Spot(ticker, date, "");
}

}  // namespace ximAPI
