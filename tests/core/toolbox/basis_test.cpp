#include "core/toolbox/basis.hpp"

#include <gtest/gtest.h>

#include <cmath>

#include "core/toolbox/date.hpp"
#include "core/toolbox/period.hpp"
#include "support/matchers.hpp"

using namespace ximCORE::Toolbox;
using ximTest::IsNearRel;

namespace {

/// Counts every span as the number it was made with.
class Constant final : public Basis::IBasis {
 public:
    explicit Constant(double years) : m_years(years) {}
    [[nodiscard]] double c_year_fraction(Calendar::ICalendar const*, Date const&,
                                         Date const&) const override {
        return m_years;
    }

 private:
    double m_years;
};

TEST(Basis, IsFoundByItsNameOrItsNumber) {
    EXPECT_NE(Basis::of_str("act_365"), nullptr);
    EXPECT_EQ(Basis::of_str("act_360"), nullptr);
    EXPECT_EQ(Basis::of_str(""), nullptr);
    EXPECT_NE(Basis::of_id(0), nullptr);
    EXPECT_EQ(Basis::of_id(1), nullptr);
}

TEST(Basis, ActualOver365IsANewInstanceEachTime) {
    EXPECT_NE(Basis::Actual365::s_get(), Basis::Actual365::s_get());
}

TEST(DayCounter, ByDefaultCountsCalendarDaysOver365) {
    EXPECT_EQ(DayCounter().c_year_fraction(Date("2024-01-01"), Date("2025-01-01")), 366.0 / 365.0);
    EXPECT_EQ(DayCounter().c_year_fraction(Date("2024-01-01"), Date("2024-01-01")), 0.0);
    EXPECT_EQ(DayCounter().c_year_fraction(Date("2024-03-08"), Date("2024-03-11")), 3.0 / 365.0);
}

TEST(DayCounter, AReversedSpanIsAHugePositiveNumber) {
    // Relied on: a reversed span is counted in unsigned 64 bits, and gives a huge positive number
    double const years = DayCounter().c_year_fraction(Date("2025-01-01"), Date("2024-01-01"));
    EXPECT_THAT(years, IsNearRel(std::ldexp(1.0, 64) / 365.0, 1e-12));
    EXPECT_THAT(years, IsNearRel(5.05e16, 1e-2));
}

TEST(DayCounter, SetReplacesTheBasis) {
    DayCounter counter;
    counter.set(std::make_shared<Constant const>(2.5), nullptr);
    EXPECT_EQ(counter.c_year_fraction(Date("2024-01-01"), Date("2025-01-01")), 2.5);
    EXPECT_EQ(DayCounter(std::make_shared<Constant const>(4.0), Calendar::of_id(0))
                  .c_year_fraction(Date("2024-01-01"), Date("2025-01-01")),
              4.0);
}

TEST(Period, CoversTheYearFractionOfItsDates) {
    Period const period(Date("2024-01-01"), Date("2024-12-31"));
    EXPECT_EQ(period.c_get_coverage(), 1.0);
    EXPECT_EQ(period.c_get_start(), Date("2024-01-01"));
    EXPECT_EQ(period.c_get_end(), Date("2024-12-31"));
    DayCounter const counter(std::make_shared<Constant const>(3.0), nullptr);
    EXPECT_EQ(Period(Date("2024-01-01"), Date("2024-12-31"), counter).c_get_coverage(), 3.0);
}

}  // namespace
