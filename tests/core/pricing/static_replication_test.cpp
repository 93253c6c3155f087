#include "core/pricing/static_replication.hpp"

#include <algorithm>
#include <functional>
#include <limits>
#include <numeric>
#include <random>

#include "core/data/surfaces/implied_volatility_surface.hpp"
#include "core/toolbox/formulas/black_scholes.hpp"
#include "support/pricing_test.hpp"

namespace ximCORE::Pricing {
namespace {

using Payoff = StaticReplication1D::Payoff;
using Results = StaticReplication1D::Results;
using Toolbox::Date;
using ximTest::IsNearRel;
using ximTest::LogsError;
using ximTest::LogsNothing;

constexpr double c_spot = 100.0;
constexpr double c_sigma = 0.2;  // of every surface without quotes

constexpr char const* c_refusal = "Contract non eligible to static replication method";

double normal_cdf(double x) {
    return 0.5 * std::erfc(-x / std::sqrt(2.0));
}

/// One share A at 100 in EUR, whose rates are -3 % with the sign of the curves.
class ReplicationTest : public PricingTest {
 protected:
    ReplicationTest() {
        add_currency("EUR");
        asset = add_share("A", c_spot, 0.25);
        set_grid(20, 0.4, 2.4);
    }
    ~ReplicationTest() override { ICFPricer::s_options = {}; }

    static void set_grid(std::uint64_t size, double lower, double upper) {
        ICFPricer::s_options = {
            .moneyness_grid_size = size, .grid_lower_bound = lower, .grid_upper_bound = upper};
    }

    bool replicate(Payoff const& payoff, Results& results, Date const& fixing,
                   Date const& payment) const {
        return StaticReplication1D::compute_carr_madan_price(today, fixing, payment, asset.get(),
                                                             payoff, results);
    }
    Results replicated(Payoff const& payoff) const {
        Results results;
        EXPECT_TRUE(replicate(payoff, results, one_year, one_year));
        return results;
    }

    double zero_coupon(Date const& date) const { return std::exp(-c_rate * years(date)); }
    double forward() const { return c_spot / zero_coupon(one_year); }
    double level(double moneyness) const { return moneyness * forward(); }

    /// The library's price of one option, by the ten-point rule.
    double ten_point(double strike, signed char omega) const {
        double const s = c_sigma * std::sqrt(years(one_year));
        return c_spot *
               Toolbox::BlackScholesCallPricer::price(std::log(strike / forward()), s, omega);
    }
    /// The textbook price of the same option.
    double black_scholes(double strike, signed char omega) const {
        double const s = c_sigma * std::sqrt(years(one_year));
        double const k = std::log(strike / forward());
        double const d1 = -k / s + 0.5 * s;
        return c_spot * omega *
               (normal_cdf(omega * d1) - std::exp(k) * normal_cdf(omega * (d1 - s)));
    }
    /// The worst error of the ten-point rule for this volatility; the largest seen on a scan of
    /// strikes from 1 % to 300 % of the forward.
    double ten_point_error() const {
        double worst = 0.0;
        for (double k = 0.01; k < 3.0; k += 0.001)
            worst = std::max(worst, std::abs(ten_point(level(k), 1) - black_scholes(level(k), 1)));
        return worst;
    }

    /// The Carr-Madan formula with ten-point prices, by Simpson's rule over strikes from 1 % to
    /// 800 % of the forward: what finer and finer grids tend to, for a payoff with these second
    /// derivatives.
    double limit(Payoff const& payoff, std::function<double(double)> const& second) const {
        auto const integrate = [&](double from, double to, signed char omega) {
            constexpr int c_steps = 4000;
            double const h = (to - from) / c_steps;
            double sum = 0.0;
            for (int i = 0; i <= c_steps; ++i) {
                double const strike = from + i * h;
                double const weight = i == 0 || i == c_steps ? 1.0 : i % 2 == 1 ? 4.0 : 2.0;
                sum += weight * second(strike) * ten_point(strike, omega);
            }
            return sum * h / 3.0;
        };
        return payoff(forward()) * zero_coupon(one_year) + integrate(level(0.01), forward(), -1) +
               integrate(forward(), level(8.0), 1);
    }

    std::shared_ptr<Data::Underlying> asset;
};

// The grid

TEST_F(ReplicationTest, WithTheStartSettingsTheWholeValueIsThePayoffAtZeroAsAZeroCoupon) {
    set_grid(0, 0.0, 0.0);
    auto const results = replicated([](double x) { return 7.0 + x; });
    ASSERT_EQ(results.spots.c_get_size(), 1U);
    EXPECT_EQ(results.spots.get(0), 0.0);
    EXPECT_EQ(results.payoffs.get(0), 7.0);
    EXPECT_DOUBLE_EQ(results.replication.get(0), 7.0);
    EXPECT_DOUBLE_EQ(results.zero_coupon.quantity, 7.0);
    EXPECT_EQ(results.zero_coupon.date, one_year);
    EXPECT_NEAR(results.price, 7.0 * zero_coupon(one_year), 1e-12);
    EXPECT_EQ(results.zero_coupon.price, results.price);
    EXPECT_EQ(results.puts.c_get_size(), 0U);
    EXPECT_EQ(results.calls.c_get_size(), 0U);
}

TEST_F(ReplicationTest, AGridOfOnePointLiesAtTheUpperBound) {
    set_grid(0, 0.5, 1.25);
    auto const results = replicated([](double x) { return x; });
    EXPECT_DOUBLE_EQ(results.spots.get(0), level(1.25));
    EXPECT_DOUBLE_EQ(results.zero_coupon.quantity, level(1.25));
}

TEST_F(ReplicationTest, LevelsAreEquallySpacedBetweenExactBounds) {
    for (std::uint64_t const size : {1U, 2U, 7U, 25U}) {
        set_grid(size, 0.35, 1.9);
        auto const results = replicated([](double) { return 1.0; });
        ASSERT_EQ(results.spots.c_get_size(), 2 * size + 1);
        EXPECT_NEAR(results.spots.get(0), level(0.35), 1e-12);
        EXPECT_EQ(results.spots.get(2 * size), results.spots.get(0) / 0.35 * 1.9);
        for (std::uint64_t i = 0; i <= 2 * size; ++i)
            EXPECT_NEAR(results.spots.get(i),
                        level(0.35 + 1.55 * static_cast<double>(i) / static_cast<double>(2 * size)),
                        1e-11);
    }
}

TEST_F(ReplicationTest, ThePayoffIsReadOnceAtEachLevelFromTheFirstToTheLast) {
    set_grid(3, 0.5, 1.5);
    std::vector<double> read;
    auto const results = replicated([&read](double x) {
        read.push_back(x);
        return x * x;
    });
    ASSERT_EQ(read.size(), 7U);
    for (std::uint64_t i = 0; i < 7; ++i) {
        EXPECT_EQ(read[i], results.spots.get(i));
        EXPECT_EQ(results.payoffs.get(i), read[i] * read[i]);
    }
}

TEST_F(ReplicationTest, PutsAreStruckUpToTheMiddleLevelAndCallsFromItOn) {
    set_grid(3, 0.5, 1.5);
    auto const results = replicated([](double x) { return x * x; });
    for (std::uint64_t i = 0; i < 3; ++i) {
        EXPECT_EQ(results.puts.get(i).strike, results.spots.get(i + 1));
        EXPECT_EQ(results.calls.get(i).strike, results.spots.get(i + 3));
        EXPECT_EQ(results.puts.get(i).date, one_year);
        EXPECT_EQ(results.calls.get(i).date, one_year);
    }
}

TEST_F(ReplicationTest, AnUpperBoundBelowTheLowerOneGivesAFallingGrid) {
    set_grid(6, 1.6, 0.4);
    auto const payoff = [](double x) { return std::max(x - 95.0, 0.0) + 0.01 * x * x; };
    auto const falling = replicated(payoff);
    for (std::uint64_t i = 0; i + 1 < 13; ++i)
        EXPECT_GT(falling.spots.get(i), falling.spots.get(i + 1));
    EXPECT_EQ(falling.spots.get(12) / 0.4, falling.spots.get(0) / 1.6);
    EXPECT_EQ(falling.puts.get(0).strike, falling.spots.get(1));
    EXPECT_GT(falling.puts.get(0).strike, falling.calls.get(5).strike);
    set_grid(6, 0.4, 1.6);
    EXPECT_THAT(falling.price, IsNearRel(replicated(payoff).price, 1e-9));
}

TEST_F(ReplicationTest, BoundsAreMultipliedWithTheForwardJustAsTheyStand) {
    set_grid(4, 50.0, 150.0);  // meant as percent: the grid lies at 50 to 150 times the forward
    auto const linear = replicated([](double x) { return 3.0 + 2.0 * x; });
    EXPECT_NEAR(linear.spots.get(0), 50.0 * forward(), 1e-9);
    EXPECT_NEAR(linear.spots.get(8), 150.0 * forward(), 1e-9);
    EXPECT_THAT(linear.price, IsNearRel(3.0 * zero_coupon(one_year) + 2.0 * c_spot, 1e-7));
    // far above its strike a call is linear, and so it is taken for a forward
    auto const call = replicated([](double x) { return std::max(x - 100.0, 0.0); });
    EXPECT_THAT(call.price, IsNearRel(c_spot - 100.0 * zero_coupon(one_year), 1e-4));
}

// Portfolios

TEST_F(ReplicationTest, ALinearPayoffIsHeldByTheOptionsAtTheMiddleAlone) {
    auto const results = replicated([](double x) { return 5.0 + 3.0 * x; });
    double const middle = results.spots.get(20);
    EXPECT_NEAR(results.zero_coupon.quantity, 5.0 + 3.0 * middle, 1e-8);
    for (std::uint64_t i = 0; i < 20; ++i) {
        EXPECT_NEAR(results.puts.get(i).quantity, i == 19 ? -3.0 : 0.0, 1e-8);
        EXPECT_NEAR(results.calls.get(i).quantity, i == 0 ? 3.0 : 0.0, 1e-8);
    }
}

TEST_F(ReplicationTest, ALinearPayoffIsPricedExactlyOnEveryGrid) {
    for (std::uint64_t const size : {1U, 2U, 5U, 20U, 50U, 100U})
        for (auto const& [lower, upper] : std::vector<std::pair<double, double>>{
                 {0.4, 2.4}, {0.9, 1.1}, {0.0, 1.0}, {2.0, 3.0}}) {
            set_grid(size, lower, upper);
            auto const results = replicated([](double x) { return 5.0 - 3.0 * x; });
            EXPECT_THAT(results.price, IsNearRel(5.0 * zero_coupon(one_year) - 3.0 * c_spot, 1e-8))
                << size << " " << lower << " " << upper;
        }
}

TEST_F(ReplicationTest, ThePortfolioHasTheValueOfThePayoffAtEachLevel) {
    std::mt19937_64 generator(7);
    std::uniform_real_distribution<double> any(-50.0, 50.0);
    for (std::uint64_t const size : {1U, 3U, 10U, 40U, 100U}) {
        set_grid(size, 0.4, 2.4);
        auto const results = replicated([&](double) { return any(generator); });
        for (std::uint64_t i = 0; i < results.spots.c_get_size(); ++i)
            EXPECT_NEAR(results.replication.get(i), results.payoffs.get(i), 2e-6)
                << size << " " << i;
    }
}

TEST_F(ReplicationTest, ReplicationAndPriceAreTheSumsOfTheParts) {
    auto const results = replicated([](double x) { return std::abs(x - 97.0) + 0.02 * x * x; });
    double price = results.zero_coupon.price;
    for (auto const& option : results.puts) price += option.price;
    for (auto const& option : results.calls) price += option.price;
    EXPECT_THAT(results.price, IsNearRel(price, 1e-13));
    for (std::uint64_t k = 0; k < results.spots.c_get_size(); ++k) {
        double const x = results.spots.get(k);
        double value = results.zero_coupon.quantity;
        for (auto const& put : results.puts) value += put.quantity * std::max(put.strike - x, 0.0);
        for (auto const& call : results.calls)
            value += call.quantity * std::max(x - call.strike, 0.0);
        EXPECT_THAT(results.replication.get(k), IsNearRel(value, 1e-12));
    }
}

TEST_F(ReplicationTest, EachPartIsPricedByTheTenPointRuleAndOnlyTheZeroCouponIsDiscounted) {
    auto const results = replicated([](double x) { return 0.01 * x * x; });
    EXPECT_THAT(results.zero_coupon.price,
                IsNearRel(results.zero_coupon.quantity * zero_coupon(one_year), 1e-12));
    for (auto const& put : results.puts)
        EXPECT_THAT(put.price, IsNearRel(put.quantity * ten_point(put.strike, -1), 1e-10));
    for (auto const& call : results.calls)
        EXPECT_THAT(call.price, IsNearRel(call.quantity * ten_point(call.strike, 1), 1e-10));
}

TEST_F(ReplicationTest, AWeightedSumOfPayoffsIsTheWeightedSumOfPortfolios) {
    auto const first = [](double x) { return std::max(x - 93.0, 0.0); };
    auto const second = [](double x) { return std::exp(0.01 * x); };
    auto const both = replicated([&](double x) { return 2.0 * first(x) - 0.5 * second(x); });
    EXPECT_NEAR(both.price, 2.0 * replicated(first).price - 0.5 * replicated(second).price, 1e-8);
}

// Payments

TEST_F(ReplicationTest, APaymentOnTheFixingDateLeavesThePriceUnscaled) {
    auto const results = replicated([](double) { return 10.0; });
    EXPECT_NEAR(results.price, 10.0 * zero_coupon(one_year), 1e-8);
}

TEST_F(ReplicationTest, ALaterPaymentScalesThePriceAndNotTheParts) {
    auto const payoff = [](double x) { return std::max(x - 90.0, 0.0); };
    auto const on_time = replicated(payoff);
    Results late;
    ASSERT_TRUE(replicate(payoff, late, one_year, two_years));
    EXPECT_THAT(late.price,
                IsNearRel(on_time.price * zero_coupon(two_years) / zero_coupon(one_year), 1e-12));
    EXPECT_EQ(late.zero_coupon.price, on_time.zero_coupon.price);
    EXPECT_EQ(late.calls.get(3).price, on_time.calls.get(3).price);
}

TEST_F(ReplicationTest, OnlyAPaymentAfterTheFixingIsBroughtBackFromItsDate) {
    auto const payoff = [](double x) { return std::max(x - 90.0, 0.0); };
    Results early;
    ASSERT_TRUE(replicate(payoff, early, one_year, half_year));
    EXPECT_EQ(early.price, replicated(payoff).price);
}

// Accuracy

TEST_F(ReplicationTest, AnOptionStruckAtALevelIsExactAgainstTheTenPointPrice) {
    StaticReplication1D::Reuse const reuse;
    double const formula_error = ten_point_error() + 2e-8;
    for (std::uint64_t const size : {5U, 10U, 20U, 50U}) {
        set_grid(size, 0.4, 2.4);
        for (std::uint64_t j = 1; j < 2 * size; ++j) {
            double const strike = level(0.4 + static_cast<double>(j) / static_cast<double>(size));
            auto const call = replicated([&](double x) { return std::max(x - strike, 0.0); });
            EXPECT_NEAR(call.price, ten_point(strike, 1), 2e-8) << size << " " << j;
            auto const put = replicated([&](double x) { return std::max(strike - x, 0.0); });
            EXPECT_NEAR(put.price, ten_point(strike, -1), 2e-8) << size << " " << j;
            EXPECT_NEAR(call.price, black_scholes(strike, 1), formula_error);
        }
    }
}

/// Between two levels the replication is the chord of the payoff. For a call struck there it lies
/// above by at most (upper level - strike) (strike - lower level) / h, not above h / 4, and has no
/// other error: its price exceeds that of the call by no more than the same part of the
/// probability of the cell, which a density not above 1 / (s sqrt(2 pi) lower level) bounds.
TEST_F(ReplicationTest, AnOptionStruckBetweenLevelsIsTooDearByLessThanItsChord) {
    for (std::uint64_t const size : {5U, 10U, 20U, 50U}) {
        set_grid(size, 0.4, 2.4);
        double const h = forward() / static_cast<double>(size);
        for (double const moneyness : {0.83, 0.97, 1.013, 1.19}) {
            double const strike = level(moneyness);
            auto const payoff = [&](double x) { return std::max(x - strike, 0.0); };
            double const below = level(0.4) + std::floor((strike - level(0.4)) / h) * h;
            double const chord = (below + h - strike) * (strike - below) / h;
            double const density = 1.0 / (c_sigma * std::sqrt(2.0 * M_PI) * below);
            // the area under the triangular gap between chord and payoff
            double const bound = zero_coupon(one_year) * density * 0.5 * h * chord;
            double const rounding = 2.0 * ten_point_error();
            double const error = replicated(payoff).price - ten_point(strike, 1);
            EXPECT_GT(error, -rounding) << size << " " << moneyness;
            EXPECT_LT(error, bound + rounding) << size << " " << moneyness;
        }
    }
}

TEST_F(ReplicationTest, TheErrorOfASquareFallsWithTheSquareOfTheStep) {
    auto const square = [](double x) { return 0.01 * x * x; };
    double const expected = limit(square, [](double) { return 0.02; });
    double previous = 0.0;
    for (std::uint64_t const size : {5U, 10U, 20U, 40U}) {
        set_grid(size, 0.2, 3.8);
        double const h = level(3.6) / (2.0 * static_cast<double>(size));
        double const error = replicated(square).price - expected;
        EXPECT_GT(error, 0.0) << size;
        EXPECT_LT(error, 0.02 / 8.0 * h * h) << size;  // h^2 / 8 times the second derivative
        if (previous > 0.0) {
            EXPECT_NEAR(previous / error, 4.0, 0.4) << size;
        }
        previous = error;
    }
    // E[S^2] = F^2 exp(sigma^2 t); the ten-point rule is off by its error over some 20 % of strikes
    double const exact = 0.01 * forward() * forward() *
                         std::exp(c_sigma * c_sigma * years(one_year)) * zero_coupon(one_year);
    EXPECT_NEAR(expected, exact, 0.02 * ten_point_error() * 0.2 * forward());
}

TEST_F(ReplicationTest, PowersAndExponentialsTendToTheCarrMadanFormula) {
    struct Case {
        Payoff payoff;
        std::function<double(double)> second;
        double worst;  // second derivative on the grid
    };
    std::vector<Case> const cases{
        {[](double x) { return x * x * x / 1e4; }, [](double x) { return 6.0 * x / 1e4; },
         6.0 * 391.6 / 1e4},
        {[](double x) { return std::sqrt(x); }, [](double x) { return -0.25 / (x * std::sqrt(x)); },
         0.25 / std::pow(20.0, 1.5)},
        {[](double x) { return std::exp(-x / 50.0); },
         [](double x) { return std::exp(-x / 50.0) / 2500.0; }, 1.0 / 2500.0}};
    for (auto const& [payoff, second, worst] : cases) {
        double const expected = limit(payoff, second);
        for (std::uint64_t const size : {10U, 20U, 50U, 100U}) {
            set_grid(size, 0.2, 3.8);
            double const h = level(3.6) / (2.0 * static_cast<double>(size));
            EXPECT_NEAR(replicated(payoff).price, expected, worst * h * h / 8.0 + 1e-5) << size;
        }
    }
}

TEST_F(ReplicationTest, ADigitalIsTheCallSpreadOfItsCell) {
    for (std::uint64_t const size : {5U, 10U, 20U, 50U, 100U}) {
        set_grid(size, 0.4, 2.4);
        double const h = forward() / static_cast<double>(size);
        double const strike = level(1.213);
        double const below = level(0.4) + std::floor((strike - level(0.4)) / h) * h;
        auto const digital = replicated([&](double x) { return x > strike ? 1.0 : 0.0; });
        EXPECT_NEAR(digital.price, (ten_point(below, 1) - ten_point(below + h, 1)) / h, 1e-6);
        // the spread pays something else than the digital inside its cell alone
        double const d2 = -std::log(1.213) / c_sigma - 0.5 * c_sigma;
        auto const mass = [&](double x) {
            return normal_cdf(std::log(x / forward()) / c_sigma + 0.5 * c_sigma);
        };
        EXPECT_NEAR(digital.price, zero_coupon(one_year) * normal_cdf(d2),
                    mass(below + h) - mass(below) + 2.0 * ten_point_error() / h);
    }
}

TEST_F(ReplicationTest, CallSpreadsAndCappedPayoffsOnLevelsAreTheirOptions) {
    set_grid(20, 0.4, 2.4);
    double const low = level(0.9);
    double const high = level(1.25);
    auto const spread =
        replicated([&](double x) { return std::max(x - low, 0.0) - std::max(x - high, 0.0); });
    EXPECT_NEAR(spread.price, ten_point(low, 1) - ten_point(high, 1), 1e-8);
    auto const capped = replicated([&](double x) { return std::min(x, high); });
    EXPECT_NEAR(capped.price, c_spot - ten_point(high, 1), 1e-7);
    // 100 less a put per cent of the first level: a reverse convertible
    auto const convertible =
        replicated([&](double x) { return 100.0 - 100.0 / low * std::max(low - x, 0.0); });
    EXPECT_NEAR(convertible.price, 100.0 * zero_coupon(one_year) - 100.0 / low * ten_point(low, -1),
                1e-7);
    for (std::uint64_t i = 0; i < 20; ++i)
        EXPECT_NEAR(convertible.puts.get(i).quantity,
                    std::abs(convertible.puts.get(i).strike - low) < 1e-9 ? -100.0 / low : 0.0,
                    1e-8);
}

TEST_F(ReplicationTest, TheTenPointRuleIsWithinAThousandthOfTheSpotOfTheFormula) {
    EXPECT_LT(ten_point_error(), 1e-3 * c_spot);
}

TEST_F(ReplicationTest, OptionsOnExchangeRatesCarryNoForeignDiscounting) {
    add_currency("USD");
    auto const pair = exchange_rate("EURUSD", "USD", "EUR");
    add_market(*pair, 1.25, 0.1);
    set_grid(10, 0.5, 1.5);
    Results results;
    ASSERT_TRUE(StaticReplication1D::compute_carr_madan_price(
        today, one_year, one_year, pair.get(), [](double x) { return x; }, results));
    EXPECT_NEAR(results.spots.get(10), 1.25, 1e-7);  // both rates are equal
    EXPECT_NEAR(results.price, 1.25 * zero_coupon(one_year), 1e-7);
    double const parity = results.calls.get(0).price + results.puts.get(9).price;
    EXPECT_NEAR(parity, 0.0, 1e-7);  // struck at the forward
    double const strike = results.spots.get(10);
    ASSERT_TRUE(StaticReplication1D::compute_carr_madan_price(
        today, one_year, one_year, pair.get(), [&](double x) { return std::max(x - strike, 0.0); },
        results));
    // spot times the price per forward, where the discounted value is zero_coupon of it
    EXPECT_NEAR(results.price, 1.25 * (2.0 * normal_cdf(0.5 * c_sigma) - 1.0), 1e-5);
}

// Failures

class ReplicationFailureTest : public ReplicationTest {
 protected:
    /// The reason of the refusal; results stay as they were.
    void expect_refused(Payoff const& payoff, std::string const& message,
                        Date const& fixing = Date(2024, 1, 1)) {
        Results results;
        results.price = 17.0;
        bool success = true;
        EXPECT_THAT([&] { success = replicate(payoff, results, fixing, fixing); },
                    LogsError(message));
        EXPECT_FALSE(success);
        EXPECT_EQ(results.price, 17.0);
        EXPECT_EQ(results.spots.c_get_size(), 0U);
    }
    static double identity(double x) { return x; }
};

TEST_F(ReplicationFailureTest, ASpotThatIsMissingIsReportedByItself) {
    asset = share("B");
    std::ignore = forward_curve(*asset).get_dependencies();
    expect_refused(identity, "Cannot find spot at '2023-01-01' for underlying with ticker 'B'");
}

TEST_F(ReplicationFailureTest, AnUnderlyingWithoutCurrencyIsReported) {
    asset = cache().get_underlying("C", Data::Level::silent);
    asset->set_impl(std::make_shared<Data::Share>());
    expect_refused(identity, "Cannot find currency of underlying with ticker 'C'");
}

TEST_F(ReplicationFailureTest, GridsBeyondTheLimitAreRefusedBeforeThePayoffIsRead) {
    std::uint64_t calls = 0;
    for (std::uint64_t const size :
         {StaticReplication1D::c_max_grid_size + 1, std::numeric_limits<std::uint64_t>::max()}) {
        set_grid(size, 0.5, 1.5);
        expect_refused([&calls](double) { return static_cast<double>(++calls); },
                       "Too many points");
    }
    EXPECT_EQ(calls, 0U);
}

TEST_F(ReplicationFailureTest, APayoffThatIsNotFiniteAtALevelIsRefusedWithTheLevel) {
    set_grid(2, 0.0, 2.0);
    std::string const prefix =
        std::string(c_refusal) + "Because the payoff is not finite at level ";
    expect_refused([](double x) { return 1.0 / x; }, prefix + "0");
    expect_refused([](double x) { return std::log(x); }, prefix + "0");
    set_grid(2, 0.5, 1.5);
    std::ostringstream first;
    first << level(0.5);
    expect_refused([](double) { return std::nan(""); }, prefix + first.str());
    expect_refused([](double x) { return std::exp(1e6 * x); }, prefix + first.str());
}

TEST_F(ReplicationTest, LevelsThatAreAllTheSameAreTheZeroCouponOfTheirOnePayoff) {
    auto const payoff = [](double x) { return 3.0 + x * x; };
    for (double const bound : {-1.0, 0.0, 1.0, 50.0}) {
        set_grid(0, bound, bound);
        auto const alone = replicated(payoff);
        set_grid(40, bound, bound);
        auto const results = replicated(payoff);
        double const expected = payoff(results.spots.get(0));
        EXPECT_EQ(results.zero_coupon.quantity, expected);
        EXPECT_EQ(results.price, alone.price);
        for (auto const& option : results.calls) EXPECT_EQ(option.quantity, 0.0);
        for (double const value : results.replication) EXPECT_EQ(value, expected);
    }
}

TEST_F(ReplicationFailureTest, AGridThatIsNotFiniteIsRefused) {
    std::string const message = std::string(c_refusal) + "Because the grid of levels is not finite";
    set_grid(5, 0.0, std::numeric_limits<double>::infinity());
    expect_refused(identity, message);
    set_grid(5, std::nan(""), 1.0);
    expect_refused(identity, message);
}

TEST_F(ReplicationFailureTest, QuantitiesBeyondTheLargestNumberAreRefused) {
    set_grid(5, 0.5, 1.5);
    expect_refused([](double x) { return x > 100.0 ? 1e308 : -1e308; },
                   std::string(c_refusal) + "Because the quantities are not finite");
}

TEST_F(ReplicationFailureTest, AGridWithANegativeStrikeIsRefused) {
    set_grid(5, -1.0, 2.0);
    expect_refused(identity,
                   std::string(c_refusal) + "Because the grid of levels has a negative strike");
}

TEST_F(ReplicationTest, TheLowestLevelIsNoStrikeAndMayBeNegativeOrZero) {
    for (double const lower : {-0.05, 0.0}) {
        set_grid(5, lower, 2.0);
        EXPECT_THAT(replicated([](double x) { return x; }).price, IsNearRel(c_spot, 1e-8));
    }
}

TEST_F(ReplicationFailureTest, AFixingOfTodayHasNoVolatility) {
    expect_refused(identity, std::string(c_refusal) + "Volatility dynamic is required", today);
}

TEST_F(ReplicationFailureTest, ASurfaceWithoutSmilerHasNoVolatility) {
    auto const before = Data::ImpliedVolatilitySurface::s_smiler_kind;
    Data::ImpliedVolatilitySurface::s_smiler_kind =
        static_cast<Data::ImpliedVolatilitySurface::SmilerKind>(7);
    expect_refused(identity, std::string(c_refusal) + "Volatility dynamic is required");
    Data::ImpliedVolatilitySurface::s_smiler_kind = before;
}

TEST_F(ReplicationTest, AGridThatRoundingCannotResolveIsRefusedOrReplicates) {
    for (double const width : {1e-6, 1e-9, 1e-12, 1e-15}) {
        set_grid(5, 1.0, 1.0 + width);
        Results results;
        if (!replicate([](double x) { return x; }, results, one_year, one_year)) continue;
        EXPECT_TRUE(std::isfinite(results.price)) << width;
    }
}

// Reuse

TEST_F(ReplicationTest, KeptFactorsGiveTheSameNumbers) {
    auto const first = [](double x) { return std::max(x - 93.0, 0.0); };
    auto const second = [](double x) { return 0.01 * x * x; };
    std::vector<double> fresh;
    auto const run = [&] {
        std::vector<double> prices;
        for (std::uint64_t const size : {5U, 20U, 5U}) {
            set_grid(size, 0.4, 2.4);
            for (Payoff const& payoff : {Payoff(first), Payoff(second)}) {
                auto const results = replicated(payoff);
                prices.push_back(results.price);
                for (auto const& option : results.calls) prices.push_back(option.quantity);
            }
        }
        return prices;
    };
    auto const plain = run();
    StaticReplication1D::Reuse const reuse;
    EXPECT_EQ(run(), plain);
    EXPECT_EQ(run(), plain);
    {
        StaticReplication1D::Reuse const inner;
        EXPECT_EQ(run(), plain);
    }
    EXPECT_EQ(run(), plain);
}

}  // namespace
}  // namespace ximCORE::Pricing
