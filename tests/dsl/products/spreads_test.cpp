#include <gtest/gtest.h>

#include "dsl/encoded_reader.hpp"
#include "support/matchers.hpp"
#include "ximAPI/products/examples.hpp"

namespace {

using namespace ximAPI;
using ximTest::EncodedReader;
using ximTest::LogsError;
using ximTest::text_of;

double call(double x, double k) {
    return std::max(x - k, 0.0);
}
double put(double x, double k) {
    return std::max(k - x, 0.0);
}

/// Expects the product, with these terms, to pay what the formula says at maturity, for levels all
/// over the strikes.
template <class Product, class Formula>
void expect_payoff(Product& product, Formula const& formula) {
    product.Ticker = "AAA";
    product.PaymentCurrency = "EUR";
    product.MaturityDate = "2025-06-30";
    ASSERT_TRUE(product.build());
    EncodedReader reader(*product.encoded);
    for (auto const x : {50.0, 80.0, 85.0, 90.0, 95.0, 100.0, 105.0, 110.0, 115.0, 120.0, 150.0}) {
        reader.fixings = {{"AAA@2025-06-30", x}};
        EXPECT_EQ(reader.flows(), (std::map<std::string, double>{{"2025-06-30", formula(x)}})) << x;
    }
}

TEST(SpreadOption, BothLegsArePaid) {
    SpreadOptionExample spread;
    spread.StrikeLeft = 90.0f;
    spread.StrikeRight = 110.0f;
    expect_payoff(spread, [](double x) { return call(x, 90) + call(x, 110); });
    EXPECT_EQ(text_of(spread),
              "0 7 0 3\n"
              "a 2 28 AAA,2025-06-30,\n"
              "a 3 30 StrikeLeft,90\n"
              "a 1 5 2,3\n"
              "a 0 22 1,0\n"
              "c 1 5 0,2025-06-30,EUR,1\n"
              "a 6 30 StrikeRight,110\n"
              "a 5 5 2,6\n"
              "a 4 22 5,0\n"
              "c 2 5 4,2025-06-30,EUR,1\n"
              "c 0 0 1,2\n");
    spread.PayoffKind = PayoffKind::PUT_TYPE;
    expect_payoff(spread, [](double x) { return put(x, 90) + put(x, 110); });
}

TEST(ButterflySpread, IsLongTheWingsAndTwiceShortTheCentre) {
    ButterflySpreadOptionExample spread;
    spread.StrikeLeft = 90.0f;
    spread.StrikeCenter = 100.0f;
    spread.StrikeRight = 110.0f;
    expect_payoff(spread, [](double x) { return call(x, 90) - 2 * call(x, 100) + call(x, 110); });
    EXPECT_EQ(text_of(spread),
              "0 13 0 5\n"
              "a 3 28 AAA,2025-06-30,\n"
              "a 4 30 StrikeLeft,90\n"
              "a 2 5 3,4\n"
              "a 1 22 2,0\n"
              "a 0 18 1,1\n"
              "c 2 5 0,2025-06-30,EUR,1\n"
              "a 8 30 StrikeCenter,100\n"
              "a 7 5 3,8\n"
              "a 6 22 7,0\n"
              "a 5 18 2,6\n"
              "c 3 5 5,2025-06-30,EUR,-1\n"
              "c 1 0 2,3\n"
              "a 12 30 StrikeRight,110\n"
              "a 11 5 3,12\n"
              "a 10 22 11,0\n"
              "a 9 18 1,10\n"
              "c 4 5 9,2025-06-30,EUR,1\n"
              "c 0 0 1,4\n");
    spread.PayoffKind = PayoffKind::PUT_TYPE;
    expect_payoff(spread, [](double x) { return put(x, 90) - 2 * put(x, 100) + put(x, 110); });
}

TEST(CondorSpread, IsLongTheExtremesAndShortTheInnerStrikes) {
    CondorSpreadExample spread;
    spread.StrikeExtremeLeft = 80.0f;
    spread.StrikeLeft = 90.0f;
    spread.StrikeRight = 110.0f;
    spread.StrikeExtremeRight = 120.0f;
    expect_payoff(spread,
                  [](double x) { return call(x, 80) - call(x, 90) - call(x, 110) + call(x, 120); });
    EXPECT_EQ(text_of(spread),
              "0 13 0 7\n"
              "a 2 28 AAA,2025-06-30,\n"
              "a 3 30 StrikeExtremeLeft,80\n"
              "a 1 5 2,3\n"
              "a 0 22 1,0\n"
              "c 3 5 0,2025-06-30,EUR,1\n"
              "a 6 30 StrikeLeft,90\n"
              "a 5 5 2,6\n"
              "a 4 22 5,0\n"
              "c 4 5 4,2025-06-30,EUR,-1\n"
              "c 2 0 3,4\n"
              "a 9 30 StrikeRight,110\n"
              "a 8 5 2,9\n"
              "a 7 22 8,0\n"
              "c 5 5 7,2025-06-30,EUR,-1\n"
              "c 1 0 2,5\n"
              "a 12 30 StrikeExtremeRight,120\n"
              "a 11 5 2,12\n"
              "a 10 22 11,0\n"
              "c 6 5 10,2025-06-30,EUR,1\n"
              "c 0 0 1,6\n");
    spread.PayoffKind = PayoffKind::PUT_TYPE;
    expect_payoff(spread,
                  [](double x) { return put(x, 80) - put(x, 90) - put(x, 110) + put(x, 120); });
}

TEST(RiskReversal, IsLongTheCallAndShortThePutWhateverTheKind) {
    RiskReversalExample product;
    product.PutStrike = 90.0f;
    product.CallStrike = 110.0f;
    for (auto const kind :
         {PayoffKind::CALL_TYPE, PayoffKind::PUT_TYPE, static_cast<PayoffKind>(5)}) {
        product.PayoffKind = kind;
        expect_payoff(product, [](double x) { return call(x, 110) - put(x, 90); });
    }
    EXPECT_EQ(text_of(product),
              "0 7 0 3\n"
              "a 2 30 PutStrike,90\n"
              "a 3 28 AAA,2025-06-30,\n"
              "a 1 5 2,3\n"
              "a 0 22 1,0\n"
              "c 1 5 0,2025-06-30,EUR,-1\n"
              "a 6 30 CallStrike,110\n"
              "a 5 5 3,6\n"
              "a 4 22 5,0\n"
              "c 2 5 4,2025-06-30,EUR,1\n"
              "c 0 0 1,2\n");
}

TEST(Strangle, IsLongTheCallAndThePut) {
    StrangleExample product;
    product.PutStrike = 90.0f;
    product.CallStrike = 110.0f;
    expect_payoff(product, [](double x) { return call(x, 110) + put(x, 90); });
    EXPECT_EQ(text_of(product),
              "0 7 0 3\n"
              "a 2 30 PutStrike,90\n"
              "a 3 28 AAA,2025-06-30,\n"
              "a 1 5 2,3\n"
              "a 0 22 1,0\n"
              "c 1 5 0,2025-06-30,EUR,1\n"
              "a 6 30 CallStrike,110\n"
              "a 5 5 3,6\n"
              "a 4 22 5,0\n"
              "c 2 5 4,2025-06-30,EUR,1\n"
              "c 0 0 1,2\n");
}

TEST(Straddle, IsLongTheCallAndThePutAtOneStrike) {
    StraddleExample product;
    product.Strike = 100.0f;
    expect_payoff(product, [](double x) { return std::abs(x - 100.0); });
    EXPECT_EQ(text_of(product),
              "0 6 0 3\n"
              "a 2 30 Strike,100\n"
              "a 3 28 AAA,2025-06-30,\n"
              "a 1 5 2,3\n"
              "a 0 22 1,0\n"
              "c 1 5 0,2025-06-30,EUR,1\n"
              "a 5 5 3,2\n"
              "a 4 22 5,0\n"
              "c 2 5 4,2025-06-30,EUR,1\n"
              "c 0 0 1,2\n");
}

TEST(ReverseConvertible, PaysTheCouponAboveTheStrikeAndItsShareBelow) {
    ReverseConvertibleExample product;
    product.Strike = 100.0f;
    product.Coupon = 110.0f;
    // 110 / 100 in 32 bits, with six digits in the contract: 1.1.
    expect_payoff(product, [](double x) { return x > 100.0 ? 110.0 : 1.1 * x; });
    EXPECT_EQ(text_of(product),
              "0 3 1 3\n"
              "a 0 28 AAA,2025-06-30,\n"
              "e 0 16 0,100\n"
              "a 1 27 110\n"
              "c 1 5 1,2025-06-30,EUR,1\n"
              "a 2 18 1.1,0\n"
              "c 2 5 2,2025-06-30,EUR,1\n"
              "c 0 1 0,1,2,0,0\n");
}

TEST(BarrierReverseConvertible, ComparesTheSpotToTheBarrierAndPaysTheShareOfTheStrike) {
    BarrierReverseConvertibleExample product;
    product.Strike = 100.0f;
    product.Coupon = 110.0f;
    product.BarrierLevel = 80.0f;
    expect_payoff(product, [](double x) { return x > 80.0 ? 110.0 : 1.1 * x; });
    EXPECT_EQ(text_of(product),
              "0 3 1 3\n"
              "a 0 28 AAA,2025-06-30,\n"
              "e 0 16 0,80\n"
              "a 1 27 110\n"
              "c 1 5 1,2025-06-30,EUR,1\n"
              "a 2 18 1.1,0\n"
              "c 2 5 2,2025-06-30,EUR,1\n"
              "c 0 1 0,1,2,0,0\n");
}

TEST(ReverseConvertible, WithoutStrikeItIsRefused) {
    ReverseConvertibleExample plain;
    plain.Coupon = 110.0f;
    BarrierReverseConvertibleExample with_barrier;
    with_barrier.Coupon = 110.0f;
    with_barrier.BarrierLevel = 80.0f;
    for (ICashFlow* product : std::initializer_list<ICashFlow*>{&plain, &with_barrier}) {
        EXPECT_THAT([&] { EXPECT_FALSE(product->build()); },
                    LogsError("Reverse convertible without strike"));
        EXPECT_EQ(product->encoded, nullptr);
    }
}

}  // namespace
