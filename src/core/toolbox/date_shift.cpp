#include "core/toolbox/date_shift.hpp"

#include <json/value.h>

#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string_view>
#include <tuple>

#include "core/toolbox/date.hpp"
#include "core/toolbox/date_text.hpp"
#include "core/toolbox/errors.hpp"
#include "core/toolbox/log.hpp"

namespace ximCORE::Toolbox {

namespace {

/// A move by a count of days, months or years.
template <void (Date::*move)(std::uint64_t)>
class Move final : public DateShift::Impl {
 public:
    explicit Move(std::uint64_t count) : m_count(count) {}
    void c_apply(Date& date) const override { (date.*move)(m_count); }

 private:
    std::uint64_t m_count;
};

/// A move by a count of open days; a null calendar closes none.
template <void (Date::*move)(std::uint64_t, Calendar::ICalendar const*)>
class BusinessMove final : public DateShift::Impl {
 public:
    BusinessMove(std::uint64_t count, std::shared_ptr<Calendar::ICalendar const> const& calendar)
        : m_count(count), m_calendar(calendar) {}
    void c_apply(Date& date) const override { (date.*move)(m_count, m_calendar.get()); }

 private:
    std::uint64_t m_count;
    std::shared_ptr<Calendar::ICalendar const> m_calendar;
};

using AddDays = Move<&Date::add_days>;
using SubDays = Move<&Date::sub_days>;
using AddMonths = Move<&Date::add_months>;
using SubMonths = Move<&Date::sub_months>;
using AddYears = Move<&Date::add_years>;
using SubYears = Move<&Date::sub_years>;
using AddBusinessDays = BusinessMove<&Date::add_business_days>;
using SubBusinessDays = BusinessMove<&Date::sub_business_days>;

using ImplPtr = std::shared_ptr<DateShift::Impl const>;

template <class Add, class Sub, class... Arguments>
ImplPtr make_signed(char sign, Arguments const&... arguments) {
    return sign == '+' ? ImplPtr(std::make_shared<Add const>(arguments...))
                       : ImplPtr(std::make_shared<Sub const>(arguments...));
}

/// The operation of a text that reads as a shift; null for any other text.
ImplPtr make_impl(std::string_view text,
                  std::shared_ptr<Calendar::ICalendar const> const& calendar) {
    std::optional<ShiftText> const parts = read_shift_text(text);
    if (!parts) {
        return nullptr;
    }
    std::optional<std::int32_t> const number = read_digits(parts->count);
    if (!number) {
        throw std::out_of_range("stoi");
    }
    auto const count = static_cast<std::uint64_t>(*number);
    if (parts->unit == "d") {
        return make_signed<AddDays, SubDays>(parts->sign, count);
    }
    if (parts->unit == "m") {
        return make_signed<AddMonths, SubMonths>(parts->sign, count);
    }
    if (parts->unit == "y") {
        return make_signed<AddYears, SubYears>(parts->sign, count);
    }
    return make_signed<AddBusinessDays, SubBusinessDays>(parts->sign, count, calendar);
}

}  // namespace

DateShift::DateShift(std::string const& text,
                     std::shared_ptr<Calendar::ICalendar const> const& calendar)
    : m_text(text) {
    if (text.empty()) {
        return;
    }
    m_impl = make_impl(text, calendar);
    if (m_impl == nullptr) {
        Log::s_log(Log::Level::ERROR, "Cannot read date shift ", text);
        throw ConstructorException{};
    }
}

void DateShift::serialize(Json::Value& json) const {
    json["shift"] = m_text;
}

void DateShift::deserialize(Json::Value const& json) {
    // Relied on: a shift read from JSON changes its text and goes on applying the operation it had
    std::ignore = s_set_string(json, "shift", m_text);  // an absent member leaves the text
}

void DateShift::c_apply(Date& date) const {
    if (m_impl != nullptr) {
        m_impl->c_apply(date);
    }
}

}  // namespace ximCORE::Toolbox
