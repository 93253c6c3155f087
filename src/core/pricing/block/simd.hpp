// The vectors of the processor that a kernel file is compiled for: 8, 4 or 2 doubles. Only kernel
// files include this header. All is of internal linkage or named by a vector type, so that nothing
// compiled for one processor can be linked into code for another.

#pragma once

#include <immintrin.h>

#include <cstddef>
#include <cstdint>
#include <utility>

#include "core/pricing/block/lanes.hpp"

namespace ximCORE::Pricing::Block {
namespace {

#if defined(__AVX512F__)
constexpr std::size_t c_width = 8;
#elif defined(__AVX2__)
constexpr std::size_t c_width = 4;
#else
constexpr std::size_t c_width = 2;
#endif

using Reals [[gnu::vector_size(c_width * sizeof(double))]] = double;
using Words [[gnu::vector_size(c_width * sizeof(double))]] = std::uint64_t;
/// A truth value per lane, all bits set or none.
using Masks [[gnu::vector_size(c_width * sizeof(double))]] = std::int64_t;

static_assert(lanes % c_width == 0);

template <class Vector>
Vector load_as(void const* from) {
    Vector v;
    __builtin_memcpy(&v, from, sizeof v);
    return v;
}
Reals load(double const* from) {
    return load_as<Reals>(from);
}
void store(double* to, Reals v) {
    __builtin_memcpy(to, &v, sizeof v);
}
Masks load_mask(double const* from) {
    return load_as<Masks>(from);
}
void store_mask(double* to, Masks v) {
    __builtin_memcpy(to, &v, sizeof v);
}

Reals spread(double x) {
    return Reals{} + x;
}

/// a b + c, rounded once where the processor can.
Reals multiply_add(Reals a, Reals b, Reals c) {
#if defined(__AVX512F__)
    return _mm512_fmadd_pd(a, b, c);
#elif defined(__FMA__)
    return _mm256_fmadd_pd(a, b, c);
#else
    return a * b + c;
#endif
}

Reals square_root(Reals a) {
#if defined(__AVX512F__)
    return _mm512_sqrt_pd(a);
#elif defined(__AVX2__)
    return _mm256_sqrt_pd(a);
#else
    return _mm_sqrt_pd(a);
#endif
}

/// The nearest doubles of whole numbers without sign.
Reals to_reals(Words words) {
#if defined(__AVX512DQ__)
    return _mm512_cvtepu64_pd(reinterpret_cast<__m512i>(words));
#else
    // both halves become exact doubles by their bits, and their sum rounds
    Reals const high =
        reinterpret_cast<Reals>((words >> 32) | 0x4530000000000000U) - 0x1.00000001p84;
    Reals const low = reinterpret_cast<Reals>((words & 0xFFFFFFFFU) | 0x4330000000000000U);
    return high + low;
#endif
}

/// The elements at given places of a and b one after the other.
template <class Vector, std::size_t... places>
Vector pick(Vector a, Vector b, std::index_sequence<places...>) {
    return __builtin_shufflevector(a, b, places...);
}
/// As many places as a vector has: place(0), place(1), ...
template <auto place, std::size_t... i>
constexpr auto make_places(std::index_sequence<i...>) {
    return std::index_sequence<place(i)...>();
}
template <auto place>
using Places = decltype(make_places<place>(std::make_index_sequence<c_width>()));

/// The elements at even, and at odd, places of a and b one after the other.
template <class Vector>
Vector even_of(Vector a, Vector b) {
    return pick(a, b, Places<[](std::size_t i) { return 2 * i; }>());
}
template <class Vector>
Vector odd_of(Vector a, Vector b) {
    return pick(a, b, Places<[](std::size_t i) { return 2 * i + 1; }>());
}

/// a0, b0, a1, b1, ... : the first half, and the second.
Reals interleave_first(Reals a, Reals b) {
    return pick(a, b, Places<[](std::size_t i) { return i / 2 + i % 2 * c_width; }>());
}
Reals interleave_second(Reals a, Reals b) {
    return pick(a, b, Places<[](std::size_t i) { return (c_width + i) / 2 + i % 2 * c_width; }>());
}

/// One bit for each lane of a mask, the first lane lowest.
unsigned bits_of(Masks mask) {
#if defined(__AVX512DQ__)
    return _mm512_movepi64_mask(reinterpret_cast<__m512i>(mask));
#elif defined(__AVX2__)
    return static_cast<unsigned>(_mm256_movemask_pd(reinterpret_cast<__m256d>(mask)));
#else
    return static_cast<unsigned>(_mm_movemask_pd(reinterpret_cast<__m128d>(mask)));
#endif
}

/// Writes the lanes whose bit is set, in order, from `to` on; the places behind them, up to a whole
/// vector, are overwritten with anything.
void compress(double* to, Reals v, unsigned bits) {
#if defined(__AVX512F__)
    store(to, _mm512_maskz_compress_pd(static_cast<__mmask8>(bits), v));
#elif defined(__AVX2__)
    // for each set of lanes, the places of their 32-bit halves
    alignas(32) static constexpr std::uint32_t c_places[16][8] = {
        {0, 1, 0, 1, 0, 1, 0, 1}, {0, 1, 0, 1, 0, 1, 0, 1}, {2, 3, 0, 1, 0, 1, 0, 1},
        {0, 1, 2, 3, 0, 1, 0, 1}, {4, 5, 0, 1, 0, 1, 0, 1}, {0, 1, 4, 5, 0, 1, 0, 1},
        {2, 3, 4, 5, 0, 1, 0, 1}, {0, 1, 2, 3, 4, 5, 0, 1}, {6, 7, 0, 1, 0, 1, 0, 1},
        {0, 1, 6, 7, 0, 1, 0, 1}, {2, 3, 6, 7, 0, 1, 0, 1}, {0, 1, 2, 3, 6, 7, 0, 1},
        {4, 5, 6, 7, 0, 1, 0, 1}, {0, 1, 4, 5, 6, 7, 0, 1}, {2, 3, 4, 5, 6, 7, 0, 1},
        {0, 1, 2, 3, 4, 5, 6, 7}};
    __m256i const places = _mm256_load_si256(reinterpret_cast<__m256i const*>(c_places[bits]));
    store(to, reinterpret_cast<__m256d>(
                  _mm256_permutevar8x32_epi32(reinterpret_cast<__m256i>(v), places)));
#else
    double* next = to;
    for (std::size_t i = 0; i < c_width; ++i) {
        *next = v[i];
        next += (bits >> i) & 1U;
    }
#endif
}

/// True when no lane is set.
bool is_none(Masks mask) {
    return bits_of(mask) == 0;
}

}  // namespace
}  // namespace ximCORE::Pricing::Block
