// Lists what happens in a contract: one entry per call, in the order of the calls.
#pragma once

#include <vector>

#include "core/contract/event_manager.hpp"
#include "core/toolbox/date.hpp"
#include "ximAPI/events.hpp"

namespace ximCORE::Contract {
class CashFlow;
}

namespace ximAPI {

/// Appends to the list of a caller. A pointer argument of an operation is the event's value where
/// it is known, else null. A SETTING or BARRIER that observes nothing is dated by the valuation
/// date. The text of an amount with a square root raises std::runtime_error "Unknown error".
class EventManager final : public ximCORE::Contract::EventManager {
 public:
    EventManager(std::vector<Event>& events, ximCORE::Toolbox::Date const& valuation_date)
        : m_events(&events), m_valuation_date(valuation_date) {}

    void add_PayReceive(ximCORE::Contract::PayReceive const* payment, double const* value) override;
    void add_End(ximCORE::Contract::Nothing const* end) override;
    void add_If(ximCORE::Contract::If const* condition, bool const* truth) override;
    void add_Either(ximCORE::Contract::Either const* choice,
                    unsigned long long const* index) override;
    /// No entry for a fixing whose underlying has no ticker.
    void add_Fixing(ximCORE::Contract::Fixing const* fixing, double const* value) override;
    void add_RefAmountSetter(ximCORE::Contract::RefAmountSetter const* setter,
                             double const* value) override;
    void add_BuySell(ximCORE::Contract::BuySell const* transaction) override;

 private:
    template <class Attributes>
    Attributes& add(EventKind type, char const* date);

    std::vector<Event>* m_events;
    ximCORE::Toolbox::Date m_valuation_date;
};

/// Adds each part of a contract by its class; `listed` in the order of
/// `CashFlow::accumulate_events`.
void list_events(std::vector<ximCORE::Contract::CashFlow const*> const& listed,
                 EventManager& manager);

}  // namespace ximAPI
