#include "core/pricing/model_ladder.hpp"

#include "core/data/scenario.hpp"
#include "core/pricing/method_helper.hpp"

namespace ximCORE::Pricing {

namespace {

/// Items in force for the life of the object.
class ScenarioGuard {
 public:
    explicit ScenarioGuard(std::vector<Data::MarketDataPerturbationItem> const& items)
        : m_items(items) {
        Data::MarketDataScenario::s_get().push_back(m_items);
    }
    ~ScenarioGuard() { Data::MarketDataScenario::s_get().pop_back(m_items); }
    ScenarioGuard(ScenarioGuard const&) = delete;
    ScenarioGuard& operator=(ScenarioGuard const&) = delete;

 private:
    std::vector<Data::MarketDataPerturbationItem> const& m_items;
};

}  // namespace

bool ModelLadder::run_internal(Contract::Contract& contract, Modeling::Model* model) {
    auto const pricer = get_pricer();
    if (pricer == nullptr || !pricer->prepare_pricer(contract)) return false;
    for (auto& [items, results] : m_results) {
        ScenarioGuard const guard(items);
        if (!pricer->run_internal(contract, model)) {
            _c_safe_delete_helper(model);
            return false;
        }
        results = pricer->c_get_results();
    }
    return true;
}

Modeling::Helper* ModelLadder::_c_safe_new_helper(Modeling::Model* model) const {
    return safe_new_method_helper(model);
}

void ModelLadder::_c_safe_delete_helper(Modeling::Model* model) const {
    safe_delete_method_helper(model);
}

std::unique_ptr<ModelLadder> get_model_ladder() {
    return std::make_unique<ModelLadder>();
}

}  // namespace ximCORE::Pricing
