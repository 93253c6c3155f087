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

using Pricing::SmoothingType;
using ::testing::ElementsAre;

constexpr char const* c_fixing = "2023-07-02";
constexpr char const* c_payment = "2024-01-01";

/// Equal, infinities and NaN included.
bool is_same(double a, double b) {
    return a == b || (std::isnan(a) && std::isnan(b));
}

/// The derivatives of one payment by Spot(A) and Spot(B), in this order.
class AdjointOf : public AdjointCase {
 protected:
    using Encode = std::function<int(Encoder&, int, int)>;

    AdjointPath amount_sides(Encode const& encode) const {
        Encoder encoder;
        int const a = encoder.spot("A", c_fixing);
        int const b = encoder.spot("B", c_fixing);
        return sides(encoder.read(encoder.pay(encode(encoder, a, b), c_payment)));
    }
    void expect_amount(Encode const& encode) const { expect_adjoints(amount_sides(encode)); }

    /// At one point, where differences may not exist; on both sides the same.
    static Values at(AdjointPath& on, double a, double b) {
        Tape tape;
        Values point{a, b};
        point.resize(on.cells.size());
        on.set_sides(point, point);
        on.forward(tape, false);
        on.forward(tape, true);
        Values const weights(on.flows.c_get_size(), 1.0);
        on.backward(tape, true, weights);
        on.backward(tape, false, weights);
        EXPECT_TRUE(tape.c_is_empty());
        Values const adjoints = on.get_adjoints(false);
        for (std::size_t i = 0; i < adjoints.size(); ++i)
            EXPECT_TRUE(is_same(adjoints[i], on.get_adjoints(true)[i])) << i;
        return {adjoints[0], adjoints[1]};
    }
    /// Of the payment of 1 * A + 0 * B + amount, so that both are read, less these two.
    Values at(Encode const& encode, double a, double b) const {
        auto on = amount_sides([&](Encoder& encoder, int left, int right) {
            int const nothing =
                encoder.add(encoder.a(24, payload(left, 0)), encoder.a(24, payload(right, 0)));
            return encoder.add(encode(encoder, left, right), nothing);
        });
        return at(on, a, b);
    }
};

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

// Smoothing

std::vector<SmoothingType> const c_types{SmoothingType::NONE, SmoothingType::LOWER,
                                         SmoothingType::SYMETRIC, SmoothingType::UPPER};

class AdjointSmoothing : public AdjointOf {
 protected:
    using EncodeEvent = std::function<int(Encoder&, int, int)>;

    /// Under all types, with a gap of either sign, and with one that depends on the slot.
    void expect_event(EncodeEvent const& encode) const {
        for (auto const type : c_types)
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
    for (auto const type : c_types) {
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
    for (auto const type : c_types) {
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

// Random trees

class RandomTree {
 public:
    explicit RandomTree(unsigned seed) : m_random(seed) {}

    std::shared_ptr<CashFlow> grow() { return m_encoder.read(with_names(cashflow(4))); }

 private:
    int pick(int count) { return std::uniform_int_distribution<int>(0, count - 1)(m_random); }
    double number() { return std::uniform_real_distribution<double>(0.5, 1.5)(m_random); }
    double width() { return std::uniform_real_distribution<double>(0.1, 0.8)(m_random); }
    std::string date() {
        return std::vector<std::string>{c_fixing, c_payment,
                                        "2025-01-01"}[static_cast<std::size_t>(pick(3))];
    }
    std::string name() { return pick(2) == 0 ? "x" : "y"; }

    int leaf() {
        switch (pick(6)) {
            case 0:
                return m_encoder.number(number());
            case 1:
                return m_encoder.ref("level", number());
            case 2:
                return m_encoder.reference(name());
            case 3:
                return m_encoder.spot("U", date(), "EUR");
            case 4:
                return m_encoder.spot("B", date());
            default:
                return m_encoder.spot("A", date());
        }
    }
    /// Above 0.5, where every operator is smooth and finite.
    int positive(int depth) {
        return m_encoder.a(20, payload(m_encoder.a(6, payload(amount(depth))), 0.5));
    }
    /// In [-1, 1].
    int bounded(int depth) { return m_encoder.a(pick(2) == 0 ? 7 : 10, payload(amount(depth))); }
    int amount(int depth) {
        if (depth == 0) return leaf();
        --depth;
        switch (pick(14)) {
            case 0:
                return m_encoder.add(amount(depth), amount(depth));
            case 1:
                return m_encoder.a(1, payload(amount(depth), positive(depth)));
            case 2:
                return m_encoder.a(2 + pick(2), payload(amount(depth), amount(depth)));
            case 3:
                return m_encoder.mul(bounded(depth), amount(depth));
            case 4:
                return m_encoder.a(5, payload(amount(depth), amount(depth)));
            case 5:
                return m_encoder.a(8, payload(bounded(depth)));
            case 6:
                return m_encoder.a(pick(2) == 0 ? 9 : 11, payload(positive(depth)));
            case 7:
                return m_encoder.a(13, payload(m_encoder.a(24, payload(bounded(depth), 0.5))));
            case 8:
                return m_encoder.a(12, payload(amount(depth)));
            case 9:
                return m_encoder.a(15, payload(number(), positive(depth)));
            case 10:
                return m_encoder.a(25, payload(m_encoder.a(8, payload(bounded(depth))), number()));
            case 11:
                return m_encoder.iff(event(depth), amount(depth), amount(depth));
            case 12:
                return m_encoder.a(32,
                                   payload(pick(3), amount(depth), amount(depth), amount(depth)));
            default:
                return m_encoder.a(16 + pick(2), payload(number(), amount(depth)));
        }
    }
    int event(int depth) {
        if (depth > 0 && pick(2) == 0) {
            --depth;
            if (pick(3) == 0) return m_encoder.e(0, payload(event(depth)));
            return m_encoder.e(7 + pick(2), payload(event(depth), event(depth)));
        }
        switch (pick(8)) {
            case 0:
                return m_encoder.truth(pick(2) == 0);
            case 1:
            case 2:
            case 3:
                return m_encoder.e(1 + pick(6), payload(amount(1), amount(1)));
            case 4:
            case 5:
                return m_encoder.e(9 + pick(6), payload(number(), amount(1)));
            default:
                return m_encoder.e(15 + pick(6), payload(amount(1), number()));
        }
    }
    int cashflow(int depth) {
        if (depth == 0) {
            if (pick(8) == 0) return m_encoder.nothing();
            return m_encoder.pay(amount(3), date(), pick(3) == 0 ? "USD" : "EUR",
                                 pick(4) == 0 ? -1 : 1);
        }
        --depth;
        switch (pick(8)) {
            case 0:
                return m_encoder.buy(c_fixing, number(), cashflow(depth), pick(2) == 0 ? 1 : -1);
            case 1:
                return m_encoder.set(name(), m_encoder.number(number()));
            case 2:
                return m_encoder.c(2, payload(1, c_fixing, cashflow(depth), cashflow(depth)));
            case 3:
            case 4:
                return m_encoder.both(cashflow(depth), cashflow(depth));
            case 5:
                return m_encoder.condition(event(2), cashflow(depth), cashflow(depth));
            default:
                return m_encoder.condition(event(2), cashflow(depth), cashflow(depth), width(),
                                           width());
        }
    }
    /// Names are set to numbers alone: nothing is handed on through them.
    int with_names(int root) {
        int const payment = m_encoder.pay(m_encoder.spot("A", c_fixing), c_payment);
        return m_encoder.both(m_encoder.set("x", m_encoder.number(number())),
                              m_encoder.both(root, payment));
    }

    std::mt19937 m_random;
    Encoder m_encoder;
};

TEST_F(AdjointSmoothing, RandomTreesHandOnTheirDerivatives) {
    std::size_t nb_compared = 0;
    std::size_t nb_left_out = 0;
    for (unsigned seed = 1; seed <= 400; ++seed) {
        SCOPED_TRACE(seed);
        smooth(c_types[seed % c_types.size()]);
        auto root = RandomTree(seed).grow();
        root->scale();
        auto on = sides(root);
        std::mt19937 random(seed);
        nb_left_out += expect_adjoints(on, random);
        nb_compared += 2 * on.cells.size();
    }
    EXPECT_GT(nb_compared, 2000U);
    EXPECT_LT(20 * nb_left_out, nb_compared) << "at most one in twenty lies at a kink";
}

}  // namespace
}  // namespace ximCORE::Testing
