// Checks a hand-written adjoint routine against differences of its forward form.
#pragma once

#include <gtest/gtest.h>

#include <cmath>
#include <cstddef>
#include <vector>

#include "core/toolbox/tape.hpp"

namespace ximTest {

using Values = std::vector<double>;

/// Derivative at `x` of a function of one number: central differences of the steps h, h/2 and h/4,
/// extrapolated to h = 0 (L. F. Richardson, 1911). The error is of order h^6 for a function that is
/// smooth within h of x.
template <class Function>
double derivative(Function const& f, double x, double h) {
    auto const central = [&](double step) { return (f(x + step) - f(x - step)) / (2.0 * step); };
    double const wide = central(h);
    double const half = central(0.5 * h);
    double const quarter = central(0.25 * h);
    double const first = (4.0 * half - wide) / 3.0;
    double const second = (4.0 * quarter - half) / 3.0;
    return (16.0 * second - first) / 15.0;
}

/// `f(x)` is the forward form, smooth around x. `af(tape, sweep, x, value, adjoint, adjoints)` is
/// the adjoint form: it must give the value of `f` to the last bit, add to `adjoints` the
/// derivative times `adjoint` to eight digits, and leave the tape empty. `step`: relative to each
/// number, and to 0.1 for smaller ones.
template <class Forward, class Adjoint>
void expect_adjoint_matches_bumps(Forward const& f, Adjoint const& af, Values const& x,
                                  double step = 1e-3) {
    using enum ximCORE::Toolbox::AAD::SweepType;
    constexpr double seed = 1.5;
    constexpr double before = 0.25;  // adjoints are added to, not overwritten
    ximCORE::Toolbox::AAD::Tape tape;
    double value = 0.0;
    Values adjoints(x.size(), before);
    af(tape, FORWARD, x, value, 0.0, adjoints);
    EXPECT_EQ(value, f(x));
    EXPECT_EQ(adjoints, Values(x.size(), before)) << "the forward sweep hands nothing on";
    af(tape, BACKWARD, x, value, seed, adjoints);
    EXPECT_TRUE(tape.c_is_empty());
    for (std::size_t i = 0; i < x.size(); ++i) {
        auto const along = [&](double moved) {
            Values point = x;
            point[i] = moved;
            return f(point);
        };
        double const expected = derivative(along, x[i], step * std::max(std::abs(x[i]), 0.1));
        EXPECT_NEAR((adjoints[i] - before) / seed, expected,
                    1e-8 * std::abs(expected) + 1e-10 * std::abs(f(x)))
            << "by argument " << i;
    }
}

}  // namespace ximTest
