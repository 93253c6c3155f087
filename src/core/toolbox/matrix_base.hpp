// The size of a matrix-like object, and the checks of sizes before an operation on two of them.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace ximCORE::Toolbox::LinearAlgebra {

/// Three extents; an object of fewer dimensions leaves the last ones at 1 or 0, as its kind
/// decides.
class MatrixBase {
 public:
    constexpr MatrixBase() = default;
    constexpr MatrixBase(std::uint64_t extent_0, std::uint64_t extent_1, std::uint64_t extent_2)
        : m_extents{extent_0, extent_1, extent_2} {}

    /// Extent of dimension 0, 1 or 2.
    [[nodiscard]] constexpr std::uint64_t c_get_extent(std::size_t dimension) const {
        return m_extents.at(dimension);
    }

    /// Whether the extents agree in each dimension whose extent in `flags` is not 0.
    [[nodiscard]] static constexpr bool check_bin_op(MatrixBase const& a, MatrixBase const& b,
                                                     MatrixBase const& flags) {
        for (std::size_t dimension = 0; dimension < 3; ++dimension) {
            if (flags.m_extents[dimension] != 0 &&
                a.m_extents[dimension] != b.m_extents[dimension]) {
                return false;
            }
        }
        return true;
    }
    /// Whether all extents agree.
    [[nodiscard]] static constexpr bool check_lft_op(MatrixBase const& a, MatrixBase const& b) {
        return check_bin_op(a, b, MatrixBase(1, 1, 1));
    }
    /// Whether all extents agree.
    [[nodiscard]] static constexpr bool check_rgt_op(MatrixBase const& a, MatrixBase const& b) {
        return check_lft_op(a, b);
    }

 private:
    std::array<std::uint64_t, 3> m_extents{};
};

}  // namespace ximCORE::Toolbox::LinearAlgebra
