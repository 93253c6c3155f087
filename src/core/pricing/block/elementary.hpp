// Exponential and logarithm of vectors, for kernel files. Errors below 1.1 units in the last place
// where the processor multiplies and adds in one step, below 2 elsewhere.

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

#if !defined(__AVX512F__)
/// 2^n for whole n in [-1022, 1023].
Reals power_of_two(Reals n) {
    return reinterpret_cast<Reals>((reinterpret_cast<Words>(n + c_rounder) + 1023) << 52);
}
#endif

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
    auto const pair = [&](double even, double odd) {
        return multiply_add(spread(odd), r, spread(even));
    };
    // in pairs of terms: the chain of dependent steps is half as long
    Reals p = pair(0x1.2891a8c1d838dp-22, 0x1.af38d53857513p-26);
    p = multiply_add(p, r2, pair(0x1.a019b8ef67c6cp-16, 0x1.71de0d9c145d0p-19));
    p = multiply_add(p, r2, pair(0x1.6c16c17893833p-10, 0x1.a01a01a7c8d47p-13));
    p = multiply_add(p, r2, pair(0x1.5555555553d4fp-5, 0x1.11111111109adp-7));
    p = multiply_add(p, r2, pair(0x1.0000000000001p-1, 0x1.5555555555556p-3));
    return {n, multiply_add(p, r2, r) + 1.0};
}

/// e^x, to zero, subnormals and infinity too.
Reals exponential(Reals x) {
#if !defined(__AVX512F__)
    constexpr double usual = 690.0;
    if (is_none((x >= usual) | (x <= -usual) | (x != x))) {
        auto const [n, mantissa] = reduce(x);
        return mantissa * power_of_two(n);
    }
#endif
    Reals const bounded = x > 800.0 ? spread(800.0) : x < -800.0 ? spread(-800.0) : x;  // keeps NaN
    auto const [n, mantissa] = reduce(bounded);
#if defined(__AVX512F__)
    return _mm512_scalef_pd(mantissa, n);
#else
    Reals const third = nearest_whole(n * (1.0 / 3.0));
    return mantissa * power_of_two(third) * power_of_two(third) * power_of_two(n - 2.0 * third);
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

#if defined(__AVX512F__)
/// -2 ln x for normal x below 2: x = 2^k m with m in [3/4, 3/2), c about 1 / m from a table of 16,
/// r = m c - 1, and a polynomial of r that interpolates at the Chebyshev nodes of [-1/32, 1/16].
/// Around 1 the table holds c = 1, so that the result keeps its digits there.
Reals minus_two_logarithms(Reals x) {
    Reals const m = _mm512_getmant_pd(x, _MM_MANT_NORM_p75_1p5, _MM_MANT_SIGN_src);
    Reals const k = _mm512_getexp_pd(x) - _mm512_getexp_pd(m);
    __m512i const row =
        reinterpret_cast<__m512i>(reinterpret_cast<Words>(m) >> 48);  // lowest 4 bits
    __m512d const c0{1.0,
                     0x1.d41d41d41d41dp-1,
                     0x1.bacf914c1bad0p-1,
                     0x1.a41a41a41a41ap-1,
                     0x1.8f9c18f9c18fap-1,
                     0x1.7d05f417d05f4p-1,
                     0x1.6c16c16c16c17p-1,
                     0x1.5c9882b931057p-1};
    __m512d const c1{
        0x1.4e5e0a72f0539p0, 0x1.4141414141414p0, 0x1.3521cfb2b78c1p0, 0x1.29e4129e4129ep0,
        0x1.1f7047dc11f70p0, 0x1.15b1e5f75270dp0, 0x1.0c9714fbcda3bp0, 1.0};
    __m512d const log0{0.0,
                       -0x1.6f0d28ae56b4ep-3,
                       -0x1.29552f81ff521p-2,
                       -0x1.9525a9cf456b6p-2,
                       -0x1.fb9186d5e3e29p-2,
                       -0x1.2e8e2bae11d31p-1,
                       -0x1.5d1bdbf5809cap-1,
                       -0x1.89a3386c1425bp-1};
    __m512d const log1{
        0x1.1178e8227e47ap-1, 0x1.d1037f2655e7bp-2, 0x1.823c16551a3c0p-2, 0x1.365fcb0159014p-2,
        0x1.da7276384469ep-3, 0x1.4d3115d207eacp-3, 0x1.894aa149fb34bp-4, 0.0};
    Reals const c = _mm512_permutex2var_pd(c0, row, c1);
    Reals const known = _mm512_permutex2var_pd(log0, row, log1);
    Reals const r = multiply_add(m, c, spread(-1.0));
    Reals const r2 = r * r;
    auto const pair = [&](double even, double odd) {
        return multiply_add(spread(odd), r, spread(even));
    };
    Reals p = multiply_add(spread(0x1.6a3e1c2c9c615p-3), r2,
                           pair(0x1.0009a82192f95p-2, -0x1.c5ea794b23d70p-3));
    p = multiply_add(p, r2, pair(0x1.555554431c54bp-2, -0x1.2492b0a816801p-2));
    p = multiply_add(p, r2, pair(0x1.00000000041fep-1, -0x1.9999998988503p-2));
    p = multiply_add(p, r2, pair(0x1.fffffffffffffp-1, -0x1.5555555555a3cp-1));
    return multiply_add(k, spread(-0x1.62e42fefa39efp0), known) + multiply_add(p, r2, -2.0 * r);
}
#endif

/// sqrt(-2 ln x / x) for x in [2^-120, 1].
Reals polar_multiplier(Reals x) {
#if defined(__AVX512F__)
    // t / sqrt(t x), from 14 bits of the root in two steps: neither a division nor a root
    Reals const t = minus_two_logarithms(x);
    Reals const square = t * x;
    Reals const least = spread(0x1p-900);  // at x = 1
    Reals const y = _mm512_rsqrt14_pd(square > least ? square : least);
    Reals const e = multiply_add(-square * y, y, spread(1.0));
    Reals const better = multiply_add(multiply_add(e, spread(0.375), spread(0.5)), y * e, y);
    Reals const m = t * better;
    return multiply_add(multiply_add(-x * m, m, t), 0.5 * better, m);
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
