// The details of a simulation against the price alone: time, and what the list of the convergence
// costs in memory for each trial. End to end through the text entry.

#include <benchmark/benchmark.h>
#include <json/json.h>
#include <malloc.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <new>
#include <string>

#include "baseline.hpp"
#include "ximAPI/ximAPI.hpp"

namespace {

std::atomic<std::int64_t> live{0};
std::atomic<std::int64_t> peak{0};

void* allocate(std::size_t size) noexcept {
    void* const memory = std::malloc(size == 0 ? 1 : size);
    if (memory == nullptr) return nullptr;
    auto const bytes = static_cast<std::int64_t>(malloc_usable_size(memory));
    std::int64_t const now = live.fetch_add(bytes) + bytes;
    for (std::int64_t seen = peak; seen < now && !peak.compare_exchange_weak(seen, now);) {
    }
    return memory;
}

void release(void* memory) noexcept {
    if (memory != nullptr) live -= static_cast<std::int64_t>(malloc_usable_size(memory));
    std::free(memory);
}

void* allocate_or_throw(std::size_t size) {
    if (void* const memory = allocate(size)) return memory;
    throw std::bad_alloc();
}

}  // namespace

// g++ takes the operators below for several allocators once it has inlined one of them.
#pragma GCC diagnostic ignored "-Wmismatched-new-delete"

void* operator new(std::size_t size) {
    return allocate_or_throw(size);
}
void* operator new[](std::size_t size) {
    return allocate_or_throw(size);
}
void* operator new(std::size_t size, std::nothrow_t const&) noexcept {
    return allocate(size);
}
void* operator new[](std::size_t size, std::nothrow_t const&) noexcept {
    return allocate(size);
}
void operator delete(void* memory) noexcept {
    release(memory);
}
void operator delete[](void* memory) noexcept {
    release(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
    release(memory);
}
void operator delete[](void* memory, std::size_t) noexcept {
    release(memory);
}

namespace {

using ximBench::Best;
using ximBench::seconds;

constexpr int c_trials = 100'000;
/// An autocall with two call dates and a barrier, on the demonstration market.
constexpr char const* c_script =
    "If(Spot(^GSPC,2021-11-03)>=4154)(Pay(104,2021-11-03,USD),"
    "If(Spot(^GSPC,2022-05-03)>=4154)(Pay(108,2022-05-03,USD),"
    "If(Spot(^GSPC,2022-11-03)>=2900)(Pay(112,2022-11-03,USD),"
    "Pay(100*Spot(^GSPC,2022-11-03)/4154,2022-11-03,USD))))";

std::string make_request(int trials, int threads) {
    Json::Value root;
    auto& contract = root["ContractConfiguration"];
    contract["Date"] = "2021-05-03";
    contract["PremiumCurrency"] = "USD";
    contract["Kind"] = "CONSOLE";
    contract["Script"] = c_script;
    root["ModelConfiguration"]["CalibrationDate"] = "2021-05-03";
    root["ModelConfiguration"]["Name"] = "BLACK_SCHOLES_MODEL";
    auto& pricer = root["PricerConfiguration"];
    pricer["Method"] = "MONTE_CARLO";
    pricer["MonteCarloTrials"] = trials;
    pricer["MonteCarloNbThreads"] = threads;
    pricer["MonteCarloSeed"] = 23051994;
    root["Pricer"]["MCDetails"]["ConvergenceSize"] = 100;
    return Json::writeString(Json::StreamWriterBuilder(), root);
}

/// The bytes held at the worst moment of a call, beyond those before it; below 0 when it fails.
double peak_of(char const* path, std::string const& request) {
    std::int64_t const before = live;
    peak = before;
    char* answer = nullptr;
    bool const success = RequestSafely(path, request.c_str(), &answer);
    if (!success) std::fputs(answer, stderr);
    ReleaseAnswer(answer);
    return success ? static_cast<double>(peak - before) : -1.0;
}

/// Peak bytes of one more trial.
double bytes_per_trial(char const* path, int threads) {
    double const few = peak_of(path, make_request(c_trials / 2, threads));
    double const many = peak_of(path, make_request(c_trials, threads));
    return (many - few) / (c_trials / 2.0);
}

void details(benchmark::State& state) {
    auto const threads = static_cast<int>(state.range(0));
    auto const request = make_request(c_trials, threads);
    Best price_time;
    Best details_time;
    for (auto _ : state) {
        bool success = true;
        price_time.add(seconds([&] { success = peak_of("/GetPrice", request) >= 0.0; }));
        double const time = seconds(
            [&] { success = peak_of("/GetMCPriceWithDetails", request) >= 0.0 && success; });
        details_time.add(time);
        state.SetIterationTime(time);
        if (!success) {
            state.SkipWithError("no price");
            return;
        }
    }
    state.counters["ratio_to_price"] = details_time.c_get() / price_time.c_get();
    state.counters["bytes_per_trial"] = bytes_per_trial("/GetMCPriceWithDetails", threads);
    state.counters["bytes_per_trial_of_price"] = bytes_per_trial("/GetPrice", threads);
}
BENCHMARK(details)->Arg(1)->Arg(3)->UseManualTime()->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
