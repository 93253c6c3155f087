#include "core/contract/contract_test_case.hpp"

namespace ximCORE::Testing {
namespace {

using Pricing::SmoothingType;

/// A fixed 101 on 2022-12-01, B nothing.
class Known : public ContractCase {
 protected:
    Known() { quote("A", "2022-12-01", 101); }

    std::shared_ptr<CashFlow> declared(Encoder& encoder, int root) const {
        auto result = encoder.read(root);
        std::ignore = result->get_dependencies(today, eur.get());
        return result;
    }
    /// The value from `start`, or nothing when not known.
    std::optional<double> value(Encoder& encoder, int root, double start = 1.0) const {
        double result = start;
        if (declared(encoder, root)->eval(result)) return result;
        EXPECT_EQ(result, start);
        return std::nullopt;
    }
    static int known(Encoder& encoder) { return encoder.spot("A", "2022-12-01"); }
    static int unknown(Encoder& encoder) { return encoder.spot("B", "2022-12-01"); }
};

TEST_F(Known, APaymentMultipliesIntoItsArgument) {
    Encoder encoder;
    int const payment = encoder.pay(known(encoder), "2024-01-01", "EUR", -1);
    EXPECT_EQ(value(encoder, payment), -101.0);
    EXPECT_EQ(value(encoder, payment, 2.0), -202.0);
    EXPECT_EQ(value(encoder, encoder.buy("2023-07-02", 5, payment)),
              -101.0);  // before the purchase is folded in
}

TEST_F(Known, APaymentInAnotherCurrencyNeedsTheRateOfItsDate) {
    exchange_rate("USDEUR", "USD", "EUR");
    Encoder encoder;
    int const payment = encoder.pay(known(encoder), "2022-12-31", "USD");
    EXPECT_EQ(value(encoder, payment), std::nullopt);
    quote("USDEUR", "2022-12-31", 0.5);
    EXPECT_EQ(value(encoder, payment), 50.5);
}

TEST_F(Known, WhatIsNotStoredIsReported) {
    Encoder encoder;
    auto const root = declared(encoder, encoder.pay(unknown(encoder), "2024-01-01"));
    double result{1.0};
    EXPECT_THAT([&] { EXPECT_FALSE(root->eval(result)); },
                LogsError("Cannot find spot at '2022-12-01' for underlying with ticker 'B'"));
}

TEST_F(Known, AListIsTheSumOfItsMembers) {
    Encoder encoder;
    int const one = encoder.pay(encoder.number(1), "2024-01-01");
    int const missing = encoder.pay(unknown(encoder), "2024-01-01");
    EXPECT_EQ(
        value(encoder,
              encoder.both(one, encoder.both(one, encoder.pay(known(encoder), "2024-01-01")))),
        103.0);
    EXPECT_EQ(value(encoder, encoder.both(one, encoder.both(missing, one))), std::nullopt);
}

TEST_F(Known, NothingAndASettingAreZero) {
    Encoder encoder;
    EXPECT_EQ(value(encoder, encoder.nothing()), 0.0);
    EXPECT_EQ(value(encoder, encoder.set("x", unknown(encoder))), 0.0);
    EXPECT_EQ(value(encoder, encoder.both(encoder.set("x", encoder.number(1)),
                                          encoder.pay(encoder.number(4), "2024-01-01"))),
              4.0);
}

TEST_F(Known, AReferenceIsNeverKnown) {
    Encoder encoder;
    EXPECT_EQ(value(encoder, encoder.pay(encoder.reference("x"), "2024-01-01")), std::nullopt);
}

TEST_F(Known, AConditionIsItsBranchAndNeedsOnlyThat) {
    Encoder encoder;
    int const yes = encoder.above(known(encoder), 100);
    int const no = encoder.above(known(encoder), 102);
    int const open = encoder.above(unknown(encoder), 100);
    int const one = encoder.pay(encoder.number(1), "2024-01-01");
    int const missing = encoder.pay(unknown(encoder), "2024-01-01");
    EXPECT_EQ(value(encoder, encoder.condition(yes, one, missing), 7.0),
              1.0);  // set, not multiplied
    EXPECT_EQ(value(encoder, encoder.condition(no, missing, one)), 1.0);
    EXPECT_EQ(value(encoder, encoder.condition(yes, missing, one)), std::nullopt);
    EXPECT_EQ(value(encoder, encoder.condition(open, one, one)), std::nullopt);
    int const amount = encoder.iff(no, unknown(encoder), encoder.number(3));
    EXPECT_EQ(value(encoder, encoder.pay(amount, "2024-01-01")), 3.0);
}

TEST_F(Known, SmoothingScalesItsWidthsByTheGapOfTheBranches) {
    Encoder encoder;
    int const event = encoder.above(known(encoder), 100);  // 1 above the barrier
    int const then = encoder.pay(encoder.number(7), "2024-01-01");
    int const otherwise = encoder.pay(encoder.number(3), "2024-01-01");
    int const root =
        encoder.condition(event, then, otherwise, 0.5, 0.5);  // times the gap: 2 on either side
    EXPECT_EQ(value(encoder, root), 7.0);
    smooth(SmoothingType::SYMETRIC);
    EXPECT_EQ(value(encoder, root), 4.0 * 0.75 + 3.0);
    smooth(SmoothingType::LOWER);  // the ramp from 100 to 102
    EXPECT_EQ(value(encoder, root), 4.0 * 0.5 + 3.0);
    smooth(SmoothingType::UPPER);  // the ramp from 98 to 100
    EXPECT_EQ(value(encoder, root), 7.0);
}

TEST_F(Known, ASmoothedConditionWithAnUnknownBranchIsThePlainOne) {
    smooth(SmoothingType::SYMETRIC);
    Encoder encoder;
    int const event = encoder.above(known(encoder), 100);
    int const then = encoder.pay(encoder.number(7), "2024-01-01");
    EXPECT_EQ(
        value(encoder, encoder.condition(event, then, encoder.pay(unknown(encoder), "2024-01-01"),
                                         0.5, 0.5)),
        7.0);
}

TEST_F(Known, AChoiceIsKnownWhenAllItsAlternativesAreAndSetsNothing) {
    Encoder encoder;
    int const one = encoder.pay(encoder.number(5), "2024-01-01");
    int const missing = encoder.pay(unknown(encoder), "2024-01-01");
    EXPECT_EQ(value(encoder, encoder.c(2, payload(1, "2023-07-02", one, one)), 42.0), 42.0);
    EXPECT_EQ(value(encoder, encoder.c(2, payload(1, "2023-07-02", one, missing))), std::nullopt);
}

TEST_F(Known, SortedIsNotKnownOnceOneOfItsAmountsIs) {
    Encoder encoder;
    int const partly = encoder.a(32, payload(0, unknown(encoder), encoder.number(3)));
    EXPECT_EQ(value(encoder, encoder.pay(partly, "2024-01-01")), std::nullopt);
    int const none = encoder.a(32, payload(0, unknown(encoder), unknown(encoder)));
    EXPECT_EQ(value(encoder, encoder.pay(none, "2024-01-01")), 0.0);  // the values last stored
}

TEST_F(Known, ANamedConstantIsKnown) {
    Encoder encoder;
    EXPECT_EQ(value(encoder, encoder.pay(encoder.ref("k", 2.5), "2024-01-01")), 2.5);
}

}  // namespace
}  // namespace ximCORE::Testing
