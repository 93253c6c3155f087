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
    [[nodiscard]] bool c_get_lognormal_steps(std::uint64_t underlying,
                                             std::vector<double>& diffusions,
                                             std::vector<double>& drifts) const override;

 protected:
    [[nodiscard]] bool _c_calibrate_equity_like_volatility_internal(
        Toolbox::Date const& date, Contract::ContractInformation const& information,
        Data::Underlying const* underlying, std::unique_ptr<VolatilityModel>& slot) const override;
    void _diffuse_internal(std::uint64_t trial) override;
    void _adiffuse_internal(Toolbox::AAD::Tape& tape, Toolbox::AAD::SweepType sweep,
                            bool antithetic, std::uint64_t trial) override;
    void _add_step_adjoints(std::uint64_t underlying, std::span<StepAdjoint const> steps) override;

 private:
    [[nodiscard]] BlackScholesTermStructureVolatilityModel& _get_volatility(
        std::uint64_t underlying);
    /// The path of one underlying, into one side of the fixing grid.
    void _diffuse_underlying(std::uint64_t u, bool antithetic);
    void _adiffuse_underlying(std::uint64_t u, bool antithetic);
};

}  // namespace ximCORE::Modeling
