// The words and signs of a script as a reader sees them.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace ximAPI::Toolkit {

/// The run of letters and digits around `position` that begins with a letter; empty if there is
/// none. A word that follows a number begins behind it.
std::string_view word_at(std::string_view text, std::size_t position);

/// What stands at `position`, in quotes: a word, a number, a sign such as "<=", one character; or
/// "end of the script".
std::string found_at(std::string_view text, std::size_t position);

/// The argument that begins at `position`, up to the comma or bracket that ends it, in quotes and
/// cut to a readable length; "nothing" if it is empty.
std::string argument_at(std::string_view text, std::size_t position);

/// The word of the language that is closest to `word`, by the fewest letters to change, insert or
/// remove, case aside; empty if none is close. Of several the words of the language in use come
/// first.
std::string_view nearest_word(std::string_view word, bool statement);

}  // namespace ximAPI::Toolkit
