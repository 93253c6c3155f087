// A diagnosis as text for a terminal.
#include <algorithm>
#include <string>
#include <string_view>

#include "ximAPI/diagnosis.hpp"

namespace ximAPI {

namespace {

constexpr std::size_t max_width = 100;
constexpr auto indent = "    ";

bool is_continuation(char character) {
    return (static_cast<unsigned char>(character) & 0xC0U) == 0x80U;
}

std::string_view line_of(std::string_view script, std::size_t number) {
    for (; number > 1; --number) {
        auto const end = script.find('\n');
        if (end == std::string_view::npos) return {};
        script.remove_prefix(end + 1);
    }
    return script.substr(0, script.find('\n'));
}

/// The line in characters, each one column wide: a UTF-8 sequence stays together, a control
/// character is a blank.
std::vector<std::string> characters_of(std::string_view line) {
    std::vector<std::string> characters;
    for (auto const byte : line) {
        auto const is_control = static_cast<unsigned char>(byte) < 32 || byte == 127;
        if (is_continuation(byte) && !characters.empty()) {
            characters.back() += byte;
        } else {
            characters.emplace_back(1, is_control ? ' ' : byte);
        }
    }
    return characters;
}

/// The line, or the part of a long one round the column, and a caret below the column.
std::string show_place(std::string_view script, ScriptRemark const& remark) {
    auto const characters = characters_of(line_of(script, remark.line));
    auto const column = std::max<std::size_t>(remark.column, 1) - 1;
    auto const first = column < max_width * 3 / 4 ? 0 : column - max_width / 2;
    auto const last = std::min(characters.size(), first + max_width);
    std::string text = indent;
    for (auto at = first; at < last; ++at) text += characters[at];
    return text + '\n' + indent + std::string(column - first, ' ') + "^\n";
}

/// The text without control characters.
std::string printable(std::string_view text) {
    std::string shown;
    for (auto const& character : characters_of(text)) shown += character;
    return shown;
}

std::string render(ScriptRemark const& remark, std::string_view kind, std::string_view script) {
    auto text = std::to_string(remark.line) + ':' + std::to_string(remark.column) + ": " +
                std::string(kind) + ": " + printable(remark.message) + '\n';
    text += show_place(script, remark);
    auto const add = [&](std::string_view label, std::string const& content) {
        if (!content.empty()) text += indent + std::string(label) + printable(content) + '\n';
    };
    add("expected: ", remark.expected);
    add("found: ", remark.found);
    add("nearest word: ", remark.nearest);
    add("form: ", remark.signature);
    add("hint: ", remark.hint);
    return text;
}

}  // namespace

std::string render_diagnosis(ScriptDiagnosis const& diagnosis, std::string const& script) {
    std::string text;
    if (!diagnosis.accepted) text += render(diagnosis.error, "error", script);
    for (auto const& warning : diagnosis.warnings) text += render(warning, "warning", script);
    return text;
}

}  // namespace ximAPI
