// The operators between amounts, events and cash flows, and the functions of amounts: a row of
// codes per operator, one line per form of the operands.
#include <memory>

#include "dsl/cashflow.hpp"

namespace ximDSL {

namespace {

using A = Amount::Id;
using E = Event::Id;

/// The codes of one operator for its three forms: two amounts, a number and an amount, an amount
/// and a number.
template <class Id>
struct Codes {
    Id both;
    Id left;
    Id right;
};

// clang-format off
constexpr Codes<A> add_codes              {.both = A::add,              .left = A::left_add,              .right = A::right_add};
constexpr Codes<A> subtract_codes         {.both = A::subtract,         .left = A::left_subtract,         .right = A::right_subtract};
constexpr Codes<A> multiply_codes         {.both = A::multiply,         .left = A::left_multiply,         .right = A::right_multiply};
constexpr Codes<A> divide_codes           {.both = A::divide,           .left = A::left_divide,           .right = A::right_divide};
constexpr Codes<A> max_codes              {.both = A::max,              .left = A::left_max,              .right = A::right_max};
constexpr Codes<A> min_codes              {.both = A::min,              .left = A::left_min,              .right = A::right_min};
constexpr Codes<E> equal_codes            {.both = E::equal,            .left = E::left_equal,            .right = E::right_equal};
constexpr Codes<E> not_equal_codes        {.both = E::not_equal,        .left = E::left_not_equal,        .right = E::right_not_equal};
constexpr Codes<E> greater_codes          {.both = E::greater,          .left = E::left_greater,          .right = E::right_greater};
constexpr Codes<E> greater_or_equal_codes {.both = E::greater_or_equal, .left = E::left_greater_or_equal, .right = E::right_greater_or_equal};
constexpr Codes<E> lower_codes            {.both = E::lower,            .left = E::left_lower,            .right = E::right_lower};
// Relied on: between two amounts "<=" describes the strict comparison.
constexpr Codes<E> lower_or_equal_codes   {.both = E::lower,            .left = E::left_lower_or_equal,   .right = E::right_lower_or_equal};
// clang-format on

AmountPtr combine(Codes<A> codes, AmountPtr const& left, AmountPtr const& right) {
    return std::make_shared<AmountBinaryOperation>(codes.both, left, right);
}
AmountPtr combine(Codes<A> codes, AmountPtr const& left, float right) {
    return std::make_shared<RightAmountHybridOperation>(codes.right, left, right);
}
AmountPtr combine(Codes<A> codes, float left, AmountPtr const& right) {
    return std::make_shared<LeftAmountHybridOperation>(codes.left, left, right);
}
EventPtr combine(Codes<E> codes, AmountPtr const& left, AmountPtr const& right) {
    return std::make_shared<EventAmountBinaryOperation>(codes.both, left, right);
}
EventPtr combine(Codes<E> codes, AmountPtr const& left, float right) {
    return std::make_shared<RightEventAmountHybridOperation>(codes.right, left, right);
}
EventPtr combine(Codes<E> codes, float left, AmountPtr const& right) {
    return std::make_shared<LeftEventAmountHybridOperation>(codes.left, left, right);
}
AmountPtr apply(A function, AmountPtr const& x) {
    return std::make_shared<AmountUnaryOperation>(function, x);
}

}  // namespace

// clang-format off
AmountPtr operator+(AmountPtr const& left, AmountPtr const& right) { return combine(add_codes, left, right); }
AmountPtr operator+(AmountPtr const& left, float right)            { return combine(add_codes, left, right); }
AmountPtr operator+(float left, AmountPtr const& right)            { return combine(add_codes, left, right); }
AmountPtr operator-(AmountPtr const& left, AmountPtr const& right) { return combine(subtract_codes, left, right); }
AmountPtr operator-(AmountPtr const& left, float right)            { return combine(subtract_codes, left, right); }
AmountPtr operator-(float left, AmountPtr const& right)            { return combine(subtract_codes, left, right); }
AmountPtr operator*(AmountPtr const& left, AmountPtr const& right) { return combine(multiply_codes, left, right); }
AmountPtr operator*(AmountPtr const& left, float right)            { return combine(multiply_codes, left, right); }
AmountPtr operator*(float left, AmountPtr const& right)            { return combine(multiply_codes, left, right); }
AmountPtr operator/(AmountPtr const& left, AmountPtr const& right) { return combine(divide_codes, left, right); }
AmountPtr operator/(AmountPtr const& left, float right)            { return combine(divide_codes, left, right); }
AmountPtr operator/(float left, AmountPtr const& right)            { return combine(divide_codes, left, right); }
AmountPtr Max(AmountPtr const& left, AmountPtr const& right)       { return combine(max_codes, left, right); }
AmountPtr Max(AmountPtr const& left, float right)                  { return combine(max_codes, left, right); }
AmountPtr Max(float left, AmountPtr const& right)                  { return combine(max_codes, left, right); }
AmountPtr Min(AmountPtr const& left, AmountPtr const& right)       { return combine(min_codes, left, right); }
AmountPtr Min(AmountPtr const& left, float right)                  { return combine(min_codes, left, right); }
AmountPtr Min(float left, AmountPtr const& right)                  { return combine(min_codes, left, right); }

AmountPtr operator+(AmountPtr const& x) { return x; }
AmountPtr operator-(AmountPtr const& x) { return apply(A::minus, x); }
AmountPtr Abs(AmountPtr const& x)       { return apply(A::abs, x); }
AmountPtr Cos(AmountPtr const& x)       { return apply(A::cos, x); }
AmountPtr Sin(AmountPtr const& x)       { return apply(A::sin, x); }
AmountPtr Tan(AmountPtr const& x)       { return apply(A::tan, x); }
AmountPtr Exp(AmountPtr const& x)       { return apply(A::exp, x); }
AmountPtr Log(AmountPtr const& x)       { return apply(A::log, x); }
AmountPtr Sqrt(AmountPtr const& x)      { return apply(A::square_root, x); }
AmountPtr Pow(AmountPtr const& x, float exponent) {
    return std::make_shared<RightAmountHybridOperation>(A::right_power, x, exponent);
}

EventPtr operator==(AmountPtr const& left, AmountPtr const& right) { return combine(equal_codes, left, right); }
EventPtr operator==(AmountPtr const& left, float right)            { return combine(equal_codes, left, right); }
EventPtr operator==(float left, AmountPtr const& right)            { return combine(equal_codes, left, right); }
EventPtr operator!=(AmountPtr const& left, AmountPtr const& right) { return combine(not_equal_codes, left, right); }
EventPtr operator!=(AmountPtr const& left, float right)            { return combine(not_equal_codes, left, right); }
EventPtr operator!=(float left, AmountPtr const& right)            { return combine(not_equal_codes, left, right); }
EventPtr operator>(AmountPtr const& left, AmountPtr const& right)  { return combine(greater_codes, left, right); }
EventPtr operator>(AmountPtr const& left, float right)             { return combine(greater_codes, left, right); }
EventPtr operator>(float left, AmountPtr const& right)             { return combine(greater_codes, left, right); }
EventPtr operator>=(AmountPtr const& left, AmountPtr const& right) { return combine(greater_or_equal_codes, left, right); }
EventPtr operator>=(AmountPtr const& left, float right)            { return combine(greater_or_equal_codes, left, right); }
EventPtr operator>=(float left, AmountPtr const& right)            { return combine(greater_or_equal_codes, left, right); }
EventPtr operator<(AmountPtr const& left, AmountPtr const& right)  { return combine(lower_codes, left, right); }
EventPtr operator<(AmountPtr const& left, float right)             { return combine(lower_codes, left, right); }
EventPtr operator<(float left, AmountPtr const& right)             { return combine(lower_codes, left, right); }
EventPtr operator<=(AmountPtr const& left, AmountPtr const& right) { return combine(lower_or_equal_codes, left, right); }
EventPtr operator<=(AmountPtr const& left, float right)            { return combine(lower_or_equal_codes, left, right); }
EventPtr operator<=(float left, AmountPtr const& right)            { return combine(lower_or_equal_codes, left, right); }
// clang-format on

EventPtr operator&&(EventPtr const& left, EventPtr const& right) {
    return std::make_shared<EventBinaryOperation>(E::both, left, right);
}
EventPtr operator||(EventPtr const& left, EventPtr const& right) {
    return std::make_shared<EventBinaryOperation>(E::either, left, right);
}
EventPtr operator!(EventPtr const& event) {
    return std::make_shared<EventUnaryOperation>(E::negation, event);
}
CashFlowPtr operator&(CashFlowPtr const& left, CashFlowPtr const& right) {
    return std::make_shared<CashFlowBinaryOperation>(left, right);
}

}  // namespace ximDSL
