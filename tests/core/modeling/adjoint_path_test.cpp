// The adjoint forms of path and calibration, each against its plain form.

#include <algorithm>

#include "core/modeling/adjoint_case.hpp"
#include "core/modeling/black_scholes_model.hpp"
#include "core/toolbox/cholesky.hpp"

namespace ximCORE::Modeling {
namespace {

using Toolbox::SegmentationFaultException;
using ximTest::IsNearRel;
using ximTest::LogsError;
using ximTest::Raises;
using enum SweepType;

class AdjointPathTest : public AdjointCase {
 protected:
    /// The forward form writes on each side, bit for bit, the path that `diffuse` writes.
    void expect_same_paths(MCHelper& helper, MCHelper& plain) {
        Tape tape;
        set(helper);
        set(plain);
        ASSERT_TRUE(acalibrate(helper, tape, FORWARD));
        ASSERT_TRUE(plain.calibrate(today, *currency("EUR"), information.lists));
        for (std::uint64_t trial = 0; trial < c_trials; ++trial)
            for (bool const antithetic : {false, true}) {
                helper.get_fixing_grid().reset();
                helper.adiffuse(tape, FORWARD, antithetic, trial);
                plain.diffuse(trial);
                for (std::uint64_t u = 0; u < plain.c_get_nb_underlyings(); ++u)
                    for (std::uint64_t k = 0; k < plain.c_get_nb_fixing_dates(); ++k) {
                        auto& written = cell(helper, k, u);
                        ASSERT_EQ(written.get_value(antithetic), cell(plain, k, u).value);
                        ASSERT_EQ(written.get_value(!antithetic), 0.0);
                        ASSERT_EQ(written.adjoint, 0.0);
                        ASSERT_EQ(written.antithetic_adjoint, 0.0);
                    }
            }
    }

    /// A share in USD paid in EUR, its exchange rate, and one more share.
    void add_quanto() {
        auto const rate = exchange_rate("USDEUR", "USD", "EUR");
        auto const quanto = share("Q", "USD");
        ASSERT_TRUE(quanto->set_quanto_exchange_rate(*currency("EUR")));
        add(share("P"), 60.0, 0.375);
        add(quanto, 100.0, 0.25);
        add(quanto->c_get_quanto_exchange_rate(), 0.9, 0.125);
    }
};

TEST_F(AdjointPathTest, TheForwardFormWritesThePathOfThePlainForm) {
    add_shares(3);
    add_quanto();
    correlate();
    add_fixings();
    BlackScholesMCHelper constant;
    BlackScholesMCHelper plain_constant;
    expect_same_paths(constant, plain_constant);
    BlackScholesTermStructureMCHelper term_structure;
    BlackScholesTermStructureMCHelper plain_term_structure;
    expect_same_paths(term_structure, plain_term_structure);
}

TEST_F(AdjointPathTest, AllDerivativesAreThoseOfBumps) {
    for (std::size_t const count : {1U, 2U, 3U, 4U, 5U})
        for (double const weight_of_mirror : {0.0, 0.3, 0.5}) {
            SCOPED_TRACE(std::to_string(count) + " shares, " + std::to_string(weight_of_mirror));
            reset();
            information = {};
            factor = weight_of_mirror;
            add_shares(count);
            correlate();
            add_fixings();
            BlackScholesMCHelper helper;
            BlackScholesMCHelper plain;
            set(helper);
            set(plain);
            double const value = sweep_all(helper);
            EXPECT_THAT(value, IsNearRel(plain_value(plain), 1e-13));
            auto const delta = deltas(helper);
            auto const vega = vegas(helper);
            auto const cega = cegas(helper);
            for (std::size_t i = 0; i < count; ++i) {
                expect_derivative(delta.get(i).result, spot_derivative(plain, i), value);
                expect_derivative(vega.get(i).result, volatility_derivative(plain, i), value);
                for (std::size_t j = 0; j < i; ++j)
                    expect_derivative(cega.get(i, j).result, correlation_derivative(plain, i, j),
                                      value);
            }
        }
}

TEST_F(AdjointPathTest, UnderAScenarioAllDerivativesAreThoseOfBumpsOnTopOfIt) {
    factor = 0.3;
    add_shares(1);
    add_quanto();
    correlate();
    add_fixings();
    for (auto const* ticker : {"EUR", "USD"}) {
        std::ignore = yield_curve(*currency(ticker));
        push<Data::MarketDataYieldPerturbationItem>(
            Shift::Kind::additive, Shift::Unit::percentage, *ticker == 'E' ? -2.0 : 3.0,
            static_cast<Data::Currency const*>(currency(ticker).get()));
    }
    push<Data::MarketDataForwardPerturbationItem>(Shift::Kind::hybrid, Shift::Unit::percentage,
                                                  25.0, asset(0));
    push<Data::MarketDataForwardPerturbationItem>(Shift::Kind::additive, Shift::Unit::none, 4.0,
                                                  asset(2));
    push<Data::MarketDataSpotPerturbationItem>(Shift::Kind::additive, Shift::Unit::none, 9.0,
                                               asset(1));
    BlackScholesMCHelper helper;
    BlackScholesMCHelper plain;
    set(helper);
    set(plain);
    double const value = sweep_all(helper);
    EXPECT_THAT(value, IsNearRel(plain_value(plain), 1e-13));
    EXPECT_NE(helper.c_get_current().forwards.get(3, 2), helper.c_get_current().forwards.get(3, 1));
    auto const delta = deltas(helper);
    for (std::size_t i = 0; i < 4; ++i)
        expect_derivative(delta.get(i).result, spot_derivative(plain, i), value);
    auto const vega = vegas(helper);
    for (std::size_t const i : {0U, 1U, 3U})  // the quanto underlying has its own rule
        expect_derivative(vega.get(i).result, volatility_derivative(plain, i), value);
    auto const cega = cegas(helper);
    for (std::size_t i = 0; i < 4; ++i)
        for (std::size_t j = 0; j < i; ++j)
            expect_derivative(cega.get(i, j).result, correlation_derivative(plain, i, j), value);
}

TEST_F(AdjointPathTest, OnlyOpenedCellsHandOnAndAClosedOneEndsTheColumn) {
    add_shares(2);
    correlate();
    add_fixings();
    BlackScholesMCHelper helper;
    BlackScholesMCHelper plain;
    for (MCHelper* each : {&helper, &plain}) {
        set(*each);
        FixingGrid fresh;
        fresh.init(3, 0, 2, 0, 0);
        auto const open = [&](std::size_t fixing, std::size_t underlying) {
            fresh.open_equity_like(*information.lists.fixing_dates[fixing], *asset(underlying));
        };
        open(1, 0);
        open(0, 1);
        open(2, 1);
        fresh.filter();
        each->get_fixing_grid().init(fresh);
    }
    double const value = sweep_all(helper);
    EXPECT_THAT(value, IsNearRel(plain_value(plain), 1e-13));
    EXPECT_EQ(helper.c_get_forward_adjoints().get(0, 0), 0.0);
    EXPECT_NE(helper.c_get_forward_adjoints().get(0, 1), 0.0);
    EXPECT_EQ(helper.c_get_forward_adjoints().get(0, 2), 0.0);
    EXPECT_EQ(helper.c_get_forward_adjoints().get(1, 1), 0.0);
    auto const delta = deltas(helper);
    auto const vega = vegas(helper);
    for (std::size_t i = 0; i < 2; ++i) {
        expect_derivative(delta.get(i).result, spot_derivative(plain, i), value);
        expect_derivative(vega.get(i).result, volatility_derivative(plain, i), value);
    }
    expect_derivative(cegas(helper).get(1, 0).result, correlation_derivative(plain, 1, 0), value);
}

TEST_F(AdjointPathTest, AQuantoDriftHandsOnToTheRateAndTheCorrelation) {
    factor = 0.3;
    add_quanto();
    correlate();
    add_fixings();
    BlackScholesMCHelper helper;
    BlackScholesMCHelper plain;
    set(helper);
    set(plain);
    double const value = sweep_all(helper);
    EXPECT_THAT(value, IsNearRel(plain_value(plain), 1e-13));
    EXPECT_EQ(helper.c_get_quanto_ranks().get(1), 2U);
    auto const delta = deltas(helper);
    auto const vega = vegas(helper);
    auto const cega = cegas(helper);
    for (std::size_t i = 0; i < 3; ++i)
        expect_derivative(delta.get(i).result, spot_derivative(plain, i), value);
    expect_derivative(vega.get(0).result, volatility_derivative(plain, 0), value);
    expect_derivative(vega.get(2).result, volatility_derivative(plain, 2), value);
    for (auto const& [i, j] : {std::pair(1U, 0U), {2U, 0U}, {2U, 1U}})
        expect_derivative(cega.get(i, j).result, correlation_derivative(plain, i, j), value);
}

TEST_F(AdjointPathTest, TheVegaOfAQuantoUnderlyingLeavesOutWhatItsDriftGainsByItsVolatility) {
    auto const quanto = share("Q", "USD");
    std::ignore = exchange_rate("USDEUR", "USD", "EUR");
    ASSERT_TRUE(quanto->set_quanto_exchange_rate(*currency("EUR")));
    add(quanto, 100.0, 0.25);
    add(quanto->c_get_quanto_exchange_rate(), 0.9, 0.125);
    set_correlation(*asset(1), *asset(0), 0.5);
    set_correlation(*asset(0), *asset(1), 0.5);
    add_fixings();
    BlackScholesMCHelper helper;
    set(helper);
    double const value = sweep_all(helper);
    // the objective with the volatility in the quanto drift held where it is
    auto const objective_at = [&](double sigma) {
        double sum_of_trials = 0.0;
        for (std::uint64_t trial = 0; trial < c_trials; ++trial) {
            double x = 0.0;
            double y = 0.0;
            double sum = 0.0;
            for (std::uint64_t k = 0; k < 3; ++k) {
                double const dt = helper.c_get_time_steps()[k];
                double const root = std::sqrt(dt);
                double const z = helper.c_get_normals()->get(k, 0, trial);
                double const other =
                    0.5 * z + std::sqrt(0.75) * helper.c_get_normals()->get(k, 1, trial);
                x += sigma * root * z - 0.5 * sigma * sigma * dt + 0.5 * 0.125 * 0.25 * dt;
                y += 0.125 * root * other - 0.5 * 0.125 * 0.125 * dt;
                sum += weight(k, 0) * 100.0 * std::exp(x) +
                       weight(k, 1) * static_cast<double>(0.9F) * std::exp(y);
            }
            sum_of_trials += sum + sum * sum / 1000.0;
        }
        return sum_of_trials;
    };
    EXPECT_THAT(objective_at(0.25), IsNearRel(value, 1e-12));
    auto const vega = vegas(helper);
    expect_derivative(vega.get(0).result, ximTest::derivative(objective_at, 0.25, 2e-3), value);
    BlackScholesMCHelper plain;
    set(plain);
    EXPECT_GT(std::abs(vega.get(0).result.sum - volatility_derivative(plain, 0)), 1e-3 * value);
}

TEST_F(AdjointPathTest, AQuantoRateThatSortsBeforeItsUnderlyingIsRefusedBeforeAnyPath) {
    auto const quanto = share("Q", "USD");
    std::ignore = exchange_rate("USDEUR", "USD", "EUR");
    ASSERT_TRUE(quanto->set_quanto_exchange_rate(*currency("EUR")));
    add(quanto->c_get_quanto_exchange_rate(), 0.9, 0.125);
    add(quanto, 100.0, 0.25);
    correlate();
    add_fixings();
    BlackScholesMCHelper helper;
    set(helper);
    Tape tape;
    EXPECT_THAT([&] { EXPECT_FALSE(acalibrate(helper, tape, FORWARD)); },
                LogsError("Adjoint differentiation needs a quanto rate that sorts after Q"));
    helper.adiffuse(tape, FORWARD, false, 0);
    EXPECT_THAT([&] { helper.adiffuse(tape, BACKWARD, false, 0); },
                Raises<SegmentationFaultException>());
}

TEST_F(AdjointPathTest, TheTermStructureFormHandsOnToEachVolatilityAndToNoVegaRow) {
    factor = 0.5;
    add_shares(1);
    add_fixings();
    BlackScholesTermStructureMCHelper helper;
    set(helper);
    double const value = sweep_all(helper);
    auto const& model = dynamic_cast<BlackScholesTermStructureVolatilityModel const&>(
        *helper.c_get_current().volatilities.get(0).model);
    auto const objective_of = [&](Values const& sigmas) {
        double sum_of_trials = 0.0;
        for (std::uint64_t trial = 0; trial < c_trials; ++trial)
            for (double const sign : {1.0, -1.0}) {
                double x = 0.0;
                double sum = 0.0;
                for (std::uint64_t k = 0; k < 3; ++k) {
                    double const dt = helper.c_get_time_steps()[k];
                    x += sigmas[k] * std::sqrt(dt) * sign *
                             helper.c_get_normals()->get(k, 0, trial) -
                         0.5 * sigmas[k] * sigmas[k] * dt;
                    sum += weight(k, 0) * helper.c_get_current().forwards.get(0, k) * std::exp(x);
                }
                sum_of_trials += 0.5 * (sum + sum * sum / 1000.0);
            }
        return sum_of_trials;
    };
    Values const sigmas(model.volatilities.begin(), model.volatilities.end());
    ASSERT_EQ(sigmas.size(), 3U);
    EXPECT_THAT(objective_of(sigmas), IsNearRel(value, 1e-12));
    for (std::size_t k = 0; k < 3; ++k) {
        double const expected = ximTest::derivative(
            [&](double sigma) {
                Values moved = sigmas;
                moved[k] = sigma;
                return objective_of(moved);
            },
            sigmas[k], 2e-3);
        EXPECT_THAT(model.vega_adjoints.get(k), IsNearRel(expected, 1e-8)) << k;
    }
    auto const vega = vegas(helper);
    EXPECT_EQ(vega.get(0).result.count, 0U);
    EXPECT_EQ(vega.get(0).result.sum, 0.0);
}

TEST_F(AdjointPathTest, TheTermStructureFormHasTheDeltasAndCegasOfBumps) {
    factor = 0.3;
    add_shares(1);
    add_quanto();
    correlate();
    add_fixings();
    BlackScholesTermStructureMCHelper helper;
    BlackScholesTermStructureMCHelper plain;
    set(helper);
    set(plain);
    double const value = sweep_all(helper);
    EXPECT_THAT(value, IsNearRel(plain_value(plain), 1e-13));
    auto const delta = deltas(helper);
    auto const cega = cegas(helper);
    for (std::size_t i = 0; i < 4; ++i) {
        expect_derivative(delta.get(i).result, spot_derivative(plain, i), value);
        for (std::size_t j = 0; j < i; ++j)
            expect_derivative(cega.get(i, j).result, correlation_derivative(plain, i, j), value);
    }
}

TEST_F(AdjointPathTest, WithoutFactorOrFixingThereIsNothingToHandOn) {
    Tape tape;
    BlackScholesMCHelper empty;
    set(empty);
    ASSERT_TRUE(acalibrate(empty, tape, FORWARD));
    for (auto const sweep : {FORWARD, BACKWARD}) empty.adiffuse(tape, sweep, false, 0);
    EXPECT_TRUE(acalibrate(empty, tape, BACKWARD));
    add_shares(2);
    correlate();
    BlackScholesMCHelper constant;
    BlackScholesTermStructureMCHelper term_structure;
    for (MCHelper* helper : std::initializer_list<MCHelper*>{&constant, &term_structure}) {
        set(*helper);
        EXPECT_EQ(sweep_all(*helper), 0.0);
        EXPECT_EQ(deltas(*helper).get(1).result.sum, 0.0);
        EXPECT_EQ(cegas(*helper).get(1, 0).result.sum, 0.0);
    }
    EXPECT_TRUE(tape.c_is_empty());
}

/// The frame without a model: it records its hooks.
class RecordingMCHelper final : public MCHelper {
 public:
    RecordingMCHelper() : MCHelper(1, 0, false) {}
    std::unique_ptr<MCHelper> c_clone() const override {
        return std::make_unique<RecordingMCHelper>(*this);
    }
    bool acalibrate_internal_core(Tape&, SweepType sweep, Toolbox::Date const&,
                                  Contract::ContractInformation const&) override {
        calls.push_back(sweep == FORWARD ? "core" : "core back");
        return core_answer;
    }

    std::vector<std::string> calls;
    bool core_answer{true};

 protected:
    void _adiffuse_internal(Tape&, SweepType sweep, bool antithetic, std::uint64_t) override {
        calls.push_back(std::string(sweep == FORWARD ? "path" : "path back") +
                        (antithetic ? " of the mirror" : ""));
        if (sweep != BACKWARD) return;
        for (double& adjoint : m_correlated_normal_adjoints) adjoint = next += 1.0;
    }

 private:
    double next{0.0};
};

TEST_F(AdjointPathTest, TheStepsOfAPathRunOnceForEachSweepAndSide) {
    add_shares(1);
    add_fixings();
    RecordingMCHelper helper;
    set(helper);
    Tape tape;
    ASSERT_TRUE(acalibrate(helper, tape, FORWARD));
    helper.adiffuse(tape, FORWARD, false, 0);
    helper.adiffuse(tape, BACKWARD, true, 0);
    ASSERT_TRUE(acalibrate(helper, tape, BACKWARD));
    EXPECT_THAT(helper.calls,
                testing::ElementsAre("core", "path", "path back of the mirror", "core back"));
    helper.core_answer = false;
    EXPECT_FALSE(acalibrate(helper, tape, BACKWARD));
    EXPECT_FALSE(acalibrate(helper, tape, FORWARD));
}

TEST_F(AdjointPathTest, WithTheStartDateAloneTheStepOfTheModelStillRuns) {
    add_shares(1);
    RecordingMCHelper helper;
    set(helper);
    ASSERT_EQ(helper.c_get_times().size(), 1U);
    Tape tape;
    ASSERT_TRUE(acalibrate(helper, tape, FORWARD));
    for (auto const sweep : {FORWARD, BACKWARD}) helper.adiffuse(tape, sweep, false, 0);
    EXPECT_THAT(helper.calls, testing::ElementsAre("core", "path", "path back"));
}

TEST_F(AdjointPathTest, ATrialOutsideTheRunRaises) {
    add_shares(1);
    add_fixings();
    BlackScholesMCHelper helper;
    set(helper);
    Tape tape;
    ASSERT_TRUE(acalibrate(helper, tape, FORWARD));
    EXPECT_THAT([&] { helper.adiffuse(tape, FORWARD, false, c_trials); },
                Raises<SegmentationFaultException>());
}

TEST_F(AdjointPathTest, TheFactorGathersNormalsTimesAdjointsAndTheAdjointsAreTakenAway) {
    add_shares(3);
    correlate();
    add_fixings();
    RecordingMCHelper helper;
    set(helper);
    Tape tape;
    ASSERT_TRUE(acalibrate(helper, tape, FORWARD));
    auto const& normals = *helper.c_get_normals();
    Toolbox::Triangle<double, 1> expected(3);
    double adjoint = 0.0;
    for (std::uint64_t const trial : {1U, 3U}) {
        for (std::uint64_t step = 0; step < 3; ++step)
            for (std::uint64_t factor_index = 0; factor_index < 3; ++factor_index) {
                adjoint += 1.0;  // as the model's step left it
                for (std::uint64_t j = 0; j <= factor_index; ++j)
                    expected.unsafe_get(factor_index, j) += normals.get(step, j, trial) * adjoint;
            }
        helper.adiffuse(tape, BACKWARD, false, trial);
    }
    for (std::uint64_t i = 0; i < 3; ++i)
        for (std::uint64_t j = 0; j <= i; ++j)
            EXPECT_THAT(helper.c_get_cholesky_adjoints().get(i, j),
                        IsNearRel(expected.get(i, j), 1e-13));
}

class AdjointCalibrationTest : public AdjointCase {};

TEST_F(AdjointCalibrationTest, TheForwardSweepCalibratesAllButTheDiscountFactors) {
    add_shares(2);
    correlate();
    add_fixings();
    for (auto const* ticker : {"EUR", "USD"}) information.add_currency(*currency(ticker));
    information.add_maturity(one_year);
    information.add_maturity(two_years);
    information.add_payment(one_year);
    information.add_payment(two_years);
    std::ignore = yield_curve(*currency("EUR"));
    push<Data::MarketDataYieldPerturbationItem>(
        Shift::Kind::additive, Shift::Unit::percentage, -2.0,
        static_cast<Data::Currency const*>(currency("EUR").get()));
    BlackScholesMCHelper helper;
    BlackScholesMCHelper plain;
    set(helper);
    set(plain);
    Tape tape;
    ASSERT_TRUE(acalibrate(helper, tape, FORWARD));
    ASSERT_TRUE(plain.calibrate(today, *currency("EUR"), information.lists));
    auto const& actual = helper.c_get_current();
    auto const& expected = plain.c_get_current();
    EXPECT_TRUE(std::ranges::equal(actual.forwards, expected.forwards));
    EXPECT_TRUE(std::ranges::equal(actual.correlations, expected.correlations));
    EXPECT_TRUE(std::ranges::equal(actual.zero_coupons, expected.zero_coupons));
    EXPECT_TRUE(std::ranges::equal(helper.c_get_cholesky(), plain.c_get_cholesky()));
    EXPECT_LT(expected.discount_factors.get(0), 1.0);
    EXPECT_THAT(actual.discount_factors, testing::ElementsAre(1.0, 1.0));
    EXPECT_LT(actual.zero_coupons.get(0, 0), 1.0);
    for (std::uint64_t u = 0; u < 2; ++u)
        for (std::uint64_t k = 0; k < 3; ++k)
            EXPECT_EQ(cell(helper, k, u).value, cell(plain, k, u).value);
    auto const values_of = [](MCHelper& each) {
        Values values;
        for (auto const& zero_coupon : each.get_fixing_grid().c_get_zero_coupon())
            values.push_back(zero_coupon.value);
        return values;
    };
    EXPECT_EQ(values_of(helper), values_of(plain));
    ASSERT_EQ(helper.c_get_rate_adjoints().c_get_size(), 2U);
    for (auto const& by_maturity : helper.c_get_rate_adjoints()) EXPECT_TRUE(by_maturity.empty());
}

TEST_F(AdjointCalibrationTest, TheAdjointSimulationDoesNotDiscount) {
    information.add_payment(one_year);
    BlackScholesMCHelper helper;
    set(helper);
    std::ignore = yield_curve(*currency("EUR"));
    push<Data::MarketDataYieldPerturbationItem>(
        Shift::Kind::additive, Shift::Unit::percentage, -2.0,
        static_cast<Data::Currency const*>(currency("EUR").get()));
    Tape tape;
    ASSERT_TRUE(acalibrate(helper, tape, FORWARD));
    EXPECT_THAT(helper.c_get_discount_factors(), testing::ElementsAre(1.0));
}

TEST_F(AdjointCalibrationTest, AMissingQuoteEndsTheForwardSweep) {
    add_shares(2);  // without a correlation
    add_fixings();
    BlackScholesMCHelper helper;
    set(helper);
    Tape tape;
    EXPECT_FALSE(acalibrate(helper, tape, FORWARD));
    EXPECT_EQ(errors().size(), 1U);
    correlate();
    EXPECT_TRUE(acalibrate(helper, tape, FORWARD));
    auto const without_volatility = share("X");
    set_spot(*without_volatility, 100.0);
    ASSERT_TRUE(forward_curve(*without_volatility).get_dependencies());
    information.add_underlying(*without_volatility);
    correlate();
    BlackScholesMCHelper other;
    set(other);
    EXPECT_FALSE(acalibrate(other, tape, FORWARD));
    EXPECT_EQ(errors().size(), 2U);
}

TEST_F(AdjointCalibrationTest, AMissingSpotEndsTheForwardSweep) {
    auto const without_spot = share("X");
    ASSERT_TRUE(forward_curve(*without_spot).get_dependencies());
    information.add_underlying(*without_spot);
    add_fixings();
    BlackScholesMCHelper helper;
    set(helper);
    Tape tape;
    EXPECT_THAT([&] { EXPECT_FALSE(acalibrate(helper, tape, FORWARD)); },
                LogsError("Cannot find spot at '2023-01-01' for underlying with ticker 'X'"));
}

TEST_F(AdjointCalibrationTest, ASecondForwardSweepStartsAllAdjointsAtZero) {
    add_shares(2);
    correlate();
    add_fixings();
    BlackScholesMCHelper helper;
    set(helper);
    double const value = sweep_all(helper);
    auto const delta = deltas(helper);
    auto const vega = vegas(helper);
    auto const cega = cegas(helper);
    EXPECT_NE(delta.get(0).result.sum, 0.0);
    EXPECT_EQ(sweep_all(helper), value);
    for (std::uint64_t i = 0; i < 2; ++i) {
        EXPECT_EQ(deltas(helper).get(i).result.sum, delta.get(i).result.sum);
        EXPECT_EQ(vegas(helper).get(i).result.sum, vega.get(i).result.sum);
    }
    EXPECT_EQ(cegas(helper).get(1, 0).result.sum, cega.get(1, 0).result.sum);
}

TEST_F(AdjointCalibrationTest, RowsBeyondTheUnderlyingsAndTheReverseStayAsTheyAre) {
    add_shares(2);
    correlate();
    add_fixings();
    BlackScholesMCHelper helper;
    set(helper);
    std::ignore = sweep_all(helper);
    Pricing::Results::Rows rows(3);
    rows.unsafe_get(0).result += 7.0;
    helper.c_accumulate_delta(rows);
    EXPECT_EQ(rows.get(0).result.count, 2U);
    EXPECT_EQ(rows.get(1).result.count, 1U);
    EXPECT_EQ(rows.get(2).result.count, 0U);
    Pricing::Results::Rows none;
    Pricing::Results::Pairs no_pair;
    helper.c_accumulate_delta(none);
    helper.c_accumulate_vega(none);
    helper.c_accumulate_cega(no_pair);
}

/// Trials on clones, gathered by the helper that they were cloned from.
class AdjointClonesTest : public AdjointCase {
 protected:
    AdjointClonesTest() {
        factor = 0.5;
        add_shares(3);
        correlate();
        add_fixings();
    }

    /// All sweeps, the trials cut in two.
    void sweep_in_clones(MCHelper& helper) {
        set(helper);
        Tape tape;
        ASSERT_TRUE(acalibrate(helper, tape, FORWARD));
        auto const first = helper.c_clone();
        auto const second = helper.c_clone();
        sweep_paths(*first, 0, 2);
        sweep_paths(*second, 2, c_trials);
        for (double const adjoint : helper.c_get_forward_adjoints()) EXPECT_EQ(adjoint, 0.0);
        for (double const adjoint : helper.c_get_cholesky_adjoints()) EXPECT_EQ(adjoint, 0.0);
        for (auto const& clone : {first.get(), second.get()}) clone->c_accumulate_adjoints(&helper);
        ASSERT_TRUE(acalibrate(helper, tape, BACKWARD));
        EXPECT_TRUE(tape.c_is_empty());
    }
};

TEST_F(AdjointClonesTest, TheTrialsOfClonesAddUpToThoseOfOneHelper) {
    auto& greeks = PricerOptions::s_options.greeks;
    greeks.delta.activate = greeks.vega.activate = greeks.cega.activate = true;
    BlackScholesMCHelper whole;
    set(whole);
    std::ignore = sweep_all(whole);
    BlackScholesMCHelper helper;
    sweep_in_clones(helper);
    for (std::uint64_t i = 0; i < 3; ++i) {
        EXPECT_THAT(deltas(helper).get(i).result.sum,
                    IsNearRel(deltas(whole).get(i).result.sum, 1e-12));
        EXPECT_THAT(vegas(helper).get(i).result.sum,
                    IsNearRel(vegas(whole).get(i).result.sum, 1e-12));
        for (std::uint64_t j = 0; j < i; ++j)
            EXPECT_THAT(cegas(helper).get(i, j).result.sum,
                        IsNearRel(cegas(whole).get(i, j).result.sum, 1e-11));
    }
}

TEST_F(AdjointClonesTest, WhatIsNotAskedForIsNotGathered) {
    auto& greeks = PricerOptions::s_options.greeks;
    bool* const flags[] = {&greeks.delta.activate, &greeks.vega.activate, &greeks.cega.activate};
    for (std::size_t wanted = 0; wanted < 3; ++wanted) {
        for (std::size_t i = 0; i < 3; ++i) *flags[i] = i == wanted;
        BlackScholesMCHelper helper;
        sweep_in_clones(helper);
        EXPECT_EQ(deltas(helper).get(1).result.sum != 0.0, wanted == 0);
        EXPECT_EQ(vegas(helper).get(1).result.sum != 0.0, wanted == 1);
        EXPECT_EQ(cegas(helper).get(1, 0).result.sum != 0.0, wanted == 2);
    }
}

TEST_F(AdjointClonesTest, TheTermStructureGathersItsVolatilitiesToo) {
    PricerOptions::s_options.greeks.vega.activate = true;
    BlackScholesTermStructureMCHelper whole;
    set(whole);
    std::ignore = sweep_all(whole);
    BlackScholesTermStructureMCHelper helper;
    sweep_in_clones(helper);
    auto const adjoints = [](MCHelper const& each) -> Toolbox::Array1D<double> const& {
        return dynamic_cast<BlackScholesTermStructureVolatilityModel const&>(
                   *each.c_get_current().volatilities.get(2).model)
            .vega_adjoints;
    };
    for (std::uint64_t k = 0; k < 3; ++k) {
        EXPECT_NE(adjoints(helper).get(k), 0.0);
        EXPECT_THAT(adjoints(helper).get(k), IsNearRel(adjoints(whole).get(k), 1e-12));
    }
}

TEST_F(AdjointClonesTest, ATargetOfAnotherShapeRaises) {
    PricerOptions::s_options.greeks.delta.activate = true;
    BlackScholesMCHelper helper;
    set(helper);
    Tape tape;
    ASSERT_TRUE(acalibrate(helper, tape, FORWARD));
    BlackScholesMCHelper target;
    EXPECT_THAT([&] { helper.c_accumulate_adjoints(&target); },
                Raises<SegmentationFaultException>());
}

TEST(VolatilityModel, ACopyHasTheVolatilityAndNoDerivative) {
    BlackScholesVolatilityModel constant(0.25);
    constant.vega_adjoint = 3.0;
    auto const copy = constant.c_clone();
    EXPECT_EQ(dynamic_cast<BlackScholesVolatilityModel&>(*copy).volatility, 0.25);
    EXPECT_EQ(dynamic_cast<BlackScholesVolatilityModel&>(*copy).vega_adjoint, 0.0);
    BlackScholesTermStructureVolatilityModel term_structure;
    term_structure.volatilities = Toolbox::Array1D<double>(2);
    term_structure.volatilities.unsafe_get(1) = 0.25;
    term_structure.vega_adjoints = Toolbox::Array1D<double>(2);
    term_structure.vega_adjoints.unsafe_get(1) = 3.0;
    auto const second = term_structure.c_clone();
    auto const& copied = dynamic_cast<BlackScholesTermStructureVolatilityModel const&>(*second);
    EXPECT_THAT(copied.volatilities, testing::ElementsAre(0.0, 0.25));
    EXPECT_THAT(copied.vega_adjoints, testing::ElementsAre(0.0, 0.0));
}

TEST(VolatilityModel, OnlyItsOwnKindIsGathered) {
    BlackScholesVolatilityModel constant(0.25);
    constant.vega_adjoint = 3.0;
    BlackScholesTermStructureVolatilityModel term_structure;
    term_structure.vega_adjoints = Toolbox::Array1D<double>(2);
    term_structure.vega_adjoints.unsafe_get(0) = 5.0;
    auto const same = term_structure;
    constant.accumulate(nullptr);
    constant.accumulate(&term_structure);
    EXPECT_EQ(constant.vega_adjoint, 3.0);
    term_structure.accumulate(nullptr);
    term_structure.accumulate(&constant);
    EXPECT_THAT(term_structure.vega_adjoints, testing::ElementsAre(5.0, 0.0));
    BlackScholesVolatilityModel other(0.5);
    other.vega_adjoint = 1.5;
    constant.accumulate(&other);
    EXPECT_EQ(constant.vega_adjoint, 4.5);
    EXPECT_EQ(constant.volatility, 0.25);
    term_structure.accumulate(&same);
    EXPECT_THAT(term_structure.vega_adjoints, testing::ElementsAre(10.0, 0.0));
}

}  // namespace
}  // namespace ximCORE::Modeling
