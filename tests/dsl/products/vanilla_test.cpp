#include "ximAPI/products/vanilla.hpp"

#include <gtest/gtest.h>

#include "dsl/encoded_reader.hpp"
#include "support/matchers.hpp"

namespace {

using namespace ximAPI;
using ximTest::EncodedReader;
using ximTest::LogsError;
using ximTest::text_of;

/// 2 * (3 + 0.5 * S) on AAA at the end of June 2025, without names.
Vanilla::CliquetItem item() {
    Vanilla::CliquetItem made;
    made.CashValue = 2.0f;
    made.DeltaValue = 0.5f;
    made.NotionalValue = 3.0f;
    made.FixingDate = "2025-06-30";
    made.PaymentCurrency = "EUR";
    made.PaymentDate = "2025-07-02";
    made.Ticker = "AAA";
    return made;
}

Vanilla::Payoff payoff(std::vector<Vanilla::Point> points) {
    return {"2025-01-02", "", 1.0f, std::move(points)};
}

/// What is paid at the level, with a level of 100 at the strike date.
double paid(Vanilla::CliquetItem const& terms, double level) {
    Vanilla product;
    product.Cliquet = {terms};
    EXPECT_TRUE(product.build());
    EncodedReader reader(*product.encoded);
    reader.fixings = {{"AAA@2025-06-30", level}, {"AAA@2025-01-02", 100.0}};
    return reader.flows().at("2025-07-02");
}

TEST(Vanilla, AnItemPaysCashTimesALinearFunction) {
    Vanilla product;
    product.Cliquet = {item()};
    EXPECT_EQ(text_of(product),
              "0 7 0 1\n"
              "a 1 27 2\n"
              "a 3 27 3\n"
              "a 5 27 0.5\n"
              "a 6 28 AAA,2025-06-30,\n"
              "a 4 4 5,6\n"
              "a 2 0 3,4\n"
              "a 0 4 1,2\n"
              "c 0 5 0,2025-07-02,EUR,1\n");
    EXPECT_EQ(paid(item(), 120.0), 2.0 * (3.0 + 0.5 * 120.0));
}

TEST(Vanilla, ANameMakesAReferenceAndIsShared) {
    Vanilla product;
    product.Cliquet = {item()};
    product.Cliquet[0].CashName = "cash";
    product.Cliquet[0].Options = {{PayoffKind::CALL_TYPE, "", 1.0f, "K", 100.0f},
                                  {PayoffKind::PUT_TYPE, "q", 4.0f, "K", 100.0f}};
    EXPECT_EQ(text_of(product),
              "0 19 0 1\n"
              "a 1 30 cash,2\n"
              "a 5 27 3\n"
              "a 7 27 0.5\n"
              "a 8 28 AAA,2025-06-30,\n"
              "a 6 4 7,8\n"
              "a 4 0 5,6\n"
              "a 10 27 1\n"
              "a 13 30 K,100\n"
              "a 12 5 8,13\n"
              "a 11 22 12,0\n"
              "a 9 4 10,11\n"
              "a 3 0 4,9\n"
              "a 15 30 q,4\n"
              "a 18 30 K,100\n"
              "a 17 5 18,8\n"
              "a 16 22 17,0\n"
              "a 14 4 15,16\n"
              "a 2 0 3,14\n"
              "a 0 4 1,2\n"
              "c 0 5 0,2025-07-02,EUR,1\n");
    EXPECT_EQ(paid(product.Cliquet[0], 120.0), 2.0 * (63.0 + 20.0));
    EXPECT_EQ(paid(product.Cliquet[0], 90.0), 2.0 * (48.0 + 4.0 * 10.0));
}

TEST(Vanilla, ReceivingTurnsTheSign) {
    auto terms = item();
    terms.Direction = Vanilla::Direction::REC;
    EXPECT_EQ(paid(terms, 120.0), -126.0);
}

TEST(Vanilla, ItemsAreJoinedInOrder) {
    Vanilla product;
    product.Cliquet = {item(), item(), item()};
    product.Cliquet[1].PaymentDate = "2025-07-03";
    product.Cliquet[2].PaymentDate = "2025-07-04";
    ASSERT_TRUE(product.build());
    EncodedReader const reader(*product.encoded);
    EXPECT_EQ(reader.root().fields, (std::vector<std::string>{"1", "4"}));
    EXPECT_EQ(reader.at('c', 4).fields[1], "2025-07-04");
    EXPECT_EQ(reader.at('c', 1).op, 0);
}

TEST(Vanilla, TwoPointsMakeThreeTermsOfOneStraightLine) {
    Vanilla product;
    product.Cliquet = {item()};
    product.Cliquet[0].Payoffs = {payoff({{0.8f, 10.0f}, {1.2f, 30.0f}})};
    ASSERT_TRUE(product.build());
    EncodedReader const reader(*product.encoded);
    std::vector<int> events;
    for (int id = 0; id < static_cast<int>(reader.count('e')); ++id)
        events.push_back(reader.at('e', id).op);
    EXPECT_EQ(events,
              (std::vector<int>{19, 7, 17, 19, 17}));  // P <= x0; P >= x0 && P <= x1; P >= x1
    for (auto const level : {50.0, 90.0, 110.0, 150.0}) {
        EXPECT_NEAR(paid(product.Cliquet[0], level),
                    2.0 * (3.0 + 0.5 * level + 10.0 + 50.0 * (level / 100.0 - 0.8)), 1e-3)
            << level;
    }
}

TEST(Vanilla, APerformanceExactlyOnAPointCountsInBothSegments) {
    auto terms = item();
    terms.Payoffs = {payoff({{0.5f, 10.0f}, {1.0f, 10.0f}, {1.5f, 10.0f}})};
    EXPECT_DOUBLE_EQ(paid(terms, 75.0), 2.0 * (3.0 + 37.5 + 10.0));
    EXPECT_DOUBLE_EQ(paid(terms, 100.0), 2.0 * (3.0 + 50.0 + 20.0));
}

TEST(Vanilla, AnInnerJumpSkipsItsSegment) {
    auto terms = item();
    terms.Payoffs = {payoff({{0.5f, 0.0f}, {1.0f, 10.0f}, {1.0f, 40.0f}, {1.5f, 50.0f}})};
    EXPECT_DOUBLE_EQ(paid(terms, 75.0), 2.0 * (3.0 + 37.5 + 5.0));
    EXPECT_DOUBLE_EQ(paid(terms, 125.0), 2.0 * (3.0 + 62.5 + 45.0));
    EXPECT_DOUBLE_EQ(paid(terms, 200.0), 2.0 * (3.0 + 100.0 + 60.0));
    EXPECT_DOUBLE_EQ(paid(terms, 25.0), 2.0 * (3.0 + 12.5 - 5.0));
}

TEST(Vanilla, AJumpAtTheStartOrTheEndIsRefused) {
    for (auto const& points :
         {std::vector<Vanilla::Point>{{1.0f, 0.0f}, {1.0f, 1.0f}, {2.0f, 1.0f}},
          {{0.0f, 0.0f}, {1.0f, 1.0f}, {1.0f, 2.0f}},
          {{1.0f, 0.0f}, {1.0f, 1.0f}}}) {
        Vanilla product;
        product.Cliquet = {item()};
        product.Cliquet[0].Payoffs = {payoff(points)};
        EXPECT_THAT([&] { EXPECT_FALSE(product.build()); },
                    LogsError("Payoff starts or ends with a jump"));
        EXPECT_EQ(product.encoded, nullptr);
    }
}

TEST(Vanilla, APayoffOfOnePointAddsNothing) {
    Vanilla plain;
    plain.Cliquet = {item()};
    Vanilla with_point;
    with_point.Cliquet = {item()};
    with_point.Cliquet[0].Payoffs = {payoff({{1.0f, 5.0f}}), payoff({})};
    EXPECT_EQ(text_of(with_point), text_of(plain));
}

TEST(Vanilla, AnItemOfZerosStillHoldsItsFixing) {
    Vanilla::CliquetItem zero;
    zero.Ticker = "AAA";
    zero.FixingDate = "2025-06-30";
    zero.PaymentDate = "2025-07-02";
    EXPECT_EQ(paid(zero, 120.0), 0.0);
    Vanilla product;
    product.Cliquet = {zero};
    EXPECT_NE(text_of(product).find(" 28 AAA,2025-06-30,\n"), std::string::npos);
}

TEST(Vanilla, WithoutItemsThereIsNoContract) {
    Vanilla product;
    EXPECT_THAT([&] { EXPECT_FALSE(product.build()); }, LogsError("Contract empty"));
}

TEST(Vanilla, AVeryLongListIsBuilt) {
    Vanilla product;
    product.Cliquet.assign(20'000, item());
    EXPECT_TRUE(product.build());
}

}  // namespace
