#include "core/toolbox/root_finder.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <tuple>

#include "support/matchers.hpp"

using namespace ximCORE::Toolbox;
using ximTest::LogsNothing;

namespace {

using Function = std::function<double(double)>;

/// A function that gives each operation only if it was made with it.
class Func final : public RootFinderFunc {
 public:
    Function value;
    Function derivative;
    bool gives_both{false};
    mutable int nb_values{0};

    [[nodiscard]] bool c_compute_value(double x, double& y) const override {
        if (value == nullptr) {
            return false;
        }
        ++nb_values;
        y = value(x);
        return true;
    }
    [[nodiscard]] bool c_compute_derivative(double x, double& dy) const override {
        if (derivative == nullptr) {
            return false;
        }
        dy = derivative(x);
        return true;
    }
    [[nodiscard]] bool c_compute_value_and_derivative(double x, double& y,
                                                      double& dy) const override {
        return gives_both && c_compute_value(x, y) && c_compute_derivative(x, dy);
    }
};

/// x^2 - 2, with its derivative.
Func square_less_two(bool gives_both) {
    Func func;
    func.value = [](double x) { return x * x - 2.0; };
    func.derivative = [](double x) { return 2.0 * x; };
    func.gives_both = gives_both;
    return func;
}

Func value_only(Function value) {
    Func func;
    func.value = std::move(value);
    return func;
}

/// What a bare function answers.
class NothingGiven final : public RootFinderFunc {};

TEST(RootFinderFunc, GivesNothingByDefault) {
    double y = 1.0;
    double dy = 2.0;
    EXPECT_FALSE(NothingGiven{}.c_compute_value(0.0, y));
    EXPECT_FALSE(NothingGiven{}.c_compute_derivative(0.0, dy));
    EXPECT_FALSE(NothingGiven{}.c_compute_value_and_derivative(0.0, y, dy));
    EXPECT_EQ(y, 1.0);
    EXPECT_EQ(dy, 2.0);
}

TEST(NewtonRaphson, FindsTheRootByEitherWayToTheDerivative) {
    for (bool const gives_both : {true, false}) {
        NewtonRaphson newton(1.0);
        double root = 0.0;
        EXPECT_TRUE(newton.run(square_less_two(gives_both), root, 1e-12, 50));
        EXPECT_NEAR(root, std::sqrt(2.0), 1e-12);
        EXPECT_GT(newton.c_get_nb_iterations(), 2U);
        EXPECT_LT(newton.c_get_nb_iterations(), 8U);
    }
}

TEST(NewtonRaphson, TestsTheStepAndNotTheValue) {
    Func steep;
    steep.value = [](double x) { return 1e6 * (x - 1.0) + 1.0; };
    steep.derivative = [](double) { return 1e6; };
    NewtonRaphson newton(1.0);  // the value is 1 here, but the step to the root only 1e-6
    double root = 0.0;
    EXPECT_TRUE(newton.run(steep, root, 1e-5, 50));
    EXPECT_EQ(newton.c_get_nb_iterations(), 1U);
    EXPECT_DOUBLE_EQ(root, 1.0 - 1e-6);
}

TEST(NewtonRaphson, AStepOfTheToleranceIsASuccess) {
    Func line;
    line.value = [](double x) { return x; };
    line.derivative = [](double) { return 1.0; };
    NewtonRaphson newton(0.5);
    double root = 9.0;
    EXPECT_TRUE(newton.run(line, root, 0.5, 1));
    EXPECT_EQ(root, 0.0);
}

TEST(NewtonRaphson, EndsAfterTheLargestNumberOfSteps) {
    Func escaping;  // each step adds 1
    escaping.value = [](double) { return -1.0; };
    escaping.derivative = [](double) { return 1.0; };
    NewtonRaphson newton(0.0);
    double root = -5.0;
    EXPECT_FALSE(newton.run(escaping, root, 1e-9, 7));
    EXPECT_EQ(newton.c_get_nb_iterations(), 7U);
    EXPECT_EQ(newton.c_get_nb_walked(), 7U);
    EXPECT_EQ(root, 7.0);
    EXPECT_FALSE(newton.run(escaping, root, 1e-9, 0));  // one step is always taken
    EXPECT_EQ(newton.c_get_nb_iterations(), 1U);
}

/// Steps from 0 to 1, 2, 3, 4 and then round and round: 2, 3, 4.
Func circling() {
    Func func;
    func.value = [](double x) { return x - (x == 4.0 ? 2.0 : x + 1.0); };
    func.derivative = [](double) { return 1.0; };
    func.gives_both = true;
    return func;
}

double circling_after(std::uint64_t steps) {
    return steps < 4 ? static_cast<double>(steps) : 2.0 + static_cast<double>((steps - 2) % 3);
}

TEST(NewtonRaphson, ACycleEndsWhereItsLastStepWouldBe) {
    for (std::uint64_t steps = 1; steps < 60; ++steps) {
        NewtonRaphson newton(0.0);
        double root = -1.0;
        EXPECT_FALSE(newton.run(circling(), root, 1e-9, steps));
        EXPECT_EQ(root, circling_after(steps)) << steps;
        EXPECT_EQ(newton.c_get_nb_iterations(), steps);
    }
}

TEST(NewtonRaphson, ACycleIsNotWalkedToTheEnd) {
    for (std::uint64_t const steps :
         {std::uint64_t{1} << 62U, (std::uint64_t{1} << 62U) + 1, ~std::uint64_t{0}}) {
        Func const func = circling();
        NewtonRaphson newton(0.0);
        double root = -1.0;
        EXPECT_FALSE(newton.run(func, root, 0.0, steps));
        EXPECT_EQ(root, circling_after(steps));
        EXPECT_EQ(newton.c_get_nb_iterations(), steps);
        EXPECT_LT(func.nb_values, 30);
        EXPECT_EQ(newton.c_get_nb_walked(), static_cast<std::uint64_t>(func.nb_values));
    }
}

TEST(NewtonRaphson, ANumberThatIsNoneIsACycleOfOne) {
    Func func;
    func.value = [](double) { return std::nan(""); };
    func.derivative = [](double) { return 1.0; };
    func.gives_both = true;
    NewtonRaphson newton(0.0);
    double root = 0.0;
    EXPECT_FALSE(newton.run(func, root, 1e-9, ~std::uint64_t{0}));
    EXPECT_TRUE(std::isnan(root));
    EXPECT_EQ(newton.c_get_nb_iterations(), ~std::uint64_t{0});
    EXPECT_LT(func.nb_values, 10);
}

TEST(NewtonRaphson, AMissingDerivativeEndsTheRun) {
    NewtonRaphson newton(1.0);
    double root = 0.0;
    EXPECT_FALSE(newton.run(value_only([](double x) { return x; }), root, 1e-9, 50));
    EXPECT_EQ(root, 1.0);
    EXPECT_EQ(newton.c_get_nb_iterations(), 0U);
}

TEST(NewtonRaphson, AMissingValueCountsAsTheRoot) {
    // Relied on: only a missing derivative ends the run
    Func func;
    func.derivative = [](double) { return 1.0; };
    NewtonRaphson newton(3.0);
    double root = 0.0;
    EXPECT_TRUE(newton.run(func, root, 1e-9, 50));
    EXPECT_EQ(root, 3.0);
}

TEST(NewtonRaphson, ADerivativeOfZeroFindsNothing) {
    Func flat;
    flat.value = [](double) { return 1.0; };
    flat.derivative = [](double) { return 0.0; };
    NewtonRaphson newton(0.0);
    double root = 0.0;
    EXPECT_FALSE(newton.run(flat, root, 1e-9, 20));
}

TEST(Dichotomy, FindsTheRootAndIsReadyAgain) {
    Func const func = value_only([](double x) { return std::cos(x); });
    Dichotomy dichotomy(1.0, 2.0);
    for (int run = 0; run < 2; ++run) {
        double root = 0.0;
        EXPECT_TRUE(dichotomy.run(func, root, 1e-10, 100));
        EXPECT_NEAR(root, std::acos(0.0), 1e-9);
        EXPECT_EQ(dichotomy.c_get_nb_iterations(), 0U);
    }
}

TEST(Dichotomy, FindsAFallingAndARisingRoot) {
    double root = 0.0;
    EXPECT_TRUE(
        Dichotomy(0.0, 3.0).run(value_only([](double x) { return 1.0 - x; }), root, 1e-9, 100));
    EXPECT_NEAR(root, 1.0, 1e-9);
    EXPECT_TRUE(
        Dichotomy(0.0, 3.0).run(value_only([](double x) { return x - 1.0; }), root, 1e-9, 100));
    EXPECT_NEAR(root, 1.0, 1e-9);
}

TEST(Dichotomy, TestsTheValueAndNotTheStep) {
    double root = 0.0;
    Func const flat = value_only([](double x) { return 1e-6 * (x - 0.75); });
    EXPECT_TRUE(Dichotomy(0.0, 1.0).run(flat, root, 1e-5, 100));
    EXPECT_EQ(root, 0.5);
}

TEST(Dichotomy, WithoutAChangeOfSignFailsAtTheFirstStep) {
    Dichotomy dichotomy(0.0, 1.0);
    double root = 7.0;
    EXPECT_THAT(
        [&] {
            EXPECT_FALSE(
                dichotomy.run(value_only([](double x) { return x + 1.0; }), root, 1e-9, 100));
        },
        LogsNothing());
    EXPECT_EQ(dichotomy.c_get_nb_iterations(), 1U);
    EXPECT_EQ(root, 7.0);
}

TEST(Dichotomy, KeepsItsStateAfterAFailureAndGoesOnFromIt) {
    Func const func = value_only([](double x) { return x - 0.3; });
    Dichotomy dichotomy(0.0, 1.0);
    double root = 0.0;
    EXPECT_FALSE(dichotomy.run(func, root, 1e-6, 4));
    EXPECT_EQ(dichotomy.c_get_nb_iterations(), 5U);  // above the largest number
    EXPECT_EQ(func.nb_values, 2 + 5);
    EXPECT_TRUE(dichotomy.run(func, root, 1e-6, 100));
    EXPECT_NEAR(root, 0.3, 1e-6);
    EXPECT_EQ(dichotomy.c_get_nb_iterations(), 0U);
    int const nb_values_of_both = func.nb_values;
    Func const fresh = value_only([](double x) { return x - 0.3; });
    EXPECT_TRUE(Dichotomy(0.0, 1.0).run(fresh, root, 1e-6, 100));
    EXPECT_EQ(nb_values_of_both, fresh.nb_values);  // no value was computed twice
}

TEST(Dichotomy, AMissingValueEndsTheRun) {
    double root = 0.0;
    EXPECT_FALSE(Dichotomy(0.0, 1.0).run(NothingGiven{}, root, 1e-9, 100));
}

TEST(Dichotomy, ManyHalvingsNeedNoDeepStack) {
    Func const func =
        value_only([](double x) { return x < 1.0 / 3.0 ? -1.0 : 1.0; });  // never near 0
    double root = 0.0;
    EXPECT_FALSE(Dichotomy(0.0, 1.0).run(func, root, 1e-9, 1'000'000));
}

TEST(RootFinderChain, TheFirstThatSucceedsGivesTheRoot) {
    Func const func =
        value_only([](double x) { return x - 0.25; });  // no derivative: Newton's method fails
    NewtonRaphson newton(0.5);
    Dichotomy dichotomy(0.0, 1.0);
    double root = 0.0;
    EXPECT_TRUE(rootfinder(func, {nullptr, &newton, &dichotomy}, root, 1e-9, 100, nullptr));
    EXPECT_NEAR(root, 0.25, 1e-9);
    EXPECT_FALSE(rootfinder(func, {&newton}, root, 1e-9, 100, nullptr));
}

TEST(RootFinderChain, AnEmptyListFindsNothing) {
    double root = 4.0;
    std::uint64_t iterations = 3;
    EXPECT_FALSE(rootfinder(NothingGiven{}, {}, root, 1e-9, 100, &iterations));
    EXPECT_FALSE(rootfinder(NothingGiven{}, {nullptr}, root, 1e-9, 100, &iterations));
    EXPECT_EQ(root, 4.0);
    EXPECT_EQ(iterations, 3U);
}

TEST(RootFinderChain, TheStepsOfEachOneTriedAreAdded) {
    Func escaping;
    escaping.value = [](double x) { return x - 0.25; };
    escaping.derivative = [](double) { return 1e9; };  // steps that do not arrive
    NewtonRaphson newton(100.0);
    Dichotomy dichotomy(0.0, 1.0);
    double root = 0.0;
    std::uint64_t iterations = 10;
    EXPECT_TRUE(rootfinder(escaping, {&newton, &dichotomy}, root, 1e-12, 6, &iterations));
    EXPECT_EQ(root, 0.25);
    EXPECT_EQ(iterations, 10U + 6U);  // a successful bisection counts 0
}

}  // namespace
