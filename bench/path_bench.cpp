// A simulation inside the core: random numbers, paths, evaluation of the contract and its
// statistics, on a market and a tree that are ready. Against the hand-written loops of the same
// payoff, with and without sensitivities, and by threads.

#include <benchmark/benchmark.h>
#include <sys/resource.h>

#include <memory>
#include <string>

#include "baseline.hpp"
#include "core/contract/cashflow.hpp"
#include "core/contract/contract.hpp"
#include "core/data/cache.hpp"
#include "core/data/correlation.hpp"
#include "core/data/curves/forward_curve.hpp"
#include "core/data/equity_like.hpp"
#include "core/data/spot.hpp"
#include "core/data/surfaces/black_scholes_volatility.hpp"
#include "core/modeling/mc_helper.hpp"
#include "core/modeling/model.hpp"
#include "core/pricing/pricer.hpp"
#include "tree_writer.hpp"

namespace {

using namespace ximCORE;
using Data::Level;
using Pricing::MCPricerOptions;
using Pricing::PricerOptions;
using ximBench::Best;
using ximBench::Case;
using ximBench::seconds;
using ximBench::TreeWriter;

Toolbox::Date const today(2023, 1, 2);
constexpr std::array<char const*, 3> c_tickers{"A", "B", "C"};

/// The market of the cases, with rates of 0.
void make_market() {
    auto& cache = Data::MarketDataCache::s_get();
    auto const euro = cache.get_currency("EUR", Level::silent);
    euro->set_name("EUR");
    euro->set_calendar("dummy");
    euro->set_day_counter("act_365");
    euro->set_forward_rate_affinity_factor(0.5F);
    for (std::size_t u = 0; u < 3; ++u) {
        auto const asset = cache.get_underlying(c_tickers[u], Level::silent);
        asset->set_name(c_tickers[u]);
        asset->set_fixing_calendar("dummy");
        asset->set_day_counter("act_365");
        asset->set_currency(euro);
        asset->set_impl(std::make_shared<Data::Share>());
        cache.get_spot(today, asset.get(), Level::silent)
            ->set_val(static_cast<float>(ximBench::test_market.spots[u]));
        cache.get_blackscholes_volatility(today, asset.get(), Level::silent)
            ->set_val(static_cast<float>(ximBench::test_market.volatilities[u]));
        std::ignore =
            cache.get_forward_curve(today, asset.get(), Level::silent)->get_dependencies();
        for (std::size_t v = 0; v < 3; ++v)
            cache
                .get_correlation(today, asset.get(),
                                 cache.get_underlying(c_tickers[v], Level::silent).get(),
                                 Level::silent)
                ->set_val(static_cast<float>(ximBench::test_market.correlations[u][v]));
    }
}

/// The payoff node by node.
std::shared_ptr<Contract::CashFlow> make_tree(Case const& what) {
    TreeWriter tree;
    int average = -1;
    auto date = today;
    for (std::size_t k = 0; k < what.nb_dates; ++k) {
        for (int day = 0; day < what.days_between_dates; ++day) ++date;  // a long step would wrap
        int least = -1;
        for (std::size_t u = 0; u < what.nb_underlyings; ++u) {
            int const fixing = tree.amount(28, c_tickers[u], Toolbox::Date(date).c_str(), "");
            int const performance = tree.amount(21, fixing, ximBench::test_market.spots[u]);
            least = least < 0 ? performance : tree.amount(3, least, performance);
        }
        average = average < 0 ? least : tree.amount(0, average, least);
    }
    return tree.pay_call(average, static_cast<double>(what.nb_dates), date);
}

/// One run from scratch; its price.
double price(Contract::Contract& contract) {
    auto const model = Modeling::get_model(today, Modeling::ModelName::black_scholes);
    auto const pricer = Pricing::get_pricer();
    return pricer->run(contract, model.get()) ? pricer->c_get_results().price.mean : -1.0;
}

void simulate_case(benchmark::State& state, Case const& what, bool with_greeks, int threads) {
    make_market();
    auto const trials = static_cast<std::uint64_t>(state.range(0));
    MCPricerOptions::s_options = {.trials = trials,
                                  .nb_threads = static_cast<std::uint8_t>(threads)};
    PricerOptions::s_options = {};
    auto& greeks = PricerOptions::s_options.greeks;
    greeks.delta.activate = greeks.gamma.activate = greeks.vega.activate = with_greeks;
    greeks.delta.bump = greeks.gamma.bump = greeks.vega.bump = 100.0;
    Contract::Contract contract(today, "EUR");
    auto const model = Modeling::get_model(today, Modeling::ModelName::black_scholes);
    if (!contract.set(make_tree(what)) || !contract.get_dependencies() ||
        !model->get_dependencies(contract)) {
        state.SkipWithError("no contract");
        return;
    }
    auto const& market = ximBench::test_market;
    auto const states = ximBench::make_states(what, market, with_greeks);
    Best ours;
    Best plain;
    for (auto _ : state) {
        double ours_price = 0.0;
        double plain_price = 0.0;
        double const time = seconds([&] { ours_price = price(contract); });
        ours.add(time);
        state.SetIterationTime(time);
        plain.add(
            seconds([&] { plain_price = ximBench::simulate(what, market, states, trials)[0]; }));
        if (std::abs(ours_price - plain_price) > 0.15 * plain_price) {
            state.SkipWithError("the prices disagree");
            return;
        }
    }
    auto const steps =
        static_cast<double>(trials * what.nb_dates * what.nb_underlyings * states.size());
    state.counters["path_steps_per_second"] = steps / ours.c_get();
    state.counters["plain_steps_per_second"] = steps / plain.c_get();
    state.counters["ratio_to_plain"] = ours.c_get() / plain.c_get();
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    state.counters["peak_megabytes"] = static_cast<double>(usage.ru_maxrss) / 1024.0;
}

#define XIM_PATHS(name, what, greeks, threads)                    \
    BENCHMARK_CAPTURE(simulate_case, name, what, greeks, threads) \
        ->UseManualTime()                                         \
        ->Unit(benchmark::kMillisecond)
XIM_PATHS(european, ximBench::european, false, 1)->Arg(100'000);
XIM_PATHS(asian, ximBench::asian, false, 1)->Arg(100'000);
XIM_PATHS(worst_of, ximBench::worst_of, false, 1)->Arg(100'000);
XIM_PATHS(european_greeks, ximBench::european, true, 1)->Arg(100'000);
XIM_PATHS(asian_greeks, ximBench::asian, true, 1)->Arg(50'000);
XIM_PATHS(worst_of_greeks, ximBench::worst_of, true, 1)->Arg(20'000);
XIM_PATHS(asian_two_threads, ximBench::asian, false, 2)->Arg(100'000);
XIM_PATHS(worst_of_greeks_two_threads, ximBench::worst_of, true, 2)->Arg(20'000);
#undef XIM_PATHS

}  // namespace

BENCHMARK_MAIN();
