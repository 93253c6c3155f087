#include "core/toolbox/pde/solver.hpp"

#include <cmath>
#include <random>

#include "core/toolbox/errors.hpp"
#include "core/toolbox/pde/black_scholes.hpp"
#include "support/precompiled.hpp"
#include "support/sparse_reference.hpp"

namespace {

using namespace ximCORE::Toolbox;
using ximCORE::Testing::Coefficients;
using ximCORE::Testing::SparseReference;
using BoundaryCondition = XTPDE::BoundaryCondition;

/// Settings for one test, put back at its end.
class PDESolver : public ::testing::Test {
 protected:
    ~PDESolver() override { XTPDE::s_options = m_before; }

    static void plug(double explicit_rate,
                     BoundaryCondition condition = BoundaryCondition::DIRICHLET) {
        XTPDE::s_options = {.explicit_rate = explicit_rate, .boundary_condition = condition};
    }

 private:
    XTPDE::Options m_before = XTPDE::s_options;
};

/// Coefficients of one's own, the same at all times.
class GivenSolver final : public XTPDE1DBlackScholes {
 public:
    explicit GivenSolver(int points, double lower = -1.0, double upper = 1.0) {
        set_space_grid({{.size = points, .lower = lower, .upper = upper}});
    }
    void give(Coefficients const& given) {
        m_a = given.a;
        m_b = given.b;
        m_c = given.c;
        m_s = given.s;
        _touch_coefficients();
    }
    double c_get_dx() const { return m_space_steps.front(); }
};

/// Steps 0, 1, ..., n of one length, a pillar on each.
void set_even_times(XTPDE& solver, int steps, double length) {
    std::vector<double> times;
    std::vector<std::size_t> pillars;
    for (int k = 0; k <= steps; ++k) {
        times.push_back(k * length);
        pillars.push_back(static_cast<std::size_t>(k));
    }
    solver.set_time_grid(times, pillars);
}

Coefficients random_coefficients(std::mt19937_64& random, Eigen::Index points) {
    std::uniform_real_distribution<double> sign(-1.0, 1.0);
    auto const array = [&](double centre, double width) {
        return Eigen::ArrayXd(Eigen::ArrayXd::NullaryExpr(
            points, [&](Eigen::Index) { return centre + width * sign(random); }));
    };
    return {
        .a = array(0.05, 0.04), .b = array(0.0, 0.1), .c = array(0.0, 0.2), .s = array(0.0, 1.0)};
}

Eigen::ArrayXd random_values(std::mt19937_64& random, Eigen::Index points) {
    std::normal_distribution<double> normal;
    return Eigen::ArrayXd::NullaryExpr(points, [&](Eigen::Index) { return normal(random); });
}

TEST_F(PDESolver, AgreesWithASparseFactorisationAtEachStepToRounding) {
    std::mt19937_64 random(1);
    for (auto const condition : {BoundaryCondition::DIRICHLET, BoundaryCondition::NEUMANN})
        for (double const rate : {0.0, 0.3, 0.5, 1.0})
            for (int const points : {3, 4, 50, 401}) {
                plug(rate, condition);
                GivenSolver solver(points);
                double const length = rate == 1.0 ? 1e-6 : 0.01;
                set_even_times(solver, 20, length);
                solver.init();
                auto const coefficients = random_coefficients(random, points);
                solver.give(coefficients);
                SparseReference const reference{coefficients, solver.c_get_dx(), rate, condition};
                Eigen::ArrayXd expected = random_values(random, points);
                Grid values = expected;
                solver.solve(20, 0, values, false);
                for (int k = 20; k-- > 0;) reference.step(-length, expected);
                EXPECT_LT((values - expected).abs().maxCoeff(),
                          1e-11 * (1.0 + expected.abs().maxCoeff()))
                    << points << " points, explicit rate " << rate;
            }
}

TEST_F(PDESolver, UnequalStepsEachHaveTheirOwnOperator) {
    plug(0.5);
    std::mt19937_64 random(2);
    GivenSolver solver(60);
    std::vector<double> const times{0.0, 0.01, 0.05, 0.06, 0.2, 0.21};
    solver.set_time_grid(times, {0, 3, 5});
    solver.init();
    auto const coefficients = random_coefficients(random, 60);
    solver.give(coefficients);
    SparseReference const reference{coefficients, solver.c_get_dx(), 0.5,
                                    BoundaryCondition::DIRICHLET};
    Eigen::ArrayXd expected = random_values(random, 60);
    Grid values = expected;
    solver.solve(2, 1, values, false);
    solver.solve(1, 0, values, false);
    for (std::size_t k = times.size() - 1; k-- > 0;)
        reference.step(times[k] - times[k + 1], expected);
    EXPECT_LT((values - expected).abs().maxCoeff(), 1e-11);
}

TEST_F(PDESolver, NewCoefficientsReachTheOperatorBetweenTwoSolves) {
    plug(0.5);
    GivenSolver solver(30);
    set_even_times(solver, 2, 0.01);
    solver.init();
    std::mt19937_64 random(3);
    Eigen::ArrayXd expected = random_values(random, 30);
    Grid values = expected;
    for (std::size_t const pillar : {2U, 1U}) {
        auto const coefficients = random_coefficients(random, 30);
        solver.give(coefficients);
        solver.solve(pillar, pillar - 1, values, false);
        SparseReference{coefficients, solver.c_get_dx(), 0.5, BoundaryCondition::DIRICHLET}.step(
            -0.01, expected);
    }
    EXPECT_LT((values - expected).abs().maxCoeff(), 1e-12);
}

TEST_F(PDESolver, TimeStepsAreNegativeForTheBackwardSolve) {
    GivenSolver solver(5);
    solver.set_time_grid({0.0, 0.5, 2.0}, {0});
    ASSERT_EQ(solver.c_get_time_steps().size(), 2);
    EXPECT_DOUBLE_EQ(solver.c_get_time_steps()[0], -0.5);
    EXPECT_DOUBLE_EQ(solver.c_get_time_steps()[1], -1.5);
}

TEST_F(PDESolver, ExplicitRateMakesTheScheme) {
    plug(0.0);
    EXPECT_FALSE(GivenSolver(5).c_has_explicit_part());
    EXPECT_DOUBLE_EQ(GivenSolver(5).c_get_implicit_rate(), 1.0);
    plug(0.5);
    EXPECT_TRUE(GivenSolver(5).c_has_explicit_part());
    EXPECT_DOUBLE_EQ(GivenSolver(5).c_get_implicit_rate(), 0.5);
}

TEST_F(PDESolver, TheExplicitRateIsTakenAtConstruction) {
    plug(0.5);
    GivenSolver const solver(5);
    plug(0.0);
    EXPECT_TRUE(solver.c_has_explicit_part());
}

TEST_F(PDESolver, DirichletKeepsBothEdgesThroughAStep) {
    std::mt19937_64 random(4);
    for (double const rate : {0.0, 0.5}) {
        plug(rate);
        GivenSolver solver(20);
        set_even_times(solver, 1, 0.02);
        solver.init();
        solver.give(random_coefficients(random, 20));
        Grid values = random_values(random, 20);
        Grid const before = values;
        solver.solve(1, 0, values, false);
        EXPECT_EQ(values[0], before[0]);
        EXPECT_EQ(values[19], before[19]);
        EXPECT_GT((values - before).abs().maxCoeff(), 1e-3);
    }
}

TEST_F(PDESolver, NeumannKeepsTheDifferenceAtBothEdgesThroughAnImplicitStep) {
    plug(0.0, BoundaryCondition::NEUMANN);
    std::mt19937_64 random(5);
    GivenSolver solver(20);
    set_even_times(solver, 1, 0.02);
    solver.init();
    solver.give(random_coefficients(random, 20));
    Grid values = random_values(random, 20);
    Grid const before = values;
    solver.solve(1, 0, values, false);
    EXPECT_NEAR(values[0] - values[1], before[0] - before[1], 1e-13);
    EXPECT_NEAR(values[18] - values[19], before[18] - before[19], 1e-13);
    EXPECT_NE(values[0], before[0]);
}

TEST_F(PDESolver, AConstantStaysWithoutReactionAndSource) {
    std::mt19937_64 random(6);
    for (auto const condition : {BoundaryCondition::DIRICHLET, BoundaryCondition::NEUMANN}) {
        plug(0.5, condition);
        GivenSolver solver(40);
        set_even_times(solver, 50, 0.01);
        solver.init();
        auto coefficients = random_coefficients(random, 40);
        coefficients.c.setZero();
        coefficients.s.setZero();
        solver.give(coefficients);
        Grid values = Grid::Constant(40, 3.0);
        solver.solve(50, 0, values, false);
        EXPECT_LT((values - 3.0).abs().maxCoeff(), 1e-11);
    }
}

TEST_F(PDESolver, FromAPillarToItselfOrInTheWrongOrderNothingHappens) {
    std::mt19937_64 random(7);
    GivenSolver solver(10);
    set_even_times(solver, 3, 0.1);
    solver.init();
    solver.give(random_coefficients(random, 10));
    Grid values = random_values(random, 10);
    Grid const before = values;
    solver.solve(2, 2, values, false);
    solver.solve(1, 2, values, false);
    EXPECT_TRUE((values == before).all());
}

TEST_F(PDESolver, AForwardSolveStopsOneStepBeforeItsFirstPillar) {
    plug(0.5);
    std::mt19937_64 random(8);
    GivenSolver solver(10);
    set_even_times(solver, 4, 0.01);
    solver.init();
    auto const coefficients = random_coefficients(random, 10);
    solver.give(coefficients);
    Eigen::ArrayXd expected = random_values(random, 10);
    Grid values = expected;
    solver.solve(3, 0, values, true);  // the steps 1 and 2 of the time grid
    SparseReference const reference{coefficients, solver.c_get_dx(), 0.5,
                                    BoundaryCondition::DIRICHLET};
    for (int k = 0; k < 2; ++k) reference.step(-0.01, expected);
    EXPECT_LT((values - expected).abs().maxCoeff(), 1e-12);
    Grid const before = values;
    solver.solve(0, 0, values, true);
    EXPECT_TRUE((values == before).all());
}

TEST_F(PDESolver, ARankOutsideThePillarsRaises) {
    GivenSolver solver(10);
    set_even_times(solver, 3, 0.1);
    solver.init();
    Grid values = Grid::Zero(10);
    EXPECT_THROW(solver.solve(4, 0, values, false), SegmentationFaultException);
    EXPECT_THROW(solver.solve(static_cast<std::size_t>(-1), 0, values, false),
                 SegmentationFaultException);
}

TEST_F(PDESolver, ValuesOfAnotherSizeThanTheGridRaise) {
    GivenSolver solver(10);
    set_even_times(solver, 3, 0.1);
    solver.init();
    Grid values = Grid::Zero(9);
    EXPECT_THROW(solver.solve(3, 0, values, false), SegmentationFaultException);
}

TEST_F(PDESolver, FewerThanThreePointsHaveNoInteriorAndKeepTheirValues) {
    for (auto const condition : {BoundaryCondition::DIRICHLET, BoundaryCondition::NEUMANN}) {
        plug(0.5, condition);
        for (int const points : {1, 2}) {
            std::mt19937_64 random(9);
            GivenSolver solver(points);
            set_even_times(solver, 3, 0.1);
            solver.init();
            solver.give(random_coefficients(random, points));
            Grid values = random_values(random, points);
            Grid const before = values;
            solver.solve(3, 0, values, false);
            EXPECT_TRUE((values == before).all());
        }
    }
}

/// The coefficients of each time, and the order in which they were asked for.
class TimedSolver final : public XTPDE1DBlackScholes {
 public:
    std::vector<std::size_t> asked;

 protected:
    bool _set_coefficients(std::size_t const& time_index) override {
        asked.push_back(time_index);
        auto const points = static_cast<Eigen::Index>(c_get_space_size());
        double const a = 0.1 * (1.0 + static_cast<double>(time_index));
        m_a = Grid::Constant(points, a);
        m_b = Grid::Constant(points, -a);
        m_c = m_s = Grid::Zero(points);
        return true;
    }
};

TEST_F(PDESolver, TheExplicitHalfReusesTheCoefficientsOfTheStepBefore) {
    plug(0.5);
    TimedSolver solver;
    solver.set_space_grid({{.size = 12, .lower = -1.0, .upper = 1.0}});
    set_even_times(solver, 3, 0.01);
    solver.init();
    std::mt19937_64 random(10);
    Eigen::ArrayXd expected = random_values(random, 12);
    Grid values = expected;
    solver.solve(3, 0, values, false);
    EXPECT_THAT(solver.asked, ::testing::ElementsAre(3, 3, 2, 1));

    double const dx = 2.0 / 11.0;
    auto const at = [](double index, double rate) {
        double const a = 0.1 * (1.0 + index);
        Eigen::ArrayXd const constant = Eigen::ArrayXd::Constant(12, a * rate);
        Eigen::ArrayXd const zero = Eigen::ArrayXd::Zero(12);
        return Coefficients{constant, -constant, zero, zero};
    };
    for (int k = 3; k > 0; --k) {
        double const before = k == 3 ? 3.0 : k + 1.0;
        SparseReference{at(before, 0.5), dx, 1.0, BoundaryCondition::DIRICHLET}.step(-0.01,
                                                                                     expected);
        SparseReference{at(k, 0.5), dx, 0.0, BoundaryCondition::DIRICHLET}.step(-0.01, expected);
    }
    EXPECT_LT((values - expected).abs().maxCoeff(), 1e-12);
}

}  // namespace
