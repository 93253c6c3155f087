// Prices and greeks, JSON member "Pricer"."Pricer", and the analysis of a simulation,
// "Pricer"."MCDetails".
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace ximAPI {

/// One estimated value with its confidence bounds.
struct PricingResult {
    float Lower{};   ///< lower confidence bound
    float Upper{};   ///< upper confidence bound
    float Mean{};    ///< the estimate
    float Stddev{};  ///< standard error of the mean
};

struct PriceResult {
    PricingResult Value;  ///< in the premium currency
};

struct NameValueResult {
    std::string Name;
    PricingResult Value;
};

/// A greek in one underlying.
struct TickerValueResult {
    std::string Ticker;
    PricingResult Value;
};

/// A greek in a pair of underlyings.
struct XGreek {
    std::string FirstTicker;
    std::string SecondTicker;
    PricingResult Value;
};

/// The answer of a pricing. Greeks that were not asked for are empty.
struct PricingResults {
    std::vector<NameValueResult>
        All;            ///< the flat report: "PRICE", then every greek as "DELTA@ticker"
    PriceResult Price;  ///< in JSON an array of one object
    std::vector<TickerValueResult> Delta;
    std::vector<TickerValueResult> Gamma;
    std::vector<TickerValueResult> Vega;
    std::vector<TickerValueResult> Volga;
    std::vector<TickerValueResult> Vanna;
    std::vector<XGreek> XGamma;
    std::vector<XGreek> XVolga;
    std::vector<XGreek> XVanna;
    std::vector<XGreek> Cega;
};

/// The price by payment date. Probabilities in percent.
struct Decomposition {
    std::string Date;
    PricingResult Price;
    PricingResult ProbaExists;
    PricingResult ProbaPositive;
    PricingResult ProbaIsKilled;
    PricingResult ProbaHasBeenKilled;
};

/// The mean of one fixing over the paths that read it.
struct ForwardFixing {
    std::string FixingDate;
    std::string Currency;
    std::string Ticker;
    PricingResult Value;
};

/// The price from the paths 0 to `Trials`.
struct Convergence {
    std::int32_t Trials{};
    PricingResult Result;
};

/// How often a condition of the contract holds.
struct Barrier {
    std::string EventDate;
    std::string EventScript;
    PricingResult ProbaIn;  ///< fraction
};

struct MCPriceWithDetailsResults {
    std::vector<ximAPI::Decomposition> Decomposition;  ///< by payment date
    std::vector<ForwardFixing> ForwardFixings;
    PricingResult Duration;  ///< in years
    std::vector<ximAPI::Convergence> Convergence;
    std::int32_t ConvergenceSize{};  ///< in: how many points at most; below 1 none
    std::vector<Barrier> Barriers;
};

}  // namespace ximAPI
