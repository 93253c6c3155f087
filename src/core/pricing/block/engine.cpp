#include "core/pricing/block/engine.hpp"

#include <algorithm>
#include <cmath>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <numbers>
#include <thread>

#include "core/pricing/block/descents.hpp"
#include "core/pricing/block/normals.hpp"
#include "core/toolbox/containers.hpp"

namespace ximCORE::Pricing::Block {

namespace {

/// No normal is larger in size: the points next to the centre give 12.13.
constexpr double c_largest_normal = 12.2;

/// Normals that a thread draws at a time, about: with their points they fit the second-level cache.
constexpr std::size_t c_normals_per_chunk = 16'384;

std::size_t trials_per_chunk(Plan const& plan) {
    std::size_t const blocks =
        c_normals_per_chunk / std::max<std::size_t>(plan.normals_per_trial * lanes, lanes);
    return std::max<std::size_t>(blocks, 1) * lanes;
}

/// Columns of all threads together, about: 1 GiB. One thread has as many as it needs.
constexpr std::size_t c_most_columns = (std::size_t{1} << 30) / (lanes * sizeof(double));

/// Points for a number of normals.
std::size_t points_for(std::size_t nb_normals) {
    return (nb_normals + 1) / 2;
}

/// The fixings of one underlying that a program reads.
struct Reading {
    std::vector<unsigned char> is_read;  ///< [fixing date], up to the last one read
    std::vector<std::size_t> positions;  ///< the dates read
    bool keeps_growth{false};            ///< a state takes the central growth with other forwards
};

using Change = State::Change;

/// A path as the loops take it, in powers of two; see `Evolution`.
struct Steps {
    std::vector<double> weights;   ///< [step][loading]
    std::vector<double> drifts;    ///< [step]; empty where the forwards hold them
    std::vector<double> forwards;  ///< [step]: what the growth is multiplied by

    /// Takes the first `nb_steps` of a path.
    void set_path(State::Path const& path, std::size_t nb_steps);
    void set_forwards(State::Path const& path, State::Forwards const& levels);
};

void Steps::set_path(State::Path const& path, std::size_t nb_steps) {
    double farthest = 0.0;
    double all_drifts = 0.0;
    for (std::size_t k = 0; k < nb_steps; ++k) {
        for (double const loading : path.loadings) {
            weights.push_back(path.diffusions[k] * loading / std::numbers::ln2);
            farthest += c_largest_normal * std::abs(weights.back());
        }
        drifts.push_back(path.drifts[k] / std::numbers::ln2);
        all_drifts += std::abs(drifts.back());
    }
    // a forward with its drift must stay a number; false for what is none
    if (farthest < 1000.0 && all_drifts < 100.0) drifts.clear();
}

void Steps::set_forwards(State::Path const& path, State::Forwards const& levels) {
    forwards = levels;
    if (!drifts.empty()) return;
    double drift = 0.0;
    for (std::size_t k = 0; k < forwards.size(); ++k)
        forwards[k] *= std::exp(drift += path.drifts[k]);
}

/// What no thread changes.
struct Setting {
    Setting(Program const& a_program, std::vector<State> const& a_states,
            std::vector<Scenario> const& a_scenarios, Reduction const& a_reduction,
            Plan const& a_plan)
        : program(a_program),
          states(a_states),
          scenarios(a_scenarios),
          reduction(a_reduction),
          plan(a_plan),
          readings(a_states[0].paths.size()),
          constants(program.constants.size() * lanes) {
        for (auto const& [fixing, underlying, divisor] : program.cells) {
            auto& [is_read, positions, keeps] = readings.at(static_cast<std::size_t>(underlying));
            auto const position = static_cast<std::size_t>(fixing);
            if (is_read.size() <= position) is_read.resize(position + 1, 0);
            is_read[position] = 1;
            positions.push_back(position);
            nb_dates = std::max(nb_dates, position + 1);
        }
        for (std::size_t i = 0; i < program.constants.size(); ++i)
            std::fill_n(constants.column(i), lanes, program.constants[i]);
        if (readings.empty()) return;
        set_steps();
    }

    /// How each state differs from the central one, and the paths of its own.
    void set_steps() {
        changes = Toolbox::Array2D<Change>(states.size(), readings.size());
        steps = Toolbox::Array2D<Steps>(states.size(), readings.size());
        for (std::size_t s = 0; s < states.size(); ++s)
            for (std::size_t u = 0; u < readings.size(); ++u) {
                auto const& path = *states[s].paths[u];
                auto& own = steps.unsafe_get(s, u);
                Change const change = states[s].c_get_change(states[0], u);
                changes.unsafe_get(s, u) = change;
                if (change == Change::forward) {
                    readings[u].keeps_growth = keeps_growth = true;
                    own.drifts = steps.unsafe_get(0, u).drifts;
                } else if (s == 0 || change == Change::path) {
                    own.set_path(path, readings[u].is_read.size());
                } else {
                    continue;
                }
                own.set_forwards(path, *states[s].forwards[u]);
            }
        for (auto const& [fixing, underlying, divisor] : program.cells)
            for (std::size_t s = 0; s < states.size(); ++s) {
                auto& forwards = steps.unsafe_get(s, static_cast<std::size_t>(underlying)).forwards;
                if (!forwards.empty()) forwards.at(static_cast<std::size_t>(fixing)) /= divisor;
            }
    }

    Program const& program;
    std::vector<State> const& states;
    std::vector<Scenario> const& scenarios;
    Reduction const& reduction;
    Plan const& plan;
    Kernels const& kernels = Block::kernels();
    std::vector<Reading> readings;     ///< [underlying]
    Toolbox::Array2D<Change> changes;  ///< [state][underlying]
    Toolbox::Array2D<Steps> steps;     ///< likewise; none where the path is the central one
    bool keeps_growth{false};          ///< of any underlying
    std::size_t nb_dates{0};           ///< up to the last one read
    Buffer constants;
};

/// Of the central state; nothing in a program without adjoints.
Descents make_descents(Setting const& setting) {
    std::vector<Descents::Shape> shapes;
    for (std::size_t u = 0; u < setting.readings.size(); ++u)
        shapes.push_back(
            {setting.readings[u].is_read.size(), setting.states[0].paths[u]->loadings.size()});
    if (setting.program.cell_adjoints.empty()) shapes.clear();
    return {setting.kernels, setting.plan.nb_factors, shapes};
}

/// What a chunk of trials, or all of them, come to.
struct Totals {
    std::vector<Observations> results;
    std::vector<double> sums;  ///< of the descents

    Totals& operator+=(Totals const& other) {
        for (std::size_t i = 0; i < results.size(); ++i) results[i] += other.results[i];
        std::ranges::transform(sums, other.sums, sums.begin(), std::plus());
        return *this;
    }
};

/// One thread's columns, and the way of a block through all scenarios.
class Worker {
 public:
    explicit Worker(Setting& setting);

    [[nodiscard]] double* get_x() { return m_x.get(); }
    [[nodiscard]] double* get_y() { return m_y.get(); }
    /// The results of `count` trials, whose points stand in x and y.
    void work(std::size_t count);
    [[nodiscard]] Totals const& c_get_totals() const { return m_totals; }

 private:
    using Columns = std::vector<double*>;

    /// The first `count` paths of a block count.
    void evaluate(std::size_t count);
    void evaluate_side(double weight, double sign, std::size_t count);
    /// Points the cells at the values of a state.
    void move_to(std::size_t state, double sign);
    /// The levels of an underlying in a state, or its growth alone.
    void evolve(std::size_t state, std::size_t underlying, double sign, bool growth_alone,
                double* columns);
    /// The levels of an underlying in a state, from its central growth.
    void multiply(std::size_t state, std::size_t underlying, double* levels);
    void set_inputs(Scenario const& scenario);
    void set_seed(double seed, std::size_t count);
    double* column_of(Buffer& buffer, std::size_t underlying) {
        return buffer.column(underlying * m_setting->nb_dates);
    }

    Setting* m_setting;
    Buffer m_x;
    Buffer m_y;
    Buffer m_scratch;
    Buffer m_normals;         ///< columns [step][factor]
    Buffer m_central_levels;  ///< columns [underlying][fixing date]; likewise the two below
    Buffer m_central_growth;
    Buffer m_levels;  ///< of a state that differs
    Buffer m_inputs;
    Buffer m_registers;
    Columns m_columns;                                  ///< of the program
    std::size_t m_state{static_cast<std::size_t>(-1)};  ///< whose levels the cells stand for
    Values m_values;
    Descents m_descents;
    Totals m_totals;
};

Worker::Worker(Setting& setting)
    : m_setting(&setting),
      m_x(points_for(trials_per_chunk(setting.plan) * setting.plan.normals_per_trial) +
          PointSequence::s_slack),
      m_y(m_x.c_get_size()),
      m_scratch(scratch_size(setting.plan.normals_per_trial)),
      m_normals(setting.nb_dates * setting.plan.nb_factors * lanes),
      m_central_levels(setting.readings.size() * setting.nb_dates * lanes),
      m_central_growth(setting.keeps_growth ? m_central_levels.c_get_size() : 0),
      m_levels(setting.states.size() > 1 ? m_central_levels.c_get_size() : 0),
      m_inputs(setting.program.inputs.size() * lanes),
      m_registers(setting.program.nb_registers * lanes),
      m_values(setting.scenarios.size()),
      m_descents(make_descents(setting)),
      m_totals{std::vector<Observations>(setting.reduction.c_get_nb_results()),
               std::vector<double>(m_descents.c_get_nb_sums())} {
    auto const& program = setting.program;
    auto const append = [&](Buffer& buffer, std::size_t size) {
        for (std::size_t i = 0; i < size; ++i) m_columns.push_back(buffer.column(i));
    };
    append(setting.constants, program.constants.size());
    append(m_inputs, program.inputs.size());
    m_columns.resize(program.c_get_first_register(), nullptr);
    append(m_registers, program.nb_registers);
    std::fill_n(m_x.get(), m_x.c_get_size(), 1.0);  // whole vectors are read
    std::fill_n(m_y.get(), m_y.c_get_size(), 0.0);
}

void Worker::work(std::size_t count) {
    auto const& [plan, kernels] = std::tie(m_setting->plan, m_setting->kernels);
    std::ranges::fill(m_totals.results, Observations());
    // paths of the last block that do not count have points too: those of normals 0
    std::size_t const drawn = points_for(count * plan.normals_per_trial);
    std::size_t const used =
        points_for((count + lanes - 1) / lanes * lanes * plan.normals_per_trial);
    std::fill_n(m_x.get() + drawn, used - drawn, 1.0);
    std::fill_n(m_y.get() + drawn, used - drawn, 0.0);
    for (std::size_t first = 0; first < count; first += lanes) {
        std::size_t const here = std::min(lanes, count - first);
        std::size_t const point = first * plan.normals_per_trial / 2;  // a whole number of points
        kernels.make_columns(m_x.get() + point, m_y.get() + point, plan.normals_per_trial,
                             m_setting->nb_dates * plan.nb_factors, m_scratch.get(),
                             m_normals.get());
        evaluate(here);
        m_setting->reduction.reduce(m_values, here, m_totals.results);
    }
    m_descents.take(m_totals.sums);
}

void Worker::evaluate(std::size_t count) {
    auto const& plan = m_setting->plan;
    for (std::size_t s = 0; s < m_setting->scenarios.size(); ++s)
        std::fill_n(m_values.get(s), lanes, 0.0);
    double const a = plan.antithetic_factor;
    evaluate_side(1.0 - a, 1.0, count);
    if (a > 0.0) evaluate_side(a, -1.0, count);
}

void Worker::evaluate_side(double weight, double sign, std::size_t count) {
    auto const& program = m_setting->program;
    auto const& scenarios = m_setting->scenarios;
    auto const& kernels = m_setting->kernels;
    for (std::size_t u = 0; u < m_setting->readings.size(); ++u) {
        bool const keeps_growth = m_setting->readings[u].keeps_growth;
        evolve(0, u, sign, keeps_growth,
               column_of(keeps_growth ? m_central_growth : m_central_levels, u));
        if (keeps_growth) multiply(0, u, column_of(m_central_levels, u));
    }
    auto const list = [&](std::vector<Instruction> const& instructions) {
        return Listing{instructions.data(), program.operands.data(), m_columns.data()};
    };
    bool const with_adjoints = !program.cell_adjoints.empty();
    if (with_adjoints) set_seed(weight / static_cast<double>(m_setting->plan.trials), count);
    std::size_t state = m_setting->states.size();
    for (std::size_t s = 0; s < scenarios.size(); ++s) {
        set_inputs(scenarios[s]);
        if (scenarios[s].state != state) {
            state = scenarios[s].state;
            move_to(state, sign);
            kernels.run(list(program.prologue));
        }
        kernels.run(list(program.body));
        double const* const value = m_columns[program.result];
        double* const sum = m_values.get(s);
        for (std::size_t lane = 0; lane < lanes; ++lane) sum[lane] += weight * value[lane];
    }
    if (!with_adjoints) return;
    m_descents.set_columns(program, m_columns);
    m_descents.add(m_normals.c_get(), sign);
}

void Worker::set_seed(double seed, std::size_t count) {
    auto const& inputs = m_setting->program.inputs;
    for (std::size_t i = 0; i < inputs.size(); ++i) {
        if (!inputs[i].c_is_seed()) continue;
        std::fill_n(m_inputs.column(i), count, seed);
        std::fill_n(m_inputs.column(i) + count, lanes - count, 0.0);
    }
}

void Worker::move_to(std::size_t state, double sign) {
    auto const& [program, changes] = std::tie(m_setting->program, m_setting->changes);
    for (std::size_t u = 0; u < m_setting->readings.size(); ++u) {
        Change const change = changes.get(state, u);
        if (change == Change::path) evolve(state, u, sign, false, column_of(m_levels, u));
        if (change == Change::forward) multiply(state, u, column_of(m_levels, u));
    }
    if (m_state == state) return;
    m_state = state;
    for (std::size_t i = 0; i < program.cells.size(); ++i) {
        auto const u = static_cast<std::size_t>(program.cells[i].underlying_rank);
        auto const date = static_cast<std::size_t>(program.cells[i].fixing_rank);
        bool const is_central = changes.get(state, u) == Change::none;
        m_columns[program.c_get_first_cell() + i] =
            column_of(is_central ? m_central_levels : m_levels, u) + date * lanes;
    }
}

void Worker::evolve(std::size_t state, std::size_t underlying, double sign, bool growth_alone,
                    double* columns) {
    auto const& is_read = m_setting->readings[underlying].is_read;
    if (is_read.empty()) return;
    auto const& steps = m_setting->steps.unsafe_get(state, underlying);
    m_setting->kernels.evolve(
        {m_normals.c_get(), m_setting->plan.nb_factors, steps.weights.data(),
         steps.weights.size() / is_read.size(),
         steps.drifts.empty() ? nullptr : steps.drifts.data(), is_read.data(), is_read.size(),
         growth_alone ? nullptr : steps.forwards.data(), sign < 0.0},
        columns);
}

void Worker::multiply(std::size_t state, std::size_t underlying, double* levels) {
    double const* const growth = column_of(m_central_growth, underlying);
    auto const& forwards = m_setting->steps.unsafe_get(state, underlying).forwards;
    for (std::size_t const date : m_setting->readings[underlying].positions)
        m_setting->kernels.multiply(growth + date * lanes, forwards[date], levels + date * lanes);
}

void Worker::set_inputs(Scenario const& scenario) {
    auto const& inputs = m_setting->program.inputs;
    auto const& factors = m_setting->states[scenario.state].discount_factors;
    for (std::size_t i = 0; i < inputs.size(); ++i) {
        if (inputs[i].c_is_seed()) continue;
        double const value = inputs[i].place == nullptr
                                 ? factors[static_cast<std::size_t>(inputs[i].payment_rank)]
                                 : scenario.inputs[i];
        std::fill_n(m_inputs.column(i), lanes, value);
    }
}

/// Hands out chunks of trials and gathers their results, both in order.
class Sequence {
 public:
    explicit Sequence(Setting& setting)
        : m_setting(&setting),
          m_points(setting.kernels, setting.plan.seed),
          m_totals{std::vector<Observations>(setting.reduction.c_get_nb_results()),
                   std::vector<double>(make_descents(setting).c_get_nb_sums())} {}

    /// Until no trial is left.
    void serve(Worker& worker);
    /// The same, on the threads of the plan as far as there is work and memory for them.
    void serve();
    [[nodiscard]] Totals const& c_get_totals() const { return m_totals; }

 private:
    /// The trials of the next chunk, with their points; 0 at the end.
    std::size_t draw(Worker& worker, std::uint64_t& chunk);
    [[nodiscard]] std::size_t c_get_nb_workers() const;
    void add(Totals const& totals, std::uint64_t chunk);

    Setting* m_setting;
    std::mutex m_draw_lock;
    PointSequence m_points;
    std::uint64_t m_nb_drawn{0};  ///< trials
    std::uint64_t m_next_chunk{0};
    std::mutex m_add_lock;
    std::condition_variable m_turn;
    std::uint64_t m_nb_added{0};  ///< chunks
    Totals m_totals;
};

std::size_t Sequence::draw(Worker& worker, std::uint64_t& chunk) {
    std::lock_guard const lock(m_draw_lock);
    auto const& plan = m_setting->plan;
    std::uint64_t const left = plan.trials - m_nb_drawn;
    auto const count =
        static_cast<std::size_t>(std::min<std::uint64_t>(left, trials_per_chunk(plan)));
    if (count == 0) return 0;
    chunk = m_next_chunk++;
    m_nb_drawn += count;
    m_points.draw(points_for(count * plan.normals_per_trial), worker.get_x(), worker.get_y());
    return count;
}

void Sequence::add(Totals const& totals, std::uint64_t chunk) {
    std::unique_lock lock(m_add_lock);
    m_turn.wait(lock, [&] { return m_nb_added == chunk; });
    m_totals += totals;
    ++m_nb_added;
    m_turn.notify_all();
}

void Sequence::serve(Worker& worker) {
    std::uint64_t chunk{};
    while (std::size_t const count = draw(worker, chunk)) {
        worker.work(count);
        add(worker.c_get_totals(), chunk);
    }
}

std::size_t Sequence::c_get_nb_workers() const {
    auto const& [program, plan] = std::tie(m_setting->program, m_setting->plan);
    std::size_t const levels = m_setting->readings.size() * m_setting->nb_dates;
    std::size_t const columns = 2 * plan.normals_per_trial + 3 * levels + program.nb_registers +
                                program.inputs.size() + m_setting->scenarios.size();
    std::uint64_t const per_chunk = trials_per_chunk(plan);
    std::uint64_t const chunks = plan.trials / per_chunk + (plan.trials % per_chunk == 0 ? 0 : 1);
    std::size_t const affordable = c_most_columns / std::max<std::size_t>(columns, 1);
    return std::max<std::uint64_t>(std::min<std::uint64_t>({plan.nb_threads, chunks, affordable}),
                                   1);
}

void Sequence::serve() {
    std::size_t const nb_workers = c_get_nb_workers();
    if (nb_workers == 1) {
        Worker worker(*m_setting);
        serve(worker);
        return;
    }
    std::vector<std::unique_ptr<Worker>> workers;
    for (std::size_t i = 0; i < nb_workers; ++i)
        workers.push_back(std::make_unique<Worker>(*m_setting));
    std::vector<std::jthread> threads;
    for (auto& worker : workers) threads.emplace_back([&] { serve(*worker); });
}

}  // namespace

std::vector<Observations> run(Program const& program, std::vector<State> const& states,
                              std::vector<Scenario> const& scenarios, Reduction const& reduction,
                              Plan const& plan) {
    Setting setting(program, states, scenarios, reduction, plan);
    Sequence sequence(setting);
    sequence.serve();
    return sequence.c_get_totals().results;
}

Gradient differentiate(Program const& program, State const& state, Reduction const& reduction,
                       Plan const& plan) {
    std::vector<State> const states{state};
    std::vector<Scenario> const scenarios(1);
    Setting setting(program, states, scenarios, reduction, plan);
    Sequence sequence(setting);
    sequence.serve();
    auto const& [results, sums] = sequence.c_get_totals();
    Gradient gradient{results[0], std::vector<Gradient::Path>(state.paths.size())};
    if (sums.empty()) return gradient;
    auto sum = sums.begin();
    for (std::size_t u = 0; u < state.paths.size(); ++u) {
        auto& [levels, normals] = gradient.paths[u];
        auto const nb_loadings = static_cast<std::ptrdiff_t>(state.paths[u]->loadings.size());
        for (std::size_t k = 0; k < setting.readings[u].is_read.size(); ++k) {
            levels.push_back(*sum++);
            normals.insert(normals.end(), sum, sum + nb_loadings);
            sum += nb_loadings;
        }
    }
    return gradient;
}

}  // namespace ximCORE::Pricing::Block
