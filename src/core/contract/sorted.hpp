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
    /// Relied on: false as soon as an amount is known; with none known, the order of the values
    /// last stored.
    [[nodiscard]] bool eval(double& value, Data::Level level) override;
    Toolbox::Grid eval(Modeling::PDEHelper* helper) override;
    void reduce() override;
    void move(Toolbox::Date const& date, NamedValues::Map const& known, Intraday const& intraday,
              FixingOverrides const& fixings, bool fix) override;
    void c_to_string(std::string& text, bool bracket) const override;
    std::shared_ptr<Amount> clone() const override { return copy_tree(*this); }

    auto children() { return std::tie(m_amounts); }
    auto children() const { return std::tie(m_amounts); }

 private:
    double select();
    void reduce_amounts();

    int m_rank;
    std::vector<Child<Amount>> m_amounts;
    std::vector<double> m_values;  ///< the value last seen of each amount
    std::vector<double> m_order;   ///< working space of `select`
};

}  // namespace ximCORE::Contract
