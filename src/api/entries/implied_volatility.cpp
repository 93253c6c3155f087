// "TestImpliedVolatilityComputation": how well and how fast the search for implied volatilities
// finds what a price was made with, on a grid of strikes and total volatilities.

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <utility>

#include "api/frame.hpp"
#include "core/toolbox/formulas/black_scholes.hpp"
#include "core/toolbox/log.hpp"
#include "core/toolbox/math.hpp"
#include "ximAPI/ximAPI.hpp"

namespace ximAPI {

namespace {

using ximCORE::Toolbox::BlackScholesCallPricer;
using ximCORE::Toolbox::Log;
using ximCORE::Toolbox::Math;
using Cell = TestImpliedVolatilityComputationError;
using Tester = TestImpliedVolatilityComputationResults;

constexpr std::size_t c_max_cells = 1'000'000;
/// All steps of a call together, seconds of work: a search can wander for ever.
constexpr std::uint64_t c_max_steps = 30'000'000;
constexpr double c_basis_points = 1e4;

double absolute(float percent) {
    return Math::get_absolute(static_cast<double>(percent));
}

/// The whole part, kept inside the range of an error: a search without tolerance finds anything.
std::int32_t whole_basis_points(double difference) {
    constexpr double c_largest = std::numeric_limits<std::int32_t>::max();
    return static_cast<std::int32_t>(std::min(difference * c_basis_points, c_largest));
}

class Search {
 public:
    explicit Search(Tester const& settings)
        : m_tolerance(std::pow(10.0, settings.ToleranceExponant)),
          m_max_iterations(static_cast<std::uint64_t>(std::max(settings.MaximumIterations, 0))),
          m_method(static_cast<BlackScholesCallPricer::InitialGuessMethod>(
              settings.InitialGuessMethod)) {}

    /// `k`: log of strike over forward; `s`: total volatility.
    Cell run(double k, double s) {
        double found = 0.0;
        std::uint64_t iterations = 0;
        std::uint64_t walked = 0;
        std::uint64_t const allowed = std::min(m_max_iterations, m_steps_left);
        bool const success = BlackScholesCallPricer::volatility(
            k, BlackScholesCallPricer::price(k, s, 1), 1, found, m_tolerance, allowed, m_method,
            &iterations, &walked);
        m_steps_left -= std::min(walked, m_steps_left);
        if (!success) {
            m_is_exhausted = m_is_exhausted || (m_steps_left == 0 && allowed < m_max_iterations);
            return {};
        }
        Cell const cell{.Error = whole_basis_points(std::abs(s - found)), .Status = true};
        m_errors += cell.Error;
        m_iterations += iterations;
        ++m_successes;
        return cell;
    }

    /// A search was cut short: the steps of the call were used up.
    [[nodiscard]] bool c_is_exhausted() const { return m_is_exhausted; }
    [[nodiscard]] float c_get_average_error() const { return c_average(m_errors); }
    [[nodiscard]] float c_get_average_iterations() const { return c_average(m_iterations); }

 private:
    [[nodiscard]] float c_average(auto total) const {
        return m_successes == 0 ? 0.0F
                                : static_cast<float>(static_cast<double>(total) / m_successes);
    }

    double m_tolerance;
    std::uint64_t m_max_iterations;
    BlackScholesCallPricer::InitialGuessMethod m_method;
    std::int64_t m_errors{0};
    std::uint64_t m_iterations{0};
    std::uint32_t m_successes{0};
    std::uint64_t m_steps_left{c_max_steps};
    bool m_is_exhausted{false};
};

bool fail(char const* message) {
    Log::s_log(Log::Level::ERROR, message);
    return false;
}

bool fill(Tester& results) {
    if (!results.Values.empty() && results.Spaces.size() > c_max_cells / results.Values.size()) {
        return fail("Too many points");
    }
    TestImpliedVolatilityComputationErrorMatrix errors;
    auto& [rows, cols, data] = errors;
    for (ValueResult const& value : results.Values) {
        cols.push_back(value.Value);
    }
    Search search(results);
    for (SpaceResult const& space : results.Spaces) {
        rows.push_back(space.Space);
        auto const k = static_cast<float>(std::log(absolute(space.Space)));
        std::vector<Cell>& cells = data.emplace_back();
        for (float const value : cols) {
            cells.push_back(search.run(static_cast<double>(k), absolute(value)));
            if (search.c_is_exhausted()) {
                return fail("Too many iterations");
            }
        }
    }
    results.Errors = std::move(errors);
    results.AverageError = search.c_get_average_error();
    results.AverageIterations = search.c_get_average_iterations();
    return true;
}

}  // namespace

}  // namespace ximAPI

bool TestImpliedVolatilityComputation(ximAPI::TestImpliedVolatilityComputationResults& results,
                                      std::vector<ximAPI::Log>& logs) {
    return ximAPI::Toolkit::request("TestImpliedVolatilityComputation", logs,
                                    [&]() -> bool { return ximAPI::fill(results); });
}
