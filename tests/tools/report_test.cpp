// What the analysis commands make of an answer: tables and charts of answers written by hand.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <json/reader.h>

#include <sstream>
#include <string>

#include "tools/calibration.hpp"
#include "tools/details.hpp"
#include "tools/diffusion.hpp"
#include "tools/replication.hpp"
#include "tools/smile.hpp"

namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using xim::Mark;

Json::Value parse(std::string const& text) {
    Json::Value value;
    std::istringstream stream(text);
    stream >> value;
    return value;
}

std::string estimate(double mean, double width = 0.0) {
    std::ostringstream text;
    text << R"({"Mean": )" << mean << R"(, "Lower": )" << mean - width << R"(, "Upper": )"
         << mean + width << R"(, "Stddev": 0.125})";
    return text.str();
}

std::string written(auto const& report, auto const&... words) {
    std::ostringstream out;
    report(words..., out);
    return out.str();
}

Json::Value replication() {
    return parse(R"({"Pricer": {"StaticReplication1D": {
        "Replication": [{"Spot": 50, "Replication": 10, "Payoff": 10},
                        {"Spot": 100, "Replication": 20.5, "Payoff": 20},
                        {"Spot": 150, "Replication": 30, "Payoff": 30}],
        "Vanillas": [{"MaturityDate": "2022-05-03", "Price": 4, "PayoffKind": "PUT_TYPE", "Quantity": -0.5,
                      "Strike": 75},
                     {"MaturityDate": "2022-05-03", "Price": 6, "PayoffKind": "CALL_TYPE", "Quantity": 2,
                      "Strike": 125}],
        "ZeroCoupon": [{"Price": 90, "MaturityDate": "2022-05-03", "Value": 0.9, "Quantity": 100}]}}})");
}

TEST(Replication, FillsTheGridThatARequestLeavesOut) {
    Json::Value request = parse(R"({"PricerConfiguration": {"ClosedFormMoneynessGridSize": 7}})");
    xim::prepare_replication(request);
    Json::Value const& pricer = request["PricerConfiguration"];
    EXPECT_EQ(pricer["ClosedFormMoneynessGridSize"].asInt(), 7);
    EXPECT_EQ(pricer["ClosedFormMoneynessGridLowerBound"].asDouble(), 0.5);
    EXPECT_EQ(pricer["ClosedFormMoneynessGridUpperBound"].asDouble(), 1.5);
}

TEST(Replication, ListsItsItems) {
    std::string const out = written(xim::report_replication, replication());
    EXPECT_THAT(out, HasSubstr("  zero coupon               100     90  2022-05-03\n"));
    EXPECT_THAT(out, HasSubstr("  put              75      -0.5      4  2022-05-03\n"));
    EXPECT_THAT(out, HasSubstr("  call            125         2      6  2022-05-03\n"));
    EXPECT_THAT(out, HasSubstr("Sum of prices  100\n"));
    EXPECT_THAT(out, HasSubstr("3 levels, 50 to 150\n"));
    EXPECT_THAT(out, HasSubstr("Worst distance 0.5 at a level of the grid, 100\n"));
}

TEST(Replication, LeavesOutAZeroCouponThatIsNotThere) {
    Json::Value answer = replication();
    answer["Pricer"]["StaticReplication1D"]["ZeroCoupon"][0]["MaturityDate"] = "";
    EXPECT_THAT(written(xim::report_replication, answer), Not(HasSubstr("zero coupon")));
}

TEST(Replication, DrawsPayoffAndQuantities) {
    auto const charts = xim::replication_charts(replication());
    ASSERT_EQ(charts.size(), 2U);
    auto const& curves = charts[0].curves;
    ASSERT_EQ(curves.size(), 2U);
    EXPECT_THAT(curves[0].x, ElementsAre(50, 100, 150));
    EXPECT_THAT(curves[0].y, ElementsAre(10, 20, 30)) << "the payoff";
    EXPECT_THAT(curves[1].y, ElementsAre(10, 20.5, 30)) << "the replication";
    EXPECT_THAT(charts[1].curves[0].x, ElementsAre(50, 150)) << "as wide as the payoff";
    EXPECT_THAT(charts[1].curves[1].x, ElementsAre(75)) << "the puts";
    EXPECT_THAT(charts[1].curves[2].y, ElementsAre(2)) << "the calls";
}

Json::Value details() {
    return parse(R"({"ContractConfiguration": {"PremiumCurrency": "EUR"}, "Pricer": {"MCDetails": {
        "Decomposition": [
          {"Date": "2022-05-05", "Price": )" +
                 estimate(60.0, 1.0) + R"(, "ProbaExists": )" + estimate(55.0) +
                 R"(, "ProbaPositive": )" + estimate(54.0) + R"(, "ProbaIsKilled": )" +
                 estimate(53.0) + R"(, "ProbaHasBeenKilled": )" + estimate(52.0) + R"(},
          {"Date": "2023-05-05", "Price": )" +
                 estimate(40.0, 1.0) + R"(, "ProbaExists": )" + estimate(45.0) +
                 R"(, "ProbaPositive": )" + estimate(44.0) + R"(, "ProbaIsKilled": )" +
                 estimate(43.0) + R"(, "ProbaHasBeenKilled": )" + estimate(100.0) + R"(}],
        "ForwardFixings": [{"FixingDate": "2022-05-03", "Currency": "EUR", "Ticker": "ABC", "Value": )" +
                 estimate(101.0, 2.0) + R"(}],
        "Duration": )" +
                 estimate(1.5) + R"(,
        "Convergence": [{"Trials": 0, "Result": )" +
                 estimate(150.0, 80.0) + R"(}, {"Trials": 100, "Result": )" + estimate(99.0, 2.0) +
                 R"(}],
        "Barriers": [{"EventDate": "2022-05-03", "EventScript": "Spot(ABC,2022-05-03)>1", "ProbaIn": )" +
                 estimate(0.55, 0.01) + R"(}]}}})");
}

TEST(Details, AsksForAConvergenceThatARequestLeavesOut) {
    Json::Value request(Json::objectValue);
    xim::prepare_details(request);
    EXPECT_EQ(request["Pricer"]["MCDetails"]["ConvergenceSize"].asInt(), 200);
    request["Pricer"]["MCDetails"]["ConvergenceSize"] = 3;
    xim::prepare_details(request);
    EXPECT_EQ(request["Pricer"]["MCDetails"]["ConvergenceSize"].asInt(), 3);
}

TEST(Details, KnowsAnEmptyResult) {
    EXPECT_TRUE(xim::has_details(details()));
    EXPECT_FALSE(xim::has_details(parse(R"({"Pricer": {"MCDetails": {"Decomposition": null}}})")));
    EXPECT_FALSE(xim::has_details(parse(
        R"({"Pricer": {"MCDetails": {"Decomposition": [{"Date": "", "Price": {"Mean": null}}]}}})")));
}

TEST(Details, ListsPaymentsConditionsFixingsAndConvergence) {
    std::string const out = written(xim::report_details, details());
    EXPECT_THAT(out, HasSubstr("Price            100 EUR\n"));
    EXPECT_THAT(out, HasSubstr("Duration         1.5 years\n"));
    EXPECT_THAT(out, HasSubstr("  2022-05-05     60     59     61      55          54      53  "
                               "           52\n"));
    EXPECT_THAT(out, HasSubstr("  1  2022-05-03       55     54     56  Spot(ABC,2022-05-03)>1\n"))
        << "a fraction in percent";
    EXPECT_THAT(out, HasSubstr("  2022-05-03  ABC         EUR        101     99    103\n"));
    EXPECT_THAT(out, HasSubstr("    101     99     97    101           0.125\n"))
        << "the point of index 100 stands on 101 paths";
}

TEST(Details, DrawsTheBandWithoutItsWideBeginning) {
    Json::Value answer = details();
    Json::Value& convergence = answer["Pricer"]["MCDetails"]["Convergence"];
    for (int i = 2; i < 40; ++i) {
        convergence.append(parse(R"({"Trials": )" + std::to_string(100 * i) + R"(, "Result": )" +
                                 estimate(100.0, 1.0) + "}"));
    }
    auto const charts = xim::details_charts(answer);
    ASSERT_EQ(charts.size(), 3U);
    auto const& band = charts[0].curves[0];
    EXPECT_EQ(band.mark, Mark::band);
    EXPECT_EQ(band.lower[0], 70.0);
    EXPECT_EQ(band.upper[0], 230.0);
    ASSERT_TRUE(charts[0].y_range);
    EXPECT_GT(charts[0].y_range->first, 98.0);
    EXPECT_LT(charts[0].y_range->second, 102.0);
}

TEST(Details, DrawsProbabilitiesOverTime) {
    auto const charts = xim::details_charts(details());
    auto const& conditions = charts[1].curves[0];
    EXPECT_TRUE(charts[1].has_dates);
    EXPECT_THAT(conditions.x, ElementsAre(xim::seconds_of("2022-05-03")));
    EXPECT_THAT(conditions.y, ElementsAre(testing::DoubleEq(55.0)));
    EXPECT_THAT(conditions.upper, ElementsAre(testing::DoubleEq(56.0)));
    EXPECT_THAT(conditions.labels, ElementsAre("1"));
    EXPECT_THAT(charts[2].curves[0].y, ElementsAre(55, 45)) << "paid";
    EXPECT_THAT(charts[2].curves[2].y, ElementsAre(52, 100)) << "ended until";
}

Json::Value flat_volatilities() {
    return parse(R"({"ContractConfiguration": {"Date": "2021-05-03"}, "ModelConfiguration":
        {"BlackScholesModel": {"Volatility": [{"Ticker": "A", "Volatility": 20},
                                              {"Ticker": "B", "Volatility": 30}]}}})");
}

Json::Value term_structures() {
    return parse(R"({"ModelConfiguration": {"BlackScholesTermStructureModel": {"Volatility": [
        {"Ticker": "A", "Volatility": [{"Tenor": "2022-05-03", "Volatility": 21},
                                       {"Tenor": "2023-05-03", "Volatility": 22}]},
        {"Ticker": "B", "Volatility": [{"Tenor": "2022-05-03", "Volatility": 31},
                                       {"Tenor": "2023-05-03", "Volatility": 32}]}]}}})");
}

TEST(Calibration, ListsFlatAndTermStructureVolatilities) {
    std::string const out =
        written(xim::report_calibration, flat_volatilities(), term_structures());
    EXPECT_THAT(out, HasSubstr("  A                   20\n  B                   30\n"));
    EXPECT_THAT(out, HasSubstr("  Until        A   B\n  2022-05-03  21  31\n"));
    EXPECT_THAT(out, HasSubstr("  2023-05-03  22  32\n"));
}

TEST(Calibration, HoldsAVolatilitySinceTheDateBefore) {
    auto const charts = xim::calibration_charts(flat_volatilities(), term_structures());
    ASSERT_EQ(charts.size(), 1U);
    ASSERT_EQ(charts[0].curves.size(), 4U);
    auto const& steps = charts[0].curves[0];
    EXPECT_EQ(steps.mark, Mark::steps_back);
    EXPECT_THAT(steps.x, ElementsAre(xim::seconds_of("2021-05-03"), xim::seconds_of("2022-05-03"),
                                     xim::seconds_of("2023-05-03")));
    EXPECT_THAT(steps.y, ElementsAre(21, 21, 22));
    EXPECT_THAT(charts[0].curves[2].y, ElementsAre(20, 20));
    EXPECT_EQ(charts[0].curves[2].colour, steps.colour) << "one colour for an underlying";
}

TEST(Calibration, ListsNothingForAContractWithoutUnderlying) {
    Json::Value const nothing(Json::objectValue);
    EXPECT_THAT(written(xim::report_calibration, nothing, nothing), HasSubstr("Underlying"));
    EXPECT_FALSE(xim::make_plot(xim::calibration_charts(nothing, nothing), "a.svg"));
}

Json::Value repricing() {
    return parse(R"({"Model": {"Repricing": {"Ticker": "A", "MaturityDate": "2022-05-03",
        "PriceKind": "VOLATILITY_PCT", "SpaceKind": "LOG_FORWARD_MONEYNESS", "Slice": [
        {"Space": 0.1, "Market": 20, "Error": -0.25, "Model": )" +
                 estimate(20.5, 0.25) + R"(},
        {"Space": -0.1, "Market": 21, "Error": 0, "Model": )" +
                 estimate(21.0, 0.25) + "}]}}}");
}

TEST(Smile, KnowsItsRoute) {
    EXPECT_EQ(xim::find_smile_route(repricing()), "/GetModelImpliedVolatility");
    EXPECT_EQ(xim::find_smile_route(
                  parse(R"({"ModelConfiguration": {"HestonStochasticVolatilityModel": {}}})")),
              "/GetHestonImpliedVolatility");
    EXPECT_EQ(xim::find_smile_route(parse(R"({"Model": 1, "ModelConfiguration": {}})")),
              std::nullopt);
}

TEST(Smile, ListsMarketAndModel) {
    std::string const out =
        written(xim::report_smile, repricing(), std::string("/GetModelImpliedVolatility"));
    EXPECT_THAT(out, HasSubstr("A until 2022-05-03, volatility, %\n"));
    EXPECT_THAT(out, HasSubstr("log forward moneyness  Market  Model  Lower  Upper  Error\n"));
    EXPECT_THAT(out, HasSubstr("0.1      20   20.5  20.25  20.75  -0.25\n"));
}

TEST(Smile, SaysHowToReadAnotherMaturityThanAYear) {
    Json::Value answer = repricing();
    std::string const route = "/GetModelImpliedVolatility";
    answer["ModelConfiguration"]["CalibrationDate"] = "2021-05-03";
    EXPECT_THAT(written(xim::report_smile, answer, route), Not(HasSubstr("not 1")));
    answer["ModelConfiguration"]["CalibrationDate"] = "2020-05-03";
    EXPECT_THAT(written(xim::report_smile, answer, route), HasSubstr("The maturity is 2 years"));
    Json::Value const heston = parse(
        R"({"ModelConfiguration": {"HestonStochasticVolatilityModel": {"MaturityTime": 0.5}}})");
    EXPECT_THAT(written(xim::report_smile, heston, std::string("/GetHestonImpliedVolatility")),
                HasSubstr("The maturity is 0.5 years"));
}

TEST(Smile, DrawsFromLeftToRight) {
    auto const charts = xim::smile_charts(repricing(), "/GetModelImpliedVolatility");
    ASSERT_EQ(charts.size(), 1U);
    EXPECT_EQ(charts[0].x_axis, "log forward moneyness");
    EXPECT_THAT(charts[0].curves[0].x, ElementsAre(-0.1, 0.1));
    EXPECT_THAT(charts[0].curves[0].y, ElementsAre(21, 20)) << "the market";
    EXPECT_THAT(charts[0].curves[1].upper, ElementsAre(21.25, 20.75)) << "the model";
}

TEST(Smile, ReplacesTheStrikes) {
    Json::Value request = repricing();
    xim::set_spaces(request, "/GetModelImpliedVolatility", {-0.5, 0.5, 3});
    Json::Value const& slice = request["Model"]["Repricing"]["Slice"];
    ASSERT_EQ(slice.size(), 3U);
    EXPECT_EQ(slice[0]["Space"].asDouble(), -0.5);
    EXPECT_EQ(slice[1]["Space"].asDouble(), 0.0);
    EXPECT_EQ(slice[2]["Space"].asDouble(), 0.5);
    EXPECT_FALSE(slice[0].isMember("Market"));
    xim::set_spaces(request, "/GetModelImpliedVolatility", {-0.5, 0.5, 1});
    EXPECT_EQ(slice[0]["Space"].asDouble(), -0.5);
    EXPECT_EQ(slice.size(), 1U);
}

Json::Value path(double first, double second) {
    std::ostringstream text;
    text << R"({"Model": {"Diffusion": {"Series": [
        {"Date": "2021-05-03", "Epoch": 1620000000, "Value": )"
         << first << R"(}, {"Date": "2022-05-03", "Epoch": 1651536000, "Value": )" << second
         << "}]}}}";
    return parse(text.str());
}

xim::Fan fan_of_three() {
    xim::Fan fan;
    xim::add_path(fan, 4, path(1.0, 0.9));
    xim::add_path(fan, 5, path(1.0, 1.5));
    xim::add_path(fan, 6, path(1.0, 0.6));
    return fan;
}

TEST(Diffusion, ListsASinglePath) {
    xim::Fan fan;
    xim::add_path(fan, 4, path(1.0, 0.9));
    EXPECT_EQ(written(xim::report_fan, fan),
              "  Date        Path 4\n  2021-05-03       1\n  2022-05-03     0.9\n");
}

TEST(Diffusion, SumsUpSeveralPaths) {
    std::string const out = written(xim::report_fan, fan_of_three());
    EXPECT_THAT(out, HasSubstr("Paths 4 to 6\n"));
    EXPECT_THAT(out, HasSubstr("  2022-05-03     0.9     0.6     1      1.5\n"));
}

TEST(Diffusion, DrawsEachPathAndTheirMean) {
    auto const charts = xim::fan_charts(fan_of_three());
    ASSERT_EQ(charts.size(), 1U);
    ASSERT_EQ(charts[0].curves.size(), 4U);
    EXPECT_THAT(charts[0].curves[1].y, ElementsAre(1.0, 1.5));
    EXPECT_THAT(charts[0].curves[3].y, ElementsAre(1.0, testing::DoubleEq(1.0)));
    EXPECT_EQ(charts[0].curves[3].name, "mean");
}

TEST(Diffusion, FindsTheFirstPath) {
    EXPECT_EQ(xim::find_trajectory(parse("{}")), std::nullopt);
    EXPECT_EQ(xim::find_trajectory(parse(R"({"Model": {"Diffusion": {}}})")), 0);
    EXPECT_EQ(xim::find_trajectory(parse(R"({"Model": {"Diffusion": {"Trajectory": 7}}})")), 7);
}

TEST(Diffusion, TakesItsSettingsFromAPrice) {
    Json::Value request = parse(R"({"ModelConfiguration": {"CalibrationDate": "2021-05-03"},
        "Model": {"Diffusion": {"Currency": "USD"}}})");
    EXPECT_EQ(xim::make_settings_request(request), std::nullopt);
    request["PricerConfiguration"]["MonteCarloSeed"] = 5;
    request["PricerConfiguration"]["WithGreeks"] = true;
    auto const settings = xim::make_settings_request(request);
    ASSERT_TRUE(settings);
    EXPECT_EQ((*settings)["PricerConfiguration"]["MonteCarloSeed"].asInt(), 5);
    EXPECT_FALSE((*settings)["PricerConfiguration"]["WithGreeks"].asBool());
    EXPECT_EQ((*settings)["ContractConfiguration"]["Script"].asString(), "Pay(1,2199-01-01,USD)");
    EXPECT_EQ((*settings)["ContractConfiguration"]["Date"].asString(), "2021-05-03");
}

}  // namespace
