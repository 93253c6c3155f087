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
void store_words(std::uint64_t* to, Words v) {
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

/// a < b ? a : b, and a > b ? a : b: of equal numbers, and where one is none, the second.
Reals least(Reals a, Reals b) {
#if defined(__AVX512F__)
    return _mm512_min_pd(a, b);
#elif defined(__AVX2__)
    return _mm256_min_pd(a, b);
#else
    return _mm_min_pd(a, b);
#endif
}
Reals greatest(Reals a, Reals b) {
#if defined(__AVX512F__)
    return _mm512_max_pd(a, b);
#elif defined(__AVX2__)
    return _mm256_max_pd(a, b);
#else
    return _mm_max_pd(a, b);
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

/// 2^-63 n - 1 for the nearest doubles n of whole numbers without sign; a word whose double is 2^64
/// counts as the double below.
Reals centred(Words words) {
    constexpr double largest = 0x1.fffffffffffffp63;
#if defined(__AVX512DQ__)
    Reals const n = least(_mm512_cvtepu64_pd(reinterpret_cast<__m512i>(words)), spread(largest));
    return multiply_add(n, spread(0x1p-63), spread(-1.0));  // an exact product: rounded once
#else
    // both halves become exact doubles by their bits, 2^-63 times what they are; their sum rounds
    Words const high = (words >> 32) | 0x4140000000000000U;
#if defined(__AVX2__)
    Words const low = reinterpret_cast<Words>(
        _mm256_blend_epi32(reinterpret_cast<__m256i>(words),
                           reinterpret_cast<__m256i>(Words{} + 0x3F40000000000000U), 0b10101010));
#else
    Words const low = (words & 0xFFFFFFFFU) | 0x3F40000000000000U;
#endif
    Reals const sum =
        (reinterpret_cast<Reals>(high) - 0x1.00000001p21) + reinterpret_cast<Reals>(low);
    return least(sum, spread(largest * 0x1p-63)) - 1.0;
#endif
}

/// The bits of a where the mask has ones, and of b elsewhere.
Words choose_bits(std::uint64_t mask, Words a, Words b) {
#if defined(__AVX512F__)
    return reinterpret_cast<Words>(_mm512_ternarylogic_epi64(
        reinterpret_cast<__m512i>(Words{} + mask), reinterpret_cast<__m512i>(a),
        reinterpret_cast<__m512i>(b), 0xCA));
#else
    return (a & mask) | (b & ~mask);
#endif
}

/// For odd words the mask given, else 0.
Words where_odd(Words words, std::uint64_t mask) {
#if defined(__AVX512F__)
    Words const choices = Words{0, 1, 0, 1, 0, 1, 0, 1} * mask;
    return reinterpret_cast<Words>(_mm512_permutexvar_epi64(reinterpret_cast<__m512i>(words),
                                                            reinterpret_cast<__m512i>(choices)));
#elif defined(__AVX2__)
    Words const choices = Words{0, 1, 0, 1} * mask;  // of which the second bit chooses
    return reinterpret_cast<Words>(_mm256_permutevar_pd(reinterpret_cast<__m256d>(choices),
                                                        reinterpret_cast<__m256i>(words + words)));
#else
    return (0 - (words & 1)) & mask;
#endif
}

/// The same words, kept in a register: what is used twice would be loaded twice, at double cost
/// where it crosses a cache line.
Words kept(Words words) {
#if defined(__AVX512F__)
    asm("" : "+v"(words));
#else
    asm("" : "+x"(words));
#endif
    return words;
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

/// Where the element i of a vector comes from when pairs are parted: on AVX2 the middle ones are
/// exchanged, which saves a step; `compress` puts them right.
constexpr std::size_t parted(std::size_t i) {
#if defined(__AVX2__) && !defined(__AVX512F__)
    return i / 2 + i % 2 * 2;
#else
    return i;
#endif
}

/// The elements at even, and at odd, places of a and b one after the other, in the order `parted`.
template <class Vector>
Vector even_of(Vector a, Vector b) {
    return pick(a, b, Places<[](std::size_t i) { return 2 * parted(i); }>());
}
template <class Vector>
Vector odd_of(Vector a, Vector b) {
    return pick(a, b, Places<[](std::size_t i) { return 2 * parted(i) + 1; }>());
}

/// A vector of two halves.
Reals join(double const* lower, double const* upper) {
#if defined(__AVX512F__)
    return _mm512_insertf64x4(_mm512_castpd256_pd512(_mm256_loadu_pd(lower)),
                              _mm256_loadu_pd(upper), 1);
#elif defined(__AVX2__)
    return _mm256_insertf128_pd(_mm256_castpd128_pd256(_mm_loadu_pd(lower)), _mm_loadu_pd(upper),
                                1);
#else
    return Reals{*lower, *upper};
#endif
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

/// Writes the lanes whose bit is set, of pairs that were `parted`, from `to` on; the places behind
/// them, up to a whole vector, are overwritten with anything.
void compress(double* to, Reals v, unsigned bits) {
#if defined(__AVX512F__)
    store(to, _mm512_maskz_compress_pd(static_cast<__mmask8>(bits), v));
#elif defined(__AVX2__)
    // for each set of lanes, the places of their 32-bit halves
    alignas(32) static constexpr std::uint32_t c_places[16][8] = {
        {0, 1, 0, 1, 0, 1, 0, 1}, {0, 1, 0, 1, 0, 1, 0, 1}, {2, 3, 0, 1, 0, 1, 0, 1},
        {0, 1, 2, 3, 0, 1, 0, 1}, {4, 5, 0, 1, 0, 1, 0, 1}, {0, 1, 4, 5, 0, 1, 0, 1},
        {4, 5, 2, 3, 0, 1, 0, 1}, {0, 1, 4, 5, 2, 3, 0, 1}, {6, 7, 0, 1, 0, 1, 0, 1},
        {0, 1, 6, 7, 0, 1, 0, 1}, {2, 3, 6, 7, 0, 1, 0, 1}, {0, 1, 2, 3, 6, 7, 0, 1},
        {4, 5, 6, 7, 0, 1, 0, 1}, {0, 1, 4, 5, 6, 7, 0, 1}, {4, 5, 2, 3, 6, 7, 0, 1},
        {0, 1, 4, 5, 2, 3, 6, 7}};
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
