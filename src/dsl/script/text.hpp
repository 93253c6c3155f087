// What a script is before any grammar: blanks and quotes are decoration, numbers read the same in
// every locale.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace ximAPI::Toolkit {

/// The script without white space (blank, tab, line feed, vertical tab, form feed, carriage return)
/// and double quotes, wherever they stand: the text that the grammar describes.
std::string clean_script(std::string_view script);

/// For each character of the cleaned script the offset at which it stood in the script.
std::vector<std::size_t> get_offsets(std::string_view script);

/// The number at the start of the text; white space, a sign, an exponent, "inf", "nan" and
/// hexadecimal digits are understood. What follows it is ignored; `length`, unless null, receives
/// the length of what was read. Raises `std::invalid_argument` if there is no number,
/// `std::out_of_range` if it is too large or too small for 32 bits, both with the text "stof".
float read_number(std::string_view text, std::size_t* length = nullptr);

/// The number that digits with at most one point stand for; infinite if it is too large. Never
/// fails.
float read_digits(std::string_view text);

}  // namespace ximAPI::Toolkit
