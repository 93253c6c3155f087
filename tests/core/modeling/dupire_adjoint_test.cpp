// The adjoint sweeps of the local volatility paths.

#include "core/modeling/local_volatility_case.hpp"
#include "core/pricing/results.hpp"
#include "core/toolbox/errors.hpp"
#include "support/matchers.hpp"

namespace ximCORE::Modeling {
namespace {

using Toolbox::AAD::SweepType;
using Toolbox::AAD::Tape;
using ximTest::IsNearRel;

class DupireAdjointTest : public LocalVolatilityCase {
 protected:
    void aprepare(MCHelper& helper) {
        helper.set(today, Toolbox::DayCounter(), information.lists, nullptr);
        helper.switch_to_central();
        ASSERT_TRUE(
            helper.acalibrate_internal(calibration, SweepType::FORWARD, today, information.lists));
    }
    static FixingGrid::Cell& cell(MCHelper& helper, std::uint64_t fixing,
                                  std::uint64_t underlying) {
        return helper.get_fixing_grid().get_column(underlying)[fixing];
    }

    Tape calibration;
    Tape tape;  // of the paths
};

TEST_F(DupireAdjointTest, TheForwardSweepWritesThePathOfItsSideAlone) {
    auto const asset = add(share("A"), 100.0);
    set_smile(*asset, c_skew);
    fix_after({4, 8});
    Helper helper;
    aprepare(helper);
    helper.diffuse(3);
    double const first = value(helper, 0, 0);
    double const second = value(helper, 1, 0);
    for (bool const antithetic : {false, true}) {
        helper.get_fixing_grid().reset();
        helper.adiffuse(tape, SweepType::FORWARD, antithetic, 3);
        EXPECT_EQ(cell(helper, 0, 0).get_value(antithetic), first);
        EXPECT_EQ(cell(helper, 1, 0).get_value(antithetic), second);
        EXPECT_EQ(cell(helper, 0, 0).get_value(!antithetic), 0.0);
        EXPECT_EQ(cell(helper, 1, 0).get_value(!antithetic), 0.0);
    }
}

// On the tape lies the deviation v of each step. With b = value * adjoint of the fixings from a
// step on, the derivative by its normal is v b, and that by a forward is value * adjoint / forward.
TEST_F(DupireAdjointTest, TheWayBackLeavesTheDerivativesByForwardsAndFactor) {
    auto const asset = add(share("A"), 100.0);
    set_smile(*asset, c_skew);
    fix_after({4, 8});
    Helper helper;
    aprepare(helper);
    for (bool const antithetic : {false, true}) {
        double const before = helper.c_get_cholesky_adjoints().get(0, 0);
        auto const forwards = helper.c_get_forward_adjoints();
        helper.adiffuse(tape, SweepType::FORWARD, antithetic, 3);
        std::array<double, 2> values{};
        for (std::uint64_t k = 0; k < 2; ++k) {
            values.at(k) = cell(helper, k, 0).get_value(antithetic);
            cell(helper, k, 0).get_adjoint(antithetic) = 0.25 + static_cast<double>(k);
            cell(helper, k, 0).get_adjoint(!antithetic) = 1000.0;  // of the other side: not read
        }
        helper.adiffuse(tape, SweepType::BACKWARD, antithetic, 3);
        EXPECT_TRUE(tape.c_is_empty());
        auto const z = helper.c_get_correlated_normals();
        double x = 0.0;
        double by_factor = 0.0;
        for (std::uint64_t step = 0; step < 4; ++step) {
            double const v = std::sqrt(local(helper, 0).c_interpolate(step, x) * 2.0 / 365.0);
            double const b = (step < 2 ? 0.25 * values[0] : 0.0) + 1.25 * values[1];
            by_factor += z.get(step, 0) * v * b;
            x += (z.get(step, 0) - 0.5 * v) * v;
        }
        EXPECT_THAT(helper.c_get_cholesky_adjoints().get(0, 0) - before,
                    IsNearRel(by_factor, 1e-11));
        for (std::uint64_t k = 0; k < 2; ++k)
            EXPECT_THAT(helper.c_get_forward_adjoints().get(0, k) - forwards.get(0, k),
                        IsNearRel((0.25 + static_cast<double>(k)) * values.at(k) / 100.0, 1e-12));
    }
}

TEST_F(DupireAdjointTest, NoSensitivityFlowsToTheGrid) {
    add(share("A"), 100.0);
    fix_after({4});
    Helper helper;
    aprepare(helper);
    Toolbox::Array1D<Pricing::RowGreekResult> rows(1);
    helper.adiffuse(tape, SweepType::FORWARD, false, 0);
    cell(helper, 0, 0).adjoint = 1.0;
    helper.adiffuse(tape, SweepType::BACKWARD, false, 0);
    helper.c_accumulate_vega(rows);
    EXPECT_EQ(rows.get(0).result.count, 0U);
    for (double const variance : local(helper, 0).local_variances)
        ASSERT_THAT(variance, IsNearRel(0.04, 1e-11));
}

TEST_F(
    DupireAdjointTest,
    TheWayBackTakesEveryStepOfTheGridAlsoThoseBehindAClosedCellWhichTheWayForwardDidNotTheTapeThenRunsShort) {
    add(share("A"), 100.0);
    add(share("B"), 50.0);
    correlate(0.0);
    fix_after({4, 10});
    Helper helper;
    aprepare(helper);
    read_only(helper, {{0, 0}, {0, 1}, {1, 1}});
    ASSERT_TRUE(
        helper.acalibrate_internal(calibration, SweepType::FORWARD, today, information.lists));
    helper.adiffuse(tape, SweepType::FORWARD, false, 0);
    for (std::uint64_t u : {0U, 1U}) cell(helper, 0, u).adjoint = 1.0;
    // two of the five steps were walked for the first underlying, and all five for the second
    auto const texts = ximTest::texts_of(
        ximTest::Log::Level::ERROR, [&] { helper.adiffuse(tape, SweepType::BACKWARD, false, 0); });
    EXPECT_EQ(texts, std::vector<std::string>(3, "Cannot pop back an empty double stack"));
    EXPECT_TRUE(tape.c_is_empty());
    EXPECT_THAT(helper.c_get_forward_adjoints().get(1, 0),
                IsNearRel(cell(helper, 0, 1).value / 50.0, 1e-12));
}

TEST_F(DupireAdjointTest, AFixingThatIsNotReadHoldsTheWayBackToo) {
    add(share("A"), 100.0);
    fix_after({4, 8, 12});
    Helper helper;
    aprepare(helper);
    read_only(helper, {{0, 0}, {2, 0}});
    ASSERT_TRUE(
        helper.acalibrate_internal(calibration, SweepType::FORWARD, today, information.lists));
    helper.adiffuse(tape, SweepType::FORWARD, false, 0);
    for (std::uint64_t k : {0U, 2U}) cell(helper, k, 0).adjoint = 1.0;
    helper.adiffuse(tape, SweepType::BACKWARD, false, 0);
    EXPECT_EQ(helper.c_get_forward_adjoints().get(0, 2), 1.0);  // its forward is its value
    EXPECT_EQ(helper.c_get_forward_adjoints().get(0, 1), 0.0);
    EXPECT_EQ(helper.c_get_forward_adjoints().get(0, 0), 0.0);  // not reached
}

TEST_F(DupireAdjointTest, AFixingThatThePathDoesNotComeToKeepsItsForwardOnEitherSide) {
    add(share("A"), 100.0);
    fix_after({4, 8, 12, 16});
    Helper helper;
    aprepare(helper);
    read_only(helper, {{0, 0}, {2, 0}});  // the path holds at the second fixing
    ASSERT_TRUE(
        helper.acalibrate_internal(calibration, SweepType::FORWARD, today, information.lists));
    helper.get_fixing_grid().reset();  // as at the start of a trial
    for (bool const antithetic : {false, true}) {
        helper.adiffuse(tape, SweepType::FORWARD, antithetic, 0);
        EXPECT_NE(cell(helper, 0, 0).get_value(antithetic), 100.0);
        EXPECT_EQ(cell(helper, 2, 0).get_value(antithetic), 100.0);
        EXPECT_EQ(cell(helper, 2, 0).get_value(true), antithetic ? 100.0 : 0.0);
        for (std::uint64_t const unread : {1U, 3U})
            EXPECT_EQ(cell(helper, unread, 0).get_value(antithetic), 0.0);
    }
}

/// A share in USD paid in EUR; its exchange rate sorts after it, or before it.
class DupireAdjointQuantoTest : public DupireAdjointTest {
 protected:
    void make_market(bool rate_first) {
        auto const rate = exchange_rate("USDEUR", "USD", "EUR");
        auto const asset = share("Q", "USD");
        std::ignore = asset->set_quanto_exchange_rate(*currency("EUR"));
        if (rate_first) add(asset->c_get_quanto_exchange_rate(), 0.9);
        add(asset, 100.0);
        if (!rate_first) add(asset->c_get_quanto_exchange_rate(), 0.9);
        correlate(0.5);
        fix_after({4});
    }
};

TEST_F(
    DupireAdjointQuantoTest,
    TheTwoNumbersOfAQuantoStepComeOffTheTapeInTheOrderInWhichTheyWentOnAndTheCorrelationTakesTheRunningSumOfTheDriftAtEachStep) {
    make_market(false);
    set_smile(*information.lists.equity_like_underlyings[0], c_skew);
    set_smile(*information.lists.equity_like_underlyings[1],
              {.rho = 0.5, .eta = 1.0, .gamma = 0.5, .half_variance = 0.005});
    Helper helper;
    aprepare(helper);
    helper.adiffuse(tape, SweepType::FORWARD, false, 3);
    auto const z = helper.c_get_correlated_normals();
    double const dt = 2.0 / 365.0;
    std::vector<double> pushed;
    double x = 0.0;
    for (std::uint64_t step = 0; step < 2; ++step) {
        double const v = std::sqrt(local(helper, 0).c_interpolate(step, x) * dt);
        double const root = std::sqrt(dt * local(helper, 1).c_interpolate(step, x));
        pushed.insert(pushed.end(), {v, root});
        x += (z.get(step, 0) - 0.5 * v + 0.5 * root) * v;
    }
    EXPECT_THAT(cell(helper, 0, 0).value, IsNearRel(100.0 * std::exp(x), 1e-11));
    cell(helper, 0, 0).adjoint = 2.0;
    helper.adiffuse(tape, SweepType::BACKWARD, false, 3);
    EXPECT_TRUE(tape.c_is_empty());
    double const b = 2.0 * cell(helper, 0, 0).value;
    double drift = 0.0;
    double correlation = 0.0;
    for (int step = 0; step < 2; ++step) {
        double const first = pushed.back();
        pushed.pop_back();
        drift += first * b;
        correlation += pushed.back() * drift;
        pushed.pop_back();
    }
    EXPECT_THAT(helper.c_get_correlation_adjoints().get(1, 0), IsNearRel(correlation, 1e-11));
}

TEST_F(DupireAdjointQuantoTest, ARateThatSortsBeforeItsUnderlyingIsRefused) {
    make_market(true);
    Helper helper;
    helper.set(today, Toolbox::DayCounter(), information.lists, nullptr);
    helper.switch_to_central();
    EXPECT_THAT(
        [&] {
            EXPECT_FALSE(helper.acalibrate_internal(calibration, SweepType::FORWARD, today,
                                                    information.lists));
        },
        ximTest::LogsError("Adjoint differentiation needs a quanto rate that sorts after Q"));
    EXPECT_THAT([&] { helper.adiffuse(tape, SweepType::FORWARD, false, 0); },
                ximTest::Raises<Toolbox::SegmentationFaultException>());
    helper.diffuse(0);  // bumps do not need the cell
    EXPECT_NE(value(helper, 0, 1), 100.0);
}

}  // namespace
}  // namespace ximCORE::Modeling
