// A contract as a function of the one level that it depends on: what a static replication reads.

#include <algorithm>
#include <functional>

#include "contract_test_case.hpp"

namespace ximCORE::Testing {
namespace {

using Builder = std::function<int(Encoder&)>;

std::string const c_half{"2023-07-02"};
std::string const c_one{"2024-01-01"};

/// What a tree pays at a level.
class PayoffAtLevel : public ContractCase {
 protected:
    static int spot_a(Encoder& e) { return e.spot("A", c_one); }
    static double at(double x, Builder const& build) {
        Encoder encoder;
        return encoder.read(build(encoder))->c_eval_carr_madan(x);
    }
    static double amount(double x, Builder const& build) {
        return at(x, [&](Encoder& e) { return e.pay(build(e), c_one); });
    }
    /// The event as 1 or 0, by the branch that it chooses.
    static double event(double x, Builder const& build) {
        Encoder encoder;
        int const root = encoder.condition(build(encoder), encoder.pay(encoder.number(1), c_one),
                                           encoder.nothing());
        return encoder.read(root)->c_eval_carr_madan(x);
    }
};

TEST_F(PayoffAtLevel, LeavesAreTheLevelTheirValueOrZero) {
    EXPECT_EQ(amount(120.0, spot_a), 120.0);
    EXPECT_EQ(amount(120.0, [](Encoder& e) { return e.number(7.0); }), 7.0);
    EXPECT_EQ(amount(120.0, [](Encoder& e) { return e.ref("K", 9.0); }), 9.0);
    EXPECT_EQ(amount(120.0, [](Encoder& e) { return e.reference("x"); }), 0.0);
    EXPECT_EQ(amount(120.0, [](Encoder& e) { return e.a(32, payload(0, spot_a(e))); }), 0.0);
    EXPECT_EQ(event(1.0, [](Encoder& e) { return e.truth(true); }), 1.0);
    EXPECT_EQ(event(1.0, [](Encoder& e) { return e.truth(false); }), 0.0);
}

TEST_F(PayoffAtLevel, OperatorsActOnTheirOperands) {
    for (double const x : {40.0, 99.0, 100.0, 101.0, 260.0}) {
        auto const binary = [&](int op) {
            return amount(x,
                          [op](Encoder& e) { return e.a(op, payload(spot_a(e), e.number(100))); });
        };
        EXPECT_EQ(binary(0), x + 100.0);
        EXPECT_EQ(binary(1), x / 100.0);
        EXPECT_EQ(binary(2), std::max(x, 100.0));
        EXPECT_EQ(binary(3), std::min(x, 100.0));
        EXPECT_EQ(binary(4), x * 100.0);
        EXPECT_EQ(binary(5), x - 100.0);
        auto const left = [&](int op) {
            return amount(x, [op](Encoder& e) { return e.a(op, payload(100, spot_a(e))); });
        };
        EXPECT_EQ(left(15), 100.0 / x);
        EXPECT_EQ(left(19), 100.0 - x);
        auto const right = [&](int op) {
            return amount(x, [op](Encoder& e) { return e.a(op, payload(spot_a(e), 2)); });
        };
        EXPECT_EQ(right(25), x * x);
        EXPECT_EQ(right(26), x - 2.0);
        EXPECT_EQ(amount(x, [](Encoder& e) { return e.a(12, payload(spot_a(e))); }), -x);
    }
}

TEST_F(PayoffAtLevel, EventsAreOneOrZero) {
    for (double const x : {99.0, 100.0, 101.0}) {
        auto const compare = [&](int op) {
            return event(x, [op](Encoder& e) { return e.e(op, payload(spot_a(e), 100)); });
        };
        EXPECT_EQ(compare(15), x == 100.0);
        EXPECT_EQ(compare(16), x > 100.0);
        EXPECT_EQ(compare(17), x >= 100.0);
        EXPECT_EQ(compare(18), x < 100.0);
        EXPECT_EQ(compare(19), x <= 100.0);
        EXPECT_EQ(compare(20), x != 100.0);
        EXPECT_EQ(event(x, [](Encoder& e) { return e.greater(spot_a(e), e.number(100)); }),
                  x > 100.0);
        EXPECT_EQ(event(x, [](Encoder& e) { return e.e(10, payload(100, spot_a(e))); }), 100.0 > x);
        auto const join = [&](int op) {
            return event(x, [op](Encoder& e) {
                return e.e(op, payload(e.above(spot_a(e), 99.5), e.above(spot_a(e), 100.5)));
            });
        };
        EXPECT_EQ(join(7), x > 100.5);
        EXPECT_EQ(join(8), x > 99.5);
        EXPECT_EQ(event(x, [](Encoder& e) { return e.e(0, payload(e.above(spot_a(e), 99.5))); }),
                  x <= 99.5);
    }
}

TEST_F(PayoffAtLevel, AConditionPaysTheBranchOfItsEvent) {
    auto const build = [](Encoder& e) {
        int const amount = e.iff(e.above(spot_a(e), 150.0), e.number(150.0), spot_a(e));
        return e.condition(e.above(spot_a(e), 100.0), e.pay(amount, c_one),
                           e.pay(e.number(1.0), c_one));
    };
    EXPECT_EQ(at(90.0, build), 1.0);
    EXPECT_EQ(at(120.0, build), 120.0);
    EXPECT_EQ(at(170.0, build), 150.0);
}

TEST_F(PayoffAtLevel, AChoiceCountsAsAPayoffOf1WhateverItsAlternativesPay) {
    EXPECT_EQ(at(90.0,
                 [](Encoder& e) {
                     return e.c(2, payload(1, c_half, e.pay(e.number(7.0), c_one), e.nothing()));
                 }),
              1.0);
}

TEST_F(PayoffAtLevel, ListsPurchasesAndSignsAreCounted) {
    Encoder encoder;
    int const received = encoder.pay(spot_a(encoder), c_one, "EUR", -1);
    int const bought = encoder.buy(c_half, 3.0, encoder.pay(encoder.number(10.0), c_one));
    auto const what = contract(
        encoder,
        encoder.both(received, encoder.both(bought, encoder.both(encoder.set("x", spot_a(encoder)),
                                                                 encoder.nothing()))));
    EXPECT_EQ(what.c_get_cashflow()->c_eval_carr_madan(4.0), -4.0 + 30.0);
}

}  // namespace
}  // namespace ximCORE::Testing
