#include "core/toolbox/cholesky.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <numeric>
#include <random>
#include <vector>

#include "support/adjoints.hpp"
#include "support/matchers.hpp"

using namespace ximCORE::Toolbox;
using ximTest::LogsNothing;

namespace {

/// Correlations of random unit vectors: positive definite with probability 1.
Triangle<double, -1> random_correlation(std::uint64_t side, std::mt19937& random) {
    std::normal_distribution<double> normal;
    std::vector<std::vector<double>> vectors(side, std::vector<double>(side + 2));
    for (auto& vector : vectors) {
        double norm = 0.0;
        for (double& entry : vector) {
            entry = normal(random);
            norm += entry * entry;
        }
        for (double& entry : vector) {
            entry /= std::sqrt(norm);
        }
    }
    Triangle<double, -1> correlation(side);
    for (std::uint64_t i = 1; i < side; ++i) {
        for (std::uint64_t j = 0; j < i; ++j) {
            for (std::uint64_t k = 0; k < side + 2; ++k) {
                correlation.unsafe_get(i, j) += vectors[i][k] * vectors[j][k];
            }
        }
    }
    return correlation;
}

TEST(Cholesky, TheFactorTimesItsTransposeIsTheCorrelation) {
    std::mt19937 random(12);
    for (std::uint64_t side = 1; side <= 12; ++side) {
        Triangle<double, -1> const correlation = random_correlation(side, random);
        Triangle<double, 1> factor(3);  // what it held plays no part
        cholesky(correlation, factor);
        ASSERT_EQ(factor.c_get_side(), side);
        for (std::uint64_t i = 0; i < side; ++i) {
            for (std::uint64_t j = 0; j <= i; ++j) {
                double product = 0.0;
                for (std::uint64_t k = 0; k <= j; ++k) {
                    product += factor.get(i, k) * factor.get(j, k);
                }
                EXPECT_NEAR(product, i == j ? 1.0 : correlation.get(i, j), 1e-13);
            }
        }
    }
}

TEST(Cholesky, OfTwoAssetsIsTheKnownForm) {
    Triangle<double, -1> correlation(2);
    correlation.unsafe_get(1, 0) = 0.6;
    Triangle<double, 1> factor;
    cholesky(correlation, factor);
    EXPECT_EQ(factor.get(0, 0), 1.0);
    EXPECT_EQ(factor.get(1, 0), 0.6);
    EXPECT_DOUBLE_EQ(factor.get(1, 1), 0.8);
}

TEST(Cholesky, OfOneAssetIsOne) {
    Triangle<double, 1> factor;
    cholesky(Triangle<double, -1>(1), factor);
    EXPECT_THAT(factor, testing::ElementsAre(1.0));
}

TEST(Cholesky, OfNoAssetLeavesTheFactor) {
    Triangle<double, 1> factor(1);
    factor.unsafe_get(0, 0) = 7.0;
    cholesky(Triangle<double, -1>(), factor);
    EXPECT_THAT(factor, testing::ElementsAre(7.0));
}

TEST(Cholesky, ACorrelationAboveOneGivesNoNumberAndNoRecord) {
    Triangle<double, -1> correlation(2);
    correlation.unsafe_get(1, 0) = 1.5;
    Triangle<double, 1> factor;
    EXPECT_THAT([&] { cholesky(correlation, factor); }, LogsNothing());
    EXPECT_TRUE(std::isnan(factor.get(1, 1)));
}

Triangle<double, -1> to_triangle(std::uint64_t side, std::vector<double> const& elements) {
    Triangle<double, -1> triangle(side);
    std::copy(elements.begin(), elements.end(), triangle.begin());
    return triangle;
}

TEST(AdjointCholesky, TheForwardFormIsTheFactorisation) {
    std::mt19937 random(13);
    AAD::Tape tape;
    for (std::uint64_t side = 0; side <= 8; ++side) {
        auto const correlation = random_correlation(side, random);
        Triangle<double, 1> expected;
        cholesky(correlation, expected);
        Triangle<double, -1> correlation_adjoints(side);
        Triangle<double, 1> factor;
        Triangle<double, 1> factor_adjoints(side);
        acholesky(tape, true, correlation, correlation_adjoints, factor, factor_adjoints);
        EXPECT_EQ(factor.c_get_side(), side);
        EXPECT_TRUE(std::equal(factor.begin(), factor.end(), expected.begin(), expected.end()));
        EXPECT_TRUE(tape.c_is_empty());
    }
}

TEST(AdjointCholesky, TheBackwardFormIsTheDerivativeOfTheFactorisation) {
    std::mt19937 random(14);
    std::normal_distribution<double> normal;
    for (std::uint64_t side = 2; side <= 8; ++side) {
        auto const correlation = random_correlation(side, random);
        Triangle<double, 1> weights(side);
        for (double& weight : weights) weight = normal(random);
        // the value is a weighted sum of the factor's elements
        auto const value_of = [&](Triangle<double, 1> const& factor) {
            return std::inner_product(weights.begin(), weights.end(), factor.begin(), 0.0);
        };
        Triangle<double, 1> factor;
        ximTest::expect_adjoint_matches_bumps(
            [&](ximTest::Values const& x) {
                Triangle<double, 1> bumped;
                cholesky(to_triangle(side, x), bumped);
                return value_of(bumped);
            },
            [&](AAD::Tape& tape, AAD::SweepType sweep, ximTest::Values const& x, double& value,
                double adjoint, ximTest::Values& adjoints) {
                auto const triangle = to_triangle(side, x);
                auto correlation_adjoints = to_triangle(side, adjoints);
                auto factor_adjoints = weights;
                for (double& element : factor_adjoints) element *= adjoint;
                bool const forward = sweep == AAD::SweepType::FORWARD;
                acholesky(tape, forward, triangle, correlation_adjoints, factor, factor_adjoints);
                if (forward) value = value_of(factor);
                std::copy(correlation_adjoints.begin(), correlation_adjoints.end(),
                          adjoints.begin());
            },
            ximTest::Values(correlation.begin(), correlation.end()), 1e-4);
    }
}

TEST(AdjointCholesky, OfTwoAssetsIsTheKnownDerivative) {
    AAD::Tape tape;
    auto const correlation = to_triangle(2, {0.6});
    auto correlation_adjoints = to_triangle(2, {10.0});
    Triangle<double, 1> factor;
    Triangle<double, 1> factor_adjoints(2);
    acholesky(tape, true, correlation, correlation_adjoints, factor, factor_adjoints);
    factor_adjoints.unsafe_get(0, 0) = 5.0;  // a constant of the factorisation
    factor_adjoints.unsafe_get(1, 0) = 2.0;
    factor_adjoints.unsafe_get(1, 1) = 4.0;
    acholesky(tape, false, correlation, correlation_adjoints, factor, factor_adjoints);
    // sqrt(1 - c^2) has the slope -c / sqrt(1 - c^2) = -0.75; what stood there before stays
    EXPECT_THAT(correlation_adjoints, testing::ElementsAre(testing::DoubleNear(9.0, 1e-14)));
}

TEST(AdjointCholesky, OfOneAssetIsOneWithoutADerivative) {
    AAD::Tape tape;
    Triangle<double, -1> const correlation(1);
    Triangle<double, -1> correlation_adjoints(1);
    Triangle<double, 1> factor;
    Triangle<double, 1> factor_adjoints(1);
    acholesky(tape, true, correlation, correlation_adjoints, factor, factor_adjoints);
    EXPECT_THAT(factor, testing::ElementsAre(1.0));
    factor_adjoints.unsafe_get(0, 0) = 3.0;
    acholesky(tape, false, correlation, correlation_adjoints, factor, factor_adjoints);
    EXPECT_EQ(correlation_adjoints.c_get_count(), 0U);
    EXPECT_THAT(factor_adjoints, testing::ElementsAre(3.0));
    EXPECT_TRUE(tape.c_is_empty());
}

}  // namespace
