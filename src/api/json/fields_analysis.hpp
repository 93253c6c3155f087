// The fields of the results records of the analyses: calibrations, diffusions, implied
// volatilities, static replication, and the details of a simulation.
#pragma once

#include "api/json/engine.hpp"
#include "api/json/fields_results.hpp"
#include "ximAPI/results/analysis.hpp"
#include "ximAPI/results/pricing.hpp"

namespace ximAPI::Toolkit {

// clang-format off
template <> inline constexpr auto fields<TickerVolatility> = std::tuple{
    Field{"Ticker", &TickerVolatility::Ticker}, Field{"Volatility", &TickerVolatility::Volatility}};
template <> inline constexpr auto fields<BlackScholesCalibrationResults> = std::tuple{
    Field{"Volatility", &BlackScholesCalibrationResults::Volatility}};
template <> inline constexpr auto fields<TermStructureVolatility> = std::tuple{
    Field{"Tenor", &TermStructureVolatility::Tenor},
    Field{"Volatility", &TermStructureVolatility::Volatility}};
template <> inline constexpr auto fields<TickerTermStructureVolatility> = std::tuple{
    Field{"Ticker", &TickerTermStructureVolatility::Ticker},
    Field{"Volatility", &TickerTermStructureVolatility::Volatility}};
template <> inline constexpr auto fields<BlackScholesTermStructureCalibrationResults> = std::tuple{
    Field{"Volatility", &BlackScholesTermStructureCalibrationResults::Volatility}};
template <> inline constexpr auto fields<ModelDiffusionSeries> = std::tuple{
    Field{"Date", &ModelDiffusionSeries::Date}, Field{"Epoch", &ModelDiffusionSeries::Epoch},
    Field{"Value", &ModelDiffusionSeries::Value}};
template <> inline constexpr auto fields<ModelDiffusionResults> = std::tuple{
    Field{"Series", &ModelDiffusionResults::Series}, Field{"File", &ModelDiffusionResults::File},
    Field{"Currency", &ModelDiffusionResults::Currency},
    Field{"Trajectory", &ModelDiffusionResults::Trajectory}};
template <> inline constexpr auto fields<ModelImpliedVolatilitySlice> = std::tuple{
    Field{"Error", &ModelImpliedVolatilitySlice::Error},
    Field{"Market", &ModelImpliedVolatilitySlice::Market},
    Field{"Model", &ModelImpliedVolatilitySlice::Model},
    Field{"Space", &ModelImpliedVolatilitySlice::Space}};
template <> inline constexpr auto fields<ModelImpliedVolatilityResults> = std::tuple{
    Field{"MaturityDate", &ModelImpliedVolatilityResults::MaturityDate},
    Field{"Ticker", &ModelImpliedVolatilityResults::Ticker},
    Field{"PayoffKind", &ModelImpliedVolatilityResults::PayoffKind},
    Field{"PriceKind", &ModelImpliedVolatilityResults::PriceKind},
    Field{"SpaceKind", &ModelImpliedVolatilityResults::SpaceKind},
    Field{"Slice", &ModelImpliedVolatilityResults::Slice}};
template <> inline constexpr auto fields<OptionSpaceValue> = std::tuple{
    Field{"Space", &OptionSpaceValue::Space}, Field{"Value", &OptionSpaceValue::Value}};
template <> inline constexpr auto fields<HestonImpliedVolatilityResults> = std::tuple{
    Field{"InitialSpot", &HestonImpliedVolatilityResults::InitialSpot},
    Field{"InitialVolatility", &HestonImpliedVolatilityResults::InitialVolatility},
    Field{"LongTermVolatility", &HestonImpliedVolatilityResults::LongTermVolatility},
    Field{"MaturityTime", &HestonImpliedVolatilityResults::MaturityTime},
    Field{"MeanReversionRate", &HestonImpliedVolatilityResults::MeanReversionRate},
    Field{"RiskFreeRate", &HestonImpliedVolatilityResults::RiskFreeRate},
    Field{"SpotVarianceCorrelation", &HestonImpliedVolatilityResults::SpotVarianceCorrelation},
    Field{"VarianceVolatility", &HestonImpliedVolatilityResults::VarianceVolatility},
    Field{"Slice", &HestonImpliedVolatilityResults::Slice},
    Field{"SpaceKind", &HestonImpliedVolatilityResults::SpaceKind},
    Field{"ValueKind", &HestonImpliedVolatilityResults::ValueKind}};
template <> inline constexpr auto fields<SpaceResult> = std::tuple{Field{"Space", &SpaceResult::Space}};
template <> inline constexpr auto fields<ValueResult> = std::tuple{Field{"Value", &ValueResult::Value}};
template <> inline constexpr auto fields<TestImpliedVolatilityComputationError> = std::tuple{
    Field{"Error", &TestImpliedVolatilityComputationError::Error},
    Field{"Status", &TestImpliedVolatilityComputationError::Status}};
template <> inline constexpr auto fields<TestImpliedVolatilityComputationErrorMatrix> = std::tuple{
    Field{"Rows", &TestImpliedVolatilityComputationErrorMatrix::Rows},
    Field{"Cols", &TestImpliedVolatilityComputationErrorMatrix::Cols},
    Field{"Data", &TestImpliedVolatilityComputationErrorMatrix::Data}};
template <> inline constexpr auto fields<TestImpliedVolatilityComputationResults> = std::tuple{
    Field{"InitialGuessMethod", &TestImpliedVolatilityComputationResults::InitialGuessMethod},
    Field{"ToleranceExponant", &TestImpliedVolatilityComputationResults::ToleranceExponant},
    Field{"MaximumIterations", &TestImpliedVolatilityComputationResults::MaximumIterations},
    Field{"Spaces", &TestImpliedVolatilityComputationResults::Spaces},
    Field{"Values", &TestImpliedVolatilityComputationResults::Values},
    Field{"Errors", &TestImpliedVolatilityComputationResults::Errors},
    Field{"AverageError", &TestImpliedVolatilityComputationResults::AverageError},
    Field{"AverageIterations", &TestImpliedVolatilityComputationResults::AverageIterations}};
template <> inline constexpr auto fields<Replication> = std::tuple{
    Field{"Spot", &Replication::Spot}, Field{"Replication", &Replication::Replication},
    Field{"Payoff", &Replication::Payoff}};
template <> inline constexpr auto fields<CallPut> = std::tuple{
    Field{"MaturityDate", &CallPut::MaturityDate}, Field{"Price", &CallPut::Price},
    Field{"PayoffKind", &CallPut::PayoffKind}, Field{"Quantity", &CallPut::Quantity},
    Field{"Strike", &CallPut::Strike}};
template <> inline constexpr auto fields<ZeroCoupon> = std::tuple{
    Field{"MaturityDate", &ZeroCoupon::MaturityDate}, Field{"Value", &ZeroCoupon::Value},
    Field{"Quantity", &ZeroCoupon::Quantity}};
template <> inline constexpr auto fields<PricedZeroCoupon> = std::tuple{
    Field{"Price", &PricedZeroCoupon::Price}, Merged{&PricedZeroCoupon::ZeroCoupon}};
template <> inline constexpr auto fields<StaticReplication1DResults> = std::tuple{
    Field{"Replication", &StaticReplication1DResults::Replication},
    Field{"Vanillas", &StaticReplication1DResults::Vanillas},
    Single{"ZeroCoupon", &StaticReplication1DResults::ZeroCoupon}};
template <> inline constexpr auto fields<Decomposition> = std::tuple{
    Field{"Date", &Decomposition::Date}, Field{"Price", &Decomposition::Price},
    Field{"ProbaExists", &Decomposition::ProbaExists},
    Field{"ProbaPositive", &Decomposition::ProbaPositive},
    Field{"ProbaIsKilled", &Decomposition::ProbaIsKilled},
    Field{"ProbaHasBeenKilled", &Decomposition::ProbaHasBeenKilled}};
template <> inline constexpr auto fields<ForwardFixing> = std::tuple{
    Field{"FixingDate", &ForwardFixing::FixingDate}, Field{"Currency", &ForwardFixing::Currency},
    Field{"Ticker", &ForwardFixing::Ticker}, Field{"Value", &ForwardFixing::Value}};
template <> inline constexpr auto fields<Convergence> = std::tuple{
    Field{"Trials", &Convergence::Trials}, Field{"Result", &Convergence::Result}};
template <> inline constexpr auto fields<Barrier> = std::tuple{
    Field{"EventDate", &Barrier::EventDate}, Field{"EventScript", &Barrier::EventScript},
    Field{"ProbaIn", &Barrier::ProbaIn}};
template <> inline constexpr auto fields<MCPriceWithDetailsResults> = std::tuple{
    Field{"Decomposition", &MCPriceWithDetailsResults::Decomposition},
    Field{"ForwardFixings", &MCPriceWithDetailsResults::ForwardFixings},
    Field{"Duration", &MCPriceWithDetailsResults::Duration},
    Field{"Convergence", &MCPriceWithDetailsResults::Convergence},
    Field{"ConvergenceSize", &MCPriceWithDetailsResults::ConvergenceSize},
    Field{"Barriers", &MCPriceWithDetailsResults::Barriers}};
// clang-format on

}  // namespace ximAPI::Toolkit
