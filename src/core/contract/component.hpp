// The base of amounts and events: nodes that have a value on a scenario.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "core/contract/gathering.hpp"
#include "core/contract/moving.hpp"
#include "core/data/level.hpp"
#include "core/toolbox/pde/grid.hpp"
#include "core/toolbox/tape.hpp"

namespace ximCORE::Modeling {
class FixingGrid;
class PDEHelper;
}  // namespace ximCORE::Modeling

namespace ximCORE::Contract {

class Amount;
class CashFlow;
class Event;
class Variables;

/// The nodes of an encoded contract, by number; what `populate` wires a tree from.
struct NodeLists {
    std::vector<std::shared_ptr<Amount>> amounts;
    std::vector<std::shared_ptr<Event>> events;
    std::vector<std::shared_ptr<CashFlow>> cashflows;
};

/// The numbers of a node's children, by family, in the order of the walk.
struct ChildNumbers {
    std::vector<std::uint64_t> amounts;
    std::vector<std::uint64_t> events;
    std::vector<std::uint64_t> cashflows;
};

/// What stands in place of a node, if anything: set by `reduce` and `move`, taken over by the
/// parent. A copy of a node starts without.
template <class Node>
class Replaceable {
 public:
    std::shared_ptr<Node> const& c_get_reducted() const { return m_reduced; }

 protected:
    Replaceable() = default;
    Replaceable(Replaceable const&) {}
    Replaceable& operator=(Replaceable const&) = delete;
    ~Replaceable() = default;
    void replace_by(std::shared_ptr<Node> node) { m_reduced = std::move(node); }

 private:
    std::shared_ptr<Node> m_reduced;
};

/// Nodes are made with the numbers of their children; no operation but `populate` may run before it
/// has succeeded.
class Component : public Gathering<Component> {
 public:
    virtual ~Component() = default;

    virtual void c_accumulate_numbers(ChildNumbers&) const {}
    /// Wires the children by their numbers, and theirs. False when a number has no node or a node
    /// cannot be evaluated.
    [[nodiscard]] virtual bool populate(NodeLists const&) { return true; }

    /// Resolves names to market objects and asks for what the node will need of the market (nothing
    /// is reported yet). `pricing`: the contract's currency, null for an observation. False while
    /// an object that was asked for is not known.
    [[nodiscard]] bool get_dependencies(Toolbox::Date const& date, Data::Currency const* pricing);
    /// Opens the cells of the grid that `eval` reads.
    void c_set_fixing_grid_internal(Modeling::FixingGrid& grid) const;
    /// Hands out what the node and those below hold. False, after an ERROR record, when the walk
    /// cannot go on.
    [[nodiscard]] virtual bool accumulate(Harvest&) { return true; }

    /// Replaces by a constant what is constant, below first.
    virtual void reduce() {}
    /// Brings the node to `date`: fixings of the past become numbers. `known`: values of names so
    /// far; `fix`: the observation is past. Throws `std::runtime_error` "Cannot find fixing", after
    /// an ERROR record, for a past fixing without a spot.
    virtual void move(Toolbox::Date const& /*date*/, NamedValues::Map const& /*known*/,
                      Intraday const&, FixingOverrides const&, bool /*fix*/) {}

    /// The earliest fixing date below, ranks included; without one, false and `date` stays.
    [[nodiscard]] bool unsafe_get_constatation_date(Toolbox::Date& date) const;

 protected:
    Component() = default;
    Component(Component const&) = default;
    Component& operator=(Component const&) = delete;
};

}  // namespace ximCORE::Contract
