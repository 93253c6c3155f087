// Base of every class with a JSON form, and the readers of one optional member.
#pragma once

#include <json/forwards.h>

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

namespace ximCORE::Toolbox {

class JsonSerializable {
 public:
    virtual ~JsonSerializable() = default;

    /// Writes the JSON form. Default: writes nothing.
    virtual void serialize(Json::Value& json) const;
    /// Reads the JSON form. Default: reads nothing.
    virtual void deserialize(Json::Value const& json);

    // Readers of one member. An empty `key` means `json` itself, any other one the member of that
    // name. Absent or null: false, and the target stays as it was. Otherwise the target is set:
    // true. A value that jsoncpp refuses to convert, and a key asked of something that is no
    // object, raise jsoncpp's exception.

    [[nodiscard]] static bool s_set_int(Json::Value const& json, std::string const& key,
                                        std::int32_t& target);
    [[nodiscard]] static bool s_set_string(Json::Value const& json, std::string const& key,
                                           std::string& target);
    /// Converts the member to a text and drops it: tells only whether a text is there.
    [[nodiscard]] static bool s_set_cstring(Json::Value const& json, std::string const& key);
    [[nodiscard]] static bool s_set_bool(Json::Value const& json, std::string const& key,
                                         bool& target);
    /// Into a zero-terminated buffer; a longer text is cut at the buffer's width.
    [[nodiscard]] static bool s_set_char(Json::Value const& json, std::string const& key,
                                         std::span<char> target);
    [[nodiscard]] static bool s_set_double(Json::Value const& json, std::string const& key,
                                           double& target);
    [[nodiscard]] static bool s_set_float(Json::Value const& json, std::string const& key,
                                          float& target);
    /// Hands the member to the target's own `deserialize`.
    [[nodiscard]] static bool s_set_object(Json::Value const& json, std::string const& key,
                                           JsonSerializable& target);

 protected:
    JsonSerializable() = default;
    JsonSerializable(JsonSerializable const&) = default;
    JsonSerializable& operator=(JsonSerializable const&) = default;
};

}  // namespace ximCORE::Toolbox
