#include "core/toolbox/json_serializable.hpp"

#include <json/value.h>

#include <algorithm>
#include <tuple>

namespace ximCORE::Toolbox {

namespace {

/// Hands the value itself (empty key) or its member to `assign`, unless it is absent or null.
template <class Assign>
bool assign_present(Json::Value const& json, std::string const& key, Assign const& assign) {
    Json::Value const& value = key.empty() ? json : json[key];
    if (value.isNull()) {
        return false;
    }
    assign(value);
    return true;
}

}  // namespace

void JsonSerializable::serialize(Json::Value&) const {}

void JsonSerializable::deserialize(Json::Value const&) {}

bool JsonSerializable::s_set_int(Json::Value const& json, std::string const& key,
                                 std::int32_t& target) {
    return assign_present(json, key, [&](Json::Value const& value) { target = value.asInt(); });
}

bool JsonSerializable::s_set_string(Json::Value const& json, std::string const& key,
                                    std::string& target) {
    return assign_present(json, key, [&](Json::Value const& value) { target = value.asString(); });
}

bool JsonSerializable::s_set_cstring(Json::Value const& json, std::string const& key) {
    return assign_present(json, key, [](Json::Value const& value) {
        std::ignore =
            value.asCString();  // the conversion alone matters: it refuses what is no text
    });
}

bool JsonSerializable::s_set_bool(Json::Value const& json, std::string const& key, bool& target) {
    return assign_present(json, key, [&](Json::Value const& value) { target = value.asBool(); });
}

bool JsonSerializable::s_set_char(Json::Value const& json, std::string const& key,
                                  std::span<char> target) {
    return assign_present(json, key, [&](Json::Value const& value) {
        if (target.empty()) {
            return;
        }
        std::string const text = value.asString();
        std::size_t const length = std::min(text.size(), target.size() - 1);
        std::copy_n(text.begin(), length, target.begin());
        target[length] = '\0';
    });
}

bool JsonSerializable::s_set_double(Json::Value const& json, std::string const& key,
                                    double& target) {
    return assign_present(json, key, [&](Json::Value const& value) { target = value.asDouble(); });
}

bool JsonSerializable::s_set_float(Json::Value const& json, std::string const& key, float& target) {
    return assign_present(json, key, [&](Json::Value const& value) { target = value.asFloat(); });
}

bool JsonSerializable::s_set_object(Json::Value const& json, std::string const& key,
                                    JsonSerializable& target) {
    return assign_present(json, key, [&](Json::Value const& value) { target.deserialize(value); });
}

}  // namespace ximCORE::Toolbox
