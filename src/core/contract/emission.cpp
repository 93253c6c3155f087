// The steps of every node of the tree.
#include <cmath>

#include "core/contract/emitter.hpp"
#include "core/contract/iff.hpp"
#include "core/contract/operations.hpp"
#include "core/contract/payments.hpp"
#include "core/contract/sorted.hpp"
#include "core/data/equity_like.hpp"

namespace ximCORE::Contract {

namespace {

using Slot = Emitter::Slot;
using WeightSlots = Emitter::WeightSlots;
using Type = Operation::Type;

Slot emit_level(Emitter& emitter, Data::Underlying const& underlying, Toolbox::Date const& date) {
    auto const* equity_like =
        dynamic_cast<Data::EquityLikeUnderlying const*>(underlying.c_get_impl().get());
    if (equity_like != nullptr)
        return emitter.fixing(date.c_get_fixing_rank(), equity_like->c_get_rank());
    return emitter.constant(underlying.eval(date, emitter.get_grid()));
}

/// 1 for true, 0 for false.
Slot emit_number(Emitter& emitter, Slot event) {
    return emitter.choose(event, emitter.constant(1.0), emitter.constant(0.0));
}

/// `op::ramp` as steps.
Slot emit_ramp(Emitter& emitter, Slot x, Slot threshold, signed char slope, Ramp ramp) {
    auto& [lhs, rhs, direction] = ramp;
    if (slope * direction > 0) rhs = 0.0;
    if (slope * direction < 0) lhs = 0.0;
    if (!std::isfinite(lhs) || !std::isfinite(rhs)) emitter.refuse();
    auto const is_beyond = slope > 0 ? Type::greater_or_equal : Type::lower_or_equal;
    if (lhs <= 0.0 && rhs <= 0.0)
        return emit_number(emitter, emitter.compare(is_beyond, x, threshold));
    auto const shift = [&](double width) {
        return emitter.binary(Type::add, threshold, emitter.constant(width));
    };
    Slot const gap = emitter.binary(Type::sub, x, threshold);
    Slot const rise = slope > 0 ? emitter.binary(Type::add, gap, emitter.constant(lhs))
                                : emitter.binary(Type::sub, emitter.constant(rhs), gap);
    Slot const inside = emitter.binary(Type::div, rise, emitter.constant(lhs + rhs));
    Slot const below = emitter.constant(slope > 0 ? 0.0 : 1.0);
    Slot const above = emitter.constant(slope > 0 ? 1.0 : 0.0);
    Slot const upper =
        emitter.choose(emitter.compare(Type::greater_or_equal, x, shift(rhs)), above, inside);
    return emitter.choose(emitter.compare(Type::lower_or_equal, x, shift(-lhs)), below, upper);
}

WeightSlots emit_comparison_weights(Emitter& emitter, Type type, Slot event, Slot x, Slot threshold,
                                    signed char side, Ramp const& ramp) {
    auto const slope = static_cast<signed char>(op::slope_of(type) * side);
    if (slope == 0) {
        Slot const weight = emit_number(emitter, event);
        return {weight, weight};
    }
    return {emit_ramp(emitter, x, threshold, slope, ramp),
            emit_ramp(emitter, x, threshold, slope, {ramp.lhs, ramp.rhs, -ramp.direction})};
}

}  // namespace

Slot Amount::emit(Emitter& emitter) const {
    emitter.refuse();
    return emitter.constant(0.0);
}

// Leaves

Slot DeterministicAmount::emit(Emitter& emitter) const {
    return emitter.constant(m_value);
}

Slot Ref::emit(Emitter& emitter) const {
    return emitter.named(m_value);
}

Slot RefAmount::emit(Emitter& emitter) const {
    return emitter.read(m_rank);
}

Slot Fixing::emit(Emitter& emitter) const {
    if (!m_underlying) return emitter.constant(0.0);
    Slot const level = emit_level(emitter, *m_underlying, m_date);
    if (!m_conversion) return level;
    return emitter.binary(Type::mul, level, emit_level(emitter, *m_conversion, m_date));
}

Slot DeterministicEvent::emit(Emitter& emitter) const {
    return emitter.truth(m_value);
}

WeightSlots DeterministicEvent::emit_weights(Emitter& emitter, Ramp const&) const {
    Slot const weight = emitter.constant(m_value ? 1.0 : 0.0);
    return {weight, weight};
}

// Amounts

Slot AmountUnaryOperation::emit(Emitter& emitter) const {
    return emitter.unary(m_operation.c_get_type(), m_child->emit(emitter));
}

Slot AmountBinaryOperation::emit(Emitter& emitter) const {
    Slot const right = m_right->emit(emitter);
    Slot const left = m_left->emit(emitter);
    return emitter.binary(m_operation.c_get_type(), left, right);
}

template <Side side>
Slot AmountHybridOperation<side>::emit(Emitter& emitter) const {
    Slot const x = m_child->emit(emitter);
    Slot const constant = emitter.constant(m_constant);
    auto const type = m_operation.c_get_type();
    return side == Side::left ? emitter.binary(type, constant, x)
                              : emitter.binary(type, x, constant);
}
template Slot AmountHybridOperation<Side::left>::emit(Emitter&) const;
template Slot AmountHybridOperation<Side::right>::emit(Emitter&) const;

Slot Iff::emit(Emitter& emitter) const {
    Slot const event = m_event->emit(emitter);
    Slot const then = m_then->emit(emitter);
    Slot const otherwise = m_else->emit(emitter);
    return emitter.choose(event, then, otherwise);
}

Slot Sorted::emit(Emitter& emitter) const {
    std::vector<Slot> slots;
    for (auto const& amount : m_amounts) slots.push_back(amount->emit(emitter));
    return emitter.sorted(slots, m_rank);
}

// Events

Slot EventUnaryOperation::emit(Emitter& emitter) const {
    return emitter.negate(m_child->emit(emitter));
}

WeightSlots EventUnaryOperation::emit_weights(Emitter& emitter, Ramp const& ramp) const {
    auto const [towards, opposite] = m_child->emit_weights(emitter, ramp);
    Slot const one = emitter.constant(1.0);
    return {emitter.binary(Type::sub, one, towards), emitter.binary(Type::sub, one, opposite)};
}

Slot EventBinaryOperation::emit(Emitter& emitter) const {
    Slot const right = m_right->emit(emitter);
    Slot const left = m_left->emit(emitter);
    return emitter.join(m_operation.c_get_type(), left, right);
}

WeightSlots EventBinaryOperation::emit_weights(Emitter& emitter, Ramp const& ramp) const {
    auto const q = m_right->emit_weights(emitter, ramp);
    auto const p = m_left->emit_weights(emitter, ramp);
    WeightSlots const both{emitter.binary(Type::mul, p.towards, q.towards),
                           emitter.binary(Type::mul, p.opposite, q.opposite)};
    if (m_operation.c_get_type() == Type::logical_and) return both;
    auto const either = [&](Slot x, Slot y, Slot product) {
        return emitter.binary(Type::sub, emitter.binary(Type::add, x, y), product);
    };
    return {either(p.towards, q.towards, both.opposite),
            either(p.opposite, q.opposite, both.towards)};
}

Slot EventAmountBinaryOperation::emit(Emitter& emitter) const {
    Slot const right = m_right->emit(emitter);
    Slot const left = m_left->emit(emitter);
    return emitter.compare(m_operation.c_get_type(), left, right);
}

WeightSlots EventAmountBinaryOperation::emit_weights(Emitter& emitter, Ramp const& ramp) const {
    Slot const right = m_right->emit(emitter);
    Slot const left = m_left->emit(emitter);
    auto const type = m_operation.c_get_type();
    Slot const event = emitter.compare(type, left, right);
    return emit_comparison_weights(emitter, type, event, left, right, 1, ramp);
}

template <Side side>
Slot EventAmountHybridOperation<side>::emit(Emitter& emitter) const {
    Slot const x = m_child->emit(emitter);
    Slot const constant = emitter.constant(m_constant);
    auto const type = m_operation.c_get_type();
    return side == Side::left ? emitter.compare(type, constant, x)
                              : emitter.compare(type, x, constant);
}

template <Side side>
WeightSlots EventAmountHybridOperation<side>::emit_weights(Emitter& emitter,
                                                           Ramp const& ramp) const {
    Slot const event = emit(emitter);
    Slot const x = m_child->emit(emitter);
    // seen from its amount, a constant on the left turns the comparison round
    return emit_comparison_weights(emitter, m_operation.c_get_type(), event, x,
                                   emitter.constant(m_constant), side == Side::left ? -1 : 1, ramp);
}
template Slot EventAmountHybridOperation<Side::left>::emit(Emitter&) const;
template Slot EventAmountHybridOperation<Side::right>::emit(Emitter&) const;
template WeightSlots EventAmountHybridOperation<Side::left>::emit_weights(Emitter&,
                                                                          Ramp const&) const;
template WeightSlots EventAmountHybridOperation<Side::right>::emit_weights(Emitter&,
                                                                           Ramp const&) const;

// Cash flows

void PayReceive::emit(Emitter& emitter) const {
    Slot flow = m_amount->emit(emitter);
    if (m_conversion) flow = emitter.binary(Type::mul, m_conversion->emit(emitter), flow);
    double const adjustment =
        emitter.get_grid().get_stochastic_rates_adjustment(*m_currency, m_date).value;
    double const scale = adjustment != 0.0 ? std::exp(-adjustment) * m_scale : m_scale;
    if (scale != 1.0) flow = emitter.binary(Type::mul, flow, emitter.constant(scale));
    emitter.pay(m_date.c_get_payment_rank(), flow);
}

void BuySell::emit(Emitter& emitter) const {
    m_child->emit(emitter);
}

void RefAmountSetter::emit(Emitter& emitter) const {
    emitter.write(m_rank, m_amount->emit(emitter));
}

void CashFlowBinaryOperation::emit(Emitter& emitter) const {
    auto const* node = this;
    for (; auto const* next = node->c_get_next(); node = next) node->m_left->emit(emitter);
    node->m_left->emit(emitter);
    node->m_right->emit(emitter);
}

}  // namespace ximCORE::Contract
