#include "core/toolbox/calendar.hpp"

#include <utility>

#include "core/toolbox/date.hpp"

namespace ximCORE::Toolbox::Calendar {

ICalendar::ICalendar(std::string name) : m_name(std::move(name)) {}

std::string ICalendar::c_get_script() const {
    std::string script;
    c_accumulate_script(script);
    return script;
}

std::uint64_t ICalendar::c_business_days_between(Date const& start, Date const& end) const {
    std::uint64_t count = 0;
    Date date(start);
    while (date <= end) {
        bool const is_last_of_calendar =
            date.c_get_year() == 65535 && date.c_get_month() == 12 && date.c_get_day() == 31;
        ++date;
        if (!c_is_closed(date)) {
            ++count;
        }
        if (is_last_of_calendar) {  // the year has wrapped to 0: no later date exists
            break;
        }
    }
    return count;
}

Dummy::Dummy() : ICalendar("dummy") {}

void Dummy::c_accumulate_script(std::string& script) const {
    script += "Dummy";
}

bool Dummy::c_is_closed(Date const&) const {
    return false;
}

std::shared_ptr<ICalendar const> const& Dummy::s_get() {
    static std::shared_ptr<ICalendar const> const calendar = std::make_shared<Dummy const>();
    return calendar;
}

std::shared_ptr<ICalendar const> of_str(std::string const& name) {
    return name == "dummy" ? Dummy::s_get() : nullptr;
}

std::shared_ptr<ICalendar const> of_id(int id) {
    return id == 0 ? Dummy::s_get() : nullptr;
}

}  // namespace ximCORE::Toolbox::Calendar
