// The store of hand-written adjoint sweeps. A routine pushes on its forward sweep what its backward
// sweep, run in exactly the reverse order, pops; no operation is recorded. One tape belongs to one
// thread.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace ximCORE::Toolbox::AAD {

enum class SweepType : std::uint8_t { FORWARD, BACKWARD };

/// Last-in, first-out stack in blocks of 512 bytes. A block that the shrinking stack no longer uses
/// is a spare of the same stack and serves its next growth, so that a stack that grows and shrinks
/// by the same amount allocates once.
template <class T>
class BlockStack {
 public:
    [[nodiscard]] bool c_is_empty() const { return m_size == 0; }
    /// Blocks in use and spare ones.
    [[nodiscard]] std::size_t c_get_nb_blocks() const { return m_blocks.size(); }

    void push(T value) {
        if (m_size == m_blocks.size() * c_block_size) [[unlikely]]
            grow();
        slot(m_size++) = value;
    }
    /// The stack is not empty.
    [[nodiscard]] T pop() { return slot(--m_size); }

    /// Frees all blocks but the first.
    void clear() {
        m_size = 0;
        if (m_blocks.size() > 1) m_blocks.resize(1);
    }

 private:
    static constexpr std::size_t c_block_size = 512 / sizeof(T);
    using Block = std::array<T, c_block_size>;

    [[nodiscard]] T& slot(std::size_t position) {
        return (*m_blocks[position / c_block_size])[position % c_block_size];
    }
    [[gnu::noinline]] void grow() { m_blocks.push_back(std::make_unique<Block>()); }

    std::vector<std::unique_ptr<Block>> m_blocks;
    std::size_t m_size{0};
};

/// Two last-in, first-out stacks, of doubles and of booleans. Once grown, a tape that is pushed and
/// popped by the same amount again and again allocates nothing.
class Tape {
 public:
    void dpush(double value) { m_doubles.push(value); }
    void bpush(bool value) { m_booleans.push(value); }

    /// Pops the last double into `value`; the answer is its truth value (false for 0.0), not a
    /// success. Fails: an empty stack adds an ERROR record, leaves `value` and answers false.
    bool dpop(double& value) {
        if (m_doubles.c_is_empty()) [[unlikely]]
            return report_empty("double");
        value = m_doubles.pop();
        return value != 0.0;
    }
    /// Pops the last boolean into `value` and answers it. Fails: as `dpop`.
    bool bpop(bool& value) {
        if (m_booleans.c_is_empty()) [[unlikely]]
            return report_empty("boolean");
        value = m_booleans.pop();
        return value;
    }

    /// Empties both stacks and frees all blocks but the first of each.
    void clear() {
        m_doubles.clear();
        m_booleans.clear();
    }

    [[nodiscard]] bool c_is_empty() const {
        return m_doubles.c_is_empty() && m_booleans.c_is_empty();
    }

 private:
    /// Always false.
    static bool report_empty(char const* stack);

    BlockStack<double> m_doubles;
    BlockStack<bool> m_booleans;
};

}  // namespace ximCORE::Toolbox::AAD
