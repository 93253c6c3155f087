// Options on one fixing, on an average and on a basket, against closed formulas.

#include <vector>

#include "api/products/product_call.hpp"
#include "support/precompiled.hpp"

namespace {

using namespace ximAPI::testing;

std::string option_terms(char const* payoff, double strike) {
    return std::string(R"({"PayoffKind": ")") + payoff + R"(", "Strike": )" +
           std::to_string(strike) + "}";
}

TEST(EuropeanOptionPrice, AgreesWithTheFormula) {
    for (double const strike : {80.0, 100.0, 130.0}) {
        SCOPED_TRACE(strike);
        expect_price(price_product("EUROPEAN_OPTION_EXAMPLE", option_terms("CALL_TYPE", strike)),
                     call_price(c_aaa, strike));
        expect_price(price_product("EUROPEAN_OPTION_EXAMPLE", option_terms("PUT_TYPE", strike)),
                     put_price(c_aaa, strike));
    }
}

TEST(DigitalOptionPrice, IsTheChanceToEndAboveTheStrike) {
    expect_price(price_product("DIGITAL_OPTION_EXAMPLE", option_terms("CALL_TYPE", 110.0)),
                 chance_above(c_aaa, 110.0));
}

TEST(DigitalOptionPrice, ThePutPaysAsTheCallDoes) {
    double const call =
        mean_of(price_product("DIGITAL_OPTION_EXAMPLE", option_terms("CALL_TYPE", 110.0)));
    double const put =
        mean_of(price_product("DIGITAL_OPTION_EXAMPLE", option_terms("PUT_TYPE", 110.0)));
    EXPECT_EQ(call, put);
}

/// A product on one fixing is a sum of calls and puts.
struct Portfolio {
    std::string kind;
    std::string terms;
    double exact;
};

TEST(SpreadPrices, AgreeWithTheSumOfTheirOptions) {
    auto const call = [](double strike) { return call_price(c_aaa, strike); };
    auto const put = [](double strike) { return put_price(c_aaa, strike); };
    // clang-format off
    std::vector<Portfolio> const portfolios{
        {"SPREAD_OPTION_EXAMPLE", R"({"PayoffKind": "CALL_TYPE", "StrikeLeft": 90, "StrikeRight": 110})", call(90) + call(110)},
        {"SPREAD_OPTION_EXAMPLE", R"({"PayoffKind": "PUT_TYPE", "StrikeLeft": 90, "StrikeRight": 110})", put(90) + put(110)},
        {"BUTTERFLY_SPREAD_EXAMPLE", R"({"PayoffKind": "CALL_TYPE", "StrikeLeft": 80, "StrikeCenter": 100, "StrikeRight": 120})", call(80) - 2 * call(100) + call(120)},
        {"BUTTERFLY_SPREAD_EXAMPLE", R"({"PayoffKind": "PUT_TYPE", "StrikeLeft": 80, "StrikeCenter": 105, "StrikeRight": 120})", put(80) - 2 * put(105) + put(120)},
        {"CONDOR_SPREAD_EXAMPLE", R"({"PayoffKind": "CALL_TYPE", "StrikeExtremeLeft": 70, "StrikeLeft": 90, "StrikeRight": 110, "StrikeExtremeRight": 130})", call(70) - call(90) - call(110) + call(130)},
        {"CONDOR_SPREAD_EXAMPLE", R"({"PayoffKind": "PUT_TYPE", "StrikeExtremeLeft": 70, "StrikeLeft": 85, "StrikeRight": 110, "StrikeExtremeRight": 130})", put(70) - put(85) - put(110) + put(130)},
        {"RISK_REVERSAL_EXAMPLE", R"({"PutStrike": 90, "CallStrike": 110})", call(110) - put(90)},
        {"RISK_REVERSAL_EXAMPLE", R"({"PayoffKind": "PUT_TYPE", "PutStrike": 90, "CallStrike": 110})", call(110) - put(90)},
        {"STRANGLE_EXAMPLE", R"({"PutStrike": 90, "CallStrike": 110})", call(110) + put(90)},
        {"STRADDLE_EXAMPLE", R"({"Strike": 105})", call(105) + put(105)},
        {"REVERSE_CONVERTIBLE_EXAMPLE", R"({"Strike": 95, "Coupon": 108})", 108 - 108.0 / 95 * put(95)},
    };
    // clang-format on
    for (auto const& portfolio : portfolios) {
        SCOPED_TRACE(portfolio.kind + " " + portfolio.terms);
        expect_price(price_product(portfolio.kind, portfolio.terms), portfolio.exact);
    }
}

TEST(BarrierReverseConvertiblePrice, IsTheCouponAboveTheBarrierAndSharesBelow) {
    // below the barrier the holder is left with coupon / strike shares
    double const shares_below = c_aaa.spot - gain_above(c_aaa, 0.0, 80.0, 1.0);
    expect_price(price_product("BARRIER_REVERSE_CONVERTIBLE_EXAMPLE",
                               R"({"Strike": 100, "Coupon": 106, "BarrierLevel": 80})"),
                 106.0 * chance_above(c_aaa, 80.0) + 1.06 * shares_below);
}

/// The average of fixings at the end of each quarter.
struct AsianReference {
    std::vector<double> years{92.0 / 365.0, 184.0 / 365.0, 276.0 / 365.0, 1.0};
    static constexpr char const* c_schedule =
        R"("Schedule": ["2021-08-03", "2021-11-03", "2022-02-03", "2022-05-03"])";
    double sigma = c_aaa.volatility;

    [[nodiscard]] double count() const { return static_cast<double>(years.size()); }
    [[nodiscard]] double log_mean(double t) const {
        return std::log(c_aaa.spot) - 0.5 * sigma * sigma * t;
    }
    /// Mean of the logarithm of the geometric average, and its covariance with that of a fixing.
    [[nodiscard]] double mean() const {
        double sum = 0.0;
        for (double const t : years) sum += log_mean(t);
        return sum / count();
    }
    [[nodiscard]] double covariance(double t) const {
        double sum = 0.0;
        for (double const s : years) sum += sigma * sigma * std::min(s, t);
        return sum / count();
    }
    [[nodiscard]] double variance() const {
        double sum = 0.0;
        for (double const t : years) sum += covariance(t);
        return sum / count();
    }
    /// The geometric average is lognormal.
    [[nodiscard]] Asset geometric() const {
        return {.spot = std::exp(mean() + 0.5 * variance()), .volatility = std::sqrt(variance())};
    }
    /// E[f(x)] over the standardised logarithm x of the geometric average.
    static double expectation(std::function<double(double)> const& f) {
        return integrate([&](double x) { return f(x) * normal_density(x); }, -9.0, 9.0, 4000);
    }
    /// The arithmetic average, and its standard deviation, given x.
    [[nodiscard]] double average_given(double x) const {
        double sum = 0.0;
        for (double const t : years) {
            double const b = covariance(t) / std::sqrt(variance());
            sum += std::exp(log_mean(t) + b * x + 0.5 * (sigma * sigma * t - b * b));
        }
        return sum / count();
    }
    [[nodiscard]] double deviation_given(double x) const {
        double square = 0.0;
        for (double const s : years) {
            for (double const t : years) {
                double const b = (covariance(s) + covariance(t)) / std::sqrt(variance());
                double const total = sigma * sigma * (s + t + 2.0 * std::min(s, t));
                square += std::exp(log_mean(s) + log_mean(t) + b * x + 0.5 * (total - b * b));
            }
        }
        double const mean_square = square / count() / count();
        return std::sqrt(std::max(0.0, mean_square - std::pow(average_given(x), 2.0)));
    }
};

TEST(AsianOptionPrice, LiesBetweenTheGeometricBounds) {
    AsianReference const reference;
    Asset const geometric = reference.geometric();
    for (double const strike : {90.0, 100.0, 110.0}) {
        auto const answer =
            price_product("ASIAN_OPTION_EXAMPLE",
                          R"({"PayoffKind": "CALL_TYPE", "PaymentDate": "2022-05-05", "Strike": )" +
                              std::to_string(strike) + "," + AsianReference::c_schedule + "}");
        double const price = mean_of(answer);
        double const lower = call_price(geometric, strike);
        EXPECT_GE(price + 3.0 * error_of(answer), lower);
        EXPECT_LE(price - 3.0 * error_of(answer), lower + c_aaa.spot - geometric.spot);
    }
}

// Rogers and Shi (1995), "The value of an Asian option": given the geometric average, the payoff of
// the mean is a lower bound, and half the mean deviation is more than what it leaves out.
TEST(AsianOptionPrice, LiesBetweenTheBoundsOfRogersAndShi) {
    AsianReference const reference;
    double const width =
        0.5 * AsianReference::expectation([&](double x) { return reference.deviation_given(x); });
    for (char const* payoff : {"CALL_TYPE", "PUT_TYPE"}) {
        double const sign = payoff[0] == 'C' ? 1.0 : -1.0;
        double const lower = AsianReference::expectation(
            [&](double x) { return std::max(0.0, sign * (reference.average_given(x) - 102.0)); });
        auto const answer = price_product("ASIAN_OPTION_EXAMPLE",
                                          std::string(R"({"PayoffKind": ")") + payoff +
                                              R"(", "PaymentDate": "2022-05-05", "Strike": 102,)" +
                                              AsianReference::c_schedule + "}");
        double const price = mean_of(answer);
        EXPECT_GE(price + 3.0 * error_of(answer), lower);
        EXPECT_LE(price - 3.0 * error_of(answer), lower + width);
        EXPECT_LT(width, 1.2);  // or the bounds would say nothing
    }
}

TEST(AsianOptionPrice, OfOneDateIsTheEuropeanOption) {
    expect_price(price_product("ASIAN_OPTION_EXAMPLE",
                               R"({"PayoffKind": "PUT_TYPE", "PaymentDate": "2022-05-03",)"
                               R"( "Strike": 95, "Schedule": ["2022-05-03"]})"),
                 put_price(c_aaa, 95.0));
}

constexpr char const* c_two_items =
    R"("Basket": [{"Ticker": "AAA", "Weight": 60}, {"Ticker": "BBB", "Weight": 40}], )";

RouteAnswer price_basket(std::string const& kind, std::string const& payoff, double strike) {
    return price_product("MULTI_ASSET_OPTION_EXAMPLE",
                         std::string("{") + c_two_items + R"("BasketKind": ")" + kind +
                             R"(", "PayoffKind": ")" + payoff + R"(", "Strike": )" +
                             std::to_string(strike) + "}",
                         40000);
}

TEST(MultiAssetOptionPrice, TheWorstOfAgreesWithStulz) {
    for (double const strike : {75.0, 90.0}) {
        double const call = call_on_minimum(c_aaa, c_bbb, c_correlation, strike);
        double const forward = call_on_minimum(c_aaa, c_bbb, c_correlation, 0.0);
        expect_price(price_basket("WORST_OF", "CALL_TYPE", strike), call);
        expect_price(price_basket("WORST_OF", "PUT_TYPE", strike), call - forward + strike);
    }
}

TEST(MultiAssetOptionPrice, TheBestOfAgreesWithStulz) {
    for (double const strike : {100.0, 120.0}) {
        double const call = call_on_maximum(c_aaa, c_bbb, c_correlation, strike);
        double const forward = call_on_maximum(c_aaa, c_bbb, c_correlation, 0.0);
        expect_price(price_basket("BEST_OF", "CALL_TYPE", strike), call);
        expect_price(price_basket("BEST_OF", "PUT_TYPE", strike), call - forward + strike);
    }
}

TEST(MultiAssetOptionPrice, ARainbowIsAWorstOf) {
    EXPECT_EQ(mean_of(price_basket("RAINBOW", "CALL_TYPE", 90.0)),
              mean_of(price_basket("WORST_OF", "CALL_TYPE", 90.0)));
}

TEST(MultiAssetOptionPrice, TheBasketAgreesWithAnIntegral) {
    double const call = call_on_sum(c_aaa, 0.6, c_bbb, 0.4, c_correlation, 100.0);
    double const forward = 0.6 * c_aaa.spot + 0.4 * c_bbb.spot;
    expect_price(price_basket("BASKET", "CALL_TYPE", 100.0), call);
    expect_price(price_basket("BASKET", "PUT_TYPE", 100.0), call - forward + 100.0);
}

// Without rates and dividends early exercise is worth nothing.
TEST(AmericanOptionPrice, ByFiniteDifferencesIsTheEuropeanOptionWithoutRates) {
    ShareMarket const market(c_aaa.spot, c_aaa.volatility);
    for (char const* payoff : {"CALL_TYPE", "PUT_TYPE"}) {
        Json::Value request = finite_difference_request("");
        Json::Value const product = product_request(
            "AMERICAN_OPTION_EXAMPLE",
            parse_json(
                R"({"Strike": 105, "Schedule": ["2021-11-03", "2022-02-03", "2022-05-03"]})"));
        request["ContractConfiguration"] = product["ContractConfiguration"];
        request["ContractConfiguration"]["PayoffKind"] = payoff;
        auto const answer = call_route("/GetPrice", market.on(request));
        ASSERT_TRUE(answer.success) << answer.log();
        double const exact = payoff[0] == 'C' ? call_price(c_aaa, 105.0) : put_price(c_aaa, 105.0);
        EXPECT_NEAR(mean_of(answer), exact, 0.01) << payoff;
    }
}

TEST(AmericanOptionPrice, BySimulationIsNothing) {
    auto const answer = price_product(
        "AMERICAN_OPTION_EXAMPLE",
        R"({"PayoffKind": "PUT_TYPE", "Strike": 105, "Schedule": ["2021-11-03", "2022-05-03"]})",
        100);
    EXPECT_EQ(mean_of(answer), 0.0);
}

TEST(VanillaPrice, IsTheSumOfItsParts) {
    // points (0.8, 0), (1, 0), (1, 5), (1.2, 15): a digital of 5 and 50 calls on the performance,
    // with the last slope going on and the first one flat
    char const* const terms = R"({"Cliquet": [
        {"CashName": "cash", "CashValue": 2, "DeltaValue": 0.5, "NotionalName": "n", "NotionalValue": 10,
         "Direction": "PAY", "FixingDate": "2022-05-03", "PaymentDate": "2022-05-05",
         "PaymentCurrency": "USD", "Ticker": "AAA",
         "Options": [{"Kind": "CALL_TYPE", "QuantityValue": 3, "StrikeName": "K", "StrikeValue": 110},
                     {"Kind": "PUT_TYPE", "QuantityValue": -1, "StrikeValue": 90}],
         "Payoffs": [{"StrikeDate": "2021-05-03", "QuantityValue": 0.7,
                      "Points": [{"X": 0.8, "Y": 0}, {"X": 1, "Y": 0}, {"X": 1, "Y": 5}, {"X": 1.2, "Y": 15}]}]},
        {"CashValue": 1, "NotionalValue": 20, "Direction": "REC", "FixingDate": "2022-05-03",
         "PaymentDate": "2022-05-05", "PaymentCurrency": "USD", "Ticker": "AAA"}]})";
    double const payoff =
        5.0 * chance_above(c_aaa, 100.0) + 50.0 / 100.0 * call_price(c_aaa, 100.0);
    double const first =
        10.0 + 0.5 * 100.0 + 3.0 * call_price(c_aaa, 110.0) - put_price(c_aaa, 90.0) + 0.7 * payoff;
    expect_price(price_product("VANILLA", terms), 2.0 * first - 20.0);
}

}  // namespace
