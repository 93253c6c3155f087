// Whole calls that read their spots from the chart service, in whose place a server on the loopback
// interface answers.

#include <cstdio>
#include <fstream>

#include "api/route_call.hpp"
#include "api/share_market.hpp"
#include "support/http_server.hpp"
#include "support/precompiled.hpp"

namespace {

using namespace ximAPI::testing;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::StartsWith;
using ximCORE::Testing::ChartServiceAt;
using ximCORE::Testing::HttpServer;

constexpr char const* c_description = XIM_ROOT "/examples/market/chart_service.json";
constexpr char const* c_script = "Pay(Max(Spot(AAA,2022-05-03)-100,0),2022-05-03,USD)";

/// Closes of Saturday 1 to Tuesday 4 May 2021, opened at 13:30 Greenwich; the market was closed on
/// the first two days, and the service says so by null.
constexpr char const* c_closes = R"({"chart": {"result": [{
    "meta": {"currency": "USD", "symbol": "AAA", "instrumentType": "EQUITY"},
    "timestamp": [1619875800, 1619962200, 1620048600, 1620135000],
    "indicators": {"quote": [{"close": [null, null, 101.5, 99.0]}]}}], "error": null}})";

/// A market file of the share AAA without its spot.
class MarketWithoutSpots {
 public:
    MarketWithoutSpots()
        : m_path(::testing::TempDir() + "xim_chart_" + std::to_string(::getpid()) + ".json") {
        std::ofstream(m_path) << R"({"Kind": "manual", "Data": [
            {"type": "Currency", "ticker": "USD", "name": "dollar", "calendar": "dummy",
             "day_counter": "act_365", "forward_rate_affinity_factor": 0.5},
            {"type": "ShareUnderlying", "ticker": "AAA", "name": "A", "currency": "USD",
             "fixing_calendar": "dummy", "day_counter": "act_365"},
            {"type": "BlackScholesVolatility", "ticker": "AAA", "date": "2021-05-03",
             "value": 20}]})";
    }
    ~MarketWithoutSpots() { std::remove(m_path.c_str()); }
    MarketWithoutSpots(MarketWithoutSpots const&) = delete;
    MarketWithoutSpots& operator=(MarketWithoutSpots const&) = delete;

    /// The request with this file and the chart service behind it as sources.
    [[nodiscard]] Json::Value on(Json::Value request) const {
        auto& data = request["DataConfiguration"];
        data["WithoutLogin"] = true;
        for (auto const& file : {m_path, std::string(c_description)}) {
            Json::Value source;
            source["File"] = file;
            source["IsActivated"] = true;
            data["Sources"].append(source);
        }
        return request;
    }

 private:
    std::string m_path;
};

class ChartSource : public ::testing::Test {
 protected:
    RouteAnswer price() { return call_route("/GetPrice", market.on(price_request(c_script))); }

    HttpServer server;
    ChartServiceAt service{server.base_url()};
    MarketWithoutSpots market;
};

TEST_F(ChartSource, ACallReadsItsSpotFromTheChartService) {
    server.set_answer(
        [](std::string const&, HttpServer::Connection& client) { client.answer(c_closes); });
    auto const answer = price();
    ASSERT_TRUE(answer.success) << answer.log();
    EXPECT_TRUE(answer.messages("WARNING").empty()) << answer.log();
    ShareMarket const same(101.5, 0.2);
    auto const reference = call_route("/GetPrice", same.on(price_request(c_script)));
    ASSERT_TRUE(reference.success) << reference.log();
    EXPECT_EQ(answer.price()["Mean"].asDouble(), reference.price()["Mean"].asDouble());
    EXPECT_THAT(
        server.targets(),
        ElementsAre("AAA?metrics=CLOSE?&interval=1d&period1=1620000000&period2=1620086400"));
    EXPECT_TRUE(answer.document["DataConfiguration"]["Sources"][1]["Status"].asBool());
}

TEST_F(ChartSource, AServerThatHangsLeavesAWarningAndTheCallGoesOn) {
    ximCORE::Data::YahooFinanceAPI::s_service.timeout_ms = 100;
    server.set_answer([](std::string const&, HttpServer::Connection& client) { client.hang(); });
    auto request = market.on(price_request(c_script));
    auto const failed = call_route("/GetPrice", request);
    EXPECT_FALSE(failed.success);
    EXPECT_THAT(failed.messages("WARNING"), Contains("Timeout was reached"));
    EXPECT_THAT(failed.messages("ERROR"), Contains(StartsWith("Cannot find spot at '2021-05-03'")));
    // a call that takes a default for what is missing has its price
    request["DataConfiguration"]["SuccessOnSpotRequestFailure"] = true;
    request["ContractConfiguration"]["Script"] = "Pay(Spot(AAA,2022-05-03)+7,2022-05-03,USD)";
    auto const priced = call_route("/GetPrice", request);
    EXPECT_TRUE(priced.success) << priced.log();
    EXPECT_THAT(priced.messages("WARNING"), Contains("Timeout was reached"));
    EXPECT_NEAR(priced.price()["Mean"].asDouble(), 7.0, 1e-6);
}

TEST_F(ChartSource, ATimeSeriesIsReadFromTheChartService) {
    server.set_answer(
        [](std::string const&, HttpServer::Connection& client) { client.answer(c_closes); });
    Json::Value request;
    Json::Value& observable = request["Data"]["Observable"];
    Json::Value observation;
    observation["Kind"] = "BASKET";
    observation["BasketKind"] = "WORST";
    observation["StrikeKind"] = "ABSOLUTE";
    observation["ForwardStartDate"] = "2021-05-03";
    observation["Basket"][0]["Ticker"] = "AAA";
    observation["Basket"][0]["Weight"] = 100.0;
    observable["Observations"].append(observation);
    for (char const* date : {"2021-05-03", "2021-05-04"}) observable["Schedule"].append(date);
    auto const answer = call_route("/GetData", market.on(request));
    ASSERT_TRUE(answer.success) << answer.log();
    auto const& series = answer.document["Data"]["Observable"]["Observations"][0]["TimeSeries"];
    ASSERT_EQ(series.size(), 2U) << answer.log();
    EXPECT_TRUE(series[0]["Status"].asBool() && series[1]["Status"].asBool()) << answer.log();
    EXPECT_NEAR(series[1]["Value"].asDouble() / series[0]["Value"].asDouble(), 99.0 / 101.5, 1e-6);
}

}  // namespace
