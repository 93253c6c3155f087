// The value of a contract's features that makes it worth a given price.

#include <cstdint>

#include "api/entries/pricing.hpp"
#include "api/frame.hpp"
#include "core/pricing/contract_solver.hpp"
#include "core/toolbox/log.hpp"
#include "ximAPI/ximAPI.hpp"

namespace ximAPI {

namespace {

using ximCORE::Pricing::ContractSolver;

void clear(FeatureToSolve& feature) {
    feature.HasRoot = feature.HasLower = feature.HasUpper = false;
}

/// False after an ERROR record for a precision below 0.
bool set_features(ImpliedContractFeatureResults& results, ContractSolver& solver) {
    auto& [features, target] = results;
    target.HasLower = target.HasUpper = false;
    solver.get_results().target = static_cast<double>(target.Price);
    // Relied on: the number of features is taken in eight bits
    auto const count = static_cast<std::uint8_t>(features.size());
    for (std::size_t i = 0; i < count; ++i) {
        auto& feature = features[i];
        if (feature.Precision < 0) {
            using ximCORE::Toolbox::Log;
            Log::s_log(Log::Level::ERROR, "Invalid Precision");
            return false;
        }
        solver.get_results().features.push_back(
            {.name = feature.Name,
             .min = static_cast<double>(feature.Min),
             .max = static_cast<double>(feature.Max),
             .size = static_cast<std::uint64_t>(feature.Precision)});
        clear(feature);
    }
    return true;
}

void set_solution(ximCORE::Pricing::ContractSolverResults const& from,
                  ImpliedContractFeatureResults& to) {
    to.Target.Lower = static_cast<float>(from.lower_price);
    to.Target.Upper = static_cast<float>(from.upper_price);
    to.Target.HasLower = to.Target.HasUpper = true;
    for (std::size_t i = 0; i < from.features.size(); ++i) {
        auto& feature = to.FeaturesToSolve[i];
        feature.Root = static_cast<float>(from.features[i].root);
        feature.Lower = static_cast<float>(from.features[i].lower);
        feature.Upper = static_cast<float>(from.features[i].upper);
        feature.HasRoot = feature.HasLower = feature.HasUpper = true;
    }
}

bool solve(Data& data, Contract const& contract, Model const& model, Pricer const& pricer,
           ImpliedContractFeatureResults& results) {
    auto const what = Toolkit::make_pricing_case(data, contract, model, pricer);
    ContractSolver solver;
    if (what == nullptr || !Toolkit::is_eligible(*what) || !set_features(results, solver) ||
        !solver.run(what->contract, what->model.get())) {
        return false;
    }
    set_solution(solver.get_results(), results);
    return true;
}

}  // namespace

}  // namespace ximAPI

bool GetImpliedContractFeature(ximAPI::Data& data, ximAPI::Contract& contract, ximAPI::Model& model,
                               ximAPI::Pricer& pricer,
                               ximAPI::ImpliedContractFeatureResults& results,
                               std::vector<ximAPI::Log>& logs) {
    return ximAPI::Toolkit::request("GetImpliedContractFeature", logs, [&]() -> bool {
        return ximAPI::solve(data, contract, model, pricer, results);
    });
}
