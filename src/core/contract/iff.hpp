// An amount that depends on an event. It is never smoothed.
#pragma once

#include "core/contract/composite.hpp"

namespace ximCORE::Contract {

/// Only the chosen amount is evaluated.
class Iff final : public Composite<Iff, Amount> {
 public:
    Iff(Child<Event> event, Child<Amount> then, Child<Amount> otherwise);

    double eval(Modeling::FixingGrid& grid, Variables& variables) override;
    double eval_details(Modeling::FixingGrid& grid, Variables& variables,
                        FixingDetails& fixings) override;
    double eval_antithetic(Modeling::FixingGrid& grid, Variables& variables) override;
    void aeval(Toolbox::AAD::Tape& tape, Toolbox::AAD::SweepType sweep, bool antithetic,
               Modeling::FixingGrid& grid, Variables& variables, double& value,
               double& adjoint) override;
    [[nodiscard]] bool eval(double& value, Data::Level level) override;
    Toolbox::Grid eval(Modeling::PDEHelper* helper) override;
    double c_eval_carr_madan(double x) const override;
    void reduce() override;
    void move(Toolbox::Date const& date, NamedValues::Map const& known, Intraday const& intraday,
              FixingOverrides const& fixings, bool fix) override;
    Emitter::Slot emit(Emitter& emitter) const override;
    void c_to_string(std::string& text, bool bracket) const override;
    std::shared_ptr<Amount> clone() const override { return copy_tree(*this); }

    auto children() { return std::tie(m_event, m_then, m_else); }
    auto children() const { return std::tie(m_event, m_then, m_else); }

 private:
    void choose();

    Child<Event> m_event;
    Child<Amount> m_then;
    Child<Amount> m_else;
};

}  // namespace ximCORE::Contract
