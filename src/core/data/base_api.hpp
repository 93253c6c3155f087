// The source of kind "base": a MariaDB database. Each question is one SELECT with IN lists, or one
// per table.

#pragma once

#include <json/forwards.h>

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "core/data/api.hpp"

// The client library's own names.
struct st_mysql;
struct st_mysql_res;

namespace ximCORE::Data {

/// Belongs to the thread of the request. A statement that fails leaves the server's message as a
/// WARNING and gives no rows; the `get_*` answer true all the same: a failure shows only as missing
/// data.
class BaseAPI final : public API {
 public:
    /// Text of the last error of any base.
    inline static std::array<char, 1024> s_error_cstr{};

    BaseAPI() = default;
    /// Reads "Hostname", "Port", "Basename", "Username" and "Password". When one is absent or has
    /// the wrong type: WARNING "Cannot parse credentials", and `connect` answers false without
    /// trying.
    explicit BaseAPI(Json::Value const& credentials);
    ~BaseAPI() override;

    /// Time-outs: 5 s to connect, 30 s to read and to write.
    [[nodiscard]] bool connect() override;
    [[nodiscard]] bool disconnect() override;

    [[nodiscard]] bool get_currencies(std::vector<GetCurrenciesIn> const& in,
                                      std::vector<GetCurrenciesOut>& out) override;
    [[nodiscard]] bool get_underlyings(std::vector<GetUnderlyingsIn> const& in,
                                       std::vector<GetUnderlyingsOut>& out) override;
    [[nodiscard]] bool get_currency_pairs(std::vector<GetCurrencyPairsIn> const& in,
                                          std::vector<GetCurrencyPairsOut>& out) override;
    /// The value is the mid of bid and ask, computed by the server.
    [[nodiscard]] bool get_spots(std::vector<GetSpotsIn> const& in,
                                 std::vector<GetSpotsOut>& out) override;
    [[nodiscard]] bool get_black_scholes_volatilities(
        std::vector<GetBlackScholesVolatilitiesIn> const& in,
        std::vector<GetBlackScholesVolatilitiesOut>& out) override;
    [[nodiscard]] bool get_correlations(std::vector<GetCorrelationsIn> const& in,
                                        std::vector<GetCorrelationsOut>& out) override;

    /// Runs a statement and keeps its result for reading, after whatever an earlier one left is
    /// drained. Null on success, else the text of the error, which has been logged.
    char const* _select(std::string const& sql);
    /// Null without an error; else logs it as a WARNING and gives its text.
    char const* _error();

 private:
    template <class Out, class Read>
    void read_rows(std::string const& sql, std::vector<Out>& out, Read read);
    char const* set_error(std::string_view message, unsigned int number);
    void free_result();
    void close();

    st_mysql* m_handle = nullptr;
    st_mysql_res* m_result = nullptr;
    std::string m_hostname;
    std::int32_t m_port = 0;
    std::string m_basename;
    std::string m_username;
    std::string m_password;
    bool m_has_credentials = false;
};

}  // namespace ximCORE::Data
