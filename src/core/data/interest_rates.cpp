#include "core/data/interest_rates.hpp"

#include "core/contract/information.hpp"
#include "core/data/curves/yield_curve.hpp"
#include "core/data/curves/yield_curve_stripper.hpp"
#include "core/modeling/fixing_grid.hpp"
#include "core/toolbox/errors.hpp"
#include "core/toolbox/log.hpp"
#include "core/toolbox/period.hpp"

namespace ximCORE::Data {

namespace {

using Toolbox::Date;

/// More payments than ranks of maturities can number.
constexpr std::size_t c_max_nb_periods = 10000;

bool eval_zero_coupon(YieldCurveStripper const* stripper, Date const& date, double& out) {
    double forward = 0.0;
    return stripper->c_eval(date, out, forward);
}

/// The zero coupon of `maturity` as seen from `date` on the path.
auto grid_reader(Modeling::FixingGrid& grid, Date const& date, Currency const& currency) {
    return
        [&](Date const& maturity) { return grid.get_zero_coupon(date, currency, maturity).value; };
}

/// The adjoint of the same zero coupon, on one side of the grid.
auto grid_adjoints(Modeling::FixingGrid& grid, Date const& date, Currency const& currency,
                   bool antithetic) {
    return [&, antithetic](Date const& maturity) -> double& {
        return grid.get_zero_coupon(date, currency, maturity).get_adjoint(antithetic);
    };
}

using Toolbox::AAD::SweepType;
using Toolbox::AAD::Tape;

}  // namespace

bool InterestRateLikeUnderlying::accumulate_all(Contract::ContractInformation& information,
                                                Underlying const&) {
    accumulate_maturity_dates(information.maturity_dates);
    return true;
}

void InterestRateLikeUnderlying::set_shift(
    Shift& shift, std::string const& text,
    std::shared_ptr<Toolbox::Calendar::ICalendar const> const& calendar) {
    if (!text.empty()) shift.set(Toolbox::DateShift(text, calendar));
}

void DepositRate::c_set_fixing_grid_internal(Date const& date, Currency const& currency,
                                             Modeling::FixingGrid& grid) const {
    grid.open_zero_coupon(date, currency, m_start_date);
    grid.open_zero_coupon(date, currency, m_end_date);
}

double DepositRate::eval(Date const& date, Currency const& currency, Modeling::FixingGrid& grid) {
    auto const zero_coupon = grid_reader(grid, date, currency);
    return (zero_coupon(m_start_date) / zero_coupon(m_end_date) - 1.0) / m_coverage;
}

void DepositRate::aeval(Date const& date, Currency const& currency, Tape&, SweepType sweep,
                        bool antithetic, Modeling::FixingGrid& grid, double& value,
                        double& adjoint) {
    if (sweep == SweepType::FORWARD) {
        value = eval(date, currency, grid);  // Relied on: a mirrored path has the same zero coupons
        return;
    }
    auto const zero_coupon = grid_reader(grid, date, currency);
    auto const adjoint_of = grid_adjoints(grid, date, currency, antithetic);
    double const end = zero_coupon(m_end_date);
    double const slope = adjoint / (m_coverage * end);
    adjoint_of(m_end_date) -= slope * zero_coupon(m_start_date) / end;
    adjoint_of(m_start_date) += slope;
}

bool DepositRate::build(Date const& date) {
    m_start_date = date.c_shift(m_start.get());
    m_end_date = date.c_shift(m_end.get());
    m_coverage = Toolbox::Period(m_start_date, m_end_date).c_get_coverage();
    return true;
}

void DepositRate::accumulate_maturity_dates(std::vector<Date*>& out) {
    out.push_back(&m_start_date);
    out.push_back(&m_end_date);
}

bool DepositRate::c_eval(double quote, YieldCurveStripper const* stripper, double& out) const {
    double start = 0.0;
    double end = 0.0;
    if (!eval_zero_coupon(stripper, m_start_date, start)) return false;
    if (!eval_zero_coupon(stripper, m_end_date, end)) return false;
    out = (1.0 + m_coverage * quote) * end - start;
    return true;
}

double DepositRate::c_price(YieldCurve* curve) const {
    return (curve->eval_zero_coupon(m_start_date) / curve->eval_zero_coupon(m_end_date) - 1.0) /
           m_coverage;
}

bool DepositRate::c_has_start(Underlying const& owner, Level level) const {
    return m_start.has() ||
           missing(level, "Cannot find start of deposit rate with ticker '", owner);
}

bool DepositRate::c_has_end(Underlying const& owner, Level level) const {
    return m_end.has() || missing(level, "Cannot find end of deposit rate with ticker '", owner);
}

SwapRate::Leg::Leg(Date const& start_date, Date const& end_date)
    : start(start_date),
      end(end_date),
      coverage(Toolbox::Period(start_date, end_date).c_get_coverage()) {}

void SwapRate::c_set_fixing_grid_internal(Date const& date, Currency const& currency,
                                          Modeling::FixingGrid& grid) const {
    if (m_schedule.empty()) {
        Toolbox::Log::s_log(Toolbox::Log::Level::ERROR, "Swap rate without periods");
        Toolbox::raise_segmentation_fault();
    }
    grid.open_zero_coupon(date, currency, m_schedule.front().start);
    for (auto const& leg : m_schedule) grid.open_zero_coupon(date, currency, leg.end);
}

double SwapRate::eval_annuity(Date const& date, Currency const& currency,
                              Modeling::FixingGrid& grid) const {
    if (m_schedule.empty()) Toolbox::raise_segmentation_fault();
    auto const zero_coupon = grid_reader(grid, date, currency);
    double annuity = 0.0;
    for (auto const& leg : m_schedule) annuity += leg.coverage * zero_coupon(leg.end);
    return annuity;
}

double SwapRate::eval_float_leg(Date const& date, Currency const& currency,
                                Modeling::FixingGrid& grid) const {
    auto const zero_coupon = grid_reader(grid, date, currency);
    return zero_coupon(m_schedule.front().start) - zero_coupon(m_schedule.back().end);
}

double SwapRate::eval(Date const& date, Currency const& currency, Modeling::FixingGrid& grid) {
    double const annuity = eval_annuity(date, currency, grid);
    return eval_float_leg(date, currency, grid) / annuity;
}

void SwapRate::aeval(Date const& date, Currency const& currency, Tape& tape, SweepType sweep,
                     bool antithetic, Modeling::FixingGrid& grid, double& value, double& adjoint) {
    double annuity = 0.0;
    if (sweep == SweepType::FORWARD) {
        annuity = eval_annuity(date, currency, grid);
        tape.dpush(annuity);
        value = eval_float_leg(date, currency, grid) / annuity;
        return;
    }
    tape.dpop(annuity);
    auto const adjoint_of = grid_adjoints(grid, date, currency, antithetic);
    double const slope = adjoint / annuity;
    double const rate = eval_float_leg(date, currency, grid) / annuity;
    adjoint_of(m_schedule.back().end) -= slope;
    adjoint_of(m_schedule.front().start) += slope;
    for (auto leg = m_schedule.rbegin(); leg != m_schedule.rend(); ++leg)
        adjoint_of(leg->end) -= slope * rate * leg->coverage;
}

bool SwapRate::build(Date const& date) {
    m_start_date = date.c_shift(m_start.get());
    m_end_date = date.c_shift(m_end.get());
    m_schedule.clear();
    for (Date current = m_start_date; current < m_end_date;) {
        Date const next = current.c_shift(m_frequency.get());
        bool const is_stuck = next <= current;
        bool const is_too_long = m_schedule.size() == c_max_nb_periods;
        if (is_stuck || is_too_long) m_schedule.clear();
        if (is_too_long) return missing_text(Level::error, "Swap rate with too many periods");
        if (is_stuck) return true;
        m_schedule.emplace_back(current, m_end_date < next ? m_end_date : next);
        current = next;
    }
    return true;
}

void SwapRate::accumulate_maturity_dates(std::vector<Date*>& out) {
    if (!m_schedule.empty()) out.push_back(&m_schedule.front().start);
    for (auto& leg : m_schedule) out.push_back(&leg.end);
}

Date const& SwapRate::c_get_maturity_date() const {
    return m_schedule.empty() ? m_end_date : m_schedule.back().end;
}

bool SwapRate::c_eval(double quote, YieldCurveStripper const* stripper, double& out) const {
    out = 0.0;
    if (m_schedule.empty()) return true;
    double start = 0.0;
    double end = 0.0;
    double annuity = 0.0;
    if (!eval_zero_coupon(stripper, m_schedule.front().start, start)) return false;
    for (auto const& leg : m_schedule) {
        if (!eval_zero_coupon(stripper, leg.end, end)) return false;
        annuity += leg.coverage * end;
    }
    out = start - end - quote * annuity;
    return true;
}

double SwapRate::c_price(YieldCurve* curve) const {
    if (m_schedule.empty()) Toolbox::raise_segmentation_fault();
    double annuity = 0.0;
    for (auto const& leg : m_schedule) annuity += leg.coverage * curve->eval_zero_coupon(leg.end);
    return (curve->eval_zero_coupon(m_schedule.front().start) -
            curve->eval_zero_coupon(m_schedule.back().end)) /
           annuity;
}

void ZeroCouponBond::c_set_fixing_grid_internal(Date const& date, Currency const& currency,
                                                Modeling::FixingGrid& grid) const {
    grid.open_zero_coupon(date, currency, m_start_date);
    grid.open_zero_coupon(date, currency, m_end_date);
}

double ZeroCouponBond::eval(Date const& date, Currency const& currency,
                            Modeling::FixingGrid& grid) {
    auto const zero_coupon = grid_reader(grid, date, currency);
    return zero_coupon(m_end_date) / zero_coupon(m_start_date);
}

void ZeroCouponBond::aeval(Date const& date, Currency const& currency, Tape&, SweepType sweep,
                           bool antithetic, Modeling::FixingGrid& grid, double& value,
                           double& adjoint) {
    if (sweep == SweepType::FORWARD) {
        value = eval(date, currency, grid);
        return;
    }
    auto const zero_coupon = grid_reader(grid, date, currency);
    auto const adjoint_of = grid_adjoints(grid, date, currency, antithetic);
    double const start = zero_coupon(m_start_date);
    double const slope = adjoint / start;
    adjoint_of(m_start_date) -= slope * zero_coupon(m_end_date) / start;
    adjoint_of(m_end_date) += slope;
}

bool ZeroCouponBond::build(Date const& date) {
    m_start_date = date.c_shift(m_start.get());
    m_end_date = date.c_shift(m_end.get());
    return true;
}

void ZeroCouponBond::accumulate_maturity_dates(std::vector<Date*>& out) {
    out.push_back(&m_start_date);
    out.push_back(&m_end_date);
}

bool ZeroCouponBond::c_eval(double quote, YieldCurveStripper const* stripper, double& out) const {
    double start = 0.0;
    double end = 0.0;
    if (!eval_zero_coupon(stripper, m_start_date, start)) return false;
    if (!eval_zero_coupon(stripper, m_end_date, end)) return false;
    out = end - quote * start;
    return true;
}

double ZeroCouponBond::c_price(YieldCurve* curve) const {
    return curve->eval_zero_coupon(m_end_date) / curve->eval_zero_coupon(m_start_date);
}

void ZeroCouponBond::set_calendar(std::string const& text) {
    if (auto calendar = Toolbox::Calendar::of_str(text)) m_calendar.set(calendar);
}

}  // namespace ximCORE::Data
