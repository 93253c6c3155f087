// Prices over a range of scenarios, JSON members "Pricer"."Ladder", "Pricer"."Ladder1D" and
// "Pricer"."Ladder2D". "in" marks what the caller gives.
#pragma once

#include <string>
#include <vector>

#include "ximAPI/enums.hpp"
#include "ximAPI/results/pricing.hpp"

namespace ximAPI {

/// One move of one named value.
struct LadderScenario {
    ximAPI::BumpKind BumpKind{};
    ximAPI::BumpUnit BumpUnit{};
    float BumpValue{};  ///< in `BumpUnit`
    std::string Name;   ///< of the feature of the contract, or the key of the market data
};

struct LadderPlot {
    PricingResults Results;
    std::vector<LadderScenario> Scenarios;  ///< in: applied together
};

struct LadderResults {
    ximAPI::LadderKind LadderKind{};  ///< in
    std::vector<LadderPlot> Plots;
    std::vector<NameValueResult> OutputNames;
    PricingResults CentralResult;  ///< without a scenario
};

struct Ladder1DPlot {
    float BumpValue{};  ///< in
    PricingResults Results;
};

/// A ladder over one value. In JSON also "ResultKind", always "ABSOLUTE" and never read.
struct Ladder1DResults {
    std::string Name;                 ///< in
    ximAPI::LadderKind LadderKind{};  ///< in
    ximAPI::BumpKind BumpKind{};      ///< in
    ximAPI::BumpUnit BumpUnit{};      ///< in
    std::vector<Ladder1DPlot> Plots;
    PricingResults CentralResult;
    std::vector<NameValueResult> OutputNames;
};

struct Ladder2DPlot {
    PricingResults Results;
};

/// `Data[i][j]` is the cell of `Rows[i]` and `Cols[j]`.
struct Ladder2DPlots {
    std::vector<float> Rows;
    std::vector<float> Cols;
    std::vector<std::vector<Ladder2DPlot>> Data;
};

/// A ladder over two values.
struct Ladder2DResults {
    ximAPI::LadderKind LadderKind{};      ///< in
    std::string FirstName;                ///< in
    BumpKind FirstBumpKind{};             ///< in
    BumpUnit FirstBumpUnit{};             ///< in
    std::vector<float> FirstBumpValues;   ///< in
    std::string SecondName;               ///< in
    BumpKind SecondBumpKind{};            ///< in
    BumpUnit SecondBumpUnit{};            ///< in
    std::vector<float> SecondBumpValues;  ///< in
    Ladder2DPlots Plots;
    std::vector<NameValueResult> OutputNames;
    PricingResults CentralResult;
};

}  // namespace ximAPI
