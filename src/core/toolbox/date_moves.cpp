// The moves of a date by days, months, years and business days, in the arithmetic of its narrow
// fields.
#include <algorithm>
#include <bit>
#include <cstdint>

#include "core/toolbox/date.hpp"

namespace ximCORE::Toolbox {

namespace {

constexpr std::uint16_t c_first_year = 1970;

/// The 16-bit sign extension of a year's low byte: what the subtractions of months and years leave
/// of it.
constexpr std::uint16_t narrow_year(std::uint16_t year) {
    return std::bit_cast<std::uint16_t>(
        static_cast<std::int16_t>(static_cast<std::int8_t>(year & 0xFFU)));
}

std::uint8_t length_without_leap_day(std::uint8_t month) {
    constexpr std::uint8_t common_year = 1;
    return Date::s_days_in_month(month, common_year);
}

}  // namespace

void Date::add_days(std::uint64_t n) {
    // Relied on: the day is added up in 8 bits, so 256 days are no move at all
    m_day = static_cast<std::uint8_t>(m_day + n);
    for (std::uint8_t length = c_get_days_in_month(); m_day > length;
         length = c_get_days_in_month()) {
        m_day = static_cast<std::uint8_t>(m_day - length);
        if (m_month == 12) {
            m_month = 1;
            ++m_year;
        } else {
            ++m_month;
        }
    }
}

void Date::add_months(std::uint64_t n) {
    _add_months(n, End::clamp);
}

void Date::add_years(std::uint64_t n) {
    _add_years(n, End::clamp);
}

void Date::add_months_sticky(std::uint64_t n) {
    _add_months(n, End::keep);
}

void Date::add_years_sticky(std::uint64_t n) {
    _add_years(n, End::keep);
}

void Date::add_months_business(std::uint64_t n, Calendar::ICalendar const*) {
    _add_months(n, End::keep);
}

void Date::add_business_days(std::uint64_t n, Calendar::ICalendar const* calendar) {
    while (n > 0) {
        add_days(1);
        if (!c_is_closed(calendar)) {
            --n;
        }
    }
}

void Date::sub_days(std::uint64_t n) {
    // Relied on: the count is the low 32 bits of n, and the whole walk uses the February of the
    // year where it begins
    std::uint8_t const start_year = static_cast<std::uint8_t>(m_year);
    std::int64_t const days_in_year = s_days_in_month(2, start_year) == 29 ? 366 : 365;
    std::int64_t day =
        std::bit_cast<std::int32_t>(std::uint32_t{m_day} - static_cast<std::uint32_t>(n));
    while (day <= 0) {
        if (m_month == 1) {
            m_month = 12;
            _go_back_years(1);
        } else {
            --m_month;
        }
        day += s_days_in_month(m_month, start_year);
        if (m_month == 12 && -day >= days_in_year) {  // as many whole years as the walk would cross
            std::int64_t const years = -day / days_in_year;
            _go_back_years(years);
            day += years * days_in_year;
        }
    }
    m_day = static_cast<std::uint8_t>(day);
}

void Date::sub_months(std::uint64_t n) {
    _sub_months(n, End::clamp);
}

void Date::sub_years(std::uint64_t) {
    // Relied on: whatever the count is, the year becomes 65458 and February has 28 days
    m_year = narrow_year(c_first_year);
    m_day = std::min(m_day, length_without_leap_day(m_month));
}

void Date::sub_months_sticky(std::uint64_t n) {
    _sub_months(n, End::keep);
}

void Date::sub_years_sticky(std::uint64_t) {
    bool const on_last_day = m_day == c_get_days_in_month();
    std::uint8_t const length = length_without_leap_day(m_month);
    m_year = narrow_year(c_first_year);
    m_day = on_last_day ? length : std::min(m_day, length);
}

void Date::sub_months_business(std::uint64_t n, Calendar::ICalendar const*) {
    _sub_months(n, End::keep);
}

void Date::sub_business_days(std::uint64_t n, Calendar::ICalendar const* calendar) {
    while (n > 0) {
        sub_days(1);
        if (!c_is_closed(calendar)) {
            --n;
        }
    }
}

void Date::_go_back_years(std::int64_t count) {
    m_year = static_cast<std::uint16_t>(std::max<std::int64_t>(m_year - count, c_first_year));
}

void Date::_land(bool on_last_day) {
    std::uint8_t const length = c_get_days_in_month();
    m_day = on_last_day ? length : std::min(m_day, length);
}

void Date::_add_months(std::uint64_t n, End end) {
    bool const keeps_last_day = end == End::keep && c_is_end_of_month(nullptr);
    m_month = static_cast<std::uint8_t>(m_month + n);
    for (; m_month > 12; m_month = static_cast<std::uint8_t>(m_month - 12)) {
        ++m_year;
    }
    _land(keeps_last_day);
}

void Date::_add_years(std::uint64_t n, End end) {
    bool const keeps_last_day = end == End::keep && c_is_end_of_month(nullptr);
    m_year = static_cast<std::uint16_t>(m_year + n);
    _land(keeps_last_day);
}

void Date::_sub_months(std::uint64_t n, End end) {
    bool const keeps_last_day = end == End::keep && c_is_end_of_month(nullptr);
    int month = static_cast<std::int8_t>(static_cast<std::uint8_t>(m_month - n));
    // Relied on: the year keeps its low byte alone (2024: 65512, 2050: 2), or is 65458 once a year
    // is crossed
    m_year = narrow_year(month > 0 ? m_year : c_first_year);
    while (month <= 0) {
        month += 12;
    }
    m_month = static_cast<std::uint8_t>(month);
    _land(keeps_last_day);
}

}  // namespace ximCORE::Toolbox
