// The volatility state of one underlying inside a calibrated market state: what a path reads
// instead of the market. Beside it stand the derivatives that backward sweeps gather.

#pragma once

#include <cstdint>
#include <memory>

#include "core/toolbox/containers.hpp"

namespace ximCORE::Modeling {

class VolatilityModel {
 public:
    virtual ~VolatilityModel() = default;
    /// A copy of the volatility, with derivatives of 0.
    [[nodiscard]] virtual std::unique_ptr<VolatilityModel> c_clone() const = 0;
    /// Adds the derivatives that another object of the same class has gathered. A null or foreign
    /// one is ignored. Nothing here.
    virtual void accumulate(VolatilityModel const*) {}

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
        return std::make_unique<BlackScholesVolatilityModel>(volatility);
    }
    void accumulate(VolatilityModel const* other) override;

    double volatility;         ///< a fraction
    double vega_adjoint{0.0};  ///< per unit of volatility
};

/// One forward volatility per interval of the time grid.
class BlackScholesTermStructureVolatilityModel final : public VolatilityModel {
 public:
    [[nodiscard]] std::unique_ptr<VolatilityModel> c_clone() const override;
    void accumulate(VolatilityModel const* other) override;

    Toolbox::Array1D<double> volatilities;   ///< [interval], fractions
    Toolbox::Array1D<double> vega_adjoints;  ///< [interval], per unit of volatility
};

inline void BlackScholesVolatilityModel::accumulate(VolatilityModel const* other) {
    if (auto const* same = dynamic_cast<BlackScholesVolatilityModel const*>(other))
        vega_adjoint += same->vega_adjoint;
}

inline std::unique_ptr<VolatilityModel> BlackScholesTermStructureVolatilityModel::c_clone() const {
    auto copy = std::make_unique<BlackScholesTermStructureVolatilityModel>();
    copy->volatilities = volatilities;
    copy->vega_adjoints = Toolbox::Array1D<double>(vega_adjoints.c_get_size());
    return copy;
}

inline void BlackScholesTermStructureVolatilityModel::accumulate(VolatilityModel const* other) {
    auto const* same = dynamic_cast<BlackScholesTermStructureVolatilityModel const*>(other);
    if (same == nullptr) return;
    for (std::uint64_t interval = 0; interval < vega_adjoints.c_get_size(); ++interval)
        vega_adjoints.unsafe_get(interval) += same->vega_adjoints.get(interval);
}

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
