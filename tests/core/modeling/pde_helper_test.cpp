#include "core/modeling/pde_helper.hpp"

#include <cmath>

#include "core/data/interest_rates.hpp"
#include "core/modeling/black_scholes_model.hpp"
#include "core/modeling/black_scholes_pde_helper.hpp"
#include "core/toolbox/errors.hpp"
#include "support/hand_made_information.hpp"
#include "support/market.hpp"

namespace ximCORE::Modeling {
namespace {

using ::testing::DoubleEq;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using Toolbox::Grid;
using Toolbox::SegmentationFaultException;

/// One share at 100 with a volatility of 20 %, seen from 1 January 2023.
class PDEHelperTest : public Testing::MarketTest {
 protected:
    PDEHelperTest() {
        plug_defaults();
        set_spot(*stock, 100.0);
        set_volatility(*stock, 0.2);
        std::ignore = forward_curve(*stock).get_dependencies();
        std::ignore = yield_curve(*euro);
        information.add_underlying(*stock);
    }
    ~PDEHelperTest() override {
        plug_defaults();
        BlackScholesPDEHelper::s_quantile_level = 97.5F;
        BlackScholesPDEHelper::s_grid_size = 100;
    }
    static void plug_defaults() {
        PDEHelper::s_time_step = 1;
        BlackScholesPDEHelper::s_quantile_level = 0.9999F;
        BlackScholesPDEHelper::s_grid_size = 101;
        BlackScholesModel::s_calibration_kind = BlackScholesModel::CalibrationKind::manual;
    }

    Date day(int days) const {
        Date result(today);
        for (int k = 0; k < days; ++k) ++result;
        return Date(result.c_get_year(), result.c_get_month(), result.c_get_day());
    }
    /// A pillar with the rank that follows, from 1.
    Date& pillar(int days) {
        auto& date = *m_pillars.emplace_back(std::make_unique<Date>(day(days)));
        information.lists.pillar_dates.push_back(&date);
        date.set_pillar_rank(static_cast<short>(information.lists.pillar_dates.size()));
        return date;
    }
    void set() { helper.set(today, Toolbox::DayCounter(), information.lists, nullptr); }
    bool calibrate() {
        set();
        helper.switch_to_central();
        bool const success = helper.calibrate(today, *euro, information.lists);
        helper.calibrate_solver();
        return success;
    }
    std::vector<double> days_of_grid() const {
        std::vector<double> days;
        for (double const time : helper.c_get_solver().c_get_times()) days.push_back(time * 365.0);
        return days;
    }

    std::shared_ptr<Data::Currency> const euro = currency("EUR");
    std::shared_ptr<Data::Underlying> const stock = share("AAA");
    Testing::HandMadeInformation information;
    BlackScholesPDEHelper helper;

 private:
    std::vector<std::unique_ptr<Date>> m_pillars;
};

MATCHER_P(NearDays, days, "") {
    return std::abs(arg - days) < 1e-9;
}

TEST_F(PDEHelperTest, DatesOfTheGridAreOneStepApart) {
    information.add_payment(day(4));
    set();
    EXPECT_THAT(days_of_grid(),
                ElementsAre(NearDays(0), NearDays(1), NearDays(2), NearDays(3), NearDays(4)));
    EXPECT_THAT(helper.c_get_solver().c_get_time_index(), ElementsAre(0));
}

TEST_F(PDEHelperTest, AStepOfTwoHalvesTheDatesAndKeepsAllPillars) {
    PDEHelper::s_time_step = 2;
    information.add_payment(day(8));
    pillar(3);
    pillar(4);
    pillar(8);
    set();
    EXPECT_THAT(days_of_grid(), ElementsAre(NearDays(0), NearDays(2), NearDays(3), NearDays(4),
                                            NearDays(6), NearDays(8)));
    EXPECT_THAT(helper.c_get_solver().c_get_time_index(), ElementsAre(0, 2, 3, 5));
}

TEST_F(PDEHelperTest, APillarOnADateOfTheScheduleAddsNoTime) {
    information.add_payment(day(3));
    pillar(2);
    pillar(3);
    set();
    EXPECT_EQ(days_of_grid().size(), 4U);
    EXPECT_THAT(helper.c_get_solver().c_get_time_index(), ElementsAre(0, 2, 3));
}

TEST_F(PDEHelperTest, APillarOnTheValuationDateHasARankOfItsOwnAtTimeZero) {
    information.add_payment(day(2));
    pillar(0);
    pillar(2);
    set();
    EXPECT_THAT(helper.c_get_solver().c_get_time_index(), ElementsAre(0, 0, 2));
}

TEST_F(PDEHelperTest, APillarBehindUsCountsAsTheStart) {
    information.add_payment(day(2));
    auto& past = pillar(0);
    past = Date(2022, 6, 1);
    past.set_pillar_rank(1);
    pillar(2);
    set();
    EXPECT_THAT(helper.c_get_solver().c_get_time_index(), ElementsAre(0, 0, 2));
    EXPECT_EQ(days_of_grid().size(), 3U);
}

TEST_F(PDEHelperTest, TheGridEndsAtTheLaterOfLastPaymentAndLastPillar) {
    information.add_payment(day(2));
    pillar(5);
    set();
    EXPECT_THAT(days_of_grid().back(), NearDays(5));
    EXPECT_EQ(days_of_grid().size(), 6U);
}

TEST_F(PDEHelperTest, WithoutPaymentTheScheduleIsTheStartAlone) {
    set();
    EXPECT_THAT(days_of_grid(), ElementsAre(0.0));
    EXPECT_THAT(helper.c_get_solver().c_get_time_index(), ElementsAre(0));
}

TEST_F(PDEHelperTest, AStepThatDoesNotAdvanceFailsTheCalibrationAfterARecord) {
    PDEHelper::s_time_step = 256;  // a day count holds eight bits
    information.add_payment(day(300));
    EXPECT_FALSE(calibrate());
    EXPECT_EQ(errors().size(), 1U);
    PDEHelper::s_time_step = 30;
    EXPECT_TRUE(calibrate());
}

TEST_F(PDEHelperTest, BoundsAreTheTwoSidedQuantileOfTheLastLogReturn) {
    information.add_payment(day(365));
    ASSERT_TRUE(calibrate());
    double const z = 3.8906;  // 0.9999 two-sided; tables of the normal distribution
    EXPECT_NEAR(helper.c_get_lower_bound(), -z * 0.2 - 0.02, 2e-4);
    EXPECT_NEAR(helper.c_get_upper_bound(), z * 0.2 - 0.02, 2e-4);
    EXPECT_EQ(helper.c_get_grid()[0], helper.c_get_lower_bound());
    EXPECT_EQ(helper.c_get_grid()[100], helper.c_get_upper_bound());
    EXPECT_EQ(helper.c_get_space_size(), 101U);
}

TEST_F(PDEHelperTest, ALevelAboveOneIsAPercentage) {
    information.add_payment(day(365));
    ASSERT_TRUE(calibrate());
    double const bound = helper.c_get_upper_bound();
    BlackScholesPDEHelper::s_quantile_level = 99.99F;
    ASSERT_TRUE(calibrate());
    EXPECT_NEAR(helper.c_get_upper_bound(), bound, 2e-4);
    BlackScholesPDEHelper::s_quantile_level = 97.5F;
    ASSERT_TRUE(calibrate());
    EXPECT_NEAR(helper.c_get_upper_bound(), 2.2414 * 0.2 - 0.02, 2e-4);
}

TEST_F(PDEHelperTest, ALevelOutsideItsDomainIsRefusedByName) {
    information.add_payment(day(365));
    for (float const level : {0.0F, 1.0F, 100.0F, -0.5F, 250.0F, NAN}) {
        Toolbox::Log::s_get().clear();
        BlackScholesPDEHelper::s_quantile_level = level;
        EXPECT_FALSE(calibrate());
        EXPECT_THAT(errors(), ElementsAre("Invalid BlackScholesFiniteDifferenceConfidenceLevel"))
            << level;
    }
}

TEST_F(PDEHelperTest, GridSizesAndTimeStepsOutOfRangeAreRefusedByName) {
    for (std::int32_t const size : {2, 0, -1, 1'000'001}) {
        Toolbox::Log::s_get().clear();
        BlackScholesPDEHelper::s_grid_size = size;
        EXPECT_FALSE(BlackScholesPDEHelper::s_check_settings());
        EXPECT_THAT(errors(), ElementsAre("Invalid BlackScholesFiniteDifferenceGridSize"));
    }
    BlackScholesPDEHelper::s_grid_size = 3;
    EXPECT_TRUE(BlackScholesPDEHelper::s_check_settings());
    Toolbox::Log::s_get().clear();
    PDEHelper::s_time_step = 0;
    EXPECT_FALSE(BlackScholesPDEHelper::s_check_settings());
    EXPECT_THAT(errors(), ElementsAre("Invalid FiniteDifferenceTimeStep"));
}

TEST_F(PDEHelperTest, WithoutVolatilityOrUnderlyingTheBoundsAreMinusOneAndOne) {
    information.add_payment(day(365));
    auto const steady = share("BBB");
    set_spot(*steady, 50.0);
    set_volatility(*steady, 0.0);
    std::ignore = forward_curve(*steady).get_dependencies();
    information.lists.equity_like_underlyings.clear();
    information.add_underlying(*steady);
    ASSERT_TRUE(calibrate());
    EXPECT_EQ(helper.c_get_lower_bound(), -1.0);
    EXPECT_EQ(helper.c_get_upper_bound(), 1.0);
    information.lists.equity_like_underlyings.clear();
    ASSERT_TRUE(calibrate());
    EXPECT_EQ(helper.c_get_lower_bound(), -1.0);
    EXPECT_EQ(helper.c_get_upper_bound(), 1.0);
}

TEST_F(PDEHelperTest, AMissingVolatilityFailsTheCalibration) {
    auto const other = share("BBB");
    set_spot(*other, 50.0);
    std::ignore = forward_curve(*other).get_dependencies();
    information.lists.equity_like_underlyings.clear();
    information.add_underlying(*other);
    information.add_payment(day(365));
    EXPECT_FALSE(calibrate());
    EXPECT_FALSE(errors().empty());
}

TEST_F(PDEHelperTest, TheUnderlyingOnTheGridIsItsForwardTimesTheExponential) {
    auto const& fixing = information.add_fixing(day(100));
    information.add_payment(day(365));
    ASSERT_TRUE(calibrate());
    Grid const levels = helper.c_eval(fixing, stock.get());
    ASSERT_EQ(levels.size(), 101);
    for (Eigen::Index i = 0; i < levels.size(); ++i)
        EXPECT_NEAR(levels[i], 100.0 * std::exp(helper.c_get_grid()[i]), 1e-10);
}

TEST_F(PDEHelperTest, ARateHasNoValuesOnTheGrid) {
    auto const rate = underlying("RATE", "EUR", std::make_shared<Data::ZeroCouponBond>());
    auto const& fixing = information.add_fixing(day(100));
    information.add_payment(day(365));
    ASSERT_TRUE(calibrate());
    EXPECT_EQ(helper.c_eval(fixing, rate.get()).size(), 0);
}

TEST_F(PDEHelperTest, AFixingDateWithoutRankRaises) {
    information.add_fixing(day(100));
    information.add_payment(day(365));
    ASSERT_TRUE(calibrate());
    EXPECT_THROW(std::ignore = helper.c_eval(day(100), stock.get()), SegmentationFaultException);
}

TEST_F(PDEHelperTest, ARollBackFromAnEarlierDateAnswersFalseAndDoesNothing) {
    information.add_payment(day(10));
    auto const& first = pillar(4);
    auto const& second = pillar(10);
    ASSERT_TRUE(calibrate());
    Grid values = helper.c_get_grid().abs();
    Grid const before = values;
    EXPECT_FALSE(helper.run(first, second, values));
    EXPECT_TRUE((values == before).all());
    EXPECT_TRUE(helper.run(second, first, values));
    EXPECT_FALSE((values == before).all());
}

TEST_F(PDEHelperTest, ADateWithoutPillarRankRaises) {
    information.add_payment(day(10));
    auto const& last = pillar(10);
    ASSERT_TRUE(calibrate());
    Grid values = helper.c_make_grid_of_double(1.0);
    EXPECT_THROW(std::ignore = helper.run(last, day(5), values), SegmentationFaultException);
}

TEST_F(PDEHelperTest, TheResultOfAStraightLineIsItsValueAtZero) {
    information.add_payment(day(200));
    ASSERT_TRUE(calibrate());
    Grid const line = 3.0 + 7.0 * helper.c_get_grid();
    EXPECT_NEAR(helper.c_get_result(line), 3.0, 1e-13);
    EXPECT_THROW(std::ignore = helper.c_get_result(Grid::Zero(5)), SegmentationFaultException);
}

TEST_F(PDEHelperTest, FilledGridsHaveTheSizeOfTheSpaceGrid) {
    information.add_payment(day(200));
    ASSERT_TRUE(calibrate());
    EXPECT_EQ(helper.c_make_grid_of_double(2.5).size(), 101);
    EXPECT_TRUE((helper.c_make_grid_of_double(2.5) == 2.5).all());
    EXPECT_TRUE((helper.c_make_grid_of_int(-3) == -3).all());
}

TEST_F(PDEHelperTest, ABumpedVolatilityReachesTheSolver) {
    information.add_payment(day(365));
    auto const& last = pillar(365);
    Date start(today);
    start.set_pillar_rank(0);
    ASSERT_TRUE(calibrate());
    auto const price = [&] {
        helper.calibrate_solver();
        Grid values = (100.0 * helper.c_get_grid().exp() - 100.0).max(0.0);
        EXPECT_TRUE(helper.run(last, start, values));
        return helper.c_get_result(values);
    };
    double const central = price();
    helper.set_vega_up(1);
    helper.switch_to_vega_up(0);
    push<Data::MarketDataVolatilityPerturbationItem>(
        Shift::Kind::additive, Shift::Unit::percentage, 1.0,
        static_cast<Data::Underlying const*>(stock.get()));
    ASSERT_TRUE(helper.calibrate(today, *euro, information.lists));
    pop();
    // 39.7 per unit of volatility for a call at the money: spot times density at 0.1
    EXPECT_NEAR(price() - central, 0.397, 2e-3);
    helper.switch_to_central();
    EXPECT_NEAR(price(), central, 2e-3);
}

}  // namespace
}  // namespace ximCORE::Modeling
