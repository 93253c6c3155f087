#include "core/pricing/cf_pricer.hpp"

#include "core/contract/cashflow.hpp"
#include "core/contract/contract.hpp"
#include "core/data/currency.hpp"
#include "core/data/scenario.hpp"
#include "core/pricing/greek_evaluation.hpp"
#include "core/pricing/states.hpp"

namespace ximCORE::Pricing {

CFPricer::CFPricer() {
    auto const& greeks = s_options.greeks;
    auto const direction_of = [](auto const& greek) {
        return static_cast<signed char>(greek.direction);
    };
    m_directions = {direction_of(greeks.delta), direction_of(greeks.vega),
                    direction_of(greeks.cega), direction_of(greeks.rho)};
}

bool CFPricer::run_core(Contract::Contract& contract, Modeling::Model*) {
    auto const* const cashflow = contract.c_get_cashflow();
    auto const& currency = contract.c_get_currency();
    if (cashflow == nullptr || currency == nullptr) return false;
    double central{};
    if (!_compute_price(contract.c_get_date(), *cashflow, *currency, central)) return false;
    m_results.price += central;

    bool success = true;
    for (auto const* greek : Greeks::evaluation_order) {
        if (greek == &Greeks::cega) continue;  // Relied on: no closed form depends on a correlation
        auto const setting = greek->c_get_setting(s_options.greeks);
        for_each_cell(*greek, m_results, [&](std::size_t i, std::size_t j, auto& cell) {
            auto const revalue = [&](Modeling::Bump bump) {
                // Relied on: the cross gamma is the difference of four equal prices
                if (!success || greek == &Greeks::xgamma) return central;
                auto const items = make_perturbations(m_information, *greek, setting, bump, i, j);
                auto& scenario = Data::MarketDataScenario::s_get();
                double value{};
                scenario.push_back(items);
                success = _compute_price(contract.c_get_date(), *cashflow, *currency, value);
                // Relied on: a failure leaves the perturbations on the scenario
                if (success) scenario.pop_back(items);
                return value;
            };
            cell.result += combine(*greek, _c_get_rule(*greek), central, revalue);
        });
    }
    if (success) shift_greeks();
    return success;
}

bool CFPricer::_compute_price(Toolbox::Date const& date, Contract::CashFlow const& cashflow,
                              Data::Currency const& currency, double& price) {
    price = 0.0;
    return cashflow.c_compute_closed_form_price(date, currency, price);
}

EvaluationRule CFPricer::_c_get_rule(Greek const& greek) const {
    // Relied on: the reference term of a down vega reads the direction of delta
    if (&greek == &Greeks::vega) return {m_directions.vega, m_directions.delta};
    return {m_directions.delta, m_directions.delta};  // of delta; the other differences read none
}

}  // namespace ximCORE::Pricing
