#include <atomic>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <new>

#include "core/contract/contract_test_case.hpp"

namespace {

std::atomic<std::uint64_t> c_allocations{0};

}  // namespace

// g++ takes the pair of operators below for two allocators once it has inlined one of them.
#pragma GCC diagnostic ignored "-Wmismatched-new-delete"

void* operator new(std::size_t size) {
    ++c_allocations;
    if (void* memory = std::malloc(size == 0 ? 1 : size)) return memory;
    throw std::bad_alloc();
}
void* operator new(std::size_t size, std::nothrow_t const&) noexcept {
    ++c_allocations;
    return std::malloc(size == 0 ? 1 : size);
}
void operator delete(void* memory) noexcept {
    std::free(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
    std::free(memory);
}

namespace ximCORE::Testing {
namespace {

using Pricing::SmoothingType;

class OnAPath : public ContractCase {};

TEST_F(OnAPath, APaymentAddsToTheSlotOfItsDate) {
    Encoder encoder;
    int const first = encoder.pay(encoder.spot("A", "2023-07-02"), "2024-01-01");
    int const second = encoder.pay(encoder.number(5), "2025-01-01");
    int const third = encoder.pay(encoder.number(7), "2024-01-01", "EUR", -1);
    auto on = path(encoder, encoder.both(first, encoder.both(second, third)));
    on.set("A", "2023-07-02", 100);
    EXPECT_EQ(on.flow("2024-01-01"), 93.0);
    EXPECT_EQ(on.flow("2025-01-01"), 5.0);
    EXPECT_EQ(on.flows.c_get_size(), 2U);
}

TEST_F(OnAPath, TheRatesAdjustmentDiscountsThePayment) {
    Encoder encoder;
    auto on = path(encoder, encoder.pay(encoder.number(10), "2024-01-01", "EUR", -1));
    on.grid.set_stochastic_rates_adjustment(eur->c_get_rank(), 0, 0.25);
    EXPECT_EQ(on.flow("2024-01-01"), 10.0 * std::exp(-0.25) * -1.0);
}

TEST_F(OnAPath, APaymentInAnotherCurrencyIsConvertedAtItsDate) {
    exchange_rate("USDEUR", "USD", "EUR");
    Encoder encoder;
    auto on = path(encoder, encoder.pay(encoder.number(10), "2024-01-01", "USD"));
    on.set("USDEUR", "2024-01-01", 0.5);
    EXPECT_EQ(on.flow("2024-01-01"), 5.0);
}

TEST_F(OnAPath, AFixingInAnotherCurrencyIsConvertedAtItsDate) {
    exchange_rate("USDEUR", "USD", "EUR");
    Encoder encoder;
    auto on = path(encoder, encoder.pay(encoder.spot("U", "2023-07-02", "EUR"), "2024-01-01"));
    on.set("U", "2023-07-02", 100).set("USDEUR", "2023-07-02", 0.5);
    EXPECT_EQ(on.flow("2024-01-01"), 50.0);
}

TEST_F(OnAPath, AFixingInItsUnderlyingsCurrencyIsNotConverted) {
    Encoder encoder;
    auto on = path(encoder, encoder.pay(encoder.spot("A", "2023-07-02", "EUR"), "2024-01-01"));
    EXPECT_EQ(on.set("A", "2023-07-02", 100).flow("2024-01-01"), 100.0);
}

TEST_F(OnAPath, ARankOutsideTheFlowsRaises) {
    Encoder encoder;
    auto on = path(encoder, encoder.pay(encoder.number(1), "2024-01-01"));
    on.flows = Toolbox::Array1D<double>();
    EXPECT_THAT([&] { on.run(); }, Raises<Toolbox::SegmentationFaultException>());
}

TEST_F(OnAPath, OnlyTheCellsThatAreReadAreOpen) {
    Encoder encoder;
    int const early = encoder.pay(encoder.spot("A", "2023-07-02"), "2024-01-01");
    int const late = encoder.pay(encoder.spot("B", "2024-01-01"), "2025-01-01");
    auto on = path(encoder, encoder.both(early, late));
    auto const& cells = on.grid.c_get_equity_like();  // [2023-07-02, 2024-01-01, 2025-01-01][A, B]
    EXPECT_TRUE(cells.get(0, 0).opened);
    EXPECT_TRUE(cells.get(0, 0).closed);
    EXPECT_FALSE(cells.get(0, 1).opened);
    EXPECT_TRUE(cells.get(1, 1).opened);
    EXPECT_FALSE(cells.get(2, 1).opened);
    EXPECT_TRUE(on.grid.c_get_stochastic_rates_adjustment().get(0, 1).opened);
}

// Purchases

TEST_F(OnAPath, NestedPurchasesMultiply) {
    Encoder encoder;
    int const inner =
        encoder.buy("2023-07-02", 3, encoder.pay(encoder.number(1), "2024-01-01"), -1);
    auto const on_contract = contract(encoder, encoder.buy("2023-07-02", 2, inner));
    EXPECT_EQ(path(on_contract.get_current()).flow("2024-01-01"), -6.0);
}

TEST_F(OnAPath, APaymentReceivedHasTheScaleMinusOneFromTheStart) {
    Encoder encoder;
    auto const root = encoder.read(encoder.pay(encoder.number(1), "2024-01-01", "EUR", -1));
    EXPECT_EQ(static_cast<PayReceive&>(*root).c_get_scale(), -1.0);
    EXPECT_FALSE(static_cast<PayReceive&>(*root).c_get_payreceive());
}

TEST_F(OnAPath, APaymentSharedByTwoPurchasesIsScaledByEachAlone) {
    Encoder encoder;
    int const shared = encoder.pay(encoder.number(1), "2024-01-01");
    int const twice = encoder.buy("2023-07-02", 2, encoder.both(shared, shared));
    int const thrice = encoder.buy("2023-07-02", 3, shared);
    auto const on_contract = contract(encoder, encoder.both(twice, thrice));
    EXPECT_EQ(path(on_contract.get_current()).flow("2024-01-01"), 2.0 + 2.0 + 3.0);
}

// Named values

TEST_F(OnAPath, ANameGivesItsLastValue) {
    Encoder encoder;
    int const payment = encoder.pay(encoder.reference("x"), "2024-01-01");
    int const set_one = encoder.set("x", encoder.number(1));
    int const set_two = encoder.set("x", encoder.add(encoder.reference("x"), encoder.number(10)));
    auto on = path(
        encoder,
        encoder.both(payment,
                     encoder.both(set_one, encoder.both(payment, encoder.both(set_two, payment)))));
    EXPECT_EQ(on.flow("2024-01-01"), 0.0 + 1.0 + 11.0);
}

TEST_F(OnAPath, ANameReadBeforeAnySettingIsZeroAndBecomesPresent) {
    Encoder encoder;
    auto on = path(encoder, encoder.pay(encoder.reference("x"), "2024-01-01"));
    EXPECT_EQ(on.variables.c_find("x"), nullptr);
    EXPECT_EQ(on.flow("2024-01-01"), 0.0);
    ASSERT_NE(on.variables.c_find("x"), nullptr);
    EXPECT_EQ(*on.variables.c_find("x"), 0.0);
    EXPECT_EQ(on.variables.c_find("y"), nullptr);
}

TEST(Variables, ReadsWritesAndForgets) {
    Variables variables({"a", "b"});
    variables.write(1, 5.0);
    EXPECT_EQ(variables.read(1), 5.0);
    EXPECT_EQ(variables.c_find("a"), nullptr);
    Variables copy;
    copy = variables;
    variables.clear();
    EXPECT_EQ(variables.c_find("b"), nullptr);
    EXPECT_EQ(*copy.c_find("b"), 5.0);
    EXPECT_EQ(variables.read(1), 0.0);
}

TEST(Variables, ARankWithoutSlotRaises) {
    Variables variables({"a"});
    EXPECT_THAT([&] { variables.read(-1); }, Raises<Toolbox::SegmentationFaultException>());
    EXPECT_THAT([&] { variables.write(1, 0.0); }, Raises<Toolbox::SegmentationFaultException>());
}

// Conditions and choices

TEST_F(OnAPath, AnIfPaysTheChosenBranch) {
    Encoder encoder;
    int const event = encoder.above(encoder.spot("A", "2023-07-02"), 100);
    auto on = path(encoder, encoder.condition(event, encoder.pay(encoder.number(1), "2024-01-01"),
                                              encoder.pay(encoder.number(2), "2024-01-01")));
    EXPECT_EQ(on.set("A", "2023-07-02", 101).flow("2024-01-01"), 1.0);
    EXPECT_EQ(on.set("A", "2023-07-02", 100).flow("2024-01-01"), 2.0);
}

TEST_F(OnAPath, AnIffTakesTheChosenAmount) {
    Encoder encoder;
    int const event = encoder.above(encoder.spot("A", "2023-07-02"), 100);
    auto on = path(
        encoder, encoder.pay(encoder.iff(event, encoder.number(1), encoder.spot("B", "2023-07-02")),
                             "2024-01-01"));
    on.set("B", "2023-07-02", 42);
    EXPECT_EQ(on.set("A", "2023-07-02", 101).flow("2024-01-01"), 1.0);
    EXPECT_EQ(on.set("A", "2023-07-02", 99).flow("2024-01-01"), 42.0);
}

TEST_F(OnAPath, AChoiceAddsNothing) {
    Encoder encoder;
    int const one = encoder.pay(encoder.number(1), "2024-01-01");
    auto on = path(encoder, encoder.both(encoder.pay(encoder.number(3), "2024-01-01"),
                                         encoder.c(2, payload(1, "2023-07-02", one))));
    EXPECT_EQ(on.flow("2024-01-01"), 3.0);
}

TEST_F(OnAPath, SortedTakesTheAmountAtItsRank) {
    std::vector<double> const levels{3, 1, 2};
    for (int rank = 0; rank < 3; ++rank) {
        Encoder encoder;
        int const a = encoder.spot("A", "2023-07-02");
        int const b = encoder.spot("B", "2023-07-02");
        int const c = encoder.spot("A", "2024-01-01");
        auto on = path(encoder, encoder.pay(encoder.a(32, payload(rank, a, b, c)), "2024-01-01"));
        on.set("A", "2023-07-02", levels[0])
            .set("B", "2023-07-02", levels[1])
            .set("A", "2024-01-01", levels[2]);
        EXPECT_EQ(on.flow("2024-01-01"), rank + 1.0);
        on.set("A", "2023-07-02", 5);  // a second path, with another order
        EXPECT_EQ(on.flow("2024-01-01"),
                  (std::vector{1.0, 2.0, 5.0})[static_cast<std::size_t>(rank)]);
    }
}

TEST_F(OnAPath, SortedOfEqualValuesIsTheValue) {
    Encoder encoder;
    int const a = encoder.spot("A", "2023-07-02");
    auto on = path(encoder, encoder.pay(encoder.a(32, payload(0, a, a)), "2024-01-01"));
    EXPECT_EQ(on.set("A", "2023-07-02", 8).flow("2024-01-01"), 8.0);
}

TEST_F(OnAPath, SortedCountsNaNAsTheLargest) {
    Encoder encoder;
    int const a = encoder.spot("A", "2023-07-02");
    int const b = encoder.spot("B", "2023-07-02");
    auto on = path(
        encoder, encoder.pay(encoder.a(32, payload(1, a, b, a, encoder.number(4))), "2024-01-01"));
    on.set("A", "2023-07-02", std::numeric_limits<double>::quiet_NaN()).set("B", "2023-07-02", 9);
    EXPECT_EQ(on.flow("2024-01-01"), 9.0);
}

// Smoothed conditions

class Smoothed : public ContractCase {
 protected:
    /// If(A > 100) with spreads of 2 on either side: `then` at the first date and `otherwise` at
    /// the second.
    Path digital(double then_first, double then_second, double else_first,
                 double else_second) const {
        Encoder encoder;
        auto const branch = [&](double first, double second) {
            return encoder.both(
                encoder.pay(encoder.add(encoder.number(first), zero(encoder)), "2024-01-01"),
                encoder.pay(encoder.add(encoder.number(second), zero(encoder)), "2025-01-01"));
        };
        int const event = encoder.above(encoder.spot("A", "2023-07-02"), 100);
        int const then = branch(then_first, then_second);
        int const otherwise = branch(else_first, else_second);
        return path(encoder, encoder.condition(event, then, otherwise, 2, 2));
    }
    static int zero(Encoder& encoder) { return encoder.number(0); }
};

TEST_F(Smoothed, WithoutATypeSpreadsHaveNoEffect) {
    smooth(SmoothingType::NONE);
    auto on = digital(1, 1, 0, 0);
    EXPECT_EQ(on.set("A", "2023-07-02", 99).flow("2024-01-01"), 0.0);
    EXPECT_EQ(on.set("A", "2023-07-02", 101).flow("2024-01-01"), 1.0);
}

TEST_F(Smoothed, EachSlotMixesItsBranchesAlongTheRamp) {
    smooth(SmoothingType::SYMETRIC);
    auto on = digital(8, 1, 4, 3);
    on.set("A", "2023-07-02", 99);  // a quarter of the way up
    EXPECT_EQ(on.flow("2024-01-01"), 4.0 * 0.25 + 4.0);
    EXPECT_EQ(on.flow("2025-01-01"), -2.0 * 0.25 + 3.0);
}

TEST_F(Smoothed, UpperNeverPaysLessAndLowerNeverMore) {
    for (double const level : {97.0, 98.5, 99.5, 100.0, 100.5, 101.5, 103.0})
        for (bool const is_up : {true, false}) {
            double const then = is_up ? 5 : 2;
            double const otherwise = is_up ? 2 : 5;
            auto on = digital(then, then, otherwise, otherwise);
            on.set("A", "2023-07-02", level);
            auto const flow = [&](SmoothingType type) {
                smooth(type);
                return on.flow("2024-01-01");
            };
            double const plain = flow(SmoothingType::NONE);
            EXPECT_GE(flow(SmoothingType::UPPER), plain) << level << is_up;
            EXPECT_LE(flow(SmoothingType::LOWER), plain) << level << is_up;
            EXPECT_GE(flow(SmoothingType::UPPER), flow(SmoothingType::SYMETRIC)) << level << is_up;
            EXPECT_GE(flow(SmoothingType::SYMETRIC), flow(SmoothingType::LOWER)) << level << is_up;
        }
}

TEST_F(Smoothed, EachSlotHasTheDirectionOfItsOwnGap) {
    smooth(SmoothingType::UPPER);
    auto on = digital(1, 0, 0, 1);
    on.set("A", "2023-07-02", 99);
    EXPECT_EQ(on.flow("2024-01-01"), 0.5);  // on the ramp from 98 to 100
    EXPECT_EQ(on.flow("2025-01-01"), 1.0);  // below the ramp from 100 to 102
}

TEST_F(Smoothed, WithoutAGapTheSlotIsTheElseBranchWhateverTheEvent) {
    for (auto const type : {SmoothingType::LOWER, SmoothingType::SYMETRIC, SmoothingType::UPPER}) {
        smooth(type);
        auto on = digital(3, 3, 3, 3);
        on.set("A", "2023-07-02", std::numeric_limits<double>::quiet_NaN());
        EXPECT_EQ(on.flow("2024-01-01"), 3.0);
    }
}

TEST_F(Smoothed, ZeroSpreadsAreNoSpreads) {
    smooth(SmoothingType::SYMETRIC);
    Encoder encoder;
    int const event = encoder.above(encoder.spot("A", "2023-07-02"), 100);
    auto const root = encoder.read(
        encoder.condition(event, encoder.pay(encoder.number(1), "2024-01-01"), encoder.nothing()));
    EXPECT_FALSE(static_cast<If&>(*root).c_get_with_spread());
    auto on = path(root);
    EXPECT_EQ(on.set("A", "2023-07-02", 100).flow("2024-01-01"), 0.0);
}

TEST_F(Smoothed, ASettingInABranchIsNotSeenOutside) {
    smooth(SmoothingType::SYMETRIC);
    Encoder encoder;
    int const event = encoder.above(encoder.spot("A", "2023-07-02"), 100);
    int const inside = encoder.both(encoder.set("x", encoder.number(5)),
                                    encoder.pay(encoder.reference("x"), "2024-01-01"));
    int const smoothed =
        encoder.condition(event, inside, encoder.pay(encoder.reference("x"), "2024-01-01"), 2, 2);
    int const outside = encoder.pay(encoder.reference("x"), "2025-01-01");
    auto on = path(encoder, encoder.both(encoder.set("x", encoder.number(1)),
                                         encoder.both(smoothed, outside)));
    on.set("A", "2023-07-02", 101);
    EXPECT_EQ(on.flow("2024-01-01"), 4.0 * 0.75 + 1.0);  // 5 in the branch, 1 in the other
    EXPECT_EQ(on.flow("2025-01-01"), 1.0);
    smooth(SmoothingType::NONE);
    EXPECT_EQ(on.flow("2025-01-01"), 5.0);
}

TEST_F(Smoothed, NestedConditionsMultiplyTheirWeights) {
    smooth(SmoothingType::SYMETRIC);
    Encoder encoder;
    int const one = encoder.pay(encoder.number(1), "2024-01-01");
    int const inner = encoder.condition(encoder.above(encoder.spot("B", "2023-07-02"), 100), one,
                                        encoder.nothing(), 2, 2);
    auto on = path(encoder, encoder.condition(encoder.above(encoder.spot("A", "2023-07-02"), 100),
                                              inner, encoder.nothing(), 2, 2));
    on.set("A", "2023-07-02", 99).set("B", "2023-07-02", 101);
    EXPECT_EQ(on.flow("2024-01-01"), 0.25 * 0.75);
    EXPECT_EQ(on.flow("2024-01-01"), 0.25 * 0.75);  // nothing of a path stays behind
}

// Cost

TEST_F(OnAPath, APathAllocatesNothing) {
    for (auto const type : {SmoothingType::NONE, SmoothingType::SYMETRIC, SmoothingType::UPPER}) {
        smooth(type);
        Encoder encoder;
        int const a = encoder.spot("A", "2023-07-02");
        int const b = encoder.spot("B", "2023-07-02");
        int const sorted = encoder.a(32, payload(1, a, b, encoder.number(100)));
        int const setting =
            encoder.set("x", encoder.a(8, payload(encoder.mul(sorted, encoder.number(0.001)))));
        int const payment = encoder.pay(
            encoder.iff(encoder.greater(a, b), encoder.reference("x"), b), "2024-01-01");
        int const inner = encoder.condition(encoder.above(b, 100), payment, setting, 2, 2);
        int const outer =
            encoder.condition(encoder.above(a, 100), encoder.both(setting, inner), payment, 2, 2);
        auto on = path(encoder, encoder.both(setting, encoder.both(outer, payment)));
        on.set("A", "2023-07-02", 100.5).set("B", "2023-07-02", 99.5).run();
        auto const before = c_allocations.load();
        for (int trial = 0; trial < 10; ++trial) on.run();
        EXPECT_EQ(c_allocations.load(), before);
    }
}

TEST_F(OnAPath, AnAdjointPathAllocatesNothingOnceTheTapeHasGrown) {
    using enum Toolbox::AAD::SweepType;
    for (auto const type : {SmoothingType::NONE, SmoothingType::SYMETRIC, SmoothingType::UPPER}) {
        smooth(type);
        Encoder encoder;
        int const a = encoder.spot("A", "2023-07-02");
        int const u = encoder.spot("U", "2023-07-02", "EUR");
        int const sorted = encoder.a(32, payload(1, a, u, encoder.number(100)));
        int const setting = encoder.set("x", encoder.mul(sorted, encoder.number(0.001)));
        int const payment = encoder.pay(
            encoder.iff(encoder.greater(a, u), encoder.reference("x"), sorted), "2024-01-01");
        int const inner = encoder.condition(encoder.above(u, 100), payment, setting, 2, 2);
        int const outer =
            encoder.condition(encoder.above(a, 100), encoder.both(setting, inner), payment, 2, 2);
        auto const root = encoder.read(encoder.both(setting, encoder.both(outer, payment)));
        exchange_rate("USDEUR", "USD", "EUR");
        auto on = path(root);
        on.set("A", "2023-07-02", 100.5).set("U", "2023-07-02", 99.5);
        on.set("USDEUR", "2023-07-02", 1.0);
        Toolbox::AAD::Tape tape;
        Toolbox::Array1D<double> adjoints(on.flows.c_get_size());
        auto const sweep = [&] {
            for (bool const antithetic : {false, true}) {
                on.variables.clear();
                root->aeval(tape, FORWARD, antithetic, on.grid, on.variables, on.flows, adjoints);
            }
            for (bool const antithetic : {true, false})
                root->aeval(tape, BACKWARD, antithetic, on.grid, on.variables, on.flows, adjoints);
        };
        sweep();
        auto const before = c_allocations.load();
        for (int trial = 0; trial < 10; ++trial) sweep();
        EXPECT_EQ(c_allocations.load(), before);
        EXPECT_TRUE(tape.c_is_empty());
    }
}

}  // namespace
}  // namespace ximCORE::Testing
