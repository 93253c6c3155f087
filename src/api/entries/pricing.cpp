#include "api/entries/pricing.hpp"

#include "api/bridge/contract.hpp"
#include "api/bridge/data.hpp"
#include "api/plug.hpp"
#include "core/modeling/mc_helper.hpp"
#include "core/pricing/pricer.hpp"
#include "core/toolbox/log.hpp"

namespace ximAPI::Toolkit {

namespace {

using ximCORE::Modeling::ModelName;
using ximCORE::Pricing::PricingMethod;
using ximCORE::Toolbox::Date;
using ximCORE::Toolbox::Log;

bool fail(char const* message) {
    Log::s_log(Log::Level::ERROR, message);
    return false;
}

/// Fetches what contract and model declare. What stays missing shows when it is read.
void fetch(Data& data, PricingCase& what) {
    std::ignore = set_data(data, [&]() -> bool {
        bool const contract_complete = what.contract.get_dependencies();
        bool const model_complete = what.model->get_dependencies(what.contract);
        return contract_complete && model_complete;
    });
}

void plug(Data const& data, Contract const& contract, Model const& model, Pricer const& pricer) {
    plug_data_parameters(data);
    plug_contract_parameters(contract);
    plug_model_parameters(model);
    plug_pricing_parameters(pricer);
}

}  // namespace

std::unique_ptr<PricingCase> make_pricing_case(Data& data, Contract const& contract,
                                               Model const& model, Pricer const& pricer) {
    if (!check_pricing_parameters(pricer)) {
        return nullptr;
    }
    plug(data, contract, model, pricer);
    if (!check_finite_difference_settings()) {
        return nullptr;
    }
    Date const date(contract.Date);
    auto result =
        std::make_unique<PricingCase>(PricingCase{{date, contract.PremiumCurrency}, nullptr});
    if (!set_contract(contract, result->contract)) {
        return nullptr;
    }
    result->model = ximCORE::Modeling::get_model(Date(model.CalibrationDate),
                                                 static_cast<ModelName>(model.Name));
    if (result->model == nullptr) {
        std::ignore = fail("Unknown model");
        return nullptr;
    }
    fetch(data, *result);
    return result->contract.move(date, {}, nullptr) ? std::move(result) : nullptr;
}

bool is_eligible(PricingCase& what) {
    if (ximCORE::Pricing::get_pricer() == nullptr) {
        return fail("Unknown pricing method");
    }
    auto const method = ximCORE::Pricing::PricerOptions::s_options.method;
    if (method == PricingMethod::MONTE_CARLO && what.model->safe_new_MC_helper() == nullptr) {
        return fail("Model uneligible for Monte Carlo");
    }
    if (method == PricingMethod::FINITE_DIFFERENCE &&
        what.model->safe_new_PDE_helper() == nullptr) {
        return fail("Model uneligible for finite difference");
    }
    return true;
}

}  // namespace ximAPI::Toolkit
