// The two tools of every market item: a field that keeps its first value, and the report of a field
// that has none.

#pragma once

#include <string_view>
#include <utility>

#include "core/data/level.hpp"
#include "core/toolbox/log.hpp"

namespace ximCORE::Data {

/// A field with its has-flag. The first value stays: this is how an earlier source of market data
/// wins over a later one.
template <class T>
class SetOnce {
 public:
    SetOnce() = default;
    /// With `is_set` false the value is kept for display and the field still counts as missing.
    explicit SetOnce(T value, bool is_set = true) : m_value(std::move(value)), m_is_set(is_set) {}

    [[nodiscard]] bool has() const { return m_is_set; }
    T const& get() const { return m_value; }

    /// Does nothing once the field has a value.
    void set(T value) {
        if (m_is_set) return;
        m_value = std::move(value);
        m_is_set = true;
    }

    /// As `set`; an empty text counts as absent.
    void set_text(std::string_view text) requires requires(T& value) { value.assign(text); }
    {
        if (!text.empty()) set(T(text));
    }

 private:
    T m_value{};
    bool m_is_set = false;
};

/// False for `Level::silent`, which asks for no report; true for the two other levels.
/// Throws std::runtime_error "Unknown error" for any other number.
[[nodiscard]] bool is_reported(Level level);

/// The level of the log record: WARNING for `Level::warning`, else ERROR.
Toolbox::Log::Level log_level(Level level);

/// Writes the parts as one record of the level's severity, nothing when silent, and answers false.
/// Throws std::runtime_error "Unknown error" for an illegal level.
template <class... Parts>
bool missing_text(Level level, Parts const&... parts) {
    if (is_reported(level)) Toolbox::Log::s_log(log_level(level), parts...);
    return false;
}

/// The usual report of a missing field: the prefix, which ends with an opening quote, the owner's
/// ticker, "'".
template <class Owner>
bool missing(Level level, std::string_view prefix, Owner const& owner) {
    return missing_text(level, prefix, owner.c_str(), "'");
}

}  // namespace ximCORE::Data
