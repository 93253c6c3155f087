#include "core/pricing/mcaad_pricer.hpp"

#include <algorithm>
#include <cmath>
#include <functional>

#include "core/pricing/adjoint_case.hpp"
#include "core/pricing/contract_ladder.hpp"
#include "core/pricing/contract_solver.hpp"
#include "core/pricing/model_ladder.hpp"

namespace ximCORE::Pricing {
namespace {

using Toolbox::SegmentationFaultException;
using ximTest::IsNearRel;
using ximTest::Raises;

/// A worker whose tape can be looked at between its sweeps.
class OpenThread final : public MCAADThread {
 public:
    using MCAADThread::MCAADThread;

    /// What a forward sweep leaves on the tape, the last number first.
    std::vector<double> get_doubles_between_sweeps(std::uint64_t trial) {
        m_helper->get_fixing_grid().reset();
        Tape tape;
        _alaunch(tape, SweepType::FORWARD, trial);
        std::vector<double> doubles;
        while (!tape.c_is_empty() && doubles.size() < 1000) {
            std::ignore = tape.dpop(doubles.emplace_back());  // the answer is the truth of it
        }
        return doubles;
    }
    [[nodiscard]] double c_get_path_value() const { return m_path_value; }
    [[nodiscard]] bool run_trial(std::uint64_t trial) { return _compute_price(trial); }
    [[nodiscard]] bool c_is_tape_empty() const { return m_tape.c_is_empty(); }
};

/// A pricer that hands out its worker.
class OpenPricer final : public MCAADPricer {
 public:
    std::function<void(OpenThread&)> look{};

 protected:
    /// Runs all trials, then lets the test look at the worker while the helper lives.
    bool run_core(Contract::Contract& contract, Modeling::Model* model) override {
        auto* const helper = model->safe_new_MC_helper();
        Toolbox::AAD::Tape tape;
        helper->switch_to_central();
        if (!helper->acalibrate_internal(tape, Toolbox::AAD::SweepType::FORWARD,
                                         model->c_get_calibration_date(), m_information))
            return false;
        OpenThread thread(*this);
        thread._set_cashflow(contract.get_current());
        thread._set_MC_helper(helper);
        look(thread);
        return true;
    }
};

class MCAADPricerTest : public AdjointTest {
 protected:
    MCAADPricerTest() {
        add_flat_currency("EUR");
        add_shares(2);
        PricerOptions::s_options.method = PricingMethod::AUTOMATIC_ADJOINT_DIFFERENTIATION;
        MCPricerOptions::s_options.trials = 100;
    }

    void look_at_worker(Contract::Contract& priced, std::function<void(OpenThread&)> look) {
        auto const model = Modeling::get_model(today, ModelName::black_scholes);
        ASSERT_TRUE(model->get_dependencies(priced));
        OpenPricer pricer;
        pricer.look = std::move(look);
        ASSERT_TRUE(pricer.run(priced, model.get()));
    }

    static Results price_by(PricingMethod method, auto&& runner) {
        PricerOptions::s_options.method = method;
        return runner()->c_get_results();
    }
};

using MCAADPricerOfEachEngine = OnEachEngine<MCAADPricerTest>;
INSTANTIATE_TEST_SUITE_P(Engines, MCAADPricerOfEachEngine, each_engine, engine_name);

TEST_F(MCAADPricerTest, TheMethodOfTheSettingsChoosesTheEngine) {
    auto const engine = get_pricer();
    EXPECT_NE(dynamic_cast<MCAADPricer*>(engine.get()), nullptr);
}

TEST_P(MCAADPricerOfEachEngine, ThePriceIsThatOfTheUndiscountedSimulation) {
    auto const priced = smoothed_contract();
    for (auto const smoothing : {SmoothingType::NONE, SmoothingType::UPPER})
        for (double const antithetic : {0.0, 0.3, 0.5, 1.0})
            for (int const threads : {1, 3}) {
                PricerOptions::s_options.smoothing = smoothing;
                MCPricerOptions::s_options = {.trials = 100,
                                              .nb_threads = static_cast<std::uint8_t>(threads),
                                              .antithetic_factor = antithetic,
                                              .engine = chosen_engine};
                auto const runner = [&] { return run(*priced); };
                auto const adjoint =
                    price_by(PricingMethod::AUTOMATIC_ADJOINT_DIFFERENTIATION, runner);
                auto const plain = price_by(PricingMethod::MONTE_CARLO, runner);
                EXPECT_EQ(adjoint.price.count, plain.price.count);
                EXPECT_THAT(adjoint.price.sum, IsNearRel(plain.price.sum, 1e-12));
                EXPECT_THAT(adjoint.price.sum_of_squares,
                            IsNearRel(plain.price.sum_of_squares, 1e-12));
                EXPECT_THAT(adjoint.price.min, IsNearRel(plain.price.min, 1e-12));
                EXPECT_THAT(adjoint.price.max, IsNearRel(plain.price.max, 1e-12));
            }
}

TEST_F(MCAADPricerTest, UnderLocalVolatilityThePriceIsThatOfTheSimulationAlsoBehindAnUnreadFixing) {
    TreeBuilder tree;
    // the second share is not read on the first date, and its path does not come to the second
    int const product =
        tree.binary(TreeBuilder::mul, tree.fixing("A", half_year), tree.fixing("B", one_year));
    auto const priced = contract(tree, tree.pay(product, one_year, "EUR"));
    auto const runner = [&] { return run(*priced, ModelName::dupire); };
    for (double const antithetic : {0.0, 0.5})
        for (int const threads : {1, 3}) {
            MCPricerOptions::s_options = {.trials = 10,
                                          .nb_threads = static_cast<std::uint8_t>(threads),
                                          .antithetic_factor = antithetic};
            auto const adjoint = price_by(PricingMethod::AUTOMATIC_ADJOINT_DIFFERENTIATION, runner);
            auto const plain = price_by(PricingMethod::MONTE_CARLO, runner);
            EXPECT_THAT(adjoint.price.sum, IsNearRel(plain.price.sum, 1e-12));
            EXPECT_GT(plain.price.min, 0.0);
        }
}

TEST_P(MCAADPricerOfEachEngine, RowsHaveACountOfOneAndNoError) {
    auto const priced = worst_of_call();
    activate_first_order(1.0);
    for (int const threads : {1, 3}) {
        MCPricerOptions::s_options.nb_threads = static_cast<std::uint8_t>(threads);
        auto const pricer = run(*priced);
        auto const& results = pricer->c_get_results();
        ASSERT_EQ(results.delta.c_get_size(), 2U);
        for (auto const* rows : {&results.delta, &results.vega})
            for (auto const& row : *rows) {
                EXPECT_EQ(row.result.count, 1U);
                EXPECT_EQ(row.result.standard_error, 0.0);
                EXPECT_EQ(row.result.mean, row.result.sum);
            }
        EXPECT_EQ(results.cega.get(1, 0).result.count, 1U);
        EXPECT_EQ(results.delta.get(1).name, "B");
        EXPECT_EQ(results.price.count, 100U);
        std::vector<std::string> reported;
        for (auto const& row : results.results) reported.push_back(row.name);
        EXPECT_THAT(reported, testing::ElementsAre("PRICE", "DELTA@A", "DELTA@B", "VEGA//@A",
                                                   "VEGA//@B", "CEGA@B#A"));
    }
}

TEST_P(MCAADPricerOfEachEngine, BumpsAndDirectionsHaveNoEffect) {
    auto const priced = smooth_contract();
    auto const expected = by_adjoints(*priced);
    auto& greeks = PricerOptions::s_options.greeks;
    for (auto* record : {&greeks.delta, &greeks.vega, &greeks.cega}) {
        record->bump = 0.0;
        record->direction = 1;
    }
    auto const actual = first_order_of(run(*priced)->c_get_results());
    EXPECT_EQ(actual.delta, expected.delta);
    EXPECT_EQ(actual.vega, expected.vega);
    EXPECT_EQ(actual.cega, expected.cega);
}

TEST_P(MCAADPricerOfEachEngine, GreeksOfSecondOrderKeepTheirClearedValue) {
    auto const priced = smooth_contract();
    auto& greeks = PricerOptions::s_options.greeks;
    greeks.rho.activate = true;
    for (auto* record : {&greeks.gamma, &greeks.volga, &greeks.xgamma, &greeks.xvolga})
        record->activate = true;
    for (auto* record : {&greeks.vanna, &greeks.xvanna}) record->activate = true;
    auto const pricer = run(*priced);
    auto const& results = pricer->c_get_results();
    auto const expect_cleared = [](MCResult const& result) {
        EXPECT_EQ(result.count, 0U);
        EXPECT_EQ(result.sum, 0.0);
        EXPECT_EQ(result.sum_of_squares, 0.0);
        EXPECT_EQ(result.min, MCResult().min);
        EXPECT_EQ(result.max, MCResult().max);
    };
    for (auto const* rows : {&results.gamma, &results.volga, &results.vanna}) {
        EXPECT_EQ(rows->c_get_size(), 2U);
        for (auto const& row : *rows) expect_cleared(row.result);
    }
    for (auto const* cells : {&results.xgamma, &results.xvolga, &results.xvanna})
        for (auto const& cell : *cells) expect_cleared(cell.result);
    for (auto const& row : results.rho) expect_cleared(row.result);
    EXPECT_EQ(results.delta.c_get_size(), 0U);
}

TEST_P(MCAADPricerOfEachEngine, OneGreekAloneIsTheSameAsAmongAll) {
    auto const priced = smooth_contract();
    for (int const threads : {1, 3}) {
        MCPricerOptions::s_options.nb_threads = static_cast<std::uint8_t>(threads);
        auto const all = by_adjoints(*priced);
        auto& greeks = PricerOptions::s_options.greeks;
        greeks = {};
        greeks.delta.activate = true;
        EXPECT_EQ(first_order_of(run(*priced)->c_get_results()).delta, all.delta);
        greeks = {};
        greeks.vega.activate = true;
        EXPECT_EQ(first_order_of(run(*priced)->c_get_results()).vega, all.vega);
        greeks = {};
        greeks.cega.activate = true;
        EXPECT_EQ(first_order_of(run(*priced)->c_get_results()).cega, all.cega);
    }
}

TEST_P(MCAADPricerOfEachEngine, AnotherNumberOfThreadsChangesRoundingAlone) {
    auto const priced = smoothed_contract();
    PricerOptions::s_options.smoothing = SmoothingType::SYMETRIC;
    MCPricerOptions::s_options = {.trials = 1000, .antithetic_factor = 0.5};
    auto const one = by_adjoints(*priced);
    auto const expect_near = [](std::vector<double> const& x, std::vector<double> const& y) {
        ASSERT_EQ(x.size(), y.size());
        for (std::size_t i = 0; i < x.size(); ++i) EXPECT_NEAR(x[i], y[i], 1e-12);
    };
    for (int const threads : {2, 3, 7}) {
        MCPricerOptions::s_options.nb_threads = static_cast<std::uint8_t>(threads);
        auto const several = by_adjoints(*priced);
        expect_near(several.delta, one.delta);
        expect_near(several.vega, one.vega);
        expect_near(several.cega, one.cega);
        auto const again = by_adjoints(*priced);
        EXPECT_EQ(several.delta, again.delta);
        EXPECT_EQ(several.vega, again.vega);
        EXPECT_EQ(several.cega, again.cega);
    }
}

TEST_P(MCAADPricerOfEachEngine, WithFewerTrialsThanThreadsTheLastThreadRunsThemAll) {
    auto const priced = smooth_contract();
    MCPricerOptions::s_options = {.trials = 3, .nb_threads = 7};
    auto const several = by_adjoints(*priced);
    MCPricerOptions::s_options.nb_threads = 1;
    EXPECT_EQ(several.delta, by_adjoints(*priced).delta);
}

TEST_P(MCAADPricerOfEachEngine, WithoutTrialsThePriceHasACountOfZero) {
    auto const priced = smooth_contract();
    MCPricerOptions::s_options.trials = 0;
    for (int const threads : {1, 3}) {
        MCPricerOptions::s_options.nb_threads = static_cast<std::uint8_t>(threads);
        auto const read = by_adjoints(*priced);
        EXPECT_TRUE(std::isnan(read.price));
        EXPECT_THAT(read.delta, testing::Each(0.0));
    }
}

TEST_F(MCAADPricerTest, NoBumpedStateIsEverBuilt) {
    auto const priced = smooth_contract();
    activate_first_order(1.0);
    auto const model = Modeling::get_model(today, ModelName::black_scholes);
    ASSERT_TRUE(model->get_dependencies(*priced));
    MCAADPricer pricer;
    ASSERT_TRUE(pricer.prepare_pricer(*priced));
    auto& helper = *model->safe_new_MC_helper();
    helper.set(today, Toolbox::DayCounter(), pricer.c_get_information(), priced->c_get_cashflow());
    ASSERT_TRUE(pricer.run_internal(*priced, model.get()));
    for (auto const bump : {Modeling::Bump::delta_up, Modeling::Bump::vega_down})
        EXPECT_THAT([&] { helper.select(bump, 0); }, Raises<SegmentationFaultException>());
}

TEST_F(MCAADPricerTest, ASecondRunOnTheSameHelperStartsFromZero) {
    auto const priced = smooth_contract();
    activate_first_order(1.0);
    auto const model = Modeling::get_model(today, ModelName::black_scholes);
    ASSERT_TRUE(model->get_dependencies(*priced));
    MCAADPricer pricer;
    ASSERT_TRUE(pricer.prepare_pricer(*priced));
    model->safe_new_MC_helper()->set(today, Toolbox::DayCounter(), pricer.c_get_information(),
                                     priced->c_get_cashflow());
    ASSERT_TRUE(pricer.run_internal(*priced, model.get()));
    auto const first = first_order_of(pricer.c_get_results());
    ASSERT_TRUE(pricer.run_internal(*priced, model.get()));
    auto const second = first_order_of(pricer.c_get_results());
    EXPECT_EQ(first.price, second.price);
    EXPECT_EQ(first.delta, second.delta);
    EXPECT_EQ(first.vega, second.vega);
    EXPECT_EQ(first.cega, second.cega);
}

TEST_F(MCAADPricerTest, AModelWithoutHelperAnswersFalse) {
    auto const priced = smooth_contract();
    auto const bare = Modeling::get_model(today, ModelName::free);
    MCAADPricer pricer;
    EXPECT_FALSE(pricer.run(*priced, bare.get()));
    EXPECT_FALSE(pricer.run(*priced, nullptr));
}

TEST_F(MCAADPricerTest, AMissingVolatilityEndsTheRunWithARecord) {
    auto const lonely = share("Z");
    set_spot(*lonely, 10.0);
    std::ignore = forward_curve(*lonely).get_dependencies();
    TreeBuilder tree;
    auto const priced = contract(tree, tree.pay(tree.fixing("Z", one_year), one_year, "EUR"));
    auto const model = Modeling::get_model(today, ModelName::black_scholes);
    std::ignore = model->get_dependencies(*priced);
    MCAADPricer pricer;
    EXPECT_FALSE(pricer.run(*priced, model.get()));
    EXPECT_THAT(errors(), testing::Not(testing::IsEmpty()));
}

TEST_P(MCAADPricerOfEachEngine, AContractWithoutUnderlyingPricesItsPayments) {
    TreeBuilder tree;
    auto const cash = contract(tree, tree.both(tree.pay(tree.number(100.0), one_year, "EUR"),
                                               tree.pay(tree.number(40.0), two_years, "EUR", -1)));
    for (int const threads : {1, 2}) {
        MCPricerOptions::s_options = {.trials = 4,
                                      .nb_threads = static_cast<std::uint8_t>(threads),
                                      .antithetic_factor = 0.5};
        auto const read = by_adjoints(*cash);
        EXPECT_EQ(read.price, 60.0);
        EXPECT_TRUE(read.delta.empty());
        EXPECT_TRUE(errors().empty());
    }
}

TEST_F(MCAADPricerTest, WithoutAMirroredPathTheTapeHoldsNoPathValues) {
    auto const priced = smooth_contract();
    std::vector<double> plain;
    MCPricerOptions::s_options.antithetic_factor = 0.0;
    look_at_worker(*priced,
                   [&](OpenThread& worker) { plain = worker.get_doubles_between_sweeps(7); });
    for (double const factor : {0.3, 0.5}) {
        MCPricerOptions::s_options.antithetic_factor = factor;
        look_at_worker(*priced, [&](OpenThread& worker) {
            auto const pair = worker.get_doubles_between_sweeps(7);
            // both paths, and the value of each on top
            ASSERT_EQ(pair.size(), 2 * plain.size() + 2);
            EXPECT_THAT(worker.c_get_path_value(),
                        IsNearRel(factor * pair[0] + (1.0 - factor) * pair[1], 1e-15));
            EXPECT_NE(pair[0], pair[1]);
        });
    }
}

TEST_F(MCAADPricerTest, TheTapeIsEmptyAfterEachPath) {
    for (auto const smoothing : {SmoothingType::NONE, SmoothingType::SYMETRIC})
        for (double const factor : {0.0, 0.3}) {
            PricerOptions::s_options.smoothing = smoothing;
            MCPricerOptions::s_options.antithetic_factor = factor;
            auto const priced = smoothed_contract();
            look_at_worker(*priced, [](OpenThread& worker) {
                for (std::uint64_t trial = 0; trial < 100; ++trial) {
                    EXPECT_TRUE(worker.run_trial(trial));
                    ASSERT_TRUE(worker.c_is_tape_empty()) << trial;
                }
            });
            EXPECT_TRUE(errors().empty());
        }
}

TEST_P(MCAADPricerOfEachEngine, NothingIsHandedOnThroughAName) {
    // the price reads the name, the derivatives do not see what stands behind it
    TreeBuilder tree;
    int const set = tree.set("x", tree.fixing("A", half_year));
    int const pay = tree.pay(tree.reference("x"), one_year, "EUR");
    auto const named = contract(tree, tree.both(set, pay));
    for (auto const& [factor, threads] : {std::pair{0.0, 1}, {0.3, 3}}) {
        MCPricerOptions::s_options = {.trials = 100,
                                      .nb_threads = static_cast<std::uint8_t>(threads),
                                      .antithetic_factor = factor};
        auto const read = by_adjoints(*named);
        PricerOptions::s_options.method = PricingMethod::MONTE_CARLO;
        auto const bumped = run(*named);
        EXPECT_THAT(read.price, IsNearRel(bumped->c_get_results().price.mean, 1e-12));
        EXPECT_GT(bumped->c_get_results().delta.get(0).result.mean, 90.0);
        EXPECT_THAT(read.delta, testing::ElementsAre(0.0));
        EXPECT_THAT(read.vega, testing::ElementsAre(0.0));
        EXPECT_TRUE(errors().empty());
    }
}

TEST_F(MCAADPricerTest, AContractLadderHasTheSensitivitiesOfEachPoint) {
    auto const make = [&](double strike) {
        TreeBuilder tree;
        int const share = tree.fixing("A", one_year);
        int const gain = tree.binary(TreeBuilder::sub, share, tree.constant("strike", strike));
        return contract(tree,
                        tree.pay(tree.right(TreeBuilder::max_number, gain, 0.0), one_year, "EUR"));
    };
    activate_first_order(1.0);
    for (int const threads : {1, 3}) {
        MCPricerOptions::s_options = {.trials = 100,
                                      .nb_threads = static_cast<std::uint8_t>(threads),
                                      .engine = Engine::reference};
        auto const priced = make(100.0);
        auto const ladder = get_contract_ladder();
        std::vector<double> const strikes{100.0, 90.0, 120.0};
        for (double const strike : strikes)
            ladder->get_results().push_back(
                {{{"strike",
                   {.kind = Shift::Kind::assignment, .unit = Shift::Unit::none, .value = strike}}},
                 {}});
        auto const model = Modeling::get_model(today, ModelName::black_scholes);
        ASSERT_TRUE(model->get_dependencies(*priced));
        ASSERT_TRUE(ladder->run(*priced, model.get()));
        for (std::size_t i = 0; i < strikes.size(); ++i) {
            auto const actual = first_order_of(ladder->get_results()[i].results);
            auto const expected = first_order_of(run(*make(strikes[i]))->c_get_results());
            EXPECT_THAT(actual.price, IsNearRel(expected.price, 1e-14));
            EXPECT_THAT(actual.delta[0], IsNearRel(expected.delta[0], 1e-14));
            EXPECT_THAT(actual.vega[0], IsNearRel(expected.vega[0], 1e-14));
        }
    }
}

TEST_F(MCAADPricerTest, AModelLadderHasTheSensitivitiesOfEachMarket) {
    auto const priced = worst_of_call();
    activate_first_order(1.0);
    MCPricerOptions::s_options = {
        .trials = 100, .antithetic_factor = 0.3, .engine = Engine::reference};
    auto const ladder = get_model_ladder();
    Data::MarketDataPerturbationItem const shift(
        std::make_shared<Data::MarketDataSpotPerturbationItem const>(assets[0].get()),
        Shift::Kind::hybrid, Shift::Unit::percentage, 10.0);
    ladder->get_results().resize(2);
    ladder->get_results()[1].items.push_back(shift);
    auto const model = Modeling::get_model(today, ModelName::black_scholes);
    ASSERT_TRUE(model->get_dependencies(*priced));
    ASSERT_TRUE(ladder->run(*priced, model.get()));
    auto const central = by_adjoints(*priced);
    push<Data::MarketDataSpotPerturbationItem>(Shift::Kind::hybrid, Shift::Unit::percentage, 10.0,
                                               assets[0].get());
    auto const moved = by_adjoints(*priced);
    pop();
    EXPECT_EQ(first_order_of(ladder->get_results()[0].results).delta, central.delta);
    auto const actual = first_order_of(ladder->get_results()[1].results);
    for (std::size_t i = 0; i < 2; ++i) {
        EXPECT_EQ(actual.delta[i], moved.delta[i]);
        EXPECT_EQ(actual.vega[i], moved.vega[i]);
    }
    EXPECT_NE(central.delta[0], moved.delta[0]);
}

}  // namespace
}  // namespace ximCORE::Pricing
