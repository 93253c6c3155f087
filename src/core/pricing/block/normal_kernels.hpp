// Standard normals of vectors, for kernel files. Compiled without contraction: one fused step in
// x x + y y would accept other points than the standard library does.

#pragma once

#include "core/pricing/block/elementary.hpp"
#include "core/pricing/block/normals.hpp"

namespace ximCORE::Pricing::Block {
namespace {

constexpr std::size_t c_words = PointSequence::s_block_words;
constexpr std::size_t c_middle = 156;

Words twist(Words upper, Words lower, Words far) {
    Words const word = choose_bits(0xFFFFFFFF80000000U, upper, lower);
    return far ^ (word >> 1) ^ where_odd(lower, 0xB5026F5AA96619E9U);
}

Words temper(Words word) {
    word ^= (word >> 29) & 0x5555555555555555U;
    word ^= (word << 17) & 0x71D67FFFEDA60000U;
    word ^= (word << 37) & 0xFFF7EEE000000000U;
    return word ^ (word >> 43);
}

/// Which of the points lie in the disc, but for its centre: a bit for each.
unsigned inside(Reals x, Reals y) {
    Reals const r2 = x * x + y * y;
#if defined(__AVX512F__)
    return _mm512_mask_cmp_pd_mask(_mm512_cmp_pd_mask(r2, Reals{}, _CMP_NEQ_OQ), r2, spread(1.0),
                                   _CMP_LE_OQ);
#else
    return bits_of((r2 <= 1.0) & (r2 != 0.0));
#endif
}

std::size_t draw_points(std::uint64_t* state, double* x, double* y) {
    constexpr std::size_t step = 2 * c_width;
    std::size_t nb_kept = 0;
    auto const keep = [&](Words a, Words b, unsigned wanted) {
        // 2 u - 1 for the uniform numbers u of [0, 1)
        Reals const px = centred(temper(even_of(a, b)));
        Reals const py = centred(temper(odd_of(a, b)));
        unsigned const bits = inside(px, py) & wanted;
        compress(x + nb_kept, px, bits);
        compress(y + nb_kept, py, bits);
        nb_kept += static_cast<std::size_t>(__builtin_popcount(bits));
    };
    constexpr unsigned all = (1U << c_width) - 1;
    auto const advance = [&](std::size_t i, std::size_t far) {
        auto const at = [&](std::size_t place) { return load_as<Words>(state + place); };
        Words const word = twist(at(i), kept(at(i + 1)), at(far));
        store_words(state + i, word);
        return word;
    };
    std::size_t i = 0;
    auto const advance_to = [&](std::size_t end, std::size_t distance) {
        for (; i + step <= end; i += step) {
            Words const a = advance(i, i + distance);
            keep(a, advance(i + c_width, i + c_width + distance), all);
        }
    };
    // behind the last word stand the first new ones, which the last steps of a half read
    advance_to(step, c_middle);
    for (std::size_t k = 0; k < step && k < PointSequence::s_padding; k += c_width)
        store_words(state + c_words + k, load_as<Words>(state + k));
    advance_to((c_middle + step - 1) / step * step, c_middle);
    advance_to(c_words, c_middle - c_words);
    constexpr std::size_t rest = c_words % step;
    static_assert(rest == 0 || rest == c_width);
    if constexpr (rest > 0) {
        Words const last = advance(i, i + c_middle - c_words);
        keep(last, last, all >> (c_width / 2));
    }
    return nb_kept;
}

/// Two normals for each point, y m and then x m with m = sqrt(-2 ln r^2 / r^2), the first ones and
/// the second ones by themselves. Whole vectors are read and written.
void make_normals(double const* x, double const* y, std::size_t nb_points, double* first,
                  double* second) {
    for (std::size_t i = 0; i < nb_points; i += c_width) {
        Reals const px = load(x + i);
        Reals const py = load(y + i);
        Reals const m = polar_multiplier(px * px + py * py);
        store(first + i, py * m);
        store(second + i, px * m);
    }
}

/// Vectors of the columns [column, column + c_width) of as many rows.
void turn(double const* const (&rows)[c_width], std::size_t column, Reals (&columns)[c_width]) {
    constexpr std::size_t half = c_width / 2;
    for (std::size_t part = 0; part < c_width; part += half) {
        Reals joined[half];  // a part of row i, and of the row half of all rows behind it
        for (std::size_t i = 0; i < half; ++i)
            joined[i] = join(rows[i] + column + part, rows[i + half] + column + part);
        Reals* const to = columns + part;
        if constexpr (c_width == 2) to[0] = joined[0];
        if constexpr (c_width == 4) {
            to[0] = pick(joined[0], joined[1], std::index_sequence<0, 4, 2, 6>());
            to[1] = pick(joined[0], joined[1], std::index_sequence<1, 5, 3, 7>());
        }
        if constexpr (c_width == 8) {
            Reals pairs[4];
            for (std::size_t i = 0; i < 4; i += 2) {
                using Even = std::index_sequence<0, 8, 2, 10, 4, 12, 6, 14>;
                using Odd = std::index_sequence<1, 9, 3, 11, 5, 13, 7, 15>;
                pairs[i] = pick(joined[i], joined[i + 1], Even());
                pairs[i + 1] = pick(joined[i], joined[i + 1], Odd());
            }
            for (std::size_t i = 0; i < 2; ++i) {
                using Low = std::index_sequence<0, 1, 8, 9, 4, 5, 12, 13>;
                using High = std::index_sequence<2, 3, 10, 11, 6, 7, 14, 15>;
                to[i] = pick(pairs[i], pairs[i + 2], Low());
                to[i + 2] = pick(pairs[i], pairs[i + 2], High());
            }
        }
    }
}

/// The first values of c_width rows as columns, `distance` places from one to the next.
void turn(double const* const (&rows)[c_width], std::size_t nb_columns, double* columns,
          std::size_t distance) {
    std::size_t column = 0;
    for (; column + 2 < nb_columns; column += c_width) {
        Reals square[c_width];
        turn(rows, column, square);
        std::size_t const rest = nb_columns - column;
        for (std::size_t i = 0; i < c_width; ++i)
            if (i < rest) store(columns + (column + i) * distance, square[i]);
    }
    for (; column < nb_columns; ++column)
        for (std::size_t i = 0; i < c_width; ++i) columns[column * distance + i] = rows[i][column];
}

void make_columns(double const* x, double const* y, std::size_t stride, std::size_t nb_columns,
                  double* scratch, double* columns) {
    // a vector of paths at a time: their normals stay in the first-level cache
    std::size_t const nb_points = c_width * stride / 2;
    double* const first = scratch;
    double* const second = scratch + scratch_size(stride) / 2;
    double const* even[c_width];  // for each path, its normals of even numbers, and of odd ones
    double const* odd[c_width];
    for (std::size_t i = 0; i < c_width; ++i) {
        std::size_t const start = i * stride;
        even[i] = (start % 2 == 0 ? first : second) + start / 2;
        odd[i] = (start % 2 == 0 ? second : first) + (start + 1) / 2;
    }
    for (std::size_t lane = 0; lane < lanes; lane += c_width) {
        make_normals(x, y, nb_points, first, second);
        turn(even, (nb_columns + 1) / 2, columns + lane, 2 * lanes);
        turn(odd, nb_columns / 2, columns + lanes + lane, 2 * lanes);
        x += nb_points;
        y += nb_points;
    }
}

}  // namespace
}  // namespace ximCORE::Pricing::Block
