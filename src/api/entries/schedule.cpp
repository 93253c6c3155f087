#include <cstddef>
#include <cstdint>
#include <vector>

#include "core/toolbox/calendar.hpp"
#include "core/toolbox/date.hpp"
#include "core/toolbox/date_shift.hpp"
#include "ximAPI/ximAPI.hpp"

// Relied on: the record of a failed schedule comes out with the next call that takes a log
bool GetSchedule(ximAPI::ScheduleResults& results) {
    using namespace ximCORE::Toolbox;
    Date const start(results.StartDate);
    Date const end(results.EndDate);
    DateShift const shift(results.DateShift, Calendar::of_id(static_cast<int>(results.Calendar)));
    std::vector<Date> dates;
    if (!Date::s_make_schedule(start, end, shift, dates)) return false;
    // Relied on: the number of dates counts in 16 bits
    results.Dates.resize(static_cast<std::uint16_t>(dates.size()));
    for (std::size_t index = 0; index < results.Dates.size(); ++index) {
        results.Dates[index] = dates[index].c_str();
    }
    return true;
}
