#include "dsl/script/parser.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <thread>

#include "dsl/encoded_reader.hpp"
#include "support/matchers.hpp"

namespace {

using ximAPI::Toolkit::parse;
using ximTest::EncodedReader;
using ximTest::Raises;
using ximTest::text_of_script;
using ximTest::value_of;

bool is_contract(std::string const& text) {
    return parse<ximDSL::CashFlow>(text).get() != nullptr;
}
bool is_expression(std::string const& text) {
    return parse<ximDSL::Component>(text).get() != nullptr;
}

std::string repeat(std::string const& text, std::size_t count) {
    std::string repeated;
    for (std::size_t i = 0; i < count; ++i) repeated += text;
    return repeated;
}

TEST(Statement, EndIsAWholeContract) {
    EXPECT_EQ(text_of_script("End()"), "0 0 0 1\nc 0 6 0\n");
    EXPECT_FALSE(is_contract("End"));
    EXPECT_FALSE(is_contract("End(x)"));
    EXPECT_FALSE(is_contract("End(x)End()"));
    EXPECT_FALSE(is_contract("End(,)"));
}

TEST(Statement, EachConstructMakesItsNode) {
    struct Row {
        char const* script;
        char const* root;
    };
    Row const rows[] = {
        {"Pay(1,2025-01-02,EUR)", "c 0 5 0,2025-01-02,EUR,1"},
        {"Receive(1,2025-01-02,EUR)", "c 0 5 0,2025-01-02,EUR,-1"},
        {"Buy(2025-01-02,2.5,End())", "c 0 4 2025-01-02,2.5,1,1"},
        {"Sell(2025-01-02,-1e1,End())", "c 0 4 2025-01-02,-10,1,-1"},
        {"Set(x,1)", "c 0 3 x,0"},
        {"Either(Putable,2025-01-02)(End(),End())", "c 0 2 1,2025-01-02,1,2"},
        {"If(1>2)(End(),End())", "c 0 1 0,1,2,0,0"},
        {"End()&End()", "c 0 0 1,2"},
    };
    for (auto const& [script, root] : rows) {
        EXPECT_NE(text_of_script(script).find(std::string(root) + '\n'), std::string::npos)
            << script << '\n'
            << text_of_script(script);
    }
}

TEST(Statement, AListOfStatementsIsNestedToTheRight) {
    EXPECT_EQ(text_of_script("End()&Set(x,1)&Set(y,2)"),
              "0 2 0 5\n"
              "c 1 6 0\n"
              "a 0 27 1\n"
              "c 3 3 x,0\n"
              "a 1 27 2\n"
              "c 4 3 y,1\n"
              "c 2 0 3,4\n"
              "c 0 0 1,2\n");
}

TEST(Statement, WithoutAnOperatorBetweenThemTheLastStatementCounts) {
    EXPECT_EQ(text_of_script("Set(x,1)End()"), text_of_script("End()"));
}

TEST(Statement, ArgumentsMustBeOfTheRightNumberAndKind) {
    for (auto const* text : {"Pay(1,2025-01-02)",
                             "Pay(1,2025-01-02,EUR,x)",
                             "Pay()",
                             "Pay",
                             "Pay(1>2,2025-01-02,EUR)",
                             "Pay(,2025-01-02,EUR)",
                             "Pay(End(),2025-01-02,EUR)",
                             "Receive(1)",
                             "Buy(2025-01-02,End())",
                             "Buy(2025-01-02,1,2)",
                             "Sell(2025-01-02,1,Spot(A,2025-01-02))",
                             "Set(x)",
                             "Set(x,)",
                             "Set(x,1>2)",
                             "Either(Putable)(End())",
                             "Either(Putable,2025-01-02)",
                             "Either(Putable,2025-01-02)()",
                             "Either(Other,2025-01-02)(End())",
                             "Either(putable,2025-01-02)(End())",
                             "Either(Putable,2025-01-02)x(End())",
                             "Either(Putable,2025-01-02)(End(),1)",
                             "If(1)(End(),End())",
                             "If(1>2)(End())",
                             "If(1>2)(End(),End(),End())",
                             "If(1>2)",
                             "If()(End(),End())",
                             "If(1>2)(1,2)",
                             "If(1>2)(End(),)",
                             "&",
                             "End()&",
                             "&End()",
                             "(End())",
                             "End()&&End()",
                             "End();",
                             "Spot(A,2025-01-02)",
                             "1",
                             "Pay(1,2025-01-02,EUR",
                             "Pay(1,2025-01-02,EUR))"}) {
        EXPECT_FALSE(is_contract(text)) << text;
    }
}

TEST(Statement, BlanksAreErrorsForTheParserItself) {
    EXPECT_FALSE(is_contract("End() "));
    EXPECT_FALSE(is_contract(" End()"));
    EXPECT_FALSE(is_contract("\"End\"()"));
}

TEST(Statement, AWordWantsItsBracketDirectlyBehindIt) {
    EXPECT_FALSE(is_contract("Payx(1,2025-01-02,EUR)"));
    EXPECT_FALSE(is_contract("Pay*(1,2025-01-02,EUR)"));
    EXPECT_FALSE(is_expression("Spot.(A,2025-01-02)"));
}

TEST(Statement, InAScriptCallableMakesTheSameChoiceAsPutable) {
    auto const putable = text_of_script("Either(Putable,2025-06-30)(End(),Pay(1,2025-06-30,EUR))");
    EXPECT_EQ(text_of_script("Either(Callable,2025-06-30)(End(),Pay(1,2025-06-30,EUR))"), putable);
    EXPECT_EQ(putable,
              "0 1 0 3\n"
              "c 0 2 1,2025-06-30,1,2\n"
              "c 1 6 0\n"
              "a 0 27 1\n"
              "c 2 5 0,2025-06-30,EUR,1\n");
}

TEST(Statement, SpreadsCountFromTwoOnwards) {
    auto const spreads = [](std::string const& event_and_spreads) {
        ximAPI::Console console("If(" + event_and_spreads + ")(Pay(1,2025-07-01,EUR),End())");
        if (!console.build()) return std::string("rejected");
        auto const fields = EncodedReader(*console.encoded).root().fields;
        return fields[3] + ' ' + fields[4];
    };
    std::string const event = "Spot(AAA,2025-06-30)>100";
    EXPECT_EQ(spreads(event), "0 0");
    EXPECT_EQ(spreads(event + ",0.01,0.02"), "0.01 0.02");
    EXPECT_EQ(spreads(event + ",-0.01,2e-2"), "-0.01 0.02");
    EXPECT_EQ(spreads(event + ",0.01"), "0 0");  // one alone is ignored
    EXPECT_EQ(spreads(event + ",nonsense"), "0 0");
    EXPECT_EQ(spreads(event + ",0.01,0.02,rest,(more,)"), "0.01 0.02");
}

TEST(Statement, NumbersOutsideExpressionsRaiseTheirException) {
    EXPECT_THAT([] { std::ignore = is_contract("Buy(2025-01-02,x,End())"); },
                Raises<std::invalid_argument>("stof"));
    EXPECT_THAT([] { std::ignore = is_contract("If(1>2,,0.01)(End(),End())"); },
                Raises<std::invalid_argument>("stof"));
    EXPECT_THAT([] { std::ignore = is_contract("Pay(Cst(1e99),2025-01-02,EUR)"); },
                Raises<std::out_of_range>("stof"));
    EXPECT_THAT([] { std::ignore = is_contract("Pay(CstRef(x,),2025-01-02,EUR)"); },
                Raises<std::invalid_argument>("stof"));
    EXPECT_TRUE(is_contract("Buy(2025-01-02,1x,End())"));  // what follows the number is ignored
}

TEST(Expression, EachLeafMakesItsNode) {
    struct Row {
        char const* expression;
        char const* item;
    };
    Row const rows[] = {
        {"Spot(AAA,2025-06-30)", "a 0 28 AAA,2025-06-30,"},
        {"CstRef(Strike,100)", "a 0 30 Strike,100"},
        {"CstRef(Strike,-1e2)", "a 0 30 Strike,-100"},
        {"Cst(-1.5)", "a 0 27 -1.5"},
        {"Cst(1.5abc)", "a 0 27 1.5"},
        {"AmountRef(x)", "a 0 31 x"},
        {"12.25", "a 0 27 12.25"},
        {"1.", "a 0 27 1"},
        {"Spot(,)", "a 0 28 ,,"},
    };
    for (auto const& [expression, item] : rows) {
        EXPECT_EQ(text_of_script("Pay(" + std::string(expression) + ",d,c)"),
                  "0 1 0 1\n" + std::string(item) + "\nc 0 5 0,d,c,1\n")
            << expression;
    }
}

TEST(Expression, EachFunctionAndOperatorHasItsCode) {
    struct Row {
        char const* expression;
        char const* item;
    };
    Row const rows[] = {
        {"1*2", "a 0 4 1,2"},
        {"1/2", "a 0 1 1,2"},
        {"1+2", "a 0 0 1,2"},
        {"1-2", "a 0 5 1,2"},
        {"Max(1,2)", "a 0 2 1,2"},
        {"Min(1,2)", "a 0 3 1,2"},
        {"Abs(1)", "a 0 6 1"},
        {"Cos(1)", "a 0 7 1"},
        {"Exp(1)", "a 0 8 1"},
        {"Log(1)", "a 0 9 1"},
        {"Sin(1)", "a 0 10 1"},
        {"Sqr(1)", "a 0 11 1"},
        {"Tan(1)", "a 0 13 1"},
        {"If(1>2)(3,4)", "a 0 29 0,3,4"},
        {"If(1>2)(3,4)", "e 0 2 1,2"},
        {"If(1>=2)(3,4)", "e 0 3 1,2"},
        {"If(1<2)(3,4)", "e 0 4 1,2"},
        {"If(1<=2)(3,4)", "e 0 5 1,2"},
        {"If(1>2&&3>4)(5,6)", "e 0 7 1,2"},
        {"If(1>2||3>4)(5,6)", "e 0 8 1,2"},
    };
    for (auto const& [expression, item] : rows) {
        auto const text = text_of_script("Pay(" + std::string(expression) + ",d,c)");
        EXPECT_NE(text.find('\n' + std::string(item) + '\n'), std::string::npos)
            << expression << '\n'
            << text;
    }
}

TEST(Expression, OperatorsBindAsInArithmetic) {
    struct Row {
        char const* expression;
        double value;
    };
    Row const rows[] = {
        {"1+2*3", 7},
        {"2*3+1", 7},
        {"10-4-3", 3},
        {"24/4/2", 3},
        {"2*(3+4)+5", 19},
        {"2*(3+4)*5", 70},
        {"Max(1,2)*3", 6},
        {"2*Abs(3)-1", 5},
        {"1+Max(2,3)*4", 13},
        {"1+Abs(2)*3", 7},
        {"Min(7,Max(1,2)+3)", 5},
        {"Sqr(16)/2", 2},
        {"Max(Cst(-1),2-5)", -1},
        {"If(1<2&&2<=2)(5,6)*2", 10},
        {"If(1>2||3>=3&&2>3)(5,6)", 6},
        {"If(1+1>=2)(If(1>2)(1,2),3)", 2},
        {"((5))", 5},
        {"Exp(Log(2))", 2},
        {"Sin(0)+Cos(0)+Tan(0)", 1},
        {"If(1>2,0.1,0.1)(1,2)", 2},
        {"8/(4)*2", 4},
        {"3-(1)-1", 1},
    };
    for (auto const& [expression, value] : rows)
        EXPECT_NEAR(value_of(expression), value, 1e-5) << expression;
}

TEST(Expression, AGroupEndsTheOperatorInFrontOfIt) {
    EXPECT_EQ(value_of("1+(2)*3"), 9.0);
    EXPECT_EQ(value_of("1+2*3"), 7.0);
    EXPECT_EQ(value_of("10-(2+1)*2"), 14.0);
    EXPECT_EQ(value_of("1+(Max(2,3))*4"), 16.0);
    EXPECT_EQ(value_of("2*(3+4)+5"), 19.0);
}

TEST(Expression, CommasAndPostfixNotationAreTaken) {
    EXPECT_EQ(value_of("(1,2)"), 2.0);  // the last value counts
    EXPECT_EQ(value_of("Max(1,2,3)"), 3.0);
    EXPECT_EQ(value_of("Abs1"), 1.0);
    EXPECT_EQ(value_of("Cst(-1)Abs"), 1.0);
    ASSERT_TRUE(is_expression("1,2+"));
    ASSERT_TRUE(is_expression("1,2"));
}

TEST(Expression, ANumberHasNeitherSignNorExponent) {
    EXPECT_TRUE(is_expression("Cst(-1.5)"));
    EXPECT_FALSE(is_expression("-1.5"));
    EXPECT_FALSE(is_expression("1e-3"));
    EXPECT_FALSE(is_expression("1.2.3"));
    EXPECT_FALSE(is_expression(".5"));
    EXPECT_TRUE(std::isinf(value_of(std::string(60, '9'))));
}

TEST(Expression, TheSquareRootIsSpelledWithThreeLetters) {
    EXPECT_EQ(value_of("Sqr(4)"), 2.0);
    EXPECT_FALSE(is_expression("Sqrt(4)"));
}

TEST(Expression, AFixingHasNoCurrency) {
    EXPECT_TRUE(is_expression("Spot(AAA,2025-06-30)"));
    EXPECT_FALSE(is_expression("Spot(AAA,2025-06-30,EUR)"));
}

TEST(Expression, ParenthesesMustMatch) {
    for (auto const* text : {"(1", "1)", "((1)", "(1))", "Max(1,2", ")1(", "Abs(1", "Spot(A,d"})
        EXPECT_FALSE(is_expression(text)) << text;
}

TEST(Expression, OperandsMustBeThereAndOfTheRightFamily) {
    for (auto const* text : {"",
                             "()",
                             ",",
                             "+",
                             "-1",
                             "1+",
                             "*2",
                             "1>",
                             "1&&2",
                             "1>2>3",
                             "1>2+3>4",
                             "(1>2)+1",
                             "Abs(1>2)",
                             "Max(1)",
                             "Abs()",
                             "1>2&&3",
                             "1<2||",
                             "Max(1,)",
                             "If(1>2)(1>2,3)",
                             "If(1>2)(3)",
                             "If(1)(2,3)",
                             "If(1>2)(2,End())",
                             "1=2",
                             "1==2",
                             "1!=2",
                             "!(1>2)",
                             "1&2",
                             "1|2",
                             "x",
                             "{1}",
                             "[1]",
                             "true"}) {
        EXPECT_FALSE(is_expression(text)) << text;
    }
}

TEST(Expression, EventsStandAlone) {
    EXPECT_TRUE(is_expression("1>2"));
    EXPECT_TRUE(is_expression("(1>2)&&(3>4)||5<=6"));
}

TEST(Expression, ComparisonOfTwoAmountsKeepsLowerOrEqual) {
    EXPECT_NE(text_of_script("If(1<=2)(End(),End())").find("e 0 5 0,1"), std::string::npos);
}

// A nesting to the limit must do on the smallest stack that a thread may have.
template <class Call>
void on_a_small_stack(Call const& call) {
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    pthread_attr_setstacksize(&attributes, std::size_t{256} * 1024);
    pthread_t thread{};
    auto* const start = +[](void* argument) -> void* {
        (*static_cast<Call const*>(argument))();
        return nullptr;
    };
    ASSERT_EQ(pthread_create(&thread, &attributes, start, const_cast<Call*>(&call)), 0);
    pthread_join(thread, nullptr);
    pthread_attr_destroy(&attributes);
}

TEST(Nesting, TenThousandBracketsAreTakenAndOneMoreIsNot) {
    on_a_small_stack([] {
        struct Row {
            std::string open;
            std::string inner;
            std::string close;
            std::size_t levels;
        };
        Row const rows[] = {
            {"(", "1", ")", 10'000},         {"Abs(", "1", ")", 10'000},
            {"Max(1,", "1", ")", 10'000},    {"If(1>2)(1,", "2", ")", 9'999},
            {"If(", "1", ">1)(2,3)", 3'333},  // a condition, its event and the comparison: three
                                              // levels each
        };
        auto const text = [](Row const& row, std::size_t count) {
            return repeat(row.open, count) + row.inner + repeat(row.close, count);
        };
        for (auto const& row : rows) {
            EXPECT_TRUE(is_expression(text(row, row.levels))) << row.open;
            EXPECT_FALSE(is_expression(text(row, 10'001))) << row.open;
        }
        auto const statement = [](std::size_t count) {
            return repeat("If(1>2)(End(),", count) + "End()" + repeat(")", count);
        };
        EXPECT_TRUE(is_contract(statement(9'999)));
        EXPECT_FALSE(is_contract(statement(10'000)));
        auto const choice = [](std::size_t count) {
            return repeat("Either(Putable,d)(", count) + "End()" + repeat(")", count);
        };
        EXPECT_TRUE(is_contract(choice(9'999)));
        EXPECT_FALSE(is_contract(choice(10'000)));
        auto const purchase = [](std::size_t count) {
            return repeat("Buy(d,1,", count) + "End()" + repeat(")", count);
        };
        EXPECT_TRUE(is_contract(purchase(9'999)));
        EXPECT_FALSE(is_contract(purchase(10'000)));
    });
}

TEST(Nesting, OperatorsNestedDeeperThanTenThousandAreRejected) {
    on_a_small_stack([] {
        EXPECT_TRUE(is_expression("1" + repeat("+1", 10'000)));
        EXPECT_FALSE(is_expression("1" + repeat("+1", 10'001)));
        EXPECT_FALSE(is_expression("1" + repeat("+1", 50'000)));
        EXPECT_FALSE(is_expression("1" + repeat("*1", 50'000)));
        EXPECT_FALSE(is_expression(repeat("Abs", 50'000) + "1"));
        EXPECT_FALSE(is_expression("1>2" + repeat("&&1>2", 50'000)));
    });
}

TEST(Nesting, AListOfManyPaymentsIsNotDeep) {
    on_a_small_stack([] {
        auto const count = std::size_t{30'000};
        ximAPI::Console console("End()" +
                                repeat(" &\nPay(Spot(AAA, 2025-06-30), 2025-07-01, EUR)", count));
        ASSERT_TRUE(console.build());
        EXPECT_EQ(console.encoded->cashflows, 2 * count + 1);
    });
}

TEST(Nesting, TimeGrowsLinearlyWithTheLength) {
    // Ten thousand levels of 100 characters: reading each bracket anew at every level would take
    // 5,000 times as long.
    auto const level =
        "If(Spot(AAA,2025-06-30)>100,0.01,0.02)(Pay(100*Spot(AAA,2025-06-30),2025-07-01,EUR),";
    EXPECT_TRUE(is_contract(repeat(level, 9'990) + "End()" + repeat(")", 9'990)));
    EXPECT_FALSE(is_contract(repeat(level, 9'990) + "Endd()" + repeat(")", 9'990)));
    EXPECT_FALSE(is_contract(repeat("(", 2'000'000)));
    EXPECT_FALSE(is_contract("Pay" + repeat("(", 9'000) + std::string(2'000'000, ',')));
}

}  // namespace
