// A request and its answer as text: parsing, the checks of a text that nobody vouches for,
// rendering.
#pragma once

#include <json/forwards.h>

#include <cstddef>
#include <string>
#include <string_view>

namespace ximAPI::Toolkit {

/// The longest text, in bytes, that `find_refusal` accepts.
inline constexpr std::size_t c_document_limit = std::size_t{64} * 1024 * 1024;

/// The deepest nesting of arrays and objects that `find_refusal` accepts, below the limit of 1000
/// of jsoncpp.
inline constexpr std::size_t c_nesting_limit = 900;

/// The most bytes of indentation in the answer that `find_refusal` accepts: long arrays far inside
/// multiply a text.
inline constexpr std::size_t c_indentation_limit = std::size_t{512} * 1024 * 1024;

/// The greatest number of comments times bytes that `find_refusal` accepts: reading comments takes
/// quadratic time.
inline constexpr std::size_t c_comment_limit = std::size_t{4} * 1024 * 1024 * 1024;

/// Reads a text with comments into `root`. False, with the reader's message in `error`, for a text
/// that is no JSON: `root` is then what was readable in front of the fault, or null. Nesting beyond
/// 1000 raises `Json::RuntimeError`.
[[nodiscard]] bool parse(char const* text, Json::Value& root, std::string& error);

/// The document as indented text, with its comments.
[[nodiscard]] std::string render(Json::Value const& root);

/// Why a text of unknown origin is refused before it is parsed: one of the limits above. Empty when
/// it is not.
[[nodiscard]] std::string find_refusal(std::string_view text);

}  // namespace ximAPI::Toolkit
