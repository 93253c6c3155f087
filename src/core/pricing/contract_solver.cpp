#include "core/pricing/contract_solver.hpp"

#include <algorithm>
#include <cmath>
#include <numeric>

#include "core/toolbox/log.hpp"

namespace ximCORE::Pricing {

namespace {

using Data::MarketDataShift;
using Toolbox::Log;

constexpr std::uint64_t c_max_points = 1'000'000;

bool fail(char const* message) {
    Log::s_log(Log::Level::ERROR, message);
    return false;
}

/// The number of combinations of the grids, or more than the limit.
std::uint64_t count_points(std::vector<ContractSolverFeature> const& features) {
    std::uint64_t count = 1;
    for (auto const& feature : features) {
        if (feature.size > c_max_points) return feature.size;
        if (feature.size > 0) count *= feature.size;
        if (count > c_max_points) break;
    }
    return count;
}

double grid_value(ContractSolverFeature const& feature, std::uint64_t k) {
    if (k + 1 == feature.size) return feature.max;
    double const step = (feature.max - feature.min) / static_cast<double>(feature.size - 1);
    return feature.min + static_cast<double>(k) * step;
}

/// All combinations, the last feature turning fastest.
std::vector<ContractLadderResults> make_points(std::vector<ContractSolverFeature> const& features) {
    std::vector<ContractLadderResults> points(count_points(features));
    std::uint64_t rank = 0;
    for (auto& point : points) {
        std::uint64_t rest = rank++;
        for (std::size_t k = features.size(); k-- > 0;) {
            auto const& feature = features[k];
            if (feature.size == 0) continue;
            MarketDataShift const shift{.kind = MarketDataShift::Kind::assignment,
                                        .unit = MarketDataShift::Unit::none,
                                        .value = grid_value(feature, rest % feature.size)};
            // Relied on: of two features with one name, the later one in the list counts
            point.shifts.try_emplace(feature.name, shift);
            rest /= feature.size;
        }
    }
    return points;
}

double price_of(ContractLadderResults const* point) {
    return point->results.price.mean;
}

}  // namespace

bool ContractSolver::run(Contract::Contract& contract, Modeling::Model* model) {
    if (count_points(m_results.features) > c_max_points) return fail("Too many points");
    ContractLadder ladder;
    ladder.get_results() = make_points(m_results.features);
    if (!ladder.run(contract, model)) return false;

    std::vector<ContractLadderResults const*> sorted;
    for (auto const& point : ladder.c_get_results()) sorted.push_back(&point);
    if (std::ranges::any_of(
            sorted, [](double price) { return std::isnan(price); }, price_of))
        return fail("Bounds too tight");
    std::ranges::sort(sorted, {}, price_of);
    auto const above = std::ranges::upper_bound(sorted, m_results.target, {}, price_of);
    if (above == sorted.begin() || above == sorted.end()) return fail("Bounds too tight");
    _interpolate(**(above - 1), **above);
    return true;
}

bool ContractSolver::run_internal(Contract::Contract& contract, Modeling::Model* model) {
    return run(contract, model);
}

void ContractSolver::_interpolate(ContractLadderResults const& below,
                                  ContractLadderResults const& above) {
    double const p0 = m_results.lower_price = price_of(&below);
    double const p1 = m_results.upper_price = price_of(&above);
    for (auto& feature : m_results.features) {
        // Relied on: a feature of size 0 beside others has no value here, which raises "map::at"
        double const x0 = below.shifts.at(feature.name).value;
        double const x1 = above.shifts.at(feature.name).value;
        feature.root = x0 + (m_results.target - p0) * (x1 - x0) / (p1 - p0);
        feature.lower = std::min(x0, x1);
        feature.upper = std::max(x0, x1);
    }
}

}  // namespace ximCORE::Pricing
