// Both adjoint simulations, in blocks of paths and path by path, on one contract.

#pragma once

#include <algorithm>
#include <cmath>

#include "core/pricing/adjoint_case.hpp"

namespace ximCORE::Pricing {

// codes of amounts
inline constexpr int c_chosen = 29;
inline constexpr int c_sorted = 32;

class BlockAdjointTest : public AdjointTest {
 protected:
    BlockAdjointTest() { add_flat_currency("EUR"); }

    static std::vector<double> numbers_of(FirstOrder const& order) {
        std::vector<double> all{order.price};
        for (auto const* list : {&order.delta, &order.vega, &order.cega})
            all.insert(all.end(), list->begin(), list->end());
        return all;
    }

    FirstOrder run_by(Engine which, Contract::Contract& priced,
                      ModelName name = ModelName::black_scholes) {
        chosen_engine = which;
        auto const read = by_adjoints(priced, name);
        EXPECT_EQ(MCPricerOptions::s_options.ran_in_blocks, which == Engine::automatic);
        return read;
    }

    /// To 1e-12 of the largest of the numbers: each is a sum that may cancel. No number is no
    /// number for both.
    void expect_same(Contract::Contract& priced, ModelName name = ModelName::black_scholes,
                     double relative = 1e-12) {
        auto const block = numbers_of(run_by(Engine::automatic, priced, name));
        auto const reference = numbers_of(run_by(Engine::reference, priced, name));
        ASSERT_EQ(block.size(), reference.size());
        double scale = 0.0;
        for (double const x : reference)
            if (std::isfinite(x)) scale = std::max(scale, std::abs(x));
        for (std::size_t i = 0; i < block.size(); ++i) {
            if (std::isfinite(reference[i]))
                EXPECT_NEAR(block[i], reference[i], relative * scale) << i;
            else
                EXPECT_EQ(std::isnan(block[i]), std::isnan(reference[i])) << i;
        }
    }
};

}  // namespace ximCORE::Pricing
