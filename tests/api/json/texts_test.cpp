#include "api/json/texts.hpp"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "api/json/products.hpp"

namespace ximAPI::Toolkit {
namespace {

/// Each enumeration with the texts of its values 0, 1, 2, ...
template <class E>
void expect_texts(std::vector<std::string> const& expected) {
    ASSERT_EQ(texts<E>.size(), expected.size());
    for (std::size_t index = 0; index < expected.size(); ++index) {
        EXPECT_EQ(to_text(static_cast<E>(index)), expected[index]);
        EXPECT_EQ(from_text<E>(expected[index]), static_cast<E>(index)) << expected[index];
    }
    EXPECT_EQ(to_text(static_cast<E>(expected.size())), "");
    EXPECT_EQ(to_text(static_cast<E>(-1)), "");
    EXPECT_EQ(from_text<E>(""), std::nullopt);
    EXPECT_EQ(from_text<E>("UNKNOWN"), std::nullopt);
}

TEST(Texts, OfTheModelEnumerationsFollowTheirValues) {
    expect_texts<ModelName>(
        {"DEFAULT_MODEL", "BLACK_SCHOLES_MODEL", "BLACK_SCHOLES_TERM_STRUCTURE_MODEL",
         "HESTON_STOCHASTIC_VOLATILITY_MODEL", "DUPIRE_LOCAL_VOLATILITY_MODEL", "FREE_MODEL"});
    expect_texts<BlackScholesCalibrationKind>({"MANUAL", "AT_THE_MONEY_FORWARD"});
    expect_texts<Calendar>({"DUMMY"});
    expect_texts<Basis>({"ACT_365"});
}

TEST(Texts, OfThePricerEnumerationsFollowTheirValues) {
    expect_texts<SmoothingType>({"NONE", "LOWER", "SYMETRIC", "UPPER"});
    expect_texts<PricingMethod>({"MONTE_CARLO", "FINITE_DIFFERENCE", "STATIC_REPLICATION",
                                 "AUTOMATIC_ADJOINT_DIFFERENTIATION"});
    expect_texts<SpotVolatilityDynamic>({"STICKY_STRIKE", "STICKY_DELTA", "STICKY_OPTION"});
    expect_texts<GreekDirection>({"LEFT", "CENTER", "RIGHT"});
    expect_texts<BoundaryCondition>({"DIRICHLET", "NEUMANN"});
}

TEST(Texts, OfTheProductEnumerationsFollowTheirValues) {
    expect_texts<PayoffKind>({"CALL_TYPE", "PUT_TYPE"});
    expect_texts<BarrierKind>({"KNOCK_IN", "KNOCK_OUT"});
    expect_texts<BarrierType>({"DOWN", "UP"});
    expect_texts<BasketKind>({"BASKET", "BEST_OF", "RAINBOW", "WORST_OF"});
    expect_texts<StrikeKind>({"ASIAN", "LOOKBACK_MAX", "LOOKBACK_MIN"});
    expect_texts<ObservableKind>({"BASKET"});
}

TEST(Texts, OfTheContractKindsFollowTheirValues) {
    expect_texts<ContractKind>({"CONSOLE",
                                "FILE",
                                "AIRGBAG_CERTIFICATE_EXAMPLE",
                                "AMERICAN_OPTION_EXAMPLE",
                                "ASIAN_OPTION_EXAMPLE",
                                "BARRIER_OPTION_EXAMPLE",
                                "BARRIER_REVERSE_CONVERTIBLE_EXAMPLE",
                                "BONUS_CERTIFICATE_EXAMPLE",
                                "BUTTERFLY_SPREAD_EXAMPLE",
                                "CAPPED_BONUS_CERTIFICATE_EXAMPLE",
                                "CONDOR_SPREAD_EXAMPLE",
                                "DIGITAL_OPTION_EXAMPLE",
                                "DISCOUNT_CERTIFICATE_EXAMPLE",
                                "DOUBLE_BARRIER_OPTION_EXAMPLE",
                                "EUROPEAN_OPTION_EXAMPLE",
                                "MULTI_ASSET_OPTION_EXAMPLE",
                                "OUT_PERFORMANCE_BONUS_CERTIFICATE_EXAMPLE",
                                "REVERSE_CONVERTIBLE_EXAMPLE",
                                "RISK_REVERSAL_EXAMPLE",
                                "SPREAD_OPTION_EXAMPLE",
                                "STRADDLE_EXAMPLE",
                                "STRANGLE_EXAMPLE",
                                "TWIN_WIN_CERTIFICATE_EXAMPLE",
                                "AUTOCALL",
                                "VANILLA"});
}

TEST(Texts, OfTheResultEnumerationsFollowTheirValues) {
    expect_texts<AssetKind>({"EQUITY", "FOREIGN_EXCHANGE", "INTEREST_RATE"});
    expect_texts<EventKind>({"BARRIER", "CHOICE", "FIXING", "NOTHING", "PAYMENT", "PURCHASE",
                             "RECEIPT", "SALE", "SETTING"});
    expect_texts<LadderKind>({"CONTRACT", "MARKET"});
    expect_texts<BumpKind>({"ADDITIVE", "ASSIGNMENT", "HYBRID", "MULTIPLICATIVE"});
    expect_texts<BumpUnit>({"PERCENTAGE", "BASIS_POINT", "NONE"});
    expect_texts<InitialGuessMethod>({"LEGACY", "STEFANICA_RADOICIC"});
    expect_texts<PriceKind>({"CALL_PRICE", "CALL_PRICE_VS_SPOT", "CALL_PRICE_VS_SPOT_PCT",
                             "PUT_PRICE", "PUT_PRICE_VS_SPOT", "PUT_PRICE_VS_SPOT_PCT",
                             "TOTAL_VARIANCE", "TOTAL_VOLATILITY", "VARIANCE", "VOLATILITY",
                             "VOLATILITY_PCT"});
    expect_texts<SpaceKind>({"FORWARD_MONEYNESS", "FORWARD_MONEYNESS_PCT", "MONEYNESS",
                             "MONEYNESS_PCT", "LOG_MONEYNESS", "LOG_FORWARD_MONEYNESS", "STRIKE"});
    expect_texts<SequenceKind>({"UNIFORM", "CONSTANT", "CHEBYCHEV"});
}

TEST(Texts, AnAssetClassIsWrittenAndNeverRead) {
    std::vector<std::string> const expected{
        "SHARE", "FUND", "INDEX", "EXCHANGE_RATE", "ZERO_COUPON_BOND", "DEPOSIT_RATE", "SWAP_RATE"};
    ASSERT_EQ(texts<AssetClass>.size(), expected.size());
    for (std::size_t index = 0; index < expected.size(); ++index) {
        EXPECT_EQ(to_text(static_cast<AssetClass>(index)), expected[index]);
        EXPECT_EQ(from_text<AssetClass>(expected[index]), std::nullopt);
    }
}

TEST(Texts, TheLevelErrorIsWrittenErrorAndReadOnlyFromErr) {
    std::vector<std::string> const written{"INFO",      "WARNING", "ERROR",
                                           "EXCEPTION", "SUCCESS", "FAILURE"};
    ASSERT_EQ(texts<LogLevel>.size(), written.size());
    for (std::size_t index = 0; index < written.size(); ++index) {
        auto const level = static_cast<LogLevel>(index);
        EXPECT_EQ(to_text(level), written[index]);
        EXPECT_EQ(from_text<LogLevel>(level == LogLevel::ERROR ? "ERR" : written[index]), level);
    }
    EXPECT_EQ(from_text<LogLevel>("ERROR"), std::nullopt);
}

TEST(Texts, TheOrdinarySpellingOfSymetricIsIgnored) {
    EXPECT_EQ(from_text<SmoothingType>("SYMETRIC"), SmoothingType::SYMETRIC);
    EXPECT_EQ(from_text<SmoothingType>("SYMMETRIC"), std::nullopt);
    EXPECT_EQ(from_text<SmoothingType>("symetric"), std::nullopt);
}

// The last enumerator of each enumeration has the last text: no value is without one.
static_assert(to_text(LogLevel::FAILURE) == "FAILURE" &&
              to_text(ModelName::FREE_MODEL) == "FREE_MODEL");
static_assert(to_text(ContractKind::VANILLA) == "VANILLA" &&
              to_text(EventKind::SETTING) == "SETTING");
static_assert(to_text(AssetClass::SWAP_RATE) == "SWAP_RATE" &&
              to_text(SpaceKind::STRIKE) == "STRIKE");
static_assert(to_text(PriceKind::VOLATILITY_PCT) == "VOLATILITY_PCT" &&
              to_text(BumpUnit::NONE) == "NONE");
static_assert(to_text(BasketKind::WORST_OF) == "WORST_OF" &&
              to_text(StrikeKind::LOOKBACK_MIN) == "LOOKBACK_MIN");

}  // namespace
}  // namespace ximAPI::Toolkit
