// Paths of vectors, for kernel files: from columns of normals to the growth of an underlying at its
// fixing dates.

#pragma once

#include "core/pricing/block/elementary.hpp"
#include "core/pricing/block/kernels.hpp"

namespace ximCORE::Pricing::Block {
namespace {

/// Many vectors together share the reading of the weights and hide each other's waiting.
template <bool is_mirrored, bool has_drifts, auto power>
void evolve(Evolution const& evolution, double* growth) {
    auto const& e = evolution;
    constexpr std::size_t together = lanes / c_width < 8 ? lanes / c_width : 8;
    for (std::size_t lane = 0; lane < lanes; lane += together * c_width) {
        double const* normals = e.normals + lane;
        double const* weights = e.weights;
        Reals x[together]{};
        for (std::size_t step = 0; step < e.nb_steps; ++step) {
            if constexpr (has_drifts)
                for (auto& value : x) value += e.drifts[step];
            for (std::size_t j = 0; j < e.nb_weights; ++j) {
                Reals const weight = spread(is_mirrored ? -weights[j] : weights[j]);
                for (std::size_t i = 0; i < together; ++i)
                    x[i] = multiply_add(weight, load(normals + j * lanes + i * c_width), x[i]);
            }
            normals += e.nb_factors * lanes;
            weights += e.nb_weights;
            if (!e.is_read[step]) continue;
            double* const to = growth + step * lanes + lane;
            Reals const forward = spread(e.forwards == nullptr ? 1.0 : e.forwards[step]);
            for (std::size_t i = 0; i < together; ++i)
                store(to + i * c_width, power(x[i]) * forward);
        }
    }
}

void evolve(Evolution const& evolution, double* growth) {
    if (evolution.drifts != nullptr)
        return evolution.is_mirrored ? evolve<true, true, power_of_two>(evolution, growth)
                                     : evolve<false, true, power_of_two>(evolution, growth);
    return evolution.is_mirrored ? evolve<true, false, small_power_of_two>(evolution, growth)
                                 : evolve<false, false, small_power_of_two>(evolution, growth);
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
