// The bases of all market items. A static item describes an instrument; a perturbable item is a
// dated value that scenarios shift. A shift changes no stored value: the item keeps one slot per
// level of the scenario stack and applies all slots, in order, at each read.

#pragma once

#include <cstddef>
#include <vector>

#include "core/data/shift.hpp"

namespace ximCORE::Data {

class MarketDataPerturbationItem;

class MarketDataItem {
 public:
    MarketDataItem() = default;
    MarketDataItem(MarketDataItem const&) = default;
    MarketDataItem& operator=(MarketDataItem const&) = delete;
    virtual ~MarketDataItem() = default;

    /// True when the item needs nothing more from any source.
    [[nodiscard]] virtual bool c_is_set() const { return is_set; }

 protected:
    bool is_set = false;
};

/// An item without a date: a currency, an underlying.
class MarketDataStaticItem : public MarketDataItem {};

class MarketDataPerturbableItem : public MarketDataItem {
 public:
    MarketDataPerturbableItem() = default;
    /// The copy keeps the shifts, has no dependents and is dirty.
    MarketDataPerturbableItem(MarketDataPerturbableItem const& other);

    /// True when the perturbation names this item. A null or foreign perturbation affects nothing.
    [[nodiscard]] virtual bool _c_is_affected(MarketDataPerturbationItem const& item) const = 0;

    /// Rebuilds what the item derives from others; called through `build` only.
    virtual void _build_internal() = 0;

    /// Adds the slot of one level of the stack: the item's shift if it is affected, else the
    /// neutral shift. Does nothing when there are `depth` slots already. An affected item marks its
    /// dependents dirty, not itself.
    void push_back_perturbation_step(MarketDataPerturbationItem const& item,
                                     std::size_t const& depth);

    /// Removes the last slot, if there is one. Relied on: the arguments are not looked at, nothing
    /// gets dirty.
    void pop_back_perturbation_step(MarketDataPerturbationItem const& item,
                                    std::size_t const& depth);

    void clear_perturbation_step() { m_shifts.clear(); }

    /// Registers an item to be marked dirty when this one is shifted; not owned, kept once.
    void add_dependency_item(MarketDataPerturbableItem* item);

    /// Marks this item and, recursively, all its dependents as dirty.
    void propagate_perturbation();

    /// Rebuilds a dirty item; cheap otherwise.
    void build() {
        if (!m_dirty) return;
        _build_internal();
        m_dirty = false;
    }

    [[nodiscard]] bool c_is_dirty() const { return m_dirty; }
    std::vector<MarketDataShift> const& c_get_shifts() const { return m_shifts; }
    std::vector<MarketDataPerturbableItem*> const& c_get_dependents() const { return m_dependents; }

    /// `x` after all slots, in the order in which they were pushed.
    double c_shift(double x) const {
        for (auto const& shift : m_shifts) x = shift.c_eval(x);
        return x;
    }
    /// Derivative of `c_shift` by `x`.
    double c_get_shift_slope() const {
        double slope = 1.0;
        for (auto const& shift : m_shifts) slope *= shift.c_get_slope();
        return slope;
    }

 private:
    std::vector<MarketDataShift> m_shifts;
    std::vector<MarketDataPerturbableItem*> m_dependents;
    bool m_dirty = true;
};

}  // namespace ximCORE::Data
