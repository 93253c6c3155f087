// The bumped market states of the greeks. One list makes the enumerators, the storage index and the
// named operations of Helper; the table beside it says which market quantity each state moves, and
// which way.

#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace ximCORE::Modeling {

// clang-format off
/// States with one index: an underlying, or a currency for rho. gamma and volga have their own pairs of states because
/// their bumps may differ in size from those of delta and vega; the last four are the vanna states.
#define XIM_ROW_BUMPS(X) \
    X(delta_up) X(delta_down) X(gamma_up) X(gamma_down) X(vega_up) X(vega_down) X(volga_up) X(volga_down) \
    X(rho_up) X(rho_down) \
    X(delta_up_vega_up) X(delta_down_vega_up) X(delta_down_vega_down) X(delta_up_vega_down)

/// States with two indices i > j over the underlyings: cega, xgamma, xvolga and xvanna.
#define XIM_PAIR_BUMPS(X) \
    X(cega_up) X(cega_down) \
    X(delta_up_delta_up) X(delta_down_delta_up) X(delta_down_delta_down) X(delta_up_delta_down) \
    X(vega_up_vega_up) X(vega_down_vega_up) X(vega_down_vega_down) X(vega_up_vega_down) \
    X(cross_delta_up_vega_up) X(cross_delta_down_vega_up) X(cross_delta_down_vega_down) X(cross_delta_up_vega_down)

#define XIM_ENUMERATOR(name) name,
enum class Bump : std::uint8_t {
    XIM_ROW_BUMPS(XIM_ENUMERATOR)
    row_count, last_row = row_count - 1,
    XIM_PAIR_BUMPS(XIM_ENUMERATOR)
    end
};
#undef XIM_ENUMERATOR
// clang-format on

inline constexpr std::size_t nb_row_bumps = static_cast<std::size_t>(Bump::row_count);
inline constexpr std::size_t nb_bumps = static_cast<std::size_t>(Bump::end);
inline constexpr std::size_t nb_pair_bumps = nb_bumps - nb_row_bumps;

[[nodiscard]] constexpr std::size_t index_of(Bump bump) {
    return static_cast<std::size_t>(bump);
}
[[nodiscard]] constexpr bool is_row(Bump bump) {
    return index_of(bump) < nb_row_bumps;
}

/// The market quantity that a state moves.
enum class Quantity : std::uint8_t { nothing, spot, volatility, rate, correlation };

/// One move: the quantity and its direction, +1 or -1; `nothing` and 0 where a state has only one
/// move.
struct Move {
    Quantity quantity = Quantity::nothing;
    signed char sign = 0;
};

/// The two moves of a state. A row applies both to its own index; a pair applies the first to
/// underlying i and the second to underlying j, but a correlation move is that of the pair (i, j).
using Moves = std::array<Move, 2>;

// clang-format off
inline constexpr std::array<Moves, nb_bumps> move_table = [] {
    using enum Quantity;
    std::array<Moves, nb_bumps> table{};
    auto const move = [&table](Bump bump, Move first, Move second = {}) { table[index_of(bump)] = {first, second}; };
    constexpr Move spot_up{spot, 1}, spot_down{spot, -1}, volatility_up{volatility, 1}, volatility_down{volatility, -1};
    move(Bump::delta_up, spot_up);              move(Bump::delta_down, spot_down);
    move(Bump::gamma_up, spot_up);              move(Bump::gamma_down, spot_down);
    move(Bump::vega_up, volatility_up);         move(Bump::vega_down, volatility_down);
    move(Bump::volga_up, volatility_up);        move(Bump::volga_down, volatility_down);
    move(Bump::rho_up, {rate, 1});              move(Bump::rho_down, {rate, -1});
    move(Bump::delta_up_vega_up, spot_up, volatility_up);
    move(Bump::delta_down_vega_up, spot_down, volatility_up);
    move(Bump::delta_down_vega_down, spot_down, volatility_down);
    move(Bump::delta_up_vega_down, spot_up, volatility_down);
    move(Bump::cega_up, {correlation, 1});      move(Bump::cega_down, {correlation, -1});
    move(Bump::delta_up_delta_up, spot_up, spot_up);
    move(Bump::delta_down_delta_up, spot_down, spot_up);
    move(Bump::delta_down_delta_down, spot_down, spot_down);
    move(Bump::delta_up_delta_down, spot_up, spot_down);
    move(Bump::vega_up_vega_up, volatility_up, volatility_up);
    move(Bump::vega_down_vega_up, volatility_down, volatility_up);
    move(Bump::vega_down_vega_down, volatility_down, volatility_down);
    move(Bump::vega_up_vega_down, volatility_up, volatility_down);
    move(Bump::cross_delta_up_vega_up, spot_up, volatility_up);
    move(Bump::cross_delta_down_vega_up, spot_down, volatility_up);
    move(Bump::cross_delta_down_vega_down, spot_down, volatility_down);
    move(Bump::cross_delta_up_vega_down, spot_up, volatility_down);
    return table;
}();
// clang-format on

}  // namespace ximCORE::Modeling
