// The adjoint simulation against its alternatives, each pair timed in one run: price with delta,
// vega and cega of all underlyings against the price alone, and against the same sensitivities by
// bump and revaluation, all path by path, and all in blocks. On a market and a tree that are ready.

#include <benchmark/benchmark.h>

#include <cmath>
#include <memory>
#include <string>
#include <vector>

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
using Pricing::PricingMethod;
using ximBench::Best;
using ximBench::seconds;
using ximBench::TreeWriter;

Toolbox::Date const today(2023, 1, 2);
constexpr std::size_t c_max_shares = 10;

/// What is paid on the shares: their average, or the worst of them, averaged over the dates.
enum class Payoff { basket, worst_of };

std::string ticker(std::size_t share) {
    return std::string("S") + static_cast<char>('0' + share);
}
double spot(std::size_t share) {
    return 100.0 + 10.0 * static_cast<double>(share);
}

/// Shares of one currency without rates, all correlated with 50 %.
void make_market() {
    auto& cache = Data::MarketDataCache::s_get();
    auto const euro = cache.get_currency("EUR", Level::silent);
    euro->set_name("EUR");
    euro->set_calendar("dummy");
    euro->set_day_counter("act_365");
    euro->set_forward_rate_affinity_factor(0.5F);
    for (std::size_t u = 0; u < c_max_shares; ++u) {
        auto const asset = cache.get_underlying(ticker(u), Level::silent);
        asset->set_name(ticker(u));
        asset->set_fixing_calendar("dummy");
        asset->set_day_counter("act_365");
        asset->set_currency(euro);
        asset->set_impl(std::make_shared<Data::Share>());
        cache.get_spot(today, asset.get(), Level::silent)->set_val(static_cast<float>(spot(u)));
        cache.get_blackscholes_volatility(today, asset.get(), Level::silent)
            ->set_val(0.2F + 0.02F * static_cast<float>(u));
        std::ignore =
            cache.get_forward_curve(today, asset.get(), Level::silent)->get_dependencies();
        for (std::size_t v = 0; v < u; ++v) {
            auto const other = cache.get_underlying(ticker(v), Level::silent);
            cache.get_correlation(today, asset.get(), other.get(), Level::silent)->set_val(0.5F);
            cache.get_correlation(today, other.get(), asset.get(), Level::silent)->set_val(0.5F);
        }
    }
}

/// The contract node by node: 100 x max(average over the dates - 1, 0), paid on the last one.
std::shared_ptr<Contract::CashFlow> make_tree(Payoff payoff, std::size_t shares,
                                              std::size_t dates) {
    TreeWriter tree;
    int average = -1;
    auto date = today;
    for (std::size_t k = 0; k < dates; ++k) {
        for (int day = 0; day < 18; ++day) ++date;
        int level = -1;
        for (std::size_t u = 0; u < shares; ++u) {
            int const fixing = tree.amount(28, ticker(u), Toolbox::Date(date).c_str(), "");
            int const performance = tree.amount(21, fixing, spot(u));
            int const fold = payoff == Payoff::basket ? 0 : 3;
            level = level < 0 ? performance : tree.amount(fold, level, performance);
        }
        average = average < 0 ? level : tree.amount(0, average, level);
    }
    double const count =
        static_cast<double>(dates) * (payoff == Payoff::basket ? static_cast<double>(shares) : 1.0);
    return tree.pay_call(average, count, date);
}

/// One run from scratch; null after a failure.
std::unique_ptr<Pricing::Pricer> price(Contract::Contract& contract, PricingMethod method,
                                       bool with_greeks) {
    PricerOptions::s_options = {};
    PricerOptions::s_options.method = method;
    auto& greeks = PricerOptions::s_options.greeks;
    for (auto* record : {&greeks.delta, &greeks.vega, &greeks.cega}) {
        record->activate = with_greeks;
        record->bump = 1.0;  // a basis point: two-sided, and near the derivative
    }
    auto const model = Modeling::get_model(today, Modeling::ModelName::black_scholes);
    auto pricer = Pricing::get_pricer();
    return pricer != nullptr && pricer->run(contract, model.get()) ? std::move(pricer) : nullptr;
}

/// The largest difference of a sensitivity, relative to the largest of its kind.
double difference(Pricing::Results const& left, Pricing::Results const& right) {
    double worst = 0.0;
    auto const compare = [&worst](auto const& cells, auto const& others) {
        double size = 0.0;
        double error = 0.0;
        auto const* other = others.begin();
        for (auto const& cell : cells) {
            size = std::max(size, std::abs(cell.result.mean));
            error = std::max(error, std::abs(cell.result.mean - other++->result.mean));
        }
        if (size > 0.0) worst = std::max(worst, error / size);
    };
    compare(left.delta, right.delta);
    compare(left.vega, right.vega);
    compare(left.cega, right.cega);
    return worst;
}

void adjoint_case(benchmark::State& state, Payoff payoff, std::size_t shares, std::size_t dates) {
    make_market();
    auto const trials = static_cast<std::uint64_t>(state.range(0));
    MCPricerOptions::s_options = {.trials = trials};
    Contract::Contract contract(today, "EUR");
    auto const model = Modeling::get_model(today, Modeling::ModelName::black_scholes);
    if (!contract.set(make_tree(payoff, shares, dates)) || !contract.get_dependencies() ||
        !model->get_dependencies(contract)) {
        state.SkipWithError("no contract");
        return;
    }
    using enum PricingMethod;
    using Engine = Pricing::MCOptions::Engine;
    Best alone;
    Best adjoint;
    Best bumped;
    Best alone_in_blocks;
    Best adjoint_in_blocks;
    Best bumped_in_blocks;
    double error = 0.0;
    double engine_error = 0.0;
    for (auto _ : state) {
        std::unique_ptr<Pricing::Pricer> by_adjoints;
        std::unique_ptr<Pricing::Pricer> by_bumps;
        std::unique_ptr<Pricing::Pricer> by_block_adjoints;
        MCPricerOptions::s_options.engine = Engine::reference;
        alone.add(seconds([&] { std::ignore = price(contract, MONTE_CARLO, false); }));
        double const time = seconds(
            [&] { by_adjoints = price(contract, AUTOMATIC_ADJOINT_DIFFERENTIATION, true); });
        adjoint.add(time);
        bumped.add(seconds([&] { by_bumps = price(contract, MONTE_CARLO, true); }));
        state.SetIterationTime(time);
        MCPricerOptions::s_options.engine = Engine::automatic;
        alone_in_blocks.add(seconds([&] { std::ignore = price(contract, MONTE_CARLO, false); }));
        adjoint_in_blocks.add(seconds(
            [&] { by_block_adjoints = price(contract, AUTOMATIC_ADJOINT_DIFFERENTIATION, true); }));
        if (!MCPricerOptions::s_options.ran_in_blocks) state.SkipWithError("not in blocks");
        bumped_in_blocks.add(seconds([&] { std::ignore = price(contract, MONTE_CARLO, true); }));
        if (by_adjoints == nullptr || by_bumps == nullptr || by_block_adjoints == nullptr) {
            state.SkipWithError("no price");
            return;
        }
        error = difference(by_adjoints->c_get_results(), by_bumps->c_get_results());
        engine_error = difference(by_block_adjoints->c_get_results(), by_adjoints->c_get_results());
    }
    if (error > 1e-3) state.SkipWithError("adjoints and bumps disagree");
    if (engine_error > 1e-11) state.SkipWithError("the engines disagree");
    state.counters["price_alone_ms"] = 1e3 * alone.c_get();
    state.counters["adjoints_ms"] = 1e3 * adjoint.c_get();
    state.counters["bumps_ms"] = 1e3 * bumped.c_get();
    state.counters["price_alone_in_blocks_ms"] = 1e3 * alone_in_blocks.c_get();
    state.counters["adjoints_in_blocks_ms"] = 1e3 * adjoint_in_blocks.c_get();
    state.counters["bumps_in_blocks_ms"] = 1e3 * bumped_in_blocks.c_get();
    state.counters["ratio_to_price"] = adjoint.c_get() / alone.c_get();
    state.counters["times_cheaper_than_bumps"] = bumped.c_get() / adjoint.c_get();
    state.counters["ratio_to_price_in_blocks"] =
        adjoint_in_blocks.c_get() / alone_in_blocks.c_get();
    state.counters["times_cheaper_than_bumps_in_blocks"] =
        bumped_in_blocks.c_get() / adjoint_in_blocks.c_get();
}

#define XIM_ADJOINTS(name, payoff, shares, dates)                \
    BENCHMARK_CAPTURE(adjoint_case, name, payoff, shares, dates) \
        ->UseManualTime()                                        \
        ->Unit(benchmark::kMillisecond)
XIM_ADJOINTS(basket_3, Payoff::basket, 3, 20)->Arg(20'000)->Iterations(10);
XIM_ADJOINTS(worst_of_3, Payoff::worst_of, 3, 20)->Arg(20'000)->Iterations(10);
XIM_ADJOINTS(basket_1, Payoff::basket, 1, 20)->Arg(20'000)->Iterations(10);
XIM_ADJOINTS(basket_10, Payoff::basket, 10, 20)->Arg(5'000)->Iterations(5);
XIM_ADJOINTS(worst_of_10, Payoff::worst_of, 10, 20)->Arg(5'000)->Iterations(5);
#undef XIM_ADJOINTS

}  // namespace

BENCHMARK_MAIN();
