// The elements of IN lists: what stands between a caller's texts and the market database.

#pragma once

#include <algorithm>
#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace ximCORE::Data {

/// True for a text of at most `max_size` bytes that has no quote, no backslash and no control
/// character.
[[nodiscard]] bool is_safe_in_sql(std::string_view text, std::size_t max_size);

/// Appends one text field of all records to `out`, each once, sorted, in single quotes, joined by
/// ", ". Values go in as they stand, so one that could end its quotes, or that is wider than the
/// `max_size` bytes of a reply, is left out: it finds nothing.
template <class T>
void make_string(std::vector<T> const& records, std::string& out, char const* T::*field,
                 std::size_t max_size) {
    std::vector<std::string_view> texts;
    for (auto const& record : records)
        if (is_safe_in_sql(record.*field, max_size)) texts.emplace_back(record.*field);
    std::sort(texts.begin(), texts.end());
    texts.erase(std::unique(texts.begin(), texts.end()), texts.end());
    for (auto const text : texts) {
        if (!out.empty()) out += ", ";
        out.append("'").append(text).append("'");
    }
}

}  // namespace ximCORE::Data
