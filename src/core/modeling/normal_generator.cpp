#include "core/modeling/normal_generator.hpp"

#include <bit>
#include <cmath>

namespace ximCORE::Modeling {

namespace {

constexpr std::size_t c_middle = 156;
constexpr std::size_t c_pairs = TwisterBlocks::s_size / 2;

constexpr std::uint64_t twist(std::uint64_t upper, std::uint64_t lower, std::uint64_t far) {
    std::uint64_t const word = (upper & 0xFFFFFFFF80000000U) | (lower & 0x7FFFFFFFU);
    return far ^ (word >> 1) ^ ((0 - (word & 1)) & 0xB5026F5AA96619E9U);
}

constexpr std::uint64_t temper(std::uint64_t word) {
    word ^= (word >> 29) & 0x5555555555555555U;
    word ^= (word << 17) & 0x71D67FFFEDA60000U;
    word ^= (word << 37) & 0xFFF7EEE000000000U;
    return word ^ (word >> 43);
}

/// The double nearest to a word, rounded once: both halves become exact doubles by their bits, and
/// their sum rounds. Equal to the plain conversion, and free of branches.
double to_double(std::uint64_t word) {
    double const high = std::bit_cast<double>((word >> 32) | 0x4530000000000000U) - 0x1.00000001p84;
    double const low = std::bit_cast<double>((word & 0xFFFFFFFFU) | 0x4330000000000000U);
    return high + low;
}

/// A uniform number of [0, 1).
double to_uniform(std::uint64_t word) {
    constexpr double below_one = 0x1.fffffffffffffp-1;
    double const u = to_double(word) * 0x1p-64;
    return u < below_one ? u : below_one;
}

/// The pairs of one block: points of the square [-1, 1) with the squares of their distances to the
/// centre.
struct Points {
    std::array<double, c_pairs> x;
    std::array<double, c_pairs> y;
    std::array<double, c_pairs> r2;

    void draw(TwisterBlocks& twister) {
        TwisterBlocks::Block words;
        twister.generate(words);
        for (std::size_t i = 0; i < c_pairs; ++i) {
            x[i] = 2.0 * to_uniform(words[2 * i]) - 1.0;
            y[i] = 2.0 * to_uniform(words[2 * i + 1]) - 1.0;
            r2[i] = x[i] * x[i] + y[i] * y[i];
        }
    }

    /// Moves the points of the disc to the front, in order; answers their number.
    std::size_t keep_disc() {
        std::size_t kept = 0;
        for (std::size_t i = 0; i < c_pairs; ++i) {
            x[kept] = x[i];
            y[kept] = y[i];
            r2[kept] = r2[i];
            kept += static_cast<std::size_t>(r2[i] <= 1.0) & static_cast<std::size_t>(r2[i] != 0.0);
        }
        return kept;
    }
};

double multiplier(double r2) {
    return std::sqrt(-2.0 * std::log(r2) / r2);
}

}  // namespace

TwisterBlocks::TwisterBlocks(std::uint64_t seed) {
    m_state[0] = seed;
    for (std::size_t i = 1; i < s_size; ++i) {
        std::uint64_t const previous = m_state[i - 1];
        m_state[i] = 6364136223846793005U * (previous ^ (previous >> 62)) + i;
    }
}

void TwisterBlocks::generate(Block& block) {
    auto& s = m_state;
    for (std::size_t i = 0; i < c_middle; ++i) s[i] = twist(s[i], s[i + 1], s[i + c_middle]);
    for (std::size_t i = c_middle; i + 1 < s_size; ++i)
        s[i] = twist(s[i], s[i + 1], s[i - c_middle]);
    s[s_size - 1] = twist(s[s_size - 1], s[0], s[c_middle - 1]);
    for (std::size_t i = 0; i < s_size; ++i) block[i] = temper(s[i]);
}

void fill_standard_normals(std::uint64_t seed, std::span<double> normals) {
    TwisterBlocks twister(seed);
    Points points;
    double* next = normals.data();
    double* const end = next + normals.size();
    while (next != end) {
        points.draw(twister);
        std::size_t const kept = points.keep_disc();
        for (std::size_t i = 0; i < kept && next != end; ++i) {
            double const m = multiplier(points.r2[i]);
            *next++ = points.y[i] * m + 0.0;  // the sum turns -0 into 0, as mean 0 does
            if (next != end) *next++ = points.x[i] * m + 0.0;
        }
    }
}

}  // namespace ximCORE::Modeling
