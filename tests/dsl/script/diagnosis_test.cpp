#include "ximAPI/diagnosis.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "support/matchers.hpp"
#include "ximAPI/cashflow.hpp"

namespace {

using testing::HasSubstr;
using ximAPI::diagnose_script;
using ximAPI::render_diagnosis;
using ximAPI::ScriptRemark;

/// The script with the mark "@" taken out, and the column (on line 1) at which it stood.
std::pair<std::string, std::size_t> unmark(std::string script) {
    auto const mark = script.find('@');
    return {script.erase(mark, 1), mark + 1};
}

struct Case {
    char const* script;  // "@" in front of the place
    char const* message;
    char const* hint;
};

void expect_remark(Case const& expected, ScriptRemark const& remark, std::size_t column) {
    EXPECT_EQ(remark.line, 1u) << expected.script;
    EXPECT_EQ(remark.column, column) << expected.script;
    EXPECT_THAT(remark.message, HasSubstr(expected.message)) << expected.script;
    EXPECT_THAT(remark.hint, HasSubstr(expected.hint)) << expected.script;
}

TEST(Diagnosis, AnAcceptedScriptHasNoError) {
    auto const diagnosis =
        diagnose_script("Pay(2*Spot(AAA, \"2025-06-30\"), 2025-07-01, EUR) & End()");
    EXPECT_TRUE(diagnosis.accepted);
    EXPECT_TRUE(diagnosis.error.message.empty());
    EXPECT_TRUE(diagnosis.warnings.empty());
    EXPECT_EQ(render_diagnosis(diagnosis, ""), "");
}

TEST(Diagnosis, ARejectedScriptTellsWhereAndWhy) {
    // clang-format off
    Case const cases[] = {
        // script                                            message                            hint
        {"@", "the script is empty", "End()"},
        {"@Payy(1, 2025-06-30, EUR)", "unknown word \"Payy\"", ""},
        {"Pay(@x, 2025-06-30, EUR)", "unknown word \"x\"", ""},
        {"@Pay(1, 2025-06-30)", "\"Pay\" takes 3 arguments, not 2", ""},
        {"@Pay(1,5, 2025-06-30, EUR)", "takes 3 arguments, not 4", "decimal separator is a point"},
        {"Pay@(1, 2025-06-30, EUR", "never closed", ""},
        {"Pay(1, 2025-06-30, EUR)@)", "unexpected \")\"", ""},
        {"@Pay", "\"Pay\" needs its bracket", ""},
        {"@End", "\"End\" needs its bracket", ""},
        {"End(@x)", "takes nothing", ""},
        {"@1", "unexpected \"1\"", "Pay(amount, date, currency)"},
        {"@Spot(A, 2025-06-30)", "\"Spot\" is an amount", "Pay(amount, date, currency)"},
        {"@Max(1, 2)", "\"Max\" is an amount", "Pay(amount, date, currency)"},
        {"Pay(@End(), 2025-06-30, EUR)", "\"End\" is a statement", ""},
        {"@(End())", "unexpected \"(\"", "join them with &"},
        {"End()@, End()", "unexpected \",\"", "&"},
        {"End()@; End()", "unexpected \";\"", "&"},
        {"End() @&& End()", "\"&\" lacks an operand", "single &"},
        {"End() @&", "\"&\" lacks an operand", "End()"},
        {"Pay(@, 2025-06-30, EUR)", "an amount or event is missing", ""},
        {"Pay(@-1.5, 2025-06-30, EUR)", "\"-\" lacks an operand", "Cst(-1.5)"},
        {"Pay(2@*-1.5, 2025-06-30, EUR)", "\"*\" lacks an operand", "Cst(-1.5)"},
        {"Pay(@Max(2, -1), 2025-06-30, EUR)", "\"Max\" lacks an operand", "Cst(-1.5)"},
        {"Pay(1@+, 2025-06-30, EUR)", "\"+\" lacks an operand", ""},
        {"Pay(@Max(1), 2025-06-30, EUR)", "\"Max\" lacks an operand", ""},
        {"Pay(1@e-3, 2025-06-30, EUR)", "directly behind a number", "Cst(1e-3)"},
        {"Pay(100@EUR, 2025-06-30, EUR)", "directly behind a number", ""},
        {"Pay(1.2@.3, 2025-06-30, EUR)", "unexpected \".\"", "0.5"},
        {"Pay(@.5, 2025-06-30, EUR)", "unexpected \".\"", "0.5"},
        {"Pay(5@%, 2025-06-30, EUR)", "unexpected \"%\"", "0.01"},
        {"Pay(@Sqrt(4), 2025-06-30, EUR)", "unknown word \"Sqrt\"", "Sqr"},
        {"Pay(@Pow(2, 3), 2025-06-30, EUR)", "unknown word \"Pow\"", "Exp(y*Log(x))"},
        {"Pay(@Sorted(2, 3), 2025-06-30, EUR)", "unknown word \"Sorted\"", "Max"},
        {"Pay(2@^3, 2025-06-30, EUR)", "unexpected \"^\"", "Exp(y*Log(x))"},
        {"Pay(@Spot(AAA, 2025-06-30, EUR), 2025-06-30, EUR)", "\"Spot\" takes 2 arguments, not 3", "leave the currency out"},
        {"Pay(Cst(@x), 2025-06-30, EUR)", "no number", ""},
        {"Pay(Cst(@Spot(A,d)), 2025-06-30, EUR)", "no number", "nothing is computed"},
        {"Pay(Cst(@1e99), 2025-06-30, EUR)", "does not fit", ""},
        {"Pay(1234567@e99, 2025-06-30, EUR)", "directly behind a number", "Cst(1e-3)"},
        {"Pay(()@, 2025-06-30, EUR)", "an amount or event is missing", ""},
        {"If(1@==2)(End(), End())", "unexpected \"==\"", "a>=b&&a<=b"},
        {"If(1@!=2)(End(), End())", "unexpected \"!=\"", "a<b||a>b"},
        {"If(1@=2)(End(), End())", "unexpected \"=\"", "Set(name, amount)"},
        {"If(@!(1>2))(End(), End())", "unexpected \"!\"", "negation"},
        {"If(1>2@&2>3)(End(), End())", "unexpected \"&\"", "&&"},
        {"If(1>2@|2>3)(End(), End())", "unexpected \"|\"", "||"},
        {"If(@true)(End(), End())", "unknown word \"true\"", "1>0"},
        {"If(@1)(End(), End())", "an event is needed", "Spot(AAA, 2025-06-30)>100"},
        {"If(1<2@<3)(End(), End())", "\"<\" needs amounts", "a<b&&b<c"},
        {"If(1@&&2)(End(), End())", "\"&&\" needs events", ""},
        {"If(1@>-2)(End(), End())", "\">\" lacks an operand", "Cst(-1.5)"},
        {"If(1>2)@(End())", "takes 2 branches, not 1", "End()"},
        {"If(1>2)@(End(), End(), End())", "takes 2 branches, not 3", "&"},
        {"If(1>2)@", "branches are missing", ""},
        {"If(1>2)@{End(), End()}", "branches are missing", "round brackets"},
        {"If(1>2)@(End(), End()", "never closed", ""},
        {"If(1>2)(End(), @)", "a statement is missing", "End()"},
        {"If(1>2, @x, 0.01)(End(), End())", "no number", ""},
        {"Pay(If(1>2)@(3), 2025-06-30, EUR)", "takes 2 branches, not 1", "write 0"},
        {"Pay(If(1>2)(@1>2, 3), 2025-06-30, EUR)", "an amount is needed", "If(event)(1, 0)"},
        {"Pay(@1>2, 2025-06-30, EUR)", "an amount is needed", "If(event)(1, 0)"},
        {"Either(@Puttable, 2025-06-30)(End())", "unknown ownership", ""},
        {"Either(Putable, 2025-06-30)@{End()}", "branches are missing", "round brackets"},
        {"Either(Putable, 2025-06-30)(@)", "a statement is missing", "End()"},
        {"@Putable", "unknown word \"Putable\"", "Either(Putable"},
        {"@Buy(2025-06-30, End())", "\"Buy\" takes 3 arguments, not 2", ""},
        {"Buy(2025-06-30, @Spot(A, d), End())", "no number", "nothing is computed"},
        {"End() @// done", "unexpected \"/\"", "no comments"},
        {"Pay(@'1', 2025-06-30, EUR)", "unexpected \"'\"", "quotes"},
        {"Pay(@Maximum(1, 2), 2025-06-30, EUR)", "unknown word \"Maximum\"", ""},
    };
    // clang-format on
    for (auto const& one : cases) {
        auto const [script, column] = unmark(one.script);
        auto const diagnosis = diagnose_script(script);
        EXPECT_FALSE(diagnosis.accepted) << script;
        expect_remark(one, diagnosis.error, column);
        EXPECT_FALSE(diagnosis.error.expected.empty()) << script;
        EXPECT_FALSE(diagnosis.error.found.empty()) << script;
    }
}

TEST(Diagnosis, AnAcceptedTrapIsAWarning) {
    // clang-format off
    Case const cases[] = {
        {"Pay(1@+(2)*3, 2025-06-30, EUR)", "1+(2)*3 is (1+2)*3", "1+((2)*3)"},
        {"Either(@Callable, 2025-06-30)(End())", "read as \"Putable\"", ""},
        {"If(1>2, @0.01)(End(), End())", "one spread alone is ignored", "0.01, 0.01"},
        {"If(1>2, 0.01, 0.01, @7)(End(), End())", "is ignored", ""},
        {"@End() Set(x, 1)", "this is dropped", ""},
        {"Pay(Max(@1, 2, 3), 2025-06-30, EUR)", "this is dropped", ""},
        {"Pay(@Abs 1, 2025-06-30, EUR)", "without its bracket", "Abs(x)"},
        {"Pay(@1234567, 2025-06-30, EUR)", "reads 1.23457e+06", ""},
        {"Pay(Cst(@0.123456789), 2025-06-30, EUR)", "reads 0.123457", ""},
        {"Pay(Cst(5@%), 2025-06-30, EUR)", "what follows the number is ignored", ""},
        {"Pay(1, @2025-13-45, EUR)", "no date", "2025-06-30"},
        {"Pay(1, @30.06.2025, EUR)", "no date", "2025-06-30"},
        {"Pay(Spot(A, @2025-02-29), 2025-06-30, EUR)", "no date", ""},
        {"Pay(1, 2025-06-30, @)", "empty", ""},
        {"Set(@a(b, c), 1)", "comma", ""},
    };
    // clang-format on
    for (auto const& one : cases) {
        auto const [script, column] = unmark(one.script);
        auto const diagnosis = diagnose_script(script);
        EXPECT_TRUE(diagnosis.accepted) << script;
        ASSERT_EQ(diagnosis.warnings.size(), 1u) << script;
        expect_remark(one, diagnosis.warnings.front(), column);
    }
}

TEST(Diagnosis, GoodNumbersDatesAndGroupsAreNoWarning) {
    for (auto const* script :
         {"Pay(1*(2)*3, 2025-06-30, EUR)", "Pay((1+2)*3, 2025-06-30, EUR)",
          "Pay(1+((2)*3), 2025-06-30, EUR)", "Pay(3*(1+2)+1, 2025-6-3, EUR)",
          "Pay(1+Max(1,2)*3, 2024-02-29, EUR)", "Pay(If(1<=2)(0.1,123456), 2025-06-30, EUR)",
          "If(1<(2)*3,0.5,0)(End(),End())", "Pay(Max((1),(2)), 2025-06-30, EUR)"}) {
        EXPECT_TRUE(diagnose_script(script).warnings.empty()) << script;
    }
}

TEST(Diagnosis, NamesTheNearestWordAndItsForm) {
    struct Row {
        char const* script;
        char const* nearest;
        char const* signature;
    };
    Row const rows[] = {
        {"Payy(1, d, c)", "Pay", "Pay(amount, date, currency)"},
        {"Recieve(1, d, c)", "Receive", "Receive(amount, date, currency)"},
        {"pay(1, d, c)", "Pay", "Pay(amount, date, currency)"},
        {"Eihter(Putable, d)(End())", "Either", "Either(Putable, date)(statement, statement...)"},
        {"Pay(Spt(A, d), d, c)", "Spot", "Spot(ticker, date)"},
        {"Pay(AmountRf(x), d, c)", "AmountRef", "AmountRef(name)"},
        {"Pay(Maxi(1, 2), d, c)", "Max", ""},
        {"Either(Puttable, d)(End())", "Putable", "Either(Putable, date)(statement, statement...)"},
        {"Nothing()", "", ""},
        {"Pay(1, d)", "", "Pay(amount, date, currency)"},
    };
    for (auto const& [script, nearest, signature] : rows) {
        auto const error = diagnose_script(script).error;
        EXPECT_EQ(error.nearest, nearest) << script;
        EXPECT_EQ(error.signature, signature) << script;
    }
}

TEST(Diagnosis, PlacesCountLinesAndCharactersOfTheScriptAsWritten) {
    auto const error =
        diagnose_script("Pay(1,\r\n\t\"2025-06-30\", \"\xC3\x89UR\") &\n  \"\xE2\x82\xAC\" Foo()")
            .error;
    EXPECT_EQ(error.line, 3u);
    EXPECT_EQ(error.column,
              4u);  // two blanks and the quote; then the euro sign itself is what is wrong
    EXPECT_EQ(error.found, "\"\xE2\x82\xAC\"");
    auto const end = diagnose_script("End() &\n\n   ").error;
    EXPECT_EQ(end.line, 1u);
    EXPECT_EQ(end.column, 7u);
}

TEST(Diagnosis, ABracketTooManyIsShownWhereItStands) {
    auto const script =
        "Pay(" + std::string(10'000, '(') + "1" + std::string(10'000, ')') + ",d,c)";
    auto const error = diagnose_script(script).error;
    EXPECT_THAT(error.message, HasSubstr("deeper than 10000"));
    EXPECT_EQ(error.column, 10'004u);
    std::string chain = "1";
    for (int i = 0; i < 11'000; ++i) chain += "+1";
    EXPECT_THAT(diagnose_script("Pay(" + chain + ",d,c)").error.message,
                HasSubstr("operators nested deeper"));
}

TEST(Diagnosis, NothingIsLogged) {
    EXPECT_THAT([] { std::ignore = diagnose_script("Pay(1, 2025-13-45, EUR) & Pay("); },
                ximTest::LogsNothing());
}

TEST(Diagnosis, WarningsStandInTheOrderOfTheTextAndEnd) {
    auto const diagnosis = diagnose_script("Pay(Max(1, 2, 1234567), 2025-13-45, EUR)");
    ASSERT_EQ(diagnosis.warnings.size(), 3u);
    EXPECT_TRUE(std::ranges::is_sorted(diagnosis.warnings, {}, &ScriptRemark::column));
    std::string many;
    for (int i = 0; i < 1000; ++i) many += "Set(x, 1) ";
    EXPECT_TRUE(diagnose_script(many).accepted);
    std::string dates = "End()";
    for (int i = 0; i < 1000; ++i) dates += "& Pay(1, x, EUR)";
    EXPECT_LE(diagnose_script(dates).warnings.size(), 100u);
}

TEST(RenderDiagnosis, ShowsTheLineWithACaretAndWhatHelps) {
    std::string const script = "End() &\n\tRecieve(1, \"2025-06-30\", EUR)";
    EXPECT_EQ(render_diagnosis(diagnose_script(script), script),
              "2:2: error: unknown word \"Recieve\"\n"
              "     Recieve(1, \"2025-06-30\", EUR)\n"
              "     ^\n"
              "    expected: a statement: Pay, Receive, Buy, Sell, Set, End, Either or If\n"
              "    found: \"Recieve\"\n"
              "    nearest word: Receive\n"
              "    form: Receive(amount, date, currency)\n");
}

TEST(RenderDiagnosis, ShowsWarningsOfAnAcceptedScript) {
    std::string const script = "Pay(1+(2)*3, 2025-06-30, \xE2\x82\xAC)";
    EXPECT_EQ(render_diagnosis(diagnose_script(script), script),
              "1:6: warning: the operator ends at the closing bracket: 1+(2)*3 is (1+2)*3\n"
              "    Pay(1+(2)*3, 2025-06-30, \xE2\x82\xAC)\n"
              "         ^\n"
              "    found: \"+\"\n"
              "    hint: bracket the product: 1+((2)*3)\n");
}

TEST(RenderDiagnosis, CutsALongLineRoundThePlace) {
    std::string script;
    for (int i = 0; i < 100; ++i) script += "End() & ";
    script += "Foo";
    auto const text = render_diagnosis(diagnose_script(script), script);
    auto const caret = text.find("^\n");
    auto const lines = text.substr(0, caret);
    auto const shown = lines.substr(lines.find('\n') + 1);
    auto const column = shown.size() - shown.find('\n') - 1;
    EXPECT_LE(shown.find('\n'), 110u);
    EXPECT_EQ(shown.substr(column, 3), "Foo");
}

TEST(RenderDiagnosis, APlaceOutsideTheScriptShowsAnEmptyLine) {
    EXPECT_EQ(render_diagnosis(ximAPI::ScriptDiagnosis{}, "End()"),
              "0:0: error: \n    End()\n    ^\n");
    auto diagnosis = diagnose_script("End() &\n\nFoo");
    EXPECT_THAT(render_diagnosis(diagnosis, "x"),
                HasSubstr("3:1: error: unknown word \"Foo\"\n    \n    ^\n"));
}

TEST(RenderDiagnosis, LetsNoControlCharacterThrough) {
    std::string const script = "End() \x1B[31m Foo";
    auto const text = render_diagnosis(diagnose_script(script), script);
    EXPECT_EQ(text.find('\x1B'), std::string::npos);
}

}  // namespace
