#include "core/modeling/dupire_local_volatility_model.hpp"

#include <tuple>

#include "core/modeling/dupire_local_volatility_mc_helper.hpp"
#include "core/modeling/model_dependencies.hpp"

namespace ximCORE::Modeling {

DupireLocalVolatilityModel::DupireLocalVolatilityModel(Toolbox::Date const& calibration_date)
    : Model(calibration_date, "DupireLocalVolatilityModel") {}

bool DupireLocalVolatilityModel::get_dependencies(std::vector<Data::Underlying*> const& underlyings,
                                                  std::vector<Data::Currency*> const& currencies) {
    bool const is_complete = Model::get_dependencies(underlyings, currencies);
    // Relied on: a refused correlation does not make the declaration incomplete
    std::ignore = declare_correlations(c_get_calibration_date(), underlyings);
    return declare_volatility_surfaces(c_get_calibration_date(), underlyings) && is_complete;
}

std::unique_ptr<MCHelper> DupireLocalVolatilityModel::_new_MC_helper() {
    return std::make_unique<DupireLocalVolatilityMCHelper>();
}

}  // namespace ximCORE::Modeling
