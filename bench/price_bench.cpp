// What a caller waits for: one "/GetPrice" through the text entry, document in and document out,
// the demonstration market included. Against the hand-written loops of the same payoff, and with
// one trial for what a call costs beside its paths.

#include <benchmark/benchmark.h>

#include "request.hpp"

namespace {

using namespace ximBench;

void get_price(benchmark::State& state, Case const& what, bool with_greeks, int threads) {
    auto const trials = static_cast<std::uint64_t>(state.range(0));
    auto const request = make_request(make_script(what), with_greeks, trials, threads);
    auto const states = make_states(what, c_market, with_greeks);
    Best ours;
    Best plain;
    for (auto _ : state) {
        double ours_price = 0.0;
        double plain_price = 0.0;
        double const time = seconds([&] { ours_price = ask_price(request); });
        ours.add(time);
        state.SetIterationTime(time);
        plain.add(seconds([&] { plain_price = simulate(what, c_market, states, trials)[0]; }));
        bool const agree = trials == 1 || std::abs(ours_price - plain_price) <= 0.15 * plain_price;
        if (ours_price < 0.0 || !agree) {
            state.SkipWithError(ours_price < 0.0 ? "no price" : "the prices disagree");
            return;
        }
    }
    state.counters["latency_milliseconds"] = 1000.0 * ours.c_get();
    if (trials > 1) state.counters["ratio_to_plain"] = ours.c_get() / plain.c_get();
    state.counters["peak_megabytes"] = peak_megabytes();
}

#define XIM_PRICES(name, what, greeks, threads)               \
    BENCHMARK_CAPTURE(get_price, name, what, greeks, threads) \
        ->UseManualTime()                                     \
        ->Unit(benchmark::kMillisecond)
XIM_PRICES(european, european, false, 1)->Arg(1)->Arg(100'000);
XIM_PRICES(asian, asian, false, 1)->Arg(1)->Arg(100'000);
XIM_PRICES(worst_of, worst_of, false, 1)->Arg(1)->Arg(100'000);
XIM_PRICES(asian_greeks, asian, true, 1)->Arg(1)->Arg(50'000);
XIM_PRICES(worst_of_greeks, worst_of, true, 1)->Arg(1)->Arg(20'000);
XIM_PRICES(asian_two_threads, asian, false, 2)->Arg(100'000);
XIM_PRICES(worst_of_two_threads, worst_of, false, 2)->Arg(100'000);
#undef XIM_PRICES

}  // namespace

BENCHMARK_MAIN();
