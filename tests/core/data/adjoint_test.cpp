// The adjoint forms of market data: quotes, forwards, and underlyings on the fixing grid.

#include <cmath>
#include <random>

#include "core/data/interest_rates.hpp"
#include "core/modeling/fixing_grid.hpp"
#include "support/adjoints.hpp"
#include "support/market.hpp"
#include "support/matchers.hpp"

namespace ximCORE::Data {
namespace {

using Modeling::FixingGrid;
using Toolbox::Date;
using Toolbox::SegmentationFaultException;
using Toolbox::AAD::SweepType;
using Toolbox::AAD::Tape;
using ximTest::expect_adjoint_matches_bumps;
using ximTest::IsNearRel;
using ximTest::LogsError;
using ximTest::Raises;
using ximTest::Values;
using enum SweepType;

TEST(AdjointShift, TheSlopeIsThatOfTheShiftedNumber) {
    for (auto const kind : {MarketDataShift::Kind::additive, MarketDataShift::Kind::assignment,
                            MarketDataShift::Kind::hybrid, MarketDataShift::Kind::multiplicative})
        for (auto const unit : {MarketDataShift::Unit::percentage,
                                MarketDataShift::Unit::basis_point, MarketDataShift::Unit::none}) {
            MarketDataShift const shift{.kind = kind, .unit = unit, .value = 2.5};
            EXPECT_NEAR(shift.c_get_slope(), shift.c_eval(4.0) - shift.c_eval(3.0), 1e-14);
        }
    MarketDataShift const unknown{.kind = static_cast<MarketDataShift::Kind>(7)};
    EXPECT_THAT([&] { std::ignore = unknown.c_get_slope(); },
                Raises<std::runtime_error>("Unknown error"));
}

class AdjointMarketTest : public Testing::MarketTest {
 protected:
    Spot& spot(Underlying const& asset) const {
        return *cache().get_spot(today, &asset, Level::silent);
    }
    BlackScholesVolatility& volatility(Underlying const& asset) const {
        return *cache().get_blackscholes_volatility(today, &asset, Level::silent);
    }

    std::shared_ptr<Underlying> const stock = share("AAA");
    std::shared_ptr<Underlying> const pair = exchange_rate("EURUSD", "EUR", "USD");
    Tape tape;
};

TEST_F(AdjointMarketTest, TheAdjointOfASpotIsPerRelativeMoveOfTheShiftedValue) {
    set_spot(*stock, 100.0);
    push<MarketDataSpotPerturbationItem>(Shift::Kind::additive, Shift::Unit::none, 3.0,
                                         stock.get());
    auto& quote = spot(*stock);
    double value = 0.0;
    double adjoint = 1.0;
    ASSERT_TRUE(quote.aeval(tape, FORWARD, value, 0.0, adjoint));
    EXPECT_EQ(value, 103.0);
    EXPECT_EQ(adjoint, 1.0);
    value = 0.0;
    ASSERT_TRUE(quote.aeval(tape, BACKWARD, value, 2.0, adjoint));
    EXPECT_EQ(value, 103.0);
    EXPECT_EQ(adjoint, 207.0);
    EXPECT_TRUE(tape.c_is_empty());
}

TEST_F(AdjointMarketTest, AMissingSpotFailsAndPutsNothingOnTheTape) {
    double value = 5.0;
    double adjoint = 0.0;
    auto& quote = spot(*stock);
    EXPECT_THAT([&] { EXPECT_FALSE(quote.aeval(tape, FORWARD, value, 0.0, adjoint)); },
                LogsError("Cannot find spot at '2023-01-01' for underlying with ticker 'AAA'"));
    EXPECT_EQ(value, 5.0);
    EXPECT_TRUE(tape.c_is_empty());
}

TEST_F(AdjointMarketTest, TheAdjointOfAVolatilityHasNoFactor) {
    set_volatility(*stock, 0.25);
    push<MarketDataVolatilityPerturbationItem>(Shift::Kind::additive, Shift::Unit::percentage, 5.0,
                                               stock.get());
    auto& quote = volatility(*stock);
    double value = 0.0;
    double adjoint = 1.0;
    ASSERT_TRUE(quote.aeval(tape, FORWARD, value, 0.0, &adjoint));
    EXPECT_EQ(value, 0.25 + 5.0 * 0.01);
    value = 0.0;
    ASSERT_TRUE(quote.aeval(tape, BACKWARD, value, 2.0, &adjoint));
    EXPECT_EQ(value, 0.25 + 5.0 * 0.01);
    EXPECT_EQ(adjoint, 3.0);
    ASSERT_TRUE(quote.aeval(tape, FORWARD, value, 0.0, nullptr));
    ASSERT_TRUE(quote.aeval(tape, BACKWARD, value, 2.0, nullptr));
    EXPECT_TRUE(tape.c_is_empty());
}

TEST_F(AdjointMarketTest, AMissingVolatilityFailsAndPutsNothingOnTheTape) {
    double value = 5.0;
    auto& quote = volatility(*stock);
    EXPECT_THAT(
        [&] { EXPECT_FALSE(quote.aeval(tape, FORWARD, value, 0.0, nullptr)); },
        LogsError("Cannot find Black-Scholes volatility at '2023-01-01' for underlying with "
                  "ticker 'AAA'"));
    EXPECT_TRUE(tape.c_is_empty());
}

class AdjointForwardTest : public AdjointMarketTest {
 protected:
    AdjointForwardTest() {
        set_spot(*stock, 100.0);
        set_spot(*pair, 1.25);
        for (auto const* asset : {stock.get(), pair.get()})
            EXPECT_TRUE(forward_curve(*asset).get_dependencies());
        shift_yield("EUR", 2.0);
        shift_yield("USD", -3.0);
    }

    void shift_yield(std::string const& ticker, double percent) {
        push<MarketDataYieldPerturbationItem>(Shift::Kind::additive, Shift::Unit::percentage,
                                              percent,
                                              static_cast<Currency const*>(currency(ticker).get()));
    }

    /// The forward after one more relative move of the spot.
    double bumped_forward(Underlying const& asset, double move) const {
        push<MarketDataSpotPerturbationItem>(Shift::Kind::hybrid, Shift::Unit::none, move, &asset);
        double result = 0.0;
        EXPECT_TRUE(forward_curve(asset).eval_absolute(one_year, result));
        pop();
        return result;
    }
};

TEST_F(AdjointForwardTest, TheRelativeFactorIsAQuotient) {
    for (auto const* asset : {stock.get(), pair.get()}) {
        auto& curve = forward_curve(*asset);
        double const zero_coupon = yield_curve(*asset->c_get_currency()).eval_zero_coupon(one_year);
        double const numerator =
            asset == stock.get() ? 1.0 : yield_curve(*currency("EUR")).eval_zero_coupon(one_year);
        EXPECT_NE(zero_coupon, 1.0);
        double value = 0.0;
        expect_adjoint_matches_bumps(
            [](Values const& x) { return x[0] / x[1]; },
            [&](Tape& pass, SweepType sweep, Values const&, double& out, double adjoint,
                Values& adjoints) {
                ASSERT_TRUE(curve.c_aeval_relative(pass, sweep == BACKWARD, one_year, out, adjoint,
                                                   &adjoints[0], &adjoints[1]));
                value = out;
            },
            {numerator, zero_coupon});
        EXPECT_EQ(value, curve.eval_relative(one_year));
    }
}

TEST_F(AdjointForwardTest, EachDerivativeOfTheRelativeFactorIsOptional) {
    auto& curve = forward_curve(*pair);
    for (int const wanted : {0, 1, 2}) {
        double value = 0.0;
        double adjoint = 1.0;
        Values adjoints(2, 0.0);
        auto const pointer = [&](int i) {
            return i == wanted ? &adjoints[static_cast<std::size_t>(i)] : nullptr;
        };
        ASSERT_TRUE(
            curve.c_aeval_relative(tape, false, one_year, value, adjoint, nullptr, nullptr));
        ASSERT_TRUE(
            curve.c_aeval_relative(tape, true, one_year, value, adjoint, pointer(0), pointer(1)));
        EXPECT_EQ(adjoints[0] != 0.0, wanted == 0);
        EXPECT_EQ(adjoints[1] != 0.0, wanted == 1);
        EXPECT_TRUE(tape.c_is_empty());
    }
}

TEST_F(AdjointForwardTest, TheForwardHandsOnTheDerivativeByARelativeSpotMove) {
    for (auto const* asset : {stock.get(), pair.get()}) {
        auto& curve = forward_curve(*asset);
        for (auto const kind : {Shift::Kind::additive, Shift::Kind::assignment, Shift::Kind::hybrid,
                                Shift::Kind::multiplicative}) {
            push<MarketDataForwardPerturbationItem>(kind, Shift::Unit::none, 0.5, asset);
            double expected_value = 0.0;
            ASSERT_TRUE(curve.eval_absolute(one_year, expected_value));
            double value = 0.0;
            double adjoint = 1.5;
            double spot_adjoint = 10.0;
            ASSERT_TRUE(
                curve.c_aeval_absolute(tape, false, one_year, value, adjoint, spot_adjoint));
            EXPECT_EQ(value, expected_value);
            EXPECT_EQ(spot_adjoint, 10.0);
            EXPECT_FALSE(tape.c_is_empty());
            ASSERT_TRUE(curve.c_aeval_absolute(tape, true, one_year, value, adjoint, spot_adjoint));
            EXPECT_TRUE(tape.c_is_empty());
            double const slope = ximTest::derivative(
                [&](double move) { return bumped_forward(*asset, move); }, 0.0, 1e-3);
            EXPECT_NEAR(spot_adjoint - 10.0, 1.5 * slope, 1e-9 * expected_value);
            EXPECT_EQ(slope == 0.0, kind == Shift::Kind::assignment);
            pop();
        }
    }
}

TEST_F(AdjointForwardTest, TheForwardHandsOnTheDerivativesOfItsFactor) {
    auto& curve = forward_curve(*pair);
    double value = 0.0;
    double adjoint = 1.0;
    double spot_adjoint = 0.0;
    double d_numerator = 0.0;
    double d_zero_coupon = 0.0;
    ASSERT_TRUE(curve.c_aeval_absolute(tape, false, one_year, value, adjoint, spot_adjoint));
    ASSERT_TRUE(curve.c_aeval_absolute(tape, true, one_year, value, adjoint, spot_adjoint,
                                       &d_numerator, &d_zero_coupon));
    double const numerator = yield_curve(*currency("EUR")).eval_zero_coupon(one_year);
    double const zero_coupon = yield_curve(*currency("USD")).eval_zero_coupon(one_year);
    EXPECT_THAT(d_numerator, IsNearRel(1.25 / zero_coupon, 1e-14));
    EXPECT_THAT(d_zero_coupon, IsNearRel(-1.25 * numerator / zero_coupon / zero_coupon, 1e-14));
}

TEST_F(AdjointForwardTest, AForwardWithoutSpotOrLinksFailsAndPutsNothingOnTheTape) {
    double value = 5.0;
    double adjoint = 0.0;
    double spot_adjoint = 0.0;
    auto& unlinked = forward_curve(*share("BBB"));
    EXPECT_FALSE(unlinked.c_aeval_absolute(tape, false, one_year, value, adjoint, spot_adjoint));
    ASSERT_TRUE(unlinked.get_dependencies());
    EXPECT_THAT(
        [&] {
            EXPECT_FALSE(
                unlinked.c_aeval_absolute(tape, false, one_year, value, adjoint, spot_adjoint));
        },
        LogsError("Cannot find spot at '2023-01-01' for underlying with ticker 'BBB'"));
    EXPECT_EQ(value, 5.0);
    EXPECT_TRUE(tape.c_is_empty());
}

/// One fixing date, one currency, random zero coupons.
class AdjointGridTest : public Testing::MarketTest {
 protected:
    void set_up(Underlying& asset) {
        ASSERT_TRUE(asset.build(m_fixing));
        asset.accumulate_maturity_dates(m_maturities);
        for (std::size_t i = 0; i < m_maturities.size(); ++i)
            m_maturities[i]->set_maturity_rank(static_cast<short>(i));
        m_fixing.set_fixing_rank(0);
        m_grid.init(1, m_maturities.size(), 1, 1, 0);
        asset.c_set_fixing_grid_internal(m_fixing, m_grid);
    }

    FixingGrid::Cell& cell(std::size_t i) {
        return m_grid.get_zero_coupon(m_fixing, *currency("EUR"), *m_maturities[i]);
    }
    void fill(Values const& zero_coupons) {
        for (std::size_t i = 0; i < zero_coupons.size(); ++i) cell(i).value = zero_coupons[i];
    }

    /// The adjoint form on one side as a routine over the zero coupons.
    void expect_derivatives(Underlying& asset, bool antithetic) {
        std::mt19937 random(41);
        std::uniform_real_distribution<double> uniform(0.7, 1.0);
        for (int round = 0; round < 20; ++round) {
            Values zero_coupons(m_maturities.size());
            for (double& zero_coupon : zero_coupons) zero_coupon = uniform(random);
            expect_adjoint_matches_bumps(
                [&](Values const& x) {
                    fill(x);
                    return asset.eval(m_fixing, m_grid);
                },
                [&](Tape& tape, SweepType sweep, Values const& x, double& value, double adjoint,
                    Values& adjoints) {
                    fill(x);
                    for (std::size_t i = 0; i < x.size(); ++i)
                        cell(i).get_adjoint(antithetic) = adjoints[i];
                    asset.aeval(m_fixing, tape, sweep, antithetic, m_grid, value, adjoint);
                    for (std::size_t i = 0; i < x.size(); ++i) {
                        adjoints[i] = cell(i).get_adjoint(antithetic);
                        EXPECT_EQ(cell(i).get_adjoint(!antithetic), 0.0);
                        cell(i).get_adjoint(antithetic) = 0.0;
                    }
                },
                zero_coupons);
        }
    }

    Date m_fixing{2023, 1, 1};
    FixingGrid m_grid;
    std::vector<Date*> m_maturities;
};

TEST_F(AdjointGridTest, ADepositRateHandsOnTheExactDerivative) {
    auto const impl = std::make_shared<DepositRate>();
    impl->set_start("+2d");
    impl->set_end("+6m");
    auto const rate = underlying("EURIBOR6M", "EUR", impl);
    set_up(*rate);
    for (bool const antithetic : {false, true}) expect_derivatives(*rate, antithetic);
}

TEST_F(AdjointGridTest, AZeroCouponBondHandsOnTheExactDerivative) {
    auto const impl = std::make_shared<ZeroCouponBond>();
    impl->set_calendar("dummy");
    impl->set_start("+1bd");
    impl->set_end("+1y");
    auto const bond = underlying("BOND", "EUR", impl);
    set_up(*bond);
    for (bool const antithetic : {false, true}) expect_derivatives(*bond, antithetic);
}

TEST_F(AdjointGridTest, ASwapRateHandsOnTheExactDerivative) {
    auto const impl = std::make_shared<SwapRate>();
    impl->set_start("+1d");
    impl->set_end("+3y");
    impl->set_frequency("+6m");
    auto const rate = underlying("SWAP3Y", "EUR", impl);
    set_up(*rate);
    EXPECT_GT(impl->c_get_nb_periods(), 4U);
    for (bool const antithetic : {false, true}) expect_derivatives(*rate, antithetic);
}

TEST_F(AdjointGridTest, ASwapRateWithoutPeriodsRaises) {
    auto const rate = underlying("SWAP", "EUR", std::make_shared<SwapRate>());
    m_fixing.set_fixing_rank(0);
    m_grid.init(1, 1, 1, 1, 0);
    Tape tape;
    double value = 0.0;
    double adjoint = 0.0;
    EXPECT_THAT([&] { rate->aeval(m_fixing, tape, FORWARD, false, m_grid, value, adjoint); },
                Raises<SegmentationFaultException>());
}

TEST_F(AdjointGridTest, AMirroredPathHasTheSameZeroCoupons) {
    auto const impl = std::make_shared<ZeroCouponBond>();
    impl->set_start("+1d");
    impl->set_end("+1y");
    auto const bond = underlying("BOND", "EUR", impl);
    set_up(*bond);
    fill({0.9, 0.72});
    Tape tape;
    double value = 0.0;
    double adjoint = 0.0;
    bond->aeval(m_fixing, tape, FORWARD, true, m_grid, value, adjoint);
    EXPECT_THAT(value, IsNearRel(0.8, 1e-14));
}

TEST_F(AdjointGridTest, AnEquityLikeUnderlyingReadsAndAddsToTheCellOfItsSide) {
    auto const stock = share("A");
    stock->set_rank(1);
    m_fixing.set_fixing_rank(2);
    m_grid.init(3, 0, 2, 1, 0);
    auto const& impl = dynamic_cast<EquityLikeUnderlying&>(*stock->c_get_impl());
    auto& own = m_grid.get_equity_like(m_fixing, impl);
    own.value = 7.0;
    own.antithetic_value = 5.0;
    Tape tape;
    double value = 0.0;
    double adjoint = 2.0;
    stock->aeval(m_fixing, tape, FORWARD, false, m_grid, value, adjoint);
    EXPECT_EQ(value, 7.0);
    stock->aeval(m_fixing, tape, FORWARD, true, m_grid, value, adjoint);
    EXPECT_EQ(value, 5.0);
    EXPECT_EQ(own.adjoint, 0.0);
    for (int i = 0; i < 2; ++i)
        stock->aeval(m_fixing, tape, BACKWARD, false, m_grid, value, adjoint);
    EXPECT_EQ(own.adjoint, 4.0);
    EXPECT_EQ(own.antithetic_adjoint, 0.0);
    stock->aeval(m_fixing, tape, BACKWARD, true, m_grid, value, adjoint);
    EXPECT_EQ(own.antithetic_adjoint, 2.0);
    EXPECT_EQ(own.value, 7.0);
    EXPECT_TRUE(tape.c_is_empty());
}

TEST_F(AdjointGridTest, AnUnderlyingOfUnknownKindIsWorthNothingAndHandsNothingOn) {
    Underlying unknown("A", true);
    Tape tape;
    double value = 3.0;
    double adjoint = 2.0;
    unknown.aeval(m_fixing, tape, BACKWARD, false, m_grid, value, adjoint);
    EXPECT_EQ(value, 3.0);
    unknown.aeval(m_fixing, tape, FORWARD, false, m_grid, value, adjoint);
    EXPECT_EQ(value, 0.0);
    EXPECT_TRUE(tape.c_is_empty());
}

}  // namespace
}  // namespace ximCORE::Data
