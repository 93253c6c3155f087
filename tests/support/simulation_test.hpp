// A market of one or three shares with the same numbers for the simulation engine and for plain
// loops, and the sensitivities of those loops.

#pragma once

#include <algorithm>
#include <cmath>
#include <functional>
#include <initializer_list>
#include <string>
#include <vector>

#include "support/plain_simulation.hpp"
#include "support/pricing_test.hpp"

namespace ximCORE::Pricing {

using Testing::PlainSimulation;
using Testing::TreeBuilder;
using State = PlainSimulation::State;
using Values = std::vector<double>;

inline constexpr double c_bump_bp = 100.0;
inline constexpr double c_bump = 0.01;

inline Values operator-(Values left, Values const& right) {
    std::ranges::transform(left, right, left.begin(), std::minus());
    return left;
}
inline Values operator+(Values left, Values const& right) {
    std::ranges::transform(left, right, left.begin(), std::plus());
    return left;
}
inline Values operator*(double factor, Values values) {
    for (double& value : values) value *= factor;
    return values;
}

/// Switches every sensitivity on, with one bump for all.
inline void activate_all(std::int32_t delta_direction, std::int32_t vega_direction,
                         std::int32_t cega_direction) {
    auto& greeks = PricerOptions::s_options.greeks;
    auto const first_order = [](auto& record, std::int32_t direction) {
        record.activate = true;
        record.direction = direction;
        record.bump = c_bump_bp;
    };
    first_order(greeks.delta, delta_direction);
    first_order(greeks.vega, vega_direction);
    first_order(greeks.cega, cega_direction);
    for (auto* record : {&greeks.gamma, &greeks.volga, &greeks.xgamma, &greeks.xvolga}) {
        record->activate = true;
        record->bump = c_bump_bp;
    }
    for (auto* record : {&greeks.vanna, &greeks.xvanna}) {
        record->activate = true;
        record->spot_bump = c_bump_bp;
        record->vol_bump = c_bump_bp;
    }
}

/// A market of three shares, or of the first one, with the same numbers for the engine and for the
/// plain loops.
class SimulationTest : public PricingTest {
 protected:
    explicit SimulationTest(std::size_t count) : nb_shares(count) {
        add_currency("EUR");
        for (std::size_t i = 0; i < nb_shares; ++i)
            assets.push_back(add_share(names[i], spots[i], volatilities[i]));
        central.spots.assign(spots.begin(), spots.begin() + static_cast<long>(nb_shares));
        central.volatilities.assign(volatilities.begin(),
                                    volatilities.begin() + static_cast<long>(nb_shares));
        central.correlations.assign(nb_shares, Values(nb_shares, 1.0));
        for (std::size_t i = 1; i < nb_shares; ++i)
            for (std::size_t j = 0; j < i; ++j) {
                correlate(*assets[i], *assets[j], correlations[i][j]);
                central.correlations[i][j] = central.correlations[j][i] = correlations[i][j];
            }
        plain.growth = c_rate;
    }

    void draw() {
        auto const& options = MCPricerOptions::s_options;
        plain.antithetic = options.antithetic_factor;
        plain.draw(Modeling::MCHelper::s_seed, options.trials, nb_shares);
        central_values = plain.values(central);
        level = std::abs(Testing::mean(central_values));
    }

    /// The value of each trial with some quantities of the market moved by the bump.
    struct Move {
        char quantity;  // 's'pot, 'v'olatility
        std::size_t index;
        int sign;
    };
    Values bumped(std::initializer_list<Move> moves) const {
        State state = central;
        for (auto const& [quantity, index, sign] : moves) {
            if (quantity == 's') state.spots[index] *= 1.0 + sign * c_bump;
            if (quantity == 'v') state.volatilities[index] += sign * c_bump;
        }
        return plain.values(state);
    }
    Values bumped_correlation(std::size_t i, std::size_t j, int sign) const {
        State state = central;
        state.correlations[i][j] += sign * c_bump;
        state.correlations[j][i] += sign * c_bump;
        return plain.values(state);
    }

    /// The one or two-sided difference of first order, per unit of the quantity.
    Values first_order(Values const& up, Values const& down, std::int32_t direction) const {
        if (direction > 0) return (1.0 / c_bump) * (up - central_values);
        if (direction < 0) return (1.0 / c_bump) * (central_values - down);
        return (0.5 / c_bump) * (up - down);
    }
    Values second_order(Values const& up, Values const& down) const {
        return (1.0 / c_bump / c_bump) * (up + down - 2.0 * central_values);
    }
    Values mixed(char first, std::size_t i, char second, std::size_t j) const {
        auto const at = [&](int a, int b) { return bumped({{first, i, a}, {second, j, b}}); };
        return (0.25 / c_bump / c_bump) * (at(1, 1) - at(-1, 1) - at(1, -1) + at(-1, -1));
    }

    /// `order`: how often the difference was divided by the bump, which magnifies rounding.
    void expect_statistic(MCResult const& actual, Values const& expected, int order) const {
        double const rounding = 1e-12 * level / std::pow(c_bump, order);
        EXPECT_EQ(actual.count, expected.size());
        EXPECT_NEAR(actual.mean, Testing::mean(expected), rounding);
        double const error = Testing::standard_error(expected);
        EXPECT_NEAR(actual.standard_error, error, 1e-7 * error + rounding);
        EXPECT_NEAR(actual.upper_bound - actual.mean, 2.2414 * actual.standard_error,
                    5e-4 * actual.standard_error);
        EXPECT_NEAR(actual.mean - actual.lower_bound, actual.upper_bound - actual.mean,
                    1e-9 * level + rounding);
    }

    void expect_rows(Results const& results, std::int32_t delta_direction,
                     std::int32_t vega_direction) const {
        for (std::size_t i = 0; i < nb_shares; ++i) {
            SCOPED_TRACE("row " + std::to_string(i));
            auto const spot = [&](int sign) { return bumped({{'s', i, sign}}); };
            auto const volatility = [&](int sign) { return bumped({{'v', i, sign}}); };
            expect_statistic(results.delta.get(i).result,
                             first_order(spot(1), spot(-1), delta_direction), 1);
            expect_statistic(results.gamma.get(i).result, second_order(spot(1), spot(-1)), 2);
            expect_statistic(results.vega.get(i).result,
                             first_order(volatility(1), volatility(-1), vega_direction), 1);
            expect_statistic(results.volga.get(i).result,
                             second_order(volatility(1), volatility(-1)), 2);
            expect_statistic(results.vanna.get(i).result, mixed('s', i, 'v', i), 2);
        }
    }

    void expect_pairs(Results const& results, std::int32_t cega_direction) const {
        for (std::size_t i = 1; i < nb_shares; ++i)
            for (std::size_t j = 0; j < i; ++j) {
                SCOPED_TRACE("pair " + std::to_string(i) + ", " + std::to_string(j));
                expect_statistic(results.cega.get(i, j).result,
                                 first_order(bumped_correlation(i, j, 1),
                                             bumped_correlation(i, j, -1), cega_direction),
                                 1);
                expect_statistic(results.xgamma.get(i, j).result, mixed('s', i, 's', j), 2);
                expect_statistic(results.xvolga.get(i, j).result, mixed('v', i, 'v', j), 2);
                double const last = mixed('s', i, 'v', j).back();
                EXPECT_EQ(results.xvanna.get(i, j).result.count, 1U);
                EXPECT_NEAR(results.xvanna.get(i, j).result.mean, last,
                            1e-12 * level / c_bump / c_bump);
            }
    }

    std::vector<std::string> const names{"A", "B", "C"};
    Values const spots{100.0, 80.0, 120.0};
    Values const volatilities{0.25, 0.375, 0.5};
    std::vector<Values> const correlations{{}, {0.5}, {0.25, -0.125}};
    std::size_t nb_shares;
    std::vector<std::shared_ptr<Data::Underlying>> assets;
    State central;
    PlainSimulation plain;
    Values central_values;
    double level{0.0};
};

class OneShareTest : public SimulationTest {
 protected:
    OneShareTest() : SimulationTest(1) {
        plain.times = {years(one_year)};
        plain.payoff = [this](auto const& paths) {
            return std::exp(-c_rate * years(one_year)) * std::max(paths[0][0] - 105.0, 0.0);
        };
    }

    /// A call with its payment on the fixing date.
    std::unique_ptr<Contract::Contract> european_call() {
        TreeBuilder tree;
        return contract(tree,
                        tree.pay(tree.call(tree.fixing("A", one_year), 105.0), one_year, "EUR"));
    }
};

/// Two payments, on a sum and on the lesser of a product and a third share; the last one is paid
/// later than it is fixed.
class ThreeShareTest : public SimulationTest {
 protected:
    ThreeShareTest() : SimulationTest(3) {
        plain.times = {years(half_year), years(one_year), years(two_years), years(settlement)};
        plain.payoff = [this](auto const& paths) {
            double const first = std::max(paths[0][0] + paths[1][1] - 170.0, 0.0);
            double const second = std::min(paths[0][2] * paths[1][2] / 100.0, paths[2][2]);
            return std::exp(-c_rate * years(one_year)) * first +
                   std::exp(-c_rate * years(settlement)) * second;
        };
    }

    std::unique_ptr<Contract::Contract> basket() {
        TreeBuilder tree;
        int const sum =
            tree.binary(TreeBuilder::add, tree.fixing("A", half_year), tree.fixing("B", one_year));
        int const product =
            tree.binary(TreeBuilder::mul, tree.fixing("A", two_years), tree.fixing("B", two_years));
        int const least =
            tree.binary(TreeBuilder::min, tree.right(TreeBuilder::div_number, product, 100.0),
                        tree.fixing("C", two_years));
        return contract(tree, tree.both(tree.pay(tree.call(sum, 170.0), one_year, "EUR"),
                                        tree.pay(least, settlement, "EUR")));
    }

    Date const settlement{2025, 1, 6};
};

}  // namespace ximCORE::Pricing
