// Both directions between a record and its JSON object, driven by one table of fields per record.
//
// Reading uses const look-ups only, so that the document stays as it came: an absent text reads as
// "", a number as 0, a boolean as false; an absent or unknown text of an enumeration leaves the
// value alone; a vector takes the size of the array. A wrong type raises the exception of jsoncpp.
// Writing sets every member of the table and leaves all others alone.
#pragma once

#include <json/value.h>

#include <cmath>
#include <cstdint>
#include <string>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

#include "api/json/texts.hpp"

namespace ximAPI::Toolkit {

/// The fields of a record, in the order of writing: a tuple of the kinds below. Empty for every
/// other type.
template <class R>
inline constexpr auto fields = std::tuple<>{};

template <class R>
concept Record = std::is_class_v<R> && std::tuple_size_v<std::remove_cvref_t<decltype(fields<R>)>>
!= 0;

// ---- values
// ----------------------------------------------------------------------------------------------------------

inline void serialize(std::string const& value, Json::Value& json) {
    json = value;
}
inline void serialize(bool const& value, Json::Value& json) {
    json = value;
}
inline void serialize(std::int32_t const& value, Json::Value& json) {
    json = Json::Int{value};
}
inline void serialize(std::int64_t const& value, Json::Value& json) {
    json = Json::Int64{value};
}
/// Written as a double; a value that is not finite as null.
inline void serialize(float const& value, Json::Value& json) {
    json = std::isfinite(value) ? Json::Value{static_cast<double>(value)} : Json::Value{};
}

inline void deserialize(Json::Value const& json, std::string& value) {
    value = json.asString();
}
inline void deserialize(Json::Value const& json, bool& value) {
    value = json.asBool();
}
inline void deserialize(Json::Value const& json, std::int32_t& value) {
    value = json.asInt();
}
inline void deserialize(Json::Value const& json, std::int64_t& value) {
    value = json.asInt64();
}
inline void deserialize(Json::Value const& json, float& value) {
    value = json.asFloat();
}

template <Enumeration E>
void serialize(E const& value, Json::Value& json) {
    json = std::string{to_text(value)};
}
template <Enumeration E>
void deserialize(Json::Value const& json, E& value) {
    if (!json.isString()) return;
    if (auto const read = from_text<E>(json.asString())) value = *read;
}

template <Record R>
void serialize(R const& record, Json::Value& json);
template <Record R>
void deserialize(Json::Value const& json, R& record);

/// An empty array where an array stood, null where anything else did: what a vector is written
/// into.
inline Json::Value& emptied(Json::Value& json) {
    if (json.isArray()) {
        json.clear();
    } else {
        json = Json::Value{};
    }
    return json;
}

template <class T>
void serialize(std::vector<T> const& values, Json::Value& json) {
    emptied(json);
    for (auto const& value : values) serialize(value, json.append(Json::Value{}));
}
template <class T>
void deserialize(Json::Value const& json, std::vector<T>& values) {
    // a text, number or boolean has no elements: it would pass as an empty array
    if (!json.isNull() && !json.isArray() && !json.isObject())
        Json::throwLogicError("Value is not convertible to array.");
    values.resize(json.size());
    Json::ArrayIndex index = 0;
    for (auto& value : values) deserialize(json[index++], value);
}

// ---- kinds of fields
// -------------------------------------------------------------------------------------------------

/// A member under a key.
template <class R, class T>
struct Field {
    char const* key;
    T R::*member;

    void write(R const& record, Json::Value& json) const { serialize(record.*member, json[key]); }
    void read(Json::Value const& json, R& record) const { deserialize(json[key], record.*member); }
};
template <class R, class T>
Field(char const*, T R::*) -> Field<R, T>;

/// A record whose keys stand at the level of the record that holds it.
template <class R, class T>
struct Merged {
    T R::*member;

    void write(R const& record, Json::Value& json) const { serialize(record.*member, json); }
    void read(Json::Value const& json, R& record) const { deserialize(json, record.*member); }
};
template <class R, class T>
Merged(T R::*) -> Merged<R, T>;

/// A member that JSON never changes.
template <class R, class T>
struct WriteOnly {
    char const* key;
    T R::*member;

    void write(R const& record, Json::Value& json) const { serialize(record.*member, json[key]); }
    void read(Json::Value const&, R&) const {}
};
template <class R, class T>
WriteOnly(char const*, T R::*) -> WriteOnly<R, T>;

/// A key with always the same text, never read.
struct Constant {
    char const* key;
    char const* text;

    void write(auto const&, Json::Value& json) const { json[key] = text; }
    void read(Json::Value const&, auto&) const {}
};

/// A record that travels as the one element of an array.
template <class R, class T>
struct Single {
    char const* key;
    T R::*member;

    void write(R const& record, Json::Value& json) const {
        serialize(record.*member, emptied(json[key]).append(Json::Value{}));
    }
    void read(Json::Value const& json, R& record) const {
        deserialize(json[key][Json::ArrayIndex{0}], record.*member);
    }
};
template <class R, class T>
Single(char const*, T R::*) -> Single<R, T>;

/// A switch that is written only when it is on, or where its key stood already.
template <class R>
struct WhenTrue {
    char const* key;
    bool R::*member;

    void write(R const& record, Json::Value& json) const {
        if (record.*member || json.isMember(key)) json[key] = record.*member;
    }
    void read(Json::Value const& json, R& record) const { deserialize(json[key], record.*member); }
};
template <class R>
WhenTrue(char const*, bool R::*) -> WhenTrue<R>;

/// An object that the record owns and whose class another field has chosen: its owner gives both
/// directions. Its keys stand under `key`, or at the level of the record when `key` is empty. Read
/// after the fields in front of it.
template <class R>
struct Chosen {
    char const* key;
    void (*writer)(R const&, Json::Value&);
    void (*reader)(Json::Value const&, R&);

    void write(R const& record, Json::Value& json) const {
        writer(record, *key == '\0' ? json : json[key]);
    }
    void read(Json::Value const& json, R& record) const {
        reader(*key == '\0' ? json : json[key], record);
    }
};

// ---- records
// ---------------------------------------------------------------------------------------------------------

template <Record R>
void serialize(R const& record, Json::Value& json) {
    std::apply([&](auto const&... field) { (field.write(record, json), ...); }, fields<R>);
}
template <Record R>
void deserialize(Json::Value const& json, R& record) {
    std::apply([&](auto const&... field) { (field.read(json, record), ...); }, fields<R>);
}

}  // namespace ximAPI::Toolkit
