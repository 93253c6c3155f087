#include "core/pricing/contract_ladder.hpp"

#include <algorithm>

#include "core/contract/cashflow.hpp"
#include "core/contract/contract.hpp"
#include "core/pricing/mc_payoff_ladder.hpp"
#include "core/pricing/method_helper.hpp"

namespace ximCORE::Pricing {

namespace {

/// The shifts of a point in the contract for the life of the object.
class FeatureGuard {
 public:
    FeatureGuard(ContractLadderResults const& point, ContractFeatures& features)
        : m_point(point), m_features(features) {
        try {
            update_feature_value(m_point, m_features, true);
        } catch (...) {
            restore();
            throw;
        }
    }
    ~FeatureGuard() { restore(); }
    FeatureGuard(FeatureGuard const&) = delete;
    FeatureGuard& operator=(FeatureGuard const&) = delete;

 private:
    void restore() { update_feature_value(m_point, m_features, false); }

    ContractLadderResults const& m_point;
    ContractFeatures& m_features;
};

bool wants_greeks() {
    auto const& greeks = PricerOptions::s_options.greeks;
    return greeks.epsilonn.activate || std::ranges::any_of(Greeks::table, [&](auto const* greek) {
               return greek->c_get_setting(greeks).activate;
           });
}

}  // namespace

void add_features(ContractLadderResults const& point, Contract::CashFlow& cashflow,
                  ContractFeatures& features) {
    for (auto const& [name, shift] : point.shifts) {
        auto const [found, is_new] = features.try_emplace(name);
        if (!is_new) continue;
        auto& [places, originals] = found->second;
        cashflow.unsafe_get_tags(name, places);
        for (auto const* place : places) originals.push_back(*place);
    }
}

void update_feature_value(ContractLadderResults const& point, ContractFeatures& features,
                          bool apply) {
    for (auto const& [name, shift] : point.shifts) {
        auto const& [places, originals] = features[name];
        for (std::size_t i = 0; i < places.size(); ++i)
            *places[i] = apply ? shift.c_eval(originals[i]) : originals[i];
    }
}

bool ContractLadder::prepare_pricer(Contract::Contract const& contract) {
    if (!IPricer::prepare_pricer(contract)) return false;
    m_features.clear();
    for (auto const& point : m_results) add_features(point, *contract.c_get_cashflow(), m_features);
    return true;
}

bool ContractLadder::run_internal(Contract::Contract& contract, Modeling::Model* model) {
    bool const one_pass = s_options.method == PricingMethod::MONTE_CARLO && !wants_greeks();
    return one_pass ? _run_one_pass(contract, model) : _run_points(contract, model);
}

bool ContractLadder::_run_points(Contract::Contract& contract, Modeling::Model* model) {
    auto const pricer = get_pricer();
    bool success =
        pricer != nullptr && pricer->prepare_pricer(contract) && pricer->calibrate(contract, model);
    for (std::size_t i = 0; success && i < m_results.size(); ++i) {
        FeatureGuard const guard(m_results[i], m_features);
        success = pricer->price(contract, model);
        if (success) m_results[i].results = pricer->c_get_results();
    }
    if (!success) _c_safe_delete_helper(model);
    return success;
}

bool ContractLadder::_run_one_pass(Contract::Contract& contract, Modeling::Model* model) {
    MCPayoffLadder ladder;
    ladder.get_extented_results().swap(m_results);
    bool const success = ladder.run_internal(contract, model);
    ladder.get_extented_results().swap(m_results);
    return success;
}

Modeling::Helper* ContractLadder::_c_safe_new_helper(Modeling::Model* model) const {
    return safe_new_method_helper(model);
}

void ContractLadder::_c_safe_delete_helper(Modeling::Model* model) const {
    safe_delete_method_helper(model);
}

std::unique_ptr<ContractLadder> get_contract_ladder() {
    return std::make_unique<ContractLadder>();
}

}  // namespace ximCORE::Pricing
