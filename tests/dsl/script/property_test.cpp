// Laws of the script language over random scripts and trees, with fixed seeds.
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <random>
#include <string>
#include <vector>

#include "dsl/cashflow.hpp"
#include "dsl/encoded_reader.hpp"
#include "dsl/script/parser.hpp"
#include "dsl/script/text.hpp"
#include "ximAPI/cashflow.hpp"
#include "ximAPI/diagnosis.hpp"

namespace {

using ximTest::EncodedReader;
using ximTest::text_of_script;

/// Makes random scripts of the grammar, and the value that arithmetic gives to their expressions.
class Writer {
 public:
    explicit Writer(unsigned seed) : m_random(seed) {}

    std::size_t pick(std::size_t count) {
        return std::uniform_int_distribution<std::size_t>(0, count - 1)(m_random);
    }
    char const* date() { return c_dates[pick(c_dates.size())]; }

    std::string statement(int depth) {
        switch (pick(depth > 0 ? 8 : 4)) {
            case 0:
                return "Pay(" + amount(depth) + "," + date() + ",EUR)";
            case 1:
                return "Receive(" + amount(depth) + "," + date() + ",USD)";
            case 2:
                return "Set(x," + amount(depth) + ")";
            case 3:
                return "End()";
            case 4:
                return statement(depth - 1) + "&" + statement(depth - 1);
            case 5:
                return std::string("Buy(") + date() + "," + number() + "," + statement(depth - 1) +
                       ")";
            case 6:
                return std::string("Either(Putable,") + date() + ")(" + statement(depth - 1) + "," +
                       statement(depth - 1) + ")";
            default:
                return "If(" + event(depth) + spreads() + ")(" + statement(depth - 1) + "," +
                       statement(depth - 1) + ")";
        }
    }

    std::string amount(int depth) {
        switch (pick(depth > 0 ? 9 : 5)) {
            case 0:
                return number();
            case 1:
                return std::string("Spot(AAA,") + date() + ")";
            case 2:
                return "Cst(-" + number() + ")";
            case 3:
                return "CstRef(k," + number() + ")";
            case 4:
                return "AmountRef(x)";
            case 5:
                return "Max(" + amount(depth - 1) + "," + amount(depth - 1) + ")";
            case 6:
                return std::string(c_functions[pick(c_functions.size())]) + "(" +
                       amount(depth - 1) + ")";
            case 7:
                return "(" + amount(depth - 1) + ")" + c_signs[pick(c_signs.size())] + "(" +
                       amount(depth - 1) + ")";
            default:
                return "If(" + event(depth) + ")(" + amount(depth - 1) + "," + amount(depth - 1) +
                       ")";
        }
    }

    std::string event(int depth) {
        if (depth > 0 && pick(3) == 0)
            return "(" + event(depth - 1) + ")" + (pick(2) == 0 ? "&&" : "||") + "(" +
                   event(depth - 1) + ")";
        return amount(depth - 1) + c_comparisons[pick(c_comparisons.size())] + amount(depth - 1);
    }

    std::string number() {
        return std::to_string(pick(1000)) + (pick(2) == 0 ? "" : "." + std::to_string(pick(100)));
    }
    std::string spreads() { return pick(2) == 0 ? "" : ",0.01,0.02"; }

    /// The script after a few random changes of characters and pieces.
    std::string mutate(std::string script) {
        static constexpr auto pieces =
            std::to_array<char const*>({"(",
                                        ")",
                                        ",",
                                        "&",
                                        "&&",
                                        "||",
                                        "|",
                                        "-",
                                        "+",
                                        "*",
                                        "/",
                                        "<",
                                        "<=",
                                        ">",
                                        ">=",
                                        "=",
                                        "==",
                                        "!",
                                        ".",
                                        "{",
                                        "}",
                                        " ",
                                        "\n",
                                        "\"",
                                        "\t",
                                        "0",
                                        "1e-3",
                                        "9",
                                        "e",
                                        "x",
                                        "Pay(",
                                        "Receive(",
                                        "Buy(",
                                        "Sell(",
                                        "Set(",
                                        "End()",
                                        "End(",
                                        "Either(",
                                        "If(",
                                        "Spot(",
                                        "CstRef(",
                                        "Cst(",
                                        "AmountRef(",
                                        "Max(",
                                        "Min(",
                                        "Sqr(",
                                        "Sqrt(",
                                        "Abs",
                                        "Putable",
                                        "Callable",
                                        "2025-06-30",
                                        "2025-13-45",
                                        "99999999999999999999999999999999999999999999",
                                        "\xE2\x82\xAC",
                                        "\x80",
                                        "\x7F"});
        for (auto count = 1 + pick(3); count > 0; --count) {
            auto const at = pick(script.size() + 1);
            switch (pick(4)) {
                case 0:
                    script.insert(at, pieces[pick(pieces.size())]);
                    break;
                case 1:
                    script.erase(at, 1 + pick(3));
                    break;
                case 2:
                    script.insert(at, 1, static_cast<char>(pick(256)));
                    break;
                default:
                    script.insert(at, script.substr(pick(script.size() + 1), pick(20)));
                    break;
            }
        }
        return script;
    }

 private:
    static constexpr auto c_dates =
        std::to_array<char const*>({"2025-06-30", "2026-01-02", "2024-02-29"});
    static constexpr auto c_functions =
        std::to_array<char const*>({"Abs", "Sqr", "Exp", "Log", "Sin", "Cos", "Tan"});
    static constexpr auto c_signs = std::to_array<char const*>({"+", "-", "*", "/"});
    static constexpr auto c_comparisons = std::to_array<char const*>({"<", "<=", ">", ">="});

    std::mt19937 m_random;
};

/// Whether the parser takes the script; an exception means no. A text with a comma is taken, and
/// refused by name when the contract is encoded.
bool builds(std::string const& script) {
    try {
        auto const text = ximAPI::Toolkit::clean_script(script);
        return ximAPI::Toolkit::parse<ximDSL::CashFlow>(text) != nullptr;
    } catch (std::logic_error const&) {
        return false;
    }
}

void expect_agreement(std::string const& script) {
    auto const diagnosis = ximAPI::diagnose_script(script);
    ASSERT_EQ(diagnosis.accepted, builds(script)) << script;
    ASSERT_EQ(diagnosis.error.message.empty(), diagnosis.accepted) << script;
    ASSERT_EQ(diagnosis.error.line == 0, diagnosis.accepted) << script;
    auto const lines = static_cast<std::size_t>(std::ranges::count(script, '\n')) + 1;
    auto const text = ximAPI::render_diagnosis(diagnosis, script);
    ASSERT_LE(diagnosis.error.line, lines) << script;
    ASSERT_EQ(text.empty(), diagnosis.accepted && diagnosis.warnings.empty()) << script;
}

TEST(ScriptLaws, AScriptOfTheGrammarIsAccepted) {
    Writer writer(1);
    for (int i = 0; i < 1000; ++i) {
        auto const script = writer.statement(4);
        ASSERT_TRUE(builds(script)) << script;
        ASSERT_TRUE(ximAPI::diagnose_script(script).accepted) << script;
    }
}

TEST(ScriptLaws, DiagnosisAndParserAgreeOnEveryPrefix) {
    Writer writer(2);
    for (int i = 0; i < 30; ++i) {
        auto const script = writer.statement(3);
        for (std::size_t length = 0; length <= script.size(); ++length)
            expect_agreement(script.substr(0, length));
    }
}

TEST(ScriptLaws, DiagnosisAndParserAgreeOnMutations) {
    Writer writer(3);
    auto accepted = 0;
    for (int i = 0; i < 6000; ++i) {
        auto const script = writer.mutate(writer.statement(2));
        expect_agreement(script);
        accepted += builds(script) ? 1 : 0;
    }
    EXPECT_GT(accepted, 300);  // both answers are exercised
    EXPECT_LT(accepted, 5700);
}

TEST(ScriptLaws, DiagnosisAndParserAgreeOnNoise) {
    Writer writer(4);
    for (int i = 0; i < 2000; ++i) {
        std::string noise;
        for (auto length = writer.pick(30); length > 0; --length) noise = writer.mutate(noise);
        expect_agreement(noise);
    }
}

TEST(ScriptLaws, BlanksAndQuotesChangeNothing) {
    Writer writer(5);
    for (int i = 0; i < 300; ++i) {
        auto const script = writer.statement(3);
        std::string decorated;
        for (auto const character : script) {
            if (writer.pick(4) == 0) decorated += " \n\t\"\r\f\v"[writer.pick(7)];
            decorated += character;
        }
        ASSERT_EQ(text_of_script(decorated), text_of_script(script));
    }
}

/// A random tree by the builder functions; shares nodes now and then.
class Grower {
 public:
    explicit Grower(unsigned seed) : m_writer(seed) {}

    ximDSL::AmountPtr amount(int depth) {
        using namespace ximDSL;
        auto const node = fresh_amount(depth);
        if (m_writer.pick(3) == 0) m_shared = node;
        return m_shared != nullptr && m_writer.pick(5) == 0 ? m_shared : node;
    }

    ximDSL::EventPtr event(int depth) {
        using namespace ximDSL;
        switch (m_writer.pick(depth > 0 ? 9 : 3)) {
            case 0:
                return amount(depth - 1) > number();
            case 1:
                return number() != amount(depth - 1);
            case 2:
                return Cst(true);
            case 3:
                return amount(depth - 1) == amount(depth - 1);
            case 4:
                return amount(depth - 1) <= amount(depth - 1);
            case 5:
                return amount(depth - 1) >= number();
            case 6:
                return !event(depth - 1);
            case 7:
                return event(depth - 1) && event(depth - 1);
            default:
                return event(depth - 1) || event(depth - 1);
        }
    }

    ximDSL::CashFlowPtr cashflow(int depth) {
        using namespace ximDSL;
        switch (m_writer.pick(depth > 0 ? 8 : 4)) {
            case 0:
                return Pay(amount(depth), m_writer.date(), "EUR");
            case 1:
                return Receive(amount(depth), m_writer.date(), "USD");
            case 2:
                return End();
            case 3:
                return Set("x", amount(depth));
            case 4:
                return cashflow(depth - 1) & cashflow(depth - 1);
            case 5:
                return Sell(m_writer.date(), number(), cashflow(depth - 1));
            case 6:
                return Either(m_writer.date(), static_cast<int>(m_writer.pick(2)))(
                    {cashflow(depth - 1), cashflow(depth - 1), End()});
            default:
                return If(event(depth), 0.01f, number())(cashflow(depth - 1), cashflow(depth - 1));
        }
    }

 private:
    float number() { return std::stof(m_writer.number()); }

    ximDSL::AmountPtr fresh_amount(int depth) {
        using namespace ximDSL;
        if (depth <= 0)
            return m_writer.pick(2) == 0 ? Spot("A", m_writer.date(), "EUR") : Cst(number());
        switch (m_writer.pick(11)) {
            case 0:
                return amount(depth - 1) + amount(depth - 1);
            case 1:
                return amount(depth - 1) - number();
            case 2:
                return number() / amount(depth - 1);
            case 3:
                return -amount(depth - 1);
            case 4:
                return Sqrt(amount(depth - 1));
            case 5:
                return Max(amount(depth - 1), number());
            case 6:
                return Pow(amount(depth - 1), number());
            case 7:
                return Sorted({amount(depth - 1), amount(depth - 1),
                               amount(depth - 1)})[static_cast<int>(m_writer.pick(3))];
            case 8:
                return If(event(depth - 1))(amount(depth - 1), amount(depth - 1));
            case 9:
                return CstRef("k", number());
            default:
                return AmountRef("x");
        }
    }

    Writer m_writer;
    ximDSL::AmountPtr m_shared;
};

TEST(EncodedLaws, TextAndBackIsTheSame) {
    Grower grower(6);
    for (int i = 0; i < 500; ++i) {
        auto const text = ximTest::text_of(grower.cashflow(4));
        std::istringstream in(text);
        ximDSL::Encoded read;
        ximDSL::Toolkit::deserialize(in, read);
        ASSERT_EQ(ximTest::text_of(read), text);
    }
}

TEST(EncodedLaws, EveryNumberBelowTheCountHasOneItemAndEveryChildIsThere) {
    Grower grower(7);
    for (int i = 0; i < 500; ++i) {
        ximDSL::Encoded encoded;
        ASSERT_TRUE((grower.cashflow(4) & ximDSL::End())->encode(encoded));
        EncodedReader const reader(encoded);
        ASSERT_EQ(encoded.items.size(), encoded.amounts + encoded.events + encoded.cashflows);
        ASSERT_EQ(reader.count('a'), encoded.amounts);
        ASSERT_EQ(reader.count('e'), encoded.events);
        ASSERT_EQ(reader.count('c'), encoded.cashflows);
    }
}

/// A random sum of products of constants, without brackets, and its value.
std::pair<std::string, double> arithmetic(Writer& writer) {
    std::string text;
    double sum = 0.0;
    for (auto terms = 1 + writer.pick(4); terms > 0; --terms) {
        auto const negative = !text.empty() && writer.pick(2) == 0;
        if (!text.empty()) text += negative ? '-' : '+';
        double product = 1.0;
        for (auto factors = 1 + writer.pick(3); factors > 0; --factors) {
            auto const factor = 1 + writer.pick(9);
            text += std::to_string(factor) + (factors > 1 ? "*" : "");
            product *= static_cast<double>(factor);
        }
        sum += negative ? -product : product;
    }
    return {text, sum};
}

TEST(ScriptLaws, SumsOfProductsComputeAsInArithmetic) {
    Writer writer(8);
    for (int i = 0; i < 500; ++i) {
        auto const [text, value] = arithmetic(writer);
        ASSERT_EQ(ximTest::value_of(text), value) << text;
        ASSERT_EQ(ximTest::value_of("2*(" + text + ")"), 2.0 * value) << text;
        ASSERT_EQ(ximTest::value_of("Max(" + text + ",Cst(-1e9))*3"), 3.0 * value) << text;
    }
}

}  // namespace
