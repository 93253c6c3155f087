#include "core/toolbox/cholesky.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <vector>

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

}  // namespace
