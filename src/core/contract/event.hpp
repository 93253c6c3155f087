// A truth value on a scenario, and its smoothed form.
#pragma once

#include "core/contract/component.hpp"
#include "core/contract/details.hpp"
#include "core/contract/emitter.hpp"

namespace ximCORE::Contract {

class DeterministicEvent;

/// How smoothed events are weighed: from the current path, or with a null grid from what is known
/// now.
struct Weighing {
    Modeling::FixingGrid* grid;
    Variables* variables;
    double lhs;  ///< widths of the ramp below and above the threshold, not below 0, in the unit of
                 ///< the amounts
    double rhs;
    int direction;
};

/// The widths and the direction of a `Weighing`.
struct Ramp {
    double lhs;
    double rhs;
    int direction;
};

/// The weight of an event in the direction of its `Weighing`, and in the opposite one.
struct Weights {
    double towards{0.0};
    double opposite{0.0};
};

struct GridWeighing;  // the same on a space grid, see grid_weights.hpp
struct GridWeights;

class Event : public Component, public Replaceable<Event> {
 public:
    using Value = bool;
    using Constant = DeterministicEvent;

    /// Whether it happens on the current path. Per trial: no allocation.
    virtual bool eval(Modeling::FixingGrid& grid, Variables& variables) = 0;
    /// From what is known now. False, with `value` as it was, when it is not; `level` is that of
    /// the records.
    [[nodiscard]] virtual bool eval(bool& value, Data::Level level) = 0;
    /// As `Amount::eval_details`.
    virtual bool eval_details(Modeling::FixingGrid& grid, Variables& variables,
                              FixingDetails& fixings);
    /// As `Amount::eval_antithetic`.
    virtual bool eval_antithetic(Modeling::FixingGrid& grid, Variables& variables);
    /// Whether it happens, 1 or 0, at each point of the space grid.
    virtual Toolbox::IntGrid eval(Modeling::PDEHelper* helper) = 0;
    /// Whether it happens, 1 or 0, where all fixings are at level `x`.
    virtual double c_eval_carr_madan(double x) const = 0;
    /// True for a constant node, with its value.
    [[nodiscard]] virtual bool c_is_deterministic(bool& /*value*/) const { return false; }

    /// The weight in [0, 1] of the event on the current path: each comparison is a ramp from
    /// threshold - lhs to threshold + rhs. `direction` 0: the whole ramp; 1: only the side where
    /// the event is nearer to true; -1: the other. Any other direction raises `std::runtime_error`
    /// "Unknown error". Equality tests are exact. Per trial: no allocation.
    double smooth_eval(Modeling::FixingGrid& grid, Variables& variables, double lhs, double rhs,
                       int const& direction);
    /// The same from what is known now, silently; false, with `weight` as it was, when it is not
    /// known.
    [[nodiscard]] bool smooth_eval(double lhs, double rhs, double& weight, int const& direction);
    /// The same at each point of the space grid, with the widths and the direction of that point.
    Toolbox::Grid smooth_eval(Modeling::PDEHelper* helper, Toolbox::Grid const& lhs,
                              Toolbox::Grid const& rhs, Toolbox::IntGrid const& direction);
    /// Both at once: each amount below is evaluated one time. False when not known; on a path
    /// always true.
    [[nodiscard]] virtual bool weigh(Weighing const& weighing, Weights& weights) = 0;
    virtual void weigh(GridWeighing const& weighing, GridWeights& weights) = 0;
    /// Adjoint form of `weigh` on one side of the grid of `weighing`. Forward: `weights`. Backward:
    /// adds to the adjoints of the cells what `adjoints`, the derivatives by the two weights,
    /// amount to; the direction is held fixed. Per trial: no allocation once the tape has grown.
    virtual void smooth_aeval(Toolbox::AAD::Tape& tape, Toolbox::AAD::SweepType sweep,
                              bool antithetic, Weighing const& weighing, Weights& weights,
                              Weights& adjoints) = 0;

    /// Writes its steps, and answers the slot of its truth.
    virtual Emitter::Slot emit(Emitter& emitter) const = 0;
    /// The same of its weights, on a path.
    virtual Emitter::WeightSlots emit_weights(Emitter& emitter, Ramp const& ramp) const = 0;

    /// Appends the text. Throws `std::runtime_error` "Unknown error" for a square root below.
    virtual void c_to_string(std::string& text) const = 0;
    /// Appends the text in lines of at most `width` columns, where a blank behind a closing
    /// parenthesis allows it.
    void c_write(std::string& text, std::uint64_t width = UINT64_MAX) const;

    /// A deep copy, as `Amount::clone`.
    virtual std::shared_ptr<Event> clone() const = 0;

    /// Position among the barriers of the contract, -1 before `sort_events`.
    short c_get_rank() const { return m_rank; }
    void set_rank(short rank) { m_rank = rank; }

 protected:
    Event() = default;
    Event(Event const&) = default;

 private:
    short m_rank{-1};
};

}  // namespace ximCORE::Contract
