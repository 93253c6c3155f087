#include "core/data/cache.hpp"

#include <gtest/gtest.h>

#include "support/market.hpp"
#include "support/matchers.hpp"

namespace ximCORE::Data {
namespace {

class CacheTest : public Testing::MarketTest {};

TEST_F(CacheTest, MakesAnEmptyItemAndGivesTheSameOneAgain) {
    auto const underlying = cache().get_underlying("A", Level::error);
    auto const currency = cache().get_currency("EUR", Level::error);
    auto const* asset = underlying.get();
    Date const other(2023, 1, 2);
    EXPECT_EQ(cache().get_underlying("A", Level::silent), underlying);
    EXPECT_EQ(cache().get_currency("EUR", Level::silent), currency);
    EXPECT_FALSE(underlying->c_is_set());
    auto const same_and_other = [&](auto get) {
        EXPECT_NE(get(today), nullptr);
        EXPECT_EQ(get(today), get(Date("2023-1-1")));
        EXPECT_NE(get(today), get(other));
    };
    same_and_other([&](Date const& d) { return cache().get_spot(d, asset, Level::error); });
    same_and_other(
        [&](Date const& d) { return cache().get_blackscholes_volatility(d, asset, Level::error); });
    same_and_other(
        [&](Date const& d) { return cache().get_correlation(d, asset, asset, Level::error); });
    same_and_other(
        [&](Date const& d) { return cache().get_yield_curve(d, currency.get(), Level::error); });
    same_and_other(
        [&](Date const& d) { return cache().get_forward_curve(d, asset, Level::error); });
    same_and_other([&](Date const& d) { return cache().get_repo_curve(d, asset); });
    same_and_other(
        [&](Date const& d) { return cache().get_volatility_surface(d, asset, Level::error); });
    EXPECT_THAT(Toolbox::Log::s_get(), ::testing::IsEmpty());
}

TEST_F(CacheTest, KeepsThePairAndItsReverseApart) {
    auto const a = share("A");
    auto const b = share("B");
    EXPECT_NE(cache().get_correlation(today, a.get(), b.get(), Level::silent),
              cache().get_correlation(today, b.get(), a.get(), Level::silent));
}

TEST_F(CacheTest, OrdersKeysByDateFirst) {
    auto const a = share("A");
    auto const b = share("B");
    auto const* low = std::less<>()(a.get(), b.get()) ? a.get() : b.get();
    auto const* high = low == a.get() ? b.get() : a.get();
    EXPECT_LT((SpotKey{today, high}), (SpotKey{one_year, low}));
    EXPECT_LT((SpotKey{today, low}), (SpotKey{today, high}));
    EXPECT_FALSE((SpotKey{today, low}) < (SpotKey{today, low}));
    EXPECT_LT((CorrelationKey{today, high, high}), (CorrelationKey{one_year, low, low}));
    EXPECT_LT((CorrelationKey{today, low, high}), (CorrelationKey{today, high, low}));
    EXPECT_LT((CorrelationKey{today, low, low}), (CorrelationKey{today, low, high}));
    Currency const euro("EUR", true);
    Currency const dollar("USD", true);
    EXPECT_LT((CurrencyPairKey{euro, dollar}), (CurrencyPairKey{dollar, euro}));
    EXPECT_LT((CurrencyPairKey{euro, euro}), (CurrencyPairKey{euro, dollar}));
}

TEST_F(CacheTest, MakesAPairOfItsOwnCurrencies) {
    auto const pair =
        cache().get_currency_pair(Currency("USD", true), Currency("EUR", true), Level::silent);
    EXPECT_FALSE(pair->c_has_ticker(Level::silent));
    EXPECT_EQ(pair->c_get_base_currency(), cache().get_currency("USD", Level::silent));
    EXPECT_EQ(pair->c_get_currency(), cache().get_currency("EUR", Level::silent));
    EXPECT_EQ(cache().get_currency_pair(*currency("USD"), *currency("EUR"), Level::silent), pair);
    EXPECT_NE(cache().get_currency_pair(*currency("EUR"), *currency("USD"), Level::silent), pair);
}

TEST_F(CacheTest, FindsAPairAmongTheUnderlyingsFirst) {
    auto const rate = exchange_rate("USD-EUR", "USD", "EUR");
    EXPECT_EQ(cache().get_currency_pair(*currency("USD"), *currency("EUR"), Level::silent), rate);
    EXPECT_TRUE(cache().c_get_currency_pairs().empty());
}

TEST_F(CacheTest, FindsANamedPairByItsTicker) {
    auto const pair = cache().get_currency_pair(*currency("USD"), *currency("EUR"), Level::silent);
    pair->set_ticker("EURUSD=X");
    EXPECT_EQ(cache().get_underlying("EURUSD=X", Level::silent), pair);
    EXPECT_TRUE(cache().c_get_underlyings().empty());
}

TEST_F(CacheTest, ForgetsEverythingWhenCleared) {
    auto const stock = share("A");
    set_spot(*stock, 100.0);
    static_cast<void>(surface(*stock));
    static_cast<void>(cache().get_currency_pair(*currency("USD"), *currency("EUR"), Level::silent));
    cache().clear();
    EXPECT_TRUE(cache().c_get_currencies().empty());
    EXPECT_TRUE(cache().c_get_underlyings().empty());
    EXPECT_TRUE(cache().c_get_currency_pairs().empty());
    EXPECT_TRUE(cache().c_get_spots().empty());
    EXPECT_NE(cache().get_underlying("A", Level::silent), stock);
}

/// Quotes 42 for one underlying at every date.
class OneArchive final : public SpotArchive {
 public:
    explicit OneArchive(Underlying const* underlying) : m_underlying(underlying) {}
    void c_fill(Spot& spot) const override {
        if (spot.c_get_underlying() == m_underlying) spot.set_val(42.0F);
    }

 private:
    Underlying const* m_underlying;
};

TEST_F(CacheTest, FillsSpotsFromAnArchiveWhetherTheyCameBeforeOrAfterIt) {
    auto const a = share("A");
    auto const b = share("B");
    auto const* early = cache().get_spot(today, a.get(), Level::silent);
    set_spot(*b, 7.0);
    cache().set_spot_archive(std::make_shared<OneArchive>(a.get()));
    EXPECT_EQ(early->c_get_val(), 42.0);
    EXPECT_EQ(cache().get_spot(one_year, a.get(), Level::silent)->c_get_val(), 42.0);
    EXPECT_FALSE(cache().get_spot(one_year, b.get(), Level::silent)->c_is_set());
    cache().clear();
    EXPECT_FALSE(cache().get_spot(today, share("A").get(), Level::silent)->c_is_set());
}

TEST_F(CacheTest, GivesAnArchivedSpotTheShiftsThatWerePushedBeforeItWasRead) {
    auto const a = share("A");
    auto const b = share("B");
    cache().set_spot_archive(std::make_shared<OneArchive>(a.get()));
    push<MarketDataSpotPerturbationItem>(Shift::Kind::additive, Shift::Unit::none, 1.0, a.get());
    push<MarketDataSpotPerturbationItem>(Shift::Kind::additive, Shift::Unit::none, 5.0, b.get());
    auto* late = cache().get_spot(today, a.get(), Level::silent);
    double value = 0.0;
    EXPECT_TRUE(late->eval(value, Level::error));
    EXPECT_EQ(value, 43.0);
    EXPECT_EQ(late->c_get_shifts().size(), 2u);
    EXPECT_TRUE(cache().get_spot(today, b.get(), Level::silent)->c_get_shifts().empty());
}

}  // namespace
}  // namespace ximCORE::Data
