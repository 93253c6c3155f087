// Reading of JSON texts: market files and descriptions of sources.

#pragma once

#include <json/forwards.h>

#include <string>

namespace ximCORE::Data {

/// Reads a text, comments allowed. False when it is no JSON; `root` then holds what was read up to
/// the fault. Throws Json::RuntimeError for a nesting deeper than the library's limit of 1000.
[[nodiscard]] bool parse_json(std::string const& text, Json::Value& root);

/// A member of an object. False, with `out` untouched, when the key is absent, the value is null or
/// does not convert, and when `item` is no object.
[[nodiscard]] bool has(Json::Value const& item, char const* key, std::string& out);
[[nodiscard]] bool has(Json::Value const& item, char const* key, float& out);

/// The member itself; null when it is absent or null, or `item` is no object. Owned by `item`.
Json::Value const* find_member(Json::Value const& item, char const* key);

}  // namespace ximCORE::Data
