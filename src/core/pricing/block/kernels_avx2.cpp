#include "core/pricing/block/kernel_table.hpp"

namespace ximCORE::Pricing::Block {

Kernels const& make_avx2_kernels() {
    static constexpr Kernels table = make_kernels("AVX2");
    return table;
}

}  // namespace ximCORE::Pricing::Block
