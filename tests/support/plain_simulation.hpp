// The same simulations by other means: plain loops over the standard library's generator, for
// comparison with the engine.

#pragma once

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <random>
#include <vector>

namespace ximCORE::Testing {

/// Lognormal assets: log S_u(t_k) gains sigma_u sqrt(dt) w_u - sigma_u^2 dt / 2 + drift_u dt on
/// each step, with w correlated.
class PlainSimulation {
 public:
    /// A market state. `quanto_drifts` are covariances with the rate of the quanto adjustment.
    struct State {
        std::vector<double> spots;
        std::vector<double> volatilities;
        std::vector<std::vector<double>> correlations;  // symmetric, ones on the diagonal
    };
    /// paths[underlying][date] to a discounted value
    using Payoff = std::function<double(std::vector<std::vector<double>> const&)>;

    double growth{0.0};             ///< of all forwards, continuous
    std::vector<double> times;      ///< of all dates of the grid, in years
    std::vector<int> quanto_rates;  ///< [underlying]: the underlying that is its rate, -1 without
    double antithetic{0.0};
    Payoff payoff;

    /// All normals of a run, in the order in which they are used; one more step per trial than
    /// there are dates.
    void draw(std::uint64_t seed, std::size_t trials, std::size_t nb_underlyings) {
        m_trials = trials;
        m_slice = (times.size() + 1) * nb_underlyings;
        m_normals.resize(trials * m_slice);
        std::mt19937_64 generator(seed);
        std::normal_distribution<double> normal;
        for (double& z : m_normals) z = normal(generator);
    }

    /// The value of each trial under a state.
    std::vector<double> values(State const& state) const {
        std::vector<double> result(m_trials);
        for (std::size_t trial = 0; trial < m_trials; ++trial) {
            result[trial] = (1.0 - antithetic) * payoff(path(state, trial, 1.0));
            if (antithetic > 0.0) result[trial] += antithetic * payoff(path(state, trial, -1.0));
        }
        return result;
    }

 private:
    /// Lower factor by rows (Cholesky-Banachiewicz).
    static std::vector<std::vector<double>> factorise(
        std::vector<std::vector<double>> const& matrix) {
        auto factor = matrix;
        for (std::size_t i = 0; i < matrix.size(); ++i)
            for (std::size_t j = 0; j <= i; ++j) {
                double rest = matrix[i][j];
                for (std::size_t k = 0; k < j; ++k) rest -= factor[i][k] * factor[j][k];
                factor[i][j] = i == j ? std::sqrt(rest) : rest / factor[j][j];
            }
        return factor;
    }

    std::vector<std::vector<double>> path(State const& state, std::size_t trial,
                                          double sign) const {
        std::size_t const n = state.spots.size();
        auto const factor = factorise(state.correlations);
        std::vector<std::vector<double>> result(n);
        for (std::size_t u = 0; u < n; ++u) {
            double log_value = std::log(state.spots[u]);
            double const sigma = state.volatilities[u];
            double previous = 0.0;
            double drift = growth - 0.5 * sigma * sigma;
            if (!quanto_rates.empty() && quanto_rates[u] >= 0) {
                auto const q = static_cast<std::size_t>(quanto_rates[u]);
                drift += state.correlations[q][u] * state.volatilities[q] * sigma;
            }
            for (std::size_t k = 0; k < times.size(); ++k) {
                double w = 0.0;
                for (std::size_t j = 0; j <= u; ++j)
                    w += factor[u][j] * m_normals[trial * m_slice + k * n + j];
                double const dt = times[k] - previous;
                log_value += drift * dt + sigma * std::sqrt(dt) * sign * w;
                previous = times[k];
                result[u].push_back(std::exp(log_value));
            }
        }
        return result;
    }

    std::size_t m_trials{0};
    std::size_t m_slice{0};
    std::vector<double> m_normals;
};

inline double mean(std::vector<double> const& values) {
    double sum = 0.0;
    for (double const value : values) sum += value;
    return sum / static_cast<double>(values.size());
}

/// sqrt(sample variance / count), by the two-pass formula.
inline double standard_error(std::vector<double> const& values) {
    double const centre = mean(values);
    double sum = 0.0;
    for (double const value : values) sum += (value - centre) * (value - centre);
    auto const n = static_cast<double>(values.size());
    return std::sqrt(sum / (n - 1.0) / n);
}

}  // namespace ximCORE::Testing
