// A contract with its valuation date and currency: what a pricer receives, and what moves through
// time.
#pragma once

#include <memory>
#include <string>

#include "core/contract/moving.hpp"
#include "core/toolbox/date.hpp"

namespace ximCORE::Data {
class Currency;
}

namespace ximCORE::Contract {

class CashFlow;
class EventManager;

/// Made empty, given a root by `set` and its market links by `get_dependencies`; then it may `move`
/// towards later dates any number of times. A move forgets the past: it has no inverse. Not for two
/// threads at once; workers take clones of the root.
class Contract final {
 public:
    /// Shared by all contracts of the process; written before a pricing, only read during it.
    inline static Intraday s_intraday{};

    Contract(Toolbox::Date const& date, std::string const& currency);
    /// Throws `ConstructorException`, after an ERROR record, for an empty cash flow.
    Contract(Toolbox::Date const& date, std::string const& currency,
             std::shared_ptr<CashFlow> const& root);

    Toolbox::Date const& c_get_date() const { return m_date; }
    /// Null before `get_dependencies`.
    std::shared_ptr<Data::Currency> const& c_get_currency() const { return m_currency; }
    std::string const& c_get_currency_name() const { return m_currency_name; }
    /// Null without a root; owned by the contract.
    CashFlow* c_get_cashflow() const { return m_root.get(); }
    std::shared_ptr<CashFlow> const& get_current() const { return m_root; }
    std::shared_ptr<CashFlow> const& get_origin() const { return m_root; }

    /// Takes the root, reduces it and folds purchases into its payments. False for an empty root.
    /// A tree that shares payments or named values between parents is replaced by its copy, where
    /// each parent has its own.
    [[nodiscard]] bool set(std::shared_ptr<CashFlow> const& root);
    /// Drops the root.
    void clean();

    /// Resolves the currency, and the tree's names to market objects, asking the cache silently for
    /// all that the contract needs. True once the currency and every underlying and payment
    /// currency asked for are fully known.
    [[nodiscard]] bool get_dependencies();

    /// Brings the contract to `date`: known fixings become numbers, past payments vanish, decided
    /// conditions become their branch. Values of names set on the way stand in front of the new
    /// root. `manager` (may be null) hears what happened. False, after ERROR records, when a past
    /// fixing is missing: the tree is then part way.
    [[nodiscard]] bool move(Toolbox::Date const& date, FixingOverrides const& fixings,
                            EventManager* manager);

 private:
    void take_over_root();

    Toolbox::Date m_date;
    std::shared_ptr<Data::Currency> m_currency;
    std::string m_currency_name;
    std::shared_ptr<CashFlow> m_root;
};

}  // namespace ximCORE::Contract
