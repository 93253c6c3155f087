// Bases (how a span counts as a fraction of a year) and the day counter, which pairs one with a
// calendar. One basis exists; a new one implements `IBasis` and gets an entry in the factories.
#pragma once

#include <memory>
#include <string>

#include "core/toolbox/calendar.hpp"

namespace ximCORE::Toolbox {

class Date;

namespace Basis {

class IBasis {
 public:
    virtual ~IBasis() = default;

    /// Years from `start` to `end`.
    [[nodiscard]] virtual double c_year_fraction(Calendar::ICalendar const* calendar,
                                                 Date const& start, Date const& end) const = 0;

 protected:
    IBasis() = default;
    IBasis(IBasis const&) = default;
    IBasis& operator=(IBasis const&) = default;
};

/// Calendar days over 365. The calendar is not looked at.
class Actual365 final : public IBasis {
 public:
    /// Callers order their dates: the days are counted in unsigned 64 bits, so that `end` before
    /// `start` gives about 5.05e16 (2^64 / 365).
    [[nodiscard]] double c_year_fraction(Calendar::ICalendar const* calendar, Date const& start,
                                         Date const& end) const override;

    /// A new instance.
    [[nodiscard]] static std::shared_ptr<IBasis const> s_get();
};

/// The basis named so ("act_365"), null for any other text.
[[nodiscard]] std::shared_ptr<IBasis const> of_str(std::string const& name);
/// The basis of that number (0: actual over 365), null for any other.
[[nodiscard]] std::shared_ptr<IBasis const> of_id(int id);

}  // namespace Basis

/// A basis with a calendar; by default actual over 365 and the calendar without closed days. Cheap
/// to copy.
class DayCounter {
 public:
    DayCounter();
    DayCounter(std::shared_ptr<Basis::IBasis const> basis,
               std::shared_ptr<Calendar::ICalendar const> calendar);

    void set(std::shared_ptr<Basis::IBasis const> basis,
             std::shared_ptr<Calendar::ICalendar const> calendar);

    /// Years from `start` to `end`. The basis must not be null: it is not checked.
    [[nodiscard]] double c_year_fraction(Date const& start, Date const& end) const;

 private:
    std::shared_ptr<Basis::IBasis const> m_basis;
    std::shared_ptr<Calendar::ICalendar const> m_calendar;
};

}  // namespace ximCORE::Toolbox
