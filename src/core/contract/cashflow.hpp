// Payments on a scenario: the root of every contract. Lists joined by "&" hang to the right and can
// be of any length: every operation walks the right spine of a list in a loop, other depth by
// recursion.
#pragma once

#include "core/contract/component.hpp"
#include "core/contract/details.hpp"
#include "core/contract/emitter.hpp"
#include "core/toolbox/containers.hpp"

namespace ximCORE::Contract {

class EventManager;

class CashFlow : public Gathering<CashFlow>, public Replaceable<CashFlow> {
 public:
    /// Nodes that a list evaluates without a virtual call.
    enum class Shape : std::uint8_t { general, payment, list };
    Shape c_get_shape() const { return m_shape; }

    virtual ~CashFlow() = default;

    virtual void c_accumulate_numbers(ChildNumbers&) const {}
    /// As `Component::populate`.
    [[nodiscard]] virtual bool populate(NodeLists const&) { return true; }
    /// As `Component::get_dependencies`; a payment in another currency than `pricing` gets the
    /// exchange rate too.
    [[nodiscard]] bool get_dependencies(Toolbox::Date const& date, Data::Currency const* pricing);
    /// Replaces what is constant, below first: payments of nothing vanish, decided conditions
    /// become their branch.
    virtual void reduce() {}
    [[nodiscard]] virtual bool c_is_nothing() const { return false; }
    [[nodiscard]] virtual bool accumulate(Harvest&) { return true; }

    /// Appends every node to the flat list of the contract, and gives conditions, choices and
    /// purchases the positions of what is below them, counted from `base`.
    virtual void accumulate_events(std::vector<CashFlow const*>& list, std::uint64_t base) = 0;
    void accumulate_payments(std::vector<PayReceive*>& out) { gather(&Harvest::payments, out); }
    /// The addresses of all pointers to cash flows below, those of the children before the one to
    /// their parent.
    void accumulate_cashflows(std::vector<std::shared_ptr<CashFlow>*>& out) {
        accumulate_cashflows_internal(out);
    }
    virtual void accumulate_cashflows_internal(std::vector<std::shared_ptr<CashFlow>*>&) {}
    /// Frees a tree that nothing else holds, without recursion over cash flows, and empties `root`.
    static void s_release(std::shared_ptr<CashFlow>& root);

    /// The latest payment date below, `fallback` without any.
    virtual Toolbox::Date c_get_maturity_date(Toolbox::Date const& fallback) const {
        return fallback;
    }

    /// Gathers (with `accumulate`) and ranks everything that a pricing indexes. The order of the
    /// lists is that of the ranks. False, after an ERROR record, when a market object is missing or
    /// a list is too long to rank.
    [[nodiscard]] bool scan_all(ContractInformation& information, bool accumulate);

    /// Opens the cells of the grid that `eval` reads, and marks the last one of each column.
    void c_set_fixing_grid_internal(Modeling::FixingGrid& grid) const;
    /// Gives every named value its slot and sizes the working copies of smoothed conditions.
    /// Returns the names, sorted: the layout of the `Variables` to evaluate with. At most 32767
    /// names (reading a contract refuses more).
    std::vector<std::string> rank_names();
    /// Sizes the working arrays of smoothed conditions: one slot for each payment date. Before the
    /// first smoothed `eval`.
    void init_flows(std::uint64_t nb_payments);
    /// Folds the signs and quantities of purchases into the payments below them. Once for each
    /// tree.
    void scale();

    /// Adds each payment of the current path to the slot of its payment rank, in the contract's
    /// currency, undiscounted. `variables`: cleared by the caller before the root's `eval`. Per
    /// trial: no allocation.
    virtual void eval(Modeling::FixingGrid& grid, Variables& variables,
                      Toolbox::Array1D<double>& flows) = 0;
    /// Adjoint form of `eval` on one side of the grid. Forward: adds to `flows` as `eval`, the same
    /// to the last bit. Backward: adds to the adjoints of the cells what `flow_adjoints`, the
    /// derivatives by the slots of `flows`, amount to. `variables`: cleared before each forward
    /// sweep of the root, not read backward. `init_flows` and `rank_names` have run. Backward
    /// sweeps undo the forward ones of a tape in reverse order, under the same smoothing type. Per
    /// trial: no allocation once the tape and the lists have grown.
    virtual void aeval(Toolbox::AAD::Tape& tape, Toolbox::AAD::SweepType sweep, bool antithetic,
                       Modeling::FixingGrid& grid, Variables& variables,
                       Toolbox::Array1D<double>& flows,
                       Toolbox::Array1D<double>& flow_adjoints) = 0;
    /// Multiplies `value` by what the flow pays as known now; callers start it at 1. False when not
    /// known.
    [[nodiscard]] virtual bool eval(double& value) = 0;
    /// As `eval` on the path, and notes the fixings and the conditions that the path meets, and in
    /// `kill_rank` the rank of the last payment that it meets. All are ranked (`scan_fixings`,
    /// `scan_barriers`, `scan_all`). The caller starts `kill_rank` at 0 and clears the flags that
    /// it has read. Under a smoothed condition the notes follow the branch that the plain event
    /// chooses, while the flows mix both. Per trial: no allocation. Here: nothing to note.
    virtual void eval_details(Modeling::FixingGrid& grid, Variables& variables,
                              FixingDetails& fixings, EventDetails& events,
                              Toolbox::Array1D<double>& flows, short& kill_rank);

    /// Writes its steps. Ranks of dates, underlyings and names are set. Here: it pays nothing.
    virtual void emit(Emitter&) const {}
    /// Sets `price` to the value at `today` in the currency `pricing`; callers start it at 0.
    /// False, after an ERROR record, for what has no closed form or lacks market data.
    [[nodiscard]] virtual bool c_compute_closed_form_price(Toolbox::Date const& today,
                                                           Data::Currency const& pricing,
                                                           double& price) const = 0;
    /// What is paid where all fixings are at level `x`, whatever the dates. Here: 0.
    virtual double c_eval_carr_madan(double /*x*/) const { return 0.0; }

    /// The value at `date` on the space grid, undiscounted, as a function of what is known then.
    /// `date` carries its pillar rank. Here: zeros.
    virtual void compute_PDE_price(Toolbox::Date const& date, Modeling::PDEHelper* helper,
                                   Toolbox::Grid& values);
    /// The same as a new grid; nothing is kept from one call to the next.
    Toolbox::Grid get_value_at_pillar_date(Toolbox::Date const& date, Modeling::PDEHelper* helper);

    /// Appends the text; lines after the first start with `indent` blanks, branches with `step`
    /// more.
    virtual void c_to_string(std::string& text, std::uint64_t& indent, std::uint64_t const& step,
                             std::uint64_t width) const = 0;
    /// Appends the contract as a script for readers, amounts broken at `width` columns.
    void c_write(std::string& text, std::uint64_t width) const;

    /// Brings the flow to `date`: what is past is reported to `manager` (null: nobody) and becomes
    /// `Nothing`. `values`: the names set so far; `in_choice`: below a choice still open, where
    /// nothing is paid. Throws as `Component::move`.
    virtual void move(Toolbox::Date const& /*date*/, NamedValues& /*values*/,
                      EventManager* /*manager*/, Intraday const&, bool /*in_choice*/,
                      FixingOverrides const&) {}

    /// A deep copy: ranks, scale and conversions are kept, underlyings shared, shared nodes
    /// doubled, nothing is reduced.
    virtual std::shared_ptr<CashFlow> clone() const = 0;

 protected:
    explicit CashFlow(Shape shape = Shape::general) : m_shape(shape) {}
    CashFlow(CashFlow const&) = default;

 private:
    Shape const m_shape;
};

}  // namespace ximCORE::Contract
