// A flow that depends on an event, and the smoothing of its jump.
#pragma once

#include "core/contract/composite.hpp"
#include "core/contract/variables.hpp"

namespace ximCORE::Contract {

/// Pays one branch or the other. With spreads and a smoothing type other than NONE, each payment
/// slot mixes both branches, e + p (t - e), where p is the smoothed event (`Event::smooth_eval`)
/// with the direction sgn(t - e) (type - 2): LOWER puts the ramp where the flow is the smaller for
/// it, UPPER where it is the larger, SYMETRIC on both sides of the threshold.
class If final : public Composite<If, CashFlow> {
 public:
    /// Spreads not below 0, in the unit of the amounts that the event compares.
    If(Child<Event> event, Child<CashFlow> then, Child<CashFlow> otherwise, double spread_lhs,
       double spread_rhs);

    Event& c_get_event() const { return *m_event; }
    CashFlow& c_get_then() const { return *m_then; }
    CashFlow& c_get_else() const { return *m_else; }
    /// Either spread is not 0 (a NaN counts as different).
    [[nodiscard]] bool c_get_with_spread() const { return m_with_spread; }
    double c_get_spread_lhs() const { return m_spread_lhs; }
    double c_get_spread_rhs() const { return m_spread_rhs; }
    /// Positions of the first and last node of each branch, in the list of `accumulate_events`.
    int c_get_start_lhs() const { return m_start_lhs; }
    int c_get_end_lhs() const { return m_end_lhs; }
    int c_get_start_rhs() const { return m_start_rhs; }
    int c_get_end_rhs() const { return m_end_rhs; }

    /// One working slot for each payment date and branch.
    void allocate_flows(std::uint64_t nb_payments);
    /// Working copies of the named values, one for each branch.
    void allocate_variables(Variables const& layout);

    void reduce() override;
    [[nodiscard]] bool accumulate(Harvest& harvest) override;
    void accumulate_events(std::vector<CashFlow const*>& list, std::uint64_t base) override;
    void accumulate_cashflows_internal(std::vector<std::shared_ptr<CashFlow>*>& out) override;
    Toolbox::Date c_get_maturity_date(Toolbox::Date const& fallback) const override;
    /// Relied on: what a smoothed branch sets under a name is not seen outside the branch.
    void eval(Modeling::FixingGrid& grid, Variables& variables,
              Toolbox::Array1D<double>& flows) override;
    void eval_details(Modeling::FixingGrid& grid, Variables& variables, FixingDetails& fixings,
                      EventDetails& events, Toolbox::Array1D<double>& flows,
                      short& kill_rank) override;
    void aeval(Toolbox::AAD::Tape& tape, Toolbox::AAD::SweepType sweep, bool antithetic,
               Modeling::FixingGrid& grid, Variables& variables, Toolbox::Array1D<double>& flows,
               Toolbox::Array1D<double>& flow_adjoints) override;
    /// Here the widths of the smoothing are scaled by the size of the gap between the branches.
    [[nodiscard]] bool eval(double& value) override;
    /// Refuses.
    [[nodiscard]] bool c_compute_closed_form_price(Toolbox::Date const& today,
                                                   Data::Currency const& pricing,
                                                   double& price) const override;
    double c_eval_carr_madan(double x) const override;
    void compute_PDE_price(Toolbox::Date const& date, Modeling::PDEHelper* helper,
                           Toolbox::Grid& values) override;
    void emit(Emitter& emitter) const override;
    void c_to_string(std::string& text, std::uint64_t& indent, std::uint64_t const& step,
                     std::uint64_t width) const override;
    void move(Toolbox::Date const& date, NamedValues& values, EventManager* manager,
              Intraday const& intraday, bool in_choice, FixingOverrides const& fixings) override;
    std::shared_ptr<CashFlow> clone() const override { return copy_tree(*this); }

    auto children() { return std::tie(m_event, m_then, m_else); }
    auto children() const { return std::tie(m_event, m_then, m_else); }

 private:
    CashFlow& choose(bool truth) const { return truth ? *m_then : *m_else; }
    void reduce_branches();
    void eval_smoothed(Modeling::FixingGrid& grid, Variables& variables,
                       Toolbox::Array1D<double>& flows);
    /// Adds the mixture of both branches, which stand in the working slots.
    void mix_branches(Modeling::FixingGrid& grid, Variables& variables,
                      Toolbox::Array1D<double>& flows);
    void mix(Toolbox::Array1D<double>& flows, Weights const& weights);
    [[nodiscard]] bool eval_smoothed(double& value);
    void aeval_smoothed(Toolbox::AAD::Tape& tape, bool antithetic, Modeling::FixingGrid& grid,
                        Variables& variables, Toolbox::Array1D<double>& flows);
    void aeval_smoothed_back(Toolbox::AAD::Tape& tape, bool antithetic, Modeling::FixingGrid& grid,
                             Variables& variables, Toolbox::Array1D<double>& flow_adjoints);
    /// Adjoint form of `mix_branches`; backward it leaves the adjoints of the branches in the
    /// working slots.
    void amix(Toolbox::AAD::Tape& tape, bool antithetic, Modeling::FixingGrid& grid,
              Variables& variables, Toolbox::Array1D<double>& flows);
    void amix_back(Toolbox::AAD::Tape& tape, bool antithetic, Modeling::FixingGrid& grid,
                   Variables& variables, Toolbox::Array1D<double>& flow_adjoints);
    Weighing c_weighing(Modeling::FixingGrid& grid, Variables& variables) const;
    /// From the values of the second branch on the space grid to those of both.
    void mix(Toolbox::Grid const& then, Modeling::PDEHelper* helper, Toolbox::Grid& values);

    Child<Event> m_event;
    Child<CashFlow> m_then;
    Child<CashFlow> m_else;
    double m_spread_lhs;
    double m_spread_rhs;
    bool m_with_spread;
    int m_start_lhs{0};
    int m_end_lhs{0};
    int m_start_rhs{0};
    int m_end_rhs{0};
    Toolbox::Array1D<double> m_then_flows;
    Toolbox::Array1D<double> m_else_flows;
    Toolbox::Array1D<double> m_then_adjoints;
    Toolbox::Array1D<double> m_else_adjoints;
    Variables m_then_variables;
    Variables m_else_variables;
};

}  // namespace ximCORE::Contract
