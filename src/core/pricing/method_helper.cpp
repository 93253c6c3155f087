#include "core/pricing/method_helper.hpp"

#include "core/modeling/mc_helper.hpp"
#include "core/modeling/model.hpp"
#include "core/modeling/pde_helper.hpp"
#include "core/pricing/options.hpp"

namespace ximCORE::Pricing {

Modeling::Helper* safe_new_method_helper(Modeling::Model* model) {
    if (model == nullptr) return nullptr;
    switch (PricerOptions::s_options.method) {
        case PricingMethod::MONTE_CARLO:
        case PricingMethod::AUTOMATIC_ADJOINT_DIFFERENTIATION:
            return model->safe_new_MC_helper();
        case PricingMethod::FINITE_DIFFERENCE:
            return model->safe_new_PDE_helper();
        case PricingMethod::STATIC_REPLICATION:
            break;
    }
    return nullptr;
}

void safe_delete_method_helper(Modeling::Model* model) {
    if (model == nullptr) return;
    switch (PricerOptions::s_options.method) {
        case PricingMethod::MONTE_CARLO:
        case PricingMethod::AUTOMATIC_ADJOINT_DIFFERENTIATION:
            model->safe_delete_MC_helper();
            break;
        case PricingMethod::FINITE_DIFFERENCE:
            model->safe_delete_PDE_helper();
            break;
        case PricingMethod::STATIC_REPLICATION:
            break;
    }
}

}  // namespace ximCORE::Pricing
