#include "core/pricing/block/kernel_table.hpp"

namespace ximCORE::Pricing::Block {

Kernels const& make_portable_kernels() {
    static constexpr Kernels table = make_kernels("portable");
    return table;
}

}  // namespace ximCORE::Pricing::Block
