#include <gtest/gtest.h>

#include "dsl/encoded_reader.hpp"
#include "dsl/products/payoffs.hpp"
#include "support/matchers.hpp"
#include "ximAPI/products/examples.hpp"

namespace {

using namespace ximAPI;
using ximTest::EncodedReader;
using ximTest::LogsError;
using ximTest::text_of;

/// The common terms: AAA, 100, end of June 2025, in euros.
template <class Product>
Product& fill(Product& product) {
    product.Ticker = "AAA";
    product.PaymentCurrency = "EUR";
    product.Strike = 100.0f;
    if constexpr (requires { product.MaturityDate; }) product.MaturityDate = "2025-06-30";
    return product;
}

TEST(CallPut, AnUnknownKindGivesNoAmount) {
    auto const x = ximDSL::Cst(1.0f);
    EXPECT_NE(call_put(PayoffKind::CALL_TYPE, x, x).get(), nullptr);
    EXPECT_NE(call_put(PayoffKind::PUT_TYPE, x, x).get(), nullptr);
    EXPECT_EQ(call_put(static_cast<PayoffKind>(2), x, x).get(), nullptr);
}

TEST(EuropeanOption, IsOnePaymentOfThePayoff) {
    EuropeanOptionExample option;
    fill(option);
    EXPECT_EQ(text_of(option),
              "0 4 0 1\n"
              "a 2 28 AAA,2025-06-30,\n"
              "a 3 30 Strike,100\n"
              "a 1 5 2,3\n"
              "a 0 22 1,0\n"
              "c 0 5 0,2025-06-30,EUR,1\n");
    option.PayoffKind = PayoffKind::PUT_TYPE;
    EXPECT_EQ(text_of(option),
              "0 4 0 1\n"
              "a 2 30 Strike,100\n"
              "a 3 28 AAA,2025-06-30,\n"
              "a 1 5 2,3\n"
              "a 0 22 1,0\n"
              "c 0 5 0,2025-06-30,EUR,1\n");
}

TEST(EuropeanOption, BuildsTheSameTwiceAndRefusesAnUnknownKind) {
    EuropeanOptionExample option;
    fill(option);
    auto const first = text_of(option);
    EXPECT_EQ(text_of(option), first);
    option.PayoffKind = static_cast<PayoffKind>(7);
    EXPECT_THAT([&] { EXPECT_FALSE(option.build()); }, LogsError("Contract empty"));
    EXPECT_EQ(option.encoded, nullptr);
}

TEST(DigitalOption, PaysOneAboveTheStrike) {
    DigitalOptionExample option;
    fill(option);
    EXPECT_EQ(text_of(option),
              "0 3 1 3\n"
              "a 0 28 AAA,2025-06-30,\n"
              "a 1 30 Strike,100\n"
              "e 0 2 0,1\n"
              "a 2 27 1\n"
              "c 1 5 2,2025-06-30,EUR,1\n"
              "c 2 6 0\n"
              "c 0 1 0,1,2,0,0\n");
}

TEST(DigitalOption, ThePutPaysWhereTheCallDoesAboveTheStrike) {
    DigitalOptionExample option;
    fill(option).PayoffKind = PayoffKind::PUT_TYPE;
    EXPECT_EQ(text_of(option),
              "0 3 1 3\n"
              "a 0 30 Strike,100\n"
              "a 1 28 AAA,2025-06-30,\n"
              "e 0 4 0,1\n"
              "a 2 27 1\n"
              "c 1 5 2,2025-06-30,EUR,1\n"
              "c 2 6 0\n"
              "c 0 1 0,1,2,0,0\n");
    option.PayoffKind = static_cast<PayoffKind>(7);
    EXPECT_THAT([&] { EXPECT_FALSE(option.build()); }, LogsError("Contract empty"));
}

TEST(DigitalOption, PutAndCallPayTheSame) {
    for (auto const kind : {PayoffKind::CALL_TYPE, PayoffKind::PUT_TYPE}) {
        DigitalOptionExample option;
        fill(option).PayoffKind = kind;
        ASSERT_TRUE(option.build());
        EncodedReader reader(*option.encoded);
        for (auto const level : {99.0, 100.0, 101.0}) {
            reader.fixings = {{"AAA@2025-06-30", level}};
            auto const paid = reader.flows();
            EXPECT_EQ(paid.empty() ? 0.0 : paid.at("2025-06-30"), level > 100.0 ? 1.0 : 0.0);
        }
    }
}

TEST(AmericanOption, OffersThePayoffOnEachDate) {
    AmericanOptionExample option;
    fill(option).Schedule = {"2025-03-31", "2025-06-30"};
    EXPECT_EQ(text_of(option),
              "0 8 0 5\n"
              "c 0 2 1,2025-03-31,1,2\n"
              "a 2 28 AAA,2025-03-31,\n"
              "a 3 30 Strike,100\n"
              "a 1 5 2,3\n"
              "a 0 22 1,0\n"
              "c 1 5 0,2025-03-31,EUR,1\n"
              "c 2 2 1,2025-06-30,3,4\n"
              "a 6 28 AAA,2025-06-30,\n"
              "a 7 30 Strike,100\n"
              "a 5 5 6,7\n"
              "a 4 22 5,0\n"
              "c 3 5 4,2025-06-30,EUR,1\n"
              "c 4 6 0\n");
}

TEST(AmericanOption, WithoutDatesItPaysNothing) {
    AmericanOptionExample option;
    EXPECT_EQ(text_of(fill(option)), "0 0 0 1\nc 0 6 0\n");
}

TEST(AmericanOption, AVeryLongScheduleIsBuilt) {
    AmericanOptionExample option;
    fill(option).Schedule.assign(50'000, "2025-06-30");
    ASSERT_TRUE(option.build());
    EXPECT_EQ(option.encoded->cashflows, 100'001u);
}

TEST(AsianOption, PaysThePayoffOfTheAverage) {
    AsianOptionExample option;
    fill(option).Schedule = {"2025-03-31", "2025-06-30"};
    option.PaymentDate = "2025-07-02";
    EXPECT_EQ(text_of(option),
              "0 9 0 1\n"
              "a 5 27 0\n"
              "a 6 28 AAA,2025-03-31,\n"
              "a 4 0 5,6\n"
              "a 7 28 AAA,2025-06-30,\n"
              "a 3 0 4,7\n"
              "a 2 21 3,2\n"
              "a 8 30 Strike,100\n"
              "a 1 5 2,8\n"
              "a 0 22 1,0\n"
              "c 0 5 0,2025-07-02,EUR,1\n");
}

TEST(AsianOption, WithoutDatesItIsRefused) {
    AsianOptionExample option;
    EXPECT_THAT([&] { EXPECT_FALSE(fill(option).build()); },
                LogsError("Asian option without dates"));
    EXPECT_EQ(option.encoded, nullptr);
}

/// A call at 150 on AAA (weight 50) and BBB (weight 25).
MultiAssetOptionExample& fill_basket(MultiAssetOptionExample& option, BasketKind kind) {
    option.Basket = {{"AAA", 50.0f}, {"BBB", 25.0f}};
    option.BasketKind = kind;
    option.PaymentCurrency = "EUR";
    option.MaturityDate = "2025-06-30";
    option.Strike = 150.0f;
    return option;
}

TEST(MultiAssetOption, ABasketAddsWeightedLevels) {
    MultiAssetOptionExample option;
    EXPECT_EQ(text_of(fill_basket(option, BasketKind::BASKET)),
              "0 12 0 1\n"
              "a 5 30 Weight,50\n"
              "a 4 18 0.01,5\n"
              "a 6 28 AAA,2025-06-30,\n"
              "a 3 4 4,6\n"
              "a 9 30 Weight,25\n"
              "a 8 18 0.01,9\n"
              "a 10 28 BBB,2025-06-30,\n"
              "a 7 4 8,10\n"
              "a 2 0 3,7\n"
              "a 11 30 Strike,150\n"
              "a 1 5 2,11\n"
              "a 0 22 1,0\n"
              "c 0 5 0,2025-06-30,EUR,1\n");
}

TEST(MultiAssetOption, TheOtherKindsTakeALevelARainbowTheSmallestToo) {
    struct Row {
        BasketKind kind;
        double paid;
    };
    Row const rows[] = {{BasketKind::BASKET, 0.5 * 300 + 0.25 * 200 - 150},
                        {BasketKind::BEST_OF, 150},
                        {BasketKind::WORST_OF, 50},
                        {BasketKind::RAINBOW, 50}};
    for (auto const& [kind, paid] : rows) {
        MultiAssetOptionExample option;
        ASSERT_TRUE(fill_basket(option, kind).build());
        EncodedReader reader(*option.encoded);
        reader.fixings = {{"AAA@2025-06-30", 300.0}, {"BBB@2025-06-30", 200.0}};
        EXPECT_EQ(reader.flows(), (std::map<std::string, double>{{"2025-06-30", paid}}));
    }
}

TEST(MultiAssetOption, WithoutABasketItPaysNothing) {
    MultiAssetOptionExample option;
    fill_basket(option, static_cast<BasketKind>(9));
    EXPECT_EQ(text_of(option), "0 0 0 1\nc 0 6 0\n");
    fill_basket(option, BasketKind::BASKET).Basket.clear();
    EXPECT_EQ(text_of(option), "0 0 0 1\nc 0 6 0\n");
}

}  // namespace
