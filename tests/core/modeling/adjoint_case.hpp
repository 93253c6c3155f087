// A market of shares for the adjoint forms of helpers: an objective over the cells of the fixing
// grid, its derivatives by the sweeps, and the same by bumps of the market.
#pragma once

#include <cmath>
#include <random>
#include <string>
#include <vector>

#include "core/modeling/black_scholes_mc_helper.hpp"
#include "core/modeling/black_scholes_term_structure_mc_helper.hpp"
#include "core/pricing/options.hpp"
#include "core/pricing/results.hpp"
#include "support/adjoints.hpp"
#include "support/hand_made_information.hpp"
#include "support/market.hpp"
#include "support/matchers.hpp"

namespace ximCORE::Modeling {

using Pricing::MCPricerOptions;
using Pricing::PricerOptions;
using Testing::HandMadeInformation;
using Toolbox::AAD::SweepType;
using Toolbox::AAD::Tape;
using ximTest::Values;

class AdjointCase : public Testing::MarketTest {
 protected:
    AdjointCase() {
        MCPricerOptions::s_options = {.trials = c_trials};
        PricerOptions::s_options = {};
    }
    ~AdjointCase() override {
        MCPricerOptions::s_options = {};
        PricerOptions::s_options = {};
    }

    std::shared_ptr<Data::Underlying> add(std::shared_ptr<Data::Underlying> asset, double spot,
                                          double volatility) {
        set_spot(*asset, spot);
        set_volatility(*asset, volatility);
        std::ignore = surface(*asset);
        EXPECT_TRUE(forward_curve(*asset).get_dependencies());
        information.add_underlying(*asset);
        return asset;
    }

    /// `count` shares with random spots and volatilities.
    void add_shares(std::size_t count) {
        std::uniform_real_distribution<double> uniform(0.0, 1.0);
        for (std::size_t i = 0; i < count; ++i)
            add(share("S" + std::to_string(i)), 50.0 + 100.0 * uniform(random),
                0.1 + 0.4 * uniform(random));
    }

    /// Correlations of random unit vectors, for all pairs so far.
    void correlate() {
        auto const& assets = information.lists.equity_like_underlyings;
        std::normal_distribution<double> normal;
        std::vector<Values> vectors(assets.size(), Values(assets.size() + 4));
        for (auto& vector : vectors) {
            double norm = 0.0;
            for (double& entry : vector) {
                entry = normal(random);
                norm += entry * entry;
            }
            for (double& entry : vector) entry /= std::sqrt(norm);
        }
        for (std::size_t i = 0; i < assets.size(); ++i)
            for (std::size_t j = 0; j < assets.size(); ++j) {
                double product = 0.0;
                for (std::size_t k = 0; k < vectors[i].size(); ++k)
                    product += vectors[i][k] * vectors[j][k];
                set_correlation(*assets[i], *assets[j], product);
            }
    }

    void add_fixings() {
        for (auto const& date : {half_year, one_year, two_years}) information.add_fixing(date);
    }

    void set(MCHelper& helper) {
        helper.set(today, Toolbox::DayCounter(), information.lists, nullptr);
        helper.switch_to_central();
    }
    bool acalibrate(MCHelper& helper, Tape& tape, SweepType sweep) {
        return helper.acalibrate_internal(tape, sweep, today, information.lists);
    }

    FixingGrid::Cell& cell(MCHelper& helper, std::uint64_t fixing, std::uint64_t underlying) {
        return helper.get_fixing_grid().get_column(underlying)[fixing];
    }
    /// Weight of a cell in the objective.
    static double weight(std::uint64_t fixing, std::uint64_t underlying) {
        return std::cos(1.0 + static_cast<double>(3 * fixing + 7 * underlying));
    }

    /// S + S^2 / 1000 with S the weighted sum of the opened cells of one side.
    double objective(MCHelper& helper, bool antithetic) {
        double const sum = weighted_sum(helper, antithetic);
        return sum + sum * sum / 1000.0;
    }
    double weighted_sum(MCHelper& helper, bool antithetic) {
        double sum = 0.0;
        each_cell(helper,
                  [&](FixingGrid::Cell& at, double w) { sum += w * at.get_value(antithetic); });
        return sum;
    }
    /// Leaves the derivative of `scale` times the objective in the adjoints of that side.
    void seed(MCHelper& helper, bool antithetic, double scale) {
        double const slope = scale * (1.0 + weighted_sum(helper, antithetic) / 500.0);
        each_cell(helper,
                  [&](FixingGrid::Cell& at, double w) { at.get_adjoint(antithetic) += slope * w; });
    }
    void each_cell(MCHelper& helper, auto&& visit) {
        for (std::uint64_t u = 0; u < helper.c_get_nb_underlyings(); ++u)
            for (std::uint64_t k = 0; k < helper.c_get_nb_fixing_dates(); ++k)
                if (cell(helper, k, u).opened) visit(cell(helper, k, u), weight(k, u));
    }

    /// The sum of the objective over [first, last) and both sides, by plain paths under the
    /// scenario in force.
    double plain_value(MCHelper& helper) {
        helper.switch_to_central();
        EXPECT_TRUE(helper.calibrate(today, *currency("EUR"), information.lists));
        double sum = 0.0;
        for (std::uint64_t trial = 0; trial < c_trials; ++trial) {
            helper.diffuse(trial);
            sum += (1.0 - factor) * objective(helper, false);
            if (factor == 0.0) continue;
            helper.apply_antithetic(trial);
            helper.diffuse(trial);
            helper.apply_antithetic(trial);
            sum += factor * objective(helper, false);
        }
        return sum;
    }

    /// Both sweeps of the trials [first, last); the tape is empty in the end.
    double sweep_paths(MCHelper& helper, std::uint64_t first = 0, std::uint64_t last = c_trials) {
        Tape tape;
        double sum = 0.0;
        for (std::uint64_t trial = first; trial < last; ++trial) {
            helper.get_fixing_grid().reset();
            helper.adiffuse(tape, SweepType::FORWARD, false, trial);
            sum += (1.0 - factor) * objective(helper, false);
            if (factor != 0.0) {
                helper.apply_antithetic(trial);
                helper.adiffuse(tape, SweepType::FORWARD, true, trial);
                sum += factor * objective(helper, true);
                seed(helper, true, factor);
                helper.adiffuse(tape, SweepType::BACKWARD, true, trial);
                helper.apply_antithetic(trial);
            }
            seed(helper, false, 1.0 - factor);
            helper.adiffuse(tape, SweepType::BACKWARD, false, trial);
        }
        EXPECT_TRUE(tape.c_is_empty());
        return sum;
    }

    /// All sweeps of a run; gives the objective.
    double sweep_all(MCHelper& helper) {
        Tape tape;
        EXPECT_TRUE(acalibrate(helper, tape, SweepType::FORWARD));
        double const value = sweep_paths(helper);
        EXPECT_TRUE(acalibrate(helper, tape, SweepType::BACKWARD));
        EXPECT_TRUE(tape.c_is_empty());
        return value;
    }

    /// Derivative of the plain value by a relative spot move, a volatility, a correlation.
    double bumped(MCHelper& helper, auto&& push_move) {
        return ximTest::derivative(
            [&](double move) {
                push_move(move);
                double const value = plain_value(helper);
                pop();
                return value;
            },
            0.0, 2e-3);
    }
    double spot_derivative(MCHelper& helper, std::size_t i) {
        return bumped(helper, [&](double move) {
            push<Data::MarketDataSpotPerturbationItem>(Shift::Kind::hybrid, Shift::Unit::none, move,
                                                       asset(i));
        });
    }
    double volatility_derivative(MCHelper& helper, std::size_t i) {
        return bumped(helper, [&](double move) {
            push<Data::MarketDataVolatilityPerturbationItem>(Shift::Kind::additive,
                                                             Shift::Unit::none, move, asset(i));
        });
    }
    double correlation_derivative(MCHelper& helper, std::size_t i, std::size_t j) {
        return bumped(helper, [&](double move) {
            push<Data::MarketDataCorrelationPerturbationItem>(
                Shift::Kind::additive, Shift::Unit::none, move, asset(i), asset(j));
        });
    }
    Data::Underlying const* asset(std::size_t i) const {
        return information.lists.equity_like_underlyings.at(i);
    }

    Pricing::Results::Rows deltas(MCHelper const& helper) const {
        Pricing::Results::Rows rows(helper.c_get_nb_underlyings());
        helper.c_accumulate_delta(rows);
        return rows;
    }
    Pricing::Results::Rows vegas(MCHelper const& helper) const {
        Pricing::Results::Rows rows(helper.c_get_nb_underlyings());
        helper.c_accumulate_vega(rows);
        return rows;
    }
    Pricing::Results::Pairs cegas(MCHelper const& helper) const {
        Pricing::Results::Pairs cells(helper.c_get_nb_underlyings());
        helper.c_accumulate_cega(cells);
        return cells;
    }

    void expect_derivative(Pricing::MCResult const& actual, double expected, double value) const {
        EXPECT_EQ(actual.count, 1U);
        EXPECT_NEAR(actual.sum, expected, 1e-8 * std::abs(expected) + 1e-9 * std::abs(value));
    }

    static constexpr std::uint64_t c_trials = 5;
    HandMadeInformation information;
    std::mt19937 random{61};
    double factor{0.0};  ///< weight of the mirrored path
};

}  // namespace ximCORE::Modeling
