// One of several amounts by its place in their order.
#pragma once

#include "core/contract/composite.hpp"

namespace ximCORE::Contract {

/// Rank 0 is the smallest; NaN counts as the largest. A rank outside the amounts fails `populate`.
class Sorted final : public Composite<Sorted, Amount> {
 public:
    Sorted(int rank, std::vector<Child<Amount>> amounts);

    [[nodiscard]] bool populate(NodeLists const& lists) override;
    double eval(Modeling::FixingGrid& grid, Variables& variables) override;
    double eval_details(Modeling::FixingGrid& grid, Variables& variables,
                        FixingDetails& fixings) override;
    double eval_antithetic(Modeling::FixingGrid& grid, Variables& variables) override;
    /// Backward to the amount whose value stands at the rank; of equal ones, to the first.
    void aeval(Toolbox::AAD::Tape& tape, Toolbox::AAD::SweepType sweep, bool antithetic,
               Modeling::FixingGrid& grid, Variables& variables, double& value,
               double& adjoint) override;
    /// Relied on: false as soon as an amount is known; with none known, the order of the values
    /// last stored.
    [[nodiscard]] bool eval(double& value, Data::Level level) override;
    Toolbox::Grid eval(Modeling::PDEHelper* helper) override;
    /// Refuses.
    [[nodiscard]] bool c_compute_closed_form_price(Toolbox::Date const& today,
                                                   Data::Currency const& pricing,
                                                   Toolbox::Date const& payment,
                                                   Data::Currency const& payment_currency,
                                                   double& price) const override;
    void reduce() override;
    void move(Toolbox::Date const& date, NamedValues::Map const& known, Intraday const& intraday,
              FixingOverrides const& fixings, bool fix) override;
    Emitter::Slot emit(Emitter& emitter) const override;
    void c_to_string(std::string& text, bool bracket) const override;
    std::shared_ptr<Amount> clone() const override { return copy_tree(*this); }

    auto children() { return std::tie(m_amounts); }
    auto children() const { return std::tie(m_amounts); }

 private:
    double select();
    /// The amount whose value is `value`, the first of several.
    std::size_t c_find(double value) const;
    void reduce_amounts();

    int m_rank;
    std::vector<Child<Amount>> m_amounts;
    std::vector<double> m_values;  ///< the value last seen of each amount
    std::vector<double> m_order;   ///< working space of `select`
};

}  // namespace ximCORE::Contract
