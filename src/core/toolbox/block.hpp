// The storage of the containers: one block of memory, of a size that stays.
#pragma once

#include <algorithm>
#include <cstdint>
#include <limits>
#include <memory>
#include <new>
#include <utility>

namespace ximCORE::Toolbox {

/// Owner of a block of `T`, zeroed (value-initialised) at its creation; the storage of all the
/// containers below. An allocation whose size in bytes does not fit raises
/// `std::bad_array_new_length`.
template <class T>
class Block {
 public:
    Block() = default;
    explicit Block(std::uint64_t count)
        : m_data(count == 0 ? nullptr : std::make_unique<T[]>(count)), m_count(count) {}
    Block(Block const& other) : Block(other.m_count) {
        std::copy(other.begin(), other.end(), begin());
    }
    Block(Block&& other) noexcept
        : m_data(std::move(other.m_data)), m_count(std::exchange(other.m_count, 0)) {}
    ~Block() = default;

    /// Between equal counts the elements are copied in place: no allocation.
    Block& operator=(Block const& other) {
        if (this == &other) {
            return *this;
        }
        if (m_count != other.m_count) {
            *this = Block(other.m_count);
        }
        std::copy(other.begin(), other.end(), begin());
        return *this;
    }
    Block& operator=(Block&& other) noexcept {
        if (this != &other) {
            m_data = std::move(other.m_data);
            m_count = std::exchange(other.m_count, 0);
        }
        return *this;
    }

    [[nodiscard]] std::uint64_t c_get_count() const { return m_count; }
    [[nodiscard]] T const& at(std::uint64_t position) const { return m_data[position]; }
    [[nodiscard]] T& at(std::uint64_t position) { return m_data[position]; }
    [[nodiscard]] T const* begin() const { return m_data.get(); }
    [[nodiscard]] T const* end() const { return m_data.get() + m_count; }
    [[nodiscard]] T* begin() { return m_data.get(); }
    [[nodiscard]] T* end() { return m_data.get() + m_count; }

 private:
    std::unique_ptr<T[]> m_data;
    std::uint64_t m_count{0};
};

/// Product of two extents; raises `std::bad_array_new_length` when it does not fit into 64 bits.
inline std::uint64_t checked_product(std::uint64_t a, std::uint64_t b) {
    if (b != 0 && a > std::numeric_limits<std::uint64_t>::max() / b) {
        throw std::bad_array_new_length{};
    }
    return a * b;
}

}  // namespace ximCORE::Toolbox
