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

 protected:
    [[nodiscard]] bool _c_calibrate_equity_like_volatility_internal(
        Toolbox::Date const& date, Contract::ContractInformation const& information,
        Data::Underlying const* underlying, std::unique_ptr<VolatilityModel>& slot) const override;
    void _diffuse_internal(std::uint64_t trial) override;

 private:
    [[nodiscard]] double _c_get_volatility(std::uint64_t underlying) const;
    [[nodiscard]] double _c_get_quanto_drift(std::uint64_t underlying) const;
};

}  // namespace ximCORE::Modeling
