// A number on a scenario.
#pragma once

#include "core/contract/component.hpp"

namespace ximCORE::Contract {

class DeterministicAmount;

class Amount : public Component, public Replaceable<Amount> {
 public:
    using Value = double;
    using Constant = DeterministicAmount;

    /// Leaves that a parent evaluates without a virtual call.
    enum class Shape : std::uint8_t { general, constant, fixing };
    Shape c_get_shape() const { return m_shape; }

    /// The value on the current path. Ranks of dates, underlyings and names are set. Per trial: no
    /// allocation.
    virtual double eval(Modeling::FixingGrid& grid, Variables& variables) = 0;
    /// The value from what is known now. False, with `value` as it was, when it is not; `level` is
    /// that of the records.
    [[nodiscard]] virtual bool eval(double& value, Data::Level level) = 0;
    /// The value at each point of the space grid. An underlying that is not equity-like has none
    /// (an empty grid).
    virtual Toolbox::Grid eval(Modeling::PDEHelper* helper) = 0;
    /// True for a constant node, with its value.
    [[nodiscard]] virtual bool c_is_deterministic(double& /*value*/) const { return false; }

    /// Appends the text. `bracket`: a sum stands in parentheses. Throws `std::runtime_error`
    /// "Unknown error" for a square root.
    virtual void c_to_string(std::string& text, bool bracket) const = 0;
    /// Appends the text in lines of at most `width` columns, where a blank behind a closing
    /// parenthesis allows it.
    void c_write(std::string& text, std::uint64_t width) const;

    /// A deep copy: ranks are kept, underlyings shared, shared nodes doubled, nothing is reduced.
    virtual std::shared_ptr<Amount> clone() const = 0;

    /// As `CashFlow::scan_all`, without pillars.
    [[nodiscard]] bool scan_all(ContractInformation& information, bool accumulate);

 protected:
    explicit Amount(Shape shape = Shape::general) : m_shape(shape) {}
    Amount(Amount const&) = default;

 private:
    Shape const m_shape;
};

}  // namespace ximCORE::Contract
