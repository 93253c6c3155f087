// "/GetPrice" by finite differences against closed formulas: prices, settings, sensitivities.

#include <cmath>
#include <numbers>

#include "api/finite_difference_case.hpp"
#include "core/modeling/black_scholes_pde_helper.hpp"
#include "core/toolbox/pde/solver.hpp"
#include "support/precompiled.hpp"

namespace {

using namespace ximAPI::testing;
using ::testing::Contains;
using ::testing::HasSubstr;

constexpr int c_maturities[] = {7, 30, 91, 365, 730, 1825};
constexpr double c_strikes[] = {50.0, 75.0, 90.0, 100.0, 110.0, 125.0, 150.0};

/// Crank-Nicolson does not damp a kink at the money within a few steps.
bool is_damped_by_crank_nicolson(int days, double strike) {
    return days >= 30 || strike != 100.0;
}

TEST(FiniteDifference, CallsAndPutsAgreeWithTheFormulaFromAWeekToFiveYears) {
    for (int const days : c_maturities)
        for (double const strike : c_strikes) {
            if (!is_damped_by_crank_nicolson(days, strike)) continue;
            double const deviation = c_volatility * std::sqrt(days / 365.0);
            EXPECT_NEAR(price(finite_difference_request(call_script(strike, day(days)))),
                        call_formula(100.0, strike, deviation), 1e-2)
                << days << " days, strike " << strike;
            EXPECT_NEAR(price(finite_difference_request(put_script(strike, day(days)))),
                        put_formula(100.0, strike, deviation), 1e-2)
                << days << " days, strike " << strike;
        }
}

TEST(FiniteDifference, DampedCallsAgreeWithTheFormulaAtAllStrikesAndMaturities) {
    for (int const days : c_maturities)
        for (double const strike : c_strikes)
            EXPECT_NEAR(price(damped(finite_difference_request(call_script(strike, day(days))))),
                        call_formula(100.0, strike, c_volatility * std::sqrt(days / 365.0)), 1e-2)
                << days << " days, strike " << strike;
}

TEST(FiniteDifference, DampedDigitalsAgreeWithTheFormulaAtAllMaturities) {
    for (int const days : {7, 91, 365, 1825})
        for (double const strike : {75.0, 90.0, 100.0, 110.0})
            EXPECT_NEAR(
                price(damped(finite_difference_request(digital_script(strike, day(days)), 1000))),
                digital_formula(100.0, strike, c_volatility * std::sqrt(days / 365.0)), 2e-3)
                << days << " days, strike " << strike;
}

TEST(FiniteDifference, DigitalsAgreeWithTheFormulaWithinHalfACell) {
    // the jump may lie anywhere between two points: half a cell times the density of the log-price
    constexpr double half_cell = 0.5 * 2.0 * 3.8906 / 399.0 * 0.39895;
    for (int const days : {365, 730, 1825})
        for (double const strike : {75.0, 90.0, 100.0, 110.0, 125.0})
            EXPECT_NEAR(price(finite_difference_request(digital_script(strike, day(days)))),
                        digital_formula(100.0, strike, c_volatility * std::sqrt(days / 365.0)),
                        half_cell + 1e-4)
                << days << " days, strike " << strike;
}

TEST(FiniteDifference, AConstantIsItselfToTheLastDigit) {
    EXPECT_FLOAT_EQ(static_cast<float>(price(finite_difference_request("Pay(42,2024-05-03,USD)"))),
                    42.0F);
}

TEST(FiniteDifference, AContractThatPaysNothingIsWorthNothing) {
    EXPECT_EQ(price(finite_difference_request("Pay(0,2024-05-03,USD)")), 0.0);
    EXPECT_EQ(price(finite_difference_request("Set(x,Spot(AAA,2021-09-01))")), 0.0);
}

TEST(FiniteDifference, AVolatilityFromTheSurfaceServesToo) {
    // the demonstration data: a flat surface of 20 %
    Json::Value request = finite_difference_request(
        "Pay(100*Max(Spot(^GSPC,2022-05-03)/Spot(^GSPC,2021-05-03)-1,0),2022-05-03,USD)");
    request["ModelConfiguration"]["BlackScholesCalibrationKind"] = "AT_THE_MONEY_FORWARD";
    request["ModelConfiguration"]["BlackScholesVolatilityCalibrationTenor"]["Shift"] = "+1y";
    request["ModelConfiguration"]["BlackScholesVolatilityCalibrationTenor"]["Calendar"] = "DUMMY";
    EXPECT_NEAR(mean_of(call_route("/GetPrice", request)), call_formula(100.0, 100.0, 0.2), 1e-2);
}

TEST(FiniteDifference, ThePriceOfASumIsTheSumOfThePrices) {
    std::string const call = call_script(100, day(200));
    std::string const put = put_script(95, day(300));
    double const both = price(finite_difference_request(call + "&" + put));
    EXPECT_NEAR(both,
                call_formula(100.0, 100.0, c_volatility * std::sqrt(200 / 365.0)) +
                    put_formula(100.0, 95.0, c_volatility * std::sqrt(300 / 365.0)),
                2e-2);
}

TEST(FiniteDifference, AWholePortfolioOfManyPaymentsIsASum) {
    std::string script;
    for (int k = 0; k < 3000; ++k) script += (k == 0 ? "" : "&") + ("Pay(1," + day(10) + ",USD)");
    EXPECT_NEAR(price(finite_difference_request(script, 20)), 3000.0, 1e-9);
}

TEST(FiniteDifference, PurchasesScaleWhatTheyHold) {
    EXPECT_NEAR(
        price(finite_difference_request("Sell(2021-05-03,3," + call_script(100, day(365)) + ")")),
        -3.0 * call_formula(100.0, 100.0, c_volatility), 1e-2);
}

TEST(FiniteDifference, AmountsChooseAndSortPointByPoint) {
    std::string const spot = "Spot(AAA," + day(365) + ")";
    double const call = call_formula(100.0, 110.0, c_volatility);
    EXPECT_NEAR(price(finite_difference_request("Pay(If(" + spot + ">110)(" + spot + "-110,0)," +
                                                day(365) + ",USD)")),
                call, 2e-2);
    // the larger of zero and the share less 110, as the second of the two in their order
    EncodedFile const file("0 4 0 1\na 0 32 1,1,2\na 1 27 0\na 2 26 3,110\na 3 28 AAA," + day(365) +
                           ",\nc 0 5 0," + day(365) + ",USD,1\n");
    EXPECT_NEAR(price(file.request()), call, 1e-2);
}

TEST(FiniteDifference, APaymentInAnotherCurrencyIsConvertedOnTheGrid) {
    auto const rate = std::string(
        R"(,{"type": "Currency", "ticker": "EUR", "name": "euro", "calendar": "dummy",)"
        R"( "day_counter": "act_365", "forward_rate_affinity_factor": 0.5},)"
        R"({"type": "ExchangeRateUnderlying", "ticker": "USD-EUR", "name": "rate",)"
        R"( "base_currency": "USD", "currency": "EUR", "fixing_calendar": "dummy",)"
        R"( "day_counter": "act_365"},)"
        R"({"type": "Spot", "ticker": "USD-EUR", "date": "2021-05-03", "bid": 0.8, "ask": 0.8},)"
        R"({"type": "BlackScholesVolatility", "ticker": "USD-EUR", "date": "2021-05-03",)"
        R"( "value": 10})");
    Json::Value request = finite_difference_request("Pay(100,2022-05-03,USD)");
    request["ContractConfiguration"]["PremiumCurrency"] = "EUR";
    EXPECT_NEAR(mean_of(call_route("/GetPrice", ShareMarket(100.0, 0.2, rate).on(request))), 80.0,
                1e-2);
}

// Boundaries, rates, extrapolation -----------------------------------------------------------

TEST(FiniteDifference, BothBoundaryConditionsAgreeInTheMiddle) {
    Json::Value request = finite_difference_request(call_script(105, day(365)));
    double const dirichlet = price(request);
    request["PricerConfiguration"]["FiniteDifferenceBoundaryCondition"] = "NEUMANN";
    EXPECT_NEAR(price(request), dirichlet, 5e-3);
    EXPECT_EQ(ximCORE::Toolbox::XTPDE::s_options.boundary_condition,
              ximCORE::Toolbox::XTPDE::BoundaryCondition::NEUMANN);
}

TEST(FiniteDifference, AFullyExplicitSchemeAgreesWhereItIsStable) {
    Json::Value request = finite_difference_request(call_script(105, day(365)), 50);
    double const crank_nicolson = price(request);
    request["PricerConfiguration"]["FiniteDifferenceExplicitRate"] = 100;
    EXPECT_NEAR(price(request), crank_nicolson, 2e-2);
}

TEST(FiniteDifference, ExtrapolationCancelsTheFirstOrderInTime) {
    double const exact = call_formula(100.0, 100.0, c_volatility);
    Json::Value request = finite_difference_request(call_script(100, day(365)), 1000);
    request["PricerConfiguration"]["FiniteDifferenceExplicitRate"] = 0;
    request["PricerConfiguration"]["FiniteDifferenceTimeStep"] = 5;
    double const plain = std::abs(price(request) - exact);
    request["PricerConfiguration"]["FiniteDifferenceUseRichardsonRombergExtrapolation"] = true;
    double const extrapolated = std::abs(price(request) - exact);
    EXPECT_LT(extrapolated, 0.1 * plain);
    EXPECT_EQ(ximCORE::Modeling::PDEHelper::s_time_step, 5);
}

TEST(FiniteDifference, AnExtrapolationThatFailsRestoresTheTimeStep) {
    Json::Value request = damped(finite_difference_request(call_script(100, day(800))));
    request["PricerConfiguration"]["FiniteDifferenceTimeStep"] = 128;  // twice is a step of 0 days
    auto const answer = call_route("/GetPrice", ShareMarket(100.0, 0.2).on(request));
    EXPECT_FALSE(answer.success);
    EXPECT_THAT(answer.messages("ERROR"), Contains(HasSubstr("shifted with +256d")));
    EXPECT_EQ(ximCORE::Modeling::PDEHelper::s_time_step, 128);
}

TEST(FiniteDifference, TheSettingsReachTheCore) {
    Json::Value request = finite_difference_request(call_script(100, day(30)), 77);
    request["ModelConfiguration"]["BlackScholesFiniteDifferenceConfidenceLevel"] = 0.875;
    request["PricerConfiguration"]["FiniteDifferenceExplicitRate"] = 25;
    request["PricerConfiguration"]["FiniteDifferenceTimeStep"] = 3;
    std::ignore = price(request);
    using Helper = ximCORE::Modeling::BlackScholesPDEHelper;
    EXPECT_EQ(Helper::s_grid_size, 77);
    EXPECT_EQ(Helper::s_quantile_level, 0.875F);
    EXPECT_EQ(Helper::s_time_step, 3);
    EXPECT_DOUBLE_EQ(ximCORE::Toolbox::XTPDE::s_options.explicit_rate, 0.25);
}

// Sensitivities ------------------------------------------------------------------------------

TEST(FiniteDifference, SensitivitiesAgreeWithTheFormula) {
    Json::Value request = finite_difference_request(call_script(105, day(365)), 1000);
    Json::Value& pricer = request["PricerConfiguration"];
    pricer["WithGreeks"] = true;
    for (char const* greek : {"Delta", "Gamma", "Vega", "Volga", "Vanna"})
        pricer[std::string("Compute") + greek] = true;
    for (char const* bump : {"DeltaSpotBump", "GammaSpotBump", "VegaVolatilityBump",
                             "VolgaVolatilityBump", "VannaSpotBump", "VannaVolatilityBump"})
        pricer[bump] = 100;
    auto const answer = call_route("/GetPrice", ShareMarket(100.0, 0.2).on(request));
    ASSERT_TRUE(answer.success) << answer.log();
    double const d1 = std::log(100.0 / 105.0) / 0.2 + 0.1;
    double const d2 = d1 - 0.2;
    double const density = std::exp(-0.5 * d1 * d1) / std::sqrt(2.0 * std::numbers::pi);
    auto const mean = [&](char const* greek) { return answer.greek(greek)["Mean"].asDouble(); };
    EXPECT_NEAR(mean("Delta"), 100.0 * cumulative(d1), 0.05);
    EXPECT_NEAR(mean("Gamma"), 100.0 * density / 0.2, 1.0);
    EXPECT_NEAR(mean("Vega"), 100.0 * density, 0.1);
    EXPECT_NEAR(mean("Volga"), 100.0 * density * d1 * d2 / 0.2, 1.0);
    EXPECT_NEAR(mean("Vanna"), -100.0 * density * d2 / 0.2, 1.0);
    EXPECT_TRUE(answer.document["Pricer"]["Pricer"]["XGamma"].empty());
}

TEST(FiniteDifference, OneSidedSensitivitiesBracketTheCentredOne) {
    Json::Value request = finite_difference_request(call_script(100, day(365)));
    Json::Value& pricer = request["PricerConfiguration"];
    pricer["WithGreeks"] = pricer["ComputeDelta"] = true;
    pricer["DeltaSpotBump"] = 100;
    std::vector<double> deltas;
    for (char const* direction : {"LEFT", "CENTER", "RIGHT"}) {
        pricer["DeltaDirection"] = direction;
        auto const answer = call_route("/GetPrice", ShareMarket(100.0, 0.2).on(request));
        ASSERT_TRUE(answer.success) << answer.log();
        deltas.push_back(answer.greek("Delta")["Mean"].asDouble());
    }
    // a left difference is price less up-price with its sign: delta below, at and above the centre
    EXPECT_NEAR(deltas[1], 53.98, 0.05);
    EXPECT_NEAR(deltas[2] - deltas[1], 0.5 * 0.01 * 198.5, 0.1);
}

TEST(FiniteDifference, TheReferenceOfADownVegaReadsTheDirectionOfDelta) {
    Json::Value request = finite_difference_request(call_script(100, day(365)));
    Json::Value& pricer = request["PricerConfiguration"];
    pricer["WithGreeks"] = pricer["ComputeVega"] = true;
    pricer["VegaVolatilityBump"] = 100;
    pricer["VegaDirection"] = "LEFT";
    std::vector<double> vegas;
    for (char const* direction : {"LEFT", "CENTER"}) {
        pricer["DeltaDirection"] = direction;
        auto const answer = call_route("/GetPrice", ShareMarket(100.0, 0.2).on(request));
        ASSERT_TRUE(answer.success) << answer.log();
        vegas.push_back(answer.greek("Vega")["Mean"].asDouble());
    }
    EXPECT_NEAR(vegas[0], 39.7, 0.3);
    EXPECT_NEAR(vegas[1], -100.0 * call_formula(100.0, 100.0, 0.19), 0.1);  // no reference at all
}

}  // namespace
