// The declarations that several models share, each a walk over the underlyings of a contract.

#pragma once

#include <vector>

#include "core/toolbox/date.hpp"

namespace ximCORE::Data {
class Underlying;
}

namespace ximCORE::Modeling {

/// Declares the correlation of every pair (i, j) with j < i. False if the cache refuses one.
[[nodiscard]] bool declare_correlations(Toolbox::Date const& date,
                                        std::vector<Data::Underlying*> const& underlyings);
/// Declares the volatility surface of every equity-like underlying. False if one has no kind yet.
[[nodiscard]] bool declare_volatility_surfaces(Toolbox::Date const& date,
                                               std::vector<Data::Underlying*> const& underlyings);
/// Declares the Black-Scholes volatility of every equity-like underlying. False if one has no kind
/// yet.
[[nodiscard]] bool declare_black_scholes_volatilities(
    Toolbox::Date const& date, std::vector<Data::Underlying*> const& underlyings);

}  // namespace ximCORE::Modeling
