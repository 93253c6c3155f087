// A number on a scenario.
#pragma once

#include "core/contract/component.hpp"
#include "core/contract/details.hpp"
#include "core/contract/emitter.hpp"

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
    /// As `eval` on the path, and notes the fixings read. Fixings are ranked. Per trial: no
    /// allocation. Here: nothing to note.
    virtual double eval_details(Modeling::FixingGrid& grid, Variables& variables,
                                FixingDetails& fixings);
    /// As `eval`, on the mirrored side of the adjoint simulation. Here: a value that no cell moves.
    virtual double eval_antithetic(Modeling::FixingGrid& grid, Variables& variables);
    /// Adjoint form of `eval` on one side of the grid. Forward: `value`, the same to the last bit.
    /// Backward: adds to the adjoints of the cells what `adjoint`, the derivative by the value,
    /// amounts to; the variables are not read. Per trial: no allocation once the tape has grown.
    /// Here: a value that no cell moves.
    /// Relied on: nothing is handed on through a name.
    virtual void aeval(Toolbox::AAD::Tape& tape, Toolbox::AAD::SweepType sweep, bool antithetic,
                       Modeling::FixingGrid& grid, Variables& variables, double& value,
                       double& adjoint);
    /// The value at each point of the space grid. An underlying that is not equity-like has none
    /// (an empty grid).
    virtual Toolbox::Grid eval(Modeling::PDEHelper* helper) = 0;
    /// Writes its steps, and answers the slot of its value. Here: it has none.
    virtual Emitter::Slot emit(Emitter& emitter) const;
    /// Its price at `today` when paid at `payment`, in the currency `pricing`. False, after an
    /// ERROR record, when it has no closed form or market data is missing. Here: by replication.
    [[nodiscard]] virtual bool c_compute_closed_form_price(Toolbox::Date const& today,
                                                           Data::Currency const& pricing,
                                                           Toolbox::Date const& payment,
                                                           Data::Currency const& payment_currency,
                                                           double& price) const;
    /// The price of its replication by options, in the currency of its one underlying. False, after
    /// an ERROR record, without exactly one fixing, for a fixing of an interest rate, and as
    /// `StaticReplication1D::compute_carr_madan_price`.
    [[nodiscard]] bool c_compute_carr_madan_price(Toolbox::Date const& today,
                                                  Toolbox::Date const& payment,
                                                  double& price) const;
    /// The payoff where all fixings are at level `x`. Here: 0.
    virtual double c_eval_carr_madan(double /*x*/) const { return 0.0; }
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
