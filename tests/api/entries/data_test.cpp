// "/GetData" and "/GetConnectionStatus", and the fetch behind every call.

#include "api/bridge/data.hpp"

#include <fstream>

#include "api/route_call.hpp"
#include "core/data/cache.hpp"
#include "core/toolbox/log.hpp"
#include "support/precompiled.hpp"

namespace {

using namespace ximAPI::testing;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ximCORE::Toolbox::Log;

std::vector<std::string> take_log() {
    std::stringstream mark;
    auto& entries = Log::s_add(Log::Level::INFO, mark);
    std::vector<std::string> texts;
    for (auto const& entry : entries) {
        texts.push_back(entry.text);
    }
    texts.pop_back();
    entries.clear();
    return texts;
}

/// A market file of one source, removed at the end of the test.
class MarketFile {
 public:
    explicit MarketFile(std::string const& text)
        : m_path(::testing::TempDir() + "xim_" +
                 ::testing::UnitTest::GetInstance()->current_test_info()->name() + ".json") {
        std::ofstream(m_path) << text;
    }
    ~MarketFile() { std::remove(m_path.c_str()); }
    MarketFile(MarketFile const&) = delete;
    MarketFile& operator=(MarketFile const&) = delete;

    [[nodiscard]] std::string const& c_get_path() const { return m_path; }

 private:
    std::string m_path;
};

constexpr char const* c_market = R"({"Kind": "manual", "Data": [
    {"type": "Currency", "ticker": "USD", "name": "dollar", "calendar": "dummy", "day_counter": "act_365",
     "forward_rate_affinity_factor": 0.5},
    {"type": "ShareUnderlying", "ticker": "AAA", "name": "A", "currency": "USD", "fixing_calendar": "dummy",
     "day_counter": "act_365"},
    {"type": "Spot", "ticker": "AAA", "date": "2021-05-03", "bid": 99, "ask": 101},
    {"type": "BlackScholesVolatility", "ticker": "AAA", "date": "2021-05-03", "value": 20}]})";

Json::Value observation(char const* kind,
                        std::vector<std::pair<char const*, double>> const& basket) {
    Json::Value value;
    value["Kind"] = "BASKET";
    value["BasketKind"] = kind;
    value["ForwardStartDate"] = "2021-05-03";
    value["Basket"] = Json::Value(Json::arrayValue);
    for (auto const& [ticker, weight] : basket) {
        Json::Value item;
        item["Ticker"] = ticker;
        item["Weight"] = weight;
        value["Basket"].append(item);
    }
    return value;
}

Json::Value data_request(Json::Value const& observed, std::vector<char const*> const& dates) {
    Json::Value request;
    Json::Value& data = request["Data"]["Observable"];
    data["Observations"].append(observed);
    data["Schedule"] = Json::Value(Json::arrayValue);
    for (char const* date : dates) {
        data["Schedule"].append(date);
    }
    return request;
}

TEST(SetData, DemonstrationDataAnswersWithoutSources) {
    ximAPI::Data data;
    std::ignore = take_log();
    EXPECT_TRUE(ximAPI::Toolkit::set_data(data, [] { return true; }));
    EXPECT_THAT(take_log(),
                Contains("By not providing data sources, you are redirected to the demo base"));
    ximCORE::Data::MarketDataCache::s_get().clear();
}

TEST(SetData, FetchStopsAfterTenRounds) {
    ximAPI::Data data;
    int rounds = 0;
    EXPECT_TRUE(ximAPI::Toolkit::set_data(data, [&rounds] {
        ++rounds;
        return false;
    }));
    EXPECT_EQ(rounds, 10);
    ximCORE::Data::MarketDataCache::s_get().clear();
}

TEST(SetData, OneRoundIsEnoughWhenNothingIsMissing) {
    ximAPI::Data data;
    int rounds = 0;
    EXPECT_TRUE(ximAPI::Toolkit::set_data(data, [&rounds] { return ++rounds > 0; }));
    EXPECT_EQ(rounds, 1);
    ximCORE::Data::MarketDataCache::s_get().clear();
}

TEST(SetData, EmptyClosureRaisesTheStandardException) {
    ximAPI::Data data;
    EXPECT_THROW(ximAPI::Toolkit::set_data(data, {}), std::bad_function_call);
    ximCORE::Data::MarketDataCache::s_get().clear();
}

TEST(SetData, RefusedLoginLeavesEverythingUndeclared) {
    ximAPI::Data data;
    data.Username = "nobody";
    data.Password = "wrong";
    data.Sources = {{.File = "a.json", .IsActivated = true, .Status = true},
                    {.File = "b.json", .IsActivated = false, .Status = true}};
    std::ignore = take_log();
    bool called = false;
    EXPECT_TRUE(ximAPI::Toolkit::set_data(data, [&called] {
        called = true;
        return true;
    }));
    EXPECT_FALSE(called);
    EXPECT_FALSE(data.Sources[0].Status);
    EXPECT_FALSE(data.Sources[1].Status);
    auto const log = take_log();
    ASSERT_GE(log.size(), 5U) << "the driver's warning, then the four records";
    EXPECT_THAT(
        std::vector(log.end() - 4, log.end()),
        ElementsAre("Authentication failure.",
                    "Please check your username and password for the market database.",
                    "If the failure lasts, contact the administrator of the market database.",
                    "You can also clear the data source cliquet to use our market data demo base"));
}

TEST(SetData, RefusedLoginFailsThePriceByNamingWhatIsMissing) {
    Json::Value request =
        price_request("Pay(Max(Spot(^GSPC,2022-05-03)-4150,0),2022-05-03,USD)", 10);
    request["DataConfiguration"]["Sources"][0]["File"] = "a.json";
    request["DataConfiguration"]["Sources"][0]["IsActivated"] = true;
    auto const answer = call_route("/GetPrice", request);
    EXPECT_FALSE(answer.success);
    EXPECT_THAT(answer.messages("ERROR"), Contains(::testing::HasSubstr("^GSPC"))) << answer.log();
}

TEST(GetConnectionStatus, OnlyActivatedSourcesAreOpened) {
    MarketFile const market(c_market);
    Json::Value request;
    Json::Value& data = request["DataConfiguration"];
    data["WithoutLogin"] = true;
    for (bool const activated : {true, false}) {
        Json::Value source;
        source["File"] = market.c_get_path();
        source["IsActivated"] = activated;
        data["Sources"].append(source);
    }
    auto const answer = call_route("/GetConnectionStatus", request);
    ASSERT_TRUE(answer.success) << answer.log();
    EXPECT_TRUE(answer.document["DataConfiguration"]["Sources"][0]["Status"].asBool());
    EXPECT_FALSE(answer.document["DataConfiguration"]["Sources"][1]["Status"].asBool());
    EXPECT_TRUE(answer.document["DataConfiguration"]["WithoutLogin"].asBool());
}

TEST(GetConnectionStatus, MissingFileIsAWarning) {
    Json::Value request;
    request["DataConfiguration"]["WithoutLogin"] = true;
    request["DataConfiguration"]["Sources"][0]["File"] = "nowhere.json";
    request["DataConfiguration"]["Sources"][0]["IsActivated"] = true;
    auto const answer = call_route("/GetConnectionStatus", request);
    EXPECT_TRUE(answer.success);
    EXPECT_THAT(answer.messages("WARNING"), ElementsAre("Cannot find file nowhere.json"));
    EXPECT_FALSE(answer.document["DataConfiguration"]["Sources"][0]["Status"].asBool());
}

TEST(GetPrice, MarketFileServesWithoutLogin) {
    MarketFile const market(c_market);
    Json::Value request = price_request("Pay(Spot(AAA,2022-05-03),2022-05-03,USD)", 20000);
    request["DataConfiguration"]["WithoutLogin"] = true;
    request["DataConfiguration"]["Sources"][0]["File"] = market.c_get_path();
    request["DataConfiguration"]["Sources"][0]["IsActivated"] = true;
    auto const answer = call_route("/GetPrice", request);
    ASSERT_TRUE(answer.success) << answer.log();
    EXPECT_NEAR(answer.price()["Mean"].asDouble(), 100.0,
                4.0 * answer.price()["Stddev"].asDouble());
}

TEST(GetData, NoObservationIsTrueAndAsksForNothing) {
    Json::Value request;
    request["Data"]["Observable"]["Observations"] = Json::Value(Json::arrayValue);
    auto const answer = call_route("/GetData", request);
    ASSERT_TRUE(answer.success) << answer.log();
    EXPECT_TRUE(answer.document["Data"]["Observable"]["Observations"].empty());
}

TEST(GetData, BasketIsTheWeightedPerformanceSinceItsStart) {
    auto const answer = call_route(
        "/GetData", data_request(observation("BASKET", {{"^GSPC", 50.0}, {"^STOXX50E", 50.0}}),
                                 {"2021-05-03", "2021-10-07"}));
    ASSERT_TRUE(answer.success) << answer.log();
    Json::Value const& series =
        answer.document["Data"]["Observable"]["Observations"][0]["TimeSeries"];
    ASSERT_EQ(series.size(), 2U);
    EXPECT_EQ(series[0]["Date"].asString(), "2021-05-03");
    EXPECT_NEAR(series[0]["Value"].asDouble(), 1.0, 1e-6) << "at the start date itself";
    EXPECT_TRUE(series[0]["Status"].asBool());
    EXPECT_FLOAT_EQ(series[0]["Epoch"].asFloat(), 1620000000.0F);
    double const expected = 0.5 * 4704.455 / 4153.925 + 0.5 * 4224.525 / 3816.39;
    EXPECT_NEAR(series[1]["Value"].asDouble(), expected, 1e-5);
}

TEST(GetData, WorstOfAndBestOfIgnoreTheWeights) {
    double const gspc = 4704.455 / 4153.925;
    double const stoxx = 4224.525 / 3816.39;
    for (auto const& [kind, expected] :
         {std::pair{"WORST_OF", std::min(gspc, stoxx)}, {"BEST_OF", std::max(gspc, stoxx)}}) {
        auto const answer = call_route(
            "/GetData",
            data_request(observation(kind, {{"^GSPC", 7.0}, {"^STOXX50E", 0.0}}), {"2021-10-07"}));
        ASSERT_TRUE(answer.success) << answer.log();
        EXPECT_NEAR(
            answer.document["Data"]["Observable"]["Observations"][0]["TimeSeries"][0]["Value"]
                .asDouble(),
            expected, 1e-5);
    }
}

TEST(GetData, DateWithoutQuoteIsNotAvailable) {
    auto const answer = call_route(
        "/GetData", data_request(observation("BASKET", {{"^GSPC", 100.0}}), {"2021-05-01"}));
    ASSERT_TRUE(answer.success) << answer.log();
    Json::Value const& point =
        answer.document["Data"]["Observable"]["Observations"][0]["TimeSeries"][0];
    EXPECT_FALSE(point["Status"].asBool());
    EXPECT_EQ(point["Value"].asDouble(), 0.0);
}

TEST(GetData, BasketWithoutPerformanceFails) {
    for (auto const& observed :
         {observation("RAINBOW", {{"^GSPC", 100.0}}), observation("BASKET", {})}) {
        auto const answer = call_route("/GetData", data_request(observed, {"2021-05-03"}));
        EXPECT_FALSE(answer.success);
        EXPECT_THAT(answer.messages("ERROR"), ElementsAre("Basket without performance"));
    }
}

TEST(GetData, EmptyScheduleGivesAnEmptySeries) {
    auto const answer =
        call_route("/GetData", data_request(observation("BASKET", {{"^GSPC", 100.0}}), {}));
    ASSERT_TRUE(answer.success) << answer.log();
    EXPECT_TRUE(answer.document["Data"]["Observable"]["Observations"][0]["TimeSeries"].empty());
}

}  // namespace
