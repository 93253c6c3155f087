#include <memory>

#include "api/bridge/data.hpp"
#include "api/bridge/encoded.hpp"
#include "api/frame.hpp"
#include "api/plug.hpp"
#include "core/contract/information.hpp"
#include "core/contract/observable.hpp"
#include "core/data/cache.hpp"
#include "core/data/missing.hpp"
#include "core/modeling/mc_helper.hpp"
#include "core/modeling/model.hpp"
#include "core/pricing/options.hpp"
#include "core/toolbox/log.hpp"
#include "ximAPI/cashflow.hpp"
#include "ximAPI/ximAPI.hpp"

namespace ximAPI {

namespace {

using ximCORE::Contract::ContractInformation;
using ximCORE::Data::MarketDataCache;
using ximCORE::Toolbox::Date;
using CoreCurrency = ximCORE::Data::Currency;
using CoreModel = ximCORE::Modeling::Model;
using CoreObservable = ximCORE::Contract::Observable;
using Level = ximCORE::Data::Level;

bool fail(char const* message) {
    ximCORE::Toolbox::Log::s_log(ximCORE::Toolbox::Log::Level::ERROR, message);
    return false;
}

bool read_observable(std::string const& path, CoreObservable& observable) {
    File file(path);
    std::vector<CoreObservable::Item> items;
    if (!file.build() ||
        !ximCORE::Contract::reflect_observations(Toolkit::to_tree(*file.encoded), items)) {
        return false;
    }
    return observable.set(std::move(items)) || fail("Observable empty");
}

/// Fetches what the observations and the paths of their underlyings need.
void fetch(Data& data, Date const& date, CoreObservable& observable, CoreModel& model) {
    std::ignore = Toolkit::set_data(data, [&]() -> bool {
        bool const is_complete = observable.get_dependencies(date);
        std::vector<ximCORE::Data::Underlying*> underlyings;
        std::vector<CoreCurrency*> currencies;
        observable.scan_underlyings(underlyings);
        observable.scan_currencies(currencies);
        return model.get_dependencies(underlyings, currencies) && is_complete;
    });
}

/// The observations along one path of the model, calibrated to the market of `date`.
bool run_path(Date const& date, CoreCurrency const& currency, std::uint64_t trajectory,
              CoreModel& model, CoreObservable& observable) {
    ContractInformation information;
    if (!observable.move(date) || !observable.scan_all(information, true)) {
        return false;
    }
    auto* const helper = model.safe_new_MC_helper();
    if (helper == nullptr) {
        return fail("Model uneligible for diffusion");
    }
    helper->set(date, ximCORE::Pricing::PricerOptions::s_options.day_counter, information, nullptr);
    helper->switch_to_central();
    if (!helper->calibrate(date, currency, information)) {
        return false;
    }
    helper->diffuse(trajectory);
    if (!observable.eval(trajectory, helper->get_fixing_grid())) {
        return false;
    }
    observable.agregate();
    return true;
}

void set_series(CoreObservable const& observable, std::vector<ModelDiffusionSeries>& series) {
    series.clear();
    for (auto const& item : observable.c_get_items()) {
        ModelDiffusionSeries& point = series.emplace_back();
        point.Date = Date(item.date).c_str();
        point.Epoch = item.date.c_get_epoch();
        point.Value = static_cast<float>(item.value);
    }
}

bool diffuse(Data& data, Model const& record, ModelDiffusionResults& results) {
    if (results.Trajectory < 0) {
        return fail("Invalid Trajectory");
    }
    Toolkit::plug_data_parameters(data);
    Toolkit::plug_model_parameters(record);
    auto const currency = MarketDataCache::s_get().get_currency(results.Currency, Level::error);
    CoreObservable observable;
    if (!read_observable(results.File, observable)) {
        return false;
    }
    Date const date(record.CalibrationDate);
    auto const model =
        ximCORE::Modeling::get_model(date, static_cast<ximCORE::Modeling::ModelName>(record.Name));
    if (model == nullptr) {
        return fail("Unknown model");
    }
    fetch(data, date, observable, *model);
    if (!currency->c_is_set()) {
        return ximCORE::Data::missing_text(Level::error, "Cannot find currency ", results.Currency);
    }
    if (!run_path(date, *currency, static_cast<std::uint64_t>(results.Trajectory), *model,
                  observable)) {
        return false;
    }
    set_series(observable, results.Series);
    return true;
}

}  // namespace

}  // namespace ximAPI

bool GetModelDiffusion(ximAPI::Data& data, ximAPI::Model& model,
                       ximAPI::ModelDiffusionResults& results, std::vector<ximAPI::Log>& logs) {
    return ximAPI::Toolkit::request(
        "GetModelDiffusion", logs, [&]() -> bool { return ximAPI::diffuse(data, model, results); });
}
