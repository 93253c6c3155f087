#include "dsl/encoded_reader.hpp"
#include "support/matchers.hpp"
#include "ximAPI/cashflow.hpp"
#include "ximAPI/observable.hpp"

namespace {

using namespace ximAPI;
using ximTest::LogsError;
using ximTest::LogsNothing;
using ximTest::text_of;

TEST(Console, BlanksQuotesAndLineBreaksAreDecoration) {
    Console plain("Pay(1,2025-06-30,EUR)");
    Console quoted("Pay ( 1 , \"2025-06-30\" , \"EUR\" )");
    Console broken("P a y(\n\t1,\r\n20 25-06\v-30,\f\"E\"UR\n)\n");
    EXPECT_EQ(text_of(quoted), text_of(plain));
    EXPECT_EQ(text_of(broken), text_of(plain));
    EXPECT_EQ(text_of(plain), "0 1 0 1\na 0 27 1\nc 0 5 0,2025-06-30,EUR,1\n");
}

TEST(Console, BuildsTheSameTwice) {
    Console console("Pay(1+2,2025-06-30,EUR)&End()");
    auto const first = text_of(console);
    EXPECT_EQ(text_of(console), first);
}

TEST(Console, ARejectedScriptIsSilentAndLeavesNoForm) {
    for (auto const* script : {"", "  \n", "Pay(1,2025-06-30)", "nonsense"}) {
        Console console("End()");
        ASSERT_TRUE(console.build());
        console.script = script;
        EXPECT_THAT([&] { EXPECT_FALSE(console.build()); }, LogsNothing()) << script;
        EXPECT_EQ(console.encoded, nullptr) << script;
    }
}

TEST(CashFlow, BuildsFromATree) {
    CashFlow form(ximDSL::Pay(1.0f, "2025-06-30", "EUR"));
    EXPECT_EQ(text_of(form), "0 1 0 1\na 0 27 1\nc 0 5 0,2025-06-30,EUR,1\n");
}

TEST(CashFlow, AnEmptyTreeIsAFailedBuild) {
    CashFlow empty;
    EXPECT_THAT([&] { EXPECT_FALSE(empty.build()); }, LogsError("Contract empty"));
    CashFlow incomplete(ximDSL::End() & nullptr);
    EXPECT_THAT([&] { EXPECT_FALSE(incomplete.build()); }, LogsError("Contract empty"));
}

TEST(CashFlow, ATextWithACommaIsRefusedBeforeItIsReadAsSeveralFields) {
    using namespace ximDSL;
    auto const fixing = [](char const* ticker, char const* date) {
        return Pay(Spot(ticker, date, ""), "2025-06-30", "EUR");
    };
    for (auto const& [contract, text] : std::vector<std::pair<CashFlowPtr, std::string>>{
             {Pay(1.0f, "2025-06-30", "EUR,-1"), "EUR,-1"},
             {Pay(CstRef("quantity,0", 3.0f), "2025-06-30", "EUR"), "quantity,0"},
             {fixing("AAA,2024-01-02", "2025-06-30"), "AAA,2024-01-02"},
             {fixing("AAA", "Jun 30, 2025"), "Jun 30, 2025"},
             {Set("a,b", Cst(1.0f)), "a,b"}}) {
        ximAPI::CashFlow form(contract);
        EXPECT_THAT([&] { EXPECT_FALSE(form.build()); }, LogsError("Text with a comma: " + text));
        EXPECT_EQ(form.encoded, nullptr);
    }
}

TEST(Console, ACommaInsideANameIsRefusedByName) {
    Console console("Set(a(b,c),1)");
    EXPECT_THAT([&] { EXPECT_FALSE(console.build()); }, LogsError("Text with a comma: a(b,c)"));
}

TEST(BasketObservable, ATextWithACommaIsRefusedByName) {
    BasketObservable basket;
    basket.Basket = {{"AAA,2024-01-02", 100.0f}};
    basket.ForwardStartDate = "2025-01-02";
    EXPECT_THAT([&] { EXPECT_FALSE(basket.build({"2025-06-30"})); },
                LogsError("Text with a comma: AAA,2024-01-02"));
    basket.Basket = {{"AAA", 100.0f}};
    EXPECT_THAT([&] { EXPECT_FALSE(basket.build({"Jun 30, 2025"})); },
                LogsError("Text with a comma: Jun 30, 2025"));
}

/// A basket of two, half each, since 2025-01-02.
BasketObservable& fill(BasketObservable& basket, BasketKind kind) {
    basket.Basket = {{"AAA", 50.0f}, {"BBB", 50.0f}};
    basket.ForwardStartDate = "2025-01-02";
    basket.BasketKind = kind;
    return basket;
}

std::string text_of_performance(BasketKind kind) {
    BasketObservable basket;
    return text_of(ximDSL::Pay(GetBasketPerformance(fill(basket, kind), "2025-06-30"), "d", "c"));
}

TEST(BasketPerformance, ABasketIsTheWeightedSum) {
    EXPECT_EQ(text_of_performance(BasketKind::BASKET),
              "0 9 0 1\n"
              "a 3 28 AAA,2025-06-30,\n"
              "a 4 28 AAA,2025-01-02,\n"
              "a 2 1 3,4\n"
              "a 1 18 0.5,2\n"
              "a 7 28 BBB,2025-06-30,\n"
              "a 8 28 BBB,2025-01-02,\n"
              "a 6 1 7,8\n"
              "a 5 18 0.5,6\n"
              "a 0 0 1,5\n"
              "c 0 5 0,d,c,1\n");
}

TEST(BasketPerformance, WorstAndBestIgnoreTheWeights) {
    std::string const operands =
        "a 2 28 AAA,2025-06-30,\n"
        "a 3 28 AAA,2025-01-02,\n"
        "a 1 1 2,3\n"
        "a 5 28 BBB,2025-06-30,\n"
        "a 6 28 BBB,2025-01-02,\n"
        "a 4 1 5,6\n";
    EXPECT_EQ(text_of_performance(BasketKind::WORST_OF),
              "0 7 0 1\n" + operands + "a 0 3 1,4\nc 0 5 0,d,c,1\n");
    EXPECT_EQ(text_of_performance(BasketKind::BEST_OF),
              "0 7 0 1\n" + operands + "a 0 2 1,4\nc 0 5 0,d,c,1\n");
}

TEST(BasketPerformance, ARainbowAndAnEmptyBasketHaveNone) {
    BasketObservable basket;
    EXPECT_EQ(GetBasketPerformance(basket, "2025-06-30").get(), nullptr);
    EXPECT_EQ(GetBasketPerformance(fill(basket, BasketKind::RAINBOW), "2025-06-30").get(), nullptr);
}

TEST(BasketPerformance, AtTheForwardStartDateTheTreeStillHoldsBothFixings) {
    BasketObservable basket;
    basket.Basket = {{"AAA", 100.0f}};
    basket.ForwardStartDate = "2025-01-02";
    ASSERT_TRUE(basket.build({"2025-01-02"}));
    EXPECT_EQ(text_of(*basket.encoded),
              "0 4 0 0\n"
              "a 2 28 AAA,2025-01-02,\n"
              "a 3 28 AAA,2025-01-02,\n"
              "a 1 1 2,3\n"
              "a 0 18 1,1\n"
              "o 0 0 2025-01-02,0\n");
}

TEST(BasketObservable, BuildsAnObservationPerDate) {
    BasketObservable basket;
    ASSERT_TRUE(fill(basket, BasketKind::WORST_OF).build({"2025-03-31", "2025-06-30"}));
    ximTest::EncodedReader const reader(*basket.encoded);
    EXPECT_EQ(reader.count('o'), 2u);
    EXPECT_EQ(reader.at('o', 1).fields, (std::vector<std::string>{"2025-06-30", "7"}));
    ASSERT_TRUE(basket.build({}));
    EXPECT_TRUE(basket.encoded->items.empty());
}

TEST(BasketObservable, ARainbowOrAnEmptyBasketFails) {
    BasketObservable rainbow;
    fill(rainbow, BasketKind::RAINBOW);
    BasketObservable empty;
    for (auto* basket : {&rainbow, &empty}) {
        for (auto const& dates : {std::vector<std::string>{}, {"2025-06-30"}}) {
            EXPECT_THAT([&] { EXPECT_FALSE(basket->build(dates)); },
                        LogsError("Basket without performance"));
            EXPECT_EQ(basket->encoded, nullptr);
        }
    }
}

}  // namespace
