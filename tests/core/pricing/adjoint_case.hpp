// Markets of one to five shares without rates, contracts on them, and the sensitivities of first
// order by bump and revaluation on the same normals, as the bump goes to zero.

#pragma once

#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

#include "core/pricing/mcaad_pricer.hpp"
#include "support/pricing_test.hpp"

namespace ximCORE::Pricing {

using Testing::TreeBuilder;

/// The mean price and its derivatives: of relative spot moves, of volatilities, of correlations
/// (pairs i > j, by i, then j).
struct FirstOrder {
    double price;
    std::vector<double> delta;
    std::vector<double> vega;
    std::vector<double> cega;
};

inline FirstOrder first_order_of(Results const& results) {
    FirstOrder read{results.price.mean, {}, {}, {}};
    for (auto const& row : results.delta) read.delta.push_back(row.result.mean);
    for (auto const& row : results.vega) read.vega.push_back(row.result.mean);
    for (auto const& cell : results.cega) read.cega.push_back(cell.result.mean);
    return read;
}

/// One list of each next to each other.
inline FirstOrder combine(FirstOrder left, double a, FirstOrder const& right, double b) {
    auto const add = [=](std::vector<double>& x, std::vector<double> const& y) {
        for (std::size_t i = 0; i < x.size(); ++i) x[i] = a * x[i] + b * y[i];
    };
    left.price = a * left.price + b * right.price;
    add(left.delta, right.delta);
    add(left.vega, right.vega);
    add(left.cega, right.cega);
    return left;
}

class AdjointTest : public PricingTest {
 protected:
    // amounts of one amount
    enum Unary { cosine = 7, exponential, logarithm, sine, square_root };

    /// A currency without rates.
    void add_flat_currency(std::string const& ticker) {
        std::ignore = yield_curve(*currency(ticker));
    }

    /// `count` of the shares A to E, in EUR.
    void add_shares(std::size_t count) {
        nb_shares = count;
        for (std::size_t i = 0; i < count; ++i) {
            assets.push_back(add_share(names[i], spots[i], volatilities[i]));
            for (std::size_t j = 0; j < i; ++j)
                correlate(*assets[i], *assets[j], loadings[i] * loadings[j]);
        }
    }

    static void activate_first_order(double bump_bp) {
        auto& greeks = PricerOptions::s_options.greeks;
        for (auto* record : {&greeks.delta, &greeks.vega, &greeks.cega}) {
            record->activate = true;
            record->bump = bump_bp;
        }
    }

    using ModelName = Modeling::ModelName;
    using Engine = MCOptions::Engine;

    /// Sweeps of the tree, path by path, where a test does not say otherwise.
    AdjointTest() { chosen_engine = Engine::reference; }

    FirstOrder by_adjoints(Contract::Contract& priced, ModelName name = ModelName::black_scholes) {
        activate_first_order(1.0);
        MCPricerOptions::s_options.engine = chosen_engine;
        PricerOptions::s_options.method = PricingMethod::AUTOMATIC_ADJOINT_DIFFERENTIATION;
        return first_order_of(run(priced, name)->c_get_results());
    }

    /// Two-sided differences of bumps h and h / 2, combined so that the error of order h^2 cancels.
    FirstOrder by_bumps(Contract::Contract& priced, double bump_bp,
                        ModelName name = ModelName::black_scholes) {
        PricerOptions::s_options.method = PricingMethod::MONTE_CARLO;
        // path by path, as the adjoint simulation: a difference of small bumps sees the last digits
        MCPricerOptions::s_options.engine = Engine::reference;
        activate_first_order(bump_bp);
        auto const coarse = first_order_of(run(priced, name)->c_get_results());
        activate_first_order(0.5 * bump_bp);
        auto const fine = first_order_of(run(priced, name)->c_get_results());
        return combine(fine, 4.0 / 3.0, coarse, -1.0 / 3.0);
    }

    /// To 1e-6 of each number; a number that is small beside the price, to 1e-9 of the price.
    static void expect_equal(FirstOrder const& actual, FirstOrder const& expected) {
        double const scale = std::abs(expected.price);
        EXPECT_NEAR(actual.price, expected.price, 1e-12 * scale);
        auto const compare = [&](char const* what, std::vector<double> const& x,
                                 std::vector<double> const& y) {
            ASSERT_EQ(x.size(), y.size()) << what;
            for (std::size_t i = 0; i < x.size(); ++i)
                EXPECT_NEAR(x[i], y[i], 1e-6 * std::abs(y[i]) + 1e-9 * scale) << what << ' ' << i;
        };
        compare("delta", actual.delta, expected.delta);
        compare("vega", actual.vega, expected.vega);
        compare("cega", actual.cega, expected.cega);
    }

    static std::string join(auto const&... fields) {
        std::ostringstream text;
        char const* separator = "";
        ((text << separator << fields, separator = ","), ...);
        return text.str();
    }

    int unary(TreeBuilder& tree, Unary function, int amount) const {
        return tree.amount_of(function, join(amount));
    }
    /// The share over its spot today.
    int performance(TreeBuilder& tree, std::size_t share, Date const& date) const {
        return tree.right(TreeBuilder::div_number, tree.fixing(names[share], date), spots[share]);
    }
    /// `op` over the performances of all shares.
    int fold(TreeBuilder& tree, TreeBuilder::Binary op, Date const& date) const {
        int folded = performance(tree, 0, date);
        for (std::size_t share = 1; share < nb_shares; ++share)
            folded = tree.binary(op, folded, performance(tree, share, date));
        return folded;
    }

    /// Two payments without a kink, on two and three dates.
    std::unique_ptr<Contract::Contract> smooth_contract() {
        TreeBuilder tree;
        using enum TreeBuilder::Binary;
        int const early = unary(tree, square_root, fold(tree, add, half_year));
        int const product = fold(tree, mul, one_year);
        int const first = tree.binary(
            mul, unary(tree, exponential, tree.right(TreeBuilder::mul_number, product, 0.25)),
            early);
        int const ratio = tree.binary(div, fold(tree, add, two_years), fold(tree, add, one_year));
        int const second = tree.binary(
            sub, tree.right(TreeBuilder::pow_number, ratio, 1.5),
            unary(tree, logarithm,
                  tree.right(TreeBuilder::add_number, unary(tree, cosine, product), 3.0)));
        return contract(tree, tree.both(tree.pay(first, one_year, "EUR"),
                                        tree.pay(second, two_years, "EUR", -1)));
    }

    /// A call on the worst share; a kink at the strike and where two shares change places.
    std::unique_ptr<Contract::Contract> worst_of_call() {
        TreeBuilder tree;
        return contract(tree, tree.pay(tree.call(fold(tree, TreeBuilder::min, one_year), 0.9),
                                       one_year, "EUR"));
    }

    /// On the worst share above 90 % with a ramp of 20 % on both sides: the average, else half of
    /// it and a later payment, nested in a condition on the first share with ramps of its own.
    std::unique_ptr<Contract::Contract> smoothed_contract() {
        TreeBuilder tree;
        int const average =
            tree.right(TreeBuilder::div_number, fold(tree, TreeBuilder::add, one_year),
                       static_cast<double>(nb_shares));
        int const half = tree.right(TreeBuilder::mul_number, average, 0.5);
        int const otherwise =
            tree.both(tree.pay(half, one_year, "EUR"),
                      tree.pay(fold(tree, TreeBuilder::mul, two_years), two_years, "EUR"));
        int const inner = tree.condition(
            tree.compare(TreeBuilder::greater, fold(tree, TreeBuilder::min, one_year), 0.9),
            tree.pay(average, one_year, "EUR"), otherwise, 0.2, 0.2);
        int const outer = tree.condition(
            tree.compare(TreeBuilder::lower, performance(tree, 0, half_year), 1.1), inner,
            tree.pay(performance(tree, 0, one_year), one_year, "EUR"), 0.1, 0.15);
        return contract(tree, outer);
    }

    std::vector<std::string> const names{"A", "B", "C", "D", "E"};
    std::vector<double> const spots{100.0, 80.0, 120.0, 50.0, 200.0};
    std::vector<double> const volatilities{0.25, 0.375, 0.5, 0.125, 0.3125};
    /// Correlations are products of two.
    std::vector<double> const loadings{0.75, 0.5, -0.25, 0.625, 0.875};
    std::size_t nb_shares{0};
    std::vector<std::shared_ptr<Data::Underlying>> assets;
};

}  // namespace ximCORE::Pricing
