// Charts and the gnuplot commands that draw them.

#include "tools/chart.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "tools/gnuplot.hpp"

namespace {

using ::testing::HasSubstr;
using ::testing::Not;
using xim::Chart;
using xim::Curve;
using xim::Mark;

Chart chart_of(Curve const& curve) {
    return {"title", "x", "y", false, {}, {curve}};
}

TEST(Chart, IsAPictureInTwoFormats) {
    EXPECT_TRUE(xim::is_picture("a.svg"));
    EXPECT_TRUE(xim::is_picture("some folder/a.png"));
    for (char const* name : {"", ".svg", "a.pdf", "svg", "a.svg.txt"}) {
        EXPECT_FALSE(xim::is_picture(name)) << name;
    }
}

TEST(Chart, WritesItsDataInItsCommands) {
    Curve const band{"band", Mark::band, "#9ecae1", {1.0, 2.0}, {}, {3.0, 4.0}, {5.0, 6.0}};
    Curve const line{"line", Mark::line, "#08519c", {1.0, 2.0}, {4.0, 5.0}};
    auto const commands = xim::make_plot({{"title", "x", "y", false, {}, {band, line}}}, "a.svg");
    ASSERT_TRUE(commands);
    EXPECT_THAT(*commands, HasSubstr("set terminal svg size 900,420\nset output 'a.svg'\n"));
    EXPECT_THAT(*commands, HasSubstr("$data0 << EOD\n1 nan 3 5 \"\"\n2 nan 4 6 \"\"\nEOD\n"));
    EXPECT_THAT(*commands, HasSubstr("$data1 << EOD\n1 4 4 4 \"\"\n2 5 5 5 \"\"\nEOD\n"));
    EXPECT_THAT(*commands, HasSubstr("plot $data0 using 1:3:4 with filledcurves fillcolor rgb "
                                     "'#9ecae1' title 'band' noenhanced, $data1 using 1:2 with "
                                     "lines"));
}

TEST(Chart, KeepsQuotesAndLineEndsOutOfItsCommands) {
    Curve line{"it's\nnew", Mark::line, "#08519c", {1.0, 2.0}, {4.0, 5.0}};
    auto const commands = xim::make_plot({chart_of(line)}, "a.svg");
    ASSERT_TRUE(commands);
    EXPECT_THAT(*commands, HasSubstr("title 'it''s new' noenhanced"));
}

TEST(Chart, LeavesOutWhatHasNoPoint) {
    Curve const none{"none", Mark::line, "#08519c", {1.0}, {std::nan("")}};
    Curve const half{"half", Mark::band, "#08519c", {1.0}, {}, {1.0}, {std::nan("")}};
    Curve const some{"some", Mark::line, "#08519c", {1.0, 2.0}, {1.0, 2.0}};
    EXPECT_FALSE(xim::make_plot({}, "a.svg"));
    EXPECT_FALSE(xim::make_plot({chart_of(none), chart_of(half)}, "a.svg"));
    auto const commands = xim::make_plot({chart_of(none), chart_of(some)}, "a.png");
    ASSERT_TRUE(commands);
    EXPECT_THAT(*commands, HasSubstr("set terminal pngcairo size 900,420\n"));
    EXPECT_THAT(*commands, HasSubstr("multiplot layout 1,1"));
    EXPECT_THAT(*commands, Not(HasSubstr("none")));
}

TEST(Chart, OpensAnIntervalAroundASinglePoint) {
    auto const commands =
        xim::make_plot({chart_of({"", Mark::points, "#08519c", {10.0}, {20.0}})}, "a.svg");
    ASSERT_TRUE(commands);
    EXPECT_THAT(*commands, HasSubstr("set xrange [9 :11 ]"));
    EXPECT_THAT(*commands, HasSubstr("set yrange [19 :21 ]"));
}

/// A margin of 3 days on both sides of 100, and 106 days in five parts.
TEST(Chart, NamesSixDates) {
    double const start = xim::seconds_of("2021-05-03");
    Curve const line{"", Mark::line, "#08519c", {start, start + 86400.0 * 100.0}, {1.0, 2.0}};
    auto const commands = xim::make_plot({{"title", "x", "y", true, {}, {line}}}, "a.svg");
    ASSERT_TRUE(commands);
    EXPECT_THAT(*commands, HasSubstr("set xtics '1619740800 ', 1831680 format '%Y-%m-%d'\n"));
    EXPECT_THAT(*commands, HasSubstr("set xrange ['1619740800 ':'1628899200 ']\n"));
}

TEST(Chart, CountsDatesInSeconds) {
    EXPECT_EQ(xim::seconds_of("1970-01-02"), 86400.0);
    EXPECT_EQ(xim::seconds_of("2021-05-03 12:00:00"), 1620000000.0);
    for (char const* text : {"", "soon", "2021-02-30", "2021-13-01"}) {
        EXPECT_TRUE(std::isnan(xim::seconds_of(text))) << text;
    }
}

/// gnuplot takes every mark, alone and with others, on both kinds of axis.
TEST(Chart, IsDrawn) {
    std::string const file = ::testing::TempDir() + "xim_chart_is_drawn.svg";
    std::vector<Chart> charts;
    for (bool const has_dates : {false, true}) {
        double const x = has_dates ? xim::seconds_of("2021-05-03") : 1.0;
        for (Mark const mark : {Mark::line, Mark::line_points, Mark::points, Mark::band,
                                Mark::impulses, Mark::steps_back}) {
            for (std::size_t size : {1, 3}) {
                Curve curve{"a name", mark, "#08519c", {}, {}};
                for (std::size_t i = 0; i < size; ++i) {
                    curve.x.push_back(x + 86400.0 * static_cast<double>(i));
                    curve.y.push_back(1.0);
                    curve.lower.push_back(0.5);
                    curve.upper.push_back(1.5);
                    curve.labels.push_back(std::to_string(i + 1));
                }
                charts.push_back({"title", "x", "y", has_dates, {}, {curve}});
            }
        }
    }
    auto const commands = xim::make_plot(charts, file);
    ASSERT_TRUE(commands);
    EXPECT_EQ(xim::draw(*commands), std::nullopt);
    std::remove(file.c_str());
}

TEST(Chart, SaysThatGnuplotFailed) {
    auto const problem = xim::draw("nonsense\n");
    ASSERT_TRUE(problem);
    EXPECT_THAT(*problem, HasSubstr("could not draw"));
}

}  // namespace
