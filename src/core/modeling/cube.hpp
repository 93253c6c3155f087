// All random numbers of a simulation, drawn on one thread before the first path: every bumped state
// and every thread reads the same ones, so that a result depends on the number of threads only
// through the order of sums. Where paths run in blocks, nobody asks for them and nothing is drawn.

#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include "core/toolbox/matrix_base.hpp"

namespace ximCORE::Toolbox::LinearAlgebra::Eigen {

/// Three dimensions: grid steps, factors, trials. Trial by trial, then step by step, then factor:
/// the value (s, f, t) is at position t * (steps * factors) + s * factors + f. An index out of
/// range raises `SegmentationFaultException`.
class Cube : public MatrixBase {
 public:
    /// The values are not set. Raises `std::bad_array_new_length` when the size in bytes overflows,
    /// `std::bad_alloc` when there is no memory.
    Cube(std::uint64_t steps, std::uint64_t factors, std::uint64_t trials);
    /// Holds nothing before `draw`, which fills it with the normals of `seed`; an access before it
    /// raises `SegmentationFaultException`.
    Cube(std::uint64_t steps, std::uint64_t factors, std::uint64_t trials, std::uint64_t seed);
    virtual ~Cube() = default;

    /// Allocates and fills what is not drawn yet. Not while threads share the numbers. Raises
    /// `std::bad_alloc` when there is no memory.
    void draw() {
        if (m_values == nullptr) _draw();
    }
    /// Of the numbers; 0 without one.
    [[nodiscard]] std::uint64_t c_get_seed() const { return m_seed; }

    /// Fills all values in memory order with standard normals: MT19937-64 seeded with `seed`, then
    /// the polar method (G. Marsaglia and T. Bray, "A convenient method for generating normal
    /// variables", 1964). Bit for bit the numbers of one `std::mt19937_64` with one
    /// `std::normal_distribution<double>` of the GNU library.
    virtual void fill_normal(std::uint64_t seed);
    [[nodiscard]] virtual double get(std::uint64_t step, std::uint64_t factor,
                                     std::uint64_t trial) const;
    /// Flips the sign of all values of a trial; twice restores them exactly.
    virtual void opposite(std::uint64_t trial);
    /// Flips the sign of all values.
    virtual void opposite();
    virtual void set(std::uint64_t step, std::uint64_t factor, std::uint64_t trial, double value);

    /// The values of one trial, step by step; checks the trial once, nothing after.
    [[nodiscard]] double const* c_get_slice(std::uint64_t trial) const;

    [[nodiscard]] std::uint64_t c_get_steps() const { return c_get_extent(0); }
    [[nodiscard]] std::uint64_t c_get_factors() const { return c_get_extent(1); }
    [[nodiscard]] std::uint64_t c_get_trials() const { return c_get_extent(2); }

 private:
    void _draw();
    [[nodiscard]] std::size_t _position(std::uint64_t step, std::uint64_t factor,
                                        std::uint64_t trial) const;

    std::size_t m_slice_size;  // values of one trial
    std::uint64_t m_seed{0};
    std::unique_ptr<double[]> m_values;  // null before they are drawn
};

}  // namespace ximCORE::Toolbox::LinearAlgebra::Eigen

namespace ximCORE::Modeling {
using Cube = Toolbox::LinearAlgebra::Eigen::Cube;
}
