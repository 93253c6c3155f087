#include "core/data/base_api.hpp"

#include <json/json.h>
#include <mysql.h>

#include <algorithm>
#include <memory>
#include <stdexcept>

#include "core/data/json_text.hpp"
#include "core/data/sql_list.hpp"
#include "core/toolbox/log.hpp"

namespace ximCORE::Data {

namespace {

using Toolbox::Log;

constexpr unsigned int connect_timeout_s = 5;
constexpr unsigned int transfer_timeout_s = 30;

template <class T>
std::string in_list(std::vector<T> const& records, char const* T::*field, std::size_t max_size) {
    std::string list;
    make_string(records, list, field, max_size);
    return " IN (" + list + ")";
}

/// The columns of one row of a result, in the order of the statement.
class Row {
 public:
    explicit Row(MYSQL_ROW columns) : m_columns(columns) {}

    /// Copies a text; NULL leaves the field unset.
    template <std::size_t width>
    Row& text(TextField<width>& field) {
        if (auto const* column = next()) field.set(column);
        return *this;
    }
    Row& name(API::Name& field) {
        if (auto const* column = next()) field.set_cut(column);
        return *this;
    }
    /// Throws std::logic_error for NULL or a text that is no number.
    Row& number(SetOnce<float>& field) {
        auto const* column = next();
        if (!column) throw std::invalid_argument("NULL");
        field.set(std::stof(column));
        return *this;
    }

 private:
    char const* next() { return *m_columns++; }

    MYSQL_ROW m_columns;
};

// The columns that the tables of underlyings have beyond the common ones.

using Impls = API::GetUnderlyingsOut;

template <class Impl>
std::shared_ptr<Impls::Impl> read_equity(Row&) {
    return std::make_shared<Impl>();
}

std::shared_ptr<Impls::Impl> read_exchange_rate(Row& row) {
    auto impl = std::make_shared<Impls::ExchangeRate>();
    row.text(impl->base);
    return impl;
}

std::shared_ptr<Impls::Impl> read_swap_rate(Row& row) {
    auto impl = std::make_shared<Impls::SwapRate>();
    row.text(impl->start).text(impl->end).text(impl->frequency);
    return impl;
}

std::shared_ptr<Impls::Impl> read_zero_coupon_bond(Row& row) {
    auto impl = std::make_shared<Impls::ZeroCouponBond>();
    row.text(impl->start).text(impl->end).text(impl->calendar);
    return impl;
}

std::shared_ptr<Impls::Impl> read_deposit_rate(Row& row) {
    auto impl = std::make_shared<Impls::DepositRate>();
    row.text(impl->start).text(impl->end);
    return impl;
}

struct UnderlyingTable {
    std::string_view statement;
    std::shared_ptr<Impls::Impl> (*read)(Row& row);
};

constexpr auto underlying_tables = std::to_array<UnderlyingTable>({
    {"SELECT _ticker, _name, _currency, _fixing_calendar, _day_counter FROM ShareUnderlying",
     read_equity<Impls::Share>},
    {"SELECT _ticker, _name, _currency, _fixing_calendar, _day_counter FROM FundUnderlying",
     read_equity<Impls::Fund>},
    {"SELECT _ticker, _name, _currency, _fixing_calendar, _day_counter FROM IndexUnderlying",
     read_equity<Impls::Index>},
    {"SELECT _ticker, _name, _quote_currency, _fixing_calendar, _day_counter, _base_currency FROM "
     "ExchangeRateUnderlying",
     read_exchange_rate},
    {"SELECT _ticker, _name, _currency, _fixing_calendar, _day_counter, _start, _end, _frequency "
     "FROM SwapRateUnderlying",
     read_swap_rate},
    {"SELECT _ticker, _name, _currency, _fixing_calendar, _day_counter, _start, _end, _calendar "
     "FROM ZeroCouponBondUnderlying",
     read_zero_coupon_bond},
    {"SELECT _ticker, _name, _currency, _fixing_calendar, _day_counter, _start, _end FROM "
     "DepositRateUnderlying",
     read_deposit_rate},
});

/// Credentials are read strictly: a number is no name, a text no port.
bool read_text(Json::Value const& credentials, char const* key, std::string& out) {
    auto const* member = find_member(credentials, key);
    if (!member || !member->isString()) return false;
    out = member->asString();
    return true;
}

bool read_port(Json::Value const& credentials, std::int32_t& out) {
    auto const* member = find_member(credentials, "Port");
    if (!member || !member->isInt()) return false;
    out = member->asInt();
    return true;
}

void set_options(MYSQL* handle) {
    unsigned int const no_local_files = 0;  // a server must not read files of this machine
    mysql_optionsv(handle, MYSQL_OPT_CONNECT_TIMEOUT, &connect_timeout_s);
    mysql_optionsv(handle, MYSQL_OPT_READ_TIMEOUT, &transfer_timeout_s);
    mysql_optionsv(handle, MYSQL_OPT_WRITE_TIMEOUT, &transfer_timeout_s);
    mysql_optionsv(handle, MYSQL_OPT_LOCAL_INFILE, &no_local_files);
    mysql_optionsv(handle, MYSQL_SET_CHARSET_NAME, "utf8mb4");
}

}  // namespace

BaseAPI::BaseAPI(Json::Value const& credentials) {
    m_has_credentials = read_text(credentials, "Hostname", m_hostname) &&
                        read_text(credentials, "Basename", m_basename) &&
                        read_text(credentials, "Username", m_username) &&
                        read_text(credentials, "Password", m_password) &&
                        read_port(credentials, m_port);
    if (!m_has_credentials) Log::s_log(Log::Level::WARNING, "Cannot parse credentials");
}

BaseAPI::~BaseAPI() {
    close();
}

void BaseAPI::close() {
    free_result();
    if (m_handle) mysql_close(m_handle);
    m_handle = nullptr;
}

void BaseAPI::free_result() {
    mysql_free_result(m_result);
    m_result = nullptr;
}

bool BaseAPI::connect() {
    if (!m_has_credentials) return false;
    close();
    m_handle = mysql_init(nullptr);
    if (!m_handle) return false;
    set_options(m_handle);
    mysql_real_connect(m_handle, m_hostname.c_str(), m_username.c_str(), m_password.c_str(),
                       m_basename.c_str(), static_cast<unsigned int>(m_port), nullptr, 0);
    if (!_error()) return true;
    close();
    return false;
}

bool BaseAPI::disconnect() {
    close();
    return true;
}

char const* BaseAPI::_error() {
    auto const number = mysql_errno(m_handle);
    return number == 0 ? nullptr : set_error(mysql_error(m_handle), number);
}

char const* BaseAPI::set_error(std::string_view message, unsigned int number) {
    auto const whole = std::string(message) + " (mysqlerrno: " + std::to_string(number) + ")";
    auto const text = cut_at_character(whole, s_error_cstr.size() - 1);
    *std::ranges::copy(text, s_error_cstr.begin()).out = '\0';
    Log::s_log(Log::Level::WARNING, s_error_cstr.data());
    return s_error_cstr.data();
}

char const* BaseAPI::_select(std::string const& sql) {
    free_result();
    if (!m_handle) return set_error("Not connected", 0);
    while (mysql_next_result(m_handle) == 0) mysql_free_result(mysql_store_result(m_handle));
    if (mysql_query(m_handle, sql.c_str()) == 0) m_result = mysql_store_result(m_handle);
    return m_result ? nullptr : _error();
}

/// Runs a statement and hands every row to `read`; one with a number that does not read is skipped.
template <class Out, class Read>
void BaseAPI::read_rows(std::string const& sql, std::vector<Out>& out, Read read) {
    if (_select(sql)) return;  // logged; a failure shows as missing data alone
    while (m_result) {
        MYSQL_ROW const columns = mysql_fetch_row(m_result);
        if (!columns) break;
        try {
            Out reply;
            Row row(columns);
            read(row, reply);
            out.push_back(std::move(reply));
        } catch (std::logic_error const&) {
            continue;  // std::stof: not a number, or beyond the range
        }
    }
    free_result();
}

bool BaseAPI::get_currencies(std::vector<GetCurrenciesIn> const& in,
                             std::vector<GetCurrenciesOut>& out) {
    std::string const sql =
        "SELECT _ticker, _name, _forward_rate_affinity_factor, _calendar, _day_counter FROM "
        "Currency WHERE _ticker" +
        in_list(in, &GetCurrenciesIn::ticker, Ticker::c_size);
    read_rows(sql, out, [](Row& row, GetCurrenciesOut& reply) {
        row.text(reply.ticker)
            .name(reply.name)
            .number(reply.forward_rate_affinity_factor)
            .text(reply.calendar)
            .text(reply.day_counter);
    });
    return true;
}

bool BaseAPI::get_underlyings(std::vector<GetUnderlyingsIn> const& in,
                              std::vector<GetUnderlyingsOut>& out) {
    std::string const condition =
        " WHERE _ticker" + in_list(in, &GetUnderlyingsIn::ticker, Ticker::c_size);
    for (auto const& table : underlying_tables)
        read_rows(std::string(table.statement) + condition, out,
                  [&](Row& row, GetUnderlyingsOut& reply) {
                      row.text(reply.ticker)
                          .name(reply.name)
                          .text(reply.currency)
                          .text(reply.fixing_calendar)
                          .text(reply.day_counter);
                      reply.impl = table.read(row);
                  });
    return true;
}

bool BaseAPI::get_currency_pairs(std::vector<GetCurrencyPairsIn> const& in,
                                 std::vector<GetCurrencyPairsOut>& out) {
    std::string const sql =
        "SELECT _ticker, _name, _quote_currency, _fixing_calendar, _day_counter, _base_currency "
        "FROM ExchangeRateUnderlying WHERE _base_currency" +
        in_list(in, &GetCurrencyPairsIn::base, CurrencyText::c_size) + " AND _quote_currency" +
        in_list(in, &GetCurrencyPairsIn::quote, CurrencyText::c_size);
    read_rows(sql, out, [](Row& row, GetCurrencyPairsOut& reply) {
        row.text(reply.ticker)
            .name(reply.name)
            .text(reply.quote)
            .text(reply.fixing_calendar)
            .text(reply.day_counter)
            .text(reply.base);
    });
    return true;
}

bool BaseAPI::get_spots(std::vector<GetSpotsIn> const& in, std::vector<GetSpotsOut>& out) {
    std::string const sql = "SELECT _date, _ticker, 0.50 * (_bid + _ask) FROM Spot WHERE _date" +
                            in_list(in, &GetSpotsIn::date, DateText::c_size) + " AND _ticker" +
                            in_list(in, &GetSpotsIn::ticker, Ticker::c_size);
    read_rows(sql, out, [](Row& row, GetSpotsOut& reply) {
        row.text(reply.date).text(reply.ticker).number(reply.value);
    });
    return true;
}

bool BaseAPI::get_black_scholes_volatilities(std::vector<GetBlackScholesVolatilitiesIn> const& in,
                                             std::vector<GetBlackScholesVolatilitiesOut>& out) {
    using In = GetBlackScholesVolatilitiesIn;
    std::string const sql =
        "SELECT _date, _ticker, _value FROM BlackScholesVolatility WHERE _date" +
        in_list(in, &In::date, DateText::c_size) + " AND _ticker" +
        in_list(in, &In::ticker, Ticker::c_size);
    read_rows(sql, out, [](Row& row, GetBlackScholesVolatilitiesOut& reply) {
        row.text(reply.date).text(reply.ticker).number(reply.value);
    });
    return true;
}

bool BaseAPI::get_correlations(std::vector<GetCorrelationsIn> const& in,
                               std::vector<GetCorrelationsOut>& out) {
    std::string const sql = "SELECT _date, _first, _second, _value FROM Correlation WHERE _date" +
                            in_list(in, &GetCorrelationsIn::date, DateText::c_size) +
                            " AND _first" + in_list(in, &GetCorrelationsIn::first, Ticker::c_size) +
                            " AND _second" +
                            in_list(in, &GetCorrelationsIn::second, Ticker::c_size);
    read_rows(sql, out, [](Row& row, GetCorrelationsOut& reply) {
        row.text(reply.date).text(reply.first).text(reply.second).number(reply.value);
    });
    return true;
}

}  // namespace ximCORE::Data
