// The entry points of the library.
//
// Two ways in: typed calls on the records, and text calls that carry the same records as one JSON
// document. The library takes one call at a time and has no lock: callers serialise their calls.
// Market data is forgotten at the end of each typed call that takes a log.
#pragma once

#include <vector>

#include "ximAPI/configuration.hpp"
#include "ximAPI/export.hpp"
#include "ximAPI/log.hpp"
#include "ximAPI/results/analysis.hpp"
#include "ximAPI/results/contract.hpp"
#include "ximAPI/results/data.hpp"
#include "ximAPI/results/ladder.hpp"
#include "ximAPI/results/pricing.hpp"
#include "ximAPI/results/schedule.hpp"
#include "ximAPI/results/sequence.hpp"
#include "ximAPI/results/solver.hpp"

extern "C" {

/// Runs the route `path` on the JSON document `in` and renders the answer into `out`: the document
/// itself, its records as the call left them, and the log under "Logger" (null without records).
/// Only a successful call changes the records. `out`: a buffer of the caller, long enough for the
/// answer and its zero; nothing checks its length. False when the call fails, and for a path
/// without a route. A document that is no JSON counts as empty. A member of the wrong type, a root
/// that is no object and nesting beyond 1000 raise the exception of jsoncpp, with nothing written.
/// `RequestSafely` has none of these traps.
[[nodiscard]] XIM_EXPORT bool Request(char const* path, char const* in, char* out);

/// `Request` for callers that cannot trust their input: never raises, and allocates the answer.
/// `*out`: always a JSON document, to be given back to `ReleaseAnswer`; null only when `out` is.
/// A null `path` or `in`, a document that is no JSON, one above 64 MiB, one nested deeper than 900,
/// and one whose answer would explode are refused with a record at level ERROR and nothing run; an
/// unknown path gets the record "Unknown path " + path; an exception becomes a record at level
/// EXCEPTION. In all these cases the result is false.
[[nodiscard]] XIM_EXPORT bool RequestSafely(char const* path, char const* in, char** out);

/// Frees an answer of `RequestSafely`; null is allowed.
XIM_EXPORT void ReleaseAnswer(char* answer);

/// Prints each record to the standard output as "[LEVEL] -- message" and a newline, in order.
/// A level outside the enumeration raises `std::runtime_error` with "Unknown log level"; earlier
/// records are printed.
XIM_EXPORT void WriteLogger(std::vector<ximAPI::Log> const& logs);

/// Prices a contract. False when it cannot be built, moved to its date or priced; the reason is in
/// `logs`, behind what was there. `data` gets the status of its sources, `results` price and
/// greeks; a failure leaves `results` as it was.
[[nodiscard]] XIM_EXPORT bool GetPrice(ximAPI::Data& data, ximAPI::Contract& contract,
                                       ximAPI::Model& model, ximAPI::Pricer& pricer,
                                       ximAPI::PricingResults& results,
                                       std::vector<ximAPI::Log>& logs);

/// Prices a contract under each list of scenarios in `results.Plots`, and without any. A scenario
/// shifts market data ("spot@", "forward@", "volatility@" and a ticker, "yield@" and a currency,
/// "correlation@" and two tickers with '#' between) or a named feature of the contract, as
/// `LadderKind` says; a feature that the contract does not have has no effect. False as for
/// `GetPrice`, when the first point fails, for a key without '@', and beyond 100,000 points; for a
/// kind outside the enumeration, without a record.
[[nodiscard]] XIM_EXPORT bool GetLadder(ximAPI::Data& data, ximAPI::Contract& contract,
                                        ximAPI::Model& model, ximAPI::Pricer& pricer,
                                        ximAPI::LadderResults& results,
                                        std::vector<ximAPI::Log>& logs);

/// `GetLadder` along one axis: a value of `results.Plots` for each point, one name for all.
[[nodiscard]] XIM_EXPORT bool GetLadder1D(ximAPI::Data& data, ximAPI::Contract& contract,
                                          ximAPI::Model& model, ximAPI::Pricer& pricer,
                                          ximAPI::Ladder1DResults& results,
                                          std::vector<ximAPI::Log>& logs);

/// `GetLadder` over two axes: a point for each pair of a first and a second value. An axis without
/// values leaves the central point alone.
[[nodiscard]] XIM_EXPORT bool GetLadder2D(ximAPI::Data& data, ximAPI::Contract& contract,
                                          ximAPI::Model& model, ximAPI::Pricer& pricer,
                                          ximAPI::Ladder2DResults& results,
                                          std::vector<ximAPI::Log>& logs);

/// Finds the values of named features that make the contract worth `results.Target.Price`: prices
/// all combinations of `Precision` values from `Min` to `Max` of each, and interpolates between the
/// two whose prices bracket the target. False as for `GetPrice`, with "Bounds too tight" when the
/// prices do not bracket the target, and "Too many points" beyond 1,000,000 combinations.
[[nodiscard]] XIM_EXPORT bool GetImpliedContractFeature(
    ximAPI::Data& data, ximAPI::Contract& contract, ximAPI::Model& model, ximAPI::Pricer& pricer,
    ximAPI::ImpliedContractFeatureResults& results, std::vector<ximAPI::Log>& logs);

/// Prices a contract by simulation, whatever the method of `pricer`, and tells what its paths do:
/// value, probabilities and end by payment date, forwards of the fixings, frequency of the
/// conditions, expected life, and `ConvergenceSize` points at most of the price against the number
/// of trials. No greeks. False as for `GetPrice`; but with market data that cannot be calibrated
/// the call is true, with empty results and ERROR records.
[[nodiscard]] XIM_EXPORT bool GetMCPriceWithDetails(ximAPI::Data& data, ximAPI::Contract& contract,
                                                    ximAPI::Model& model, ximAPI::Pricer& pricer,
                                                    ximAPI::MCPriceWithDetailsResults& results,
                                                    std::vector<ximAPI::Log>& logs);

/// Fills the series of `results` with the observations in `results.File` (as `ximDSL::Save` writes
/// them) along the simulated path number `Trajectory`. Dates behind the calibration date of the
/// model take their quotes. Seed and trials are those of the last call that priced. False, with the
/// reason in `logs`, when the file does not read, `Currency` is not known, market data is missing
/// or the model has no paths.
[[nodiscard]] XIM_EXPORT bool GetModelDiffusion(ximAPI::Data& data, ximAPI::Model& model,
                                                ximAPI::ModelDiffusionResults& results,
                                                std::vector<ximAPI::Log>& logs);

/// Fills `results.Volatility` with the Black-Scholes volatility, in percent, of each equity-like
/// underlying that the contract still reads at its date: the quote, or with "AT_THE_MONEY_FORWARD"
/// that of the surface at the tenor of `model`. An underlying without one is left out, after an
/// ERROR record. False when the contract cannot be built or moved to its date.
[[nodiscard]] XIM_EXPORT bool GetBlackScholesCalibration(
    ximAPI::Data& data, ximAPI::Contract& contract, ximAPI::Model& model,
    ximAPI::BlackScholesCalibrationResults& results, std::vector<ximAPI::Log>& logs);

/// As `GetBlackScholesCalibration`, with one forward volatility per open fixing date of the
/// contract: that of the surface between this date and the one before.
[[nodiscard]] XIM_EXPORT bool GetBlackScholesTermStructureCalibration(
    ximAPI::Data& data, ximAPI::Contract& contract, ximAPI::Model& model,
    ximAPI::BlackScholesTermStructureCalibrationResults& results, std::vector<ximAPI::Log>& logs);

/// Prices a call (put) on `results.Ticker` for each entry of `results.Slice`, paid in USD on
/// `MaturityDate`, and reads market, mean and bounds as `PriceKind`. `Error`: the market less the
/// mean when it is above the mean, otherwise less the upper bound when it is below that, otherwise
/// less the lower bound. What has no implied volatility reads 0; a maturity other than one year
/// reads the total volatility of a price as its volatility. False as for `GetPrice`, beyond 100,000
/// entries, and with "Invalid MaturityDate" unless that is behind the calibration date.
[[nodiscard]] XIM_EXPORT bool GetModelImpliedVolatility(
    ximAPI::Data& data, ximAPI::Model& model, ximAPI::Pricer& pricer,
    ximAPI::ModelImpliedVolatilityResults& results, std::vector<ximAPI::Log>& logs);

/// Sets each `Value` of `results.Slice` to the smile of Heston parameters at its `Space`, between
/// the points of a grid of 4096 strikes. A `Space` outside the grid keeps its `Value`; a strike
/// whose price has no implied volatility counts as 0. Reads no market data. False with "Invalid
/// InitialSpot" or "Invalid MaturityTime" when that is not above 0.
[[nodiscard]] XIM_EXPORT bool GetHestonImpliedVolatility(
    ximAPI::HestonImpliedVolatilityResults& results, std::vector<ximAPI::Log>& logs);

/// Measures the search for implied volatilities: prices each pair of `Spaces` and `Values`, implies
/// the volatility back and fills `results.Errors`, in basis points, and the averages over the cells
/// where the search has succeeded. Always true, but for "Too many points" beyond 1,000,000 pairs.
[[nodiscard]] XIM_EXPORT bool TestImpliedVolatilityComputation(
    ximAPI::TestImpliedVolatilityComputationResults& results, std::vector<ximAPI::Log>& logs);

/// Decomposes a contract with one payment date and one fixing of an equity or an exchange rate into
/// a zero coupon, puts and calls on the levels that the "ClosedFormMoneynessGrid..." settings of
/// `pricer` give: 2 N + 1 of them, from forward * lower bound to forward * upper bound, where a
/// bound is a fraction (0.5 is one half; 50 is fifty times the forward). Parts of a quantity below
/// 0.0001 are left out. A contract without a fixing is its zero coupon alone. Prices are in the
/// currency of the underlying. False, with the reason in `logs`, for any other contract, a payoff
/// that is not finite at a level, a grid that cannot carry its strikes, N above 1000 ("Too many
/// points"), and as for `GetPrice`.
[[nodiscard]] XIM_EXPORT bool GetStaticReplication1D(ximAPI::Data& data, ximAPI::Contract& contract,
                                                     ximAPI::Pricer& pricer,
                                                     ximAPI::StaticReplication1DResults& results,
                                                     std::vector<ximAPI::Log>& logs);

/// Reports on a contract without pricing it: script, underlyings, fixings, correlations, events, as
/// the flags of `results` ask. Entries of `results.Fixings` with `Edit` replace market quotes.
/// False as for `GetPrice`.
[[nodiscard]] XIM_EXPORT bool GetContract(ximAPI::Data& data, ximAPI::Contract& contract,
                                          ximAPI::ContractResults& results,
                                          std::vector<ximAPI::Log>& logs);

/// Fills the series of each observation on the dates of `results.Schedule`. False when an
/// observation cannot be built; a value that is not available is 0 with `Status` false.
[[nodiscard]] XIM_EXPORT bool GetData(ximAPI::Data& data, ximAPI::DataResults& results,
                                      std::vector<ximAPI::Log>& logs);

/// Tries the sources of `data` and sets the `Status` of each. True whatever they answer.
[[nodiscard]] XIM_EXPORT bool GetConnectionStatus(ximAPI::Data& data,
                                                  std::vector<ximAPI::Log>& logs);

/// Appends `Size` numbers to `Values`, with l = `LowerValue`, u = `UpperValue`, n = `Size`, k = 0
/// .. n - 1: UNIFORM k (u - l) / (n - 1) + l, the last exactly u; CONSTANT l; CHEBYCHEV l + (u - l)
/// cos((2 k + 1) pi / (2 n)). Always true; a kind outside the enumeration adds nothing. Writes no
/// log. More than 1,000,000 numbers raise `std::length_error` with "Too many points".
[[nodiscard]] XIM_EXPORT bool GetSequence(ximAPI::SequenceResults& results);

/// Fills `Dates` from `StartDate` to `EndDate` in steps of `DateShift`. False when the steps do not
/// advance: the reason stays in the log and comes out with the next call that takes one. A text
/// that is no date or no shift raises `std::exception`.
[[nodiscard]] XIM_EXPORT bool GetSchedule(ximAPI::ScheduleResults& results);

}  // extern "C"
