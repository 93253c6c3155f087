// Amounts and events of a path of which notes are taken: the plain values, and each fixing noted at
// its rank. The operators stand in calculation.hpp.

#include "core/contract/iff.hpp"
#include "core/contract/operations.hpp"
#include "core/contract/sorted.hpp"

namespace ximCORE::Contract {

using Modeling::FixingGrid;

double Amount::eval_details(FixingGrid& grid, Variables& variables, FixingDetails&) {
    return eval(grid, variables);
}

bool Event::eval_details(FixingGrid& grid, Variables& variables, FixingDetails&) {
    return eval(grid, variables);
}

double Fixing::eval_details(FixingGrid& grid, Variables& variables, FixingDetails& fixings) {
    double const value = eval(grid, variables);
    fixings.unsafe_get(static_cast<std::size_t>(static_cast<std::ptrdiff_t>(m_rank))) = {value,
                                                                                         true};
    return value;
}

double Iff::eval_details(FixingGrid& grid, Variables& variables, FixingDetails& fixings) {
    auto& chosen = m_event->eval_details(grid, variables, fixings) ? m_then : m_else;
    return chosen->eval_details(grid, variables, fixings);
}

double Sorted::eval_details(FixingGrid& grid, Variables& variables, FixingDetails& fixings) {
    for (std::size_t i = 0; i < m_amounts.size(); ++i)
        m_values[i] = m_amounts[i]->eval_details(grid, variables, fixings);
    return select();
}

}  // namespace ximCORE::Contract
