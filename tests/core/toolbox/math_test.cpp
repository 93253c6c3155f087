#include "core/toolbox/math.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <numbers>
#include <random>
#include <vector>

#include "core/toolbox/math_array.hpp"
#include "support/adjoints.hpp"
#include "support/matchers.hpp"

using namespace ximCORE::Toolbox;
using ximTest::IsNearRel;

namespace {

double normal_cdf(double x) {
    return 0.5 * std::erfc(-x / std::numbers::sqrt2);
}

TEST(Math, PercentAndFractionAreTimesAHundredthAndTimesAHundred) {
    EXPECT_EQ(Math::get_absolute(97.5), 97.5 * 0.01);
    EXPECT_EQ(Math::get_percentage(0.975), 0.975 * 100.0);
    double value = 3.0;
    Math::to_absolute(value);
    EXPECT_EQ(value, 3.0 * 0.01);
    Math::to_percentage(value);
    EXPECT_EQ(value, 3.0 * 0.01 * 100.0);
}

TEST(Math, TheSignOfZeroIsOne) {
    EXPECT_EQ(Math::sgn(0.0), 1);
    EXPECT_EQ(Math::sgn(-0.0), 1);
    EXPECT_EQ(Math::sgn(2.5), 1);
    EXPECT_EQ(Math::sgn(-std::numeric_limits<double>::denorm_min()), -1);
}

TEST(Math, IndentAppendsBlanks) {
    std::string text = "x";
    Math::indent(text, 3);
    EXPECT_EQ(text, "x   ");
    Math::indent(text, 0);
    EXPECT_EQ(text, "x   ");
}

TEST(Math, TheDensityHasTenDigitsOfItsConstant) {
    EXPECT_EQ(Math::dnorm(0.0), 0.3989422804);
    for (double x = -6.0; x <= 6.0; x += 0.25) {
        double const exact = std::exp(-x * x / 2.0) / std::sqrt(2.0 * std::numbers::pi);
        EXPECT_THAT(Math::dnorm(x), IsNearRel(exact, 5e-11)) << x;
    }
}

TEST(Math, TheDistributionIsOneHalfAtZeroExactly) {
    EXPECT_EQ(Math::cdfnorm(0.0), 0.5);
}

TEST(Math, TheDistributionIsWithinTheErrorOfItsPolynomial) {
    double largest = 0.0;
    for (double x = -8.0; x <= 8.0; x += 1.0 / 128) {
        largest = std::max(largest, std::abs(Math::cdfnorm(x) - normal_cdf(x)));
    }
    EXPECT_LT(largest, 7.5e-8);  // Abramowitz and Stegun 26.2.17
    EXPECT_GT(largest, 1e-8);    // it is this polynomial, and nothing finer
    EXPECT_NEAR(Math::cdfnorm(1.96), 0.975, 1e-5);
    EXPECT_NEAR(Math::cdfnorm(1.959963984540054), 0.975, 1e-7);
}

TEST(Math, TheTailsOfTheDistributionSumToOne) {
    for (double x = 0.0; x <= 8.0; x += 0.125) {
        EXPECT_NEAR(Math::cdfnorm(x) + Math::cdfnorm(-x), 1.0, 1e-15);
    }
}

TEST(Math, TheInverseIsWithinTheErrorOfItsRationalExpression) {
    double largest = 0.0;
    for (double x = -5.0; x <= 5.0; x += 1.0 / 64) {
        largest = std::max(largest, std::abs(Math::cdfnorm_inv(normal_cdf(x)) - x));
    }
    EXPECT_LT(largest, 4.5e-4);  // Abramowitz and Stegun 26.2.23
    EXPECT_GT(largest, 1e-4);
}

TEST(Math, TheInverseOfOneHalfIsTheExpressionAndNotZero) {
    double const t = std::sqrt(2.0 * std::numbers::ln2);
    double const expected = t - (2.515517 + 0.802853 * t + 0.010328 * t * t) /
                                    (1.0 + 1.432788 * t + 0.189269 * t * t + 0.001308 * t * t * t);
    EXPECT_NEAR(Math::cdfnorm_inv(0.5), expected, 1e-15);
    EXPECT_NE(Math::cdfnorm_inv(0.5), 0.0);
    EXPECT_LT(std::abs(Math::cdfnorm_inv(0.5)), 4.5e-4);
}

TEST(Math, TheInverseIsOddAroundOneHalf) {
    for (double const p : {0.001, 0.1, 0.25, 0.375}) {
        EXPECT_NEAR(Math::cdfnorm_inv(p), -Math::cdfnorm_inv(1.0 - p), 1e-12);
    }
}

TEST(CallSpread, WithoutAWidthIsAStepWorthOneAtTheStrike) {
    EXPECT_EQ(Math::get_call_spread(100.0, 100.0, 0.0, 0.0, 1), 1.0);
    EXPECT_EQ(Math::get_call_spread(100.0, 100.0, 0.0, 0.0, -1), 1.0);
    EXPECT_EQ(Math::get_call_spread(99.0, 100.0, 0.0, 0.0, 1), 0.0);
    EXPECT_EQ(Math::get_call_spread(99.0, 100.0, -1.0, 0.0, -1), 1.0);
    EXPECT_EQ(Math::get_call_spread(101.0, 100.0, 0.0, 0.0, 1), 1.0);
    EXPECT_EQ(Math::get_call_spread(101.0, 100.0, 0.0, 0.0, -1), 0.0);
}

TEST(CallSpread, IsOneHalfInTheMiddleOfItsRamp) {
    EXPECT_EQ(Math::get_call_spread(100.0, 100.0, 1.0, 1.0, 1), 0.5);
    EXPECT_EQ(Math::get_call_spread(100.0, 100.0, 1.0, 1.0, -1), 0.5);
}

TEST(CallSpread, IsALineBetweenItsEnds) {
    std::mt19937 random(11);
    std::uniform_real_distribution<double> uniform(0.0, 1.0);
    for (int i = 0; i < 1000; ++i) {
        double const strike = 50.0 + 100.0 * uniform(random);
        double const left = 5.0 * uniform(random);
        double const right = 5.0 * uniform(random) + 1e-3;
        double const weight = uniform(random);
        double const x = strike - left + weight * (left + right);
        EXPECT_NEAR(Math::get_call_spread(x, strike, left, right, 1), weight, 1e-9);
        EXPECT_NEAR(Math::get_call_spread(x, strike, left, right, -1), 1.0 - weight, 1e-9);
        EXPECT_EQ(Math::get_call_spread(strike - left - 1.0, strike, left, right, 1), 0.0);
        EXPECT_EQ(Math::get_call_spread(strike - left - 1.0, strike, left, right, -1), 1.0);
        EXPECT_EQ(Math::get_call_spread(strike + right + 1.0, strike, left, right, 1), 1.0);
        EXPECT_EQ(Math::get_call_spread(strike + right + 1.0, strike, left, right, -1), 0.0);
    }
}

TEST(CallSpread, OneSideAloneMakesARamp) {
    EXPECT_EQ(Math::get_call_spread(100.0, 100.0, 2.0, 0.0, 1), 1.0);
    EXPECT_EQ(Math::get_call_spread(99.0, 100.0, 2.0, 0.0, 1), 0.5);
    EXPECT_EQ(Math::get_call_spread(100.0, 100.0, 0.0, 2.0, 1), 0.0);
    EXPECT_EQ(Math::get_call_spread(101.0, 100.0, 0.0, 2.0, 1), 0.5);
}

TEST(CallSpread, OnAnArrayWorksElementByElement) {
    Eigen::ArrayXd const x = Eigen::ArrayXd::LinSpaced(21, 95.0, 105.0);
    Eigen::ArrayXd const spread = Math::get_call_spread(x, 100.0, 2.0, 3.0, -1);
    Eigen::ArrayXd const signs = Math::sgn(x - 100.0);
    ASSERT_EQ(spread.size(), x.size());
    for (Eigen::Index i = 0; i < x.size(); ++i) {
        EXPECT_EQ(spread(i), Math::get_call_spread(x(i), 100.0, 2.0, 3.0, -1));
        EXPECT_EQ(signs(i), Math::sgn(x(i) - 100.0));
    }
}

/// The adjoint form as a function of (x, strike).
auto adjoint_call_spread(double left, double right, signed char sign) {
    return [=](AAD::Tape& tape, AAD::SweepType sweep, ximTest::Values const& x, double& value,
               double adjoint, ximTest::Values& adjoints) {
        Math::aget_call_spread(tape, sweep, x[0], x[1], left, right, sign, value, adjoint,
                               adjoints[0], adjoints[1]);
    };
}

TEST(AdjointCallSpread, IsTheDerivativeOfTheCallSpreadAwayFromItsCorners) {
    std::mt19937 random(31);
    std::uniform_real_distribution<double> uniform(-3.0, 3.0);
    int inside = 0;
    for (int i = 0; i < 500; ++i) {
        double const left = i % 4 == 0 ? 0.0 : std::abs(uniform(random));
        double const right = i % 4 == 1 ? 0.0 : std::abs(uniform(random));
        auto const sign = static_cast<signed char>(i % 2 == 0 ? 1 : -1);
        double const x = 100.0 + uniform(random);
        double const distance_left = x - (100.0 - left);
        double const distance_right = x - (100.0 + right);
        if (std::min(std::abs(distance_left), std::abs(distance_right)) < 0.02) continue;
        inside += distance_left > 0.0 && distance_right < 0.0 ? 1 : 0;
        ximTest::expect_adjoint_matches_bumps(
            [&](ximTest::Values const& at) {
                return Math::get_call_spread(at[0], at[1], left, right, sign);
            },
            adjoint_call_spread(left, right, sign), {x, 100.0}, 1e-4);
    }
    EXPECT_GT(inside, 100);
}

TEST(AdjointCallSpread, HasNoSlopeAtItsCornersAndForTheStep) {
    struct Row {
        double x, left, right;
    };
    for (auto const& [x, left, right] :
         {Row{98.0, 2.0, 1.0}, {101.0, 2.0, 1.0}, {100.0, 0.0, 0.0}, {100.0, 0.0, 2.0}}) {
        for (bool const rises : {true, false}) {
            AAD::Tape tape;
            double value = 0.0;
            ximTest::Values adjoints(2, 0.0);
            signed char const sign = rises ? 1 : -1;
            auto const routine = adjoint_call_spread(left, right, sign);
            routine(tape, AAD::SweepType::FORWARD, {x, 100.0}, value, 0.0, adjoints);
            EXPECT_EQ(value, Math::get_call_spread(x, 100.0, left, right, sign));
            routine(tape, AAD::SweepType::BACKWARD, {x, 100.0}, value, 1.0, adjoints);
            EXPECT_EQ(adjoints, ximTest::Values(2, 0.0)) << x;
        }
    }
}

TEST(AdjointCallSpread, FallsForANegativeSignAndRisesWithTheStrikeThen) {
    AAD::Tape tape;
    double value = 7.0;
    double x_adjoint = 1.0;
    double strike_adjoint = 1.0;
    Math::aget_call_spread(tape, AAD::SweepType::BACKWARD, 100.5, 100.0, 1.0, 3.0, -1, value, 2.0,
                           x_adjoint, strike_adjoint);
    EXPECT_EQ(x_adjoint, 0.5);
    EXPECT_EQ(strike_adjoint, 1.5);
    EXPECT_EQ(value, 7.0);
}

TEST(TableSearch, FindsThePositionBelowTheValue) {
    auto const compare = [](double element, double value) {
        return element < value ? -1 : element > value ? 1 : 0;
    };
    std::vector<double> const table{1.0, 2.0, 4.0, 8.0, 16.0, 32.0};
    auto const find = [&](double value, bool before_equal) {
        return Math::find_index_internal(table, value, 0, 5, compare, before_equal);
    };
    EXPECT_EQ(find(3.0, false), 1);
    EXPECT_EQ(find(31.0, false), 4);
    EXPECT_EQ(find(0.5, false), 0);
    EXPECT_EQ(find(99.0, false), 4);
    EXPECT_EQ(find(4.0, false), 2);
    EXPECT_EQ(find(4.0, true), 1);
    EXPECT_EQ(find(1.0, false), 0);   // the lowest position is not looked at
    EXPECT_EQ(find(32.0, false), 4);  // nor is the highest
    for (double value = 1.5; value < 32.0; value += 1.0) {
        auto const below = std::lower_bound(table.begin(), table.end(), value) - table.begin() - 1;
        EXPECT_EQ(find(value, false), below) << value;
    }
    EXPECT_EQ(Math::find_index_internal(table, 3.0, 2, 2, compare, false),
              2);  // an empty range ends at once
}

}  // namespace
