// The calendar date of the whole library, without a time of day: a small value that never
// allocates. Its arithmetic works on narrow fields, and results at the edges (wraps, the two leap
// rules, the year after a subtraction) are part of its behaviour; date_text.hpp holds the text
// forms it reads.
#pragma once

#include <compare>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "core/toolbox/json_serializable.hpp"

namespace ximCORE::Toolbox {

class DateShift;
namespace Calendar {
class ICalendar;
}

/// A date of year, month and day with four ranks (its index in a contract's lists of dates, -1 when
/// not set).
///
/// Order and equality look at year, month and day alone. The text is written by construction and
/// copy: after a mutation `c_str()` shows the old date until the date is copied or `c_format` is
/// called on it.
///
/// Two leap rules: the full rule (divisible by 4 and not by 100, or by 400) serves serial numbers
/// and `c_is_leap`; the byte rule looks at the low eight bits of the year and gives the length of
/// February everywhere else. They differ in 1992, 2148 and 2248 (28 days by the byte rule) and
/// 2100, 2200 and 2300 (29 days).
///
/// Mutators validate nothing: a month outside 1 to 12 has 31 days and no name.
class Date final : public JsonSerializable {
 public:
    /// Today in the machine's time zone.
    Date();
    /// The day of a time, in seconds since 1970, in the machine's time zone.
    /// Fails: a time before 1970 or beyond the platform's calendar, as the text does; no text at
    /// all: `std::logic_error`.
    explicit Date(long long const& seconds);
    /// Fails: what `s_sanity_check` refuses adds an ERROR record and throws `ConstructorException`.
    Date(unsigned short year, unsigned char month, unsigned char day);
    /// Reads "2024-3-5", "2024-03-05 10:20:30", "Mar 5, 2024" or the form of `ctime`; a time of day
    /// is dropped. Fails: any other text, one of more than 64 characters, or a date that does not
    /// exist adds the ERROR record "Cannot read date " + text and throws `ConstructorException`; a
    /// null pointer throws `std::logic_error`.
    explicit Date(char const* text);
    explicit Date(std::string const& text);
    /// Copies fields and ranks, and writes the text anew. There is no move: a date keeps a stale
    /// text only in place.
    Date(Date const& other);
    Date& operator=(Date const& other);
    ~Date() override = default;

    /// {"year", "month", "day"} as integers.
    void serialize(Json::Value& json) const override;
    /// Reads the three members unchecked, each narrowed to its field; an absent one leaves its
    /// field. Text and ranks stay.
    void deserialize(Json::Value const& json) override;

    [[nodiscard]] unsigned short c_get_year() const { return m_year; }
    [[nodiscard]] unsigned char c_get_month() const { return m_month; }
    [[nodiscard]] unsigned char c_get_day() const { return m_day; }
    /// 0 is Thursday (1970-01-01), 6 is Wednesday.
    [[nodiscard]] unsigned char c_week_day() const;
    /// Day of the year from 1, with February counted as 28 days in every year, in 8 bits: it wraps
    /// after 255.
    [[nodiscard]] unsigned char c_year_day() const;
    /// Length of the date's month by the byte rule.
    [[nodiscard]] unsigned char c_get_days_in_month() const;
    /// Full rule.
    [[nodiscard]] bool c_is_leap() const { return s_is_leap(m_year); }
    /// Leap days before the date, counted from year 0 (full rule).
    [[nodiscard]] std::int64_t c_get_nb_leap_before() const;
    /// Seconds from 1970-01-01 to the date.
    [[nodiscard]] std::int64_t c_get_epoch() const;
    /// Days since 1970-01-01, which is 0; `with_leap_days` false counts 365 days in every year.
    [[nodiscard]] std::int64_t c_get_sereal_number(bool with_leap_days) const;
    /// "2024-03-05", as of the last construction, copy or `c_format`. Owned by the date.
    [[nodiscard]] char const* c_str() const { return m_text; }
    /// -1, 0 or 1 by year, month and day.
    [[nodiscard]] int c_cmp(Date const& other) const;
    /// Writes the date, zero-terminated, at most 24 bytes, and brings the date's own text up to
    /// date. Formats:
    /// "%Y-%m-%d" (2024-09-05) and "%d %m %Y" (05 Sept 2024). A null buffer gets nothing.
    /// Fails: another format adds an ERROR record "Cannot format date ..." and gives false; the
    /// buffer stays.
    [[nodiscard]] bool c_format(char* buffer, char const* format) const;
    /// A copy, shifted; its text is that of this date.
    [[nodiscard]] Date c_shift(DateShift const& shift) const;
    /// A copy on the last day of its month (byte rule); the calendar plays no part. Its text is
    /// that of this date.
    [[nodiscard]] Date c_end_of_month(Calendar::ICalendar const* calendar) const;
    /// Whether this is the last day of its month (byte rule); the calendar plays no part.
    [[nodiscard]] bool c_is_end_of_month(Calendar::ICalendar const* calendar) const;
    /// What the calendar says; false for a null one.
    [[nodiscard]] bool c_is_closed(Calendar::ICalendar const* calendar) const;

    [[nodiscard]] short c_get_fixing_rank() const { return m_fixing_rank; }
    [[nodiscard]] short c_get_payment_rank() const { return m_payment_rank; }
    [[nodiscard]] short c_get_maturity_rank() const { return m_maturity_rank; }
    [[nodiscard]] short c_get_pillar_rank() const { return m_pillar_rank; }
    void set_fixing_rank(short rank) { m_fixing_rank = rank; }
    void set_payment_rank(short rank) { m_payment_rank = rank; }
    void set_maturity_rank(short rank) { m_maturity_rank = rank; }
    void set_pillar_rank(short rank) { m_pillar_rank = rank; }

    /// Month in 1 to 12, day in 1 to the month's length (byte rule), year 1970 or later.
    [[nodiscard]] static bool s_sanity_check(unsigned short year, unsigned char month,
                                             unsigned char day);
    /// Full rule.
    [[nodiscard]] static bool s_is_leap(unsigned short year);
    /// Byte rule: `year` is the low eight bits of the year. A month outside 1 to 12 has 31 days.
    [[nodiscard]] static unsigned char s_days_in_month(unsigned char month, unsigned char year);
    /// Dates from `start` by steps of `shift`, increasing, the last one always `end`.
    /// Fails: `start` after `end` adds an ERROR record and gives false, `dates` stays as it was; a
    /// step that does not advance does the same and empties `dates`.
    [[nodiscard]] static bool s_make_schedule(Date const& start, Date const& end,
                                              DateShift const& shift, std::vector<Date>& dates);

    // Moves. None writes the text. Moves by months and years clamp the day to the length of the new
    // month; the sticky and business forms keep a last day of the month on the last day.

    /// Only the low eight bits of `n` count, and the day plus `n` wraps at 256.
    void add_days(std::uint64_t n);
    /// `month` plus `n` in 8 bits.
    void add_months(std::uint64_t n);
    /// `year` plus `n` in 16 bits.
    void add_years(std::uint64_t n);
    void add_months_sticky(std::uint64_t n);
    void add_years_sticky(std::uint64_t n);
    void add_months_business(std::uint64_t n, Calendar::ICalendar const* calendar);
    /// `n` open days on; a null calendar closes none.
    void add_business_days(std::uint64_t n, Calendar::ICalendar const* calendar);

    /// The low 32 bits of `n` count, as a signed number. The year never goes below 1970, and every
    /// February on the way has the length it has in the year where the walk began (byte rule).
    void sub_days(std::uint64_t n);
    /// The year becomes the 16-bit sign extension of its low byte (2024: 65512) or, when a year is
    /// crossed, 65458.
    void sub_months(std::uint64_t n);
    /// Sets the year 65458, whatever `n` is.
    void sub_years(std::uint64_t n);
    void sub_months_sticky(std::uint64_t n);
    void sub_years_sticky(std::uint64_t n);
    void sub_months_business(std::uint64_t n, Calendar::ICalendar const* calendar);
    /// `n` open days back; a null calendar closes none.
    void sub_business_days(std::uint64_t n, Calendar::ICalendar const* calendar);

    void shift(DateShift const& shift);

    Date& operator+=(std::uint64_t n) {
        add_days(n);
        return *this;
    }
    Date& operator-=(std::uint64_t n) {
        sub_days(n);
        return *this;
    }

    friend bool operator==(Date const& left, Date const& right) {
        return left._key() == right._key();
    }
    friend std::strong_ordering operator<=>(Date const& left, Date const& right) {
        return left._key() <=> right._key();
    }

 private:
    enum class End : bool { clamp, keep };  // what a move does with a last day of the month

    void _read(char const* text, std::size_t length);
    void _write_text();
    void _refresh_text() const;
    void _go_back_years(std::int64_t count);
    void _land(bool on_last_day);
    void _add_months(std::uint64_t n, End end);
    void _add_years(std::uint64_t n, End end);
    void _sub_months(std::uint64_t n, End end);
    [[nodiscard]] std::uint32_t _key() const {
        return std::uint32_t{m_year} << 16U | std::uint32_t{m_month} << 8U | std::uint32_t{m_day};
    }

    mutable char m_text[16]{};
    std::uint16_t m_year{0};
    std::uint8_t m_month{0};
    std::uint8_t m_day{0};
    short m_fixing_rank{-1};
    short m_payment_rank{-1};
    short m_maturity_rank{-1};
    short m_pillar_rank{-1};
};

/// Days from `from` to `to`: positive when `to` is the later one.
[[nodiscard]] std::int64_t operator-(Date const& from, Date const& to);
/// A copy moved `n` days FORWARD (see `add_days`), its text that of `date`.
[[nodiscard]] Date operator-(Date const& date, std::uint64_t n);
/// A copy moved `n` days BACK (see `sub_days`), its text that of `date`.
[[nodiscard]] Date operator+(Date const& date, std::uint64_t n);
/// One day on, in place.
Date& operator++(Date& date);
/// One day back, in place.
Date& operator--(Date& date);

}  // namespace ximCORE::Toolbox
