// "/TestImpliedVolatilityComputation" end to end.

#include <cmath>
#include <vector>

#include "api/route_call.hpp"
#include "support/heston_reference.hpp"
#include "support/precompiled.hpp"

namespace {

using namespace ximAPI::testing;
using ::testing::ElementsAre;
using ::testing::StartsWith;

std::vector<double> const c_spaces{50.0, 80.0, 95.0, 100.0, 105.0, 125.0, 200.0};
std::vector<double> const c_values{10.0, 20.0, 40.0, 80.0};

Json::Value tester(char const* method, int exponent, int iterations,
                   std::vector<double> const& spaces = c_spaces,
                   std::vector<double> const& values = c_values) {
    Json::Value record;
    record["InitialGuessMethod"] = method;
    record["ToleranceExponant"] = exponent;
    record["MaximumIterations"] = iterations;
    record["Spaces"] = record["Values"] = Json::arrayValue;
    for (double const space : spaces) {
        Json::Value item;
        item["Space"] = space;
        record["Spaces"].append(item);
    }
    for (double const value : values) {
        Json::Value item;
        item["Value"] = value;
        record["Values"].append(item);
    }
    return record;
}

RouteAnswer call_tester(Json::Value const& record) {
    Json::Value request;
    request["Data"]["ImpliedVolatilityComputationTester"] = record;
    return call_route("/TestImpliedVolatilityComputation", request);
}

Json::Value const& record_of(RouteAnswer const& answer) {
    return answer.document["Data"]["ImpliedVolatilityComputationTester"];
}
Json::Value const& cell_of(RouteAnswer const& answer, std::size_t row, std::size_t col) {
    return record_of(answer)["Errors"]["Data"][static_cast<Json::ArrayIndex>(row)]
                            [static_cast<Json::ArrayIndex>(col)];
}

class ImpliedVolatilityTester : public ::testing::TestWithParam<char const*> {};

TEST_P(ImpliedVolatilityTester, FindsEveryVolatilityWhosePriceHasTimeValue) {
    auto const answer = call_tester(tester(GetParam(), -10, 100));
    ASSERT_TRUE(answer.success) << answer.log();
    std::size_t found = 0;
    for (std::size_t row = 0; row < c_spaces.size(); ++row) {
        for (std::size_t col = 0; col < c_values.size(); ++col) {
            double const k = std::log(c_spaces[row] / 100.0);
            double const s = c_values[col] / 100.0;
            if (std::abs(k) > 4.0 * s) continue;  // the time value ends at the rounding
            ++found;
            EXPECT_TRUE(cell_of(answer, row, col)["Status"].asBool()) << k << " " << s;
            EXPECT_EQ(cell_of(answer, row, col)["Error"].asInt(), 0) << k << " " << s;
        }
    }
    EXPECT_GT(found, 18U);
}

TEST_P(ImpliedVolatilityTester, AveragesAreThoseOfTheCells) {
    auto const answer = call_tester(tester(GetParam(), -6, 3));
    ASSERT_TRUE(answer.success) << answer.log();
    double errors = 0.0;
    int count = 0;
    for (Json::Value const& row : record_of(answer)["Errors"]["Data"]) {
        for (Json::Value const& cell : row) {
            EXPECT_TRUE(cell["Error"].isInt());
            if (!cell["Status"].asBool()) {
                EXPECT_EQ(cell["Error"].asInt(), 0);
                continue;
            }
            errors += cell["Error"].asInt();
            ++count;
        }
    }
    ASSERT_GT(count, 0);
    EXPECT_LT(count, 28);
    EXPECT_FLOAT_EQ(record_of(answer)["AverageError"].asFloat(),
                    static_cast<float>(errors / count));
    EXPECT_GE(record_of(answer)["AverageIterations"].asFloat(), 1.0F);
    EXPECT_LE(record_of(answer)["AverageIterations"].asFloat(), 3.0F);
}

INSTANTIATE_TEST_SUITE_P(Guess, ImpliedVolatilityTester,
                         ::testing::Values("LEGACY", "STEFANICA_RADOICIC"));

TEST(TestImpliedVolatilityComputation, TheGridStandsBesideTheErrors) {
    auto const answer = call_tester(tester("LEGACY", -5, 50, {90.0, 110.0}, {10.0, 20.0, 30.0}));
    ASSERT_TRUE(answer.success) << answer.log();
    Json::Value const& errors = record_of(answer)["Errors"];
    EXPECT_EQ(errors["Rows"], parse_json("[90.0, 110.0]"));
    EXPECT_EQ(errors["Cols"], parse_json("[10.0, 20.0, 30.0]"));
    ASSERT_EQ(errors["Data"].size(), 2U);
    EXPECT_EQ(errors["Data"][0].size(), 3U);
    EXPECT_THAT(answer.messages("SUCCESS"),
                ElementsAre(StartsWith("Execution of TestImpliedVolatilityComputation ended at ")));
}

// With a tolerance of 100 the first step of Newton's method is taken: from sqrt(2 |k|) by the
// missing time value over the integrand there.
TEST(TestImpliedVolatilityComputation, AWideTolerancePinsTheFirstStep) {
    for (double const space : {80.0, 125.0}) {
        auto const answer = call_tester(tester("LEGACY", 2, 50, {space}, {30.0}));
        ASSERT_TRUE(answer.success) << answer.log();
        double const k = std::log(space / 100.0);
        double const start = std::sqrt(2.0 * std::abs(k));
        double const d1 = -k / start + 0.5 * start;
        double const missing = ximTest::ten_point_call(k, 0.3) - ximTest::ten_point_call(k, start);
        double const first =
            start + missing * std::sqrt(2.0 * std::acos(-1.0)) / std::exp(-0.5 * d1 * d1);
        EXPECT_EQ(record_of(answer)["AverageIterations"].asFloat(), 1.0F);
        EXPECT_NEAR(cell_of(answer, 0, 0)["Error"].asInt(), 1e4 * std::abs(first - 0.3), 1.0);
        EXPECT_GT(cell_of(answer, 0, 0)["Error"].asInt(), 100);
    }
}

TEST(TestImpliedVolatilityComputation, EachCellCountsItsOwnIterations) {
    auto const one = call_tester(tester("LEGACY", -8, 50, {110.0}, {20.0}));
    auto const many = call_tester(tester("LEGACY", -8, 50, {110.0, 110.0, 110.0}, {20.0, 20.0}));
    EXPECT_GT(record_of(one)["AverageIterations"].asFloat(), 1.0F);
    EXPECT_EQ(record_of(many)["AverageIterations"], record_of(one)["AverageIterations"]);
}

TEST(TestImpliedVolatilityComputation, ACellWithoutTimeValueFails) {
    auto const answer =
        call_tester(tester("STEFANICA_RADOICIC", -5, 50, {0.0, -50.0, 100.0, 1e30}, {0.0, -20.0}));
    ASSERT_TRUE(answer.success) << answer.log();
    for (std::size_t row = 0; row < 4; ++row)
        for (std::size_t col = 0; col < 2; ++col)
            EXPECT_FALSE(cell_of(answer, row, col)["Status"].asBool()) << row << " " << col;
    EXPECT_EQ(record_of(answer)["AverageError"].asFloat(), 0.0F);
    EXPECT_EQ(record_of(answer)["AverageIterations"].asFloat(), 0.0F);
}

TEST(TestImpliedVolatilityComputation, AnAverageFromTheRequestIsForgotten) {
    Json::Value record = tester("LEGACY", -5, 50, {}, {});
    record["AverageError"] = record["AverageIterations"] = 5.0;
    record["Errors"]["Rows"].append(1.0);
    auto const answer = call_tester(record);
    ASSERT_TRUE(answer.success) << answer.log();
    EXPECT_EQ(record_of(answer)["AverageError"].asFloat(), 0.0F);
    EXPECT_EQ(record_of(answer)["AverageIterations"].asFloat(), 0.0F);
    EXPECT_EQ(record_of(answer)["Errors"]["Rows"].size(), 0U);
}

TEST(TestImpliedVolatilityComputation, ATightToleranceAndManyIterationsEndInNoTime) {
    for (int const exponent : {-400, -30, std::numeric_limits<int>::min()}) {
        auto const answer = call_tester(
            tester("LEGACY", exponent, std::numeric_limits<int>::max(), c_spaces, c_values));
        EXPECT_TRUE(answer.success) << answer.log();
    }
}

TEST(TestImpliedVolatilityComputation, SearchesThatWanderWithoutEndAreRefusedAfterSeconds) {
    std::vector<double> spaces;
    for (int i = 0; i < 100; ++i) spaces.push_back(std::pow(10.0, 0.08 * i - 3.0));
    std::vector<double> values;
    for (int i = 0; i < 100; ++i) values.push_back(std::pow(10.0, 0.09 * i - 4.0));
    Json::Value const record =
        tester("STEFANICA_RADOICIC", -400, std::numeric_limits<int>::max(), spaces, values);
    auto const answer = call_tester(record);
    EXPECT_FALSE(answer.success);
    EXPECT_THAT(answer.messages("ERROR"), ElementsAre("Too many iterations"));
    EXPECT_EQ(record_of(answer), record);
}

TEST(TestImpliedVolatilityComputation, AToleranceBeyondAllNumbersKeepsErrorsWhole) {
    for (int const exponent : {400, std::numeric_limits<int>::max()}) {
        auto const answer =
            call_tester(tester("LEGACY", exponent, 50, {1e-30, 100.0, 1e30}, {1e-30, 20.0, 1e30}));
        ASSERT_TRUE(answer.success) << answer.log();
        for (Json::Value const& row : record_of(answer)["Errors"]["Data"])
            for (Json::Value const& cell : row) EXPECT_GE(cell["Error"].asInt(), 0);
    }
}

TEST(TestImpliedVolatilityComputation, ANegativeNumberOfIterationsCountsAsNone) {
    // one step is always taken, and it is too long
    for (int const iterations : {-1, 0, std::numeric_limits<int>::min()}) {
        auto const answer = call_tester(tester("LEGACY", -8, iterations, {110.0}, {20.0}));
        ASSERT_TRUE(answer.success) << answer.log();
        EXPECT_FALSE(cell_of(answer, 0, 0)["Status"].asBool());
    }
}

TEST(TestImpliedVolatilityComputation, MoreThanAMillionCellsAreRefused) {
    Json::Value const record =
        tester("LEGACY", -5, 50, std::vector<double>(1001, 100.0), std::vector<double>(1000, 20.0));
    auto const answer = call_tester(record);
    EXPECT_FALSE(answer.success);
    EXPECT_THAT(answer.messages("ERROR"), ElementsAre("Too many points"));
    EXPECT_EQ(record_of(answer), record);
}

TEST(TestImpliedVolatilityComputation, AnEmptyDocumentIsAnEmptyGrid) {
    auto const answer = call_route("/TestImpliedVolatilityComputation", Json::objectValue);
    EXPECT_TRUE(answer.success) << answer.log();
}

}  // namespace
