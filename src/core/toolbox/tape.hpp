// The store of hand-written adjoint sweeps. A routine pushes on its forward sweep what its backward
// sweep, run in exactly the reverse order, pops; no operation is recorded. One tape belongs to one
// thread.
#pragma once

#include <cstdint>
#include <deque>

namespace ximCORE::Toolbox::AAD {

enum class SweepType : std::uint8_t { FORWARD, BACKWARD };

/// Two last-in, first-out stacks, of doubles and of booleans. Each grows and shrinks by blocks of
/// 512 bytes.
class Tape {
 public:
    void dpush(double value);
    void bpush(bool value);

    /// Pops the last double into `value`; the answer is its truth value (false for 0.0), not a
    /// success. Fails: an empty stack adds an ERROR record, leaves `value` and answers false.
    bool dpop(double& value);
    /// Pops the last boolean into `value` and answers it. Fails: as `dpop`.
    bool bpop(bool& value);

    /// Empties both stacks and frees all blocks but the first of each.
    void clear();

    [[nodiscard]] bool c_is_empty() const { return m_doubles.empty() && m_booleans.empty(); }

 private:
    std::deque<double> m_doubles;
    std::deque<bool> m_booleans;
};

}  // namespace ximCORE::Toolbox::AAD
