#include "core/data/chart_api.hpp"

#include <curl/curl.h>
#include <json/json.h>

#include <array>
#include <cstdio>
#include <map>
#include <memory>
#include <stdexcept>
#include <string_view>
#include <utility>

#include "core/data/date_reader.hpp"
#include "core/data/json_text.hpp"
#include "core/toolbox/date_shift.hpp"
#include "core/toolbox/errors.hpp"
#include "core/toolbox/log.hpp"

namespace ximCORE::Data {

namespace {

using Toolbox::Date;
using Toolbox::Log;

/// A text made as `printf` does; false when it does not fit.
template <std::size_t size, class... Values>
bool write(std::array<char, size>& text, char const* format, Values... values) {
    int const length = std::snprintf(text.data(), size, format, values...);
    return length >= 0 && static_cast<std::size_t>(length) < size;
}

using Url = std::array<char, 1024>;

/// Runs one request; an answer of another shape than expected ends this one alone.
void skip_on_error(auto const& request) {
    try {
        request();
    } catch (Json::Exception const&) {
        return;
    }
}

// The parts of an answer; null for one that is not there.

Json::Value const* find_array(Json::Value const* owner, char const* key) {
    auto const* array = owner ? find_member(*owner, key) : nullptr;
    return array && array->isArray() ? array : nullptr;
}

Json::Value const* find_first(Json::Value const* owner, char const* key) {
    auto const* array = find_array(owner, key);
    return array && !array->empty() ? &(*array)[0U] : nullptr;
}

Json::Value const* find_result(Json::Value const& answer) {
    return find_first(find_member(answer, "chart"), "result");
}

Json::Value const* find_meta(Json::Value const& answer) {
    auto const* result = find_result(answer);
    auto const* meta = result ? find_member(*result, "meta") : nullptr;
    return meta && meta->isObject() ? meta : nullptr;
}

/// Copies the text of a member that is there. Throws Json::LogicError for a value that is no text.
void set_text(Json::Value const& meta, char const* key, auto& field) {
    auto const* member = find_member(meta, key);
    if (!member) return;
    if (auto const text = member->asString(); !text.empty()) field.set(text);
}

// Underlyings.

using Underlyings = API::GetUnderlyingsOut;

template <class Impl>
std::shared_ptr<Underlyings::Impl> make_impl() {
    return std::make_shared<Impl>();
}

struct Instrument {
    std::string_view type;
    std::shared_ptr<Underlyings::Impl> (*make)();
};

constexpr auto instrument_table = std::to_array<Instrument>({
    {"INDEX", make_impl<Underlyings::Index>},
    {"EQUITY", make_impl<Underlyings::Share>},
    {"FUND", make_impl<Underlyings::Fund>},
    {"CURRENCY", make_impl<Underlyings::ExchangeRate>},
});

std::shared_ptr<Underlyings::Impl> read_impl(Json::Value const& meta) {
    auto const* member = find_member(meta, "instrumentType");
    if (!member) return nullptr;
    auto const type = member->asString();
    for (auto const& instrument : instrument_table)
        if (instrument.type == type) return instrument.make();
    return nullptr;
}

Underlyings read_underlying(Json::Value const& meta) {
    Underlyings reply;
    set_text(meta, "symbol", reply.ticker);
    set_text(meta, "currency", reply.currency);
    if (reply.ticker.has()) reply.name.set_cut(reply.ticker.c_str());
    reply.impl = read_impl(meta);
    return reply;
}

// Spots.

/// Days of one answer that are no dates; more of them say nothing new.
constexpr std::size_t c_max_records = 100;

/// The earliest and the latest date asked for.
using Range = std::pair<Date, Date>;

// Relied on: tickers of one text in two places make two requests to the chart service
std::map<char const*, Range> group_by_ticker(std::vector<API::GetSpotsIn> const& in) {
    std::map<char const*, Range> ranges;
    DateReader dates;
    for (auto const& request : in) {
        auto const* date = dates.find(request.date);
        if (!date) continue;
        auto& [first, last] = ranges.try_emplace(request.ticker, *date, *date).first->second;
        if (*date < first) first = *date;
        if (last < *date) last = *date;
    }
    return ranges;
}

bool write_spots_url(Url& url, char const* ticker, Range const& range) {
    Date const end = range.second.c_shift(Toolbox::DateShift("+1d", nullptr));
    // Relied on: the query for closes has a second question mark, behind its first parameter
    return write(url, "%s%s?metrics=CLOSE?&interval=1d&period1=%llu&period2=%llu",
                 YahooFinanceAPI::s_service.base_url, ticker,
                 static_cast<unsigned long long>(range.first.c_get_epoch()),
                 static_cast<unsigned long long>(end.c_get_epoch()));
}

/// Adds a reply, unless the day is no date: that leaves its ERROR record.
void add_spot(std::int64_t seconds, char const* ticker, float close,
              std::vector<API::GetSpotsOut>& out) {
    try {
        API::GetSpotsOut reply;
        reply.date.set(Date(static_cast<long long>(seconds)).c_str());
        reply.ticker.set(ticker);
        reply.value.set(close);
        out.push_back(reply);
    } catch (Toolbox::ConstructorException const&) {
        return;  // before 1970, or after the last year of a date
    } catch (std::logic_error const&) {
        return;  // beyond the platform's calendar
    }
}

void read_spots(Json::Value const& result, char const* ticker, std::vector<API::GetSpotsOut>& out) {
    auto const* times = find_array(&result, "timestamp");
    auto const* closes =
        find_array(find_first(find_member(result, "indicators"), "quote"), "close");
    if (!times || !closes) return;
    std::vector<Log::Entry> records;
    {
        Log::Collector const collector(records, c_max_records);
        for (Json::ArrayIndex i = 0; i < times->size(); ++i) {
            auto const& time = (*times)[i];
            auto const& close = (*closes)[i];  // null behind the last one
            if (time.isInt64() && close.isDouble())
                add_spot(time.asInt64(), ticker, close.asFloat(), out);
        }
    }
    Log::s_append(records);
}

}  // namespace

static_assert(std::string_view(XIM_CHART_BASE_URL).ends_with("/v8/finance/chart/"),
              "XIM_CHART_BASE_URL is a host and the path /v8/finance/chart/");
YahooFinanceAPI::Service YahooFinanceAPI::s_service{.base_url = XIM_CHART_BASE_URL};

YahooFinanceAPI::YahooFinanceAPI(Json::Value const&) {}

YahooFinanceAPI::~YahooFinanceAPI() {
    curl_easy_cleanup(m_handle);
    if (m_is_connected) curl_global_cleanup();
}

bool YahooFinanceAPI::connect() {
    if (!m_handle) m_handle = curl_easy_init();
    if (!m_handle) return false;
    if (!m_is_connected) curl_global_init(CURL_GLOBAL_ALL);
    m_is_connected = true;
    curl_easy_setopt(m_handle, CURLOPT_WRITEFUNCTION, s_write);
    curl_easy_setopt(m_handle, CURLOPT_USERAGENT, "simple scraper");
    curl_easy_setopt(m_handle, CURLOPT_PROTOCOLS_STR, "http,https");
    curl_easy_setopt(m_handle, CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(m_handle, CURLOPT_CONNECTTIMEOUT_MS, s_service.connect_timeout_ms);
    curl_easy_setopt(m_handle, CURLOPT_TIMEOUT_MS, s_service.timeout_ms);
    return true;
}

bool YahooFinanceAPI::disconnect() {
    if (m_is_connected) curl_global_cleanup();
    m_is_connected = false;
    return true;
}

std::size_t YahooFinanceAPI::s_write(char* data, std::size_t size, std::size_t nmemb,
                                     std::string* out) {
    std::size_t const count = size * nmemb;
    if (count > s_service.answer_limit - out->size()) return 0;
    out->append(data, count);
    return count;
}

void YahooFinanceAPI::error_handler(int code) {
    char const* const text = curl_easy_strerror(static_cast<CURLcode>(code));
    if (text && text != std::string_view("No error")) Log::s_log(Log::Level::WARNING, text);
}

bool YahooFinanceAPI::_execute_request(char const* url, Json::Value& out) {
    std::string response;
    curl_easy_setopt(m_handle, CURLOPT_WRITEDATA, &response);
    curl_easy_setopt(m_handle, CURLOPT_URL, url);
    error_handler(curl_easy_perform(m_handle));
    return parse_json(response, out);
}

bool YahooFinanceAPI::get_underlyings(std::vector<GetUnderlyingsIn> const& in,
                                      std::vector<GetUnderlyingsOut>& out) {
    for (auto const& request : in)
        skip_on_error([&] {
            Url url{};
            Json::Value answer;
            if (!write(url, "%s%s", s_service.base_url, request.ticker) ||
                !_execute_request(url.data(), answer))
                return;
            if (auto const* meta = find_meta(answer)) out.push_back(read_underlying(*meta));
        });
    return true;
}

bool YahooFinanceAPI::get_currency_pairs(std::vector<GetCurrencyPairsIn> const& in,
                                         std::vector<GetCurrencyPairsOut>& out) {
    for (auto const& request : in)
        skip_on_error([&] {
            std::array<char, 16> symbol{};
            Url url{};
            Json::Value answer;
            // Relied on: the symbol of a pair starts with its quote currency
            if (!write(symbol, "%s%s=X", request.quote, request.base) ||
                !write(url, "%s%s", s_service.base_url, symbol.data()) ||
                !_execute_request(url.data(), answer))
                return;
            auto const* meta = find_meta(answer);
            if (!meta) return;
            GetCurrencyPairsOut reply;
            set_text(*meta, "symbol", reply.ticker);
            reply.quote.set(request.quote);
            reply.base.set(request.base);
            out.push_back(reply);
        });
    return true;
}

bool YahooFinanceAPI::get_spots(std::vector<GetSpotsIn> const& in, std::vector<GetSpotsOut>& out) {
    for (auto const& [ticker, range] : group_by_ticker(in))
        skip_on_error([&, ticker = ticker, &range = range] {
            if (std::string_view(ticker).size() > Ticker::c_size) return report_long_text(ticker);
            Url url{};
            Json::Value answer;
            if (!write_spots_url(url, ticker, range) || !_execute_request(url.data(), answer))
                return;
            if (auto const* result = find_result(answer)) read_spots(*result, ticker, out);
        });
    return true;
}

}  // namespace ximCORE::Data
