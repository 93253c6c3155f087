#include "core/pricing/mc_details.hpp"

#include "details_case.hpp"

namespace ximCORE::Pricing {
namespace {

using Testing::TreeBuilder;
using ximTest::IsNearRel;

/// Redeemed at 104 or 108 once the share is at 105 or above after half a year or a year; after two
/// years 112 at 70 or above, and below that the share.
class AutocallDetailsTest : public DetailsTest {
 protected:
    std::unique_ptr<Contract::Contract> autocall() {
        TreeBuilder tree;
        auto const pay = [&](double amount, Date const& date) {
            return tree.pay(tree.number(amount), date, "EUR");
        };
        auto const above = [&](Date const& date, double barrier) {
            return tree.compare(TreeBuilder::greater_or_equal, tree.fixing("A", date), barrier);
        };
        int const loss = tree.pay(tree.fixing("A", two_years), two_years, "EUR");
        int const last = tree.condition(above(two_years, 70.0), pay(112.0, two_years), loss);
        int const second = tree.condition(above(one_year, 105.0), pay(108.0, one_year), last);
        return contract(tree,
                        tree.condition(above(half_year, 105.0), pay(104.0, half_year), second));
    }

    Tally count_autocall() {
        return count(dates, [](std::vector<Values> const& levels) -> PathNotes {
            auto const& s = levels[0];
            if (s[0] >= 105.0) return {{104.0, 0.0, 0.0}, 0, {s[0], {}, {}}, {true, {}, {}}};
            if (s[1] >= 105.0) return {{0.0, 108.0, 0.0}, 1, {s[0], s[1], {}}, {false, true, {}}};
            bool const is_whole = s[2] >= 70.0;
            return {{0.0, 0.0, is_whole ? 112.0 : s[2]},
                    2,
                    {s[0], s[1], s[2]},
                    {false, false, is_whole}};
        });
    }

    std::vector<Date> const dates{half_year, one_year, two_years};
};

TEST_F(AutocallDetailsTest, EverythingAgreesWithCountsOfAPlainSimulation) {
    auto const priced = autocall();
    auto const tally = count_autocall();
    for (int const threads : {1, 3}) {
        SCOPED_TRACE(threads);
        expect_details(run_details(*priced, threads)->c_get_results(), tally);
    }
}

TEST_F(AutocallDetailsTest, HalvesOfATrialAreObservationsOfTheirOwn) {
    MCPricerOptions::s_options = {.trials = 300, .antithetic_factor = 0.25};
    auto const priced = autocall();
    auto const tally = count_autocall();
    ASSERT_EQ(tally.duration.size(), 600U);
    ASSERT_EQ(tally.trials.size(), 300U);
    for (int const threads : {1, 3}) {
        SCOPED_TRACE(threads);
        expect_details(run_details(*priced, threads)->c_get_results(), tally);
    }
}

TEST_F(AutocallDetailsTest, RecordsNameTheirDatesFixingsAndConditions) {
    auto const priced = autocall();
    auto const details = run_details(*priced);
    auto const& results = details->c_get_results();
    ASSERT_EQ(results.payments.c_get_size(), 3U);
    ASSERT_EQ(results.fixings.c_get_size(), 3U);
    ASSERT_EQ(results.barriers.c_get_size(), 3U);
    std::vector<std::string> const scripts{"Spot(\"A\", \"2023-07-02\") >= 105",
                                           "Spot(\"A\", \"2024-01-01\") >= 105",
                                           "Spot(\"A\", \"2025-01-01\") >= 70"};
    for (std::size_t k = 0; k < 3; ++k) {
        EXPECT_EQ(results.payments.get(k).date, dates[k]);
        EXPECT_EQ(results.fixings.get(k).date, dates[k]);
        EXPECT_EQ(results.fixings.get(k).underlying, assets[0]);
        EXPECT_EQ(results.fixings.get(k).currency, "EUR");
        EXPECT_EQ(results.barriers.get(k).date, dates[k]);
        EXPECT_EQ(results.barriers.get(k).script, scripts[k]);
    }
}

TEST_F(AutocallDetailsTest, APathThatEndsOnADateMeetsNothingLater) {
    auto const priced = autocall();
    auto const details = run_details(*priced);
    auto const& payments = details->c_get_results().payments;
    EXPECT_DOUBLE_EQ(payments.get(2).has_been_killed.mean, 1.0);
    EXPECT_EQ(payments.get(2).has_been_killed.count, 1000U);
    double killed = 0.0;
    for (auto const& payment : payments) {
        killed += payment.is_killed.mean;
        EXPECT_DOUBLE_EQ(payment.has_been_killed.mean, killed);
        EXPECT_EQ(payment.exists.sum, payment.is_killed.sum);
    }
    EXPECT_GT(payments.get(0).is_killed.mean, 0.1);
    EXPECT_GT(payments.get(1).is_killed.mean, 0.05);
}

TEST_F(AutocallDetailsTest, ThePriceIsThatOfTheEngine) {
    auto const priced = autocall();
    auto const details = run_details(*priced);
    auto const& last = details->c_get_results().convergence.back();
    auto const pricer = run(*priced);
    auto const& price = pricer->c_get_results().price;
    // up to the order of sums
    EXPECT_THAT(last.mean, IsNearRel(price.mean, 1e-12));
    EXPECT_THAT(last.standard_error, IsNearRel(price.standard_error, 1e-10));
    EXPECT_THAT(last.min, IsNearRel(price.min, 1e-12));
    EXPECT_THAT(last.max, IsNearRel(price.max, 1e-12));
}

TEST_F(AutocallDetailsTest, ASecondRunStartsAnew) {
    auto const priced = autocall();
    auto const model = Modeling::get_model(today, Modeling::ModelName::black_scholes);
    ASSERT_TRUE(model->get_dependencies(*priced));
    MCDetails details;
    ASSERT_TRUE(details.run(*priced, model.get()));
    ASSERT_TRUE(details.run(*priced, model.get()));
    expect_details(details.c_get_results(), count_autocall());
}

TEST_F(AutocallDetailsTest, NoTrialLeavesOnlyMeansOfNothing) {
    MCPricerOptions::s_options.trials = 0;
    auto const priced = autocall();
    for (int const threads : {1, 3}) {
        auto const details = run_details(*priced, threads);
        auto const& results = details->c_get_results();
        EXPECT_TRUE(results.convergence.empty());
        ASSERT_EQ(results.payments.c_get_size(), 3U);
        EXPECT_TRUE(std::isnan(results.payments.get(0).value.mean));
        EXPECT_TRUE(std::isnan(results.duration.mean));
    }
}

TEST_F(AutocallDetailsTest, FewerTrialsThanThreadsGoToTheLastOne) {
    MCPricerOptions::s_options.trials = 2;
    auto const priced = autocall();
    expect_details(run_details(*priced, 5)->c_get_results(), count_autocall());
}

TEST_F(AutocallDetailsTest, SensitivitiesAreNotComputed) {
    activate_all(0, 0, 0);
    auto const priced = autocall();
    expect_details(run_details(*priced)->c_get_results(), count_autocall());
}

// Relied on: incomplete market data answers true all the same, with empty results; the market layer
// has reported it
TEST_F(AutocallDetailsTest, FailingMarketDataIsTrueWithEmptyResultsAndARecord) {
    add_currency("EUR");
    auto const unquoted = share("Q");
    TreeBuilder tree;
    int const event = tree.compare(TreeBuilder::greater, tree.fixing("Q", one_year), 10.0);
    auto const priced = contract(
        tree, tree.condition(event, tree.pay(tree.fixing("Q", two_years), two_years, "EUR"),
                             tree.nothing()));
    for (int const threads : {1, 3}) {
        Toolbox::Log::s_get().clear();
        auto const details = run_details(*priced, threads);
        auto const& results = details->c_get_results();
        EXPECT_EQ(results.payments.c_get_size(), 0U);
        EXPECT_EQ(results.fixings.c_get_size(), 0U);
        EXPECT_EQ(results.barriers.c_get_size(), 0U);
        EXPECT_TRUE(results.convergence.empty());
        EXPECT_EQ(results.duration.count, 0U);
        EXPECT_FALSE(errors().empty());
    }
}

TEST_F(AutocallDetailsTest, WithoutModelOrHelperTheAnswerIsFalse) {
    auto const priced = autocall();
    MCDetails details;
    EXPECT_FALSE(details.run(*priced, nullptr));
    auto const plain_model = Modeling::get_model(today, Modeling::ModelName::free);
    EXPECT_FALSE(details.run(*priced, plain_model.get()));
}

TEST_F(AutocallDetailsTest, TheHelperIsGoneAfterARun) {
    auto const priced = autocall();
    auto const model = Modeling::get_model(today, Modeling::ModelName::black_scholes);
    ASSERT_TRUE(model->get_dependencies(*priced));
    MCDetails details;
    ASSERT_TRUE(details.run(*priced, model.get()));
    EXPECT_EQ(model->safe_new_MC_helper()->c_get_normals(), nullptr);
}

/// Contracts for one rule each.
class DetailRulesTest : public DetailsTest {
 protected:
    std::vector<Date> const dates{half_year, one_year, two_years};
};

TEST_F(DetailRulesTest, AContractThatAlwaysPaysExistsOnEachDateAndEndsOnTheLast) {
    TreeBuilder tree;
    int const first = tree.pay(tree.number(1.0), half_year, "EUR");
    int const second = tree.pay(tree.number(2.0), one_year, "EUR", -1);
    int const third = tree.pay(tree.fixing("A", two_years), two_years, "EUR");
    // the order of the list is not that of the dates
    auto const priced = contract(tree, tree.both(third, tree.both(first, second)));
    auto const tally = count(dates, [](auto const& levels) -> PathNotes {
        return {{1.0, -2.0, levels[0][2]}, 2, {levels[0][2]}, {}};
    });
    auto const details = run_details(*priced);
    expect_details(details->c_get_results(), tally);
    for (auto const& payment : details->c_get_results().payments)
        EXPECT_EQ(payment.exists.mean, 1.0);
    EXPECT_EQ(details->c_get_results().payments.get(1).positive.mean, 0.0);
}

// Relied on: a path that meets no payment counts as ended on the first date
TEST_F(DetailRulesTest, APathThatMeetsNoPaymentCountsAsEndedOnTheFirstDate) {
    TreeBuilder tree;
    int const event = tree.compare(TreeBuilder::greater, tree.fixing("A", half_year), 100.0);
    int const payments = tree.both(tree.pay(tree.number(1.0), one_year, "EUR"),
                                   tree.pay(tree.number(1.0), two_years, "EUR"));
    auto const priced = contract(tree, tree.condition(event, payments, tree.nothing()));
    auto const tally = count({one_year, two_years}, [](auto const& levels) -> PathNotes {
        double const x = levels[0][0];
        if (x > 100.0) return {{1.0, 1.0}, 1, {x}, {true}};
        return {{0.0, 0.0}, 0, {x}, {false}};
    });
    expect_details(run_details(*priced)->c_get_results(), tally);
}

TEST_F(DetailRulesTest, APaymentOfNothingIsMetButDoesNotExist) {
    TreeBuilder tree;
    auto const priced = contract(
        tree,
        tree.both(tree.pay(tree.number(1.0), half_year, "EUR"),
                  tree.pay(tree.call(tree.fixing("A", one_year), 120.0), two_years, "EUR", -1)));
    auto const tally = count({half_year, two_years}, [](auto const& levels) -> PathNotes {
        double const call = std::max(levels[0][1] - 120.0, 0.0);
        return {{1.0, -call}, 1, {levels[0][1]}, {}};
    });
    auto const details = run_details(*priced);
    expect_details(details->c_get_results(), tally);
    auto const& last = details->c_get_results().payments.get(1);
    EXPECT_GT(last.exists.mean, 0.0);
    EXPECT_LT(last.exists.mean, 1.0);
    EXPECT_EQ(last.positive.mean, 0.0);
}

TEST_F(DetailRulesTest, AFixingThatIsNeverReachedHasNoMean) {
    TreeBuilder tree;
    int const event = tree.compare(TreeBuilder::greater, tree.fixing("A", half_year), 0.0);
    int const never = tree.pay(tree.fixing("A", two_years), two_years, "EUR");
    auto const priced =
        contract(tree, tree.condition(event, tree.pay(tree.number(1.0), one_year, "EUR"), never));
    auto const details = run_details(*priced, 3);
    auto const& results = details->c_get_results();
    ASSERT_EQ(results.fixings.c_get_size(), 2U);
    EXPECT_EQ(results.fixings.get(1).date, two_years);
    EXPECT_EQ(results.fixings.get(1).value.count, 0U);
    EXPECT_TRUE(std::isnan(results.fixings.get(1).value.mean));
    EXPECT_EQ(results.fixings.get(0).value.count, 1000U);
    EXPECT_EQ(results.barriers.get(0).hit.mean, 1.0);
}

TEST_F(DetailRulesTest, TheDurationOfAContractWithOneDateIsItsYearFraction) {
    TreeBuilder tree;
    auto const priced = contract(tree, tree.pay(tree.fixing("A", one_year), two_years, "EUR"));
    auto const details = run_details(*priced);
    auto const& duration = details->c_get_results().duration;
    EXPECT_NEAR(duration.mean, 731.0 / 365.0, 1e-12);
    EXPECT_NEAR(duration.standard_error, 0.0, 1e-8);
    EXPECT_EQ(duration.count, 1000U);
}

TEST_F(DetailRulesTest, AContractWithoutPaymentsHasAConvergenceAndNoDuration) {
    TreeBuilder tree;
    auto const priced = contract(tree, tree.set("name", tree.fixing("A", one_year)));
    auto const details = run_details(*priced);
    auto const& results = details->c_get_results();
    EXPECT_EQ(results.payments.c_get_size(), 0U);
    EXPECT_EQ(results.fixings.get(0).value.count, 1000U);
    EXPECT_EQ(results.convergence.size(), 1000U);
    EXPECT_EQ(results.convergence.back().mean, 0.0);
    EXPECT_TRUE(std::isnan(results.duration.mean));
}

// Relied on: an event that two conditions share is noted at the later of its ranks alone
TEST_F(DetailRulesTest, AnEventThatTwoConditionsShareIsNotedAtTheLaterRankAlone) {
    TreeBuilder tree;
    int const event = tree.compare(TreeBuilder::greater, tree.fixing("A", half_year), 100.0);
    int const first =
        tree.condition(event, tree.pay(tree.number(1.0), half_year, "EUR"), tree.nothing());
    int const second =
        tree.condition(event, tree.pay(tree.number(1.0), one_year, "EUR"), tree.nothing());
    auto const priced = contract(tree, tree.both(first, second));
    for (int const threads : {1, 3}) {
        auto const details = run_details(*priced, threads);
        auto const& barriers = details->c_get_results().barriers;
        ASSERT_EQ(barriers.c_get_size(), 2U);
        EXPECT_EQ(barriers.get(0).hit.count, 0U);
        EXPECT_EQ(barriers.get(1).hit.count, 1000U);
        EXPECT_EQ(barriers.get(0).script, barriers.get(1).script);
    }
}

TEST_F(DetailRulesTest, AConditionWithoutAFixingIsDatedByTheContract) {
    TreeBuilder tree;
    int const read = tree.compare(TreeBuilder::greater, tree.reference("level"), 100.0);
    auto const priced =
        contract(tree, tree.both(tree.set("level", tree.fixing("A", half_year)),
                                 tree.condition(read, tree.pay(tree.number(1.0), one_year, "EUR"),
                                                tree.nothing())));
    auto const details = run_details(*priced);
    auto const& barrier = details->c_get_results().barriers.get(0);
    EXPECT_EQ(barrier.date, today);
    EXPECT_GT(barrier.hit.mean, 0.0);
    EXPECT_LT(barrier.hit.mean, 1.0);
}

class ThreeShareDetailsTest : public DetailsTest {
 protected:
    ThreeShareDetailsTest() : DetailsTest(3) {}
};

TEST_F(ThreeShareDetailsTest, NamedValuesChosenAndSortedAmountsNoteWhatTheyRead) {
    TreeBuilder tree;
    int const set = tree.set("first", tree.fixing("A", half_year));
    int const above = tree.compare(TreeBuilder::greater, tree.fixing("B", one_year), 80.0);
    int const chosen =
        tree.amount_of(29, std::to_string(above) + "," + std::to_string(tree.reference("first")) +
                               "," + std::to_string(tree.fixing("C", one_year)));
    std::string middle = "1";
    for (auto const& name : names) middle += "," + std::to_string(tree.fixing(name, two_years));
    int const sorted = tree.amount_of(32, middle);
    auto const priced =
        contract(tree, tree.both(set, tree.both(tree.pay(chosen, one_year, "EUR"),
                                                tree.pay(sorted, two_years, "EUR"))));
    auto const tally = count({one_year, two_years}, [](auto const& levels) -> PathNotes {
        double const a = levels[0][2];
        double const b = levels[1][2];
        double const c = levels[2][2];
        bool const is_above = levels[1][1] > 80.0;
        double const median = std::max(std::min(a, b), std::min(std::max(a, b), c));
        std::optional<double> read;
        if (!is_above) read = levels[2][1];
        return {{is_above ? levels[0][0] : levels[2][1], median},
                1,
                {levels[0][0], levels[1][1], read, a, b, c},
                {}};
    });
    for (int const threads : {1, 3})
        expect_details(run_details(*priced, threads)->c_get_results(), tally);
}

TEST_F(ThreeShareDetailsTest, PartsOfAConditionAreReadBoth) {
    TreeBuilder tree;
    auto const above = [&](char const* name, double barrier) {
        return std::to_string(
            tree.compare(TreeBuilder::greater, tree.fixing(name, one_year), barrier));
    };
    constexpr int logical_and = 7;
    auto const a = above("A", 100.0);
    auto const b = above("B", 80.0);
    int const both = tree.event_of(logical_and, a + "," + b);
    int const digital = tree.condition(both, tree.pay(tree.number(1.0), one_year, "EUR"),
                                       tree.pay(tree.number(-1.0), half_year, "EUR"));
    auto const priced =
        contract(tree, tree.both(digital, tree.pay(tree.fixing("C", two_years), two_years, "EUR")));
    auto const tally = count({half_year, one_year, two_years}, [](auto const& levels) -> PathNotes {
        double const x = levels[0][1];
        double const y = levels[1][1];
        double const z = levels[2][2];
        bool const holds = x > 100.0 && y > 80.0;
        return {{holds ? 0.0 : -1.0, holds ? 1.0 : 0.0, z}, 2, {x, y, z}, {holds}};
    });
    expect_details(run_details(*priced)->c_get_results(), tally);
}

/// A condition with spreads about 100 after half a year: 10 at once, or one of two amounts later.
class SmoothedDetailsTest : public DetailsTest {
 protected:
    static constexpr double c_left = 5.0;
    static constexpr double c_right = 10.0;

    std::unique_ptr<Contract::Contract> smoothed_condition() {
        TreeBuilder tree;
        int const later = tree.compare(TreeBuilder::greater, tree.fixing("A", one_year), 95.0);
        int const otherwise =
            tree.condition(later, tree.pay(tree.number(5.0), one_year, "EUR"),
                           tree.pay(tree.fixing("A", two_years), two_years, "EUR"));
        int const event = tree.compare(TreeBuilder::greater, tree.fixing("A", half_year), 100.0);
        return contract(tree, tree.condition(event, tree.pay(tree.number(10.0), half_year, "EUR"),
                                             otherwise, c_left, c_right));
    }

    /// `rising`, `falling`: weights of the event at a level, where it makes the flow larger,
    /// smaller.
    Tally count_smoothed(auto const& rising, auto const& falling) {
        return count({half_year, one_year, two_years}, [=](auto const& levels) -> PathNotes {
            auto const& s = levels[0];
            double const p = rising(s[0]);
            double const q = falling(s[0]);
            bool const later = s[1] > 95.0;
            PathNotes notes;
            notes.flows = {10.0 * p, later ? 5.0 * (1.0 - q) : 0.0, later ? 0.0 : s[2] * (1.0 - q)};
            if (s[0] > 100.0) {
                notes.end = 0;
                notes.fixings = {s[0], {}, {}};
                notes.events = {true, {}};
            } else {
                notes.end = later ? 1 : 2;
                notes.fixings = {s[0], s[1], {}};
                if (!later) notes.fixings[2] = s[2];
                notes.events = {false, later};
            }
            return notes;
        });
    }

    static double ramp(double x, double from, double to) {
        return std::clamp((x - from) / (to - from), 0.0, 1.0);
    }
};

TEST_F(SmoothedDetailsTest, WithoutSmoothingTheSpreadsHaveNoEffect) {
    auto const priced = smoothed_condition();
    auto const step = [](double x) { return x > 100.0 ? 1.0 : 0.0; };
    auto const tally = count_smoothed(step, step);
    expect_details(run_details(*priced)->c_get_results(), tally);
}

// Relied on: the branch that a smoothed condition does not choose pays, but leaves no notes
TEST_F(SmoothedDetailsTest, NotesFollowTheBranchThatThePlainEventChooses) {
    PricerOptions::s_options.smoothing = SmoothingType::SYMETRIC;
    auto const priced = smoothed_condition();
    auto const whole = [](double x) { return ramp(x, 100.0 - c_left, 100.0 + c_right); };
    auto const tally = count_smoothed(whole, whole);
    for (int const threads : {1, 3}) {
        SCOPED_TRACE(threads);
        expect_details(run_details(*priced, threads)->c_get_results(), tally);
    }
}

TEST_F(SmoothedDetailsTest, LowerSmoothingTakesTheSideWhereTheFlowIsSmaller) {
    PricerOptions::s_options.smoothing = SmoothingType::LOWER;
    MCPricerOptions::s_options = {.trials = 400, .antithetic_factor = 0.5};
    auto const priced = smoothed_condition();
    auto const tally = count_smoothed([](double x) { return ramp(x, 100.0, 100.0 + c_right); },
                                      [](double x) { return ramp(x, 100.0 - c_left, 100.0); });
    for (int const threads : {1, 3}) {
        SCOPED_TRACE(threads);
        expect_details(run_details(*priced, threads)->c_get_results(), tally);
    }
}

TEST_F(SmoothedDetailsTest, ASmoothedPriceIsThatOfTheEngine) {
    PricerOptions::s_options.smoothing = SmoothingType::UPPER;
    auto const priced = smoothed_condition();
    auto const details = run_details(*priced);
    auto const pricer = run(*priced);
    EXPECT_THAT(details->c_get_results().convergence.back().mean,
                IsNearRel(pricer->c_get_results().price.mean, 1e-12));
}

/// A contract in EUR on a share in USD, and a payment in USD.
class ConvertedDetailsTest : public DetailsTest {
 protected:
    ConvertedDetailsTest() {
        add_currency("USD");
        auto const rate = exchange_rate("USDEUR", "USD", "EUR");
        add_market(*rate, 0.875, 0.125);
        auto const foreign = add_share("Q", 50.0, 0.25, "USD");
        correlate(*foreign, *rate, 0.5);
    }
};

TEST_F(ConvertedDetailsTest, TheRateOfAPaymentIsAFixingBesideTheAmount) {
    TreeBuilder tree;
    auto const priced = contract(tree, tree.pay(tree.number(100.0), one_year, "USD"));
    auto const details = run_details(*priced);
    auto const& results = details->c_get_results();
    ASSERT_EQ(results.fixings.c_get_size(), 1U);
    auto const& rate = results.fixings.get(0);
    EXPECT_STREQ(rate.underlying->c_str(), "USDEUR");
    EXPECT_EQ(rate.date, one_year);
    EXPECT_EQ(rate.currency, "EUR");
    EXPECT_EQ(rate.value.count, 1000U);
    EXPECT_NEAR(results.payments.get(0).value.mean,
                100.0 * std::exp(-c_rate * years(one_year)) * rate.value.mean, 1e-10);
    EXPECT_NEAR(rate.value.mean, 0.875, 5.0 * rate.value.standard_error);  // equal rates
}

TEST_F(ConvertedDetailsTest, AConvertedFixingIsValuedInItsOwnCurrency) {
    TreeBuilder tree;
    int const converted = tree.amount_of(28, std::string("Q,") + Date(one_year).c_str() + ",EUR");
    int const plain_fixing = tree.fixing("Q", one_year);
    auto const priced = contract(tree, tree.both(tree.pay(converted, one_year, "EUR"),
                                                 tree.pay(plain_fixing, two_years, "EUR")));
    auto const details = run_details(*priced);
    auto const& results = details->c_get_results();
    ASSERT_EQ(results.fixings.c_get_size(), 2U);
    EXPECT_EQ(results.fixings.get(0).currency, "USD");
    EXPECT_EQ(results.fixings.get(1).currency, "EUR");
    auto const& own = results.fixings.get(1).value;
    EXPECT_NEAR(results.payments.get(0).value.mean, std::exp(-c_rate * years(one_year)) * own.mean,
                1e-10);
    EXPECT_NEAR(results.payments.get(1).value.mean,
                std::exp(-c_rate * years(two_years)) * results.fixings.get(0).value.mean, 1e-10);
}

TEST(InspectorResults, LivesAndEndsKeepTheCountOfOnePayment) {
    InspectorResults results;
    Toolbox::Date const today(2023, 1, 1);
    std::vector<Toolbox::Date> const dates{{2024, 1, 1}, {2025, 1, 1}};
    results.payments = Toolbox::Array1D<InspectorResults::Payment>(2);
    for (std::size_t path = 0; path < 10; ++path)  // three end on the first date
        for (std::size_t k = 0; k < 2; ++k)
            results.payments.unsafe_get(k).killed_here += (path < 3) == (k == 0) ? 1.0 : 0.0;
    for (std::size_t k = 0; k < 2; ++k) results.payments.unsafe_get(k).date = dates[k];
    results.populate(today);
    results.agregate();
    double const late = 731.0 / 365.0;
    auto const& payments = results.payments;
    EXPECT_DOUBLE_EQ(payments.get(0).is_killed.mean, 0.3);
    EXPECT_DOUBLE_EQ(payments.get(0).has_been_killed.mean, 0.3);
    EXPECT_DOUBLE_EQ(payments.get(1).is_killed.mean, 0.7);
    EXPECT_DOUBLE_EQ(payments.get(1).has_been_killed.mean, 1.0);
    EXPECT_DOUBLE_EQ(payments.get(1).has_been_killed_copy.mean, 1.0);
    EXPECT_NEAR(payments.get(1).has_been_killed.standard_error, 0.0, 1e-12);
    EXPECT_EQ(payments.get(1).has_been_killed.count, 10U);
    EXPECT_EQ(results.duration.count, 10U);
    EXPECT_NEAR(results.duration.mean, 0.3 + 0.7 * late, 1e-12);
    // variance of a number that is 1 with probability 0.3, else `late`; unbiased from ten
    double const variance = 0.3 * 0.7 * (late - 1.0) * (late - 1.0) * 10.0 / 9.0;
    EXPECT_NEAR(results.duration.standard_error, std::sqrt(variance / 10.0), 1e-12);
}

TEST(MCResultOperators, GiveScaledAndSummedCopies) {
    MCResult first;
    first += 2.0;
    first += 4.0;
    MCResult second;
    second = 6.0;
    MCResult const scaled = 100.0 * first;
    EXPECT_EQ(scaled.sum, 600.0);
    EXPECT_EQ(scaled.sum_of_squares, 200000.0);
    EXPECT_EQ(scaled.count, 2U);
    EXPECT_EQ(scaled.max, 100.0);
    MCResult const sum = first + second;
    EXPECT_EQ(sum.sum, 12.0);
    EXPECT_EQ(sum.sum_of_squares, 56.0);
    EXPECT_EQ(sum.count, 3U);
    EXPECT_EQ(sum.min, 2.0);
    EXPECT_EQ(sum.max, 6.0);
    EXPECT_EQ(first.sum, 6.0);
}

TEST_F(DetailRulesTest, MoreConditionsThanARankCountsAreRefused) {
    TreeBuilder tree;
    constexpr int nb_conditions = 32768;
    int const paid = tree.pay(tree.number(1.0), one_year, "EUR");
    int const nothing = tree.nothing();
    int list = paid;
    for (int i = 0; i < nb_conditions; ++i) {
        int const event = tree.compare(TreeBuilder::greater, tree.reference("x"), i);
        list = tree.both(tree.condition(event, paid, nothing), list);
    }
    auto const priced = contract(tree, list);
    auto const model = Modeling::get_model(today, Modeling::ModelName::black_scholes);
    MCDetails details;
    EXPECT_FALSE(details.run(*priced, model.get()));
    EXPECT_THAT(errors(), testing::ElementsAre("Contract with too many conditions"));
}

}  // namespace
}  // namespace ximCORE::Pricing
