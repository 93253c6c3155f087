#include "core/toolbox/date.hpp"

#include <gtest/gtest.h>
#include <json/json.h>

#include <chrono>
#include <ctime>
#include <random>
#include <set>
#include <stdexcept>

#include "core/toolbox/calendar.hpp"
#include "core/toolbox/errors.hpp"
#include "support/matchers.hpp"

using namespace ximCORE::Toolbox;
using ximTest::LogsError;
using ximTest::LogsNothing;
using ximTest::Raises;

namespace {

std::chrono::sys_days to_days(Date const& date) {
    return std::chrono::year(date.c_get_year()) / std::chrono::month(date.c_get_month()) /
           std::chrono::day(date.c_get_day());
}

/// Years without a February that the two leap rules see differently, to 2099.
Date random_date(std::mt19937& random) {
    auto const year = static_cast<unsigned short>(1993 + random() % 106);
    auto const month = static_cast<unsigned char>(1 + random() % 12);
    auto const length = Date::s_days_in_month(month, static_cast<unsigned char>(year));
    return {year, month, static_cast<unsigned char>(1 + random() % length)};
}

TEST(Date, ReadsTheFormsOfText) {
    EXPECT_EQ(Date("2024-02-29"), Date(2024, 2, 29));
    EXPECT_STREQ(Date("2024-3-5").c_str(), "2024-03-05");
    EXPECT_EQ(Date("2024-03-05 10:20:30"), Date("2024-03-05"));
    EXPECT_EQ(Date("Mar 5, 2024"), Date("2024-03-05"));
    EXPECT_EQ(Date("Wed Mar  6 10:20:30 2024\n"), Date("2024-03-06"));
    EXPECT_EQ(Date(std::string("2024-03-05")), Date("2024-03-05"));
}

TEST(Date, ADayWithAZeroIsRefusedBehindAMonthsName) {
    EXPECT_THAT([] { Date("Mar 10, 2024"); }, LogsError("Cannot read date Mar 10, 2024"));
}

TEST(Date, ATextThatIsNoDateIsLoggedAndRefused) {
    for (std::string const text :
         {"1992-02-29", "1969-12-31", "2024-13-01", "2024-00-10", "2024-01-00", "2024-04-31", "",
          " 2024-01-01", "2024-01-01 ", "2024/01/01", "20240101"}) {
        EXPECT_THAT([&] { Date{text}; }, LogsError("Cannot read date " + text));
        EXPECT_THAT([&] { Date{text}; }, Raises<ConstructorException>("std::exception"));
        EXPECT_THAT([&] { Date{text.c_str()}; }, LogsError("Cannot read date " + text));
    }
}

TEST(Date, AYearThatIsNoNumberOf32BitsIsRefusedLikeAnyOtherText) {
    EXPECT_THAT([] { Date("99999999999-01-01"); }, LogsError("Cannot read date 99999999999-01-01"));
    EXPECT_THAT([] { Date("99999999999-01-01"); }, Raises<ConstructorException>());
}

TEST(Date, FieldsAreCheckedAfterNarrowing) {
    EXPECT_EQ(Date("67560-01-15"), Date(2024, 1, 15));  // 67560 = 65536 + 2024
    EXPECT_THAT([] { Date("65536-01-15"); }, LogsError("Cannot read date 65536-01-15"));
    EXPECT_STREQ(Date("65535-12-31").c_str(), "65535-12-31");
}

TEST(Date, ALongTextIsRefusedUnread) {
    std::string const digits(100'000, '7');
    EXPECT_THAT([&] { Date{digits}; }, LogsError("Cannot read date " + digits));
    std::string const zeros(54, '0');
    EXPECT_EQ(Date(zeros + "2024-01-01"), Date(2024, 1, 1));  // 64 characters
    EXPECT_THAT([&] { Date("0" + zeros + "2024-01-01"); },
                LogsError("Cannot read date 0" + zeros + "2024-01-01"));
}

TEST(Date, ANullTextRaisesALogicError) {
    char const* const text = nullptr;
    EXPECT_THROW(Date{text}, std::logic_error);
}

TEST(Date, RefusedFieldsAreLoggedAsCharacters) {
    // Relied on: month and day stand in this message as one character each, not as digits
    EXPECT_THAT([] { Date(2024, 'A', 'B'); }, LogsError("Cannot read date 2024-A-B"));
    EXPECT_THAT([] { Date(1992, 2, 29); }, Raises<ConstructorException>());
    EXPECT_THAT([] { Date(1969, 12, 31); }, Raises<ConstructorException>());
    EXPECT_THAT([] { Date(1970, 1, 1); }, LogsNothing());
}

TEST(Date, TodayIsTheDayOfTheLocalClock) {
    for (int attempt = 0; attempt < 2;
         ++attempt) {  // a second time if midnight falls between the two clocks
        std::time_t const now = std::time(nullptr);
        std::tm const* const local = std::localtime(&now);
        Date const expected(static_cast<unsigned short>(local->tm_year + 1900),
                            static_cast<unsigned char>(local->tm_mon + 1),
                            static_cast<unsigned char>(local->tm_mday));
        if (Date() == expected || attempt == 1) {
            EXPECT_EQ(Date(), expected);
            return;
        }
    }
}

TEST(Date, ATimeInSecondsIsReadInTheLocalZone) {
    for (long long const seconds : {86'400LL * 2, 1'709'200'000LL, 4'102'444'800LL}) {
        auto const time = static_cast<std::time_t>(seconds);
        std::tm const* const local = std::localtime(&time);
        Date const date(seconds);
        EXPECT_EQ(date.c_get_year(), local->tm_year + 1900);
        EXPECT_EQ(date.c_get_month(), local->tm_mon + 1);
        EXPECT_EQ(date.c_get_day(), local->tm_mday);
    }
    EXPECT_THAT([] { Date(-86'400LL * 400); }, Raises<ConstructorException>());
}

TEST(Date, FebruaryFollowsTheLowEightBitsOfTheYear) {
    // Relied on: February follows the low eight bits of the year (no 1992-02-29, but a 2100-02-29)
    std::set<int> short_years;
    std::set<int> long_years;
    for (int year = 1970; year <= 2400; ++year) {
        bool const by_byte = Date::s_sanity_check(static_cast<unsigned short>(year), 2, 29);
        bool const by_full_rule = std::chrono::year(year).is_leap();
        EXPECT_EQ(Date::s_is_leap(static_cast<unsigned short>(year)), by_full_rule);
        if (by_full_rule && !by_byte) {
            short_years.insert(year);
        }
        if (by_byte && !by_full_rule) {
            long_years.insert(year);
        }
    }
    EXPECT_THAT(short_years, testing::ElementsAre(1992, 2148, 2248));
    EXPECT_THAT(long_years, testing::ElementsAre(2100, 2200, 2300));
    EXPECT_STREQ(Date("2100-02-29").c_str(), "2100-02-29");
    EXPECT_FALSE(Date(2100, 2, 28).c_is_leap());
    EXPECT_TRUE(Date(1992, 2, 28).c_is_leap());
}

TEST(Date, TheFirstDayHasSerialEpochAndWeekDayZero) {
    Date const first("1970-01-01");
    EXPECT_EQ(first.c_get_sereal_number(true), 0);
    EXPECT_EQ(first.c_get_epoch(), 0);
    EXPECT_EQ(first.c_week_day(), 0);
}

TEST(Date, SerialEpochAndWeekDayFollowTheGregorianCalendar) {
    std::mt19937 random(1);
    for (int i = 0; i < 2000; ++i) {
        Date const date = random_date(random);
        std::chrono::sys_days const days = to_days(date);
        EXPECT_EQ(date.c_get_sereal_number(true), days.time_since_epoch().count()) << date.c_str();
        EXPECT_EQ(date.c_get_epoch(), 86'400LL * days.time_since_epoch().count()) << date.c_str();
        unsigned const thursday_is_zero = (std::chrono::weekday(days).c_encoding() + 3) % 7;
        EXPECT_EQ(date.c_week_day(), thursday_is_zero) << date.c_str();
    }
}

TEST(Date, ASerialWithoutLeapDaysCounts365DaysAYear) {
    Date const date("2024-03-01");
    EXPECT_EQ(date.c_get_sereal_number(false), 365LL * 2024 + 1 + 59 - 719'528);
    EXPECT_EQ(date.c_get_sereal_number(true) - date.c_get_sereal_number(false),
              date.c_get_nb_leap_before());
    EXPECT_EQ(date.c_get_nb_leap_before(), 2024 / 4 + 2024 / 400 - 2024 / 100);
    EXPECT_EQ(Date("2024-02-29").c_get_nb_leap_before(), 2023 / 4 + 2023 / 400 - 2023 / 100);
}

TEST(Date, TheDayOfTheYearIsKeptInEightBitsAndKnowsNoLeapDay) {
    // Relied on: the sum is kept in 8 bits, and February always counts 28 days
    EXPECT_EQ(Date("2024-01-31").c_year_day(), 31);
    EXPECT_EQ(Date("2024-03-01").c_year_day(), 60);
    EXPECT_EQ(Date("2023-09-12").c_year_day(), 255);
    EXPECT_EQ(Date("2023-09-13").c_year_day(), 0);
    EXPECT_EQ(Date("2023-12-31").c_year_day(), 365 - 256);
}

TEST(Date, ComparesByYearMonthAndDayAlone) {
    std::mt19937 random(2);
    for (int i = 0; i < 2000; ++i) {
        Date left = random_date(random);
        Date const right = random_date(random);
        left.set_fixing_rank(static_cast<short>(i));
        int const expected = (to_days(left) > to_days(right)) - (to_days(left) < to_days(right));
        EXPECT_EQ(left.c_cmp(right), expected);
        EXPECT_EQ(left < right, expected < 0);
        EXPECT_EQ(left >= right, expected >= 0);
        EXPECT_EQ(left == right, expected == 0);
    }
}

TEST(Date, FormatsTwoWays) {
    char buffer[24];
    EXPECT_TRUE(Date("2024-09-05").c_format(buffer, "%d %m %Y"));
    EXPECT_STREQ(buffer, "05 Sept 2024");
    EXPECT_TRUE(Date("2024-03-15").c_format(buffer, "%d %m %Y"));
    EXPECT_STREQ(buffer, "15 Mar 2024");
    EXPECT_TRUE(Date("2024-03-05").c_format(buffer, "%Y-%m-%d"));
    EXPECT_STREQ(buffer, "2024-03-05");
}

TEST(Date, AnUnknownFormatIsLoggedWithTheContentOfTheBuffer) {
    Date const date("2024-03-05");
    char buffer[24] = "before";
    EXPECT_THAT([&] { EXPECT_FALSE(date.c_format(buffer, "%Y")); },
                LogsError("Cannot format date before with %Y"));
    EXPECT_STREQ(buffer, "before");
    EXPECT_THAT([&] { EXPECT_FALSE(date.c_format(nullptr, "%d")); },
                LogsError("Cannot format date  with %d"));
    EXPECT_THAT([&] { EXPECT_FALSE(date.c_format(buffer, nullptr)); },
                LogsError("Cannot format date before with "));
}

TEST(Date, ATextIsOldUntilTheDateIsCopiedOrFormatted) {
    Date date("2024-03-05");
    date.add_days(1);
    EXPECT_STREQ(date.c_str(), "2024-03-05");
    EXPECT_STREQ(Date(date).c_str(), "2024-03-06");
    Date assigned("2000-01-01");
    assigned = date;
    EXPECT_STREQ(assigned.c_str(), "2024-03-06");
    EXPECT_STREQ(date.c_str(), "2024-03-05");
    EXPECT_TRUE(date.c_format(nullptr, "%Y-%m-%d"));
    EXPECT_STREQ(date.c_str(), "2024-03-06");
}

TEST(Date, RanksStartUnsetAndAreCopied) {
    Date date("2024-03-05");
    EXPECT_EQ(date.c_get_fixing_rank(), -1);
    EXPECT_EQ(date.c_get_payment_rank(), -1);
    EXPECT_EQ(date.c_get_maturity_rank(), -1);
    EXPECT_EQ(date.c_get_pillar_rank(), -1);
    date.set_fixing_rank(1);
    date.set_payment_rank(2);
    date.set_maturity_rank(3);
    date.set_pillar_rank(4);
    Date const copy(date);
    EXPECT_EQ(copy.c_get_fixing_rank(), 1);
    EXPECT_EQ(copy.c_get_payment_rank(), 2);
    EXPECT_EQ(copy.c_get_maturity_rank(), 3);
    EXPECT_EQ(copy.c_get_pillar_rank(), 4);
    EXPECT_EQ(copy, Date("2024-03-05"));
}

TEST(Date, TheJsonFormIsAnObjectOfThreeWholeNumbers) {
    Json::Value json;
    Date("2024-03-05").serialize(json);
    EXPECT_EQ(json["year"], 2024);
    EXPECT_EQ(json["month"], 3);
    EXPECT_EQ(json["day"], 5);
    EXPECT_EQ(json.size(), 3U);
}

TEST(Date, ReadingJsonChecksNothingAndLeavesTextAndRanks) {
    Date date("2024-03-05");
    date.set_payment_rank(7);
    Json::Value json;
    json["year"] = 65536 + 1900;
    json["month"] = 14;
    json["day"] = 40;
    date.deserialize(json);
    EXPECT_EQ(date.c_get_year(), 1900);
    EXPECT_EQ(date.c_get_month(), 14);
    EXPECT_EQ(date.c_get_day(), 40);
    EXPECT_STREQ(date.c_str(), "2024-03-05");
    EXPECT_EQ(date.c_get_payment_rank(), 7);
    EXPECT_STREQ(Date(date).c_str(), "1900-14-40");
}

TEST(Date, TheWidestFieldsFitIntoEveryText) {
    Date date("2024-03-05");
    Json::Value json;
    json["year"] = 65535;
    json["month"] = 255;
    json["day"] = 255;
    date.deserialize(json);
    char buffer[24];
    EXPECT_TRUE(date.c_format(buffer, "%d %m %Y"));
    EXPECT_STREQ(buffer, "255  65535");
    EXPECT_STREQ(Date(date).c_str(), "65535-255-255");
    EXPECT_EQ(date.c_get_days_in_month(), 31);
    std::ignore = date.c_get_sereal_number(true);
    std::ignore = date.c_year_day();
}

TEST(Date, IsSmall) {
    EXPECT_LE(sizeof(Date), 40U);
}

TEST(Date, TheCalendarPlaysNoPartInTheEndOfAMonth) {
    Date const date("2024-02-10");
    EXPECT_EQ(date.c_end_of_month(nullptr), Date("2024-02-29"));
    EXPECT_STREQ(date.c_end_of_month(nullptr).c_str(), "2024-02-10");
    EXPECT_EQ(Date("2100-02-10").c_end_of_month(Calendar::Dummy::s_get().get()),
              Date("2100-02-29"));
    EXPECT_TRUE(Date("2024-04-30").c_is_end_of_month(nullptr));
    EXPECT_FALSE(date.c_is_end_of_month(Calendar::Dummy::s_get().get()));
}

TEST(Date, NoCalendarClosesNoDay) {
    EXPECT_FALSE(Date("2024-03-09").c_is_closed(nullptr));
    EXPECT_FALSE(Date("2024-03-09").c_is_closed(Calendar::Dummy::s_get().get()));
}

}  // namespace
