// The nodes of the operators that give an amount: one base for each number of operands, one
// template that lifts an operator (operators.hpp) to it. On a path the right operand comes first;
// the operator itself is inlined.
#pragma once

#include "core/contract/adjoint.hpp"
#include "core/contract/calculation.hpp"

namespace ximCORE::Contract {

class AmountUnaryOperation : public Calculation<AmountUnaryOperation, Amount> {
 public:
    using Calculation::eval;
    virtual double eval(double x) const = 0;

    bool compute(double& value, auto&& read) const {
        double x{};
        if (!read(m_child, x)) return false;
        value = eval(x);
        return true;
    }
    Toolbox::Grid eval(Modeling::PDEHelper* helper) override;
    [[nodiscard]] bool c_compute_closed_form_price(Toolbox::Date const& today,
                                                   Data::Currency const& pricing,
                                                   Toolbox::Date const& payment,
                                                   Data::Currency const& payment_currency,
                                                   double& price) const override;
    Emitter::Slot emit(Emitter& emitter) const override;
    void c_to_string(std::string& text, bool bracket) const override;

    auto children() { return std::tie(m_child); }
    auto children() const { return std::tie(m_child); }

 protected:
    AmountUnaryOperation(Operation operation, Child<Amount> child)
        : m_child(std::move(child)), m_operation(operation) {}

    Child<Amount> m_child;
    Operation m_operation;
};

class AmountBinaryOperation : public Calculation<AmountBinaryOperation, Amount> {
 public:
    using Calculation::eval;
    virtual double eval(double left, double right) const = 0;

    bool compute(double& value, auto&& read) const {
        double left{};
        double right{};
        if (!read(m_right, right) || !read(m_left, left)) return false;
        value = eval(left, right);
        return true;
    }
    Toolbox::Grid eval(Modeling::PDEHelper* helper) override;
    [[nodiscard]] bool c_compute_closed_form_price(Toolbox::Date const& today,
                                                   Data::Currency const& pricing,
                                                   Toolbox::Date const& payment,
                                                   Data::Currency const& payment_currency,
                                                   double& price) const override;
    Emitter::Slot emit(Emitter& emitter) const override;
    void c_to_string(std::string& text, bool bracket) const override;

    auto children() { return std::tie(m_left, m_right); }
    auto children() const { return std::tie(m_left, m_right); }

 protected:
    AmountBinaryOperation(Operation operation, Child<Amount> left, Child<Amount> right)
        : m_left(std::move(left)), m_right(std::move(right)), m_operation(operation) {}

    Child<Amount> m_left;
    Child<Amount> m_right;
    Operation m_operation;
};

/// One operand and a constant.
template <Side side>
class AmountHybridOperation : public Calculation<AmountHybridOperation<side>, Amount> {
 public:
    using Calculation<AmountHybridOperation<side>, Amount>::eval;
    virtual double eval(double x) const = 0;

    bool compute(double& value, auto&& read) const {
        double x{};
        if (!read(m_child, x)) return false;
        value = eval(x);
        return true;
    }
    Toolbox::Grid eval(Modeling::PDEHelper* helper) override;
    [[nodiscard]] bool c_compute_closed_form_price(Toolbox::Date const& today,
                                                   Data::Currency const& pricing,
                                                   Toolbox::Date const& payment,
                                                   Data::Currency const& payment_currency,
                                                   double& price) const override;
    Emitter::Slot emit(Emitter& emitter) const override;
    void c_to_string(std::string& text, bool bracket) const override;

    auto children() { return std::tie(m_child); }
    auto children() const { return std::tie(m_child); }

 protected:
    AmountHybridOperation(Operation operation, double constant, Child<Amount> child)
        : m_child(std::move(child)), m_constant(constant), m_operation(operation) {}

    Child<Amount> m_child;
    double m_constant;
    Operation m_operation;
};
using LeftAmountHybridOperation = AmountHybridOperation<Side::left>;
using RightAmountHybridOperation = AmountHybridOperation<Side::right>;

template <class Op>
class AmountUnaryNode final : public AmountUnaryOperation {
 public:
    explicit AmountUnaryNode(Child<Amount> child)
        : AmountUnaryOperation(Operation(Op::type), std::move(child)) {}

    using AmountUnaryOperation::eval;
    double eval(double x) const override { return Op::value(x); }
    double eval(Modeling::FixingGrid& grid, Variables& variables) override {
        return Op::value(value_on_path(*m_child, grid, variables));
    }
    void aeval(Toolbox::AAD::Tape& tape, Toolbox::AAD::SweepType sweep, bool antithetic,
               Modeling::FixingGrid& grid, Variables& variables, double& value,
               double& adjoint) override {
        double x{};
        double x_adjoint{};
        auto const operand = [&] {
            aeval_on_path(*m_child, tape, sweep, antithetic, grid, variables, x, x_adjoint);
        };
        if (sweep == Toolbox::AAD::SweepType::FORWARD) {
            operand();
            value = Op::value(x);
            if constexpr (!op::Linear<Op>) tape.dpush(x);
        } else {
            if constexpr (!op::Linear<Op>) std::ignore = tape.dpop(x);
            x_adjoint = op::back<Op>(adjoint, x);
            operand();
        }
    }
    std::shared_ptr<Amount> clone() const override { return copy_tree(*this); }
};

template <class Op>
class AmountBinaryNode final : public AmountBinaryOperation {
 public:
    AmountBinaryNode(Child<Amount> left, Child<Amount> right)
        : AmountBinaryOperation(Operation(Op::type), std::move(left), std::move(right)) {}

    using AmountBinaryOperation::eval;
    double eval(double left, double right) const override { return Op::value(left, right); }
    double eval(Modeling::FixingGrid& grid, Variables& variables) override {
        double const right = value_on_path(*m_right, grid, variables);
        double const left = value_on_path(*m_left, grid, variables);
        return Op::value(left, right);
    }
    void aeval(Toolbox::AAD::Tape& tape, Toolbox::AAD::SweepType sweep, bool antithetic,
               Modeling::FixingGrid& grid, Variables& variables, double& value,
               double& adjoint) override {
        double x{};
        double y{};
        op::Adjoints adjoints{};
        auto const left = [&] {
            aeval_on_path(*m_left, tape, sweep, antithetic, grid, variables, x, adjoints.left);
        };
        auto const right = [&] {
            aeval_on_path(*m_right, tape, sweep, antithetic, grid, variables, y, adjoints.right);
        };
        if (sweep == Toolbox::AAD::SweepType::FORWARD) {
            left();
            right();
            value = Op::value(x, y);
            if constexpr (!op::Linear<Op>) {
                tape.dpush(x);
                tape.dpush(y);
            }
        } else {
            if constexpr (!op::Linear<Op>) {
                std::ignore = tape.dpop(y);
                std::ignore = tape.dpop(x);
            }
            adjoints = op::back<Op>(adjoint, x, y);
            right();
            left();
        }
    }
    std::shared_ptr<Amount> clone() const override { return copy_tree(*this); }
};

/// op(constant, x) for `Side::left`, op(x, constant) for `Side::right`.
template <class Op, Side side>
class AmountHybridNode final : public AmountHybridOperation<side> {
 public:
    AmountHybridNode(double constant, Child<Amount> child)
        : AmountHybridOperation<side>(Operation(Op::type), constant, std::move(child)) {}

    using AmountHybridOperation<side>::eval;
    double eval(double x) const override {
        if constexpr (side == Side::left)
            return Op::value(this->m_constant, x);
        else
            return Op::value(x, this->m_constant);
    }
    double eval(Modeling::FixingGrid& grid, Variables& variables) override {
        return AmountHybridNode::eval(value_on_path(*this->m_child, grid, variables));
    }
    void aeval(Toolbox::AAD::Tape& tape, Toolbox::AAD::SweepType sweep, bool antithetic,
               Modeling::FixingGrid& grid, Variables& variables, double& value,
               double& adjoint) override {
        double x{};
        double x_adjoint{};
        auto const operand = [&] {
            aeval_on_path(*this->m_child, tape, sweep, antithetic, grid, variables, x, x_adjoint);
        };
        if (sweep == Toolbox::AAD::SweepType::FORWARD) {
            operand();
            value = AmountHybridNode::eval(x);
            if constexpr (!op::Linear<Op>) tape.dpush(x);
        } else {
            if constexpr (!op::Linear<Op>) std::ignore = tape.dpop(x);
            x_adjoint = c_back(adjoint, x);
            operand();
        }
    }
    std::shared_ptr<Amount> clone() const override { return this->copy_tree(*this); }

 private:
    double c_back(double adjoint, double x) const {
        if constexpr (side == Side::left)
            return op::back<Op>(adjoint, this->m_constant, x).right;
        else
            return op::back<Op>(adjoint, x, this->m_constant).left;
    }
};

}  // namespace ximCORE::Contract
