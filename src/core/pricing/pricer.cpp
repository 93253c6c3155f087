#include "core/pricing/pricer.hpp"

#include <array>
#include <span>
#include <string>
#include <vector>

#include "core/contract/cashflow.hpp"
#include "core/contract/contract.hpp"
#include "core/data/currency.hpp"
#include "core/data/scenario.hpp"
#include "core/data/underlying.hpp"
#include "core/modeling/helper.hpp"
#include "core/modeling/model.hpp"
#include "core/pricing/cf_pricer.hpp"
#include "core/pricing/mc_pricer.hpp"
#include "core/pricing/mcaad_pricer.hpp"
#include "core/pricing/pde_pricer.hpp"
#include "core/pricing/states.hpp"

namespace ximCORE::Pricing {

namespace {

using Modeling::Bump;

std::size_t size_of(Shape shape, Contract::ContractInformation const& information) {
    return shape == Shape::currencies ? information.currencies.size()
                                      : information.equity_like_underlyings.size();
}

/// The calibration of the bumped states of one pricing.
struct StateCalibration {
    Modeling::Helper& helper;
    Toolbox::Date const& date;
    Data::Currency const& currency;
    Contract::ContractInformation const& information;

    [[nodiscard]] bool run() const { return helper.calibrate(date, currency, information); }

    [[nodiscard]] bool run_state(Greek const& greek, GreekSetting const& setting, Bump bump,
                                 std::size_t i, std::size_t j) const {
        auto& scenario = Data::MarketDataScenario::s_get();
        auto const items = make_perturbations(information, greek, setting, bump, i, j);
        helper.select(bump, i, j);
        scenario.push_back(items);
        if (!run()) return false;  // Relied on: a failure leaves the perturbations on the scenario
        scenario.pop_back(items);
        if (greek.difference != Difference::convexity) helper.switch_to_central();
        return true;
    }

    /// All given states of an index, then the next index.
    [[nodiscard]] bool run_states(Greek const& greek, GreekSetting const& setting,
                                  std::span<Bump const> bumps) const {
        std::size_t const size = size_of(greek.shape, information);
        for (auto const bump : bumps) helper.allocate(bump, size);
        for (std::size_t i = 0; i < size; ++i) {
            std::size_t const nb_j = greek.shape == Shape::pairs ? i : 1;
            for (std::size_t j = 0; j < nb_j; ++j)
                for (auto const bump : bumps)
                    if (!run_state(greek, setting, bump, i, j)) return false;
        }
        return true;
    }

    [[nodiscard]] bool run_greek(Greek const& greek, GreekSetting const& setting) const {
        auto const states = greek.c_get_states();
        if (greek.difference != Difference::directional) return run_states(greek, setting, states);
        if (Greek::s_needs_up(setting.direction) && !run_states(greek, setting, states.first(1)))
            return false;
        return !Greek::s_needs_down(setting.direction) ||
               run_states(greek, setting, states.subspan(1));
    }
};

/// What turns a summed difference into a sensitivity.
double scale_of(Greek const& greek, GreekSetting const& setting) {
    auto const [first, second] = std::array{setting.first_bp, setting.second_bp};
    switch (greek.difference) {
        case Difference::directional:
            return 10000.0 / first;
        case Difference::convexity:
            return 100000000.0 / first / first;
        case Difference::mixed:
            break;
    }
    return greek.second_divides_first ? 25000000.0 / second / first : 25000000.0 / first / second;
}

std::string name_of(RowGreekResult const& row) {
    return row.name;
}
std::string name_of(CrossGreekResult const& cell) {
    return cell.first_name + "#" + cell.second_name;
}

}  // namespace

bool IPricer::run(Contract::Contract& contract, Modeling::Model* model) {
    if (!prepare_pricer(contract)) return false;
    if (model != nullptr) {
        if (auto* const helper = _c_safe_new_helper(model))
            helper->set(contract.c_get_date(), s_options.day_counter, m_information,
                        contract.get_current().get());
    }
    bool const success = run_internal(contract, model);
    _c_safe_delete_helper(model);
    return success;
}

bool IPricer::prepare_pricer(Contract::Contract const& contract) {
    if (!_prepare_contract(contract)) return false;
    _prepare_results();
    return true;
}

bool IPricer::_prepare_contract(Contract::Contract const& contract) {
    auto* const cashflow = contract.c_get_cashflow();
    m_information = {};
    if (cashflow == nullptr || !cashflow->scan_all(m_information, true)) return false;
    if (s_options.smoothing != SmoothingType::NONE)
        cashflow->init_flows(m_information.payment_dates.size());
    return true;
}

Modeling::Helper* IPricer::_c_safe_new_helper(Modeling::Model*) const {
    return nullptr;
}

void IPricer::_c_safe_delete_helper(Modeling::Model*) const {}

bool Pricer::run_internal(Contract::Contract& contract, Modeling::Model* model) {
    return calibrate(contract, model) && price(contract, model);
}

bool Pricer::price(Contract::Contract& contract, Modeling::Model* model) {
    clear();
    if (!run_core(contract, model)) return false;
    agregate();
    return true;
}

bool Pricer::calibrate(Contract::Contract& contract, Modeling::Model* model) {
    auto* const helper = model == nullptr ? nullptr : _c_safe_new_helper(model);
    if (helper == nullptr) return true;
    auto const& currency = contract.c_get_currency();
    if (currency == nullptr) return false;
    StateCalibration const states{*helper, model->c_get_calibration_date(), *currency,
                                  m_information};
    helper->switch_to_central();
    if (!states.run()) return false;
    for (auto const* greek : Greeks::calibration_order) {
        auto const setting = greek->c_get_setting(s_options.greeks);
        if (setting.activate && !states.run_greek(*greek, setting)) return false;
    }
    return true;
}

void Pricer::clear() {
    m_results.results.clear();
    m_results.price.clear();
    // Relied on: the rows of epsilonn are not in the table, and keep what they hold
    for (auto const* greek : Greeks::table)
        for_each_cell(*greek, m_results, [](auto, auto, auto& cell) { cell.result.clear(); });
}

void Pricer::agregate() {
    auto const report = [this](std::string name, MCResult& result) {
        result.agregate();
        m_results.results.push_back({std::move(name), result});
    };
    report("PRICE", m_results.price);
    for (auto const* greek : Greeks::table)
        for_each_cell(*greek, m_results, [&](auto, auto, auto& cell) {
            report(std::string(greek->label) + name_of(cell), cell.result);
        });
}

void Pricer::shift_greeks() {
    for (auto const* greek : Greeks::table) {
        auto const setting = greek->c_get_setting(s_options.greeks);
        double const scale = scale_of(*greek, setting);
        bool const halved = greek->difference == Difference::directional && setting.direction == 0;
        for_each_cell(*greek, m_results, [&](auto, auto, auto& cell) {
            cell.result *= scale;
            if (halved) cell.result *= 0.5;
        });
    }
}

void Pricer::_prepare_results() {
    for (auto const* greek : Greeks::table) _prepare_greek(*greek);
    std::size_t const size = m_information.equity_like_underlyings.size();
    if (s_options.greeks.epsilonn.activate && size > 0) m_results.epsilonn = Results::Rows(size);
}

void Pricer::_prepare_greek(Greek const& greek) {
    std::size_t const size = size_of(greek.shape, m_information);
    if (size == 0 || !greek.c_get_setting(s_options.greeks).activate) return;
    auto const name = [&](std::size_t i) {
        return std::string(m_information.equity_like_underlyings.at(i)->c_str());
    };
    if (greek.pairs != nullptr) {
        auto& pairs = m_results.*greek.pairs = Results::Pairs(size);
        for (std::size_t i = 1; i < size; ++i)
            for (std::size_t j = 0; j < i; ++j) {
                pairs.unsafe_get(i, j).first_name = name(i);
                pairs.unsafe_get(i, j).second_name = name(j);
            }
        return;
    }
    auto& rows = m_results.*greek.rows = Results::Rows(size);
    if (greek.shape == Shape::currencies) return;  // Relied on: the rows of rho have no name
    for (std::size_t i = 0; i < size; ++i) rows.unsafe_get(i).name = name(i);
}

std::unique_ptr<Pricer> get_pricer() {
    switch (PricerOptions::s_options.method) {
        case PricingMethod::MONTE_CARLO:
            return std::make_unique<MCPricer>();
        case PricingMethod::FINITE_DIFFERENCE:
            return std::make_unique<PDEPricer>();
        case PricingMethod::AUTOMATIC_ADJOINT_DIFFERENTIATION:
            return std::make_unique<MCAADPricer>();
        case PricingMethod::STATIC_REPLICATION:
            return std::make_unique<CFPricer>();
        default:
            return nullptr;
    }
}

}  // namespace ximCORE::Pricing
