#include "core/toolbox/containers.hpp"

#include <gtest/gtest.h>

#include <limits>
#include <new>
#include <numeric>
#include <string>
#include <utility>

#include "support/matchers.hpp"

using namespace ximCORE::Toolbox;
using testing::ElementsAre;
using testing::Not;
using ximTest::Raises;

namespace {

auto const raises_fault = [] { return Raises<SegmentationFaultException>("Segmentation fault"); };

TEST(Errors, ARefusedConstructionHasTheTextOfTheStandardLibrary) {
    EXPECT_STREQ(ConstructorException{}.what(), std::exception{}.what());
    EXPECT_STREQ(ConstructorException{}.what(), "std::exception");
}

TEST(Errors, ABadIndexReadsSegmentationFault) {
    EXPECT_STREQ(SegmentationFaultException{}.what(), "Segmentation fault");
}

TEST(Array1D, ReadAndWriteBeyondTheSizeRaise) {
    Array1D<double> array(3);
    EXPECT_THAT([&] { return array.get(3); }, raises_fault());
    EXPECT_THAT([&] { return array.unsafe_get(3); }, raises_fault());
    EXPECT_THAT([&] { return array.get(std::numeric_limits<std::uint64_t>::max()); },
                raises_fault());
    EXPECT_NO_THROW(array.unsafe_get(2) = 1.0);
    EXPECT_EQ(array.get(2), 1.0);
}

TEST(Array1D, AnyIndexIntoAnEmptyOneRaises) {
    Array1D<double> array;
    EXPECT_EQ(array.c_get_size(), 0U);
    EXPECT_THAT([&] { return array.get(0); }, raises_fault());
    EXPECT_THAT([&] { return array.unsafe_get(0); }, raises_fault());
    EXPECT_EQ(array.begin(), array.end());
}

TEST(Array1D, StartsZeroed) {
    Array1D<double> const array(5);
    EXPECT_THAT(array, ElementsAre(0.0, 0.0, 0.0, 0.0, 0.0));
}

TEST(Array1D, ACopyHasElementsOfItsOwn) {
    Array1D<std::string> original(2);
    original.unsafe_get(0) = "a";
    original.unsafe_get(1) = "b";
    Array1D<std::string> copy(original);
    copy.unsafe_get(0) = "changed";
    EXPECT_THAT(original, ElementsAre("a", "b"));
    EXPECT_THAT(copy, ElementsAre("changed", "b"));
}

TEST(Array1D, AssignmentTakesTheSizeOfItsSource) {
    Array1D<int> source(3);
    std::iota(source.begin(), source.end(), 1);
    Array1D<int> target(7);
    target = source;
    EXPECT_THAT(target, ElementsAre(1, 2, 3));
    target = Array1D<int>{};
    EXPECT_EQ(target.c_get_size(), 0U);
    EXPECT_THAT([&] { return target.get(0); }, raises_fault());
}

TEST(Array1D, AssignmentBetweenEqualSizesAllocatesNothing) {
    Array1D<int> source(3);
    source.unsafe_get(1) = 5;
    Array1D<int> target(3);
    int const* const before = target.begin();
    target = source;
    EXPECT_EQ(target.begin(), before);
    EXPECT_THAT(target, ElementsAre(0, 5, 0));
}

TEST(Array1D, SelfAssignmentDoesNothing) {
    Array1D<int> array(2);
    array.unsafe_get(1) = 9;
    Array1D<int> const& same = array;
    array = same;
    EXPECT_THAT(array, ElementsAre(0, 9));
}

TEST(Array1D, AMovedFromOneIsEmpty) {
    Array1D<int> source(2);
    Array1D<int> const target(std::move(source));
    EXPECT_EQ(target.c_get_size(), 2U);
    EXPECT_THAT([&] { return source.get(0); }, raises_fault());  // NOLINT(bugprone-use-after-move)
}

TEST(Array1D, ASizeWhoseBytesDoNotFitRaisesBadArrayNewLength) {
    EXPECT_THROW(Array1D<double>(std::numeric_limits<std::uint64_t>::max() / 2),
                 std::bad_array_new_length);
}

TEST(Array2D, StoresRowByRow) {
    Array2D<int> array(2, 3);
    std::iota(array.begin(), array.end(), 0);
    EXPECT_EQ(array.c_get_rows(), 2U);
    EXPECT_EQ(array.c_get_cols(), 3U);
    EXPECT_EQ(array.get(0, 2), 2);
    EXPECT_EQ(array.get(1, 0), 3);
}

TEST(Array2D, EachIndexIsCheckedOnItsOwn) {
    Array2D<int> array(2, 3);
    EXPECT_THAT([&] { return array.get(0, 3); }, raises_fault());
    EXPECT_THAT([&] { return array.get(2, 0); }, raises_fault());
    EXPECT_THAT([&] { return array.unsafe_get(0, 3); }, raises_fault());
    EXPECT_THAT([&] { return Array2D<int>(3, 0).get(0, 0); }, raises_fault());
}

TEST(Array2D, ExtentsWhoseProductDoesNotFitRaiseBadArrayNewLength) {
    std::uint64_t const half = std::uint64_t{1} << 32U;
    EXPECT_THROW(Array2D<char>(half, half), std::bad_array_new_length);
    EXPECT_THROW(Array3D<char>(half, 2, half), std::bad_array_new_length);
}

TEST(Array2D, CopiesAndMovesWithItsExtents) {
    Array2D<int> source(2, 2);
    source.unsafe_get(1, 0) = 4;
    Array2D<int> copy;
    copy = source;
    Array2D<int> const moved = std::move(source);
    EXPECT_EQ(copy.get(1, 0), 4);
    EXPECT_EQ(moved.get(1, 0), 4);
    EXPECT_EQ(source.c_get_rows(), 0U);  // NOLINT(bugprone-use-after-move)
    EXPECT_THAT([&] { return source.get(0, 0); }, raises_fault());
}

TEST(Array3D, RunsFastestAlongTheLastIndex) {
    Array3D<int> array(2, 3, 4);
    std::iota(array.begin(), array.end(), 0);
    EXPECT_EQ(array.get(1, 2, 3), 23);
    EXPECT_EQ(array.get(0, 1, 0), 4);
    EXPECT_EQ(array.get(1, 0, 0), 12);
    EXPECT_EQ(array.c_get_extent(0), 2U);
    EXPECT_EQ(array.c_get_extent(2), 4U);
}

TEST(Array3D, EachIndexIsCheckedOnItsOwn) {
    Array3D<int> array(2, 3, 4);
    EXPECT_THAT([&] { return array.get(2, 0, 0); }, raises_fault());
    EXPECT_THAT([&] { return array.get(0, 3, 0); }, raises_fault());
    EXPECT_THAT([&] { return array.unsafe_get(0, 0, 4); }, raises_fault());
    EXPECT_THAT([&] { return array.c_get_extent(3); }, raises_fault());
    Array3D<int> const moved = std::move(array);
    EXPECT_EQ(moved.get(1, 2, 3), 0);
    EXPECT_EQ(array.c_get_extent(0), 0U);  // NOLINT(bugprone-use-after-move)
}

TEST(Triangle, TheStrictOneStartsAtRowOne) {
    Triangle<double, -1> triangle(3);
    std::iota(triangle.begin(), triangle.end(), 0.0);
    EXPECT_EQ(triangle.c_get_count(), 3U);
    EXPECT_EQ(triangle.get(1, 0), 0.0);
    EXPECT_EQ(triangle.get(2, 0), 1.0);
    EXPECT_EQ(triangle.get(2, 1), 2.0);
    EXPECT_THAT([&] { return triangle.get(0, 0); }, raises_fault());
    EXPECT_THAT([&] { return triangle.get(1, 1); }, raises_fault());
}

TEST(Triangle, TheFullOneHoldsItsDiagonal) {
    Triangle<double, 1> triangle(3);
    std::iota(triangle.begin(), triangle.end(), 0.0);
    EXPECT_EQ(triangle.c_get_count(), 6U);
    EXPECT_EQ(triangle.get(0, 0), 0.0);
    EXPECT_EQ(triangle.get(1, 1), 2.0);
    EXPECT_EQ(triangle.get(2, 2), 5.0);
    EXPECT_THAT([&] { return triangle.get(0, 1); }, raises_fault());
    EXPECT_THAT([&] { return triangle.unsafe_get(3, 0); }, raises_fault());
}

TEST(Triangle, TheIndicesAreNeverSwappedForTheCaller) {
    Triangle<double, -1> const triangle(3);
    EXPECT_NO_THROW(std::ignore = triangle.get(2, 1));
    EXPECT_THAT([&] { return triangle.get(1, 2); }, raises_fault());
}

TEST(Triangle, TheStrictOneOfSideOneHoldsNothing) {
    Triangle<double, -1> const triangle(1);
    EXPECT_EQ(triangle.c_get_side(), 1U);
    EXPECT_EQ(triangle.c_get_count(), 0U);
    EXPECT_THAT([&] { return triangle.get(0, 0); }, raises_fault());
    EXPECT_EQ((Triangle<double, -1>(0).c_get_count()), 0U);
    EXPECT_EQ((Triangle<double, 1>(0).c_get_count()), 0U);
}

TEST(Triangle, EveryPairHasItsOwnElement) {
    constexpr std::uint64_t side = 20;
    Triangle<int, -1> strict(side);
    Triangle<int, 1> full(side);
    for (std::uint64_t i = 0; i < side; ++i) {
        for (std::uint64_t j = 0; j < i; ++j) {
            ++strict.unsafe_get(i, j);
            ++full.unsafe_get(i, j);
        }
        ++full.unsafe_get(i, i);
    }
    EXPECT_THAT(strict, testing::Each(1));
    EXPECT_THAT(full, testing::Each(1));
    EXPECT_EQ(strict.c_get_count(), side * (side - 1) / 2);
    EXPECT_EQ(full.c_get_count(), side * (side + 1) / 2);
}

TEST(Triangle, CopiesAndMovesWithItsSide) {
    Triangle<int, 1> source(2);
    source.unsafe_get(1, 0) = 3;
    Triangle<int, 1> copy(5);
    copy = source;
    EXPECT_EQ(copy.c_get_side(), 2U);
    EXPECT_THAT(copy, ElementsAre(0, 3, 0));
    Triangle<int, 1> const moved = std::move(source);
    EXPECT_THAT(moved, ElementsAre(0, 3, 0));
    EXPECT_EQ(source.c_get_side(), 0U);  // NOLINT(bugprone-use-after-move)
}

}  // namespace
