// A contract ladder of 50 points against one price of the same contract at equal trials: the paths
// are simulated once, so a ladder pays for its payoffs alone. And the same 50 points one by one,
// which is what a ladder would cost without that. End to end through the text entry.

#include <benchmark/benchmark.h>
#include <json/json.h>

#include <chrono>
#include <cstdio>
#include <sstream>
#include <string>

#include "baseline.hpp"
#include "ximAPI/ximAPI.hpp"

namespace {

using ximBench::Best;
using ximBench::seconds;

constexpr int c_trials = 100'000;
constexpr int c_points = 50;

/// 52 weekly fixings on an index of the demonstration market, with its strike as a feature.
std::string make_asian() {
    using namespace std::chrono;
    std::string average;
    for (int week = 1; week <= 52; ++week) {
        year_month_day const date = sys_days(year(2021) / 5 / 3) + days(7 * week);
        char text[64];
        std::snprintf(text, sizeof text, "%sSpot(^STOXX50E,%04d-%02u-%02u)", week == 1 ? "" : "+",
                      static_cast<int>(date.year()), static_cast<unsigned>(date.month()),
                      static_cast<unsigned>(date.day()));
        average += text;
    }
    return "Pay(Max((" + average + ")/52-CstRef(strike,3800),0),2022-05-03,EUR)";
}

Json::Value make_request(int threads) {
    Json::Value root;
    auto& contract = root["ContractConfiguration"];
    contract["Date"] = "2021-05-03";
    contract["PremiumCurrency"] = "EUR";
    contract["Kind"] = "CONSOLE";
    contract["Script"] = make_asian();
    root["ModelConfiguration"]["CalibrationDate"] = "2021-05-03";
    root["ModelConfiguration"]["Name"] = "BLACK_SCHOLES_MODEL";
    auto& pricer = root["PricerConfiguration"];
    pricer["Method"] = "MONTE_CARLO";
    pricer["MonteCarloTrials"] = c_trials;
    pricer["MonteCarloNbThreads"] = threads;
    pricer["MonteCarloSeed"] = 23051994;
    return root;
}

Json::Value make_ladder(int points, int threads) {
    Json::Value root = make_request(threads);
    auto& ladder = root["Pricer"]["Ladder1D"];
    ladder["LadderKind"] = "CONTRACT";
    ladder["Name"] = "strike";
    ladder["BumpKind"] = "ASSIGNMENT";
    ladder["BumpUnit"] = "NONE";
    for (int i = 0; i < points; ++i) ladder["Plots"][i]["BumpValue"] = 3300.0 + 20.0 * i;
    return root;
}

bool ask(char const* path, std::string const& request) {
    char* answer = nullptr;
    bool const success = RequestSafely(path, request.c_str(), &answer);
    if (!success) std::fputs(answer, stderr);
    ReleaseAnswer(answer);
    return success;
}

void contract_ladder(benchmark::State& state) {
    auto const threads = static_cast<int>(state.range(0));
    Json::StreamWriterBuilder const writer;
    auto const price = Json::writeString(writer, make_request(threads));
    auto const ladder = Json::writeString(writer, make_ladder(c_points, threads));
    auto const point = Json::writeString(writer, make_ladder(1, threads));
    Best price_time;
    Best ladder_time;
    Best point_time;
    for (auto _ : state) {
        bool success = true;
        price_time.add(seconds([&] { success = success && ask("/GetPrice", price); }));
        double const time = seconds([&] { success = success && ask("/GetLadder1D", ladder); });
        ladder_time.add(time);
        state.SetIterationTime(time);
        point_time.add(seconds([&] { success = success && ask("/GetLadder1D", point); }));
        if (!success) {
            state.SkipWithError("no price");
            return;
        }
    }
    double const ratio = ladder_time.c_get() / price_time.c_get();
    state.counters["ratio_to_one_price"] = ratio;
    state.counters["ratio_to_points_one_by_one"] =
        ladder_time.c_get() / (c_points * point_time.c_get());
    state.counters["nanoseconds_per_payoff"] =
        1e9 * (ladder_time.c_get() - point_time.c_get()) / (c_points - 1.0) / c_trials;
    if (ratio >= 5.0) state.SkipWithError("a ladder of 50 points costs 5 prices or more");
}
BENCHMARK(contract_ladder)->Arg(1)->Arg(2)->UseManualTime()->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
