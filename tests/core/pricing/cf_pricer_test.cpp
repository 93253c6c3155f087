#include "core/pricing/cf_pricer.hpp"

#include <cmath>
#include <functional>
#include <initializer_list>

#include "core/data/scenario.hpp"
#include "core/pricing/contract_ladder.hpp"
#include "core/pricing/model_ladder.hpp"
#include "support/simulation_test.hpp"

namespace ximCORE::Pricing {
namespace {

using Contract::Contract;
using ximTest::IsNearRel;
using ximTest::LogsError;
using ximTest::LogsNothing;

/// Shares A, B and C, priced in closed form on grids of 41 levels.
class ClosedFormPricerTest : public SimulationTest {
 protected:
    ClosedFormPricerTest() : SimulationTest(3) {
        PricerOptions::s_options.method = PricingMethod::STATIC_REPLICATION;
        ICFPricer::s_options = {
            .moneyness_grid_size = 20, .grid_lower_bound = 0.4, .grid_upper_bound = 2.4};
    }
    ~ClosedFormPricerTest() override { ICFPricer::s_options = {}; }

    /// Calls on all shares after a year, of these strikes, and a forward on A.
    static int build(TreeBuilder& tree, Date const& date) {
        int const first = tree.pay(tree.call(tree.fixing("A", date), 105.0), date, "EUR");
        int const second = tree.pay(tree.call(tree.fixing("B", date), 70.0), date, "EUR");
        int const third = tree.pay(tree.call(tree.fixing("C", date), 120.0), date, "EUR");
        int const forward = tree.pay(tree.fixing("A", date), date, "EUR", -1);
        return tree.both(first, tree.both(second, tree.both(third, forward)));
    }
    std::unique_ptr<Contract> calls() {
        TreeBuilder tree;
        return contract(tree, build(tree, one_year));
    }
    /// The same contract, valued part by part while the market is moved by the test itself.
    double value(std::initializer_list<Move> moves) {
        for (auto const& move : moves) push_move(move);
        double sum = -1.0 * forward_value(0);
        double const strikes[] = {105.0, 70.0, 120.0};
        for (std::size_t i = 0; i < 3; ++i) {
            StaticReplication1D::Results results;
            EXPECT_TRUE(StaticReplication1D::compute_carr_madan_price(
                today, one_year, one_year, assets[i].get(),
                [&](double x) { return std::max(x - strikes[i], 0.0); }, results));
            sum += results.price;
        }
        for (std::size_t i = 0; i < moves.size(); ++i) pop();
        return sum;
    }
    double forward_value(std::size_t i) {
        double forward{};
        EXPECT_TRUE(forward_curve(*assets[i]).eval_absolute(one_year, forward));
        return forward * std::exp(-c_rate * years(one_year));
    }
    void push_move(Move const& move) {
        Data::Underlying const* const asset = assets[move.index].get();
        if (move.quantity == 's')
            push<Data::MarketDataSpotPerturbationItem>(
                Shift::Kind::hybrid, Shift::Unit::basis_point, move.sign * c_bump_bp, asset);
        else
            push<Data::MarketDataVolatilityPerturbationItem>(
                Shift::Kind::additive, Shift::Unit::basis_point, move.sign * c_bump_bp, asset);
    }
    void expect_near(MCResult const& actual, double expected) {
        EXPECT_EQ(actual.count, 1U);
        EXPECT_EQ(actual.standard_error, 0.0);
        EXPECT_EQ(actual.lower_bound, actual.mean);
        EXPECT_EQ(actual.upper_bound, actual.mean);
        // differences of second order magnify rounding by 1e4
        EXPECT_NEAR(actual.mean, expected, 1e-4 + 1e-9 * std::abs(expected));
    }
    /// What a difference of first order is: with d = -1 the down side, and so on.
    double first_order(char quantity, std::size_t i, std::int32_t direction) {
        double const up = value({{quantity, i, 1}});
        double const down = value({{quantity, i, -1}});
        double const central_value = value({});
        if (direction > 0) return (up - central_value) / c_bump;
        if (direction < 0) return (central_value - down) / c_bump;
        return 0.5 * (up - down) / c_bump;
    }
    double second_order(char quantity, std::size_t i) {
        return (value({{quantity, i, 1}}) + value({{quantity, i, -1}}) - 2.0 * value({})) / c_bump /
               c_bump;
    }
    double mixed(char first, std::size_t i, char second, std::size_t j) {
        auto const at = [&](int a, int b) { return value({{first, i, a}, {second, j, b}}); };
        return 0.25 * (at(1, 1) - at(-1, 1) - at(1, -1) + at(-1, -1)) / c_bump / c_bump;
    }
};

TEST_F(ClosedFormPricerTest, StaticReplicationIsTheClosedFormEngine) {
    EXPECT_NE(dynamic_cast<CFPricer*>(get_pricer().get()), nullptr);
}

TEST_F(ClosedFormPricerTest, ThePriceIsOneObservationWithoutError) {
    auto const priced = calls();
    auto const pricer = run(*priced, Modeling::ModelName::free);
    expect_near(pricer->c_get_results().price, value({}));
    ASSERT_EQ(pricer->c_get_results().results.size(), 1U);
    EXPECT_EQ(pricer->c_get_results().results.front().name, "PRICE");
}

TEST_F(ClosedFormPricerTest, NoModelIsNeeded) {
    auto const priced = calls();
    CFPricer pricer;
    EXPECT_TRUE(pricer.run(*priced, nullptr));
    EXPECT_NEAR(pricer.c_get_results().price.mean, value({}), 1e-9);
}

TEST_F(ClosedFormPricerTest, SensitivitiesAreDifferencesOfPricesUnderMoves) {
    for (std::int32_t const direction : {-1, 0, 1}) {
        SCOPED_TRACE(direction);
        activate_all(direction, direction, direction);
        auto const priced = calls();
        auto const pricer = run(*priced, Modeling::ModelName::free);
        auto const& results = pricer->c_get_results();
        for (std::size_t i = 0; i < 3; ++i) {
            SCOPED_TRACE(i);
            expect_near(results.delta.get(i).result, first_order('s', i, direction));
            expect_near(results.vega.get(i).result, first_order('v', i, direction));
            expect_near(results.gamma.get(i).result, second_order('s', i));
            expect_near(results.volga.get(i).result, second_order('v', i));
            expect_near(results.vanna.get(i).result, mixed('s', i, 'v', i));
            for (std::size_t j = 0; j < i; ++j) {
                expect_near(results.xvolga.get(i, j).result, mixed('v', i, 'v', j));
                expect_near(results.xvanna.get(i, j).result, mixed('s', i, 'v', j));
            }
        }
    }
}

TEST_F(ClosedFormPricerTest, TheReferenceTermOfADownVegaReadsTheDirectionOfDelta) {
    auto const vega = [this](std::int32_t delta, std::int32_t direction) {
        activate_all(delta, direction, 0);
        auto const priced = calls();
        return run(*priced, Modeling::ModelName::free)->c_get_results().vega.get(0).result.mean;
    };
    double const down = value({{'v', 0, -1}});
    EXPECT_THAT(vega(0, -1), IsNearRel(-down / c_bump, 1e-9));
    EXPECT_NEAR(vega(1, -1), (value({}) - down) / c_bump, 1e-6);
    EXPECT_NEAR(vega(-1, -1), (value({}) - down) / c_bump, 1e-6);
    double const two_sided = 0.5 * (value({{'v', 0, 1}}) - down) / c_bump;
    EXPECT_NEAR(vega(1, 0), two_sided, 1e-6);  // the reference is 0 times the price
}

TEST_F(ClosedFormPricerTest, WithDirectionMinus1TheDeltaRowHoldsPriceLessDownScaled) {
    PricerOptions::s_options.greeks.delta = {};
    PricerOptions::s_options.greeks.delta.activate = true;
    PricerOptions::s_options.greeks.delta.direction = -1;
    PricerOptions::s_options.greeks.delta.bump = 100.0;
    auto const priced = calls();
    auto const pricer = run(*priced, Modeling::ModelName::free);
    EXPECT_NEAR(pricer->c_get_results().delta.get(1).result.mean,
                (value({}) - value({{'s', 1, -1}})) * 10000.0 / 100.0, 1e-6);
}

TEST_F(ClosedFormPricerTest, TheCrossGammaIsTheDifferenceOfFourEqualPrices) {
    activate_all(0, 0, 0);
    auto const priced = calls();
    auto const pricer = run(*priced, Modeling::ModelName::free);
    for (auto const& cell : pricer->c_get_results().xgamma) {
        EXPECT_EQ(cell.result.mean, 0.0);
        EXPECT_EQ(cell.result.count, 1U);
    }
}

TEST_F(ClosedFormPricerTest, NoClosedFormDependsOnACorrelation) {
    activate_all(0, 0, 0);
    PricerOptions::s_options.greeks.rho.activate = true;
    auto const priced = calls();
    auto const pricer = run(*priced, Modeling::ModelName::free);
    for (auto const& cell : pricer->c_get_results().cega) EXPECT_EQ(cell.result.count, 0U);
    for (auto const& row : pricer->c_get_results().rho) EXPECT_EQ(row.result.count, 0U);
}

TEST_F(ClosedFormPricerTest, TheReportHasTheRowsOfAllEngines) {
    activate_all(0, 0, 0);
    auto const priced = calls();
    auto const pricer = run(*priced, Modeling::ModelName::free);
    EXPECT_EQ(pricer->c_get_results().results.size(), 1U + 5U * 3U + 4U * 3U);
    EXPECT_EQ(pricer->c_get_results().results.back().name, "XVANNA@C#B");
}

TEST_F(ClosedFormPricerTest, AForwardHasItsOwnValueAsDeltaAndNothingElse) {
    activate_all(0, 0, 0);
    TreeBuilder tree;
    auto const priced = contract(
        tree, tree.pay(tree.right(TreeBuilder::mul_number, tree.fixing("A", one_year), 3.0),
                       one_year, "EUR"));
    auto const pricer = run(*priced, Modeling::ModelName::free);
    EXPECT_NEAR(pricer->c_get_results().price.mean, 300.0, 1e-9);
    EXPECT_NEAR(pricer->c_get_results().delta.get(0).result.mean, 300.0, 1e-8);
    EXPECT_NEAR(pricer->c_get_results().gamma.get(0).result.mean, 0.0, 1e-6);
    EXPECT_EQ(pricer->c_get_results().vega.get(0).result.mean, 0.0);
}

/// A fine grid against the textbook: the strike is a level of the central grid only, and beside it
/// the chord is too dear, so that the bumps are large against the step.
TEST_F(ClosedFormPricerTest, SensitivitiesOfACallAgreeWithTheFormula) {
    activate_all(0, 0, 0);
    ICFPricer::s_options = {
        .moneyness_grid_size = 100, .grid_lower_bound = 0.4, .grid_upper_bound = 2.0};
    TreeBuilder tree;
    auto const priced =
        contract(tree, tree.pay(tree.call(tree.fixing("A", one_year), 110.0), one_year, "EUR"));
    auto const pricer = run(*priced, Modeling::ModelName::free);
    double const s = 0.2;  // of a surface without quotes
    double const d1 = (std::log(100.0 / 110.0) + 0.03 + 0.5 * s * s) / s;
    auto const cdf = [](double x) { return 0.5 * std::erfc(-x / std::sqrt(2.0)); };
    auto const& results = pricer->c_get_results();
    double const density = std::exp(-0.5 * d1 * d1) / std::sqrt(2.0 * M_PI);
    double const price = 100.0 * cdf(d1) - 110.0 * std::exp(-0.03) * cdf(d1 - s);
    EXPECT_NEAR(results.price.mean, price, 0.02);
    EXPECT_NEAR(results.delta.get(0).result.mean, 100.0 * cdf(d1), 0.5);
    EXPECT_NEAR(results.vega.get(0).result.mean, 100.0 * density, 0.5);
}

// Failures

TEST_F(ClosedFormPricerTest, AnIneligibleContractEndsBeforeAnySensitivity) {
    activate_all(0, 0, 0);
    TreeBuilder tree;
    int const product =
        tree.binary(TreeBuilder::mul, tree.fixing("A", one_year), tree.fixing("B", one_year));
    auto const priced = contract(tree, tree.pay(product, one_year, "EUR"));
    CFPricer pricer;
    bool success = true;
    EXPECT_THAT([&] { success = pricer.run(*priced, nullptr); },
                LogsError("Contract non eligible to static replication method"
                          "Because of a forward payment that contains multiple fixings"));
    EXPECT_FALSE(success);
    EXPECT_EQ(pricer.c_get_results().price.count, 0U);
}

/// The payoff is finite on the central grid, and at one level not under the first bump.
TEST_F(ClosedFormPricerTest, AFailureLeavesThePerturbationsOnTheScenario) {
    activate_all(0, 0, 0);
    double const highest = 2.4 * 100.0 * std::exp(c_rate * years(one_year));
    TreeBuilder tree;
    int const rest =
        tree.amount_of(19, std::to_string(1.005 * highest) + "," +
                               std::to_string(tree.fixing("A", one_year)));  // number - A
    auto const priced =
        contract(tree, tree.pay(tree.amount_of(11, std::to_string(rest)), one_year, "EUR"));
    CFPricer pricer;
    double before{};
    double after{};
    ASSERT_TRUE(assets[0]->eval(today, before, Data::Level::error));
    EXPECT_FALSE(pricer.run(*priced, nullptr));
    EXPECT_EQ(errors().size(), 1U);
    ASSERT_TRUE(assets[0]->eval(today, after, Data::Level::error));
    EXPECT_NEAR(after / before, 1.0 + c_bump, 1e-12);
    EXPECT_EQ(pricer.c_get_results().price.count, 1U);
}

TEST_F(ClosedFormPricerTest, ASuccessLeavesTheScenarioAsItWas) {
    activate_all(0, 0, 0);
    double const before = value({});
    auto const priced = calls();
    std::ignore = run(*priced, Modeling::ModelName::free);
    EXPECT_EQ(value({}), before);
}

// Ladders

TEST_F(ClosedFormPricerTest, AContractLadderPricesEachStrike) {
    TreeBuilder tree;
    int const strike = tree.constant("K", 100.0);
    int const gain = tree.binary(TreeBuilder::sub, tree.fixing("A", one_year), strike);
    auto const priced =
        contract(tree, tree.pay(tree.right(TreeBuilder::max_number, gain, 0.0), one_year, "EUR"));
    ContractLadder ladder;
    auto& points = ladder.get_results();
    for (double const value : {90.0, 100.0, 110.0})
        points.emplace_back().shifts.try_emplace(
            "K", Shift{.kind = Shift::Kind::assignment, .unit = Shift::Unit::none, .value = value});
    auto const model = Modeling::get_model(today, Modeling::ModelName::free);
    ASSERT_TRUE(ladder.run(*priced, model.get()));
    for (std::size_t i = 0; i < 3; ++i) {
        double const strike_level = 90.0 + 10.0 * static_cast<double>(i);
        StaticReplication1D::Results results;
        ASSERT_TRUE(StaticReplication1D::compute_carr_madan_price(
            today, one_year, one_year, assets[0].get(),
            [&](double x) { return std::max(x - strike_level, 0.0); }, results));
        EXPECT_EQ(ladder.c_get_results()[i].results.price.mean, results.price);
    }
}

TEST_F(ClosedFormPricerTest, AModelLadderPricesUnderEachMarket) {
    auto const priced = calls();
    ModelLadder ladder;
    auto& points = ladder.get_results();
    for (double const bump : {-c_bump_bp, 0.0, c_bump_bp})
        points.emplace_back().items.push_back(Data::MarketDataPerturbationItem(
            std::make_shared<Data::MarketDataSpotPerturbationItem const>(assets[0].get()),
            Shift::Kind::hybrid, Shift::Unit::basis_point, bump));
    auto const model = Modeling::get_model(today, Modeling::ModelName::free);
    ASSERT_TRUE(ladder.run(*priced, model.get()));
    EXPECT_NEAR(points[0].results.price.mean, value({{'s', 0, -1}}), 1e-9);
    EXPECT_NEAR(points[1].results.price.mean, value({}), 1e-9);
    EXPECT_NEAR(points[2].results.price.mean, value({{'s', 0, 1}}), 1e-9);
}

}  // namespace
}  // namespace ximCORE::Pricing
