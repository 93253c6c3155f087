#include <algorithm>
#include <cmath>

#include "support/simulation_test.hpp"

namespace ximCORE::Pricing {
namespace {

using Modeling::ModelName;
using ximTest::IsNearRel;

/// The term structure model on the flat 20 % of the surfaces.
class TermStructureTest : public ThreeShareTest {
 protected:
    TermStructureTest() { central.volatilities.assign(3, 0.2); }
};

class TermStructurePricer : public OnEachEngine<TermStructureTest> {};
INSTANTIATE_TEST_SUITE_P(Engines, TermStructurePricer, each_engine, engine_name);

TEST_P(TermStructurePricer, PriceAndGreeksAreThoseOfPlainLoops) {
    auto const priced = basket();
    MCPricerOptions::s_options = {.trials = 100, .antithetic_factor = 0.5};
    activate_all(0, 0, 0);
    draw();
    auto const pricer = run(*priced, ModelName::black_scholes_term_structure);
    EXPECT_THAT(pricer->c_get_results().price.mean,
                IsNearRel(Testing::mean(central_values), 1e-11));
    expect_rows(pricer->c_get_results(), 0, 0);
    expect_pairs(pricer->c_get_results(), 0);
}

/// A share in USD under a contract in EUR: quanto where it is paid in EUR, converted where it is
/// paid in USD.
class QuantoTest : public PricingTest {
 protected:
    QuantoTest() {
        add_currency("EUR");
        add_currency("USD");
        add_share("Q", 100.0, 0.25, "USD");
        rate = exchange_rate("USDEUR", "USD", "EUR");
        add_market(*rate, 0.875, 0.125);
        correlate(*share("Q", "USD"), *rate, 0.5);
        plain.growth = 0.0;
        plain.times = {years(one_year)};
        plain.quanto_rates = {1, -1};
    }

    std::vector<double> plain_values(PlainSimulation::Payoff payoff) {
        plain.payoff = std::move(payoff);
        plain.draw(Modeling::MCHelper::s_seed, MCPricerOptions::s_options.trials, 2);
        // the share grows with the rate of its currency; the exchange rate has the same rate on
        // both sides
        return plain.values(
            {{100.0 * std::exp(c_rate), 0.875}, {0.25, 0.125}, {{1.0, 0.5}, {0.5, 1.0}}});
    }

    std::shared_ptr<Data::Underlying> rate;
    PlainSimulation plain;
};

class QuantoPricer : public OnEachEngine<QuantoTest> {};
INSTANTIATE_TEST_SUITE_P(Engines, QuantoPricer, each_engine, engine_name);

TEST_P(QuantoPricer, AQuantoCallIsThatOfPlainLoops) {
    TreeBuilder tree;
    auto const priced =
        contract(tree, tree.pay(tree.call(tree.fixing("Q", one_year), 105.0), one_year, "EUR"));
    auto const expected = plain_values(
        [](auto const& paths) { return std::exp(-c_rate) * std::max(paths[0][0] - 105.0, 0.0); });
    EXPECT_THAT(run(*priced)->c_get_results().price.mean,
                IsNearRel(Testing::mean(expected), 1e-12));
}

TEST_P(QuantoPricer, APaymentInTheCurrencyOfTheShareIsConvertedOnThePath) {
    TreeBuilder tree;
    auto const priced =
        contract(tree, tree.pay(tree.call(tree.fixing("Q", one_year), 105.0), one_year, "USD"));
    auto const expected = plain_values([](auto const& paths) {
        return std::exp(-c_rate) * std::max(paths[0][0] - 105.0, 0.0) * paths[1][0];
    });
    EXPECT_THAT(run(*priced)->c_get_results().price.mean,
                IsNearRel(Testing::mean(expected), 1e-12));
}

}  // namespace
}  // namespace ximCORE::Pricing
