// What a user would write by hand for one payoff: plain loops over the standard library's generator
// and distribution. The benchmarks report their times as ratios to these, measured in the same run.

#pragma once

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <random>
#include <string>
#include <vector>

namespace ximBench {

enum class Payoff { european, asian, worst_of };

/// A payoff on shares A, B, C over equally spaced dates, one to three of them.
struct Case {
    Payoff payoff;
    std::size_t nb_underlyings;
    std::size_t nb_dates;
    int days_between_dates;

    [[nodiscard]] double step_years() const { return days_between_dates / 365.0; }
};

inline constexpr Case european{Payoff::european, 1, 1, 364};
inline constexpr Case asian{Payoff::asian, 1, 52, 7};
inline constexpr Case worst_of{Payoff::worst_of, 3, 20, 18};

/// Three shares; rates are 0. A share that is paid in a foreign currency has the covariance with
/// its rate as drift.
struct Market {
    std::array<double, 3> spots;
    std::array<double, 3> volatilities;
    std::array<std::array<double, 3>, 3> correlations;
    std::array<double, 3> quanto_drifts{};
};

inline constexpr Market test_market{{100.0, 80.0, 120.0},
                                    {0.25, 0.375, 0.5},
                                    {{{1.0, 0.5, 0.25}, {0.5, 1.0, 0.25}, {0.25, 0.25, 1.0}}}};

/// One state of the market: the central one, or a bumped one.
struct State {
    std::array<double, 3> spots;
    std::array<double, 3> volatilities;
};

/// The central state and, with sensitivities, those of a two-sided delta, a gamma and a two-sided
/// vega per underlying.
inline std::vector<State> make_states(Case const& what, Market const& market, bool with_greeks) {
    std::vector<State> states{{market.spots, market.volatilities}};
    for (std::size_t u = 0; with_greeks && u < what.nb_underlyings; ++u)
        for (int greek = 0; greek < 3; ++greek)  // delta, gamma, vega
            for (double const sign : {1.0, -1.0}) {
                State state = states[0];
                if (greek < 2) state.spots[u] *= 1.0 + sign * 0.01;
                if (greek == 2) state.volatilities[u] += sign * 0.01;
                states.push_back(state);
            }
    return states;
}

/// The mean payoff of each state. Nothing is discounted: rates are 0.
inline std::vector<double> simulate(Case const& what, Market const& market,
                                    std::vector<State> const& states, std::uint64_t trials,
                                    std::uint64_t seed = 23051994) {
    std::size_t const n = what.nb_underlyings;
    double const dt = what.step_years();
    double const sqrt_dt = std::sqrt(dt);
    auto const& correlations = market.correlations;
    double const l10 = correlations[1][0], l11 = std::sqrt(1.0 - l10 * l10);
    double const l20 = correlations[2][0], l21 = (correlations[2][1] - l20 * l10) / l11;
    double const l22 = std::sqrt(1.0 - l20 * l20 - l21 * l21);
    std::mt19937_64 generator(seed);
    std::normal_distribution<double> normal;
    std::vector<double> sums(states.size(), 0.0);
    std::vector<double> w(what.nb_dates * n);
    for (std::uint64_t trial = 0; trial < trials; ++trial) {
        for (std::size_t k = 0; k < what.nb_dates; ++k) {
            double z[3] = {0.0, 0.0, 0.0};
            for (std::size_t u = 0; u < n; ++u) z[u] = normal(generator);
            w[k * n] = z[0];
            if (n > 1) w[k * n + 1] = l10 * z[0] + l11 * z[1];
            if (n > 2) w[k * n + 2] = l20 * z[0] + l21 * z[1] + l22 * z[2];
        }
        for (std::size_t s = 0; s < states.size(); ++s) {
            State const& state = states[s];
            double x[3] = {0.0, 0.0, 0.0};
            double average = 0.0;
            for (std::size_t k = 0; k < what.nb_dates; ++k) {
                double least = 1e300;
                for (std::size_t u = 0; u < n; ++u) {
                    double const sigma = state.volatilities[u];
                    x[u] += sigma * (sqrt_dt * w[k * n + u] - 0.5 * sigma * dt) +
                            market.quanto_drifts[u] * dt;
                    least = std::min(least, state.spots[u] * std::exp(x[u]) / market.spots[u]);
                }
                average += least;
            }
            sums[s] += 100.0 * std::max(average / static_cast<double>(what.nb_dates) - 1.0, 0.0);
        }
    }
    for (double& sum : sums) sum /= static_cast<double>(trials);
    return sums;
}

/// Seconds of one call.
double seconds(auto&& call) {
    auto const start = std::chrono::steady_clock::now();
    call();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

/// The least of what was timed so far: the time without the noise of other programs.
class Best {
 public:
    void add(double time) { m_least = std::min(m_least, time); }
    [[nodiscard]] double c_get() const { return m_least; }

 private:
    double m_least{1e300};
};

}  // namespace ximBench
