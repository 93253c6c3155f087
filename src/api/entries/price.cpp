#include "api/bridge/results.hpp"
#include "api/entries/pricing.hpp"
#include "api/frame.hpp"
#include "core/pricing/pricer.hpp"
#include "ximAPI/ximAPI.hpp"

namespace ximAPI {

namespace {

bool price(Data& data, Contract const& contract, Model const& model, Pricer const& pricer,
           PricingResults& results) {
    auto const what = Toolkit::make_pricing_case(data, contract, model, pricer);
    if (what == nullptr || !Toolkit::is_eligible(*what)) {
        return false;
    }
    auto const engine = ximCORE::Pricing::get_pricer();
    if (!engine->run(what->contract, what->model.get())) {
        return false;
    }
    Toolkit::set_pricing_results(engine->c_get_results(), results);
    return true;
}

}  // namespace

}  // namespace ximAPI

bool GetPrice(ximAPI::Data& data, ximAPI::Contract& contract, ximAPI::Model& model,
              ximAPI::Pricer& pricer, ximAPI::PricingResults& results,
              std::vector<ximAPI::Log>& logs) {
    return ximAPI::Toolkit::request("GetPrice", logs, [&]() -> bool {
        return ximAPI::price(data, contract, model, pricer, results);
    });
}
