#include "core/modeling/fixing_grid.hpp"

#include "core/data/currency.hpp"
#include "core/data/equity_like.hpp"
#include "support/matchers.hpp"

namespace ximCORE::Modeling {
namespace {

using Toolbox::SegmentationFaultException;
using ximTest::Raises;

Toolbox::Date fixing_date(short rank) {
    Toolbox::Date date(2024, 1, 2);
    date.set_fixing_rank(rank);
    return date;
}

Toolbox::Date maturity_date(short rank) {
    Toolbox::Date date(2025, 1, 2);
    date.set_maturity_rank(rank);
    return date;
}

Toolbox::Date payment_date(short rank) {
    Toolbox::Date date(2025, 1, 2);
    date.set_payment_rank(rank);
    return date;
}

Data::Share share(short rank) {
    Data::Share result;
    result.set_rank(rank);
    return result;
}

Data::Currency currency(unsigned char rank) {
    Data::Currency result;
    result.set_rank(rank);
    return result;
}

/// 4 fixings, 3 maturities, 2 underlyings, 2 currencies, 3 payments.
FixingGrid small_grid() {
    FixingGrid grid;
    grid.init(4, 3, 2, 2, 3);
    return grid;
}

TEST(FixingGrid, StartsWithClearedCells) {
    auto const grid = small_grid();
    ASSERT_EQ(grid.c_get_equity_like().c_get_rows(), 4U);
    ASSERT_EQ(grid.c_get_equity_like().c_get_cols(), 2U);
    for (auto const& cell : grid.c_get_equity_like()) {
        EXPECT_FALSE(cell.opened);
        EXPECT_FALSE(cell.closed);
        EXPECT_EQ(cell.value, 0.0);
        EXPECT_EQ(cell.adjoint, 0.0);
        EXPECT_EQ(cell.antithetic_value, 0.0);
        EXPECT_EQ(cell.antithetic_adjoint, 0.0);
    }
}

TEST(FixingGrid, HasOneMoreZeroCouponRowThanFixings) {
    auto const grid = small_grid();
    EXPECT_EQ(grid.c_get_zero_coupon().c_get_extent(0), 2U);
    EXPECT_EQ(grid.c_get_zero_coupon().c_get_extent(1), 5U);
    EXPECT_EQ(grid.c_get_zero_coupon().c_get_extent(2), 3U);
    EXPECT_EQ(grid.c_get_stochastic_rates_adjustment().c_get_rows(), 2U);
    EXPECT_EQ(grid.c_get_stochastic_rates_adjustment().c_get_cols(), 3U);
}

TEST(FixingGrid, LeavesAnArrayWithAZeroDimensionUnallocated) {
    FixingGrid grid = small_grid();
    grid.init(4, 0, 0, 2, 0);
    EXPECT_EQ(grid.c_get_equity_like().c_get_rows(), 0U);
    EXPECT_EQ(grid.c_get_zero_coupon().c_get_extent(1), 0U);
    EXPECT_EQ(grid.c_get_stochastic_rates_adjustment().c_get_rows(), 0U);
    grid.filter();
    grid.reset();
}

TEST(FixingGrid, WithoutFixingsStillHoldsZeroCouponsOfTheStart) {
    FixingGrid grid;
    grid.init(0, 1, 1, 1, 0);
    EXPECT_EQ(grid.c_get_zero_coupon().c_get_extent(1), 1U);
}

TEST(FixingGrid, FilterClosesTheLastOpenedCellOfAColumnAlone) {
    auto grid = small_grid();
    grid.open_equity_like(fixing_date(1), share(0));
    grid.open_equity_like(fixing_date(3), share(0));
    grid.open_equity_like(fixing_date(2), share(1));
    grid.filter();
    EXPECT_TRUE(grid.get_equity_like(fixing_date(3), share(0)).closed);
    EXPECT_FALSE(grid.get_equity_like(fixing_date(1), share(0)).closed);
    EXPECT_TRUE(grid.get_equity_like(fixing_date(2), share(1)).closed);
    EXPECT_FALSE(grid.get_equity_like(fixing_date(3), share(1)).closed);
}

TEST(FixingGrid, FilterLeavesAColumnWithoutOpenedCellUnmarked) {
    auto grid = small_grid();
    grid.filter();
    for (auto const& cell : grid.c_get_equity_like()) EXPECT_FALSE(cell.closed);
    for (auto const& cell : grid.c_get_zero_coupon()) EXPECT_FALSE(cell.closed);
}

TEST(FixingGrid, FilterClosesZeroCouponsAlongTheFixings) {
    auto grid = small_grid();
    grid.open_zero_coupon(fixing_date(0), currency(1), maturity_date(2));
    grid.open_zero_coupon(fixing_date(2), currency(1), maturity_date(2));
    grid.filter();
    EXPECT_TRUE(grid.get_zero_coupon(fixing_date(2), currency(1), maturity_date(2)).closed);
    EXPECT_FALSE(grid.get_zero_coupon(fixing_date(0), currency(1), maturity_date(2)).closed);
}

TEST(FixingGrid, OpenAllLeavesAllCellsUnclosedAndTheRatesAdjustmentsAlone) {
    auto grid = small_grid();
    grid.open_all();
    for (auto const& cell : grid.c_get_equity_like()) EXPECT_TRUE(cell.opened && !cell.closed);
    for (auto const& cell : grid.c_get_zero_coupon()) EXPECT_TRUE(cell.opened && !cell.closed);
    for (auto const& cell : grid.c_get_stochastic_rates_adjustment()) EXPECT_FALSE(cell.opened);
    grid.open_stochastic_rates_adjustment(currency(1), payment_date(2));
    EXPECT_TRUE(grid.get_stochastic_rates_adjustment(currency(1), payment_date(2)).opened);
}

TEST(FixingGrid, AnUnopenedEquityCellKeepsItsValueAndStillAnswersTrue) {
    auto grid = small_grid();
    EXPECT_TRUE(grid.set_equity_like(1, 0, 5.0));
    EXPECT_EQ(grid.get_equity_like(fixing_date(1), share(0)).value, 0.0);
}

TEST(FixingGrid, AWriterOfEquityCellsStopsAtTheClosedOne) {
    auto grid = small_grid();
    grid.open_equity_like(fixing_date(1), share(0));
    grid.open_equity_like(fixing_date(2), share(0));
    grid.filter();
    EXPECT_TRUE(grid.set_equity_like(1, 0, 5.0));
    EXPECT_FALSE(grid.set_equity_like(2, 0, 6.0));
    EXPECT_EQ(grid.get_equity_like(fixing_date(2), share(0)).value, 6.0);
}

TEST(FixingGrid, AZeroCouponBeforeTheFirstFixingLandsInRowZero) {
    auto grid = small_grid();
    grid.open_zero_coupon(fixing_date(-1), currency(0), maturity_date(1));
    EXPECT_TRUE(grid.set_zero_coupon(-1, 0, 1, 0.9));
    EXPECT_EQ(grid.c_get_zero_coupon().get(0, 0, 1).value, 0.9);
}

TEST(FixingGrid, AnUnopenedZeroCouponAnswersFalse) {
    auto grid = small_grid();
    EXPECT_FALSE(grid.set_zero_coupon(0, 0, 0, 0.9));
    EXPECT_EQ(grid.c_get_zero_coupon().get(0, 1, 0).value, 0.0);
}

TEST(FixingGrid, TheRatesAdjustmentsAreRunningSums) {
    auto grid = small_grid();
    grid.set_stochastic_rates_adjustment(1, 0, 0.25);
    grid.set_stochastic_rates_adjustment(1, 1, 0.5);
    grid.set_stochastic_rates_adjustment(1, 2, 1.0);
    EXPECT_EQ(grid.get_stochastic_rates_adjustment(currency(1), payment_date(0)).value, 0.25);
    EXPECT_EQ(grid.get_stochastic_rates_adjustment(currency(1), payment_date(2)).value, 1.75);
    EXPECT_EQ(grid.get_stochastic_rates_adjustment(currency(0), payment_date(2)).value, 0.0);
}

TEST(FixingGrid, ResetKeepsTheValuesOfZeroCouponsAndAllFlags) {
    auto grid = small_grid();
    grid.open_all();
    auto& equity = grid.get_equity_like(fixing_date(0), share(0));
    auto& bond = grid.get_zero_coupon(fixing_date(0), currency(0), maturity_date(0));
    for (auto* cell : {&equity, &bond}) {
        cell->value = 1.0;
        cell->adjoint = 2.0;
        cell->antithetic_value = 3.0;
        cell->antithetic_adjoint = 4.0;
    }
    grid.reset();
    EXPECT_TRUE(equity.opened);
    EXPECT_EQ(equity.value + equity.adjoint + equity.antithetic_value + equity.antithetic_adjoint,
              0.0);
    EXPECT_EQ(bond.value, 1.0);
    EXPECT_EQ(bond.adjoint, 0.0);
    EXPECT_EQ(bond.antithetic_value, 3.0);
    EXPECT_EQ(bond.antithetic_adjoint, 0.0);
}

TEST(FixingGrid, ACopyIsDeepAndCarriesTheFlags) {
    auto grid = small_grid();
    grid.open_equity_like(fixing_date(3), share(1));
    grid.filter();
    FixingGrid copy;
    copy.init(grid);
    grid.get_equity_like(fixing_date(3), share(1)).value = 7.0;
    auto const& cell = copy.get_equity_like(fixing_date(3), share(1));
    EXPECT_TRUE(cell.opened && cell.closed);
    EXPECT_EQ(cell.value, 0.0);
}

TEST(FixingGrid, AColumnIsTheCellsOfOneUnderlying) {
    auto grid = small_grid();
    auto const column = grid.get_column(1);
    ASSERT_EQ(column.c_get_size(), 4U);
    for (short k = 0; k < 4; ++k)
        EXPECT_EQ(&column[static_cast<std::size_t>(k)],
                  &grid.get_equity_like(fixing_date(k), share(1)));
}

TEST(FixingGrid, ARankOutsideRaises) {
    auto grid = small_grid();
    using Fault = SegmentationFaultException;
    EXPECT_THAT([&] { grid.open_equity_like(fixing_date(4), share(0)); },
                Raises<Fault>("Segmentation fault"));
    EXPECT_THAT([&] { grid.open_equity_like(fixing_date(-1), share(0)); }, Raises<Fault>());
    EXPECT_THAT([&] { grid.open_equity_like(fixing_date(0), share(-1)); }, Raises<Fault>());
    EXPECT_THAT([&] { grid.open_zero_coupon(fixing_date(-2), currency(0), maturity_date(0)); },
                Raises<Fault>());
    EXPECT_THAT([&] { grid.open_zero_coupon(fixing_date(0), currency(2), maturity_date(0)); },
                Raises<Fault>());
    EXPECT_THAT([&] { grid.open_stochastic_rates_adjustment(currency(0), payment_date(3)); },
                Raises<Fault>());
    EXPECT_THAT([&] { std::ignore = grid.set_equity_like(0, 2, 1.0); }, Raises<Fault>());
    EXPECT_THAT([&] { std::ignore = grid.get_column(2); }, Raises<Fault>());
}

}  // namespace
}  // namespace ximCORE::Modeling
