#include "core/contract/moving_case.hpp"

namespace ximCORE::Testing {
namespace {

using ::testing::IsEmpty;

class MovingChoice : public Moving {
 protected:
    static int choose(Encoder& encoder, std::string const& date, int first, int second) {
        return encoder.c(2, payload(1, date, first, second));
    }
};

TEST_F(MovingChoice, AnOpenChoiceKnowsItsFixingsAndPaysNothing) {
    Encoder encoder;
    int const first = encoder.pay(past_spot(encoder), "2024-01-01");
    int const past = encoder.pay(past_spot(encoder), "2022-12-31");
    EXPECT_EQ(moved(encoder, choose(encoder, "2023-07-02", first, past)),
              "Either(Putable, \"2023-07-02\") ({\n    Pay(123, \"2024-01-01\", \"EUR\"),\n"
              "    Pay(Spot(\"A\", \"2022-12-01\"), \"2022-12-31\", \"EUR\")})");
    EXPECT_THAT(listener.heard, IsEmpty());
}

TEST_F(MovingChoice, AnOpenChoiceKeepsAPaymentOfZeroAndASetting) {
    Encoder encoder;
    int const zero = encoder.pay(encoder.a(26, payload(past_spot(encoder), 123)), "2024-01-01");
    int const setting = encoder.set("x", past_spot(encoder));
    EXPECT_EQ(moved(encoder, choose(encoder, "2023-07-02", zero, setting)),
              "Either(Putable, \"2023-07-02\") ({\n    Pay(0, \"2024-01-01\", \"EUR\"),\n    "
              "Set(\"x\", 123)})");
    EXPECT_THAT(listener.heard, IsEmpty());
}

TEST_F(MovingChoice, ANameSetInAnOpenChoiceIsOpenBehindIt) {
    Encoder encoder;
    int const payment = encoder.pay(encoder.reference("x"), "2024-01-01");
    int const choice = choose(encoder, "2023-07-02", encoder.set("x", encoder.number(2)), payment);
    EXPECT_EQ(
        moved(encoder,
              encoder.both(encoder.set("x", encoder.number(1)), encoder.both(choice, payment))),
        "Set(\"x\", 1) &\nEither(Putable, \"2023-07-02\") ({\n    Set(\"x\", 2),\n"
        "    Pay(1, \"2024-01-01\", \"EUR\")}) &\nPay(AmountRef(\"x\"), \"2024-01-01\", \"EUR\")");
}

TEST_F(MovingChoice, APassedChoiceDropsWhatIsBehindAndStays) {
    Encoder encoder;
    int const past = encoder.pay(encoder.number(1), "2022-12-31");
    int const future = encoder.pay(encoder.number(2), "2024-01-01");
    EXPECT_EQ(
        moved(encoder, choose(encoder, "2022-12-01", past, future)),
        "Either(Putable, \"2022-12-01\") ({\n    End(),\n    Pay(2, \"2024-01-01\", \"EUR\")})");
    EXPECT_EQ(moved(encoder, choose(encoder, "2022-12-01", past, past)), "End()");
}

TEST_F(MovingChoice, TodaysChoiceIsOpenIntraday) {
    Encoder encoder;
    int const past = encoder.pay(encoder.number(1), "2022-12-31");
    int const choice = choose(encoder, "2023-01-01", past, past);
    EXPECT_EQ(moved(encoder, choice), "End()");
    Contract::s_intraday.IntradayChoices = true;
    EXPECT_EQ(moved(encoder, choice).substr(0, 6), "Either");
}

TEST_F(MovingChoice, AConditionAndAListHandTheChoiceDown) {
    Encoder encoder;
    int const past = encoder.pay(encoder.number(1), "2022-12-31");
    int const condition = encoder.condition(encoder.above(future_spot(encoder), 100), past, past);
    EXPECT_EQ(moved(encoder, choose(encoder, "2023-07-02", encoder.both(past, past), condition)),
              "Either(Putable, \"2023-07-02\") ({\n    Pay(1, \"2022-12-31\", \"EUR\") &\n"
              "    Pay(1, \"2022-12-31\", \"EUR\"),\n    If(Spot(\"A\", \"2023-07-02\") > 100) (\n"
              "        Pay(1, \"2022-12-31\", \"EUR\"),\n        Pay(1, \"2022-12-31\", \"EUR\")\n "
              "   )})");
}

TEST_F(MovingChoice, APurchaseInAChoiceMovesAsIfOutsideIt) {
    Encoder encoder;
    int const past = encoder.pay(encoder.number(1), "2022-12-31");
    int const purchase = encoder.buy("2022-12-01", 2, past);
    int const future = encoder.pay(encoder.number(2), "2024-01-01");
    EXPECT_EQ(
        moved(encoder, choose(encoder, "2023-07-02", purchase, future)),
        "Either(Putable, \"2023-07-02\") ({\n    End(),\n    Pay(2, \"2024-01-01\", \"EUR\")})");
}

TEST_F(Moving, APurchaseMovesItsFlowToItsTransaction) {
    Encoder encoder;
    quote("A", "2023-07-02", 130);
    int const before = encoder.pay(encoder.number(1), "2023-07-01");
    int const after = encoder.pay(future_spot(encoder), "2024-01-01");
    EXPECT_EQ(moved(encoder, encoder.buy("2023-07-02", 2, encoder.both(before, after))),
              "Buy(\"2023-07-02\", 2, Pay(130, \"2024-01-01\", \"EUR\"))");
}

TEST_F(Moving, APurchaseNeedsTheFixingsBeforeItsTransaction) {
    Encoder encoder;
    int const payment = encoder.pay(future_spot(encoder), "2024-01-01");
    auto on = contract(encoder, encoder.buy("2023-07-03", 2, payment));
    EXPECT_FALSE(on.move(today, {}, nullptr));
    EXPECT_THAT(errors(), ::testing::Contains("Cannot find fixing"));
}

}  // namespace
}  // namespace ximCORE::Testing
