#include "core/data/shift.hpp"

#include <gtest/gtest.h>

#include <stdexcept>

#include "support/matchers.hpp"

namespace ximCORE::Data {
namespace {

using Kind = MarketDataShift::Kind;
using Unit = MarketDataShift::Unit;
using ximTest::IsNearRel;
using ximTest::Raises;

struct Case {
    Kind kind;
    Unit unit;
    double value;
    double x;
    double expected;  // x + v, v, (1 + v) x, v x by hand
};

constexpr Case cases[] = {
    {Kind::additive, Unit::none, 2.5, 100.0, 102.5},
    {Kind::additive, Unit::percentage, 1.0, 0.2, 0.21},
    {Kind::additive, Unit::basis_point, 50.0, 0.02, 0.025},
    {Kind::assignment, Unit::none, 7.0, 100.0, 7.0},
    {Kind::assignment, Unit::percentage, 25.0, 100.0, 0.25},
    {Kind::assignment, Unit::basis_point, 25.0, 100.0, 0.0025},
    {Kind::hybrid, Unit::none, 0.5, 100.0, 150.0},
    {Kind::hybrid, Unit::percentage, 10.0, 101.0, 111.1},
    {Kind::hybrid, Unit::basis_point, -100.0, 100.0, 99.0},
    {Kind::multiplicative, Unit::none, 3.0, 100.0, 300.0},
    {Kind::multiplicative, Unit::percentage, 50.0, 100.0, 50.0},
    {Kind::multiplicative, Unit::basis_point, 10000.0, 42.0, 42.0},
};

TEST(MarketDataShift, AppliesItsUnitAndThenItsKind) {
    for (auto const& c : cases)
        EXPECT_THAT((MarketDataShift{c.kind, c.unit, c.value}.c_eval(c.x)),
                    IsNearRel(c.expected, 1e-14))
            << "kind " << int(c.kind) << " unit " << int(c.unit);
}

TEST(MarketDataShift, IsNeutralByDefault) {
    EXPECT_EQ(MarketDataShift{}.c_eval(123.456), 123.456);
}

TEST(MarketDataShift, RefusesAnUnknownKindWhenItIsRead) {
    MarketDataShift const shift{static_cast<Kind>(4), Unit::none, 1.0};
    EXPECT_THAT([&] { static_cast<void>(shift.c_eval(1.0)); },
                Raises<std::runtime_error>("Unknown error"));
}

}  // namespace
}  // namespace ximCORE::Data
