#include "ximAPI/products/autocall.hpp"

#include <gtest/gtest.h>

#include "dsl/encoded_reader.hpp"
#include "support/matchers.hpp"

namespace {

using namespace ximAPI;
using Flows = std::map<std::string, double>;
using ximTest::EncodedReader;
using ximTest::LogsError;
using ximTest::text_of;

/// An observation at the end of June of the year, paid in July: 105 at 100 percent, no bonus
/// coupon.
Autocall::ScheduleStatement observation(int year) {
    Autocall::ScheduleStatement s;
    s.ObservationDate = std::to_string(year) + "-06-30";
    s.PaymentDate = std::to_string(year) + "-07-05";
    s.PaymentCurrency = "EUR";
    s.Notional = 1000.0f;
    s.BarrierKind = BarrierKind::KNOCK_OUT;
    s.AutocallBarrier = 100.0f;
    s.PhoenixCoupon = 105.0f;
    return s;
}

/// One observation per year from 2025 on AAA since 2024-06-30.
Autocall& fill(Autocall& product, int nb_years) {
    for (int year = 0; year < nb_years; ++year)
        product.Schedule.push_back(observation(2025 + year));
    product.Basket = {{"AAA", 100.0f}};
    product.ForwardStartDate = "2024-06-30";
    return product;
}

/// The payments for performances of AAA at the observations.
Flows flows_of(Autocall& product, std::vector<double> const& performances) {
    EXPECT_TRUE(product.build());
    EncodedReader reader(*product.encoded);
    reader.fixings["AAA@2024-06-30"] = 200.0;
    auto year = 2025;
    for (auto const p : performances)
        reader.fixings["AAA@" + std::to_string(year++) + "-06-30"] = 200.0 * p;
    return reader.flows();
}

TEST(Autocall, OneDateIsARedemptionOrCouponAndFinalPayment) {
    Autocall product;
    fill(product, 1);
    product.BasketKind = BasketKind::WORST_OF;
    product.Schedule[0].AutocallBarrierSpreadLeft = 2.0f;
    product.Schedule[0].AutocallBarrierSpreadRight = 1.0f;
    product.Schedule[0].BonusCoupon = 4.0f;
    product.Schedule[0].CouponBarrier = 80.0f;
    product.FinalPayment = {{0.0f, 0.0f}, {1.0f, 100.0f}};
    EXPECT_EQ(text_of(product),
              "0 23 2 7\n"
              // p >= A
              "a 1 28 AAA,2025-06-30,\n"
              "a 2 28 AAA,2024-06-30,\n"
              "a 0 1 1,2\n"
              "a 4 30 AutocallBarrier,100\n"
              "a 3 18 0.01,4\n"
              "e 0 3 0,3\n"
              // N * P
              "a 6 30 Notional,1000\n"
              "a 8 30 PhoenixCoupon,105\n"
              "a 7 18 0.01,8\n"
              "a 5 4 6,7\n"
              "c 1 5 5,2025-07-05,EUR,1\n"
              // p >= C
              "a 10 28 AAA,2025-06-30,\n"
              "a 11 28 AAA,2024-06-30,\n"
              "a 9 1 10,11\n"
              "a 13 30 CouponBarrier,80\n"
              "a 12 18 0.01,13\n"
              "e 1 3 9,12\n"
              // N * B
              "a 16 30 BonusCoupon,4\n"
              "a 15 18 0.01,16\n"
              "a 14 4 6,15\n"
              "c 4 5 14,2025-07-05,EUR,1\n"
              "c 5 6 0\n"
              "c 3 1 1,4,5,0,0\n"
              // 0 + 100 * (p - 0)
              "a 21 28 AAA,2025-06-30,\n"
              "a 22 28 AAA,2024-06-30,\n"
              "a 20 1 21,22\n"
              "a 19 26 20,0\n"
              "a 18 18 100,19\n"
              "a 17 14 0,18\n"
              "c 6 5 17,2025-07-05,EUR,1\n"
              "c 2 0 3,6\n"
              "c 0 1 0,1,2,0.02,0.01\n");
}

TEST(Autocall, RedeemsOnTheFirstDateAtOrAboveTheBarrier) {
    Autocall product;
    fill(product, 3).FinalPayment = {{0.0f, 0.0f}, {1.0f, 1000.0f}};
    EXPECT_EQ(flows_of(product, {1.0, 2.0, 2.0}), (Flows{{"2025-07-05", 1050.0}}));
    EXPECT_EQ(flows_of(product, {0.99, 1.5, 2.0}), (Flows{{"2026-07-05", 1050.0}}));
    EXPECT_EQ(flows_of(product, {0.5, 0.5, 0.5}), (Flows{{"2027-07-05", 500.0}}));
}

TEST(Autocall, AKnockInTriggersStrictlyBelowTheBarrier) {
    Autocall product;
    fill(product, 1).Schedule[0].BarrierKind = BarrierKind::KNOCK_IN;
    EXPECT_EQ(flows_of(product, {1.0}), Flows{});
    EXPECT_EQ(flows_of(product, {0.99}), (Flows{{"2025-07-05", 1050.0}}));
    EXPECT_NE(text_of(product).find("\ne 0 4 0,6\n"), std::string::npos);
}

TEST(Autocall, ABonusCouponIsPaidAboveItsBarrierUnlessRedeemed) {
    Autocall product;
    fill(product, 2);
    for (auto& s : product.Schedule) {
        s.BonusCoupon = 2.0f;
        s.CouponBarrier = 80.0f;
    }
    EXPECT_EQ(flows_of(product, {0.85, 0.7}), (Flows{{"2025-07-05", 20.0}}));
    EXPECT_EQ(flows_of(product, {0.85, 1.1}),
              (Flows{{"2025-07-05", 20.0}, {"2026-07-05", 1050.0}}));
    EXPECT_EQ(flows_of(product, {0.7, 0.85}), (Flows{{"2026-07-05", 20.0}}));
}

TEST(Autocall, ADateWithoutBonusCouponHasNoCouponNode) {
    Autocall product;
    fill(product, 1).Schedule[0].CouponBarrierSpreadLeft = 5.0f;
    ASSERT_TRUE(product.build());
    EncodedReader const reader(*product.encoded);
    EXPECT_EQ(reader.count('e'), 1u);
    EXPECT_EQ(reader.count('c'), 5u);  // the condition, the redemption, "&", two End
}

TEST(Autocall, APaymentLeavesTheMemoryAsItIs) {
    Autocall product;
    fill(product, 3).BonusCouponWithMemory = true;
    for (auto& s : product.Schedule) {
        s.BonusCoupon = 2.0f;
        s.CouponBarrier = 80.0f;
    }
    auto const paid = flows_of(product, {0.7, 0.85, 0.85});
    ASSERT_EQ(paid.size(), 2u);
    EXPECT_NEAR(paid.at("2026-07-05"), 1000.0 * (0.02 + 0.02), 1e-9);
    EXPECT_NEAR(paid.at("2027-07-05"), 1000.0 * (0.02 + 0.02), 1e-9);
    EXPECT_NEAR(flows_of(product, {0.7, 0.7, 0.85}).at("2027-07-05"), 1000.0 * 0.06, 1e-9);
}

TEST(Autocall, TheMemoryStartsAtZeroInFrontOfTheContract) {
    Autocall product;
    fill(product, 1).BonusCouponWithMemory = true;
    ASSERT_TRUE(product.build());
    EncodedReader const reader(*product.encoded);
    EXPECT_EQ(reader.root().op, 0);
    EXPECT_EQ(reader.at('c', 1).op, 3);
    EXPECT_EQ(reader.at('c', 1).fields, (std::vector<std::string>{"BonusCoupon", "0"}));
    EXPECT_EQ(reader.amount(0), 0.0);
}

TEST(Autocall, AllWeightsOfABasketShareTheirName) {
    Autocall product;
    fill(product, 1).Basket = {{"AAA", 50.0f}, {"BBB", 50.0f}};
    auto const text = text_of(product);
    EXPECT_NE(text.find("a 3 30 Weight,50\na 2 18 0.01,3\na 5 28 AAA,2025-06-30,\na 6 28 "
                        "AAA,2024-06-30,\na 4 1 5,6\na 1 4 2,4\n"),
              std::string::npos)
        << text;
    std::size_t weights = 0;
    for (auto at = text.find(" 30 Weight,50\n"); at != std::string::npos;
         at = text.find(" 30 Weight,50\n", at + 1))
        ++weights;
    EXPECT_EQ(weights, 2u);
}

TEST(Autocall, BestAndWorstOfTakeOnePerformance) {
    for (auto const& [kind, redeemed] :
         {std::pair{BasketKind::BEST_OF, true}, {BasketKind::WORST_OF, false}}) {
        Autocall product;
        fill(product, 1).Basket = {{"AAA", 50.0f}, {"BBB", 50.0f}};
        product.BasketKind = kind;
        ASSERT_TRUE(product.build());
        EncodedReader reader(*product.encoded);
        reader.fixings = {{"AAA@2024-06-30", 200.0},
                          {"BBB@2024-06-30", 50.0},
                          {"AAA@2025-06-30", 210.0},
                          {"BBB@2025-06-30", 45.0}};
        EXPECT_EQ(reader.flows().size(), redeemed ? 1u : 0u);
    }
}

/// What is paid at the end at a performance, with an autocall barrier out of reach.
double final_payment(std::vector<Autocall::Point> const& points, double performance) {
    Autocall product;
    fill(product, 1).FinalPayment = points;
    product.Schedule[0].AutocallBarrier = 1e6f;
    auto const paid = flows_of(product, {performance});
    return paid.empty() ? std::nan("") : paid.at("2025-07-05");
}

TEST(FinalPayment, FewerThanTwoPointsPayNothing) {
    EXPECT_TRUE(std::isnan(final_payment({}, 1.0)));
    EXPECT_TRUE(std::isnan(final_payment({{1.0f, 5.0f}}, 1.0)));
}

TEST(FinalPayment, TwoPointsAreOneStraightLine) {
    for (auto const p : {0.0, 0.5, 1.0, 1.5})
        EXPECT_EQ(final_payment({{0.0f, 0.0f}, {1.0f, 100.0f}}, p), 100.0 * p);
}

TEST(FinalPayment, SegmentsAndJumpsFollowThePoints) {
    // 0 to 0.5: from 10 to 20; a jump to 100; 0.5 to 1: flat; on to the right: up by 100 per 1.
    std::vector<Autocall::Point> const points = {
        {0.0f, 10.0f}, {0.5f, 20.0f}, {0.5f, 100.0f}, {1.0f, 100.0f}, {2.0f, 200.0f}};
    EXPECT_DOUBLE_EQ(final_payment(points, -0.5), 0.0);
    EXPECT_DOUBLE_EQ(final_payment(points, 0.25), 15.0);
    EXPECT_DOUBLE_EQ(final_payment(points, 0.75), 100.0);
    EXPECT_DOUBLE_EQ(final_payment(points, 1.5), 150.0);
    EXPECT_DOUBLE_EQ(final_payment(points, 3.0), 300.0);
    // Exactly on an inner point neither neighbour fires: the last segment takes it.
    EXPECT_DOUBLE_EQ(final_payment(points, 0.5), 50.0);
}

TEST(FinalPayment, AJumpAtTheStartSkipsItsSegment) {
    std::vector<Autocall::Point> const points = {
        {0.5f, 10.0f}, {0.5f, 100.0f}, {1.0f, 100.0f}, {2.0f, 200.0f}};
    EXPECT_DOUBLE_EQ(final_payment(points, 0.75), 100.0);
    EXPECT_DOUBLE_EQ(final_payment(points, 0.25),
                     25.0);  // left of the first point only the last segment is there
}

TEST(FinalPayment, AJumpAtTheEndIsRefused) {
    Autocall product;
    fill(product, 1).FinalPayment = {{0.0f, 0.0f}, {1.0f, 1.0f}, {1.0f, 2.0f}};
    EXPECT_THAT([&] { EXPECT_FALSE(product.build()); },
                LogsError("Final payment ends with a jump"));
    EXPECT_EQ(product.encoded, nullptr);
}

TEST(Autocall, TermsWithoutAContractAreRefused) {
    Autocall without_dates;
    fill(without_dates, 0);
    Autocall without_items;
    fill(without_items, 1).Basket.clear();
    Autocall rainbow;
    fill(rainbow, 1).BasketKind = BasketKind::RAINBOW;
    Autocall unknown_kind;
    fill(unknown_kind, 2).Schedule[1].BarrierKind = static_cast<BarrierKind>(2);
    for (auto* product : {&without_dates, &without_items, &rainbow, &unknown_kind}) {
        EXPECT_THAT([&] { EXPECT_FALSE(product->build()); }, LogsError("Cannot build autocall"));
        EXPECT_EQ(product->encoded, nullptr);
    }
}

TEST(Autocall, AVeryLongScheduleIsBuilt) {
    Autocall product;
    fill(product, 1);
    product.Schedule.assign(20'000, observation(2025));
    EXPECT_TRUE(product.build());
}

}  // namespace
