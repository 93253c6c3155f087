// The space grid and the solver of one lognormal underlying with one volatility.

#pragma once

#include "core/modeling/pde_helper.hpp"

namespace ximCORE::Modeling {

/// The grid is that of x = log(price / forward), from -z s - s^2 / 2 to z s - s^2 / 2, where s is
/// the volatility times the root of the last time and z the two-sided normal quantile of the level.
/// Without an underlying or a volatility it goes from -1 to 1.
class BlackScholesPDEHelper final : public PDEHelper {
 public:
    /// A fraction or, above 1, a percentage: 0.9999 and 99.99 are the same level.
    inline static float s_quantile_level{97.5F};
    /// Points of the space grid.
    inline static std::int32_t s_grid_size{100};

    /// Whether the settings of the method can be used: grid size, quantile level, time step. False
    /// after an ERROR record "Invalid " + the key of the request.
    [[nodiscard]] static bool s_check_settings();

    BlackScholesPDEHelper();

    void calibrate_solver() override;
    [[nodiscard]] Toolbox::Grid c_eval(Toolbox::Date const& date,
                                       Data::Underlying const* underlying) const override;

    [[nodiscard]] double c_get_lower_bound() const { return m_lower_bound; }
    [[nodiscard]] double c_get_upper_bound() const { return m_upper_bound; }

 protected:
    [[nodiscard]] bool _c_calibrate_equity_like_volatility_internal(
        Toolbox::Date const& date, Contract::ContractInformation const& information,
        Data::Underlying const* underlying, std::unique_ptr<VolatilityModel>& slot) const override;
    /// The bounds of the space grid from the volatility of the state in force. False for settings
    /// that cannot be used.
    [[nodiscard]] bool calibrate_model(Toolbox::Date const& date,
                                       Contract::ContractInformation const& information) override;
    void _set_space_grid() override;

 private:
    /// Of the first underlying in the state in force; 0 without one.
    [[nodiscard]] double _c_get_volatility() const;

    double m_lower_bound{-1.0};
    double m_upper_bound{1.0};
};

}  // namespace ximCORE::Modeling
