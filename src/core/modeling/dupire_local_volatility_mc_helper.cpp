#include "core/modeling/dupire_local_volatility_mc_helper.hpp"

#include <algorithm>
#include <cmath>
#include <span>
#include <tuple>

#include "core/data/cache.hpp"
#include "core/data/surfaces/implied_volatility_surface.hpp"
#include "core/toolbox/log.hpp"

namespace ximCORE::Modeling {

using Toolbox::AAD::SweepType;
using Toolbox::AAD::Tape;

namespace {

constexpr std::uint64_t c_max_cells = std::uint64_t{1} << 27U;  // of one grid: 1 GiB

/// Local variance at time t and log-moneyness y: a forward difference over dt in time, central
/// differences over `step` in space.
double eval_local_variance(Data::ImpliedVolatilitySurface& surface, double t, double dt, double y,
                           double step) {
    double const w0 = surface.eval(t, y);
    double const wt = surface.eval(t + dt, y);
    double const wu = surface.eval(t, y + step);
    double const wd = surface.eval(t, y - step);
    double const d1 = (wu - wd) / (2 * step);
    double const d2 = (wu - 2 * w0 + wd) / (step * step);
    double const a = (y * 0.5 * d1) / w0 - 1.0;
    return ((wt - w0) / dt) / (d2 * 0.5 + a * a - d1 * d1 * (1.0 / w0 + 0.25) * 0.25);
}

}  // namespace

DupireLocalVolatilityMCHelper::DupireLocalVolatilityMCHelper() : MCHelper(1, 0, true) {}

std::unique_ptr<MCHelper> DupireLocalVolatilityMCHelper::c_clone() const {
    return std::make_unique<DupireLocalVolatilityMCHelper>(*this);
}

bool DupireLocalVolatilityMCHelper::_c_calibrate_equity_like_volatility_internal(
    Toolbox::Date const& date, Contract::ContractInformation const&,
    Data::Underlying const* underlying, std::unique_ptr<VolatilityModel>& slot) const {
    auto* const surface =
        Data::MarketDataCache::s_get().get_volatility_surface(date, underlying, Data::Level::error);
    if (surface == nullptr) return false;
    if (m_times.size() > c_max_cells / s_space_size) {
        Toolbox::Log::s_log(Toolbox::Log::Level::ERROR,
                            "Local volatility over too many dates: ", m_times.size());
        return false;
    }
    double const last = m_times.back();
    double const h = last > 0.0 ? s_scale * std::sqrt(surface->at_the_money_eval(last)) : 0.0;
    // a grid without time, or without any variance, has no width of its own: nothing moves on it
    bool const is_flat = h == 0.0;
    double const half_width = is_flat ? 1.0 : h;
    auto model = std::make_unique<LocalVolatilityModel>(-half_width, half_width, m_times.size(),
                                                        s_space_size);
    for (std::uint64_t row = 0; !is_flat && row < m_times.size(); ++row)
        _c_fill_row(*surface, row, *model);
    slot = std::move(model);
    return true;
}

void DupireLocalVolatilityMCHelper::_c_fill_row(Data::ImpliedVolatilitySurface& surface,
                                                std::uint64_t row,
                                                LocalVolatilityModel& model) const {
    double const t = m_times[row];
    double const dt = _c_get_time_step(row);
    std::uint64_t const columns = model.local_variances.c_get_cols();
    std::span const cells(&model.local_variances.unsafe_get(row, 0), columns);
    if (t > 0.0) {
        for (std::uint64_t column = 0; column < columns; ++column)
            cells[column] =
                eval_local_variance(surface, t, dt, model.c_get_space(column), model.step);
    } else {
        std::ranges::fill(cells, surface.at_the_money_eval(dt) / dt);
    }
    // Relied on: a local variance that is not a number passes floor and cap
    for (double& cell : cells) cell = std::min(std::max(cell, s_floor), s_cap);
}

double DupireLocalVolatilityMCHelper::_c_get_time_step(std::uint64_t row) const {
    auto const is_positive = [](double step) { return step > 0.0; };
    auto const own = m_time_steps.begin() + static_cast<std::ptrdiff_t>(std::min<std::uint64_t>(
                                                row, m_time_steps.size() - 1));
    auto const next = std::find_if(own, m_time_steps.end(), is_positive);
    if (next != m_time_steps.end()) return *next;
    // behind the last positive step: at the end of the calendar, where dates no longer move
    auto const previous = std::find_if(m_time_steps.rbegin(), m_time_steps.rend(), is_positive);
    return previous != m_time_steps.rend() ? *previous : 0.0;
}

bool DupireLocalVolatilityMCHelper::acalibrate_internal_core(
    Tape&, SweepType sweep, Toolbox::Date const&,
    Contract::ContractInformation const& information) {
    return sweep == SweepType::BACKWARD || _c_has_quanto_cells(information);
}

LocalVolatilityModel const& DupireLocalVolatilityMCHelper::_c_get_local_volatility(
    std::uint64_t underlying) const {
    auto const& slot = c_get_current().volatilities.get(underlying);
    auto const& model = static_cast<LocalVolatilityModel const&>(*slot.model);
    if (model.local_variances.c_get_rows() < m_time_steps.size())
        Toolbox::raise_segmentation_fault();
    return model;
}

DupireLocalVolatilityMCHelper::Path DupireLocalVolatilityMCHelper::_get_path(
    std::uint64_t underlying) {
    auto const& forwards = c_get_current().forwards;
    std::uint64_t const factor = _c_get_equity_like_index(underlying);
    if (m_correlated_normals.c_get_rows() < m_time_steps.size())
        Toolbox::raise_segmentation_fault();
    auto const rate = _c_get_quanto_rate(underlying);
    Path const path{
        .local = &_c_get_local_volatility(underlying),
        .normals = &m_correlated_normals.unsafe_get(0, factor),
        .stride = m_correlated_normals.c_get_cols(),
        .forwards = &forwards.get(underlying, 0),
        .cells = m_fixing_grid.get_column(underlying),
        .rate = rate ? &_c_get_local_volatility(*rate) : nullptr,
        .correlation = rate ? _c_get_correlation(_c_get_equity_like_index(*rate), factor) : 0.0};
    if (path.cells.c_get_size() < m_fixing_steps.size() ||
        path.cells.c_get_size() > forwards.c_get_cols())
        Toolbox::raise_segmentation_fault();
    return path;
}

DupireLocalVolatilityMCHelper::Path DupireLocalVolatilityMCHelper::_get_adjoint_path(
    std::uint64_t underlying) {
    Path path = _get_path(underlying);
    // a rate that sorts before its underlying has no cell there, and none for its derivative
    if (auto const rate = _c_get_quanto_rate(underlying))
        path.correlation = c_get_current().correlations.get(_c_get_equity_like_index(*rate),
                                                            _c_get_equity_like_index(underlying));
    return path;
}

template <class Note>
void DupireLocalVolatilityMCHelper::_walk(Path const& path, bool antithetic, Note note) {
    std::size_t const nb_steps = m_time_steps.size();
    std::size_t const nb_fixings = m_fixing_steps.size();
    double x = 0.0;
    std::size_t k = 0;
    for (std::size_t s = 0; s < nb_steps; ++s) {
        double const dt = m_time_steps[s];
        double const v = std::sqrt(path.local->c_interpolate(s, x) * dt);
        double a = 0.0;
        if (path.rate == nullptr) {
            note(v);
        } else {
            // Relied on: the local variance of a quanto rate is read at the log-moneyness of the
            // underlying
            double const root = std::sqrt(dt * path.rate->c_interpolate(s, x));
            a = path.correlation * root;
            note(v);
            note(root);
        }
        x += ((path.normal(s) - v * 0.5) + a) * v;
        if (k == nb_fixings || s + 1 != m_fixing_steps[k]) continue;
        auto& cell = path.cells[k];
        if (cell.opened) {
            cell.get_value(antithetic) = std::exp(x) * path.forwards[k];
            ++k;
        }
        if (cell.closed) break;
    }
    // Relied on: a fixing that is not read ends the writing of the later ones of its underlying,
    // which keep their forward
    for (; k < path.cells.c_get_size(); ++k)
        if (path.cells[k].opened) path.cells[k].get_value(antithetic) = path.forwards[k];
}

void DupireLocalVolatilityMCHelper::_diffuse_internal(std::uint64_t) {
    if (m_fixing_steps.empty()) return;
    for (std::uint64_t u = 0; u < m_nb_underlyings; ++u) _walk(_get_path(u), false, [](double) {});
}

void DupireLocalVolatilityMCHelper::_adiffuse_internal(Tape& tape, SweepType sweep, bool antithetic,
                                                       std::uint64_t) {
    if (m_fixing_steps.empty()) return;
    if (sweep == SweepType::FORWARD) {
        for (std::uint64_t u = 0; u < m_nb_underlyings; ++u)
            _walk(_get_adjoint_path(u), antithetic, [&tape](double value) { tape.dpush(value); });
    } else {
        for (std::uint64_t u = m_nb_underlyings; u-- > 0;) _walk_back(u, tape, antithetic);
    }
}

void DupireLocalVolatilityMCHelper::_walk_back(std::uint64_t u, Tape& tape, bool antithetic) {
    Path const path = _get_adjoint_path(u);
    if (m_correlated_normal_adjoints.c_get_rows() < m_time_steps.size() ||
        m_forward_adjoints.c_get_cols() < m_fixing_steps.size())
        Toolbox::raise_segmentation_fault();
    PathAdjoints const adjoints{
        &m_correlated_normal_adjoints.unsafe_get(0, _c_get_equity_like_index(u)),
        m_correlated_normal_adjoints.c_get_cols(), &m_forward_adjoints.unsafe_get(u, 0)};
    auto const rate = _c_get_quanto_rate(u);
    double* const correlation_adjoint =
        rate ? &m_correlation_adjoints.unsafe_get(_c_get_equity_like_index(*rate),
                                                  _c_get_equity_like_index(u))
             : nullptr;
    double v = 0.0;
    double root = 0.0;
    double x_adjoint = 0.0;
    double drift_adjoint = 0.0;             // by the quanto drift
    std::size_t k = m_fixing_steps.size();  // fixings that are still ahead
    // Relied on: the way back takes every step of the grid, also those behind a closed cell, which
    // the way forward did not: the tape then runs short
    for (std::size_t s = m_time_steps.size(); s-- > 0;) {
        if (k > 0 && m_fixing_steps[k - 1] == s + 1) {
            auto& cell = path.cells[k - 1];
            if (cell.opened) {
                double const p = cell.get_value(antithetic) * cell.get_adjoint(antithetic);
                x_adjoint += p;
                adjoints.forwards[k - 1] += p / path.forwards[k - 1];
                --k;
            }
        }
        // the answer of a pop is the truth of the number, not a success
        std::ignore = tape.dpop(v);
        double const c = v * x_adjoint;
        adjoints.normal(s) += c;
        if (correlation_adjoint == nullptr) continue;
        drift_adjoint += c;
        // Relied on: the two numbers of a quanto step come off the tape in the order in which they
        // went on, and the correlation takes the running sum of the drift at each step
        std::ignore = tape.dpop(root);
        *correlation_adjoint += root * drift_adjoint;
    }
}

}  // namespace ximCORE::Modeling
