#include "core/pricing/model_ladder.hpp"

#include <cmath>
#include <stdexcept>

#include "core/data/scenario.hpp"
#include "support/pricing_test.hpp"

namespace ximCORE::Pricing {
namespace {

using Data::MarketDataPerturbationItem;
using Kind = Data::MarketDataShift::Kind;
using Unit = Data::MarketDataShift::Unit;
using Testing::TreeBuilder;
using ximTest::IsNearRel;
using ximTest::Raises;

double cumulative(double x) {
    return 0.5 * std::erfc(-x / std::sqrt(2.0));
}

/// The price of a call: discounted, on a forward, with a total deviation.
double call_formula(double discount, double forward, double strike, double deviation) {
    double const d = std::log(forward / strike) / deviation + 0.5 * deviation;
    return discount * (forward * cumulative(d) - strike * cumulative(d - deviation));
}

/// A call on A, and a call on the larger of A and B, both at 100 in one year.
class ModelLadderTest : public PricingTest {
 protected:
    ModelLadderTest() {
        add_currency("EUR");
        auto const a = add_share("A", 100.0, 0.25);
        auto const b = add_share("B", 80.0, 0.375);
        correlate(*a, *b, 0.5);
        TreeBuilder one;
        single =
            contract(one, one.pay(one.call(one.fixing("A", one_year), 100.0), one_year, "EUR"));
        TreeBuilder two;
        int const larger =
            two.binary(TreeBuilder::max, two.fixing("A", one_year), two.fixing("B", one_year));
        pair = contract(two, two.pay(two.call(larger, 100.0), one_year, "EUR"));
        hidden = Data::MarketDataScenario::s_get().c_get_size();
        MCPricerOptions::s_options.trials = 20000;
        MCPricerOptions::s_options.antithetic_factor = 0.5;
    }

    void add_point(std::initializer_list<MarketDataPerturbationItem> items) {
        ladder->get_results().push_back({items, {}});
    }
    bool run(Contract::Contract& priced) { return ladder->run(priced, model.get()); }
    MCResult const& price(std::size_t point) const {
        return ladder->c_get_results().at(point).results.price;
    }
    static std::size_t depth() { return Data::MarketDataScenario::s_get().c_get_size(); }

    std::unique_ptr<Contract::Contract> single;
    std::unique_ptr<Contract::Contract> pair;
    std::unique_ptr<Modeling::Model> model{
        Modeling::get_model(today, Modeling::ModelName::black_scholes)};
    std::unique_ptr<ModelLadder> ladder{get_model_ladder()};
    std::size_t hidden{0};  // what the market of the test keeps on the scenario
};

TEST_F(ModelLadderTest, TheCentralPointAloneIsOnePriceWithoutAScenario) {
    add_point({});
    ASSERT_TRUE(run(*single));
    EXPECT_EQ(depth(), hidden);
    EXPECT_EQ(price(0).sum, PricingTest::run(*single)->c_get_results().price.sum);
}

TEST_F(ModelLadderTest, NoPointIsASuccessWithoutAPrice) {
    EXPECT_TRUE(run(*single));
    EXPECT_TRUE(ladder->c_get_results().empty());
}

TEST_F(ModelLadderTest, ASpotLadderOfACallFollowsTheFormula) {
    std::vector<double> const spots{60.0, 80.0, 100.0, 120.0, 150.0};
    for (double const spot : spots) add_point({{"spot@A", Kind::assignment, Unit::none, spot}});
    ASSERT_TRUE(run(*single));
    double const discount = std::exp(-c_rate * years(one_year));
    for (std::size_t i = 0; i < spots.size(); ++i) {
        double const exact = call_formula(discount, spots[i] / discount, 100.0, 0.25);
        EXPECT_NEAR(price(i).mean, exact, 4.5 * price(i).standard_error) << spots[i];
        EXPECT_GT(price(i).standard_error, 0.0);
    }
}

struct KeyCase {
    char const* key;
    Kind kind;
    Unit unit;
    double value;
    double spot, volatility, rate, forward_factor;  // of the market that the shift gives
};

void PrintTo(KeyCase const& what, std::ostream* out) {
    *out << what.key << " kind " << static_cast<int>(what.kind) << " unit "
         << static_cast<int>(what.unit);
}

class ModelLadderKeys : public ModelLadderTest, public ::testing::WithParamInterface<KeyCase> {};

// A: spot 100, volatility 0.25, rate 0.03
TEST_P(ModelLadderKeys, ShiftOnePartOfTheMarket) {
    auto const& expected = GetParam();
    MCPricerOptions::s_options.trials = 100000;
    add_point({{expected.key, expected.kind, expected.unit, expected.value}});
    ASSERT_TRUE(run(*single));
    double const discount = std::exp(-expected.rate);
    double const exact = call_formula(discount, expected.spot / discount * expected.forward_factor,
                                      100.0, expected.volatility);
    EXPECT_NEAR(price(0).mean, exact, 4.5 * price(0).standard_error);
    EXPECT_EQ(depth(), hidden);
}

// clang-format off
INSTANTIATE_TEST_SUITE_P(All, ModelLadderKeys, ::testing::Values(
    KeyCase{"spot@A",       Kind::additive,       Unit::none,        7.0,    107.0, 0.25,   0.03, 1.0},
    KeyCase{"spot@A",       Kind::assignment,     Unit::none,        90.0,   90.0,  0.25,   0.03, 1.0},
    KeyCase{"spot@A",       Kind::hybrid,         Unit::percentage,  10.0,   110.0, 0.25,   0.03, 1.0},
    KeyCase{"spot@A",       Kind::multiplicative, Unit::percentage,  95.0,   95.0,  0.25,   0.03, 1.0},
    KeyCase{"spot@A",       Kind::hybrid,         Unit::basis_point, -500.0, 95.0,  0.25,   0.03, 1.0},
    KeyCase{"volatility@A", Kind::additive,       Unit::percentage,  5.0,    100.0, 0.30,   0.03, 1.0},
    KeyCase{"volatility@A", Kind::additive,       Unit::basis_point, 100.0,  100.0, 0.26,   0.03, 1.0},
    KeyCase{"volatility@A", Kind::assignment,     Unit::percentage,  40.0,   100.0, 0.40,   0.03, 1.0},
    KeyCase{"volatility@A", Kind::multiplicative, Unit::none,        0.5,    100.0, 0.125,  0.03, 1.0},
    KeyCase{"forward@A",    Kind::hybrid,         Unit::percentage,  -4.0,   100.0, 0.25,   0.03, 0.96},
    // a curve grows with its rate: +2 % takes the rate of the test, 3 %, to 1 %
    KeyCase{"yield@EUR",    Kind::additive,       Unit::percentage,  2.0,    100.0, 0.25,   0.01, 1.0},
    KeyCase{"yield@EUR",    Kind::additive,       Unit::basis_point, -100.0, 100.0, 0.25,   0.04, 1.0},
    KeyCase{"nonsense@A",   Kind::assignment,     Unit::none,        1.0,    100.0, 0.25,   0.03, 1.0},
    KeyCase{"spot@NOBODY",  Kind::assignment,     Unit::none,        1.0,    100.0, 0.25,   0.03, 1.0},
    KeyCase{"yield@ZZZ",    Kind::assignment,     Unit::none,        1.0,    100.0, 0.25,   0.03, 1.0}));
// clang-format on

/// The value that takes `from` to `to` by a kind and a unit.
double value_of(Kind kind, Unit unit, double from, double to) {
    double const factor = unit == Unit::percentage    ? 0.01
                          : unit == Unit::basis_point ? 0.0001
                                                      : 1.0;
    switch (kind) {
        case Kind::additive:
            return (to - from) / factor;
        case Kind::assignment:
            return to / factor;
        case Kind::hybrid:
            return (to / from - 1.0) / factor;
        case Kind::multiplicative:
            break;
    }
    return to / from / factor;
}

TEST_F(ModelLadderTest, AllKindsAndUnitsOfAKeyThatLeadToOneNumberGiveOnePrice) {
    MCPricerOptions::s_options.trials = 500;
    struct Row {
        char const* key;
        double from;  // as the market of the test has it
        double to;
    };
    std::vector<Row> const rows{{"spot@A", 100.0, 117.0},
                                {"forward@B", 80.0 * std::exp(c_rate), 95.0},
                                {"volatility@A", 0.25, 0.4},
                                {"yield@EUR", -c_rate, -0.01},
                                {"correlation@A#B", 0.5, -0.25}};
    add_point({});
    for (auto const& [key, from, to] : rows)
        for (auto const kind :
             {Kind::additive, Kind::assignment, Kind::hybrid, Kind::multiplicative})
            for (auto const unit : {Unit::percentage, Unit::basis_point, Unit::none})
                add_point({{key, kind, unit, value_of(kind, unit, from, to)}});
    ASSERT_TRUE(run(*pair));
    for (std::size_t row = 0; row < rows.size(); ++row) {
        double const first = price(1 + 12 * row).mean;
        EXPECT_GT(std::abs(first - price(0).mean), 1e-3) << rows[row].key;
        for (std::size_t i = 0; i < 12; ++i)
            EXPECT_THAT(price(1 + 12 * row + i).mean, IsNearRel(first, 1e-6))
                << rows[row].key << ' ' << i;
    }
}

TEST_F(ModelLadderTest, ACorrelationKeyNamesThePairInEitherOrder) {
    add_point({{"correlation@A#B", Kind::assignment, Unit::percentage, 90.0}});
    add_point({{"correlation@B#A", Kind::assignment, Unit::percentage, 90.0}});
    add_point({});
    ASSERT_TRUE(run(*pair));
    EXPECT_EQ(price(0).sum, price(1).sum);
    EXPECT_LT(price(0).mean,
              price(2).mean);  // the larger of two is worth less when they go together
}

TEST_F(ModelLadderTest, ScenariosOfAPointActTogetherAndInOrder) {
    add_point({{"spot@A", Kind::additive, Unit::none, 1.0},
               {"spot@A", Kind::hybrid, Unit::percentage, 10.0},
               {"volatility@A", Kind::assignment, Unit::none, 0.4}});
    add_point({{"spot@A", Kind::assignment, Unit::none, 111.1},
               {"volatility@A", Kind::assignment, Unit::none, 0.4}});
    ASSERT_TRUE(run(*single));
    EXPECT_THAT(price(0).mean, IsNearRel(price(1).mean, 1e-12));
    EXPECT_EQ(depth(), hidden);
}

TEST_F(ModelLadderTest, EveryPointIsThePriceOfAContractOnThatMarket) {
    add_point({});
    add_point({{"spot@B", Kind::assignment, Unit::none, 120.0}});
    add_point({{"volatility@B", Kind::assignment, Unit::none, 0.1}});
    add_point({});
    ASSERT_TRUE(run(*pair));
    EXPECT_EQ(price(0).sum, price(3).sum);
    auto& scenario = Data::MarketDataScenario::s_get();
    for (std::size_t i = 0; i < 4; ++i) {
        auto const& items = ladder->c_get_results()[i].items;
        scenario.push_back(items);
        EXPECT_EQ(price(i).sum, PricingTest::run(*pair)->c_get_results().price.sum);
        scenario.pop_back(items);
    }
}

TEST_F(ModelLadderTest, ThreadsChangeTheOrderOfSumsAlone) {
    std::vector<double> sums;
    for (auto const threads : {std::uint8_t{1}, std::uint8_t{3}}) {
        MCPricerOptions::s_options.nb_threads = threads;
        ladder = get_model_ladder();
        add_point({});
        add_point({{"spot@A", Kind::assignment, Unit::none, 120.0}});
        ASSERT_TRUE(run(*pair));
        sums.push_back(price(1).sum);
    }
    EXPECT_THAT(sums[1], IsNearRel(sums[0], 1e-12));
}

TEST_F(ModelLadderTest, SensitivitiesComeWithEveryPoint) {
    PricerOptions::s_options.greeks.delta.activate = true;
    add_point({});
    add_point({{"spot@A", Kind::assignment, Unit::none, 150.0}});
    ASSERT_TRUE(run(*single));
    auto const delta = [&](std::size_t i) {
        return ladder->c_get_results()[i].results.delta.get(0).result.mean;
    };
    EXPECT_GT(delta(1), 1.3 * delta(0));
    EXPECT_EQ(depth(), hidden);
}

TEST_F(ModelLadderTest, APointThatFailsEndsTheLadderAndLeavesTheScenarioAsItWas) {
    add_share("C", 10.0, 0.25);  // without correlations
    TreeBuilder tree;
    auto const incomplete =
        contract(tree, tree.pay(tree.binary(TreeBuilder::add, tree.fixing("A", one_year),
                                            tree.fixing("C", one_year)),
                                one_year, "EUR"));
    add_point({{"spot@A", Kind::assignment, Unit::none, 120.0}});
    add_point({});
    EXPECT_FALSE(run(*incomplete));
    EXPECT_EQ(depth(), hidden);
    EXPECT_EQ(price(0).count, 0U);
    EXPECT_EQ(price(1).count, 0U);
    ladder = get_model_ladder();
    add_point({});
    EXPECT_TRUE(run(*single)) << "the model has a fresh helper";
}

TEST_F(ModelLadderTest, AShiftOfAnUnknownKindIsRaisedAndTakenOff) {
    add_point({{"spot@A", static_cast<Kind>(9), Unit::none, 120.0}});
    EXPECT_THAT([&] { std::ignore = run(*single); }, Raises<std::runtime_error>("Unknown error"));
    EXPECT_EQ(depth(), hidden);
}

TEST_F(ModelLadderTest, AMethodWithoutEngineFails) {
    PricerOptions::s_options.method = static_cast<PricingMethod>(9);
    add_point({});
    EXPECT_FALSE(run(*single));
}

TEST_F(ModelLadderTest, AKeyWithoutTypeOrASecondTickerRaises) {
    EXPECT_THAT([] { MarketDataPerturbationItem("spot", Kind::additive, Unit::none, 1.0); },
                Raises<std::out_of_range>());
    EXPECT_THAT(
        [] { MarketDataPerturbationItem("correlation@A", Kind::additive, Unit::none, 1.0); },
        Raises<std::out_of_range>());
}

}  // namespace
}  // namespace ximCORE::Pricing
