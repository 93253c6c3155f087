#include "core/toolbox/formulas/fft.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <numbers>
#include <random>

#include "support/matchers.hpp"

using namespace ximCORE::Toolbox;
using Complex = std::complex<double>;

namespace {

Array1D<Complex> random_numbers(std::uint64_t size) {
    std::mt19937_64 generator(size);
    std::normal_distribution<double> normal;
    Array1D<Complex> numbers(size);
    for (Complex& number : numbers) number = {normal(generator), normal(generator)};
    return numbers;
}

/// The definition; the root's angle is reduced before it is rounded.
Complex transform(Array1D<Complex> const& in, std::uint64_t n, std::uint64_t k) {
    Complex sum = 0.0;
    for (std::uint64_t j = 0; j < n; ++j) {
        double const angle =
            -2.0 * std::numbers::pi * static_cast<double>(j * k % n) / static_cast<double>(n);
        sum += in.get(j) * std::polar(1.0, angle);
    }
    return sum;
}

/// The rounding that the header allows.
double tolerance_of(Array1D<Complex> const& in) {
    double size = 0.0;
    for (Complex const& number : in) size += std::norm(number);
    return static_cast<double>(in.c_get_size()) * 2e-16 * std::sqrt(size);
}

TEST(FFT, IsTheForwardTransformOfItsDefinition) {
    for (unsigned n = 1; n <= 512; n *= 2) {
        auto const in = random_numbers(n);
        Array1D<Complex> out;
        FFT::evaluate(in, out, n);
        ASSERT_EQ(out.c_get_size(), n);
        for (unsigned k = 0; k < n; ++k)
            EXPECT_LT(std::abs(out.get(k) - transform(in, n, k)), std::max(1e-14, tolerance_of(in)))
                << n << " " << k;
    }
}

TEST(FFT, AnImpulseAtOneGoesRoundTheCircleClockwise) {
    Array1D<Complex> in(4);
    in.unsafe_get(1) = 1.0;
    Array1D<Complex> out;
    FFT::evaluate(in, out, 4);
    Complex const expected[] = {{1, 0}, {0, -1}, {-1, 0}, {0, 1}};
    for (unsigned k = 0; k < 4; ++k) EXPECT_LT(std::abs(out.get(k) - expected[k]), 1e-15);
}

TEST(FFT, RoundingStaysSmallOnManyPoints) {
    constexpr unsigned n = 4096;
    auto const in = random_numbers(n);
    Array1D<Complex> out;
    FFT::evaluate(in, out, n);
    double size = 0.0;
    double spectrum = 0.0;
    for (unsigned k = 0; k < n; ++k) {
        size += std::norm(in.get(k));
        spectrum += std::norm(out.get(k));
    }
    EXPECT_THAT(spectrum, ximTest::IsNearRel(n * size, 1e-11));  // Parseval
    for (unsigned const k : {1U, 2U, 1023U, 2048U, 4095U})
        EXPECT_LT(std::abs(out.get(k) - transform(in, n, k)), tolerance_of(in));
}

TEST(FFT, LongerInputIsReadToTheSizeAlone) {
    auto const in = random_numbers(16);
    Array1D<Complex> out(3);
    FFT::evaluate(in, out, 8);
    ASSERT_EQ(out.c_get_size(), 8U);
    EXPECT_LT(std::abs(out.get(3) - transform(in, 8, 3)), 1e-13);
}

TEST(FFT, NoPointsGiveNoPoints) {
    Array1D<Complex> out(3);
    FFT::evaluate(random_numbers(4), out, 0);
    EXPECT_EQ(out.c_get_size(), 0U);
}

TEST(FFT, ShorterInputRaises) {
    Array1D<Complex> out;
    EXPECT_THAT([&] { FFT::evaluate(random_numbers(7), out, 8); },
                ximTest::Raises<SegmentationFaultException>());
}

TEST(FFT, LengthsThatAreNoPowersOfTwoDoNotLeaveTheTable) {
    for (unsigned n = 1; n < 70; ++n) {
        Array1D<Complex> out;
        FFT::evaluate(random_numbers(128), out, n);
        EXPECT_EQ(out.c_get_size(), n);
    }
}

}  // namespace
