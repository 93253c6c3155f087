// How the values of the bumped states combine into the difference that a sensitivity accumulates.

#pragma once

#include <cstddef>
#include <cstdint>

#include "core/pricing/greek.hpp"

namespace ximCORE::Pricing {

/// How an engine departs from the plain combination.
struct EvaluationRule {
    std::int32_t direction{0};
    /// The direction whose being 0 leaves out the reference term of a down difference; the plain
    /// rule is `direction`.
    std::int32_t reference_direction{0};
};

/// The difference of one result. `revalue(bump)` gives the value under a state, `central` the value
/// under none.
double combine(Greek const& greek, EvaluationRule const& rule, double central, auto&& revalue) {
    auto const& states = greek.states;
    switch (greek.difference) {
        case Difference::directional: {
            double const reference = rule.direction * central;
            double x = 0.0;
            if (Greek::s_needs_up(rule.direction)) {
                x = revalue(states[0]);
                if (!Greek::s_needs_down(rule.direction)) return x - reference;
            }
            x -= revalue(states[1]);
            return rule.reference_direction != 0 ? x - reference : x;
        }
        case Difference::convexity: {
            double const up = revalue(states[0]);
            double const down = revalue(states[1]);
            return (up + down) - 2.0 * central;
        }
        case Difference::mixed: {
            double x = revalue(states[0]);
            x -= revalue(states[1]);
            x -= revalue(states[2]);
            x += revalue(states[3]);
            return x;
        }
    }
    return 0.0;
}

}  // namespace ximCORE::Pricing
