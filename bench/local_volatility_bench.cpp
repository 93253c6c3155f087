// Local volatility: one calibrated state (time and memory), and paths on it, on one share. Each
// beside a plain loop of the same work, timed in the same run.

#include <benchmark/benchmark.h>
#include <sys/resource.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <random>
#include <tuple>
#include <vector>

#include "baseline.hpp"
#include "core/contract/information.hpp"
#include "core/data/cache.hpp"
#include "core/data/curves/forward_curve.hpp"
#include "core/data/equity_like.hpp"
#include "core/data/spot.hpp"
#include "core/data/surfaces/implied_volatility_surface.hpp"
#include "core/modeling/dupire_local_volatility_mc_helper.hpp"
#include "core/pricing/options.hpp"

namespace {

using namespace ximCORE;
using Data::Level;
using Helper = Modeling::DupireLocalVolatilityMCHelper;
using ximBench::Best;
using ximBench::seconds;

Toolbox::Date const today(2023, 1, 2);

constexpr double c_rho = -0.6;
constexpr double c_eta = 0.8;
constexpr double c_gamma = 0.5;
constexpr double c_half_variance = 0.02;

/// One share with a skew, read every 30 days for some years.
class Market {
 public:
    explicit Market(int years) {
        auto& cache = Data::MarketDataCache::s_get();
        m_euro = cache.get_currency("EUR", Level::silent);
        m_euro->set_name("EUR");
        m_euro->set_calendar("dummy");
        m_euro->set_day_counter("act_365");
        m_euro->set_forward_rate_affinity_factor(0.5F);
        m_share = cache.get_underlying("A", Level::silent);
        m_share->set_name("A");
        m_share->set_fixing_calendar("dummy");
        m_share->set_day_counter("act_365");
        m_share->set_currency(m_euro);
        auto impl = std::make_shared<Data::Share>();
        impl->set_rank(0);
        m_share->set_impl(std::move(impl));
        cache.get_spot(today, m_share.get(), Level::silent)->set_val(100.0F);
        std::ignore =
            cache.get_forward_curve(today, m_share.get(), Level::silent)->get_dependencies();
        auto* const surface = cache.get_volatility_surface(today, m_share.get(), Level::silent);
        std::ignore = surface->eval(1.0, 0.0);  // makes the smiler
        auto& form = dynamic_cast<Data::StochasticVolatilityInspired&>(*surface->get_smiler());
        form.rho = c_rho;
        form.eta = c_eta;
        form.gamma = c_gamma;
        form.half_variance = c_half_variance;
        form.one_minus_rho_squared = 1.0 - c_rho * c_rho;
        auto date = today;
        for (int day = 1; day <= 365 * years; ++day) {
            ++date;
            if (day % 30 == 0) m_dates.push_back(std::make_unique<Toolbox::Date>(date));
        }
        for (std::size_t rank = 0; rank < m_dates.size(); ++rank) {
            m_dates[rank]->set_fixing_rank(static_cast<short>(rank));
            m_lists.fixing_dates.push_back(m_dates[rank].get());
        }
        m_lists.equity_like_underlyings.push_back(m_share.get());
    }
    Market(Market const&) = delete;
    Market& operator=(Market const&) = delete;
    ~Market() { Data::MarketDataCache::s_get().clear(); }

    bool prepare(Helper& helper, std::uint64_t trials) {
        Pricing::MCPricerOptions::s_options = {.trials = trials};
        helper.set(today, Toolbox::DayCounter(), m_lists, nullptr);
        helper.switch_to_central();
        return calibrate(helper);
    }
    bool calibrate(Helper& helper) { return helper.calibrate(today, *m_euro, m_lists); }

 private:
    std::shared_ptr<Data::Currency> m_euro;
    std::shared_ptr<Data::Underlying> m_share;
    std::vector<std::unique_ptr<Toolbox::Date>> m_dates;
    Contract::ContractInformation m_lists;
};

double total_variance(double t, double x) {
    double const theta = 2.0 * c_half_variance * t;
    double const y = x * c_eta * std::pow(theta, -c_gamma);
    return 0.5 * theta *
           (1.0 + c_rho * y + std::sqrt((y + c_rho) * (y + c_rho) + 1.0 - c_rho * c_rho));
}

/// The grid as written by hand: [row][column].
std::vector<double> make_grid(std::vector<double> const& times, std::vector<double> const& steps,
                              std::size_t columns) {
    std::vector<double> grid(times.size() * columns, 2.0 * c_half_variance);
    double const h = 10.0 * std::sqrt(total_variance(times.back(), 0.0));
    double const step = 2.0 * h / static_cast<double>(columns - 1);
    for (std::size_t row = 1; row < times.size(); ++row)
        for (std::size_t column = 0; column < columns; ++column) {
            double const t = times[row];
            double const dt = steps[std::min(row, steps.size() - 1)];
            double const y = static_cast<double>(column) * step - h;
            double const w = total_variance(t, y);
            double const up = total_variance(t, y + step);
            double const down = total_variance(t, y - step);
            double const slope = (up - down) / (2.0 * step);
            double const bend = (up - 2.0 * w + down) / (step * step);
            double const a = 0.5 * y * slope / w - 1.0;
            double const value = (total_variance(t + dt, y) - w) / dt /
                                 (0.5 * bend + a * a - 0.25 * slope * slope * (1.0 / w + 0.25));
            grid[row * columns + column] = std::clamp(value, 0.0, 10.0);
        }
    return grid;
}

double peak_megabytes() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return static_cast<double>(usage.ru_maxrss) / 1024.0;
}

void calibrate_state(benchmark::State& state) {
    Market market(static_cast<int>(state.range(0)));
    Helper helper;
    if (!market.prepare(helper, 1)) {
        state.SkipWithError("no market");
        return;
    }
    Best ours;
    Best plain;
    for (auto _ : state) {
        bool success = false;
        double const time = seconds([&] { success = market.calibrate(helper); });
        ours.add(time);
        state.SetIterationTime(time);
        plain.add(seconds([&] {
            benchmark::DoNotOptimize(
                make_grid(helper.c_get_times(), helper.c_get_time_steps(), Helper::s_space_size));
        }));
        if (!success) state.SkipWithError("no grid");
    }
    auto const cells = static_cast<double>(helper.c_get_times().size() * Helper::s_space_size);
    state.counters["cells_per_second"] = cells / ours.c_get();
    state.counters["ratio_to_plain"] = ours.c_get() / plain.c_get();
    state.counters["megabytes_per_state"] = cells * sizeof(double) / 1048576.0;
    state.counters["peak_megabytes"] = peak_megabytes();
}

/// The last spot of a path as written by hand, on a grid of its own.
double walk(std::vector<double> const& grid, std::vector<double> const& steps, double h,
            std::vector<double> const& normals, std::size_t first) {
    std::size_t const columns = Helper::s_space_size;
    double const step = 2.0 * h / static_cast<double>(columns - 1);
    double x = 0.0;
    for (std::size_t s = 0; s < steps.size(); ++s) {
        double const at = std::clamp((x + h) / step, 0.0, static_cast<double>(columns - 2));
        auto const i = static_cast<std::size_t>(at);
        double const w = at - static_cast<double>(i);
        double const* const cell = &grid[s * columns + i];
        double const variance = ((1.0 - w) * cell[0] + w * cell[1]) * steps[s];
        x += std::sqrt(variance) * normals[first + s] - 0.5 * variance;
    }
    return 100.0 * std::exp(x);
}

void simulate(benchmark::State& state) {
    constexpr std::uint64_t trials = 10'000;
    Market market(static_cast<int>(state.range(0)));
    Helper helper;
    if (!market.prepare(helper, trials)) {
        state.SkipWithError("no market");
        return;
    }
    auto const& steps = helper.c_get_time_steps();
    auto const last = helper.c_get_nb_fixing_dates() - 1;
    auto const grid = make_grid(helper.c_get_times(), steps, Helper::s_space_size);
    double const h = 10.0 * std::sqrt(total_variance(helper.c_get_times().back(), 0.0));
    std::vector<double> normals(trials * steps.size());
    std::mt19937_64 generator(23051994);
    std::normal_distribution<double> normal;
    for (double& z : normals) z = normal(generator);
    Best ours;
    Best plain;
    for (auto _ : state) {
        double sum = 0.0;
        double const time = seconds([&] {
            for (std::uint64_t trial = 0; trial < trials; ++trial) {
                helper.diffuse(trial);
                sum += helper.get_fixing_grid().c_get_equity_like().get(last, 0).value;
            }
        });
        ours.add(time);
        state.SetIterationTime(time);
        double plain_sum = 0.0;
        plain.add(seconds([&] {
            for (std::uint64_t trial = 0; trial < trials; ++trial)
                plain_sum += walk(grid, steps, h, normals, trial * steps.size());
        }));
        if (std::abs(sum - plain_sum) > 1e-6 * plain_sum) {
            state.SkipWithError("the paths disagree");
            return;
        }
    }
    state.counters["path_steps_per_second"] =
        static_cast<double>(trials * steps.size()) / ours.c_get();
    state.counters["ratio_to_plain"] = ours.c_get() / plain.c_get();
    state.counters["peak_megabytes"] = peak_megabytes();
}

BENCHMARK(calibrate_state)->Arg(1)->Arg(5)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(simulate)->Arg(1)->Arg(5)->UseManualTime()->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
