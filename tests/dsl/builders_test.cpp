// Every builder function and operator against its operation code and payload.
#include <gtest/gtest.h>

#include "dsl/encoded_reader.hpp"
#include "ximAPI/dsl.hpp"

namespace {

using namespace ximDSL;
using ximTest::text_of;

/// "code payload" of an item whose children are the leaves A (number 1) and B (number 2).
std::string item_of(AmountPtr const& amount) {
    Encoded encoded;
    EXPECT_TRUE(Pay(amount, "d", "c")->encode(encoded));
    auto const& item = encoded.items[encoded.items.size() - 2];
    return std::to_string(item.op) + ' ' + item.payload.str();
}
std::string item_of(EventPtr const& event) {
    Encoded encoded;
    EXPECT_TRUE(If(event)(End())->encode(encoded));
    for (auto const& item : encoded.items) {
        if (item.tag == 'e' && item.id == 0)
            return std::to_string(item.op) + ' ' + item.payload.str();
    }
    return "none";
}
/// The last item: the root's.
std::string item_of(CashFlowPtr const& cashflow) {
    Encoded encoded;
    EXPECT_TRUE(cashflow->encode(encoded));
    auto const& item = encoded.items.back();
    return std::to_string(item.op) + ' ' + item.payload.str();
}

AmountPtr a() {
    return Spot("A", "d", "");
}
AmountPtr b() {
    return Spot("B", "d", "");
}
EventPtr e() {
    return a() > 1.0f;
}
CashFlowPtr flow() {
    return End();
}

TEST(Builders, LeavesCarryTheirFields) {
    EXPECT_EQ(item_of(Cst(0.5f)), "27 0.5");
    EXPECT_EQ(item_of(Cst(2)), "27 2");
    EXPECT_EQ(item_of(Cst(1.5)), "27 1.5");
    EXPECT_EQ(item_of(Spot("AAA", "2025-06-30", "EUR")), "28 AAA,2025-06-30,EUR");
    EXPECT_EQ(item_of(Spot("AAA", "2025-06-30", "")), "28 AAA,2025-06-30,");
    EXPECT_EQ(item_of(CstRef("Strike", 100.0f)), "30 Strike,100");
    EXPECT_EQ(item_of(AmountRef("Coupon")), "31 Coupon");
    EXPECT_EQ(item_of(Cst(true)), "21 1");
    EXPECT_EQ(item_of(Cst(false)), "21 0");
}

TEST(Builders, AnOperatorHasACodeForEachFormOfItsOperands) {
    struct Row {
        char const* name;
        AmountPtr (*both)();
        AmountPtr (*right)();
        AmountPtr (*left)();
        int codes[3];  // two amounts; amount and number; number and amount
    };
    // clang-format off
    Row const rows[] = {
        {"+",   [] { return a() + b(); },     [] { return a() + 2.0f; },     [] { return 2.0f + a(); },     {0, 20, 14}},
        {"/",   [] { return a() / b(); },     [] { return a() / 2.0f; },     [] { return 2.0f / a(); },     {1, 21, 15}},
        {"Max", [] { return Max(a(), b()); }, [] { return Max(a(), 2.0f); }, [] { return Max(2.0f, a()); }, {2, 22, 16}},
        {"Min", [] { return Min(a(), b()); }, [] { return Min(a(), 2.0f); }, [] { return Min(2.0f, a()); }, {3, 23, 17}},
        {"*",   [] { return a() * b(); },     [] { return a() * 2.0f; },     [] { return 2.0f * a(); },     {4, 24, 18}},
        {"-",   [] { return a() - b(); },     [] { return a() - 2.0f; },     [] { return 2.0f - a(); },     {5, 26, 19}},
    };
    // clang-format on
    for (auto const& [name, both, right, left, codes] : rows) {
        EXPECT_EQ(item_of(both()), std::to_string(codes[0]) + " 1,2") << name;
        EXPECT_EQ(item_of(right()), std::to_string(codes[1]) + " 1,2")
            << name;                                                            // child 1, number 2
        EXPECT_EQ(item_of(left()), std::to_string(codes[2]) + " 2,1") << name;  // number 2, child 1
    }
}

TEST(Builders, AComparisonHasACodeForEachFormOfItsOperands) {
    struct Row {
        char const* name;
        EventPtr (*both)();
        EventPtr (*right)();
        EventPtr (*left)();
        int codes[3];  // two amounts; amount and number; number and amount
    };
    // clang-format off
    Row const rows[] = {
        {"==", [] { return a() == b(); }, [] { return a() == 2.0f; }, [] { return 2.0f == a(); }, {1, 15, 9}},
        {">",  [] { return a() > b(); },  [] { return a() > 2.0f; },  [] { return 2.0f > a(); },  {2, 16, 10}},
        {">=", [] { return a() >= b(); }, [] { return a() >= 2.0f; }, [] { return 2.0f >= a(); }, {3, 17, 11}},
        {"<",  [] { return a() < b(); },  [] { return a() < 2.0f; },  [] { return 2.0f < a(); },  {4, 18, 12}},
        {"<=", [] { return a() <= b(); }, [] { return a() <= 2.0f; }, [] { return 2.0f <= a(); }, {4, 19, 13}},
        {"!=", [] { return a() != b(); }, [] { return a() != 2.0f; }, [] { return 2.0f != a(); }, {6, 20, 14}},
    };
    // clang-format on
    for (auto const& [name, both, right, left, codes] : rows) {
        EXPECT_EQ(item_of(both()), std::to_string(codes[0]) + " 0,1") << name;
        EXPECT_EQ(item_of(right()), std::to_string(codes[1]) + " 0,2") << name;
        EXPECT_EQ(item_of(left()), std::to_string(codes[2]) + " 2,0") << name;
    }
}

TEST(Builders, BetweenTwoAmountsLowerOrEqualDescribesTheStrictComparison) {
    EXPECT_EQ(item_of(a() <= b()), item_of(a() < b()));
    EXPECT_NE(item_of(a() <= 1.0f), item_of(a() < 1.0f));
}

TEST(Builders, FunctionsOfOneAmount) {
    EXPECT_EQ(item_of(Abs(a())), "6 1");
    EXPECT_EQ(item_of(Cos(a())), "7 1");
    EXPECT_EQ(item_of(Exp(a())), "8 1");
    EXPECT_EQ(item_of(Log(a())), "9 1");
    EXPECT_EQ(item_of(Sin(a())), "10 1");
    EXPECT_EQ(item_of(Sqrt(a())), "11 1");
    EXPECT_EQ(item_of(Tan(a())), "13 1");
    EXPECT_EQ(item_of(Pow(a(), 0.5f)), "25 1,0.5");
}

TEST(Builders, MinusOfAnAmountIsNotZeroMinusIt) {
    EXPECT_EQ(item_of(-a()), "12 1");
    EXPECT_EQ(item_of(0.0f - a()), "19 0,1");
}

TEST(Builders, PlusOfAnAmountIsTheSameNode) {
    auto const x = a();
    EXPECT_EQ((+x).get(), x.get());
}

TEST(Builders, EventsCombine) {
    EXPECT_EQ(item_of(e() && e()), "7 1,2");
    EXPECT_EQ(item_of(e() || e()), "8 1,2");
    EXPECT_EQ(item_of(!e()), "0 1");
}

TEST(Builders, CashFlowsCarryTheirFields) {
    EXPECT_EQ(item_of(Pay(a(), "2025-01-02", "EUR")), "5 0,2025-01-02,EUR,1");
    EXPECT_EQ(item_of(Pay(1.0f, "2025-01-02", "EUR")), "5 0,2025-01-02,EUR,1");
    EXPECT_EQ(item_of(Receive(a(), "2025-01-02", "EUR")), "5 0,2025-01-02,EUR,-1");
    EXPECT_EQ(item_of(Receive(1.0f, "2025-01-02", "EUR")), "5 0,2025-01-02,EUR,-1");
    EXPECT_EQ(item_of(Buy("2025-01-02", 2.5f, flow())), "4 2025-01-02,2.5,1,1");
    EXPECT_EQ(item_of(Buy("2025-01-02", flow())), "4 2025-01-02,1,1,1");
    EXPECT_EQ(item_of(Sell("2025-01-02", 2.5f, flow())), "4 2025-01-02,2.5,1,-1");
    EXPECT_EQ(item_of(Sell("2025-01-02", flow())), "4 2025-01-02,1,1,-1");
    EXPECT_EQ(item_of(Set("x", a())), "3 x,0");
    EXPECT_EQ(item_of(End()), "6 0");
    EXPECT_EQ(item_of(flow() & flow()), "0 1,2");
}

TEST(Builders, ACashFlowConditionStoresItsSpreadsAndAnAmountConditionNone) {
    EXPECT_EQ(item_of(If(e(), 0.01f)(flow(), flow())), "1 0,1,2,0.01,0.01");
    EXPECT_EQ(item_of(If(e(), 0.01f, 0.02f)(flow(), flow())), "1 0,1,2,0.01,0.02");
    EXPECT_EQ(item_of(If(e())(flow(), flow())), "1 0,1,2,0,0");
    EXPECT_EQ(item_of(If(e(), 0.01f)(a(), b())), "29 0,2,3");
}

TEST(Builders, AMissingBranchIsZeroOrEnd) {
    EXPECT_EQ(text_of(Pay(If(e())(5.0f), "d", "c")),
              text_of(Pay(If(e())(Cst(5.0f), Cst(0.0f)), "d", "c")));
    EXPECT_EQ(text_of(Pay(If(e())(a()), "d", "c")),
              text_of(Pay(If(e())(a(), Cst(0.0f)), "d", "c")));
    EXPECT_EQ(text_of(Pay(If(e())(a(), 7.0f), "d", "c")),
              text_of(Pay(If(e())(a(), Cst(7.0f)), "d", "c")));
    EXPECT_EQ(text_of(Pay(If(e())(7.0f, a()), "d", "c")),
              text_of(Pay(If(e())(Cst(7.0f), a()), "d", "c")));
    EXPECT_EQ(text_of(Pay(If(e())(7.0f, 8.0f), "d", "c")),
              text_of(Pay(If(e())(Cst(7.0f), Cst(8.0f)), "d", "c")));
    EXPECT_EQ(text_of(If(e(), 0.5f)(flow())), text_of(If(e(), 0.5f)(flow(), End())));
}

TEST(Builders, TheOwnerOfAChoiceIsAFlag) {
    EXPECT_EQ(text_of(Either("d", 7)({End()})), "0 0 0 2\nc 0 2 1,d,1\nc 1 6 0\n");
    EXPECT_EQ(text_of(Either("d", 0)({End()})), "0 0 0 2\nc 0 2 0,d,1\nc 1 6 0\n");
}

TEST(Builders, NumbersAreIn32BitsFromTheStart) {
    // 16777217 is not a 32-bit float: its neighbours are 16777216 and 16777218.
    EXPECT_EQ(item_of(Cst(static_cast<float>(16777217))), item_of(Cst(16777216.0f)));
}

TEST(Builders, NodesAreNumberedDepthFirstFromTheRoot) {
    EXPECT_EQ(text_of(If(a() > b() && e(), 0.0f)(Pay(a(), "d", "c"), Set("n", b()))),
              "0 5 3 3\n"
              "a 0 28 A,d,\n"
              "a 1 28 B,d,\n"
              "e 1 2 0,1\n"
              "a 2 28 A,d,\n"
              "e 2 16 2,1\n"
              "e 0 7 1,2\n"
              "a 3 28 A,d,\n"
              "c 1 5 3,d,c,1\n"
              "a 4 28 B,d,\n"
              "c 2 3 n,4\n"
              "c 0 1 0,1,2,0,0\n");
}

}  // namespace
