// Cash flows of a path of which notes are taken: the plain flows, each condition noted at its rank,
// and the last payment that the path meets.

#include <algorithm>

#include "core/contract/if.hpp"
#include "core/contract/payments.hpp"
#include "core/pricing/options.hpp"

namespace ximCORE::Contract {

using Flows = Toolbox::Array1D<double>;
using Modeling::FixingGrid;
using Pricing::SmoothingType;

void CashFlow::eval_details(FixingGrid& grid, Variables& variables, FixingDetails&, EventDetails&,
                            Flows& flows, short&) {
    eval(grid, variables, flows);
}

void PayReceive::eval_details(FixingGrid& grid, Variables& variables, FixingDetails& fixings,
                              EventDetails&, Flows& flows, short& kill_rank) {
    double const rate = m_conversion ? m_conversion->eval_details(grid, variables, fixings) : 1.0;
    add_flow(rate, m_amount->eval_details(grid, variables, fixings), grid, flows);
    kill_rank = std::max(kill_rank, m_date.c_get_payment_rank());
}

void BuySell::eval_details(FixingGrid& grid, Variables& variables, FixingDetails& fixings,
                           EventDetails& events, Flows& flows, short& kill_rank) {
    m_child->eval_details(grid, variables, fixings, events, flows, kill_rank);
}

void RefAmountSetter::eval_details(FixingGrid& grid, Variables& variables, FixingDetails& fixings,
                                   EventDetails&, Flows&, short&) {
    variables.write(m_rank, m_amount->eval_details(grid, variables, fixings));
}

void CashFlowBinaryOperation::eval_details(FixingGrid& grid, Variables& variables,
                                           FixingDetails& fixings, EventDetails& events,
                                           Flows& flows, short& kill_rank) {
    auto* node = this;
    for (; auto* next = node->c_get_next(); node = next)
        node->m_left->eval_details(grid, variables, fixings, events, flows, kill_rank);
    node->m_left->eval_details(grid, variables, fixings, events, flows, kill_rank);
    node->m_right->eval_details(grid, variables, fixings, events, flows, kill_rank);
}

void If::eval_details(FixingGrid& grid, Variables& variables, FixingDetails& fixings,
                      EventDetails& events, Flows& flows, short& kill_rank) {
    bool const truth = m_event->eval_details(grid, variables, fixings);
    auto const rank = static_cast<std::size_t>(static_cast<std::ptrdiff_t>(m_event->c_get_rank()));
    events.unsafe_get(rank) = {static_cast<std::uint8_t>(truth), true};
    if (!m_with_spread || Pricing::PricerOptions::s_options.smoothing == SmoothingType::NONE) {
        choose(truth).eval_details(grid, variables, fixings, events, flows, kill_rank);
        return;
    }
    m_then_variables = variables;
    m_else_variables = variables;
    // Relied on: the branch that a smoothed condition does not choose pays, but leaves no notes
    if (truth) {
        m_then->eval_details(grid, m_then_variables, fixings, events, m_then_flows, kill_rank);
        m_else->eval(grid, m_else_variables, m_else_flows);
    } else {
        m_then->eval(grid, m_then_variables, m_then_flows);
        m_else->eval_details(grid, m_else_variables, fixings, events, m_else_flows, kill_rank);
    }
    mix_branches(grid, variables, flows);
}

}  // namespace ximCORE::Contract
