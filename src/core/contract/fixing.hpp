// The level of an underlying on a date, in the underlying's currency or converted into the fixing's
// own.
#pragma once

#include "core/contract/amount.hpp"
#include "core/contract/leaves.hpp"
#include "core/data/equity_like.hpp"
#include "core/modeling/fixing_grid.hpp"
#include "core/toolbox/date_shift.hpp"

namespace ximCORE::Contract {

class Fixing final : public Amount {
 public:
    /// By names, which `get_dependencies` resolves. An empty currency leaves the underlying's.
    Fixing(Toolbox::Date const& date, std::string underlying, std::string currency,
           Toolbox::DateShift shift);
    /// Of a known underlying, in its currency.
    Fixing(Toolbox::Date const& date, std::shared_ptr<Data::Underlying> underlying);

    Toolbox::Date const& c_get_fixing_date() const { return m_date; }
    /// Null before `get_dependencies`.
    std::shared_ptr<Data::Underlying> const& c_get_underlying() const { return m_underlying; }
    std::string const& c_get_underlying_name() const { return m_underlying_name; }
    /// The rate into the fixing's currency; null without one.
    std::shared_ptr<Data::Underlying> const& c_get_conversion() const { return m_conversion; }
    /// Null unless a currency of its own was resolved.
    std::shared_ptr<Data::Currency> const& c_get_currency() const { return m_currency; }
    std::string const& c_get_currency_name() const { return m_currency_name; }
    Toolbox::DateShift const& c_get_shift() const { return m_shift; }
    /// Position among the fixings of the contract, -1 before `sort_fixings`.
    short c_get_rank() const { return m_rank; }
    void set_rank(short rank) const { m_rank = rank; }

    /// By date, then underlying, then currency: one without currency comes first. -1, 0 or 1.
    int c_cmp(Fixing const& other) const;

    /// The stored spot of the fixing date times that of the conversion. False, after an ERROR
    /// record, without one.
    [[nodiscard]] bool c_get_value(double& value) const;

    /// See `Component::get_dependencies`. A fixing that the contract's date has reached asks for
    /// its spots too.
    [[nodiscard]] bool resolve(Toolbox::Date const& date, Data::Currency const* pricing);
    /// Opens the cells that `eval` reads.
    void c_open(Modeling::FixingGrid& grid) const;

    double eval(Modeling::FixingGrid& grid, Variables&) override {
        double const level = m_equity_like ? grid.get_equity_like(m_date, *m_equity_like).value
                                           : eval_underlying(grid);
        return m_conversion ? level * m_conversion->eval(m_date, grid) : level;
    }
    [[nodiscard]] bool eval(double& value, Data::Level level) override;
    double eval_details(Modeling::FixingGrid& grid, Variables& variables,
                        FixingDetails& fixings) override;
    double eval_antithetic(Modeling::FixingGrid& grid, Variables& variables) override;
    void aeval(Toolbox::AAD::Tape& tape, Toolbox::AAD::SweepType sweep, bool antithetic,
               Modeling::FixingGrid& grid, Variables&, double& value, double& adjoint) override {
        if (m_equity_like == nullptr || m_conversion != nullptr) {
            aeval_converted(tape, sweep, antithetic, grid, value, adjoint);
            return;
        }
        auto& cell = grid.get_equity_like(m_date, *m_equity_like);
        if (sweep == Toolbox::AAD::SweepType::FORWARD)
            value = cell.get_value(antithetic);
        else
            cell.get_adjoint(antithetic) += adjoint;
    }
    Toolbox::Grid eval(Modeling::PDEHelper* helper) override;
    [[nodiscard]] bool c_compute_closed_form_price(Toolbox::Date const& today,
                                                   Data::Currency const& pricing,
                                                   Toolbox::Date const& payment,
                                                   Data::Currency const& payment_currency,
                                                   double& price) const override;
    double c_eval_carr_madan(double x) const override { return x; }
    [[nodiscard]] bool accumulate(Harvest& harvest) override;
    void move(Toolbox::Date const& date, NamedValues::Map const& known, Intraday const& intraday,
              FixingOverrides const& fixings, bool fix) override;
    Emitter::Slot emit(Emitter& emitter) const override;
    void c_to_string(std::string& text, bool bracket) const override;
    std::shared_ptr<Amount> clone() const override;

 private:
    [[nodiscard]] bool resolve_conversion(Data::Currency const* pricing);
    void find_equity_like();
    double eval_underlying(Modeling::FixingGrid& grid);
    /// Level times conversion, each by its own underlying.
    void aeval_converted(Toolbox::AAD::Tape& tape, Toolbox::AAD::SweepType sweep, bool antithetic,
                         Modeling::FixingGrid& grid, double& value, double& adjoint);
    [[nodiscard]] bool c_eval_known(double& value, Data::Level level) const;
    double const* c_find_override(FixingOverrides const& fixings) const;

    Toolbox::Date m_date;
    Data::EquityLikeUnderlying const* m_equity_like{
        nullptr};  ///< the underlying's impl, when it has a cell of its own
    std::shared_ptr<Data::Underlying> m_conversion;
    std::shared_ptr<Data::Underlying> m_underlying;
    mutable short m_rank{-1};
    std::shared_ptr<Data::Currency> m_currency;
    std::string m_underlying_name;
    std::string m_currency_name;
    Toolbox::DateShift m_shift;
};

/// The value of an amount on the current path; leaves are reached without a virtual call.
inline double value_on_path(Amount& amount, Modeling::FixingGrid& grid, Variables& variables) {
    if (amount.c_get_shape() == Amount::Shape::fixing)
        return static_cast<Fixing&>(amount).eval(grid, variables);
    if (amount.c_get_shape() == Amount::Shape::constant)
        return static_cast<DeterministicAmount&>(amount).c_get_value();
    return amount.eval(grid, variables);
}

}  // namespace ximCORE::Contract
