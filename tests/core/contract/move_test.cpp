#include "core/contract/moving_case.hpp"

namespace ximCORE::Testing {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

TEST_F(Moving, APaymentOnTheDateIsGoneUnlessItIsOpenIntraday) {
    Encoder encoder;
    int const payment = encoder.pay(encoder.number(5), "2023-01-01");
    EXPECT_EQ(moved(encoder, payment), "End()");
    EXPECT_THAT(listener.heard, ElementsAre("pay 2023-01-01 5"));
    Contract::s_intraday.IntradayPayments = true;
    EXPECT_EQ(moved(encoder, payment), "Pay(5, \"2023-01-01\", \"EUR\")");
}

TEST_F(Moving, APastPaymentReportsItsAmountBeforeSignAndQuantity) {
    Encoder encoder;
    int const payment = encoder.pay(past_spot(encoder), "2022-12-31", "EUR", -1);
    EXPECT_EQ(moved(encoder, encoder.buy("2022-12-01", 2, payment)), "End()");
    EXPECT_THAT(listener.heard, ElementsAre("pay 2022-12-31 123"));
}

TEST_F(Moving, AnUnknownPastPaymentReportsZero) {
    Encoder encoder;
    EXPECT_EQ(moved(encoder, encoder.pay(future_spot(encoder), "2022-12-31")), "End()");
    EXPECT_THAT(listener.heard, ElementsAre("pay 2022-12-31 0"));
}

TEST_F(Moving, AFuturePaymentKeepsItsKnownFixingsAsNumbers) {
    Encoder encoder;
    int const amount = encoder.add(past_spot(encoder), future_spot(encoder));
    EXPECT_EQ(moved(encoder, encoder.pay(amount, "2024-01-01")),
              "Pay(123 + Spot(\"A\", \"2023-07-02\"), \"2024-01-01\", \"EUR\")");
    EXPECT_THAT(listener.heard, IsEmpty());
}

TEST_F(Moving, AFuturePaymentThatBecomesZeroVanishesUnheard) {
    Encoder encoder;
    int const amount = encoder.a(26, payload(past_spot(encoder), 123));
    EXPECT_EQ(moved(encoder, encoder.pay(amount, "2024-01-01")), "End()");
    EXPECT_THAT(listener.heard, IsEmpty());
}

TEST_F(Moving, TodaysFixingIsOpenIntraday) {
    Encoder encoder;
    int const payment = encoder.pay(encoder.spot("A", "2023-01-01"), "2024-01-01");
    EXPECT_EQ(moved(encoder, payment), "Pay(110, \"2024-01-01\", \"EUR\")");
    Contract::s_intraday.IntradayFixings = true;
    EXPECT_EQ(moved(encoder, payment), "Pay(Spot(\"A\", \"2023-01-01\"), \"2024-01-01\", \"EUR\")");
}

TEST_F(Moving, AMissingPastFixingEndsTheMove) {
    Encoder encoder;
    auto on = contract(encoder, encoder.pay(encoder.spot("B", "2022-12-01"), "2024-01-01"));
    EXPECT_FALSE(on.move(today, {}, nullptr));
    EXPECT_THAT(errors(),
                ElementsAre("Cannot find spot at '2022-12-01' for underlying with ticker 'B'",
                            "Cannot find fixing"));
}

TEST_F(Moving, AGivenFixingWinsOverAStoredOneAndWorksForAFutureDate) {
    Encoder encoder;
    auto const asset = cache().get_underlying("A", Data::Level::silent);
    FixingOverrides const fixings{{Date("2022-12-01"), asset.get(), 7.0},
                                  {Date("2023-07-02"), asset.get(), 8.0}};
    int const amount = encoder.a(5, payload(past_spot(encoder), future_spot(encoder)));
    EXPECT_EQ(moved(encoder, encoder.pay(amount, "2024-01-01"), "2023-01-01", fixings),
              "Pay(-1, \"2024-01-01\", \"EUR\")");
}

TEST_F(Moving, AGivenFixingOfAnotherDateOrUnderlyingIsNotTaken) {
    Encoder encoder;
    auto const other = cache().get_underlying("B", Data::Level::silent);
    auto const asset = cache().get_underlying("A", Data::Level::silent);
    FixingOverrides const fixings{{Date("2022-12-01"), other.get(), 7.0},
                                  {Date("2022-12-02"), asset.get(), 8.0},
                                  {Date("2022-12-01"), nullptr, 9.0}};
    EXPECT_EQ(moved(encoder, encoder.pay(past_spot(encoder), "2024-01-01"), "2023-01-01", fixings),
              "Pay(123, \"2024-01-01\", \"EUR\")");
}

TEST_F(Moving, APastFixingInAnotherCurrencyIsConverted) {
    exchange_rate("USDEUR", "USD", "EUR");
    quote("U", "2022-12-01", 50);
    quote("USDEUR", "2022-12-01", 0.5);
    Encoder encoder;
    EXPECT_EQ(moved(encoder, encoder.pay(encoder.spot("U", "2022-12-01", "EUR"), "2024-01-01")),
              "Pay(25, \"2024-01-01\", \"EUR\")");
}

TEST_F(Moving, PastEverythingTheContractIsNothing) {
    Encoder encoder;
    int const payment = encoder.pay(past_spot(encoder), "2022-12-02");
    int const event = encoder.above(past_spot(encoder), 100);
    int const root = encoder.both(payment, encoder.condition(event, payment, encoder.nothing()));
    EXPECT_EQ(moved(encoder, root), "End()");
    EXPECT_THAT(listener.heard, ElementsAre("pay 2022-12-02 123", "if 1", "pay 2022-12-02 123"));
}

TEST_F(Moving, NamedConstantsStayUntilTheirObservationIsPast) {
    Encoder encoder;
    int const constant = encoder.ref("x", 3);
    int const open = encoder.pay(encoder.mul(constant, future_spot(encoder)), "2024-01-01");
    EXPECT_EQ(moved(encoder, open),
              "Pay(CstRef(\"x\", 3) * Spot(\"A\", \"2023-07-02\"), \"2024-01-01\", \"EUR\")");
    int const event = encoder.greater(past_spot(encoder), encoder.ref("barrier", 100));
    EXPECT_EQ(moved(encoder, encoder.condition(event, open, encoder.nothing())),
              "Pay(CstRef(\"x\", 3) * Spot(\"A\", \"2023-07-02\"), \"2024-01-01\", \"EUR\")");
}

// Conditions

TEST_F(Moving, ARedeemedContractLosesItsLaterObservations) {
    Encoder encoder;
    int const later =
        encoder.condition(encoder.above(future_spot(encoder), 100),
                          encoder.pay(encoder.number(2), "2024-01-01"), encoder.nothing());
    int const root = encoder.condition(encoder.above(past_spot(encoder), 100),
                                       encoder.pay(encoder.number(1), "2023-06-01"), later);
    EXPECT_EQ(moved(encoder, root), "Pay(1, \"2023-06-01\", \"EUR\")");
    EXPECT_THAT(listener.heard, ElementsAre("if 1"));
}

TEST_F(Moving, AnOpenConditionMovesBothBranches) {
    Encoder encoder;
    int const event = encoder.above(future_spot(encoder), 100);
    int const then = encoder.pay(encoder.number(1), "2022-12-31");
    EXPECT_EQ(moved(encoder,
                    encoder.condition(event, then, encoder.pay(past_spot(encoder), "2024-01-01"))),
              "If(Spot(\"A\", \"2023-07-02\") > 100) (\n    End(),\n    Pay(123, \"2024-01-01\", "
              "\"EUR\")\n)");
    EXPECT_EQ(moved(encoder, encoder.condition(event, then, then)), "End()");
}

TEST_F(Moving, TodaysBarrierIsOpenIntraday) {
    Encoder encoder;
    int const event = encoder.greater(encoder.spot("A", "2023-01-01"), encoder.ref("barrier", 100));
    int const root =
        encoder.condition(event, encoder.pay(encoder.number(1), "2024-01-01"), encoder.nothing());
    EXPECT_EQ(moved(encoder, root), "Pay(1, \"2024-01-01\", \"EUR\")");
    Contract::s_intraday.IntradayFixings = true;
    EXPECT_EQ(moved(encoder, root).substr(0, 45),
              "If(Spot(\"A\", \"2023-01-01\") > CstRef(\"barrier\"");
}

// Names

TEST_F(Moving, AKnownSettingStandsInFrontOfTheRoot) {
    Encoder encoder;
    int const rest =
        encoder.pay(encoder.mul(encoder.reference("x"), future_spot(encoder)), "2024-01-01");
    EXPECT_EQ(moved(encoder, encoder.both(encoder.set("x", past_spot(encoder)), rest)),
              "Set(\"x\", 123) &\nPay(123 * Spot(\"A\", \"2023-07-02\"), \"2024-01-01\", \"EUR\")");
    EXPECT_THAT(listener.heard, ElementsAre("set x 123"));
}

TEST_F(Moving, SeveralNamesStandInFrontTheLastOneFirst) {
    Encoder encoder;
    int const sets =
        encoder.both(encoder.set("a", encoder.number(1)), encoder.set("b", encoder.number(2)));
    EXPECT_EQ(moved(encoder, encoder.both(sets, encoder.set("a", encoder.number(3)))),
              "Set(\"b\", 2) &\nSet(\"a\", 3) &\nEnd()");
}

TEST_F(Moving, ASettingStillOpenStaysAndHidesTheOldValue) {
    Encoder encoder;
    int const old = encoder.set("x", encoder.number(1));
    int const open = encoder.set("x", future_spot(encoder));
    int const payment = encoder.pay(encoder.reference("x"), "2024-01-01");
    EXPECT_EQ(moved(encoder, encoder.both(old, encoder.both(payment, encoder.both(open, payment)))),
              "Set(\"x\", 1) &\nPay(1, \"2024-01-01\", \"EUR\") &\nSet(\"x\", Spot(\"A\", "
              "\"2023-07-02\")) &\n"
              "Pay(AmountRef(\"x\"), \"2024-01-01\", \"EUR\")");
}

TEST_F(Moving, UnderAnOpenConditionASettingKeepsItsPlace) {
    Encoder encoder;
    int const event = encoder.above(future_spot(encoder), 100);
    int const setting =
        encoder.set("memory", encoder.add(encoder.reference("memory"), past_spot(encoder)));
    int const barrier = encoder.condition(event, setting, encoder.nothing());
    int const payment = encoder.pay(encoder.reference("memory"), "2024-01-01");
    int const first = encoder.set("memory", encoder.number(1));
    EXPECT_EQ(
        moved(encoder, encoder.both(first, encoder.both(payment, encoder.both(barrier, payment)))),
        "Set(\"memory\", 1) &\nPay(1, \"2024-01-01\", \"EUR\") &\n"
        "If(Spot(\"A\", \"2023-07-02\") > 100) (\n    Set(\"memory\", 124),\n    End()\n) &\n"
        "Pay(AmountRef(\"memory\"), \"2024-01-01\", \"EUR\")");
    EXPECT_THAT(listener.heard, ElementsAre("set memory 1"));
}

TEST_F(Moving, ANameOpenInOneBranchIsKnownInTheOther) {
    Encoder encoder;
    int const event = encoder.above(future_spot(encoder), 100);
    int const payment = encoder.pay(encoder.reference("x"), "2024-01-01");
    int const then = encoder.both(encoder.set("x", encoder.number(2)), payment);
    int const root =
        encoder.both(encoder.set("x", encoder.number(1)), encoder.condition(event, then, payment));
    EXPECT_EQ(moved(encoder, root),
              "Set(\"x\", 1) &\nIf(Spot(\"A\", \"2023-07-02\") > 100) (\n    Set(\"x\", 2) &\n"
              "    Pay(AmountRef(\"x\"), \"2024-01-01\", \"EUR\"),\n    Pay(1, \"2024-01-01\", "
              "\"EUR\")\n)");
}

TEST_F(Moving, AnOpenNameIsKnownAgainOnceItIsSetAgain) {
    Encoder encoder;
    int const event = encoder.above(future_spot(encoder), 100);
    int const barrier =
        encoder.condition(event, encoder.set("x", encoder.number(2)), encoder.nothing());
    int const payment = encoder.pay(encoder.reference("x"), "2024-01-01");
    int const root = encoder.both(
        encoder.set("x", encoder.number(1)),
        encoder.both(barrier, encoder.both(encoder.set("x", encoder.number(3)), payment)));
    EXPECT_EQ(moved(encoder, root),
              "Set(\"x\", 3) &\nIf(Spot(\"A\", \"2023-07-02\") > 100) (\n    Set(\"x\", 2),\n    "
              "End()\n) &\n"
              "Pay(3, \"2024-01-01\", \"EUR\")");
}

TEST_F(Moving, ABarrierReadsAKnownName) {
    Encoder encoder;
    int const event = encoder.greater(future_spot(encoder), encoder.reference("level"));
    int const barrier =
        encoder.condition(event, encoder.pay(encoder.number(1), "2024-01-01"), encoder.nothing());
    EXPECT_EQ(moved(encoder, encoder.both(encoder.set("level", past_spot(encoder)), barrier)),
              "Set(\"level\", 123) &\nIf(Spot(\"A\", \"2023-07-02\") > 123) (\n    Pay(1, "
              "\"2024-01-01\", \"EUR\"),\n"
              "    End()\n)");
}

TEST_F(Moving, ANameSharedByTwoPlacesIsReadAtEachOfThem) {
    Encoder encoder;
    int const doubled = encoder.mul(encoder.reference("x"), encoder.number(2));
    int const payment = encoder.pay(doubled, "2024-01-01");
    int const root =
        encoder.both(encoder.set("x", encoder.number(1)),
                     encoder.both(payment, encoder.both(encoder.set("x", encoder.number(5)),
                                                        encoder.pay(doubled, "2025-01-01"))));
    EXPECT_EQ(
        moved(encoder, root),
        "Set(\"x\", 5) &\nPay(2, \"2024-01-01\", \"EUR\") &\nPay(10, \"2025-01-01\", \"EUR\")");
}

/// The coupon memory of a note with one observation behind and two ahead pays the same, moved or
/// not.
TEST_F(Moving, MemoryPaysTheSameBeforeAndAfterTheMove) {
    auto const encode = [](Encoder& encoder) {
        auto const observe = [&](char const* date) {
            int const event = encoder.above(encoder.spot("A", date), 115);
            int const missed =
                encoder.set("memory", encoder.add(encoder.reference("memory"), encoder.number(1)));
            int const coupon = encoder.pay(
                encoder.add(encoder.reference("memory"), encoder.number(1)), "2025-01-01");
            return encoder.condition(
                event, encoder.both(coupon, encoder.set("memory", encoder.number(0))), missed);
        };
        int const observations = encoder.both(
            observe("2023-01-01"), encoder.both(observe("2023-07-02"), observe("2024-01-01")));
        return encoder.both(encoder.set("memory", encoder.number(0)), observations);
    };
    Encoder plain;
    auto before = path(plain, encode(plain));
    Encoder to_move;
    auto on = contract(to_move, encode(to_move));
    ASSERT_TRUE(on.move(Date("2023-01-02"), {}, nullptr));
    auto after = path(on.get_current());
    before.set("A", "2023-01-01", 110);
    for (double const second : {100.0, 120.0})
        for (double const third : {100.0, 120.0}) {
            for (auto* each : {&before, &after})
                each->set("A", "2023-07-02", second).set("A", "2024-01-01", third);
            double const expected = second > 115 ? (third > 115 ? 3 : 2) : (third > 115 ? 3 : 0);
            EXPECT_EQ(before.flow("2025-01-01"), expected);
            EXPECT_EQ(after.flow("2025-01-01"), expected);
        }
}

TEST_F(Moving, AContractMovesAgainAndAgain) {
    quote("A", "2023-07-02", 99);
    Encoder encoder;
    int const memory = encoder.set("x", past_spot(encoder));
    int const payment =
        encoder.pay(encoder.add(encoder.reference("x"), future_spot(encoder)), "2024-01-01");
    auto on = contract(encoder, encoder.both(memory, payment));
    ASSERT_TRUE(on.move(today, {}, nullptr));
    ASSERT_TRUE(on.move(Date("2023-08-01"), {}, nullptr));
    EXPECT_EQ(text(on), "Set(\"x\", 123) &\nPay(222, \"2024-01-01\", \"EUR\")");
    ASSERT_TRUE(on.move(Date("2024-01-01"), {}, nullptr));
    EXPECT_EQ(text(on), "Set(\"x\", 123) &\nEnd()");
}

TEST_F(Moving, WithoutARootThereIsNothingToMove) {
    Contract on(today, "EUR");
    EXPECT_THAT([&] { EXPECT_FALSE(on.move(today, {}, nullptr)); }, LogsError("Contract empty"));
}

TEST_F(Moving, AContractThatNobodyDeclaredDeclaresItselfFirst) {
    Encoder encoder;
    auto on = contract(encoder, encoder.pay(past_spot(encoder), "2024-01-01", "USD"));
    EXPECT_EQ(on.c_get_currency(), nullptr);
    ASSERT_TRUE(on.move(today, {}, nullptr));
    EXPECT_EQ(on.c_get_currency(), eur);
    ContractInformation information;
    EXPECT_TRUE(on.c_get_cashflow()->scan_all(information, true));
}

}  // namespace
}  // namespace ximCORE::Testing
