// Exponentials and logarithms of vectors, for kernel files. Where the processor multiplies and adds
// in one step, errors stay below 1.1 units in the last place, 1.2 of powers of two; elsewhere below
// 2. What the normals are made of is within 3.

#pragma once

#include "core/pricing/block/simd.hpp"

namespace ximCORE::Pricing::Block {
namespace {

/// The whole number nearest to x, for sizes below 2^51: adding 1.5 2^52 rounds to it, and leaves it
/// in the lowest bits.
constexpr double c_rounder = 0x1.8p52;

Reals nearest_whole(Reals x) {
    return (x + c_rounder) - c_rounder;
}

/// terms[0] + terms[1] x + ... in the fewest steps (W. Horner), each of which waits for the last:
/// where other vectors fill the time.
template <std::size_t size>
Reals polynomial(double const (&terms)[size], Reals x) {
    std::size_t i = size - 1;
    Reals sum = spread(terms[i]);
    while (i > 0) sum = multiply_add(sum, x, spread(terms[--i]));
    return sum;
}

/// The same with the square of x, in pairs of terms: one step more, but half as many to wait for.
template <std::size_t size>
Reals polynomial(double const (&terms)[size], Reals x, Reals square) {
    auto const pair = [&](std::size_t i) {
        return multiply_add(spread(terms[i + 1]), x, spread(terms[i]));
    };
    std::size_t i = (size - 1) / 2 * 2;
    Reals sum = size % 2 == 0 ? pair(i) : spread(terms[i]);
    for (; i > 0; i -= 2) sum = multiply_add(sum, square, pair(i - 2));
    return sum;
}

/// 2^n for whole n in [-1022, 1023].
Reals whole_power_of_two(Reals n) {
    return reinterpret_cast<Reals>((reinterpret_cast<Words>(n + c_rounder) + 1023) << 52);
}

#if defined(__AVX512F__)
/// 2^(i / 16), with i taken off the exponent, to which a shift of the number of parts adds it.
constexpr std::uint64_t c_powers[16]{
    0x3FF0000000000000, 0x3FEFB5586CF9890F, 0x3FEF72B83C7D517B, 0x3FEF387A6E756238,
    0x3FEF06FE0A31B715, 0x3FEEDEA64C123422, 0x3FEEBFDAD5362A27, 0x3FEEAB07DD485429,
    0x3FEEA09E667F3BCD, 0x3FEEA11473EB0187, 0x3FEEACE5422AA0DB, 0x3FEEC49182A3F090,
    0x3FEEE89F995AD3AD, 0x3FEF199BDD85529C, 0x3FEF5818DCFBA487, 0x3FEFA4AFA2A490DA};
#endif

/// 2^x for sizes of x up to 1000. x = n + r with n a whole number of parts; 2^n comes from a table
/// of the parts of 1 and the exponent, 2^r = 1 + r q(r) from a polynomial q that interpolates at
/// the Chebyshev nodes, and is off by less than 2^-55.
Reals small_power_of_two(Reals x) {
#if defined(__AVX512F__)
    constexpr int part_bits = 4;  // sixteenths, as a table of two registers holds
#else
    constexpr int part_bits = 0;
#endif
    constexpr double rounder = c_rounder / (1 << part_bits);
    Reals const shifted = x + rounder;
    Words const parts = reinterpret_cast<Words>(shifted);  // their number, in the lowest bits
    Reals const r = x - (shifted - rounder);
#if defined(__AVX512F__)
    Reals const q = polynomial({0x1.62e42fefa39f3p-1, 0x1.ebfbdff82c590p-3, 0x1.c6b08d6f2a289p-5,
                                0x1.3b2ab6fb41213p-7, 0x1.5d897e525c216p-10, 0x1.430a1d08ec681p-13},
                               r);
    auto const part = reinterpret_cast<Words>(
        _mm512_permutex2var_epi64(load_as<__m512i>(c_powers), reinterpret_cast<__m512i>(parts),
                                  load_as<__m512i>(c_powers + c_width)));
    auto const power = reinterpret_cast<Reals>(part + (parts << 48));
    return multiply_add(power * r, q, power);
#else
    Reals const q = polynomial(
        {0x1.62e42fefa39efp-1, 0x1.ebfbdff82c598p-3, 0x1.c6b08d704a0c2p-5, 0x1.3b2ab6fba1ddap-7,
         0x1.5d87fe78a5276p-10, 0x1.430913096fd9fp-13, 0x1.ffcbfc670dcd4p-17, 0x1.62bfd47773353p-20,
         0x1.b524fae627834p-24, 0x1.e6063f7217bc6p-28, 0x1.e9d3fe3952179p-32},
        r);
    Reals const mantissa = multiply_add(r, q, spread(1.0));
    return reinterpret_cast<Reals>(reinterpret_cast<Words>(mantissa) + (parts << 52));
#endif
}

/// 2^x, to zero, subnormals and infinity too.
Reals power_of_two(Reals x) {
    Reals const bounded = x > 1100.0 ? spread(1100.0) : x < -1100.0 ? spread(-1100.0) : x;
    Reals const half = nearest_whole(0.5 * bounded);
    Reals const power = small_power_of_two(bounded - half) * whole_power_of_two(half);
    return x == x ? power : x;
}

/// n and the polynomial of r in e^x = (1 + polynomial) 2^n, where x = n ln 2 + r with |r| <= ln 2 /
/// 2 (W. Cody and W. Waite, "Software manual for the elementary functions", 1980). The polynomial
/// interpolates at the Chebyshev nodes, and is off by less than 2^-55.
struct Reduced {
    Reals n;
    Reals mantissa;
};
Reduced reduce(Reals x) {
    Reals const n = nearest_whole(x * 0x1.71547652b82fep0);
    Reals r = multiply_add(n, spread(-6.93147180369123816490e-01), x);  // exact: a short factor
    r = multiply_add(n, spread(-1.90821492927058770002e-10), r);
    Reals const r2 = r * r;
    Reals const p = polynomial(
        {0x1.0000000000001p-1, 0x1.5555555555556p-3, 0x1.5555555553d4fp-5, 0x1.11111111109adp-7,
         0x1.6c16c17893833p-10, 0x1.a01a01a7c8d47p-13, 0x1.a019b8ef67c6cp-16, 0x1.71de0d9c145d0p-19,
         0x1.2891a8c1d838dp-22, 0x1.af38d53857513p-26},
        r, r2);
    return {n, multiply_add(p, r2, r) + 1.0};
}

/// e^x, to zero, subnormals and infinity too.
Reals exponential(Reals x) {
#if !defined(__AVX512F__)
    constexpr double usual = 690.0;
    if (is_none((x >= usual) | (x <= -usual) | (x != x))) {
        auto const [n, mantissa] = reduce(x);
        return mantissa * whole_power_of_two(n);
    }
#endif
    Reals const bounded = x > 800.0 ? spread(800.0) : x < -800.0 ? spread(-800.0) : x;  // keeps NaN
    auto const [n, mantissa] = reduce(bounded);
#if defined(__AVX512F__)
    return _mm512_scalef_pd(mantissa, n);
#else
    Reals const third = nearest_whole(n * (1.0 / 3.0));
    return mantissa * whole_power_of_two(third) * whole_power_of_two(third) *
           whole_power_of_two(n - 2.0 * third);
#endif
}

/// a / b for b in [1, 4], within 1 unit in the last place.
Reals quotient(Reals a, Reals b) {
#if defined(__AVX512F__)
    // from 14 bits of 1 / b in two steps of Newton: faster than a division
    Reals const y0 = _mm512_rcp14_pd(b);
    Reals const y = multiply_add(multiply_add(-b, y0, spread(1.0)), y0, y0);
    Reals const q = a * y;
    return multiply_add(multiply_add(-b, q, a), y, q);
#else
    return a / b;
#endif
}

/// x / y, rounded as a division rounds but for rare last bits; a whole quotient is exact.
Reals divide(Reals x, Reals y) {
#if defined(__AVX512F__)
    // 1 / y in two Newton steps, then the quotient corrected by its remainder (P. Markstein,
    // "Computation of elementary functions on the IBM RISC System/6000 processor", 1990)
    Reals const y0 = _mm512_rcp14_pd(y);
    Reals const y1 = multiply_add(multiply_add(-y, y0, spread(1.0)), y0, y0);
    Reals const y2 = multiply_add(multiply_add(-y, y1, spread(1.0)), y1, y1);
    Reals const rough = x * y2;
    Reals const correction = multiply_add(-y, rough, x);
    // a zero keeps its sign
    Reals const q = correction == 0.0 ? rough : multiply_add(correction, y2, rough);
    // out of range, a remainder is no number or too large
    Reals const rest = multiply_add(-y, q, x);
    Reals const limit = x * 0x1p-51;
    Masks const is_good = rest * rest <= limit * limit;
    if (bits_of(is_good) == (1U << c_width) - 1) return q;
#endif
    return x / y;
}

/// ln x of positive normal numbers: x = 2^k m with m in [sqrt 1/2, sqrt 2), f = m - 1,
/// s = f / (2 + f), ln m = f - f^2 / 2 + s (f^2 / 2 + R(s^2)) with the minimax R of fdlibm (Sun
/// Microsystems, 1993).
Reals logarithm_of_normal(Reals x) {
    Words const bits = reinterpret_cast<Words>(x);
    Masks const exponent = reinterpret_cast<Masks>(bits - 0x3FE6A09E667F3BCDU) >> 52;
    Reals const m = reinterpret_cast<Reals>(bits - (reinterpret_cast<Words>(exponent) << 52));
    Reals const k = reinterpret_cast<Reals>(exponent + 0x4338000000000000) - c_rounder;
    Reals const f = m - 1.0;
    Reals const s = quotient(f, f + 2.0);
    Reals const z = s * s;
    Reals const w = z * z;
    Reals odd = multiply_add(w, spread(1.479819860511658591e-01), spread(1.818357216161805012e-01));
    odd = multiply_add(w, odd, spread(2.857142874366239149e-01));
    odd = multiply_add(w, odd, spread(6.666666666666735130e-01));
    Reals even =
        multiply_add(w, spread(1.531383769920937332e-01), spread(2.222219843214978396e-01));
    even = multiply_add(w, even, spread(3.999999999940941908e-01));
    Reals const tail = multiply_add(z, odd, w * even);
    Reals const half = 0.5 * f * f;
    Reals const low = multiply_add(k, spread(1.90821492927058770002e-10), s * (half + tail));
    return multiply_add(k, spread(6.93147180369123816490e-01), f - (half - low));
}

#if defined(__AVX2__)
/// About 1 / m and 2 ln of it, for the sixteenths of m in [3/4, 3/2), ordered by the first digits
/// of m behind the point: 1 + i / 16 for the first eight, then i / 16. Around 1 it is 1, so that
/// the logarithm keeps its digits there.
constexpr double c_reciprocals[16]{1.0,
                                   0x1.d41d41d41d41dp-1,
                                   0x1.bacf914c1bad0p-1,
                                   0x1.a41a41a41a41ap-1,
                                   0x1.8f9c18f9c18fap-1,
                                   0x1.7d05f417d05f4p-1,
                                   0x1.6c16c16c16c17p-1,
                                   0x1.5c9882b931057p-1,
                                   0x1.4e5e0a72f0539p0,
                                   0x1.4141414141414p0,
                                   0x1.3521cfb2b78c1p0,
                                   0x1.29e4129e4129ep0,
                                   0x1.1f7047dc11f70p0,
                                   0x1.15b1e5f75270dp0,
                                   0x1.0c9714fbcda3bp0,
                                   1.0};
constexpr double c_twice_their_logarithms[16]{0.0,
                                              -0x1.6f0d28ae56b4ep-3,
                                              -0x1.29552f81ff521p-2,
                                              -0x1.9525a9cf456b6p-2,
                                              -0x1.fb9186d5e3e29p-2,
                                              -0x1.2e8e2bae11d31p-1,
                                              -0x1.5d1bdbf5809cap-1,
                                              -0x1.89a3386c1425bp-1,
                                              0x1.1178e8227e47ap-1,
                                              0x1.d1037f2655e7bp-2,
                                              0x1.823c16551a3c0p-2,
                                              0x1.365fcb0159014p-2,
                                              0x1.da7276384469ep-3,
                                              0x1.4d3115d207eacp-3,
                                              0x1.894aa149fb34bp-4,
                                              0.0};

/// x = 2^k m with m in [3/4, 3/2), and the rows of the tables for m.
struct Decomposed {
    Reals k;
    Reals m;
    Reals reciprocal;
    Reals twice_its_logarithm;
};
Decomposed decompose(Reals x) {
#if defined(__AVX512F__)
    Reals const m = _mm512_getmant_pd(x, _MM_MANT_NORM_p75_1p5, _MM_MANT_SIGN_src);
    Reals const k = _mm512_getexp_pd(x * 0x1.5555555555555p0);  // 2^k 3/4 gives 2^k, all below less
    auto const row = reinterpret_cast<__m512i>(reinterpret_cast<Words>(m) >> 48);
    auto const look_up = [&](double const(&table)[16]) {
        return _mm512_permutex2var_pd(load(table), row, load(table + 8));  // by the lowest 4 bits
    };
    return {k, m, look_up(c_reciprocals), look_up(c_twice_their_logarithms)};
#else
    constexpr std::uint64_t least = 0x3FE8000000000000U;  // 3/4
    constexpr std::uint64_t bias = 1024;
    Words const above = reinterpret_cast<Words>(x) - (least - (bias << 52));
    Words const digits = above & 0x000FFFFFFFFFFFFFU;
    Reals const k = reinterpret_cast<Reals>((above >> 52) | 0x4330000000000000U) - (0x1p52 + bias);
    // reciprocal and logarithm side by side: a load for both
    alignas(32) static constexpr auto rows = [] {
        struct Rows {
            double values[16][2];
        } made{};
        for (std::size_t i = 0; i < 16; ++i) {
            made.values[i][0] = c_reciprocals[(i + 8) % 16];
            made.values[i][1] = c_twice_their_logarithms[(i + 8) % 16];
        }
        return made;
    }();
    Words const row = digits >> 48;
    Reals const even = join(rows.values[row[0]], rows.values[row[2]]);
    Reals const odd = join(rows.values[row[1]], rows.values[row[3]]);
    return {k, reinterpret_cast<Reals>(digits + least),
            pick(even, odd, std::index_sequence<0, 4, 2, 6>()),
            pick(even, odd, std::index_sequence<1, 5, 3, 7>())};
#endif
}

/// -2 ln x for normal x below 2: with r = m c - 1 for the c of a table, the polynomial
/// -2 ln(1 + r) / r interpolates at the Chebyshev nodes of [-1/32, 1/16].
Reals minus_two_logarithms(Reals x) {
    auto const [k, m, reciprocal, known] = decompose(x);
    Reals const r = multiply_add(m, reciprocal, spread(-1.0));
    Reals const p = polynomial(
        {-0x1.0000000000000p+1, 0x1.0000000000004p+0, -0x1.555555555634cp-1, 0x1.ffffffffedb1dp-2,
         -0x1.9999997ce29c5p-2, 0x1.555554af4a6e6p-2, -0x1.2492e26f1d8b4p-2, 0x1.000a0e08f0cd6p-2,
         -0x1.c5668ed5424d1p-3, 0x1.65553794f1ff2p-3},
        r, r * r);
    return multiply_add(p, r, multiply_add(k, spread(-0x1.62e42fefa39efp0), known));
}
#endif

/// sqrt(-2 ln x / x) for x in [2^-120, 1].
Reals polar_multiplier(Reals x) {
#if defined(__AVX512F__)
    // t / sqrt(t x), without a division or a root: y from 14 bits, then with e = 1 - t x y^2 it is
    // y (1 - e)^(-1/2), whose polynomial interpolates at the Chebyshev nodes
    Reals const t = minus_two_logarithms(x);
    Reals const square = multiply_add(t, x, spread(0x1p-900));  // not 0 at x = 1
    Reals const y = _mm512_rsqrt14_pd(square);
    Reals const e = multiply_add(-(square * y), y, spread(1.0));
    Reals p = multiply_add(e, spread(0x1.4000003646a7dp-2), spread(0x1.8000003c4e819p-2));
    p = multiply_add(p, e, spread(0.5));
    return t * multiply_add(p, y * e, y);
#elif defined(__AVX2__)
    return square_root(minus_two_logarithms(x) / x);
#else
    return square_root(-2.0 * logarithm_of_normal(x) / x);
#endif
}

/// ln x of any number: -inf at 0, NaN below.
Reals logarithm(Reals x) {
    constexpr double least_normal = 0x1p-1022;
    Masks const is_small = x < least_normal;
    Reals const scaled = is_small ? x * 0x1p54 : x;
    Reals const shift = is_small ? spread(54 * 0.69314718055994530942) : Reals{};
    Reals const value = logarithm_of_normal(scaled) - shift;
    Reals const infinite = spread(__builtin_inf());
    Reals const outside = x == 0.0        ? -infinite
                          : x == infinite ? infinite
                                          : spread(__builtin_nan(""));
    Masks const is_inside = (x > 0.0) & (x < infinite);
    return is_inside ? value : outside;
}

}  // namespace
}  // namespace ximCORE::Pricing::Block
