// What the parser notes about texts and numbers that it takes, but that do not arrive as they were
// meant.
#include <cstdint>
#include <locale>
#include <sstream>
#include <string>

#include "core/toolbox/date.hpp"
#include "core/toolbox/date_text.hpp"
#include "dsl/script/parser.hpp"

namespace ximAPI::Toolkit {

namespace {

using ximCORE::Toolbox::Date;

/// Whether pricing will read the text as a date.
bool is_date(std::string_view text) {
    auto const fields = ximCORE::Toolbox::read_date_text(text);
    if (!fields.has_value()) return false;
    auto const [year, month, day] = *fields;
    return Date::s_sanity_check(static_cast<std::uint16_t>(year), static_cast<std::uint8_t>(month),
                                static_cast<std::uint8_t>(day));
}

/// Whether the number written for the contract, with six significant digits, differs from the one
/// in 32 bits.
bool is_rounded(float value) {
    std::stringstream written;
    written.imbue(std::locale::classic());
    written << static_cast<double>(value);
    float arrived{};
    return written >> arrived && arrived != value;
}

}  // namespace

void Parser::note_text(Pending const& pending, Argument kind, std::string_view text) {
    if (m_trace == nullptr) return;
    auto const position = place(text);
    if (kind == Argument::date) {
        if (!is_date(text)) note({Reason::bad_date, position, pending.construct, kind});
    } else if (text.empty()) {
        note({Reason::empty_argument, position, pending.construct, kind});
    } else if (text.find(',') != std::string_view::npos) {
        note({Reason::deaf_argument, position, pending.construct, kind});
    }
}

void Parser::note_number(std::size_t position, float value) {
    if (m_trace != nullptr && is_rounded(value))
        note({.reason = Reason::rounded_number, .position = position, .value = value});
}

}  // namespace ximAPI::Toolkit
