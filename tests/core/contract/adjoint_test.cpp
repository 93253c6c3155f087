// The adjoint form of the tree: every kind of node against differences of its plain form.

#include <functional>
#include <limits>
#include <thread>

#include "core/contract/adjoint_test_case.hpp"
#include "core/contract/operations.hpp"
#include "core/contract/path_constants.hpp"
#include "core/data/interest_rates.hpp"

namespace ximCORE::Testing {
namespace {

using ::testing::ElementsAre;

TEST_F(AdjointOf, EveryOperatorOfOneAmountIsItsDerivative) {
    for (int code = 6; code <= 13; ++code)
        expect_amount([&](Encoder& encoder, int a, int) { return encoder.a(code, payload(a)); });
}

TEST_F(AdjointOf, EveryOperatorOfTwoAmountsIsItsDerivatives) {
    for (int code = 0; code <= 5; ++code)
        expect_amount(
            [&](Encoder& encoder, int a, int b) { return encoder.a(code, payload(a, b)); });
}

TEST_F(AdjointOf, EveryOperatorWithANumberIsItsDerivative) {
    for (double const number : {-0.75, 0.9, 2.5}) {
        for (int code = 14; code <= 19; ++code)
            expect_amount(
                [&](Encoder& encoder, int a, int) { return encoder.a(code, payload(number, a)); });
        for (int code = 20; code <= 26; ++code)
            expect_amount(
                [&](Encoder& encoder, int a, int) { return encoder.a(code, payload(a, number)); });
    }
}

TEST_F(AdjointOf, EveryDerivativeIsTheTextbookOne) {
    struct Case {
        int code;
        std::function<double(double)> expected;
    };
    for (auto const& [code, expected] :
         std::vector<Case>{{6, [](double x) { return x > 0 ? 1.0 : -1.0; }},
                           {7, [](double x) { return -std::sin(x); }},
                           {8, [](double x) { return std::exp(x); }},
                           {9, [](double x) { return 1.0 / x; }},
                           {10, [](double x) { return std::cos(x); }},
                           {11, [](double x) { return 0.5 / std::sqrt(x); }},
                           {12, [](double) { return -1.0; }},
                           {13, [](double x) { return 1.0 / (std::cos(x) * std::cos(x)); }}})
        for (double const x : {-2.5, -0.25, 0.25, 1.0, 3.0}) {
            auto const derivative = at(
                [&](Encoder& encoder, int a, int) { return encoder.a(code, payload(a)); }, x, 1)[0];
            if (code == 11 && x < 0)
                EXPECT_TRUE(std::isnan(derivative));
            else
                EXPECT_THAT(derivative, ximTest::IsNearRel(expected(x), 1e-14)) << code << " " << x;
        }
}

TEST_F(AdjointOf, TheBackwardFormOfAPowerHandsOnToItsExponentToo) {
    auto const [base, exponent] = op::Pow::back(2.0, 1.5, 3.0);
    EXPECT_NEAR(base, 2.0 * 3.0 * 1.5 * 1.5, 1e-14);
    EXPECT_NEAR(exponent, 2.0 * std::log(1.5) * 1.5 * 1.5 * 1.5, 1e-14);
}

TEST_F(AdjointOf, APowerOfZeroIsFlatEverywhere) {
    for (double const x : {-1.0, 0.0, 2.0})
        EXPECT_EQ(
            at([](Encoder& encoder, int a, int) { return encoder.a(25, payload(a, 0)); }, x, 1)[0],
            0.0);
}

// Ties

TEST_F(AdjointOf, ATieOfMaxOrMinGoesToTheRight) {
    for (int const code : {2, 3}) {
        EXPECT_THAT(
            at([&](Encoder& encoder, int a, int b) { return encoder.a(code, payload(a, b)); }, 1,
               1),
            ElementsAre(0.0, 1.0));
        EXPECT_EQ(
            at([&](Encoder& encoder, int a, int) { return encoder.a(14 + code, payload(1, a)); }, 1,
               1)[0],
            1.0)
            << "a number on the left";
        EXPECT_EQ(
            at([&](Encoder& encoder, int a, int) { return encoder.a(20 + code, payload(a, 1)); }, 1,
               1)[0],
            0.0)
            << "a number on the right";
    }
}

TEST_F(AdjointOf, MaxOfASharedAmountIsTheAmount) {
    EXPECT_EQ(at([](Encoder& encoder, int a, int) { return encoder.a(2, payload(a, a)); }, 1, 1)[0],
              1.0);
}

TEST_F(AdjointOf, AbsIsFlatAtZero) {
    auto const absolute = [](Encoder& encoder, int a, int) { return encoder.a(6, payload(a)); };
    EXPECT_EQ(at(absolute, 0, 1)[0], 0.0);
    EXPECT_EQ(at(absolute, -0.5, 1)[0], -1.0);
}

TEST_F(AdjointOf, ATieOfSortedGoesToTheFirst) {
    auto const ranked = [](int rank) {
        return [rank](Encoder& encoder, int a, int b) {
            return encoder.a(32, payload(rank, b, encoder.number(1), a));
        };
    };
    for (int const rank : {0, 1, 2}) EXPECT_THAT(at(ranked(rank), 1, 1), ElementsAre(0.0, 1.0));
    EXPECT_THAT(at(ranked(2), 1, 0.5), ElementsAre(0.0, 0.0)) << "that of the number";
}

TEST_F(AdjointOf, WhatDoesNotCountHandsOnNothingHoweverSteep) {
    // the slope of the square root at 0 is infinite, that of the largest amount by it is 0
    auto const largest = [](Encoder& encoder, int a, int b) {
        return encoder.a(2, payload(encoder.a(11, payload(a)), b));
    };
    EXPECT_THAT(at(largest, 0, 1), ElementsAre(0.0, 1.0));
}

TEST_F(AdjointOf, InfinitiesFollowTheMathematics) {
    auto const root = [](Encoder& encoder, int a, int) { return encoder.a(11, payload(a)); };
    EXPECT_EQ(at(root, 0, 1)[0], std::numeric_limits<double>::infinity());
    auto const quotient = [](Encoder& encoder, int a, int b) {
        return encoder.a(1, payload(a, b));
    };
    EXPECT_THAT(at(quotient, 1, 0), ElementsAre(std::numeric_limits<double>::infinity(),
                                                -std::numeric_limits<double>::infinity()));
}

// Amounts that choose

TEST_F(AdjointOf, AConditionHandsOnToTheChosenAmount) {
    for (int const code : {1, 2, 3, 4, 5, 6}) {
        expect_amount([&](Encoder& encoder, int a, int b) {
            return encoder.iff(encoder.e(code, payload(a, b)), encoder.mul(a, b),
                               encoder.add(a, b));
        });
        for (int const shift : {8, 14})
            expect_amount([&](Encoder& encoder, int a, int b) {
                int const event = shift == 8 ? encoder.e(code + 8, payload(1, a))
                                             : encoder.e(code + 14, payload(a, 1));
                return encoder.iff(event, encoder.mul(a, b), encoder.add(a, b));
            });
    }
}

TEST_F(AdjointOf, AConditionOfConditionsHandsOnToTheChosenAmount) {
    for (int const code : {7, 8})
        expect_amount([&](Encoder& encoder, int a, int b) {
            int const inner = encoder.iff(encoder.above(b, 0.8), a, encoder.mul(b, b));
            int const event = encoder.e(
                code,
                payload(encoder.above(a, 1), encoder.e(0, payload(encoder.greater(inner, b)))));
            return encoder.iff(event, encoder.mul(inner, b), inner);
        });
}

TEST_F(AdjointOf, TheMirroredSideDecidesByItsOwnLevels) {
    Encoder encoder;
    int const a = encoder.spot("A", c_fixing);
    int const b = encoder.spot("B", c_fixing);
    int const rank = encoder.a(32, payload(0, a, b));
    int const amount = encoder.iff(encoder.above(a, 1), encoder.mul(a, b), encoder.mul(rank, b));
    auto on = sides(encoder.read(encoder.pay(amount, c_payment)));
    Tape tape;
    on.set_sides({1.25, 0.5, 0.0}, {0.75, 2.0, 0.0});
    EXPECT_THAT(on.forward(tape, false), ElementsAre(1.25 * 0.5));
    EXPECT_THAT(on.forward(tape, true), ElementsAre(0.75 * 2.0));
    on.backward(tape, true, {1.0});
    on.backward(tape, false, {1.0});
    EXPECT_EQ(on.get_adjoints(false)[0], 0.5);
    EXPECT_EQ(on.get_adjoints(true)[1], 0.75);
}

TEST_F(AdjointOf, SortedHandsOnToTheAmountAtTheRank) {
    for (int const rank : {0, 1, 2})
        expect_amount([&](Encoder& encoder, int a, int b) {
            return encoder.a(32, payload(rank, encoder.mul(a, a), encoder.number(1),
                                         encoder.a(32, payload(1, b, encoder.mul(a, b)))));
        });
}

TEST_F(AdjointOf, ANaNAmongSortedAmountsIsTheLargest) {
    auto const largest = [](Encoder& encoder, int a, int b) {
        return encoder.a(32, payload(1, encoder.a(11, payload(a)), b));
    };
    EXPECT_TRUE(std::isnan(at(largest, -1, 1)[0]));
    EXPECT_EQ(at(largest, -1, 1)[1], 0.0);
}

TEST_F(AdjointOf, ConstantsHandNothingOn) {
    EXPECT_THAT(at([](Encoder& encoder, int,
                      int) { return encoder.mul(encoder.ref("x", 3), encoder.number(2)); },
                   1, 1),
                ElementsAre(0.0, 0.0));
}

// Levels and conversions

TEST_F(AdjointOf, AFixingHandsOnToItsCell) {
    EXPECT_THAT(at([](Encoder&, int a, int) { return a; }, 3, 4), ElementsAre(1.0, 0.0));
}

TEST_F(AdjointOf, AConvertedFixingHandsOnToLevelAndRate) {
    Encoder encoder;
    int const level = encoder.spot("U", c_fixing, "EUR");
    expect_adjoints(encoder, encoder.pay(encoder.mul(level, level), c_payment));
}

TEST_F(AdjointOf, AConvertedFixingDecidesOnBothSides) {
    Encoder encoder;
    int const level = encoder.spot("U", c_fixing, "EUR");
    int const rank = encoder.a(32, payload(0, level, encoder.number(0.8)));
    expect_adjoints(encoder,
                    encoder.pay(encoder.iff(encoder.above(level, 1), level, rank), c_payment));
}

TEST_F(AdjointOf, APaymentHandsOnToAmountRateAndAdjustment) {
    Encoder encoder;
    int const a = encoder.spot("A", c_fixing);
    int const payment = encoder.pay(encoder.mul(a, a), c_payment, "USD", -1);
    auto root = encoder.read(encoder.buy(c_fixing, 2, encoder.buy(c_fixing, 3, payment), -1));
    root->scale();
    auto on = sides(root);
    EXPECT_EQ(on.cells.size(), 3U);  // the level, the rate, the adjustment
    std::mt19937 random(3);
    EXPECT_EQ(expect_adjoints(on, random), 0U);
    Tape tape;
    on.set_sides({2, 0.5, 0}, {2, 0.5, 0});
    EXPECT_THAT(on.forward(tape, false), ElementsAre(6 * 4 * 0.5));
    on.backward(tape, false, {1.0});
    EXPECT_THAT(on.get_adjoints(false), ElementsAre(6 * 4 * 0.5, 6 * 4, -6 * 4 * 0.5));
}

TEST_F(AdjointOf, ARateOfInterestHandsOnToItsZeroCoupons) {
    auto const impl = std::make_shared<Data::DepositRate>();
    impl->set_start("+2d");
    impl->set_end("+6m");
    underlying("EURIBOR6M", "EUR", impl);
    Encoder encoder;
    int const rate = encoder.spot("EURIBOR6M", c_fixing);
    int const amount = encoder.iff(encoder.above(rate, 0.0), encoder.mul(rate, rate), rate);
    auto on = sides(encoder.read(encoder.pay(amount, c_payment)));
    std::vector<AdjointPath::Cell*> zero_coupons;
    for (auto const* fixing : on.information.fixing_dates)
        for (auto const* maturity : on.information.maturity_dates) {
            auto& cell = on.grid.get_zero_coupon(*fixing, *eur, *maturity);
            if (cell.opened) zero_coupons.push_back(&cell);
        }
    ASSERT_EQ(zero_coupons.size(), 2U);
    auto const pay = [&](Values const& x) {
        for (std::size_t i = 0; i < x.size(); ++i) zero_coupons[i]->value = x[i];
        return on.run().flows.get(0);
    };
    Values const x{0.98, 0.95};
    double const expected = pay(x);
    Tape tape;
    EXPECT_THAT(on.forward(tape, false), ElementsAre(expected));
    EXPECT_THAT(on.forward(tape, true), ElementsAre(expected));
    on.backward(tape, true, {2.0});
    on.backward(tape, false, {1.0});
    EXPECT_TRUE(tape.c_is_empty());
    for (std::size_t i = 0; i < x.size(); ++i) {
        auto const along = [&](double moved) {
            Values point = x;
            point[i] = moved;
            return pay(point);
        };
        double const slope = ximTest::derivative(along, x[i], 1e-3);
        EXPECT_THAT(zero_coupons[i]->adjoint, ximTest::IsNearRel(slope, 1e-8));
        EXPECT_THAT(zero_coupons[i]->antithetic_adjoint, ximTest::IsNearRel(2.0 * slope, 1e-8));
    }
}

// Flows

TEST_F(AdjointOf, AListHandsOnToAllItsMembers) {
    Encoder encoder;
    int const a = encoder.spot("A", c_fixing);
    int const b = encoder.spot("B", c_fixing);
    int const head = encoder.both(encoder.pay(a, c_payment), encoder.pay(b, "2025-01-01"));
    int const tail =
        encoder.both(encoder.nothing(), encoder.pay(encoder.mul(a, b), "2025-01-01", "USD"));
    expect_adjoints(encoder, encoder.both(head, encoder.both(encoder.pay(b, c_payment), tail)));
}

TEST_F(AdjointOf, AListOfAnyLengthIsSweptOnAThread) {
    constexpr int nb_payments = 20'000;
    Encoder encoder;
    int const a = encoder.spot("A", c_fixing);
    int list = encoder.pay(a, c_payment);
    for (int i = 1; i < nb_payments; ++i) list = encoder.both(encoder.pay(a, c_payment), list);
    auto root = encoder.read(list);
    auto on = sides(root->clone());
    on.set_sides({2, 0}, {3, 0});
    std::thread([&] {
        Tape tape;
        EXPECT_THAT(on.forward(tape, false), ElementsAre(2.0 * nb_payments));
        EXPECT_THAT(on.forward(tape, true), ElementsAre(3.0 * nb_payments));
        on.backward(tape, true, {1.0});
        on.backward(tape, false, {0.5});
        EXPECT_TRUE(tape.c_is_empty());
    }).join();
    EXPECT_EQ(on.get_adjoints(false)[0], 0.5 * nb_payments);
    EXPECT_EQ(on.get_adjoints(true)[0], 1.0 * nb_payments);
}

TEST_F(AdjointOf, DeepTreesAreSweptOnAThread) {
    constexpr int depth = 9'900;  // 10,000 is the most that a contract may have
    auto const nest = [&](int kind, Encoder& encoder) {
        int const a = encoder.spot("A", c_fixing);
        int amount = a;
        int event = encoder.above(a, 1);
        if (kind == 0)
            for (int i = 0; i < depth; ++i) amount = encoder.add(amount, encoder.number(0));
        if (kind == 1)
            for (int i = 0; i < depth; ++i)
                event = encoder.e(7, payload(event, encoder.truth(true)));
        int flow =
            encoder.condition(event, encoder.pay(amount, c_payment), encoder.nothing(), 0.5, 0.5);
        if (kind == 2)
            for (int i = 0; i < depth; ++i)
                flow = encoder.condition(encoder.truth(true), flow, encoder.nothing(), 0.5, 0.5);
        return flow;
    };
    for (auto const type : {SmoothingType::NONE, SmoothingType::SYMETRIC})
        for (int const kind : {0, 1, 2}) {
            smooth(type);
            Encoder encoder;
            auto on = sides(encoder.read(nest(kind, encoder)));
            on.set_sides({2, 0}, {3, 0});
            std::thread([&] {
                Tape tape;
                EXPECT_THAT(on.forward(tape, false), ElementsAre(2.0));
                EXPECT_THAT(on.forward(tape, true), ElementsAre(3.0));
                on.backward(tape, true, {1.0});
                on.backward(tape, false, {1.0});
                EXPECT_TRUE(tape.c_is_empty());
            }).join();
            EXPECT_EQ(on.get_adjoints(false)[0], 1.0);
        }
}

TEST_F(AdjointOf, AChoiceAddsNothingAndHandsNothingOn) {
    Encoder encoder;
    int const payment = encoder.pay(encoder.spot("A", c_fixing), c_payment);
    int const choice = encoder.c(2, payload(1, c_fixing, payment, encoder.nothing()));
    auto on = sides(encoder.read(choice));
    Tape tape;
    on.set_sides(Values(on.cells.size(), 2.0), Values(on.cells.size(), 3.0));
    EXPECT_THAT(on.forward(tape, false), ElementsAre(0.0));
    EXPECT_TRUE(tape.c_is_empty());
    on.backward(tape, false, {1.0});
    EXPECT_EQ(on.get_adjoints(false), Values(on.cells.size(), 0.0));
}

TEST_F(AdjointOf, AnEndLeavesTheTapeEmpty) {
    Encoder encoder;
    auto on = sides(
        encoder.read(encoder.both(encoder.nothing(), encoder.pay(encoder.number(1), c_payment))));
    Tape tape;
    EXPECT_THAT(on.forward(tape, false), ElementsAre(1.0));
    on.backward(tape, false, {1.0});
    EXPECT_TRUE(tape.c_is_empty());
}

TEST_F(AdjointOf, AnAmountKeptForAPathIsSweptAsItIs) {
    Encoder encoder;
    int const a = encoder.spot("A", c_fixing);
    int const b = encoder.spot("B", c_fixing);
    int const kept = encoder.iff(encoder.above(encoder.mul(a, b), 1), encoder.mul(a, b), b);
    int const amount = encoder.mul(encoder.ref("level", 3), kept);
    auto const root = encoder.read(encoder.condition(
        encoder.above(amount, 1), encoder.pay(amount, c_payment), encoder.pay(kept, c_payment)));
    auto const clone = root->clone();
    auto plain = sides(root);
    auto keeping = sides(clone);
    std::uint64_t path = 1;
    keep_path_constants(*clone, {"level"}, path);
    EXPECT_THAT(at(keeping, 1.5, 2), ElementsAre(6.0, 4.5));
    ++path;
    EXPECT_THAT(at(keeping, 0.5, 0.25), ElementsAre(0.0, 1.0));
    EXPECT_THAT(at(plain, 0.5, 0.25), ElementsAre(0.0, 1.0));
}

TEST_F(AdjointOf, ACloneSweepsOnItsOwn) {
    smooth(SmoothingType::UPPER);
    Encoder encoder;
    int const a = encoder.spot("A", c_fixing);
    int const payment = encoder.pay(encoder.mul(a, a), c_payment);
    int const condition =
        encoder.condition(encoder.above(a, 1), payment, encoder.nothing(), 0.4, 0.4);
    auto root = encoder.read(encoder.both(condition, encoder.both(payment, condition)));
    auto original = sides(root);
    Tape tape;
    original.set_sides({1.1, 0}, {1.1, 0});
    auto const flows = original.forward(tape, false);
    auto const clone = root->clone();
    Tape other;
    auto on = sides(clone);
    on.set_sides({1.1, 0}, {1.1, 0});
    EXPECT_EQ(on.forward(other, false), flows);
    on.backward(other, false, {1.0});
    original.backward(tape, false, {1.0});
    EXPECT_EQ(on.get_adjoints(false), original.get_adjoints(false));
    EXPECT_TRUE(tape.c_is_empty());
    EXPECT_TRUE(other.c_is_empty());
}

// Names

TEST_F(AdjointOf, ANameIsReadAsOnAPlainPath) {
    Encoder encoder;
    int const a = encoder.spot("A", c_fixing);
    int const early = encoder.pay(encoder.mul(encoder.reference("x"), a), c_payment);
    int const late = encoder.pay(encoder.mul(encoder.reference("x"), a), "2025-01-01");
    int const setting = encoder.set("x", encoder.number(3));
    auto on = sides(encoder.read(encoder.both(early, encoder.both(setting, late))));
    Tape tape;
    on.set_sides({2, 0, 0}, {5, 0, 0});
    EXPECT_THAT(on.forward(tape, false), ElementsAre(0.0, 6.0)) << "0 before it is set";
    EXPECT_THAT(on.forward(tape, true), ElementsAre(0.0, 15.0));
    on.backward(tape, true, {1.0, 1.0});
    on.backward(tape, false, {1.0, 1.0});
    EXPECT_EQ(on.get_adjoints(false)[0], 3.0);
    EXPECT_EQ(on.get_adjoints(true)[0], 3.0);
    EXPECT_TRUE(tape.c_is_empty());
}

TEST_F(AdjointOf, NothingIsHandedOnThroughAName) {
    Encoder encoder;
    int const a = encoder.spot("A", c_fixing);
    int const b = encoder.spot("B", c_fixing);
    int const setting = encoder.set("x", encoder.mul(a, a));
    int const payment = encoder.pay(encoder.mul(encoder.reference("x"), b), c_payment);
    auto on = sides(encoder.read(encoder.both(setting, payment)));
    EXPECT_THAT(at(on, 3, 2), ElementsAre(0.0, 9.0));
}

// Conditions without smoothing

TEST_F(AdjointOf, AConditionOfFlowsHandsOnToTheChosenBranch) {
    Encoder encoder;
    int const a = encoder.spot("A", c_fixing);
    int const b = encoder.spot("B", c_fixing);
    int const inner =
        encoder.condition(encoder.above(b, 1), encoder.pay(encoder.mul(a, b), c_payment),
                          encoder.pay(encoder.mul(b, b), "2025-01-01"), 0.3, 0.3);
    expect_adjoints(encoder,
                    encoder.condition(encoder.above(a, 1), inner,
                                      encoder.pay(encoder.mul(a, a), c_payment), 0.3, 0.3));
}

TEST_F(AdjointOf, WithoutSpreadsAConditionIsNotSmoothed) {
    for (auto const type : {SmoothingType::LOWER, SmoothingType::SYMETRIC, SmoothingType::UPPER}) {
        smooth(type);
        Encoder encoder;
        int const a = encoder.spot("A", c_fixing);
        auto on =
            sides(encoder.read(encoder.condition(encoder.above(a, 1), encoder.pay(a, c_payment),
                                                 encoder.pay(encoder.number(7), c_payment))));
        Tape tape;
        on.set_sides({1.001, 0}, {0.999, 0});
        EXPECT_THAT(on.forward(tape, false), ElementsAre(1.001));
        EXPECT_THAT(on.forward(tape, true), ElementsAre(7.0));
        on.backward(tape, true, {1.0});
        on.backward(tape, false, {1.0});
        EXPECT_EQ(on.get_adjoints(false)[0], 1.0);
        EXPECT_EQ(on.get_adjoints(true)[0], 0.0);
    }
}

}  // namespace
}  // namespace ximCORE::Testing
