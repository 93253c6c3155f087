#include "core/data/text_field.hpp"

#include "core/toolbox/log.hpp"

namespace ximCORE::Data {

void report_long_text(std::string_view text) {
    Toolbox::Log::s_log(Toolbox::Log::Level::WARNING, "Text too long: ", text);
}

std::string_view cut_at_character(std::string_view text, std::size_t size) {
    if (text.size() <= size) return text;
    auto const is_inside = [&](std::size_t i) {
        return (static_cast<unsigned char>(text[i]) & 0xC0U) == 0x80U;
    };
    while (size > 0 && is_inside(size)) --size;
    return text.substr(0, size);
}

}  // namespace ximCORE::Data
