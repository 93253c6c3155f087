// Standard normals in blocks: the numbers of one `std::mt19937_64` with one
// `std::normal_distribution<double>` of the GNU library, bit for bit, at a fraction of the cost of
// drawing them one by one.

#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

namespace ximCORE::Modeling {

/// MT19937-64 (M. Matsumoto and T. Nishimura, "Tables of 64-bit Mersenne twisters", 2000), a block
/// of 312 outputs at a time.
class TwisterBlocks {
 public:
    static constexpr std::size_t s_size = 312;
    using Block = std::array<std::uint64_t, s_size>;

    explicit TwisterBlocks(std::uint64_t seed);
    /// The next 312 outputs.
    void generate(Block& block);

 private:
    Block m_state;
};

/// Fills `normals` in order from a generator seeded with `seed`. Each accepted pair (x, y) of the
/// polar method delivers y m, then x m, with m = sqrt(-2 ln(x x + y y) / (x x + y y)).
void fill_standard_normals(std::uint64_t seed, std::span<double> normals);

}  // namespace ximCORE::Modeling
