// Paths under local volatility: a refined time grid, one point every two days, and on it a local
// variance by time and log-moneyness, computed once per calibrated state from the implied
// volatility surface.

#pragma once

#include <cstdint>

#include "core/modeling/local_volatility_model.hpp"
#include "core/modeling/mc_helper.hpp"

namespace ximCORE::Data {
class ImpliedVolatilitySurface;
}

namespace ximCORE::Modeling {

/// The grid, with w(T, y) the total implied variance at log-moneyness y against the forward:
///     local variance = dw/dT / (d2w/dy2 / 2 + (y/2 dw/dy / w - 1)^2 - (dw/dy)^2 (1/w + 1/4) / 4)
/// (B. Dupire, "Pricing with a smile", 1994; in total variance: J. Gatheral, "The Volatility
/// Surface", 2006, equation 1.10). On a grid step dt, with z the correlated normal, v = sqrt(local
/// variance at x * dt), and a the quanto term, correlation * sqrt(local variance of the rate at x *
/// dt):
///     x += (z - v/2 + a) v,   cell of a fixing = exp(x) forward.
/// A calibrated state holds a grid of `s_space_size` numbers for each grid date and underlying:
/// about 1.5 MB a year.
class DupireLocalVolatilityMCHelper final : public MCHelper {
 public:
    inline static std::uint64_t s_space_size{1000};  ///< columns of the grid, at least 2
    inline static double s_scale{10.0};  ///< its half-width in deviations of total variance
    inline static double s_cap{10.0};    ///< largest local variance
    inline static double s_floor{0.0};   ///< smallest local variance

    DupireLocalVolatilityMCHelper();
    [[nodiscard]] std::unique_ptr<MCHelper> c_clone() const override;

    /// Fails, after an ERROR record, where the derivative by the correlation with a quanto rate has
    /// no cell.
    [[nodiscard]] bool acalibrate_internal_core(
        Toolbox::AAD::Tape& tape, Toolbox::AAD::SweepType sweep, Toolbox::Date const& date,
        Contract::ContractInformation const& information) override;

 protected:
    /// Four evaluations of the surface for each number of the grid. Fails: without a surface, and
    /// after an ERROR record for a grid beyond 1 GiB, some 730 years.
    [[nodiscard]] bool _c_calibrate_equity_like_volatility_internal(
        Toolbox::Date const& date, Contract::ContractInformation const& information,
        Data::Underlying const* underlying, std::unique_ptr<VolatilityModel>& slot) const override;
    void _diffuse_internal(std::uint64_t trial) override;
    /// No sensitivity flows to the grid.
    void _adiffuse_internal(Toolbox::AAD::Tape& tape, Toolbox::AAD::SweepType sweep,
                            bool antithetic, std::uint64_t trial) override;

 private:
    /// What the path of one underlying reads and writes. All checked; loops over the grid steps
    /// read it unchecked.
    struct Path {
        LocalVolatilityModel const* local;
        double const* normals;  ///< of the underlying's factor, one per stride
        std::size_t stride;
        double const* forwards;
        FixingGrid::Column cells;
        LocalVolatilityModel const* rate;  ///< of the quanto adjustment; null without one
        double correlation;                ///< with that rate

        [[nodiscard]] double normal(std::size_t step) const { return normals[step * stride]; }
    };
    [[nodiscard]] Path _get_path(std::uint64_t underlying);
    /// The same for adjoint sweeps.
    [[nodiscard]] Path _get_adjoint_path(std::uint64_t underlying);
    /// One path of one underlying; fixings that it does not come to get the forward of the state in
    /// force, as the cells may hold that of another state, or 0 at the start of a trial by
    /// adjoints. `note` is handed what a step takes its adjoint back with: the deviation of the
    /// step, and with a quanto rate that of the rate.
    template <class Note>
    void _walk(Path const& path, bool antithetic, Note note);
    void _walk_back(std::uint64_t underlying, Toolbox::AAD::Tape& tape, bool antithetic);

    [[nodiscard]] LocalVolatilityModel const& _c_get_local_volatility(
        std::uint64_t underlying) const;
    /// The time from a grid date to the one behind it, in years.
    [[nodiscard]] double _c_get_time_step(std::uint64_t row) const;
    void _c_fill_row(Data::ImpliedVolatilitySurface& surface, std::uint64_t row,
                     LocalVolatilityModel& model) const;
};

}  // namespace ximCORE::Modeling
