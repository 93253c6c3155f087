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

/// The rule of the simulation under the settings in force.
inline EvaluationRule simulation_rule(Greek const& greek) {
    auto const& settings = PricerOptions::s_options.greeks;
    auto const direction_of = [&](Greek const& other) {
        return static_cast<signed char>(other.c_get_setting(settings).direction);
    };
    EvaluationRule rule{direction_of(greek), direction_of(greek)};
    // Relied on: the reference term of a down vega reads the direction of delta
    if (&greek == &Greeks::vega) rule.reference_direction = direction_of(Greeks::delta);
    return rule;
}

/// The difference of one result. `revalue(bump)` gives the value under a state, `central` the value
/// under none; values are numbers, or whatever adds and scales like them.
template <class Value>
Value combine(Greek const& greek, EvaluationRule const& rule, Value const& central,
              auto&& revalue) {
    auto const& states = greek.states;
    switch (greek.difference) {
        case Difference::directional: {
            Value const reference = static_cast<double>(rule.direction) * central;
            Value x{};
            if (Greek::s_needs_up(rule.direction)) {
                x = revalue(states[0]);
                if (!Greek::s_needs_down(rule.direction)) return x - reference;
            }
            x -= revalue(states[1]);
            return rule.reference_direction != 0 ? x - reference : x;
        }
        case Difference::convexity: {
            Value const up = revalue(states[0]);
            Value const down = revalue(states[1]);
            return (up + down) - 2.0 * central;
        }
        case Difference::mixed: {
            Value x = revalue(states[0]);
            x -= revalue(states[1]);
            x -= revalue(states[2]);
            x += revalue(states[3]);
            return x;
        }
    }
    return Value{};
}

}  // namespace ximCORE::Pricing
