// From the records that a source replies to the items of the cache. The first value of a field
// wins, so a reply adds what is still missing.

#pragma once

#include "core/data/api.hpp"
#include "core/data/currency.hpp"
#include "core/data/underlying.hpp"

namespace ximCORE::Data {

void fill_currency(Currency& currency, API::GetCurrenciesOut const& reply);

/// A kind with a date shift that does not read stays open, after its ERROR record.
void fill_underlying(Underlying& underlying, API::GetUnderlyingsOut const& reply);

/// The reply has base and quote, which are those of the pair.
void fill_pair(Underlying& pair, API::GetCurrencyPairsOut const& reply);

/// The reply describes the inverse of the pair: ticker and name are made up from the two
/// currencies, "%3s-%3s".
void fill_inverse_pair(Underlying& pair, API::GetCurrencyPairsOut const& reply);

}  // namespace ximCORE::Data
