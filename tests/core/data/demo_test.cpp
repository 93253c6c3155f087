// The demonstration data: the generated document, and that the table serves exactly what reading
// the document gives.

#include <gtest/gtest.h>
#include <json/json.h>

#include <map>
#include <string>

#include "core/data/demo/document.hpp"
#include "core/data/file_api.hpp"
#include "core/data/gateway.hpp"
#include "core/data/json_text.hpp"
#include "support/market.hpp"

namespace ximCORE::Data {
namespace {

/// 64 bits of Fowler, Noll and Vo, variant 1a.
std::uint64_t digest(std::string_view text) {
    std::uint64_t hash = 0xcbf29ce484222325;
    for (char const c : text) hash = (hash ^ static_cast<unsigned char>(c)) * 0x100000001b3;
    return hash;
}

Json::Value const& document() {
    static Json::Value const root = [] {
        Json::Value parsed;
        EXPECT_TRUE(parse_json(std::string(Demo::document()), parsed));
        return parsed;
    }();
    return root;
}

TEST(DemoDocument, HasItsBytes) {
    EXPECT_EQ(Demo::document().size(), 1436337u);
    EXPECT_EQ(digest(Demo::document()), 0x5ca3e6037d5f8b9aU);
}

TEST(DemoDocument, HasItsObjects) {
    std::map<std::string, int> types;
    std::map<std::string, int> spots;
    for (auto const& item : document()) {
        ++types[item["type"].asString()];
        if (item["type"] == "Spot") ++spots[item["ticker"].asString()];
    }
    EXPECT_EQ(document().size(), 12782u);
    EXPECT_EQ(types, (std::map<std::string, int>{{"Currency", 3},
                                                 {"ShareUnderlying", 3},
                                                 {"ExchangeRateUnderlying", 3},
                                                 {"Spot", 12756},
                                                 {"BlackScholesVolatility", 6},
                                                 {"Correlation", 10},
                                                 {"YahooProvider", 1}}));
    EXPECT_EQ(spots, (std::map<std::string, int>{{"USD-EUR", 2610},
                                                 {"USD-JPY", 2610},
                                                 {"^STOXX50E", 2562},
                                                 {"^GSPC", 2517},
                                                 {"^N225", 2457}}));
}

TEST(DemoDocument, QuotesEverySeriesOnTheDatesOfItsParameters) {
    for (auto const& series : Demo::series())
        for (int const day : {20210503, 20211007})
            EXPECT_TRUE(std::ranges::any_of(series.quotes,
                                            [&](auto const& quote) { return quote.day == day; }))
                << series.ticker << " " << day;
}

TEST(DemoSeries, AreSortedByDay) {
    for (auto const& series : Demo::series()) {
        EXPECT_TRUE(std::ranges::is_sorted(series.quotes, {}, &Demo::Quote::day)) << series.ticker;
        EXPECT_EQ(std::ranges::adjacent_find(series.quotes, {}, &Demo::Quote::day),
                  series.quotes.end())
            << series.ticker;
    }
}

/// Everything that the cache holds, by texts: what a reader can tell one source from another by.
struct Snapshot {
    std::map<std::string, double> values;
    std::map<std::string, std::string> texts;
    bool operator==(Snapshot const&) const = default;
};

class DemoTest : public Testing::MarketTest {
 protected:
    static void read_document() { FileAPI{document()}; }
    static void connect() { ASSERT_TRUE(DemoFileAPI().connect()); }

    /// The spots of the document are asked for one by one, then all items are taken.
    static Snapshot snapshot() {
        for (auto const& item : document())
            if (item["type"] == "Spot")
                static_cast<void>(cache().get_spot(
                    Date(item["date"].asString()),
                    cache().get_underlying(item["ticker"].asString(), Level::silent).get(),
                    Level::silent));
        Snapshot out;
        for (auto const& [ticker, currency] : cache().c_get_currencies()) {
            out.texts[ticker] = currency->c_get_name() + (currency->c_is_set() ? " set" : "");
            out.values[ticker] =
                static_cast<double>(currency->c_get_forward_rate_affinity_factor());
        }
        for (auto const& [ticker, underlying] : cache().c_get_underlyings()) {
            auto const base = underlying->c_get_base_currency();
            out.texts[ticker] =
                underlying->c_get_name() + "/" + underlying->c_get_currency()->c_str() + "/" +
                (base ? base->c_str() : "") + (underlying->c_is_set() ? " set" : "");
            out.values[ticker] = static_cast<double>(underlying->c_get_asset_class());
        }
        auto const key = [](Date const& date, auto const&... tickers) {
            return (std::string(date.c_str()) + ... + (std::string(" ") + tickers->c_str()));
        };
        for (auto const& [id, spot] : cache().c_get_spots())
            out.values["spot " + key(id.date, id.owner)] = spot->c_get_val();
        for (auto const& [id, volatility] : cache().c_get_blackscholes_volatilities())
            out.values["volatility " + key(id.date, id.owner)] = volatility->c_get_val();
        for (auto const& [id, item] : cache().c_get_correlations())
            out.values["correlation " + key(id.date, id.first, id.second)] = item->c_get_val();
        return out;
    }
};

TEST_F(DemoTest, ServesExactlyWhatReadingTheDocumentGives) {
    read_document();
    auto const expected = snapshot();
    cache().clear();
    connect();
    auto const served = snapshot();
    EXPECT_EQ(expected.values.size(), 3u + 6u + 12756u + 6u + 10u);
    EXPECT_EQ(served.texts, expected.texts);
    EXPECT_TRUE(served.values == expected.values) << "values differ";
}

TEST_F(DemoTest, ServesTheSameToItemsThatWereAskedForBefore) {
    auto const prepare = [] {
        auto const underlying = cache().get_underlying("^GSPC", Level::silent);
        static_cast<void>(cache().get_spot(Date(2021, 5, 3), underlying.get(), Level::silent));
        static_cast<void>(cache().get_spot(Date(2021, 5, 2), underlying.get(), Level::silent));
        auto const pair =
            cache().get_currency_pair(*cache().get_currency("USD", Level::silent),
                                      *cache().get_currency("EUR", Level::silent), Level::silent);
        static_cast<void>(cache().get_spot(Date(2021, 5, 3), pair.get(), Level::silent));
    };
    prepare();
    read_document();
    auto const expected = snapshot();
    cache().clear();
    prepare();
    connect();
    EXPECT_TRUE(snapshot() == expected);
}

TEST_F(DemoTest, MakesOnlyTheSpotsThatAreAskedFor) {
    connect();
    EXPECT_TRUE(cache().c_get_spots().empty());
    auto const underlying = cache().get_underlying("^GSPC", Level::silent);
    EXPECT_TRUE(cache().get_spot(Date(2021, 5, 3), underlying.get(), Level::silent)->c_is_set());
    EXPECT_FALSE(cache().get_spot(Date(2021, 5, 2), underlying.get(), Level::silent)->c_is_set());
    EXPECT_EQ(cache().c_get_spots().size(), 2u);
}

TEST_F(DemoTest, KeepsAValueThatWasSetBefore) {
    auto const underlying = cache().get_underlying("^GSPC", Level::silent);
    cache().get_spot(Date(2021, 5, 3), underlying.get(), Level::silent)->set_val(1.0F);
    connect();
    EXPECT_EQ(cache().get_spot(Date(2021, 5, 3), underlying.get(), Level::silent)->c_get_val(),
              1.0);
}

TEST_F(DemoTest, CanConnectAgainAfterTheCacheForgotIt) {
    connect();
    cache().clear();
    connect();
    auto const underlying = cache().get_underlying("^N225", Level::silent);
    EXPECT_TRUE(cache().get_spot(Date(2021, 5, 6), underlying.get(), Level::silent)->c_is_set());
}

TEST_F(DemoTest, InvertsItsExchangeRatesThroughTheGateway) {
    MarketDataGateway gateway;
    ASSERT_TRUE(gateway.push_back(std::make_unique<DemoFileAPI>()));
    auto const euro_dollar =
        cache().get_currency_pair(*cache().get_currency("EUR", Level::silent),
                                  *cache().get_currency("USD", Level::silent), Level::silent);
    Date const day(2021, 5, 3);
    auto const* spot = cache().get_spot(day, euro_dollar.get(), Level::silent);
    EXPECT_TRUE(gateway.execute_dependencies());
    EXPECT_STREQ(euro_dollar->c_str(), "EUR-USD");
    auto const dollar_euro = cache().get_underlying("USD-EUR", Level::silent);
    auto const direct = cache().get_spot(day, dollar_euro.get(), Level::silent)->c_get_val();
    EXPECT_EQ(spot->c_get_val(), static_cast<double>(1.0F / static_cast<float>(direct)));
}

}  // namespace
}  // namespace ximCORE::Data
