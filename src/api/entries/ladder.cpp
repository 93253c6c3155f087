// The three ladder routes. They differ in how a point is described: a list of scenarios, one value
// on one axis, or a cell of two axes. What a scenario shifts is the market or a feature of the
// contract.

#include "api/bridge/results.hpp"
#include "api/entries/pricing.hpp"
#include "api/frame.hpp"
#include "core/pricing/contract_ladder.hpp"
#include "core/pricing/model_ladder.hpp"
#include "core/toolbox/log.hpp"
#include "ximAPI/ximAPI.hpp"

namespace ximAPI {

namespace {

using Toolkit::PricingCase;
using ximCORE::Data::MarketDataShift;

constexpr std::size_t c_max_points = 100'000;

MarketDataShift make_shift(LadderScenario const& scenario) {
    return {static_cast<MarketDataShift::Kind>(scenario.BumpKind),
            static_cast<MarketDataShift::Unit>(scenario.BumpUnit),
            static_cast<double>(scenario.BumpValue)};
}

/// The name of a scenario is a key of the market data.
struct MarketData {
    static auto make_ladder() { return ximCORE::Pricing::get_model_ladder(); }
    static void add(ximCORE::Pricing::ModelLadderResults& point, LadderScenario const& scenario) {
        auto const [kind, unit, value] = make_shift(scenario);
        point.items.emplace_back(scenario.Name, kind, unit, value);
    }
};

/// The name of a scenario is a feature of the contract.
struct ContractFeature {
    static auto make_ladder() { return ximCORE::Pricing::get_contract_ladder(); }
    static void add(ximCORE::Pricing::ContractLadderResults& point,
                    LadderScenario const& scenario) {
        point.shifts[scenario.Name] =
            make_shift(scenario);  // of two with one name, the last counts
    }
};

/// Prices the central point and `nb_points` more. `describe(i, add)` adds the scenarios of a point,
/// `results_of(i)` is where its results go. False leaves the results as they were.
template <class Target>
bool run_ladder(PricingCase& what, std::size_t nb_points, PricingResults& central, auto&& describe,
                auto&& results_of) {
    if (nb_points > c_max_points) {
        using ximCORE::Toolbox::Log;
        Log::s_log(Log::Level::ERROR, "Too many points");
        return false;
    }
    auto const ladder = Target::make_ladder();
    auto& points = ladder->get_results();
    points.resize(nb_points + 1);
    for (std::size_t i = 0; i < nb_points; ++i) {
        describe(i, [&](LadderScenario const& scenario) { Target::add(points[i + 1], scenario); });
    }
    if (!ladder->run(what.contract, what.model.get())) {
        return false;
    }
    Toolkit::set_pricing_results(points.front().results, central);
    for (std::size_t i = 0; i < nb_points; ++i) {
        Toolkit::set_pricing_results(points[i + 1].results, results_of(i));
    }
    return true;
}

template <class Target>
bool fill(PricingCase& what, LadderResults& results) {
    auto& plots = results.Plots;
    return run_ladder<Target>(
        what, plots.size(), results.CentralResult,
        [&](std::size_t i, auto&& add) {
            for (auto const& scenario : plots[i].Scenarios) add(scenario);
        },
        [&](std::size_t i) -> PricingResults& { return plots[i].Results; });
}

template <class Target>
bool fill(PricingCase& what, Ladder1DResults& results) {
    auto& plots = results.Plots;
    return run_ladder<Target>(
        what, plots.size(), results.CentralResult,
        [&](std::size_t i, auto&& add) {
            add({results.BumpKind, results.BumpUnit, plots[i].BumpValue, results.Name});
        },
        [&](std::size_t i) -> PricingResults& { return plots[i].Results; });
}

template <class Target>
bool fill(PricingCase& what, Ladder2DResults& results) {
    auto& rows = results.Plots.Rows;
    auto& cols = results.Plots.Cols;
    auto& data = results.Plots.Data;
    rows = results.FirstBumpValues;
    cols = results.SecondBumpValues;
    std::size_t const nb_cols = cols.size();
    std::size_t const nb_points = rows.size() * nb_cols;
    if (nb_points <= c_max_points) {
        data.assign(nb_points == 0 ? 0 : rows.size(), std::vector<Ladder2DPlot>(nb_cols));
    }
    return run_ladder<Target>(
        what, nb_points, results.CentralResult,
        [&](std::size_t i, auto&& add) {
            add({results.FirstBumpKind, results.FirstBumpUnit, rows[i / nb_cols],
                 results.FirstName});
            add({results.SecondBumpKind, results.SecondBumpUnit, cols[i % nb_cols],
                 results.SecondName});
        },
        [&](std::size_t i) -> PricingResults& { return data[i / nb_cols][i % nb_cols].Results; });
}

/// Runs a form inside the frame. A kind outside the enumeration answers false without one.
template <class Results>
bool run_in_frame(char const* name, Data& data, Contract const& contract, Model const& model,
                  Pricer const& pricer, Results& results, std::vector<Log>& logs) {
    bool (*form)(PricingCase&, Results&) = nullptr;
    if (results.LadderKind == LadderKind::CONTRACT) form = &fill<ContractFeature>;
    if (results.LadderKind == LadderKind::MARKET) form = &fill<MarketData>;
    if (form == nullptr) {
        return false;
    }
    return Toolkit::request(name, logs, [&]() -> bool {
        auto const what = Toolkit::make_pricing_case(data, contract, model, pricer);
        return what != nullptr && Toolkit::is_eligible(*what) && form(*what, results);
    });
}

}  // namespace

}  // namespace ximAPI

bool GetLadder(ximAPI::Data& data, ximAPI::Contract& contract, ximAPI::Model& model,
               ximAPI::Pricer& pricer, ximAPI::LadderResults& results,
               std::vector<ximAPI::Log>& logs) {
    return ximAPI::run_in_frame("GetLadderInternal", data, contract, model, pricer, results, logs);
}

bool GetLadder1D(ximAPI::Data& data, ximAPI::Contract& contract, ximAPI::Model& model,
                 ximAPI::Pricer& pricer, ximAPI::Ladder1DResults& results,
                 std::vector<ximAPI::Log>& logs) {
    return ximAPI::run_in_frame("GetLadder1DInternal", data, contract, model, pricer, results,
                                logs);
}

bool GetLadder2D(ximAPI::Data& data, ximAPI::Contract& contract, ximAPI::Model& model,
                 ximAPI::Pricer& pricer, ximAPI::Ladder2DResults& results,
                 std::vector<ximAPI::Log>& logs) {
    return ximAPI::run_in_frame("GetLadder2DInternal", data, contract, model, pricer, results,
                                logs);
}
