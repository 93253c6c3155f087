// The simulation in blocks of paths against the reference engine, path by path, in one run: whole
// "/GetPrice" calls. XIM_INSTRUCTION_SET=AVX2 (or portable) measures the loops of
// other processors.

#include <benchmark/benchmark.h>

#include "request.hpp"
#include "ximAPI/simulation.hpp"

namespace {

using namespace ximBench;
using ximAPI::SimulationEngine;

constexpr std::uint64_t c_many = 1'000'000;

/// 20 observations of the worst of three shares of one currency: redeemed with a coupon at the
/// first one above the start, else with the final performance.
std::string autocall_script() {
    constexpr std::array<char const*, 3> shares{"ALPHA", "BETA", "GAMMA"};
    std::string script;
    std::string worst;
    std::string last;
    constexpr int dates = 20;
    for (int k = 1; k <= dates; ++k) {
        last = date_text(18 * k);
        worst.clear();
        for (std::size_t u = 0; u < 3; ++u) {
            std::ostringstream performance;
            performance.precision(9);
            performance << "Spot(" << shares[u] << "," << last << ")/" << test_market.spots[u];
            worst = u == 0 ? performance.str() : "Min(" + worst + "," + performance.str() + ")";
        }
        script += "If(" + worst + ">1)(Pay(" + std::to_string(100 + k) + "," + last + ",EUR),";
    }
    script += "Pay(100*Min(1," + worst + ")," + last + ",EUR)";
    return script + std::string(dates, ')');
}

/// The same market as that of the plain loops.
Json::Value autocall_request(std::uint64_t trials) {
    auto request = make_request(autocall_script(), false, trials, 1);
    auto& data = request["DataConfiguration"];
    data["WithoutLogin"] = true;
    data["Sources"][0]["File"] = XIM_ROOT "/bench/three_equities.json";
    data["Sources"][0]["IsActivated"] = true;
    return request;
}

Json::Value with_delta_and_vega(Json::Value request) {
    auto& pricer = request["PricerConfiguration"];
    pricer["WithGreeks"] = pricer["ComputeDelta"] = pricer["ComputeVega"] = true;
    pricer["DeltaDirection"] = pricer["VegaDirection"] = "RIGHT";
    return request;
}

/// The same by adjoints: one sweep back for all of them.
Json::Value by_adjoints(Json::Value request) {
    request["PricerConfiguration"]["Method"] = "AUTOMATIC_ADJOINT_DIFFERENTIATION";
    return request;
}

double time_of(SimulationEngine engine, Json::Value const& request) {
    ximAPI::SetSimulationEngine(engine);
    return seconds([&] { benchmark::DoNotOptimize(ask_price(request)); });
}

void against_reference(benchmark::State& state, Json::Value const& request) {
    Best blocks;
    Best reference;
    for (auto _ : state) {
        double const time = time_of(SimulationEngine::AUTOMATIC, request);
        if (!ximAPI::LastSimulationRanInBlocks()) return state.SkipWithError("not in blocks");
        blocks.add(time);
        state.SetIterationTime(time);
        reference.add(time_of(SimulationEngine::REFERENCE, request));
    }
    state.counters["times_faster"] = reference.c_get() / blocks.c_get();
}

/// What a request costs beside another one, both in blocks.
void against_other(benchmark::State& state, Json::Value const& request, Json::Value const& other,
                   char const* counter) {
    Best ours;
    Best theirs;
    for (auto _ : state) {
        double const time = time_of(SimulationEngine::AUTOMATIC, request);
        ours.add(time);
        state.SetIterationTime(time);
        theirs.add(time_of(SimulationEngine::AUTOMATIC, other));
    }
    state.counters[counter] = ours.c_get() / theirs.c_get();
}

/// The memory of ten million trials above that of a call with one.
void peak_memory(benchmark::State& state) {
    ximAPI::SetSimulationEngine(SimulationEngine::AUTOMATIC);
    std::ignore = ask_price(make_request(make_script(asian), false, 1, 1));
    double const base = peak_megabytes();
    for (auto _ : state)
        benchmark::DoNotOptimize(ask_price(make_request(make_script(asian), false, 10'000'000, 1)));
    state.counters["megabytes_above_base"] = peak_megabytes() - base;
}

// first: the peak of the process only grows
BENCHMARK(peak_memory)->Iterations(1)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(against_reference, european,
                  make_request(make_script(european), false, c_many, 1))
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(against_reference, asian, make_request(make_script(asian), false, c_many, 1))
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(against_reference, autocall, autocall_request(c_many))
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(against_other, autocall_delta_vega,
                  with_delta_and_vega(autocall_request(c_many / 4)), autocall_request(c_many / 4),
                  "prices")
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(against_other, autocall_delta_vega_by_adjoints,
                  by_adjoints(with_delta_and_vega(autocall_request(c_many / 4))),
                  autocall_request(c_many / 4), "prices")
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(against_reference, autocall_by_adjoints,
                  by_adjoints(with_delta_and_vega(autocall_request(c_many / 4))))
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(against_other, asian_two_threads,
                  make_request(make_script(asian), false, c_many, 1),
                  make_request(make_script(asian), false, c_many, 2), "one_thread_over_two")
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
