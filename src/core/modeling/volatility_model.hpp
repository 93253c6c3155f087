// The volatility state of one underlying inside a calibrated market state: what a path reads
// instead of the market.

#pragma once

#include <memory>

#include "core/toolbox/containers.hpp"

namespace ximCORE::Modeling {

class VolatilityModel {
 public:
    virtual ~VolatilityModel() = default;
    [[nodiscard]] virtual std::unique_ptr<VolatilityModel> c_clone() const = 0;

 protected:
    VolatilityModel() = default;
    VolatilityModel(VolatilityModel const&) = default;
    VolatilityModel& operator=(VolatilityModel const&) = default;
};

/// One number for all times.
class BlackScholesVolatilityModel final : public VolatilityModel {
 public:
    explicit BlackScholesVolatilityModel(double volatility_of_all_times = 0.0)
        : volatility(volatility_of_all_times) {}
    [[nodiscard]] std::unique_ptr<VolatilityModel> c_clone() const override {
        return std::make_unique<BlackScholesVolatilityModel>(*this);
    }

    double volatility;  ///< a fraction
};

/// One forward volatility per interval of the time grid.
class BlackScholesTermStructureVolatilityModel final : public VolatilityModel {
 public:
    [[nodiscard]] std::unique_ptr<VolatilityModel> c_clone() const override {
        return std::make_unique<BlackScholesTermStructureVolatilityModel>(*this);
    }

    Toolbox::Array1D<double> volatilities;  ///< [interval], fractions
};

/// The owner of the volatility of one underlying; copying it copies the volatility.
struct VolatilitySlot {
    VolatilitySlot() = default;
    ~VolatilitySlot() = default;
    VolatilitySlot(VolatilitySlot&&) noexcept = default;
    VolatilitySlot& operator=(VolatilitySlot&&) noexcept = default;
    VolatilitySlot(VolatilitySlot const& other)
        : model(other.model == nullptr ? nullptr : other.model->c_clone()) {}
    VolatilitySlot& operator=(VolatilitySlot const& other) { return *this = VolatilitySlot(other); }

    std::unique_ptr<VolatilityModel> model;  ///< null until calibrated
};

}  // namespace ximCORE::Modeling
