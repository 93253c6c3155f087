// What of the configuration records reaches the settings of the core, field by field.

#include "api/plug.hpp"

#include <vector>

#include "core/contract/contract.hpp"
#include "core/data/correlation.hpp"
#include "core/data/scenario.hpp"
#include "core/data/spot.hpp"
#include "core/data/surfaces/black_scholes_volatility.hpp"
#include "core/modeling/black_scholes_model.hpp"
#include "core/modeling/mc_helper.hpp"
#include "core/pricing/options.hpp"
#include "core/toolbox/date.hpp"
#include "core/toolbox/errors.hpp"
#include "core/toolbox/log.hpp"
#include "support/precompiled.hpp"

namespace {

namespace Core = ximCORE;
using namespace ximAPI::Toolkit;

/// Puts the settings back to those of fresh records, so that no test sees another's.
class Plug : public ::testing::Test {
 protected:
    ~Plug() override {
        plug_data_parameters({});
        plug_contract_parameters({});
        plug_model_parameters({});
        plug_pricing_parameters({});
        Core::Toolbox::Log::s_get().clear();
    }
};

TEST_F(Plug, EachFlagOfMissingQuotesReachesItsOwnSwitch) {
    using ximAPI::Data;
    struct Case {
        bool Data::*flag;
        bool* target;
    };
    Case const cases[] = {
        {&Data::SuccessOnCorrelationRequestFailure, &Core::Data::Correlation::s_set_default_value},
        {&Data::SuccessOnVolatilityRequestFailure,
         &Core::Data::BlackScholesVolatility::s_set_default_value},
        {&Data::SuccessOnSpotRequestFailure, &Core::Data::Spot::s_set_default_value},
        {&Data::SuccessOnFXSpotRequestFailure, &Core::Data::Spot::s_set_default_fx_value}};
    for (auto const& set : cases) {
        Data data;
        data.*set.flag = true;
        plug_data_parameters(data);
        for (auto const& other : cases) EXPECT_EQ(*other.target, &other == &set);
    }
    Data without_effect;
    without_effect.SuccessOnRepoRequestFailure = without_effect.SuccessOnYieldRequestFailure = true;
    plug_data_parameters(without_effect);
    for (auto const& other : cases) EXPECT_FALSE(*other.target);
}

TEST_F(Plug, EachIntradayFlagReachesItsOwn) {
    auto const plugged = [](bool fixings, bool payments, bool choices) {
        ximAPI::Contract contract;
        contract.IntradayFixings = fixings;
        contract.IntradayPayments = payments;
        contract.IntradayChoices = choices;
        plug_contract_parameters(contract);
        auto const& intraday = Core::Contract::Contract::s_intraday;
        return intraday.IntradayFixings == fixings && intraday.IntradayPayments == payments &&
               intraday.IntradayChoices == choices;
    };
    EXPECT_TRUE(plugged(true, false, false));
    EXPECT_TRUE(plugged(false, true, false));
    EXPECT_TRUE(plugged(false, false, true));
}

TEST_F(Plug, TheModelTakesItsCalibrationAndItsTenor) {
    using Core::Modeling::BlackScholesModel;
    ximAPI::Model model;
    model.BlackScholesCalibrationKind = ximAPI::BlackScholesCalibrationKind::AT_THE_MONEY_FORWARD;
    model.BlackScholesVolatilityCalibrationTenor.Shift = "+3m";
    plug_model_parameters(model);
    EXPECT_EQ(BlackScholesModel::s_calibration_kind,
              BlackScholesModel::CalibrationKind::at_the_money_forward);
    EXPECT_EQ(Core::Toolbox::Date("2021-05-03").c_shift(BlackScholesModel::s_calibration_tenor),
              Core::Toolbox::Date("2021-08-03"));
}

TEST_F(Plug, ATenorThatDoesNotReadRaises) {
    ximAPI::Model model;
    model.BlackScholesVolatilityCalibrationTenor.Shift = "three months";
    EXPECT_THROW(plug_model_parameters(model), Core::Toolbox::ConstructorException);
}

TEST_F(Plug, SimulationAndMethodTakeTheirNumbers) {
    ximAPI::Pricer pricer;
    pricer.SpotVolatilityDynamic = ximAPI::SpotVolatilityDynamic::STICKY_OPTION;
    pricer.SmoothingType = ximAPI::SmoothingType::UPPER;
    pricer.Method = ximAPI::PricingMethod::STATIC_REPLICATION;
    pricer.MonteCarloTrials = 17;
    pricer.MonteCarloNbThreads = 259;
    pricer.MonteCarloTimeStep = 5;
    pricer.MonteCarloSeed = 42;
    pricer.ClosedFormMoneynessGridSize = 9;
    pricer.ClosedFormMoneynessGridLowerBound = 40.0F;
    pricer.ClosedFormMoneynessGridUpperBound = 160.0F;
    plug_pricing_parameters(pricer);
    EXPECT_EQ(Core::Data::MarketDataScenario::s_spot_volatility_dynamic_kind,
              Core::Data::SpotVolatilityDynamic::sticky_option);
    auto const& options = Core::Pricing::PricerOptions::s_options;
    EXPECT_EQ(options.smoothing, Core::Pricing::SmoothingType::UPPER);
    EXPECT_EQ(options.method, Core::Pricing::PricingMethod::STATIC_REPLICATION);
    auto const& simulation = Core::Pricing::MCPricerOptions::s_options;
    EXPECT_EQ(simulation.trials, 17U);
    EXPECT_EQ(simulation.nb_threads, 3U) << "one byte is stored";
    EXPECT_EQ(Core::Modeling::MCHelper::s_path_step, 5U);
    EXPECT_EQ(Core::Modeling::MCHelper::s_seed, 42U);
    auto const& closed_form = Core::Pricing::CFPricerOptions::s_options;
    EXPECT_EQ(closed_form.moneyness_grid_size, 9U);
    EXPECT_EQ(closed_form.grid_lower_bound, 40.0) << "the bounds stay in percent";
    EXPECT_EQ(closed_form.grid_upper_bound, 160.0);
}

/// A greek of the record and the option that its switch and its bump must reach.
struct GreekCase {
    char const* name;
    bool ximAPI::Pricer::*compute;
    float ximAPI::Pricer::*bump;
    bool const* activate;
    double const* option_bump;
};

std::vector<GreekCase> greek_cases() {
    using ximAPI::Pricer;
    auto const& greeks = Core::Pricing::PricerOptions::s_options.greeks;
    auto const row = [](char const* name, bool Pricer::*compute, float Pricer::*bump,
                        auto const& option) {
        return GreekCase{name, compute, bump, &option.activate, &option.bump};
    };
    return {
        row("delta", &Pricer::ComputeDelta, &Pricer::DeltaSpotBump, greeks.delta),
        row("gamma", &Pricer::ComputeGamma, &Pricer::GammaSpotBump, greeks.gamma),
        row("xgamma", &Pricer::ComputeXGamma, &Pricer::XGammaSpotBump, greeks.xgamma),
        row("vega", &Pricer::ComputeVega, &Pricer::VegaVolatilityBump, greeks.vega),
        row("volga", &Pricer::ComputeVolga, &Pricer::VolgaVolatilityBump, greeks.volga),
        row("xvolga", &Pricer::ComputeXVolga, &Pricer::XVolgaVolatilityBump, greeks.xvolga),
        row("cega", &Pricer::ComputeCega, &Pricer::CegaCorrelationBump, greeks.cega),
        {"vanna", &Pricer::ComputeVanna, &Pricer::VannaSpotBump, &greeks.vanna.activate,
         &greeks.vanna.vol_bump},
        {"xvanna", &Pricer::ComputeXVanna, &Pricer::XVannaSpotBump, &greeks.xvanna.activate,
         &greeks.xvanna.spot_bump},
    };
}

TEST_F(Plug, AGreekIsComputedUnderItsOwnSwitchAndTheMasterSwitch) {
    auto const cases = greek_cases();
    for (auto const& set : cases) {
        ximAPI::Pricer pricer;
        pricer.*set.compute = true;
        plug_pricing_parameters(pricer);
        EXPECT_FALSE(*set.activate) << set.name << " without the master switch";
        pricer.WithGreeks = true;
        plug_pricing_parameters(pricer);
        for (auto const& other : cases)
            EXPECT_EQ(*other.activate, &other == &set) << set.name << " reaches " << other.name;
    }
}

TEST_F(Plug, EachBumpReachesItsOwnGreekUnchanged) {
    auto const cases = greek_cases();
    for (auto const& set : cases) {
        ximAPI::Pricer pricer;
        pricer.*set.bump = 250.0F;
        plug_pricing_parameters(pricer);
        for (auto const& other : cases)
            EXPECT_EQ(*other.option_bump, &other == &set ? 250.0 : 1.0)
                << set.name << " reaches " << other.name;
    }
}

TEST_F(Plug, DirectionsAreCentredOnZeroButThatOfTheCega) {
    using enum ximAPI::GreekDirection;
    auto const& greeks = Core::Pricing::PricerOptions::s_options.greeks;
    for (auto const direction : {LEFT, CENTER, RIGHT}) {
        ximAPI::Pricer pricer;
        pricer.DeltaDirection = pricer.VegaDirection = pricer.CegaDirection = direction;
        plug_pricing_parameters(pricer);
        int const number = static_cast<int>(direction);
        EXPECT_EQ(greeks.delta.direction, number - 1);
        EXPECT_EQ(greeks.vega.direction, number - 1);
        EXPECT_EQ(greeks.cega.direction, number);
    }
}

TEST_F(Plug, PercentBecomeFractionsAndDirectionsAreSigned) {
    ximAPI::Pricer pricer;
    pricer.MonteCarloConfidenceLevel = 97.5F;
    pricer.MonteCarloAntitheticFactor = 30.0F;
    pricer.DeltaDirection = ximAPI::GreekDirection::LEFT;
    pricer.VegaDirection = ximAPI::GreekDirection::RIGHT;
    pricer.CegaDirection = ximAPI::GreekDirection::LEFT;
    pricer.ComputeDelta = true;
    pricer.MonteCarloSeed = -1;
    plug_pricing_parameters(pricer);
    auto const& options = ximCORE::Pricing::PricerOptions::s_options;
    EXPECT_NEAR(ximCORE::Pricing::MCPricerOptions::s_options.confidence_level, 0.975, 1e-15);
    EXPECT_NEAR(ximCORE::Pricing::MCPricerOptions::s_options.antithetic_factor, 0.3, 1e-15);
    EXPECT_EQ(options.greeks.delta.direction, -1);
    EXPECT_EQ(options.greeks.vega.direction, 1);
    EXPECT_EQ(options.greeks.cega.direction, 0);
    EXPECT_FALSE(options.greeks.delta.activate) << "the master switch is off";
    EXPECT_EQ(ximCORE::Modeling::MCHelper::s_seed, 0xFFFFFFFFFFFFFFFFULL);
}

TEST_F(Plug, TheTwoBumpsOfTheVannaArriveCrossed) {
    ximAPI::Pricer pricer;
    pricer.VannaVolatilityBump = 2.0F;
    pricer.VannaSpotBump = 3.0F;
    pricer.XVannaVolatilityBump = 4.0F;
    pricer.XVannaSpotBump = 5.0F;
    plug_pricing_parameters(pricer);
    auto const& greeks = ximCORE::Pricing::PricerOptions::s_options.greeks;
    EXPECT_EQ(greeks.vanna.spot_bump, 2.0);
    EXPECT_EQ(greeks.vanna.vol_bump, 3.0);
    EXPECT_EQ(greeks.xvanna.spot_bump, 5.0);
    EXPECT_EQ(greeks.xvanna.vol_bump, 4.0);
}

}  // namespace
