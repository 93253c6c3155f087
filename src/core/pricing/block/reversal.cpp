#include "core/pricing/block/reversal.hpp"

#include <cmath>

namespace ximCORE::Pricing::Block {

namespace {

namespace op = Contract::op;

template <class... Ops>
bool find_operator(Code code, op::List<Ops...>, auto&& visit) {
    return ((code_of<Ops>() == code && (visit.template operator()<Ops>(), true)) || ...);
}

}  // namespace

Reversal::Reversal(StepWriter& writer, std::span<Instruction const> steps,
                   std::vector<std::uint32_t> const& operands, std::size_t nb_slots)
    : m_writer(&writer),
      m_steps(steps),
      m_operands(&operands),
      m_is_active(nb_slots, false),
      m_places(nb_slots, 0),
      m_skips(steps.size() + 1, 0),
      m_adjoints(nb_slots) {}

std::vector<std::optional<Reversal::Slot>> Reversal::run(std::span<Slot const> cells, Slot result,
                                                         Slot seed) {
    for (Slot const cell : cells) m_is_active[cell] = true;
    find_active(result);
    m_adjoints[result].slot = seed;
    take_back(0, m_steps.size());
    std::vector<std::optional<Slot>> adjoints;
    for (Slot const cell : cells) adjoints.push_back(m_adjoints[cell].slot);
    return adjoints;
}

bool Reversal::is_amount_operator(Code code) const {
    return code >= Code::first_operator && code < code_of<op::Equal>();
}

void Reversal::for_each_source(Instruction const& step, auto&& visit) const {
    switch (step.code) {
        case Code::add_to:
        case Code::add_where:
            visit(step.a);
            return;
        case Code::choose:
            visit(step.b);
            visit(step.c);
            return;
        case Code::mix:
            visit(step.a);
            visit(step.b);
            visit(step.c);
            visit(step.d);
            return;
        case Code::sort:
            for (std::uint32_t k = 0; k < step.b; ++k) visit((*m_operands)[step.a + k]);
            return;
        default:
            break;  // nothing is handed on through a name
    }
    if (!is_amount_operator(step.code)) return;
    visit(step.a);
    if (step.b != step.a) visit(step.b);
}

void Reversal::find_active(Slot result) {
    for (std::size_t k = 0; k < m_steps.size(); ++k) {
        auto const& step = m_steps[k];
        if (step.code == Code::skip) {
            if (m_skips[step.to] == 0) m_skips[step.to] = k + 1;  // an inner one begins later
            continue;
        }
        if (m_places[step.to] == 0) m_places[step.to] = k + 1;
        for_each_source(step, [&](Slot source) {
            if (m_is_active[source]) m_is_active[step.to] = true;
        });
    }
    // what only decides about conditions needs no adjoint
    std::vector<bool> is_wanted(m_is_active.size(), false);
    is_wanted[result] = true;
    for (std::size_t k = m_steps.size(); k-- > 0;)
        if (m_steps[k].code != Code::skip && is_wanted[m_steps[k].to])
            for_each_source(m_steps[k], [&](Slot source) { is_wanted[source] = true; });
    for (std::size_t slot = 0; slot < is_wanted.size(); ++slot)
        m_is_active[slot] = m_is_active[slot] && is_wanted[slot];
}

void Reversal::take_back(std::size_t first, std::size_t last) {
    for (std::size_t end = last; end > first;) {
        if (std::size_t const skip = m_skips[end]; skip > first) {
            end = skip - 1;
            take_back_under(end);
            continue;
        }
        auto const& step = m_steps[--end];
        if (step.code == Code::skip || !m_is_active[step.to]) continue;
        if (auto const adjoint = m_adjoints[step.to].slot) back(step, *adjoint);
    }
}

void Reversal::take_back_under(std::size_t skip) {
    auto const& [code, to, mask, b, c, d] = m_steps[skip];
    std::size_t const end = to;
    m_skips[end] = 0;
    // an inner skip may end in the same place
    for (std::size_t k = end; k-- > skip + 1;)
        if (m_steps[k].code == Code::skip && m_steps[k].to == end) m_skips[end] = k + 1;
    start_outer_sums(skip + 1, end);
    m_writer->under(mask, [&] { take_back(skip + 1, end); });
}

/// What is known outside of some steps, and gets adjoints from within, must be a sum by then: the
/// steps may be passed over.
void Reversal::start_outer_sums(std::size_t first, std::size_t last) {
    for (std::size_t k = first; k < last; ++k) {
        if (m_steps[k].code == Code::skip || !m_is_active[m_steps[k].to]) continue;
        for_each_source(m_steps[k], [&](Slot source) {
            auto& [slot, is_sum] = m_adjoints[source];
            if (!m_is_active[source] || is_sum || m_places[source] > first) return;
            slot = m_writer->start_sum(slot ? *slot : m_writer->constant(0.0));
            is_sum = true;
        });
    }
}

void Reversal::back(Instruction const& step, Slot adjoint) {
    auto const zero = [&] { return m_writer->constant(0.0); };
    switch (step.code) {
        case Code::add_to:
            hand(step.a, adjoint);
            return;
        case Code::add_where:
            hand(step.a, where(step.b, adjoint, zero()));
            return;
        case Code::choose:
            hand(step.b, where(step.a, adjoint, zero()));
            hand(step.c, where(step.a, zero(), adjoint));
            return;
        case Code::mix:
            back_mix(step, adjoint);
            return;
        case Code::sort:
            back_sort(step, adjoint);
            return;
        default:
            back_operator(step, adjoint);
    }
}

/// The weight of the sign of the gap goes to the first flow, the rest to the second, and the gap to
/// that weight; a gap of 0 counts as positive. Weights that are no number count only where there is
/// a gap.
void Reversal::back_mix(Instruction const& step, Slot adjoint) {
    Slot const zero = m_writer->constant(0.0);
    Slot const gap = apply<op::Sub>(step.a, step.b);
    Slot const is_rising = m_writer->step(code_of<op::GreaterOrEqual>(), {gap, zero, 0, 0});
    if (m_is_active[step.a] || m_is_active[step.b]) {
        Slot const sum = apply<op::Add>(step.c, step.d);
        Slot const is_unknown =
            apply<op::And>(apply<op::NotEqual>(sum, sum), apply<op::Equal>(gap, zero));
        Slot const weight = where(is_unknown, zero, where(is_rising, step.c, step.d));
        hand(step.a, apply<op::Mul>(weight, adjoint));
        hand(step.b, apply<op::Mul>(apply<op::Sub>(m_writer->constant(1.0), weight), adjoint));
    }
    if (!m_is_active[step.c] && !m_is_active[step.d]) return;
    Slot const of_weight = apply<op::Mul>(gap, adjoint);
    hand(step.c, where(is_rising, of_weight, zero));
    hand(step.d, where(is_rising, zero, of_weight));
}

void Reversal::back_sort(Instruction const& step, Slot adjoint) {
    auto const begin = m_operands->begin() + step.a;
    std::vector<Slot> slots(begin, begin + step.b);
    slots.insert(slots.end(), {step.to, adjoint});
    for (std::uint32_t k = 0; k < step.b; ++k)
        if (m_is_active[slots[k]])
            hand(slots[k], m_writer->step(Code::sort_back, {m_writer->list(slots), step.b, k, 0}));
}

void Reversal::back_operator(Instruction const& step, Slot adjoint) {
    auto const unary = [&]<class Op>() {
        if constexpr (op::Linear<Op>)
            hand(step.a, scale(adjoint, Op::back(1.0)));
        else
            hand(step.a, m_writer->step(back_code_of<Op>(), {adjoint, step.a, 0, 0}));
    };
    auto const binary = [&]<class Op>() {
        if constexpr (op::Linear<Op>) {
            auto const [left, right] = Op::back(1.0);
            if (m_is_active[step.a]) hand(step.a, scale(adjoint, left));
            if (m_is_active[step.b]) hand(step.b, scale(adjoint, right));
            return;
        }
        if constexpr (std::is_same_v<Op, op::Div>) {
            // one division now instead of one for each path
            auto const divisor = m_writer->find_constant(step.b);
            if (divisor && std::isnormal(1.0 / *divisor))
                return hand(step.a, scale(adjoint, 1.0 / *divisor));
        }
        std::array<Slot, 4> const operands{adjoint, step.a, step.b, 0};
        if (m_is_active[step.a]) hand(step.a, m_writer->step(back_code_of<Op, true>(), operands));
        if (m_is_active[step.b]) hand(step.b, m_writer->step(back_code_of<Op, false>(), operands));
    };
    if (!find_operator(step.code, op::AmountUnaries{}, unary))
        std::ignore = find_operator(step.code, op::AmountBinaries{}, binary);
}

void Reversal::hand(Slot to, Slot amount) {
    if (!m_is_active[to]) return;
    auto& [slot, is_sum] = m_adjoints[to];
    if (is_sum)
        m_writer->add(*slot, amount);
    else
        slot = slot ? apply<op::Add>(*slot, amount) : amount;
}

template <class Op>
Reversal::Slot Reversal::apply(Slot left, Slot right) {
    return m_writer->step(code_of<Op>(), {left, right, 0, 0});
}

Reversal::Slot Reversal::where(Slot mask, Slot then, Slot otherwise) {
    return m_writer->step(Code::choose, {mask, then, otherwise, 0});
}

Reversal::Slot Reversal::scale(Slot adjoint, double factor) {
    return factor == 1.0 ? adjoint : apply<op::Mul>(adjoint, m_writer->constant(factor));
}

}  // namespace ximCORE::Pricing::Block
