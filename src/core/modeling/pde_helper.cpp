#include "core/modeling/pde_helper.hpp"

#include <algorithm>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "core/contract/information.hpp"
#include "core/toolbox/date_shift.hpp"
#include "core/toolbox/errors.hpp"
#include "core/toolbox/math.hpp"

namespace ximCORE::Modeling {

namespace {

using Toolbox::Date;
using Toolbox::Math;

int compare(double element, double value) {
    return element < value ? -1 : (element > value ? 1 : 0);
}

/// Position of a time in ascending times, where it is put if no neighbour equals it. `low`: a
/// position at or before its own.
std::size_t place_time(std::vector<double>& times, double time, std::size_t low) {
    auto const found = static_cast<std::size_t>(
        Math::find_index_internal(times, time, static_cast<std::int64_t>(low),
                                  static_cast<std::int64_t>(times.size()), compare, false));
    if (times[found] == time) return found;
    if (found + 1 == times.size() || times[found + 1] != time)
        times.insert(times.begin() + static_cast<std::ptrdiff_t>(found) + 1, time);
    return found + 1;
}

/// From the start by steps to the last payment or pillar, the later one; without a payment the
/// start alone. False, after an ERROR record, for a step that does not advance.
bool make_dates(Date const& start, Contract::ContractInformation const& information,
                std::vector<Date>& dates) {
    dates.assign(1, start);
    if (information.payment_dates.empty()) return true;
    Date last = std::max(start, *information.payment_dates.back());
    if (!information.pillar_dates.empty()) last = std::max(last, *information.pillar_dates.back());
    if (last == start) return true;
    Toolbox::DateShift const shift("+" + std::to_string(PDEHelper::s_time_step) + "d", nullptr);
    return Date::s_make_schedule(start, last, shift, dates);
}

}  // namespace

PDEHelper::PDEHelper(std::uint64_t nb_factors_per_underlying, std::uint64_t nb_factors_per_currency,
                     std::unique_ptr<Toolbox::XTPDE> solver)
    : Helper(nb_factors_per_underlying, nb_factors_per_currency), m_solver(std::move(solver)) {}

void PDEHelper::set(Date const& date, Toolbox::DayCounter const& day_counter,
                    Contract::ContractInformation const& information, Contract::CashFlow*) {
    _set_counts(information);
    std::vector<Date> dates;
    m_has_time_grid = make_dates(date, information, dates);
    if (!m_has_time_grid) dates.assign(1, date);
    auto const time_of = [&](Date const& of) {
        // a date behind us, as that of a passed choice, counts as the start
        return of < date ? 0.0 : day_counter.c_year_fraction(date, of);
    };
    std::vector<double> times;
    times.reserve(dates.size() + information.pillar_dates.size());
    for (auto const& grid_date : dates) times.push_back(time_of(grid_date));
    std::vector<std::size_t> pillars{0};  // rank 0 is the valuation date alone
    for (auto const* pillar : information.pillar_dates)
        pillars.push_back(place_time(times, time_of(*pillar), pillars.back()));
    m_solver->set_time_grid(std::move(times), std::move(pillars));
}

bool PDEHelper::calibrate_method(Date const&, Contract::ContractInformation const&) {
    if (!m_has_time_grid) return false;
    _set_space_grid();
    m_solver->init();
    return true;
}

double PDEHelper::c_get_result(Toolbox::Grid const& values) const {
    auto const& x = c_get_grid();
    if (x.size() < 2 || values.size() != x.size()) Toolbox::raise_segmentation_fault();
    std::span<double const> const points(x.data(), static_cast<std::size_t>(x.size()));
    auto const i = static_cast<Eigen::Index>(
        Math::find_index_internal(points, 0.0, 0, x.size() - 1, compare, false));
    return (values[i + 1] - values[i]) / (x[i + 1] - x[i]) * (0.0 - x[i]) + values[i];
}

}  // namespace ximCORE::Modeling
