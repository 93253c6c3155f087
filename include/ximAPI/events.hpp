// What happens in a contract over time, as `GetContract` lists it: one class of attributes per sort
// of event.
//
// Positions (`Start`, `End`, `Starts`, `Ends`) are places in the list of events in which the entry
// stands. "Script" is the text of the amount or condition, wrapped at 150 columns. "HasValue" tells
// whether the event's value is already known; without it "Value" is 0 (false).
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "ximAPI/enums.hpp"
#include "ximAPI/export.hpp"

namespace Json {
class Value;
}

namespace ximAPI {

/// Attributes of one event. Each class writes and reads its own keys.
class XIM_EXPORT IEvent {
 public:
    virtual ~IEvent();
    /// Sets the member of each key of the class in `json`, an object or null.
    virtual void serialize(Json::Value& json) const = 0;
    /// Reads all keys; an absent one reads as zero, "" or false. A wrong type raises the exception
    /// of jsoncpp.
    virtual void deserialize(Json::Value const& json) = 0;

 protected:
    IEvent() = default;
    IEvent(IEvent const&) = default;
    IEvent& operator=(IEvent const&) = default;
};

/// A payment or a receipt on its payment date.
class XIM_EXPORT PaymentEvent final : public IEvent {
 public:
    void serialize(Json::Value& json) const override;
    void deserialize(Json::Value const& json) override;

    std::string Currency;
    std::string Script;
    bool HasValue{};
    float Value{};  ///< in `Currency`
};

/// The observation of an underlying.
class XIM_EXPORT FixingEvent final : public IEvent {
 public:
    void serialize(Json::Value& json) const override;
    void deserialize(Json::Value const& json) override;

    std::string Ticker;
    bool HasValue{};
    float Value{};
};

/// A named amount receives its value.
class XIM_EXPORT SettingEvent final : public IEvent {
 public:
    void serialize(Json::Value& json) const override;
    void deserialize(Json::Value const& json) override;

    std::string Name;
    std::string Script;
    bool HasValue{};
    float Value{};
};

/// A condition decides between two branches: events from `StartLeft` to `EndLeft` when it holds,
/// else `StartRight` to `EndRight`.
class XIM_EXPORT BarrierEvent final : public IEvent {
 public:
    void serialize(Json::Value& json) const override;
    void deserialize(Json::Value const& json) override;

    bool WithSpread{};
    float SpreadLeft{};   ///< fraction
    float SpreadRight{};  ///< fraction
    std::string Script;
    std::int32_t StartLeft{};
    std::int32_t StartRight{};
    std::int32_t EndLeft{};
    std::int32_t EndRight{};
    bool HasValue{};
    bool Value{};  ///< whether the condition held
};

/// A part of the contract changes hands on its transaction date.
class XIM_EXPORT PurchaseEvent final : public IEvent {
 public:
    void serialize(Json::Value& json) const override;
    void deserialize(Json::Value const& json) override;

    float Quantity{};
    std::int32_t Start{};
    std::int32_t End{};
};

/// One party chooses one of several alternatives; alternative k is the events from `Starts[k]` to
/// `Ends[k]`.
class XIM_EXPORT ChoiceEvent final : public IEvent {
 public:
    void serialize(Json::Value& json) const override;
    void deserialize(Json::Value const& json) override;

    std::string ChoiceOwnership;  ///< "Callable" or "Putable"
    std::vector<std::int32_t> Starts;
    std::vector<std::int32_t> Ends;
    bool HasValue{};
    std::int32_t Value{};  ///< the chosen alternative, from 0
};

/// The contract ends here; no attributes.
class XIM_EXPORT EndEvent final : public IEvent {
 public:
    void serialize(Json::Value& json) const override;
    void deserialize(Json::Value const& json) override;
};

/// One entry of the list of events.
struct Event {
    EventKind Type{};
    std::string Date;
    std::shared_ptr<IEvent> Attributes;  ///< of the class that belongs to `Type`
};

/// New attributes of the class that belongs to a kind; null for a value outside the enumeration.
[[nodiscard]] XIM_EXPORT std::shared_ptr<IEvent> make_event(EventKind kind);

}  // namespace ximAPI
