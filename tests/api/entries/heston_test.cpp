// "/GetHestonImpliedVolatility" end to end: no market data, parameters in and a smile out.

#include <cmath>
#include <limits>
#include <map>
#include <numbers>

#include "api/route_call.hpp"
#include "support/heston_reference.hpp"
#include "support/precompiled.hpp"

namespace {

using namespace ximAPI::testing;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::StartsWith;

constexpr double c_grid_step = 2.0 * std::numbers::pi / (4096 * 0.25);

/// Fang and Oosterlee (2008), tables 4 and 5, on a forward of its own.
Json::Value smile_record(double maturity) {
    Json::Value record;
    record["InitialSpot"] = 100.0;
    record["InitialVolatility"] = 100.0 * std::sqrt(0.0175);
    record["LongTermVolatility"] = 100.0 * std::sqrt(0.0398);
    record["MaturityTime"] = maturity;
    record["MeanReversionRate"] = 1.5768;
    record["RiskFreeRate"] = 4.0;
    record["SpotVarianceCorrelation"] = -57.11;
    record["VarianceVolatility"] = 57.51;
    record["SpaceKind"] = "LOG_FORWARD_MONEYNESS";
    record["ValueKind"] = "VOLATILITY";
    return record;
}

ximTest::HestonModel smile_model(double maturity) {
    return {.maturity = maturity,
            .kappa = 1.5768,
            .sigma = 0.5751,
            .v0 = 0.0175,
            .theta = 0.0398,
            .rho = -0.5711};
}

RouteAnswer call_heston(Json::Value const& record) {
    Json::Value request;
    request["ModelConfiguration"]["HestonStochasticVolatilityModel"] = record;
    return call_route("/GetHestonImpliedVolatility", request);
}

Json::Value const& record_of(RouteAnswer const& answer) {
    return answer.document["ModelConfiguration"]["HestonStochasticVolatilityModel"];
}
double value_of(RouteAnswer const& answer, Json::ArrayIndex i = 0) {
    return record_of(answer)["Slice"][i]["Value"].asDouble();
}

/// All forms of one strike: what each "SpaceKind" calls it.
double space_at(std::string const& kind, double k, double forward) {
    double const strike = forward * std::exp(k);
    if (kind == "FORWARD_MONEYNESS") return std::exp(k);
    if (kind == "FORWARD_MONEYNESS_PCT") return 100.0 * std::exp(k);
    if (kind == "MONEYNESS") return strike / 100.0;
    if (kind == "MONEYNESS_PCT") return strike;
    if (kind == "LOG_MONEYNESS") return std::log(strike / 100.0);
    if (kind == "LOG_FORWARD_MONEYNESS") return k;
    return strike;
}

/// Worked out once for all kinds.
double total_volatility_at(double k, double maturity) {
    static std::map<std::pair<double, double>, double> known;
    auto const [place, is_new] = known.try_emplace({k, maturity});
    if (is_new) {
        place->second =
            ximTest::ten_point_volatility(k, ximTest::heston_call(smile_model(maturity), k));
    }
    return place->second;
}

/// All forms of the value at one strike. The total volatility stands where the volatility should.
double value_at(std::string const& kind, double k, double maturity) {
    double const sigma = total_volatility_at(k, maturity);
    double const total = sigma * std::sqrt(maturity);
    double const call = ximTest::ten_point_call(k, total);
    double const put = call - 1.0 + std::exp(k);
    if (kind == "CALL_PRICE" || kind == "CALL_PRICE_VS_SPOT_PCT") return 100.0 * call;
    if (kind == "CALL_PRICE_VS_SPOT") return call;
    if (kind == "PUT_PRICE" || kind == "PUT_PRICE_VS_SPOT_PCT") return 100.0 * put;
    if (kind == "PUT_PRICE_VS_SPOT") return put;
    if (kind == "TOTAL_VARIANCE") return total * total;
    if (kind == "TOTAL_VOLATILITY") return total;
    if (kind == "VARIANCE") return sigma * sigma;
    if (kind == "VOLATILITY") return sigma;
    return 100.0 * sigma;
}

char const* const c_space_kinds[] = {
    "FORWARD_MONEYNESS", "FORWARD_MONEYNESS_PCT", "MONEYNESS", "MONEYNESS_PCT",
    "LOG_MONEYNESS",     "LOG_FORWARD_MONEYNESS", "STRIKE"};
char const* const c_value_kinds[] = {
    "CALL_PRICE",     "CALL_PRICE_VS_SPOT", "CALL_PRICE_VS_SPOT_PCT",
    "PUT_PRICE",      "PUT_PRICE_VS_SPOT",  "PUT_PRICE_VS_SPOT_PCT",
    "TOTAL_VARIANCE", "TOTAL_VOLATILITY",   "VARIANCE",
    "VOLATILITY",     "VOLATILITY_PCT"};

class HestonKinds : public ::testing::TestWithParam<std::tuple<double, char const*, char const*>> {
};

// Relied on: the line goes through the two points behind a space that lies between two
TEST_P(HestonKinds, FollowTheLineThroughTheTwoPointsBehind) {
    auto const [maturity, space_kind, value_kind] = GetParam();
    double const forward = 100.0 * std::exp(0.04 * maturity);
    Json::Value record = smile_record(maturity);
    record["SpaceKind"] = space_kind;
    record["ValueKind"] = value_kind;
    double const ks[] = {-0.30, -0.15, 0.001, 0.1, 0.2};
    for (Json::ArrayIndex i = 0; i < 5; ++i)
        record["Slice"][i]["Space"] = space_at(space_kind, ks[i], forward);
    auto const answer = call_heston(record);
    ASSERT_TRUE(answer.success) << answer.log();
    for (Json::ArrayIndex i = 0; i < 5; ++i) {
        double const below = std::ceil(ks[i] / c_grid_step) * c_grid_step;
        double const x0 = space_at(space_kind, below, forward);
        double const x1 = space_at(space_kind, below + c_grid_step, forward);
        double const y0 = value_at(value_kind, below, maturity);
        double const y1 = value_at(value_kind, below + c_grid_step, maturity);
        double const x = space_at(space_kind, ks[i], forward);
        double const expected = y0 + (x - x0) * (y1 - y0) / (x1 - x0);
        // the search ends with a step of 1e-5 in a volatility of 0.15; the route's own grid of
        // frequencies adds 2e-6 of the forward
        EXPECT_NEAR(value_of(answer, i), expected, 3e-4 * std::abs(expected) + 1e-5)
            << space_kind << " " << value_kind << " " << ks[i];
    }
}

INSTANTIATE_TEST_SUITE_P(EveryKind, HestonKinds,
                         ::testing::Combine(::testing::Values(1.0, 2.25),
                                            ::testing::ValuesIn(c_space_kinds),
                                            ::testing::ValuesIn(c_value_kinds)));

// A reversion so slow that its product with a huge long-term variance is moderate: a drift of the
// variance near 4 a year. The largest number of single precision is 3.4e38.
TEST(GetHestonImpliedVolatility, TheLongTermVolatilityIsSquaredInSinglePrecision) {
    // Relied on: the long-term volatility is squared in single precision
    Json::Value record = smile_record(1.0);
    record["MeanReversionRate"] = 1.2e-38;
    record["ValueKind"] = "CALL_PRICE";
    record["Slice"][0]["Space"] = 0.0;
    record["LongTermVolatility"] = 1.8e21;
    auto const below = call_heston(record);
    ASSERT_TRUE(below.success) << below.log();
    auto model = smile_model(1.0);
    model.kappa = 1.2e-38;
    model.theta = 1.8e19 * 1.8e19;
    EXPECT_NEAR(value_of(below), 100.0 * ximTest::heston_call(model, 0.0), 0.01);
    record["LongTermVolatility"] = 1.9e21;
    auto const above = call_heston(record);
    ASSERT_TRUE(above.success) << above.log();
    EXPECT_EQ(value_of(above), 0.0);
}

TEST(GetHestonImpliedVolatility, WithoutVolatilityOfTheVarianceTheSmileIsFlat) {
    for (double const reversion : {0.0, 2.0}) {
        Json::Value record = smile_record(1.0);
        record["InitialVolatility"] = 30.0;
        record["LongTermVolatility"] = 20.0;
        record["VarianceVolatility"] = 0.0;
        record["MeanReversionRate"] = reversion;
        record["ValueKind"] = "TOTAL_VARIANCE";
        for (Json::ArrayIndex i = 0; i < 5; ++i) record["Slice"][i]["Space"] = -0.4 + 0.2 * i;
        auto const answer = call_heston(record);
        ASSERT_TRUE(answer.success) << answer.log();
        double const total = reversion == 0.0 ? 0.09 : 0.05 * (1.0 - std::exp(-2.0)) / 2.0 + 0.04;
        for (Json::ArrayIndex i = 0; i < 5; ++i)
            EXPECT_NEAR(value_of(answer, i), total, 5e-5) << reversion;
    }
}

TEST(GetHestonImpliedVolatility, ASpaceOutsideTheGridKeepsItsValue) {
    double const edge = 4.0 * std::numbers::pi;
    // below the first point; on the last one, which has none behind it; above it
    double const outside[] = {-edge - 0.001, edge - c_grid_step + 0.001, edge, 1e30};
    Json::Value record = smile_record(1.0);
    for (Json::ArrayIndex i = 0; i < 4; ++i) {
        record["Slice"][i]["Space"] = outside[i];
        record["Slice"][i]["Value"] = 7.5 + i;
    }
    record["Slice"][4]["Space"] = 0.0;
    record["Slice"][4]["Value"] = 7.5;
    auto const answer = call_heston(record);
    ASSERT_TRUE(answer.success) << answer.log();
    for (Json::ArrayIndex i = 0; i < 4; ++i) EXPECT_EQ(value_of(answer, i), 7.5 + i) << outside[i];
    EXPECT_NE(value_of(answer, 4), 7.5);
}

TEST(GetHestonImpliedVolatility, AnUnknownKindCountsAsTheFirst) {
    Json::Value record = smile_record(1.0);
    record["SpaceKind"] = "NO_KIND";
    record["ValueKind"] = "NO_KIND";
    record["Slice"][0]["Space"] = 1.0;
    auto const unknown = call_heston(record);
    record["SpaceKind"] = "FORWARD_MONEYNESS";
    record["ValueKind"] = "CALL_PRICE";
    auto const first = call_heston(record);
    ASSERT_TRUE(unknown.success && first.success);
    EXPECT_EQ(value_of(unknown), value_of(first));
    EXPECT_EQ(record_of(unknown)["SpaceKind"].asString(), "FORWARD_MONEYNESS");
}

TEST(GetHestonImpliedVolatility, AKindOutsideTheEnumerationEndsWithARecord) {
    ximAPI::HestonImpliedVolatilityResults results;
    results.InitialSpot = 100.0F;
    results.MaturityTime = 1.0F;
    results.Slice = {{100.0F, 7.5F}};
    results.SpaceKind = static_cast<ximAPI::SpaceKind>(7);
    std::vector<ximAPI::Log> logs;
    EXPECT_FALSE(GetHestonImpliedVolatility(results, logs));
    ASSERT_GE(logs.size(), 2U);
    EXPECT_EQ(logs[1].Level, ximAPI::LogLevel::EXCEPTION);
    EXPECT_EQ(logs[1].Message, "Unknown error");
    EXPECT_EQ(results.Slice[0].Value, 7.5F);
}

TEST(GetHestonImpliedVolatility, AnEmptySliceIsTrue) {
    auto const answer = call_heston(smile_record(1.0));
    EXPECT_TRUE(answer.success) << answer.log();
    EXPECT_EQ(record_of(answer)["Slice"].size(), 0U);
    EXPECT_THAT(answer.messages("SUCCESS"),
                ElementsAre(StartsWith("Execution of GetHestonImpliedVolatility ended at ")));
}

TEST(GetHestonImpliedVolatility, ALevelOrAMaturityThatIsNotAboveZeroIsRefused) {
    for (char const* const key : {"InitialSpot", "MaturityTime"}) {
        for (double const bad : {0.0, -1.0, -0.0}) {
            Json::Value record = smile_record(1.0);
            record["Slice"][0]["Space"] = 0.0;
            record["Slice"][0]["Value"] = 7.5;
            record[key] = bad;
            auto const answer = call_heston(record);
            EXPECT_FALSE(answer.success);
            EXPECT_THAT(answer.messages("ERROR"), ElementsAre(std::string("Invalid ") + key));
            EXPECT_EQ(record_of(answer), record);
        }
    }
}

TEST(GetHestonImpliedVolatility, AnEmptyDocumentIsRefused) {
    auto const answer = call_route("/GetHestonImpliedVolatility", Json::objectValue);
    EXPECT_FALSE(answer.success);
    EXPECT_THAT(answer.messages("ERROR"), ElementsAre("Invalid InitialSpot"));
}

TEST(GetHestonImpliedVolatility, FullCorrelationHasASmile) {
    for (double const correlation : {-100.0, 100.0}) {
        Json::Value record = smile_record(1.0);
        record["SpotVarianceCorrelation"] = correlation;
        record["VarianceVolatility"] = 30.0;
        record["Slice"][0]["Space"] = -0.18;
        record["Slice"][1]["Space"] = 0.18;
        auto const answer = call_heston(record);
        ASSERT_TRUE(answer.success) << answer.log();
        EXPECT_GT((value_of(answer, 1) - value_of(answer, 0)) * correlation, 2.0);
    }
}

TEST(GetHestonImpliedVolatility, NumbersWithoutSenseEndWithoutACrash) {
    for (char const* const key :
         {"InitialSpot", "InitialVolatility", "LongTermVolatility", "MaturityTime",
          "MeanReversionRate", "RiskFreeRate", "SpotVarianceCorrelation", "VarianceVolatility"}) {
        for (double const extreme : {1e-30, 1e30, -1e30, 3e38}) {
            Json::Value record = smile_record(1.0);
            record["SpaceKind"] = "STRIKE";
            record["Slice"][0]["Space"] = 100.0;
            record[key] = extreme;
            auto const answer = call_heston(record);
            EXPECT_TRUE(answer.success || answer.messages("ERROR").size() == 1) << key << extreme;
        }
    }
}

TEST(GetHestonImpliedVolatility, AStrikeThatIsNoNumberKeepsItsValue) {
    ximAPI::HestonImpliedVolatilityResults results;
    results.InitialSpot = 100.0F;
    results.InitialVolatility = 20.0F;
    results.MaturityTime = 1.0F;
    results.Slice = {{std::numeric_limits<float>::quiet_NaN(), 7.5F}};
    std::vector<ximAPI::Log> logs;
    EXPECT_TRUE(GetHestonImpliedVolatility(results, logs));
    EXPECT_EQ(results.Slice[0].Value, 7.5F);
}

}  // namespace
