#include "core/toolbox/pde/black_scholes.hpp"

#include <cmath>
#include <cstdio>
#include <functional>

#include "core/toolbox/errors.hpp"
#include "support/precompiled.hpp"
#include "support/sparse_reference.hpp"

namespace {

using namespace ximCORE::Toolbox;
using BoundaryCondition = XTPDE::BoundaryCondition;

class LognormalSolver : public ::testing::Test {
 protected:
    ~LognormalSolver() override { XTPDE::s_options = m_before; }

    struct Run {
        double sigma{0.3};
        double years{1.0};
        int points{200};
        int steps{100};
        double half_width{2.0};
        double explicit_rate{0.5};
        BoundaryCondition condition{BoundaryCondition::DIRICHLET};

        /// The values at time 0 of a payoff in x = log(price).
        [[nodiscard]] std::pair<Grid, Grid> operator()(
            std::function<double(double)> const& payoff) const {
            XTPDE::s_options = {.explicit_rate = explicit_rate, .boundary_condition = condition};
            XTPDEBlackScholesConstant solver;
            std::vector<double> times;
            for (int k = 0; k <= steps; ++k) times.push_back(years * k / steps);
            solver.set_time_grid(times, {0, times.size() - 1});
            solver.set_space_grid({{points, -half_width, half_width}});
            solver.init();
            solver.init_coefficients(sigma);
            Grid values = solver.c_get_grid().unaryExpr(payoff);
            solver.solve(1, 0, values, false);
            return {solver.c_get_grid(), values};
        }
    };

    /// The value at x of exp(i w x), whose real part is cos(w x): damped and turned.
    static double exact_wave(double w, double x, double variance) {
        return std::exp(-0.5 * w * w * variance) * std::cos(w * (x - 0.5 * variance));
    }

    /// Largest error over the middle of the grid, for a payoff whose value is smooth everywhere.
    static double wave_error(Run const& run) {
        double const w = 2.0;
        auto const [x, values] = run([&](double y) { return std::cos(w * y); });
        double worst = 0.0;
        for (Eigen::Index i = 0; i < x.size(); ++i)
            if (std::abs(x[i]) < 1.0)
                worst = std::max(
                    worst,
                    std::abs(values[i] - exact_wave(w, x[i], run.sigma * run.sigma * run.years)));
        return worst;
    }

 private:
    XTPDE::Options m_before = XTPDE::s_options;
};

TEST_F(LognormalSolver, GridPointsAreEquallySpacedAndEndExactlyOnTheBounds) {
    XTPDEBlackScholesConstant solver;
    for (auto const& [lower, upper] : {std::pair(-1.3, 1.1), std::pair(-0.7, 1.9)}) {
        solver.set_space_grid({{101, lower, upper}});
        auto const& x = solver.c_get_grid();
        ASSERT_EQ(x.size(), 101);
        EXPECT_EQ(solver.c_get_space_size(), 101U);
        EXPECT_EQ(x[0], lower);
        EXPECT_EQ(x[100], upper);
        double const step = (upper - lower) / 100.0;
        for (Eigen::Index i = 0; i < 101; ++i)
            EXPECT_NEAR(x[i], lower + static_cast<double>(i) * step, 1e-15);
    }
}

TEST_F(LognormalSolver, TwoPointsAreTheBoundsAndOneIsTheUpperOne) {
    XTPDEBlackScholesConstant solver;
    solver.set_space_grid({{2, -1.0, 3.0}});
    EXPECT_EQ(solver.c_get_grid()[0], -1.0);
    EXPECT_EQ(solver.c_get_grid()[1], 3.0);
    solver.set_space_grid({{1, -1.0, 3.0}});
    EXPECT_EQ(solver.c_get_grid()[0], 3.0);
}

TEST_F(LognormalSolver, OnlyTheFirstDimensionIsTakenAndOneThereMustBe) {
    XTPDEBlackScholesConstant solver;
    solver.set_space_grid({{4, 0.0, 3.0}, {9, 5.0, 6.0}});
    EXPECT_EQ(solver.c_get_grid().size(), 4);
    EXPECT_THROW(solver.set_space_grid({}), SegmentationFaultException);
}

TEST_F(LognormalSolver, CrankNicolsonHasSecondOrderInSpaceAndTime) {
    auto const at = [](int points, int steps) {
        return wave_error({.sigma = 0.3, .points = points, .steps = steps, .half_width = 6.0});
    };
    double const space = std::log2(at(201, 2000) / at(401, 2000));
    double const time = std::log2(at(12001, 2) / at(12001, 4));
    std::printf("observed order, Crank-Nicolson: space %.3f, time %.3f\n", space, time);
    RecordProperty("order_in_space", std::to_string(space));
    RecordProperty("order_in_time", std::to_string(time));
    EXPECT_NEAR(space, 2.0, 0.05);
    EXPECT_NEAR(time, 2.0, 0.05);
}

TEST_F(LognormalSolver, ImplicitHasFirstOrderInTime) {
    auto const at = [](int steps) {
        return wave_error(
            {.points = 6001, .steps = steps, .half_width = 6.0, .explicit_rate = 0.0});
    };
    double const time = std::log2(at(20) / at(40));
    std::printf("observed order, implicit: time %.3f\n", time);
    RecordProperty("order_in_time", std::to_string(time));
    EXPECT_NEAR(time, 1.0, 0.05);
}

TEST_F(LognormalSolver, ThePriceItselfIsAMartingale) {
    auto const [x, values] =
        Run{.points = 801, .half_width = 3.0}([](double y) { return std::exp(y); });
    EXPECT_NEAR(values[400], 1.0, 1e-5);
}

TEST_F(LognormalSolver, AConstantStaysToTheLastBit) {
    for (auto const condition : {BoundaryCondition::DIRICHLET, BoundaryCondition::NEUMANN}) {
        auto const [x, values] = Run{.condition = condition}([](double) { return 1.0 / 3.0; });
        EXPECT_TRUE((values == 1.0 / 3.0).all());
    }
}

TEST_F(LognormalSolver, WithoutVolatilityNothingMoves) {
    auto const payoff = [](double y) { return std::max(0.0, y); };
    auto const [x, values] = Run{.sigma = 0.0}(payoff);
    for (Eigen::Index i = 0; i < x.size(); ++i) EXPECT_DOUBLE_EQ(values[i], payoff(x[i]));
}

}  // namespace
