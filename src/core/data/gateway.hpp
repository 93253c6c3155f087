// Fetches from the sources, in the order in which they were pushed, everything that the cache holds
// empty. One call per kind of item and source, with all tickers and dates in it; a later source is
// only asked for what the earlier ones left open.

#pragma once

#include <cstdint>
#include <iosfwd>
#include <memory>
#include <vector>

#include "core/data/api.hpp"

namespace ximCORE::Data {

class MarketDataGateway {
 public:
    // Relied on: the settings of a gateway are stored and never read, a failed source is not asked
    // again
    inline static std::uint64_t s_ntry{1};
    inline static bool s_success_on_calendar_request_failure{false};
    inline static bool s_success_on_correlation_request_failure{false};
    inline static bool s_success_on_fx_spot_request_failure{false};
    inline static bool s_success_on_spot_request_failure{false};
    inline static bool s_success_on_volatility_request_failure{false};
    inline static bool s_success_on_yield_request_failure{false};
    inline static bool s_success_on_repo_request_failure{false};
    inline static bool s_success_on_day_counter_request_failure{false};

    MarketDataGateway() = default;
    MarketDataGateway(MarketDataGateway const&) = delete;
    MarketDataGateway& operator=(MarketDataGateway const&) = delete;
    /// As `clear`.
    ~MarketDataGateway();

    /// Opens the source described by a file: a JSON object with "Kind" ("manual", "base" or
    /// "yfinance") and "Data". False, after a record, when the file cannot be opened or read, or
    /// the source does not connect.
    [[nodiscard]] bool push_back(char const* path);
    /// Takes a source over and connects it; false, and the source is gone, when that fails.
    [[nodiscard]] bool push_back(std::unique_ptr<API> source);
    /// The body of `push_back(path)`. A stream that is no JSON text is refused without a record.
    [[nodiscard]] bool _push_back_internal(std::istream& stream);

    /// These ask the sources in order and stop at the first that answers false; true without
    /// sources.
    [[nodiscard]] bool connect();
    [[nodiscard]] bool disconnect();
    /// As `disconnect`, deleting each source on the way; drops the rest too.
    bool clear();

    /// One kind over all sources. What a source answers beyond the requests is dropped; its own
    /// result is not looked at. The first three are always true; the others are false when an item
    /// lacks the ticker to ask with.
    bool get_currencies();
    bool get_underlyings();
    bool get_currency_pairs();
    [[nodiscard]] bool get_spots();
    [[nodiscard]] bool get_black_scholes_volatilities();
    /// Relied on: the answer is that of the last source alone.
    [[nodiscard]] bool get_correlations();

    /// All kinds, each over all sources before the next; every step runs whatever the others
    /// answer.
    [[nodiscard]] bool execute_dependencies();

    std::vector<std::unique_ptr<API>> const& c_get_sources() const { return m_sources; }

 private:
    /// The four rounds of pairs as they stand, with the first, the second, or both inverted;
    /// `reverse` asks for each with its sides swapped.
    [[nodiscard]] bool _get_correlations_internal_core(API& source, bool reverse);

    std::vector<std::unique_ptr<API>> m_sources;
};

}  // namespace ximCORE::Data
