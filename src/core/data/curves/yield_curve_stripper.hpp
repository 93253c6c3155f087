// How a list of market instruments becomes a term structure of continuous forward rates: the
// strategy a yield curve owns, its one implementation, and the function that the root finder drives
// to zero for one instrument.

#pragma once

#include <memory>
#include <vector>

#include "core/toolbox/basis.hpp"
#include "core/toolbox/containers.hpp"
#include "core/toolbox/date.hpp"
#include "core/toolbox/root_finder.hpp"

namespace ximCORE::Data {

class InterestRateLikeUnderlying;
class Spot;
class YieldCurveStripper;

/// One instrument of a curve and its market quote.
struct YieldCurveInstrument {
    InterestRateLikeUnderlying const* underlying = nullptr;  ///< not owned; its dates are built
    Spot* spot = nullptr;                                    ///< the market quote, not owned
    double price = 0.0;  ///< filled by YieldCurve::price_instruments

    /// Solves the continuous forward rate that makes this instrument worth its quote under
    /// `stripper`, by Newton's method from `guess`. `rate`: the rate of a knot that `stripper`
    /// reads; it moves while the solver runs. A quote that the spot can give ends with false and
    /// solves nothing; without one the quote is 0. False also when an evaluation fails or no root
    /// is found to 1e-8 in 100 steps, and without underlying or spot.
    [[nodiscard]] bool c_solve(YieldCurveStripper const* stripper, double guess,
                               double& rate) const;
};

class YieldCurveStripper {
 public:
    YieldCurveStripper(Toolbox::Date const& date, Toolbox::DayCounter const& day_counter);
    virtual ~YieldCurveStripper() = default;

    [[nodiscard]] virtual std::unique_ptr<YieldCurveStripper> c_clone() const = 0;
    /// Solves the instruments one after the other. False as soon as one fails; what was solved
    /// before stays.
    [[nodiscard]] virtual bool strip() = 0;
    /// `t`: years from the date of the curve. `zero_coupon`: value today of one unit paid at t;
    /// `forward`: continuous forward rate at t, a fraction. False, with both left as they were,
    /// where the curve has no rate.
    [[nodiscard]] virtual bool c_eval(double t, double& zero_coupon, double& forward) const = 0;
    /// The same at a date, through the day counter.
    [[nodiscard]] bool c_eval(Toolbox::Date const& date, double& zero_coupon,
                              double& forward) const;

    /// The instruments that a copy of this stripper reads from now on; not owned.
    virtual void set_instruments(std::vector<YieldCurveInstrument> const* instruments) = 0;

 protected:
    YieldCurveStripper(YieldCurveStripper const&) = default;
    [[nodiscard]] double _c_time(Toolbox::Date const& date) const;

 private:
    Toolbox::DayCounter m_day_counter;
    Toolbox::Date m_date;
};

/// One knot per instrument, at its maturity. Between two knots the forward rate rises linearly from
/// the rate of the first to that of the second up to the switch time (1 - alpha) T_i + alpha
/// T_(i+1), then stays flat: alpha 1 is a linear forward curve, alpha 0 a piecewise flat one.
/// Before the first knot the rate of that knot holds.
class YieldCurveLegacyStripper final : public YieldCurveStripper {
 public:
    struct ContinuousForward {
        double time = 0.0;  ///< years to the maturity of the instrument
        double rate = 0.0;  ///< continuous forward rate, a fraction
        bool has_rate = false;
        double zero_coupon = 1.0;  ///< value today of one unit paid at `time`; 1 until it is known
        bool has_zero_coupon = false;
    };

    /// `instruments`: in order of maturity, with built dates; owned by the curve, read until the
    /// stripper is destroyed.
    YieldCurveLegacyStripper(Toolbox::Date const& date, Toolbox::DayCounter const& day_counter,
                             double forward_rate_affinity_factor,
                             std::vector<YieldCurveInstrument> const& instruments);
    YieldCurveLegacyStripper(YieldCurveLegacyStripper const&) = default;

    [[nodiscard]] std::unique_ptr<YieldCurveStripper> c_clone() const override;
    [[nodiscard]] bool strip() override;
    using YieldCurveStripper::c_eval;
    [[nodiscard]] bool c_eval(double t, double& zero_coupon, double& forward) const override;
    void set_instruments(std::vector<YieldCurveInstrument> const* instruments) override;

    [[nodiscard]] Toolbox::Array1D<ContinuousForward> const& c_get_knots() const;
    [[nodiscard]] Toolbox::Array1D<ContinuousForward>& get_knots();

 private:
    [[nodiscard]] bool _strip_knot(std::uint64_t knot, double guess);
    [[nodiscard]] std::int64_t _c_find_interval(double t) const;
    [[nodiscard]] bool _c_eval_first(double t, double& zero_coupon, double& forward) const;
    [[nodiscard]] bool _c_eval_beyond(double t, double& zero_coupon, double& forward) const;
    [[nodiscard]] bool _c_eval_between(std::uint64_t left, double t, double& zero_coupon,
                                       double& forward) const;

    double m_forward_rate_affinity_factor;
    Toolbox::Array1D<ContinuousForward> m_knots;
    std::vector<YieldCurveInstrument> const* m_instruments;
};

/// The residual of one instrument as a function of the rate of one knot, for Newton's method.
class YieldCurveSolver final : public Toolbox::RootFinderFunc {
 public:
    /// All arguments must outlive the solver. `solved_rate`: the knot's rate, overwritten by each
    /// evaluation.
    YieldCurveSolver(double& solved_rate, YieldCurveInstrument const* instrument,
                     double const& quote, YieldCurveStripper const* stripper);

    [[nodiscard]] bool c_compute_value(double x, double& f) const override;
    /// The derivative is the forward difference over 0.0001. Leaves the knot at x.
    [[nodiscard]] bool c_compute_value_and_derivative(double x, double& f,
                                                      double& df) const override;

 private:
    double& m_solved_rate;
    YieldCurveInstrument const* m_instrument;
    double const& m_quote;
    YieldCurveStripper const* m_stripper;
};

}  // namespace ximCORE::Data
