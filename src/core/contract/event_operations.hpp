// The nodes of the operators that give an event: one base for each number and family of operands,
// one template that lifts an operator (operators.hpp) to it. On a path the right operand comes
// first; the operator itself is inlined.
#pragma once

#include "core/contract/calculation.hpp"

namespace ximCORE::Contract {

class EventUnaryOperation : public Calculation<EventUnaryOperation, Event> {
 public:
    using Calculation::eval;
    virtual bool eval(bool x) const = 0;

    bool compute(bool& value, auto&& read) const {
        bool x{};
        if (!read(m_child, x)) return false;
        value = eval(x);
        return true;
    }
    /// 1 less the operand.
    [[nodiscard]] bool weigh(Weighing const& weighing, Weights& weights) override;
    void smooth_aeval(Toolbox::AAD::Tape& tape, Toolbox::AAD::SweepType sweep, bool antithetic,
                      Weighing const& weighing, Weights& weights, Weights& adjoints) override;
    Toolbox::IntGrid eval(Modeling::PDEHelper* helper) override;
    void weigh(GridWeighing const& weighing, GridWeights& weights) override;
    Emitter::Slot emit(Emitter& emitter) const override;
    Emitter::WeightSlots emit_weights(Emitter& emitter, Ramp const& ramp) const override;
    void c_to_string(std::string& text) const override;

    auto children() { return std::tie(m_child); }
    auto children() const { return std::tie(m_child); }

 protected:
    EventUnaryOperation(Operation operation, Child<Event> child)
        : m_child(std::move(child)), m_operation(operation) {}

    Child<Event> m_child;
    Operation m_operation;
};

/// With p and q the weights of the sides, "and" is p q. "Or" is p + q - p q, whose product takes
/// the weights of the opposite direction.
class EventBinaryOperation : public Calculation<EventBinaryOperation, Event> {
 public:
    using Calculation::eval;
    virtual bool eval(bool left, bool right) const = 0;

    bool compute(bool& value, auto&& read) const {
        bool left{};
        bool right{};
        if (!read(m_right, right) || !read(m_left, left)) return false;
        value = eval(left, right);
        return true;
    }
    [[nodiscard]] bool weigh(Weighing const& weighing, Weights& weights) override;
    void smooth_aeval(Toolbox::AAD::Tape& tape, Toolbox::AAD::SweepType sweep, bool antithetic,
                      Weighing const& weighing, Weights& weights, Weights& adjoints) override;
    Toolbox::IntGrid eval(Modeling::PDEHelper* helper) override;
    void weigh(GridWeighing const& weighing, GridWeights& weights) override;
    Emitter::Slot emit(Emitter& emitter) const override;
    Emitter::WeightSlots emit_weights(Emitter& emitter, Ramp const& ramp) const override;
    void c_to_string(std::string& text) const override;

    auto children() { return std::tie(m_left, m_right); }
    auto children() const { return std::tie(m_left, m_right); }

 protected:
    EventBinaryOperation(Operation operation, Child<Event> left, Child<Event> right)
        : m_left(std::move(left)), m_right(std::move(right)), m_operation(operation) {}

    Child<Event> m_left;
    Child<Event> m_right;
    Operation m_operation;

 private:
    /// The weights of the operator for those of the left and of the right side.
    Weights c_combine(Weights const& p, Weights const& q) const;
    /// The adjoints of one side for those of the result and the weights of the other side.
    Weights c_back(Weights const& adjoints, Weights const& other) const;
    void append_side(std::string& text, Event const& side) const;
};

/// A comparison of two amounts.
class EventAmountBinaryOperation : public Calculation<EventAmountBinaryOperation, Event> {
 public:
    using Calculation::eval;
    virtual bool eval(double left, double right) const = 0;
    /// The weight for two values, as `Event::smooth_eval`.
    virtual double c_smooth_eval(double left, double right, double lhs, double rhs,
                                 int direction) const = 0;
    /// Its backward form: adds to the adjoints of the two values.
    virtual void c_smooth_aeval(Toolbox::AAD::Tape& tape, double left, double right, double lhs,
                                double rhs, int direction, double adjoint,
                                op::Adjoints& adjoints) const = 0;

    bool compute(bool& value, auto&& read) const {
        double left{};
        double right{};
        if (!read(m_right, right) || !read(m_left, left)) return false;
        value = eval(left, right);
        return true;
    }
    [[nodiscard]] bool weigh(Weighing const& weighing, Weights& weights) override;
    void smooth_aeval(Toolbox::AAD::Tape& tape, Toolbox::AAD::SweepType sweep, bool antithetic,
                      Weighing const& weighing, Weights& weights, Weights& adjoints) override;
    Toolbox::IntGrid eval(Modeling::PDEHelper* helper) override;
    void weigh(GridWeighing const& weighing, GridWeights& weights) override;
    Emitter::Slot emit(Emitter& emitter) const override;
    Emitter::WeightSlots emit_weights(Emitter& emitter, Ramp const& ramp) const override;
    void c_to_string(std::string& text) const override;

    auto children() { return std::tie(m_left, m_right); }
    auto children() const { return std::tie(m_left, m_right); }

 protected:
    EventAmountBinaryOperation(Operation operation, Child<Amount> left, Child<Amount> right)
        : m_left(std::move(left)), m_right(std::move(right)), m_operation(operation) {}

    Child<Amount> m_left;
    Child<Amount> m_right;
    Operation m_operation;
};

/// A comparison of an amount with a constant.
template <Side side>
class EventAmountHybridOperation : public Calculation<EventAmountHybridOperation<side>, Event> {
 public:
    using Calculation<EventAmountHybridOperation<side>, Event>::eval;
    virtual bool eval(double x) const = 0;
    /// The weight for a value of the amount, as `Event::smooth_eval`.
    virtual double c_smooth_eval(double x, double lhs, double rhs, int direction) const = 0;
    /// Its backward form: adds to the adjoint of the amount.
    virtual void c_smooth_aeval(Toolbox::AAD::Tape& tape, double x, double lhs, double rhs,
                                int direction, double adjoint, double& x_adjoint) const = 0;

    bool compute(bool& value, auto&& read) const {
        double x{};
        if (!read(m_child, x)) return false;
        value = eval(x);
        return true;
    }
    [[nodiscard]] bool weigh(Weighing const& weighing, Weights& weights) override;
    void smooth_aeval(Toolbox::AAD::Tape& tape, Toolbox::AAD::SweepType sweep, bool antithetic,
                      Weighing const& weighing, Weights& weights, Weights& adjoints) override;
    Toolbox::IntGrid eval(Modeling::PDEHelper* helper) override;
    void weigh(GridWeighing const& weighing, GridWeights& weights) override;
    Emitter::Slot emit(Emitter& emitter) const override;
    Emitter::WeightSlots emit_weights(Emitter& emitter, Ramp const& ramp) const override;
    void c_to_string(std::string& text) const override;

    auto children() { return std::tie(m_child); }
    auto children() const { return std::tie(m_child); }

 protected:
    EventAmountHybridOperation(Operation operation, double constant, Child<Amount> child)
        : m_child(std::move(child)), m_constant(constant), m_operation(operation) {}

    Child<Amount> m_child;
    double m_constant;
    Operation m_operation;
};
using LeftEventAmountHybridOperation = EventAmountHybridOperation<Side::left>;
using RightEventAmountHybridOperation = EventAmountHybridOperation<Side::right>;

template <class Op>
class EventUnaryNode final : public EventUnaryOperation {
 public:
    explicit EventUnaryNode(Child<Event> child)
        : EventUnaryOperation(Operation(Op::type), std::move(child)) {}

    using EventUnaryOperation::eval;
    bool eval(bool x) const override { return Op::value(x); }
    bool eval(Modeling::FixingGrid& grid, Variables& variables) override {
        return Op::value(m_child->eval(grid, variables));
    }
    std::shared_ptr<Event> clone() const override { return copy_tree(*this); }
};

template <class Op>
class EventBinaryNode final : public EventBinaryOperation {
 public:
    EventBinaryNode(Child<Event> left, Child<Event> right)
        : EventBinaryOperation(Operation(Op::type), std::move(left), std::move(right)) {}

    using EventBinaryOperation::eval;
    bool eval(bool left, bool right) const override { return Op::value(left, right); }
    bool eval(Modeling::FixingGrid& grid, Variables& variables) override {
        bool const right = m_right->eval(grid, variables);
        bool const left = m_left->eval(grid, variables);
        return Op::value(left, right);
    }
    std::shared_ptr<Event> clone() const override { return copy_tree(*this); }
};

template <class Op>
class EventAmountBinaryNode final : public EventAmountBinaryOperation {
 public:
    EventAmountBinaryNode(Child<Amount> left, Child<Amount> right)
        : EventAmountBinaryOperation(Operation(Op::type), std::move(left), std::move(right)) {}

    using EventAmountBinaryOperation::eval;
    bool eval(double left, double right) const override { return Op::value(left, right); }
    bool eval(Modeling::FixingGrid& grid, Variables& variables) override {
        double const right = value_on_path(*m_right, grid, variables);
        double const left = value_on_path(*m_left, grid, variables);
        return Op::value(left, right);
    }
    double c_smooth_eval(double left, double right, double lhs, double rhs,
                         int direction) const override {
        if constexpr (Op::slope == 0)
            return Op::value(left, right) ? 1.0 : 0.0;
        else
            return op::ramp(left, right, Op::slope, lhs, rhs, direction);
    }
    void c_smooth_aeval(Toolbox::AAD::Tape& tape, double left, double right, double lhs, double rhs,
                        int direction, double adjoint, op::Adjoints& adjoints) const override {
        if constexpr (Op::slope != 0)
            op::ramp_back(tape, left, right, Op::slope, lhs, rhs, direction, adjoint, adjoints);
    }
    std::shared_ptr<Event> clone() const override { return copy_tree(*this); }
};

/// Seen from its amount, a constant on the left turns the comparison round.
template <class Op, Side side>
class EventAmountHybridNode final : public EventAmountHybridOperation<side> {
 public:
    EventAmountHybridNode(double constant, Child<Amount> child)
        : EventAmountHybridOperation<side>(Operation(Op::type), constant, std::move(child)) {}

    using EventAmountHybridOperation<side>::eval;
    bool eval(double x) const override {
        if constexpr (side == Side::left)
            return Op::value(this->m_constant, x);
        else
            return Op::value(x, this->m_constant);
    }
    bool eval(Modeling::FixingGrid& grid, Variables& variables) override {
        return EventAmountHybridNode::eval(value_on_path(*this->m_child, grid, variables));
    }
    double c_smooth_eval(double x, double lhs, double rhs, int direction) const override {
        constexpr signed char slope = side == Side::left ? -Op::slope : Op::slope;
        if constexpr (slope == 0)
            return EventAmountHybridNode::eval(x) ? 1.0 : 0.0;
        else
            return op::ramp(x, this->m_constant, slope, lhs, rhs, direction);
    }
    void c_smooth_aeval(Toolbox::AAD::Tape& tape, double x, double lhs, double rhs, int direction,
                        double adjoint, double& x_adjoint) const override {
        constexpr signed char slope = side == Side::left ? -Op::slope : Op::slope;
        op::Adjoints adjoints{};
        if constexpr (slope != 0)
            op::ramp_back(tape, x, this->m_constant, slope, lhs, rhs, direction, adjoint, adjoints);
        x_adjoint += adjoints.left;
    }
    std::shared_ptr<Event> clone() const override { return this->copy_tree(*this); }
};

}  // namespace ximCORE::Contract
