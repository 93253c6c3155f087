#include "core/toolbox/formulas/black_scholes.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>
#include <random>
#include <vector>

#include "core/toolbox/math.hpp"
#include "support/matchers.hpp"

using namespace ximCORE::Toolbox;
using BS = BlackScholesCallPricer;
using Method = BS::InitialGuessMethod;
using ximTest::IsNearRel;

namespace {

constexpr signed char c_call = 1;
constexpr signed char c_put = -1;
constexpr signed char c_both[]{c_call, c_put};

double normal_cdf(double x) {
    return 0.5 * std::erfc(-x / std::numbers::sqrt2);
}

/// Black's formula with forward 1, by the error function.
double textbook_price(double k, double s, signed char omega) {
    double const d1 = -k / s + 0.5 * s;
    return omega * (normal_cdf(omega * d1) - std::exp(k) * normal_cdf(omega * (d1 - s)));
}

/// Nodes and weights of the n-point Gauss-Legendre rule, by Newton's method on the Legendre
/// polynomial.
struct Node {
    double x;
    double weight;
};

std::vector<Node> gauss_legendre(int n) {
    std::vector<Node> nodes;
    for (int i = 1; i <= n; ++i) {
        double x = std::cos(std::numbers::pi * (i - 0.25) / (n + 0.5));
        double derivative = 0.0;
        for (int step = 0; step < 50; ++step) {
            double previous = 1.0;
            double value = x;
            for (int degree = 2; degree <= n; ++degree) {
                double const next =
                    ((2.0 * degree - 1.0) * x * value - (degree - 1.0) * previous) / degree;
                previous = value;
                value = next;
            }
            derivative = n * (x * value - previous) / (x * x - 1.0);
            x -= value / derivative;
        }
        nodes.push_back({x, 2.0 / ((1.0 - x * x) * derivative * derivative)});
    }
    return nodes;
}

/// The time value by a rule of our own.
double integral(double k, double s, std::vector<Node> const& nodes) {
    double sum = 0.0;
    for (Node const& node : nodes) {
        double const u = 0.5 * s * (1.0 + node.x);
        sum += node.weight * std::exp(-0.5 * std::pow(-k / u + 0.5 * u, 2));
    }
    return 0.5 * s * sum;
}

TEST(BlackScholes, TheTimeValueIsTheTenPointRule) {
    std::vector<Node> const nodes = gauss_legendre(10);
    for (double const k : {-1.0, -0.3, -0.01, 0.0, 0.02, 0.4, 1.5}) {
        for (double const s : {0.05, 0.2, 0.5, 1.0, 2.0}) {
            double const expected = integral(k, s, nodes);
            EXPECT_NEAR(BS::time_value(k, s), expected, 1e-13 * (1.0 + expected)) << k << " " << s;
        }
    }
}

TEST(BlackScholes, ThePriceIsTheTextbooksWhereTheIntegrandIsSmooth) {
    for (double s = 0.05; s <= 1.5; s += 0.05) {
        for (double const multiple : {0.0, 0.5, 0.75, 1.0, 2.0, 3.0}) {
            for (double const k : {multiple * s, -multiple * s}) {
                for (signed char const omega : c_both) {
                    EXPECT_NEAR(BS::price(k, s, omega), textbook_price(k, s, omega), 2.5e-5 * s)
                        << k << " " << s;
                }
            }
        }
    }
}

TEST(BlackScholes, ThePriceIsOffByAShareOfTheVolatilityWhereTheMoneynessIsSmallAgainstIt) {
    for (double s = 0.01; s <= 1.0; s *= 1.5) {
        double largest = 0.0;
        for (double ratio = 1e-4; ratio <= 0.5; ratio *= 1.02) {
            double const k = ratio * s;
            largest =
                std::max(largest, std::abs(BS::price(k, s, c_call) - textbook_price(k, s, c_call)));
        }
        EXPECT_LT(largest, 0.002 * s);
        EXPECT_GT(largest, 0.001 * s);  // it is this rule, and nothing finer
    }
}

TEST(BlackScholes, FarOutOfTheMoneyThePriceKeepsItsDigits) {
    std::vector<Node> const fine = gauss_legendre(200);
    for (double const k : {0.6, 0.8, 1.0}) {  // five to eight deviations away
        double const expected = integral(k, 0.12, fine) / std::sqrt(2.0 * std::numbers::pi);
        EXPECT_LT(expected, 1e-8);
        EXPECT_THAT(BS::price(k, 0.12, c_call), IsNearRel(expected, 0.1)) << k;
    }
}

TEST(BlackScholes, WithoutVolatilityThePriceIsTheIntrinsicValue) {
    EXPECT_EQ(BS::price(0.0, 0.0, c_call), 0.0);
    EXPECT_EQ(BS::price(-0.1, 0.0, c_call), 1.0 - std::exp(-0.1));
    EXPECT_EQ(BS::price(0.1, 0.0, c_put), -(1.0 - std::exp(0.1)));
    EXPECT_DOUBLE_EQ(BS::price(0.1, 0.0, c_put), std::exp(0.1) - 1.0);
    EXPECT_EQ(BS::price(0.1, 0.0, c_call), 0.0);
    EXPECT_EQ(BS::price(-0.1, 0.0, c_put), 0.0);
    EXPECT_EQ(BS::time_value(0.3, 0.0), 0.0);
}

TEST(BlackScholes, CallLessPutIsTheForward) {
    std::mt19937 random(13);
    std::uniform_real_distribution<double> uniform(-1.0, 1.0);
    for (int i = 0; i < 500; ++i) {
        double const k = uniform(random);
        double const s = 1.0 + uniform(random);
        EXPECT_NEAR(BS::price(k, s, c_call) - BS::price(k, s, c_put), 1.0 - std::exp(k), 1e-14);
    }
}

TEST(BlackScholes, TheLegacyPriceIsTheTextbooksUpToItsDistribution) {
    for (double const k : {-0.5, -0.1, 0.0, 0.2}) {
        for (double const s : {0.1, 0.4, 1.0}) {
            for (signed char const omega : c_both) {
                EXPECT_NEAR(BS::legacy_price(k, s, omega), textbook_price(k, s, omega), 3e-7);
            }
        }
    }
}

TEST(BlackScholes, GreeksAreTheirFormulas) {
    for (double const k : {-0.4, -0.05, 0.0, 0.3}) {
        for (double const s : {0.15, 0.6}) {
            double const d1 = -k / s + 0.5 * s;
            double const density = std::exp(-0.5 * d1 * d1) / std::sqrt(2.0 * std::numbers::pi);
            for (signed char const omega : c_both) {
                EXPECT_NEAR(BS::delta(k, s, omega), omega * normal_cdf(omega * d1), 1e-7);
                EXPECT_THAT(BS::gamma(k, s, omega), IsNearRel(density / s, 1e-10));
                EXPECT_NEAR(BS::vanna(k, s, omega), (1.0 - d1 / s) * s * density, 1e-10);
                EXPECT_NEAR(BS::volga(k, s, omega), s * density * d1 * (d1 - s), 1e-10);
            }
        }
    }
}

TEST(BlackScholes, DeltaAndGammaAreSlopesOfThePriceInTheForward) {
    // price of the forward f against the strike exp(k): f * p(k - log f)
    double const s = 0.3;
    double const h = 1e-4;
    for (double const k : {-0.2, 0.0, 0.25}) {
        auto const value = [&](double forward) {
            return forward * textbook_price(k - std::log(forward), s, c_call);
        };
        EXPECT_NEAR(BS::delta(k, s, c_call), (value(1.0 + h) - value(1.0 - h)) / (2.0 * h), 1e-6);
        EXPECT_NEAR(BS::gamma(k, s, c_call),
                    (value(1.0 + h) - 2.0 * value(1.0) + value(1.0 - h)) / (h * h), 1e-5);
    }
}

TEST(BlackScholes, VegaIsTheIntegrand) {
    EXPECT_EQ(BS::vega(0.2, 0.5, -1.0), 1.0);  // u = 0
    for (double const k : {-0.3, 0.0, 0.2}) {
        for (double const x : {-0.5, 0.0, 0.5, 1.0}) {
            double const u = 0.4 * 0.5 * (x + 1.0);
            EXPECT_DOUBLE_EQ(BS::vega(k, 0.4, x), std::exp(-0.5 * std::pow(-k / u + 0.5 * u, 2)));
        }
        // the slope of the textbook price in s is the integrand at the end of the range
        double const h = 1e-5;
        double const slope =
            (textbook_price(k, 0.4 + h, c_call) - textbook_price(k, 0.4 - h, c_call)) / (2.0 * h);
        EXPECT_NEAR(BS::vega(k, 0.4, 1.0) / std::sqrt(2.0 * std::numbers::pi), slope, 1e-8);
    }
}

TEST(ImpliedVolatility, ComesBackFromThePrice) {
    for (Method const method : {Method::LEGACY, Method::STEFANICA_RADOICIC}) {
        for (double const s : {0.05, 0.2, 0.5, 1.2}) {
            for (double const ratio : {-2.0, -1.0, -0.5, 0.0, 0.5, 1.0, 2.0}) {
                for (signed char const omega : c_both) {
                    double const k = ratio * s;
                    double implied = -1.0;
                    std::uint64_t iterations = 0;
                    EXPECT_TRUE(BS::volatility(k, BS::price(k, s, omega), omega, implied, 1e-10,
                                               100, method, &iterations));
                    EXPECT_NEAR(implied, s, 1e-8) << ratio << " " << s << " " << int{omega};
                    EXPECT_GT(iterations, 0U);
                }
            }
        }
    }
}

TEST(ImpliedVolatility, APriceNotAboveItsIntrinsicValueHasNone) {
    for (double const k : {-0.2, 0.0, 0.2}) {
        for (signed char const omega : c_both) {
            double s = 0.7;
            double const intrinsic = BS::intrinsic_value(k, 0.0, omega);
            for (double const price : {intrinsic, intrinsic - 0.01, std::nan("")}) {
                EXPECT_FALSE(
                    BS::volatility(k, price, omega, s, 1e-10, 100, Method::LEGACY, nullptr));
                EXPECT_EQ(s, 0.7);
            }
        }
    }
}

TEST(ImpliedVolatility, AddsItsStepsToTheCounter) {
    double s = 0.0;
    std::uint64_t iterations = 100;
    EXPECT_TRUE(BS::volatility(0.1, BS::price(0.1, 0.3, c_call), c_call, s, 1e-10, 50,
                               Method::LEGACY, &iterations));
    EXPECT_GT(iterations, 100U);
    EXPECT_LT(iterations, 120U);
    iterations = 0;
    EXPECT_FALSE(BS::volatility(0.1, BS::price(0.1, 0.3, c_call), c_call, s, 0.0, 1, Method::LEGACY,
                                &iterations));
    EXPECT_EQ(iterations, 1U);
}

TEST(ImpliedVolatility, AnUnknownMethodStartsFromZero) {
    double s = -1.0;
    // one step from 0, where the slope is 1, lands on the target itself
    double const price = BS::price(0.0, 0.2, c_call);
    std::ignore = BS::volatility(0.0, price, c_call, s, 1e-10, 1, static_cast<Method>(9), nullptr);
    EXPECT_NEAR(s, price * std::sqrt(2.0 * std::numbers::pi), 1e-15);
}

TEST(InitialGuess, AtTheForwardTheExplicitFormulaStartsFromZero) {
    double guess = 9.0;
    EXPECT_TRUE(BS::compute_stefanica_initial_guess(0.0, 0.08, c_call, guess));
    EXPECT_EQ(guess, 0.0);
    double s = -1.0;  // Newton's first step, with slope 1
    std::ignore = BS::volatility(0.0, 0.08, c_call, s, 0.0, 1, Method::STEFANICA_RADOICIC, nullptr);
    EXPECT_NEAR(s, 0.08 * std::sqrt(2.0 * std::numbers::pi), 1e-15);
}

TEST(InitialGuess, TheInflectionPointIsTheLegacyGuess) {
    double guess = 0.0;
    EXPECT_TRUE(BS::compute_legacy_initial_guess(-0.32, 0.1, c_call, guess));
    EXPECT_DOUBLE_EQ(guess, 0.8);
    EXPECT_TRUE(BS::compute_legacy_initial_guess(0.0, 0.1, c_put, guess));
    EXPECT_EQ(guess, 0.0);
}

TEST(InitialGuess, TheMinusBranchIsNearWhereThePriceIsBelowItsTurningPoint) {
    // The formula replaces N by Polya's approximation; its minus branch holds for s below sqrt(2
    // |k|).
    for (double const k : {0.1, 0.3, 0.6}) {
        for (double const share : {0.4, 0.6, 0.8}) {
            double const s = share * std::sqrt(2.0 * k);
            double guess = 0.0;
            EXPECT_TRUE(BS::compute_stefanica_initial_guess(k, textbook_price(k, s, c_call), c_call,
                                                            guess));
            EXPECT_THAT(guess, IsNearRel(s, 0.1)) << k;
        }
    }
}

TEST(InitialGuess, ForAPutTheExplicitFormulaRefuses) {
    for (double const k : {-0.3, 0.0, 0.3}) {
        double guess = 0.0;
        EXPECT_FALSE(
            BS::compute_stefanica_initial_guess(k, textbook_price(k, 0.25, c_put), c_put, guess));
    }
}

TEST(InitialGuess, TheExplicitFormulaRefusesAPriceOnItsBound) {
    double guess = 0.0;  // price 0 at the forward: the product of both bounds is exactly 0
    EXPECT_FALSE(BS::compute_stefanica_initial_guess(0.0, 0.0, c_call, guess));
    EXPECT_FALSE(BS::compute_stefanica_initial_guess(0.1, std::nan(""), c_call, guess));
}

}  // namespace
