// Adjoint forms of the cash flows.

#include <algorithm>
#include <cmath>

#include "core/contract/adjoint.hpp"
#include "core/contract/if.hpp"
#include "core/contract/payments.hpp"
#include "core/pricing/options.hpp"

namespace ximCORE::Contract {

using Flows = Toolbox::Array1D<double>;
using Modeling::FixingGrid;
using Pricing::SmoothingType;
using Toolbox::AAD::SweepType;
using Toolbox::AAD::Tape;

void PayReceive::aeval(Tape& tape, SweepType sweep, bool antithetic, FixingGrid& grid,
                       Variables& variables, Flows& flows, Flows& flow_adjoints) {
    auto& adjustment = grid.get_stochastic_rates_adjustment(*m_currency, m_date);
    double rate{1.0};
    double amount{};
    double rate_adjoint{};
    double amount_adjoint{};
    auto const sweep_rate = [&] {
        if (m_conversion)
            m_conversion->aeval(tape, sweep, antithetic, grid, variables, rate, rate_adjoint);
    };
    auto const sweep_amount = [&] {
        aeval_on_path(*m_amount, tape, sweep, antithetic, grid, variables, amount, amount_adjoint);
    };
    if (sweep == SweepType::FORWARD) {
        sweep_rate();
        sweep_amount();
        add_flow(rate, amount, grid, flows);
        tape.dpush(rate);
        tape.dpush(amount);
        tape.dpush(adjustment.value != 0.0 ? std::exp(-adjustment.value) : 1.0);
        return;
    }
    double discount{};
    std::ignore = tape.dpop(discount);
    std::ignore = tape.dpop(amount);
    std::ignore = tape.dpop(rate);
    auto const rank =
        static_cast<std::size_t>(static_cast<std::ptrdiff_t>(m_date.c_get_payment_rank()));
    double const adjoint = flow_adjoints.unsafe_get(rank) * m_scale * discount;
    if (adjoint != 0.0) {
        rate_adjoint = adjoint * amount;
        amount_adjoint = adjoint * rate;
        adjustment.get_adjoint(antithetic) -= amount_adjoint * amount;
    }
    sweep_amount();
    sweep_rate();
}

void BuySell::aeval(Tape& tape, SweepType sweep, bool antithetic, FixingGrid& grid,
                    Variables& variables, Flows& flows, Flows& flow_adjoints) {
    m_child->aeval(tape, sweep, antithetic, grid, variables, flows, flow_adjoints);
}

/// Nothing is handed on through a name: there is nothing to undo.
void RefAmountSetter::aeval(Tape&, SweepType sweep, bool antithetic, FixingGrid& grid,
                            Variables& variables, Flows&, Flows&) {
    if (sweep == SweepType::FORWARD)
        variables.write(m_rank, value_on_side(*m_amount, antithetic, grid, variables));
}

void CashFlowBinaryOperation::aeval(Tape& tape, SweepType sweep, bool antithetic, FixingGrid& grid,
                                    Variables& variables, Flows& flows, Flows& flow_adjoints) {
    auto const visit = [&](CashFlow* member) {
        member->aeval(tape, sweep, antithetic, grid, variables, flows, flow_adjoints);
    };
    if (sweep == SweepType::BACKWARD) {
        std::for_each(m_swept.rbegin(), m_swept.rend(), visit);
        return;
    }
    m_swept.clear();
    auto* node = this;
    for (; auto* next = node->c_get_next(); node = next) m_swept.push_back(&*node->m_left);
    m_swept.push_back(&*node->m_left);
    m_swept.push_back(&*node->m_right);
    std::ranges::for_each(m_swept, visit);
}

void If::aeval(Tape& tape, SweepType sweep, bool antithetic, FixingGrid& grid, Variables& variables,
               Flows& flows, Flows& flow_adjoints) {
    bool const is_forward = sweep == SweepType::FORWARD;
    if (m_with_spread && Pricing::PricerOptions::s_options.smoothing != SmoothingType::NONE) {
        if (is_forward)
            aeval_smoothed(tape, antithetic, grid, variables, flows);
        else
            aeval_smoothed_back(tape, antithetic, grid, variables, flow_adjoints);
        return;
    }
    bool truth{};
    if (is_forward)
        truth = truth_on_side(*m_event, antithetic, grid, variables);
    else
        std::ignore = tape.bpop(truth);
    choose(truth).aeval(tape, sweep, antithetic, grid, variables, flows, flow_adjoints);
    if (is_forward) tape.bpush(truth);
}

void If::aeval_smoothed(Tape& tape, bool antithetic, FixingGrid& grid, Variables& variables,
                        Flows& flows) {
    constexpr auto forward = SweepType::FORWARD;
    m_then_variables = variables;
    m_else_variables = variables;
    m_then->aeval(tape, forward, antithetic, grid, m_then_variables, m_then_flows, m_then_adjoints);
    m_else->aeval(tape, forward, antithetic, grid, m_else_variables, m_else_flows, m_else_adjoints);
    amix(tape, antithetic, grid, variables, flows);
}

void If::aeval_smoothed_back(Tape& tape, bool antithetic, FixingGrid& grid, Variables& variables,
                             Flows& flow_adjoints) {
    constexpr auto backward = SweepType::BACKWARD;
    amix_back(tape, antithetic, grid, variables, flow_adjoints);
    m_else->aeval(tape, backward, antithetic, grid, m_else_variables, m_else_flows,
                  m_else_adjoints);
    m_then->aeval(tape, backward, antithetic, grid, m_then_variables, m_then_flows,
                  m_then_adjoints);
}

void If::amix(Tape& tape, bool antithetic, FixingGrid& grid, Variables& variables, Flows& flows) {
    Weights weights;
    Weights no_adjoints;
    m_event->smooth_aeval(tape, SweepType::FORWARD, antithetic, c_weighing(grid, variables),
                          weights, no_adjoints);
    for (std::uint64_t i = 0; i < flows.c_get_size(); ++i)
        tape.dpush(m_then_flows.unsafe_get(i) - m_else_flows.unsafe_get(i));
    tape.dpush(weights.towards);
    tape.dpush(weights.opposite);
    mix(flows, weights);
}

void If::amix_back(Tape& tape, bool antithetic, FixingGrid& grid, Variables& variables,
                   Flows& flow_adjoints) {
    Weights weights;
    Weights adjoints;
    std::ignore = tape.dpop(weights.opposite);
    std::ignore = tape.dpop(weights.towards);
    bool const is_unknown = std::isnan(weights.towards + weights.opposite);
    for (std::uint64_t i = flow_adjoints.c_get_size(); i-- > 0;) {
        double gap{};
        std::ignore = tape.dpop(gap);
        double const adjoint = flow_adjoints.unsafe_get(i);
        bool const is_rising = gap >= 0.0;  // 0 counts as positive
        double weight = is_rising ? weights.towards : weights.opposite;
        if (is_unknown && gap == 0.0) weight = 0.0;  // as the flow: that of the second branch
        (is_rising ? adjoints.towards : adjoints.opposite) += gap * adjoint;
        m_then_adjoints.unsafe_get(i) = weight * adjoint;
        m_else_adjoints.unsafe_get(i) = (1.0 - weight) * adjoint;
    }
    m_event->smooth_aeval(tape, SweepType::BACKWARD, antithetic, c_weighing(grid, variables),
                          weights, adjoints);
}

}  // namespace ximCORE::Contract
