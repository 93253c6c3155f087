#include "api/bridge/events.hpp"

#include "core/contract/either.hpp"
#include "core/contract/fixing.hpp"
#include "core/contract/if.hpp"
#include "core/contract/payments.hpp"
#include "core/data/currency.hpp"
#include "core/data/underlying.hpp"

namespace ximAPI {

namespace {

namespace Core = ximCORE::Contract;
using ximCORE::Toolbox::Date;

constexpr std::uint64_t c_event_columns = 150;

std::string text_of(auto const& component) {
    std::string text;
    component.c_write(text, c_event_columns);
    return text;
}

/// The event's value where it is known; the member `Value` has its own type in each class.
void set_value(auto& attributes, auto const* value) {
    attributes.HasValue = value != nullptr;
    if (value != nullptr) {
        attributes.Value = static_cast<decltype(attributes.Value)>(*value);
    }
}

/// The earliest fixing date under a component, else the valuation date.
Date constatation_date(Core::Component const& component, Date const& valuation_date) {
    Date date(valuation_date);
    std::ignore = component.unsafe_get_constatation_date(date);
    return date;
}

}  // namespace

template <class Attributes>
Attributes& EventManager::add(EventKind type, char const* date) {
    auto attributes = std::make_shared<Attributes>();
    m_events->push_back({.Type = type, .Date = date, .Attributes = attributes});
    return *attributes;
}

void EventManager::add_PayReceive(Core::PayReceive const* payment, double const* value) {
    auto const type = payment->c_get_payreceive() ? EventKind::PAYMENT : EventKind::RECEIPT;
    auto& attributes = add<PaymentEvent>(type, Date(payment->c_get_payment_date()).c_str());
    attributes.Currency = payment->c_get_currency_name();
    attributes.Script = text_of(payment->c_get_amount());
    set_value(attributes, value);
}

void EventManager::add_End(Core::Nothing const* /*end*/) {
    add<EndEvent>(EventKind::NOTHING, "");
}

void EventManager::add_If(Core::If const* condition, bool const* truth) {
    Date const date = constatation_date(condition->c_get_event(), m_valuation_date);
    auto& attributes = add<BarrierEvent>(EventKind::BARRIER, date.c_str());
    attributes.WithSpread = condition->c_get_with_spread();
    attributes.SpreadLeft = static_cast<float>(condition->c_get_spread_lhs());
    attributes.SpreadRight = static_cast<float>(condition->c_get_spread_rhs());
    attributes.Script = text_of(condition->c_get_event());
    attributes.StartLeft = condition->c_get_start_lhs();
    attributes.StartRight = condition->c_get_start_rhs();
    attributes.EndLeft = condition->c_get_end_lhs();
    attributes.EndRight = condition->c_get_end_rhs();
    set_value(attributes, truth);
}

void EventManager::add_Either(Core::Either const* choice, unsigned long long const* index) {
    auto& attributes =
        add<ChoiceEvent>(EventKind::CHOICE, Date(choice->c_get_choice_date()).c_str());
    attributes.ChoiceOwnership = choice->c_get_choice_ownership() ? "Putable" : "Callable";
    attributes.Starts = choice->c_get_starts();
    attributes.Ends = choice->c_get_ends();
    set_value(attributes, index);
}

void EventManager::add_Fixing(Core::Fixing const* fixing, double const* value) {
    auto const& underlying = fixing->c_get_underlying();
    if (underlying == nullptr || !underlying->c_has_ticker(ximCORE::Data::Level::warning)) {
        return;
    }
    auto& attributes =
        add<FixingEvent>(EventKind::FIXING, Date(fixing->c_get_fixing_date()).c_str());
    attributes.Ticker = underlying->c_get_ticker();
    set_value(attributes, value);
}

void EventManager::add_RefAmountSetter(Core::RefAmountSetter const* setter, double const* value) {
    Date const date = constatation_date(setter->c_get_amount(), m_valuation_date);
    auto& attributes = add<SettingEvent>(EventKind::SETTING, date.c_str());
    attributes.Name = setter->c_get_name();
    attributes.Script = text_of(setter->c_get_amount());
    set_value(attributes, value);
}

void EventManager::add_BuySell(Core::BuySell const* transaction) {
    auto const type = transaction->c_get_buysell() ? EventKind::PURCHASE : EventKind::SALE;
    auto& attributes =
        add<PurchaseEvent>(type, Date(transaction->c_get_transaction_date()).c_str());
    attributes.Quantity = static_cast<float>(transaction->c_get_quantity());
    attributes.Start = transaction->c_get_start();
    attributes.End = transaction->c_get_end();
}

void list_events(std::vector<Core::CashFlow const*> const& listed, EventManager& manager) {
    for (Core::CashFlow const* part : listed) {
        if (auto const* payment = dynamic_cast<Core::PayReceive const*>(part)) {
            manager.add_PayReceive(payment, nullptr);
        } else if (auto const* condition = dynamic_cast<Core::If const*>(part)) {
            manager.add_If(condition, nullptr);
        } else if (auto const* choice = dynamic_cast<Core::Either const*>(part)) {
            manager.add_Either(choice, nullptr);
        } else if (auto const* setter = dynamic_cast<Core::RefAmountSetter const*>(part)) {
            manager.add_RefAmountSetter(setter, nullptr);
        } else if (auto const* transaction = dynamic_cast<Core::BuySell const*>(part)) {
            manager.add_BuySell(transaction);
        }
    }
}

}  // namespace ximAPI
