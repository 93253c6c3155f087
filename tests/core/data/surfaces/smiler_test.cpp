#include "core/data/surfaces/smiler.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <random>

namespace ximCORE::Data {
namespace {

class StochasticVolatilityInspiredTest : public ::testing::Test {
 protected:
    void set_smile(double rho, double eta, double gamma, double half_variance) {
        smiler.rho = rho;
        smiler.eta = eta;
        smiler.gamma = gamma;
        smiler.half_variance = half_variance;
        smiler.one_minus_rho_squared = 1.0 - rho * rho;
    }

    std::vector<double> const times{0.0};
    ImpliedVolatilitySmiler::Grid const grid{{ImpliedVolatilityPoint{}}};
    StochasticVolatilityInspired smiler{times, grid};
};

TEST_F(StochasticVolatilityInspiredTest, TheStartValuesAreAFlatTwentyPercent) {
    for (double const t : {0.01, 0.5, 1.0, 7.0, 30.0}) {
        for (double const x : {-3.0, -0.1, 0.0, 0.4, 2.0})
            EXPECT_NEAR(smiler.eval(t, x), 0.04 * t, 1e-15 * t);
        EXPECT_EQ(smiler.at_the_money_eval(t), 2 * 0.020000000000000004 * t);
    }
}

TEST_F(StochasticVolatilityInspiredTest, TheVarianceAtTimeZeroIsZero) {
    set_smile(-0.7, 1.5, 0.5, 0.02);
    EXPECT_EQ(smiler.eval(0.0, 0.3), 0.0);
    EXPECT_EQ(smiler.at_the_money_eval(0.0), 0.0);
}

// J. Gatheral and A. Jacquier, Arbitrage-free SVI volatility surfaces, 2014, formula (14) with
// phi(theta) = eta theta^-gamma.
TEST_F(StochasticVolatilityInspiredTest, AgreesWithThePublishedForm) {
    std::mt19937 generator(3);
    std::uniform_real_distribution<double> unit(0.0, 1.0);
    for (int i = 0; i < 200; ++i) {
        double const rho = 1.8 * unit(generator) - 0.9;
        double const eta = 0.1 + 2.0 * unit(generator);
        double const gamma = unit(generator);
        double const half_variance = 0.005 + 0.1 * unit(generator);
        double const t = 0.05 + 5.0 * unit(generator);
        double const x = 2.0 * unit(generator) - 1.0;
        set_smile(rho, eta, gamma, half_variance);
        double const theta = 2.0 * half_variance * t;
        double const phi = eta * std::pow(theta, -gamma);
        double const expected =
            theta / 2.0 *
            (1.0 + rho * phi * x + std::sqrt(std::pow(phi * x + rho, 2.0) + 1.0 - rho * rho));
        EXPECT_NEAR(smiler.eval(t, x), expected, 1e-12 * expected);
    }
}

TEST_F(StochasticVolatilityInspiredTest, TheMoneyFormIsTheVarianceAtTheForward) {
    set_smile(-0.6, 1.1, 0.4, 0.03);
    EXPECT_NEAR(smiler.eval(2.0, 0.0), smiler.at_the_money_eval(2.0), 1e-15);
}

TEST_F(StochasticVolatilityInspiredTest, NegativeCorrelationRaisesTheLowStrikes) {
    set_smile(-0.6, 1.1, 0.4, 0.03);
    EXPECT_GT(smiler.eval(1.0, -0.2), smiler.eval(1.0, 0.2));
}

}  // namespace
}  // namespace ximCORE::Data
