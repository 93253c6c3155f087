#include <Eigen/Core>
#include <cmath>
#include <functional>
#include <limits>

#include "core/contract/contract_test_case.hpp"
#include "core/contract/operation.hpp"
#include "core/contract/operations.hpp"

namespace ximCORE::Testing {
namespace {

using ::testing::ElementsAre;

double const c_infinity = std::numeric_limits<double>::infinity();

/// Equal, infinities and NaN included.
bool is_same(double a, double b) {
    return a == b || (std::isnan(a) && std::isnan(b));
}

struct UnaryCase {
    int code;
    char const* name;
    std::function<double(double)> expected;
};
struct BinaryCase {
    int code;
    char const* name;
    std::function<double(double, double)> expected;
};
struct ComparisonCase {
    int code;  // between two amounts
    std::function<bool(double, double)> expected;
    int slope;  // +1: true for a large left side
};

std::vector<UnaryCase> unary_cases() {
    return {{6, "Abs", [](double x) { return std::fabs(x); }},
            {7, "Cos", [](double x) { return std::cos(x); }},
            {8, "Exp", [](double x) { return std::exp(x); }},
            {9, "Log", [](double x) { return std::log(x); }},
            {10, "Sin", [](double x) { return std::sin(x); }},
            {11, "", [](double x) { return std::sqrt(x); }},
            {12, "-", [](double x) { return -x; }},
            {13, "Tan", [](double x) { return std::tan(x); }}};
}

/// Codes between two amounts; + 14 with a number on the left.
std::vector<BinaryCase> binary_cases() {
    return {{0, "+", std::plus<>()},
            {1, "/", std::divides<>()},
            {2, "Max", [](double x, double y) { return std::fmax(x, y); }},
            {3, "Min", [](double x, double y) { return std::fmin(x, y); }},
            {4, "*", std::multiplies<>()},
            {5, "-", std::minus<>()}};
}

std::vector<ComparisonCase> comparison_cases() {
    return {{1, std::equal_to<>(), 0}, {2, std::greater<>(), 1},     {3, std::greater_equal<>(), 1},
            {4, std::less<>(), -1},    {5, std::less_equal<>(), -1}, {6, std::not_equal_to<>(), 0}};
}

class Operators : public ContractCase {
 protected:
    /// A payment of the amount that `encode` makes of Spot(A) and Spot(B).
    double pay(double x, double y, std::function<int(Encoder&, int, int)> const& encode) const {
        Encoder encoder;
        int const left = encoder.spot("A", "2023-07-02");
        int const right = encoder.spot("B", "2023-07-02");
        auto on = path(encoder, encoder.pay(encode(encoder, left, right), "2024-01-01"));
        return on.set("A", "2023-07-02", x).set("B", "2023-07-02", y).flow("2024-01-01");
    }
    double decide(double x, double y, std::function<int(Encoder&, int, int)> const& encode) const {
        return pay(x, y, [&](Encoder& encoder, int left, int right) {
            return encoder.iff(encode(encoder, left, right), encoder.number(1), encoder.number(0));
        });
    }
};

std::vector<double> const c_points{-2.5, -1.0, -0.25, 0.0, 0.25, 1.0, 1.5, 3.0};

TEST_F(Operators, UnaryOperatorsAreTheStandardFunctions) {
    for (auto const& unary : unary_cases())
        for (double const x : c_points) {
            double const value = pay(x, 0, [&](Encoder& encoder, int left, int) {
                return encoder.a(unary.code, payload(left));
            });
            EXPECT_TRUE(is_same(value, unary.expected(x))) << "code " << unary.code << " at " << x;
        }
}

TEST_F(Operators, BinaryOperatorsAreTheStandardFunctions) {
    for (auto const& binary : binary_cases())
        for (double const x : c_points)
            for (double const y : c_points) {
                double const value = pay(x, y, [&](Encoder& encoder, int left, int right) {
                    return encoder.a(binary.code, payload(left, right));
                });
                EXPECT_TRUE(is_same(value, binary.expected(x, y)))
                    << binary.name << " at " << x << ", " << y;
            }
}

TEST_F(Operators, ANumberStandsOnItsSideOfAHybrid) {
    auto right_cases = binary_cases();
    right_cases.push_back({5, "Pow", [](double x, double y) { return std::pow(x, y); }});
    right_cases[5].code = 6;  // the power stands between the product and the difference
    for (double const x : c_points)
        for (double const number : c_points) {
            for (auto const& binary : binary_cases()) {
                double const value = pay(x, 0, [&](Encoder& encoder, int left, int) {
                    return encoder.a(14 + binary.code, payload(number, left));
                });
                EXPECT_TRUE(is_same(value, binary.expected(number, x)))
                    << number << binary.name << x;
            }
            for (auto const& binary : right_cases) {
                double const value = pay(x, 0, [&](Encoder& encoder, int left, int) {
                    return encoder.a(20 + binary.code, payload(left, number));
                });
                EXPECT_TRUE(is_same(value, binary.expected(x, number)))
                    << x << binary.name << number;
            }
        }
}

TEST_F(Operators, ComparisonsAreTheStandardOnes) {
    for (auto const& comparison : comparison_cases())
        for (double const x : c_points)
            for (double const y : c_points) {
                EXPECT_EQ(decide(x, y,
                                 [&](Encoder& encoder, int left, int right) {
                                     return encoder.e(comparison.code, payload(left, right));
                                 }),
                          comparison.expected(x, y));
                EXPECT_EQ(decide(y, 0,
                                 [&](Encoder& encoder, int left, int) {
                                     return encoder.e(comparison.code + 8, payload(x, left));
                                 }),
                          comparison.expected(x, y));
                EXPECT_EQ(decide(x, 0,
                                 [&](Encoder& encoder, int left, int) {
                                     return encoder.e(comparison.code + 14, payload(left, y));
                                 }),
                          comparison.expected(x, y));
            }
}

TEST_F(Operators, LogicFollowsTheTruthTables) {
    for (bool const p : {false, true})
        for (bool const q : {false, true}) {
            auto const with = [&](int code) {
                return decide(p, q, [&](Encoder& encoder, int left, int right) {
                    return encoder.e(code,
                                     payload(encoder.above(left, 0.5), encoder.above(right, 0.5)));
                });
            };
            EXPECT_EQ(with(7), p && q);
            EXPECT_EQ(with(8), p || q);
            EXPECT_EQ(decide(p, 0,
                             [&](Encoder& encoder, int left, int) {
                                 return encoder.e(0, payload(encoder.above(left, 0.5)));
                             }),
                      !p);
        }
}

TEST_F(Operators, NothingIsGuarded) {
    auto const unary = [&](int code, double x) {
        return pay(x, 0,
                   [&](Encoder& encoder, int left, int) { return encoder.a(code, payload(left)); });
    };
    EXPECT_EQ(pay(1, 0,
                  [](Encoder& encoder, int left, int right) {
                      return encoder.a(1, payload(left, right));
                  }),
              c_infinity);
    EXPECT_EQ(unary(9, 0.0), -c_infinity);
    EXPECT_TRUE(std::isnan(unary(11, -1.0)));
}

TEST_F(Operators, MaxOfASharedAmountIsTheAmount) {
    EXPECT_EQ(
        pay(7, 0,
            [](Encoder& encoder, int left, int) { return encoder.a(2, payload(left, left)); }),
        7.0);
}

/// How often it has been asked on a path.
class CountingAmount final : public Amount {
 public:
    double eval(Modeling::FixingGrid&, Variables&) override { return ++m_count; }
    bool eval(double&, Data::Level) override { return false; }
    Toolbox::Grid eval(Modeling::PDEHelper*) override { return {}; }
    void c_to_string(std::string&, bool) const override {}
    std::shared_ptr<Amount> clone() const override { return std::make_shared<CountingAmount>(); }

 private:
    int m_count{0};
};

TEST_F(Operators, ASharedAmountIsEvaluatedByEachOfItsParents) {
    Modeling::FixingGrid grid;
    Variables variables;
    auto const shared = std::make_shared<CountingAmount>();
    AmountBinaryMaxOperation larger{Child<Amount>(shared), Child<Amount>(shared)};
    EXPECT_EQ(static_cast<Amount&>(larger).eval(grid, variables), 2.0);
    auto const other = std::make_shared<CountingAmount>();
    AmountBinarySubOperation difference{Child<Amount>(other), Child<Amount>(other)};
    EXPECT_EQ(static_cast<Amount&>(difference).eval(grid, variables), 1.0) << "the right one first";
}

// Smoothing of comparisons

/// The ramp along the threshold, by its definition in pieces: from 0 to 1 for a rising event, from
/// 1 to 0 for a falling one.
double ramp(double x, double threshold, double lhs, double rhs, int slope) {
    double const rising = lhs + rhs > 0.0
                              ? std::clamp((x - (threshold - lhs)) / (lhs + rhs), 0.0, 1.0)
                              : (slope > 0 ? x >= threshold : x > threshold);
    return slope > 0 ? rising : 1.0 - rising;
}

struct Widths {
    double lhs;
    double rhs;
};

/// The side of the ramp that a direction keeps: towards true (1), towards false (-1), both (0).
Widths keep(Widths widths, int slope, int direction) {
    if (direction * slope > 0)
        widths.rhs =
            0.0;  // a rising event is nearer to true when its ramp lies below the threshold
    if (direction * slope < 0) widths.lhs = 0.0;
    return widths;
}

class Smoothing : public Operators {
 protected:
    /// The weight of the event that `encode` makes, on a path.
    double weigh(double x, double y, Widths widths, int direction,
                 std::function<int(Encoder&, int, int)> const& encode) const {
        Encoder encoder;
        int const left = encoder.spot("A", "2023-07-02");
        int const right = encoder.spot("B", "2023-07-02");
        int const event = encode(encoder, left, right);
        auto root = encoder.read(encoder.condition(
            event, encoder.pay(encoder.number(1), "2024-01-01"), encoder.nothing()));
        auto on = path(root);
        on.set("A", "2023-07-02", x).set("B", "2023-07-02", y);
        return static_cast<If&>(*root).c_get_event().smooth_eval(on.grid, on.variables, widths.lhs,
                                                                 widths.rhs, direction);
    }
    std::vector<double> const m_points{98, 99, 99.5, 100, 100.5, 101, 102, 103};
    std::vector<Widths> const m_widths{{1, 2}, {2, 0}, {0, 1}, {0, 0}};
};

TEST_F(Smoothing, EveryComparisonIsARampOnTheSideOfItsDirection) {
    double const threshold = 100;
    for (auto const& comparison : comparison_cases())
        for (auto const& widths : m_widths)
            for (int const direction : {-1, 0, 1})
                for (double const x : m_points) {
                    auto const expected = [&](int slope) {
                        auto const kept = keep(widths, slope, direction);
                        return ramp(x, threshold, kept.lhs, kept.rhs, slope);
                    };
                    double const two =
                        weigh(x, threshold, widths, direction, [&](Encoder& encoder, int a, int b) {
                            return encoder.e(comparison.code, payload(a, b));
                        });
                    double const right =
                        weigh(x, 0, widths, direction, [&](Encoder& encoder, int a, int) {
                            return encoder.e(comparison.code + 14, payload(a, threshold));
                        });
                    double const left =
                        weigh(x, 0, widths, direction, [&](Encoder& encoder, int a, int) {
                            return encoder.e(comparison.code + 8, payload(threshold, a));
                        });
                    if (comparison.slope == 0) {
                        EXPECT_EQ(two, comparison.expected(x, threshold));
                        EXPECT_EQ(right, comparison.expected(x, threshold));
                        EXPECT_EQ(left, comparison.expected(threshold, x));
                        continue;
                    }
                    if (widths.lhs + widths.rhs == 0.0 && x == threshold) {
                        EXPECT_EQ(two, 1.0);  // the step is 1 at the threshold either way
                        EXPECT_EQ(left, 1.0);
                        continue;
                    }
                    if (x == threshold) {
                        auto const kept = keep(widths, comparison.slope, direction);
                        if (kept.lhs + kept.rhs == 0.0) continue;  // a step again
                    }
                    EXPECT_NEAR(two, expected(comparison.slope), 1e-15)
                        << comparison.code << " " << x;
                    EXPECT_NEAR(right, expected(comparison.slope), 1e-15)
                        << comparison.code << " " << x;
                    auto const kept = keep(widths, -comparison.slope, direction);
                    if (x == threshold && kept.lhs + kept.rhs == 0.0) continue;
                    EXPECT_NEAR(left, expected(-comparison.slope), 1e-15)
                        << comparison.code << " " << x;
                }
}

TEST_F(Smoothing, AStepIsOneAtTheThresholdForEitherSide) {
    for (int const code : {16, 17, 18, 19})
        EXPECT_EQ(
            weigh(100, 0, {0, 0}, 0,
                  [&](Encoder& encoder, int a, int) { return encoder.e(code, payload(a, 100)); }),
            1.0);
}

TEST_F(Smoothing, ADirectionTowardsTrueGivesTheLargerWeight) {
    for (int const code : {2, 3, 4, 5})
        for (double const x : m_points) {
            auto const with = [&](int direction) {
                return weigh(x, 100, {1, 2}, direction, [&](Encoder& encoder, int a, int b) {
                    return encoder.e(code, payload(a, b));
                });
            };
            EXPECT_GE(with(1), with(0)) << code << " " << x;
            EXPECT_GE(with(0), with(-1)) << code << " " << x;
        }
}

TEST_F(Smoothing, AnyOtherDirectionIsAnError) {
    for (int const direction : {-2, 2, 7})
        EXPECT_THAT(([&] {
                        weigh(100, 0, {1, 1}, direction,
                              [&](Encoder& encoder, int a, int) { return encoder.above(a, 100); });
                    }),
                    Raises<std::runtime_error>("Unknown error"));
}

TEST_F(Smoothing, WeightsCombineLikeProbabilities) {
    double const x = 99.75;
    double const y = 100.5;
    Widths const widths{1, 1};
    auto const p = [&](double at, int direction) {
        auto const kept = keep(widths, 1, direction);
        return ramp(at, 100, kept.lhs, kept.rhs, 1);
    };
    auto const joined = [&](int code, int direction) {
        return weigh(x, y, widths, direction, [&](Encoder& encoder, int a, int b) {
            return encoder.e(code, payload(encoder.above(a, 100), encoder.above(b, 100)));
        });
    };
    for (int const direction : {-1, 0, 1}) {
        EXPECT_NEAR(joined(7, direction), p(x, direction) * p(y, direction), 1e-15);
        EXPECT_NEAR(joined(8, direction),
                    p(x, direction) + p(y, direction) - p(x, -direction) * p(y, -direction), 1e-15);
        EXPECT_NEAR(weigh(x, y, widths, direction,
                          [&](Encoder& encoder, int a, int) {
                              return encoder.e(0, payload(encoder.above(a, 100)));
                          }),
                    1.0 - p(x, direction), 1e-15);
    }
    EXPECT_EQ(
        weigh(x, y, widths, 1, [](Encoder& encoder, int, int) { return encoder.truth(true); }),
        1.0);
    EXPECT_EQ(
        weigh(x, y, widths, 1, [](Encoder& encoder, int, int) { return encoder.truth(false); }),
        0.0);
}

TEST_F(Smoothing, ALongAlternativeIsWeighedInOnePass) {
    // 1 - (1 - p)^n in the middle of the ramps; a walk that doubled at each level would never end
    double const weight = weigh(100, 0, {1, 1}, 0, [](Encoder& encoder, int a, int) {
        int event = encoder.above(a, 100);
        for (int i = 1; i < 80; ++i) event = encoder.e(8, payload(event, encoder.above(a, 100.5)));
        return event;
    });
    EXPECT_NEAR(weight, 1.0 - 0.5 * std::pow(0.75, 79), 1e-12);
    double const upper = weigh(100, 0, {1, 1}, 1, [](Encoder& encoder, int a, int) {
        int event = encoder.above(a, 100);
        for (int i = 1; i < 80; ++i) event = encoder.e(8, payload(event, encoder.above(a, 100.5)));
        return event;
    });
    EXPECT_TRUE(std::isfinite(upper));
}

TEST_F(Smoothing, KnownValuesWeighLikeAPath) {
    quote("A", "2022-12-01", 100.25);
    Encoder encoder;
    int const event = encoder.e(
        7, payload(encoder.above(encoder.spot("A", "2022-12-01"), 100), encoder.truth(true)));
    auto root = encoder.read(
        encoder.condition(event, encoder.pay(encoder.number(1), "2024-01-01"), encoder.nothing()));
    std::ignore = root->get_dependencies(today, eur.get());
    double weight{};
    EXPECT_TRUE(static_cast<If&>(*root).c_get_event().smooth_eval(1.0, 1.0, weight, 0));
    EXPECT_NEAR(weight, 0.625, 1e-12);
}

// Texts

TEST(OperationText, TypesHaveTheirTexts) {
    std::vector<std::string> texts;
    for (unsigned char type = 0; type < 23; ++type)
        if (type != 20) texts.emplace_back(Operation(static_cast<Operation::Type>(type)).c_str());
    EXPECT_THAT(texts,
                ElementsAre(">", "<", ">=", "<=", "==", "!=", "Max", "Min", "&&", "||", "!", "-",
                            "*", "/", "+", "Abs", "Sin", "Cos", "Tan", "Log", "Exp", "Pow"));
    EXPECT_EQ(Operation(Operation::Type::exp).c_get_symbol(), 21);
}

TEST(OperationText, TheSquareRootAndUnknownTypesHaveNone) {
    for (int const type : {20, 23, 200, 255})
        EXPECT_THAT(([&] { Operation(static_cast<Operation::Type>(type)).c_str(); }),
                    Raises<std::runtime_error>("Unknown error"));
}

}  // namespace
}  // namespace ximCORE::Testing
