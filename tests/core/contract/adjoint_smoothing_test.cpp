// The adjoint form of smoothed conditions, in all smoothing types.

#include "core/contract/adjoint_test_case.hpp"

namespace ximCORE::Testing {
namespace {

using ::testing::ElementsAre;

class AdjointSmoothing : public AdjointOf {
 protected:
    using EncodeEvent = std::function<int(Encoder&, int, int)>;

    /// Under all types, with a gap of either sign, and with one that depends on the slot.
    void expect_event(EncodeEvent const& encode) const {
        for (auto const type : c_smoothing_types)
            for (bool const is_reversed : {false, true}) {
                smooth(type);
                Encoder encoder;
                int const a = encoder.spot("A", c_fixing);
                int const b = encoder.spot("B", c_fixing);
                int then = encoder.both(encoder.pay(encoder.mul(a, b), c_payment),
                                        encoder.pay(b, "2025-01-01"));
                int otherwise = encoder.both(encoder.pay(encoder.number(-2), c_payment),
                                             encoder.pay(encoder.add(a, a), "2025-01-01"));
                if (is_reversed) std::swap(then, otherwise);
                expect_adjoints(
                    encoder, encoder.condition(encode(encoder, a, b), then, otherwise, 0.4, 0.6));
            }
    }
};

TEST_F(AdjointSmoothing, EveryComparisonIsSwept) {
    for (int const code : {1, 2, 3, 4, 5, 6}) {
        expect_event(
            [&](Encoder& encoder, int a, int b) { return encoder.e(code, payload(a, b)); });
        expect_event(
            [&](Encoder& encoder, int a, int) { return encoder.e(code + 8, payload(1, a)); });
        expect_event(
            [&](Encoder& encoder, int, int b) { return encoder.e(code + 14, payload(b, 1)); });
    }
}

TEST_F(AdjointSmoothing, LogicIsSweptInEveryDirection) {
    for (int const code : {7, 8}) {
        expect_event([&](Encoder& encoder, int a, int b) {
            return encoder.e(code, payload(encoder.above(a, 1), encoder.above(b, 1)));
        });
        expect_event([&](Encoder& encoder, int a, int b) {
            int const inner =
                encoder.e(15 - code, payload(encoder.e(0, payload(encoder.above(b, 0.9))),
                                             encoder.greater(encoder.mul(a, b), a)));
            return encoder.e(code, payload(encoder.above(a, 1), inner));
        });
    }
    for (bool const truth : {false, true})
        expect_event([&](Encoder& encoder, int a, int) {
            return encoder.e(8, payload(encoder.above(a, 1), encoder.truth(truth)));
        });
}

TEST_F(AdjointSmoothing, TheSlopeOfTheRampIsOneByItsWidth) {
    struct Case {
        SmoothingType type;
        double level;
        double expected;  // of the payment of 1 above 1
    };
    for (auto const& [type, level, expected] : std::vector<Case>{
             {SmoothingType::NONE, 1.01, 0.0},
             {SmoothingType::LOWER, 1.01, 1.0 / 0.06},  // the ramp above the threshold
             {SmoothingType::LOWER, 0.99, 0.0},
             {SmoothingType::SYMETRIC, 1.01, 1.0 / 0.1},
             {SmoothingType::SYMETRIC, 0.99, 1.0 / 0.1},
             {SmoothingType::SYMETRIC, 1.07, 0.0},
             {SmoothingType::UPPER, 0.99, 1.0 / 0.04},
             {SmoothingType::UPPER, 1.01, 0.0}}) {
        smooth(type);
        Encoder encoder;
        int const a = encoder.spot("A", c_fixing);
        auto on = sides(encoder.read(encoder.condition(encoder.above(a, 1),
                                                       encoder.pay(encoder.number(1), c_payment),
                                                       encoder.nothing(), 0.04, 0.06)));
        Tape tape;
        on.set_sides({level, 0}, {level, 0});
        on.forward(tape, false);
        on.backward(tape, false, {1.0});
        EXPECT_NEAR(on.get_adjoints(false)[0], expected, 1e-12) << level;
    }
}

TEST_F(AdjointSmoothing, AtTheEndsOfTheRampTheSlopeIsZero) {
    smooth(SmoothingType::SYMETRIC);
    Encoder encoder;
    int const a = encoder.spot("A", c_fixing);
    auto on = sides(encoder.read(encoder.condition(encoder.above(a, 1),
                                                   encoder.pay(encoder.number(1), c_payment),
                                                   encoder.nothing(), 0.5, 0.25)));
    for (double const level : {0.5, 1.25}) {
        Tape tape;
        on.set_sides({level, 0}, {level, 0});
        on.forward(tape, false);
        on.backward(tape, false, {1.0});
        EXPECT_EQ(on.get_adjoints(false)[0], 0.0);
    }
}

TEST_F(AdjointSmoothing, AStepHandsNothingOn) {
    smooth(SmoothingType::UPPER);  // keeps the side below, whose width is 0
    Encoder encoder;
    int const a = encoder.spot("A", c_fixing);
    auto on = sides(encoder.read(encoder.condition(encoder.above(a, 1),
                                                   encoder.pay(encoder.number(1), c_payment),
                                                   encoder.nothing(), 0, 0.25)));
    for (double const level : {0.99, 1.0, 1.1}) {
        Tape tape;
        on.set_sides({level, 0}, {level, 0});
        on.forward(tape, false);
        on.backward(tape, false, {1.0});
        EXPECT_EQ(on.get_adjoints(false)[0], 0.0);
    }
}

TEST_F(AdjointSmoothing, WithoutAGapTheEventHandsNothingOn) {
    for (auto const type : {SmoothingType::LOWER, SmoothingType::SYMETRIC, SmoothingType::UPPER}) {
        smooth(type);
        Encoder encoder;
        int const a = encoder.spot("A", c_fixing);
        int const b = encoder.spot("B", c_fixing);
        int const then = encoder.pay(b, c_payment);
        auto on = sides(encoder.read(encoder.condition(encoder.above(a, 1), then, then, 0.4, 0.4)));
        EXPECT_THAT(at(on, 1.01, 2), ElementsAre(0.0, 1.0)) << static_cast<int>(type);
    }
}

TEST_F(AdjointSmoothing, WithoutAGapBothBranchesShareByTheWeightOfAPositiveOne) {
    struct Case {
        SmoothingType type;
        double weight;  // at 1.1
    };
    for (auto const& [type, weight] : std::vector<Case>{{SmoothingType::LOWER, 0.25},
                                                        {SmoothingType::SYMETRIC, 0.625},
                                                        {SmoothingType::UPPER, 1.0}}) {
        smooth(type);
        Encoder encoder;
        int const a = encoder.spot("A", c_fixing);
        int const b = encoder.spot("B", c_fixing);
        auto on = sides(encoder.read(
            encoder.both(encoder.pay(encoder.a(24, payload(a, 0)), c_payment),
                         encoder.condition(encoder.above(a, 1), encoder.pay(b, c_payment),
                                           encoder.pay(encoder.number(2), c_payment), 0.4, 0.4))));
        Values const adjoints = at(on, 1.1, 2);
        EXPECT_EQ(adjoints[0], 0.0);
        EXPECT_NEAR(adjoints[1], weight, 1e-14);
    }
}

TEST_F(AdjointSmoothing, AnUnknownEventLeavesFlowsWithoutAGapAlone) {
    smooth(SmoothingType::SYMETRIC);
    Encoder encoder;
    int const a = encoder.spot("A", c_fixing);
    int const b = encoder.spot("B", c_fixing);
    int const then = encoder.pay(b, c_payment);
    int const event = encoder.above(encoder.a(11, payload(a)), 1);  // of a negative level
    auto on = sides(encoder.read(encoder.condition(event, then, then, 0.4, 0.4)));
    Tape tape;
    on.set_sides({-1, 2, 0}, {-1, 2, 0});
    EXPECT_THAT(on.forward(tape, false), ElementsAre(2.0));
    on.backward(tape, false, {1.0});
    EXPECT_EQ(on.get_adjoints(false)[1], 1.0);
    EXPECT_TRUE(tape.c_is_empty());
}

TEST_F(AdjointSmoothing, ConditionsInBranchesAreSwept) {
    for (auto const type : c_smoothing_types) {
        smooth(type);
        Encoder encoder;
        int const a = encoder.spot("A", c_fixing);
        int const b = encoder.spot("B", c_fixing);
        int const late = encoder.spot("A", c_payment);
        int const deepest =
            encoder.condition(encoder.above(late, 1), encoder.pay(encoder.mul(a, b), "2025-01-01"),
                              encoder.pay(late, "2025-01-01", "USD"), 0.5, 0.25);
        int const inner = encoder.condition(encoder.greater(a, b), deepest,
                                            encoder.pay(encoder.number(2), c_payment), 0.3, 0.6);
        int const outer = encoder.condition(
            encoder.above(a, 1), encoder.both(inner, encoder.pay(b, c_payment)), inner, 0.4, 0.4);
        expect_adjoints(encoder, encoder.both(outer, encoder.pay(late, c_payment)));
    }
}

TEST_F(AdjointSmoothing, AnAutocallWithMemoryIsSwept) {
    for (auto const type : c_smoothing_types) {
        smooth(type);
        Encoder encoder;
        int const first = encoder.spot("A", c_fixing);
        int const second = encoder.spot("A", c_payment);
        int const third = encoder.spot("A", "2025-01-01");
        int const coupon = encoder.reference("missed");
        auto const observe = [&](int level, std::string const& date, int redeemed, int goes_on) {
            int const paid =
                encoder.both(encoder.pay(encoder.add(coupon, encoder.number(0.1)), date),
                             encoder.set("missed", encoder.number(0)));
            int const missed = encoder.set("missed", encoder.add(coupon, encoder.number(0.1)));
            int const memory = encoder.condition(encoder.above(level, 0.9), paid, missed, 0.2, 0.2);
            int const redemption =
                encoder.condition(encoder.above(level, 1.1), redeemed, goes_on, 0.2, 0.2);
            return encoder.both(memory, redemption);
        };
        int const nominal = encoder.pay(encoder.number(1), "2025-06-01");
        int const last = observe(third, "2025-01-01", nominal, encoder.pay(third, "2025-06-01"));
        int const middle = observe(second, c_payment, nominal, last);
        expect_adjoints(encoder, encoder.both(encoder.set("missed", encoder.number(0.05)),
                                              observe(first, c_fixing, nominal, middle)));
    }
}

TEST_F(AdjointSmoothing, ANameSetInABranchIsNotSeenOutside) {
    smooth(SmoothingType::SYMETRIC);
    Encoder encoder;
    int const a = encoder.spot("A", c_fixing);
    int const inside = encoder.both(encoder.set("x", encoder.number(3)),
                                    encoder.pay(encoder.mul(encoder.reference("x"), a), c_payment));
    int const after = encoder.pay(encoder.mul(encoder.reference("x"), a), "2025-01-01");
    auto on = sides(encoder.read(encoder.both(
        encoder.set("x", encoder.number(5)),
        encoder.both(encoder.condition(encoder.above(a, 1), inside, encoder.nothing(), 0.5, 0.5),
                     after))));
    Tape tape;
    on.set_sides({1.0, 0, 0}, {1.0, 0, 0});
    EXPECT_THAT(on.forward(tape, false), ElementsAre(1.5, 5.0));
    on.backward(tape, false, {0.0, 1.0});
    EXPECT_EQ(on.get_adjoints(false)[0], 5.0);
    on.forward(tape, false);
    on.set_sides({1.0, 0, 0}, {1.0, 0, 0});
    on.backward(tape, false, {1.0, 0.0});
    EXPECT_EQ(on.get_adjoints(false)[0], 3.0 + 1.5);  // along the ramp, and by the amount
}

}  // namespace
}  // namespace ximCORE::Testing
