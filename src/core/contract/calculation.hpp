// What the nodes of all operators share.
#pragma once

#include "core/contract/composite.hpp"
#include "core/contract/fixing.hpp"
#include "core/contract/operators.hpp"

namespace ximCORE::Contract {

/// What all operators share: they are known, and become constants, when all their operands are.
/// `Self` offers `bool compute(Value&, read)`: the operator on its operands, if `read(child,
/// value)` answers true for each.
template <class Self, class Family>
class Calculation : public Composite<Self, Family> {
 public:
    using Value = typename Family::Value;
    using Family::eval;

    [[nodiscard]] bool eval(Value& value, Data::Level level) override {
        return self().compute(value,
                              [level](auto& child, auto& out) { return child->eval(out, level); });
    }
    /// The operands are read in the order of `eval` on the path.
    Value eval_details(Modeling::FixingGrid& grid, Variables& variables,
                       FixingDetails& fixings) override {
        Value value{};
        std::ignore = self().compute(value, [&](auto& child, auto& out) {
            out = child->eval_details(grid, variables, fixings);
            return true;
        });
        return value;
    }
    Value eval_antithetic(Modeling::FixingGrid& grid, Variables& variables) override {
        Value value{};
        std::ignore = self().compute(value, [&](auto& child, auto& out) {
            out = child->eval_antithetic(grid, variables);
            return true;
        });
        return value;
    }
    double c_eval_carr_madan(double x) const override {
        Value value{};
        std::ignore = c_self().compute(value, [x](auto const& child, auto& out) {
            out = static_cast<std::remove_reference_t<decltype(out)>>(child->c_eval_carr_madan(x));
            return true;
        });
        return static_cast<double>(value);
    }
    void reduce() override {
        this->each([](auto& child) {
            child->reduce();
            child.adopt();
        });
        become_constant();
    }
    void move(Toolbox::Date const& date, NamedValues::Map const& known, Intraday const& intraday,
              FixingOverrides const& fixings, bool fix) override {
        this->each([&](auto& child) {
            child->move(date, known, intraday, fixings, fix);
            child.adopt();
        });
        become_constant();
    }

 private:
    Self& self() { return static_cast<Self&>(*this); }
    Self const& c_self() const { return static_cast<Self const&>(*this); }

    void become_constant() {
        Value value{};
        if (self().compute(value,
                           [](auto& child, auto& out) { return child->c_is_deterministic(out); }))
            this->replace_by(std::make_shared<typename Family::Constant>(value));
    }
};

/// Which side of the operator the constant of a hybrid stands on.
enum class Side : bool { left, right };

}  // namespace ximCORE::Contract
