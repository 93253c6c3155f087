// The four records that configure a call, and the records under them: market data access, contract,
// model, pricer.
//
// Plain values passed by reference to the entry points. Dates are texts; a text that is no date is
// refused when the work starts. Percent means 97.5 for 97.5 %. Numbers are 32-bit. From JSON an
// absent text reads as "", a number as 0, a boolean as false; an absent or unknown text of an
// enumeration leaves the value as it was. docs/records.md tells each key.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "ximAPI/cashflow.hpp"
#include "ximAPI/enums.hpp"

namespace ximAPI {

/// One market file.
struct DataSource {
    std::string File;    ///< path of a JSON market file
    bool IsActivated{};  ///< whether the file is used
    bool Status{};       ///< set by the call: the file was read
};

/// Access to market data, JSON member "DataConfiguration". Without sources the built-in
/// demonstration data answers.
struct Data {
    std::string Username;                       ///< login of the market database
    std::string Password;                       ///< its password
    std::int32_t Attempts{};                    ///< carried and written back; nothing reads it
    bool SuccessOnRepoRequestFailure{};         ///< carried and written back; nothing reads it
    bool SuccessOnSpotRequestFailure{};         ///< a missing spot is no failure
    bool SuccessOnFXSpotRequestFailure{};       ///< a missing exchange rate is no failure
    bool SuccessOnVolatilityRequestFailure{};   ///< a missing volatility is no failure
    bool SuccessOnYieldRequestFailure{};        ///< carried and written back; nothing reads it
    bool SuccessOnCorrelationRequestFailure{};  ///< a missing correlation is no failure
    std::vector<DataSource> Sources;            ///< market files; the earlier file wins
    bool WithoutLogin{};  ///< files are used without a login on the market database; in JSON only
                          ///< when true
};

/// A step from one date to another: "+3m", "-10d", "+1y", "+5bd"; an empty text is no step.
struct DateShift {
    std::string Shift;
    ximAPI::Calendar Calendar{};  ///< the calendar of business days
};

/// How two dates become a fraction of a year.
struct DayCounter {
    ximAPI::Basis Basis{};
    ximAPI::Calendar Calendar{};
};

/// The model, JSON member "ModelConfiguration".
struct Model {
    std::string CalibrationDate;  ///< valuation date of the model
    ModelName Name{};
    std::int32_t BlackScholesFiniteDifferenceGridSize{};  ///< points of the space grid, at least 3
                                                          ///< where it is used
    float BlackScholesFiniteDifferenceConfidenceLevel{};  ///< quantile that the grid covers:
                                                          ///< fraction, or percent above 1
    ximAPI::BlackScholesCalibrationKind BlackScholesCalibrationKind{};
    DateShift BlackScholesVolatilityCalibrationTenor;  ///< maturity of the volatility that is
                                                       ///< calibrated to
};

/// The pricing method and the greeks, JSON member "PricerConfiguration". Bumps are in basis points
/// (100 moves 1 %). A `Compute` flag counts only together with `WithGreeks`.
struct Pricer {
    ximAPI::DayCounter DayCounter;
    ximAPI::SmoothingType SmoothingType{};
    PricingMethod Method{};
    ximAPI::SpotVolatilityDynamic SpotVolatilityDynamic{};
    GreekDirection DeltaDirection{GreekDirection::CENTER};
    GreekDirection VegaDirection{GreekDirection::CENTER};
    BoundaryCondition FiniteDifferenceBoundaryCondition{};
    GreekDirection CegaDirection{GreekDirection::CENTER};
    std::int32_t MonteCarloTrials{100000};     ///< number of paths, not below 0
    std::int32_t MonteCarloTimeStep{2};        ///< carried; no simulation reads it
    std::int32_t MonteCarloSeed{19940523};     ///< seed of the random numbers
    std::int32_t MonteCarloNbThreads{1};       ///< worker threads
    float MonteCarloConfidenceLevel{97.5F};    ///< percent; carried, the bounds have a fixed level
    float MonteCarloAntitheticFactor{50.0F};   ///< weight of the mirrored path, percent
    std::int32_t FiniteDifferenceTimeStep{2};  ///< days, at least 1 where it is used
    float FiniteDifferenceExplicitRate{};      ///< explicit share of a step, percent
    bool FiniteDifferenceUseRichardsonRombergExtrapolation{};
    std::int32_t ClosedFormMoneynessGridSize{100};
    float ClosedFormMoneynessGridLowerBound{50.0F};   ///< times the forward, no percentage
    float ClosedFormMoneynessGridUpperBound{150.0F};  ///< times the forward, no percentage
    bool WithGreeks{};                                ///< master switch of all greeks
    bool ComputeDelta{};
    float DeltaSpotBump{1.0F};
    bool ComputeGamma{};
    float GammaSpotBump{1.0F};
    bool ComputeXGamma{};
    float XGammaSpotBump{1.0F};
    bool ComputeVega{};
    float VegaVolatilityBump{1.0F};
    bool ComputeVolga{};
    float VolgaVolatilityBump{1.0F};
    bool ComputeXVolga{};
    float XVolgaVolatilityBump{1.0F};
    bool ComputeVanna{};
    float VannaVolatilityBump{1.0F};
    float VannaSpotBump{1.0F};
    bool ComputeXVanna{};
    float XVannaVolatilityBump{1.0F};
    float XVannaSpotBump{1.0F};
    bool ComputeCega{};
    float CegaCorrelationBump{1.0F};
};

/// The contract, JSON member "ContractConfiguration". The record owns its product; the keys of the
/// product stand at the same level of the JSON object, are read by `Kind`, and are not written
/// back. A typed caller sets `Product`; `Kind` is then unused.
struct Contract {
    bool IntradayPayments{};      ///< a payment on the valuation date is still to come
    bool IntradayChoices{};       ///< a choice on the valuation date is still to come
    bool IntradayFixings{};       ///< a fixing on the valuation date is still open
    std::string Date;             ///< valuation date of the contract
    std::string PremiumCurrency;  ///< currency of the price
    ContractKind Kind{};
    std::unique_ptr<ICashFlow>
        Product;  ///< null for a kind without a product: the call fails with "Contract empty"
};

}  // namespace ximAPI
