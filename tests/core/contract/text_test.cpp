#include "core/contract/text.hpp"

#include "core/contract/contract_test_case.hpp"

namespace ximCORE::Testing {
namespace {

class Text : public ContractCase {
 protected:
    std::string amount(Encoder& encoder, int id) const {
        std::string result;
        static_cast<PayReceive&>(*encoder.read(encoder.pay(id, "2024-01-01")))
            .c_get_amount()
            .c_write(result, 1000);
        return result;
    }
    std::string event(Encoder& encoder, int id) const {
        int const end = encoder.nothing();
        std::string result;
        static_cast<If&>(*encoder.read(encoder.condition(id, end, end)))
            .c_get_event()
            .c_write(result);
        return result;
    }
    std::string flow(Encoder& encoder, int id) const { return text(*encoder.read(id)); }
};

TEST_F(Text, NumbersLoseTheirTrailingZeros) {
    EXPECT_EQ(to_string_wtz(2), "2");
    EXPECT_EQ(to_string_wtz(-1.25), "-1.25");
    EXPECT_EQ(to_string_wtz(100), "100");
    EXPECT_EQ(to_string_wtz(0.0000001), "0");
    EXPECT_EQ(to_string_wtz(1e300).size(), 301U);
    EXPECT_EQ(to_string_wtz(-1e308).size(), 310U);
}

TEST_F(Text, SumsAreBracketedInProductsAndProductsNowhere) {
    Encoder encoder;
    int const a = encoder.spot("A", "2023-07-02");
    int const two = encoder.number(2);
    int const sum = encoder.add(two, a);
    int const difference = encoder.a(5, payload(sum, two));
    EXPECT_EQ(amount(encoder, difference), "2 + Spot(\"A\", \"2023-07-02\") - 2");
    EXPECT_EQ(amount(encoder, encoder.mul(difference, sum)),
              "(2 + Spot(\"A\", \"2023-07-02\") - 2) * (2 + Spot(\"A\", \"2023-07-02\"))");
    EXPECT_EQ(amount(encoder, encoder.a(1, payload(two, encoder.mul(two, two)))), "2 / 2 * 2");
    EXPECT_EQ(amount(encoder, encoder.add(two, encoder.mul(two, two))), "2 + 2 * 2");
}

TEST_F(Text, FunctionsAskForNoBrackets) {
    Encoder encoder;
    int const two = encoder.number(2);
    int const sum = encoder.add(two, two);
    EXPECT_EQ(amount(encoder, encoder.a(2, payload(sum, two))), "Max(2 + 2, 2)");
    EXPECT_EQ(amount(encoder, encoder.a(3, payload(two, sum))), "Min(2, 2 + 2)");
    EXPECT_EQ(amount(encoder, encoder.a(12, payload(sum))), "-(2 + 2)");
    EXPECT_EQ(amount(encoder, encoder.a(8, payload(sum))), "Exp(2 + 2)");
}

TEST_F(Text, HybridsAreWrittenLikeTheirOperators) {
    Encoder encoder;
    int const sum = encoder.add(encoder.number(1), encoder.number(2));
    EXPECT_EQ(amount(encoder, encoder.a(14, payload(0.5, sum))), "0.5 + 1 + 2");
    EXPECT_EQ(amount(encoder, encoder.a(18, payload(0.5, sum))), "0.5 * (1 + 2)");
    EXPECT_EQ(amount(encoder, encoder.a(16, payload(0.5, sum))), "Max(0.5, 1 + 2)");
    EXPECT_EQ(amount(encoder, encoder.a(21, payload(sum, 0.5))), "(1 + 2) / 0.5");
    EXPECT_EQ(amount(encoder, encoder.a(25, payload(sum, 2))), "Pow(1 + 2, 2)");
}

TEST_F(Text, LeavesAndChoicesOfAmounts) {
    Encoder encoder;
    int const two = encoder.number(2);
    EXPECT_EQ(amount(encoder, encoder.spot("A", "2023-07-02", "USD")),
              "Spot(\"A\", \"2023-07-02\", \"USD\")");
    EXPECT_EQ(amount(encoder, encoder.ref("k", 1.5)), "CstRef(\"k\", 1.5)");
    EXPECT_EQ(amount(encoder, encoder.reference("m")), "AmountRef(\"m\")");
    EXPECT_EQ(amount(encoder, encoder.iff(encoder.above(two, 1), two, encoder.number(3))),
              "If(2 > 1) (2, 3)");
    EXPECT_EQ(amount(encoder, encoder.a(32, payload(1, two, two))), "Sorted({2, 2})[1]");
}

TEST_F(Text, ComparisonsAskForNoBrackets) {
    Encoder encoder;
    int const two = encoder.number(2);
    int const sum = encoder.add(two, two);
    std::vector<std::string> const operators{"==", ">", ">=", "<", "<=", "!="};
    for (std::size_t i = 0; i < operators.size(); ++i) {
        auto const code = static_cast<int>(i);
        EXPECT_EQ(event(encoder, encoder.e(1 + code, payload(sum, two))),
                  "2 + 2 " + operators[i] + " 2");
        EXPECT_EQ(event(encoder, encoder.e(9 + code, payload(5, sum))),
                  "5 " + operators[i] + " 2 + 2");
        EXPECT_EQ(event(encoder, encoder.e(15 + code, payload(sum, 5))),
                  "2 + 2 " + operators[i] + " 5");
    }
}

TEST_F(Text, LogicKeepsItsGrouping) {
    Encoder encoder;
    int const p = encoder.truth(true);
    int const q = encoder.truth(false);
    int const either = encoder.e(8, payload(p, q));
    EXPECT_EQ(event(encoder, either), "true || false");
    EXPECT_EQ(event(encoder, encoder.e(8, payload(either, p))), "true || false || true");
    EXPECT_EQ(event(encoder, encoder.e(7, payload(either, p))), "(true || false) && true");
}

TEST_F(Text, ANegationIsWrittenAsNotEqual) {
    Encoder encoder;
    EXPECT_EQ(event(encoder, encoder.e(0, payload(encoder.truth(true)))), "!=(true)");
}

TEST_F(Text, ASquareRootPricesAndHasNoText) {
    Encoder encoder;
    int const root = encoder.a(11, payload(encoder.spot("A", "2023-07-02")));
    auto const flow = encoder.read(encoder.pay(root, "2024-01-01"));
    EXPECT_THAT([&] { text(*flow); }, Raises<std::runtime_error>("Unknown error"));
    EXPECT_EQ(path(flow).set("A", "2023-07-02", 16).flow("2024-01-01"), 4.0);
}

TEST_F(Text, FlowsAreWrittenOnePerLine) {
    Encoder encoder;
    int const payment = encoder.pay(encoder.number(1), "2024-01-01");
    int const receipt = encoder.pay(encoder.number(2), "2025-01-01", "USD", -1);
    EXPECT_EQ(flow(encoder, encoder.nothing()), "End()");
    EXPECT_EQ(
        flow(encoder,
             encoder.both(payment, encoder.both(receipt, encoder.set("x", encoder.number(3))))),
        "Pay(1, \"2024-01-01\", \"EUR\") &\nReceive(2, \"2025-01-01\", \"USD\") &\nSet(\"x\", 3)");
    EXPECT_EQ(flow(encoder, encoder.buy("2023-07-02", 2.5, payment)),
              "Buy(\"2023-07-02\", 2.5, Pay(1, \"2024-01-01\", \"EUR\"))");
    EXPECT_EQ(flow(encoder, encoder.buy("2023-07-02", 2.5, payment, -1)),
              "Sell(\"2023-07-02\", 2.5, Pay(1, \"2024-01-01\", \"EUR\"))");
}

TEST_F(Text, SpreadsArePercentagesAndAbsentOnesAreNotWritten) {
    Encoder encoder;
    int const barrier = encoder.above(encoder.number(1), 0);
    int const end = encoder.nothing();
    EXPECT_EQ(flow(encoder, encoder.condition(barrier, end, end, -0.01, 0.025)),
              "If(1 > 0, 1%, 2.5%) (\n    End(),\n    End()\n)");
    EXPECT_EQ(flow(encoder, encoder.condition(barrier, end, end)),
              "If(1 > 0) (\n    End(),\n    End()\n)");
}

TEST_F(Text, BranchesAreIndentedByTheirDepth) {
    Encoder encoder;
    int const barrier = encoder.above(encoder.number(1), 0);
    int const end = encoder.nothing();
    int const inner = encoder.condition(barrier, encoder.both(end, end), end);
    EXPECT_EQ(flow(encoder, encoder.condition(barrier, inner, end)),
              "If(1 > 0) (\n    If(1 > 0) (\n        End() &\n        End(),\n        End()\n    "
              "),\n    End()\n)");
}

TEST_F(Text, AChoiceNamesItsOwner) {
    Encoder encoder;
    int const end = encoder.nothing();
    EXPECT_EQ(flow(encoder, encoder.c(2, payload(1, "2023-07-02", end, end))),
              "Either(Putable, \"2023-07-02\") ({\n    End(),\n    End()})");
    EXPECT_EQ(flow(encoder, encoder.c(2, payload(0, "2023-07-02", end))),
              "Either(Callable, \"2023-07-02\") ({\n    End()})");
    EXPECT_EQ(flow(encoder, encoder.c(2, payload(-1, "2023-07-02", end))).substr(0, 16),
              "Either(Callable,");
}

TEST_F(Text, LongAmountsBreakBehindAParenthesis) {
    Encoder encoder;
    int sum = encoder.spot("A", "2023-07-02");
    for (int i = 0; i < 3; ++i) sum = encoder.add(sum, encoder.spot("A", "2023-07-02"));
    auto const flow = encoder.read(encoder.pay(sum, "2024-01-01"));
    std::string written;
    flow->c_write(written, 60);  // two fixings fit into a line
    EXPECT_EQ(written,
              "Pay(Spot(\"A\", \"2023-07-02\") + Spot(\"A\", \"2023-07-02\")\n    + Spot(\"A\", "
              "\"2023-07-02\") + "
              "Spot(\"A\", \"2023-07-02\"), \"2024-01-01\", \"EUR\")");
    written.clear();
    flow->c_write(written, 5);  // one break at each place that allows it
    EXPECT_EQ(std::count(written.begin(), written.end(), '\n'), 3);
}

TEST_F(Text, ALineWithoutAParenthesisIsNotBroken) {
    std::string text;
    append_lines(text, "a b c d", 2, 3);
    EXPECT_EQ(text, "a b c d");
    text.clear();
    append_lines(text, "f(x) y g(z) u", 2, 6);
    EXPECT_EQ(text, "f(x)\n  y g(z)\n  u");
}

}  // namespace
}  // namespace ximCORE::Testing
