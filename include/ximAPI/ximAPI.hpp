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
