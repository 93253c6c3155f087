#include "core/pricing/mc_engine.hpp"

#include <algorithm>
#include <cmath>
#include <random>
#include <thread>

#include "core/modeling/mc_helper.hpp"
#include "support/pricing_test.hpp"

namespace ximCORE::Pricing {
namespace {

using Testing::TreeBuilder;
using Toolbox::SegmentationFaultException;
using ximTest::IsNearRel;
using ximTest::Raises;

/// What the workers of a run noted, in the order of their reduction.
struct Notes {
    struct Worker {
        std::vector<std::uint64_t> trials;
        std::vector<double> values;
        std::thread::id thread;
        Contract::CashFlow const* tree;
        Modeling::MCHelper const* helper;
        int helper_reductions{0};
    };
    std::vector<Worker> workers;
};

class NotingThread final : public IMCThread {
 public:
    NotingThread(Notes& notes, std::uint64_t failing_trial)
        : m_notes(notes), m_failing_trial(failing_trial) {}

    void _agregate_thread_results() override {
        m_own.tree = m_cashflow.get();
        m_own.helper = m_helper;
        m_notes.workers.push_back(m_own);
    }
    void _c_agregate_thread_helpers(Modeling::MCHelper* target) const override {
        ASSERT_NE(target, m_helper);
        ++m_notes.workers.back().helper_reductions;
    }

 protected:
    bool _compute_price(std::uint64_t trial) override {
        m_own.thread = std::this_thread::get_id();
        if (trial == m_failing_trial) return false;
        _launch(trial);
        m_own.trials.push_back(trial);
        m_own.values.push_back(m_path_value);
        return true;
    }

 private:
    Notes& m_notes;
    std::uint64_t m_failing_trial;
    Notes::Worker m_own{};
};

class NotingEngine final : public IMCPricer {
 public:
    Notes notes;
    std::uint64_t failing_trial{~std::uint64_t{0}};
    bool has_workers{true};

 protected:
    std::unique_ptr<IMCThread> _new_thread() override {
        return has_workers ? std::make_unique<NotingThread>(notes, failing_trial) : nullptr;
    }
};

class MCEngineTest : public PricingTest {
 protected:
    MCEngineTest() {
        add_currency("EUR");
        add_share("A", 100.0, 0.25);
        TreeBuilder tree;
        priced = contract(tree, tree.pay(tree.fixing("A", one_year), two_years, "EUR"));
    }

    /// A helper of `drawn` trials, calibrated.
    void prepare(std::uint64_t drawn) {
        MCPricerOptions::s_options.trials = drawn;
        ASSERT_TRUE(priced->get_current()->scan_all(information, true));
        auto& helper = *model->safe_new_MC_helper();
        helper.set(today, Toolbox::DayCounter(), information, priced->c_get_cashflow());
        helper.switch_to_central();
        ASSERT_TRUE(helper.calibrate(today, *priced->c_get_currency(), information));
    }

    std::unique_ptr<Contract::Contract> priced;
    Contract::ContractInformation information;
    std::unique_ptr<Modeling::Model> model{
        Modeling::get_model(today, Modeling::ModelName::black_scholes)};
    NotingEngine engine;
};

TEST_F(MCEngineTest, OneThreadStaysWithTheCallerItsTreeAndTheModelsHelper) {
    prepare(5);
    ASSERT_TRUE(engine.compute(*priced, model.get()));
    ASSERT_EQ(engine.notes.workers.size(), 1U);
    auto const& worker = engine.notes.workers[0];
    EXPECT_EQ(worker.thread, std::this_thread::get_id());
    EXPECT_EQ(worker.tree, priced->c_get_cashflow());
    EXPECT_EQ(worker.helper, model->safe_new_MC_helper());
    EXPECT_EQ(worker.helper_reductions, 0);
    EXPECT_THAT(worker.trials, testing::ElementsAre(0, 1, 2, 3, 4));
}

TEST_F(MCEngineTest, OneThreadLeavesTheLastPathInTheModelsGrid) {
    prepare(5);
    ASSERT_TRUE(engine.compute(*priced, model.get()));
    double const fixing =
        model->safe_new_MC_helper()->get_fixing_grid().c_get_equity_like().get(0, 0).value;
    EXPECT_THAT(engine.notes.workers[0].values.back(),
                IsNearRel(std::exp(-c_rate * years(two_years)) * fixing, 1e-14));
}

TEST_F(MCEngineTest, SeveralThreadsTakeEqualBlocksAndTheLastOneTheRemainder) {
    prepare(11);
    MCPricerOptions::s_options.nb_threads = 3;
    ASSERT_TRUE(engine.compute(*priced, model.get()));
    ASSERT_EQ(engine.notes.workers.size(), 3U);
    EXPECT_THAT(engine.notes.workers[0].trials, testing::ElementsAre(0, 1, 2));
    EXPECT_THAT(engine.notes.workers[1].trials, testing::ElementsAre(3, 4, 5));
    EXPECT_THAT(engine.notes.workers[2].trials, testing::ElementsAre(6, 7, 8, 9, 10));
    for (auto const& worker : engine.notes.workers) {
        EXPECT_NE(worker.thread, std::this_thread::get_id());
        EXPECT_NE(worker.tree, priced->c_get_cashflow());
        EXPECT_NE(worker.helper, model->safe_new_MC_helper());
        EXPECT_EQ(worker.helper_reductions, 1);
    }
    EXPECT_NE(engine.notes.workers[0].tree, engine.notes.workers[1].tree);
    EXPECT_NE(engine.notes.workers[0].helper, engine.notes.workers[1].helper);
}

TEST_F(MCEngineTest, EachTrialHasItsValueWhateverTheSplit) {
    prepare(40);
    MCPricerOptions::s_options.antithetic_factor = 0.25;
    ASSERT_TRUE(engine.compute(*priced, model.get()));
    auto const expected = engine.notes.workers.at(0).values;
    for (int const threads : {2, 3, 7, 255}) {
        MCPricerOptions::s_options.nb_threads = static_cast<std::uint8_t>(threads);
        NotingEngine several;
        ASSERT_TRUE(several.compute(*priced, model.get()));
        std::vector<double> values;
        for (auto const& worker : several.notes.workers)
            values.insert(values.end(), worker.values.begin(), worker.values.end());
        EXPECT_EQ(values, expected) << threads;
    }
}

TEST_F(MCEngineTest, TheMirroredPathHasItsWeight) {
    prepare(3);
    ASSERT_TRUE(engine.compute(*priced, model.get()));
    MCPricerOptions::s_options.antithetic_factor = 0.25;
    NotingEngine weighted;
    ASSERT_TRUE(weighted.compute(*priced, model.get()));
    auto& normals = *model->safe_new_MC_helper()->c_get_normals();
    double const discount = std::exp(-c_rate * years(two_years));
    for (std::size_t trial = 0; trial < 3; ++trial) {
        double const mirrored =
            discount * 100.0 * std::exp(c_rate - 0.03125 - 0.25 * normals.get(0, 0, trial));
        EXPECT_THAT(
            weighted.notes.workers[0].values[trial],
            IsNearRel(0.75 * engine.notes.workers[0].values[trial] + 0.25 * mirrored, 1e-12));
    }
}

TEST_F(MCEngineTest, AWorkerStopsAtItsFirstFailureAndTheRunIsStillTrue) {
    prepare(10);
    engine.failing_trial = 3;
    ASSERT_TRUE(engine.compute(*priced, model.get()));
    EXPECT_THAT(engine.notes.workers[0].trials, testing::ElementsAre(0, 1, 2));
    MCPricerOptions::s_options.nb_threads = 2;
    NotingEngine several;
    several.failing_trial = 3;
    ASSERT_TRUE(several.compute(*priced, model.get()));
    EXPECT_THAT(several.notes.workers[0].trials, testing::ElementsAre(0, 1, 2));
    EXPECT_THAT(several.notes.workers[1].trials, testing::ElementsAre(5, 6, 7, 8, 9));
}

TEST_F(MCEngineTest, WithoutThreadsRaises) {
    prepare(1);
    MCPricerOptions::s_options.nb_threads = 0;
    EXPECT_THAT([&] { std::ignore = engine.compute(*priced, model.get()); },
                Raises<SegmentationFaultException>());
}

TEST_F(MCEngineTest, WithoutWorkersOrHelperOrContractAnswersFalse) {
    prepare(1);
    engine.has_workers = false;
    EXPECT_FALSE(engine.compute(*priced, model.get()));
    engine.has_workers = true;
    EXPECT_FALSE(engine.compute(*priced, nullptr));
    auto const bare = Modeling::get_model(today, Modeling::ModelName::free);
    EXPECT_FALSE(engine.compute(*priced, bare.get()));
    Contract::Contract empty(today, "EUR");
    EXPECT_FALSE(engine.compute(empty, model.get()));
}

TEST_F(MCEngineTest, MoreTrialsThanWereDrawnRaiseBeforeAnyThreadStarts) {
    prepare(4);
    MCPricerOptions::s_options.trials = 5;
    MCPricerOptions::s_options.nb_threads = 2;
    EXPECT_THAT([&] { std::ignore = engine.compute(*priced, model.get()); },
                Raises<SegmentationFaultException>());
    EXPECT_TRUE(engine.notes.workers.empty());
}

TEST_F(MCEngineTest, AContractWithoutUnderlyingPricesItsPayments) {
    TreeBuilder tree;
    auto const cash = contract(tree, tree.both(tree.pay(tree.number(100.0), one_year, "EUR"),
                                               tree.pay(tree.number(40.0), two_years, "EUR", -1)));
    MCPricerOptions::s_options = {.trials = 4, .nb_threads = 2};
    auto const pricer = run(*cash);
    double const expected = 100.0 * std::exp(-c_rate) - 40.0 * std::exp(-c_rate * years(two_years));
    EXPECT_THAT(pricer->c_get_results().price.mean, IsNearRel(expected, 1e-14));
    EXPECT_EQ(pricer->c_get_results().price.count, 4U);
}

TEST_F(MCEngineTest, NamedValuesStartAbsentOnEachPath) {
    // the reference is read before it is set: it must be 0 on every path, not the last path's value
    TreeBuilder tree;
    int const early = tree.pay(tree.reference("x"), one_year, "EUR");
    int const late = tree.set("x", tree.fixing("A", one_year));
    auto const memory = contract(tree, tree.both(early, late));
    for (int const threads : {1, 2}) {
        MCPricerOptions::s_options = {.trials = 20,
                                      .nb_threads = static_cast<std::uint8_t>(threads),
                                      .antithetic_factor = 0.5};
        EXPECT_EQ(run(*memory)->c_get_results().price.max,
                  0.0 + std::numeric_limits<double>::min());
        EXPECT_EQ(run(*memory)->c_get_results().price.min, 0.0);
    }
}

TEST_F(MCEngineTest, ASmoothedConditionPricesItsRamp) {
    // 1 where the share ends above 100, with a ramp of 2 on both sides
    TreeBuilder tree;
    int const above = tree.compare(TreeBuilder::greater, tree.fixing("A", one_year), 100.0);
    int const digital = tree.condition(above, tree.pay(tree.number(1.0), one_year, "EUR"),
                                       tree.nothing(), 2.0, 2.0);
    auto const priced_digital = contract(tree, digital);
    for (int const threads : {1, 3}) {
        for (auto const smoothing : {SmoothingType::NONE, SmoothingType::SYMETRIC}) {
            PricerOptions::s_options.smoothing = smoothing;
            MCPricerOptions::s_options = {.trials = 500,
                                          .nb_threads = static_cast<std::uint8_t>(threads)};
            auto const pricer = run(*priced_digital);
            std::mt19937_64 generator(23051994);
            std::normal_distribution<double> normal;
            double sum = 0.0;
            for (int trial = 0; trial < 500; ++trial) {
                double const share_price =
                    100.0 * std::exp(c_rate - 0.03125 + 0.25 * normal(generator));
                normal(generator);  // the step behind the last date
                sum += smoothing == SmoothingType::NONE
                           ? (share_price > 100.0 ? 1.0 : 0.0)
                           : std::clamp((share_price - 98.0) / 4.0, 0.0, 1.0);
            }
            EXPECT_THAT(pricer->c_get_results().price.mean,
                        IsNearRel(std::exp(-c_rate) * sum / 500.0, 1e-12));
        }
    }
}

/// A worker that reports something on each trial.
class ReportingEngine final : public IMCPricer {
 public:
    bool throws{false};

 protected:
    class Worker final : public IMCThread {
     public:
        explicit Worker(bool throws) : m_throws(throws) {}
        void _agregate_thread_results() override {}

     protected:
        bool _compute_price(std::uint64_t trial) override {
            Toolbox::Log::s_log(Toolbox::Log::Level::ERROR, "trial ", trial);
            if (m_throws && trial == 2) Toolbox::raise_segmentation_fault();
            return true;
        }

     private:
        bool m_throws;
    };
    std::unique_ptr<IMCThread> _new_thread() override { return std::make_unique<Worker>(throws); }
};

TEST_F(MCEngineTest, RecordsOfTheWorkersFollowEachOtherInTheirOrder) {
    prepare(7);
    for (int const threads : {1, 3}) {
        Toolbox::Log::s_get().clear();
        MCPricerOptions::s_options.nb_threads = static_cast<std::uint8_t>(threads);
        ReportingEngine reporting;
        ASSERT_TRUE(reporting.compute(*priced, model.get()));
        EXPECT_THAT(errors(), testing::ElementsAre("trial 0", "trial 1", "trial 2", "trial 3",
                                                   "trial 4", "trial 5", "trial 6"));
    }
}

TEST_F(MCEngineTest, AWorkerKeepsItsFirstThousandRecords) {
    prepare(3500);
    for (std::size_t const threads : {1U, 3U}) {
        Toolbox::Log::s_get().clear();
        MCPricerOptions::s_options.nb_threads = static_cast<std::uint8_t>(threads);
        ReportingEngine reporting;
        ASSERT_TRUE(reporting.compute(*priced, model.get()));
        EXPECT_EQ(errors().size(), threads * 1000);
        EXPECT_EQ(errors().at(999), "trial 999");
    }
}

TEST_F(MCEngineTest, RecordsBeforeAnExceptionAreKept) {
    prepare(5);
    ReportingEngine reporting;
    reporting.throws = true;
    bool raised = false;
    try {
        std::ignore = reporting.compute(*priced, model.get());
    } catch (SegmentationFaultException const&) {
        raised = true;
    }
    EXPECT_TRUE(raised);
    EXPECT_THAT(errors(), testing::ElementsAre("trial 0", "trial 1", "trial 2"));
}

}  // namespace
}  // namespace ximCORE::Pricing
