// What a contract tells somebody who writes it down as a list of steps: each node hands over its
// own step, those of its operands first. The order of a walk is that of a path: payments and
// settings from left to right.
#pragma once

#include <cstdint>
#include <functional>
#include <span>

#include "core/contract/operation.hpp"

namespace ximCORE::Modeling {
class FixingGrid;
}

namespace ximCORE::Contract {

/// A step names its result by a slot, which later steps take as operand. Amounts are numbers,
/// events truth values.
class Emitter {
 public:
    using Slot = std::uint32_t;
    using Body = std::function<void()>;
    /// The weights of a smoothed event, see `Weights`.
    struct WeightSlots {
        Slot towards;
        Slot opposite;
    };

    Emitter() = default;
    virtual ~Emitter() = default;
    Emitter(Emitter const&) = delete;
    Emitter& operator=(Emitter const&) = delete;

    virtual Slot constant(double value) = 0;
    /// A constant with a name, whose number stands at `place`.
    virtual Slot named(double const& place) = 0;
    /// The cell of an equity-like underlying.
    virtual Slot fixing(short fixing_rank, short underlying_rank) = 0;
    /// The grid of the values that no path moves.
    virtual Modeling::FixingGrid& get_grid() = 0;

    virtual Slot unary(Operation::Type type, Slot x) = 0;
    virtual Slot binary(Operation::Type type, Slot left, Slot right) = 0;
    /// The amount of a rank among several in ascending order.
    virtual Slot sorted(std::span<Slot const> amounts, int rank) = 0;
    virtual Slot choose(Slot event, Slot then, Slot otherwise) = 0;

    virtual Slot truth(bool value) = 0;
    virtual Slot compare(Operation::Type type, Slot left, Slot right) = 0;
    virtual Slot negate(Slot event) = 0;
    virtual Slot join(Operation::Type type, Slot left, Slot right) = 0;

    /// The named value of the path; its slot holds until the name is written again.
    virtual Slot read(short name_rank) = 0;
    virtual void write(short name_rank, Slot amount) = 0;
    virtual void pay(short payment_rank, Slot amount) = 0;
    /// One of two flows. An empty body pays nothing.
    virtual void branch(Slot event, Body const& then, Body const& otherwise) = 0;
    /// The mean of two flows in each payment, as `If` mixes them; what a body writes under a name
    /// ends with it.
    virtual void mix(WeightSlots weights, Body const& then, Body const& otherwise) = 0;

    /// A node that has no such step.
    virtual void refuse() = 0;
};

}  // namespace ximCORE::Contract
