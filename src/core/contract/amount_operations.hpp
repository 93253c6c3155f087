// The nodes of the operators that give an amount: one base for each number of operands, one
// template that lifts an operator (operators.hpp) to it. On a path the right operand comes first;
// the operator itself is inlined.
#pragma once

#include "core/contract/calculation.hpp"

namespace ximCORE::Contract {

class AmountUnaryOperation : public Calculation<AmountUnaryOperation, Amount> {
 public:
    using Calculation::eval;
    virtual double eval(double x) const = 0;

    bool compute(double& value, auto&& read) {
        double x{};
        if (!read(m_child, x)) return false;
        value = eval(x);
        return true;
    }
    Toolbox::Grid eval(Modeling::PDEHelper* helper) override;
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

    bool compute(double& value, auto&& read) {
        double left{};
        double right{};
        if (!read(m_right, right) || !read(m_left, left)) return false;
        value = eval(left, right);
        return true;
    }
    Toolbox::Grid eval(Modeling::PDEHelper* helper) override;
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

    bool compute(double& value, auto&& read) {
        double x{};
        if (!read(m_child, x)) return false;
        value = eval(x);
        return true;
    }
    Toolbox::Grid eval(Modeling::PDEHelper* helper) override;
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
    std::shared_ptr<Amount> clone() const override { return this->copy_tree(*this); }
};

}  // namespace ximCORE::Contract
