// Sources that hold a JSON document of market data: one given with the call, one that ships inside
// the library.

#pragma once

#include <json/forwards.h>

#include <vector>

#include "core/data/api.hpp"

namespace ximCORE::Data {

/// The document is an array of objects, each with a "type". All that it says goes straight into the
/// cache, so the object itself holds nothing. What cannot be read is skipped: a document's shape is
/// never a failure.
class FileAPI : public API {
 public:
    FileAPI() = default;
    explicit FileAPI(Json::Value const& document) { _c_build(document); }

    /// Writes the items of the document into the cache, in their order; the first value of a field
    /// wins. An object with a date or shift that does not read leaves its ERROR record and is
    /// skipped.
    void _c_build(Json::Value const& document) const;

    /// Answer nothing of their own: currencies and underlyings are in the cache since the document
    /// was read.
    [[nodiscard]] bool get_currencies(std::vector<GetCurrenciesIn> const&,
                                      std::vector<GetCurrenciesOut>&) override {
        return true;
    }
    [[nodiscard]] bool get_underlyings(std::vector<GetUnderlyingsIn> const&,
                                       std::vector<GetUnderlyingsOut>&) override {
        return true;
    }
    /// The pairs that have a ticker in the cache.
    [[nodiscard]] bool get_currency_pairs(std::vector<GetCurrencyPairsIn> const& in,
                                          std::vector<GetCurrencyPairsOut>& out) override;
    /// Values of exactly the date asked for; no earlier date takes its place.
    [[nodiscard]] bool get_spots(std::vector<GetSpotsIn> const& in,
                                 std::vector<GetSpotsOut>& out) override;
    [[nodiscard]] bool get_black_scholes_volatilities(
        std::vector<GetBlackScholesVolatilitiesIn> const& in,
        std::vector<GetBlackScholesVolatilitiesOut>& out) override;
    /// In the order of the pair asked for: (B, A) does not find (A, B).
    [[nodiscard]] bool get_correlations(std::vector<GetCorrelationsIn> const& in,
                                        std::vector<GetCorrelationsOut>& out) override;
};

/// The demonstration data: `connect` writes them into the cache. The spots come as an archive, so
/// that a call pays for the few that it reads; to a reader the result is that of `FileAPI` on the
/// demonstration document.
class DemoFileAPI final : public FileAPI {
 public:
    DemoFileAPI() = default;
    [[nodiscard]] bool connect() override;
};

}  // namespace ximCORE::Data
