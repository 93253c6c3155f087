// Lognormal paths around the forward of each fixing date, one factor and one volatility number per
// underlying, with the quanto adjustment of the drift. Rates are deterministic.

#pragma once

#include "core/modeling/mc_helper.hpp"

namespace ximCORE::Modeling {

/// On fixing k, with z the correlated normal, dt the step and a = rho(underlying, quanto rate) *
/// volatility of the rate:
///     x += (z sqrt(dt) + (a - sigma / 2) dt) sigma,   cell = exp(x) forward.
/// (F. Black and M. Scholes, 1973; quanto drift: E. Reiner, 1992, here with a plus sign: callers
/// rely on it.)
class BlackScholesMCHelper final : public MCHelper {
 public:
    BlackScholesMCHelper();
    [[nodiscard]] std::unique_ptr<MCHelper> c_clone() const override;
    [[nodiscard]] bool c_get_lognormal_steps(std::uint64_t underlying,
                                             std::vector<double>& diffusions,
                                             std::vector<double>& drifts) const override;

    /// Fails, after an ERROR record, where the derivative by the correlation with a quanto rate has
    /// no cell.
    [[nodiscard]] bool acalibrate_internal_core(
        Toolbox::AAD::Tape& tape, Toolbox::AAD::SweepType sweep, Toolbox::Date const& date,
        Contract::ContractInformation const& information) override;
    void c_accumulate_vega(Toolbox::Array1D<Pricing::RowGreekResult>& rows) const override;

 protected:
    [[nodiscard]] bool _c_calibrate_equity_like_volatility_internal(
        Toolbox::Date const& date, Contract::ContractInformation const& information,
        Data::Underlying const* underlying, std::unique_ptr<VolatilityModel>& slot) const override;
    void _diffuse_internal(std::uint64_t trial) override;
    void _adiffuse_internal(Toolbox::AAD::Tape& tape, Toolbox::AAD::SweepType sweep,
                            bool antithetic, std::uint64_t trial) override;
    void _add_step_adjoints(std::uint64_t underlying, std::span<StepAdjoint const> steps) override;

 private:
    [[nodiscard]] double _c_get_volatility(std::uint64_t underlying) const;
    [[nodiscard]] double _c_get_quanto_drift(std::uint64_t underlying) const;
    [[nodiscard]] double& _get_vega_adjoint(std::uint64_t underlying);
    /// The path of one underlying, into one side of the fixing grid.
    void _diffuse_underlying(std::uint64_t u, bool antithetic);
    void _adiffuse_underlying(std::uint64_t u, bool antithetic);
    /// `drift_adjoint`: by the quanto drift, if there is one.
    void _add_quanto_adjoints(std::uint64_t u, double drift_adjoint);
};

}  // namespace ximCORE::Modeling
