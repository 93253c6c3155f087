// One shift of a market value: what a scenario does to a number each time it is read.

#pragma once

#include <cstdint>

namespace ximCORE::Data {

/// With v the value after its unit and x the number read: additive x + v, assignment v, hybrid (1 +
/// v) x, multiplicative v x. The default shift is neutral: it adds 0.
struct MarketDataShift {
    enum class Kind : std::uint8_t { additive, assignment, hybrid, multiplicative };
    enum class Unit : std::uint8_t { percentage, basis_point, none };

    Kind kind = Kind::additive;
    Unit unit = Unit::none;
    double value = 0.0;

    /// The shifted number. Throws std::runtime_error "Unknown error" for a kind outside the four.
    double c_eval(double x) const;
    /// Its derivative by x, the same everywhere. Throws as `c_eval` does.
    double c_get_slope() const;
};

}  // namespace ximCORE::Data
