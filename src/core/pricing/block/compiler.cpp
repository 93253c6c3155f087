#include "core/pricing/block/compiler.hpp"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <map>
#include <numeric>
#include <set>
#include <unordered_map>

#include "core/contract/cashflow.hpp"
#include "core/contract/emitter.hpp"
#include "core/pricing/block/reversal.hpp"

namespace ximCORE::Pricing::Block {

namespace {

namespace op = Contract::op;
using Slot = Contract::Emitter::Slot;
using Type = Contract::Operation::Type;
using std::bit_cast;

constexpr std::size_t c_max_depth = 500;
constexpr std::size_t c_max_instructions = 200'000;
constexpr std::uint64_t c_true = ~std::uint64_t{0};

/// Calls visit<Op>() for the operator of a code among a list; false without one.
template <class... Ops>
bool find_operator(Type type, op::List<Ops...>, auto&& visit) {
    return ((Ops::type == type && (visit.template operator()<Ops>(), true)) || ...);
}

/// Everything that tells one step from another.
struct Key {
    Code code;
    std::array<std::uint32_t, 4> operands;
    std::uint32_t version;  ///< of the names, where a name is an operand

    bool operator==(Key const&) const = default;
};

struct KeyHash {
    std::size_t operator()(Key const& key) const {
        std::size_t hash = static_cast<std::size_t>(key.code) * 0x9E3779B97F4A7C15U + key.version;
        for (auto const operand : key.operands) hash = (hash ^ operand) * 0x9E3779B97F4A7C15U;
        return hash ^ (hash >> 29);
    }
};

enum class Kind : std::uint8_t { constant, input, cell, result, variable };

/// What a slot stands for. `position`: in the list of its kind.
struct Value {
    Kind kind;
    std::uint32_t position;
    bool is_invariant;  ///< no input and no name moves it
};

/// The operands of an instruction that are columns.
void for_each_operand(Instruction& i, std::vector<std::uint32_t>& lists, auto&& visit) {
    switch (i.code) {
        case Code::end:
            return;
        case Code::skip:
        case Code::copy:
        case Code::add_to:
            visit(i.a);
            return;
        case Code::put:
        case Code::add_where:
        case Code::except:
            visit(i.a);
            visit(i.b);
            return;
        case Code::choose:
            visit(i.a);
            visit(i.b);
            visit(i.c);
            return;
        case Code::mix:
            visit(i.a);
            visit(i.b);
            visit(i.c);
            visit(i.d);
            return;
        case Code::sort:
            for (std::uint32_t k = 0; k < i.b; ++k) visit(lists[i.a + k]);
            return;
        case Code::sort_back:
            for (std::uint32_t k = 0; k < i.b + 2; ++k) visit(lists[i.a + k]);
            return;
        case Code::first_operator:
            break;
    }
    visit(i.a);
    visit(i.b);  // the operand again, where there is only one
    bool const has_reciprocal = i.code == code_of<op::Div>() && i.c != 0;
    if (has_reciprocal || i.code >= back_code_of<op::Add, true>()) visit(i.c);
}

class Compiler final : public Contract::Emitter {
 public:
    class Writer;

    Compiler(Modeling::FixingGrid& grid, CompilerSettings const& settings)
        : m_grid(&grid), m_settings(&settings) {
        m_result = new_variable();
    }

    std::optional<Program> finish();

    Slot constant(double value) override { return constant_bits(bit_cast<std::uint64_t>(value)); }
    Slot named(double const& place) override;
    Slot fixing(short fixing_rank, short underlying_rank) override;
    Modeling::FixingGrid& get_grid() override { return *m_grid; }
    Slot unary(Type type, Slot x) override;
    Slot binary(Type type, Slot left, Slot right) override;
    Slot sorted(std::span<Slot const> amounts, int rank) override;
    Slot choose(Slot event, Slot then, Slot otherwise) override;
    Slot truth(bool value) override { return constant_bits(value ? c_true : 0); }
    Slot compare(Type type, Slot left, Slot right) override;
    Slot negate(Slot event) override;
    Slot join(Type type, Slot left, Slot right) override;
    Slot read(short name_rank) override;
    void write(short name_rank, Slot amount) override;
    void pay(short payment_rank, Slot amount) override;
    void branch(Slot event, Body const& then, Body const& otherwise) override;
    void mix(WeightSlots weights, Body const& then, Body const& otherwise) override;
    void refuse() override { m_is_refused = true; }

 private:
    using Steps = std::unordered_map<Key, Slot, KeyHash>;
    using Flows = std::map<short, Slot>;  ///< the sum of each payment

    Slot new_value(Kind kind, std::uint32_t position, bool is_invariant);
    Slot new_variable();
    Slot constant_bits(std::uint64_t bits);
    std::optional<double> find_constant(Slot slot) const;
    std::optional<bool> find_truth(Slot slot) const;
    /// The result of a step, taken before or now.
    Slot step(Code code, std::array<std::uint32_t, 4> operands);
    void append(Instruction const& instruction);
    void under(std::optional<Slot> mask, Body const& body);
    Flows mix_body(Body const& body);
    Slot discount(short payment_rank, Slot amount);

    void divide_cells();
    /// Steps that give the adjoints of all cells, at the end of the main part.
    void append_adjoints();
    void drop_unread(std::vector<Instruction>& all);
    std::vector<std::size_t> find_last_places(std::vector<Instruction>& all,
                                              std::size_t prologue_size);
    void place_registers(std::vector<Instruction>& all, std::size_t prologue_size);
    std::uint32_t column_of(Slot slot) const;

    Modeling::FixingGrid* m_grid;
    CompilerSettings const* m_settings;
    Program m_program;
    std::vector<Value> m_values;
    std::vector<Instruction> m_prologue;
    std::vector<Instruction> m_header;  ///< what starts each run: variables at 0
    std::vector<Instruction> m_main;
    std::uint32_t m_nb_results{0};
    Steps m_steps;
    std::vector<Key> m_taken;  ///< the steps of the main part, in order
    std::unordered_map<std::uint64_t, Slot> m_constants;
    std::map<double const*, Slot> m_inputs;
    std::map<std::pair<short, short>, Slot> m_cells;
    std::map<short, Slot> m_discounts;
    std::map<short, Slot> m_names;
    std::uint32_t m_version{0};  ///< counts the writes of names
    std::optional<Slot> m_mask;
    Flows* m_flows{nullptr};  ///< null outside smoothed conditions
    Slot m_result{};
    std::vector<std::optional<Slot>> m_cell_adjoints;
    std::size_t m_depth{0};
    bool m_is_refused{false};
};

Slot Compiler::new_value(Kind kind, std::uint32_t position, bool is_invariant) {
    m_values.push_back({kind, position, is_invariant});
    return static_cast<Slot>(m_values.size() - 1);
}

Slot Compiler::new_variable() {
    Slot const variable = new_value(Kind::variable, m_nb_results++, false);
    m_header.push_back({Code::copy, variable, constant(0.0)});
    return variable;
}

Slot Compiler::constant_bits(std::uint64_t bits) {
    auto const [place, is_new] = m_constants.try_emplace(bits);
    if (is_new) {
        place->second =
            new_value(Kind::constant, static_cast<std::uint32_t>(m_program.constants.size()), true);
        m_program.constants.push_back(bit_cast<double>(bits));
    }
    return place->second;
}

std::optional<double> Compiler::find_constant(Slot slot) const {
    auto const& value = m_values[slot];
    if (value.kind != Kind::constant) return std::nullopt;
    return m_program.constants[value.position];
}

std::optional<bool> Compiler::find_truth(Slot slot) const {
    auto const value = find_constant(slot);
    if (!value) return std::nullopt;
    return bit_cast<std::uint64_t>(*value) != 0;
}

Slot Compiler::named(double const& place) {
    if (!std::ranges::binary_search(m_settings->inputs, &place)) return constant(place);
    auto const [input, is_new] = m_inputs.try_emplace(&place);
    if (is_new) {
        input->second =
            new_value(Kind::input, static_cast<std::uint32_t>(m_program.inputs.size()), false);
        m_program.inputs.push_back({&place, -1});
    }
    return input->second;
}

Slot Compiler::fixing(short fixing_rank, short underlying_rank) {
    if (fixing_rank < 0 || underlying_rank < 0) {
        refuse();
        return constant(0.0);
    }
    auto const [cell, is_new] = m_cells.try_emplace({fixing_rank, underlying_rank});
    if (is_new) {
        cell->second =
            new_value(Kind::cell, static_cast<std::uint32_t>(m_program.cells.size()), true);
        m_program.cells.push_back({fixing_rank, underlying_rank, 1.0});
    }
    return cell->second;
}

Slot Compiler::step(Code code, std::array<std::uint32_t, 4> operands) {
    if (m_is_refused) return m_result;  // any slot: nobody will run it
    Instruction instruction{code, 0, operands[0], operands[1], operands[2], operands[3]};
    bool is_invariant = m_settings->with_prologue;
    bool reads_variable = false;
    for_each_operand(instruction, m_program.operands, [&](std::uint32_t slot) {
        is_invariant = is_invariant && m_values[slot].is_invariant;
        reads_variable = reads_variable || m_values[slot].kind == Kind::variable;
    });
    Key const key{code, operands, reads_variable ? m_version : 0};
    auto const [place, is_new] = m_steps.try_emplace(key);
    if (!is_new) return place->second;
    Slot const slot = new_value(Kind::result, m_nb_results++, is_invariant);
    place->second = slot;
    instruction.to = slot;
    if (is_invariant) {
        m_prologue.push_back(instruction);
        if (m_prologue.size() > c_max_instructions) refuse();
    } else {
        m_taken.push_back(key);
        append(instruction);
    }
    return slot;
}

void Compiler::append(Instruction const& instruction) {
    if (m_is_refused) return;
    m_main.push_back(instruction);
    if (m_main.size() > c_max_instructions) refuse();
}

Slot Compiler::unary(Type type, Slot x) {
    Slot slot{};
    auto const apply = [&]<class Op>() {
        auto const known = find_constant(x);
        slot = known ? constant(Op::value(*known)) : step(code_of<Op>(), {x, x, 0, 0});
    };
    if (!find_operator(type, op::AmountUnaries{}, apply)) refuse();
    return slot;
}

Slot Compiler::binary(Type type, Slot left, Slot right) {
    auto const x = find_constant(left);
    auto const y = find_constant(right);
    if (type == Type::mul && y == 1.0) return left;
    if (type == Type::mul && x == 1.0) return right;
    // a known divisor comes with its reciprocal, which takes the place of the division
    bool const has_reciprocal =
        type == Type::div && y && std::isnormal(*y) && std::isnormal(1 / *y);
    Slot const reciprocal = has_reciprocal && !x ? constant(1.0 / *y) : Slot{};
    Slot slot{};
    auto const apply = [&]<class Op>() {
        slot = x && y ? constant(Op::value(*x, *y))
                      : step(code_of<Op>(), {left, right, reciprocal, 0});
    };
    if (!find_operator(type, op::AmountBinaries{}, apply)) refuse();
    return slot;
}

Slot Compiler::sorted(std::span<Slot const> amounts, int rank) {
    bool const has_place = rank >= 0 && static_cast<std::size_t>(rank) < amounts.size();
    if (amounts.size() > sort_limit || !has_place) {
        refuse();
        return constant(0.0);
    }
    auto const first = static_cast<std::uint32_t>(m_program.operands.size());
    m_program.operands.insert(m_program.operands.end(), amounts.begin(), amounts.end());
    return step(Code::sort, {first, static_cast<std::uint32_t>(amounts.size()),
                             static_cast<std::uint32_t>(rank), 0});
}

Slot Compiler::choose(Slot event, Slot then, Slot otherwise) {
    if (auto const known = find_truth(event)) return *known ? then : otherwise;
    return step(Code::choose, {event, then, otherwise, 0});
}

Slot Compiler::compare(Type type, Slot left, Slot right) {
    auto const x = find_constant(left);
    auto const y = find_constant(right);
    Slot slot{};
    auto const apply = [&]<class Op>() {
        slot = x && y ? truth(Op::value(*x, *y)) : step(code_of<Op>(), {left, right, 0, 0});
    };
    if (!find_operator(type, op::Comparisons{}, apply)) refuse();
    return slot;
}

Slot Compiler::negate(Slot event) {
    if (auto const known = find_truth(event)) return truth(!*known);
    return step(code_of<op::Not>(), {event, event, 0, 0});
}

Slot Compiler::join(Type type, Slot left, Slot right) {
    bool const is_and = type == Type::logical_and;
    for (auto const& [side, other] : {std::pair{left, right}, std::pair{right, left}})
        if (auto const known = find_truth(side)) return *known == is_and ? other : side;
    return step(is_and ? code_of<op::And>() : code_of<op::Or>(), {left, right, 0, 0});
}

Slot Compiler::read(short name_rank) {
    auto const [name, is_new] = m_names.try_emplace(name_rank);
    if (is_new) name->second = new_variable();
    if (!m_settings->with_adjoints) return name->second;
    return step(Code::copy, {name->second, 0, 0, 0});  // which a later write leaves as it is
}

void Compiler::write(short name_rank, Slot amount) {
    auto const [name, is_new] = m_names.try_emplace(name_rank);
    if (is_new) name->second = new_variable();
    Slot const variable = name->second;
    if (m_mask)
        append({Code::put, variable, amount, *m_mask});
    else
        append({Code::copy, variable, amount});
    ++m_version;
}

Slot Compiler::discount(short payment_rank, Slot amount) {
    auto const& factors = m_settings->discount_factors;
    auto const rank = static_cast<std::size_t>(static_cast<std::ptrdiff_t>(payment_rank));
    if (!factors.empty()) {
        if (rank < factors.size()) return binary(Type::mul, constant(factors[rank]), amount);
        refuse();
        return amount;
    }
    auto const [factor, is_new] = m_discounts.try_emplace(payment_rank);
    if (is_new) {
        factor->second =
            new_value(Kind::input, static_cast<std::uint32_t>(m_program.inputs.size()), false);
        m_program.inputs.push_back({nullptr, payment_rank});
    }
    return binary(Type::mul, factor->second, amount);
}

void Compiler::pay(short payment_rank, Slot amount) {
    if (payment_rank < 0) refuse();
    Slot sum = m_result;
    if (m_flows == nullptr) {
        amount = discount(payment_rank, amount);
    } else {
        auto const [flow, is_new] = m_flows->try_emplace(payment_rank);
        if (is_new) flow->second = new_variable();
        sum = flow->second;
    }
    if (m_mask)
        append({Code::add_where, sum, amount, *m_mask});
    else
        append({Code::add_to, sum, amount});
}

void Compiler::under(std::optional<Slot> mask, Body const& body) {
    if (!body || m_is_refused) return;
    if (m_depth == c_max_depth) return refuse();
    ++m_depth;
    auto const outer = m_mask;
    m_mask = mask;
    std::size_t const first_step = m_taken.size();
    std::size_t const first = m_main.size();
    if (m_mask) append({Code::skip, 0, *m_mask});
    body();
    if (m_mask) m_main[first].to = static_cast<std::uint32_t>(m_main.size());
    // a step taken here is not known outside, where it may have been skipped
    for (std::size_t i = first_step; i < m_taken.size(); ++i) m_steps.erase(m_taken[i]);
    m_taken.resize(first_step);
    m_mask = outer;
    --m_depth;
}

void Compiler::branch(Slot event, Body const& then, Body const& otherwise) {
    if (auto const known = find_truth(event)) {
        auto const& body = *known ? then : otherwise;
        if (body) body();
        return;
    }
    auto const outer = m_mask;
    if (then) under(outer ? join(Type::logical_and, *outer, event) : event, then);
    if (otherwise)
        under(outer ? step(Code::except, {*outer, event, 0, 0}) : negate(event), otherwise);
}

Compiler::Flows Compiler::mix_body(Body const& body) {
    Flows flows;
    if (!body || m_is_refused) return flows;
    auto const names = m_names;
    auto* const outer_flows = std::exchange(m_flows, &flows);
    auto const outer_mask = std::exchange(m_mask, std::nullopt);
    // what the body sets under a name ends with it: it works on copies
    for (auto& [rank, variable] : m_names) {
        Slot const copy = new_variable();
        append({Code::copy, copy, variable});
        variable = copy;
    }
    ++m_version;
    under(std::nullopt, body);
    m_names = names;
    m_flows = outer_flows;
    m_mask = outer_mask;
    ++m_version;
    return flows;
}

void Compiler::mix(WeightSlots weights, Body const& then, Body const& otherwise) {
    auto const then_flows = mix_body(then);
    auto const else_flows = mix_body(otherwise);
    std::set<short> ranks;
    for (auto const* flows : {&then_flows, &else_flows})
        for (auto const& [rank, flow] : *flows) ranks.insert(rank);
    for (short const rank : ranks) {
        auto const flow_of = [&](Flows const& flows) {
            auto const flow = flows.find(rank);
            return flow == flows.end() ? constant(0.0) : flow->second;
        };
        pay(rank, step(Code::mix, {flow_of(then_flows), flow_of(else_flows), weights.towards,
                                   weights.opposite}));
    }
}

/// The compiler, as whoever takes its steps back sees it.
class Compiler::Writer final : public StepWriter {
 public:
    explicit Writer(Compiler& compiler) : m_compiler(&compiler) {}

    Slot constant(double value) override { return m_compiler->constant(value); }
    std::optional<double> find_constant(Slot slot) const override {
        return m_compiler->find_constant(slot);
    }
    Slot step(Code code, std::array<std::uint32_t, 4> operands) override {
        return m_compiler->step(code, operands);
    }
    std::uint32_t list(std::span<Slot const> operands) override {
        auto& lists = m_compiler->m_program.operands;
        auto const first = static_cast<std::uint32_t>(lists.size());
        lists.insert(lists.end(), operands.begin(), operands.end());
        return first;
    }
    Slot start_sum(Slot first) override {
        Slot const sum = m_compiler->new_value(Kind::variable, m_compiler->m_nb_results++, false);
        m_compiler->append({Code::copy, sum, first});
        return sum;
    }
    void add(Slot sum, Slot amount) override { m_compiler->append({Code::add_to, sum, amount}); }
    void under(Slot mask, std::function<void()> const& body) override {
        m_compiler->under(mask, body);
    }

 private:
    Compiler* m_compiler;
};

/// Where all readers of a level divide it by the same number, as performances do, the cell is that
/// quotient: the forward is divided once for all paths.
void Compiler::divide_cells() {
    constexpr Slot nobody = static_cast<Slot>(-1);
    std::vector<std::optional<Slot>> divisors(m_values.size());  // of cells: the one, or nobody
    auto const is_quotient = [&](Instruction const& i) {
        if (i.code != code_of<op::Div>() || m_values[i.a].kind != Kind::cell) return false;
        double const divisor = std::abs(find_constant(i.b).value_or(0.0));
        return divisor > 1e-100 && divisor < 1e100;
    };
    auto const for_all = [&](auto&& visit) {
        for (auto* steps : {&m_prologue, &m_main})
            for (auto& i : *steps) visit(i);
    };
    for_all([&](Instruction& i) {
        bool const divides = is_quotient(i);
        for_each_operand(i, m_program.operands, [&](std::uint32_t slot) {
            if (m_values[slot].kind != Kind::cell) return;
            Slot const divisor = divides ? i.b : nobody;
            divisors[slot] = divisors[slot].value_or(divisor) == divisor ? divisor : nobody;
        });
    });
    std::vector<Slot> stands_for(m_values.size());
    std::iota(stands_for.begin(), stands_for.end(), Slot{});
    for_all([&](Instruction& i) {
        if (is_quotient(i) && divisors[i.a] != nobody) stands_for[i.to] = i.a;
    });
    for_all([&](Instruction& i) {
        for_each_operand(i, m_program.operands,
                         [&](std::uint32_t& slot) { slot = stands_for[slot]; });
    });
    for (auto const& [place, slot] : m_cells)
        if (divisors[slot].value_or(nobody) != nobody)
            m_program.cells[m_values[slot].position].divisor = *find_constant(*divisors[slot]);
}

void Compiler::append_adjoints() {
    std::vector<Slot> cells(m_cells.size());
    for (auto const& [place, slot] : m_cells) cells[m_values[slot].position] = slot;
    Slot const seed =
        new_value(Kind::input, static_cast<std::uint32_t>(m_program.inputs.size()), false);
    m_program.inputs.emplace_back();
    auto const forward = m_main;
    Writer writer(*this);
    m_cell_adjoints =
        Reversal(writer, forward, m_program.operands, m_values.size()).run(cells, m_result, seed);
}

/// Removes instructions; skips go to what was behind their place.
void drop(std::vector<Instruction>& all, std::vector<bool> const& is_dropped) {
    std::vector<std::uint32_t> kept_before(all.size() + 1, 0);
    for (std::size_t k = 0; k < all.size(); ++k)
        kept_before[k + 1] = kept_before[k] + (is_dropped[k] ? 0 : 1);
    std::vector<Instruction> kept;
    for (std::size_t k = 0; k < all.size(); ++k) {
        if (is_dropped[k]) continue;
        if (all[k].code == Code::skip) all[k].to = kept_before[all[k].to];
        kept.push_back(all[k]);
    }
    all = std::move(kept);
}

/// A skip over less than two instructions costs more than it saves.
void drop_short_skips(std::vector<Instruction>& all) {
    std::vector<bool> is_short(all.size(), false);
    for (std::size_t k = 0; k < all.size(); ++k)
        is_short[k] = all[k].code == Code::skip && all[k].to < k + 3;
    drop(all, is_short);
}

/// Removes what nobody reads, and what is then no longer read, but for skips and the result.
void Compiler::drop_unread(std::vector<Instruction>& all) {
    std::vector<std::size_t> reads(m_values.size(), 0);
    reads[m_result] = 1;
    for (auto const& adjoint : m_cell_adjoints)
        if (adjoint) ++reads[*adjoint];
    auto const count = [&](Instruction& i, std::size_t change) {
        for_each_operand(i, m_program.operands, [&](std::uint32_t slot) { reads[slot] += change; });
    };
    for (auto& instruction : all) count(instruction, 1);
    std::vector<bool> is_dropped(all.size(), false);
    for (std::size_t k = all.size(); k-- > 0;) {
        auto& i = all[k];
        if (i.code == Code::skip || reads[i.to] > 0) continue;
        is_dropped[k] = true;
        count(i, static_cast<std::size_t>(-1));
    }
    drop(all, is_dropped);
}

std::uint32_t Compiler::column_of(Slot slot) const {
    auto const& [kind, position, is_invariant] = m_values[slot];
    switch (kind) {
        case Kind::constant:
            return position;
        case Kind::input:
            return m_program.c_get_first_input() + position;
        case Kind::cell:
            return m_program.c_get_first_cell() + position;
        default:
            return m_program.c_get_first_register() + position;
    }
}

/// [slot]: the last instruction that reads or writes it, their number for what stays.
std::vector<std::size_t> Compiler::find_last_places(std::vector<Instruction>& all,
                                                    std::size_t prologue_size) {
    std::vector<std::size_t> last(m_values.size(), 0);
    for (std::size_t k = 0; k < all.size(); ++k) {
        bool const is_body = k >= prologue_size;
        for_each_operand(all[k], m_program.operands, [&](std::uint32_t slot) {
            last[slot] = is_body && m_values[slot].is_invariant ? all.size() : k;
        });
        if (all[k].code != Code::skip) last[all[k].to] = std::max(last[all[k].to], k);
    }
    last[m_result] = all.size();
    for (auto const& adjoint : m_cell_adjoints)
        if (adjoint) last[*adjoint] = all.size();
    return last;
}

/// Gives each result and variable a register between its first and its last place, so that a
/// register serves many. What the prologue leaves for the body stays.
void Compiler::place_registers(std::vector<Instruction>& all, std::size_t prologue_size) {
    auto const last = find_last_places(all, prologue_size);
    auto const is_register = [&](Slot slot) {
        return m_values[slot].kind == Kind::result || m_values[slot].kind == Kind::variable;
    };
    std::vector<std::uint32_t> free;
    std::vector<bool> is_placed(m_values.size(), false);
    std::vector<bool> is_released(m_values.size(), false);
    for (std::size_t k = 0; k < all.size(); ++k) {
        auto& i = all[k];
        auto const release = [&](Slot slot) {
            if (!is_register(slot) || last[slot] != k || is_released[slot]) return;
            free.push_back(m_values[slot].position);
            is_released[slot] = true;
        };
        // the loops read a lane before they write it: a result may take the place of an operand
        for_each_operand(i, m_program.operands, [&](std::uint32_t slot) {
            if (slot != i.to || i.code == Code::skip) release(slot);
        });
        if (i.code == Code::skip || is_placed[i.to]) continue;
        is_placed[i.to] = true;
        if (free.empty()) {
            m_values[i.to].position = m_program.nb_registers++;
        } else {
            m_values[i.to].position = free.back();
            free.pop_back();
        }
    }
}

std::optional<Program> Compiler::finish() {
    if (!m_is_refused) divide_cells();
    if (m_settings->with_adjoints && !m_is_refused) append_adjoints();
    if (m_is_refused) return std::nullopt;
    auto all = m_prologue;
    all.insert(all.end(), m_header.begin(), m_header.end());
    auto const shift = static_cast<std::uint32_t>(all.size());
    for (auto instruction : m_main) {
        if (instruction.code == Code::skip) instruction.to += shift;
        all.push_back(instruction);
    }
    drop_unread(all);
    drop_short_skips(all);
    auto const is_prologue = [&](Instruction const& i) {
        return i.code != Code::skip && m_values[i.to].is_invariant;
    };
    auto const prologue_size =
        static_cast<std::size_t>(std::ranges::find_if_not(all, is_prologue) - all.begin());
    place_registers(all, prologue_size);
    for (auto& i : all) {
        for_each_operand(i, m_program.operands,
                         [&](std::uint32_t& slot) { slot = column_of(slot); });
        if (i.code != Code::skip) i.to = column_of(i.to);
    }
    for (auto& i : all)
        if (i.code == Code::skip) i.to -= static_cast<std::uint32_t>(prologue_size);
    auto const middle = all.begin() + static_cast<std::ptrdiff_t>(prologue_size);
    m_program.prologue.assign(all.begin(), middle);
    m_program.body.assign(middle, all.end());
    m_program.prologue.push_back({});
    m_program.body.push_back({});
    m_program.result = column_of(m_result);
    for (auto const& adjoint : m_cell_adjoints)
        m_program.cell_adjoints.push_back(adjoint ? column_of(*adjoint) : Program::no_column);
    return std::move(m_program);
}

}  // namespace

std::optional<Program> compile(Contract::CashFlow const& cashflow, Modeling::FixingGrid& grid,
                               CompilerSettings const& settings) {
    Compiler compiler(grid, settings);
    cashflow.emit(compiler);
    return compiler.finish();
}

}  // namespace ximCORE::Pricing::Block
