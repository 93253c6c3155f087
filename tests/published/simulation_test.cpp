// Prices from books and papers, repriced by simulation.

#include <cmath>

#include "published/published_prices.hpp"
#include "support/precompiled.hpp"

namespace {

using namespace ximAPI::testing;

class PublishedSimulation : public ::testing::TestWithParam<PublishedPrice> {};

/// To 4.5 standard errors of a method that simulates.
void expect_within_errors(PublishedPrice const& price, char const* method, int trials) {
    Json::Value pricer;
    pricer["Method"] = method;
    pricer["MonteCarloTrials"] = trials;
    pricer["MonteCarloNbThreads"] = 2;
    auto const answer = reprice(price, pricer, Json::Value(Json::objectValue));
    ASSERT_TRUE(answer.success) << answer.log();
    double const exact = price.exact();
    double const allowed =
        4.5 * answer.price()["Stddev"].asDouble() + 5e-5 * std::max(1.0, std::abs(exact));
    EXPECT_NEAR(answer.price()["Mean"].asDouble(), exact, allowed);
}

TEST_P(PublishedSimulation, IsWithinItsErrors) {
    expect_within_errors(GetParam(), "MONTE_CARLO", 200000);
}

TEST_P(PublishedSimulation, IsWithinItsErrorsByAdjoints) {
    expect_within_errors(GetParam(), "AUTOMATIC_ADJOINT_DIFFERENTIATION", 50000);
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
