// Underlyings on the fixing grid: equity-like ones read their own cell, interest rates the zero
// coupons.

#include "core/data/interest_rates.hpp"

#include <gtest/gtest.h>

#include <stdexcept>

#include "core/contract/information.hpp"
#include "core/data/curves/yield_curve_stripper.hpp"
#include "core/modeling/fixing_grid.hpp"
#include "core/toolbox/errors.hpp"
#include "support/market.hpp"
#include "support/matchers.hpp"

namespace ximCORE::Data {
namespace {

using Modeling::FixingGrid;
using Toolbox::ConstructorException;
using Toolbox::Date;
using Toolbox::SegmentationFaultException;
using ximTest::IsNearRel;
using ximTest::LogsError;
using ximTest::Raises;

class GridTest : public Testing::MarketTest {
 protected:
    /// Gives the dates ranks in their order and the grid cells for a single fixing and currency.
    void set_up(Underlying& underlying) {
        underlying.accumulate_maturity_dates(m_maturities);
        for (std::size_t i = 0; i < m_maturities.size(); ++i)
            m_maturities[i]->set_maturity_rank(static_cast<short>(i));
        m_fixing.set_fixing_rank(0);
        m_grid.init(1, m_maturities.size(), 1, 1, 0);
    }

    /// The zero coupon of every date: exp(-2% t), as a double of the test alone.
    double zero_coupon(Date const& date) const {
        return std::exp(-0.02 * static_cast<double>(today - date) / 365.0);
    }

    void open_and_fill(Underlying const& underlying) {
        underlying.c_set_fixing_grid_internal(m_fixing, m_grid);
        for (auto const* maturity : m_maturities)
            m_grid.set_zero_coupon(0, 0, maturity->c_get_maturity_rank(), zero_coupon(*maturity));
    }

    Date m_fixing{2023, 1, 1};
    FixingGrid m_grid;
    std::vector<Date*> m_maturities;
};

TEST_F(GridTest, AnEquityLikeUnderlyingReadsTheCellOfItsRank) {
    auto const stock = share("A");
    stock->set_rank(1);
    m_fixing.set_fixing_rank(2);
    m_grid.init(3, 0, 2, 1, 0);
    m_grid.set_equity_like(2, 1, 7.0);
    EXPECT_EQ(stock->eval(m_fixing, m_grid), 0.0);
    stock->c_set_fixing_grid_internal(m_fixing, m_grid);
    m_grid.set_equity_like(2, 1, 7.0);
    EXPECT_EQ(stock->eval(m_fixing, m_grid), 7.0);
}

TEST_F(GridTest, AnUnrankedUnderlyingIsOutsideEveryGrid) {
    auto const stock = share("A");
    m_fixing.set_fixing_rank(0);
    m_grid.init(1, 0, 1, 1, 0);
    EXPECT_EQ(stock->c_get_rank(), -1);
    EXPECT_THAT([&] { stock->c_set_fixing_grid_internal(m_fixing, m_grid); },
                Raises<SegmentationFaultException>());
}

TEST_F(GridTest, AnUnderlyingOfUnknownKindIsWorthNothing) {
    Underlying const unknown("A", true);
    EXPECT_EQ(unknown.eval(m_fixing, m_grid), 0.0);
    unknown.c_set_fixing_grid_internal(m_fixing, m_grid);
}

TEST_F(GridTest, ADepositRateIsTheSimpleRateOfItsPeriod) {
    auto const impl = std::make_shared<DepositRate>();
    impl->set_start("+2d");
    impl->set_end("+6m");
    auto const rate = underlying("EURIBOR6M", "EUR", impl);
    ASSERT_TRUE(rate->build(m_fixing));
    EXPECT_STREQ(impl->c_get_start().c_str(), "2023-01-03");
    EXPECT_STREQ(impl->c_get_maturity_date().c_str(), "2023-07-01");
    set_up(*rate);
    open_and_fill(*rate);
    double const coverage = 179.0 / 365.0;
    EXPECT_THAT(rate->eval(m_fixing, m_grid),
                IsNearRel((std::exp(0.02 * coverage) - 1.0) / coverage, 1e-12));
}

TEST_F(GridTest, AZeroCouponBondIsTheRatioOfItsZeroCoupons) {
    auto const impl = std::make_shared<ZeroCouponBond>();
    impl->set_calendar("dummy");
    impl->set_start("+1bd");
    impl->set_end("+1y");
    auto const bond = underlying("BOND", "EUR", impl);
    ASSERT_TRUE(bond->build(m_fixing));
    EXPECT_STREQ(impl->c_get_start().c_str(), "2023-01-02");
    set_up(*bond);
    open_and_fill(*bond);
    EXPECT_THAT(bond->eval(m_fixing, m_grid), IsNearRel(std::exp(-0.02 * 364.0 / 365.0), 1e-12));
}

TEST_F(GridTest, ASwapRateIsParForItsSchedule) {
    auto const impl = std::make_shared<SwapRate>();
    impl->set_start("");
    impl->set_end("+2y");
    impl->set_frequency("+6m");
    auto const rate = underlying("SWAP2Y", "EUR", impl);
    ASSERT_TRUE(rate->build(m_fixing));
    EXPECT_EQ(impl->c_get_nb_periods(), 4u);
    set_up(*rate);
    open_and_fill(*rate);

    double annuity = 0.0;
    Date const ends[] = {{2023, 7, 1}, {2024, 1, 1}, {2024, 7, 1}, {2025, 1, 1}};
    Date const* start = &today;
    for (auto const& end : ends) {
        annuity += static_cast<double>(*start - end) / 365.0 * zero_coupon(end);
        start = &end;
    }
    EXPECT_THAT(rate->eval(m_fixing, m_grid),
                IsNearRel((1.0 - zero_coupon(ends[3])) / annuity, 1e-12));
}

TEST_F(GridTest, ASwapCutsItsLastPeriodAtItsEnd) {
    SwapRate swap;
    swap.set_end("+15m");
    swap.set_frequency("+6m");
    ASSERT_TRUE(swap.build(today));
    EXPECT_EQ(swap.c_get_nb_periods(), 3u);
    EXPECT_STREQ(swap.c_get_maturity_date().c_str(), "2024-04-01");
    EXPECT_STREQ(swap.c_get_end().c_str(), "2024-04-01");
}

TEST_F(GridTest, ASwapThatDoesNotAdvanceHasAnEmptySchedule) {
    for (auto const* frequency : {"", "+0d", "-1d"}) {
        SwapRate swap;
        swap.set_end("+1y");
        swap.set_frequency(frequency);
        EXPECT_TRUE(swap.build(today)) << frequency;
        EXPECT_EQ(swap.c_get_nb_periods(), 0u) << frequency;
    }
}

TEST_F(GridTest, ASwapOfTooManyPeriodsIsRefused) {
    SwapRate swap;
    swap.set_end("+60000y");
    swap.set_frequency("+1d");
    EXPECT_THAT([&] { EXPECT_FALSE(swap.build(today)); },
                LogsError("Swap rate with too many periods"));
    EXPECT_EQ(swap.c_get_nb_periods(), 0u);
}

TEST_F(GridTest, ASwapWithoutPeriodsIsRefusedBeforeAnyPathIsRun) {
    auto const rate = underlying("SWAP", "EUR", std::make_shared<SwapRate>());
    EXPECT_THAT([&] { rate->c_set_fixing_grid_internal(m_fixing, m_grid); },
                Raises<SegmentationFaultException>());
    EXPECT_THAT([&] { EXPECT_ANY_THROW(rate->c_set_fixing_grid_internal(m_fixing, m_grid)); },
                LogsError("Swap rate without periods"));
    EXPECT_THAT([&] { static_cast<void>(rate->eval(m_fixing, m_grid)); },
                Raises<SegmentationFaultException>());
}

TEST_F(GridTest, InterestRatesAppendTheirMaturitiesToTheContract) {
    auto const impl = std::make_shared<SwapRate>();
    impl->set_end("+1y");
    impl->set_frequency("+6m");
    auto const rate = underlying("SWAP", "EUR", impl);
    ASSERT_TRUE(rate->build(today));
    Contract::ContractInformation information;
    EXPECT_TRUE(rate->accumulate_all(information));
    ASSERT_EQ(information.maturity_dates.size(), 3u);
    EXPECT_STREQ(information.maturity_dates[0]->c_str(), "2023-01-01");
    EXPECT_STREQ(information.maturity_dates[1]->c_str(), "2023-07-01");
    EXPECT_STREQ(information.maturity_dates[2]->c_str(), "2024-01-01");
    EXPECT_TRUE(information.equity_like_underlyings.empty());
    EXPECT_EQ(information.currencies.size(), 1u);
}

TEST_F(GridTest, InterestRatesHaveTheirClassesAndKind) {
    struct Row {
        std::shared_ptr<Underlying::Impl> impl;
        int asset_class;
    };
    for (auto const& row :
         {Row{std::make_shared<ZeroCouponBond>(), 4}, Row{std::make_shared<DepositRate>(), 5},
          Row{std::make_shared<SwapRate>(), 6}}) {
        EXPECT_EQ(int(row.impl->c_get_asset_class()), row.asset_class);
        EXPECT_EQ(int(row.impl->c_get_asset_kind()), 2);
        EXPECT_EQ(row.impl->c_clone()->c_get_asset_class(), row.impl->c_get_asset_class());
        Underlying underlying("R", true);
        underlying.set_impl(row.impl);
        EXPECT_FALSE(underlying.c_is_equity_like());
        EXPECT_EQ(underlying.c_get_rank(), -1);
    }
}

TEST_F(GridTest, ADepositReportsItsMissingShifts) {
    auto const impl = std::make_shared<DepositRate>();
    auto const rate = underlying("DEPO", "EUR", impl);
    EXPECT_THAT([&] { EXPECT_FALSE(impl->c_has_start(*rate, Level::error)); },
                LogsError("Cannot find start of deposit rate with ticker 'DEPO'"));
    EXPECT_THAT([&] { EXPECT_FALSE(impl->c_has_end(*rate, Level::error)); },
                LogsError("Cannot find end of deposit rate with ticker 'DEPO'"));
    impl->set_start("+2d");
    impl->set_end("+3m");
    EXPECT_TRUE(impl->c_has_start(*rate, Level::error));
    EXPECT_TRUE(impl->c_has_end(*rate, Level::error));
}

TEST_F(GridTest, TextsThatAreNoShiftAreRefused) {
    DepositRate rate;
    EXPECT_THAT([&] { rate.set_start("3m"); }, Raises<ConstructorException>());
    EXPECT_THAT([&] { rate.set_end("+99999999999d"); }, Raises<std::out_of_range>());
}

/// A flat continuous rate of 3%, for the instruments' own formulas.
class FlatStripper final : public YieldCurveStripper {
 public:
    explicit FlatStripper(Date const& date) : YieldCurveStripper(date, Toolbox::DayCounter()) {}
    std::unique_ptr<YieldCurveStripper> c_clone() const override {
        return std::make_unique<FlatStripper>(*this);
    }
    bool strip() override { return true; }
    using YieldCurveStripper::c_eval;
    bool c_eval(double t, double& zero_coupon, double& forward) const override {
        if (t > 3.0) return false;
        zero_coupon = std::exp(-0.03 * t);
        forward = 0.03;
        return true;
    }
    void set_instruments(std::vector<YieldCurveInstrument> const*) override {}
};

TEST_F(GridTest, EachInstrumentIsWorthNothingAtItsParQuote) {
    FlatStripper const stripper(today);
    double const year = std::exp(-0.03);
    double value = 1.0;

    DepositRate deposit;
    deposit.set_end("+1y");
    ASSERT_TRUE(deposit.build(today));
    EXPECT_TRUE(deposit.c_eval(1.0 / year - 1.0, &stripper, value));
    EXPECT_NEAR(value, 0.0, 1e-15);
    EXPECT_TRUE(deposit.c_eval(0.0, &stripper, value));
    EXPECT_NEAR(value, year - 1.0, 1e-15);

    ZeroCouponBond bond;
    bond.set_end("+1y");
    ASSERT_TRUE(bond.build(today));
    EXPECT_TRUE(bond.c_eval(year, &stripper, value));
    EXPECT_NEAR(value, 0.0, 1e-15);

    SwapRate swap;
    swap.set_end("+1y");
    swap.set_frequency("+1y");
    ASSERT_TRUE(swap.build(today));
    EXPECT_TRUE(swap.c_eval(1.0 / year - 1.0, &stripper, value));
    EXPECT_NEAR(value, 0.0, 1e-15);
}

TEST_F(GridTest, AnInstrumentFailsWhereTheStripperDoes) {
    FlatStripper const stripper(today);
    double value = 0.0;
    DepositRate deposit;
    deposit.set_end("+5y");
    SwapRate swap;
    swap.set_end("+5y");
    swap.set_frequency("+1y");
    ZeroCouponBond bond;
    bond.set_end("+5y");
    ASSERT_TRUE(deposit.build(today) && swap.build(today) && bond.build(today));
    EXPECT_FALSE(deposit.c_eval(0.01, &stripper, value));
    EXPECT_FALSE(swap.c_eval(0.01, &stripper, value));
    EXPECT_FALSE(bond.c_eval(0.01, &stripper, value));
}

TEST_F(GridTest, AnEmptySwapIsWorthNothingToTheSolver) {
    FlatStripper const stripper(today);
    double value = 5.0;
    EXPECT_TRUE(SwapRate().c_eval(0.01, &stripper, value));
    EXPECT_EQ(value, 0.0);
}

TEST_F(GridTest, AFinishedCurvePricesItsInstruments) {
    auto& curve = yield_curve(*currency("EUR"));
    push<MarketDataYieldPerturbationItem>(Shift::Kind::additive, Shift::Unit::percentage, -3.0,
                                          currency("EUR").get());
    double const year = std::exp(-0.03);
    DepositRate deposit;
    deposit.set_end("+1y");
    SwapRate swap;
    swap.set_end("+1y");
    swap.set_frequency("+1y");
    ZeroCouponBond bond;
    bond.set_end("+1y");
    ASSERT_TRUE(deposit.build(today) && swap.build(today) && bond.build(today));
    EXPECT_THAT(deposit.c_price(&curve), IsNearRel(1.0 / year - 1.0, 1e-12));
    EXPECT_THAT(swap.c_price(&curve), IsNearRel(1.0 / year - 1.0, 1e-12));
    EXPECT_THAT(bond.c_price(&curve), IsNearRel(year, 1e-12));
}

}  // namespace
}  // namespace ximCORE::Data
