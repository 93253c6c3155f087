// Paths of vectors, for kernel files: from normals in the order of their draw to the growth of an
// underlying at its fixing dates.

#pragma once

#include "core/pricing/block/elementary.hpp"
#include "core/pricing/block/kernels.hpp"

namespace ximCORE::Pricing::Block {
namespace {

/// A square of vectors turned round its diagonal: each round moves one bit of the row number into
/// the column number.
void turn(Reals (&rows)[c_width]) {
    for (std::size_t round = 1; round < c_width; round *= 2) {
        Reals turned[c_width];
        for (std::size_t i = 0; i < c_width / 2; ++i) {
            turned[2 * i] = interleave_first(rows[i], rows[i + c_width / 2]);
            turned[2 * i + 1] = interleave_second(rows[i], rows[i + c_width / 2]);
        }
        for (std::size_t i = 0; i < c_width; ++i) rows[i] = turned[i];
    }
}

void transpose(double const* paths, std::size_t stride, std::size_t nb_columns, double* columns) {
    std::size_t const whole = nb_columns / c_width * c_width;
    for (std::size_t lane = 0; lane < lanes; lane += c_width) {
        double const* const first = paths + lane * stride;
        for (std::size_t column = 0; column < whole; column += c_width) {
            Reals square[c_width];
            for (std::size_t i = 0; i < c_width; ++i) square[i] = load(first + i * stride + column);
            turn(square);
            for (std::size_t i = 0; i < c_width; ++i)
                store(columns + (column + i) * lanes + lane, square[i]);
        }
    }
    for (std::size_t column = whole; column < nb_columns; ++column)
        for (std::size_t lane = 0; lane < lanes; ++lane)
            columns[column * lanes + lane] = paths[lane * stride + column];
}

void evolve(Evolution const& evolution, double* growth) {
    auto const& e = evolution;
    for (std::size_t lane = 0; lane < lanes; lane += c_width) {
        double const* normals = e.normals + lane;
        Reals x{};
        for (std::size_t step = 0; step < e.nb_steps; ++step) {
            Reals w = spread(e.loadings[0]) * load(normals);
            for (std::size_t j = 1; j < e.nb_loadings; ++j)
                w = multiply_add(spread(e.loadings[j]), load(normals + j * lanes), w);
            normals += e.nb_factors * lanes;
            x += multiply_add(w, spread(e.diffusions[step]), spread(e.drifts[step]));
            if (!e.is_read[step]) continue;
            Reals const factor = exponential(x);
            store(growth + step * lanes + lane,
                  e.forwards == nullptr ? factor : factor * e.forwards[step]);
        }
    }
}

void multiply(double const* values, double factor, double* products) {
    for (std::size_t lane = 0; lane < lanes; lane += c_width)
        store(products + lane, load(values + lane) * factor);
}

void descend(Descent const& descent, double* sums) {
    auto const& d = descent;
    constexpr std::size_t together = sum_width;  // vectors whose running sums stay in registers
    static_assert(lanes % (together * c_width) == 0 && sum_width % c_width == 0);
    auto const add = [](double* sum, Reals value) { store(sum, load(sum) + value); };
    for (std::size_t lane = 0; lane < lanes; lane += together * c_width) {
        Reals b[together]{};
        for (std::size_t step = d.nb_steps; step-- > 0;) {
            double* sum = sums + step * (1 + d.nb_loadings) * sum_width;
            if (d.adjoints[step] != nullptr) {
                double const* const adjoint = d.adjoints[step] + lane;
                double const* const level = d.levels[step] + lane;
                Reals total{};
                for (std::size_t i = 0; i < together; ++i) {
                    Reals const p = load(adjoint + i * c_width) * load(level + i * c_width);
                    b[i] += p;
                    total += p;
                }
                add(sum, total);
            }
            double const* normals = d.normals + step * d.nb_factors * lanes + lane;
            for (std::size_t j = 0; j < d.nb_loadings; ++j, normals += lanes) {
                Reals even{};
                Reals odd{};
                for (std::size_t i = 0; i < together; i += 2) {
                    even = multiply_add(b[i], load(normals + i * c_width), even);
                    odd = multiply_add(b[i + 1], load(normals + (i + 1) * c_width), odd);
                }
                add(sum += sum_width, (even + odd) * d.sign);
            }
        }
    }
}

void observe(double const* values, std::size_t count, Observations& observations) {
    auto& o = observations;
    if (count == lanes) {
        Reals sum{};
        Reals squares{};
        Reals least = spread(o.min);  // which a NaN does not replace
        Reals most = spread(o.max);
        for (std::size_t lane = 0; lane < lanes; lane += c_width) {
            Reals const v = load(values + lane);
            sum += v;
            squares += v * v;
            least = v < least ? v : least;
            most = v > most ? v : most;
        }
        for (std::size_t i = 0; i < c_width; ++i) {
            o.sum += sum[i];
            o.sum_of_squares += squares[i];
            o.min = least[i] < o.min ? least[i] : o.min;
            o.max = most[i] > o.max ? most[i] : o.max;
        }
    } else {
        for (std::size_t i = 0; i < count; ++i) {
            o.sum += values[i];
            o.sum_of_squares += values[i] * values[i];
            o.min = values[i] < o.min ? values[i] : o.min;
            o.max = values[i] > o.max ? values[i] : o.max;
        }
    }
    o.count += count;
}

}  // namespace
}  // namespace ximCORE::Pricing::Block
