#include "core/pricing/pricer.hpp"

#include <array>
#include <cmath>

#include "core/modeling/helper.hpp"
#include "core/pricing/pde_pricer.hpp"
#include "support/pricing_test.hpp"

namespace ximCORE::Pricing {
namespace {

using Modeling::Bump;
using Testing::TreeBuilder;
using ximTest::IsNearRel;

std::string name_of(Bump bump) {
#define XIM_NAME(name) #name,
    static std::array<std::string, Modeling::nb_bumps> const names{XIM_ROW_BUMPS(XIM_NAME)
                                                                       XIM_PAIR_BUMPS(XIM_NAME)};
#undef XIM_NAME
    return names.at(Modeling::index_of(bump));
}

/// "spot A +2 bp", with the sort of the shift behind it.
std::string text_of(Data::MarketDataPerturbationItem const& perturbation) {
    auto const* item = perturbation.c_get_item();
    std::string text;
    if (auto const* spot = dynamic_cast<Data::MarketDataSpotPerturbationItem const*>(item))
        text = std::string("spot ") + spot->c_get_underlying()->c_str();
    if (auto const* volatility =
            dynamic_cast<Data::MarketDataVolatilityPerturbationItem const*>(item))
        text = std::string("volatility ") + volatility->c_get_underlying()->c_str();
    if (auto const* yield = dynamic_cast<Data::MarketDataYieldPerturbationItem const*>(item))
        text = std::string("yield ") + yield->c_get_currency()->c_str();
    if (auto const* pair = dynamic_cast<Data::MarketDataCorrelationPerturbationItem const*>(item))
        text = std::string("correlation ") + pair->c_get_first_underlying()->c_str() + "#" +
               pair->c_get_second_underlying()->c_str();
    auto const& shift = perturbation.c_get_shift();
    EXPECT_EQ(shift.unit, Data::MarketDataShift::Unit::basis_point);
    EXPECT_EQ(std::floor(shift.value), shift.value);
    text += (shift.value > 0.0 ? " +" : " ") + std::to_string(static_cast<int>(shift.value));
    if (shift.kind == Data::MarketDataShift::Kind::hybrid) return text + " relative";
    EXPECT_EQ(shift.kind, Data::MarketDataShift::Kind::additive);
    return text;
}

/// A helper that notes what is done with it, and what is on the scenario when it is calibrated.
class NotingHelper final : public Modeling::Helper {
 public:
    NotingHelper() : Helper(1, 0) {}

    void set(Toolbox::Date const& date, Toolbox::DayCounter const&,
             Contract::ContractInformation const& information,
             Contract::CashFlow* cashflow) override {
        notes.push_back(std::string("set ") + date.c_str() + (cashflow == nullptr ? " alone" : ""));
        _set_counts(information);
    }
    void switch_to_central() override {
        Helper::switch_to_central();
        notes.emplace_back("central");
    }
    void allocate(Bump bump, std::size_t n) override {
        Helper::allocate(bump, n);
        notes.push_back("allocate " + name_of(bump) + " " + std::to_string(n));
    }
    void select(Bump bump, std::size_t i, std::size_t j) override {
        Helper::select(bump, i, j);
        notes.push_back("select " + name_of(bump) + " " + std::to_string(i) +
                        (Modeling::is_row(bump) ? "" : " " + std::to_string(j)));
    }

    std::vector<std::string> notes;
    std::size_t hidden_shifts{0};  // below those of the pricer
    int calibrations_to_fail{-1};  // counted down; the one that meets 0 fails

 protected:
    bool calibrate_method(Toolbox::Date const&, Contract::ContractInformation const&) override {
        std::string note = "calibrate";
        auto const& items = Data::MarketDataScenario::s_get().c_get_perturbation_items();
        for (std::size_t k = hidden_shifts; k < items.size(); ++k)
            note += (k > hidden_shifts ? ", " : " ") + text_of(items[k]);
        notes.push_back(note);
        return calibrations_to_fail-- != 0;
    }
};

/// An engine that leaves one observation of 1 everywhere.
class NotingPricer final : public Pricer {
 public:
    mutable NotingHelper helper;
    mutable int asked{0};
    mutable int deleted{0};
    int runs{0};
    bool core_answer{true};
    bool has_helper{true};

 protected:
    bool run_core(Contract::Contract&, Modeling::Model*) override {
        ++runs;
        m_results.price += 1.0;
        for (auto const* greek : Greeks::table)
            for_each_cell(*greek, m_results, [](auto, auto, auto& cell) { cell.result += 1.0; });
        return core_answer;
    }
    Modeling::Helper* _c_safe_new_helper(Modeling::Model*) const override {
        ++asked;
        return has_helper ? &helper : nullptr;
    }
    void _c_safe_delete_helper(Modeling::Model*) const override { ++deleted; }
};

class PricerTest : public PricingTest {
 protected:
    PricerTest() {
        add_currency("EUR");
        auto const a = add_share("A", 100.0, 0.25);
        auto const b = add_share("B", 80.0, 0.375);
        correlate(*a, *b, 0.5);
        TreeBuilder one;
        single = contract(one, one.pay(one.fixing("A", one_year), one_year, "EUR"));
        TreeBuilder two;
        pair = contract(two, two.pay(two.binary(TreeBuilder::add, two.fixing("A", one_year),
                                                two.fixing("B", one_year)),
                                     one_year, "EUR"));
        TreeBuilder none;
        cash = contract(none, none.pay(none.number(1.0), one_year, "EUR"));
        pricer.helper.hidden_shifts = Data::MarketDataScenario::s_get().c_get_size();
    }

    /// What happened in `calibrate` after the central state.
    std::vector<std::string> bumped_notes(Contract::Contract& priced) {
        EXPECT_TRUE(pricer.prepare_pricer(priced));
        pricer.helper.set(today, Toolbox::DayCounter(), pricer.c_get_information(), nullptr);
        pricer.helper.notes.clear();
        EXPECT_TRUE(pricer.calibrate(priced, model.get()));
        auto& notes = pricer.helper.notes;
        EXPECT_EQ(notes.at(0), "central");
        EXPECT_EQ(notes.at(1), "calibrate");
        EXPECT_EQ(Data::MarketDataScenario::s_get().c_get_size(), pricer.helper.hidden_shifts);
        return {notes.begin() + 2, notes.end()};
    }

    NotingPricer pricer;
    std::unique_ptr<Modeling::Model> model{
        Modeling::get_model(today, Modeling::ModelName::default_model)};
    std::unique_ptr<Contract::Contract> single;
    std::unique_ptr<Contract::Contract> pair;
    std::unique_ptr<Contract::Contract> cash;
    Options::Greeks& greeks{PricerOptions::s_options.greeks};
};

TEST_F(PricerTest, ARunPreparesSetsCalibratesComputesAndDeletesTheHelper) {
    ASSERT_TRUE(pricer.run(*single, model.get()));
    EXPECT_THAT(pricer.helper.notes,
                testing::ElementsAre("set 2023-01-01", "central", "calibrate"));
    EXPECT_EQ(pricer.runs, 1);
    EXPECT_EQ(pricer.deleted, 1);
    ASSERT_EQ(pricer.c_get_results().results.size(), 1U);
    EXPECT_EQ(pricer.c_get_results().results[0].name, "PRICE");
    EXPECT_EQ(pricer.c_get_results().results[0].result.mean, 1.0);
}

TEST_F(PricerTest, ARunWithoutModelAsksForNoHelper) {
    ASSERT_TRUE(pricer.run(*single, nullptr));
    EXPECT_EQ(pricer.asked, 0);
    EXPECT_TRUE(pricer.helper.notes.empty());
    EXPECT_EQ(pricer.runs, 1);
}

TEST_F(PricerTest, AnEngineWithoutHelperNeedsNoCalibration) {
    pricer.has_helper = false;
    ASSERT_TRUE(pricer.run(*single, model.get()));
    EXPECT_EQ(pricer.runs, 1);
}

TEST_F(PricerTest, AFailedRunDeletesTheHelperToo) {
    pricer.core_answer = false;
    EXPECT_FALSE(pricer.run(*single, model.get()));
    EXPECT_EQ(pricer.deleted, 1);
    EXPECT_TRUE(pricer.c_get_results().results.empty());
}

TEST_F(PricerTest, PriceRunsWithoutCalibration) {
    ASSERT_TRUE(pricer.prepare_pricer(*single));
    ASSERT_TRUE(pricer.price(*single, model.get()));
    EXPECT_TRUE(pricer.helper.notes.empty());
    EXPECT_EQ(pricer.c_get_results().price.count, 1U);
    ASSERT_TRUE(pricer.price(*single, model.get()));
    EXPECT_EQ(pricer.c_get_results().price.count, 1U);  // cleared in between
    EXPECT_EQ(pricer.c_get_results().results.size(), 1U);
}

TEST_F(PricerTest, ASecondAgregateWithoutClearRepeatsItsRows) {
    ASSERT_TRUE(pricer.prepare_pricer(*single));
    pricer.agregate();
    pricer.agregate();
    EXPECT_EQ(pricer.c_get_results().results.size(), 2U);
}

TEST_F(PricerTest, AContractWithoutCashFlowEndsTheRun) {
    Contract::Contract empty(today, "EUR");
    EXPECT_FALSE(pricer.run(empty, model.get()));
}

TEST_F(PricerTest, ATwoSidedDeltaCalibratesAllUpStatesThenAllDownStates) {
    greeks.delta.activate = true;
    greeks.delta.bump = 2.0;
    EXPECT_THAT(bumped_notes(*pair),
                testing::ElementsAre(
                    "allocate delta_up 2", "select delta_up 0", "calibrate spot A +2 relative",
                    "central", "select delta_up 1", "calibrate spot B +2 relative", "central",
                    "allocate delta_down 2", "select delta_down 0", "calibrate spot A -2 relative",
                    "central", "select delta_down 1", "calibrate spot B -2 relative", "central"));
}

TEST_F(PricerTest, AOneSidedDirectionCalibratesItsSideAlone) {
    greeks.vega.activate = true;
    greeks.vega.direction = 1;
    EXPECT_THAT(bumped_notes(*single),
                testing::ElementsAre("allocate vega_up 1", "select vega_up 0",
                                     "calibrate volatility A +1", "central"));
    greeks.vega.direction = -1;
    EXPECT_THAT(bumped_notes(*single),
                testing::ElementsAre("allocate vega_down 1", "select vega_down 0",
                                     "calibrate volatility A -1", "central"));
}

TEST_F(PricerTest, AConvexityEndsOnItsDownState) {
    greeks.gamma.activate = greeks.volga.activate = true;
    greeks.volga.bump = 3.0;
    EXPECT_THAT(bumped_notes(*single),
                testing::ElementsAre("allocate gamma_up 1", "allocate gamma_down 1",
                                     "select gamma_up 0", "calibrate spot A +1 relative",
                                     "select gamma_down 0", "calibrate spot A -1 relative",
                                     "allocate volga_up 1", "allocate volga_down 1",
                                     "select volga_up 0", "calibrate volatility A +3",
                                     "select volga_down 0", "calibrate volatility A -3"));
}

TEST_F(PricerTest, AVannaMovesSpotAndVolatilityOfOneUnderlyingByTheirOwnBumps) {
    greeks.vanna.activate = true;
    greeks.vanna.spot_bump = 2.0;
    greeks.vanna.vol_bump = 3.0;
    EXPECT_THAT(bumped_notes(*single),
                testing::ElementsAre(
                    "allocate delta_up_vega_up 1", "allocate delta_down_vega_up 1",
                    "allocate delta_up_vega_down 1", "allocate delta_down_vega_down 1",
                    "select delta_up_vega_up 0", "calibrate spot A +2 relative, volatility A +3",
                    "central", "select delta_down_vega_up 0",
                    "calibrate spot A -2 relative, volatility A +3", "central",
                    "select delta_up_vega_down 0", "calibrate spot A +2 relative, volatility A -3",
                    "central", "select delta_down_vega_down 0",
                    "calibrate spot A -2 relative, volatility A -3", "central"));
}

TEST_F(PricerTest, PairsMoveTheLaterUnderlyingFirst) {
    greeks.xgamma.activate = greeks.xvolga.activate = greeks.xvanna.activate =
        greeks.cega.activate = true;
    greeks.xvanna.spot_bump = 2.0;
    greeks.xvanna.vol_bump = 3.0;
    greeks.cega.bump = 4.0;
    std::vector<std::string> calibrated;
    for (auto const& note : bumped_notes(*pair))
        if (note.starts_with("calibrate")) calibrated.push_back(note.substr(10));
    EXPECT_THAT(
        calibrated,
        testing::ElementsAre(
            "spot B +1 relative, spot A +1 relative", "spot B -1 relative, spot A +1 relative",
            "spot B +1 relative, spot A -1 relative", "spot B -1 relative, spot A -1 relative",
            "volatility B +1, volatility A +1", "volatility B -1, volatility A +1",
            "volatility B +1, volatility A -1", "volatility B -1, volatility A -1",
            "spot B +2 relative, volatility A +3", "spot B -2 relative, volatility A +3",
            "spot B +2 relative, volatility A -3", "spot B -2 relative, volatility A -3",
            "correlation B#A +4", "correlation B#A -4"));
}

TEST_F(PricerTest, RhoMovesTheRatesOfEachCurrencyAndComesLast) {
    greeks.rho.activate = greeks.cega.activate = true;
    auto const notes = bumped_notes(*single);
    EXPECT_THAT(notes,
                testing::ElementsAre("allocate cega_up 1", "allocate cega_down 1",
                                     "allocate rho_up 1", "select rho_up 0",
                                     "calibrate yield EUR +1", "central", "allocate rho_down 1",
                                     "select rho_down 0", "calibrate yield EUR -1", "central"));
}

TEST_F(PricerTest, AFailureUnderABumpLeavesScenarioAndHelperWhereTheyAre) {
    greeks.delta.activate = true;
    pricer.helper.calibrations_to_fail = 2;  // central, delta up of A, delta up of B
    EXPECT_FALSE(pricer.run(*pair, model.get()));
    EXPECT_EQ(pricer.helper.notes.back(), "calibrate spot B +1 relative");
    EXPECT_EQ(Data::MarketDataScenario::s_get().c_get_size(), pricer.helper.hidden_shifts + 1);
    EXPECT_EQ(pricer.runs, 0);
    EXPECT_EQ(pricer.deleted, 1);
}

TEST_F(PricerTest, AFailureOfTheCentralStateEndsTheRun) {
    pricer.helper.calibrations_to_fail = 0;
    EXPECT_FALSE(pricer.run(*pair, model.get()));
    EXPECT_EQ(pricer.runs, 0);
}

TEST_F(PricerTest, WithoutUnderlyingNoArrayIsMadeButRho) {
    for (auto* record : {&greeks.delta, &greeks.vega, &greeks.rho, &greeks.cega})
        record->activate = true;
    greeks.epsilonn.activate = true;
    ASSERT_TRUE(pricer.prepare_pricer(*cash));
    EXPECT_EQ(pricer.c_get_results().delta.c_get_size(), 0U);
    EXPECT_EQ(pricer.c_get_results().epsilonn.c_get_size(), 0U);
    EXPECT_EQ(pricer.c_get_results().cega.c_get_side(), 0U);
    EXPECT_EQ(pricer.c_get_results().rho.c_get_size(), 1U);
}

TEST_F(PricerTest, RowsAndPairsTakeTheNamesOfTheirUnderlyingsAndRhoNone) {
    greeks.delta.activate = greeks.rho.activate = greeks.epsilonn.activate =
        greeks.xgamma.activate = true;
    ASSERT_TRUE(pricer.prepare_pricer(*pair));
    auto const& results = pricer.c_get_results();
    EXPECT_EQ(results.delta.get(1).name, "B");
    EXPECT_EQ(results.rho.get(0).name, "");
    EXPECT_EQ(results.epsilonn.get(1).name, "");
    EXPECT_EQ(results.xgamma.get(1, 0).first_name, "B");
    EXPECT_EQ(results.xgamma.get(1, 0).second_name, "A");
    EXPECT_EQ(results.gamma.c_get_size(), 0U);
}

TEST_F(PricerTest, ClearLeavesTheRowsOfEpsilonnAlone) {
    greeks.delta.activate = greeks.epsilonn.activate = true;
    ASSERT_TRUE(pricer.prepare_pricer(*single));
    pricer.get_results().delta.unsafe_get(0).result += 1.0;
    pricer.get_results().epsilonn.unsafe_get(0).result += 1.0;
    pricer.clear();
    EXPECT_EQ(pricer.c_get_results().delta.get(0).result.count, 0U);
    EXPECT_EQ(pricer.c_get_results().epsilonn.get(0).result.count, 1U);
}

TEST_F(PricerTest, ShiftScalesEachSensitivityByItsBumps) {
    for (auto* record : {&greeks.delta, &greeks.vega, &greeks.rho, &greeks.cega}) {
        record->activate = true;
        record->bump = 4.0;
    }
    greeks.delta.direction = 1;
    for (auto* record : {&greeks.gamma, &greeks.volga, &greeks.xgamma, &greeks.xvolga}) {
        record->activate = true;
        record->bump = 5.0;
    }
    for (auto* record : {&greeks.vanna, &greeks.xvanna}) {
        record->activate = true;
        record->spot_bump = 3.0;
        record->vol_bump = 7.0;
    }
    ASSERT_TRUE(pricer.prepare_pricer(*pair));
    ASSERT_TRUE(pricer.price(*pair, nullptr));
    pricer.shift_greeks();
    auto const& results = pricer.c_get_results();
    EXPECT_EQ(results.delta.get(0).result.sum, 2500.0);  // one-sided: no half
    EXPECT_EQ(results.vega.get(1).result.sum, 1250.0);
    EXPECT_EQ(results.rho.get(0).result.sum, 1250.0);
    EXPECT_EQ(results.cega.get(1, 0).result.sum, 1250.0);
    EXPECT_EQ(results.gamma.get(0).result.sum, 4e6);
    EXPECT_EQ(results.volga.get(0).result.sum, 4e6);
    EXPECT_EQ(results.xgamma.get(1, 0).result.sum, 1e6);
    EXPECT_EQ(results.xvolga.get(1, 0).result.sum, 1e6);
    EXPECT_EQ(results.vanna.get(0).result.sum, 25000000.0 / 7.0 / 3.0);
    EXPECT_EQ(results.xvanna.get(1, 0).result.sum, 25000000.0 / 3.0 / 7.0);
    EXPECT_EQ(results.price.sum, 1.0);
}

TEST_F(PricerTest, ShiftFoldsTheFactorIntoTheExtremes) {
    greeks.delta.activate = true;
    greeks.delta.direction = 1;
    ASSERT_TRUE(pricer.prepare_pricer(*single));
    ASSERT_TRUE(pricer.price(*single, nullptr));
    pricer.shift_greeks();
    EXPECT_EQ(pricer.c_get_results().delta.get(0).result.min, 1.0);
    EXPECT_EQ(pricer.c_get_results().delta.get(0).result.max, 10000.0);
    greeks.delta.direction = 0;
    ASSERT_TRUE(pricer.price(*single, nullptr));
    pricer.shift_greeks();
    EXPECT_EQ(pricer.c_get_results().delta.get(0).result.min, 0.5);
}

TEST_F(PricerTest, TheMethodOfTheSettingsChoosesTheEngine) {
    auto& method = PricerOptions::s_options.method;
    method = PricingMethod::MONTE_CARLO;
    auto const engine = get_pricer();
    EXPECT_NE(dynamic_cast<MCPricer*>(engine.get()), nullptr);
    method = PricingMethod::FINITE_DIFFERENCE;
    auto const grid_engine = get_pricer();
    EXPECT_NE(dynamic_cast<PDEPricer*>(grid_engine.get()), nullptr);
    method = static_cast<PricingMethod>(4);
    EXPECT_EQ(get_pricer(), nullptr);
}

}  // namespace
}  // namespace ximCORE::Pricing
