// Date shifts: texts such as "+3m" that move a date. A value, cheap to copy (the operation is
// shared and immutable).
#pragma once

#include <memory>
#include <string>

#include "core/toolbox/calendar.hpp"
#include "core/toolbox/json_serializable.hpp"

namespace ximCORE::Toolbox {

class Date;

/// A sign, a count and a unit: d (days), m (months), y (years) or bd (business days); the empty
/// text moves nothing.
/// "-Nm" and "-Ny" have the results of `Date::sub_months` and `Date::sub_years`.
class DateShift final : public JsonSerializable {
 public:
    /// The operation on a date.
    class Impl {
     public:
        virtual ~Impl() = default;
        virtual void c_apply(Date& date) const = 0;

     protected:
        Impl() = default;
        Impl(Impl const&) = default;
        Impl& operator=(Impl const&) = default;
    };

    /// The shift that moves nothing.
    DateShift() = default;
    /// `calendar` serves business days only; null closes no day.
    /// Fails: a text that is no shift, or of more than 64 characters, adds the ERROR record "Cannot
    /// read date shift "
    /// + text and throws `ConstructorException`; a count above 2147483647 throws
    /// `std::out_of_range` ("stoi").
    DateShift(std::string const& text, std::shared_ptr<Calendar::ICalendar const> const& calendar);

    /// {"shift": text}.
    void serialize(Json::Value& json) const override;
    /// Reads the text alone: the shift goes on applying what it applied before.
    void deserialize(Json::Value const& json) override;

    void c_apply(Date& date) const;
    /// The text that the shift was made from. Owned by the shift.
    [[nodiscard]] char const* c_str() const { return m_text.c_str(); }

 private:
    std::shared_ptr<Impl const> m_impl;
    std::string m_text;
};

}  // namespace ximCORE::Toolbox
