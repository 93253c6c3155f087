// The finite difference engine: rolls the contract back on the space grid of a helper, once for the
// central state and once for every bumped one that a sensitivity asks for.

#pragma once

#include "core/pricing/pricer.hpp"
#include "core/toolbox/pde/grid.hpp"

namespace ximCORE::Contract {
class CashFlow;
}

namespace ximCORE::Modeling {
class PDEHelper;
}

namespace ximCORE::Pricing {

/// The settings of the engine.
class IPDEPricer : public PDEPricerOptions {};

/// Contracts on one equity-like underlying at most, whose amounts refer to no name. Payments are
/// not discounted: a WARNING says so when a discount factor is not 1, another one when the forward
/// lies outside the grid (a low quantile level). All on the caller's thread.
class PDEPricer final : public Pricer {
 protected:
    /// Refuses, after an ERROR record, what a grid of one dimension cannot hold.
    [[nodiscard]] bool _prepare_contract(Contract::Contract const& contract) override;
    [[nodiscard]] bool run_core(Contract::Contract& contract, Modeling::Model* model) override;
    [[nodiscard]] Modeling::Helper* _c_safe_new_helper(Modeling::Model* model) const override;
    void _c_safe_delete_helper(Modeling::Model* model) const override;

 private:
    /// The value at `date` under the state in force. False, after a record, when a time grid cannot
    /// be made.
    [[nodiscard]] bool _compute_price(Toolbox::Date const& date, Contract::CashFlow& cashflow,
                                      Modeling::PDEHelper& helper, double& price) const;
    /// Replaces values by 2 values - (the values at twice the time step), which cancels an error of
    /// first order in time (L. F. Richardson, 1911). The time step and the grid are then as before.
    [[nodiscard]] bool _extrapolate(Toolbox::Date const& date, Contract::CashFlow& cashflow,
                                    Modeling::PDEHelper& helper, Toolbox::Grid& values) const;
    [[nodiscard]] bool _make_grids(Toolbox::Date const& date, Contract::CashFlow& cashflow,
                                   Modeling::PDEHelper& helper) const;
};

}  // namespace ximCORE::Pricing
