// What programs are made of contracts, and which contracts have none.

#include "core/pricing/block/compiler.hpp"

#include <Eigen/Core>
#include <algorithm>

#include "core/contract/cashflow.hpp"
#include "core/contract/leaves.hpp"
#include "core/contract/payments.hpp"
#include "support/both_engines.hpp"
#include "support/helper_user.hpp"

namespace ximCORE::Pricing::Block {
namespace {

using Testing::TreeBuilder;
namespace op = Contract::op;

/// A number that only the tree can evaluate.
class Opaque final : public Contract::Amount {
 public:
    using Amount::eval;
    double eval(Modeling::FixingGrid&, Contract::Variables&) override { return 3.0; }
    bool eval(double&, Data::Level) override { return false; }
    Toolbox::Grid eval(Modeling::PDEHelper*) override { return {}; }
    void c_to_string(std::string&, bool) const override {}
    std::shared_ptr<Amount> clone() const override { return std::make_shared<Opaque>(*this); }
};

class CompilerTest : public BothEnginesTest {
 protected:
    CompilerTest() {
        add_currency("EUR");
        auto const a = add_share("A", 100.0, 0.25);
        auto const b = add_share("B", 80.0, 0.375);
        correlate(*a, *b, 0.5);
    }

    /// Calls work(helper) on the calibrated market of a contract.
    void with_helper(int root, HelperUser::Work const& work) {
        priced = contract(tree, root);
        Pricing::with_helper(*priced, today, work);
    }

    /// The program of a contract, in which `features` are inputs.
    std::optional<Program> compiled(int root, std::vector<std::string> const& features = {}) {
        std::optional<Program> program;
        with_helper(root, [&](Modeling::MCHelper& helper) {
            auto& cashflow = *priced->get_current();
            std::ignore = cashflow.rank_names();
            std::vector<double*> places;
            for (auto const& feature : features) cashflow.unsafe_get_tags(feature, places);
            std::ranges::sort(places);
            std::vector<double const*> const inputs(places.begin(), places.end());
            auto const& factors = helper.c_get_discount_factors();
            std::vector<double> const discount_factors(factors.begin(), factors.end());
            program = compile(cashflow, helper.get_fixing_grid(),
                              {discount_factors, inputs, !features.empty()});
        });
        return program;
    }

    static std::ptrdiff_t count(std::vector<Instruction> const& instructions, Code code) {
        return std::ranges::count(instructions, code, &Instruction::code);
    }

    int product() {
        return tree.binary(TreeBuilder::mul, tree.fixing("A", one_year),
                           tree.fixing("B", one_year));
    }
    int above(std::string const& ticker, double level) {
        return tree.compare(TreeBuilder::greater, tree.fixing(ticker, half_year), level);
    }
    int paid(int amount, Date const& date) { return tree.pay(amount, date, "EUR"); }

    TreeBuilder tree;
    std::unique_ptr<Contract::Contract> priced;
};

constexpr Code c_div = code_of<op::Div>();
constexpr Code c_mul = code_of<op::Mul>();

TEST_F(CompilerTest, NumbersAreFolded) {
    int const sum = tree.binary(TreeBuilder::add, tree.constant("k", 2.0), tree.constant("l", 5.0));
    int const exp = tree.amount_of(8, std::to_string(sum));
    auto const program = compiled(paid(exp, one_year));
    ASSERT_TRUE(program);
    EXPECT_EQ(program->body.size(), 3U);  // 0 to the sum, the payment, the end
    EXPECT_EQ(count(program->body, Code::copy), 1);
    EXPECT_EQ(count(program->body, Code::add_to), 1);
    EXPECT_TRUE(program->cells.empty());
    EXPECT_TRUE(std::ranges::any_of(program->constants, [](double value) {
        return std::abs(value - std::exp(-c_rate) * std::exp(7.0)) < 1e-9;
    }));
}

TEST_F(CompilerTest, AConditionOnNumbersIsItsBranch) {
    int const event = tree.compare(TreeBuilder::greater, tree.constant("k", 2.0), 1.0);
    auto const program = compiled(tree.condition(event, paid(tree.fixing("A", one_year), one_year),
                                                 paid(tree.fixing("B", one_year), one_year)));
    ASSERT_TRUE(program);
    EXPECT_EQ(program->cells.size(), 1U);
    EXPECT_EQ(count(program->body, Code::skip), 0);
    EXPECT_EQ(count(program->body, code_of<op::Greater>()), 0);
}

TEST_F(CompilerTest, EqualStepsAreTakenOnce) {
    auto const program =
        compiled(tree.both(paid(tree.amount_of(8, std::to_string(product())), one_year),
                           paid(tree.amount_of(9, std::to_string(product())), two_years)));
    ASSERT_TRUE(program);
    EXPECT_EQ(count(program->body, c_mul), 3);  // of the cells, and by each discount factor
    EXPECT_EQ(program->cells.size(), 2U);
}

TEST_F(CompilerTest, AStepOfASkippedBranchIsTakenAgainBehindIt) {
    int const branch = tree.both(paid(tree.amount_of(8, std::to_string(product())), one_year),
                                 paid(tree.amount_of(9, std::to_string(product())), one_year));
    int const condition = tree.condition(above("A", 1e9), branch, tree.nothing());
    auto const program = compiled(tree.both(condition, paid(product(), two_years)));
    ASSERT_TRUE(program);
    EXPECT_EQ(count(program->body, Code::skip), 1);
    EXPECT_EQ(count(program->body, c_mul), 5);
    expect_same_price(*priced, 8000.0);
    EXPECT_GT(price(*priced, Engine::automatic).price.mean, 7000.0);
}

TEST_F(CompilerTest, AStepBeforeAConditionIsKnownInItsBranches) {
    int const condition =
        tree.condition(above("A", 100.0), paid(product(), one_year), paid(product(), two_years));
    auto const program = compiled(tree.both(paid(product(), half_year), condition));
    ASSERT_TRUE(program);
    EXPECT_EQ(count(program->body, c_mul), 4);  // of the cells, and by each discount factor
    expect_same_price(*priced, 8000.0);
}

TEST_F(CompilerTest, AStepOnANameIsTakenAgainOnceTheNameIsSet) {
    auto const doubled = [&] {
        return tree.right(TreeBuilder::mul_number, tree.reference("x"), 2.0);
    };
    int const first =
        tree.both(tree.set("x", tree.fixing("A", one_year)), paid(doubled(), one_year));
    int const second =
        tree.both(tree.set("x", tree.fixing("B", one_year)), paid(doubled(), one_year));
    ASSERT_TRUE(compiled(tree.both(first, second)));
    expect_same_price(*priced, 100.0);
    double const mean = price(*priced, Engine::automatic).price.mean;
    EXPECT_NEAR(mean, 360.0, 20.0);
}

TEST_F(CompilerTest, ANameSetInABranchHoldsOnItsPathsAlone) {
    int const set = tree.condition(above("A", 100.0), tree.set("x", tree.fixing("A", one_year)),
                                   tree.set("y", tree.fixing("B", one_year)));
    int const sum = tree.binary(TreeBuilder::add, tree.reference("x"),
                                tree.right(TreeBuilder::mul_number, tree.reference("y"), 1000.0));
    ASSERT_TRUE(compiled(tree.both(set, paid(sum, two_years))));
    expect_same_price(*priced, 1000.0);
}

TEST_F(CompilerTest, ANameThatNobodySetsIsZero) {
    auto const program = compiled(paid(tree.reference("x"), one_year));
    ASSERT_TRUE(program);
    EXPECT_EQ(price(*priced, Engine::automatic).price.max,
              std::max(0.0, std::numeric_limits<double>::min()));
    EXPECT_EQ(price(*priced, Engine::automatic).price.mean, 0.0);
}

TEST_F(CompilerTest, ANameSetInASmoothedBranchEndsWithIt) {
    PricerOptions::s_options.smoothing = SmoothingType::SYMETRIC;
    int const inner =
        tree.both(tree.set("x", tree.fixing("A", one_year)), paid(tree.reference("x"), one_year));
    int const other =
        tree.both(tree.set("x", tree.fixing("B", one_year)), paid(tree.reference("x"), one_year));
    int const condition = tree.condition(above("A", 100.0), inner, other, 5.0, 5.0);
    int const root = tree.both(tree.set("x", tree.number(7.0)),
                               tree.both(condition, paid(tree.reference("x"), two_years)));
    ASSERT_TRUE(compiled(root));
    expect_same_price(*priced, 100.0);
    double const in_the_end = 7.0 * std::exp(-c_rate * years(two_years));
    EXPECT_GT(price(*priced, Engine::automatic).price.min, in_the_end);
    EXPECT_LT(price(*priced, Engine::automatic).price.mean, 200.0);
}

TEST_F(CompilerTest, SmoothedConditionsMayStandInConditionsOfBothKinds) {
    for (auto const smoothing :
         {SmoothingType::NONE, SmoothingType::LOWER, SmoothingType::SYMETRIC, SmoothingType::UPPER})
        for (int const spreads : {0, 1, 2, 3, 4, 5, 6, 7}) {
            PricerOptions::s_options.smoothing = smoothing;
            tree = {};
            auto const set = [&](double factor) {
                return tree.set("x",
                                tree.right(TreeBuilder::add_number, tree.reference("x"), factor));
            };
            int const innermost =
                tree.condition(above("B", 85.0), tree.both(set(1.0), paid(product(), one_year)),
                               set(2.0), spreads & 1 ? 10.0 : 0.0, 0.0);
            int const inner = tree.condition(
                above("A", 95.0), tree.both(innermost, paid(tree.reference("x"), one_year)),
                tree.both(set(4.0), paid(tree.reference("x"), two_years)), 0.0,
                spreads & 2 ? 10.0 : 0.0);
            int const outer =
                tree.condition(above("A", 110.0), set(8.0), tree.both(set(16.0), inner),
                               spreads & 4 ? 5.0 : 0.0, spreads & 4 ? 3.0 : 0.0);
            ASSERT_TRUE(compiled(tree.both(outer, paid(tree.reference("x"), two_years))));
            expect_same_price(*priced, 8000.0);
        }
}

TEST_F(CompilerTest, AShortBranchHasNoSkip) {
    int const flow = paid(tree.fixing("B", two_years), two_years);
    auto const program = compiled(tree.condition(above("A", 100.0), flow, tree.nothing()));
    ASSERT_TRUE(program);
    EXPECT_EQ(count(program->body, Code::add_where), 1);
    EXPECT_LE(count(program->body, Code::skip), 1);
    int const number = paid(tree.constant("k", 2.0), two_years);
    auto const shorter = compiled(tree.condition(above("A", 100.0), number, tree.nothing()));
    ASSERT_TRUE(shorter);
    EXPECT_EQ(count(shorter->body, Code::skip), 0);
    expect_same_price(*priced, 1.0);
}

TEST_F(CompilerTest, WhatNobodyReadsIsDropped) {
    int const set = tree.set("unread", tree.amount_of(8, std::to_string(product())));
    auto const program = compiled(tree.both(set, paid(tree.fixing("A", one_year), one_year)));
    ASSERT_TRUE(program);
    EXPECT_EQ(count(program->body, code_of<op::Cos>()), 0);
    EXPECT_EQ(count(program->body, code_of<op::Exp>()), 0);
    EXPECT_EQ(count(program->body, c_mul), 1);  // by the discount factor
}

TEST_F(CompilerTest, ALongChainOfStepsSharesAFewRegisters) {
    int chain = tree.fixing("A", one_year);
    for (int i = 0; i < 300; ++i)
        chain = tree.right(i % 2 == 0 ? TreeBuilder::add_number : TreeBuilder::max_number, chain,
                           0.5 * i);
    auto const program = compiled(paid(chain, one_year));
    ASSERT_TRUE(program);
    EXPECT_GE(program->body.size(), 300U);
    EXPECT_LE(program->nb_registers, 4U);
    expect_same_price(*priced, 100.0);
}

TEST_F(CompilerTest, ManyValuesAtATimeHaveARegisterEach) {
    std::vector<int> amounts;
    for (int i = 0; i < 40; ++i)
        amounts.push_back(tree.right(TreeBuilder::mul_number, tree.fixing("A", one_year), 1.0 + i));
    std::string payload = "11";
    for (int const amount : amounts) payload += "," + std::to_string(amount);
    auto const program = compiled(paid(tree.amount_of(32, payload), one_year));
    ASSERT_TRUE(program);
    EXPECT_GE(program->nb_registers, 39U);
    expect_same_price(*priced, 1000.0);
}

TEST_F(CompilerTest, StepsThatNoInputMovesStandInThePrologue) {
    int const gap = tree.binary(TreeBuilder::sub, product(), tree.constant("strike", 8000.0));
    auto const program =
        compiled(paid(tree.right(TreeBuilder::max_number, gap, 0.0), one_year), {"strike"});
    ASSERT_TRUE(program);
    ASSERT_EQ(program->inputs.size(), 1U);
    EXPECT_EQ(*program->inputs[0].place, 8000.0);
    EXPECT_EQ(count(program->prologue, c_mul), 1);
    EXPECT_EQ(count(program->body, code_of<op::Sub>()), 1);
    EXPECT_EQ(program->prologue.size(), 2U);
    EXPECT_EQ(program->prologue.back().code, Code::end);
    EXPECT_EQ(program->body.back().code, Code::end);
}

TEST_F(CompilerTest, ALevelThatIsOnlyReadAsAPerformanceIsDividedWithItsForward) {
    auto const performance = [&](std::string const& ticker, double start) {
        return tree.right(TreeBuilder::div_number, tree.fixing(ticker, one_year), start);
    };
    auto const worst = [&] {
        return tree.binary(TreeBuilder::min, performance("A", 100.0), performance("B", 64.0));
    };
    int const coupon = tree.condition(tree.compare(TreeBuilder::greater, worst(), 1.0),
                                      paid(worst(), two_years), paid(worst(), one_year));
    int const best = tree.amount_of(32, "1," + std::to_string(performance("A", 100.0)) + "," +
                                            std::to_string(performance("B", 64.0)));
    auto const program = compiled(tree.both(coupon, paid(best, two_years)));
    ASSERT_TRUE(program);
    EXPECT_EQ(count(program->body, c_div), 0);
    ASSERT_EQ(program->cells.size(), 2U);
    for (auto const& cell : program->cells)
        EXPECT_EQ(cell.divisor, cell.underlying_rank == 0 ? 100.0 : 64.0);
    expect_same_price(*priced, 1.0);
}

TEST_F(CompilerTest, ALevelWithAnotherReaderIsDividedByTheProgram) {
    int const quotient = tree.right(TreeBuilder::div_number, tree.fixing("A", one_year), 100.0);
    auto const constant = [&] { return tree.constant("start", 50.0); };
    auto const fixing = [&] { return tree.fixing("A", one_year); };
    auto const divided = [&](int other, std::vector<std::string> const& features = {}) {
        auto const program =
            compiled(tree.both(paid(quotient, one_year), paid(other, two_years)), features);
        EXPECT_TRUE(program);
        EXPECT_EQ(program->cells.size(), 1U);
        EXPECT_EQ(program->cells[0].divisor, 1.0);
        expect_same_price(*priced, 100.0);
        return count(program->prologue, c_div) + count(program->body, c_div);
    };
    EXPECT_EQ(divided(fixing()), 1);
    EXPECT_EQ(divided(tree.right(TreeBuilder::div_number, fixing(), 200.0)), 2);
    EXPECT_EQ(divided(tree.binary(TreeBuilder::div, fixing(), constant()), {"start"}), 2);
    EXPECT_EQ(divided(tree.binary(TreeBuilder::div, fixing(), fixing())), 2);
    EXPECT_EQ(divided(tree.binary(TreeBuilder::div, tree.number(1.0), fixing())), 2);
    EXPECT_EQ(divided(tree.right(TreeBuilder::div_number, fixing(), 1e200)), 2);
}

TEST_F(CompilerTest, AFeatureInTwoPlacesIsTwoInputs) {
    auto const strike = [&] { return tree.constant("strike", 100.0); };
    int const both = tree.both(paid(strike(), one_year), paid(strike(), two_years));
    auto const program = compiled(both, {"strike"});
    ASSERT_TRUE(program);
    EXPECT_EQ(program->inputs.size(), 2U);
    expect_same_ladder(*priced, {{}, point("strike", 3.0)}, 100.0);
}

/// Conditions in conditions, each on a level of its own.
int nested(TreeBuilder& tree, Toolbox::Date const& date, int depth) {
    int flow = tree.pay(tree.number(1.0), date, "EUR");
    for (int i = 0; i < depth; ++i) {
        int const event =
            tree.compare(TreeBuilder::greater, tree.fixing("A", date), 0.01 * (i + 1));
        flow = tree.condition(event, flow, tree.nothing());
    }
    return flow;
}

TEST_F(CompilerTest, DeeplyNestedConditionsHaveNoProgramAndAreStillPriced) {
    EXPECT_TRUE(compiled(nested(tree, one_year, 500)));
    expect_same_price(*priced, 1.0);
    tree = {};
    EXPECT_FALSE(compiled(nested(tree, one_year, 501)));
    EXPECT_GT(run(*priced)->c_get_results().price.mean, 0.9);
    EXPECT_FALSE(MCPricerOptions::s_options.ran_in_blocks);
}

TEST_F(CompilerTest, ADeepAmountIsCompiled) {
    int chain = tree.fixing("A", one_year);
    for (int i = 0; i < 9'000; ++i) chain = tree.right(TreeBuilder::add_number, chain, 0.25);
    EXPECT_TRUE(compiled(paid(chain, one_year)));
    MCPricerOptions::s_options.trials = 65;
    expect_same_price(*priced, 3000.0);
}

TEST_F(CompilerTest, MoreThanTwoHundredThousandStepsHaveNoProgram) {
    // each smoothed branch copies each name
    PricerOptions::s_options.smoothing = SmoothingType::SYMETRIC;
    int flow = tree.nothing();
    for (int i = 0; i < 350; ++i) {
        int const amount = tree.right(TreeBuilder::add_number, tree.fixing("A", one_year), 0.5 * i);
        int const event = tree.compare(TreeBuilder::greater, amount, 200.0);
        flow = tree.both(
            tree.condition(event, paid(amount, one_year), paid(amount, two_years), 1.0, 1.0), flow);
    }
    for (int i = 0; i < 350; ++i)
        flow = tree.both(tree.set("name" + std::to_string(i), tree.fixing("A", one_year)), flow);
    EXPECT_FALSE(compiled(flow));
}

TEST_F(CompilerTest, SixtyFourAmountsAreSortedAndNoMore) {
    for (int const size : {64, 65}) {
        tree = {};
        std::string payload = "0";
        for (int i = 0; i < size; ++i) {
            int const amount =
                tree.right(TreeBuilder::add_number, tree.fixing("A", one_year), 0.5 * i);
            payload += "," + std::to_string(amount);
        }
        EXPECT_EQ(compiled(paid(tree.amount_of(32, payload), one_year)).has_value(), size == 64);
    }
}

TEST_F(CompilerTest, ANodeWithoutStepsHasNoProgram) {
    with_helper(paid(tree.fixing("A", one_year), one_year), [](Modeling::MCHelper& helper) {
        Contract::RefAmountSetter const setter(
            "x", Contract::Child<Contract::Amount>(std::make_shared<Opaque>()));
        EXPECT_FALSE(compile(setter, helper.get_fixing_grid(), {}));
    });
}

}  // namespace
}  // namespace ximCORE::Pricing::Block
