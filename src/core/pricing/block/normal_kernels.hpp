// Standard normals of vectors, for kernel files. Compiled without contraction: one fused step in
// x x + y y would accept other points than the standard library does.

#pragma once

#include "core/pricing/block/elementary.hpp"
#include "core/pricing/block/normals.hpp"

namespace ximCORE::Pricing::Block {
namespace {

constexpr std::size_t c_words = PointSequence::s_block_words;
constexpr std::size_t c_middle = 156;

std::uint64_t twist(std::uint64_t upper, std::uint64_t lower, std::uint64_t far) {
    std::uint64_t const word = (upper & 0xFFFFFFFF80000000U) | (lower & 0x7FFFFFFFU);
    return far ^ (word >> 1) ^ ((0 - (word & 1)) & 0xB5026F5AA96619E9U);
}

void advance(std::uint64_t* s) {
#pragma GCC ivdep
    for (std::size_t i = 0; i < c_middle; ++i) s[i] = twist(s[i], s[i + 1], s[i + c_middle]);
#pragma GCC ivdep
    for (std::size_t i = c_middle; i + 1 < c_words; ++i)
        s[i] = twist(s[i], s[i + 1], s[i - c_middle]);
    s[c_words - 1] = twist(s[c_words - 1], s[0], s[c_middle - 1]);
}

Words temper(Words word) {
    word ^= (word >> 29) & 0x5555555555555555U;
    word ^= (word << 17) & 0x71D67FFFEDA60000U;
    word ^= (word << 37) & 0xFFF7EEE000000000U;
    return word ^ (word >> 43);
}

/// 2 u - 1 for the uniform numbers u of [0, 1); a word that rounds to 1 counts as the number below.
Reals coordinate(Words word) {
    Reals const number = to_reals(temper(word));
    Reals const largest = spread(0x1.fffffffffffffp63);
    // the product is exact, so that one rounding is the same as two
    return multiply_add(number < largest ? number : largest, spread(0x1p-63), spread(-1.0));
}

std::size_t draw_points(std::uint64_t* state, double* x, double* y) {
    advance(state);
    std::size_t kept = 0;
    auto const keep = [&](std::size_t first, unsigned wanted) {
        auto const a = load_as<Words>(state + first);
        auto const b = load_as<Words>(state + first + c_width);
        Reals const px = coordinate(even_of(a, b));
        Reals const py = coordinate(odd_of(a, b));
        Reals const r2 = px * px + py * py;
        unsigned const bits = bits_of((r2 <= 1.0) & (r2 != 0.0)) & wanted;
        compress(x + kept, px, bits);
        compress(y + kept, py, bits);
        kept += static_cast<std::size_t>(__builtin_popcount(bits));
    };
    constexpr unsigned all = (1U << c_width) - 1;
    constexpr std::size_t step = 2 * c_width;
    for (std::size_t i = 0; i + step <= c_words; i += step) keep(i, all);
    constexpr std::size_t rest =
        c_words % step / 2;  // points, in the last lanes of one more vector
    if constexpr (rest > 0) keep(c_words - step, all & ~((1U << (c_width - rest)) - 1));
    return kept;
}

void make_normals(double const* x, double const* y, std::size_t nb_points, double* normals) {
    for (std::size_t i = 0; i < nb_points; i += c_width) {
        Reals const px = load(x + i);
        Reals const py = load(y + i);
        Reals const r2 = px * px + py * py;
        Reals const m = polar_multiplier(r2);
        Reals const first = py * m;
        Reals const second = px * m;
        store(normals + 2 * i, interleave_first(first, second));
        store(normals + 2 * i + c_width, interleave_second(first, second));
    }
}

}  // namespace
}  // namespace ximCORE::Pricing::Block
