#include <gtest/gtest.h>

#include "dsl/encoded_reader.hpp"
#include "support/matchers.hpp"
#include "ximAPI/products/examples.hpp"

namespace {

using namespace ximAPI;
using ximTest::EncodedReader;
using ximTest::LogsError;
using ximTest::text_of;

/// Strike 100, rebate 3, two observations before the end of 2025.
template <class Product>
Product& fill(Product& product, BarrierKind kind) {
    product.Ticker = "AAA";
    product.PaymentCurrency = "EUR";
    product.MaturityDate = "2025-12-31";
    product.Strike = 100.0f;
    product.Rebate = 3.0f;
    product.Schedule = {"2025-03-31", "2025-06-30"};
    product.BarrierKind = kind;
    return product;
}

BarrierOptionExample& fill_single(BarrierOptionExample& product, BarrierKind kind,
                                  BarrierType type) {
    product.BarrierType = type;
    product.BarrierLevel = type == BarrierType::DOWN ? 80.0f : 120.0f;
    return fill(product, kind);
}

/// What is paid at the end for levels at the two observations and at maturity.
double paid(ICashFlow& product, double first, double second, double last) {
    EXPECT_TRUE(product.build());
    EncodedReader reader(*product.encoded);
    reader.fixings = {
        {"AAA@2025-03-31", first}, {"AAA@2025-06-30", second}, {"AAA@2025-12-31", last}};
    return reader.flows().at("2025-12-31");
}

TEST(BarrierOption, AKnockInPaysOptionOrRebate) {
    BarrierOptionExample product;
    fill_single(product, BarrierKind::KNOCK_IN, BarrierType::DOWN).Schedule = {"2025-06-30"};
    EXPECT_EQ(text_of(product),
              "0 7 1 3\n"
              "a 0 28 AAA,2025-06-30,\n"
              "a 1 30 BarrierLevel,80\n"
              "e 0 4 0,1\n"
              "a 4 28 AAA,2025-12-31,\n"
              "a 5 30 Strike,100\n"
              "a 3 5 4,5\n"
              "a 2 22 3,0\n"
              "c 1 5 2,2025-12-31,EUR,1\n"
              "a 6 30 Rebate,3\n"
              "c 2 5 6,2025-12-31,EUR,1\n"
              "c 0 1 0,1,2,0,0\n");
}

TEST(BarrierOption, EachKindAndTypeFollowsItsTable) {
    struct Row {
        BarrierKind kind;
        BarrierType type;
        double first, second;
        double paid;  // at a last level of 130
    };
    constexpr auto in = BarrierKind::KNOCK_IN;
    constexpr auto out = BarrierKind::KNOCK_OUT;
    constexpr auto down = BarrierType::DOWN;
    constexpr auto up = BarrierType::UP;
    Row const rows[] = {
        {in, down, 100, 100, 3}, {in, down, 79, 100, 30}, {in, down, 100, 79, 30},
        {in, down, 80, 80, 3},   {in, up, 100, 100, 3},   {in, up, 121, 100, 30},
        {in, up, 100, 121, 30},  {in, up, 120, 120, 3},   {out, down, 100, 100, 30},
        {out, down, 79, 100, 3}, {out, down, 100, 79, 3}, {out, down, 80, 80, 30},
        {out, up, 100, 100, 30}, {out, up, 121, 100, 3},  {out, up, 100, 121, 3},
        {out, up, 120, 120, 30},
    };
    for (auto const& [kind, type, first, second, expected] : rows) {
        BarrierOptionExample product;
        EXPECT_EQ(paid(fill_single(product, kind, type), first, second, 130.0), expected)
            << static_cast<int>(kind) << static_cast<int>(type) << ' ' << first << ' ' << second;
    }
}

TEST(BarrierOption, ThePutHasAFloorAtZero) {
    BarrierOptionExample product;
    fill_single(product, BarrierKind::KNOCK_OUT, BarrierType::UP).PayoffKind = PayoffKind::PUT_TYPE;
    EXPECT_EQ(paid(product, 100, 100, 90), 10.0);
    EXPECT_EQ(paid(product, 100, 100, 130), 0.0);
}

TEST(BarrierOption, WithoutDatesItPaysNothing) {
    BarrierOptionExample product;
    fill_single(product, BarrierKind::KNOCK_IN, BarrierType::DOWN).Schedule.clear();
    EXPECT_EQ(text_of(product), "0 0 0 1\nc 0 6 0\n");
}

TEST(BarrierOption, EnumerationsOutOfRangeAreRefused) {
    BarrierOptionExample kind;
    fill_single(kind, static_cast<BarrierKind>(2), BarrierType::DOWN);
    BarrierOptionExample type;
    fill_single(type, BarrierKind::KNOCK_IN, static_cast<BarrierType>(2));
    BarrierOptionExample payoff;
    fill_single(payoff, BarrierKind::KNOCK_IN, BarrierType::UP).PayoffKind =
        static_cast<PayoffKind>(2);
    for (auto* product : {&kind, &type, &payoff}) {
        EXPECT_THAT([&] { EXPECT_FALSE(product->build()); }, LogsError("Contract empty"));
    }
}

DoubleBarrierOptionExample& fill_double(DoubleBarrierOptionExample& product, BarrierKind kind) {
    product.LowerBarrierLevel = 90.0f;
    product.UpperBarrierLevel = 110.0f;
    return fill(product, kind);
}

TEST(DoubleBarrierOption, TheEventIsToBeInsideTheCorridor) {
    DoubleBarrierOptionExample product;
    fill_double(product, BarrierKind::KNOCK_IN).Schedule = {"2025-06-30"};
    EXPECT_EQ(text_of(product),
              "0 7 3 3\n"
              "a 0 28 AAA,2025-06-30,\n"
              "a 1 30 LowerBarrierLevel,90\n"
              "e 1 2 0,1\n"
              "a 2 30 UpperBarrierLevel,110\n"
              "e 2 4 0,2\n"
              "e 0 7 1,2\n"
              "a 4 28 AAA,2025-12-31,\n"
              "a 5 30 Strike,100\n"
              "a 3 5 4,5\n"
              "c 1 5 3,2025-12-31,EUR,1\n"
              "a 6 30 Rebate,3\n"
              "c 2 5 6,2025-12-31,EUR,1\n"
              "c 0 1 0,1,2,0,0\n");
}

TEST(DoubleBarrierOption, ThisOptionHasNoFloorAtZero) {
    DoubleBarrierOptionExample in;
    fill_double(in, BarrierKind::KNOCK_IN);
    EXPECT_EQ(paid(in, 100, 200, 70), -30.0);
    EXPECT_EQ(paid(in, 200, 100, 70), -30.0);
    EXPECT_EQ(paid(in, 110, 90, 70), 3.0);
    DoubleBarrierOptionExample out;
    fill_double(out, BarrierKind::KNOCK_OUT).PayoffKind = PayoffKind::PUT_TYPE;
    EXPECT_EQ(paid(out, 80, 200, 70), 30.0);
    EXPECT_EQ(paid(out, 80, 200, 130), -30.0);
    EXPECT_EQ(paid(out, 80, 100, 130), 3.0);
}

TEST(DoubleBarrierOption, WithoutDatesItPaysNothing) {
    DoubleBarrierOptionExample product;
    fill_double(product, BarrierKind::KNOCK_OUT).Schedule.clear();
    EXPECT_EQ(text_of(product), "0 0 0 1\nc 0 6 0\n");
}

}  // namespace
