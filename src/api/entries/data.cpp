#include "api/bridge/data.hpp"

#include <algorithm>

#include "api/frame.hpp"
#include "api/plug.hpp"
#include "core/contract/observable.hpp"
#include "core/toolbox/date.hpp"
#include "ximAPI/ximAPI.hpp"

namespace ximAPI {

namespace {

using ximCORE::Toolbox::Date;
using CoreObservable = ximCORE::Contract::Observable;

void set_time_series(CoreObservable const& observable, std::vector<Observable>& series) {
    for (auto const& item : observable.c_get_items()) {
        Observable& point = series.emplace_back();
        point.Date = Date(item.date).c_str();
        point.Epoch = static_cast<float>(item.date.c_get_epoch());
        point.Status = item.available;
        point.Value = item.available ? static_cast<float>(item.value) : 0.0F;
    }
}

bool observe(Data& data, std::vector<std::string> const& schedule, Observation& observation) {
    observation.TimeSeries.clear();
    CoreObservable observable;
    if (!Toolkit::set_observable(schedule, observation, observable)) {
        return false;
    }
    Date const today;
    std::ignore =
        Toolkit::set_data(data, [&]() -> bool { return observable.get_dependencies(today); });
    if (observable.eval()) {
        set_time_series(observable, observation.TimeSeries);
    }
    return true;
}

}  // namespace

}  // namespace ximAPI

bool GetConnectionStatus(ximAPI::Data& data, std::vector<ximAPI::Log>& logs) {
    return ximAPI::Toolkit::request("GetConnectionStatus", logs, [&]() -> bool {
        ximAPI::Toolkit::plug_data_parameters(data);
        return ximAPI::Toolkit::set_data(data, [] { return true; });
    });
}

bool GetData(ximAPI::Data& data, ximAPI::DataResults& results, std::vector<ximAPI::Log>& logs) {
    return ximAPI::Toolkit::request("GetData", logs, [&]() -> bool {
        ximAPI::Toolkit::plug_data_parameters(data);
        return std::ranges::all_of(results.Observations, [&](ximAPI::Observation& observation) {
            return ximAPI::observe(data, results.Schedule, observation);
        });
    });
}
