// The feature of a contract that gives it a wanted price, JSON member "Pricer"."Solver". "in" marks
// what the caller gives.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace ximAPI {

/// One named feature of the contract and the search for it.
struct FeatureToSolve {
    std::string Name;          ///< in
    float Min{};               ///< in: lower end of the search
    float Max{};               ///< in: upper end of the search
    std::int32_t Precision{};  ///< in: points of the search from `Min` to `Max`
    bool HasRoot{};
    float Root{};  ///< the value at which the price meets the target
    bool HasLower{};
    float Lower{};  ///< the value that meets the target's lower bound
    bool HasUpper{};
    float Upper{};  ///< the value that meets the target's upper bound
};

/// In: the price to reach and its bounds, in the premium currency.
struct Target {
    bool HasLower{};
    bool HasUpper{};
    float Lower{};
    float Price{};
    float Upper{};
};

struct ImpliedContractFeatureResults {
    std::vector<FeatureToSolve> FeaturesToSolve;
    ximAPI::Target Target;  ///< in JSON its keys stand beside "FeaturesToSolve"
};

}  // namespace ximAPI
