// Contracts that price themselves: what is eligible, and the words of each refusal.

#include <cmath>
#include <functional>
#include <numeric>
#include <tuple>

#include "contract_test_case.hpp"
#include "core/contract/operations.hpp"
#include "core/data/interest_rates.hpp"
#include "core/pricing/static_replication.hpp"

namespace ximCORE::Testing {
namespace {

using Pricing::CFPricerOptions;
using ximTest::IsNearRel;
using ximTest::texts_of;

using Texts = std::vector<std::string>;
using Builder = std::function<int(Encoder&)>;

std::string const c_closed_form = "Contract non eligible to closed form method";
std::string const c_replication = "Contract non eligible to static replication method";
std::string const c_multiple =
    c_replication + "Because of a forward payment that contains multiple fixings";
std::string const c_quanto =
    c_closed_form +
    "Because it contains a forward payment in USD(payment ccy) != EUR (pricing ccy)"
    "Quanto correlation and quanto volatility dynamic is required";

std::string const c_half{"2023-07-02"};
std::string const c_one{"2024-01-01"};
std::string const c_two{"2025-01-01"};

/// One unit in t years is worth exp(-3 % t) in EUR and exp(-5 % t) in USD. A 100, B 80 and U 50, a
/// dollar 0.9 euro. Volatilities are 20 %, grids have 41 levels.
class ClosedForm : public ContractCase {
 protected:
    ClosedForm() {
        add_rate(*eur, 3.0);
        add_rate(*usd, 5.0);
        exchange_rate("USDEUR", "USD", "EUR");
        for (auto const& [ticker, level] : std::vector<std::pair<std::string, double>>{
                 {"A", 100.0}, {"B", 80.0}, {"U", 50.0}, {"USDEUR", 0.9}}) {
            auto const asset = cache().get_underlying(ticker, Data::Level::silent);
            set_spot(*asset, level);
            std::ignore = forward_curve(*asset).get_dependencies();
        }
        CFPricerOptions::s_options = {
            .moneyness_grid_size = 20, .grid_lower_bound = 0.4, .grid_upper_bound = 2.4};
    }
    ~ClosedForm() override { CFPricerOptions::s_options = {}; }

    void add_rate(Data::Currency const& owner, double percent) {
        std::ignore = yield_curve(owner);
        push<Data::MarketDataYieldPerturbationItem>(Shift::Kind::additive, Shift::Unit::percentage,
                                                    -percent, &owner);
    }
    double discount(std::string const& date, double rate = 0.03) const {
        return std::exp(-rate * Toolbox::DayCounter().c_year_fraction(today, Date(date)));
    }
    double usd_discount(std::string const& date) const { return discount(date, 0.05); }

    bool price_of(Builder const& build, double& price) {
        Encoder encoder;
        auto const what = contract(encoder, build(encoder));
        auto& mutable_contract = const_cast<Contract&>(what);
        std::ignore = mutable_contract.get_dependencies();
        price = 0.0;
        return what.c_get_cashflow()->c_compute_closed_form_price(today, *eur, price);
    }
    double price(Builder const& build) {
        double result{};
        EXPECT_THAT([&] { EXPECT_TRUE(price_of(build, result)); }, LogsNothing());
        return result;
    }
    Texts refusals(Builder const& build) {
        return texts_of(Toolbox::Log::Level::ERROR, [&] {
            double result{};
            EXPECT_FALSE(price_of(build, result));
        });
    }
    /// An amount paid after a year in EUR.
    static Builder paid(Builder const& amount, std::string const& currency = "EUR") {
        return [=](Encoder& e) { return e.pay(amount(e), c_one, currency); };
    }
    double amount_price(Builder const& amount) { return price(paid(amount)); }
    Texts amount_refusals(Builder const& amount, std::string const& currency = "EUR") {
        return refusals(paid(amount, currency));
    }
    static int spot_a(Encoder& e) { return e.spot("A", c_one); }
    /// max(A - 100, 0) after a year.
    static int call_a(Encoder& e) { return e.a(22, payload(e.a(26, payload(spot_a(e), 100)), 0)); }

    /// The replication of a payoff of A after a year.
    double replicated(std::function<double(double)> const& payoff) const {
        Pricing::StaticReplication1D::Results results;
        EXPECT_TRUE(Pricing::StaticReplication1D::compute_carr_madan_price(
            today, one_year, one_year, cache().get_underlying("A", Data::Level::silent).get(),
            payoff, results));
        return results.price;
    }

    /// A rate with its shifts, in EUR.
    template <class Rate>
    void add_interest_rate(std::string const& ticker) {
        auto rate = std::make_shared<Rate>();
        if constexpr (requires { rate->set_calendar("dummy"); }) rate->set_calendar("dummy");
        rate->set_start("+0d");
        rate->set_end("+1y");
        if constexpr (requires { rate->set_frequency("+6m"); }) rate->set_frequency("+6m");
        std::ignore = underlying(ticker, "EUR", rate);
    }
};

// Cash flows

TEST_F(ClosedForm, NothingIsWorthNothing) {
    EXPECT_EQ(price([](Encoder& e) { return e.nothing(); }), 0.0);
    double result{7.0};
    Nothing const nothing;
    EXPECT_TRUE(nothing.c_compute_closed_form_price(today, *eur, result));
    EXPECT_EQ(result, 0.0);
}

TEST_F(ClosedForm, TheSettingOfANameLeavesThePriceAsItIs) {
    Encoder encoder;
    auto const root = encoder.read(encoder.set("x", spot_a(encoder)));
    double result{7.0};
    EXPECT_TRUE(root->c_compute_closed_form_price(today, *eur, result));
    EXPECT_EQ(result, 7.0);
    EXPECT_EQ(price([](Encoder& e) {
                  return e.both(e.set("x", spot_a(e)), e.pay(e.number(0.0), c_one));
              }),
              0.0);
}

TEST_F(ClosedForm, APurchaseIsWorthItsQuantityOfItsChild) {
    auto const three = [](Encoder& e) { return e.buy(c_half, 3.0, e.pay(e.number(10.0), c_one)); };
    EXPECT_NEAR(price(three), 30.0 * discount(c_one), 1e-12);
    auto const sold = [](Encoder& e) {
        return e.buy(c_half, 2.0, e.pay(spot_a(e), c_one, "EUR", -1), -1);
    };
    EXPECT_NEAR(price(sold), 2.0 * 100.0, 1e-10);
}

TEST_F(ClosedForm, AListIsTheSumOfItsMembers) {
    EXPECT_NEAR(price([](Encoder& e) {
                    int const last =
                        e.both(e.pay(e.number(2.0), c_half), e.pay(spot_a(e), c_one, "EUR", -1));
                    return e.both(e.pay(e.number(10.0), c_two), last);
                }),
                10.0 * discount(c_two) + 2.0 * discount(c_half) - 100.0, 1e-10);
}

TEST_F(ClosedForm, AListEndsAtItsFirstRefusal) {
    EXPECT_THAT(refusals([](Encoder& e) {
                    int const barrier = e.condition(e.above(spot_a(e), 100.0),
                                                    e.pay(e.number(1.0), c_one), e.nothing());
                    int const choice = e.c(2, payload(1, c_half, e.pay(e.number(1.0), c_one)));
                    return e.both(e.pay(e.number(1.0), c_one), e.both(barrier, choice));
                }),
                testing::ElementsAre("Contract non eligible to closef form method"
                                     "Because it contains a barrier"));
}

TEST_F(ClosedForm, TenThousandPaymentsAreSummed) {
    EXPECT_NEAR(price([](Encoder& e) {
                    int root = e.nothing();
                    for (int i = 0; i < 10000; ++i)
                        root = e.both(e.pay(e.number(1.0), c_one), root);
                    return root;
                }),
                10000.0 * discount(c_one), 1e-7);
}

TEST_F(ClosedForm, APaymentOfThePastContributesNothing) {
    Encoder encoder;
    // an amount that no closed form has: it is not looked at
    int const sorted = encoder.a(32, payload(0, encoder.spot("A", c_half)));
    auto const root = encoder.read(encoder.pay(sorted, c_half));
    double result{7.0};
    EXPECT_THAT([&] { EXPECT_TRUE(root->c_compute_closed_form_price(one_year, *eur, result)); },
                LogsNothing());
    EXPECT_EQ(result, 0.0);
}

TEST_F(ClosedForm, APaymentOfTodayCounts) {
    Encoder encoder;
    auto what = contract(encoder, encoder.pay(encoder.number(10.0), "2023-01-01"));
    ASSERT_TRUE(what.get_dependencies() || true);
    double result{};
    EXPECT_TRUE(what.c_get_cashflow()->c_compute_closed_form_price(today, *eur, result));
    EXPECT_EQ(result, 10.0);
}

TEST_F(ClosedForm, ThisRecordAloneSaysClosef) {
    auto const barrier = [](Encoder& e) {
        return e.condition(e.above(spot_a(e), 100.0), e.pay(e.number(1.0), c_one), e.nothing());
    };
    EXPECT_THAT(refusals(barrier),
                testing::ElementsAre("Contract non eligible to closef form method"
                                     "Because it contains a barrier"));
}

TEST_F(ClosedForm, AChoiceIsRefusedWithItsDate) {
    auto const choice = [](Encoder& e) {
        return e.c(2, payload(1, c_half, e.pay(e.number(1.0), c_one), e.nothing()));
    };
    EXPECT_THAT(refusals(choice),
                testing::ElementsAre(c_closed_form + "Because it contains a choice at 2023-07-02"));
}

TEST_F(ClosedForm, APaymentInAnUnknownCurrencyIsReported) {
    Encoder encoder;
    auto const root = encoder.read(encoder.pay(encoder.number(1.0), c_one, "ZZZ"));
    double result{};
    EXPECT_THAT([&] { EXPECT_FALSE(root->c_compute_closed_form_price(today, *eur, result)); },
                LogsError("Cannot find currency ZZZ"));
}

// Leaves

TEST_F(ClosedForm, ANumberIsWorthItsZeroCoupon) {
    EXPECT_NEAR(amount_price([](Encoder& e) { return e.number(10.0); }), 10.0 * discount(c_one),
                1e-12);
    EXPECT_NEAR(amount_price([](Encoder& e) { return e.ref("K", 12.0); }), 12.0 * discount(c_one),
                1e-12);
}

TEST_F(ClosedForm, ANumberInAnotherCurrencyIsConvertedAtTodaysSpot) {
    auto const dollars = paid([](Encoder& e) { return e.number(10.0); }, "USD");
    EXPECT_NEAR(price(dollars), 10.0 * usd_discount(c_one) * static_cast<double>(0.9F), 1e-12);
    auto const named = paid([](Encoder& e) { return e.ref("K", 10.0); }, "USD");
    EXPECT_EQ(price(named), price(dollars));
}

TEST_F(ClosedForm, AConversionWithoutSpotIsReportedByTheSpot) {
    std::ignore = currency("GBP");
    exchange_rate("GBPEUR", "GBP", "EUR");
    EXPECT_THAT(amount_refusals([](Encoder& e) { return e.number(10.0); }, "GBP"),
                testing::ElementsAre(
                    "Cannot find spot at '2023-01-01' for underlying with ticker 'GBPEUR'"));
}

TEST_F(ClosedForm, AReferenceIsRefusedWithoutAWord) {
    EXPECT_THAT(amount_refusals([](Encoder& e) { return e.reference("x"); }), testing::IsEmpty());
}

TEST_F(ClosedForm, AFixingIsItsDiscountedForwardWithoutReplication) {
    CFPricerOptions::s_options.moneyness_grid_size = 1'000'000;  // a replication would refuse
    EXPECT_NEAR(amount_price(spot_a), 100.0, 1e-10);
    auto const late = [](Encoder& e) { return e.pay(e.spot("A", c_half), c_two); };
    EXPECT_NEAR(price(late), 100.0 / discount(c_half) * discount(c_two), 1e-10);
}

TEST_F(ClosedForm, AFixingPaidInAnotherCurrencyIsQuanto) {
    EXPECT_THAT(amount_refusals(spot_a, "USD"), testing::ElementsAre(c_quanto));
}

TEST_F(ClosedForm, ALevelInAThirdCurrencyIsPaidAsItStandsWithoutAQuantoAdjustment) {
    // U is quoted in USD: its forward grows with dollar rates, the payment shrinks with euro rates
    EXPECT_NEAR(amount_price([](Encoder& e) { return e.spot("U", c_one); }),
                50.0 / usd_discount(c_one) * discount(c_one), 1e-10);
}

TEST_F(ClosedForm, AConvertedFixingIsRefused) {
    EXPECT_THAT(
        amount_refusals([](Encoder& e) { return e.spot("U", c_one, "EUR"); }),
        testing::ElementsAre(c_closed_form +
                             "Because it contains a fixing converted into another currency"));
    EXPECT_THAT(
        amount_refusals([](Encoder& e) { return e.a(22, payload(e.spot("U", c_one, "EUR"), 50)); }),
        testing::ElementsAre(c_multiple));
}

TEST_F(ClosedForm, AnExchangeRateIsItsDiscountedForward) {
    double const forward = static_cast<double>(0.9F) * usd_discount(c_one) / discount(c_one);
    EXPECT_NEAR(amount_price([](Encoder& e) { return e.spot("USDEUR", c_one); }),
                forward * discount(c_one), 1e-12);
}

TEST_F(ClosedForm, InterestRatesAreTheirForwardValueOnTheCurve) {
    add_interest_rate<Data::DepositRate>("DEP");
    add_interest_rate<Data::ZeroCouponBond>("ZCB");
    EXPECT_NEAR(amount_price([](Encoder& e) { return e.spot("DEP", c_one); }),
                (discount(c_one) / discount(c_two) - 1.0) / (366.0 / 365.0) * discount(c_one),
                2e-4);  // the rate's own basis
    EXPECT_NEAR(amount_price([](Encoder& e) { return e.spot("ZCB", c_one); }),
                discount("2025-01-01") / discount(c_one) * discount(c_one), 1e-12);
}

TEST_F(ClosedForm, InterestRatesPaidInAnotherCurrencyAreQuantoInWordsOfTheirOwn) {
    add_interest_rate<Data::DepositRate>("DEP");
    add_interest_rate<Data::ZeroCouponBond>("ZCB");
    for (char const* ticker : {"DEP", "ZCB"})
        EXPECT_THAT(
            amount_refusals([&](Encoder& e) { return e.spot(ticker, c_one); }, "USD"),
            testing::ElementsAre(
                c_closed_form +
                "Because it contains a forward payment in USD (payment ccy) != EUR(pricing ccy)"
                "Quanto correlation and quanto volatility dynamic is required"));
}

TEST_F(ClosedForm, ASwapRateIsRefused) {
    add_interest_rate<Data::SwapRate>("CMS");
    EXPECT_THAT(amount_refusals([](Encoder& e) { return e.spot("CMS", c_one); }),
                testing::ElementsAre(c_closed_form + "Because it contains a CMS underlying"));
}

// Operators

TEST_F(ClosedForm, SumsAndDifferencesAddPricesAcrossFixings) {
    auto const combined = [](int op) {
        return [op](Encoder& e) {
            return e.pay(e.a(op, payload(e.spot("A", c_half), e.spot("B", c_one))), c_one);
        };
    };
    double const a = 100.0 / discount(c_half) * discount(c_one);
    EXPECT_NEAR(price(combined(0)), a + 80.0, 1e-10);
    EXPECT_NEAR(price(combined(5)), a - 80.0, 1e-10);
}

TEST_F(ClosedForm, ProductsOfFixingsAreRefused) {
    for (int const op : {1, 2, 3, 4})  // division, maximum, minimum, product
        EXPECT_THAT(amount_refusals([op](Encoder& e) {
                        return e.a(op, payload(e.spot("A", c_half), e.spot("B", c_one)));
                    }),
                    testing::ElementsAre(c_multiple));
    EXPECT_THAT(
        amount_refusals([](Encoder& e) { return e.mul(e.spot("A", c_half), e.spot("A", c_one)); }),
        testing::ElementsAre(c_multiple));
}

TEST_F(ClosedForm, AFixingTwiceIsOneFixing) {
    EXPECT_THAT(amount_price([](Encoder& e) { return e.mul(spot_a(e), spot_a(e)); }),
                IsNearRel(replicated([](double x) { return x * x; }), 1e-12));
}

TEST_F(ClosedForm, ANumberAddedToAnAmountIsNotDiscountedInClosedForm) {
    auto const left = [](int op, double c) {
        return [=](Encoder& e) { return e.a(op, payload(c, spot_a(e))); };
    };
    auto const right = [](int op, double c) {
        return [=](Encoder& e) { return e.a(op, payload(spot_a(e), c)); };
    };
    EXPECT_NEAR(amount_price(left(14, 7.0)), 7.0 + 100.0, 1e-10);
    EXPECT_NEAR(amount_price(left(19, 7.0)), 7.0 - 100.0, 1e-10);
    EXPECT_NEAR(amount_price(right(20, 7.0)), 100.0 + 7.0, 1e-10);
    EXPECT_NEAR(amount_price(right(26, 7.0)), 100.0 - 7.0, 1e-10);
}

TEST_F(ClosedForm, ANumberThatMultipliesOrDividesAnAmountScalesItsPrice) {
    CFPricerOptions::s_options.moneyness_grid_size = 1'000'000;  // a replication would refuse
    EXPECT_NEAR(amount_price([](Encoder& e) { return e.a(18, payload(7.0, spot_a(e))); }), 700.0,
                1e-9);
    EXPECT_NEAR(amount_price([](Encoder& e) { return e.a(24, payload(spot_a(e), 7.0)); }), 700.0,
                1e-9);
    EXPECT_NEAR(amount_price([](Encoder& e) { return e.a(21, payload(spot_a(e), 8.0)); }), 12.5,
                1e-10);
}

TEST_F(ClosedForm, AMinusTurnsThePrice) {
    CFPricerOptions::s_options.moneyness_grid_size = 1'000'000;  // a replication would refuse
    EXPECT_NEAR(amount_price([](Encoder& e) { return e.a(12, payload(spot_a(e))); }), -100.0,
                1e-10);
}

TEST_F(ClosedForm, AllOtherOperatorsAreReplicated) {
    struct Row {
        Builder amount;
        std::function<double(double)> payoff;
    };
    auto const unary = [](int op) {
        return [op](Encoder& e) {
            return e.a(op, payload(e.a(21, payload(spot_a(e), 100))));  // of A / 100
        };
    };
    auto const left = [](int op, double c) {
        return [=](Encoder& e) { return e.a(op, payload(c, spot_a(e))); };
    };
    auto const right = [](int op, double c) {
        return [=](Encoder& e) { return e.a(op, payload(spot_a(e), c)); };
    };
    auto const both = [](int op) {
        return [op](Encoder& e) { return e.a(op, payload(spot_a(e), e.ref("K", 90.0))); };
    };
    std::vector<Row> const rows{
        {unary(6), [](double x) { return std::abs(x / 100); }},
        {unary(7), [](double x) { return std::cos(x / 100); }},
        {unary(8), [](double x) { return std::exp(x / 100); }},
        {unary(9), [](double x) { return std::log(x / 100); }},
        {unary(10), [](double x) { return std::sin(x / 100); }},
        {unary(11), [](double x) { return std::sqrt(x / 100); }},
        {unary(13), [](double x) { return std::tan(x / 100); }},
        {left(15, 1e4), [](double x) { return 1e4 / x; }},
        {left(16, 95.0), [](double x) { return std::max(95.0, x); }},
        {left(17, 95.0), [](double x) { return std::min(95.0, x); }},
        {right(22, 95.0), [](double x) { return std::max(95.0, x); }},
        {right(23, 95.0), [](double x) { return std::min(95.0, x); }},
        {right(25, 1.5), [](double x) { return std::pow(x, 1.5); }},
        {both(1), [](double x) { return x / 90.0; }},
        {both(2), [](double x) { return std::max(x, 90.0); }},
        {both(3), [](double x) { return std::min(x, 90.0); }},
        {both(4), [](double x) { return x * 90.0; }},
        {[](Encoder& e) { return e.iff(e.above(spot_a(e), 110.0), spot_a(e), e.number(3.0)); },
         [](double x) { return x > 110.0 ? x : 3.0; }},
        {[](Encoder& e) { return call_a(e); }, [](double x) { return std::max(x - 100.0, 0.0); }}};
    for (std::size_t row = 0; row < rows.size(); ++row) {
        double const expected = replicated(rows[row].payoff);
        EXPECT_THAT(amount_price(rows[row].amount), IsNearRel(expected, 1e-12)) << "row " << row;
    }
}

TEST_F(ClosedForm, AReplicatedPartIsDiscountedFromItsPaymentDate) {
    auto const late = [](Encoder& e) { return e.pay(call_a(e), c_two); };
    EXPECT_THAT(price(late),
                IsNearRel(replicated([](double x) { return std::max(x - 100.0, 0.0); }) *
                              discount(c_two) / discount(c_one),
                          1e-12));
}

TEST_F(ClosedForm, ALinearCombinationOfOptionsOnDifferentFixingsIsEligible) {
    auto const combined = [](Encoder& e) {
        int const b = e.a(22, payload(e.spot("B", c_half), 80));
        return e.pay(e.a(5, payload(e.a(24, payload(call_a(e), 2)), b)), c_one);
    };
    auto const call = [](Encoder& e) { return e.pay(call_a(e), c_one); };
    auto const floor = [](Encoder& e) {
        return e.pay(e.a(22, payload(e.spot("B", c_half), 80)), c_one);
    };
    EXPECT_THAT(price(combined), IsNearRel(2.0 * price(call) - price(floor), 1e-12));
}

TEST_F(ClosedForm, SortedAmountsAreRefused) {
    EXPECT_THAT(amount_refusals([](Encoder& e) { return e.a(32, payload(0, spot_a(e))); }),
                testing::ElementsAre(c_closed_form));
}

TEST_F(ClosedForm, AReplicatedAmountInAnotherCurrencyIsQuanto) {
    EXPECT_THAT(amount_refusals(call_a, "USD"), testing::ElementsAre(c_quanto));
}

TEST_F(ClosedForm, ANonlinearPayoffOfARateIsRefused) {
    add_interest_rate<Data::DepositRate>("DEP");
    EXPECT_THAT(
        amount_refusals([](Encoder& e) { return e.a(22, payload(e.spot("DEP", c_one), 0)); }),
        testing::ElementsAre(c_replication +
                             "Because of a forward payment that contains a non-Equity/FX fixing"));
}

TEST_F(ClosedForm, ANonlinearAmountOfNumbersIsANumber) {
    auto const larger = [](Encoder& e) { return e.a(22, payload(e.ref("K", 10.0), 4.0)); };
    EXPECT_NEAR(amount_price(larger), 10.0 * discount(c_one), 1e-12);
    EXPECT_NEAR(price(paid(larger, "USD")), 10.0 * usd_discount(c_one) * static_cast<double>(0.9F),
                1e-12);
}

TEST_F(ClosedForm, AReferenceInsideAReplicatedPayoffCountsAsZero) {
    auto const payoff = [](Encoder& e) {
        return e.a(2, payload(e.a(5, payload(spot_a(e), e.reference("x"))), e.number(90.0)));
    };
    EXPECT_THAT(amount_price(payoff),
                IsNearRel(replicated([](double x) { return std::max(x, 90.0); }), 1e-12));
    EXPECT_THAT(amount_refusals([](Encoder& e) { return e.a(22, payload(e.reference("x"), 1.0)); }),
                testing::ElementsAre(c_replication + "Because it contains a reference"));
}

TEST_F(ClosedForm, AnAmountWithoutFixingHasNoReplication) {
    DeterministicAmount const number(3.0);
    double result{};
    EXPECT_THAT([&] { EXPECT_FALSE(number.c_compute_carr_madan_price(today, one_year, result)); },
                LogsError(c_replication + "Because it contains no fixing"));
}

TEST_F(ClosedForm, AReplicationThatFailsIsReportedOnce) {
    CFPricerOptions::s_options.moneyness_grid_size = 1'000'000;
    EXPECT_THAT(amount_refusals(call_a), testing::ElementsAre("Too many points"));
    CFPricerOptions::s_options = {
        .moneyness_grid_size = 2, .grid_lower_bound = 0.0, .grid_upper_bound = 2.0};
    EXPECT_THAT(
        amount_refusals([](Encoder& e) { return e.a(15, payload(1.0, spot_a(e))); }),
        testing::ElementsAre(c_replication + "Because the payoff is not finite at level 0"));
}

}  // namespace
}  // namespace ximCORE::Testing
