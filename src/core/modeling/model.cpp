#include "core/modeling/model.hpp"

#include <utility>

#include "core/contract/cashflow.hpp"
#include "core/contract/contract.hpp"
#include "core/data/cache.hpp"
#include "core/data/curves/forward_curve.hpp"
#include "core/data/underlying.hpp"
#include "core/modeling/black_scholes_model.hpp"
#include "core/modeling/black_scholes_term_structure_model.hpp"
#include "core/modeling/dupire_local_volatility_model.hpp"
#include "core/modeling/mc_helper.hpp"
#include "core/modeling/model_dependencies.hpp"
#include "core/modeling/pde_helper.hpp"

namespace ximCORE::Modeling {

Model::Model(Toolbox::Date const& calibration_date, std::string name)
    : m_calibration_date(calibration_date), m_name(std::move(name)) {}

Model::~Model() = default;

bool Model::get_dependencies(Contract::Contract& contract) {
    auto* const cashflow = contract.c_get_cashflow();
    if (cashflow == nullptr) return false;
    std::vector<Data::Underlying*> underlyings;
    std::vector<Data::Currency*> currencies;
    cashflow->scan_underlyings(underlyings, true);
    cashflow->scan_currencies(currencies, true);
    return get_dependencies(underlyings, currencies);
}

bool Model::get_dependencies(std::vector<Data::Underlying*> const& underlyings,
                             std::vector<Data::Currency*> const& currencies) {
    auto& cache = Data::MarketDataCache::s_get();
    bool is_complete = true;
    for (auto const* underlying : underlyings) {
        if (underlying->c_is_equity_like()) {
            auto* const curve =
                cache.get_forward_curve(m_calibration_date, underlying, Data::Level::silent);
            if (!curve->get_dependencies()) is_complete = false;
        } else if (underlying->c_get_asset_kind() == Data::AssetKind::none) {
            is_complete = false;
        }
    }
    for (auto const* currency : currencies)
        cache.get_yield_curve(m_calibration_date, currency, Data::Level::silent);
    return is_complete;
}

MCHelper* Model::safe_new_MC_helper() {
    if (m_mc_helper == nullptr) m_mc_helper = _new_MC_helper();
    return m_mc_helper.get();
}

void Model::safe_delete_MC_helper() {
    m_mc_helper.reset();
}

std::unique_ptr<MCHelper> Model::_new_MC_helper() {
    return nullptr;
}

PDEHelper* Model::safe_new_PDE_helper() {
    if (m_pde_helper == nullptr) m_pde_helper = _new_PDE_helper();
    return m_pde_helper.get();
}

void Model::safe_delete_PDE_helper() {
    m_pde_helper.reset();
}

std::unique_ptr<PDEHelper> Model::_new_PDE_helper() {
    return nullptr;
}

FreeModel::FreeModel(Toolbox::Date const& calibration_date)
    : Model(calibration_date, "FreeModel") {}

bool FreeModel::get_dependencies(std::vector<Data::Underlying*> const& underlyings,
                                 std::vector<Data::Currency*> const& currencies) {
    bool const is_complete = Model::get_dependencies(underlyings, currencies);
    return declare_volatility_surfaces(c_get_calibration_date(), underlyings) && is_complete;
}

std::unique_ptr<Model> get_model(Toolbox::Date const& calibration_date, ModelName name) {
    switch (name) {
        case ModelName::default_model:
            return std::make_unique<Model>(calibration_date);
        case ModelName::black_scholes:
            return std::make_unique<BlackScholesModel>(calibration_date);
        case ModelName::black_scholes_term_structure:
            return std::make_unique<BlackScholesTermStructureModel>(calibration_date);
        case ModelName::dupire:
            return std::make_unique<DupireLocalVolatilityModel>(calibration_date);
        case ModelName::free:
            return std::make_unique<FreeModel>(calibration_date);
        default:
            return nullptr;
    }
}

}  // namespace ximCORE::Modeling
