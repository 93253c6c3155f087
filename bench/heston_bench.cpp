// What a smile costs: a Heston slice of 4096 strikes, against the same prices strike by strike with
// one integral each, and a whole call of the route.

#include <benchmark/benchmark.h>

#include <cmath>
#include <complex>
#include <numbers>
#include <vector>

#include "baseline.hpp"
#include "core/toolbox/formulas/black_scholes.hpp"
#include "core/toolbox/formulas/fft.hpp"
#include "core/toolbox/formulas/heston.hpp"
#include "ximAPI/ximAPI.hpp"

namespace {

using namespace ximCORE::Toolbox;
using ximBench::Best;
using ximBench::seconds;
using Complex = std::complex<double>;

constexpr unsigned c_points = 4096;
constexpr double c_step = 0.25;
constexpr double c_damping = 1.5;
constexpr int c_strikes_one_by_one = 16;

/// Fang and Oosterlee (2008), tables 4 and 5.
HestonPricer::Parameters const c_parameters{.maturity = 1.0,
                                            .mean_reversion_rate = 1.5768,
                                            .variance_volatility = 0.5751,
                                            .initial_volatility = std::sqrt(0.0175),
                                            .long_term_variance = 0.0398,
                                            .correlation = -0.5711};
MarketParameters const c_market{.maturity = 1.0, .spot = 100.0, .forward = 100.0};

std::vector<Volatility> slice() {
    std::vector<Volatility> points;
    HestonPricer::slice(c_market, c_parameters, points, c_points, c_step, c_damping);
    return points;
}

/// The same sum for one strike alone.
double price_alone(CharacteristicFunction const& phi, double k) {
    double sum = 0.0;
    for (unsigned j = 0; j < c_points; ++j) {
        double const v = j * c_step;
        double const weight = j == 0 ? 1.0 : (j % 2 == 1 ? 4.0 : 2.0);
        Complex const term = phi(Complex(v, -(c_damping + 1.0))) * std::exp(Complex(0.0, -v * k)) /
                             (Complex(c_damping, v) * Complex(c_damping + 1.0, v));
        sum += weight / 3.0 * term.real();
    }
    return c_step / std::numbers::pi * std::exp(-c_damping * k) * sum;
}

void heston_slice_against_one_integral_a_strike(benchmark::State& state) {
    auto const phi = HestonPricer::characteristic_function(c_parameters);
    Best ours;
    Best alone;
    double difference = 0.0;
    for (auto _ : state) {
        std::vector<Volatility> points;
        double const time = seconds([&] { points = slice(); });
        ours.add(time);
        alone.add(seconds([&] {
            for (unsigned i = 0; i < c_strikes_one_by_one; ++i) {
                Volatility const& point = points[2048 - c_strikes_one_by_one + 2 * i];
                double const k = point.c_get(Volatility::SpaceKind::LOG_FORWARD_MONEYNESS);
                double const implied = BlackScholesCallPricer::price(
                    k, point.c_get(Volatility::ValueKind::VOLATILITY), 1);
                difference = std::max(difference, std::abs(price_alone(phi, k) - implied));
            }
        }));
        state.SetIterationTime(time);
    }
    if (difference > 1e-5) state.SkipWithError("the two prices disagree");
    state.counters["us_per_strike"] = 1e6 * ours.c_get() / c_points;
    state.counters["alone_us_per_strike"] = 1e6 * alone.c_get() / c_strikes_one_by_one;
    state.counters["times_faster"] = alone.c_get() / c_strikes_one_by_one * c_points / ours.c_get();
}
BENCHMARK(heston_slice_against_one_integral_a_strike)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);

void transform_of_4096_points(benchmark::State& state) {
    Array1D<Complex> in(c_points);
    for (unsigned j = 0; j < c_points; ++j) in.unsafe_get(j) = {1.0 / (1.0 + j), 0.5};
    Array1D<Complex> out;
    for (auto _ : state) {
        FFT::evaluate(in, out, c_points);
        benchmark::DoNotOptimize(out.begin());
    }
}
BENCHMARK(transform_of_4096_points)->Unit(benchmark::kMicrosecond);

void heston_smile_of_50_strikes(benchmark::State& state) {
    ximAPI::HestonImpliedVolatilityResults record;
    record.InitialSpot = 100.0F;
    record.InitialVolatility = 13.23F;
    record.LongTermVolatility = 19.95F;
    record.MaturityTime = 1.0F;
    record.MeanReversionRate = 1.5768F;
    record.SpotVarianceCorrelation = -57.11F;
    record.VarianceVolatility = 57.51F;
    record.SpaceKind = ximAPI::SpaceKind::STRIKE;
    record.ValueKind = ximAPI::PriceKind::VOLATILITY_PCT;
    for (int i = 0; i < 50; ++i)
        record.Slice.push_back({50.0F + 2.0F * static_cast<float>(i), 0.0F});
    for (auto _ : state) {
        std::vector<ximAPI::Log> logs;
        if (!GetHestonImpliedVolatility(record, logs)) state.SkipWithError("the call has failed");
    }
}
BENCHMARK(heston_smile_of_50_strikes)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
