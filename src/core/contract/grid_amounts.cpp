// Amounts on the space grid of a finite difference pricing: the operators of operators.hpp, point
// by point. Apart from the nodes' own files, so that only these ones need the arrays.

#include <Eigen/Core>
#include <algorithm>
#include <vector>

#include "core/contract/iff.hpp"
#include "core/contract/operations.hpp"
#include "core/contract/sorted.hpp"
#include "core/modeling/pde_helper.hpp"

namespace ximCORE::Contract {

namespace {

using Modeling::PDEHelper;
using Toolbox::Grid;
using Toolbox::IntGrid;

/// value(i) at each point of a grid of that size.
Grid make_grid(Eigen::Index size, auto&& value) {
    return Grid::NullaryExpr(size, value);
}

}  // namespace

// Leaves

Grid DeterministicAmount::eval(PDEHelper* helper) {
    return helper->c_make_grid_of_double(m_value);
}

Grid Ref::eval(PDEHelper* helper) {
    return helper->c_make_grid_of_double(m_value);
}

Grid RefAmount::eval(PDEHelper* helper) {
    return helper->c_make_grid_of_double(0.0);
}

Grid Fixing::eval(PDEHelper* helper) {
    Grid const levels = helper->c_eval(m_date, m_underlying.get());
    return m_conversion ? Grid(levels * helper->c_eval(m_date, m_conversion.get())) : levels;
}

// Amounts

Grid AmountUnaryOperation::eval(PDEHelper* helper) {
    Grid const x = m_child->eval(helper);
    return make_grid(x.size(), [&](Eigen::Index i) { return eval(x[i]); });
}

Grid AmountBinaryOperation::eval(PDEHelper* helper) {
    Grid const right = m_right->eval(helper);
    Grid const left = m_left->eval(helper);
    return make_grid(left.size(), [&](Eigen::Index i) { return eval(left[i], right[i]); });
}

template <Side side>
Grid AmountHybridOperation<side>::eval(PDEHelper* helper) {
    Grid const x = m_child->eval(helper);
    return make_grid(x.size(), [&](Eigen::Index i) { return eval(x[i]); });
}
template Grid AmountHybridOperation<Side::left>::eval(PDEHelper*);
template Grid AmountHybridOperation<Side::right>::eval(PDEHelper*);

Grid Iff::eval(PDEHelper* helper) {
    IntGrid const event = m_event->eval(helper);
    Grid const then = m_then->eval(helper);
    Grid const otherwise = m_else->eval(helper);
    return make_grid(event.size(),
                     [&](Eigen::Index i) { return event[i] != 0 ? then[i] : otherwise[i]; });
}

Grid Sorted::eval(PDEHelper* helper) {
    std::vector<Grid> amounts;
    for (auto const& amount : m_amounts) amounts.push_back(amount->eval(helper));
    return make_grid(amounts.front().size(), [&](Eigen::Index i) {
        std::ranges::transform(amounts, m_values.begin(),
                               [i](Grid const& amount) { return amount[i]; });
        return select();
    });
}

}  // namespace ximCORE::Contract
