#include "core/pricing/pde_pricer.hpp"

#include <algorithm>
#include <cmath>
#include <limits>
#include <tuple>
#include <vector>

#include "core/contract/cashflow.hpp"
#include "core/contract/contract.hpp"
#include "core/contract/fixing.hpp"
#include "core/data/underlying.hpp"
#include "core/modeling/model.hpp"
#include "core/modeling/pde_helper.hpp"
#include "core/pricing/greek_evaluation.hpp"
#include "core/toolbox/log.hpp"

namespace ximCORE::Pricing {

namespace {

using Modeling::PDEHelper;
using Toolbox::Date;
using Toolbox::Grid;
using Toolbox::Log;

bool refuse(char const* reason) {
    Log::s_log(Log::Level::ERROR, "Contract non eligible to finite difference method", reason);
    return false;
}

bool contains_reference(Contract::CashFlow& cashflow) {
    std::vector<Contract::AmountPlace> places;
    Contract::Harvest harvest;
    harvest.amounts = &places;
    std::ignore = cashflow.accumulate(harvest);  // only a walk for everything can fail
    return std::ranges::any_of(places, [](auto const& place) {
        return dynamic_cast<Contract::RefAmount const*>(place.amount->get()) != nullptr;
    });
}

bool is_on_grid(Contract::Fixing const& fixing) {
    auto const is_equity_like = [](auto const& underlying) {
        return underlying != nullptr && underlying->c_is_equity_like();
    };
    return is_equity_like(fixing.c_get_underlying()) &&
           (fixing.c_get_conversion() == nullptr || is_equity_like(fixing.c_get_conversion()));
}

/// What a caller may not expect of the grid.
void warn_of_limits(PDEHelper& helper) {
    auto const& factors = helper.c_get_discount_factors();
    bool const is_discounted = std::any_of(factors.begin(), factors.end(),
                                           [](double x) { return std::abs(x - 1.0) > 1e-12; });
    if (is_discounted) helper.warn_once("Finite difference does not discount payments");
    auto const& x = helper.c_get_grid();
    if (x[x.size() - 1] < 0.0)
        helper.warn_once("Finite difference grid does not reach the forward");
}

/// Twice the time step while it lives.
class DoubledTimeStep {
 public:
    DoubledTimeStep() {
        PDEHelper::s_time_step =
            std::min(m_before, std::numeric_limits<std::int32_t>::max() / 2) * 2;
    }
    DoubledTimeStep(DoubledTimeStep const&) = delete;
    DoubledTimeStep& operator=(DoubledTimeStep const&) = delete;
    ~DoubledTimeStep() { PDEHelper::s_time_step = m_before; }

 private:
    std::int32_t m_before{PDEHelper::s_time_step};
};

EvaluationRule rule_of(Greek const& greek) {
    auto const direction_of = [](Greek const& of) {
        return of.c_get_setting(PricerOptions::s_options.greeks).direction;
    };
    // Relied on: the reference term of a down vega reads the direction of delta
    return {direction_of(greek), direction_of(&greek == &Greeks::vega ? Greeks::delta : greek)};
}

}  // namespace

bool PDEPricer::_prepare_contract(Contract::Contract const& contract) {
    if (!Pricer::_prepare_contract(contract)) return false;
    if (m_information.equity_like_underlyings.size() > 1)
        return refuse("Because it contains multiple underlyings");
    auto& cashflow = *contract.c_get_cashflow();
    if (contains_reference(cashflow)) return refuse("Because it contains a reference");
    std::vector<Contract::Fixing const*> fixings;
    cashflow.c_accumulate_fixings(fixings);
    return std::ranges::all_of(fixings, [](auto const* fixing) { return is_on_grid(*fixing); }) ||
           refuse("Because it contains a non-Equity/FX fixing");
}

bool PDEPricer::run_core(Contract::Contract& contract, Modeling::Model* model) {
    auto* const helper = model == nullptr ? nullptr : model->safe_new_PDE_helper();
    auto* const cashflow = contract.c_get_cashflow();
    if (helper == nullptr || cashflow == nullptr) return false;
    bool success = true;
    auto const value_now = [&] {
        double value{};
        success = success && _compute_price(contract.c_get_date(), *cashflow, *helper, value);
        return value;
    };
    helper->switch_to_central();
    warn_of_limits(*helper);
    double const central = value_now();
    m_results.price += central;
    for (auto const* greek : Greeks::evaluation_order) {
        for_each_cell(*greek, m_results, [&](std::size_t i, std::size_t j, auto& cell) {
            auto const revalue = [&](Modeling::Bump bump) {
                helper->select(bump, i, j);
                double const value = value_now();
                helper->switch_to_central();
                return value;
            };
            cell.result += combine(*greek, rule_of(*greek), central, revalue);
        });
    }
    if (success) shift_greeks();
    return success;
}

Modeling::Helper* PDEPricer::_c_safe_new_helper(Modeling::Model* model) const {
    return model == nullptr ? nullptr : model->safe_new_PDE_helper();
}

void PDEPricer::_c_safe_delete_helper(Modeling::Model* model) const {
    if (model != nullptr) model->safe_delete_PDE_helper();
}

bool PDEPricer::_compute_price(Date const& date, Contract::CashFlow& cashflow, PDEHelper& helper,
                               double& price) const {
    Date start(date);
    start.set_pillar_rank(0);
    helper.calibrate_solver();
    Grid values = helper.c_make_grid_of_double(0.0);
    cashflow.compute_PDE_price(start, &helper, values);
    if (IPDEPricer::s_options.use_richardson_romberg &&
        !_extrapolate(start, cashflow, helper, values))
        return false;
    price = helper.c_get_result(values);
    return true;
}

bool PDEPricer::_extrapolate(Date const& date, Contract::CashFlow& cashflow, PDEHelper& helper,
                             Grid& values) const {
    bool success = false;
    {
        DoubledTimeStep const doubled;
        success = _make_grids(date, cashflow, helper);
        if (success) {
            Grid coarse = helper.c_make_grid_of_double(0.0);
            helper.calibrate_solver();
            cashflow.compute_PDE_price(date, &helper, coarse);
            values = 2.0 * values - coarse;
        }
    }
    return _make_grids(date, cashflow, helper) && success;
}

bool PDEPricer::_make_grids(Date const& date, Contract::CashFlow& cashflow,
                            PDEHelper& helper) const {
    helper.set(date, PricerOptions::s_options.day_counter, m_information, &cashflow);
    return helper.calibrate_method(date, m_information);
}

}  // namespace ximCORE::Pricing
