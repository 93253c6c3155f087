// The block engine against the engine of the tree, one path at a time: price, sensitivities and
// ladders on every kind of contract, and the same bits for every number of threads.

#include <array>
#include <numeric>

#include "core/data/interest_rates.hpp"
#include "support/both_engines.hpp"

namespace ximCORE::Pricing {
namespace {

using Testing::TreeBuilder;

constexpr std::array c_smoothings{SmoothingType::NONE, SmoothingType::LOWER,
                                  SmoothingType::SYMETRIC, SmoothingType::UPPER};
constexpr std::array c_antithetic_factors{0.0, 0.3, 0.5, 1.0};

/// Three shares with correlations, rates of 3 %.
class EnginesTest : public BothEnginesTest {
 protected:
    EnginesTest() {
        add_currency("EUR");
        std::vector<std::shared_ptr<Data::Underlying>> const assets{
            add_share("A", 100.0, 0.25), add_share("B", 80.0, 0.375), add_share("C", 120.0, 0.5)};
        for (std::size_t i = 0; i < assets.size(); ++i)
            for (std::size_t j = 0; j < i; ++j)
                correlate(*assets[i], *assets[j], i == 1 ? 0.5 : 0.25 - 0.375 * double(j));
    }
    ~EnginesTest() override { Contract::Contract::s_intraday = {}; }

    /// Redemption when the worst share stands above its strike, a coupon that remembers, and a put
    /// at the end; one condition is smoothed on both sides, one on one, and one not at all.
    std::unique_ptr<Contract::Contract> autocall() {
        TreeBuilder tree;
        auto const worst = [&](Date const& date) {
            int const a = tree.right(TreeBuilder::div_number, tree.fixing("A", date), 100.0);
            int const b = tree.right(TreeBuilder::div_number, tree.fixing("B", date), 80.0);
            int const c = tree.right(TreeBuilder::div_number, tree.fixing("C", date), 120.0);
            return tree.binary(TreeBuilder::min, tree.binary(TreeBuilder::min, a, b), c);
        };
        int const paid =
            tree.binary(TreeBuilder::add, tree.reference("missed"), tree.constant("coupon", 5.0));
        auto const coupon = [&](Date const& date) {
            int const above = tree.compare(TreeBuilder::greater, worst(date), 0.8);
            return tree.condition(
                above, tree.both(tree.pay(paid, date, "EUR"), tree.set("missed", tree.number(0.0))),
                tree.set("missed", paid));
        };
        int const put =
            tree.pay(tree.right(TreeBuilder::min_number, worst(two_years), 1.0), settlement, "EUR");
        int const knocked = tree.compare(TreeBuilder::lower, worst(two_years), 0.7);
        int const end = tree.condition(
            knocked, put, tree.pay(tree.constant("notional", 1.0), settlement, "EUR"), 0.02, 0.01);
        auto const called = [&](Date const& date, int otherwise, double spread) {
            int const above = tree.compare(TreeBuilder::greater_or_equal, worst(date), 1.0);
            return tree.condition(above, tree.pay(tree.constant("notional", 1.0), date, "EUR"),
                                  otherwise, 0.0, spread);
        };
        int const last = tree.both(coupon(two_years), end);
        int const second = tree.both(coupon(one_year), called(one_year, last, 0.02));
        int const first = tree.both(coupon(half_year), called(half_year, second, 0.0));
        return contract(tree, tree.both(tree.set("missed", tree.number(1.0)), first));
    }

    /// The best of three dates on one share: an odd number of normals.
    std::unique_ptr<Contract::Contract> lookback() {
        TreeBuilder tree;
        int best = tree.fixing("A", half_year);
        for (auto const& date : {one_year, two_years})
            best = tree.binary(TreeBuilder::max, best, tree.fixing("A", date));
        return contract(tree, tree.pay(tree.call(best, 105.0), two_years, "EUR"));
    }

    std::unique_ptr<Contract::Contract> moved(TreeBuilder& tree, int root) {
        auto made = contract(tree, root);
        EXPECT_TRUE(made->move(today, {}, nullptr)) << testing::PrintToString(errors());
        return made;
    }

    Date const settlement{2025, 1, 6};
};

TEST_F(EnginesTest, EverySensitivityAgreesInEveryDirection) {
    auto const priced = autocall();
    MCPricerOptions::s_options = {.trials = 70, .antithetic_factor = 0.3};
    PricerOptions::s_options.smoothing = SmoothingType::UPPER;
    for (int directions = 0; directions < 27; ++directions) {
        SCOPED_TRACE(directions);
        activate_block_greeks(directions % 3 - 1, directions / 3 % 3 - 1, directions / 9 - 1);
        expect_same_price(*priced, 10.0);
    }
}

TEST_F(EnginesTest, EveryKindOfSmoothingAndWeightOfTheMirroredPathAgrees) {
    auto const priced = autocall();
    for (auto const smoothing : c_smoothings)
        for (double const factor : c_antithetic_factors) {
            SCOPED_TRACE(testing::Message() << static_cast<int>(smoothing) << ", " << factor);
            MCPricerOptions::s_options = {.trials = 129, .antithetic_factor = factor};
            PricerOptions::s_options.smoothing = smoothing;
            activate_block_greeks(1, -1, 0);
            expect_same_price(*priced, 10.0);
        }
}

TEST_F(EnginesTest, EveryNumberOfTrialsAgrees) {
    auto const many_factors = autocall();
    auto const odd = lookback();
    // 1344 and 5440 trials fill a chunk of 16,384 normals, with 12 and with 3 for each
    for (std::uint64_t const trials : {0U, 1U, 2U, 63U, 64U, 65U, 127U, 128U, 129U, 1343U, 1344U,
                                       1345U, 2689U, 5439U, 5440U, 5441U}) {
        SCOPED_TRACE(trials);
        MCPricerOptions::s_options = {.trials = trials};
        expect_same_price(*many_factors, 10.0);
        expect_same_price(*odd, 10.0);
    }
}

TEST_F(EnginesTest, EverySeedAgrees) {
    auto const priced = lookback();
    for (std::uint64_t const seed : {std::uint64_t{0}, std::uint64_t{1}, ~std::uint64_t{0}}) {
        Modeling::MCHelper::s_seed = seed;
        expect_same_price(*priced, 10.0);
    }
}

TEST_F(EnginesTest, TheBlockEngineGivesTheSameBitsForEveryNumberOfThreads) {
    auto const priced = autocall();
    for (auto const& [trials, factor] :
         {std::pair{10U, 0.0}, std::pair{2000U, 0.5}, std::pair{9001U, 0.3}}) {
        SCOPED_TRACE(trials);
        PricerOptions::s_options.smoothing = SmoothingType::SYMETRIC;
        activate_block_greeks(0, 0, 1);
        std::vector<Results> results;
        for (auto const threads :
             {std::uint8_t{1}, std::uint8_t{2}, std::uint8_t{3}, std::uint8_t{7}}) {
            MCPricerOptions::s_options = {
                .trials = trials, .nb_threads = threads, .antithetic_factor = factor};
            results.push_back(price(*priced, Engine::automatic));
            expect_same_bits(results.front(), results.back());
        }
    }
}

TEST_F(EnginesTest, ALadderGivesTheSameBitsForEveryNumberOfThreads) {
    auto const priced = autocall();
    PricerOptions::s_options.smoothing = SmoothingType::SYMETRIC;
    std::vector<Points> results;
    for (auto const threads : {std::uint8_t{1}, std::uint8_t{2}, std::uint8_t{3}}) {
        MCPricerOptions::s_options = {
            .trials = 5001, .nb_threads = threads, .antithetic_factor = 0.5};
        results.push_back(
            climb(*priced, {{}, point("coupon", 6.0), point("notional", 2.0)}, Engine::automatic));
        for (std::size_t i = 0; i < 3; ++i)
            expect_same_bits(results.front()[i].results, results.back()[i].results);
    }
}

TEST_F(EnginesTest, LaddersAgreeInEveryKindOfSmoothing) {
    auto const priced = autocall();
    auto both = point("coupon", 0.0);
    both.shifts["notional"] = {Shift::Kind::multiplicative, Shift::Unit::none, 3.0};
    for (auto const smoothing : c_smoothings)
        for (double const factor : {0.0, 0.3}) {
            MCPricerOptions::s_options = {.trials = 130, .antithetic_factor = factor};
            PricerOptions::s_options.smoothing = smoothing;
            expect_same_ladder(*priced,
                               {{},
                                point("coupon", 6.0),
                                point("coupon", -2.0),
                                point("notional", 0.0),
                                point("nobody", 1.0),
                                both},
                               10.0);
        }
}

TEST_F(EnginesTest, APointWithoutShiftsIsThePriceToTheLastBit) {
    auto const priced = lookback();
    auto const points = climb(*priced, {{}, {}}, Engine::automatic);
    for (auto const& one : points)
        expect_same_bits(one.results.price, price(*priced, Engine::automatic).price);
}

TEST_F(EnginesTest, ALadderOnABarrierAndAStrikeAgrees) {
    TreeBuilder tree;
    int const gap =
        tree.binary(TreeBuilder::sub, tree.fixing("A", one_year), tree.constant("barrier", 90.0));
    int const above = tree.compare(TreeBuilder::greater_or_equal, gap, 0.0);
    int const strike = tree.constant("strike", 100.0);
    int const call =
        tree.right(TreeBuilder::max_number,
                   tree.binary(TreeBuilder::sub, tree.fixing("B", two_years), strike), 0.0);
    int const set = tree.set("s", tree.right(TreeBuilder::mul_number, strike, 2.0));
    auto const priced = contract(
        tree,
        tree.both(set, tree.condition(above, tree.pay(call, settlement, "EUR"),
                                      tree.pay(tree.reference("s"), one_year, "EUR"), 3.0, 3.0)));
    Points points(1);
    for (int i = -4; i < 4; ++i) {
        points.push_back(point("barrier", 90.0 + 10.0 * i));
        points.push_back(point("strike", 100.0 + 10.0 * i));
    }
    for (auto const smoothing : c_smoothings) {
        PricerOptions::s_options.smoothing = smoothing;
        expect_same_ladder(*priced, points, 100.0);
    }
}

TEST_F(EnginesTest, AContractWithoutFixingsAgrees) {
    TreeBuilder tree;
    auto const priced = contract(tree, tree.pay(tree.constant("k", 3.0), one_year, "EUR"));
    for (std::uint64_t const trials : {0U, 1U, 65U, 50'000U}) {
        MCPricerOptions::s_options = {.trials = trials, .nb_threads = 2};
        expect_same_price(*priced, 1.0);
        expect_same_ladder(*priced, {{}, point("k", 4.0)}, 1.0);
    }
}

TEST_F(EnginesTest, AnEmptyContractAgrees) {
    TreeBuilder tree;
    auto const priced = contract(tree, tree.nothing());
    expect_same_price(*priced, 1.0);
    EXPECT_EQ(price(*priced, Engine::automatic).price.mean, 0.0);
}

TEST_F(EnginesTest, PastFixingsAgree) {
    Date const past(2022, 7, 1);
    cache().get_spot(past, share("A").get(), Data::Level::silent)->set_val(95.0F);
    TreeBuilder tree;
    int const performance =
        tree.binary(TreeBuilder::div, tree.fixing("A", one_year), tree.fixing("A", past));
    int const seen = tree.set("seen", tree.fixing("A", past));
    int const paid = tree.pay(tree.binary(TreeBuilder::mul, performance, tree.reference("seen")),
                              one_year, "EUR");
    auto const priced = moved(tree, tree.both(seen, paid));
    activate_block_greeks(0, 0, 0);
    expect_same_price(*priced, 100.0);
}

TEST_F(EnginesTest, ABarrierThatTodaysOpenFixingTouchesAgrees) {
    Contract::Contract::s_intraday.IntradayFixings = true;
    for (auto const op :
         {TreeBuilder::greater, TreeBuilder::greater_or_equal, TreeBuilder::lower,
          TreeBuilder::lower_or_equal, TreeBuilder::equal, TreeBuilder::not_equal}) {
        SCOPED_TRACE(op);
        TreeBuilder tree;
        int const event = tree.compare(op, tree.fixing("A", today), 100.0);
        int const then = tree.pay(tree.fixing("A", one_year), one_year, "EUR");
        auto const priced =
            moved(tree, tree.condition(event, then, tree.pay(tree.number(7.0), one_year, "EUR")));
        expect_same_price(*priced, 100.0);
        bool const holds = op == TreeBuilder::greater_or_equal ||
                           op == TreeBuilder::lower_or_equal || op == TreeBuilder::equal;
        EXPECT_EQ(price(*priced, Engine::automatic).price.standard_error > 0.0, holds);
    }
}

TEST_F(EnginesTest, ATodaysFixingThatIsKnownAgrees) {
    TreeBuilder tree;
    int const event = tree.compare(TreeBuilder::greater_or_equal, tree.fixing("A", today), 100.0);
    int const performance =
        tree.binary(TreeBuilder::div, tree.fixing("A", one_year), tree.fixing("A", today));
    auto const priced =
        moved(tree, tree.condition(event, tree.pay(performance, one_year, "EUR"), tree.nothing()));
    activate_block_greeks(1, 0, 0);
    expect_same_price(*priced, 1.0);
}

TEST_F(EnginesTest, TheTermStructureModelAgrees) {
    auto const priced = autocall();
    MCPricerOptions::s_options = {.trials = 130, .antithetic_factor = 0.5};
    PricerOptions::s_options.smoothing = SmoothingType::LOWER;
    activate_block_greeks(0, 1, -1);
    expect_same_price(*priced, 10.0, 1e-12, ModelName::black_scholes_term_structure);
}

TEST_F(EnginesTest, RatesOfInterestAgree) {
    auto const deposit = std::make_shared<Data::DepositRate>();
    deposit->set_start("+0d");
    deposit->set_end("+1y");
    underlying("DEP", "EUR", deposit);
    auto const bond = std::make_shared<Data::ZeroCouponBond>();
    bond->set_start("+0d");
    bond->set_end("+1y");
    underlying("ZCB", "EUR", bond);
    TreeBuilder tree;
    int const rate = tree.right(TreeBuilder::mul_number, tree.fixing("DEP", one_year), 1000.0);
    int const least = tree.binary(TreeBuilder::min, rate, tree.fixing("A", half_year));
    int const value =
        tree.binary(TreeBuilder::mul, tree.fixing("ZCB", half_year), tree.fixing("B", one_year));
    int const above = tree.compare(TreeBuilder::greater, least, 20.0);
    auto const priced =
        contract(tree, tree.condition(above, tree.pay(value, one_year, "EUR"),
                                      tree.pay(least, two_years, "EUR"), 50.0, 50.0));
    PricerOptions::s_options.smoothing = SmoothingType::SYMETRIC;
    activate_block_greeks(0, 0, 0);
    expect_same_price(*priced, 100.0);
}

TEST_F(EnginesTest, WithoutVolatilityABarrierAtTheForwardAgrees) {
    add_share("Z", 100.0, 0.0);
    std::ignore = yield_curve(*currency("CHF"));  // without rates
    add_share("F", 100.0, 0.0, "CHF");
    auto const rate = exchange_rate("CHFEUR", "CHF", "EUR");
    add_market(*rate, 1.0, 0.0);
    correlate(*share("F", "CHF"), *rate, 0.0);
    for (auto const* ticker : {"Z", "F"})
        for (auto const op : {TreeBuilder::greater, TreeBuilder::greater_or_equal}) {
            SCOPED_TRACE(ticker);
            TreeBuilder tree;
            int const event = tree.compare(op, tree.fixing(ticker, one_year), 100.0);
            auto const priced = contract(
                tree,
                tree.condition(event, tree.pay(tree.fixing(ticker, one_year), one_year, "EUR"),
                               tree.pay(tree.number(7.0), one_year, "EUR")));
            expect_same_price(*priced, 100.0);
            activate_block_greeks(-1, 1, 0);
            expect_same_price(*priced, 100.0);
        }
}

TEST_F(EnginesTest, ACrossVannaRunsOneByOne) {
    auto const priced = autocall();
    activate_block_greeks(0, 0, 0);
    auto& xvanna = PricerOptions::s_options.greeks.xvanna;
    xvanna.activate = true;
    xvanna.spot_bump = xvanna.vol_bump = 100.0;
    std::ignore = run(*priced);
    EXPECT_FALSE(MCPricerOptions::s_options.ran_in_blocks);
}

TEST_F(EnginesTest, AModelWithOtherPathsRunsOneByOne) {
    auto const priced = lookback();
    std::ignore = run(*priced, ModelName::dupire);
    EXPECT_FALSE(MCPricerOptions::s_options.ran_in_blocks);
}

TEST_F(EnginesTest, MoreThanSixtyFourAmountsToSortRunOneByOne) {
    for (int const size : {64, 65}) {
        TreeBuilder tree;
        std::string payload = "3";
        for (int i = 0; i < size; ++i) {
            int const amount = tree.right(TreeBuilder::mul_number, tree.fixing("A", one_year),
                                          1.0 + (i * 37 % 64));
            payload += "," + std::to_string(amount);
        }
        auto const priced = contract(tree, tree.pay(tree.amount_of(32, payload), one_year, "EUR"));
        auto const mean = run(*priced)->c_get_results().price.mean;
        EXPECT_EQ(MCPricerOptions::s_options.ran_in_blocks, size == 64);
        MCPricerOptions::s_options.engine = Engine::reference;
        EXPECT_NEAR(run(*priced)->c_get_results().price.mean, mean, 1e-9);
        MCPricerOptions::s_options.engine = Engine::automatic;
    }
}

/// A share and an index in USD under a contract in EUR.
class QuantoEnginesTest : public BothEnginesTest {
 protected:
    QuantoEnginesTest() {
        for (auto const* ticker : {"EUR", "USD"}) add_currency(ticker);
        auto const q = add_share("Q", 100.0, 0.25, "USD");
        auto const r = add_share("R", 90.0, 0.375, "USD");
        auto const rate = exchange_rate("USDEUR", "USD", "EUR");
        add_market(*rate, 0.875, 0.125);
        correlate(*q, *rate, 0.5);
        correlate(*r, *rate, -0.25);
        correlate(*q, *r, 0.375);
    }

    void expect_agreement(TreeBuilder& tree, int root) {
        auto const priced = contract(tree, root);
        for (double const factor : c_antithetic_factors) {
            MCPricerOptions::s_options = {.trials = 130, .antithetic_factor = factor};
            activate_block_greeks(0, 1, -1);
            expect_same_price(*priced, 100.0);
        }
    }
};

TEST_F(QuantoEnginesTest, AQuantoPaymentAgrees) {
    TreeBuilder tree;
    int const sum =
        tree.binary(TreeBuilder::add, tree.fixing("Q", half_year), tree.fixing("R", one_year));
    expect_agreement(tree, tree.pay(tree.call(sum, 180.0), one_year, "EUR"));
}

TEST_F(QuantoEnginesTest, AConvertedPaymentAgrees) {
    TreeBuilder tree;
    int const first = tree.pay(tree.call(tree.fixing("Q", half_year), 100.0), one_year, "USD");
    expect_agreement(tree,
                     tree.both(first, tree.pay(tree.fixing("R", one_year), two_years, "USD", -1)));
}

TEST_F(QuantoEnginesTest, AConvertedFixingAgrees) {
    TreeBuilder tree;
    int const converted = tree.amount_of(28, std::string("Q,") + one_year.c_str() + ",EUR");
    expect_agreement(tree, tree.pay(tree.call(converted, 85.0), one_year, "EUR"));
}

}  // namespace
}  // namespace ximCORE::Pricing
