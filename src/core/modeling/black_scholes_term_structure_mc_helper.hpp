// Lognormal paths around the forward of each fixing date, one factor per underlying and one forward
// volatility per interval between fixings. Rates are deterministic, and a quanto underlying gets no
// drift: callers rely on it.

#pragma once

#include "core/modeling/mc_helper.hpp"

namespace ximCORE::Modeling {

/// On fixing k: x += ((0 - sigma[k] / 2) dt + sqrt(dt) z) sigma[k],   cell = exp(x) forward.
class BlackScholesTermStructureMCHelper final : public MCHelper {
 public:
    BlackScholesTermStructureMCHelper();
    [[nodiscard]] std::unique_ptr<MCHelper> c_clone() const override;

 protected:
    [[nodiscard]] bool _c_calibrate_equity_like_volatility_internal(
        Toolbox::Date const& date, Contract::ContractInformation const& information,
        Data::Underlying const* underlying, std::unique_ptr<VolatilityModel>& slot) const override;
    void _diffuse_internal(std::uint64_t trial) override;
};

}  // namespace ximCORE::Modeling
