// Amounts and events without children, but for fixings.
#pragma once

#include "core/contract/amount.hpp"
#include "core/contract/event.hpp"
#include "core/contract/variables.hpp"

namespace ximCORE::Contract {

/// A number.
class DeterministicAmount final : public Amount {
 public:
    explicit DeterministicAmount(double value) : Amount(Shape::constant), m_value(value) {}

    double c_get_value() const { return m_value; }
    double eval(Modeling::FixingGrid&, Variables&) override { return m_value; }
    Toolbox::Grid eval(Modeling::PDEHelper* helper) override;
    [[nodiscard]] bool c_compute_closed_form_price(Toolbox::Date const& today,
                                                   Data::Currency const& pricing,
                                                   Toolbox::Date const& payment,
                                                   Data::Currency const& payment_currency,
                                                   double& price) const override;
    double c_eval_carr_madan(double) const override { return m_value; }
    [[nodiscard]] bool eval(double& value, Data::Level level) override;
    [[nodiscard]] bool c_is_deterministic(double& value) const override;
    Emitter::Slot emit(Emitter& emitter) const override;
    void c_to_string(std::string& text, bool bracket) const override;
    std::shared_ptr<Amount> clone() const override;

 private:
    double m_value;
};

/// True or false.
class DeterministicEvent final : public Event {
 public:
    explicit DeterministicEvent(bool value) : m_value(value) {}

    bool eval(Modeling::FixingGrid&, Variables&) override { return m_value; }
    double c_eval_carr_madan(double) const override { return m_value ? 1.0 : 0.0; }
    [[nodiscard]] bool eval(bool& value, Data::Level level) override;
    [[nodiscard]] bool c_is_deterministic(bool& value) const override;
    [[nodiscard]] bool weigh(Weighing const& weighing, Weights& weights) override;
    void smooth_aeval(Toolbox::AAD::Tape& tape, Toolbox::AAD::SweepType sweep, bool antithetic,
                      Weighing const& weighing, Weights& weights, Weights& adjoints) override;
    Toolbox::IntGrid eval(Modeling::PDEHelper* helper) override;
    void weigh(GridWeighing const& weighing, GridWeights& weights) override;
    Emitter::Slot emit(Emitter& emitter) const override;
    Emitter::WeightSlots emit_weights(Emitter& emitter, Ramp const& ramp) const override;
    void c_to_string(std::string& text) const override;
    std::shared_ptr<Event> clone() const override;

 private:
    bool m_value;
};

/// A number with a name, which callers may change in a built contract (`unsafe_get_tags`). It stays
/// until its observation is past.
class Ref final : public Amount {
 public:
    Ref(double value, std::string name) : m_value(value), m_name(std::move(name)) {}

    std::string const& c_get_name() const { return m_name; }
    double eval(Modeling::FixingGrid&, Variables&) override { return m_value; }
    Toolbox::Grid eval(Modeling::PDEHelper* helper) override;
    [[nodiscard]] bool c_compute_closed_form_price(Toolbox::Date const& today,
                                                   Data::Currency const& pricing,
                                                   Toolbox::Date const& payment,
                                                   Data::Currency const& payment_currency,
                                                   double& price) const override;
    double c_eval_carr_madan(double) const override { return m_value; }
    [[nodiscard]] bool eval(double& value, Data::Level level) override;
    [[nodiscard]] bool accumulate(Harvest& harvest) override;
    void move(Toolbox::Date const& date, NamedValues::Map const& known, Intraday const& intraday,
              FixingOverrides const& fixings, bool fix) override;
    Emitter::Slot emit(Emitter& emitter) const override;
    void c_to_string(std::string& text, bool bracket) const override;
    std::shared_ptr<Amount> clone() const override;

 private:
    double m_value;
    std::string m_name;
};

/// The value last set under a name on the path. Before any setting it is 0.
class RefAmount final : public Amount {
 public:
    explicit RefAmount(std::string name) : m_name(std::move(name)) {}

    double eval(Modeling::FixingGrid&, Variables& variables) override {
        return variables.read(m_rank);
    }
    /// Never known.
    Toolbox::Grid eval(Modeling::PDEHelper* helper) override;
    /// False, without a record.
    [[nodiscard]] bool c_compute_closed_form_price(Toolbox::Date const& today,
                                                   Data::Currency const& pricing,
                                                   Toolbox::Date const& payment,
                                                   Data::Currency const& payment_currency,
                                                   double& price) const override;
    [[nodiscard]] bool eval(double& value, Data::Level level) override;
    [[nodiscard]] bool accumulate(Harvest& harvest) override;
    void move(Toolbox::Date const& date, NamedValues::Map const& known, Intraday const& intraday,
              FixingOverrides const& fixings, bool fix) override;
    Emitter::Slot emit(Emitter& emitter) const override;
    void c_to_string(std::string& text, bool bracket) const override;
    std::shared_ptr<Amount> clone() const override;

 private:
    std::string m_name;
    short m_rank{-1};
};

}  // namespace ximCORE::Contract
