#include "core/data/gateway.hpp"

#include <json/json.h>

#include <algorithm>
#include <array>
#include <fstream>
#include <istream>
#include <map>
#include <string>
#include <tuple>
#include <utility>

#include "core/data/base_api.hpp"
#include "core/data/cache.hpp"
#include "core/data/chart_api.hpp"
#include "core/data/correlation.hpp"
#include "core/data/date_reader.hpp"
#include "core/data/file_api.hpp"
#include "core/data/json_text.hpp"
#include "core/data/replies.hpp"
#include "core/data/spot.hpp"
#include "core/data/surfaces/black_scholes_volatility.hpp"
#include "core/data/underlying.hpp"

namespace ximCORE::Data {

namespace {

using Toolbox::Log;

MarketDataCache& cache() {
    return MarketDataCache::s_get();
}

/// A source that fails is no failure of the fetch: what stays open is reported when it is read.
void drop_result(bool) {}

// Kinds of sources.

using MakeSource = std::unique_ptr<API> (*)(Json::Value const& data);

template <class Source>
std::unique_ptr<API> make_source(Json::Value const& data) {
    return std::make_unique<Source>(data);
}

struct SourceKind {
    std::string_view name;
    MakeSource make;
};

constexpr auto source_kind_table = std::to_array<SourceKind>({
    {"manual", make_source<FileAPI>},
    {"base", make_source<BaseAPI>},
    {"yfinance", make_source<YahooFinanceAPI>},
});

bool fail(auto const&... parts) {
    Log::s_log(Log::Level::ERROR, parts...);
    return false;
}

constexpr std::size_t c_description_limit = std::size_t{256} << 20U;  // bytes; 256 MiB

/// The whole stream; false when it goes on beyond the limit. A directory gives the empty text.
bool read_all(std::istream& stream, std::string& text) {
    std::array<char, 65536> block{};
    do {
        stream.read(block.data(), block.size());
        text.append(block.data(), static_cast<std::size_t>(stream.gcount()));
    } while (stream && text.size() <= c_description_limit);
    return text.size() <= c_description_limit;
}

/// False, after an ERROR record, for nesting that the reader refuses and for a text beyond the
/// limit; false without a record for text that is no JSON.
bool read_description(std::istream& stream, Json::Value& description) {
    std::string text;
    if (!read_all(stream, text)) return fail("Cannot read market data: longer than 256 MiB");
    try {
        return parse_json(text, description);
    } catch (Json::Exception const& exception) {
        return fail("Cannot read market data: ", exception.what());
    }
}

// Currency pairs.

using PairKey = std::pair<std::string, std::string>;

/// Asks the source for every pair that is not set, or for its inverse, and hands each answer to
/// `fill` with the cache's pair of the two currencies.
template <class Fill>
void fetch_pairs(API& source, bool is_inverse, Fill fill) {
    std::vector<API::GetCurrencyPairsIn> requests;
    std::map<PairKey, CurrencyPairKey> asked;
    for (auto const& [key, pair] : cache().c_get_currency_pairs()) {
        if (pair->c_is_set()) continue;
        auto const& base = is_inverse ? key.second : key.first;
        auto const& quote = is_inverse ? key.first : key.second;
        requests.push_back({base.c_str(), quote.c_str()});
        asked.emplace(PairKey(base.c_get_ticker(), quote.c_get_ticker()), key);
    }
    if (requests.empty()) return;
    std::vector<API::GetCurrencyPairsOut> replies;
    drop_result(source.get_currency_pairs(requests, replies));
    for (auto const& reply : replies) {
        if (!reply.base.has() || !reply.quote.has()) continue;
        auto const found = asked.find({reply.base.c_str(), reply.quote.c_str()});
        if (found == asked.end()) continue;
        auto const& [first, second] = found->second;
        fill(*cache().get_currency_pair(first, second, Level::silent), reply);
    }
}

// Dated quotes of one underlying.

struct Spots {
    using In = API::GetSpotsIn;
    using Out = API::GetSpotsOut;
    static constexpr auto ask = &API::get_spots;
    static auto const& items() { return cache().c_get_spots(); }
    static float direct(float value) { return value; }
    static float inverse(float value) { return 1.0F / value; }
};

struct Volatilities {
    using In = API::GetBlackScholesVolatilitiesIn;
    using Out = API::GetBlackScholesVolatilitiesOut;
    static constexpr auto ask = &API::get_black_scholes_volatilities;
    static auto const& items() { return cache().c_get_blackscholes_volatilities(); }
    static float direct(float percent) { return percent * 0.01F; }
    /// Relied on: the inverse pair has the same volatility.
    static float inverse(float percent) { return direct(percent); }
};

using QuoteKey = std::tuple<Toolbox::Date, std::string, std::string>;

/// The open items of one batch of requests, by the date and tickers that were asked for.
template <class Item>
using Asked = std::multimap<QuoteKey, Item*>;

/// Hands the value of each reply to all items that asked for it; other replies and dates that do
/// not read are dropped.
template <class Item, class Out>
void distribute(Asked<Item> const& asked, std::vector<Out> const& replies, auto tickers_of,
                float (*convert)(float)) {
    DateReader dates;
    for (auto const& reply : replies) {
        if (!reply.date.has() || !reply.value.has()) continue;
        auto const* date = dates.find(reply.date.c_str());
        if (!date) continue;
        auto const [first, second] = tickers_of(reply);
        auto const [begin, end] = asked.equal_range({*date, first, second});
        for (auto item = begin; item != end; ++item)
            item->second->set_val(convert(reply.value.get()));
    }
}

/// One pass over the unset items. `underlying_of` gives the underlying to ask for, null to skip the
/// item. False when one of them has no ticker.
template <class Kind>
bool fetch_quotes(API& source, auto underlying_of, float (*convert)(float)) {
    using Item = typename std::decay_t<decltype(Kind::items())>::mapped_type::element_type;
    bool has_tickers = true;
    std::vector<typename Kind::In> requests;
    Asked<Item> asked;
    for (auto const& [key, item] : Kind::items()) {
        if (item->c_is_set()) continue;
        Underlying const* underlying = underlying_of(key.owner);
        if (!underlying) continue;
        if (!underlying->c_has_ticker(Level::silent)) {
            has_tickers = false;
            continue;
        }
        requests.push_back({key.date.c_str(), underlying->c_str()});
        asked.emplace(QuoteKey(key.date, underlying->c_get_ticker(), {}), item.get());
    }
    if (requests.empty()) return has_tickers;
    std::vector<typename Kind::Out> replies;
    drop_result((source.*Kind::ask)(requests, replies));
    distribute(
        asked, replies,
        [](auto const& reply) {
            return std::pair<std::string, std::string>(reply.ticker.c_str(), {});
        },
        convert);
    return has_tickers;
}

template <class Kind>
bool fetch_quotes(API& source) {
    bool const direct = fetch_quotes<Kind>(
        source, [](Underlying const* own) { return own; }, &Kind::direct);
    bool const inverse = fetch_quotes<Kind>(
        source, [](Underlying const* own) { return own->c_get_reverse_pair().get(); },
        &Kind::inverse);
    return direct && inverse;
}

// Correlations.

/// Which sides of a pair are asked for by their inverse.
struct Round {
    bool is_first_inverted;
    bool is_second_inverted;
};

constexpr auto round_table =
    std::to_array<Round>({{false, false}, {true, false}, {false, true}, {true, true}});

Underlying const* inverted(Underlying const* underlying, bool is_inverted) {
    return is_inverted ? underlying->c_get_reverse_pair().get() : underlying;
}

/// Relied on: the sign of a correlation stays when one side is inverted
float correlation_of(float percent) {
    return percent * 0.01F;
}

bool have_tickers(Underlying const& first, Underlying const& second) {
    return first.c_has_ticker(Level::silent) && second.c_has_ticker(Level::silent);
}

/// Adds what one item asks for in a round: nothing where an inverse does not exist or the item is
/// an underlying's with itself, which is set at once. False when a ticker is missing: a later fetch
/// may find it.
bool collect_correlation(CorrelationKey const& key, Correlation& item, Round round, bool reverse,
                         Asked<Correlation>& asked) {
    if (!have_tickers(*key.first, *key.second)) return false;
    if (key.first->c_cmp(*key.second) == 0) {
        item.set_val(1.0F);
        return true;
    }
    auto const* first = inverted(key.first, round.is_first_inverted);
    auto const* second = inverted(key.second, round.is_second_inverted);
    if (!first || !second) return true;
    if (!have_tickers(*first, *second)) return false;
    if (reverse) std::swap(first, second);
    asked.emplace(QuoteKey(key.date, first->c_get_ticker(), second->c_get_ticker()), &item);
    return true;
}

bool fetch_correlations(API& source, Round round, bool reverse) {
    bool has_tickers = true;
    Asked<Correlation> asked;
    for (auto const& [key, item] : cache().c_get_correlations())
        if (!item->c_is_set())
            has_tickers = collect_correlation(key, *item, round, reverse, asked) && has_tickers;
    if (asked.empty()) return has_tickers;
    std::vector<API::GetCorrelationsIn> requests;
    for (auto const& [key, item] : asked)
        requests.push_back(
            {std::get<0>(key).c_str(), std::get<1>(key).c_str(), std::get<2>(key).c_str()});
    std::vector<API::GetCorrelationsOut> replies;
    drop_result(source.get_correlations(requests, replies));
    distribute(
        asked, replies,
        [](auto const& reply) {
            return std::pair<std::string, std::string>(reply.first.c_str(), reply.second.c_str());
        },
        correlation_of);
    return has_tickers;
}

}  // namespace

MarketDataGateway::~MarketDataGateway() {
    std::ignore = clear(); /* nobody is left to be told */
}

bool MarketDataGateway::push_back(char const* path) {
    std::ifstream stream(path, std::ios::binary);
    if (stream.is_open()) return _push_back_internal(stream);
    Log::s_log(Log::Level::WARNING, "Cannot find file ", path);
    return false;
}

bool MarketDataGateway::push_back(std::unique_ptr<API> source) {
    m_sources.push_back(std::move(source));
    if (m_sources.back()->connect()) return true;
    m_sources.pop_back();
    return false;
}

bool MarketDataGateway::_push_back_internal(std::istream& stream) {
    Json::Value description;
    if (!read_description(stream, description)) return false;
    auto const* kind = find_member(description, "Kind");
    if (!kind || !kind->isString()) return fail("Missing Kind");
    auto const* data = find_member(description, "Data");
    if (!data) return fail("Missing Data");
    auto const name = kind->asString();
    auto const* row = std::ranges::find(source_kind_table, name, &SourceKind::name);
    if (row == source_kind_table.end()) return fail("Unknown kind ", name);
    return push_back(row->make(*data));
}

bool MarketDataGateway::connect() {
    return std::ranges::all_of(m_sources, [](auto& source) { return source->connect(); });
}

bool MarketDataGateway::disconnect() {
    return std::ranges::all_of(m_sources, [](auto& source) { return source->disconnect(); });
}

bool MarketDataGateway::clear() {
    bool const result = disconnect();
    m_sources.clear();
    return result;
}

bool MarketDataGateway::get_currencies() {
    for (auto const& source : m_sources) {
        std::vector<API::GetCurrenciesIn> requests;
        for (auto const& [ticker, currency] : cache().c_get_currencies())
            if (!currency->c_is_set()) requests.push_back({ticker.c_str()});
        if (requests.empty()) continue;
        std::vector<API::GetCurrenciesOut> replies;
        drop_result(source->get_currencies(requests, replies));
        for (auto const& reply : replies)
            if (reply.ticker.has() && cache().c_get_currencies().contains(reply.ticker.c_str()))
                fill_currency(*cache().get_currency(reply.ticker.c_str(), Level::silent), reply);
    }
    return true;
}

bool MarketDataGateway::get_underlyings() {
    for (auto const& source : m_sources) {
        std::vector<API::GetUnderlyingsIn> requests;
        for (auto const& [ticker, underlying] : cache().c_get_underlyings())
            if (!underlying->c_is_set()) requests.push_back({ticker.c_str()});
        if (requests.empty()) continue;
        std::vector<API::GetUnderlyingsOut> replies;
        drop_result(source->get_underlyings(requests, replies));
        auto const& asked = cache().c_get_underlyings();
        for (auto const& reply : replies)
            if (reply.ticker.has() && asked.contains(reply.ticker.c_str()))
                fill_underlying(*cache().get_underlying(reply.ticker.c_str(), Level::silent),
                                reply);
    }
    return true;
}

bool MarketDataGateway::get_currency_pairs() {
    for (auto const& source : m_sources) {
        fetch_pairs(*source, false, fill_pair);
        fetch_pairs(*source, true, fill_inverse_pair);
    }
    return true;
}

bool MarketDataGateway::get_spots() {
    bool result = true;
    for (auto const& source : m_sources) result = fetch_quotes<Spots>(*source) && result;
    return result;
}

bool MarketDataGateway::get_black_scholes_volatilities() {
    bool result = true;
    for (auto const& source : m_sources) result = fetch_quotes<Volatilities>(*source) && result;
    return result;
}

bool MarketDataGateway::get_correlations() {
    bool result = true;
    for (auto const& source : m_sources) {
        bool const straight = _get_correlations_internal_core(*source, false);
        bool const reversed = _get_correlations_internal_core(*source, true);
        result = straight && reversed;  // Relied on: the results of earlier sources are overwritten
    }
    return result;
}

bool MarketDataGateway::_get_correlations_internal_core(API& source, bool reverse) {
    bool result = true;
    for (auto const round : round_table)
        result = fetch_correlations(source, round, reverse) && result;
    return result;
}

bool MarketDataGateway::execute_dependencies() {
    bool const currencies = get_currencies();
    bool const underlyings = get_underlyings();
    bool const pairs = get_currency_pairs();
    bool const spots = get_spots();
    bool const volatilities = get_black_scholes_volatilities();
    bool const correlations = get_correlations();
    return currencies && underlyings && pairs && spots && volatilities && correlations;
}

}  // namespace ximCORE::Data
