// The routes of `Request`: per path the entry point, its records, and where each record lives in
// the document.
//
// A new route is one row here; a new record also says its place.
#pragma once

#include <json/value.h>

#include <array>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

#include "api/json/engine.hpp"
#include "api/json/fields_analysis.hpp"
#include "api/json/fields_configuration.hpp"
#include "api/json/fields_results.hpp"
#include "ximAPI/ximAPI.hpp"

namespace ximAPI::Toolkit {

using Logs = std::vector<Log>;

/// Where a record lives: a member of the root, or a member of that member when `inner` is set.
struct Place {
    char const* outer;
    char const* inner{nullptr};
};

// clang-format off
template <class R> inline constexpr Place place_of{};
template <> inline constexpr Place place_of<Data>{"DataConfiguration"};
template <> inline constexpr Place place_of<Contract>{"ContractConfiguration"};
template <> inline constexpr Place place_of<Model>{"ModelConfiguration"};
template <> inline constexpr Place place_of<Pricer>{"PricerConfiguration"};
template <> inline constexpr Place place_of<DataResults>{"Data", "Observable"};
template <> inline constexpr Place place_of<ContractResults>{"Contract"};
template <> inline constexpr Place place_of<PricingResults>{"Pricer", "Pricer"};
template <> inline constexpr Place place_of<LadderResults>{"Pricer", "Ladder"};
template <> inline constexpr Place place_of<Ladder1DResults>{"Pricer", "Ladder1D"};
template <> inline constexpr Place place_of<Ladder2DResults>{"Pricer", "Ladder2D"};
template <> inline constexpr Place place_of<ImpliedContractFeatureResults>{"Pricer", "Solver"};
template <> inline constexpr Place place_of<MCPriceWithDetailsResults>{"Pricer", "MCDetails"};
template <> inline constexpr Place place_of<ModelDiffusionResults>{"Model", "Diffusion"};
template <> inline constexpr Place place_of<BlackScholesCalibrationResults>{"ModelConfiguration", "BlackScholesModel"};
template <> inline constexpr Place place_of<BlackScholesTermStructureCalibrationResults>{"ModelConfiguration", "BlackScholesTermStructureModel"};
template <> inline constexpr Place place_of<ModelImpliedVolatilityResults>{"Model", "Repricing"};
template <> inline constexpr Place place_of<HestonImpliedVolatilityResults>{"ModelConfiguration", "HestonStochasticVolatilityModel"};
template <> inline constexpr Place place_of<TestImpliedVolatilityComputationResults>{"Data", "ImpliedVolatilityComputationTester"};
template <> inline constexpr Place place_of<StaticReplication1DResults>{"Pricer", "StaticReplication1D"};
template <> inline constexpr Place place_of<SequenceResults>{"Sequence"};
template <> inline constexpr Place place_of<ScheduleResults>{"Schedule"};
// clang-format on

/// The value at a place, null if it is absent; the document stays as it is.
inline Json::Value const& read_at(Json::Value const& root, Place place) {
    auto const& outer = root[place.outer];
    return place.inner == nullptr ? outer : outer[place.inner];
}

/// The value at a place, created if it is absent.
inline Json::Value& write_at(Json::Value& root, Place place) {
    auto& outer = root[place.outer];
    return place.inner == nullptr ? outer : outer[place.inner];
}

/// A record as it is before the document is read into it.
template <class R>
R make_record() {
    return {};
}
/// A request asks for all parts of the report.
template <>
inline ContractResults make_record<ContractResults>() {
    ContractResults results;
    results.WithScript = results.WithUnderlyings = results.WithFixings = true;
    results.WithCorrelation = results.WithEvents = true;
    return results;
}

/// Reads the records, calls the entry point, and writes the same records back if it answered true.
/// A failed call leaves `root` as it came.
template <auto entry, class... R>
bool serve(Json::Value& root, [[maybe_unused]] Logs& logs) {
    std::tuple<R...> records{make_record<R>()...};
    return std::apply(
        [&](R&... record) {
            (deserialize(read_at(std::as_const(root), place_of<R>), record), ...);
            if constexpr (std::is_invocable_v<decltype(entry), R&..., Logs&>) {
                if (!entry(record..., logs)) return false;
            } else {
                if (!entry(record...)) return false;
            }
            (serialize(record, write_at(root, place_of<R>)), ...);
            return true;
        },
        records);
}

/// Relied on: this route alone writes the data record a second time, under "Data".
inline bool serve_ladder_1d(Json::Value& root, Logs& logs) {
    if (!serve<&GetLadder1D, Data, Contract, Model, Pricer, Ladder1DResults>(root, logs)) {
        return false;
    }
    Data data;
    deserialize(read_at(root, place_of<Data>), data);
    serialize(data, root["Data"]);
    return true;
}

struct Route {
    std::string_view path;
    bool (*run)(Json::Value& root, Logs& logs);
};

/// The first equal path wins.
// clang-format off
inline constexpr auto route_table = std::to_array<Route>({
    {"/GetModelDiffusion", &serve<&GetModelDiffusion, Data, Model, ModelDiffusionResults>},
    {"/GetData", &serve<&GetData, Data, DataResults>},
    {"/GetContract", &serve<&GetContract, Data, Contract, ContractResults>},
    {"/GetPrice", &serve<&GetPrice, Data, Contract, Model, Pricer, PricingResults>},
    {"/GetLadder", &serve<&GetLadder, Data, Contract, Model, Pricer, LadderResults>},
    {"/GetLadder1D", &serve_ladder_1d},
    {"/GetLadder2D", &serve<&GetLadder2D, Data, Contract, Model, Pricer, Ladder2DResults>},
    {"/GetImpliedContractFeature", &serve<&GetImpliedContractFeature, Data, Contract, Model, Pricer, ImpliedContractFeatureResults>},
    {"/GetConnectionStatus", &serve<&GetConnectionStatus, Data>},
    {"/GetStaticReplication1D", &serve<&GetStaticReplication1D, Data, Contract, Pricer, StaticReplication1DResults>},
    {"/GetBlackScholesCalibration", &serve<&GetBlackScholesCalibration, Data, Contract, Model, BlackScholesCalibrationResults>},
    {"/GetBlackScholesTermStructureCalibration", &serve<&GetBlackScholesTermStructureCalibration, Data, Contract, Model, BlackScholesTermStructureCalibrationResults>},
    {"/GetModelImpliedVolatility", &serve<&GetModelImpliedVolatility, Data, Model, Pricer, ModelImpliedVolatilityResults>},
    {"/GetHestonImpliedVolatility", &serve<&GetHestonImpliedVolatility, HestonImpliedVolatilityResults>},
    {"/TestImpliedVolatilityComputation", &serve<&TestImpliedVolatilityComputation, TestImpliedVolatilityComputationResults>},
    {"/GetMCPriceWithDetails", &serve<&GetMCPriceWithDetails, Data, Contract, Model, Pricer, MCPriceWithDetailsResults>},
    {"/GetSequence", &serve<&GetSequence, SequenceResults>},
    {"/GetSchedule", &serve<&GetSchedule, ScheduleResults>},
});
// clang-format on

/// The row of a path; null for a path that is in none, and for a null path.
inline Route const* find_route(char const* path) {
    if (path == nullptr) return nullptr;
    for (auto const& route : route_table) {
        if (route.path == path) return &route;
    }
    return nullptr;
}

}  // namespace ximAPI::Toolkit
