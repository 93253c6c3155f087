#include "core/pricing/contract_solver.hpp"

#include <cmath>
#include <limits>
#include <stdexcept>

#include "core/contract/cashflow.hpp"
#include "support/pricing_test.hpp"

namespace ximCORE::Pricing {
namespace {

using Testing::TreeBuilder;
using ximTest::IsNearRel;
using ximTest::LogsError;
using ximTest::LogsNothing;
using ximTest::Raises;

/// Contracts with the features a, b and strike, on one share.
class ContractSolverTest : public PricingTest {
 protected:
    ContractSolverTest() {
        add_currency("EUR");
        add_share("A", 100.0, 0.25);
        TreeBuilder tree;
        int const weighted = tree.right(TreeBuilder::mul_number, tree.constant("b", 0.0), 10.0);
        int const sum = tree.binary(TreeBuilder::add, tree.constant("a", 0.0), weighted);
        linear = contract(tree, tree.pay(sum, today, "EUR"));
        MCPricerOptions::s_options.trials = 1000;
    }

    std::unique_ptr<Contract::Contract> call() {
        TreeBuilder tree;
        int const gain = tree.binary(TreeBuilder::sub, tree.fixing("A", one_year),
                                     tree.constant("strike", 100.0));
        return contract(tree,
                        tree.pay(tree.right(TreeBuilder::max_number, gain, 0.0), one_year, "EUR"));
    }

    void add(std::string name, double min, double max, std::uint64_t size) {
        results().features.push_back(
            {.name = std::move(name), .min = min, .max = max, .size = size});
    }
    bool solve(Contract::Contract& contract, double target) {
        results().target = target;
        return solver.run(contract, model.get());
    }
    ContractSolverResults& results() { return solver.get_results(); }
    ContractSolverFeature const& feature(std::size_t i = 0) { return results().features.at(i); }

    ContractSolver solver;
    std::unique_ptr<Contract::Contract> linear;  // a + 10 b, today
    std::unique_ptr<Modeling::Model> model{
        Modeling::get_model(today, Modeling::ModelName::black_scholes)};
};

TEST_F(ContractSolverTest, APriceLinearInTheFeatureGivesTheExactRoot) {
    add("a", 0.0, 10.0, 11);
    ASSERT_TRUE(solve(*linear, 3.25));
    EXPECT_THAT(feature().root, IsNearRel(3.25, 1e-12));
    EXPECT_THAT(feature().lower, IsNearRel(3.0, 1e-12));
    EXPECT_THAT(feature().upper, IsNearRel(4.0, 1e-12));
    EXPECT_THAT(results().lower_price, IsNearRel(3.0, 1e-12));
    EXPECT_THAT(results().upper_price, IsNearRel(4.0, 1e-12));
}

TEST_F(ContractSolverTest, ATargetOnTheLowestPriceIsTheLowestPoint) {
    add("a", 0.0, 10.0, 11);
    ASSERT_TRUE(solve(*linear, 0.0));
    EXPECT_EQ(feature().root, 0.0);
    EXPECT_EQ(feature().lower, 0.0);
    EXPECT_EQ(feature().upper, 1.0);
}

TEST_F(ContractSolverTest, ATargetOnTheHighestPriceIsNotBracketed) {
    add("a", 0.0, 10.0, 11);
    EXPECT_THAT([&] { EXPECT_FALSE(solve(*linear, 10.0)); }, LogsError("Bounds too tight"));
}

TEST_F(ContractSolverTest, TargetsOutsideThePricesAreRefused) {
    add("a", 0.0, 10.0, 11);
    EXPECT_THAT([&] { EXPECT_FALSE(solve(*linear, 10.5)); }, LogsError("Bounds too tight"));
    EXPECT_THAT([&] { EXPECT_FALSE(solve(*linear, -0.5)); }, LogsError("Bounds too tight"));
    EXPECT_EQ(feature().root, 0.0);
}

TEST_F(ContractSolverTest, OnePointBracketsNothing) {
    add("a", 0.0, 10.0, 1);
    EXPECT_THAT([&] { EXPECT_FALSE(solve(*linear, 10.0)); }, LogsError("Bounds too tight"));
    EXPECT_THAT([&] { EXPECT_FALSE(solve(*linear, 5.0)); }, LogsError("Bounds too tight"));
}

TEST_F(ContractSolverTest, NoFeatureBracketsNothing) {
    EXPECT_THAT([&] { EXPECT_FALSE(solve(*linear, 0.0)); }, LogsError("Bounds too tight"));
}

TEST_F(ContractSolverTest, APriceThatFallsKeepsItsBoundsInOrder) {
    add("a", 10.0, 0.0, 11);  // the grid runs downwards
    ASSERT_TRUE(solve(*linear, 3.25));
    EXPECT_THAT(feature().root, IsNearRel(3.25, 1e-12));
    EXPECT_THAT(feature().lower, IsNearRel(3.0, 1e-12));
    EXPECT_THAT(feature().upper, IsNearRel(4.0, 1e-12));
}

TEST_F(ContractSolverTest, TheLastGridValueIsTheUpperEndExactly) {
    add("a", 0.1, 0.7, 7);
    ASSERT_TRUE(solve(*linear, 0.69));
    EXPECT_EQ(feature().upper, 0.7);
}

TEST_F(ContractSolverTest, SeveralFeaturesAreInterpolatedBetweenTheNeighboursInPrice) {
    add("a", 0.0, 9.0, 4);             // 0 3 6 9
    add("b", 0.0, 1.0, 2);             // 0 1, ten times
    ASSERT_TRUE(solve(*linear, 9.5));  // between (9, 0) and (0, 1)
    EXPECT_THAT(feature(0).root, IsNearRel(4.5, 1e-12));
    EXPECT_THAT(feature(1).root, IsNearRel(0.5, 1e-12));
    EXPECT_EQ(feature(0).lower, 0.0);
    EXPECT_EQ(feature(0).upper, 9.0);
    EXPECT_EQ(feature(1).lower, 0.0);
    EXPECT_EQ(feature(1).upper, 1.0);
    EXPECT_THAT(results().lower_price, IsNearRel(9.0, 1e-12));
    EXPECT_THAT(results().upper_price, IsNearRel(10.0, 1e-12));
}

TEST_F(ContractSolverTest, AFeatureOfSizeZeroRaisesOnceABracketIsFound) {
    add("a", 0.0, 10.0, 11);
    add("b", 0.0, 1.0, 0);
    EXPECT_THAT([&] { std::ignore = solve(*linear, 3.25); }, Raises<std::out_of_range>("map::at"));
}

TEST_F(ContractSolverTest, OfTwoFeaturesWithOneNameTheLaterOneCounts) {
    add("a", 0.0, 10.0, 11);
    add("a", 0.0, 1.0, 2);
    ASSERT_TRUE(solve(*linear, 0.5));
    for (std::size_t i = 0; i < 2; ++i) {
        EXPECT_THAT(feature(i).root, IsNearRel(0.5, 1e-12));
        EXPECT_EQ(feature(i).upper, 1.0);
    }
}

TEST_F(ContractSolverTest, AFeatureThatTheContractDoesNotHaveBracketsNothing) {
    add("nobody", 0.0, 10.0, 11);
    EXPECT_THAT([&] { EXPECT_FALSE(solve(*linear, 0.5)); }, LogsError("Bounds too tight"));
}

TEST_F(ContractSolverTest, MoreThanAMillionPointsAreRefused) {
    add("a", 0.0, 10.0, 1001);
    add("b", 0.0, 1.0, 1000);
    EXPECT_THAT([&] { EXPECT_FALSE(solve(*linear, 3.25)); }, LogsError("Too many points"));
    results().features = {
        {.name = "a", .max = 1.0, .size = std::numeric_limits<std::uint64_t>::max()}};
    EXPECT_THAT([&] { EXPECT_FALSE(solve(*linear, 0.5)); }, LogsError("Too many points"));
}

TEST_F(ContractSolverTest, ProductsThatWrapAreRefusedToo) {
    for (int i = 0; i < 64; ++i) add("a", 0.0, 1.0, 2);
    EXPECT_THAT([&] { EXPECT_FALSE(solve(*linear, 0.5)); }, LogsError("Too many points"));
}

TEST_F(ContractSolverTest, APriceThatIsNoNumberBracketsNothing) {
    add("a", 0.0, 10.0, 11);
    MCPricerOptions::s_options.trials = 0;
    EXPECT_THAT([&] { EXPECT_FALSE(solve(*linear, 3.25)); }, LogsError("Bounds too tight"));
}

TEST_F(ContractSolverTest, AFailedPricingIsNotReportedTwice) {
    add("a", 0.0, 10.0, 11);
    PricerOptions::s_options.method = static_cast<PricingMethod>(9);
    EXPECT_THAT([&] { EXPECT_FALSE(solve(*linear, 3.25)); }, LogsNothing());
}

TEST_F(ContractSolverTest, TheSolvedStrikeHasThePriceOfTheFormula) {
    double const strike = 107.0;
    double const forward = 100.0 * std::exp(c_rate);
    double const d = std::log(forward / strike) / 0.25 + 0.125;
    auto const cumulative = [](double x) { return 0.5 * std::erfc(-x / std::sqrt(2.0)); };
    double const target =
        std::exp(-c_rate) * (forward * cumulative(d) - strike * cumulative(d - 0.25));
    auto const on_call = call();
    MCPricerOptions::s_options.trials = 20000;
    MCPricerOptions::s_options.antithetic_factor = 0.5;
    for (auto const threads : {std::uint8_t{1}, std::uint8_t{3}}) {
        MCPricerOptions::s_options.nb_threads = threads;
        results() = {};
        add("strike", 60.0, 160.0, 101);
        ASSERT_TRUE(solve(*on_call, target));
        // the price falls by 0.4 per unit of strike, its error is about 0.09
        EXPECT_NEAR(feature().root, strike, 1.0);
        EXPECT_EQ(feature().upper - feature().lower, 1.0);
    }
}

TEST_F(ContractSolverTest, TheSolvedFeatureReprices) {
    auto const on_call = call();
    add("strike", 60.0, 160.0, 201);
    ASSERT_TRUE(solve(*on_call, 9.0));
    std::vector<double*> places;
    on_call->get_current()->unsafe_get_tags("strike", places);
    ASSERT_EQ(places.size(), 1U);
    EXPECT_EQ(*places[0], 100.0) << "solving leaves the contract as it was";
    *places[0] = feature().root;
    EXPECT_NEAR(PricingTest::run(*on_call)->c_get_results().price.mean, 9.0, 1e-3);
}

}  // namespace
}  // namespace ximCORE::Pricing
