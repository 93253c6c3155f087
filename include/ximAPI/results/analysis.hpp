// Calibrations, diffusions, implied volatilities and static replication. "in" marks what the caller
// gives.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "ximAPI/enums.hpp"
#include "ximAPI/results/pricing.hpp"

namespace ximAPI {

struct TickerVolatility {
    std::string Ticker;
    float Volatility{};  ///< percent
};

/// JSON member "ModelConfiguration"."BlackScholesModel".
struct BlackScholesCalibrationResults {
    std::vector<TickerVolatility> Volatility;
};

struct TermStructureVolatility {
    std::string Tenor;   ///< a date
    float Volatility{};  ///< percent
};

struct TickerTermStructureVolatility {
    std::string Ticker;
    std::vector<TermStructureVolatility> Volatility;
};

/// JSON member "ModelConfiguration"."BlackScholesTermStructureModel".
struct BlackScholesTermStructureCalibrationResults {
    std::vector<TickerTermStructureVolatility> Volatility;
};

struct ModelDiffusionSeries {
    std::string Date;
    std::int64_t Epoch{};  ///< seconds since 1970-01-01
    float Value{};
};

/// One path of a model, JSON member "Model"."Diffusion".
struct ModelDiffusionResults {
    std::vector<ModelDiffusionSeries> Series;
    std::string File;           ///< in: path of an encoded list of observations
    std::string Currency;       ///< in
    std::int32_t Trajectory{};  ///< in: number of the path, from 0
};

struct ModelImpliedVolatilitySlice {
    float Error{};        ///< distance of the market from the model's mean or nearer bound
    float Market{};       ///< value in the market, in the `PriceKind` of the slice
    PricingResult Model;  ///< value in the model, likewise
    float Space{};        ///< in: the strike, in the `SpaceKind` of the slice
};

/// How well a model reprices one maturity, JSON member "Model"."Repricing".
struct ModelImpliedVolatilityResults {
    std::string MaturityDate;         ///< in
    std::string Ticker;               ///< in
    ximAPI::PayoffKind PayoffKind{};  ///< in
    ximAPI::PriceKind PriceKind{};    ///< in
    ximAPI::SpaceKind SpaceKind{};    ///< in
    std::vector<ModelImpliedVolatilitySlice> Slice;
};

struct OptionSpaceValue {
    float Space{};
    float Value{};
};

/// Implied volatilities of given Heston parameters, JSON member
/// "ModelConfiguration"."HestonStochasticVolatilityModel".
struct HestonImpliedVolatilityResults {
    float InitialSpot{};              ///< in
    float InitialVolatility{};        ///< in: percent
    float LongTermVolatility{};       ///< in: percent
    float MaturityTime{};             ///< in: years
    float MeanReversionRate{};        ///< in: per year
    float RiskFreeRate{};             ///< in: percent
    float SpotVarianceCorrelation{};  ///< in: percent
    float VarianceVolatility{};       ///< in: percent
    std::vector<OptionSpaceValue> Slice;
    ximAPI::SpaceKind SpaceKind{};  ///< in
    PriceKind ValueKind{};          ///< in
};

struct SpaceResult {
    float Space{};  ///< forward moneyness, percent
};

struct ValueResult {
    float Value{};  ///< total volatility, percent
};

struct TestImpliedVolatilityComputationError {
    std::int32_t Error{};  ///< of the volatility found, basis points
    bool Status{};         ///< the search succeeded
};

/// `Data[i][j]` is the cell of `Rows[i]` and `Cols[j]`.
struct TestImpliedVolatilityComputationErrorMatrix {
    std::vector<float> Rows;
    std::vector<float> Cols;
    std::vector<std::vector<TestImpliedVolatilityComputationError>> Data;
};

/// A test of the search for implied volatilities, JSON member
/// "Data"."ImpliedVolatilityComputationTester".
struct TestImpliedVolatilityComputationResults {
    ximAPI::InitialGuessMethod InitialGuessMethod{};  ///< in
    std::int32_t ToleranceExponant{};                 ///< in: the tolerance is ten to this power
    std::int32_t MaximumIterations{};                 ///< in
    std::vector<SpaceResult> Spaces;                  ///< in: forward moneyness, percent
    std::vector<ValueResult> Values;                  ///< in: total volatility, percent
    TestImpliedVolatilityComputationErrorMatrix Errors;
    float AverageError{};       ///< of the searches that succeeded, basis points
    float AverageIterations{};  ///< of the searches that succeeded
};

/// One point of the payoff and of its replication.
struct Replication {
    float Spot{};
    float Replication{};
    float Payoff{};
};

/// One option of the replication.
struct CallPut {
    std::string MaturityDate;
    float Price{};  ///< of the entry: quantity times option price
    ximAPI::PayoffKind PayoffKind{};
    float Quantity{};
    float Strike{};
};

struct ZeroCoupon {
    std::string MaturityDate;
    float Value{};  ///< discount factor of one unit
    float Quantity{};
};

/// The zero coupon of a replication with its price; in JSON the keys of both stand in one object.
struct PricedZeroCoupon {
    float Price{};  ///< of the entry: quantity times discount factor
    ximAPI::ZeroCoupon ZeroCoupon;
};

/// JSON member "Pricer"."StaticReplication1D".
struct StaticReplication1DResults {
    std::vector<ximAPI::Replication> Replication;
    std::vector<CallPut> Vanillas;  ///< puts by strike, then calls by strike
    PricedZeroCoupon ZeroCoupon;    ///< in JSON an array of one object
};

}  // namespace ximAPI
