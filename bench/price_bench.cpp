// What a caller waits for: one "/GetPrice" through the text entry, document in and document out,
// the demonstration market included. Against the hand-written loops of the same payoff, and with
// one trial for what a call costs beside its paths.

#include <benchmark/benchmark.h>
#include <json/json.h>
#include <sys/resource.h>

#include <array>
#include <chrono>
#include <cstdio>
#include <sstream>
#include <string>

#include "baseline.hpp"
#include "ximAPI/ximAPI.hpp"

namespace {

using ximBench::Best;
using ximBench::Case;
using ximBench::seconds;

// The demonstration market on 7 October 2021: three indices, flat volatilities of 20 %, rates of 0.
// All are paid in EUR, so that the others are quanto; only the American one has a correlation with
// its exchange rate.
constexpr char const* c_today = "2021-10-07";
constexpr std::array<char const*, 3> c_tickers{"^STOXX50E", "^GSPC", "^N225"};
constexpr ximBench::Market c_market{{4224.525, 4704.455, 28890.19},
                                    {0.2, 0.2, 0.2},
                                    {{{1.0, 0.5, 0.3}, {0.5, 1.0, 0.2}, {0.3, 0.2, 1.0}}},
                                    {0.0, 0.25 * 0.2 * 0.2, 0.0}};

/// A number of days after today as a date text.
std::string date_text(int days) {
    using namespace std::chrono;
    year_month_day const date = sys_days(year(2021) / 10 / 7) + std::chrono::days(days);
    char text[16];
    std::snprintf(text, sizeof text, "%04d-%02u-%02u", static_cast<int>(date.year()),
                  static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()));
    return text;
}

std::string make_script(Case const& what) {
    std::ostringstream average;
    std::string last;
    for (std::size_t k = 0; k < what.nb_dates; ++k) {
        last = date_text(static_cast<int>(k + 1) * what.days_between_dates);
        std::string least;
        for (std::size_t u = 0; u < what.nb_underlyings; ++u) {
            std::ostringstream performance;
            performance.precision(9);
            performance << "Spot(" << c_tickers[u] << "," << last << ")/" << c_market.spots[u];
            least = u == 0 ? performance.str() : "Min(" + least + "," + performance.str() + ")";
        }
        average << (k == 0 ? "" : "+") << least;
    }
    std::ostringstream script;
    script << "Pay(100*Max((" << average.str() << ")/" << what.nb_dates << "-1,0)," << last
           << ",EUR)";
    return script.str();
}

std::string make_request(Case const& what, bool with_greeks, std::uint64_t trials, int threads) {
    Json::Value root;
    auto& data = root["DataConfiguration"];  // no sources: the demonstration market
    for (auto const* missing : {"Spot", "FXSpot", "Volatility", "Correlation"})
        data["SuccessOn" + std::string(missing) + "RequestFailure"] = true;
    auto& contract = root["ContractConfiguration"];
    contract["Date"] = c_today;
    contract["PremiumCurrency"] = "EUR";
    contract["Kind"] = "CONSOLE";
    contract["Script"] = make_script(what);
    auto& model = root["ModelConfiguration"];
    model["CalibrationDate"] = c_today;
    model["Name"] = "BLACK_SCHOLES_MODEL";
    model["BlackScholesCalibrationKind"] = "AT_THE_MONEY_FORWARD";
    model["BlackScholesVolatilityCalibrationTenor"]["Shift"] = "+1y";
    model["BlackScholesVolatilityCalibrationTenor"]["Calendar"] = "DUMMY";
    auto& pricer = root["PricerConfiguration"];
    pricer["Method"] = "MONTE_CARLO";
    pricer["MonteCarloTrials"] = Json::UInt64(trials);
    pricer["MonteCarloNbThreads"] = threads;
    pricer["MonteCarloSeed"] = 23051994;
    pricer["WithGreeks"] = with_greeks;
    for (auto const* name : {"ComputeDelta", "ComputeGamma", "ComputeVega"})
        pricer[name] = with_greeks;
    for (auto const* name : {"DeltaSpotBump", "GammaSpotBump", "VegaVolatilityBump"})
        pricer[name] = 100.0;
    return Json::writeString(Json::StreamWriterBuilder(), root);
}

/// The price of an answer; -1 after a failure, which is printed.
double ask(std::string const& request) {
    char* answer = nullptr;
    bool const success = RequestSafely("/GetPrice", request.c_str(), &answer);
    std::string const text = answer;
    ReleaseAnswer(answer);
    Json::Value root;
    std::istringstream(text) >> root;
    if (success) return root["Pricer"]["Pricer"]["Price"][0]["Value"]["Mean"].asDouble();
    for (auto const& record : root["Logger"])
        std::fprintf(stderr, "%s: %s\n", record["Level"].asCString(),
                     record["Message"].asCString());
    return -1.0;
}

void get_price(benchmark::State& state, Case const& what, bool with_greeks, int threads) {
    auto const trials = static_cast<std::uint64_t>(state.range(0));
    auto const request = make_request(what, with_greeks, trials, threads);
    auto const states = ximBench::make_states(what, c_market, with_greeks);
    Best ours;
    Best plain;
    for (auto _ : state) {
        double ours_price = 0.0;
        double plain_price = 0.0;
        double const time = seconds([&] { ours_price = ask(request); });
        ours.add(time);
        state.SetIterationTime(time);
        plain.add(
            seconds([&] { plain_price = ximBench::simulate(what, c_market, states, trials)[0]; }));
        bool const agree = trials == 1 || std::abs(ours_price - plain_price) <= 0.15 * plain_price;
        if (ours_price < 0.0 || !agree) {
            state.SkipWithError(ours_price < 0.0 ? "no price" : "the prices disagree");
            return;
        }
    }
    state.counters["latency_milliseconds"] = 1000.0 * ours.c_get();
    if (trials > 1) state.counters["ratio_to_plain"] = ours.c_get() / plain.c_get();
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    state.counters["peak_megabytes"] = static_cast<double>(usage.ru_maxrss) / 1024.0;
}

#define XIM_PRICES(name, what, greeks, threads)               \
    BENCHMARK_CAPTURE(get_price, name, what, greeks, threads) \
        ->UseManualTime()                                     \
        ->Unit(benchmark::kMillisecond)
XIM_PRICES(european, ximBench::european, false, 1)->Arg(1)->Arg(100'000);
XIM_PRICES(asian, ximBench::asian, false, 1)->Arg(1)->Arg(100'000);
XIM_PRICES(worst_of, ximBench::worst_of, false, 1)->Arg(1)->Arg(100'000);
XIM_PRICES(asian_greeks, ximBench::asian, true, 1)->Arg(1)->Arg(50'000);
XIM_PRICES(worst_of_greeks, ximBench::worst_of, true, 1)->Arg(1)->Arg(20'000);
XIM_PRICES(asian_two_threads, ximBench::asian, false, 2)->Arg(100'000);
XIM_PRICES(worst_of_two_threads, ximBench::worst_of, false, 2)->Arg(100'000);
#undef XIM_PRICES

}  // namespace

BENCHMARK_MAIN();
