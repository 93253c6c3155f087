// "/GetPrice" by finite differences, end to end: against closed formulas, quadrature, a binomial
// tree, published values and the simulation.

#include <unistd.h>

#include <cmath>
#include <fstream>
#include <functional>
#include <numbers>

#include "api/share_market.hpp"
#include "core/modeling/black_scholes_pde_helper.hpp"
#include "core/pricing/options.hpp"
#include "core/toolbox/date.hpp"
#include "core/toolbox/pde/solver.hpp"
#include "support/precompiled.hpp"
#include "ximAPI/dsl.hpp"

namespace {

using namespace ximAPI::testing;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

constexpr double c_volatility = 0.2;

// Dates and formulas -------------------------------------------------------------------------

/// The day that many days after 3 May 2021.
std::string day(int days) {
    ximCORE::Toolbox::Date date(2021, 5, 3);
    for (int k = 0; k < days; ++k) ++date;
    char text[32];
    std::ignore = date.c_format(text, "%Y-%m-%d");
    return text;
}

double cumulative(double x) {
    return 0.5 * std::erfc(-x / std::sqrt(2.0));
}

/// Black and Scholes without rates; `deviation`: volatility times the root of the maturity.
double call_formula(double spot, double strike, double deviation) {
    double const d = std::log(spot / strike) / deviation + 0.5 * deviation;
    return spot * cumulative(d) - strike * cumulative(d - deviation);
}
double put_formula(double spot, double strike, double deviation) {
    return call_formula(spot, strike, deviation) - spot + strike;
}
double digital_formula(double spot, double strike, double deviation) {
    return cumulative(std::log(spot / strike) / deviation - 0.5 * deviation);
}

/// The mean of f(spot at a date), by Simpson's rule over ten deviations.
double mean_over_spot(double spot, double deviation, std::function<double(double)> const& f) {
    constexpr int intervals = 20000;
    double const step = 20.0 / intervals;
    double sum = 0.0;
    for (int k = 0; k <= intervals; ++k) {
        double const z = -10.0 + step * k;
        double const weight = k == 0 || k == intervals ? 1.0 : (k % 2 == 1 ? 4.0 : 2.0);
        double const level = spot * std::exp(deviation * (z - 0.5 * deviation));
        sum += weight * std::exp(-0.5 * z * z) * f(level);
    }
    return sum * step / 3.0 / std::sqrt(2.0 * std::numbers::pi);
}

/// A binomial tree without rates (J. Cox, S. Ross and M. Rubinstein, 1979): the holder may take
/// exercise(spot, step) at each step where it is not negative.
double binomial_tree(double spot, double deviation, int steps,
                     std::function<double(double, int)> const& exercise) {
    double const up = std::exp(deviation / std::sqrt(static_cast<double>(steps)));
    double const probability = (1.0 - 1.0 / up) / (up - 1.0 / up);
    std::vector<double> values(static_cast<std::size_t>(steps) + 1, 0.0);
    for (int step = steps; step >= 0; --step)
        for (int k = 0; k <= step; ++k) {
            auto const at = static_cast<std::size_t>(k);
            if (step < steps)
                values[at] = probability * values[at + 1] + (1.0 - probability) * values[at];
            values[at] = std::max(values[at], exercise(spot * std::pow(up, 2 * k - step), step));
        }
    return values[0];
}

// Requests -----------------------------------------------------------------------------------

double mean_of(RouteAnswer const& answer) {
    EXPECT_TRUE(answer.success) << answer.log();
    EXPECT_THAT(answer.messages("ERROR"), IsEmpty());
    return answer.price()["Mean"].asDouble();
}

double price(Json::Value const& request, double spot = 100.0, double volatility = c_volatility) {
    return mean_of(call_route("/GetPrice", ShareMarket(spot, volatility).on(request)));
}

std::string text(double x) {
    std::ostringstream stream;
    stream.precision(6);
    stream << x;
    return stream.str();
}

std::string call_script(double strike, std::string const& date) {
    return "Pay(Max(Spot(AAA," + date + ")-" + text(strike) + ",0)," + date + ",USD)";
}
std::string put_script(double strike, std::string const& date) {
    return "Pay(Max(" + text(strike) + "-Spot(AAA," + date + "),0)," + date + ",USD)";
}
std::string digital_script(double strike, std::string const& date) {
    return "If(Spot(AAA," + date + ")>" + text(strike) + ")(Pay(1," + date + ",USD),End())";
}

/// Fully implicit with extrapolation, which damps what a jump or a kink throws up.
Json::Value damped(Json::Value request) {
    request["PricerConfiguration"]["FiniteDifferenceExplicitRate"] = 0;
    request["PricerConfiguration"]["FiniteDifferenceUseRichardsonRombergExtrapolation"] = true;
    return request;
}

/// A contract file, removed at the end of the test.
class EncodedFile {
 public:
    EncodedFile() = default;
    explicit EncodedFile(std::string const& encoded) { std::ofstream(m_path) << encoded; }
    ~EncodedFile() { std::remove(m_path.c_str()); }
    EncodedFile(EncodedFile const&) = delete;
    EncodedFile& operator=(EncodedFile const&) = delete;

    [[nodiscard]] std::string const& c_get_path() const { return m_path; }
    [[nodiscard]] Json::Value request() const {
        Json::Value request = finite_difference_request("");
        request["ContractConfiguration"]["Kind"] = "FILE";
        request["ContractConfiguration"]["File"] = m_path;
        return request;
    }

 private:
    std::string m_path = ::testing::TempDir() + "xim_encoded_" + std::to_string(::getpid());
};

constexpr int c_maturities[] = {7, 30, 91, 365, 730, 1825};
constexpr double c_strikes[] = {50.0, 75.0, 90.0, 100.0, 110.0, 125.0, 150.0};

/// Crank-Nicolson does not damp a kink at the money within a few steps.
bool is_damped_by_crank_nicolson(int days, double strike) {
    return days >= 30 || strike != 100.0;
}

// European contracts -------------------------------------------------------------------------

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

// Early exercise -----------------------------------------------------------------------------

/// The right to put at a strike that falls with the rate, every `step` days: a put in a market with
/// rates, with all numbers carried to their values today.
std::string exercise_script(double strike, double rate, int step, int count) {
    std::string script;
    std::string closing;
    for (int k = 1; k <= count; ++k) {
        std::string const put =
            put_script(strike * std::exp(-rate * k * step / 365.0), day(k * step));
        if (k == count)
            script += put;
        else
            script += "Either(Putable," + day(k * step) + ")(" + put + ",", closing += ")";
    }
    return script + closing;
}

double exercise_tree(double spot, double strike, double rate, double volatility, int step,
                     int count, int tree_steps_per_period) {
    double const deviation = volatility * std::sqrt(step * count / 365.0);
    return binomial_tree(
        spot, deviation, count * tree_steps_per_period, [=](double level, int tree_step) {
            if (tree_step == 0 || tree_step % tree_steps_per_period != 0) return -1.0;
            double const years = step * (tree_step / tree_steps_per_period) / 365.0;
            return strike * std::exp(-rate * years) - level;
        });
}

TEST(FiniteDifference, AnAmericanPutAgreesWithABinomialTree) {
    for (double const spot : {36.0, 40.0, 44.0}) {
        double const exact = exercise_tree(spot, 40.0, 0.06, 0.2, 1, 365, 6);
        EXPECT_NEAR(price(finite_difference_request(exercise_script(40.0, 0.06, 1, 365)), spot),
                    exact, 2e-3)
            << spot;
        EXPECT_GT(exact, put_formula(spot, 40.0 * std::exp(-0.06), 0.2) + 0.05);
    }
}

TEST(FiniteDifference, BermudanPutsAgreeWithABinomialTree) {
    for (double const volatility : {0.2, 0.4})
        for (int const step : {30, 91})
            EXPECT_NEAR(
                price(finite_difference_request(exercise_script(40.0, 0.06, step, 364 / step)),
                      38.0, volatility),
                exercise_tree(38.0, 40.0, 0.06, volatility, step, 364 / step, 600), 2e-3)
                << volatility << ", every " << step << " days";
}

TEST(FiniteDifference, AChoiceOfTheIssuerIsTheSmallerAlternative) {
    // 100 after one year, or later the share capped at 120: by the issuer's or the holder's choice
    double const deviation = c_volatility;
    auto const later = [&](double level) { return level - call_formula(level, 120.0, deviation); };
    double const callable = mean_over_spot(
        100.0, deviation, [&](double level) { return std::min(100.0, later(level)); });
    double const putable = mean_over_spot(
        100.0, deviation, [&](double level) { return std::max(100.0, later(level)); });
    for (int const owner : {0, 1}) {
        using namespace ximDSL;
        auto const share = Spot("AAA", day(730), "");
        auto const note = Either(day(365), owner)(
            {Pay(Cst(100.0F), day(365), "USD"), Pay(Min(share, 120.0F), day(730), "USD")});
        EncodedFile const file;
        ASSERT_TRUE(Save(note, file.c_get_path()));
        EXPECT_NEAR(price(file.request()), owner == 0 ? callable : putable, 1e-2);
    }
}

TEST(FiniteDifference, AnEncodedChoiceIsPricedAsTheOneOfTheScript) {
    // a putable choice between 5 and the share less 100, on one day
    EncodedFile const file("0 3 0 3\nc 0 2 1," + day(365) + ",1,2\nc 1 5 0," + day(365) +
                           ",USD,1\nc 2 5 1," + day(365) + ",USD,1\na 0 27 5\na 1 26 2,100\n" +
                           "a 2 28 AAA," + day(365) + ",\n");
    EXPECT_NEAR(price(file.request()), 5.0 + call_formula(100.0, 105.0, c_volatility), 1e-2);
}

TEST(FiniteDifference, AChoiceBehindUsIsMadeNow) {
    // the choice stays open when its date has passed: it is between the values of today
    Json::Value request = finite_difference_request(
        "Either(Putable,2021-03-01)(Pay(5,2022-05-03,USD),Pay(7,2022-05-03,USD))");
    EXPECT_NEAR(price(request), 7.0, 1e-6);
}

// Published values ---------------------------------------------------------------------------

Json::Value const& published_rows() {
    static Json::Value const rows = [] {
        std::ifstream file(std::string(XIM_ROOT) +
                           "/tests/api/entries/finite_difference_table.json");
        return parse_json({std::istreambuf_iterator<char>(file), {}});
    }();
    return rows;
}

class PublishedValue : public ::testing::TestWithParam<Json::ArrayIndex> {};

TEST_P(PublishedValue, IsMatched) {
    Json::Value const& row = published_rows()[GetParam()];
    ShareMarket const market(row["spot"].asDouble(), row["volatility"].asDouble());
    Json::Value request = finite_difference_request(row["script"].asString(), 1000);
    double const exact = row["exact"].asDouble();
    std::string const greek = row["greek"].asString();
    if (!greek.empty()) {
        Json::Value& pricer = request["PricerConfiguration"];
        pricer["WithGreeks"] = pricer["Compute" + greek] = true;
        pricer[greek + "SpotBump"] = 100;
        pricer[greek + "Direction"] = "CENTER";
    }
    auto const answer = call_route("/GetPrice", market.on(request));
    ASSERT_TRUE(answer.success) << answer.log();
    Json::Value const& value = greek.empty() ? answer.price() : answer.greek(greek.c_str());
    double const tolerance =
        greek.empty() ? row["tolerance"].asDouble() : row["relative_tolerance"].asDouble() * exact;
    EXPECT_NEAR(value["Mean"].asDouble(), exact, tolerance)
        << row["what"].asString() << ", " << row["params"].asString() << " ("
        << row["source"].asString() << ")";
}

INSTANTIATE_TEST_SUITE_P(FiniteDifference, PublishedValue,
                         ::testing::Range(Json::ArrayIndex{0}, published_rows().size()),
                         [](auto const& parameter) {
                             std::string name = published_rows()[parameter.param]["id"].asString();
                             for (char& c : name)
                                 if (std::isalnum(static_cast<unsigned char>(c)) == 0) c = '_';
                             return name;
                         });

// Against the simulation ---------------------------------------------------------------------

void expect_engines_agree(std::string const& script, char const* smoothing, int grid_size = 1000) {
    ShareMarket const market(100.0, 0.25);
    Json::Value request = finite_difference_request(script, grid_size);
    Json::Value& pricer = request["PricerConfiguration"];
    pricer["SmoothingType"] = smoothing;
    pricer["MonteCarloTrials"] = 100000;
    double const grid = mean_of(call_route("/GetPrice", market.on(request)));
    pricer["Method"] = "MONTE_CARLO";
    auto const simulated = call_route("/GetPrice", market.on(request));
    ASSERT_TRUE(simulated.success) << simulated.log();
    double const error = simulated.price()["Stddev"].asDouble();
    EXPECT_NEAR(grid, simulated.price()["Mean"].asDouble(), 3.0 * error) << smoothing;
    EXPECT_GT(error, 0.0);
}

TEST(FiniteDifference, DiscreteBarriersAgreeWithTheSimulationSmoothedOrNot) {
    std::string script;
    std::string closing;
    for (int k = 1; k <= 6; ++k) {
        script += "If(Spot(AAA," + day(60 * k) + ")<85,2,1)(Pay(3," + day(60 * k) + ",USD),";
        closing += ")";
    }
    script += call_script(100, day(360)) + closing;
    for (char const* smoothing : {"NONE", "SYMETRIC"}) expect_engines_agree(script, smoothing);
}

TEST(FiniteDifference, OneSidedRampsAgreeWithTheSimulation) {
    std::string const spot = "Spot(AAA," + day(365) + ")";
    for (char const* smoothing : {"NONE", "LOWER", "SYMETRIC", "UPPER"}) {
        expect_engines_agree(
            "If(" + spot + ">105,4,6)(Pay(20," + day(365) + ",USD),Pay(5," + day(365) + ",USD))",
            smoothing);
        expect_engines_agree(
            "If(" + spot + ">130||" + spot + "<80,3,3)(Pay(20," + day(365) + ",USD),End())",
            smoothing);
        expect_engines_agree(
            "If(" + spot + ">90&&" + spot + "<110,3,3)(Pay(20," + day(365) + ",USD),End())",
            smoothing);
    }
}

TEST(FiniteDifference, ACliquetOnTheInitialLevelAgreesWithTheSimulation) {
    std::string script;
    for (int k = 1; k <= 4; ++k)
        script += (k == 1 ? "" : "&") + ("Pay(100*Min(Max(Spot(AAA," + day(91 * k) +
                                         ")/100-1,-0.02),0.05)," + day(91 * k) + ",USD)");
    for (char const* smoothing : {"NONE", "SYMETRIC"}) expect_engines_agree(script, smoothing);
}

TEST(FiniteDifference, AnAutocallAgreesWithTheSimulationSmoothedOrNot) {
    std::string script;
    std::string closing;
    for (int k = 1; k <= 5; ++k) {
        script += "If(Spot(AAA," + day(120 * k) + ")/100>1,0.01,0.01)(Pay(" + text(100 + 4 * k) +
                  "," + day(120 * k + 5) + ",USD),";
        closing += ")";
    }
    script += "If(Spot(AAA," + day(600) + ")/100>0.7,0.02,0.02)(Pay(100," + day(605) +
              ",USD),Pay(Spot(AAA," + day(600) + ")," + day(605) + ",USD))" + closing;
    for (char const* smoothing : {"NONE", "SYMETRIC"}) expect_engines_agree(script, smoothing);
}

// Several dates, references ------------------------------------------------------------------

TEST(FiniteDifference, SeveralOpenDatesReadTheEarliestAfterOneWarning) {
    std::string const script =
        "Pay(Max(Spot(AAA," + day(200) + ")-Spot(AAA," + day(100) + "),0)," + day(200) + ",USD)";
    Json::Value request = finite_difference_request(script);
    request["PricerConfiguration"]["WithGreeks"] = true;
    request["PricerConfiguration"]["ComputeDelta"] = true;
    auto const answer = call_route("/GetPrice", ShareMarket(100.0, 0.2).on(request));
    EXPECT_NEAR(mean_of(answer), 0.0, 1e-9);  // both are the share on the first of the two days
    EXPECT_THAT(answer.messages("WARNING"),
                ElementsAre("Finite difference reads several dates at " + day(100)));
}

TEST(FiniteDifference, AFixingBeforeTheConditionAboveItIsWarnedOf) {
    std::string const script = "If(Spot(AAA," + day(200) + ")>100)(Pay(Spot(AAA," + day(100) +
                               ")," + day(300) + ",USD),End())";
    auto const answer =
        call_route("/GetPrice", ShareMarket(100.0, 0.2).on(finite_difference_request(script)));
    EXPECT_THAT(answer.messages("WARNING"),
                ElementsAre("Finite difference reads several dates at " + day(100)));
}

TEST(FiniteDifference, KnownNamesAreNumbersAndOpenOnesAreRefused) {
    std::string const past = "Set(x,Spot(AAA,2021-05-03))&Pay(Max(Spot(AAA," + day(365) +
                             ")-AmountRef(x),0)," + day(365) + ",USD)";
    EXPECT_NEAR(price(finite_difference_request(past)), call_formula(100.0, 100.0, 0.2), 1e-2);
    std::string const open =
        "Set(x,Spot(AAA," + day(10) + "))&Pay(AmountRef(x)," + day(365) + ",USD)";
    auto const answer =
        call_route("/GetPrice", ShareMarket(100.0, 0.2).on(finite_difference_request(open)));
    EXPECT_FALSE(answer.success);
    EXPECT_THAT(answer.messages("ERROR"),
                ElementsAre("Contract non eligible to finite difference method"
                            "Because it contains a reference"));
}

// Refusals -----------------------------------------------------------------------------------

std::vector<std::string> refusal(Json::Value const& request, std::string const& more = "") {
    auto const answer = call_route("/GetPrice", ShareMarket(100.0, 0.2, more).on(request));
    EXPECT_FALSE(answer.success);
    EXPECT_TRUE(answer.document["Pricer"].isNull()) << "no results";
    return answer.messages("ERROR");
}

TEST(FiniteDifference, TwoUnderlyingsAreRefused) {
    std::string const other =
        R"(,{"type": "ShareUnderlying", "ticker": "BBB", "name": "B", "currency": "USD",)"
        R"( "fixing_calendar": "dummy", "day_counter": "act_365"},)"
        R"({"type": "Spot", "ticker": "BBB", "date": "2021-05-03", "bid": 50, "ask": 50},)"
        R"({"type": "BlackScholesVolatility", "ticker": "BBB", "date": "2021-05-03", "value": 20})";
    EXPECT_THAT(refusal(finite_difference_request("Pay(Max(Spot(AAA,2022-05-03)," +
                                                  std::string("Spot(BBB,2022-05-03)),2022-05-03,"
                                                              "USD)")),
                        other),
                ElementsAre("Contract non eligible to finite difference method"
                            "Because it contains multiple underlyings"));
}

TEST(FiniteDifference, AModelWithoutAHelperIsRefused) {
    for (char const* model : {"DEFAULT_MODEL", "BLACK_SCHOLES_TERM_STRUCTURE_MODEL",
                              "DUPIRE_LOCAL_VOLATILITY_MODEL", "FREE_MODEL"}) {
        Json::Value request = finite_difference_request(call_script(100, day(30)));
        request["ModelConfiguration"]["Name"] = model;
        EXPECT_THAT(refusal(request), Contains("Model uneligible for finite difference")) << model;
    }
}

TEST(FiniteDifference, ALevelOutsideItsDomainIsRefused) {
    for (double const level : {0.0, 1.0, 100.0, -0.5, 120.0}) {
        Json::Value request = finite_difference_request(call_script(100, day(30)));
        request["ModelConfiguration"]["BlackScholesFiniteDifferenceConfidenceLevel"] = level;
        EXPECT_THAT(refusal(request),
                    ElementsAre("Invalid BlackScholesFiniteDifferenceConfidenceLevel"))
            << level;
    }
}

TEST(FiniteDifference, ALevelAboveOneIsAPercentage) {
    Json::Value request = finite_difference_request(call_script(100, day(365)));
    double const fraction = price(request);
    request["ModelConfiguration"]["BlackScholesFiniteDifferenceConfidenceLevel"] = 99.99;
    EXPECT_NEAR(price(request), fraction, 1e-4);
}

TEST(FiniteDifference, FewerThanThreePointsAreRefused) {
    for (int const size : {2, 1, 0, -5, 1'000'001}) {
        EXPECT_THAT(refusal(finite_difference_request(call_script(100, day(30)), size)),
                    ElementsAre("Invalid BlackScholesFiniteDifferenceGridSize"))
            << size;
    }
    EXPECT_GT(price(finite_difference_request(call_script(100, day(30)), 3)), 0.0);
}

TEST(FiniteDifference, ATimeStepBelowADayIsRefused) {
    for (int const step : {0, -1}) {
        Json::Value request = finite_difference_request(call_script(100, day(30)));
        request["PricerConfiguration"]["FiniteDifferenceTimeStep"] = step;
        EXPECT_THAT(refusal(request), ElementsAre("Invalid FiniteDifferenceTimeStep"));
    }
}

TEST(FiniteDifference, ItsSettingsDoNotMatterToTheSimulation) {
    Json::Value request = price_request(call_script(100, day(30)));
    request["ModelConfiguration"]["BlackScholesFiniteDifferenceGridSize"] = 0;
    request["ModelConfiguration"]["BlackScholesFiniteDifferenceConfidenceLevel"] = 0;
    request["PricerConfiguration"]["FiniteDifferenceTimeStep"] = 0;
    EXPECT_GT(price(request), 0.0);
}

}  // namespace
