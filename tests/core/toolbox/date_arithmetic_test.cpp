#include <gtest/gtest.h>
#include <json/json.h>

#include <algorithm>
#include <chrono>
#include <random>

#include "core/toolbox/calendar.hpp"
#include "core/toolbox/date.hpp"
#include "support/matchers.hpp"

using namespace ximCORE::Toolbox;

namespace {

using Days = std::chrono::sys_days;

Days to_days(Date const& date) {
    return std::chrono::year(date.c_get_year()) / std::chrono::month(date.c_get_month()) /
           std::chrono::day(date.c_get_day());
}

Date to_date(Days days) {
    std::chrono::year_month_day const fields(days);
    return {static_cast<unsigned short>(static_cast<int>(fields.year())),
            static_cast<unsigned char>(static_cast<unsigned>(fields.month())),
            static_cast<unsigned char>(static_cast<unsigned>(fields.day()))};
}

/// From 1993 to 2098, where the byte rule and the calendar agree, also one year on.
Date random_date(std::mt19937& random) {
    return to_date(Days(std::chrono::year(1993) / 1 / 1) +
                   std::chrono::days(random() % (106 * 365)));
}

Date date_of(int year, int month, int day) {
    Date date("2000-01-01");
    Json::Value json;
    json["year"] = year;
    json["month"] = month;
    json["day"] = day;
    date.deserialize(json);
    return Date(date);
}

/// Closes Saturdays and Sundays (the week starts on Thursday as 0).
class Weekdays final : public Calendar::ICalendar {
 public:
    Weekdays() : ICalendar("weekdays") {}
    void c_accumulate_script(std::string& script) const override { script += "Weekdays"; }
    [[nodiscard]] bool c_is_closed(Date const& date) const override {
        return date.c_week_day() == 2 || date.c_week_day() == 3;
    }
};

TEST(DateMoves, DaysForwardFollowTheCalendar) {
    std::mt19937 random(3);
    for (int i = 0; i < 3000; ++i) {
        Date date = random_date(random);
        unsigned const n = static_cast<unsigned>(random()) % (256 - date.c_get_day());
        Date const expected = to_date(to_days(date) + std::chrono::days(n));
        date.add_days(n);
        EXPECT_EQ(date, expected) << n << " days, expected " << expected.c_str();
    }
}

TEST(DateMoves, DaysForwardAreAddedInEightBits) {
    // Relied on: the day is added up in 8 bits, so 256 days are no move at all
    Date date("2024-01-31");
    date.add_days(31);
    EXPECT_EQ(date, Date("2024-03-02"));
    for (std::uint64_t const n :
         {std::uint64_t{256}, std::uint64_t{1} << 40U, ~std::uint64_t{0} - 255}) {
        Date still("2024-01-31");
        still.add_days(n);
        EXPECT_EQ(still, Date("2024-01-31"));
    }
    Date wrapped("2024-01-31");
    wrapped.add_days(225);  // 31 + 225 = 256, a day 0
    EXPECT_EQ(wrapped, date_of(2024, 1, 0));
}

TEST(DateMoves, DaysBackFollowTheCalendarInsideOneYear) {
    std::mt19937 random(4);
    for (int i = 0; i < 3000; ++i) {
        Date date = random_date(random);
        Days const new_year = std::chrono::year(date.c_get_year()) / 1 / 1;
        auto const room = (to_days(date) - new_year).count();
        auto const n = static_cast<long>(random()) % (room + 1);
        Date const expected = to_date(to_days(date) - std::chrono::days(n));
        date.sub_days(static_cast<std::uint64_t>(n));
        EXPECT_EQ(date, expected);
    }
}

TEST(DateMoves, DaysBackUseOneFebruaryForTheWholeWalk) {
    // Relied on: the count is the low 32 bits of n, and the whole walk uses the February of the
    // year where it begins
    std::mt19937 random(5);
    for (int i = 0; i < 500; ++i) {
        Date const start = random_date(random);
        auto const n = static_cast<long>(random() % 20'000);
        long day = start.c_get_day() - n;
        int month = start.c_get_month();
        int year = start.c_get_year();
        while (day <= 0) {
            --month;
            if (month == 0) {
                month = 12;
                year = std::max(year - 1, 1970);
            }
            day += Date::s_days_in_month(static_cast<unsigned char>(month),
                                         static_cast<unsigned char>(start.c_get_year() % 256));
        }
        Date moved(start);
        moved.sub_days(static_cast<std::uint64_t>(n));
        EXPECT_EQ(moved, date_of(year, month, static_cast<int>(day)))
            << start.c_str() << " less " << n;
    }
}

TEST(DateMoves, DaysBackNeverLeave1970) {
    Date date("1970-01-01");
    date.sub_days(1);
    EXPECT_EQ(date, Date("1970-12-31"));
    Date far("2024-03-01");
    far.sub_days(0x80000000U);
    EXPECT_EQ(far.c_get_year(), 1970);
}

TEST(DateMoves, DaysBackTakeTheLowHalfOfTheCountAsASignedNumber) {
    Date date("2024-03-15");
    date.sub_days(0xFFFFFFFFU);  // -1: one day on, without a carry
    EXPECT_EQ(date, Date("2024-03-16"));
    Date other("2024-03-15");
    other.sub_days((std::uint64_t{7} << 32U) + 1);
    EXPECT_EQ(other, Date("2024-03-14"));
    Date last("2024-04-30");
    last.sub_days(0xFFFFFFFFU);
    EXPECT_EQ(last, date_of(2024, 4, 31));
}

TEST(DateMoves, MonthsForwardClampTheDay) {
    std::mt19937 random(6);
    for (int i = 0; i < 2000; ++i) {
        Date const start = random_date(random);
        int const n = static_cast<int>(random() % 60);
        std::chrono::year_month const month =
            std::chrono::year(start.c_get_year()) / std::chrono::month(start.c_get_month()) +
            std::chrono::months(n);
        auto const last = std::chrono::year_month_day_last(
            month.year(), std::chrono::month_day_last(month.month()));
        unsigned const length =
            Date::s_days_in_month(static_cast<unsigned char>(unsigned(month.month())),
                                  static_cast<unsigned char>(int(month.year())));
        if (int(month.year()) < 2100) {
            EXPECT_EQ(length, unsigned(last.day()));
        }
        Date plain(start);
        plain.add_months(static_cast<std::uint64_t>(n));
        EXPECT_EQ(plain, date_of(int(month.year()), static_cast<int>(unsigned(month.month())),
                                 static_cast<int>(std::min<unsigned>(start.c_get_day(), length))));
        bool const sticks = start.c_get_day() == start.c_get_days_in_month();
        Date sticky(start);
        sticky.add_months_sticky(static_cast<std::uint64_t>(n));
        EXPECT_EQ(sticky.c_get_day(),
                  sticks ? length : std::min<unsigned>(start.c_get_day(), length));
        Date business(start);
        business.add_months_business(static_cast<std::uint64_t>(n), nullptr);
        EXPECT_EQ(business, sticky);
    }
}

TEST(DateMoves, MonthsForwardAtTheEndOfAMonth) {
    Date plain("2024-01-31");
    plain.add_months(1);
    EXPECT_EQ(plain, Date("2024-02-29"));
    Date further("2024-02-29");
    further.add_months(1);
    EXPECT_EQ(further, Date("2024-03-29"));
    Date sticky("2024-02-29");
    sticky.add_months_sticky(1);
    EXPECT_EQ(sticky, Date("2024-03-31"));
    Date business("2024-02-29");
    business.add_months_business(2, Calendar::Dummy::s_get().get());
    EXPECT_EQ(business, Date("2024-04-30"));
}

TEST(DateMoves, MonthsForwardAreAddedInEightBits) {
    Date date("2024-03-15");
    date.add_months(256);
    EXPECT_EQ(date, Date("2024-03-15"));
    Date none("2024-03-15");
    none.add_months(253);  // 3 + 253 = 256, a month 0
    EXPECT_EQ(none, date_of(2024, 0, 15));
    EXPECT_EQ(none.c_get_days_in_month(), 31);
}

TEST(DateMoves, YearsForwardWrapAtSixteenBits) {
    Date date("2024-02-29");
    date.add_years(1);
    EXPECT_EQ(date, Date("2025-02-28"));
    Date wrapped("2024-05-01");
    wrapped.add_years(65536 - 24);
    EXPECT_EQ(wrapped, Date("2000-05-01"));
    Date sticky("2023-02-28");
    sticky.add_years_sticky(1);
    EXPECT_EQ(sticky, Date("2024-02-29"));
    Date plain("2023-02-28");
    plain.add_years(1);
    EXPECT_EQ(plain, Date("2024-02-28"));
}

TEST(DateMoves, YearsBackSetOneYearWhateverTheCountIs) {
    // Relied on: whatever the count is, the year becomes 65458 and February has 28 days
    for (std::uint64_t const n : {0U, 1U, 17U}) {
        Date date("2024-03-15");
        date.sub_years(n);
        EXPECT_EQ(date, date_of(65458, 3, 15));
        Date leap("2024-02-29");
        leap.sub_years(n);
        EXPECT_EQ(leap, date_of(65458, 2, 28));
        Date sticky("2023-02-28");
        sticky.sub_years_sticky(n);
        EXPECT_EQ(sticky, date_of(65458, 2, 28));
        Date inside("2024-02-27");
        inside.sub_years_sticky(n);
        EXPECT_EQ(inside, date_of(65458, 2, 27));
    }
    Date beyond = date_of(2024, 4, 31);
    beyond.sub_years_sticky(1);
    EXPECT_EQ(beyond, date_of(65458, 4, 30));
}

TEST(DateMoves, MonthsBackKeepTheLowByteOfTheYear) {
    // Relied on: the year keeps its low byte alone (2024: 65512, 2050: 2), or is 65458 once a year
    // is crossed
    Date date("2024-03-15");
    date.sub_months(1);
    EXPECT_EQ(date, date_of(65512, 2, 15));
    Date positive("2050-03-31");
    positive.sub_months(1);
    EXPECT_EQ(positive, date_of(2, 2, 28));
    Date crossing("2024-03-31");
    crossing.sub_months(3);
    EXPECT_EQ(crossing, date_of(65458, 12, 31));
    Date february("2024-03-31");
    february.sub_months(13);
    EXPECT_EQ(february, date_of(65458, 2, 28));
    Date sticky("2024-04-30");
    sticky.sub_months_sticky(1);
    EXPECT_EQ(sticky, date_of(65512, 3, 31));
    Date business("2024-04-30");
    business.sub_months_business(1, Calendar::Dummy::s_get().get());
    EXPECT_EQ(business, sticky);
    Date plain("2024-04-30");
    plain.sub_months(1);
    EXPECT_EQ(plain, date_of(65512, 3, 30));
}

TEST(DateMoves, MonthsBackAreCountedInEightBits) {
    Date low("2024-01-15");
    low.sub_months(129);  // 1 - 129 = -128: 4 after eleven times 12
    EXPECT_EQ(low, date_of(65458, 4, 15));
    Date high("2024-01-15");
    high.sub_months(200);  // 1 - 200 = -199, which is 57 in 8 bits
    EXPECT_EQ(high, date_of(65512, 57, 15));
    EXPECT_EQ(high.c_get_days_in_month(), 31);
    high.add_days(20);
    EXPECT_EQ(high, date_of(65512, 58, 4));
}

TEST(DateMoves, BusinessDaysSkipWhatTheCalendarCloses) {
    Weekdays const weekdays;
    Date friday("2024-03-08");
    friday.add_business_days(1, &weekdays);
    EXPECT_EQ(friday, Date("2024-03-11"));
    friday.sub_business_days(1, &weekdays);
    EXPECT_EQ(friday, Date("2024-03-08"));
    friday.add_business_days(10, &weekdays);
    EXPECT_EQ(friday, Date("2024-03-22"));
    friday.add_business_days(1, nullptr);
    EXPECT_EQ(friday, Date("2024-03-23"));
    friday.sub_business_days(23, Calendar::Dummy::s_get().get());
    EXPECT_EQ(friday, Date("2024-02-29"));
    EXPECT_TRUE(Date("2024-03-23").c_is_closed(&weekdays));
}

TEST(DateMoves, NoBusinessDayIsNoMoveEvenFromAClosedDay) {
    Weekdays const weekdays;
    Date saturday("2024-03-09");
    saturday.add_business_days(0, &weekdays);
    saturday.sub_business_days(0, &weekdays);
    EXPECT_EQ(saturday, Date("2024-03-09"));
}

TEST(DateOperators, ADifferenceIsPositiveWhenTheRightDateIsLater) {
    // Relied on: the difference of two dates is positive when the right one is later
    EXPECT_EQ(Date("2024-02-28") - Date("2024-03-01"), 2);
    EXPECT_EQ(Date("2024-03-01") - Date("2024-02-28"), -2);
    std::mt19937 random(7);
    for (int i = 0; i < 500; ++i) {
        Date const left = random_date(random);
        Date const right = random_date(random);
        EXPECT_EQ(left - right, (to_days(right) - to_days(left)).count());
    }
}

TEST(DateOperators, MinusMovesForwardAndPlusMovesBack) {
    // Relied on: "date - n" moves forward and "date + n" moves back
    Date const date("2024-02-28");
    EXPECT_EQ(date - 2, Date("2024-03-01"));
    EXPECT_EQ(date + 28, Date("2024-01-31"));
    EXPECT_STREQ((date - 2).c_str(), "2024-02-28");
    EXPECT_STREQ((date + 2).c_str(), "2024-02-28");
    EXPECT_EQ(date, Date("2024-02-28"));
}

TEST(DateOperators, MovesInPlaceHaveTheirPlainSense) {
    Date date("2024-02-28");
    date += 2;
    EXPECT_EQ(date, Date("2024-03-01"));
    date -= 1;
    EXPECT_EQ(date, Date("2024-02-29"));
    EXPECT_EQ(++date, Date("2024-03-01"));
    EXPECT_EQ(--date, Date("2024-02-29"));
    EXPECT_STREQ(date.c_str(), "2024-02-28");
}

}  // namespace
