#include "api/json/document.hpp"

#include <json/reader.h>
#include <json/value.h>
#include <json/writer.h>

#include <algorithm>

// The answer's exact form is that of the older reader and writer of jsoncpp: they keep and write
// comments.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"

namespace ximAPI::Toolkit {

bool parse(char const* text, Json::Value& root, std::string& error) {
    Json::Reader reader;
    if (reader.parse(text, root)) return true;
    error = reader.getFormattedErrorMessages();
    return false;
}

std::string render(Json::Value const& root) {
    return Json::StyledWriter{}.write(root);
}

#pragma GCC diagnostic pop

namespace {

constexpr std::size_t c_indentation{3};  // of one level, in the answer

/// What a text would cost, told by its brackets, commas and comments alone.
struct Shape {
    std::size_t deepest{0};  // nesting of brackets outside strings and comments
    std::size_t comments{0};
    std::size_t indentation{0};  // of all elements in the answer, in bytes
};

/// The place `width` after a find at `found`, the end of the text for none.
std::size_t after(std::string_view text, std::size_t found, std::size_t width) {
    return found == std::string_view::npos ? text.size() : found + width;
}

/// The place after the comment that starts at `at`; `at` itself when none starts there.
std::size_t skip_comment(std::string_view text, std::size_t at) {
    auto const start = text.substr(at, 2);
    if (start == "//") return after(text, text.find('\n', at), 1);
    if (start == "/*") return after(text, text.find("*/", at + 2), 2);
    return at;
}

/// The place after the string that starts at `at`.
std::size_t skip_string(std::string_view text, std::size_t at) {
    ++at;
    while (at < text.size() && text[at] != '"') at += text[at] == '\\' ? 2U : 1U;
    return std::min(at + 1, text.size());
}

Shape measure(std::string_view text) {
    Shape shape;
    std::size_t depth = 0;
    for (std::size_t at = 0; at < text.size();) {
        char const character = text[at];
        if (character == '"') {
            at = skip_string(text, at);
            continue;
        }
        if (auto const next = skip_comment(text, at); next != at) {
            ++shape.comments;
            at = next;
            continue;
        }
        if (character == '{' || character == '[') shape.deepest = std::max(shape.deepest, ++depth);
        if ((character == '}' || character == ']') && depth > 0) --depth;
        if (character == ',' || character == '{' || character == '[') {
            shape.indentation += c_indentation * depth;
        }
        ++at;
    }
    return shape;
}

}  // namespace

std::string find_refusal(std::string_view text) {
    if (text.size() > c_document_limit) return "Request longer than 64 MiB";
    auto const shape = measure(text);
    if (shape.deepest > c_nesting_limit) return "Request nested deeper than 900";
    if (shape.indentation > c_indentation_limit) return "Request with a too long answer";
    if (shape.comments * text.size() > c_comment_limit) return "Request with too many comments";
    return {};
}

}  // namespace ximAPI::Toolkit
