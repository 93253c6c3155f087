#include "core/pricing/contract_ladder.hpp"

#include <cmath>
#include <stdexcept>

#include "core/contract/cashflow.hpp"
#include "core/data/scenario.hpp"
#include "core/pricing/mc_payoff_ladder.hpp"
#include "support/pricing_test.hpp"

namespace ximCORE::Pricing {
namespace {

using Data::MarketDataShift;
using Kind = MarketDataShift::Kind;
using Unit = MarketDataShift::Unit;
using Shifts = std::map<std::string, MarketDataShift>;
using Testing::TreeBuilder;
using ximTest::IsNearRel;
using ximTest::Raises;

MarketDataShift assign(double value) {
    return {Kind::assignment, Unit::none, value};
}

double cumulative(double x) {
    return 0.5 * std::erfc(-x / std::sqrt(2.0));
}

double call_formula(double discount, double forward, double strike, double deviation) {
    double const d = std::log(forward / strike) / deviation + 0.5 * deviation;
    return discount * (forward * cumulative(d) - strike * cumulative(d - deviation));
}

/// notional * max(A in one year - strike, 0), the strike 100, the notional 2, and a coupon of 3 in
/// two years when A is above a level of 90 in half a year; the coupon stands in two places.
class ContractLadderTest : public PricingTest {
 protected:
    ContractLadderTest() {
        add_currency("EUR");
        add_share("A", 100.0, 0.25);
        TreeBuilder tree;
        int const gain = tree.binary(TreeBuilder::sub, tree.fixing("A", one_year),
                                     tree.constant("strike", 100.0));
        int const call = tree.binary(TreeBuilder::mul, tree.constant("notional", 2.0),
                                     tree.right(TreeBuilder::max_number, gain, 0.0));
        int const coupon = tree.pay(tree.constant("coupon", 3.0), two_years, "EUR");
        int const above = tree.compare(TreeBuilder::greater, tree.fixing("A", half_year), 90.0);
        int const again = tree.pay(tree.constant("coupon", 3.0), one_year, "EUR");
        priced = contract(
            tree, tree.both(tree.pay(call, one_year, "EUR"),
                            tree.both(tree.condition(above, coupon, tree.nothing()), again)));
        MCPricerOptions::s_options.trials = 5000;
        MCPricerOptions::s_options.antithetic_factor = 0.5;
    }

    void add_point(Shifts shifts) { ladder->get_results().push_back({std::move(shifts), {}}); }
    bool run() { return ladder->run(*priced, model.get()); }
    Results const& results(std::size_t point) const {
        return ladder->c_get_results().at(point).results;
    }
    MCResult const& price(std::size_t point) const { return results(point).price; }

    std::vector<double> numbers(std::string const& feature) const {
        std::vector<double*> places;
        priced->get_current()->unsafe_get_tags(feature, places);
        std::vector<double> values;
        for (auto const* place : places) values.push_back(*place);
        return values;
    }
    void set(std::string const& feature, double value) const {
        std::vector<double*> places;
        priced->get_current()->unsafe_get_tags(feature, places);
        for (auto* place : places) *place = value;
    }

    std::unique_ptr<Contract::Contract> priced;
    std::unique_ptr<Modeling::Model> model{
        Modeling::get_model(today, Modeling::ModelName::black_scholes)};
    std::unique_ptr<ContractLadder> ladder{get_contract_ladder()};
};

TEST_F(ContractLadderTest, AStrikeLadderFollowsTheFormula) {
    MCPricerOptions::s_options.trials = 50000;
    std::vector<double> const strikes{70.0, 85.0, 100.0, 115.0, 140.0};
    for (double const strike : strikes)
        add_point({{"strike", assign(strike)}, {"coupon", assign(0.0)}});
    ASSERT_TRUE(run());
    double const discount = std::exp(-c_rate);
    for (std::size_t i = 0; i < strikes.size(); ++i)
        EXPECT_NEAR(price(i).mean, 2.0 * call_formula(discount, 100.0 / discount, strikes[i], 0.25),
                    4.5 * price(i).standard_error);
}

class ContractLadderRoutes
    : public ContractLadderTest,
      public ::testing::WithParamInterface<std::tuple<bool, int, MCOptions::Engine>> {
 protected:
    ContractLadderRoutes() {
        auto const [with_greeks, threads, chosen] = GetParam();
        chosen_engine = MCPricerOptions::s_options.engine = chosen;
        PricerOptions::s_options.greeks.delta.activate = with_greeks;
        MCPricerOptions::s_options.nb_threads = static_cast<std::uint8_t>(threads);
    }
};

TEST_P(ContractLadderRoutes, EveryPointIsThePriceOfItsContract) {
    std::vector<Shifts> const points{{},
                                     {{"strike", assign(90.0)}},
                                     {{"coupon", assign(7.0)}, {"notional", assign(1.0)}},
                                     {{"strike", assign(120.0)}, {"coupon", assign(0.0)}}};
    for (auto const& point : points) add_point(point);
    ASSERT_TRUE(run());
    for (std::size_t i = 0; i < points.size(); ++i) {
        for (auto const& [name, shift] : points[i]) set(name, shift.value);
        auto const alone = PricingTest::run(*priced);
        EXPECT_THAT(price(i).sum, IsNearRel(alone->c_get_results().price.sum, 1e-14)) << i;
        EXPECT_THAT(price(i).mean, IsNearRel(alone->c_get_results().price.mean, 1e-14)) << i;
        EXPECT_THAT(price(i).standard_error,
                    IsNearRel(alone->c_get_results().price.standard_error, 1e-9))
            << i;
        EXPECT_EQ(price(i).count, 5000U);
        set("strike", 100.0);
        set("coupon", 3.0);
        set("notional", 2.0);
    }
}

TEST_P(ContractLadderRoutes, TheContractHasItsOwnNumbersAfterwards) {
    add_point({{"strike", assign(90.0)}, {"coupon", assign(1.0)}});
    add_point({{"notional", assign(0.0)}});
    ASSERT_TRUE(run());
    EXPECT_THAT(numbers("strike"), testing::ElementsAre(100.0));
    EXPECT_THAT(numbers("coupon"), testing::ElementsAre(3.0, 3.0));
    EXPECT_THAT(numbers("notional"), testing::ElementsAre(2.0));
}

TEST_P(ContractLadderRoutes, ShiftsOfSuccessivePointsStartFromTheSameOriginal) {
    add_point({{"coupon", {Kind::additive, Unit::none, 1.0}}});
    add_point({{"coupon", {Kind::additive, Unit::none, 1.0}}});
    add_point({{"coupon", assign(4.0)}});
    add_point({});
    ASSERT_TRUE(run());
    EXPECT_EQ(price(0).sum, price(1).sum);
    EXPECT_EQ(price(0).sum, price(2).sum);
    EXPECT_LT(price(3).sum, price(0).sum);
}

TEST_P(ContractLadderRoutes, AFeatureThatTheContractDoesNotHaveChangesNothing) {
    add_point({});
    add_point({{"nobody", assign(7.0)}});
    ASSERT_TRUE(run());
    EXPECT_EQ(price(0).sum, price(1).sum);
}

TEST_P(ContractLadderRoutes, KindsAndUnitsActOnTheOriginal) {
    add_point({{"strike", {Kind::hybrid, Unit::percentage, 10.0}}});  // 110
    add_point({{"strike", assign(110.0)}});
    add_point({{"strike", {Kind::multiplicative, Unit::percentage, 10.0}}});  // 10
    add_point({{"strike", assign(10.0)}});
    add_point({{"strike", {Kind::additive, Unit::basis_point, 50000.0}}});  // 105
    add_point({{"strike", assign(105.0)}});
    ASSERT_TRUE(run());
    for (std::size_t i = 0; i < 6; i += 2)
        EXPECT_THAT(price(i).mean, IsNearRel(price(i + 1).mean, 1e-12));
}

TEST_P(ContractLadderRoutes, NoPointIsASuccess) {
    EXPECT_TRUE(run());
    EXPECT_TRUE(ladder->c_get_results().empty());
}

TEST_P(ContractLadderRoutes, AMarketThatIsNotCompleteFailsAndLeavesTheContract) {
    auto const b = share("B");
    TreeBuilder tree;
    int const sum =
        tree.binary(TreeBuilder::add, tree.fixing("B", one_year), tree.constant("strike", 100.0));
    priced = contract(tree, tree.pay(sum, one_year, "EUR"));
    std::ignore = forward_curve(*b).get_dependencies();  // without a spot
    add_point({{"strike", assign(1.0)}});
    add_point({});
    EXPECT_FALSE(run());
    EXPECT_FALSE(errors().empty());
    EXPECT_THAT(numbers("strike"), testing::ElementsAre(100.0));
}

TEST_P(ContractLadderRoutes, AShiftOfAnUnknownKindIsRaisedAndLeavesTheContract) {
    add_point({});
    add_point({{"coupon", assign(7.0)}, {"strike", {static_cast<Kind>(4), Unit::none, 1.0}}});
    EXPECT_THAT([&] { std::ignore = run(); }, Raises<std::runtime_error>("Unknown error"));
    EXPECT_THAT(numbers("coupon"), testing::ElementsAre(3.0, 3.0));
    EXPECT_THAT(numbers("strike"), testing::ElementsAre(100.0));
}

TEST_P(ContractLadderRoutes, ASmoothedConditionIsPricedAsAlone) {
    PricerOptions::s_options.smoothing = SmoothingType::LOWER;
    TreeBuilder tree;
    int const ratio = tree.right(TreeBuilder::div_number, tree.fixing("A", one_year), 100.0);
    priced = contract(tree, tree.condition(tree.compare(TreeBuilder::greater, ratio, 1.0),
                                           tree.pay(tree.constant("coupon", 10.0), one_year, "EUR"),
                                           tree.nothing(), 0.05, 0.05));
    add_point({});
    add_point({{"coupon", assign(5.0)}});
    ASSERT_TRUE(run());
    EXPECT_THAT(price(1).mean, IsNearRel(0.5 * price(0).mean, 1e-12));
    EXPECT_EQ(price(0).sum, PricingTest::run(*priced)->c_get_results().price.sum);
}

INSTANTIATE_TEST_SUITE_P(All, ContractLadderRoutes,
                         ::testing::Combine(::testing::Bool(), ::testing::Values(1, 3),
                                            each_engine),
                         [](auto const& parameter) {
                             return std::string(std::get<0>(parameter.param) ? "PointByPoint"
                                                                             : "OnePass") +
                                    "On" + std::to_string(std::get<1>(parameter.param)) +
                                    engine_name({std::get<2>(parameter.param), 0});
                         });

TEST_F(ContractLadderTest, ThreadsChangeTheOrderOfSumsAlone) {
    std::vector<double> sums;
    for (auto const threads : {std::uint8_t{1}, std::uint8_t{3}}) {
        MCPricerOptions::s_options.nb_threads = threads;
        ladder = get_contract_ladder();
        add_point({{"strike", assign(95.0)}});
        ASSERT_TRUE(run());
        sums.push_back(price(0).sum);
    }
    EXPECT_THAT(sums[1], IsNearRel(sums[0], 1e-12));
}

TEST_F(ContractLadderTest, GreeksComeWithEveryPointOnTheRouteByPoints) {
    PricerOptions::s_options.greeks.delta.activate = true;
    add_point({});
    add_point({{"notional", assign(4.0)}, {"coupon", assign(6.0)}});
    ASSERT_TRUE(run());
    auto const delta = [&](std::size_t i) { return results(i).delta.get(0).result.mean; };
    EXPECT_GT(delta(0), 50.0);
    EXPECT_THAT(delta(1), IsNearRel(2.0 * delta(0), 1e-9));
    EXPECT_THAT(results(0).results.at(0).name, "PRICE");
}

TEST_F(ContractLadderTest, TheOnePassRouteReportsPricesAlone) {
    add_point({});
    ASSERT_TRUE(run());
    EXPECT_TRUE(results(0).results.empty());
    EXPECT_EQ(results(0).delta.c_get_size(), 0U);
    EXPECT_GT(price(0).mean, 0.0);
}

TEST_F(ContractLadderTest, ASwitchThatNoEngineComputesTakesTheRouteByPoints) {
    PricerOptions::s_options.greeks.epsilonn.activate = true;
    add_point({});
    ASSERT_TRUE(run());
    EXPECT_FALSE(results(0).results.empty());
}

TEST_F(ContractLadderTest, PointsShareTheirRandomNumbers) {
    add_point({});
    add_point({{"coupon", assign(4.0)}});
    ASSERT_TRUE(run());
    // one more on two dates, the first one on all paths, the second on those above the level: the
    // difference of two simulations with numbers of their own would have an error of about 0.4
    double const above = cumulative(-(std::log(0.9) - c_rate * years(half_year)) /
                                        (0.25 * std::sqrt(years(half_year))) -
                                    0.125 * std::sqrt(years(half_year)));
    EXPECT_NEAR(price(1).mean - price(0).mean,
                std::exp(-c_rate) + std::exp(-c_rate * years(two_years)) * above, 0.02);
}

TEST_F(ContractLadderTest, UpdateWritesTheShiftsAndTheOriginalsBack) {
    ContractFeatures features;
    ContractLadderResults const point{
        {{"coupon", {Kind::additive, Unit::none, 2.0}}, {"nobody", assign(1.0)}}, {}};
    add_features(point, *priced->get_current(), features);
    update_feature_value(point, features, true);
    update_feature_value(point, features, true);
    EXPECT_THAT(numbers("coupon"), testing::ElementsAre(5.0, 5.0));
    update_feature_value(point, features, false);
    EXPECT_THAT(numbers("coupon"), testing::ElementsAre(3.0, 3.0));
    update_feature_value({{{"strike", assign(1.0)}}, {}}, features, true);  // not looked up
    EXPECT_THAT(numbers("strike"), testing::ElementsAre(100.0));
    EXPECT_TRUE(features.contains("strike"));
}

TEST_F(ContractLadderTest, AMethodWithoutEngineFails) {
    PricerOptions::s_options.method = static_cast<PricingMethod>(9);
    add_point({});
    EXPECT_FALSE(run());
}

TEST_F(ContractLadderTest, WithoutAModelThereIsNoPrice) {
    add_point({});
    EXPECT_FALSE(ladder->run(*priced, nullptr));
}

TEST_F(ContractLadderTest, NamedValuesOfThePathAreSetAnewForEachPoint) {
    TreeBuilder tree;
    int const set = tree.set("memory", tree.binary(TreeBuilder::mul, tree.constant("coupon", 1.0),
                                                   tree.fixing("A", one_year)));
    int const read = tree.right(TreeBuilder::mul_number, tree.reference("memory"), 2.0);
    priced = contract(tree, tree.both(set, tree.pay(read, one_year, "EUR")));
    add_point({});
    add_point({{"coupon", assign(3.0)}});
    add_point({});
    ASSERT_TRUE(run());
    EXPECT_THAT(price(1).mean, IsNearRel(3.0 * price(0).mean, 1e-12));
    EXPECT_EQ(price(2).sum, price(0).sum);
}

TEST_F(ContractLadderTest, AListOfManyPaymentsRunsOnThreads) {
    MCPricerOptions::s_options.trials = 6;
    MCPricerOptions::s_options.nb_threads = 3;
    TreeBuilder tree;
    int root = tree.nothing();
    for (int i = 0; i < 10000; ++i)
        root = tree.both(tree.pay(tree.constant("coupon", 1.0), one_year, "EUR"), root);
    priced = contract(tree, root);
    add_point({{"coupon", assign(2.0)}});
    ASSERT_TRUE(run());
    EXPECT_THAT(price(0).mean, IsNearRel(20000.0 * std::exp(-c_rate), 1e-12));
}

}  // namespace
}  // namespace ximCORE::Pricing
