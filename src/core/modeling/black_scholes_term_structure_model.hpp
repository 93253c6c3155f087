// Lognormal underlyings with one forward volatility per interval of the time grid, read from the
// surface at the forward.

#pragma once

#include <memory>
#include <vector>

#include "core/modeling/model.hpp"
#include "core/toolbox/containers.hpp"

namespace ximCORE::Modeling {

class BlackScholesTermStructureModel final : public Model {
 public:
    explicit BlackScholesTermStructureModel(Toolbox::Date const& calibration_date);

    using Model::get_dependencies;
    [[nodiscard]] bool get_dependencies(std::vector<Data::Underlying*> const& underlyings,
                                        std::vector<Data::Currency*> const& currencies) override;

    /// Forward volatilities, fractions: sqrt((w(t_k) - w(t_(k-1))) / (t_k - t_(k-1))) with w the
    /// total variance at the forward and both 0 before the first time; 0 over an interval of length
    /// 0. `times`: years, increasing. `volatilities` takes the size of `times`. False without a
    /// surface.
    [[nodiscard]] static bool s_calibrate_volatility(Toolbox::Date const& date,
                                                     Data::Underlying const* underlying,
                                                     Toolbox::Array1D<double> const& times,
                                                     Toolbox::Array1D<double>& volatilities);

 protected:
    [[nodiscard]] std::unique_ptr<MCHelper> _new_MC_helper() override;
};

}  // namespace ximCORE::Modeling
