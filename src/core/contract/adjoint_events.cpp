// Adjoint forms of the smoothed events. An event that is not smoothed hands nothing on.

#include "core/contract/adjoint.hpp"
#include "core/contract/event_operations.hpp"

namespace ximCORE::Contract {

using Modeling::FixingGrid;
using Toolbox::AAD::SweepType;
using Toolbox::AAD::Tape;

bool Event::eval_antithetic(FixingGrid& grid, Variables& variables) {
    return eval(grid, variables);
}

void DeterministicEvent::smooth_aeval(Tape&, SweepType sweep, bool, Weighing const& weighing,
                                      Weights& weights, Weights&) {
    if (sweep == SweepType::FORWARD) std::ignore = weigh(weighing, weights);
}

void EventUnaryOperation::smooth_aeval(Tape& tape, SweepType sweep, bool antithetic,
                                       Weighing const& weighing, Weights& weights,
                                       Weights& adjoints) {
    Weights operand;
    Weights operand_adjoints{-adjoints.towards, -adjoints.opposite};
    m_child->smooth_aeval(tape, sweep, antithetic, weighing, operand, operand_adjoints);
    if (sweep == SweepType::FORWARD) weights = {1.0 - operand.towards, 1.0 - operand.opposite};
}

void EventBinaryOperation::smooth_aeval(Tape& tape, SweepType sweep, bool antithetic,
                                        Weighing const& weighing, Weights& weights,
                                        Weights& adjoints) {
    Weights p;
    Weights q;
    Weights p_adjoints;
    Weights q_adjoints;
    if (sweep == SweepType::FORWARD) {
        m_left->smooth_aeval(tape, sweep, antithetic, weighing, p, p_adjoints);
        m_right->smooth_aeval(tape, sweep, antithetic, weighing, q, q_adjoints);
        weights = c_combine(p, q);
        for (double const weight : {p.towards, p.opposite, q.towards, q.opposite})
            tape.dpush(weight);
    } else {
        for (double* const weight : {&q.opposite, &q.towards, &p.opposite, &p.towards})
            std::ignore = tape.dpop(*weight);
        p_adjoints = c_back(adjoints, q);
        q_adjoints = c_back(adjoints, p);
        m_right->smooth_aeval(tape, sweep, antithetic, weighing, q, q_adjoints);
        m_left->smooth_aeval(tape, sweep, antithetic, weighing, p, p_adjoints);
    }
}

Weights EventBinaryOperation::c_back(Weights const& a, Weights const& other) const {
    if (m_operation.c_get_type() == Operation::Type::logical_and)
        return {a.towards * other.towards, a.opposite * other.opposite};
    return {a.towards - a.opposite * other.towards, a.opposite - a.towards * other.opposite};
}

void EventAmountBinaryOperation::smooth_aeval(Tape& tape, SweepType sweep, bool antithetic,
                                              Weighing const& weighing, Weights& weights,
                                              Weights& adjoints) {
    auto const& [grid, variables, lhs, rhs, direction] = weighing;
    double left{};
    double right{};
    op::Adjoints sides;
    if (sweep == SweepType::FORWARD) {
        aeval_on_path(*m_left, tape, sweep, antithetic, *grid, *variables, left, sides.left);
        aeval_on_path(*m_right, tape, sweep, antithetic, *grid, *variables, right, sides.right);
        weights = {c_smooth_eval(left, right, lhs, rhs, direction),
                   c_smooth_eval(left, right, lhs, rhs, -direction)};
        tape.dpush(left);
        tape.dpush(right);
    } else {
        std::ignore = tape.dpop(right);
        std::ignore = tape.dpop(left);
        c_smooth_aeval(tape, left, right, lhs, rhs, direction, adjoints.towards, sides);
        c_smooth_aeval(tape, left, right, lhs, rhs, -direction, adjoints.opposite, sides);
        aeval_on_path(*m_right, tape, sweep, antithetic, *grid, *variables, right, sides.right);
        aeval_on_path(*m_left, tape, sweep, antithetic, *grid, *variables, left, sides.left);
    }
}

template <Side side>
void EventAmountHybridOperation<side>::smooth_aeval(Tape& tape, SweepType sweep, bool antithetic,
                                                    Weighing const& weighing, Weights& weights,
                                                    Weights& adjoints) {
    auto const& [grid, variables, lhs, rhs, direction] = weighing;
    double x{};
    double x_adjoint{};
    if (sweep == SweepType::FORWARD) {
        aeval_on_path(*m_child, tape, sweep, antithetic, *grid, *variables, x, x_adjoint);
        weights = {c_smooth_eval(x, lhs, rhs, direction), c_smooth_eval(x, lhs, rhs, -direction)};
        tape.dpush(x);
    } else {
        std::ignore = tape.dpop(x);
        c_smooth_aeval(tape, x, lhs, rhs, direction, adjoints.towards, x_adjoint);
        c_smooth_aeval(tape, x, lhs, rhs, -direction, adjoints.opposite, x_adjoint);
        aeval_on_path(*m_child, tape, sweep, antithetic, *grid, *variables, x, x_adjoint);
    }
}

template void EventAmountHybridOperation<Side::left>::smooth_aeval(Tape&, SweepType, bool,
                                                                   Weighing const&, Weights&,
                                                                   Weights&);
template void EventAmountHybridOperation<Side::right>::smooth_aeval(Tape&, SweepType, bool,
                                                                    Weighing const&, Weights&,
                                                                    Weights&);

}  // namespace ximCORE::Contract
