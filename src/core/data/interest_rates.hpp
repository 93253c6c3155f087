// Interest rates as underlyings: on a path they are read from the zero coupons of the fixing grid,
// and they are the instruments that a yield curve is stripped from. Their dates follow from the
// fixing date by shifts.

#pragma once

#include <memory>
#include <string>
#include <vector>

#include "core/data/underlying.hpp"
#include "core/toolbox/date.hpp"
#include "core/toolbox/date_shift.hpp"

namespace ximCORE::Data {

class YieldCurve;
class YieldCurveStripper;

/// Values are fractions. The dates are 1970-01-01 before `build`.
/// A mirrored path of the adjoint simulation reads the same zero coupons as the path
/// itself, which no path changes; their adjoints go to the pair of its side.
class InterestRateLikeUnderlying : public Underlying::Impl {
 public:
    AssetKind c_get_asset_kind() const final { return AssetKind::interest_rate; }
    /// Appends the dates whose zero coupons `eval` reads; they belong to this object.
    [[nodiscard]] bool accumulate_all(Contract::ContractInformation& information,
                                      Underlying const& owner) final;

    virtual Toolbox::Date const& c_get_start() const = 0;
    virtual Toolbox::Date const& c_get_end() const = 0;
    virtual Toolbox::Date const& c_get_maturity_date() const { return c_get_end(); }
    /// What a solver drives to zero: the instrument's value at its market quote, with the
    /// stripper's zero coupons. False when the stripper cannot evaluate a date.
    [[nodiscard]] virtual bool c_eval(double quote, YieldCurveStripper const* stripper,
                                      double& out) const = 0;
    /// The quote at which a finished curve prices the instrument.
    virtual double c_price(YieldCurve* curve) const = 0;

 protected:
    using Shift = SetOnce<Toolbox::DateShift>;

    /// Nothing for an empty text. Throws ConstructorException after an ERROR record, or
    /// std::out_of_range, for a text that is no shift.
    static void set_shift(Shift& shift, std::string const& text,
                          std::shared_ptr<Toolbox::Calendar::ICalendar const> const& calendar);
};

/// The simple rate of one period.
class DepositRate final : public InterestRateLikeUnderlying {
 public:
    AssetClass c_get_asset_class() const override { return AssetClass::deposit_rate; }
    std::shared_ptr<Impl> c_clone() const override { return std::make_shared<DepositRate>(*this); }
    void c_set_fixing_grid_internal(Toolbox::Date const& date, Currency const& currency,
                                    Modeling::FixingGrid& grid) const override;
    /// (Z(start) / Z(end) - 1) / coverage.
    double eval(Toolbox::Date const& date, Currency const& currency,
                Modeling::FixingGrid& grid) override;
    void aeval(Toolbox::Date const& date, Currency const& currency, Toolbox::AAD::Tape& tape,
               Toolbox::AAD::SweepType sweep, bool antithetic, Modeling::FixingGrid& grid,
               double& value, double& adjoint) override;
    [[nodiscard]] bool build(Toolbox::Date const& date) override;
    [[nodiscard]] bool c_compute_closed_form_price(Underlying const& owner,
                                                   ForwardPayment const& payment,
                                                   Toolbox::Date const& fixing,
                                                   double& price) const override;
    void accumulate_maturity_dates(std::vector<Toolbox::Date*>& out) override;

    Toolbox::Date const& c_get_start() const override { return m_start_date; }
    Toolbox::Date const& c_get_end() const override { return m_end_date; }
    /// (1 + coverage quote) Z(end) - Z(start).
    [[nodiscard]] bool c_eval(double quote, YieldCurveStripper const* stripper,
                              double& out) const override;
    double c_price(YieldCurve* curve) const override;

    [[nodiscard]] bool c_has_start(Underlying const& owner, Level level) const;
    [[nodiscard]] bool c_has_end(Underlying const& owner, Level level) const;
    void set_start(std::string const& text) { set_shift(m_start, text, nullptr); }
    void set_end(std::string const& text) { set_shift(m_end, text, nullptr); }

 private:
    Shift m_start;
    Shift m_end;
    Toolbox::Date m_start_date{1970, 1, 1};
    Toolbox::Date m_end_date{1970, 1, 1};
    double m_coverage = 0.0;
};

/// The par rate of a schedule of payments.
class SwapRate final : public InterestRateLikeUnderlying {
 public:
    AssetClass c_get_asset_class() const override { return AssetClass::swap_rate; }
    std::shared_ptr<Impl> c_clone() const override { return std::make_shared<SwapRate>(*this); }
    /// Throws SegmentationFaultException for an empty schedule, before any path is run.
    void c_set_fixing_grid_internal(Toolbox::Date const& date, Currency const& currency,
                                    Modeling::FixingGrid& grid) const override;
    /// (Z(first start) - Z(last end)) / sum of coverage Z(end). Throws SegmentationFaultException
    /// for an empty schedule.
    double eval(Toolbox::Date const& date, Currency const& currency,
                Modeling::FixingGrid& grid) override;
    void aeval(Toolbox::Date const& date, Currency const& currency, Toolbox::AAD::Tape& tape,
               Toolbox::AAD::SweepType sweep, bool antithetic, Modeling::FixingGrid& grid,
               double& value, double& adjoint) override;
    /// Periods by `frequency` from start to end, the last one cut at the end. The schedule stays
    /// empty when a shifted date is not after the one before; false, after an ERROR record, for
    /// more than 10,000 periods.
    [[nodiscard]] bool build(Toolbox::Date const& date) override;
    /// Refuses.
    [[nodiscard]] bool c_compute_closed_form_price(Underlying const& owner,
                                                   ForwardPayment const& payment,
                                                   Toolbox::Date const& fixing,
                                                   double& price) const override;
    void accumulate_maturity_dates(std::vector<Toolbox::Date*>& out) override;

    Toolbox::Date const& c_get_start() const override { return m_start_date; }
    Toolbox::Date const& c_get_end() const override { return m_end_date; }
    /// End of the last period; the end date without periods.
    Toolbox::Date const& c_get_maturity_date() const override;
    /// Z(first start) - Z(last end) - quote * sum of coverage Z(end); 0 for an empty schedule.
    [[nodiscard]] bool c_eval(double quote, YieldCurveStripper const* stripper,
                              double& out) const override;
    /// Throws SegmentationFaultException for an empty schedule.
    double c_price(YieldCurve* curve) const override;

    std::size_t c_get_nb_periods() const { return m_schedule.size(); }
    void set_start(std::string const& text) { set_shift(m_start, text, nullptr); }
    void set_end(std::string const& text) { set_shift(m_end, text, nullptr); }
    void set_frequency(std::string const& text) { set_shift(m_frequency, text, nullptr); }

 private:
    struct Leg {
        Leg(Toolbox::Date const& start_date, Toolbox::Date const& end_date);
        Toolbox::Date start;
        Toolbox::Date end;
        double coverage;
    };

    /// Sum of coverage Z(end), and Z(first start) - Z(last end), on the path.
    double eval_annuity(Toolbox::Date const& date, Currency const& currency,
                        Modeling::FixingGrid& grid) const;
    double eval_float_leg(Toolbox::Date const& date, Currency const& currency,
                          Modeling::FixingGrid& grid) const;

    Shift m_start;
    Shift m_end;
    Shift m_frequency;
    Toolbox::Date m_start_date{1970, 1, 1};
    Toolbox::Date m_end_date{1970, 1, 1};
    std::vector<Leg> m_schedule;
};

/// The price at `start` of one unit paid at `end`.
class ZeroCouponBond final : public InterestRateLikeUnderlying {
 public:
    AssetClass c_get_asset_class() const override { return AssetClass::zero_coupon_bond; }
    std::shared_ptr<Impl> c_clone() const override {
        return std::make_shared<ZeroCouponBond>(*this);
    }
    void c_set_fixing_grid_internal(Toolbox::Date const& date, Currency const& currency,
                                    Modeling::FixingGrid& grid) const override;
    /// Z(end) / Z(start).
    double eval(Toolbox::Date const& date, Currency const& currency,
                Modeling::FixingGrid& grid) override;
    void aeval(Toolbox::Date const& date, Currency const& currency, Toolbox::AAD::Tape& tape,
               Toolbox::AAD::SweepType sweep, bool antithetic, Modeling::FixingGrid& grid,
               double& value, double& adjoint) override;
    [[nodiscard]] bool build(Toolbox::Date const& date) override;
    [[nodiscard]] bool c_compute_closed_form_price(Underlying const& owner,
                                                   ForwardPayment const& payment,
                                                   Toolbox::Date const& fixing,
                                                   double& price) const override;
    void accumulate_maturity_dates(std::vector<Toolbox::Date*>& out) override;

    Toolbox::Date const& c_get_start() const override { return m_start_date; }
    Toolbox::Date const& c_get_end() const override { return m_end_date; }
    /// Z(end) - quote Z(start).
    [[nodiscard]] bool c_eval(double quote, YieldCurveStripper const* stripper,
                              double& out) const override;
    double c_price(YieldCurve* curve) const override;

    /// The calendar of business-day shifts; to be set before them. One that does not resolve stays
    /// missing.
    void set_calendar(std::string const& text);
    void set_start(std::string const& text) { set_shift(m_start, text, m_calendar.get()); }
    void set_end(std::string const& text) { set_shift(m_end, text, m_calendar.get()); }

 private:
    SetOnce<std::shared_ptr<Toolbox::Calendar::ICalendar const>> m_calendar;
    Shift m_start;
    Shift m_end;
    Toolbox::Date m_start_date{1970, 1, 1};
    Toolbox::Date m_end_date{1970, 1, 1};
};

}  // namespace ximCORE::Data
