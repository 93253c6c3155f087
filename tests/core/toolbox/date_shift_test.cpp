#include "core/toolbox/date_shift.hpp"

#include <gtest/gtest.h>
#include <json/json.h>

#include <stdexcept>
#include <string>

#include "core/toolbox/date.hpp"
#include "core/toolbox/errors.hpp"
#include "support/matchers.hpp"

using namespace ximCORE::Toolbox;
using ximTest::LogsError;
using ximTest::LogsNothing;
using ximTest::Raises;

namespace {

DateShift shift_of(std::string const& text) {
    return {text, Calendar::of_id(0)};
}

TEST(DateShift, EachUnitAppliesTheMoveOfTheDate) {
    using Move = void (*)(Date&);
    struct Row {
        char const* text;
        Move move;
    };
    Row const rows[]{
        {"+1d", [](Date& date) { date.add_days(1); }},
        {"-1d", [](Date& date) { date.sub_days(1); }},
        {"+2m", [](Date& date) { date.add_months(2); }},
        {"-2m", [](Date& date) { date.sub_months(2); }},
        {"+1y", [](Date& date) { date.add_years(1); }},
        {"-1y", [](Date& date) { date.sub_years(1); }},
        {"+5bd", [](Date& date) { date.add_business_days(5, nullptr); }},
        {"-5bd", [](Date& date) { date.sub_business_days(5, nullptr); }},
        {"", [](Date&) {}},
        {"+0000000d", [](Date&) {}},
    };
    for (Row const& row : rows) {
        Date expected("2024-03-31");
        row.move(expected);
        EXPECT_EQ(Date("2024-03-31").c_shift(shift_of(row.text)), expected) << row.text;
        EXPECT_STREQ(shift_of(row.text).c_str(), row.text);
    }
}

TEST(DateShift, OneMonthFromTheLastOfJanuaryIsTheLastOfFebruary) {
    EXPECT_EQ(Date("2024-01-31").c_shift(shift_of("+1m")), Date("2024-02-29"));
}

TEST(DateShift, OneBusinessDayFromAFridayIsASaturdayWhenNoDayIsClosed) {
    EXPECT_EQ(Date("2024-03-08").c_shift(shift_of("+1bd")), Date("2024-03-09"));
    EXPECT_EQ(Date("2024-03-08").c_shift(DateShift("+1bd", nullptr)), Date("2024-03-09"));
}

TEST(DateShift, BusinessDaysAskTheirCalendar) {
    class OddDays final : public Calendar::ICalendar {
     public:
        OddDays() : ICalendar("odd") {}
        void c_accumulate_script(std::string& script) const override { script += "Odd"; }
        [[nodiscard]] bool c_is_closed(Date const& date) const override {
            return date.c_get_day() % 2 == 0;
        }
    };
    DateShift const forward("+2bd", std::make_shared<OddDays const>());
    DateShift const back("-2bd", std::make_shared<OddDays const>());
    EXPECT_EQ(Date("2024-03-08").c_shift(forward), Date("2024-03-11"));
    EXPECT_EQ(Date("2024-03-08").c_shift(back), Date("2024-03-05"));
}

TEST(DateShift, AnyOtherTextIsLoggedAndRefused) {
    for (std::string const text :
         {"3m", "+3w", "+m", " +3m", "+3M", "+3m ", "+3", "+", "+-3m", "+3bdd", "+3b"}) {
        EXPECT_THAT([&] { shift_of(text); }, LogsError("Cannot read date shift " + text));
        EXPECT_THAT([&] { shift_of(text); }, Raises<ConstructorException>());
    }
}

TEST(DateShift, ALongTextIsRefusedUnread) {
    std::string const fits = "+" + std::string(61, '0') + "3m";
    EXPECT_EQ(Date("2024-01-01").c_shift(shift_of(fits)).c_get_month(), 4);  // 64 characters
    std::string const longer = "+" + std::string(62, '0') + "3m";
    EXPECT_THAT([&] { shift_of(longer); }, LogsError("Cannot read date shift " + longer));
    std::string const endless = "+" + std::string(1'000'000, '9') + "d";
    EXPECT_THAT([&] { shift_of(endless); }, Raises<ConstructorException>());
}

TEST(DateShift, ACountBeyond32BitsRaisesAndLogsNothing) {
    EXPECT_THAT([] { shift_of("+99999999999d"); }, Raises<std::out_of_range>("stoi"));
    EXPECT_THAT([] { shift_of("+99999999999d"); }, LogsNothing());
    EXPECT_THAT([] { shift_of("-2147483648m"); }, Raises<std::out_of_range>("stoi"));
    EXPECT_NO_THROW(shift_of("+2147483647m"));
}

TEST(DateShift, TheLargestCountOfDaysBackIsQuick) {
    EXPECT_EQ(Date("2024-03-01").c_shift(shift_of("-2147483647d")).c_get_year(), 1970);
}

TEST(DateShift, AShiftedCopyKeepsTheTextOfItsOrigin) {
    Date const date("2024-01-31");
    EXPECT_STREQ(date.c_shift(shift_of("+1m")).c_str(), "2024-01-31");
    Date moved(date);
    moved.shift(shift_of("+1m"));
    EXPECT_EQ(moved, Date("2024-02-29"));
    EXPECT_STREQ(moved.c_str(), "2024-01-31");
}

TEST(DateShift, NothingAndTheEmptyTextMoveNothing) {
    EXPECT_EQ(Date("2024-01-31").c_shift(DateShift{}), Date("2024-01-31"));
    EXPECT_EQ(Date("2024-01-31").c_shift(shift_of("")), Date("2024-01-31"));
    EXPECT_STREQ(DateShift{}.c_str(), "");
}

TEST(DateShift, TheJsonFormIsItsText) {
    Json::Value json;
    shift_of("+3m").serialize(json);
    EXPECT_EQ(json["shift"], "+3m");
    EXPECT_EQ(json.size(), 1U);
}

TEST(DateShift, ReadingJsonChangesTheTextAlone) {
    // Relied on: a shift read from JSON changes its text and goes on applying the operation it had
    Json::Value json;
    json["shift"] = "+1y";
    DateShift shift = shift_of("+1d");
    shift.deserialize(json);
    EXPECT_STREQ(shift.c_str(), "+1y");
    EXPECT_EQ(Date("2024-01-30").c_shift(shift), Date("2024-01-31"));
    shift.deserialize(Json::Value(Json::objectValue));
    EXPECT_STREQ(shift.c_str(), "+1y");
}

TEST(DateShift, ACopySharesTheOperation) {
    DateShift const original = shift_of("+1d");
    DateShift copy;
    copy = original;
    EXPECT_EQ(Date("2024-01-30").c_shift(copy), Date("2024-01-31"));
    EXPECT_STREQ(copy.c_str(), "+1d");
}

}  // namespace
