#include "core/modeling/model.hpp"

#include <cmath>
#include <random>

#include "core/contract/contract.hpp"
#include "core/contract/fixing.hpp"
#include "core/contract/payments.hpp"
#include "core/data/interest_rates.hpp"
#include "core/modeling/black_scholes_mc_helper.hpp"
#include "core/modeling/black_scholes_model.hpp"
#include "core/modeling/black_scholes_pde_helper.hpp"
#include "core/modeling/black_scholes_term_structure_mc_helper.hpp"
#include "core/modeling/black_scholes_term_structure_model.hpp"
#include "core/modeling/dupire_local_volatility_mc_helper.hpp"
#include "core/modeling/dupire_local_volatility_model.hpp"
#include "support/market.hpp"

namespace ximCORE::Modeling {
namespace {

using Data::MarketDataVolatilityPerturbationItem;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using Kind = BlackScholesModel::CalibrationKind;

class ModelTest : public Testing::MarketTest {
 protected:
    using Underlyings = std::vector<Data::Underlying*>;

    ModelTest() { reset_settings(); }
    ~ModelTest() override { reset_settings(); }

    static void reset_settings() {
        BlackScholesModel::s_calibration_kind = Kind::manual;
        BlackScholesModel::s_calibration_tenor = Toolbox::DateShift();
    }

    bool declare(ModelName name, Underlyings const& underlyings) const {
        return get_model(today, name)->get_dependencies(underlyings, {euro.get()});
    }

    /// Whether the fetch of quotes would now ask for a volatility of this underlying.
    bool asks_for_volatility(Data::Underlying const& asset) const {
        return cache().c_get_blackscholes_volatilities().contains({today, &asset});
    }
    bool asks_for_correlation(Data::Underlying const& row, Data::Underlying const& col) const {
        return cache().c_get_correlations().contains({today, &row, &col});
    }
    bool asks_for_spot(Data::Underlying const& asset) const {
        return cache().c_get_spots().contains({today, &asset});
    }

    static void use_tenor(std::string const& text) {
        BlackScholesModel::s_calibration_kind = Kind::at_the_money_forward;
        BlackScholesModel::s_calibration_tenor = Toolbox::DateShift(text, nullptr);
    }

    void set_variance_slope(Data::Underlying const& asset, double half_variance) const {
        auto& target = surface(asset);
        std::ignore = target.eval(1.0, 0.0);
        dynamic_cast<Data::StochasticVolatilityInspired&>(*target.get_smiler()).half_variance =
            half_variance;
    }

    std::shared_ptr<Data::Currency> const euro = currency("EUR");
    std::shared_ptr<Data::Underlying> const first = share("AAA");
    std::shared_ptr<Data::Underlying> const second = share("BBB");
    std::shared_ptr<Data::Underlying> const unknown =
        cache().get_underlying("CCC", Data::Level::silent);
    static constexpr auto c_models = std::to_array(
        {ModelName::default_model, ModelName::black_scholes,
         ModelName::black_scholes_term_structure, ModelName::dupire, ModelName::free});
};

TEST_F(ModelTest, EachNameGivesItsModel) {
    std::vector<std::string> names;
    for (auto const name : c_models) {
        auto const model = get_model(one_year, name);
        ASSERT_NE(model, nullptr);
        names.push_back(model->c_get_name());
        EXPECT_EQ(model->c_get_calibration_date(), one_year);
    }
    EXPECT_THAT(names, ElementsAre("default", "BlackScholesModel", "BlackScholesTermStructureModel",
                                   "DupireLocalVolatilityModel", "FreeModel"));
}

TEST_F(ModelTest, HestonAndUnknownNamesGiveNull) {
    EXPECT_EQ(get_model(today, static_cast<ModelName>(3)), nullptr);
    EXPECT_EQ(get_model(today, static_cast<ModelName>(6)), nullptr);
    EXPECT_EQ(get_model(today, static_cast<ModelName>(255)), nullptr);
}

TEST_F(ModelTest, TheDefaultAndTheFreeModelHaveNoSimulationHelper) {
    auto const helper_of = [this](ModelName name) {
        return std::unique_ptr<Model>(get_model(today, name));
    };
    EXPECT_EQ(helper_of(ModelName::default_model)->safe_new_MC_helper(), nullptr);
    EXPECT_EQ(helper_of(ModelName::free)->safe_new_MC_helper(), nullptr);
    auto const plain = helper_of(ModelName::black_scholes);
    EXPECT_NE(dynamic_cast<BlackScholesMCHelper*>(plain->safe_new_MC_helper()), nullptr);
    auto const term = helper_of(ModelName::black_scholes_term_structure);
    EXPECT_NE(dynamic_cast<BlackScholesTermStructureMCHelper*>(term->safe_new_MC_helper()),
              nullptr);
    auto const local = helper_of(ModelName::dupire);
    EXPECT_NE(dynamic_cast<DupireLocalVolatilityMCHelper*>(local->safe_new_MC_helper()), nullptr);
}

TEST_F(ModelTest, OnlyThePlainBlackScholesModelHasAFiniteDifferenceHelper) {
    for (auto const name : {ModelName::default_model, ModelName::black_scholes_term_structure,
                            ModelName::dupire, ModelName::free})
        EXPECT_EQ(get_model(today, name)->safe_new_PDE_helper(), nullptr);
    auto const model = get_model(today, ModelName::black_scholes);
    auto* const helper = model->safe_new_PDE_helper();
    EXPECT_NE(dynamic_cast<BlackScholesPDEHelper*>(helper), nullptr);
    EXPECT_EQ(model->safe_new_PDE_helper(), helper);
    Contract::ContractInformation information;
    information.currencies = {euro.get()};
    helper->set(today, Toolbox::DayCounter(), information, nullptr);
    model->safe_delete_PDE_helper();
    model->safe_delete_PDE_helper();  // nothing left to delete
    EXPECT_EQ(model->safe_new_PDE_helper()->c_get_nb_currencies(), 0U);
}

TEST_F(ModelTest, AHelperAskedForTwiceIsTheSameObject) {
    BlackScholesModel model(today);
    auto* const helper = model.safe_new_MC_helper();
    EXPECT_EQ(model.safe_new_MC_helper(), helper);
}

TEST_F(ModelTest, AfterADeletionAFreshHelperIsBuilt) {
    BlackScholesModel model(today);
    Contract::ContractInformation information;
    information.currencies = {euro.get()};
    model.safe_new_MC_helper()->set(today, Toolbox::DayCounter(), information, nullptr);
    ASSERT_EQ(model.safe_new_MC_helper()->c_get_nb_currencies(), 1U);
    model.safe_delete_MC_helper();
    model.safe_delete_MC_helper();  // nothing left to delete
    EXPECT_EQ(model.safe_new_MC_helper()->c_get_nb_currencies(), 0U);
}

TEST_F(ModelTest, EveryModelDeclaresSpotsAndCurvesWithoutReportingAnything) {
    for (auto const name : c_models) {
        reset();
        auto const stock = share("AAA");
        auto const pair = exchange_rate("EURUSD", "EUR", "USD");
        EXPECT_TRUE(
            get_model(today, name)
                ->get_dependencies(Underlyings{stock.get(), pair.get()}, {currency("EUR").get()}));
        EXPECT_TRUE(asks_for_spot(*stock));
        EXPECT_TRUE(asks_for_spot(*pair));
        set_spot(*stock, 100.0);
        double forward = 0.0;
        EXPECT_TRUE(forward_curve(*stock).eval_absolute(one_year, forward));
        EXPECT_THAT(Toolbox::Log::s_get(), IsEmpty());
    }
}

TEST_F(ModelTest, AnUnderlyingWithoutKindIsDeclaredButAnsweredWithFalse) {
    for (auto const name : c_models) {
        EXPECT_FALSE(declare(name, {first.get(), unknown.get()}));
        EXPECT_TRUE(asks_for_spot(*first));
        EXPECT_TRUE(declare(name, {first.get()}));
    }
}

TEST_F(ModelTest, AnUnderlyingWithoutCurrencyIsAnsweredWithFalse) {
    unknown->set_impl(std::make_shared<Data::Fund>());
    for (auto const name : c_models) EXPECT_FALSE(declare(name, {unknown.get()}));
}

TEST_F(ModelTest, AnInterestRateIsSkipped) {
    auto const rate = underlying("EUR3M", "EUR", std::make_shared<Data::DepositRate>());
    for (auto const name : c_models) EXPECT_TRUE(declare(name, {rate.get()}));
    EXPECT_FALSE(asks_for_spot(*rate));
    EXPECT_FALSE(asks_for_volatility(*rate));
}

TEST_F(ModelTest, BlackScholesAsksForEachPairOnceWithTheLaterFirst) {
    EXPECT_TRUE(declare(ModelName::black_scholes, {first.get(), second.get()}));
    EXPECT_TRUE(asks_for_correlation(*second, *first));
    EXPECT_EQ(cache().c_get_correlations().size(), 1U);
}

TEST_F(ModelTest, TheModelsWithSeveralFactorsAskForCorrelationsTheOthersDoNot) {
    for (auto const name : c_models) {
        reset();
        auto const left = share("AAA");
        auto const right = share("BBB");
        EXPECT_TRUE(
            get_model(today, name)->get_dependencies(Underlyings{left.get(), right.get()}, {}));
        bool const expected = name != ModelName::default_model && name != ModelName::free;
        EXPECT_EQ(cache().c_get_correlations().size(), expected ? 1U : 0U);
    }
}

TEST_F(ModelTest, BlackScholesAsksForVolatilitiesOnlyUnderTheManualCalibration) {
    BlackScholesModel::s_calibration_kind = Kind::at_the_money_forward;
    EXPECT_TRUE(declare(ModelName::black_scholes, {first.get()}));
    EXPECT_FALSE(asks_for_volatility(*first));
    BlackScholesModel::s_calibration_kind = Kind::manual;
    EXPECT_TRUE(declare(ModelName::black_scholes, {first.get()}));
    EXPECT_TRUE(asks_for_volatility(*first));
}

TEST_F(ModelTest, NoOtherModelAsksForABlackScholesVolatility) {
    for (auto const name : c_models) {
        if (name == ModelName::black_scholes) continue;
        EXPECT_TRUE(declare(name, {first.get()}));
    }
    EXPECT_FALSE(asks_for_volatility(*first));
}

TEST_F(ModelTest, AnUnknownCalibrationKindDeclaresAndCalibratesNothing) {
    BlackScholesModel::s_calibration_kind = static_cast<Kind>(2);
    set_volatility(*first, 0.3);
    double volatility = -1.0;
    EXPECT_FALSE(declare(ModelName::black_scholes, {first.get()}));
    EXPECT_FALSE(BlackScholesModel::s_calibrate_volatility(today, first.get(), volatility));
    EXPECT_EQ(volatility, -1.0);
}

TEST_F(ModelTest, AContractDeclaresItsUnderlyingsAndCurrencies) {
    auto const fixing =
        std::make_shared<Contract::Fixing>(one_year, "AAA", "", Toolbox::DateShift());
    auto const payment = std::make_shared<Contract::PayReceive>(
        Contract::Child<Contract::Amount>(fixing), one_year, "EUR", static_cast<short>(1));
    Contract::Contract contract(today, "EUR", payment);
    std::ignore = contract.get_dependencies();
    BlackScholesModel model(today);
    std::ignore = model.get_dependencies(contract);
    EXPECT_TRUE(asks_for_spot(*first));
    EXPECT_TRUE(asks_for_volatility(*first));
    EXPECT_FALSE(asks_for_spot(*second));
}

TEST_F(ModelTest, AContractWithoutCashFlowIsAnsweredWithFalse) {
    Contract::Contract contract(today, "EUR");
    EXPECT_FALSE(Model(today).get_dependencies(contract));
}

TEST_F(ModelTest, TheManualVolatilityIsTheQuoteWithItsShifts) {
    set_volatility(*first, 0.25);
    double volatility = 0.0;
    ASSERT_TRUE(BlackScholesModel::s_calibrate_volatility(today, first.get(), volatility));
    EXPECT_EQ(volatility, 0.25);
    push<MarketDataVolatilityPerturbationItem>(Shift::Kind::additive, Shift::Unit::basis_point,
                                               100.0, first.get());
    ASSERT_TRUE(BlackScholesModel::s_calibrate_volatility(today, first.get(), volatility));
    EXPECT_NEAR(volatility, 0.26, 1e-15);
}

TEST_F(ModelTest, AMissingManualVolatilityIsReported) {
    double volatility = -1.0;
    EXPECT_FALSE(BlackScholesModel::s_calibrate_volatility(today, first.get(), volatility));
    EXPECT_EQ(volatility, -1.0);
    EXPECT_THAT(errors(), ElementsAre("Cannot find Black-Scholes volatility at '2023-01-01' for "
                                      "underlying with ticker 'AAA'"));
}

TEST_F(ModelTest, TheMoneyVolatilityIsTheRootOfVarianceOverTime) {
    set_variance_slope(*first, 0.045);
    for (auto const* tenor : {"+1d", "+3m", "+1y", "+10y"}) {
        use_tenor(tenor);
        double volatility = 0.0;
        ASSERT_TRUE(BlackScholesModel::s_calibrate_volatility(today, first.get(), volatility));
        EXPECT_NEAR(volatility, 0.3, 1e-14) << tenor;
    }
}

TEST_F(ModelTest, ATenorOfZeroLengthIsRefusedWithItsMessage) {
    for (auto const* tenor : {"", "+0d", "+0m"}) {
        Toolbox::Log::s_get().clear();
        use_tenor(tenor);
        double volatility = -1.0;
        EXPECT_FALSE(BlackScholesModel::s_calibrate_volatility(today, first.get(), volatility));
        EXPECT_EQ(volatility, -1.0);
        EXPECT_THAT(errors(), ElementsAre("Cannot calibrate volatility with an empty tenor"));
    }
}

class TermStructureTest : public ModelTest {
 protected:
    std::vector<double> forward_volatilities(std::vector<double> const& times) const {
        Toolbox::Array1D<double> array(times.size());
        std::copy(times.begin(), times.end(), array.begin());
        Toolbox::Array1D<double> result;
        EXPECT_TRUE(BlackScholesTermStructureModel::s_calibrate_volatility(today, first.get(),
                                                                           array, result));
        return {result.begin(), result.end()};
    }
};

TEST_F(TermStructureTest, AFlatVarianceSlopeGivesTheConstantVolatilityOnEveryInterval) {
    set_variance_slope(*first, 0.03125);
    std::mt19937 generator(5);
    std::uniform_real_distribution<double> length(0.01, 1.0);
    std::vector<double> times;
    for (double t = 0.0; times.size() < 30;) times.push_back(t += length(generator));
    for (double const volatility : forward_volatilities(times))
        EXPECT_NEAR(volatility, 0.25, 1e-11);
}

TEST_F(TermStructureTest, AShiftOfTheSurfaceShiftsEveryForwardVolatility) {
    std::ignore = surface(*first);
    push<MarketDataVolatilityPerturbationItem>(Shift::Kind::additive, Shift::Unit::percentage, 3.0,
                                               first.get());
    for (double const volatility : forward_volatilities({0.5, 1.0, 3.0}))
        EXPECT_NEAR(volatility, 0.23, 1e-13);
}

TEST_F(TermStructureTest, AnIntervalOfLengthZeroHasNoVolatility) {
    auto const volatilities = forward_volatilities({0.0, 0.5, 0.5, 2.0});
    ASSERT_EQ(volatilities.size(), 4U);
    EXPECT_EQ(volatilities[0], 0.0);
    EXPECT_NEAR(volatilities[1], 0.2, 1e-14);
    EXPECT_EQ(volatilities[2], 0.0);
    EXPECT_NEAR(volatilities[3], 0.2, 1e-14);
}

TEST_F(TermStructureTest, WithoutTimesThereIsNothingToCalibrate) {
    EXPECT_THAT(forward_volatilities({}), IsEmpty());
}

}  // namespace
}  // namespace ximCORE::Modeling
