// The block: how many paths every step of the engine works on at a time.

#pragma once

#include <cstddef>
#include <memory>
#include <new>
#include <span>

namespace ximCORE::Pricing::Block {

/// Paths of a block. 64 doubles are a whole number of vectors on every processor, and the columns
/// of a usual contract stay in the first-level cache.
inline constexpr std::size_t lanes = 64;

/// Doubles that start on a cache line. Not initialised.
class Buffer {
 public:
    Buffer() = default;
    explicit Buffer(std::size_t size)
        : m_values(size == 0 ? nullptr
                             : static_cast<double*>(::operator new (
                                   checked_bytes(size), std::align_val_t{c_alignment}))),
          m_size(size) {}

    [[nodiscard]] double* get() { return m_values.get(); }
    [[nodiscard]] double const* c_get() const { return m_values.get(); }
    [[nodiscard]] std::size_t c_get_size() const { return m_size; }
    /// The column of `lanes` values at a position. Unchecked.
    [[nodiscard]] double* column(std::size_t position) { return m_values.get() + position * lanes; }
    [[nodiscard]] double const* c_column(std::size_t position) const {
        return m_values.get() + position * lanes;
    }

 private:
    static constexpr std::size_t c_alignment = 64;
    static std::size_t checked_bytes(std::size_t size) {
        if (size > static_cast<std::size_t>(-1) / sizeof(double)) throw std::bad_array_new_length();
        return size * sizeof(double);
    }
    struct Release {
        void operator()(double* values) const {
            ::operator delete (values, std::align_val_t{c_alignment});
        }
    };

    std::unique_ptr<double, Release> m_values;
    std::size_t m_size{0};
};

}  // namespace ximCORE::Pricing::Block
