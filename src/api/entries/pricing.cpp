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

/// What a closed form reads at the date of the contract, whatever the model is calibrated to.
bool declare_closed_form(ximCORE::Contract::Contract& contract) {
    return ximCORE::Pricing::PricerOptions::s_options.method != PricingMethod::STATIC_REPLICATION ||
           ximCORE::Modeling::FreeModel(contract.c_get_date()).get_dependencies(contract);
}

/// Fetches what contract, model and `also` declare. What stays missing shows when it is read.
void fetch(Data& data, PricingCase& what, Declaration const& also) {
    std::ignore = set_data(data, [&]() -> bool {
        bool const contract_complete = what.contract.get_dependencies();
        bool const model_complete = what.model->get_dependencies(what.contract);
        bool const more_complete = also == nullptr || also(what);
        return contract_complete && model_complete && more_complete;
    });
}

void plug(Data const& data, Contract const& contract, Model const& model) {
    plug_data_parameters(data);
    plug_contract_parameters(contract);
    plug_model_parameters(model);
}

/// Everything behind the settings.
std::unique_ptr<PricingCase> build(Data& data, Contract const& contract, Model const& model,
                                   Declaration const& also) {
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
    fetch(data, *result, also);
    return result->contract.move(date, {}, nullptr) ? std::move(result) : nullptr;
}

}  // namespace

std::unique_ptr<PricingCase> make_pricing_case(Data& data, Contract const& contract,
                                               Model const& model, Pricer const& pricer,
                                               Declaration const& also) {
    if (!check_pricing_parameters(pricer)) {
        return nullptr;
    }
    plug(data, contract, model);
    plug_pricing_parameters(pricer);
    auto const declare = [&also](PricingCase& what) {
        bool const closed_form_complete = declare_closed_form(what.contract);
        return (also == nullptr || also(what)) && closed_form_complete;
    };
    return check_finite_difference_settings() ? build(data, contract, model, declare) : nullptr;
}

std::unique_ptr<PricingCase> make_free_case(Data& data, Contract const& contract,
                                            Pricer const& pricer) {
    if (!check_pricing_parameters(pricer)) {
        return nullptr;
    }
    plug_data_parameters(data);
    plug_contract_parameters(contract);
    plug_pricing_parameters(pricer);
    Model model;
    model.CalibrationDate = contract.Date;
    model.Name = ximAPI::ModelName::FREE_MODEL;
    return build(data, contract, model, {});
}

std::unique_ptr<PricingCase> make_calibration_case(Data& data, Contract const& contract,
                                                   Model const& model, Declaration const& also) {
    plug(data, contract, model);
    return build(data, contract, model, also);
}

bool is_eligible(PricingCase& what) {
    if (ximCORE::Pricing::get_pricer() == nullptr) {
        return fail("Unknown pricing method");
    }
    auto const method = ximCORE::Pricing::PricerOptions::s_options.method;
    bool const simulates = method == PricingMethod::MONTE_CARLO ||
                           method == PricingMethod::AUTOMATIC_ADJOINT_DIFFERENTIATION;
    if (simulates && what.model->safe_new_MC_helper() == nullptr) {
        return fail("Model uneligible for Monte Carlo");
    }
    if (method == PricingMethod::FINITE_DIFFERENCE &&
        what.model->safe_new_PDE_helper() == nullptr) {
        return fail("Model uneligible for finite difference");
    }
    return true;
}

}  // namespace ximAPI::Toolkit
