#include "core/toolbox/calendar.hpp"

#include <gtest/gtest.h>

#include "core/toolbox/date.hpp"
#include "support/matchers.hpp"

using namespace ximCORE::Toolbox;

namespace {

TEST(Calendar, IsFoundByItsNameInLowerCaseOrItsNumber) {
    EXPECT_EQ(Calendar::of_str("dummy"), Calendar::Dummy::s_get());
    EXPECT_EQ(Calendar::of_str("Dummy"), nullptr);
    EXPECT_EQ(Calendar::of_str(""), nullptr);
    EXPECT_EQ(Calendar::of_id(0), Calendar::Dummy::s_get());
    EXPECT_EQ(Calendar::of_id(1), nullptr);
    EXPECT_EQ(Calendar::of_id(-1), nullptr);
}

TEST(Calendar, TheDummyClosesNoDay) {
    for (Date date("2024-03-01"); date < Date("2024-04-01"); ++date) {
        EXPECT_FALSE(Calendar::Dummy::s_get()->c_is_closed(date));
    }
}

TEST(Calendar, TheDummyHasAScriptForm) {
    std::string script = "before ";
    Calendar::Dummy::s_get()->c_accumulate_script(script);
    EXPECT_EQ(script, "before Dummy");
    EXPECT_EQ(Calendar::Dummy::s_get()->c_get_script(), "Dummy");
    EXPECT_EQ(Calendar::Dummy::s_get()->c_get_name(), "dummy");
    EXPECT_FALSE(Calendar::Dummy::s_get()->c_needs_parenthesis());
}

TEST(Calendar, BusinessDaysAreCountedFromTheDayAfterTheStartToTheDayAfterTheEnd) {
    auto const count = [](char const* start, char const* end) {
        return Calendar::Dummy::s_get()->c_business_days_between(Date(start), Date(end));
    };
    EXPECT_EQ(count("2024-03-05", "2024-03-05"), 1U);
    EXPECT_EQ(count("2024-03-05", "2024-03-04"), 0U);
    EXPECT_EQ(count("2024-02-28", "2024-03-01"), 3U);
    EXPECT_EQ(count("2023-01-01", "2023-12-31"), 365U);
    EXPECT_EQ(count("65535-12-30", "65535-12-31"), 2U);  // no date follows, and the count ends
}

TEST(Calendar, ClosedDaysAreNotCounted) {
    class OddDays final : public Calendar::ICalendar {
     public:
        OddDays() : ICalendar("odd") {}
        void c_accumulate_script(std::string& script) const override { script += "Odd"; }
        [[nodiscard]] bool c_is_closed(Date const& date) const override {
            return date.c_get_day() % 2 == 0;
        }
    };
    // tested: 6, 7, 8, 9, 10 and 11 March
    EXPECT_EQ(OddDays{}.c_business_days_between(Date("2024-03-05"), Date("2024-03-10")), 3U);
}

}  // namespace
