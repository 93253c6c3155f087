// The texts of dates and date shifts: what is accepted, and what stands where. Matched by hand, in
// one pass and without allocation: a market document holds thousands of dates, and no text may
// exhaust the stack.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

namespace ximCORE::Toolbox {

/// Longer texts of dates and of shifts are refused unread.
inline constexpr std::size_t c_max_text_length = 64;

/// What a text says, as numbers that no calendar has checked.
struct DateFields {
    int year;
    int month;
    int day;
};

/// Reads one of the four forms, tried in this order, each against the whole text:
///     ([0-9]+)-([0-9]{1,2})-([0-9]{1,2})
///     ([0-9]+)-([0-9]{1,2})-([0-9]{1,2}) ([0-9]{1,2})[:]([0-9]{1,2})[:]([0-9]{1,2})
///     (Jan|...|Dec) ([1-9]{1,2}), ([0-9]+)          (a day with a 0 in it is not accepted here)
///     (Mon|...|Sun)[ \t]+(Jan|...|Dec)[ \t]+([0-9]{1,2})[
///     \t]+([0-9]{2})[:]([0-9]{2})[:]([0-9]{2})[ \t]+([0-9]+)[ \n]+
/// Nothing for any other text, and for a year above 2147483647.
[[nodiscard]] std::optional<DateFields> read_date_text(std::string_view text);

/// 1 to 12 for "Jan" to "Dec" (September is "Sep"), 0 for any other text.
[[nodiscard]] unsigned char get_month_from_abreviated_month(std::string_view text);

/// The parts of a shift's text, views into it.
struct ShiftText {
    char sign;
    std::string_view count;
    std::string_view unit;
};

/// Reads (\+|\-)([0-9]+)(d|m|y|bd), against the whole text. Nothing for any other text.
[[nodiscard]] std::optional<ShiftText> read_shift_text(std::string_view text);

/// A group of digits as a number; nothing above 2147483647.
[[nodiscard]] std::optional<std::int32_t> read_digits(std::string_view digits);

}  // namespace ximCORE::Toolbox
