// Underlyings with a local volatility derived from their surfaces.

#pragma once

#include <memory>
#include <vector>

#include "core/modeling/model.hpp"

namespace ximCORE::Modeling {

class DupireLocalVolatilityModel final : public Model {
 public:
    explicit DupireLocalVolatilityModel(Toolbox::Date const& calibration_date);

    using Model::get_dependencies;
    [[nodiscard]] bool get_dependencies(std::vector<Data::Underlying*> const& underlyings,
                                        std::vector<Data::Currency*> const& currencies) override;

 protected:
    [[nodiscard]] std::unique_ptr<MCHelper> _new_MC_helper() override;
};

}  // namespace ximCORE::Modeling
