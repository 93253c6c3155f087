#include "core/pricing/block/block_pricer.hpp"

#include <algorithm>
#include <array>
#include <new>
#include <optional>

#include "core/contract/cashflow.hpp"
#include "core/contract/contract.hpp"
#include "core/modeling/mc_helper.hpp"
#include "core/pricing/block/compiler.hpp"
#include "core/pricing/block/engine.hpp"
#include "core/pricing/greek_evaluation.hpp"

namespace ximCORE::Pricing::Block {

namespace {

/// Normals of the longest run. One that would not end within hours is refused like one whose
/// numbers the reference engine could not store.
constexpr std::uint64_t c_max_normals = std::uint64_t{1} << 40;

/// The values of one scenario, which `combine` adds and scales.
struct Column {
    alignas(64) std::array<double, lanes> values{};

    Column& operator-=(Column const& other) {
        for (std::size_t i = 0; i < lanes; ++i) values[i] -= other.values[i];
        return *this;
    }
    Column& operator+=(Column const& other) {
        for (std::size_t i = 0; i < lanes; ++i) values[i] += other.values[i];
        return *this;
    }
    Column operator-(Column const& other) const { return Column(*this) -= other; }
    Column operator+(Column const& other) const { return Column(*this) += other; }
    friend Column operator*(double scale, Column const& column) {
        Column scaled = column;
        for (double& value : scaled.values) value *= scale;
        return scaled;
    }
};

Column column_of(Values const& values, std::size_t scenario) {
    Column column;
    std::copy_n(values.c_get(scenario), lanes, column.values.begin());
    return column;
}

/// The price, and each sensitivity from the values of its states.
class GreekReduction final : public Reduction {
 public:
    /// Reads the states that the sensitivities need, behind the central one.
    GreekReduction(Modeling::MCHelper& helper, Results& results, std::vector<State>& states);

    [[nodiscard]] std::size_t c_get_nb_results() const override { return m_cells.size() + 1; }
    void reduce(Values const& values, std::size_t count,
                std::span<Observations> results) const override;
    [[nodiscard]] bool c_is_complete() const { return m_is_complete; }
    /// The places of the sensitivities, in the order of the results behind the price.
    [[nodiscard]] std::vector<MCResult*> const& c_get_places() const { return m_places; }

 private:
    struct Cell {
        Greek const* greek;
        EvaluationRule rule;
        std::array<std::size_t, 4> scenarios{};  ///< by the states of the greek
    };

    std::vector<Cell> m_cells;
    std::vector<MCResult*> m_places;
    bool m_is_complete{true};
};

GreekReduction::GreekReduction(Modeling::MCHelper& helper, Results& results,
                               std::vector<State>& states) {
    for (auto const* greek : Greeks::evaluation_order) {
        auto const rule = simulation_rule(*greek);
        for_each_cell(*greek, results, [&](std::size_t i, std::size_t j, auto& result) {
            Cell cell{greek, rule};
            auto const needed = greek->c_get_states();
            for (std::size_t k = 0; k < needed.size(); ++k) {
                bool const is_directional = greek->difference == Difference::directional;
                if (is_directional && !(k == 0 ? Greek::s_needs_up(rule.direction)
                                               : Greek::s_needs_down(rule.direction)))
                    continue;
                helper.select(needed[k], i, j);
                cell.scenarios[k] = states.size();
                State bumped;
                m_is_complete = bumped.read(helper, &states[0]) && m_is_complete;
                states.push_back(std::move(bumped));
            }
            m_cells.push_back(cell);
            m_places.push_back(&result.result);
        });
    }
    helper.switch_to_central();
}

void GreekReduction::reduce(Values const& values, std::size_t count,
                            std::span<Observations> results) const {
    auto const& kernels = Block::kernels();
    kernels.observe(values.c_get(0), count, results[0]);
    if (m_cells.empty()) return;
    Column const central = column_of(values, 0);
    for (std::size_t c = 0; c < m_cells.size(); ++c) {
        auto const& cell = m_cells[c];
        auto const revalue = [&](Modeling::Bump bump) {
            auto const place = std::ranges::find(cell.greek->states, bump);
            auto const k = static_cast<std::size_t>(place - cell.greek->states.begin());
            return column_of(values, cell.scenarios[k]);
        };
        Column const difference = combine(*cell.greek, cell.rule, central, revalue);
        kernels.observe(difference.values.data(), count, results[c + 1]);
    }
}

/// The plan of a run; nothing where this engine does not run.
std::optional<Plan> make_plan(Modeling::MCHelper const& helper) {
    auto const& options = MCPricerOptions::s_options;
    auto const* normals = helper.c_get_undrawn_normals();
    if (options.engine == MCOptions::Engine::reference || options.nb_threads == 0 ||
        normals == nullptr || normals->c_get_trials() < options.trials ||
        helper.c_get_time_steps().size() != helper.c_get_nb_fixing_dates())
        return std::nullopt;
    std::uint64_t const per_trial = normals->c_get_steps() * normals->c_get_factors();
    if (options.trials > c_max_normals / std::max<std::uint64_t>(per_trial, 1))
        throw std::bad_alloc();
    return Plan{normals->c_get_seed(),     options.trials,    per_trial, normals->c_get_factors(),
                options.antithetic_factor, options.nb_threads};
}

/// Whether a path writes every cell that the program reads.
bool are_written(Program const& program, Modeling::MCHelper& helper) {
    auto const& cells = helper.get_fixing_grid().c_get_equity_like();
    return std::ranges::all_of(program.cells, [&](Program::Cell const& cell) {
        auto const row = static_cast<std::size_t>(cell.fixing_rank);
        auto const col = static_cast<std::size_t>(cell.underlying_rank);
        return row < cells.c_get_rows() && col < cells.c_get_cols() && cells.get(row, col).opened;
    });
}

/// The program for the states; nothing where this engine does not run.
std::optional<Program> make_program(Contract::Contract const& contract, Modeling::MCHelper& helper,
                                    std::vector<State> const& states, CompilerSettings settings) {
    auto const& central = states[0].discount_factors;
    if (std::ranges::all_of(states, [&](State const& s) { return s.discount_factors == central; }))
        settings.discount_factors = central;
    auto const& cashflow = contract.get_current();
    if (cashflow == nullptr) return std::nullopt;
    std::ignore = cashflow->rank_names();
    auto program = compile(*cashflow, helper.get_fixing_grid(), settings);
    if (!program || !are_written(*program, helper)) return std::nullopt;
    return program;
}

void add(Observations const& observations, MCResult& result) {
    MCResult more;
    more.sum = observations.sum;
    more.sum_of_squares = observations.sum_of_squares;
    more.count = observations.count;
    more.min = observations.min;
    more.max = observations.max;
    result += more;
}

}  // namespace

bool price(Contract::Contract const& contract, Modeling::MCHelper& helper, Results& results) {
    auto const plan = make_plan(helper);
    if (!plan || results.xvanna.c_get_count() > 0) return false;
    helper.switch_to_central();
    std::vector<State> states(1);
    if (!states[0].read(helper)) return false;
    GreekReduction const reduction(helper, results, states);
    if (!reduction.c_is_complete()) return false;
    auto const program = make_program(contract, helper, states, {});
    if (!program) return false;
    std::vector<Scenario> scenarios;
    for (std::size_t i = 0; i < states.size(); ++i) scenarios.push_back({i, {}});
    auto const totals = run(*program, states, scenarios, reduction, *plan);
    add(totals[0], results.price);
    for (std::size_t i = 0; i < reduction.c_get_places().size(); ++i)
        add(totals[i + 1], *reduction.c_get_places()[i]);
    return true;
}

bool price(Contract::Contract const& contract, Modeling::MCHelper& helper,
           std::vector<ContractLadderResults>& points) {
    auto const plan = make_plan(helper);
    auto const& cashflow = contract.get_current();
    if (!plan || points.empty() || cashflow == nullptr) return false;
    helper.switch_to_central();
    std::vector<State> states(1);
    if (!states[0].read(helper)) return false;
    ContractFeatures features;
    for (auto const& point : points) add_features(point, *cashflow, features);
    std::vector<double const*> places;
    for (auto const& [name, feature] : features)
        places.insert(places.end(), feature.places.begin(), feature.places.end());
    std::ranges::sort(places);
    auto const program =
        make_program(contract, helper, states,
                     {.discount_factors = {}, .inputs = places, .with_prologue = true});
    if (!program) return false;
    std::vector<Scenario> scenarios;
    for (auto const& point : points) {
        std::map<double const*, double> shifted;
        for (auto const& [name, shift] : point.shifts) {
            auto const& [its_places, originals] = features[name];
            for (std::size_t i = 0; i < its_places.size(); ++i)
                shifted[its_places[i]] = shift.c_eval(originals[i]);
        }
        auto& inputs = scenarios.emplace_back().inputs;
        for (auto const& [place, payment_rank] : program->inputs) {
            auto const number = shifted.find(place);
            inputs.push_back(number != shifted.end() ? number->second
                                                     : (place == nullptr ? 0.0 : *place));
        }
    }
    auto const totals = run(*program, states, scenarios, EachScenario(points.size()), *plan);
    for (std::size_t i = 0; i < points.size(); ++i) add(totals[i], points[i].results.price);
    return true;
}

bool differentiate(Contract::Contract const& contract, Modeling::MCHelper& helper,
                   Results& results) {
    auto const plan = make_plan(helper);
    if (!plan || !(plan->antithetic_factor >= 0.0)) return false;
    std::vector<State> states(1);
    if (!states[0].read(helper)) return false;
    auto const program = make_program(
        contract, helper, states,
        {.discount_factors = {}, .inputs = {}, .with_prologue = false, .with_adjoints = true});
    if (!program) return false;
    auto const gradient = differentiate(*program, states[0], EachScenario(1), *plan);
    add(gradient.price, results.price);
    for (std::size_t u = 0; u < gradient.paths.size(); ++u)
        helper.add_lognormal_adjoints(u, gradient.paths[u].levels, gradient.paths[u].normals);
    return true;
}

}  // namespace ximCORE::Pricing::Block
