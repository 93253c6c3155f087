// A span of dates with the rule by which it counts as a year fraction.
#pragma once

#include "core/toolbox/basis.hpp"
#include "core/toolbox/date.hpp"

namespace ximCORE::Toolbox {

class Period {
 public:
    Period(Date const& start, Date const& end, DayCounter const& day_counter = {})
        : m_start(start), m_end(end), m_day_counter(day_counter) {}

    [[nodiscard]] Date const& c_get_start() const { return m_start; }
    [[nodiscard]] Date const& c_get_end() const { return m_end; }
    /// Years from start to end by the day counter.
    [[nodiscard]] double c_get_coverage() const {
        return m_day_counter.c_year_fraction(m_start, m_end);
    }

 private:
    Date m_start;
    Date m_end;
    DayCounter m_day_counter;
};

}  // namespace ximCORE::Toolbox
