// The mathematics of the operators, one struct each: its code for texts, its value and `back`, its
// derivatives times an adjoint, both of a double or of a vector of them. Node templates
// (operations.hpp) lift it to paths, adjoint sweeps and known values, the block engine to vectors.
// All follow IEEE doubles without a guard: x / 0 and log 0 are infinite, the root of a negative is
// NaN.
#pragma once

#include <cmath>
#include <stdexcept>

#include "core/contract/operation.hpp"
#include "core/toolbox/math.hpp"

namespace ximCORE::Contract::op {

using Type = Operation::Type;

/// The functions that are not written with operators; a specialisation for each type of number.
template <class T>
struct Functions;

template <>
struct Functions<double> {
    static double abs(double x) { return std::abs(x); }
    static double cos(double x) { return std::cos(x); }
    static double div(double x, double y) { return x / y; }
    static double exp(double x) { return std::exp(x); }
    static double log(double x) { return std::log(x); }
    static double max(double x, double y) { return x > y ? x : y; }
    static double min(double x, double y) { return x < y ? x : y; }
    static double pow(double x, double y) { return std::pow(x, y); }
    static double sin(double x) { return std::sin(x); }
    static double sqrt(double x) { return std::sqrt(x); }
    static double tan(double x) { return std::tan(x); }
};

/// The derivatives of a result by the two operands, times the adjoint of the result.
template <class T>
struct AdjointsOf {
    T left{};
    T right{};
};
using Adjoints = AdjointsOf<double>;

/// Its derivatives do not depend on its operands, which a forward sweep then need not keep.
template <class Op>
concept Linear = requires(double adjoint) {
    Op::back(adjoint);
};

/// `Op::back` with or without the operands. A zero adjoint hands on zeros, however steep the
/// operator is there.
template <class Op>
double back(double adjoint, double x) {
    if (adjoint == 0.0) return 0.0;
    if constexpr (Linear<Op>)
        return Op::back(adjoint);
    else
        return Op::back(adjoint, x);
}
template <class Op>
Adjoints back(double adjoint, double x, double y) {
    if (adjoint == 0.0) return {};
    if constexpr (Linear<Op>)
        return Op::back(adjoint);
    else
        return Op::back(adjoint, x, y);
}

struct Add {
    static constexpr auto type = Type::add;
    template <class T>
    static T value(T x, T y) {
        return x + y;
    }
    template <class T>
    static AdjointsOf<T> back(T a) {
        return {a, a};
    }
};
struct Div {
    static constexpr auto type = Type::div;
    template <class T>
    static T value(T x, T y) {
        return Functions<T>::div(x, y);
    }
    template <class T>
    static AdjointsOf<T> back(T a, T x, T y) {
        return {a / y, -a * x / (y * y)};
    }
};
/// The right operand unless the left one is strictly larger; the derivative too.
struct Max {
    static constexpr auto type = Type::max;
    template <class T>
    static T value(T x, T y) {
        return Functions<T>::max(x, y);
    }
    template <class T>
    static AdjointsOf<T> back(T a, T x, T y) {
        return {x > y ? a : T{}, x > y ? T{} : a};
    }
};
/// The right operand unless the left one is strictly smaller; the derivative too.
struct Min {
    static constexpr auto type = Type::min;
    template <class T>
    static T value(T x, T y) {
        return Functions<T>::min(x, y);
    }
    template <class T>
    static AdjointsOf<T> back(T a, T x, T y) {
        return {x < y ? a : T{}, x < y ? T{} : a};
    }
};
struct Mul {
    static constexpr auto type = Type::mul;
    template <class T>
    static T value(T x, T y) {
        return x * y;
    }
    template <class T>
    static AdjointsOf<T> back(T a, T x, T y) {
        return {a * y, a * x};
    }
};
struct Pow {
    static constexpr auto type = Type::pow;
    template <class T>
    static T value(T x, T y) {
        return Functions<T>::pow(x, y);
    }
    template <class T>
    static AdjointsOf<T> back(T a, T x, T y) {
        return {y == 0.0 ? T{} : a * y * Functions<T>::pow(x, y - 1.0),
                a * Functions<T>::log(x) * Functions<T>::pow(x, y)};
    }
};
struct Sub {
    static constexpr auto type = Type::sub;
    template <class T>
    static T value(T x, T y) {
        return x - y;
    }
    template <class T>
    static AdjointsOf<T> back(T a) {
        return {a, -a};
    }
};

/// Flat at 0.
struct Abs {
    static constexpr auto type = Type::abs;
    template <class T>
    static T value(T x) {
        return Functions<T>::abs(x);
    }
    template <class T>
    static T back(T a, T x) {
        return x > 0.0 ? a : x < 0.0 ? -a : T{};
    }
};
struct Cos {
    static constexpr auto type = Type::cos;
    template <class T>
    static T value(T x) {
        return Functions<T>::cos(x);
    }
    template <class T>
    static T back(T a, T x) {
        return -a * Functions<T>::sin(x);
    }
};
struct Exp {
    static constexpr auto type = Type::exp;
    template <class T>
    static T value(T x) {
        return Functions<T>::exp(x);
    }
    template <class T>
    static T back(T a, T x) {
        return a * Functions<T>::exp(x);
    }
};
struct Log {
    static constexpr auto type = Type::log;
    template <class T>
    static T value(T x) {
        return Functions<T>::log(x);
    }
    template <class T>
    static T back(T a, T x) {
        return a / x;
    }
};
struct Sin {
    static constexpr auto type = Type::sin;
    template <class T>
    static T value(T x) {
        return Functions<T>::sin(x);
    }
    template <class T>
    static T back(T a, T x) {
        return a * Functions<T>::cos(x);
    }
};
struct Sqrt {
    static constexpr auto type =
        Type::sqrt;  // Relied on: a contract with a square root prices, and has no text
    template <class T>
    static T value(T x) {
        return Functions<T>::sqrt(x);
    }
    template <class T>
    static T back(T a, T x) {
        return 0.5 * a / Functions<T>::sqrt(x);
    }
};
struct Minus {
    static constexpr auto type = Type::sub;
    template <class T>
    static T value(T x) {
        return -x;
    }
    template <class T>
    static T back(T a) {
        return -a;
    }
};
struct Tan {
    static constexpr auto type = Type::tan;
    template <class T>
    static T value(T x) {
        return Functions<T>::tan(x);
    }
    template <class T>
    static T back(T a, T x) {
        T const tan = Functions<T>::tan(x);
        return a * (1.0 + tan * tan);
    }
};

// Comparisons. `slope`: +1 when a larger left side makes it true, -1 when a smaller one does, 0 for
// tests of equality, which are exact.

struct Equal {
    static constexpr auto type = Type::equal;
    static constexpr signed char slope = 0;
    template <class T>
    static auto value(T x, T y) {
        return x == y;
    }
};
struct Greater {
    static constexpr auto type = Type::greater;
    static constexpr signed char slope = 1;
    template <class T>
    static auto value(T x, T y) {
        return x > y;
    }
};
struct GreaterOrEqual {
    static constexpr auto type = Type::greater_or_equal;
    static constexpr signed char slope = 1;
    template <class T>
    static auto value(T x, T y) {
        return x >= y;
    }
};
struct Lower {
    static constexpr auto type = Type::lower;
    static constexpr signed char slope = -1;
    template <class T>
    static auto value(T x, T y) {
        return x < y;
    }
};
struct LowerOrEqual {
    static constexpr auto type = Type::lower_or_equal;
    static constexpr signed char slope = -1;
    template <class T>
    static auto value(T x, T y) {
        return x <= y;
    }
};
struct NotEqual {
    static constexpr auto type = Type::not_equal;
    static constexpr signed char slope = 0;
    template <class T>
    static auto value(T x, T y) {
        return x != y;
    }
};

struct And {
    static constexpr auto type = Type::logical_and;
    template <class T>
    static auto value(T x, T y) {
        return x && y;
    }
};
struct Or {
    static constexpr auto type = Type::logical_or;
    template <class T>
    static auto value(T x, T y) {
        return x || y;
    }
};
struct Not {
    static constexpr auto type = Type::not_equal;  // Relied on: a negation is written "!=("
    template <class T>
    static auto value(T x) {
        return !x;
    }
};

/// The operators by what they take and give, for whatever has a row for each of them.
template <class... Ops>
struct List {};
using AmountUnaries = List<Abs, Cos, Exp, Log, Minus, Sin, Sqrt, Tan>;
using AmountBinaries = List<Add, Div, Max, Min, Mul, Pow, Sub>;
using Comparisons = List<Equal, Greater, GreaterOrEqual, Lower, LowerOrEqual, NotEqual>;
using EventUnaries = List<Not>;
using EventBinaries = List<And, Or>;

/// The slope of a comparison by its code.
constexpr signed char slope_of(Type type) {
    signed char slope = 0;
    [&]<class... Ops>(List<Ops...>) {
        ((slope = Ops::type == type ? Ops::slope : slope), ...);
    }(Comparisons{});
    return slope;
}

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

/// The backward form of `ramp`, with the direction held fixed: adds to the adjoints of `x` and of
/// the threshold.
inline void ramp_back(Toolbox::AAD::Tape& tape, double x, double threshold, signed char slope,
                      double lhs, double rhs, int direction, double adjoint, Adjoints& adjoints) {
    if (slope * direction > 0) rhs = 0.0;
    if (slope * direction < 0) lhs = 0.0;
    double value{};
    Toolbox::Math::aget_call_spread(tape, Toolbox::AAD::SweepType::BACKWARD, x, threshold, lhs, rhs,
                                    slope, value, adjoint, adjoints.left, adjoints.right);
}

}  // namespace ximCORE::Contract::op
