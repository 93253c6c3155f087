#include "core/toolbox/date.hpp"

#include <json/value.h>

#include <algorithm>
#include <array>
#include <ctime>
#include <stdexcept>
#include <string_view>
#include <tuple>

#include "core/toolbox/calendar.hpp"
#include "core/toolbox/date_shift.hpp"
#include "core/toolbox/date_text.hpp"
#include "core/toolbox/errors.hpp"
#include "core/toolbox/log.hpp"

namespace ximCORE::Toolbox {

namespace {

constexpr auto c_nb_days_in_month_array =
    std::to_array<std::uint8_t>({31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31});
constexpr auto c_nb_days_before_month_array =
    std::to_array<std::int64_t>({0, 31, 59, 90, 120, 151, 181, 212, 243, 273, 304, 334});
constexpr auto c_month_names = std::to_array<std::string_view>(
    {"Jan", "Feb", "Mar", "Apr", "May", "Jun", "Jul", "Aug", "Sept", "Oct", "Nov", "Dec"});

constexpr std::uint16_t c_first_year = 1970;
constexpr std::int64_t c_serial_of_first_day = 719528;  // 1970-01-01, counted from year 0
constexpr std::int64_t c_seconds_in_day = 86400;
constexpr std::size_t c_text_size = 24;  // of a formatted date with its end, at most

/// Length of a month without leap years; 31 for a month outside 1 to 12.
std::uint8_t table_days_in_month(std::uint8_t month) {
    return month >= 1 && month <= 12 ? c_nb_days_in_month_array[month - 1U] : std::uint8_t{31};
}

std::string_view month_name(std::uint8_t month) {
    return month >= 1 && month <= 12 ? c_month_names[month - 1U] : std::string_view{};
}

/// Days of a year of no leap before the first of `month`; a month above 12 stands behind months of
/// 31 days.
std::int64_t days_before_month(std::uint8_t month) {
    if (month == 0) {
        return 0;
    }
    return month <= 12 ? c_nb_days_before_month_array[month - 1U]
                       : 365 + std::int64_t{31} * (month - 13);
}

std::string local_time_text(long long seconds) {
    auto const time = static_cast<std::time_t>(seconds);
    char const* const text = std::ctime(&time);
    if (text == nullptr) {
        throw std::logic_error("Time without a date");
    }
    return text;
}

/// Writes characters one after the other, and the terminating zero last.
class Writer {
 public:
    explicit Writer(char* out) : m_out(out) {}
    Writer& operator<<(std::string_view text) {
        m_out = std::copy(text.begin(), text.end(), m_out);
        return *this;
    }
    Writer& number(unsigned value, bool padded) {
        if (padded && value < 10) {
            *m_out++ = '0';
        }
        char digits[8];
        char* first = std::end(digits);
        do {
            *--first = static_cast<char>('0' + value % 10);
            value /= 10;
        } while (value != 0);
        m_out = std::copy(first, std::end(digits), m_out);
        return *this;
    }
    void end() { *m_out = '\0'; }

 private:
    char* m_out;
};

void write_iso(char* out, unsigned year, unsigned month, unsigned day) {
    Writer writer(out);
    writer.number(year, false) << "-";
    writer.number(month, true) << "-";
    writer.number(day, true).end();
}

}  // namespace

Date::Date() : Date(static_cast<long long>(std::time(nullptr))) {}

Date::Date(long long const& seconds) : Date(local_time_text(seconds)) {}

Date::Date(unsigned short year, unsigned char month, unsigned char day)
    : m_year(year), m_month(month), m_day(day) {
    if (!s_sanity_check(year, month, day)) {
        // Relied on: month and day stand in this message as one character each, not as digits
        Log::s_log(Log::Level::ERROR, "Cannot read date ", year, "-", month, "-", day);
        throw ConstructorException{};
    }
    _write_text();
}

Date::Date(char const* text) {
    if (text == nullptr) {
        throw std::logic_error("Date without a text");
    }
    _read(text, std::char_traits<char>::length(text));
}

Date::Date(std::string const& text) {
    _read(text.data(), text.size());
}

void Date::_read(char const* text, std::size_t length) {
    std::string_view const view(text, length);
    if (std::optional<DateFields> const fields = read_date_text(view)) {
        // Relied on: fields are checked after narrowing (year 67560 reads as 2024)
        m_year = static_cast<std::uint16_t>(fields->year);
        m_month = static_cast<std::uint8_t>(fields->month);
        m_day = static_cast<std::uint8_t>(fields->day);
        if (s_sanity_check(m_year, m_month, m_day)) {
            _write_text();
            return;
        }
    }
    Log::s_log(Log::Level::ERROR, "Cannot read date ", view);
    throw ConstructorException{};
}

Date::Date(Date const& other)
    : JsonSerializable(other),
      m_year(other.m_year),
      m_month(other.m_month),
      m_day(other.m_day),
      m_fixing_rank(other.m_fixing_rank),
      m_payment_rank(other.m_payment_rank),
      m_maturity_rank(other.m_maturity_rank),
      m_pillar_rank(other.m_pillar_rank) {
    _write_text();
}

Date& Date::operator=(Date const& other) {
    m_year = other.m_year;
    m_month = other.m_month;
    m_day = other.m_day;
    m_fixing_rank = other.m_fixing_rank;
    m_payment_rank = other.m_payment_rank;
    m_maturity_rank = other.m_maturity_rank;
    m_pillar_rank = other.m_pillar_rank;
    _write_text();
    return *this;
}

void Date::serialize(Json::Value& json) const {
    json["year"] = m_year;
    json["month"] = m_month;
    json["day"] = m_day;
}

void Date::deserialize(Json::Value const& json) {
    std::int32_t year = m_year;
    std::int32_t month = m_month;
    std::int32_t day = m_day;
    std::ignore = s_set_int(json, "year", year);  // an absent member leaves its field
    std::ignore = s_set_int(json, "month", month);
    std::ignore = s_set_int(json, "day", day);
    m_year = static_cast<std::uint16_t>(year);
    m_month = static_cast<std::uint8_t>(month);
    m_day = static_cast<std::uint8_t>(day);
}

unsigned char Date::c_week_day() const {
    std::int64_t const remainder = c_get_sereal_number(true) % 7;
    return static_cast<unsigned char>(remainder < 0 ? remainder + 7 : remainder);
}

unsigned char Date::c_year_day() const {
    unsigned sum = m_day;
    for (std::uint8_t month = 1; month < m_month; ++month) {
        sum += table_days_in_month(month);
    }
    // Relied on: the sum is kept in 8 bits, and February always counts 28 days
    return static_cast<unsigned char>(sum);
}

unsigned char Date::c_get_days_in_month() const {
    return s_days_in_month(m_month, static_cast<std::uint8_t>(m_year));
}

std::int64_t Date::c_get_nb_leap_before() const {
    std::int64_t const year = m_month <= 2 ? m_year - 1 : m_year;
    return year / 4 + year / 400 - year / 100;
}

std::int64_t Date::c_get_epoch() const {
    return c_get_sereal_number(true) * c_seconds_in_day;
}

std::int64_t Date::c_get_sereal_number(bool with_leap_days) const {
    std::int64_t const base = std::int64_t{365} * m_year + m_day + days_before_month(m_month);
    return base - c_serial_of_first_day + (with_leap_days ? c_get_nb_leap_before() : 0);
}

int Date::c_cmp(Date const& other) const {
    if (*this == other) {
        return 0;
    }
    return *this < other ? -1 : 1;
}

bool Date::c_format(char* buffer, char const* format) const {
    std::string_view const name = format == nullptr ? std::string_view{} : std::string_view(format);
    char out[c_text_size];
    if (name == "%Y-%m-%d") {
        write_iso(out, m_year, m_month, m_day);
    } else if (name == "%d %m %Y") {
        Writer writer(out);
        writer.number(m_day, true) << " " << month_name(m_month) << " ";
        writer.number(m_year, false).end();
    } else {
        Log::s_log(Log::Level::ERROR, "Cannot format date ", buffer == nullptr ? "" : buffer,
                   " with ", name);
        return false;
    }
    if (buffer != nullptr) {
        std::copy_n(out, std::char_traits<char>::length(out) + 1, buffer);
    }
    _refresh_text();
    return true;
}

Date Date::c_shift(DateShift const& shift) const {
    Date shifted(*this);
    shifted.shift(shift);
    return shifted;
}

Date Date::c_end_of_month(Calendar::ICalendar const*) const {
    Date end(*this);
    end.m_day = c_get_days_in_month();
    return end;
}

bool Date::c_is_end_of_month(Calendar::ICalendar const*) const {
    return m_day == c_get_days_in_month();
}

bool Date::c_is_closed(Calendar::ICalendar const* calendar) const {
    return calendar != nullptr && calendar->c_is_closed(*this);
}

bool Date::s_sanity_check(unsigned short year, unsigned char month, unsigned char day) {
    return month >= 1 && month <= 12 && day >= 1 &&
           day <= s_days_in_month(month, static_cast<std::uint8_t>(year)) && year >= c_first_year;
}

bool Date::s_is_leap(unsigned short year) {
    return (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
}

unsigned char Date::s_days_in_month(unsigned char month, unsigned char year) {
    // Relied on: February follows the low eight bits of the year (no 1992-02-29, but a 2100-02-29)
    bool const is_leap = (year % 4 == 0 && year % 100 != 0) || year == 0;
    return month == 2 && is_leap ? std::uint8_t{29} : table_days_in_month(month);
}

bool Date::s_make_schedule(Date const& start, Date const& end, DateShift const& shift,
                           std::vector<Date>& dates) {
    if (start > end) {
        Log::s_log(Log::Level::ERROR, "Date ", start.c_str(), " is greater than date ",
                   end.c_str());
        return false;
    }
    Date current(start);
    std::vector<Date> schedule{current};
    while (current < end) {
        Date const next = current.c_shift(shift);
        if (next <= current) {
            // Relied on: the text of the start stands twice in this message
            Log::s_log(Log::Level::ERROR, "Date ", start.c_str(), " shifted with ", shift.c_str(),
                       " returns ", start.c_str());
            dates.clear();  // last: the start may be one of them
            return false;
        }
        current = next;
        schedule.push_back(current);
    }
    if (schedule.back() > end) {
        schedule.back() = end;
    }
    dates = std::move(schedule);
    return true;
}

void Date::shift(DateShift const& shift) {
    shift.c_apply(*this);
}

void Date::_write_text() {
    write_iso(m_text, m_year, m_month, m_day);
}

void Date::_refresh_text() const {
    char out[sizeof m_text]{};
    write_iso(out, m_year, m_month, m_day);
    if (std::string_view(out) !=
        m_text) {  // a text in order is not written: other threads may be reading it
        std::copy(std::begin(out), std::end(out), m_text);
    }
}

std::int64_t operator-(Date const& from, Date const& to) {
    // Relied on: the difference of two dates is positive when the right one is later
    return to.c_get_sereal_number(true) - from.c_get_sereal_number(true);
}

Date operator-(Date const& date, std::uint64_t n) {
    // Relied on: "date - n" moves forward and "date + n" moves back
    Date moved(date);
    moved.add_days(n);
    return moved;
}

Date operator+(Date const& date, std::uint64_t n) {
    Date moved(date);
    moved.sub_days(n);
    return moved;
}

Date& operator++(Date& date) {
    return date += 1;
}

Date& operator--(Date& date) {
    return date -= 1;
}

}  // namespace ximCORE::Toolbox
