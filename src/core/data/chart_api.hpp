// The source of kind "yfinance": a public chart web service, asked over HTTP with one request per
// ticker. It knows underlyings, currency pairs and daily closes; currencies, volatilities and
// correlations stay with other sources.

#pragma once

#include <json/forwards.h>

#include <cstddef>
#include <string>
#include <vector>

#include "core/data/api.hpp"

namespace ximCORE::Data {

/// Belongs to the thread of the request. A request that fails is skipped, after a WARNING with the
/// transport's text if that is what failed; the `get_*` answer true all the same: a failure shows
/// only as missing data. Nothing is asked twice.
class YahooFinanceAPI final : public API {
 public:
    /// Where the service is and how long a request may take. The text of the URL is not owned.
    struct Service {
        char const* base_url;                               ///< ends with "/v8/finance/chart/"
        long connect_timeout_ms = 5'000;                    ///< to reach the host
        long timeout_ms = 20'000;                           ///< of a whole request
        std::size_t answer_limit = std::size_t{16} << 20U;  ///< bytes; a longer answer is dropped
    };
    /// The service of every source: that of the host which the build was configured with. Read by
    /// `connect` and by each request.
    static Service s_service;

    YahooFinanceAPI() = default;
    /// The description has nothing to say: any value does.
    explicit YahooFinanceAPI(Json::Value const& description);
    ~YahooFinanceAPI() override;

    /// Reaches no host yet.
    [[nodiscard]] bool connect() override;
    [[nodiscard]] bool disconnect() override;

    /// The service gives no calendar and no day counter.
    [[nodiscard]] bool get_underlyings(std::vector<GetUnderlyingsIn> const& in,
                                       std::vector<GetUnderlyingsOut>& out) override;
    [[nodiscard]] bool get_currency_pairs(std::vector<GetCurrencyPairsIn> const& in,
                                          std::vector<GetCurrencyPairsOut>& out) override;
    /// The closes of all days from the first to the last date asked for of a ticker.
    [[nodiscard]] bool get_spots(std::vector<GetSpotsIn> const& in,
                                 std::vector<GetSpotsOut>& out) override;

    /// The answer of one URL. False for a text that is no JSON, as the empty text of a transport
    /// that failed. Throws Json::RuntimeError for a nesting deeper than the reader's limit of 1000.
    [[nodiscard]] bool _execute_request(char const* url, Json::Value& out);
    /// Logs the text of a transport's code as a WARNING; success is silent. The code is that of
    /// libcurl.
    static void error_handler(int code);
    /// Appends a piece of an answer to `out` and gives its size, or 0 when the answer would grow
    /// beyond the limit, which ends the transfer.
    static std::size_t s_write(char* data, std::size_t size, std::size_t nmemb, std::string* out);

 private:
    void* m_handle = nullptr;  // of libcurl; null until `connect`
    bool m_is_connected = false;
};

}  // namespace ximCORE::Data
