// The derivatives of a program, as more steps behind it: each step, from the last one back, hands
// the adjoint of its result to its operands, as `aeval` of the tree's nodes does. What lies under a
// mask is taken back under that mask, so that a condition that no path meets costs nothing in
// either direction.

#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <vector>

#include "core/pricing/block/program.hpp"

namespace ximCORE::Pricing::Block {

/// Who writes the steps down. Slots name the results of steps, as in the forward ones.
class StepWriter {
 public:
    using Slot = std::uint32_t;

    StepWriter() = default;
    virtual ~StepWriter() = default;
    StepWriter(StepWriter const&) = delete;
    StepWriter& operator=(StepWriter const&) = delete;

    virtual Slot constant(double value) = 0;
    /// Nothing for a slot that is none.
    [[nodiscard]] virtual std::optional<double> find_constant(Slot slot) const = 0;
    /// The result of a step, taken before or now.
    virtual Slot step(Code code, std::array<std::uint32_t, 4> operands) = 0;
    /// A list of operands for one step; answers its place.
    virtual std::uint32_t list(std::span<Slot const> operands) = 0;
    /// A slot that `add` adds to.
    virtual Slot start_sum(Slot first) = 0;
    virtual void add(Slot sum, Slot amount) = 0;
    /// What `body` writes is passed over where no path is in the mask.
    virtual void under(Slot mask, std::function<void()> const& body) = 0;
};

class Reversal {
 public:
    using Slot = StepWriter::Slot;

    /// `steps`, `operands`: the forward steps and their lists, over slots; a skip ends in front of
    /// the step `to`. They may not change meanwhile. `nb_slots`: of the forward steps.
    Reversal(StepWriter& writer, std::span<Instruction const> steps,
             std::vector<std::uint32_t> const& operands, std::size_t nb_slots);

    /// Writes the steps that give the adjoints of `cells`, that of `result` being `seed`; answers
    /// them, nothing for a cell that the result does not depend on.
    [[nodiscard]] std::vector<std::optional<Slot>> run(std::span<Slot const> cells, Slot result,
                                                       Slot seed);

 private:
    /// The sum of what was handed to a slot so far.
    struct Adjoint {
        std::optional<Slot> slot;
        bool is_sum{false};  ///< grows by `add`
    };

    [[nodiscard]] bool is_amount_operator(Code code) const;
    /// The operands that adjoints go to.
    void for_each_source(Instruction const& step, auto&& visit) const;
    void find_active(Slot result);
    void take_back(std::size_t first, std::size_t last);
    void take_back_under(std::size_t skip);
    void start_outer_sums(std::size_t first, std::size_t last);
    void back(Instruction const& step, Slot adjoint);
    void back_mix(Instruction const& step, Slot adjoint);
    void back_sort(Instruction const& step, Slot adjoint);
    void back_operator(Instruction const& step, Slot adjoint);
    void hand(Slot to, Slot amount);
    template <class Op>
    Slot apply(Slot left, Slot right);
    Slot where(Slot mask, Slot then, Slot otherwise);
    Slot scale(Slot adjoint, double factor);

    StepWriter* m_writer;
    std::span<Instruction const> m_steps;
    std::vector<std::uint32_t> const* m_operands;
    std::vector<bool> m_is_active;      ///< [slot]: a cell moves it, and it moves the result, on a
                                        ///< way that adjoints take
    std::vector<std::size_t> m_places;  ///< [slot]: 1 + the step that gives it first; 0: none
    std::vector<std::size_t> m_skips;   ///< [step]: 1 + the outermost skip that ends there; 0: none
    std::vector<Adjoint> m_adjoints;    ///< [slot]
};

}  // namespace ximCORE::Pricing::Block
