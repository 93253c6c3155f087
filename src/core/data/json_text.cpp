#include "core/data/json_text.hpp"

#include <json/json.h>

#include <cstring>

namespace ximCORE::Data {

namespace {

template <class Convert, class T>
bool has_converted(Json::Value const& item, char const* key, T& out, Convert convert) {
    auto const* member = find_member(item, key);
    if (!member) return false;
    try {
        out = convert(*member);
        return true;
    } catch (Json::Exception const&) {
        return false;  // a value of another type counts as absent
    }
}

}  // namespace

bool parse_json(std::string const& text, Json::Value& root) {
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"
    // The reader that is stricter than its successor: no trailing commas.
    Json::Reader reader;
    return reader.parse(text, root, true);
#pragma GCC diagnostic pop
}

bool has(Json::Value const& item, char const* key, std::string& out) {
    return has_converted(item, key, out, [](Json::Value const& value) { return value.asString(); });
}

bool has(Json::Value const& item, char const* key, float& out) {
    return has_converted(item, key, out, [](Json::Value const& value) { return value.asFloat(); });
}

Json::Value const* find_member(Json::Value const& item, char const* key) {
    if (!item.isObject()) return nullptr;
    auto const* member = item.find(key, key + std::strlen(key));
    return member && !member->isNull() ? member : nullptr;
}

}  // namespace ximCORE::Data
