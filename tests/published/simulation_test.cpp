// Prices from books and papers, repriced by simulation.

#include <cmath>

#include "published/published_prices.hpp"
#include "support/precompiled.hpp"

namespace {

using namespace ximAPI::testing;

class PublishedSimulation : public ::testing::TestWithParam<PublishedPrice> {};

TEST_P(PublishedSimulation, IsWithinItsErrors) {
    Json::Value pricer;
    pricer["MonteCarloTrials"] = 200000;
    pricer["MonteCarloNbThreads"] = 2;
    auto const answer = reprice(GetParam(), pricer, Json::Value(Json::objectValue));
    ASSERT_TRUE(answer.success) << answer.log();
    double const exact = GetParam().exact();
    double const allowed =
        4.5 * answer.price()["Stddev"].asDouble() + 5e-5 * std::max(1.0, std::abs(exact));
    EXPECT_NEAR(answer.price()["Mean"].asDouble(), exact, allowed);
}

INSTANTIATE_TEST_SUITE_P(Row, PublishedSimulation,
                         ::testing::ValuesIn(read_published_prices([](Json::Value const& row) {
                             return row["simulated"].asBool();
                         })),
                         [](auto const& parameter) {
                             std::string name = parameter.param.name;
                             for (char& character : name) {
                                 if (std::isalnum(static_cast<unsigned char>(character)) == 0) {
                                     character = character == '-' ? 'm' : '_';
                                 }
                             }
                             return name;
                         });

}  // namespace
