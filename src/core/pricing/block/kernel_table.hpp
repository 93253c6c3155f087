// The table of the loops of one kernel file.

#pragma once

#include "core/pricing/block/normal_kernels.hpp"
#include "core/pricing/block/path_kernels.hpp"
#include "core/pricing/block/program_kernels.hpp"

namespace ximCORE::Pricing::Block {
namespace {

template <auto function>
void map(double const* x, std::size_t count, double* y) {
    for (std::size_t i = 0; i < count; i += c_width) store(y + i, function(load(x + i)));
}

constexpr Kernels make_kernels(std::string_view name) {
    return {name,
            draw_points,
            make_columns,
            evolve,
            multiply,
            descend,
            run,
            observe,
            map<exponential>,
            map<power_of_two>,
            map<small_power_of_two>,
            map<logarithm>};
}

}  // namespace
}  // namespace ximCORE::Pricing::Block
