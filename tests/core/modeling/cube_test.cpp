#include "core/modeling/cube.hpp"

#include <bit>
#include <limits>
#include <new>
#include <random>
#include <span>

#include "core/modeling/normal_generator.hpp"
#include "core/toolbox/errors.hpp"
#include "support/matchers.hpp"

namespace ximCORE::Modeling {
namespace {

using Toolbox::SegmentationFaultException;
using ximTest::Raises;

/// Positions at which `values` differ in any bit from the standard library's generator and
/// distribution.
std::size_t count_differences(std::span<double const> values, std::uint64_t seed) {
    std::mt19937_64 generator(seed);
    std::normal_distribution<double> normal;
    std::size_t differences = 0;
    for (double const value : values)
        if (std::bit_cast<std::uint64_t>(normal(generator)) != std::bit_cast<std::uint64_t>(value))
            ++differences;
    return differences;
}

TEST(TwisterBlocks, GiveTheWordsOfTheStandardGenerator) {
    for (std::uint64_t const seed :
         {std::uint64_t{0}, std::uint64_t{23051994}, ~std::uint64_t{0}}) {
        std::mt19937_64 generator(seed);
        TwisterBlocks twister(seed);
        TwisterBlocks::Block block;
        for (int b = 0; b < 10; ++b) {
            twister.generate(block);
            for (auto const word : block) ASSERT_EQ(word, generator());
        }
    }
}

// The 10,000th output for the default seed, as the C++ standard gives it ([rand.predef]).
TEST(TwisterBlocks, GiveThePublishedTenThousandthWord) {
    TwisterBlocks twister(5489);
    TwisterBlocks::Block block;
    for (std::size_t drawn = 0; drawn < 10000; drawn += block.size()) twister.generate(block);
    EXPECT_EQ(block[9999 % block.size()], 9981545732273789042U);
}

TEST(Cube, HoldsTheBitsOfTheStandardLibrarysNormals) {
    for (std::uint64_t const seed :
         {std::uint64_t{0}, std::uint64_t{1}, std::uint64_t{23051994}, std::uint64_t{19940523},
          std::uint64_t{1} << 63, ~std::uint64_t{0}}) {
        Cube cube(53, 3, 4001);
        cube.fill_normal(seed);
        EXPECT_EQ(count_differences({cube.c_get_slice(0), 53 * 3 * 4001}, seed), 0U)
            << "seed " << seed;
    }
}

TEST(Cube, HoldsTheSameBitsWhateverItsSize) {
    for (std::size_t size = 1; size < 700; ++size) {
        std::vector<double> values(size);
        fill_standard_normals(42, values);
        ASSERT_EQ(count_differences(values, 42), 0U) << "size " << size;
    }
}

TEST(Cube, LiesTrialByTrialThenStepByStepThenFactor) {
    Cube cube(3, 2, 4);
    cube.fill_normal(7);
    std::mt19937_64 generator(7);
    std::normal_distribution<double> normal;
    for (std::uint64_t t = 0; t < 4; ++t)
        for (std::uint64_t s = 0; s < 3; ++s)
            for (std::uint64_t f = 0; f < 2; ++f) {
                double const expected = normal(generator);
                EXPECT_EQ(cube.get(s, f, t), expected);
                EXPECT_EQ(cube.c_get_slice(t)[s * 2 + f], expected);
            }
}

TEST(Cube, IsTheSameForTheSameSeed) {
    Cube first(5, 2, 100);
    Cube second(5, 2, 100);
    first.fill_normal(11);
    second.fill_normal(11);
    for (std::uint64_t t = 0; t < 100; ++t) ASSERT_EQ(first.get(4, 1, t), second.get(4, 1, t));
}

TEST(Cube, OppositeFlipsOneTrialAndTwiceRestoresIt) {
    Cube cube(4, 2, 3);
    Cube reference(4, 2, 3);
    cube.fill_normal(3);
    reference.fill_normal(3);
    cube.opposite(1);
    for (std::uint64_t t = 0; t < 3; ++t)
        EXPECT_EQ(cube.get(2, 1, t), (t == 1 ? -1.0 : 1.0) * reference.get(2, 1, t));
    cube.opposite(1);
    for (std::uint64_t s = 0; s < 4; ++s) EXPECT_EQ(cube.get(s, 0, 1), reference.get(s, 0, 1));
    cube.opposite();
    for (std::uint64_t t = 0; t < 3; ++t) EXPECT_EQ(cube.get(3, 0, t), -reference.get(3, 0, t));
}

TEST(Cube, StoresAValue) {
    Cube cube(2, 2, 2);
    cube.fill_normal(1);
    cube.set(1, 0, 1, 12.5);
    EXPECT_EQ(cube.get(1, 0, 1), 12.5);
}

TEST(Cube, AnIndexOutsideRaises) {
    Cube cube(2, 3, 4);
    cube.fill_normal(1);
    using Fault = SegmentationFaultException;
    EXPECT_THAT([&] { std::ignore = cube.get(2, 0, 0); }, Raises<Fault>());
    EXPECT_THAT([&] { std::ignore = cube.get(0, 3, 0); }, Raises<Fault>());
    EXPECT_THAT([&] { std::ignore = cube.get(0, 0, 4); }, Raises<Fault>());
    EXPECT_THAT([&] { cube.set(2, 0, 0, 1.0); }, Raises<Fault>());
    EXPECT_THAT([&] { cube.opposite(4); }, Raises<Fault>());
    EXPECT_THAT([&] { std::ignore = cube.c_get_slice(4); }, Raises<Fault>());
}

TEST(Cube, WithoutTrialsOrFactorsHoldsNothing) {
    Cube no_trial(3, 2, 0);
    no_trial.fill_normal(1);
    EXPECT_THAT([&] { std::ignore = no_trial.c_get_slice(0); },
                Raises<SegmentationFaultException>());
    Cube no_factor(3, 0, 5);
    no_factor.fill_normal(1);
    no_factor.opposite();
    EXPECT_THAT([&] { std::ignore = no_factor.get(0, 0, 0); },
                Raises<SegmentationFaultException>());
}

TEST(Cube, ASizeThatCannotBeAllocatedRaisesBeforeAnythingIsDrawn) {
    constexpr auto huge = std::numeric_limits<std::uint64_t>::max();
    EXPECT_THAT([&] { Cube(huge, 2, 1); }, Raises<std::bad_array_new_length>());
    EXPECT_THAT([&] { Cube(2, 2, huge / 2); }, Raises<std::bad_array_new_length>());
    EXPECT_THAT([&] { Cube(1, 1, huge / 4); }, Raises<std::bad_array_new_length>());
}

}  // namespace
}  // namespace ximCORE::Modeling
