// The listener of a contract that moves or is listed: one call for each thing that happens.
#pragma once

#include <cstdint>

namespace ximCORE::Contract {

class BuySell;
class Either;
class Fixing;
class If;
class Nothing;
class PayReceive;
class RefAmountSetter;

/// Each call is about one node; nothing of it may be kept. A null value means that it is not known.
class EventManager {
 public:
    virtual ~EventManager() = default;
    /// `value`: the amount paid, before sign, quantity and conversion, in the currency of the
    /// payment.
    virtual void add_PayReceive(PayReceive const* payment, double const* value) = 0;
    virtual void add_End(Nothing const* end) = 0;
    /// `truth`: whether the event happened.
    virtual void add_If(If const* condition, bool const* truth) = 0;
    /// `index`: the alternative taken.
    virtual void add_Either(Either const* choice, unsigned long long const* index) = 0;
    virtual void add_Fixing(Fixing const* fixing, double const* level) = 0;
    virtual void add_RefAmountSetter(RefAmountSetter const* setter, double const* value) = 0;
    virtual void add_BuySell(BuySell const* purchase) = 0;

 protected:
    EventManager() = default;
    EventManager(EventManager const&) = default;
    EventManager& operator=(EventManager const&) = default;
};

}  // namespace ximCORE::Contract
