#include "core/pricing/cf_details.hpp"

#include <cmath>

#include "core/data/interest_rates.hpp"
#include "support/pricing_test.hpp"

namespace ximCORE::Pricing {
namespace {

using Testing::TreeBuilder;
using ximTest::IsNearRel;
using ximTest::LogsError;

std::string const c_refusal = "Contract non eligible to static replication method";

/// Share A at 100 and B at 80 in EUR, a dollar 0.9 euro; rates are -3 %.
class ClosedFormDetailsTest : public PricingTest {
 protected:
    ClosedFormDetailsTest() {
        add_currency("EUR");
        add_currency("USD");
        asset = add_share("A", 100.0, 0.25);
        add_share("B", 80.0, 0.25);
        add_market(*exchange_rate("USDEUR", "USD", "EUR"), 0.9, 0.1);
        ICFPricer::s_options = {
            .moneyness_grid_size = 10, .grid_lower_bound = 0.5, .grid_upper_bound = 1.5};
    }
    ~ClosedFormDetailsTest() override { ICFPricer::s_options = {}; }

    bool decompose(int root) {
        auto const priced = contract(tree, root);
        return details.run(*priced, nullptr);
    }
    void expect_refused(int root, std::string const& message) {
        auto const priced = contract(tree, root);
        bool success = true;
        EXPECT_THAT([&] { success = details.run(*priced, nullptr); }, LogsError(message));
        EXPECT_FALSE(success);
    }
    int fixing(std::string const& ticker = "A") { return tree.fixing(ticker, one_year); }
    /// Of any payoff of A, directly.
    StaticReplication1D::Results replicated(StaticReplication1D::Payoff const& payoff) const {
        StaticReplication1D::Results results;
        EXPECT_TRUE(StaticReplication1D::compute_carr_madan_price(today, one_year, one_year,
                                                                  asset.get(), payoff, results));
        return results;
    }
    void expect_replication_of(StaticReplication1D::Payoff const& payoff) const {
        auto const expected = replicated(payoff);
        auto const& actual = details.c_get_results();
        EXPECT_THAT(actual.price, IsNearRel(expected.price, 1e-12));
        ASSERT_EQ(actual.spots.c_get_size(), expected.spots.c_get_size());
        for (std::uint64_t i = 0; i < expected.spots.c_get_size(); ++i) {
            EXPECT_EQ(actual.spots.get(i), expected.spots.get(i));
            EXPECT_EQ(actual.payoffs.get(i), expected.payoffs.get(i));
        }
        for (std::uint64_t i = 0; i < expected.puts.c_get_size(); ++i) {
            EXPECT_NEAR(actual.puts.get(i).quantity, expected.puts.get(i).quantity, 1e-9);
            EXPECT_NEAR(actual.calls.get(i).quantity, expected.calls.get(i).quantity, 1e-9);
        }
    }

    TreeBuilder tree;
    std::shared_ptr<Data::Underlying> asset;
    CFDetails details;
};

TEST_F(ClosedFormDetailsTest, OnePaymentOfOneFixingIsDecomposed) {
    ASSERT_TRUE(decompose(tree.pay(tree.call(fixing(), 100.0), one_year, "EUR")));
    expect_replication_of([](double x) { return std::max(x - 100.0, 0.0); });
}

TEST_F(ClosedFormDetailsTest, SeveralPaymentsOfOneDateAndConditionsOnTheFixingAreOnePayoff) {
    int const coupon = tree.pay(tree.number(5.0), one_year, "EUR");
    int const redemption = tree.condition(
        tree.compare(TreeBuilder::greater, fixing(), 90.0),
        tree.pay(tree.number(100.0), one_year, "EUR"),
        tree.pay(tree.right(TreeBuilder::div_number, fixing(), 0.9), one_year, "EUR"));
    ASSERT_TRUE(decompose(tree.both(coupon, redemption)));
    expect_replication_of([](double x) { return 5.0 + (x > 90.0 ? 100.0 : x / 0.9); });
}

TEST_F(ClosedFormDetailsTest, WhatIsReceivedCountsNegative) {
    ASSERT_TRUE(decompose(tree.pay(tree.call(fixing(), 100.0), one_year, "EUR", -1)));
    expect_replication_of([](double x) { return -std::max(x - 100.0, 0.0); });
}

TEST_F(ClosedFormDetailsTest, AChoiceCountsAsAPayoffOfOne) {
    int const choice = tree.choice(
        1, half_year,
        {tree.pay(fixing(), one_year, "EUR"), tree.pay(tree.number(7.0), one_year, "EUR")});
    ASSERT_TRUE(decompose(choice));
    expect_replication_of([](double) { return 1.0; });
}

TEST_F(ClosedFormDetailsTest, APaymentAfterTheFixingIsDiscountedFromItsDate) {
    ASSERT_TRUE(decompose(tree.pay(tree.call(fixing(), 100.0), two_years, "EUR")));
    double const ratio = std::exp(-c_rate * (years(two_years) - years(one_year)));
    EXPECT_THAT(
        details.c_get_results().price,
        IsNearRel(ratio * replicated([](double x) { return std::max(x - 100.0, 0.0); }).price,
                  1e-12));
}

TEST_F(ClosedFormDetailsTest, APayoffWithoutFixingIsItsZeroCouponAlone) {
    ASSERT_TRUE(decompose(tree.both(tree.pay(tree.number(60.0), two_years, "EUR"),
                                    tree.pay(tree.number(40.0), two_years, "EUR"))));
    auto const& results = details.c_get_results();
    EXPECT_EQ(results.zero_coupon.date, two_years);
    EXPECT_EQ(results.zero_coupon.quantity, 100.0);
    EXPECT_NEAR(results.zero_coupon.price, 100.0 * std::exp(-c_rate * years(two_years)), 1e-10);
    EXPECT_EQ(results.price, results.zero_coupon.price);
    EXPECT_EQ(results.puts.c_get_size(), 0U);
    EXPECT_EQ(results.calls.c_get_size(), 0U);
    EXPECT_EQ(results.spots.c_get_size(), 0U);
}

TEST_F(ClosedFormDetailsTest, TheRateThatConvertsAPaymentIsNoFixingOfThePayoff) {
    ASSERT_TRUE(decompose(tree.pay(tree.number(50.0), one_year, "USD")));
    EXPECT_EQ(details.c_get_results().zero_coupon.quantity, 50.0);
    EXPECT_NEAR(details.c_get_results().price, 50.0 * std::exp(-c_rate * years(one_year)), 1e-10);
    EXPECT_EQ(details.c_get_results().spots.c_get_size(), 0U);
}

// Refusals

TEST_F(ClosedFormDetailsTest, NoPaymentIsRefused) {
    expect_refused(tree.nothing(), c_refusal + "Because of it contains no payment");
}

TEST_F(ClosedFormDetailsTest, TwoPaymentDatesAreRefused) {
    expect_refused(tree.both(tree.pay(fixing(), one_year, "EUR"),
                             tree.pay(tree.number(1.0), two_years, "EUR")),
                   c_refusal + "Because of it contains more than one payment dates");
}

TEST_F(ClosedFormDetailsTest, TwoFixingsAreRefused) {
    std::string const message = c_refusal +
                                "Because of a forward payment that contains multiple fixings"
                                "Volatility dynamic is required";
    expect_refused(
        tree.pay(tree.binary(TreeBuilder::add, fixing("A"), fixing("B")), one_year, "EUR"),
        message);
    expect_refused(tree.condition(tree.compare(TreeBuilder::greater, fixing("B"), 80.0),
                                  tree.pay(fixing("A"), one_year, "EUR"), tree.nothing()),
                   message);
    // the rate into the currency of the contract is the second one
    expect_refused(tree.pay(fixing("A"), one_year, "USD"), message);
}

TEST_F(ClosedFormDetailsTest, ARateIsRefused) {
    auto deposit = std::make_shared<Data::DepositRate>();
    deposit->set_start("+0d");
    deposit->set_end("+3m");
    underlying("DEP", "EUR", deposit);
    expect_refused(tree.pay(fixing("DEP"), one_year, "EUR"),
                   c_refusal + "Because of a forward payment that contains a non-Equity/FX fixing");
}

TEST_F(ClosedFormDetailsTest, AFailureOfTheReplicationIsTheAnswer) {
    ICFPricer::s_options.moneyness_grid_size = 1'000'000;
    expect_refused(tree.pay(tree.call(fixing(), 100.0), one_year, "EUR"), "Too many points");
}

}  // namespace
}  // namespace ximCORE::Pricing
