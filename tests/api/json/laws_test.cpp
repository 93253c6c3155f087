// Laws that hold for every record with a JSON form, over random values.

#include <gtest/gtest.h>
#include <json/value.h>
#include <json/writer.h>

#include <set>
#include <string>

#include "api/json/document.hpp"
#include "api/json/records.hpp"

namespace ximTest {
namespace {

using ximAPI::Toolkit::deserialize;
using ximAPI::Toolkit::fields;
using ximAPI::Toolkit::serialize;

template <class R>
Json::Value written(R const& record) {
    Json::Value json;
    serialize(record, json);
    return json;
}

/// Through the text and back.
Json::Value reparsed(Json::Value const& json) {
    Json::Value root;
    std::string error;
    EXPECT_TRUE(ximAPI::Toolkit::parse(ximAPI::Toolkit::render(json).c_str(), root, error))
        << error;
    return root;
}

TEST(EveryRecord, ReadsBackWhatItWrote) {
    Random random{20231105};
    for_each_record([&]<class R>() {
        for (int round = 0; round < 20; ++round) {
            R original;
            randomise(original, random);
            auto const json = written(original);
            R copy;
            deserialize(reparsed(json), copy);
            ASSERT_EQ(written(copy), json) << name_of<R>();
        }
    });
}

TEST(EveryRecord, LeavesMembersThatItDoesNotKnowAsTheyCame) {
    Random random{7};
    for_each_record([&]<class R>() {
        R record;
        randomise(record, random);
        Json::Value json;
        json["Of the caller"]["deep"] = 12;
        serialize(record, json);
        EXPECT_EQ(json["Of the caller"]["deep"], Json::Value{12}) << name_of<R>();
    });
}

TEST(EveryRecord, WrittenTwiceIsWrittenOnce) {
    Random random{11};
    for_each_record([&]<class R>() {
        R first;
        R second;
        randomise(first, random);
        randomise(second, random);
        if constexpr (std::is_same_v<R, ximAPI::Data>) first.WithoutLogin = second.WithoutLogin;
        auto json = written(first);
        serialize(second, json);
        // An empty vector is [] where an array stood and null where nothing did; both read the
        // same.
        R read;
        deserialize(json, read);
        EXPECT_EQ(written(read), written(second)) << name_of<R>();
    });
}

/// Every number and boolean is 0, every text empty, every array empty; enumerations may have a
/// value.
bool is_zero(Json::Value const& json) {
    if (json.isObject()) {
        for (auto const& member : json) {
            if (!is_zero(member)) return false;
        }
        return true;
    }
    if (json.isArray()) return json.empty() || (json.size() == 1 && is_zero(json[0]));
    if (json.isString()) return true;
    return json.isNull() || json.asDouble() == 0.0;
}

TEST(EveryRecord, ReadsAsZeroFromAnEmptyObjectAndFromNothing) {
    Random random{13};
    for_each_record([&]<class R>() {
        for (auto const& empty : {Json::Value{}, Json::Value{Json::objectValue}}) {
            R record;
            randomise(record, random);
            deserialize(empty, record);
            EXPECT_TRUE(is_zero(written(record))) << name_of<R>() << written(record);
        }
    });
}

TEST(EveryRecord, HasEachKeyOnce) {
    for_each_record([&]<class R>() {
        std::multiset<std::string> keys;
        std::apply(
            [&](auto const&... field) {
                (
                    [&] {
                        if constexpr (requires { field.key; }) keys.insert(field.key);
                    }(),
                    ...);
            },
            fields<R>);
        for (auto const& key : keys) EXPECT_EQ(keys.count(key), 1U) << name_of<R>() << " " << key;
    });
}

// ---- wrong types
// -----------------------------------------------------------------------------------------------------

/// A value that jsoncpp does not convert to a T; null when there is none.
template <class T>
Json::Value wrong_value() {
    Json::Value wrong;
    if constexpr (ximAPI::Toolkit::Enumeration<T>) {
        return wrong;
    } else if constexpr (Vector<T>) {
        if (auto const element = wrong_value<typename ElementOf<T>::type>(); !element.isNull()) {
            wrong.append(element);
        }
        return wrong;
    } else if constexpr (ximAPI::Toolkit::Record<T>) {
        return Json::Value{"a text"};
    } else {
        wrong["a"] = 1;  // no text, number or boolean
        return wrong;
    }
}

template <class F>
inline constexpr bool is_write_only = false;
template <class R, class T>
inline constexpr bool is_write_only<ximAPI::Toolkit::WriteOnly<R, T>> = true;

template <class R, class F>
void expect_refusal_of_wrong_type(F const& field) {
    if constexpr (requires {
                      field.member;
                      field.key;
                  } &&
                  !is_write_only<F>) {
        using T = std::remove_cvref_t<decltype(std::declval<R&>().*field.member)>;
        Json::Value json;
        json[field.key] = wrong_value<T>();
        if (json[field.key].isNull()) return;
        R record;
        EXPECT_THROW(deserialize(json, record), Json::Exception)
            << name_of<R>() << " " << field.key;
    }
}

TEST(EveryRecord, RaisesTheExceptionOfJsoncppForAWrongType) {
    for_each_record([&]<class R>() {
        std::apply([&](auto const&... field) { (expect_refusal_of_wrong_type<R>(field), ...); },
                   fields<R>);
        R record;
        EXPECT_THROW(deserialize(Json::Value{"a text"}, record), Json::Exception) << name_of<R>();
        EXPECT_THROW(deserialize(Json::Value{Json::arrayValue}, record), Json::Exception)
            << name_of<R>();
        EXPECT_THROW(deserialize(Json::Value{12}, record), Json::Exception) << name_of<R>();
    });
}

TEST(EveryRecord, KeepsItsEnumerationsForAnUnknownTextAndAnyOtherType) {
    Random random{17};
    for_each_record([&]<class R>() {
        R record;
        randomise(record, random);
        std::apply(
            [&](auto const&... field) {
                (
                    [&] {
                        if constexpr (requires { record.*field.member; }) {
                            using T = std::remove_cvref_t<decltype(record.*field.member)>;
                            if constexpr (ximAPI::Toolkit::Enumeration<T>) {
                                auto const before = record.*field.member;
                                for (Json::Value const& other :
                                     {Json::Value{"UNKNOWN"}, Json::Value{1},
                                      Json::Value{Json::objectValue}, Json::Value{},
                                      Json::Value{""}}) {
                                    Json::Value json;
                                    json[field.key] = other;
                                    deserialize(json, record);
                                    EXPECT_EQ(record.*field.member, before)
                                        << name_of<R>() << field.key;
                                }
                            }
                        }
                    }(),
                    ...);
            },
            fields<R>);
    });
}

}  // namespace
}  // namespace ximTest
