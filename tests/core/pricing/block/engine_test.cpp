// Runs of the smallest program, one level, on states made by hand, against plain loops.

#include "core/pricing/block/engine.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>

namespace ximCORE::Pricing::Block {
namespace {

/// The level of one cell; its adjoint is the seed.
Program level_program(Program::Cell cell) {
    Program program;
    program.inputs.resize(1);  // the seed
    program.cells = {cell};
    program.nb_registers = 1;
    program.result = program.c_get_first_register();
    program.prologue = {Instruction{}};
    program.body = {Instruction{Code::copy, program.result, program.c_get_first_cell()},
                    Instruction{}};
    return program;
}

State state_of(std::vector<State::Path> const& paths,
               std::vector<State::Forwards> const& forwards) {
    State state;
    for (auto const& path : paths) state.paths.push_back(std::make_shared<State::Path const>(path));
    for (auto const& levels : forwards)
        state.forwards.push_back(std::make_shared<State::Forwards const>(levels));
    return state;
}

/// The sum of a level over all paths, mirrored ones with their weight, and the sum of sizes.
std::array<double, 2> plain_sums(State const& state, Program::Cell const& cell, Plan const& plan) {
    std::mt19937_64 generator(plan.seed);
    std::normal_distribution<double> normal;
    auto const u = static_cast<std::size_t>(cell.underlying_rank);
    auto const last = static_cast<std::size_t>(cell.fixing_rank);
    auto const& [loadings, diffusions, drifts] = *state.paths[u];
    std::array<double, 2> sums{};
    std::vector<double> z(plan.normals_per_trial);
    for (std::uint64_t trial = 0; trial < plan.trials; ++trial) {
        for (double& value : z) value = normal(generator);
        for (double const sign : {1.0, -1.0}) {
            double const a = plan.antithetic_factor;
            double x = 0.0;
            for (std::size_t k = 0; k <= last; ++k) {
                double w = 0.0;
                for (std::size_t j = 0; j < loadings.size(); ++j)
                    w += loadings[j] * z[k * plan.nb_factors + j];
                x += sign * diffusions[k] * w + drifts[k];
            }
            double const level = std::exp(x) * (*state.forwards[u])[last] / cell.divisor;
            double const part = (sign > 0.0 ? 1.0 - a : a) * level;
            if (sign > 0.0 || a > 0.0) sums[0] += part;
            if (sign > 0.0 || a > 0.0) sums[1] += std::abs(part);
        }
    }
    return sums;
}

TEST(BlockEngine, LevelsAreThoseOfAPlainLoopForEveryKindOfState) {
    std::mt19937_64 random(17);
    auto const pick = [&](std::size_t size) { return random() % size; };
    auto const uniform = [&](double low, double high) {
        return std::uniform_real_distribution<double>(low, high)(random);
    };
    for (int round = 0; round < 150; ++round) {
        std::size_t const nb_underlyings = 1 + pick(3);
        std::size_t const nb_dates = 1 + pick(9);
        constexpr std::array scales{0.0, 0.01, 0.3, 3.0, 300.0};
        double const scale = scales[pick(scales.size())];
        constexpr std::array drift_scales{0.0, 0.05, 20.0, 3000.0};
        double const drift_scale = drift_scales[pick(drift_scales.size())];
        auto const path_of = [&](std::size_t u) {
            State::Path path;
            for (std::size_t j = 0; j <= u; ++j) path.loadings.push_back(uniform(-1.0, 1.0));
            for (std::size_t k = 0; k < nb_dates; ++k) {
                path.diffusions.push_back(scale * uniform(0.0, 1.0));
                path.drifts.push_back(drift_scale * uniform(-1.0, 1.0));
            }
            return path;
        };
        auto const forwards_of = [&] {
            State::Forwards levels(nb_dates);
            for (double& level : levels) level = pick(8) == 0 ? 0.0 : uniform(-50.0, 150.0);
            return levels;
        };
        std::vector<State::Path> paths;
        std::vector<State::Forwards> forwards;
        for (std::size_t u = 0; u < nb_underlyings; ++u) {
            paths.push_back(path_of(u));
            forwards.push_back(forwards_of());
        }
        State const central = state_of(paths, forwards);
        Program::Cell const cell{static_cast<short>(pick(nb_dates)),
                                 static_cast<short>(pick(nb_underlyings)),
                                 pick(2) == 0 ? 1.0 : uniform(-100.0, 100.0)};
        std::vector<State> states(1, central);
        std::vector<Scenario> scenarios(1);
        for (int i = 0; i < 6; ++i) {
            State bumped = central;
            std::size_t const u = pick(nb_underlyings);
            if (pick(2) == 0)
                bumped.forwards[u] = std::make_shared<State::Forwards const>(forwards_of());
            else
                bumped.paths[u] = std::make_shared<State::Path const>(path_of(u));
            states.push_back(bumped);
        }
        for (std::size_t i = 0; i < 9; ++i)
            scenarios.push_back({pick(states.size()), std::vector<double>(1)});
        Plan const plan{.seed = random(),
                        .trials = 1 + pick(200),
                        .normals_per_trial = nb_dates * nb_underlyings + pick(3),
                        .nb_factors = nb_underlyings,
                        .antithetic_factor = 0.25 * static_cast<double>(pick(5)),
                        .nb_threads = 1 + pick(3)};
        auto const results =
            run(level_program(cell), states, scenarios, EachScenario(scenarios.size()), plan);
        for (std::size_t i = 0; i < scenarios.size(); ++i) {
            auto const [sum, size] = plain_sums(states[scenarios[i].state], cell, plan);
            EXPECT_EQ(results[i].count, plan.trials);
            if (std::isfinite(size))
                ASSERT_NEAR(results[i].sum, sum, 1e-11 * size) << round << ' ' << i;
            else
                ASSERT_FALSE(std::isfinite(results[i].sum)) << round << ' ' << i;
        }
    }
}

TEST(BlockEngine, PathsBehindTheLastTrialDoNotReachTheAdjoints) {
    // wild enough for equal normals in all factors and steps to pass the largest number
    constexpr std::size_t nb_dates = 2016;
    constexpr std::size_t nb_factors = 20;
    double const step = 1.0 / 252.0;
    State::Path path;
    path.loadings.assign(nb_factors, std::sqrt(1.0 / nb_factors));
    path.diffusions.assign(nb_dates, 2.0 * std::sqrt(step));
    path.drifts.assign(nb_dates, -0.5 * 4.0 * step);
    State const state = state_of({path}, {State::Forwards(nb_dates, 100.0)});
    auto program = level_program({nb_dates - 1, 0, 1.0});
    program.cell_adjoints = {program.c_get_first_input()};
    Plan const plan{.seed = 1,
                    .trials = 65,
                    .normals_per_trial = nb_dates * nb_factors,
                    .nb_factors = nb_factors,
                    .antithetic_factor = 0.5,
                    .nb_threads = 1};
    auto const gradient = differentiate(program, state, EachScenario(1), plan);
    double const mean = gradient.price.sum / static_cast<double>(plan.trials);
    EXPECT_GT(mean, 0.0);
    // the level is its own derivative by its logarithm
    EXPECT_NEAR(gradient.paths[0].levels.back(), mean, 1e-12 * mean);
    for (double const derivative : gradient.paths[0].normals)
        EXPECT_TRUE(std::isfinite(derivative));
}

}  // namespace
}  // namespace ximCORE::Pricing::Block
