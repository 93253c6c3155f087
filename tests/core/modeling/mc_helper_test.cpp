#include "core/modeling/mc_helper.hpp"

#include <cmath>
#include <random>

#include "core/pricing/options.hpp"
#include "core/toolbox/date_shift.hpp"
#include "support/hand_made_information.hpp"
#include "support/market.hpp"
#include "support/matchers.hpp"

namespace ximCORE::Modeling {
namespace {

using Pricing::MCPricerOptions;
using Testing::HandMadeInformation;
using Toolbox::Date;
using Toolbox::SegmentationFaultException;
using ximTest::Raises;

/// A simulation without a model: it counts the paths that it is asked for.
class BareHelper final : public MCHelper {
 public:
    explicit BareHelper(bool use_sub_steps) : MCHelper(1, 0, use_sub_steps) {}
    std::unique_ptr<MCHelper> c_clone() const override {
        return std::make_unique<BareHelper>(*this);
    }

    int paths{0};

 protected:
    void _diffuse_internal(std::uint64_t) override { ++paths; }
};

class MCHelperTest : public Testing::MarketTest {
 protected:
    MCHelperTest() { MCPricerOptions::s_options = {.trials = 8}; }
    ~MCHelperTest() override {
        MCPricerOptions::s_options = {};
        MCHelper::s_seed = 23051994;
    }

    /// `count` shares with spots 100, 101, ... and one correlation.
    void add_shares(int count, double correlation = 0.5) {
        for (int i = 0; i < count; ++i) {
            auto asset = share("S" + std::to_string(i));
            set_spot(*asset, 100.0 + i);
            std::ignore = forward_curve(*asset).get_dependencies();
            information.add_underlying(*asset);
        }
        auto const& assets = information.lists.equity_like_underlyings;
        for (auto const* first : assets)
            for (auto const* second : assets) set_correlation(*first, *second, correlation);
    }

    template <class Helper>
    void prepare(Helper& helper) {
        helper.set(today, Toolbox::DayCounter(), information.lists, nullptr);
        helper.switch_to_central();
        ASSERT_TRUE(helper.calibrate(today, *currency("EUR"), information.lists));
    }

    HandMadeInformation information;
};

TEST_F(MCHelperTest, APlainGridHasTheStartAndOneDatePerFixing) {
    information.add_fixing(half_year);
    information.add_fixing(one_year);
    BareHelper helper(false);
    helper.set(today, Toolbox::DayCounter(), information.lists, nullptr);
    EXPECT_THAT(helper.c_get_times(), testing::ElementsAre(0.0, 182.0 / 365.0, 1.0));
    EXPECT_THAT(helper.c_get_time_steps(),
                testing::ElementsAre(182.0 / 365.0, 1.0 - 182.0 / 365.0));
    EXPECT_THAT(helper.c_get_sqrt_time_steps(),
                testing::ElementsAre(std::sqrt(182.0 / 365.0), std::sqrt(1.0 - 182.0 / 365.0)));
    EXPECT_THAT(helper.c_get_fixing_steps(), testing::ElementsAre(1, 2));
}

TEST_F(MCHelperTest, APlainGridDrawsOneStepMoreThanItReads) {
    add_shares(2);
    information.add_fixing(half_year);
    information.add_fixing(one_year);
    BareHelper helper(false);
    helper.set(today, Toolbox::DayCounter(), information.lists, nullptr);
    EXPECT_EQ(helper.c_get_normals()->c_get_steps(), 3U);
    EXPECT_EQ(helper.c_get_normals()->c_get_factors(), 2U);
    EXPECT_EQ(helper.c_get_normals()->c_get_trials(), 8U);
}

TEST_F(MCHelperTest, APlainGridNotesPaymentsFromRankOneOnAtTheStepBefore) {
    information.add_fixing(half_year).set_payment_rank(0);
    information.add_fixing(one_year).set_payment_rank(1);
    information.add_fixing(two_years).set_payment_rank(2);
    BareHelper helper(false);
    helper.set(today, Toolbox::DayCounter(), information.lists, nullptr);
    EXPECT_THAT(helper.c_get_payment_steps(), testing::ElementsAre(1, 2));
}

TEST_F(MCHelperTest, AFixingBeforeTheStartCountsAsTheStart) {
    information.add_fixing(Date(2022, 6, 1));
    information.add_fixing(one_year);
    for (bool const use_sub_steps : {false, true}) {
        BareHelper helper(use_sub_steps);
        helper.set(today, Toolbox::DayCounter(), information.lists, nullptr);
        for (double const time : helper.c_get_times()) EXPECT_TRUE(time >= 0.0 && time <= 1.0);
    }
    BareHelper plain(false);
    plain.set(today, Toolbox::DayCounter(), information.lists, nullptr);
    EXPECT_THAT(plain.c_get_time_steps(), testing::ElementsAre(0.0, 1.0));
}

TEST_F(MCHelperTest, ARefinedGridStepsByTwoDaysAndLandsOnTheFixing) {
    information.add_fixing(Date(2023, 1, 6)).set_payment_rank(0);
    BareHelper helper(true);
    helper.set(today, Toolbox::DayCounter(), information.lists, nullptr);
    // days 2, 4 and 5 after the start
    EXPECT_THAT(helper.c_get_times(),
                testing::ElementsAre(0.0, 2.0 / 365.0, 4.0 / 365.0, 5.0 / 365.0));
    EXPECT_THAT(helper.c_get_fixing_steps(), testing::ElementsAre(3));
    EXPECT_THAT(helper.c_get_payment_steps(), testing::ElementsAre(3));
    EXPECT_EQ(helper.c_get_normals()->c_get_steps(), 3U);
}

TEST_F(MCHelperTest, PastAnOddNumberOfDaysTheNextWalkSetsOutFromTheDayBefore) {
    information.add_fixing(Date(2023, 1, 4));  // day 3: the walk stays on day 2
    information.add_fixing(Date(2023, 1, 8));  // day 7: days 4, 6, 7
    BareHelper helper(true);
    helper.set(today, Toolbox::DayCounter(), information.lists, nullptr);
    std::vector<double> days;
    for (double const time : helper.c_get_times()) days.push_back(std::round(time * 365.0));
    EXPECT_THAT(days, testing::ElementsAre(0, 2, 3, 4, 6, 7));
    EXPECT_THAT(helper.c_get_fixing_steps(), testing::ElementsAre(2, 5));
    EXPECT_TRUE(helper.c_get_payment_steps().empty());
}

TEST_F(MCHelperTest, ARefinedGridWithAFixingOnTheStartHoldsTheStartTwice) {
    information.add_fixing(today);
    information.add_fixing(Date(2023, 1, 5));
    BareHelper helper(true);
    helper.set(today, Toolbox::DayCounter(), information.lists, nullptr);
    EXPECT_THAT(helper.c_get_times(), testing::ElementsAre(0.0, 0.0, 2.0 / 365.0, 4.0 / 365.0));
    EXPECT_THAT(helper.c_get_fixing_steps(), testing::ElementsAre(1, 3));
    EXPECT_EQ(helper.c_get_normals()->c_get_steps(), 3U);
}

TEST_F(MCHelperTest, ARefinedGridEndsAtTheEndOfTheCalendar) {
    information.add_fixing(Date(65535, 12, 31));
    BareHelper helper(true);
    MCPricerOptions::s_options.trials = 0;
    Date const start(65535, 12, 2);
    helper.set(start, Toolbox::DayCounter(), information.lists, nullptr);
    EXPECT_EQ(helper.c_get_times().size(), 1U + 15U);
}

TEST_F(MCHelperTest, WithoutUnderlyingHasNoFactorAndDiffusesNothing) {
    information.add_fixing(one_year);
    BareHelper helper(false);
    prepare(helper);
    EXPECT_EQ(helper._c_get_nb_factors(), 0U);
    helper.diffuse(0);
    helper.diffuse(1000);
    EXPECT_EQ(helper.paths, 0);
}

TEST_F(MCHelperTest, WithTheStartAloneInTheGridStillRunsThePath) {
    add_shares(1);
    BareHelper helper(false);
    prepare(helper);
    helper.diffuse(0);
    EXPECT_EQ(helper.paths, 1);
}

TEST_F(MCHelperTest, TheSameSeedGivesTheSameNormalsAndAnotherOneOthers) {
    add_shares(1);
    information.add_fixing(one_year);
    BareHelper first(false);
    BareHelper second(false);
    BareHelper third(false);
    first.set(today, Toolbox::DayCounter(), information.lists, nullptr);
    second.set(today, Toolbox::DayCounter(), information.lists, nullptr);
    MCHelper::s_seed = 5;
    third.set(today, Toolbox::DayCounter(), information.lists, nullptr);
    EXPECT_EQ(first.c_get_normals()->get(1, 0, 7), second.c_get_normals()->get(1, 0, 7));
    EXPECT_NE(first.c_get_normals()->get(1, 0, 7), third.c_get_normals()->get(1, 0, 7));
}

TEST_F(MCHelperTest, TheFirstCorrelatedFactorIsTheRawNormal) {
    add_shares(2);
    information.add_fixing(half_year);
    information.add_fixing(one_year);
    BareHelper helper(false);
    prepare(helper);
    helper.diffuse(3);
    for (std::uint64_t step = 0; step < 2; ++step)
        EXPECT_EQ(helper.c_get_correlated_normals().get(step, 0),
                  helper.c_get_normals()->get(step, 0, 3));
}

TEST_F(MCHelperTest, CorrelatedNormalsAreTheFactorTimesTheRawOnes) {
    add_shares(3, 0.25);
    information.add_fixing(half_year);
    information.add_fixing(one_year);
    BareHelper helper(false);
    prepare(helper);
    helper.diffuse(5);
    // the factor of a matrix with 0.25 off the diagonal, by hand
    double const l11 = std::sqrt(1.0 - 0.25 * 0.25);
    double const l21 = (0.25 - 0.25 * 0.25) / l11;
    double const l22 = std::sqrt(1.0 - 0.25 * 0.25 - l21 * l21);
    auto const& normals = *helper.c_get_normals();
    for (std::uint64_t s = 0; s < 2; ++s) {
        double const z0 = normals.get(s, 0, 5), z1 = normals.get(s, 1, 5),
                     z2 = normals.get(s, 2, 5);
        EXPECT_NEAR(helper.c_get_correlated_normals().get(s, 1), 0.25 * z0 + l11 * z1, 1e-15);
        EXPECT_NEAR(helper.c_get_correlated_normals().get(s, 2), 0.25 * z0 + l21 * z1 + l22 * z2,
                    1e-15);
    }
}

TEST_F(MCHelperTest, AMissingCorrelationEndsTheCalibration) {
    add_shares(2);
    Data::MarketDataCache::s_get().clear();
    HandMadeInformation empty;
    for (auto const* name : {"A", "B"}) {
        auto asset = share(name);
        set_spot(*asset, 100.0);
        std::ignore = forward_curve(*asset).get_dependencies();
        empty.add_underlying(*asset);
    }
    empty.add_fixing(one_year);
    BareHelper helper(false);
    helper.set(today, Toolbox::DayCounter(), empty.lists, nullptr);
    helper.switch_to_central();
    EXPECT_FALSE(helper.calibrate(today, *currency("EUR"), empty.lists));
}

TEST_F(MCHelperTest, ApplyAntitheticTwiceRestoresTheTrial) {
    add_shares(1);
    information.add_fixing(one_year);
    BareHelper helper(false);
    prepare(helper);
    double const before = helper.c_get_normals()->get(0, 0, 2);
    helper.apply_antithetic(2);
    helper.diffuse(2);
    EXPECT_EQ(helper.c_get_correlated_normals().get(0, 0), -before);
    helper.apply_antithetic(2);
    EXPECT_EQ(helper.c_get_normals()->get(0, 0, 2), before);
}

TEST_F(MCHelperTest, CalibrationWritesForwardsAndZeroCouponsIntoTheGrid) {
    auto& curve = yield_curve(*currency("EUR"));
    add_shares(1);
    push<Data::MarketDataYieldPerturbationItem>(
        Shift::Kind::additive, Shift::Unit::percentage, -3.0,
        static_cast<Data::Currency const*>(currency("EUR").get()));
    information.add_fixing(half_year);
    information.add_fixing(one_year);
    information.add_currency(*currency("EUR"));
    information.add_maturity(two_years);
    BareHelper helper(false);
    prepare(helper);
    double const t = 731.0 / 365.0;
    EXPECT_DOUBLE_EQ(curve.eval_zero_coupon(two_years), std::exp(-0.03 * t));
    auto const& grid = helper.get_fixing_grid();
    EXPECT_DOUBLE_EQ(grid.c_get_equity_like().get(1, 0).value, 100.0 * std::exp(0.03));
    // row 0 stands before the first fixing, and is not written
    EXPECT_EQ(grid.c_get_zero_coupon().get(0, 0, 0).value, 0.0);
    EXPECT_DOUBLE_EQ(grid.c_get_zero_coupon().get(0, 1, 0).value, std::exp(-0.03 * t));
    EXPECT_DOUBLE_EQ(grid.c_get_zero_coupon().get(0, 2, 0).value, std::exp(-0.03 * t));
}

TEST_F(MCHelperTest, ACorrelationStateHasItsOwnFactorAndOthersTheCentralOne) {
    add_shares(2, 0.5);
    information.add_fixing(one_year);
    BareHelper helper(false);
    prepare(helper);
    helper.set_cega_up(2);
    helper.switch_to_cega_up(1, 0);
    auto const& assets = information.lists.equity_like_underlyings;
    push<Data::MarketDataCorrelationPerturbationItem>(
        Shift::Kind::additive, Shift::Unit::percentage, 10.0,
        static_cast<Data::Underlying const*>(assets[1]),
        static_cast<Data::Underlying const*>(assets[0]));
    ASSERT_TRUE(helper.calibrate(today, *currency("EUR"), information.lists));
    pop();
    EXPECT_NEAR(helper.c_get_cholesky().get(1, 0), 0.6, 1e-12);
    helper.switch_to_central();
    EXPECT_NEAR(helper.c_get_cholesky().get(1, 0), 0.5, 1e-12);
    helper.set_delta_up(2);
    helper.switch_to_cega_up(1, 0);
    helper.switch_to_delta_up(1);
    EXPECT_NEAR(helper.c_get_cholesky().get(1, 0), 0.5, 1e-12);
    EXPECT_THAT([&] { helper.switch_to_cega_up(1, 1); }, Raises<SegmentationFaultException>());
    EXPECT_THAT([&] { helper.switch_to_cega_down(1, 0); }, Raises<SegmentationFaultException>());
}

TEST_F(MCHelperTest, ACloneSharesTheNormalsAndOwnsTheRest) {
    add_shares(2, 0.5);
    information.add_fixing(one_year);
    BareHelper helper(false);
    prepare(helper);
    helper.set_cega_up(2);
    helper.switch_to_cega_up(1, 0);
    ASSERT_TRUE(helper.calibrate(today, *currency("EUR"), information.lists));
    auto const clone = helper.c_clone();
    EXPECT_EQ(clone->c_get_normals(), helper.c_get_normals());
    EXPECT_NE(&clone->c_get_cholesky(), &helper.c_get_cholesky());
    EXPECT_EQ(clone->c_get_cholesky().get(1, 0), helper.c_get_cholesky().get(1, 0));
    EXPECT_NE(&clone->c_get_current(), &helper.c_get_current());
    helper.set_cega_up(2);  // frees the factor that the original had in force
    clone->diffuse(1);
    EXPECT_NE(clone->c_get_correlated_normals().get(0, 1),
              helper.c_get_correlated_normals().get(0, 1));
}

TEST_F(MCHelperTest, ATrialOutsideTheRunRaises) {
    add_shares(1);
    information.add_fixing(one_year);
    BareHelper helper(false);
    prepare(helper);
    EXPECT_THAT([&] { helper.diffuse(8); }, Raises<SegmentationFaultException>());
    EXPECT_THAT([&] { helper.apply_antithetic(8); }, Raises<SegmentationFaultException>());
}

TEST_F(MCHelperTest, DiffusingBeforeTheCalibrationRaises) {
    add_shares(1);
    information.add_fixing(one_year);
    BareHelper helper(false);
    helper.set(today, Toolbox::DayCounter(), information.lists, nullptr);
    EXPECT_THAT([&] { helper.diffuse(0); }, Raises<SegmentationFaultException>());
}

}  // namespace
}  // namespace ximCORE::Modeling
