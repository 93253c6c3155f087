// What a static replication costs over the size of its grid, side by side with the plain route (the
// whole product A' A, then its factorisation, anew for each valuation): one price, and one price
// with 12 revaluations for sensitivities, through the text entry.

#include <benchmark/benchmark.h>
#include <json/json.h>

#include <Eigen/QR>
#include <string>

#include "baseline.hpp"
#include "ximAPI/ximAPI.hpp"

namespace {

using ximBench::Best;
using ximBench::seconds;

constexpr int c_valuations = 13;  // 1 central, 2 delta, 2 gamma, 2 vega, 2 volga, 4 vanna

Json::Value make_request(std::string const& script, long grid_size, bool with_greeks) {
    Json::Value root;
    auto& contract = root["ContractConfiguration"];
    contract["Date"] = "2021-05-03";
    contract["PremiumCurrency"] = "USD";
    contract["Kind"] = "CONSOLE";
    contract["Script"] = script;
    auto& model = root["ModelConfiguration"];
    model["CalibrationDate"] = "2021-05-03";
    model["Name"] = "FREE_MODEL";
    auto& pricer = root["PricerConfiguration"];
    pricer["Method"] = "STATIC_REPLICATION";
    pricer["ClosedFormMoneynessGridSize"] = static_cast<int>(grid_size);
    pricer["ClosedFormMoneynessGridLowerBound"] = 0.4;
    pricer["ClosedFormMoneynessGridUpperBound"] = 2.4;
    pricer["WithGreeks"] = with_greeks;
    for (char const* greek : {"Delta", "Gamma", "Vega", "Volga", "Vanna"})
        pricer[std::string("Compute") + greek] = true;
    for (char const* bump : {"DeltaSpotBump", "GammaSpotBump", "VegaVolatilityBump",
                             "VolgaVolatilityBump", "VannaSpotBump", "VannaVolatilityBump"})
        pricer[bump] = 100;
    pricer["DeltaDirection"] = pricer["VegaDirection"] = "CENTER";
    return root;
}

/// Seconds of one call; 0 when it fails.
double time_of(std::string const& request) {
    bool success = false;
    double const time = seconds([&] {
        char* out = nullptr;
        success = RequestSafely("/GetPrice", request.c_str(), &out);
        ReleaseAnswer(out);
    });
    return success ? time : 0.0;
}

/// Seconds of the plain route for one valuation.
double time_of_plain_solve(Eigen::Index grid_size) {
    Eigen::Index const size = 2 * grid_size + 1;
    Eigen::VectorXd const levels = Eigen::VectorXd::LinSpaced(size, 0.4, 2.4);
    return seconds([&] {
        Eigen::MatrixXd basis(size, size);
        for (Eigen::Index i = 0; i < size; ++i)
            for (Eigen::Index j = 0; j < size; ++j)
                basis(i, j) = j == 0           ? 1.0
                              : j <= grid_size ? std::max(levels[j] - levels[i], 0.0)
                                               : std::max(levels[i] - levels[j - 1], 0.0);
        Eigen::MatrixXd const normal = basis.transpose() * basis;
        Eigen::VectorXd const right_side = basis.transpose() * levels.cwiseAbs2();
        Eigen::VectorXd weights = normal.householderQr().solve(right_side);
        benchmark::DoNotOptimize(weights.data());
    });
}

/// Times a call, and one that needs no replication: what a call costs beside its grid.
void replicate(benchmark::State& state, bool with_greeks) {
    std::string const date = "2022-05-03";
    auto const text = [&](std::string const& amount) {
        return Json::writeString(
            Json::StreamWriterBuilder(),
            make_request("Pay(" + amount + "," + date + ",USD)", state.range(0), with_greeks));
    };
    std::string const request = text("Max(Spot(^GSPC," + date + ")-4150,0)");
    std::string const empty = text("Spot(^GSPC," + date + ")");
    Best whole;
    Best overhead;
    Best plain;
    for (auto _ : state) {
        double const time = time_of(request);
        if (time == 0.0) {
            state.SkipWithError("the pricing has failed");
            break;
        }
        whole.add(time);
        overhead.add(time_of(empty));
        plain.add(time_of_plain_solve(state.range(0)));
        state.SetIterationTime(time);
    }
    double const beside_overhead = whole.c_get() - overhead.c_get();
    state.counters["ms_beside_overhead"] = 1e3 * beside_overhead;
    state.counters["plain_ms"] = 1e3 * plain.c_get() * (with_greeks ? c_valuations : 1);
    state.counters["times_faster"] =
        plain.c_get() * (with_greeks ? c_valuations : 1) / beside_overhead;
}
void price(benchmark::State& state) {
    replicate(state, false);
}
void price_with_greeks(benchmark::State& state) {
    replicate(state, true);
}
BENCHMARK(price)->RangeMultiplier(2)->Range(25, 400)->UseManualTime()->Iterations(5)->Unit(
    benchmark::kMillisecond);
BENCHMARK(price_with_greeks)
    ->RangeMultiplier(2)
    ->Range(25, 400)
    ->UseManualTime()
    ->Iterations(3)
    ->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
