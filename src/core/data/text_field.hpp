// A text of fixed width with its has-flag: the fields of what a source replies.

#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <string_view>

namespace ximCORE::Data {

/// Writes the WARNING "Text too long: " and the text.
void report_long_text(std::string_view text);

/// The longest start of `text` that has at most `size` bytes and does not cut a UTF-8 character.
std::string_view cut_at_character(std::string_view text, std::size_t size);

/// Holds up to `width` - 1 bytes and a closing zero. The first text stays.
template <std::size_t width>
class TextField {
 public:
    static constexpr std::size_t c_size = width - 1;

    [[nodiscard]] bool has() const { return m_has; }
    char const* c_str() const { return m_text.data(); }

    /// A text that does not fit is not stored: the flag stays false, after a WARNING.
    void set(std::string_view text) {
        if (m_has) return;
        if (text.size() > c_size) return report_long_text(text);
        std::copy(text.begin(), text.end(), m_text.begin());
        m_has = true;
    }

    /// A text that does not fit is cut at a character boundary.
    void set_cut(std::string_view text) { set(cut_at_character(text, c_size)); }

 private:
    std::array<char, width> m_text{};
    bool m_has = false;
};

}  // namespace ximCORE::Data
