// The yield curve of one currency seen from one date: zero-coupon values and rates to any later
// date, with the shifts of the scenario in force applied to the continuous rate. Times are years
// from the date of the curve, measured with the day counter of the currency; rates are fractions.

#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "core/data/curves/yield_curve_stripper.hpp"
#include "core/data/item.hpp"
#include "core/toolbox/date.hpp"

namespace ximCORE::Data {

class Currency;

class YieldCurve final : public MarketDataPerturbableItem {
 public:
    enum class StripperKind : std::uint8_t { legacy };
    /// Which stripper a curve makes; any value but `legacy` makes none.
    inline static StripperKind s_stripper_kind = StripperKind::legacy;

    /// An empty curve: without instruments its zero-coupon value is 1 at every date, before shifts.
    /// `currency`: not owned, outlives the curve.
    YieldCurve(Toolbox::Date const& date, Currency const* currency);
    /// A deep copy with its own stripper and the shifts in force; the quotes and underlyings are
    /// shared.
    YieldCurve(YieldCurve const& other);
    ~YieldCurve() override;
    YieldCurve& operator=(YieldCurve const&) = delete;
    [[nodiscard]] std::unique_ptr<YieldCurve> c_clone() const;

    [[nodiscard]] Toolbox::Date const& c_get_date() const { return m_date; }
    [[nodiscard]] Currency const* c_get_currency() const { return m_currency; }
    /// Null before the first evaluation and without instruments.
    [[nodiscard]] YieldCurveStripper const* c_get_stripper() const { return m_stripper.get(); }
    [[nodiscard]] std::vector<YieldCurveInstrument>& get_instruments() { return m_instruments; }

    /// exp(+t r) with r the shifted continuous rate -log(z) / t of the stripper's zero-coupon value
    /// z, and 1 at t = 0. The rate enters with a plus sign: callers rely on it. Where the stripper
    /// fails, z is 1.
    [[nodiscard]] double eval_zero_coupon(double t);
    [[nodiscard]] double eval_zero_coupon(Toolbox::Date const& date);
    /// (1 / zero coupon - 1) / t. Not finite at the date of the curve.
    [[nodiscard]] double eval_deposit_rate(Toolbox::Date const& date);
    /// -log(zero coupon) / t. Not finite at the date of the curve.
    [[nodiscard]] double eval_continuous_rate(Toolbox::Date const& date);
    /// The stripper's forward rate, without shifts; 0 without a stripper or where it fails.
    [[nodiscard]] double eval_continuous_forward_rate(Toolbox::Date const& date);
    /// All four at once from one evaluation of the stripper, without shifts: a zero coupon of 1 and
    /// a forward of 0 where there is no stripper or it fails.
    void eval(Toolbox::Date const& date, double& zero_coupon, double& deposit, double& continuous,
              double& forward);

    /// Prices each instrument on this curve into its `price` and gives the list.
    std::vector<YieldCurveInstrument>& price_instruments();

    [[nodiscard]] bool _c_is_affected(MarketDataPerturbationItem const& item) const override;
    void _build_internal() override;

 private:
    [[nodiscard]] bool _set_stripper();
    [[nodiscard]] double _c_time(Toolbox::Date const& date) const;

    Toolbox::Date m_date;
    Currency const* m_currency;
    std::unique_ptr<YieldCurveStripper> m_stripper;
    std::vector<YieldCurveInstrument> m_instruments;  // in order of increasing maturity
};

}  // namespace ximCORE::Data
