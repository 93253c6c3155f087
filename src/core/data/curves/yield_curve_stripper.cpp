#include "core/data/curves/yield_curve_stripper.hpp"

#include <cmath>
#include <utility>

#include "core/data/interest_rates.hpp"
#include "core/data/level.hpp"
#include "core/data/spot.hpp"

namespace ximCORE::Data {

namespace {

constexpr double c_first_guess = 0.5;
constexpr double c_rate_tolerance = 1e-8;
constexpr std::uint64_t c_max_iterations = 100;
constexpr double c_rate_step = 0.0001;
constexpr double c_inverse_rate_step = 10000.0;

}  // namespace

bool YieldCurveInstrument::c_solve(YieldCurveStripper const* stripper, double guess,
                                   double& rate) const {
    if (underlying == nullptr || spot == nullptr) return false;
    double quote = 0.0;
    // Relied on: an instrument with a quote is not solved, one without is solved for a quote of 0
    if (spot->eval(quote, Level::error)) return false;
    YieldCurveSolver const solver(rate, this, quote, stripper);
    Toolbox::NewtonRaphson newton(guess);
    return Toolbox::rootfinder(solver, {&newton}, rate, c_rate_tolerance, c_max_iterations,
                               nullptr);
}

YieldCurveStripper::YieldCurveStripper(Toolbox::Date const& date,
                                       Toolbox::DayCounter const& day_counter)
    : m_day_counter(day_counter), m_date(date) {}

bool YieldCurveStripper::c_eval(Toolbox::Date const& date, double& zero_coupon,
                                double& forward) const {
    return c_eval(_c_time(date), zero_coupon, forward);
}

double YieldCurveStripper::_c_time(Toolbox::Date const& date) const {
    return m_day_counter.c_year_fraction(m_date, date);
}

YieldCurveLegacyStripper::YieldCurveLegacyStripper(
    Toolbox::Date const& date, Toolbox::DayCounter const& day_counter,
    double forward_rate_affinity_factor, std::vector<YieldCurveInstrument> const& instruments)
    : YieldCurveStripper(date, day_counter),
      m_forward_rate_affinity_factor(forward_rate_affinity_factor),
      m_knots(instruments.size()),
      m_instruments(&instruments) {
    for (std::size_t knot = 0; knot < instruments.size(); ++knot) {
        m_knots.unsafe_get(knot).time =
            _c_time(instruments[knot].underlying->c_get_maturity_date());
    }
}

std::unique_ptr<YieldCurveStripper> YieldCurveLegacyStripper::c_clone() const {
    return std::make_unique<YieldCurveLegacyStripper>(*this);
}

bool YieldCurveLegacyStripper::strip() {
    double guess = c_first_guess;
    for (std::uint64_t knot = 0; knot < m_knots.c_get_size(); ++knot) {
        if (!_strip_knot(knot, guess)) return false;
        guess = m_knots.get(knot).rate;
    }
    return true;
}

bool YieldCurveLegacyStripper::_strip_knot(std::uint64_t knot, double guess) {
    ContinuousForward& solved = m_knots.unsafe_get(knot);
    solved.has_rate = true;
    if (!m_instruments->at(knot).c_solve(this, guess, solved.rate)) return false;
    double forward = 0.0;
    if (!c_eval(solved.time, solved.zero_coupon, forward)) return false;
    solved.has_zero_coupon = true;
    return true;
}

bool YieldCurveLegacyStripper::c_eval(double t, double& zero_coupon, double& forward) const {
    if (m_knots.c_get_size() == 0) return false;
    if (!(t > m_knots.get(0).time)) return _c_eval_first(t, zero_coupon, forward);
    std::int64_t const interval = _c_find_interval(t);
    if (interval < 0) return _c_eval_first(t, zero_coupon, forward);
    auto const left = static_cast<std::uint64_t>(interval);
    return left + 1 == m_knots.c_get_size() ? _c_eval_beyond(t, zero_coupon, forward)
                                            : _c_eval_between(left, t, zero_coupon, forward);
}

/// The knot to the left of t; a knot itself belongs to the interval that ends there, and -1 says
/// that none does.
std::int64_t YieldCurveLegacyStripper::_c_find_interval(double t) const {
    auto const last = static_cast<std::int64_t>(m_knots.c_get_size()) - 1;
    auto const time_of = [this](std::int64_t knot) {
        return m_knots.get(static_cast<std::uint64_t>(knot)).time;
    };
    if (t > time_of(last)) return last;
    if (t == time_of(last)) return last - 1;
    std::int64_t low = 0;
    std::int64_t high = last;
    while (high - low > 1) {
        std::int64_t const middle = (low + high) / 2;
        if (time_of(middle) == t) return middle - 1;
        (time_of(middle) < t ? low : high) = middle;
    }
    return low;
}

bool YieldCurveLegacyStripper::_c_eval_first(double t, double& zero_coupon, double& forward) const {
    ContinuousForward const& first = m_knots.get(0);
    if (!first.has_rate) return false;
    forward = first.rate;
    zero_coupon = std::exp(-t * first.rate);
    return true;
}

bool YieldCurveLegacyStripper::_c_eval_beyond(double t, double& zero_coupon,
                                              double& forward) const {
    ContinuousForward const& last = m_knots.get(m_knots.c_get_size() - 1);
    // Relied on: after a finished strip there is no rate beyond the last knot
    if (!last.has_rate || last.has_zero_coupon) return false;
    forward = last.rate;
    zero_coupon = last.zero_coupon * std::exp(-(t - last.time) * last.rate);
    return true;
}

bool YieldCurveLegacyStripper::_c_eval_between(std::uint64_t left, double t, double& zero_coupon,
                                               double& forward) const {
    ContinuousForward const& from = m_knots.get(left);
    ContinuousForward const& to = m_knots.get(left + 1);
    if (!from.has_rate || !to.has_rate || !from.has_zero_coupon) return false;
    double const alpha = m_forward_rate_affinity_factor;
    double const switch_time = (1 - alpha) * from.time + alpha * to.time;
    double integral = 0.0;
    if (t < switch_time) {
        double const weight = (t - from.time) / (switch_time - from.time);
        forward = (1 - weight) * from.rate + weight * to.rate;
        integral = 0.5 * (t - from.time) * (from.rate + forward);
    } else if (t == switch_time) {
        forward = to.rate;
        integral = 0.5 * (t - from.time) * (from.rate + to.rate);
    } else {
        forward = to.rate;
        integral =
            (t - switch_time) * to.rate + 0.5 * (switch_time - from.time) * (from.rate + to.rate);
    }
    zero_coupon = from.zero_coupon * std::exp(-integral);
    return true;
}

void YieldCurveLegacyStripper::set_instruments(
    std::vector<YieldCurveInstrument> const* instruments) {
    m_instruments = instruments;
}

Toolbox::Array1D<YieldCurveLegacyStripper::ContinuousForward> const&
YieldCurveLegacyStripper::c_get_knots() const {
    return m_knots;
}

Toolbox::Array1D<YieldCurveLegacyStripper::ContinuousForward>&
YieldCurveLegacyStripper::get_knots() {
    return m_knots;
}

YieldCurveSolver::YieldCurveSolver(double& solved_rate, YieldCurveInstrument const* instrument,
                                   double const& quote, YieldCurveStripper const* stripper)
    : m_solved_rate(solved_rate), m_instrument(instrument), m_quote(quote), m_stripper(stripper) {}

bool YieldCurveSolver::c_compute_value(double x, double& f) const {
    m_solved_rate = x;
    return m_instrument->underlying->c_eval(m_quote, m_stripper, f);
}

// The bumped side comes first: the finder's root may be the knot itself, and must read x
// afterwards.
bool YieldCurveSolver::c_compute_value_and_derivative(double x, double& f, double& df) const {
    double bumped = 0.0;
    if (!c_compute_value(x + c_rate_step, bumped) || !c_compute_value(x, f)) return false;
    df = (bumped - f) * c_inverse_rate_step;
    return true;
}

}  // namespace ximCORE::Data
