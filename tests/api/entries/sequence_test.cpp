#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <stdexcept>
#include <tuple>
#include <vector>

#include "ximAPI/ximAPI.hpp"

namespace ximAPI {
namespace {

using ::testing::ElementsAre;
using ::testing::FloatEq;
using ::testing::IsEmpty;

std::vector<float> sequence(SequenceKind kind, float lower, float upper, std::int32_t size) {
    SequenceResults results;
    results.Kind = kind;
    results.LowerValue = lower;
    results.UpperValue = upper;
    results.Size = size;
    EXPECT_TRUE(GetSequence(results));
    return results.Values;
}

TEST(Sequence, UniformNumbersDivideTheInterval) {
    EXPECT_THAT(sequence(SequenceKind::UNIFORM, 0, 10, 3), ElementsAre(0, 5, 10));
    EXPECT_THAT(sequence(SequenceKind::UNIFORM, 10, 0, 3), ElementsAre(10, 5, 0));
}

TEST(Sequence, OfOneUniformNumberIsTheUpperValue) {
    EXPECT_THAT(sequence(SequenceKind::UNIFORM, 3, 8, 1), ElementsAre(8));
}

TEST(Sequence, TheLastUniformNumberIsExactlyTheUpperValue) {
    for (std::int32_t size = 2; size < 200; ++size) {
        auto const values = sequence(SequenceKind::UNIFORM, 0.1F, 0.7F, size);
        EXPECT_EQ(values.front(), 0.1F);
        EXPECT_EQ(values.back(), 0.7F) << size;
    }
}

TEST(Sequence, ConstantNumbersAreTheLowerValue) {
    EXPECT_THAT(sequence(SequenceKind::CONSTANT, 7, 9, 2), ElementsAre(7, 7));
}

TEST(Sequence, TheNodesAreCentredOnTheLowerValueWithTheWholeWidthAsHalfWidth) {
    // l + (u - l) cos((2 k + 1) pi / (2 n)) for n = 2: the cosines of 45 and 135 degrees.
    auto const half = static_cast<float>(std::sqrt(0.5));
    EXPECT_THAT(sequence(SequenceKind::CHEBYCHEV, 10, 12, 2),
                ElementsAre(FloatEq(10 + 2 * half), FloatEq(10 - 2 * half)));
    auto const many = sequence(SequenceKind::CHEBYCHEV, 10, 12, 1000);
    EXPECT_NEAR(many.front(), 12, 1e-4);
    EXPECT_NEAR(many.back(), 8, 1e-4);
}

TEST(Sequence, TheNodesAreTheRootsOfTheChebyshevPolynomial) {
    // T_5(x) = 16 x^5 - 20 x^3 + 5 x (Abramowitz and Stegun 22.3.15)
    for (float x : sequence(SequenceKind::CHEBYCHEV, 0, 1, 5)) {
        auto const point = static_cast<double>(x);
        EXPECT_NEAR(16 * std::pow(point, 5) - 20 * std::pow(point, 3) + 5 * point, 0.0, 1e-5);
    }
}

TEST(Sequence, OfSizeZeroKeepsItsValues) {
    for (std::int32_t size : {0, -1, -2147483647}) {
        SequenceResults results;
        results.Values = {1, 2};
        results.Size = size;
        EXPECT_TRUE(GetSequence(results));
        EXPECT_THAT(results.Values, ElementsAre(1, 2));
    }
}

TEST(Sequence, AppendsToTheValuesThatAreThere) {
    SequenceResults results;
    results.Values = {1, 2};
    results.Kind = SequenceKind::CONSTANT;
    results.LowerValue = 5;
    results.Size = 1;
    EXPECT_TRUE(GetSequence(results));
    EXPECT_THAT(results.Values, ElementsAre(1, 2, 5));
}

TEST(Sequence, OfAnotherKindAddsNothing) {
    EXPECT_THAT(sequence(static_cast<SequenceKind>(3), 0, 10, 3), IsEmpty());
    EXPECT_THAT(sequence(static_cast<SequenceKind>(-1), 0, 10, 3), IsEmpty());
}

TEST(Sequence, OfMoreThanAMillionNumbersIsRefused) {
    SequenceResults results;
    results.Size = 1000001;
    EXPECT_THROW(std::ignore = GetSequence(results), std::length_error);
    EXPECT_THAT(sequence(SequenceKind::CONSTANT, 1, 1, 1000000), ::testing::SizeIs(1000000));
}

}  // namespace
}  // namespace ximAPI
