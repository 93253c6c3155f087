#include "core/toolbox/date_text.hpp"

#include <algorithm>
#include <array>
#include <charconv>

namespace ximCORE::Toolbox {

namespace {

constexpr auto c_months = std::to_array<std::string_view>(
    {"Jan", "Feb", "Mar", "Apr", "May", "Jun", "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"});
constexpr auto c_week_days =
    std::to_array<std::string_view>({"Mon", "Tue", "Wed", "Thu", "Fri", "Sat", "Sun"});
constexpr std::string_view c_digits = "0123456789";
constexpr std::string_view c_digits_above_zero = "123456789";

/// A text read from left to right. Each reader takes what it wants from the front, or answers
/// false. Taking as much as possible is enough: in every form, the character after a repetition is
/// none of those repeated.
class Cursor {
 public:
    explicit Cursor(std::string_view text) : m_rest(text) {}

    [[nodiscard]] bool at_end() const { return m_rest.empty(); }
    [[nodiscard]] bool take(char expected) {
        if (m_rest.empty() || m_rest.front() != expected) {
            return false;
        }
        m_rest.remove_prefix(1);
        return true;
    }
    /// From `least` to `most` characters of `set`, into `taken`.
    [[nodiscard]] bool take_run(std::string_view set, std::size_t least, std::size_t most,
                                std::string_view& taken) {
        std::size_t const available = std::min(most, m_rest.size());
        std::size_t length = 0;
        while (length < available && set.find(m_rest[length]) != std::string_view::npos) {
            ++length;
        }
        taken = m_rest.substr(0, length);
        m_rest.remove_prefix(length);
        return length >= least;
    }
    [[nodiscard]] bool skip_run(std::string_view set) {
        std::string_view skipped;
        return take_run(set, 1, std::string_view::npos, skipped);
    }
    /// One of the three-letter names, into `taken`.
    template <std::size_t count>
    [[nodiscard]] bool take_name(std::array<std::string_view, count> const& names,
                                 std::string_view& taken) {
        taken = m_rest.substr(0, 3);
        if (std::find(names.begin(), names.end(), taken) == names.end()) {
            return false;
        }
        m_rest.remove_prefix(taken.size());
        return true;
    }
    /// Three groups of digits with `separator` between them.
    [[nodiscard]] bool take_triple(char separator, std::size_t least, std::size_t most) {
        std::string_view group;
        return take_run(c_digits, least, most, group) && take(separator) &&
               take_run(c_digits, least, most, group) && take(separator) &&
               take_run(c_digits, least, most, group);
    }

 private:
    std::string_view m_rest;
};

constexpr std::size_t c_any_number = std::string_view::npos;

std::optional<DateFields> make_fields(std::string_view year, int month, std::string_view day) {
    std::optional<std::int32_t> const year_number = read_digits(year);
    std::optional<std::int32_t> const day_number = read_digits(day);
    if (!year_number || !day_number) {
        return std::nullopt;
    }
    return DateFields{*year_number, month, *day_number};
}

/// 2024-3-5, alone or with a time behind a blank.
std::optional<DateFields> read_dashed(std::string_view text) {
    Cursor cursor(text);
    std::string_view year;
    std::string_view month;
    std::string_view day;
    bool const is_date = cursor.take_run(c_digits, 1, c_any_number, year) && cursor.take('-') &&
                         cursor.take_run(c_digits, 1, 2, month) && cursor.take('-') &&
                         cursor.take_run(c_digits, 1, 2, day);
    if (!is_date) {
        return std::nullopt;
    }
    bool const is_whole =
        cursor.at_end() || (cursor.take(' ') && cursor.take_triple(':', 1, 2) && cursor.at_end());
    return is_whole ? make_fields(year, read_digits(month).value_or(0), day) : std::nullopt;
}

/// Mar 5, 2024.
std::optional<DateFields> read_named(std::string_view text) {
    Cursor cursor(text);
    std::string_view month;
    std::string_view day;
    std::string_view year;
    // Relied on: a day written with a 0 ("Mar 10, 2024") is refused in this form
    bool const is_date = cursor.take_name(c_months, month) && cursor.take(' ') &&
                         cursor.take_run(c_digits_above_zero, 1, 2, day) && cursor.take(',') &&
                         cursor.take(' ') && cursor.take_run(c_digits, 1, c_any_number, year) &&
                         cursor.at_end();
    return is_date ? make_fields(year, get_month_from_abreviated_month(month), day) : std::nullopt;
}

/// Wed Mar  6 10:20:30 2024 with an end of line, as ctime writes it.
std::optional<DateFields> read_ctime(std::string_view text) {
    constexpr std::string_view blanks = " \t";
    constexpr std::string_view ends = " \n";
    Cursor cursor(text);
    std::string_view week_day;
    std::string_view month;
    std::string_view day;
    std::string_view year;
    bool const is_date = cursor.take_name(c_week_days, week_day) && cursor.skip_run(blanks) &&
                         cursor.take_name(c_months, month) && cursor.skip_run(blanks) &&
                         cursor.take_run(c_digits, 1, 2, day) && cursor.skip_run(blanks) &&
                         cursor.take_triple(':', 2, 2) && cursor.skip_run(blanks) &&
                         cursor.take_run(c_digits, 1, c_any_number, year) &&
                         cursor.skip_run(ends) && cursor.at_end();
    return is_date ? make_fields(year, get_month_from_abreviated_month(month), day) : std::nullopt;
}

}  // namespace

std::optional<DateFields> read_date_text(std::string_view text) {
    if (text.size() > c_max_text_length) {
        return std::nullopt;
    }
    for (auto const read : {read_dashed, read_named, read_ctime}) {
        if (std::optional<DateFields> const fields = read(text)) {
            return fields;
        }
    }
    return std::nullopt;
}

unsigned char get_month_from_abreviated_month(std::string_view text) {
    auto const found = std::find(c_months.begin(), c_months.end(), text);
    return found == c_months.end() ? std::uint8_t{0}
                                   : static_cast<std::uint8_t>(found - c_months.begin() + 1);
}

std::optional<ShiftText> read_shift_text(std::string_view text) {
    constexpr auto units = std::to_array<std::string_view>({"d", "m", "y", "bd"});
    if (text.empty() || text.size() > c_max_text_length) {
        return std::nullopt;
    }
    Cursor cursor(text);
    std::string_view count;
    bool const has_count =
        (cursor.take('+') || cursor.take('-')) && cursor.take_run(c_digits, 1, c_any_number, count);
    if (!has_count) {
        return std::nullopt;
    }
    std::string_view const unit = text.substr(1 + count.size());
    if (std::find(units.begin(), units.end(), unit) == units.end()) {
        return std::nullopt;
    }
    return ShiftText{text.front(), count, unit};
}

std::optional<std::int32_t> read_digits(std::string_view digits) {
    std::int32_t number = 0;
    char const* const end = digits.data() + digits.size();
    auto const [last, error] = std::from_chars(digits.data(), end, number);
    if (error != std::errc{} || last != end) {
        return std::nullopt;
    }
    return number;
}

}  // namespace ximCORE::Toolbox
