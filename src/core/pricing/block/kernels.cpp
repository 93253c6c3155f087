#include "core/pricing/block/kernels.hpp"

#include <algorithm>
#include <array>
#include <cstdlib>

namespace ximCORE::Pricing::Block {

// One for each kernel file.
Kernels const& make_portable_kernels();
Kernels const& make_avx2_kernels();
Kernels const& make_avx512_kernels();

// The processor is asked here, in code that every processor runs.

Kernels const* portable_kernels() {
    return &make_portable_kernels();
}

Kernels const* avx2_kernels() {
    bool const is_known = __builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma");
    return is_known ? &make_avx2_kernels() : nullptr;
}

Kernels const* avx512_kernels() {
    bool const is_known = __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512dq") &&
                          __builtin_cpu_supports("avx512vl") &&
                          __builtin_cpu_supports("avx512bw") && __builtin_cpu_supports("fma");
    return is_known ? &make_avx512_kernels() : nullptr;
}

Kernels const& kernels() {
    static Kernels const& chosen = []() -> Kernels const& {
        std::array const fastest_first{avx512_kernels(), avx2_kernels(), portable_kernels()};
        char const* const wanted = std::getenv("XIM_INSTRUCTION_SET");
        auto const is_there = [](Kernels const* table) { return table != nullptr; };
        auto const is_wanted = [&](Kernels const* table) {
            return table != nullptr && wanted != nullptr && table->name == wanted;
        };
        auto const named = std::ranges::find_if(fastest_first, is_wanted);
        if (named != fastest_first.end()) return **named;
        return **std::ranges::find_if(fastest_first, is_there);
    }();
    return chosen;
}

}  // namespace ximCORE::Pricing::Block
