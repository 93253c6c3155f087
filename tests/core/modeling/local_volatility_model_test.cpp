#include "core/modeling/local_volatility_model.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "support/matchers.hpp"

namespace ximCORE::Modeling {
namespace {

using ximTest::IsNearRel;

/// Five columns at -1, -0.5, 0, 0.5, 1; the second row bends.
LocalVolatilityModel make_model() {
    LocalVolatilityModel model(-1.0, 1.0, 2, 5);
    constexpr double bent[] = {0.5, 0.25, 0.125, 0.25, 1.0};
    for (std::uint64_t column = 0; column < 5; ++column) {
        model.local_variances.unsafe_get(0, column) = 0.0625;
        model.local_variances.unsafe_get(1, column) = bent[column];
    }
    return model;
}

TEST(LocalVolatilityModel, ColumnsAreEquallySpacedFromBorderToBorder) {
    auto const model = make_model();
    EXPECT_EQ(model.step, 0.5);
    for (std::uint64_t column = 0; column < 5; ++column)
        EXPECT_EQ(model.c_get_space(column), -1.0 + 0.5 * static_cast<double>(column));
}

TEST(LocalVolatilityModel, TheIndexIsThatOfTheColumnToTheLeftWithinTheGrid) {
    auto const model = make_model();
    struct Row {
        double x;
        std::uint64_t index;
    };
    for (auto const& [x, index] : {Row{-1.0, 0}, Row{-0.75, 0}, Row{-0.5, 1}, Row{0.0, 2},
                                   Row{0.25, 2}, Row{0.5, 3}, Row{0.99, 3}, Row{1.0, 3}})
        EXPECT_EQ(model.c_get_space_index(x), index) << x;
}

TEST(LocalVolatilityModel, OutsideTheGridTheIndexIsThatOfTheBorderCell) {
    auto const model = make_model();
    constexpr double infinity = std::numeric_limits<double>::infinity();
    for (double const x : {-1.5, -1e300, -infinity}) EXPECT_EQ(model.c_get_space_index(x), 0U) << x;
    for (double const x : {1.5, 1e300, infinity}) EXPECT_EQ(model.c_get_space_index(x), 3U) << x;
    EXPECT_EQ(model.c_get_space_index(std::nan("")), 0U);
}

TEST(LocalVolatilityModel, BetweenColumnsTheVarianceIsAStraightLine) {
    auto const model = make_model();
    EXPECT_EQ(model.c_interpolate(0, 0.3), 0.0625);
    EXPECT_EQ(model.c_interpolate(1, -1.0), 0.5);
    EXPECT_EQ(model.c_interpolate(1, 0.0), 0.125);
    EXPECT_EQ(model.c_interpolate(1, 1.0), 1.0);
    EXPECT_THAT(model.c_interpolate(1, -0.75), IsNearRel(0.375, 1e-15));
    EXPECT_THAT(model.c_interpolate(1, 0.6), IsNearRel(0.25 + 0.2 * 0.75, 1e-14));
}

TEST(LocalVolatilityModel,
     OutsideTheGridTheLocalVarianceGoesOnInTheStraightLineOfTheBorderCellWithoutABound) {
    auto const model = make_model();
    // slopes of the border cells: -0.5 and 1.5 a unit
    EXPECT_THAT(model.c_interpolate(1, -2.0), IsNearRel(0.5 + 0.5, 1e-14));
    EXPECT_THAT(model.c_interpolate(1, 3.0), IsNearRel(1.0 + 2 * 1.5, 1e-14));
    auto sinking = make_model();
    sinking.local_variances.unsafe_get(1, 4) = 0.0;
    EXPECT_THAT(sinking.c_interpolate(1, 2.0), IsNearRel(-0.5, 1e-14));  // below zero
    EXPECT_TRUE(std::isnan(model.c_interpolate(1, std::nan(""))));
}

TEST(LocalVolatilityModel, ACloneHasAGridOfItsOwn) {
    auto model = make_model();
    auto const clone = model.c_clone();
    model.local_variances.unsafe_get(1, 2) = 7.0;
    auto const& copy = dynamic_cast<LocalVolatilityModel const&>(*clone);
    EXPECT_EQ(copy.c_interpolate(1, 0.0), 0.125);
    EXPECT_EQ(copy.lower, -1.0);
    EXPECT_EQ(copy.upper, 1.0);
    EXPECT_EQ(copy.step, 0.5);
}

}  // namespace
}  // namespace ximCORE::Modeling
