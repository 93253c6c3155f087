// One contract priced by both engines of the simulation, and what they answer compared.

#pragma once

#include <bit>
#include <cmath>
#include <cstdint>
#include <string>
#include <vector>

#include "core/pricing/contract_ladder.hpp"
#include "core/pricing/greek.hpp"
#include "support/pricing_test.hpp"

namespace ximCORE::Pricing {

/// The bump of all sensitivities, as a fraction.
inline constexpr double c_engine_bump = 0.01;

/// Switches on every sensitivity that the block engine has.
inline void activate_block_greeks(std::int32_t delta, std::int32_t vega, std::int32_t cega) {
    auto& greeks = PricerOptions::s_options.greeks;
    double const bump = 1e4 * c_engine_bump;
    for (auto const& [record, direction] :
         {std::pair{&greeks.delta, delta}, std::pair{&greeks.vega, vega},
          std::pair{&greeks.cega, cega}}) {
        record->activate = true;
        record->direction = direction;
        record->bump = bump;
    }
    for (auto* record : {&greeks.gamma, &greeks.volga, &greeks.xgamma, &greeks.xvolga}) {
        record->activate = true;
        record->bump = bump;
    }
    greeks.vanna.activate = true;
    greeks.vanna.spot_bump = greeks.vanna.vol_bump = bump;
}

/// Chooses the adjoint simulation, with all that it has.
inline void activate_adjoints() {
    auto& options = PricerOptions::s_options;
    options.method = PricingMethod::AUTOMATIC_ADJOINT_DIFFERENTIATION;
    options.greeks = {};
    for (auto* record : {&options.greeks.delta, &options.greeks.vega, &options.greeks.cega})
        record->activate = true;
}

/// Both are no number, or infinite alike, or at most `tolerance` apart.
inline bool is_same(double x, double y, double tolerance) {
    if (std::isnan(x) || std::isnan(y)) return std::isnan(x) && std::isnan(y);
    return x == y || std::abs(x - y) <= tolerance;
}

/// The mean size of the observations.
inline double size_of(MCResult const& result) {
    double const size = std::sqrt(result.sum_of_squares / static_cast<double>(result.count));
    return std::isfinite(size) ? size : 0.0;
}

/// `gross`: the size of the numbers whose rounding is seen.
inline void expect_same(MCResult const& block, MCResult const& reference, double gross,
                        double relative) {
    double const tolerance = relative * std::max(gross, size_of(reference));
    EXPECT_EQ(block.count, reference.count);
    EXPECT_PRED3(is_same, block.mean, reference.mean, tolerance);
    EXPECT_PRED3(is_same, block.min, reference.min,
                 tolerance + 10.0 * relative * std::abs(reference.min));
    EXPECT_PRED3(is_same, block.max, reference.max,
                 tolerance + 10.0 * relative * std::abs(reference.max));
    // the variance is a difference of squares
    double const of_root = std::sqrt(relative) * std::max(gross, size_of(reference));
    EXPECT_PRED3(is_same, block.standard_error, reference.standard_error, of_root);
}

/// The power of the bump by which a sensitivity divides.
inline int order_of(Greek const& greek) {
    return greek.difference == Difference::directional ? 1 : 2;
}

/// `level`: the size of the largest flows, which may cancel in the price.
inline void expect_same(Results block, Results reference, double level, double relative) {
    double const gross = std::max(level, size_of(reference.price));
    {
        SCOPED_TRACE("price");
        expect_same(block.price, reference.price, gross, relative);
    }
    for (auto const* greek : Greeks::evaluation_order)
        for_each_cell(*greek, reference, [&](std::size_t i, std::size_t j, auto& cell) {
            SCOPED_TRACE(std::string(greek->label) + std::to_string(i) + ", " + std::to_string(j));
            double const scale = std::pow(c_engine_bump, -order_of(*greek));
            expect_same(result_at(*greek, block, i, j), cell.result, 4.0 * gross * scale, relative);
        });
}

inline void expect_same_bits(MCResult const& left, MCResult const& right) {
    EXPECT_EQ(left.count, right.count);
    for (auto const field :
         {&MCResult::sum, &MCResult::sum_of_squares, &MCResult::mean, &MCResult::lower_bound,
          &MCResult::upper_bound, &MCResult::standard_error, &MCResult::min, &MCResult::max})
        EXPECT_EQ(std::bit_cast<std::uint64_t>(left.*field),
                  std::bit_cast<std::uint64_t>(right.*field))
            << left.*field << ' ' << right.*field;
}

inline void expect_same_bits(Results left, Results right) {
    expect_same_bits(left.price, right.price);
    for (auto const* greek : Greeks::evaluation_order)
        for_each_cell(*greek, right, [&](std::size_t i, std::size_t j, auto& cell) {
            expect_same_bits(result_at(*greek, left, i, j), cell.result);
        });
}

class BothEnginesTest : public PricingTest {
 protected:
    using Engine = MCOptions::Engine;
    using ModelName = Modeling::ModelName;

    /// The results of one engine; which one ran is checked.
    Results price(Contract::Contract& priced, Engine which,
                  ModelName name = ModelName::black_scholes) {
        MCPricerOptions::s_options.engine = which;
        auto const pricer = run(priced, name);
        EXPECT_EQ(MCPricerOptions::s_options.ran_in_blocks, which == Engine::automatic);
        return pricer->c_get_results();
    }

    void expect_same_price(Contract::Contract& priced, double level, double relative = 1e-12,
                           ModelName name = ModelName::black_scholes) {
        auto const block = price(priced, Engine::automatic, name);
        expect_same(block, price(priced, Engine::reference, name), level, relative);
    }

    using Points = std::vector<ContractLadderResults>;

    Points climb(Contract::Contract& priced, Points points, Engine which,
                 ModelName name = ModelName::black_scholes) {
        MCPricerOptions::s_options.engine = which;
        auto const model = Modeling::get_model(today, name);
        EXPECT_TRUE(model->get_dependencies(priced));
        auto const ladder = get_contract_ladder();
        ladder->get_results() = std::move(points);
        EXPECT_TRUE(ladder->run(priced, model.get()));
        EXPECT_EQ(MCPricerOptions::s_options.ran_in_blocks, which == Engine::automatic);
        return ladder->get_results();
    }

    void expect_same_ladder(Contract::Contract& priced, Points const& points, double level,
                            double relative = 1e-12) {
        auto const block = climb(priced, points, Engine::automatic);
        auto const reference = climb(priced, points, Engine::reference);
        for (std::size_t i = 0; i < points.size(); ++i) {
            SCOPED_TRACE("point " + std::to_string(i));
            expect_same(block.at(i).results, reference.at(i).results, level, relative);
        }
    }

    /// A point that moves one feature.
    static ContractLadderResults point(std::string const& feature, double value) {
        return {{{feature,
                  {.kind = Shift::Kind::assignment, .unit = Shift::Unit::none, .value = value}}},
                {}};
    }
};

}  // namespace ximCORE::Pricing
