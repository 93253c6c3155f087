// Paths under local volatility, against plain loops and against the smile that they come from.

#include <array>

#include "core/modeling/local_volatility_case.hpp"
#include "support/matchers.hpp"

namespace ximCORE::Modeling {
namespace {

using ximTest::IsNearRel;

/// The standard library's normals in the order in which a path uses them.
class Normals {
 public:
    double operator()() { return m_normal(m_generator); }

 private:
    std::mt19937_64 m_generator{23051994};
    std::normal_distribution<double> m_normal;
};

class DupirePathTest : public LocalVolatilityCase {};

TEST_F(DupirePathTest, OnAFlatSurfaceAPathIsLognormalAroundTheForwardOfEachDate) {
    add(share("A"), 100.0);
    fix_after({4, 7, 12});  // steps to the days 2, 4, 6, 7, 8, 10, 12
    Helper helper;
    prepare(helper);
    Normals normal;
    for (std::uint64_t trial = 0; trial < 20; ++trial) {
        helper.diffuse(trial);
        double log_value = std::log(100.0);
        std::size_t fixing = 0;
        int day = 0;
        for (int const next : {2, 4, 6, 7, 8, 10, 12}) {
            double const dt = (next - day) / 365.0;
            log_value += 0.2 * std::sqrt(dt) * normal() - 0.02 * dt;
            day = next;
            if (day == 4 || day == 7 || day == 12) {
                ASSERT_THAT(value(helper, fixing++, 0), IsNearRel(std::exp(log_value), 1e-11));
            }
        }
    }
}

TEST_F(DupirePathTest, EachStepReadsTheLocalVarianceAtItsOwnDateAndMoneyness) {
    auto const asset = add(share("A"), 100.0);
    set_smile(*asset, c_skew);
    fix_after({4, 8});
    Helper helper;
    prepare(helper);
    auto const& model = local(helper, 0);
    Normals normal;
    for (std::uint64_t trial = 0; trial < 20; ++trial) {
        helper.diffuse(trial);
        double x = 0.0;
        for (std::uint64_t step = 0; step < 4; ++step) {
            double const variance = model.c_interpolate(step, x) * 2.0 / 365.0;
            x += normal() * std::sqrt(variance) - 0.5 * variance;
            if (step % 2 == 1) {
                ASSERT_THAT(value(helper, step / 2, 0), IsNearRel(100.0 * std::exp(x), 1e-11));
            }
        }
    }
}

TEST_F(DupirePathTest,
       AFixingThatIsNotReadEndsTheWritingOfTheLaterOnesOfItsUnderlyingWhichKeepTheirForward) {
    add(share("A"), 100.0);
    add(share("B"), 50.0);
    correlate(0.5);
    fix_after({4, 8, 12});
    Helper helper;
    prepare(helper);
    read_only(helper, {{0, 0}, {2, 0}, {0, 1}, {1, 1}, {2, 1}});
    helper.diffuse(0);
    EXPECT_NE(value(helper, 0, 0), 100.0);
    EXPECT_EQ(value(helper, 1, 0), 0.0);    // not read
    EXPECT_EQ(value(helper, 2, 0), 100.0);  // read, and its forward
    for (std::uint64_t fixing = 0; fixing < 3; ++fixing) EXPECT_NE(value(helper, fixing, 1), 50.0);
}

TEST_F(DupirePathTest, AFixingThatThePathDoesNotComeToHasTheForwardOfTheStateInForce) {
    auto const asset = add(share("A"), 100.0);
    fix_after({4, 8});
    Helper helper;
    prepare(helper);
    read_only(helper, {{1, 0}});
    push<Data::MarketDataSpotPerturbationItem>(Shift::Kind::hybrid, Shift::Unit::percentage, 1.0,
                                               static_cast<Data::Underlying const*>(asset.get()));
    helper.set_delta_up(1);
    helper.switch_to_delta_up(0);
    ASSERT_TRUE(helper.calibrate(today, *currency("EUR"), information.lists));
    double const bumped = helper.c_get_current().forwards.get(0, 1);
    EXPECT_THAT(bumped, IsNearRel(101.0, 1e-6));
    for (int round = 0; round < 2; ++round) {
        helper.switch_to_central();
        helper.diffuse(0);
        EXPECT_EQ(value(helper, 1, 0), 100.0);
        helper.switch_to_delta_up(0);
        helper.diffuse(0);
        EXPECT_EQ(value(helper, 1, 0), bumped);
    }
}

TEST_F(DupirePathTest, AnUnderlyingReadOnItsLastFixingOnlyKeepsItsForwardThere) {
    add(share("A"), 100.0);
    fix_after({4, 8});
    Helper helper;
    prepare(helper);
    read_only(helper, {{1, 0}});
    for (std::uint64_t trial = 0; trial < 20; ++trial) {
        helper.diffuse(trial);
        EXPECT_EQ(value(helper, 0, 0), 0.0);
        EXPECT_EQ(value(helper, 1, 0), 100.0);
    }
}

TEST_F(DupirePathTest, AClosedCellEndsThePathOfItsUnderlying) {
    add(share("A"), 100.0);
    fix_after({4, 8});
    Helper helper;
    prepare(helper);
    read_only(helper, {{0, 0}});
    helper.diffuse(0);
    EXPECT_NE(value(helper, 0, 0), 100.0);
    EXPECT_EQ(value(helper, 1, 0), 0.0);
}

TEST_F(DupirePathTest, ALocalVarianceOfZeroMovesNothing) {
    auto const asset = add(share("A"), 100.0);
    set_smile(*asset, c_skew);
    fix_after({4, 8});
    Helper::s_cap = 0.0;  // every cell at the floor
    Helper helper;
    prepare(helper);
    helper.diffuse(0);
    EXPECT_EQ(value(helper, 0, 0), 100.0);
    EXPECT_EQ(value(helper, 1, 0), 100.0);
}

TEST_F(DupirePathTest, AFixingOnTheStartIsItsForward) {
    add(share("A"), 100.0);
    fix_after({0, 4});
    Helper helper;
    prepare(helper);
    helper.diffuse(0);
    EXPECT_EQ(value(helper, 0, 0), 100.0);
    EXPECT_NE(value(helper, 1, 0), 100.0);
}

TEST_F(DupirePathTest, AFixingOnTheStartAloneIsItsForward) {
    add(share("A"), 100.0);
    fix_after({0});
    Helper helper;
    prepare(helper);
    helper.diffuse(0);
    EXPECT_EQ(value(helper, 0, 0), 100.0);
}

TEST_F(DupirePathTest, WithoutFixingDiffusesNothing) {
    add(share("A"), 100.0);
    Helper helper;
    prepare(helper);
    helper.diffuse(0);
    EXPECT_EQ(helper.get_fixing_grid().c_get_equity_like().c_get_rows(), 0U);
}

TEST_F(DupirePathTest, AFixingBehindTheStartIsPassedOver) {
    add(share("A"), 100.0);
    information.add_fixing(Date(2022, 12, 1));
    fix_after({4});
    Helper helper;
    prepare(helper);
    ASSERT_EQ(helper.c_get_fixing_steps().size(), 1U);
    for (std::uint64_t trial = 0; trial < 20; ++trial) helper.diffuse(trial);
    EXPECT_EQ(value(helper, 1, 0), 100.0);
}

TEST_F(DupirePathTest, ACloneHasGridsOfItsOwnAndDiffusesTheSamePath) {
    auto const asset = add(share("A"), 100.0);
    set_smile(*asset, c_skew);
    add(share("B"), 50.0);
    correlate(0.25);
    fix_after({4, 9});
    Helper helper;
    prepare(helper);
    auto const clone = helper.c_clone();
    EXPECT_NE(&local(*clone, 0), &local(helper, 0));
    helper.diffuse(4);
    clone->diffuse(4);
    for (std::uint64_t fixing = 0; fixing < 2; ++fixing)
        for (std::uint64_t u = 0; u < 2; ++u)
            EXPECT_EQ(value(*clone, fixing, u), value(helper, fixing, u));
    clone->diffuse(5);
    EXPECT_NE(value(*clone, 0, 0), value(helper, 0, 0));
}

TEST_F(DupirePathTest, AMissingCorrelationEndsTheCalibration) {
    add(share("A"), 100.0);
    add(share("B"), 50.0);
    fix_after({4});
    Helper helper;
    helper.set(today, Toolbox::DayCounter(), information.lists, nullptr);
    helper.switch_to_central();
    EXPECT_FALSE(helper.calibrate(today, *currency("EUR"), information.lists));
    EXPECT_EQ(errors().size(), 1U);
}

/// A share in USD paid in EUR, with the exchange rate as second underlying.
class DupireQuantoTest : public LocalVolatilityCase {
 protected:
    DupireQuantoTest() {
        std::ignore = exchange_rate("USDEUR", "USD", "EUR");
        asset = share("Q", "USD");
        std::ignore = asset->set_quanto_exchange_rate(*currency("EUR"));
        add(asset, 100.0);
        rate = add(asset->c_get_quanto_exchange_rate(), 0.9);
        correlate(0.5);
        fix_after({4});
    }

    std::shared_ptr<Data::Underlying> asset;
    std::shared_ptr<Data::Underlying> rate;
};

TEST_F(DupireQuantoTest, TheLocalVarianceOfAQuantoRateIsReadAtTheLogMoneynessOfTheUnderlying) {
    set_smile(*asset, c_skew);
    set_smile(*rate, {.rho = 0.5, .eta = 1.0, .gamma = 0.5, .half_variance = 0.005});
    Helper helper;
    prepare(helper);
    ASSERT_EQ(helper.c_get_quanto_ranks().get(0), 1U);
    Normals normal;
    double const dt = 2.0 / 365.0;
    for (std::uint64_t trial = 0; trial < 20; ++trial) {
        helper.diffuse(trial);
        double x = 0.0;
        double y = 0.0;
        for (std::uint64_t step = 0; step < 2; ++step) {
            double const z = normal();
            double const w = 0.5 * z + std::sqrt(0.75) * normal();
            double const variance = local(helper, 0).c_interpolate(step, x);
            double const covariance =
                0.5 * std::sqrt(variance * local(helper, 1).c_interpolate(step, x));
            x += z * std::sqrt(variance * dt) + (covariance - 0.5 * variance) * dt;
            double const rate_variance = local(helper, 1).c_interpolate(step, y);
            y += w * std::sqrt(rate_variance * dt) - 0.5 * rate_variance * dt;
        }
        ASSERT_THAT(value(helper, 0, 0), IsNearRel(100.0 * std::exp(x), 1e-11));
        ASSERT_THAT(value(helper, 0, 1), IsNearRel(static_cast<double>(0.9F) * std::exp(y), 1e-11));
    }
}

// The proof of the grid: calls and puts of several strikes and dates, simulated under local
// volatility, cost what the smile says they cost.

/// Mean of an option over paths and their mirror images, with its standard error.
struct Estimate {
    double sum = 0.0;
    double squares = 0.0;
    std::uint64_t count = 0;

    void add(double x) {
        sum += x;
        squares += x * x;
        ++count;
    }
    [[nodiscard]] double mean() const { return sum / static_cast<double>(count); }
    [[nodiscard]] double error() const {
        double const variance = squares / static_cast<double>(count) - mean() * mean();
        return std::sqrt(variance / static_cast<double>(count));
    }
};

constexpr std::array c_strikes{70.0, 80.0, 90.0, 100.0, 110.0, 120.0, 130.0};

double payoff(double spot, double strike) {  // out of the money
    return strike < 100.0 ? std::max(strike - spot, 0.0) : std::max(spot - strike, 0.0);
}

/// M. Black, 1976, undiscounted, of the total variance w.
double price(double strike, double w) {
    auto const cdf = [](double x) { return 0.5 * std::erfc(-x / std::sqrt(2.0)); };
    double const d1 = std::log(100.0 / strike) / std::sqrt(w) + 0.5 * std::sqrt(w);
    double const d2 = d1 - std::sqrt(w);
    return strike < 100.0 ? strike * cdf(-d2) - 100.0 * cdf(-d1)
                          : 100.0 * cdf(d1) - strike * cdf(d2);
}

class DupireSmileTest : public LocalVolatilityCase {
 protected:
    using Estimates = std::array<std::array<Estimate, c_strikes.size()>, 3>;  // [date][strike]

    Estimates simulate(std::uint64_t trials) {
        set_trials(trials);
        for (auto const& date : dates) information.add_fixing(date);
        Helper helper;
        prepare(helper);
        Estimates estimates;
        for (std::uint64_t trial = 0; trial < trials; ++trial) {
            std::array<std::array<double, c_strikes.size()>, 3> payoffs{};
            for (int side = 0; side < 2; ++side) {
                helper.diffuse(trial);
                helper.apply_antithetic(trial);
                for (std::size_t date = 0; date < 3; ++date)
                    for (std::size_t i = 0; i < c_strikes.size(); ++i)
                        payoffs[date][i] += 0.5 * payoff(value(helper, date, 0), c_strikes[i]);
            }
            for (std::size_t date = 0; date < 3; ++date)
                for (std::size_t i = 0; i < c_strikes.size(); ++i)
                    estimates[date][i].add(payoffs[date][i]);
        }
        return estimates;
    }

    std::array<Date, 3> const dates{Date(2023, 4, 1), half_year, one_year};  // 90, 182, 365 days
    std::array<double, 3> const times{90.0 / 365.0, 182.0 / 365.0, 1.0};
};

TEST_F(DupireSmileTest, LocalVolatilityRepricesTheSmile) {
    auto const asset = add(share("A"), 100.0);
    set_smile(*asset, c_skew);
    auto const estimates = simulate(20'000);
    for (std::size_t date = 0; date < 3; ++date)
        for (std::size_t i = 0; i < c_strikes.size(); ++i) {
            double const strike = c_strikes[i];
            auto const& estimate = estimates[date][i];
            double const w = surface(*asset).eval(times[date], std::log(strike / 100.0));
            // steps of two days leave a bias of a few thousandths
            EXPECT_NEAR(estimate.mean(), price(strike, w), 3.5 * estimate.error() + 0.005)
                << "date " << date << ", strike " << strike << ", volatility "
                << std::sqrt(w / times[date]);
            // the smile is far from the flat surface, by what an error of the formula would show
            if (date > 0 && strike <= 80.0) {
                EXPECT_GT(estimate.mean() - price(strike, 0.04 * times[date]),
                          10.0 * estimate.error());
            }
        }
}

TEST_F(DupireSmileTest, LocalVolatilityRepricesTheFlatSurface) {
    add(share("A"), 100.0);
    auto const estimates = simulate(5'000);
    for (std::size_t date = 0; date < 3; ++date)
        for (std::size_t i = 0; i < c_strikes.size(); ++i) {
            auto const& estimate = estimates[date][i];
            EXPECT_NEAR(estimate.mean(), price(c_strikes[i], 0.04 * times[date]),
                        4.0 * estimate.error() + 0.002)
                << "date " << date << ", strike " << c_strikes[i];
        }
}

}  // namespace
}  // namespace ximCORE::Modeling
