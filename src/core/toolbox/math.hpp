// The normal distribution, the smoothed digital, units of percent and a table search. The normal
// functions are polynomial approximations with fixed coefficients: prices rest on their digits, so
// they are not to be replaced. The element by element forms on arrays are defined in
// math_array.hpp.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "core/toolbox/tape.hpp"

namespace Eigen {
template <class Derived>
class ArrayBase;
}

namespace ximCORE::Toolbox {

class Math {
 public:
    /// Percent to fraction.
    [[nodiscard]] static constexpr double get_absolute(double percent) { return percent * 0.01; }
    /// Fraction to percent.
    [[nodiscard]] static constexpr double get_percentage(double fraction) {
        return fraction * 100.0;
    }
    static constexpr void to_absolute(double& value) { value = get_absolute(value); }
    static constexpr void to_percentage(double& value) { value = get_percentage(value); }

    /// 1 for x at or above 0, -1 otherwise.
    [[nodiscard]] static constexpr signed char sgn(double x) { return x >= 0.0 ? 1 : -1; }
    template <class Derived>
    [[nodiscard]] static typename Derived::PlainObject sgn(Eigen::ArrayBase<Derived> const& x);

    /// Appends `count` blanks.
    static void indent(std::string& text, std::size_t count);

    /// Normal density, exp(-x x / 2) * 0.3989422804 (ten digits).
    [[nodiscard]] static double dnorm(double x);
    /// Normal distribution function: Abramowitz and Stegun 26.2.17, error below 7.5e-8; 0.5 exactly
    /// at 0.
    [[nodiscard]] static double cdfnorm(double x);
    /// Inverse of the normal distribution function: Abramowitz and Stegun 26.2.23, error
    /// below 4.5e-4. `p` in (0, 1).
    [[nodiscard]] static double cdfnorm_inv(double p);

    /// Smoothed digital: 0 to 1 (or 1 to 0 for sign = -1) along the ramp [strike - left, strike +
    /// right], flat outside. `left`, `right`: widths in the unit of x; neither above 0 is the step,
    /// worth 1 at the strike for either sign. Never fails. Array form: element by element.
    [[nodiscard]] static constexpr double get_call_spread(double x, double strike, double left,
                                                          double right, signed char sign) {
        if (left <= 0.0 && right <= 0.0) {
            return strike * sign <= x * sign ? 1.0 : 0.0;
        }
        double const below = 0.5 * (1 - sign);
        double const above = 0.5 * (1 + sign);
        if (x <= strike - left) {
            return below;
        }
        if (x >= strike + right) {
            return above;
        }
        return (below * right + (x - strike) * sign + above * left) / (left + right);
    }
    template <class Derived>
    [[nodiscard]] static typename Derived::PlainObject get_call_spread(
        Eigen::ArrayBase<Derived> const& x, double strike, double left, double right,
        signed char sign);
    /// Adjoint form of `get_call_spread`. Forward: `value`. Backward: adds to `x_adjoint` and
    /// `strike_adjoint` what `adjoint`, the derivative by the value, amounts to: the slope is
    /// sign / (left + right) strictly inside the ramp by x, its negative by the strike, and 0 on
    /// the flat sides and for the step. The widths hand nothing on. The tape is not used.
    static constexpr void aget_call_spread(AAD::Tape&, AAD::SweepType sweep, double x,
                                           double strike, double left, double right,
                                           signed char sign, double& value, double adjoint,
                                           double& x_adjoint, double& strike_adjoint) {
        if (sweep == AAD::SweepType::FORWARD) {
            value = get_call_spread(x, strike, left, right, sign);
            return;
        }
        bool const is_step = left <= 0.0 && right <= 0.0;
        if (is_step || x <= strike - left || x >= strike + right) return;
        double const slope = adjoint * sign / (left + right);
        x_adjoint += slope;
        strike_adjoint -= slope;
    }

    /// Bisection in a table sorted along `compare`, between the positions `low` and `high`, `low`
    /// below `high`. `compare(element, value)` is below, at or above 0 as the element stands to the
    /// value. Gives the last position looked at whose element is below the value (`low` itself is
    /// not looked at); an element that equals the value ends the search with its own position or,
    /// with `before_equal`, the one before it.
    template <class Values, class Value, class Compare>
    [[nodiscard]] static std::int64_t find_index_internal(Values const& values, Value const& value,
                                                          std::int64_t low, std::int64_t high,
                                                          Compare const& compare,
                                                          bool before_equal) {
        while (high - low > 1) {
            std::int64_t const mid = low + (high - low) / 2;
            auto const order = compare(values[static_cast<std::size_t>(mid)], value);
            if (order < 0) {
                low = mid;
            } else if (order > 0) {
                high = mid;
            } else {
                return before_equal ? mid - 1 : mid;
            }
        }
        return low;
    }
};

}  // namespace ximCORE::Toolbox
