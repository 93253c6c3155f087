// Prices of the Heston model from papers, through the smile route.

#include "published/published_prices.hpp"
#include "support/precompiled.hpp"

namespace {

using namespace ximAPI::testing;

std::vector<PublishedPrice> read_smiles() {
    std::ifstream file(XIM_ROOT "/tests/published/heston.json");
    std::vector<PublishedPrice> prices;
    for (Json::Value const& row : parse_json({std::istreambuf_iterator<char>(file), {}}))
        prices.push_back({.name = row["name"].asString(), .row = row});
    return prices;
}

class PublishedHeston : public ::testing::TestWithParam<PublishedPrice> {};

TEST_P(PublishedHeston, IsWithinItsTolerance) {
    Json::Value const& row = GetParam().row;
    Json::Value request;
    Json::Value& record = request["ModelConfiguration"]["HestonStochasticVolatilityModel"];
    record = row["parameters"];
    record["SpaceKind"] = "STRIKE";
    record["ValueKind"] = "CALL_PRICE";
    record["Slice"][0]["Space"] = row["strike"];
    auto const answer = call_route("/GetHestonImpliedVolatility", request);
    ASSERT_TRUE(answer.success) << answer.log();
    double const price =
        answer
            .document["ModelConfiguration"]["HestonStochasticVolatilityModel"]["Slice"][0]["Value"]
            .asDouble();
    EXPECT_NEAR(row["discount"].asDouble() * price, GetParam().exact(),
                row["tolerance"].asDouble());
}

INSTANTIATE_TEST_SUITE_P(Row, PublishedHeston, ::testing::ValuesIn(read_smiles()),
                         [](auto const& parameter) { return parameter.param.name; });

}  // namespace
