// The choice of one flow among several on a date, by the holder or the issuer.
#pragma once

#include "core/contract/composite.hpp"

namespace ximCORE::Contract {

/// A simulation gives it no value: an early exercise needs a method that rolls back in time.
class Either final : public Composite<Either, CashFlow> {
 public:
    /// `ownership` positive: the holder chooses.
    Either(signed char ownership, Toolbox::Date const& date,
           std::vector<Child<CashFlow>> alternatives);

    Toolbox::Date const& c_get_choice_date() const { return m_date; }
    [[nodiscard]] bool c_get_choice_ownership() const { return m_ownership > 0; }
    std::vector<Child<CashFlow>> const& c_get_alternatives() const { return m_alternatives; }
    /// Positions of the first and last node of each alternative, in the list of
    /// `accumulate_events`.
    std::vector<int> const& c_get_starts() const { return m_starts; }
    std::vector<int> const& c_get_ends() const { return m_ends; }

    void reduce() override;
    [[nodiscard]] bool accumulate(Harvest& harvest) override;
    void accumulate_events(std::vector<CashFlow const*>& list, std::uint64_t base) override;
    void accumulate_cashflows_internal(std::vector<std::shared_ptr<CashFlow>*>& out) override;
    Toolbox::Date c_get_maturity_date(Toolbox::Date const& fallback) const override;
    /// Relied on: adds nothing.
    void eval(Modeling::FixingGrid&, Variables&, Toolbox::Array1D<double>&) override {}
    void aeval(Toolbox::AAD::Tape&, Toolbox::AAD::SweepType, bool, Modeling::FixingGrid&,
               Variables&, Toolbox::Array1D<double>&, Toolbox::Array1D<double>&) override {}
    /// Whether all alternatives are known; `value` stays.
    [[nodiscard]] bool eval(double& value) override;
    /// Refuses.
    [[nodiscard]] bool c_compute_closed_form_price(Toolbox::Date const& today,
                                                   Data::Currency const& pricing,
                                                   double& price) const override;
    /// Walks the alternatives and is 1.
    double c_eval_carr_madan(double x) const override;
    void compute_PDE_price(Toolbox::Date const& date, Modeling::PDEHelper* helper,
                           Toolbox::Grid& values) override;
    void c_to_string(std::string& text, std::uint64_t& indent, std::uint64_t const& step,
                     std::uint64_t width) const override;
    void move(Toolbox::Date const& date, NamedValues& values, EventManager* manager,
              Intraday const& intraday, bool in_choice, FixingOverrides const& fixings) override;
    std::shared_ptr<CashFlow> clone() const override { return copy_tree(*this); }

    auto children() { return std::tie(m_alternatives); }
    auto children() const { return std::tie(m_alternatives); }

 private:
    void reduce_alternatives();

    Toolbox::Date m_date;
    signed char m_ownership;
    std::vector<Child<CashFlow>> m_alternatives;
    std::vector<int> m_starts;
    std::vector<int> m_ends;
};

}  // namespace ximCORE::Contract
