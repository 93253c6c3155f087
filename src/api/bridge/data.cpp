#include "api/bridge/data.hpp"

#include <json/value.h>

#include "api/bridge/encoded.hpp"
#include "core/contract/observable.hpp"
#include "core/data/base_api.hpp"
#include "core/data/file_api.hpp"
#include "core/data/gateway.hpp"
#include "core/toolbox/log.hpp"

namespace ximAPI::Toolkit {

namespace {

using ximCORE::Data::MarketDataGateway;
using ximCORE::Toolbox::Log;

constexpr int c_last_round = 9;
constexpr int c_market_database_port = 3307;
constexpr char const* c_market_database = "market";

void push_demonstration_data(MarketDataGateway& gateway) {
    Log::s_log(Log::Level::WARNING,
               "By not providing data sources, you are redirected to the demo base");
    std::ignore = gateway.push_back(
        std::make_unique<ximCORE::Data::DemoFileAPI>());  // one that fails is dropped
}

/// Whether the market database knows the user. The connection serves this check alone.
bool check_login(Data const& data) {
    Json::Value credentials(Json::objectValue);
    credentials["Hostname"] = XIM_MARKET_DATABASE_HOST;
    credentials["Port"] = c_market_database_port;
    credentials["Basename"] = c_market_database;
    credentials["Username"] = data.Username;
    credentials["Password"] = data.Password;
    ximCORE::Data::BaseAPI base(credentials);
    return base.connect() && base.disconnect();
}

void push_sources(Data& data, MarketDataGateway& gateway) {
    for (DataSource& source : data.Sources) {
        source.Status = source.IsActivated && gateway.push_back(source.File.c_str());
    }
}

void refuse_sources(Data& data) {
    for (DataSource& source : data.Sources) {
        source.Status = false;
    }
    Log::s_log(Log::Level::ERROR, "Authentication failure.");
    Log::s_log(Log::Level::INFO,
               "Please check your username and password for the market database.");
    Log::s_log(Log::Level::INFO,
               "If the failure lasts, contact the administrator of the market database.");
    Log::s_log(Log::Level::INFO,
               "You can also clear the data source cliquet to use our market data demo base");
}

}  // namespace

bool set_data(Data& data, std::function<bool()> const& dependencies) {
    MarketDataGateway gateway;
    if (data.Sources.empty()) {
        push_demonstration_data(gateway);
    } else if (data.WithoutLogin || check_login(data)) {
        push_sources(data, gateway);
    } else {
        refuse_sources(data);
        return true;
    }
    for (int round = 0;; ++round) {
        bool const declared = dependencies();
        bool const fetched = gateway.execute_dependencies();
        if ((declared && fetched) || round == c_last_round) {
            return true;
        }
    }
}

bool set_observable(std::vector<std::string> const& schedule, Observation& observation,
                    ximCORE::Contract::Observable& observable) {
    std::vector<ximCORE::Contract::Observable::Item> items;
    if (observation.Object == nullptr || !observation.Object->build(schedule) ||
        !ximCORE::Contract::reflect_observations(to_tree(*observation.Object->encoded), items)) {
        return false;
    }
    return items.empty() || observable.set(std::move(items));  // no dates: an empty series
}

}  // namespace ximAPI::Toolkit
