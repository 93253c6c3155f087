// Amounts below a node on one side of the adjoint simulation. Its bodies stand in adjoint_*.cpp,
// those of the operators beside their `eval`.
#pragma once

#include "core/contract/fixing.hpp"

namespace ximCORE::Contract {

/// The value on one side of the grid, where nothing is handed back.
inline double value_on_side(Amount& amount, bool antithetic, Modeling::FixingGrid& grid,
                            Variables& variables) {
    return antithetic ? amount.eval_antithetic(grid, variables)
                      : value_on_path(amount, grid, variables);
}

inline bool truth_on_side(Event& event, bool antithetic, Modeling::FixingGrid& grid,
                          Variables& variables) {
    return antithetic ? event.eval_antithetic(grid, variables) : event.eval(grid, variables);
}

/// `Amount::aeval`; leaves are reached without a virtual call.
inline void aeval_on_path(Amount& amount, Toolbox::AAD::Tape& tape, Toolbox::AAD::SweepType sweep,
                          bool antithetic, Modeling::FixingGrid& grid, Variables& variables,
                          double& value, double& adjoint) {
    if (amount.c_get_shape() == Amount::Shape::fixing)
        static_cast<Fixing&>(amount).aeval(tape, sweep, antithetic, grid, variables, value,
                                           adjoint);
    else if (amount.c_get_shape() == Amount::Shape::constant)
        value = static_cast<DeterministicAmount&>(amount).c_get_value();
    else
        amount.aeval(tape, sweep, antithetic, grid, variables, value, adjoint);
}

}  // namespace ximCORE::Contract
