#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <tuple>

#include "core/toolbox/errors.hpp"
#include "core/toolbox/log.hpp"
#include "support/matchers.hpp"
#include "ximAPI/ximAPI.hpp"

namespace ximAPI {
namespace {

using ::testing::ElementsAre;

ScheduleResults schedule(std::string const& start, std::string const& end,
                         std::string const& shift) {
    ScheduleResults results;
    results.StartDate = start;
    results.EndDate = end;
    results.DateShift = shift;
    return results;
}

TEST(Schedule, RunsFromStartToEndInSteps) {
    auto results = schedule("2024-01-31", "2024-04-15", "+1m");
    EXPECT_TRUE(GetSchedule(results));
    EXPECT_THAT(results.Dates, ElementsAre("2024-01-31", "2024-02-29", "2024-03-29", "2024-04-15"));
}

TEST(Schedule, OfADayIsThatDay) {
    auto results = schedule("2024-01-31", "2024-01-31", "");
    EXPECT_TRUE(GetSchedule(results));
    EXPECT_THAT(results.Dates, ElementsAre("2024-01-31"));
}

TEST(Schedule, ReplacesTheDatesThatWereThere) {
    auto results = schedule("2024-01-01", "2024-01-02", "+1d");
    results.Dates = {"a", "b", "c"};
    EXPECT_TRUE(GetSchedule(results));
    EXPECT_THAT(results.Dates, ElementsAre("2024-01-01", "2024-01-02"));
}

TEST(Schedule, CountsBusinessDaysOfTheCalendar) {
    auto results = schedule("2024-01-05", "2024-01-07", "+1bd");  // a Friday; no day is closed
    EXPECT_TRUE(GetSchedule(results));
    EXPECT_THAT(results.Dates, ElementsAre("2024-01-05", "2024-01-06", "2024-01-07"));
}

TEST(Schedule, OfAShiftThatDoesNotAdvanceFailsAndLeavesTheDates) {
    auto results = schedule("2024-01-01", "2024-02-01", "");
    results.Dates = {"as was"};
    auto const entries = ximTest::records_of([&] { EXPECT_FALSE(GetSchedule(results)); });
    ASSERT_EQ(entries.size(), 1U);
    EXPECT_EQ(entries[0].level, ximCORE::Toolbox::Log::Level::ERROR);
    EXPECT_THAT(results.Dates, ElementsAre("as was"));
}

TEST(Schedule, FromAStartAfterItsEndFails) {
    auto results = schedule("2024-02-02", "2024-02-01", "+1d");
    auto const entries = ximTest::records_of([&] { EXPECT_FALSE(GetSchedule(results)); });
    EXPECT_EQ(entries.size(), 1U);
}

TEST(Schedule, OfATextThatDoesNotReadRaises) {
    using ximCORE::Toolbox::ConstructorException;
    auto const run = [](ScheduleResults results) {
        return [results] {
            auto copy = results;
            std::ignore = GetSchedule(copy);
        };
    };
    EXPECT_THAT(run(schedule("soon", "2024-02-01", "+1d")),
                ximTest::Raises<ConstructorException>());
    EXPECT_THAT(run(schedule("2024-02-01", "", "+1d")), ximTest::Raises<ConstructorException>());
    EXPECT_THAT(run(schedule("2024-01-01", "2024-02-01", "3m")),
                ximTest::Raises<ConstructorException>());
    EXPECT_THAT(run(schedule("2024-01-01", "2024-02-01", "3m")),
                ximTest::LogsError("Cannot read date shift 3m"));
    EXPECT_THROW(run(schedule("2024-01-01", "2024-02-01", "+99999999999d"))(), std::out_of_range);
}

TEST(Schedule, TheNumberOfDatesCountsIn16Bits) {
    // About 365.25 dates a year: 47,483 in 130 years stay, of 69,397 in 190 years 65,536 drop out.
    auto results = schedule("1970-01-01", "2100-01-01", "+1d");
    EXPECT_TRUE(GetSchedule(results));
    auto const full = results.Dates.size();
    EXPECT_GT(full, 47000U);
    EXPECT_LT(full, 48000U);
    auto longer = schedule("1970-01-01", "2160-01-01", "+1d");
    EXPECT_TRUE(GetSchedule(longer));
    EXPECT_GT(longer.Dates.size(), 3800U);
    EXPECT_LT(longer.Dates.size(), 3950U);
    EXPECT_EQ(longer.Dates.front(), "1970-01-01");
}

}  // namespace
}  // namespace ximAPI
