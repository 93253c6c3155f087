#include "dsl/script/text.hpp"

#include <algorithm>
#include <cerrno>
#include <clocale>
#include <cstdlib>
#include <iterator>
#include <stdexcept>

namespace ximAPI::Toolkit {

namespace {

constexpr std::string_view decoration = " \t\n\v\f\r\"";

bool is_decoration(char character) {
    return decoration.find(character) != std::string_view::npos;
}

/// The library's conversion, with a point as decimal separator whatever the locale of the process.
float convert(char const* text, char** end) {
    static locale_t const classic = newlocale(LC_ALL_MASK, "C", nullptr);
    return ::strtof_l(text, end, classic);
}

}  // namespace

std::string clean_script(std::string_view script) {
    std::string text;
    text.reserve(script.size());
    std::ranges::remove_copy_if(script, std::back_inserter(text), is_decoration);
    return text;
}

std::vector<std::size_t> get_offsets(std::string_view script) {
    std::vector<std::size_t> offsets;
    for (std::size_t offset = 0; offset < script.size(); ++offset) {
        if (!is_decoration(script[offset])) offsets.push_back(offset);
    }
    return offsets;
}

float read_number(std::string_view text, std::size_t* length) {
    std::string const number(text);
    char* end = nullptr;
    auto const outer_error = errno;
    errno = 0;
    auto const value = convert(number.c_str(), &end);
    auto const error = errno;
    errno = outer_error;
    if (end == number.c_str()) throw std::invalid_argument("stof");
    if (error == ERANGE) throw std::out_of_range("stof");
    if (length != nullptr) *length = static_cast<std::size_t>(end - number.c_str());
    return value;
}

float read_digits(std::string_view text) {
    return convert(std::string(text).c_str(), nullptr);
}

}  // namespace ximAPI::Toolkit
