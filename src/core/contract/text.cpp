#include "core/contract/text.hpp"

#include <algorithm>
#include <cstdio>
#include <string_view>

#include "core/toolbox/math.hpp"

namespace ximCORE::Contract {

namespace {

bool is_break(std::string_view line, std::size_t position) {
    return line[position] == ' ' && position > 0 && line[position - 1] == ')';
}

/// Where to break a line that is too long: npos when nothing allows it.
std::size_t find_break(std::string_view line, std::uint64_t width) {
    for (std::size_t position = static_cast<std::size_t>(width) + 1; position-- > 1;)
        if (is_break(line, position)) return position;
    for (std::size_t position = static_cast<std::size_t>(width) + 1; position < line.size();
         ++position)
        if (is_break(line, position)) return position;
    return std::string_view::npos;
}

}  // namespace

std::string to_string_wtz(double value) {
    char buffer[352];  // the largest double has 309 digits before the point
    std::string text(buffer,
                     static_cast<std::size_t>(std::snprintf(buffer, sizeof buffer, "%f", value)));
    if (text.find('.') == std::string::npos) return text;
    text.erase(text.find_last_not_of('0') + 1);
    if (text.back() == '.') text.pop_back();
    return text;
}

void start_line(std::string& text, std::uint64_t indent, std::uint64_t width) {
    text += '\n';
    Toolbox::Math::indent(text, std::min(indent, width));
}

void append_lines(std::string& text, std::string const& part, std::uint64_t indent,
                  std::uint64_t width) {
    std::string_view rest(part);
    while (rest.size() > width) {
        auto const position = find_break(rest, width);
        if (position == std::string_view::npos) break;
        text.append(rest.substr(0, position));
        start_line(text, indent, width);
        rest.remove_prefix(position + 1);
    }
    text.append(rest);
}

}  // namespace ximCORE::Contract
