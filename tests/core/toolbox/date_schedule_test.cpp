#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "core/toolbox/calendar.hpp"
#include "core/toolbox/date.hpp"
#include "core/toolbox/date_shift.hpp"
#include "support/matchers.hpp"

using namespace ximCORE::Toolbox;
using testing::ElementsAre;
using ximTest::LogsError;

namespace {

DateShift shift_of(std::string const& text) {
    return {text, Calendar::of_id(0)};
}

std::vector<std::string> texts_of(std::vector<Date> const& dates) {
    std::vector<std::string> texts;
    std::transform(dates.begin(), dates.end(), std::back_inserter(texts),
                   [](Date const& date) { return date.c_str(); });
    return texts;
}

TEST(Schedule, EndsAtTheLastDate) {
    std::vector<Date> dates;
    EXPECT_TRUE(
        Date::s_make_schedule(Date("2024-01-31"), Date("2024-04-15"), shift_of("+1m"), dates));
    EXPECT_THAT(texts_of(dates),
                ElementsAre("2024-01-31", "2024-02-29", "2024-03-29", "2024-04-15"));
}

TEST(Schedule, AStepThatMeetsTheEndIsTheLastDate) {
    std::vector<Date> dates{Date("1999-01-01")};
    EXPECT_TRUE(
        Date::s_make_schedule(Date("2024-01-15"), Date("2024-03-15"), shift_of("+1m"), dates));
    EXPECT_THAT(texts_of(dates), ElementsAre("2024-01-15", "2024-02-15", "2024-03-15"));
}

TEST(Schedule, FromADateToItselfIsTheOneDate) {
    std::vector<Date> dates;
    EXPECT_TRUE(Date::s_make_schedule(Date("2024-01-31"), Date("2024-01-31"), shift_of(""), dates));
    EXPECT_THAT(texts_of(dates), ElementsAre("2024-01-31"));
}

TEST(Schedule, AStartBehindTheEndLeavesTheDates) {
    std::vector<Date> dates{Date("1999-01-01")};
    EXPECT_THAT(
        [&] {
            EXPECT_FALSE(Date::s_make_schedule(Date("2024-02-01"), Date("2024-01-01"),
                                               shift_of("+1m"), dates));
        },
        LogsError("Date 2024-02-01 is greater than date 2024-01-01"));
    EXPECT_THAT(texts_of(dates), ElementsAre("1999-01-01"));
}

TEST(Schedule, AStepThatDoesNotAdvanceEmptiesTheDates) {
    // Relied on: the text of the start stands twice in this message
    std::vector<Date> dates{Date("1999-01-01")};
    EXPECT_THAT(
        [&] {
            EXPECT_FALSE(
                Date::s_make_schedule(Date("2024-01-01"), Date("2024-02-01"), shift_of(""), dates));
        },
        LogsError("Date 2024-01-01 shifted with  returns 2024-01-01"));
    EXPECT_TRUE(dates.empty());
    EXPECT_THAT(
        [&] {
            EXPECT_FALSE(Date::s_make_schedule(Date("2024-01-01"), Date("2024-02-01"),
                                               shift_of("-3d"), dates));
        },
        LogsError("Date 2024-01-01 shifted with -3d returns 2024-01-01"));
}

TEST(Schedule, AStepThatFailsLaterNamesTheStart) {
    std::vector<Date> dates;
    EXPECT_THAT(  // the third step leaves the years of 16 bits
        [&] {
            EXPECT_FALSE(Date::s_make_schedule(Date("65533-06-01"), Date("65535-12-31"),
                                               shift_of("+1y"), dates));
        },
        LogsError("Date 65533-06-01 shifted with +1y returns 65533-06-01"));
    EXPECT_TRUE(dates.empty());
}

TEST(Schedule, TheBoundsMayBeAmongTheDates) {
    std::vector<Date> dates{Date("2024-01-15"), Date("2024-03-15")};
    EXPECT_TRUE(Date::s_make_schedule(dates[0], dates[1], shift_of("+1m"), dates));
    EXPECT_THAT(texts_of(dates), ElementsAre("2024-01-15", "2024-02-15", "2024-03-15"));
    EXPECT_THAT(
        [&] { EXPECT_FALSE(Date::s_make_schedule(dates[0], dates[1], shift_of(""), dates)); },
        LogsError("Date 2024-01-15 shifted with  returns 2024-01-15"));
    EXPECT_TRUE(dates.empty());
}

TEST(Schedule, IsIncreasingForEveryStepThatAdvances) {
    for (std::string const text : {"+1d", "+13d", "+1m", "+5m", "+1y", "+7bd"}) {
        std::vector<Date> dates;
        EXPECT_TRUE(
            Date::s_make_schedule(Date("2023-11-30"), Date("2027-05-05"), shift_of(text), dates));
        EXPECT_EQ(dates.front(), Date("2023-11-30"));
        EXPECT_EQ(dates.back(), Date("2027-05-05"));
        EXPECT_EQ(std::adjacent_find(dates.begin(), dates.end(), std::greater_equal<>{}),
                  dates.end())
            << text;
        for (Date const& date : dates) {
            EXPECT_STREQ(date.c_str(), Date(date).c_str());
        }
    }
}

}  // namespace
