// The mathematics of the operators, one struct each: its code for texts and its value. Node
// templates (operations.hpp) lift it to paths and known values. All follow IEEE doubles without a
// guard: x / 0 and log 0 are infinite, the root of a negative is NaN.
#pragma once

#include <cmath>
#include <stdexcept>

#include "core/contract/operation.hpp"
#include "core/toolbox/math.hpp"

namespace ximCORE::Contract::op {

using Type = Operation::Type;

struct Add {
    static constexpr auto type = Type::add;
    static double value(double x, double y) { return x + y; }
};
struct Div {
    static constexpr auto type = Type::div;
    static double value(double x, double y) { return x / y; }
};
/// The right operand unless the left one is strictly larger.
struct Max {
    static constexpr auto type = Type::max;
    static double value(double x, double y) { return x > y ? x : y; }
};
/// The right operand unless the left one is strictly smaller.
struct Min {
    static constexpr auto type = Type::min;
    static double value(double x, double y) { return x < y ? x : y; }
};
struct Mul {
    static constexpr auto type = Type::mul;
    static double value(double x, double y) { return x * y; }
};
struct Pow {
    static constexpr auto type = Type::pow;
    static double value(double x, double y) { return std::pow(x, y); }
};
struct Sub {
    static constexpr auto type = Type::sub;
    static double value(double x, double y) { return x - y; }
};

struct Abs {
    static constexpr auto type = Type::abs;
    static double value(double x) { return std::abs(x); }
};
struct Cos {
    static constexpr auto type = Type::cos;
    static double value(double x) { return std::cos(x); }
};
struct Exp {
    static constexpr auto type = Type::exp;
    static double value(double x) { return std::exp(x); }
};
struct Log {
    static constexpr auto type = Type::log;
    static double value(double x) { return std::log(x); }
};
struct Sin {
    static constexpr auto type = Type::sin;
    static double value(double x) { return std::sin(x); }
};
struct Sqrt {
    static constexpr auto type =
        Type::sqrt;  // Relied on: a contract with a square root prices, and has no text
    static double value(double x) { return std::sqrt(x); }
};
struct Minus {
    static constexpr auto type = Type::sub;
    static double value(double x) { return -x; }
};
struct Tan {
    static constexpr auto type = Type::tan;
    static double value(double x) { return std::tan(x); }
};

// Comparisons. `slope`: +1 when a larger left side makes it true, -1 when a smaller one does, 0 for
// tests of equality, which are exact.

struct Equal {
    static constexpr auto type = Type::equal;
    static constexpr signed char slope = 0;
    static bool value(double x, double y) { return x == y; }
};
struct Greater {
    static constexpr auto type = Type::greater;
    static constexpr signed char slope = 1;
    static bool value(double x, double y) { return x > y; }
};
struct GreaterOrEqual {
    static constexpr auto type = Type::greater_or_equal;
    static constexpr signed char slope = 1;
    static bool value(double x, double y) { return x >= y; }
};
struct Lower {
    static constexpr auto type = Type::lower;
    static constexpr signed char slope = -1;
    static bool value(double x, double y) { return x < y; }
};
struct LowerOrEqual {
    static constexpr auto type = Type::lower_or_equal;
    static constexpr signed char slope = -1;
    static bool value(double x, double y) { return x <= y; }
};
struct NotEqual {
    static constexpr auto type = Type::not_equal;
    static constexpr signed char slope = 0;
    static bool value(double x, double y) { return x != y; }
};

struct And {
    static constexpr auto type = Type::logical_and;
    static bool value(bool x, bool y) { return x && y; }
};
struct Or {
    static constexpr auto type = Type::logical_or;
    static bool value(bool x, bool y) { return x || y; }
};
struct Not {
    static constexpr auto type = Type::not_equal;  // Relied on: a negation is written "!=("
    static bool value(bool x) { return !x; }
};

/// The weight of a comparison of `x` with `threshold` along a ramp of the widths `lhs` and `rhs`
/// (`Math::get_call_spread`). The direction keeps the one side of the ramp: where the comparison is
/// nearer to true (1) or to false (-1); 0 keeps both. Throws `std::runtime_error` "Unknown error"
/// for any other direction.
inline double ramp(double x, double threshold, signed char slope, double lhs, double rhs,
                   int direction) {
    if (direction < -1 || direction > 1) throw std::runtime_error("Unknown error");
    if (slope * direction > 0) rhs = 0.0;
    if (slope * direction < 0) lhs = 0.0;
    return Toolbox::Math::get_call_spread(x, threshold, lhs, rhs, slope);
}

}  // namespace ximCORE::Contract::op
