// Events on the space grid of a finite difference pricing: plain, and as the weights that smooth a
// condition.

#include <Eigen/Core>
#include <stdexcept>

#include "core/contract/grid_weights.hpp"
#include "core/contract/operations.hpp"
#include "core/modeling/pde_helper.hpp"

namespace ximCORE::Contract {

namespace {

using Modeling::PDEHelper;
using Toolbox::Grid;
using Toolbox::IntGrid;

/// 1 where value(i) is true, at each point of a grid of that size.
IntGrid make_events(Eigen::Index size, auto&& value) {
    return IntGrid::NullaryExpr(size, [&](Eigen::Index i) { return value(i) ? 1 : 0; });
}

/// Both weights from value(i, direction).
GridWeights make_weights(IntGrid const& direction, auto&& value) {
    return {
        Grid::NullaryExpr(direction.size(), [&](Eigen::Index i) { return value(i, direction[i]); }),
        Grid::NullaryExpr(direction.size(),
                          [&](Eigen::Index i) { return value(i, -direction[i]); })};
}

}  // namespace

Grid Event::smooth_eval(PDEHelper* helper, Grid const& lhs, Grid const& rhs,
                        IntGrid const& direction) {
    GridWeights weights;
    weigh({*helper, lhs, rhs, direction}, weights);
    return weights.towards;
}

// DeterministicEvent

IntGrid DeterministicEvent::eval(PDEHelper* helper) {
    return helper->c_make_grid_of_int(m_value ? 1 : 0);
}

void DeterministicEvent::weigh(GridWeighing const& weighing, GridWeights& weights) {
    weights.towards = weights.opposite = weighing.helper.c_make_grid_of_double(m_value ? 1.0 : 0.0);
}

// EventUnaryOperation

IntGrid EventUnaryOperation::eval(PDEHelper* helper) {
    IntGrid const x = m_child->eval(helper);
    return make_events(x.size(), [&](Eigen::Index i) { return eval(x[i] != 0); });
}

void EventUnaryOperation::weigh(GridWeighing const& weighing, GridWeights& weights) {
    m_child->weigh(weighing, weights);
    weights.towards = 1.0 - weights.towards;
    weights.opposite = 1.0 - weights.opposite;
}

// EventBinaryOperation

IntGrid EventBinaryOperation::eval(PDEHelper* helper) {
    IntGrid const right = m_right->eval(helper);
    IntGrid const left = m_left->eval(helper);
    return make_events(left.size(),
                       [&](Eigen::Index i) { return eval(left[i] != 0, right[i] != 0); });
}

void EventBinaryOperation::weigh(GridWeighing const& weighing, GridWeights& weights) {
    GridWeights p;
    GridWeights q;
    m_right->weigh(weighing, q);
    m_left->weigh(weighing, p);
    switch (m_operation.c_get_type()) {
        case Operation::Type::logical_and:
            weights = {p.towards * q.towards, p.opposite * q.opposite};
            return;
        case Operation::Type::logical_or:
            weights = {p.towards + q.towards - p.opposite * q.opposite,
                       p.opposite + q.opposite - p.towards * q.towards};
            return;
        default:
            throw std::runtime_error("Unknown error");
    }
}

// EventAmountBinaryOperation

IntGrid EventAmountBinaryOperation::eval(PDEHelper* helper) {
    Grid const right = m_right->eval(helper);
    Grid const left = m_left->eval(helper);
    return make_events(left.size(), [&](Eigen::Index i) { return eval(left[i], right[i]); });
}

void EventAmountBinaryOperation::weigh(GridWeighing const& weighing, GridWeights& weights) {
    Grid const right = m_right->eval(&weighing.helper);
    Grid const left = m_left->eval(&weighing.helper);
    weights = make_weights(weighing.direction, [&](Eigen::Index i, int direction) {
        return c_smooth_eval(left[i], right[i], weighing.lhs[i], weighing.rhs[i], direction);
    });
}

// EventAmountHybridOperation

template <Side side>
IntGrid EventAmountHybridOperation<side>::eval(PDEHelper* helper) {
    Grid const x = m_child->eval(helper);
    return make_events(x.size(), [&](Eigen::Index i) { return eval(x[i]); });
}

template <Side side>
void EventAmountHybridOperation<side>::weigh(GridWeighing const& weighing, GridWeights& weights) {
    Grid const x = m_child->eval(&weighing.helper);
    weights = make_weights(weighing.direction, [&](Eigen::Index i, int direction) {
        return c_smooth_eval(x[i], weighing.lhs[i], weighing.rhs[i], direction);
    });
}

template IntGrid EventAmountHybridOperation<Side::left>::eval(PDEHelper*);
template IntGrid EventAmountHybridOperation<Side::right>::eval(PDEHelper*);
template void EventAmountHybridOperation<Side::left>::weigh(GridWeighing const&, GridWeights&);
template void EventAmountHybridOperation<Side::right>::weigh(GridWeighing const&, GridWeights&);

}  // namespace ximCORE::Contract
