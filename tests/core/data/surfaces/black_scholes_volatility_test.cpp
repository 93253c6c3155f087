#include "core/data/surfaces/black_scholes_volatility.hpp"

#include <stdexcept>

#include "support/market.hpp"

namespace ximCORE::Data {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class BlackScholesVolatilityTest : public Testing::MarketTest {
 protected:
    static constexpr char const* c_message =
        "Cannot find Black-Scholes volatility at '2023-01-01' for underlying with ticker 'AAA'";

    double value() {
        double out = -7.0;
        EXPECT_TRUE(volatility.eval(out));
        return out;
    }

    std::shared_ptr<Underlying> const stock = share("AAA");
    BlackScholesVolatility& volatility =
        *cache().get_blackscholes_volatility(today, stock.get(), Level::silent);
};

TEST_F(BlackScholesVolatilityTest, TheFirstValueWinsInSinglePrecision) {
    EXPECT_FALSE(volatility.c_is_set());
    volatility.set_val(0.2F);
    volatility.set_val(0.3F);
    EXPECT_TRUE(volatility.c_is_set());
    EXPECT_EQ(volatility.c_get_val(), static_cast<double>(0.2F));
    EXPECT_EQ(value(), static_cast<double>(0.2F));
}

TEST_F(BlackScholesVolatilityTest, AMissingValueIsReportedAtTheLevelAsked) {
    EXPECT_FALSE(volatility.c_has_val(Level::silent));
    EXPECT_THAT(Toolbox::Log::s_get(), IsEmpty());
    EXPECT_FALSE(volatility.c_has_val(Level::warning));
    EXPECT_THAT(warnings(), ElementsAre(c_message));
    EXPECT_FALSE(volatility.c_has_val(Level::error));
    EXPECT_THAT(errors(), ElementsAre(c_message));
    EXPECT_THROW(std::ignore = volatility.c_has_val(static_cast<Level>(3)), std::runtime_error);
}

TEST_F(BlackScholesVolatilityTest, EvaluatingAMissingValueIsAnErrorAndLeavesTheOutputAlone) {
    double out = -7.0;
    EXPECT_FALSE(volatility.eval(out));
    EXPECT_EQ(out, -7.0);
    EXPECT_THAT(errors(), ElementsAre(c_message));
}

TEST_F(BlackScholesVolatilityTest, WithoutATickerTheUnderlyingReportsItself) {
    Underlying const nameless;
    BlackScholesVolatility missing(today, &nameless);
    EXPECT_FALSE(missing.c_has_val(Level::error));
    EXPECT_THAT(errors(), ElementsAre("Unknown underlying"));
}

TEST_F(BlackScholesVolatilityTest, TheDefaultSwitchMakesAMissingValueZeroWithAWarning) {
    BlackScholesVolatility::s_set_default_value = true;
    EXPECT_EQ(value(), 0.0);
    EXPECT_THAT(warnings(), ElementsAre(c_message));
    EXPECT_THAT(errors(), IsEmpty());
    EXPECT_EQ(value(), 0.0);
    EXPECT_THAT(warnings(), ElementsAre(c_message));  // once: it has a value now
}

TEST_F(BlackScholesVolatilityTest, TheDefaultSwitchDoesNothingAtTheSilentLevel) {
    BlackScholesVolatility::s_set_default_value = true;
    EXPECT_FALSE(volatility.c_has_val(Level::silent));
    EXPECT_FALSE(volatility.c_is_set());
}

TEST_F(BlackScholesVolatilityTest, VolatilityShiftsOfTheSameUnderlyingActInOrder) {
    volatility.set_val(0.25F);
    push<MarketDataVolatilityPerturbationItem>(Shift::Kind::additive, Shift::Unit::percentage, 5.0,
                                               stock.get());
    push<MarketDataVolatilityPerturbationItem>(Shift::Kind::hybrid, Shift::Unit::percentage, 10.0,
                                               stock.get());
    EXPECT_NEAR(value(), 0.33, 1e-15);
    pop();
    EXPECT_NEAR(value(), 0.30, 1e-15);
}

TEST_F(BlackScholesVolatilityTest, OtherShiftsLeaveItAlone) {
    auto const other = share("BBB");
    volatility.set_val(0.25F);
    push<MarketDataVolatilityPerturbationItem>(Shift::Kind::assignment, Shift::Unit::none, 9.0,
                                               other.get());
    push<MarketDataSpotPerturbationItem>(Shift::Kind::assignment, Shift::Unit::none, 9.0,
                                         stock.get());
    EXPECT_EQ(value(), 0.25);
    EXPECT_EQ(volatility.c_get_shifts().size(), 2U);
}

}  // namespace
}  // namespace ximCORE::Data
