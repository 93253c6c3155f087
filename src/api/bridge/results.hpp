// Turns the results of the core into the records of the caller.
#pragma once

#include "core/pricing/results.hpp"
#include "ximAPI/results/pricing.hpp"

namespace ximAPI::Toolkit {

/// The bounds, the mean and the standard error, in single precision.
void set_pricing_result(ximCORE::Pricing::MCResult const& from, PricingResult& to);

/// Price, greeks and named amounts. Relied on: rows and pairs are counted in eight bits, so that at
/// most 255 of a greek come through.
void set_pricing_results(ximCORE::Pricing::Results const& from, PricingResults& to);

}  // namespace ximAPI::Toolkit
