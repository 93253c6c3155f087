#include "core/pricing/mc_result.hpp"

#include <cmath>
#include <limits>

#include "support/matchers.hpp"

namespace ximCORE::Pricing {
namespace {

using ximTest::IsNearRel;

MCResult of(std::initializer_list<double> values) {
    MCResult result;
    for (double const value : values) result += value;
    return result;
}

TEST(MCResult, AClearedValueHasTheExtremesOfDoubles) {
    MCResult result = of({1.0, 2.0});
    result.agregate();
    result.clear();
    EXPECT_EQ(result.sum, 0.0);
    EXPECT_EQ(result.sum_of_squares, 0.0);
    EXPECT_EQ(result.count, 0U);
    EXPECT_EQ(result.mean, 0.0);
    EXPECT_EQ(result.lower_bound, 0.0);
    EXPECT_EQ(result.upper_bound, 0.0);
    EXPECT_EQ(result.standard_error, 0.0);
    EXPECT_EQ(result.min, 1.7976931348623157e308);
    EXPECT_EQ(result.max, 2.2250738585072014e-308);
}

TEST(MCResult, OnlyNegativeValuesReportTheSmallestPositiveDoubleAsMax) {
    auto const result = of({-3.0, -1.0});
    EXPECT_EQ(result.min, -3.0);
    EXPECT_EQ(result.max, std::numeric_limits<double>::min());
}

TEST(MCResult, AnAssignmentReplacesAllObservations) {
    MCResult result = of({5.0, 6.0});
    result = -2.0;
    EXPECT_EQ(result.sum, -2.0);
    EXPECT_EQ(result.sum_of_squares, 4.0);
    EXPECT_EQ(result.count, 1U);
    EXPECT_EQ(result.min, -2.0);
    EXPECT_EQ(result.max, -2.0);
}

TEST(MCResult, AddingAnotherAddsItsObservations) {
    MCResult result = of({1.0, 2.0});
    result += of({-4.0, 10.0, 0.5});
    EXPECT_EQ(result.sum, 9.5);
    EXPECT_EQ(result.sum_of_squares, 1.0 + 4.0 + 16.0 + 100.0 + 0.25);
    EXPECT_EQ(result.count, 5U);
    EXPECT_EQ(result.min, -4.0);
    EXPECT_EQ(result.max, 10.0);
}

TEST(MCResult, ScalingFoldsTheFactorIntoTheExtremes) {
    MCResult result = of({1.0, 2.0});
    result *= 10.0;
    EXPECT_EQ(result.sum, 30.0);
    EXPECT_EQ(result.sum_of_squares, 500.0);
    EXPECT_EQ(result.count, 2U);
    EXPECT_EQ(result.min, 1.0);
    EXPECT_EQ(result.max, 10.0);
    result *= 0.5;
    EXPECT_EQ(result.min, 0.5);
    EXPECT_EQ(result.max, 10.0);
}

TEST(MCResult, AgregateGivesMeanStandardErrorAndBounds) {
    MCResult result = of({2.0, 4.0, 4.0, 4.0, 5.0, 5.0, 7.0, 9.0});
    result.agregate();
    EXPECT_EQ(result.mean, 5.0);
    double const standard_error = std::sqrt(32.0 / 7.0 / 8.0);  // squares about the mean sum to 32
    EXPECT_THAT(result.standard_error, IsNearRel(standard_error, 1e-15));
    // the normal quantile of 1.25 % is -2.24140, the approximation of it good to 4.5e-4
    EXPECT_NEAR(result.lower_bound, 5.0 - 2.24140 * standard_error, 4.5e-4 * standard_error);
    EXPECT_NEAR(result.upper_bound, 5.0 + 2.24140 * standard_error, 4.5e-4 * standard_error);
}

TEST(MCResult, OneObservationHasNoStandardError) {
    MCResult result = of({3.0});
    result.agregate();
    EXPECT_EQ(result.standard_error, 0.0);
    EXPECT_EQ(result.lower_bound, 3.0);
    EXPECT_EQ(result.mean, 3.0);
    EXPECT_EQ(result.upper_bound, 3.0);
}

TEST(MCResult, NoObservationHasNoMean) {
    MCResult result;
    result.agregate();
    EXPECT_TRUE(std::isnan(result.mean));
}

TEST(MCResult, ARoundedNegativeVarianceCountsAsZero) {
    MCResult result;
    result.sum = 3.0;
    result.count = 3;
    result.sum_of_squares = 3.0 - 1e-15;
    result.agregate();
    EXPECT_EQ(result.standard_error, 0.0);
    EXPECT_EQ(result.lower_bound, 1.0);
}

TEST(MCResult, ANonNumberStaysOne) {
    MCResult result = of({1.0, std::numeric_limits<double>::quiet_NaN()});
    result.agregate();
    EXPECT_TRUE(std::isnan(result.mean));
    EXPECT_TRUE(std::isnan(result.standard_error));
}

}  // namespace
}  // namespace ximCORE::Pricing
