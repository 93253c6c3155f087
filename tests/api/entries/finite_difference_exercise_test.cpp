// Early exercise by finite differences, against a binomial tree and quadrature, and all published
// values that one underlying reaches.

#include <cmath>
#include <fstream>
#include <functional>
#include <numbers>

#include "api/finite_difference_case.hpp"
#include "support/precompiled.hpp"
#include "ximAPI/dsl.hpp"

namespace {

using namespace ximAPI::testing;

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

}  // namespace
