// Lognormal underlyings with one volatility each.

#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "core/modeling/model.hpp"
#include "core/toolbox/date_shift.hpp"

namespace ximCORE::Modeling {

class BlackScholesModel final : public Model {
 public:
    /// Where the volatility comes from: the quoted number, or the surface at the forward of one
    /// tenor.
    enum class CalibrationKind : std::uint64_t { manual, at_the_money_forward };
    inline static CalibrationKind s_calibration_kind = CalibrationKind::manual;
    /// The tenor of `at_the_money_forward`, from the calibration date.
    inline static Toolbox::DateShift s_calibration_tenor{};

    explicit BlackScholesModel(Toolbox::Date const& calibration_date);

    using Model::get_dependencies;
    [[nodiscard]] bool get_dependencies(std::vector<Data::Underlying*> const& underlyings,
                                        std::vector<Data::Currency*> const& currencies) override;

    /// The volatility of one underlying, a fraction, under the scenario in force. False without a
    /// value (the market layer reports it), for an unknown kind, and with an ERROR record for a
    /// tenor of zero length.
    [[nodiscard]] static bool s_calibrate_volatility(Toolbox::Date const& date,
                                                     Data::Underlying const* underlying,
                                                     double& volatility);

 protected:
    [[nodiscard]] std::unique_ptr<MCHelper> _new_MC_helper() override;
    [[nodiscard]] std::unique_ptr<PDEHelper> _new_PDE_helper() override;
};

}  // namespace ximCORE::Modeling
