// The standard normals of a simulation, drawn as the paths consume them: the numbers that one
// `std::mt19937_64` with one `std::normal_distribution<double>` of the GNU library delivers, in
// their order, to within 1e-15 of their size. Drawing falls into two halves. The points of the
// polar method come one block of the generator after the other, and are cheap; their transformation
// needs no state, so that threads do it side by side.

#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "core/pricing/block/kernels.hpp"

namespace ximCORE::Pricing::Block {

/// The accepted points of the polar method (G. Marsaglia and T. Bray, 1964) over MT19937-64
/// (M. Matsumoto and T. Nishimura, 2000).
class PointSequence {
 public:
    /// 64-bit outputs of one step of the generator, and the points that these can give.
    static constexpr std::size_t s_block_words = 312;
    static constexpr std::size_t s_block_points = s_block_words / 2;
    /// Words behind them, for loads of whole vectors.
    static constexpr std::size_t s_padding = 8;
    /// Places behind the last point asked for that `draw` may overwrite.
    static constexpr std::size_t s_slack = s_block_points + 8;

    PointSequence(Kernels const& kernels, std::uint64_t seed);

    /// The next `nb_points` points, into arrays with `s_slack` more places. No allocation.
    void draw(std::size_t nb_points, double* x, double* y);

 private:
    Kernels const* m_kernels;
    alignas(64) std::array<std::uint64_t, s_block_words + s_padding> m_state{};
    std::array<double, s_slack> m_x{};  ///< points drawn ahead
    std::array<double, s_slack> m_y{};
    std::size_t m_ahead{0};
};

}  // namespace ximCORE::Pricing::Block
