// Autocalls against a closed formula and against a small simulation of their term sheet.

#include <random>
#include <vector>

#include "api/products/product_call.hpp"
#include "support/precompiled.hpp"

namespace {

using namespace ximAPI::testing;

/// Three yearly observations of the two shares; spreads 0, the last date with a coupon too.
Json::Value note_terms() {
    return parse_json(R"({
        "Basket": [{"Ticker": "AAA", "Weight": 50}, {"Ticker": "BBB", "Weight": 50}],
        "BasketKind": "WORST_OF", "StrikeKind": "ASIAN", "ForwardStartDate": "2021-05-03",
        "BonusCouponWithMemory": true,
        "FinalPayment": [{"X": 0, "Y": 0}, {"X": 0.6, "Y": 60}, {"X": 0.6, "Y": 100}, {"X": 1, "Y": 100}],
        "Schedule": [
         {"ObservationDate": "2022-05-03", "PaymentDate": "2022-05-05", "PaymentCurrency": "USD", "Notional": 100,
          "BarrierKind": "KNOCK_OUT", "AutocallBarrier": 105, "PhoenixCoupon": 108, "CouponBarrier": 80, "BonusCoupon": 4},
         {"ObservationDate": "2023-05-03", "PaymentDate": "2023-05-05", "PaymentCurrency": "USD", "Notional": 100,
          "BarrierKind": "KNOCK_OUT", "AutocallBarrier": 100, "PhoenixCoupon": 110, "CouponBarrier": 80, "BonusCoupon": 5},
         {"ObservationDate": "2024-05-02", "PaymentDate": "2024-05-06", "PaymentCurrency": "USD", "Notional": 100,
          "BarrierKind": "KNOCK_OUT", "AutocallBarrier": 95, "PhoenixCoupon": 112, "CouponBarrier": 80, "BonusCoupon": 6}]})");
}

/// A path of three yearly performances of both shares, and what the note pays on it, as its term
/// sheet says.
using Performances = std::array<std::array<double, 2>, 3>;

double basket_of(std::array<double, 2> const& p, std::string const& kind) {
    if (kind == "WORST_OF") return std::min(p[0], p[1]);
    if (kind == "BEST_OF") return std::max(p[0], p[1]);
    return 0.5 * p[0] + 0.5 * p[1];
}

double final_payment(double p) {
    if (p < 0.6) return 100.0 * p;
    return 100.0;
}

double pay_note(Performances const& path, std::string const& kind, bool with_memory,
                bool is_knock_in) {
    constexpr std::array<double, 3> calls{1.05, 1.0, 0.95}, redemptions{108.0, 110.0, 112.0},
        coupons{4.0, 5.0, 6.0};
    double paid = 0.0;
    double missed = 0.0;
    for (std::size_t date = 0; date < 3; ++date) {
        double const p = basket_of(path[date], kind);
        auto const crosses = [&](double barrier) {
            return is_knock_in ? p < barrier : p >= barrier;
        };
        if (crosses(calls[date])) return paid + redemptions[date];
        if (crosses(0.8)) {
            paid += coupons[date] + (with_memory ? missed : 0.0);
        } else {
            missed += coupons[date];
        }
    }
    return paid + final_payment(basket_of(path[2], kind));
}

struct Estimate {
    double mean;
    double error;
};

/// Another generator, seed and construction of the paths than the library's.
Estimate simulate_note(std::string const& kind, bool with_memory, bool is_knock_in) {
    constexpr int trials = 200000;
    std::mt19937 generator(20210503);
    std::normal_distribution<double> normal;
    double sum = 0.0, square = 0.0;
    for (int trial = 0; trial < trials; ++trial) {
        Performances path{};
        std::array<double, 2> level{1.0, 1.0};
        for (auto& performances : path) {
            double const z = normal(generator);
            double const w = c_correlation * z +
                             std::sqrt(1.0 - c_correlation * c_correlation) * normal(generator);
            level[0] *= std::exp(c_aaa.volatility * z - 0.5 * c_aaa.volatility * c_aaa.volatility);
            level[1] *= std::exp(c_bbb.volatility * w - 0.5 * c_bbb.volatility * c_bbb.volatility);
            performances = level;
        }
        double const paid = pay_note(path, kind, with_memory, is_knock_in);
        sum += paid;
        square += paid * paid;
    }
    double const mean = sum / trials;
    return {.mean = mean, .error = std::sqrt((square / trials - mean * mean) / trials)};
}

void expect_note(Json::Value const& terms, Estimate const& reference) {
    ShareMarket const market(c_aaa.spot, c_aaa.volatility, c_second_share);
    auto const answer =
        call_route("/GetPrice", market.on(product_request("AUTOCALL", terms, 40000)));
    ASSERT_TRUE(answer.success) << answer.log();
    EXPECT_NEAR(mean_of(answer), reference.mean,
                3.0 * std::hypot(error_of(answer), reference.error));
}

TEST(AutocallPrice, AgreesWithASimulationOfItsTermSheet) {
    for (char const* kind : {"WORST_OF", "BEST_OF", "BASKET"}) {
        SCOPED_TRACE(kind);
        Json::Value terms = note_terms();
        terms["BasketKind"] = kind;
        expect_note(terms, simulate_note(kind, true, false));
    }
}

TEST(AutocallPrice, WithoutMemoryMissedCouponsAreLost) {
    Json::Value terms = note_terms();
    terms["BonusCouponWithMemory"] = false;
    expect_note(terms, simulate_note("WORST_OF", false, false));
}

TEST(AutocallPrice, AKnockInRedeemsBelowItsBarrier) {
    Json::Value terms = note_terms();
    for (Json::Value& statement : terms["Schedule"]) statement["BarrierKind"] = "KNOCK_IN";
    expect_note(terms, simulate_note("WORST_OF", true, true));
}

constexpr char const* c_one_date = R"({
    "Basket": [{"Ticker": "AAA", "Weight": 100}], "BasketKind": "BASKET", "ForwardStartDate": "2021-05-03",
    "FinalPayment": [{"X": 0, "Y": 0}, {"X": 1, "Y": 100}],
    "Schedule": [{"ObservationDate": "2022-05-03", "PaymentDate": "2022-05-03", "PaymentCurrency": "USD",
                  "Notional": 1000, "BarrierKind": "KNOCK_OUT", "AutocallBarrier": 110, "PhoenixCoupon": 12,
                  "CouponBarrier": 90, "BonusCoupon": 3}]})";

// The redemption and the coupon scale with the notional; the final payment is cash.
TEST(AutocallPrice, OfOneDateIsASumOfDigitalsAndAShare) {
    double const above = chance_above(c_aaa, 110.0);
    double const between = chance_above(c_aaa, 90.0) - above;
    double const share = c_aaa.spot - gain_above(c_aaa, 0.0, 110.0, 1.0);
    expect_price(price_product("AUTOCALL", c_one_date), 120.0 * above + 30.0 * between + share);
}

// The chance to redeem becomes a ramp from 0 to 1 over the spreads, which are in percent: the
// difference of two calls on the performance.
TEST(AutocallPrice, SpreadsTurnTheRedemptionIntoACallSpread) {
    auto const answer = [](char const* smoothing) {
        Json::Value terms = parse_json(c_one_date);
        terms["FinalPayment"] = Json::Value(Json::arrayValue);
        terms["Schedule"][0]["BonusCoupon"] = 0;
        terms["Schedule"][0]["AutocallBarrierSpreadLeft"] = 5;
        terms["Schedule"][0]["AutocallBarrierSpreadRight"] = 8;
        Json::Value request = product_request("AUTOCALL", terms);
        request["PricerConfiguration"]["SmoothingType"] = smoothing;
        ShareMarket const market(c_aaa.spot, c_aaa.volatility);
        return call_route("/GetPrice", market.on(request));
    };
    auto const ramp = [](double from, double to) {
        return 120.0 * (call_price(c_aaa, from) - call_price(c_aaa, to)) / (to - from);
    };
    expect_price(answer("NONE"), 120.0 * chance_above(c_aaa, 110.0));
    expect_price(answer("LOWER"), ramp(110.0, 118.0));
    expect_price(answer("SYMETRIC"), ramp(105.0, 118.0));
    expect_price(answer("UPPER"), ramp(105.0, 110.0));
}

}  // namespace
