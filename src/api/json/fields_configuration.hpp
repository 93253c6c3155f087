// The fields of the four configuration records and of the log.
#pragma once

#include "api/json/engine.hpp"
#include "api/json/products.hpp"
#include "ximAPI/configuration.hpp"
#include "ximAPI/log.hpp"

namespace ximAPI::Toolkit {

// Relied on: a contract is written without the keys of its product
inline void write_product(Contract const&, Json::Value&) {}
inline void read_product_of_contract(Json::Value const& json, Contract& contract) {
    contract.Product = read_product_of(contract.Kind, json);
}

// clang-format off
template <> inline constexpr auto fields<Log> = std::tuple{
    Field{"Level", &Log::Level}, Field{"Message", &Log::Message}};

template <> inline constexpr auto fields<DataSource> = std::tuple{
    Field{"File", &DataSource::File}, Field{"IsActivated", &DataSource::IsActivated},
    Field{"Status", &DataSource::Status}};

template <> inline constexpr auto fields<Data> = std::tuple{
    Field{"Username", &Data::Username},
    Field{"Password", &Data::Password},
    Field{"Attempts", &Data::Attempts},
    Field{"SuccessOnRepoRequestFailure", &Data::SuccessOnRepoRequestFailure},
    Field{"SuccessOnSpotRequestFailure", &Data::SuccessOnSpotRequestFailure},
    Field{"SuccessOnFXSpotRequestFailure", &Data::SuccessOnFXSpotRequestFailure},
    Field{"SuccessOnVolatilityRequestFailure", &Data::SuccessOnVolatilityRequestFailure},
    Field{"SuccessOnYieldRequestFailure", &Data::SuccessOnYieldRequestFailure},
    Field{"SuccessOnCorrelationRequestFailure", &Data::SuccessOnCorrelationRequestFailure},
    Field{"Sources", &Data::Sources},
    WhenTrue{"WithoutLogin", &Data::WithoutLogin}};

template <> inline constexpr auto fields<DateShift> = std::tuple{
    Field{"Shift", &DateShift::Shift}, Field{"Calendar", &DateShift::Calendar}};

template <> inline constexpr auto fields<DayCounter> = std::tuple{
    Field{"Basis", &DayCounter::Basis}, Field{"Calendar", &DayCounter::Calendar}};

template <> inline constexpr auto fields<Model> = std::tuple{
    Field{"CalibrationDate", &Model::CalibrationDate},
    Field{"Name", &Model::Name},
    Field{"BlackScholesFiniteDifferenceGridSize", &Model::BlackScholesFiniteDifferenceGridSize},
    Field{"BlackScholesFiniteDifferenceConfidenceLevel", &Model::BlackScholesFiniteDifferenceConfidenceLevel},
    Field{"BlackScholesCalibrationKind", &Model::BlackScholesCalibrationKind},
    Field{"BlackScholesVolatilityCalibrationTenor", &Model::BlackScholesVolatilityCalibrationTenor}};

template <> inline constexpr auto fields<Pricer> = std::tuple{
    Field{"DayCounter", &Pricer::DayCounter},
    Field{"SmoothingType", &Pricer::SmoothingType},
    Field{"Method", &Pricer::Method},
    Field{"SpotVolatilityDynamic", &Pricer::SpotVolatilityDynamic},
    Field{"DeltaDirection", &Pricer::DeltaDirection},
    Field{"VegaDirection", &Pricer::VegaDirection},
    Field{"FiniteDifferenceBoundaryCondition", &Pricer::FiniteDifferenceBoundaryCondition},
    Field{"CegaDirection", &Pricer::CegaDirection},
    Field{"MonteCarloTrials", &Pricer::MonteCarloTrials},
    Field{"MonteCarloTimeStep", &Pricer::MonteCarloTimeStep},
    Field{"MonteCarloSeed", &Pricer::MonteCarloSeed},
    Field{"MonteCarloNbThreads", &Pricer::MonteCarloNbThreads},
    Field{"MonteCarloConfidenceLevel", &Pricer::MonteCarloConfidenceLevel},
    Field{"MonteCarloAntitheticFactor", &Pricer::MonteCarloAntitheticFactor},
    Field{"FiniteDifferenceTimeStep", &Pricer::FiniteDifferenceTimeStep},
    Field{"FiniteDifferenceExplicitRate", &Pricer::FiniteDifferenceExplicitRate},
    Field{"FiniteDifferenceUseRichardsonRombergExtrapolation",
          &Pricer::FiniteDifferenceUseRichardsonRombergExtrapolation},
    Field{"ClosedFormMoneynessGridSize", &Pricer::ClosedFormMoneynessGridSize},
    Field{"ClosedFormMoneynessGridLowerBound", &Pricer::ClosedFormMoneynessGridLowerBound},
    Field{"ClosedFormMoneynessGridUpperBound", &Pricer::ClosedFormMoneynessGridUpperBound},
    Field{"WithGreeks", &Pricer::WithGreeks},
    Field{"ComputeDelta", &Pricer::ComputeDelta},
    Field{"DeltaSpotBump", &Pricer::DeltaSpotBump},
    Field{"ComputeGamma", &Pricer::ComputeGamma},
    Field{"GammaSpotBump", &Pricer::GammaSpotBump},
    Field{"ComputeXGamma", &Pricer::ComputeXGamma},
    Field{"XGammaSpotBump", &Pricer::XGammaSpotBump},
    Field{"ComputeVega", &Pricer::ComputeVega},
    Field{"VegaVolatilityBump", &Pricer::VegaVolatilityBump},
    Field{"ComputeVolga", &Pricer::ComputeVolga},
    Field{"VolgaVolatilityBump", &Pricer::VolgaVolatilityBump},
    Field{"ComputeXVolga", &Pricer::ComputeXVolga},
    Field{"XVolgaVolatilityBump", &Pricer::XVolgaVolatilityBump},
    Field{"ComputeVanna", &Pricer::ComputeVanna},
    Field{"VannaVolatilityBump", &Pricer::VannaVolatilityBump},
    Field{"VannaSpotBump", &Pricer::VannaSpotBump},
    Field{"ComputeXVanna", &Pricer::ComputeXVanna},
    Field{"XVannaVolatilityBump", &Pricer::XVannaVolatilityBump},
    Field{"XVannaSpotBump", &Pricer::XVannaSpotBump},
    Field{"ComputeCega", &Pricer::ComputeCega},
    Field{"CegaCorrelationBump", &Pricer::CegaCorrelationBump}};

template <> inline constexpr auto fields<Contract> = std::tuple{
    Field{"IntradayPayments", &Contract::IntradayPayments},
    Field{"IntradayChoices", &Contract::IntradayChoices},
    Field{"IntradayFixings", &Contract::IntradayFixings},
    Field{"Date", &Contract::Date},
    Field{"PremiumCurrency", &Contract::PremiumCurrency},
    Field{"Kind", &Contract::Kind},
    Chosen<Contract>{"", &write_product, &read_product_of_contract}};
// clang-format on

}  // namespace ximAPI::Toolkit
