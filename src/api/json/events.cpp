// The two directions of the attributes of events, all by their tables of fields.

#include "ximAPI/events.hpp"

#include <json/value.h>

#include <array>
#include <cstddef>
#include <memory>

#include "api/json/engine.hpp"
#include "api/json/fields_results.hpp"

namespace ximAPI {

namespace {

template <class E>
std::shared_ptr<IEvent> make() {
    return std::make_shared<E>();
}

using Maker = std::shared_ptr<IEvent> (*)();

/// The class of each kind, in the order of the values of `EventKind`.
constexpr auto c_event_makers = std::to_array<Maker>({
    &make<BarrierEvent>,   // BARRIER
    &make<ChoiceEvent>,    // CHOICE
    &make<FixingEvent>,    // FIXING
    &make<EndEvent>,       // NOTHING
    &make<PaymentEvent>,   // PAYMENT
    &make<PurchaseEvent>,  // PURCHASE
    &make<PaymentEvent>,   // RECEIPT
    &make<PurchaseEvent>,  // SALE
    &make<SettingEvent>,   // SETTING
});
static_assert(c_event_makers.size() == Toolkit::texts<EventKind>.size());

}  // namespace

IEvent::~IEvent() = default;

void PaymentEvent::serialize(Json::Value& json) const {
    Toolkit::serialize(*this, json);
}
void PaymentEvent::deserialize(Json::Value const& json) {
    Toolkit::deserialize(json, *this);
}

void FixingEvent::serialize(Json::Value& json) const {
    Toolkit::serialize(*this, json);
}
void FixingEvent::deserialize(Json::Value const& json) {
    Toolkit::deserialize(json, *this);
}

void SettingEvent::serialize(Json::Value& json) const {
    Toolkit::serialize(*this, json);
}
void SettingEvent::deserialize(Json::Value const& json) {
    Toolkit::deserialize(json, *this);
}

void BarrierEvent::serialize(Json::Value& json) const {
    Toolkit::serialize(*this, json);
}
void BarrierEvent::deserialize(Json::Value const& json) {
    Toolkit::deserialize(json, *this);
}

void PurchaseEvent::serialize(Json::Value& json) const {
    Toolkit::serialize(*this, json);
}
void PurchaseEvent::deserialize(Json::Value const& json) {
    Toolkit::deserialize(json, *this);
}

void ChoiceEvent::serialize(Json::Value& json) const {
    Toolkit::serialize(*this, json);
}
void ChoiceEvent::deserialize(Json::Value const& json) {
    Toolkit::deserialize(json, *this);
}

void EndEvent::serialize(Json::Value&) const {}
void EndEvent::deserialize(Json::Value const&) {}

std::shared_ptr<IEvent> make_event(EventKind kind) {
    auto const index = static_cast<std::size_t>(kind);
    return index < c_event_makers.size() ? c_event_makers[index]() : nullptr;
}

}  // namespace ximAPI
