// What a roll-back costs: a step of the solver against a sparse factorisation at each step, side by
// side, and whole pricings by finite differences through the text entry: a European and an American
// option on 400 points by 365 days, an autocall of 30 and of 60 dates on one horizon.

#include <benchmark/benchmark.h>
#include <json/json.h>

#include <chrono>
#include <cmath>
#include <cstdio>
#include <sstream>
#include <string>
#include <vector>

#include "baseline.hpp"
#include "core/toolbox/pde/black_scholes.hpp"
#include "support/sparse_reference.hpp"
#include "ximAPI/ximAPI.hpp"

namespace {

using namespace ximCORE::Toolbox;
using ximBench::Best;
using ximBench::seconds;
using ximCORE::Testing::SparseReference;

constexpr int c_points = 400;
constexpr int c_days = 365;
constexpr double c_sigma = 0.2;
constexpr double c_half_width = 0.78;

// The solver ---------------------------------------------------------------------------------

/// Crank-Nicolson on 400 points by 365 days; an exercise at each day when it is American.
class RollBack {
 public:
    RollBack() {
        XTPDE::s_options = {.explicit_rate = 0.5,
                            .boundary_condition = XTPDE::BoundaryCondition::DIRICHLET};
        m_solver = std::make_unique<XTPDEBlackScholesConstant>();
        std::vector<double> times;
        std::vector<std::size_t> pillars;
        for (int k = 0; k <= c_days; ++k) {
            times.push_back(k / 365.0);
            pillars.push_back(static_cast<std::size_t>(k));
        }
        m_solver->set_time_grid(times, pillars);
        m_solver->set_space_grid({{c_points, -c_half_width, c_half_width}});
        m_solver->init();
        m_solver->init_coefficients(c_sigma);
        m_payoff = (1.0 - m_solver->c_get_grid().exp()).max(0.0);
    }

    [[nodiscard]] Grid solve(bool is_american) {
        Grid values = m_payoff;
        if (!is_american) {
            m_solver->solve(c_days, 0, values, false);
            return values;
        }
        for (std::size_t day = c_days; day-- > 0;) {
            m_solver->solve(day + 1, day, values, false);
            values = values.max(m_payoff);
        }
        return values;
    }

    [[nodiscard]] Grid solve_by_sparse_factorisation(bool is_american) const {
        auto const constant = [](double x) { return Grid(Grid::Constant(c_points, x)); };
        double const half_variance = 0.5 * c_sigma * c_sigma;
        auto const& x = m_solver->c_get_grid();
        SparseReference const reference{
            {constant(half_variance), constant(-half_variance), constant(0.0), constant(0.0)},
            x[1] - x[0],
            0.5,
            XTPDE::BoundaryCondition::DIRICHLET};
        Grid values = m_payoff;
        for (int day = c_days; day-- > 0;) {
            reference.step((day - (day + 1)) / 365.0, values);
            if (is_american) values = values.max(m_payoff);
        }
        return values;
    }

 private:
    std::unique_ptr<XTPDEBlackScholesConstant> m_solver;
    Grid m_payoff;
};

void solver_against_sparse_factorisation(benchmark::State& state) {
    bool const is_american = state.range(0) != 0;
    RollBack roll_back;
    Best ours;
    Best sparse;
    double difference = 0.0;
    for (auto _ : state) {
        Grid fast;
        Grid reference;
        double const time = seconds([&] { fast = roll_back.solve(is_american); });
        ours.add(time);
        sparse.add(
            seconds([&] { reference = roll_back.solve_by_sparse_factorisation(is_american); }));
        difference = (fast - reference).abs().maxCoeff();
        state.SetIterationTime(time);
    }
    if (difference > 1e-10) state.SkipWithError("the two solvers disagree");
    state.counters["us_per_step"] = 1e6 * ours.c_get() / c_days;
    state.counters["sparse_us_per_step"] = 1e6 * sparse.c_get() / c_days;
    state.counters["times_faster"] = sparse.c_get() / ours.c_get();
}
BENCHMARK(solver_against_sparse_factorisation)
    ->ArgName("american")
    ->Arg(0)
    ->Arg(1)
    ->UseManualTime()
    ->Iterations(5)
    ->Unit(benchmark::kMillisecond);

// Whole pricings -----------------------------------------------------------------------------

std::string day(int days) {
    using namespace std::chrono;
    year_month_day const date = sys_days(year(2021) / 5 / 3) + std::chrono::days(days);
    char text[16];
    std::snprintf(text, sizeof text, "%04d-%02u-%02u", static_cast<int>(date.year()),
                  static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()));
    return text;
}

std::string put(double strike, int days) {
    std::ostringstream script;
    script << "Pay(Max(" << strike << "-Spot(^GSPC," << day(days) << "),0)," << day(days)
           << ",USD)";
    return script.str();
}

std::string american_put() {
    std::string script;
    std::string closing;
    for (int k = 1; k < c_days; ++k) {
        script +=
            "Either(Putable," + day(k) + ")(" + put(4150.0 * std::exp(-0.03 * k / 365.0), k) + ",";
        closing += ")";
    }
    return script + put(4150.0 * std::exp(-0.03), c_days) + closing;
}

/// That many equally spaced dates over five years.
std::string autocall(int dates) {
    std::string script;
    std::string closing;
    for (int k = 1; k <= dates; ++k) {
        int const at = k * 1800 / dates;
        std::ostringstream condition;
        condition << "If(Spot(^GSPC," << day(at) << ")>4150,50,50)(Pay(" << 100.0 + 0.02 * at << ","
                  << day(at + 2) << ",USD),";
        script += condition.str();
        closing += ")";
    }
    return script + "Pay(Spot(^GSPC," + day(1800) + ")/41.5," + day(1802) + ",USD)" + closing;
}

std::string make_request(std::string const& script) {
    Json::Value root;
    auto& contract = root["ContractConfiguration"];
    contract["Date"] = day(0);
    contract["PremiumCurrency"] = "USD";
    contract["Kind"] = "CONSOLE";
    contract["Script"] = script;
    auto& model = root["ModelConfiguration"];
    model["CalibrationDate"] = day(0);
    model["Name"] = "BLACK_SCHOLES_MODEL";
    model["BlackScholesFiniteDifferenceGridSize"] = c_points;
    model["BlackScholesFiniteDifferenceConfidenceLevel"] = 0.9999;
    auto& pricer = root["PricerConfiguration"];
    pricer["Method"] = "FINITE_DIFFERENCE";
    pricer["FiniteDifferenceTimeStep"] = 1;
    pricer["FiniteDifferenceExplicitRate"] = 50;
    return Json::writeString(Json::StreamWriterBuilder(), root);
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

/// Times a request, and one that pays a constant in two days: what a call costs beside its grid.
void price(benchmark::State& state, std::string const& script) {
    std::string const request = make_request(script);
    std::string const empty = make_request("Pay(1," + day(2) + ",USD)");
    Best whole;
    Best overhead;
    for (auto _ : state) {
        double const time = time_of(request);
        if (time == 0.0) {
            state.SkipWithError("the pricing has failed");
            break;
        }
        whole.add(time);
        overhead.add(time_of(empty));
        state.SetIterationTime(time);
    }
    state.counters["ms_beside_overhead"] = 1e3 * (whole.c_get() - overhead.c_get());
}
void price_european(benchmark::State& state) {
    price(state, put(4150.0, c_days));
}
void price_american(benchmark::State& state) {
    price(state, american_put());
}
BENCHMARK(price_european)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(price_american)->UseManualTime()->Unit(benchmark::kMillisecond);

/// The ratio is linear growth (2) or less, unless a part is rolled back more than once.
void price_autocall_60_against_30_dates(benchmark::State& state) {
    std::string const sixty = make_request(autocall(60));
    std::string const thirty = make_request(autocall(30));
    Best many;
    Best few;
    for (auto _ : state) {
        double const time = time_of(sixty);
        many.add(time);
        few.add(time_of(thirty));
        state.SetIterationTime(time);
    }
    state.counters["ms_60"] = 1e3 * many.c_get();
    state.counters["ms_30"] = 1e3 * few.c_get();
    state.counters["ratio"] = many.c_get() / few.c_get();
    if (many.c_get() > 2.5 * few.c_get())
        state.SkipWithError("the cost is not linear in the dates");
}
BENCHMARK(price_autocall_60_against_30_dates)->UseManualTime()->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
