// The ten sensitivities of a pricing, each as one row: which bumped states it needs, how their
// values combine, how it is scaled and where its results stand. Preparation, calibration,
// evaluation, scaling and report all walk this table; see greek_evaluation.hpp for the combination.

#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

#include "core/modeling/bump.hpp"
#include "core/pricing/options.hpp"
#include "core/pricing/results.hpp"

namespace ximCORE::Pricing {

/// directional: up - down, or one side against the central price.   States: up, down.
/// convexity:   up + down - 2 central.                              States: up, down.
/// mixed:       uu - du - ud + dd, over four or over two bumps.     States: uu, du, ud, dd.
enum class Difference : std::uint8_t { directional, convexity, mixed };

/// One result per underlying, per currency, or per pair i > j of underlyings.
enum class Shape : std::uint8_t { underlyings, currencies, pairs };

/// The switch of one sensitivity. `first_bp` moves what the first word of a state names,
/// `second_bp` the second.
struct GreekSetting {
    bool activate{false};
    std::int32_t direction{0};  ///< -1 left, 0 centred, +1 right
    double first_bp{1.0};
    double second_bp{1.0};
};

struct Greek {
    std::string_view label;
    Difference difference;
    Shape shape;
    std::array<Modeling::Bump, 4> states;
    GreekSetting (*c_get_setting)(Options::Greeks const&);
    Results::Rows Results::*rows{nullptr};    ///< of the shapes with one index
    Results::Pairs Results::*pairs{nullptr};  ///< of the shape with two
    bool second_divides_first{false};  ///< the scale divides by the second bump, then by the first

    [[nodiscard]] constexpr std::span<Modeling::Bump const> c_get_states() const {
        return std::span(states).first(difference == Difference::mixed ? 4 : 2);
    }
    /// Whether an up, or a down, state is needed for a direction.
    [[nodiscard]] static constexpr bool s_needs_up(std::int32_t direction) {
        return direction >= 0;
    }
    [[nodiscard]] static constexpr bool s_needs_down(std::int32_t direction) {
        return direction <= 0;
    }
};

namespace Greeks {
using enum Modeling::Bump;
using Switches = Options::Greeks;

constexpr GreekSetting setting_of(Options::Directional const& s) {
    return {s.activate, s.direction, s.bump, s.bump};
}
constexpr GreekSetting setting_of(Options::Convexity const& s) {
    return {s.activate, 0, s.bump, s.bump};
}
constexpr GreekSetting setting_of(Options::Mixed const& s) {
    return {s.activate, 0, s.spot_bump, s.vol_bump};
}
template <auto record>
GreekSetting setting(Switches const& greeks) {
    return setting_of(greeks.*record);
}

// clang-format off
inline constexpr Greek rho{"RHO@", Difference::directional, Shape::currencies, {rho_up, rho_down}, setting<&Switches::rho>, &Results::rho};
inline constexpr Greek delta{"DELTA@", Difference::directional, Shape::underlyings, {delta_up, delta_down}, setting<&Switches::delta>, &Results::delta};
inline constexpr Greek gamma{"GAMMA@", Difference::convexity, Shape::underlyings, {gamma_up, gamma_down}, setting<&Switches::gamma>, &Results::gamma};
inline constexpr Greek vega{"VEGA//@", Difference::directional, Shape::underlyings, {vega_up, vega_down}, setting<&Switches::vega>, &Results::vega};
inline constexpr Greek volga{"VOLGA//@", Difference::convexity, Shape::underlyings, {volga_up, volga_down}, setting<&Switches::volga>, &Results::volga};
inline constexpr Greek vanna{"VANNA//@", Difference::mixed, Shape::underlyings, {delta_up_vega_up, delta_down_vega_up, delta_up_vega_down, delta_down_vega_down},
                             setting<&Switches::vanna>, &Results::vanna, nullptr, true};
inline constexpr Greek cega{"CEGA@", Difference::directional, Shape::pairs, {cega_up, cega_down}, setting<&Switches::cega>, nullptr, &Results::cega};
inline constexpr Greek xgamma{"XGAMMA@", Difference::mixed, Shape::pairs, {delta_up_delta_up, delta_down_delta_up, delta_up_delta_down, delta_down_delta_down},
                              setting<&Switches::xgamma>, nullptr, &Results::xgamma};
inline constexpr Greek xvolga{"XVOLGA@", Difference::mixed, Shape::pairs, {vega_up_vega_up, vega_down_vega_up, vega_up_vega_down, vega_down_vega_down},
                              setting<&Switches::xvolga>, nullptr, &Results::xvolga};
inline constexpr Greek xvanna{"XVANNA@", Difference::mixed, Shape::pairs,
                              {cross_delta_up_vega_up, cross_delta_down_vega_up, cross_delta_up_vega_down, cross_delta_down_vega_down},
                              setting<&Switches::xvanna>, nullptr, &Results::xvanna};

/// In the order of the report.
inline constexpr auto table = std::to_array<Greek const*>({&rho, &delta, &gamma, &vega, &volga, &vanna, &cega, &xgamma, &xvolga, &xvanna});
/// In the order in which the states are calibrated.
inline constexpr auto calibration_order = std::to_array<Greek const*>({&delta, &gamma, &xgamma, &vega, &volga, &xvolga, &vanna, &xvanna, &cega, &rho});
/// In the order in which an engine revalues. Relied on: no engine walks rho, its rows report no observation.
inline constexpr auto evaluation_order = std::to_array<Greek const*>({&delta, &gamma, &vega, &volga, &cega, &xgamma, &xvolga, &vanna, &xvanna});
// clang-format on
}  // namespace Greeks

/// The statistic of one result. An index outside raises `SegmentationFaultException`.
inline MCResult& result_at(Greek const& greek, Results& results, std::size_t i, std::size_t j) {
    return greek.rows != nullptr ? (results.*greek.rows).unsafe_get(i).result
                                 : (results.*greek.pairs).unsafe_get(i, j).result;
}

/// Calls visit(i, j, cell) for each result of a sensitivity, j = 0 for a row.
void for_each_cell(Greek const& greek, auto& results, auto&& visit) {
    if (greek.rows != nullptr) {
        auto& rows = results.*greek.rows;
        for (std::size_t i = 0; i < rows.c_get_size(); ++i)
            visit(i, std::size_t{0}, rows.unsafe_get(i));
        return;
    }
    auto& pairs = results.*greek.pairs;
    for (std::size_t i = 1; i < pairs.c_get_side(); ++i)
        for (std::size_t j = 0; j < i; ++j) visit(i, j, pairs.unsafe_get(i, j));
}

}  // namespace ximCORE::Pricing
