#include "api/plug.hpp"

#include "core/contract/contract.hpp"
#include "core/data/correlation.hpp"
#include "core/data/scenario.hpp"
#include "core/data/spot.hpp"
#include "core/data/surfaces/black_scholes_volatility.hpp"
#include "core/modeling/black_scholes_model.hpp"
#include "core/modeling/black_scholes_pde_helper.hpp"
#include "core/modeling/mc_helper.hpp"
#include "core/pricing/options.hpp"
#include "core/toolbox/basis.hpp"
#include "core/toolbox/calendar.hpp"
#include "core/toolbox/date_shift.hpp"
#include "core/toolbox/log.hpp"
#include "core/toolbox/math.hpp"

namespace ximAPI::Toolkit {

namespace {

namespace Pricing = ximCORE::Pricing;
using ximCORE::Toolbox::Math;

auto calendar_of(Calendar calendar) {
    return ximCORE::Toolbox::Calendar::of_id(static_cast<int>(calendar));
}

/// Sign extended to 64 bits: -1 seeds as the largest number.
std::uint64_t widened(std::int32_t number) {
    return static_cast<std::uint64_t>(static_cast<std::int64_t>(number));
}

/// LEFT -1, CENTER 0, RIGHT +1.
std::int32_t signed_direction(GreekDirection direction) {
    return static_cast<std::int32_t>(direction) - 1;
}

void plug_greeks(Pricer const& pricer, Pricing::Options::Greeks& greeks) {
    auto const plug_one = [&pricer](auto& option, bool compute, float bump) {
        option.activate = pricer.WithGreeks && compute;
        option.bump = static_cast<double>(bump);
    };
    plug_one(greeks.delta, pricer.ComputeDelta, pricer.DeltaSpotBump);
    plug_one(greeks.gamma, pricer.ComputeGamma, pricer.GammaSpotBump);
    plug_one(greeks.xgamma, pricer.ComputeXGamma, pricer.XGammaSpotBump);
    plug_one(greeks.vega, pricer.ComputeVega, pricer.VegaVolatilityBump);
    plug_one(greeks.volga, pricer.ComputeVolga, pricer.VolgaVolatilityBump);
    plug_one(greeks.xvolga, pricer.ComputeXVolga, pricer.XVolgaVolatilityBump);
    plug_one(greeks.cega, pricer.ComputeCega, pricer.CegaCorrelationBump);

    auto const plug_two = [&pricer](auto& option, bool compute, float spot_bump, float vol_bump) {
        option.activate = pricer.WithGreeks && compute;
        option.spot_bump = static_cast<double>(spot_bump);
        option.vol_bump = static_cast<double>(vol_bump);
    };
    // Relied on: the two bumps of the vanna arrive crossed, the volatility's as the spot bump and
    // the spot's as the volatility bump
    plug_two(greeks.vanna, pricer.ComputeVanna, pricer.VannaVolatilityBump, pricer.VannaSpotBump);
    plug_two(greeks.xvanna, pricer.ComputeXVanna, pricer.XVannaSpotBump,
             pricer.XVannaVolatilityBump);

    greeks.delta.direction = signed_direction(pricer.DeltaDirection);
    greeks.vega.direction = signed_direction(pricer.VegaDirection);
    // Relied on: the direction of the cega is not centred on zero, so that LEFT is two-sided
    greeks.cega.direction = static_cast<std::int32_t>(pricer.CegaDirection);
}

}  // namespace

void plug_data_parameters(Data const& data) {
    ximCORE::Data::Correlation::s_set_default_value = data.SuccessOnCorrelationRequestFailure;
    ximCORE::Data::BlackScholesVolatility::s_set_default_value =
        data.SuccessOnVolatilityRequestFailure;
    ximCORE::Data::Spot::s_set_default_value = data.SuccessOnSpotRequestFailure;
    ximCORE::Data::Spot::s_set_default_fx_value = data.SuccessOnFXSpotRequestFailure;
}

void plug_contract_parameters(Contract const& contract) {
    ximCORE::Contract::Contract::s_intraday = {.IntradayFixings = contract.IntradayFixings,
                                               .IntradayPayments = contract.IntradayPayments,
                                               .IntradayChoices = contract.IntradayChoices};
}

void plug_model_parameters(Model const& model) {
    using ximCORE::Modeling::BlackScholesModel;
    using ximCORE::Modeling::BlackScholesPDEHelper;
    BlackScholesPDEHelper::s_grid_size = model.BlackScholesFiniteDifferenceGridSize;
    BlackScholesPDEHelper::s_quantile_level = model.BlackScholesFiniteDifferenceConfidenceLevel;
    BlackScholesModel::s_calibration_kind =
        static_cast<BlackScholesModel::CalibrationKind>(model.BlackScholesCalibrationKind);
    DateShift const& tenor = model.BlackScholesVolatilityCalibrationTenor;
    BlackScholesModel::s_calibration_tenor =
        ximCORE::Toolbox::DateShift(tenor.Shift, calendar_of(tenor.Calendar));
}

void plug_pricing_parameters(Pricer const& pricer) {
    ximCORE::Data::MarketDataScenario::s_spot_volatility_dynamic_kind =
        static_cast<ximCORE::Data::SpotVolatilityDynamic>(pricer.SpotVolatilityDynamic);

    Pricing::Options& options = Pricing::PricerOptions::s_options;
    options.smoothing = static_cast<Pricing::SmoothingType>(pricer.SmoothingType);
    options.method = static_cast<Pricing::PricingMethod>(pricer.Method);
    options.day_counter.set(
        ximCORE::Toolbox::Basis::of_id(static_cast<int>(pricer.DayCounter.Basis)),
        calendar_of(pricer.DayCounter.Calendar));
    plug_greeks(pricer, options.greeks);

    auto& simulation = Pricing::MCPricerOptions::s_options;
    simulation.trials = widened(pricer.MonteCarloTrials);
    simulation.nb_threads = static_cast<std::uint8_t>(pricer.MonteCarloNbThreads);
    simulation.confidence_level =
        Math::get_absolute(static_cast<double>(pricer.MonteCarloConfidenceLevel));
    simulation.antithetic_factor =
        Math::get_absolute(static_cast<double>(pricer.MonteCarloAntitheticFactor));
    ximCORE::Modeling::MCHelper::s_path_step = static_cast<std::uint8_t>(pricer.MonteCarloTimeStep);
    ximCORE::Modeling::MCHelper::s_seed = widened(pricer.MonteCarloSeed);

    Pricing::PDEPricerOptions::s_options.use_richardson_romberg =
        pricer.FiniteDifferenceUseRichardsonRombergExtrapolation;
    ximCORE::Toolbox::XTPDE::s_options = {
        .explicit_rate =
            Math::get_absolute(static_cast<double>(pricer.FiniteDifferenceExplicitRate)),
        .boundary_condition = static_cast<ximCORE::Toolbox::XTPDE::BoundaryCondition>(
            pricer.FiniteDifferenceBoundaryCondition)};
    ximCORE::Modeling::PDEHelper::s_time_step = pricer.FiniteDifferenceTimeStep;

    auto& closed_form = Pricing::CFPricerOptions::s_options;
    closed_form.moneyness_grid_size = widened(pricer.ClosedFormMoneynessGridSize);
    closed_form.grid_lower_bound = static_cast<double>(pricer.ClosedFormMoneynessGridLowerBound);
    closed_form.grid_upper_bound = static_cast<double>(pricer.ClosedFormMoneynessGridUpperBound);
}

bool check_pricing_parameters(Pricer const& pricer) {
    auto const check = [](bool valid, char const* key) {
        if (!valid) {
            ximCORE::Toolbox::Log::s_log(ximCORE::Toolbox::Log::Level::ERROR, "Invalid ", key);
        }
        return valid;
    };
    return check(pricer.MonteCarloTrials >= 0, "MonteCarloTrials") &&
           check(pricer.ClosedFormMoneynessGridSize >= 0, "ClosedFormMoneynessGridSize") &&
           check(pricer.DayCounter.Basis == Basis::ACT_365, "DayCounter");
}

bool check_finite_difference_settings() {
    return Pricing::PricerOptions::s_options.method != Pricing::PricingMethod::FINITE_DIFFERENCE ||
           ximCORE::Modeling::BlackScholesPDEHelper::s_check_settings();
}

}  // namespace ximAPI::Toolkit
