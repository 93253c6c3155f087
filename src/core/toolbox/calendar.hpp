// Calendars: which days are closed. One calendar exists, under which none is; a new one implements
// `ICalendar` and gets an entry in the factories.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

namespace ximCORE::Toolbox {

class Date;

namespace Calendar {

class ICalendar {
 public:
    virtual ~ICalendar() = default;

    /// Appends the calendar's script form to `script`.
    virtual void c_accumulate_script(std::string& script) const = 0;
    /// Whether the script form wants parentheses inside another one.
    [[nodiscard]] virtual bool c_needs_parenthesis() const { return false; }
    [[nodiscard]] virtual bool c_is_closed(Date const& date) const = 0;

    [[nodiscard]] std::string const& c_get_name() const { return m_name; }
    [[nodiscard]] std::string c_get_script() const;
    /// Open days from the day after `start` to the day after `end`, both included: 1 from a date to
    /// itself when the next day is open, 0 when `end` precedes `start`.
    [[nodiscard]] std::uint64_t c_business_days_between(Date const& start, Date const& end) const;

 protected:
    explicit ICalendar(std::string name);
    ICalendar(ICalendar const&) = default;
    ICalendar& operator=(ICalendar const&) = default;

 private:
    std::string m_name;
};

/// Every day is open, weekends included. Immutable.
class Dummy final : public ICalendar {
 public:
    Dummy();

    void c_accumulate_script(std::string& script) const override;
    [[nodiscard]] bool c_is_closed(Date const& date) const override;

    /// The one shared instance.
    [[nodiscard]] static std::shared_ptr<ICalendar const> const& s_get();
};

/// The calendar named so ("dummy"), null for any other text.
[[nodiscard]] std::shared_ptr<ICalendar const> of_str(std::string const& name);
/// The calendar of that number (0: dummy), null for any other.
[[nodiscard]] std::shared_ptr<ICalendar const> of_id(int id);

}  // namespace Calendar
}  // namespace ximCORE::Toolbox
