// The adjoint simulation in blocks of paths against the one path by path: price, delta, vega and
// cega are the same, but for the last digits.

#include <algorithm>
#include <bit>
#include <cmath>
#include <limits>

#include "core/pricing/block/adjoint_engine_case.hpp"

namespace ximCORE::Pricing {
namespace {

struct Sampling {
    std::uint64_t trials;
    double antithetic;
};
/// A part of a block, whole blocks, several chunks with a part of a block at the end.
constexpr Sampling c_samplings[] = {{1, 0.0}, {63, 0.3}, {128, 1.0}, {1601, 0.5}};

class SettingsTest : public BlockAdjointTest {
 protected:
    /// With every kind of smoothing, on one and on both sides of the paths.
    void expect_same_throughout(Contract::Contract& priced,
                                ModelName name = ModelName::black_scholes) {
        for (auto const smoothing : {SmoothingType::NONE, SmoothingType::LOWER,
                                     SmoothingType::SYMETRIC, SmoothingType::UPPER})
            for (auto const& [trials, antithetic] : c_samplings) {
                SCOPED_TRACE(std::to_string(static_cast<int>(smoothing)) + ' ' +
                             std::to_string(trials) + ' ' + std::to_string(antithetic));
                PricerOptions::s_options.smoothing = smoothing;
                MCPricerOptions::s_options = {.trials = trials, .antithetic_factor = antithetic};
                expect_same(priced, name);
            }
    }

    /// Redeemed with a coupon on the first date whose worst share is above its spot, else the worst
    /// of the last date.
    std::unique_ptr<Contract::Contract> autocall(double spread) {
        TreeBuilder tree;
        int rest = tree.pay(
            tree.right(TreeBuilder::min_number, fold(tree, TreeBuilder::min, two_years), 1.0),
            two_years, "EUR");
        double coupon = 1.2;
        for (auto const& date : {two_years, one_year, half_year}) {
            int const worst = fold(tree, TreeBuilder::min, date);
            rest = tree.condition(tree.compare(TreeBuilder::greater_or_equal, worst, 1.0),
                                  tree.pay(tree.number(coupon), date, "EUR"), rest, spread, spread);
            coupon -= 0.05;
        }
        return contract(tree, rest);
    }
};

class BlockAdjointSharesTest : public SettingsTest,
                               public testing::WithParamInterface<std::size_t> {
 protected:
    BlockAdjointSharesTest() { add_shares(GetParam()); }
};
INSTANTIATE_TEST_SUITE_P(Shares, BlockAdjointSharesTest, testing::Values(1, 2, 3, 4, 5));

TEST_P(BlockAdjointSharesTest, SmoothPaymentsOnSeveralDates) {
    expect_same_throughout(*smooth_contract());
}

TEST_P(BlockAdjointSharesTest, AWorstOfCall) {
    expect_same_throughout(*worst_of_call());
}

TEST_P(BlockAdjointSharesTest, NestedRamps) {
    expect_same_throughout(*smoothed_contract());
}

TEST_P(BlockAdjointSharesTest, AnAutocallWithAndWithoutRamps) {
    expect_same_throughout(*autocall(0.0));
    expect_same_throughout(*autocall(0.1));
}

TEST_P(BlockAdjointSharesTest, TheTermStructureModel) {
    expect_same_throughout(*smoothed_contract(), ModelName::black_scholes_term_structure);
    expect_same_throughout(*autocall(0.1), ModelName::black_scholes_term_structure);
}

class BlockAdjointThreeSharesTest : public SettingsTest {
 protected:
    BlockAdjointThreeSharesTest() { add_shares(3); }

    int level(TreeBuilder& tree, std::size_t share, Date const& date) {
        return performance(tree, share, date);
    }
    /// The amount at a place among the three shares at a date.
    int sorted(TreeBuilder& tree, int place, Date const& date) {
        return tree.amount_of(c_sorted, join(place, level(tree, 0, date), level(tree, 1, date),
                                             level(tree, 2, date)));
    }
};

TEST_F(BlockAdjointThreeSharesTest, EveryNumberOfThreadsGivesTheSameBits) {
    auto const priced = autocall(0.1);
    PricerOptions::s_options.smoothing = SmoothingType::SYMETRIC;
    for (double const antithetic : {0.0, 0.5}) {
        MCPricerOptions::s_options = {.trials = 20'001, .antithetic_factor = antithetic};
        auto const one = numbers_of(run_by(Engine::automatic, *priced));
        for (int const threads : {2, 3, 7}) {
            MCPricerOptions::s_options.nb_threads = static_cast<std::uint8_t>(threads);
            auto const several = numbers_of(run_by(Engine::automatic, *priced));
            ASSERT_EQ(several.size(), one.size());
            for (std::size_t i = 0; i < one.size(); ++i)
                EXPECT_EQ(std::bit_cast<std::uint64_t>(several[i]),
                          std::bit_cast<std::uint64_t>(one[i]))
                    << i;
        }
    }
}

TEST_F(BlockAdjointThreeSharesTest, TheStatisticOfThePriceIsThatOfTheReference) {
    auto const priced = autocall(0.1);
    activate_first_order(1.0);
    PricerOptions::s_options.method = PricingMethod::AUTOMATIC_ADJOINT_DIFFERENTIATION;
    auto const price_by = [&](Engine which) {
        MCPricerOptions::s_options.engine = chosen_engine = which;
        return run(*priced)->c_get_results();
    };
    auto const block = price_by(Engine::automatic);
    auto const reference = price_by(Engine::reference);
    EXPECT_EQ(block.price.count, reference.price.count);
    EXPECT_NEAR(block.price.sum_of_squares, reference.price.sum_of_squares,
                1e-12 * reference.price.sum_of_squares);
    EXPECT_NEAR(block.price.min, reference.price.min, 1e-12);
    EXPECT_NEAR(block.price.max, reference.price.max, 1e-12);
    for (auto const& row : block.delta) EXPECT_EQ(row.result.count, 1U);
}

TEST_F(BlockAdjointThreeSharesTest, NothingIsHandedOnThroughANameThatIsWrittenAgain) {
    TreeBuilder tree;
    int const first = tree.set("x", level(tree, 0, half_year));
    int const times = tree.binary(TreeBuilder::mul, tree.reference("x"), level(tree, 1, one_year));
    int const early = tree.pay(times, one_year, "EUR");
    int const again =
        tree.set("x", tree.binary(TreeBuilder::add, tree.reference("x"), level(tree, 2, one_year)));
    int const late =
        tree.pay(tree.binary(TreeBuilder::mul, tree.reference("x"), level(tree, 1, two_years)),
                 two_years, "EUR");
    auto const priced = contract(tree, tree.both(first, tree.both(early, tree.both(again, late))));
    expect_same_throughout(*priced);
    // by hand: the price of x_1 S_1 + x_2 S_2 is linear in the levels of the second share alone
    MCPricerOptions::s_options = {.trials = 5001};
    auto const read = run_by(Engine::automatic, *priced);
    EXPECT_NEAR(read.delta.at(1), read.price, 1e-12 * read.price);
    EXPECT_EQ(read.delta.at(0), 0.0);
    EXPECT_EQ(read.delta.at(2), 0.0);
}

TEST_F(BlockAdjointThreeSharesTest, NamesWrittenUnderConditions) {
    TreeBuilder tree;
    for (double const spread : {0.0, 0.2}) {
        int const above = tree.compare(TreeBuilder::greater, level(tree, 0, half_year), 1.0);
        int const set = tree.both(
            tree.set("x", level(tree, 1, half_year)),
            tree.pay(tree.binary(TreeBuilder::mul, tree.reference("x"), level(tree, 0, one_year)),
                     one_year, "EUR"));
        int const otherwise = tree.both(
            tree.set("x", level(tree, 2, half_year)),
            tree.pay(tree.binary(TreeBuilder::mul, tree.reference("x"), level(tree, 2, one_year)),
                     one_year, "EUR"));
        int const condition = tree.condition(above, set, otherwise, spread, spread);
        int const after =
            tree.pay(tree.binary(TreeBuilder::mul, tree.reference("x"), level(tree, 1, two_years)),
                     two_years, "EUR");
        auto const start = tree.set("x", level(tree, 0, half_year));
        expect_same_throughout(*contract(tree, tree.both(start, tree.both(condition, after))));
    }
}

TEST_F(BlockAdjointThreeSharesTest, EachPlaceOfASort) {
    for (int place = 0; place < 3; ++place) {
        SCOPED_TRACE(place);
        TreeBuilder tree;
        int const picked = tree.binary(TreeBuilder::mul, sorted(tree, place, one_year),
                                       sorted(tree, 2 - place, two_years));
        expect_same_throughout(*contract(tree, tree.pay(picked, two_years, "EUR")));
    }
}

TEST_F(BlockAdjointThreeSharesTest, AmongEqualAmountsTheFirstIsTheOneThatCounts) {
    // the same amount three times, once with another derivative: max(S, 0) and S are equal
    TreeBuilder tree;
    int const plain = level(tree, 0, one_year);
    int const with_floor = tree.right(TreeBuilder::max_number, level(tree, 0, one_year), 0.0);
    int const twin = tree.binary(TreeBuilder::max, level(tree, 0, one_year), plain);
    for (int place = 0; place < 3; ++place) {
        int const picked = tree.amount_of(c_sorted, join(place, with_floor, plain, twin));
        expect_same_throughout(*contract(tree, tree.pay(picked, one_year, "EUR")));
    }
}

TEST_F(BlockAdjointThreeSharesTest, AmountsThatAreNoNumberBelowAChoice) {
    // the root and the logarithm of a negative number, steep at 0, and 0 / 0: chosen on some paths
    TreeBuilder tree;
    int const gain = tree.right(TreeBuilder::sub_number, level(tree, 0, one_year), 1.0);
    int const up = tree.compare(TreeBuilder::greater, level(tree, 0, one_year), 1.0);
    int const floor = tree.right(TreeBuilder::max_number, gain, 0.0);
    int const root = unary(tree, square_root, gain);
    int const steep = unary(tree, square_root, floor);
    int const quotient = tree.binary(TreeBuilder::div, floor, floor);
    auto const choose = [&](int then) {
        return tree.amount_of(c_chosen, join(up, then, level(tree, 1, one_year)));
    };
    for (int const amount : {choose(root), choose(unary(tree, logarithm, gain)), choose(quotient),
                             choose(steep), steep, root})
        expect_same_throughout(*contract(tree, tree.pay(amount, one_year, "EUR")));
}

TEST_F(BlockAdjointThreeSharesTest, TiesOfLargestAndSmallest) {
    TreeBuilder tree;
    int const a = level(tree, 0, one_year);
    int const twice = tree.right(TreeBuilder::mul_number, a, 2.0);
    int const sum = tree.binary(TreeBuilder::add, a, level(tree, 0, one_year));
    int const gap = tree.binary(TreeBuilder::sub, twice, sum);
    for (auto const op : {TreeBuilder::max, TreeBuilder::min}) {
        int const tie = tree.binary(op, twice, level(tree, 0, one_year));
        int const equal = tree.binary(op, sum, twice);
        expect_same_throughout(*contract(
            tree, tree.both(tree.pay(tie, one_year, "EUR"),
                            tree.pay(tree.binary(TreeBuilder::mul, equal, sum), one_year, "EUR"))));
    }
    int const flat = tree.amount_of(6, join(gap));
    expect_same_throughout(*contract(tree, tree.pay(flat, one_year, "EUR")));
}

TEST_F(BlockAdjointThreeSharesTest, BranchesThatPayTheSameWithOtherDerivatives) {
    TreeBuilder tree;
    int const known = tree.compare(TreeBuilder::greater, level(tree, 0, half_year), 1.0);
    int const unknown = tree.compare(
        TreeBuilder::greater,
        unary(tree, logarithm, tree.right(TreeBuilder::sub_number, level(tree, 0, half_year), 1.0)),
        0.0);
    // nothing is handed on through the name: the gap is 0, its derivative is not
    int const set = tree.set("x", level(tree, 1, one_year));
    int const plain = tree.pay(level(tree, 1, one_year), one_year, "EUR");
    int const named = tree.pay(tree.reference("x"), one_year, "EUR");
    for (int const event : {known, unknown})
        for (auto const& [then, otherwise] : {std::pair{plain, named}, std::pair{named, plain}})
            expect_same_throughout(
                *contract(tree, tree.both(set, tree.condition(event, then, otherwise, 0.2, 0.1))));
}

TEST_F(BlockAdjointThreeSharesTest, AShareWithoutDerivativeAndAContractWithoutAnyShare) {
    TreeBuilder tree;
    // the third share decides, and is not differentiated
    int const decides = tree.compare(TreeBuilder::lower, level(tree, 2, half_year), 1.0);
    expect_same_throughout(
        *contract(tree, tree.condition(decides, tree.pay(level(tree, 0, one_year), one_year, "EUR"),
                                       tree.pay(tree.number(1.0), one_year, "EUR"))));
    expect_same_throughout(*contract(tree, tree.pay(tree.number(1.0), one_year, "EUR")));
}

TEST_F(BlockAdjointThreeSharesTest, ManyConditionsOneInTheOther) {
    for (double const spread : {0.0, 0.3}) {
        TreeBuilder tree;
        int rest = tree.pay(level(tree, 2, two_years), two_years, "EUR");
        for (int depth = 0; depth < (spread == 0.0 ? 490 : 60); ++depth) {
            auto const share = static_cast<std::size_t>(depth % 3);
            int const above = tree.compare(TreeBuilder::greater, level(tree, share, half_year),
                                           1.0 + 0.002 * (depth % 100));
            int const paid =
                tree.binary(TreeBuilder::mul, level(tree, share, one_year),
                            tree.right(TreeBuilder::add_number,
                                       level(tree, (share + 1) % 3, one_year), 0.01 * depth));
            rest = tree.condition(above, rest, tree.pay(paid, one_year, "EUR"), spread, spread);
        }
        PricerOptions::s_options.smoothing = SmoothingType::SYMETRIC;
        MCPricerOptions::s_options = {.trials = 150};
        expect_same(*contract(tree, rest));
    }
}

TEST_F(BlockAdjointThreeSharesTest, WhatTheBlocksDoNotTakeRunsPathByPath) {
    TreeBuilder tree;
    std::string amounts = "0";
    for (int k = 0; k < 65; ++k) amounts += ',' + std::to_string(level(tree, 0, one_year));
    auto const priced =
        contract(tree, tree.pay(tree.amount_of(c_sorted, amounts), one_year, "EUR"));
    chosen_engine = Engine::automatic;
    auto const read = by_adjoints(*priced);
    EXPECT_FALSE(MCPricerOptions::s_options.ran_in_blocks);
    EXPECT_NEAR(read.delta.at(0), read.price, 1e-12 * read.price);
}

class BlockAdjointQuantoTest : public SettingsTest {
 protected:
    BlockAdjointQuantoTest() {
        add_flat_currency("USD");
        auto const domestic = add_share("E", 100.0, 0.3125);
        auto const quanto = add_share("Q", 50.0, 0.25, "USD");
        auto const rate = exchange_rate("USDEUR", "USD", "EUR");
        add_market(*rate, 0.875, 0.125);
        correlate(*domestic, *quanto, 0.25);
        correlate(*domestic, *rate, -0.375);
        correlate(*quanto, *rate, 0.5);
    }
};

TEST_F(BlockAdjointQuantoTest, QuantoAndConvertedPayments) {
    TreeBuilder tree;
    int const product =
        tree.binary(TreeBuilder::mul, tree.fixing("E", one_year), tree.fixing("Q", one_year));
    int const converted = tree.amount_of(28, join("Q", Date(two_years).c_str(), "EUR"));
    int const root = unary(tree, square_root, tree.fixing("Q", two_years));
    auto const priced = contract(tree, tree.both(tree.pay(product, one_year, "EUR"),
                                                 tree.both(tree.pay(converted, two_years, "EUR"),
                                                           tree.pay(root, two_years, "USD", -1))));
    expect_same_throughout(*priced);
    expect_same_throughout(*priced, ModelName::black_scholes_term_structure);
}

}  // namespace
}  // namespace ximCORE::Pricing
