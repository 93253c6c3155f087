// Arrays of fixed size and triangular matrices, each one block of memory. Every access checks its
// indices in all builds: these checks are the safety net of the numerics. All are values: a copy
// copies the elements, a moved-from one is empty. Reading one object from many threads is safe, and
// so is writing separate elements from separate threads.
#pragma once

#include <cstddef>
#include <cstdint>
#include <utility>

#include "core/toolbox/block.hpp"
#include "core/toolbox/errors.hpp"

namespace ximCORE::Toolbox {

/// Array of one dimension.
/// Fails: an index that is not below the size raises `SegmentationFaultException`, in `get` (read)
/// and `unsafe_get` (write) alike.
template <class T>
class Array1D {
 public:
    using value_type = T;
    using iterator = T*;
    using const_iterator = T const*;

    Array1D() = default;
    explicit Array1D(std::uint64_t size) : m_block(size) {}

    [[nodiscard]] std::uint64_t c_get_size() const { return m_block.c_get_count(); }
    [[nodiscard]] T const& get(std::uint64_t i) const {
        if (i >= m_block.c_get_count()) [[unlikely]] {
            raise_segmentation_fault();
        }
        return m_block.at(i);
    }
    [[nodiscard]] T& unsafe_get(std::uint64_t i) {
        if (i >= m_block.c_get_count()) [[unlikely]] {
            raise_segmentation_fault();
        }
        return m_block.at(i);
    }

    [[nodiscard]] T const* begin() const { return m_block.begin(); }
    [[nodiscard]] T const* end() const { return m_block.end(); }
    [[nodiscard]] T* begin() { return m_block.begin(); }
    [[nodiscard]] T* end() { return m_block.end(); }

 private:
    Block<T> m_block;
};

/// Array of two dimensions `[row][column]`, stored row by row.
/// Fails: a row or column outside raises `SegmentationFaultException`.
template <class T>
class Array2D {
 public:
    using value_type = T;
    using iterator = T*;
    using const_iterator = T const*;

    Array2D() = default;
    Array2D(std::uint64_t rows, std::uint64_t cols)
        : m_block(checked_product(rows, cols)), m_rows(rows), m_cols(cols) {}
    Array2D(Array2D const&) = default;
    Array2D(Array2D&& other) noexcept
        : m_block(std::move(other.m_block)),
          m_rows(std::exchange(other.m_rows, 0)),
          m_cols(std::exchange(other.m_cols, 0)) {}
    Array2D& operator=(Array2D const&) = default;
    Array2D& operator=(Array2D&& other) noexcept {
        m_block = std::move(other.m_block);
        m_rows = std::exchange(other.m_rows, 0);
        m_cols = std::exchange(other.m_cols, 0);
        return *this;
    }
    ~Array2D() = default;

    [[nodiscard]] std::uint64_t c_get_rows() const { return m_rows; }
    [[nodiscard]] std::uint64_t c_get_cols() const { return m_cols; }
    [[nodiscard]] T const& get(std::uint64_t row, std::uint64_t col) const {
        return m_block.at(_position(row, col));
    }
    [[nodiscard]] T& unsafe_get(std::uint64_t row, std::uint64_t col) {
        return m_block.at(_position(row, col));
    }

    [[nodiscard]] T const* begin() const { return m_block.begin(); }
    [[nodiscard]] T const* end() const { return m_block.end(); }
    [[nodiscard]] T* begin() { return m_block.begin(); }
    [[nodiscard]] T* end() { return m_block.end(); }

 private:
    [[nodiscard]] std::uint64_t _position(std::uint64_t row, std::uint64_t col) const {
        if (row >= m_rows || col >= m_cols) [[unlikely]] {
            raise_segmentation_fault();
        }
        return row * m_cols + col;
    }

    Block<T> m_block;
    std::uint64_t m_rows{0};
    std::uint64_t m_cols{0};
};

/// Array of three dimensions, the last index running fastest.
/// Fails: an index outside its extent raises `SegmentationFaultException`.
template <class T>
class Array3D {
 public:
    using value_type = T;
    using iterator = T*;
    using const_iterator = T const*;

    Array3D() = default;
    Array3D(std::uint64_t extent_0, std::uint64_t extent_1, std::uint64_t extent_2)
        : m_block(checked_product(checked_product(extent_0, extent_1), extent_2)),
          m_extents{extent_0, extent_1, extent_2} {}
    Array3D(Array3D const&) = default;
    Array3D(Array3D&& other) noexcept
        : m_block(std::move(other.m_block)), m_extents(std::exchange(other.m_extents, {})) {}
    Array3D& operator=(Array3D const&) = default;
    Array3D& operator=(Array3D&& other) noexcept {
        m_block = std::move(other.m_block);
        m_extents = std::exchange(other.m_extents, {});
        return *this;
    }
    ~Array3D() = default;

    /// Extent of dimension 0, 1 or 2; another one raises `SegmentationFaultException`.
    [[nodiscard]] std::uint64_t c_get_extent(std::size_t dimension) const {
        if (dimension >= 3) [[unlikely]] {
            raise_segmentation_fault();
        }
        return m_extents.values[dimension];
    }
    [[nodiscard]] T const& get(std::uint64_t i, std::uint64_t j, std::uint64_t k) const {
        return m_block.at(_position(i, j, k));
    }
    [[nodiscard]] T& unsafe_get(std::uint64_t i, std::uint64_t j, std::uint64_t k) {
        return m_block.at(_position(i, j, k));
    }

    [[nodiscard]] T const* begin() const { return m_block.begin(); }
    [[nodiscard]] T const* end() const { return m_block.end(); }
    [[nodiscard]] T* begin() { return m_block.begin(); }
    [[nodiscard]] T* end() { return m_block.end(); }

 private:
    struct Extents {
        std::uint64_t values[3]{0, 0, 0};
    };

    [[nodiscard]] std::uint64_t _position(std::uint64_t i, std::uint64_t j, std::uint64_t k) const {
        auto const& extents = m_extents.values;
        if (i >= extents[0] || j >= extents[1] || k >= extents[2]) [[unlikely]] {
            raise_segmentation_fault();
        }
        return (i * extents[1] + j) * extents[2] + k;
    }

    Block<T> m_block;
    Extents m_extents;
};

/// Half of a square symmetric table of side n, as one flat array; the first index is the row.
/// `D` = -1: strict lower triangle, j below i, element (i, j) at i(i-1)/2 + j, n(n-1)/2 elements.
/// `D` = 1: lower triangle with its diagonal, j not above i, element (i, j) at i(i+1)/2 + j,
/// n(n+1)/2 elements. Fails: any other (i, j) raises `SegmentationFaultException`; the indices are
/// never swapped for the caller.
template <class T, int D>
class Triangle {
    static_assert(D == -1 || D == 1, "strict (-1) or with the diagonal (1)");

 public:
    using value_type = T;
    using iterator = T*;
    using const_iterator = T const*;

    Triangle() = default;
    explicit Triangle(std::uint64_t side) : m_block(_count(side)), m_side(side) {}
    Triangle(Triangle const&) = default;
    Triangle(Triangle&& other) noexcept
        : m_block(std::move(other.m_block)), m_side(std::exchange(other.m_side, 0)) {}
    Triangle& operator=(Triangle const&) = default;
    Triangle& operator=(Triangle&& other) noexcept {
        m_block = std::move(other.m_block);
        m_side = std::exchange(other.m_side, 0);
        return *this;
    }
    ~Triangle() = default;

    /// Number of rows n.
    [[nodiscard]] std::uint64_t c_get_side() const { return m_side; }
    /// Number of elements held.
    [[nodiscard]] std::uint64_t c_get_count() const { return m_block.c_get_count(); }
    [[nodiscard]] T const& get(std::uint64_t i, std::uint64_t j) const {
        return m_block.at(_position(i, j));
    }
    [[nodiscard]] T& unsafe_get(std::uint64_t i, std::uint64_t j) {
        return m_block.at(_position(i, j));
    }

    /// All elements in the order (first row), (second row), ...
    [[nodiscard]] T const* begin() const { return m_block.begin(); }
    [[nodiscard]] T const* end() const { return m_block.end(); }
    [[nodiscard]] T* begin() { return m_block.begin(); }
    [[nodiscard]] T* end() { return m_block.end(); }

 private:
    static constexpr std::uint64_t c_diagonal = D == 1 ? 1 : 0;

    static std::uint64_t _count(std::uint64_t side) {
        return side == 0 ? 0 : checked_product(side, side - 1 + 2 * c_diagonal) / 2;
    }
    [[nodiscard]] std::uint64_t _position(std::uint64_t i, std::uint64_t j) const {
        if (i >= m_side || j >= i + c_diagonal) [[unlikely]] {
            raise_segmentation_fault();
        }
        return c_diagonal == 1 ? i * (i + 1) / 2 + j : i * (i - 1) / 2 + j;
    }

    Block<T> m_block;
    std::uint64_t m_side{0};
};

}  // namespace ximCORE::Toolbox
