// The loops of the block engine, compiled once for each kind of processor and chosen when the
// library is loaded. Every one works on columns of `lanes` values that start on a cache line.

#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <string_view>

#include "core/pricing/block/lanes.hpp"

namespace ximCORE::Pricing::Block {

struct Listing;

/// The path of one underlying, from the normals of a block to its growth since the start:
///     x += sum_j weight[step][j] z[step][j] + drift[step],   growth[step] = 2^x.
struct Evolution {
    double const* normals;         ///< columns [step][factor]
    std::size_t nb_factors;        ///< columns of a step
    double const* weights;         ///< [step][factor], of as many factors as the underlying reads
    std::size_t nb_weights;        ///< of a step
    double const* drifts;          ///< [step]; null: none, and no x is larger than 1000 in size
    unsigned char const* is_read;  ///< [step]: whether the growth is wanted
    std::size_t nb_steps;
    double const* forwards{nullptr};  ///< [step]: the growth is multiplied by it; null for 1
    bool is_mirrored{false};          ///< with the normals' opposites
};

/// The same path backward, from the derivatives of the result by the levels of the underlying. With
/// p = adjoint level on each date and b its sum over the dates from a step on, which is the
/// derivative by x there:
struct Descent {
    double const* normals;  ///< columns [step][factor]
    std::size_t nb_factors;
    std::size_t nb_loadings;
    double sign;                    ///< of the normals on this side
    double const* const* adjoints;  ///< columns [step]; null where the level is not read
    double const* const* levels;
    std::size_t nb_steps;
};
/// Places of each sum of a descent: as many as a vector of the widest processor, which add up to
/// it.
inline constexpr std::size_t sum_width = 8;

/// The running sums of one result; see `MCResult`.
struct Observations {
    double sum{0.0};
    double sum_of_squares{0.0};
    std::uint64_t count{0};
    double min{std::numeric_limits<double>::max()};
    double max{std::numeric_limits<double>::min()};

    Observations& operator+=(Observations const& other) {
        sum += other.sum;
        sum_of_squares += other.sum_of_squares;
        count += other.count;
        min = other.min < min ? other.min : min;
        max = other.max > max ? other.max : max;
        return *this;
    }
};

/// Places that `Kernels::make_columns` works in.
[[nodiscard]] constexpr std::size_t scratch_size(std::size_t stride) {
    return 8 * stride + 64;
}

/// The loops for one kind of processor. Nothing allocates, locks or throws.
struct Kernels {
    std::string_view name;  ///< "portable", "AVX2" or "AVX-512"

    /// Moves the generator on by one block and writes the points of the disc in order; answers how
    /// many. Up to 8 places behind them are overwritten.
    std::size_t (*draw_points)(std::uint64_t* state, double* x, double* y);
    /// Columns [0, nb_columns) of the normals of `lanes` paths, of which each takes the next
    /// `stride` ones. A point gives two, y m and then x m, with m = sqrt(-2 ln r^2 / r^2). Reads up
    /// to 7 points behind those of all paths; `scratch` has `scratch_size` places.
    void (*make_columns)(double const* x, double const* y, std::size_t stride,
                         std::size_t nb_columns, double* scratch, double* columns);
    /// The columns [step] of the growth of one underlying, or of its levels with forwards; those
    /// that nobody reads are not written.
    void (*evolve)(Evolution const& evolution, double* growth);
    void (*multiply)(double const* values, double factor, double* products);
    /// Adds p, and b times the normal of each factor, to the sums [step][1 + nb_loadings] of
    /// `sum_width` places.
    void (*descend)(Descent const& descent, double* sums);
    /// Runs a program to its end.
    void (*run)(Listing const& listing);
    /// Adds the first `count` values.
    void (*observe)(double const* values, std::size_t count, Observations& observations);

    /// The functions of `elementary.hpp` on arrays, `count` a multiple of `lanes`; for tests.
    void (*exponential)(double const* x, std::size_t count, double* y);
    void (*power_of_two)(double const* x, std::size_t count, double* y);
    void (*small_power_of_two)(double const* x, std::size_t count, double* y);
    void (*logarithm)(double const* x, std::size_t count, double* y);
};

/// The fastest that the processor runs. For comparisons, the environment variable
/// XIM_INSTRUCTION_SET names another one ("portable", "AVX2"); a name that is none of the
/// processor's changes nothing.
[[nodiscard]] Kernels const& kernels();

/// Each kind by itself; null where the processor cannot run it.
[[nodiscard]] Kernels const* portable_kernels();
[[nodiscard]] Kernels const* avx2_kernels();
[[nodiscard]] Kernels const* avx512_kernels();

}  // namespace ximCORE::Pricing::Block
