// The JSON form of the products: which keys each kind reads and writes, and what a record of it
// builds.
#include <gtest/gtest.h>
#include <json/json.h>

#include <set>
#include <sstream>

#include "api/json/products.hpp"
#include "dsl/encoded_reader.hpp"

namespace {

using namespace ximAPI;
using Keys = std::set<std::string>;

Json::Value parse(std::string const& text) {
    Json::Value json;
    std::istringstream(text) >> json;
    return json;
}

Keys keys_of(Json::Value const& json) {
    auto const names = json.getMemberNames();
    return {names.begin(), names.end()};
}

template <class Product>
Json::Value written(Product const& product) {
    Json::Value json;
    Toolkit::serialize(product, json);
    return json;
}

template <class Product>
Keys written_keys() {
    return keys_of(written(Product{}));
}

TEST(ProductJson, EachProductWritesItsKeys) {
    EXPECT_EQ(written_keys<EuropeanOptionExample>(),
              (Keys{"PayoffKind", "Ticker", "PaymentCurrency", "MaturityDate", "Strike"}));
    EXPECT_EQ(written_keys<DigitalOptionExample>(), written_keys<EuropeanOptionExample>());
    EXPECT_EQ(written_keys<AmericanOptionExample>(),
              (Keys{"PayoffKind", "Ticker", "PaymentCurrency", "Strike", "Schedule"}));
    EXPECT_EQ(written_keys<AsianOptionExample>(), (Keys{"PayoffKind", "Ticker", "PaymentCurrency",
                                                        "PaymentDate", "Strike", "Schedule"}));
    EXPECT_EQ(written_keys<SpreadOptionExample>(),
              (Keys{"PayoffKind", "Ticker", "PaymentCurrency", "MaturityDate", "StrikeLeft",
                    "StrikeRight"}));
    EXPECT_EQ(written_keys<ButterflySpreadOptionExample>(),
              (Keys{"PayoffKind", "Ticker", "PaymentCurrency", "MaturityDate", "StrikeLeft",
                    "StrikeCenter", "StrikeRight"}));
    EXPECT_EQ(written_keys<CondorSpreadExample>(),
              (Keys{"PayoffKind", "Ticker", "PaymentCurrency", "MaturityDate", "StrikeExtremeLeft",
                    "StrikeLeft", "StrikeRight", "StrikeExtremeRight"}));
    EXPECT_EQ(written_keys<RiskReversalExample>(),
              (Keys{"PayoffKind", "Ticker", "PaymentCurrency", "MaturityDate", "PutStrike",
                    "CallStrike"}));
    EXPECT_EQ(written_keys<StrangleExample>(),
              (Keys{"Ticker", "PaymentCurrency", "MaturityDate", "PutStrike", "CallStrike"}));
    EXPECT_EQ(written_keys<StraddleExample>(),
              (Keys{"Ticker", "PaymentCurrency", "MaturityDate", "Strike"}));
    EXPECT_EQ(
        written_keys<MultiAssetOptionExample>(),
        (Keys{"PayoffKind", "Basket", "BasketKind", "PaymentCurrency", "MaturityDate", "Strike"}));
    EXPECT_EQ(written_keys<BarrierOptionExample>(),
              (Keys{"PayoffKind", "BarrierKind", "BarrierType", "Ticker", "PaymentCurrency",
                    "Strike", "BarrierLevel", "Rebate", "Schedule", "MaturityDate"}));
    EXPECT_EQ(
        written_keys<DoubleBarrierOptionExample>(),
        (Keys{"PayoffKind", "BarrierKind", "Ticker", "PaymentCurrency", "Strike",
              "LowerBarrierLevel", "UpperBarrierLevel", "Rebate", "Schedule", "MaturityDate"}));
    EXPECT_EQ(written_keys<ReverseConvertibleExample>(),
              (Keys{"Ticker", "PaymentCurrency", "Strike", "Coupon", "MaturityDate"}));
    EXPECT_EQ(
        written_keys<BarrierReverseConvertibleExample>(),
        (Keys{"Ticker", "PaymentCurrency", "Strike", "Coupon", "BarrierLevel", "MaturityDate"}));
    EXPECT_EQ(written_keys<Autocall>(),
              (Keys{"Schedule", "Basket", "FinalPayment", "BonusCouponWithMemory", "BasketKind",
                    "StrikeKind", "ForwardStartDate"}));
    EXPECT_EQ(written_keys<Vanilla>(), (Keys{"Cliquet"}));
    EXPECT_EQ(written_keys<Console>(), (Keys{"Script"}));
    EXPECT_EQ(written_keys<File>(), (Keys{"File"}));
}

TEST(ProductJson, EachKindMakesItsClassAndSixMakeNone) {
    auto const is = [](ContractKind kind, auto const* null) {
        using Product = std::remove_const_t<std::remove_pointer_t<decltype(null)>>;
        auto const product = Toolkit::read_product_of(kind, Json::Value{});
        return dynamic_cast<Product const*>(product.get()) != nullptr;
    };
    using enum ContractKind;
    EXPECT_TRUE(is(CONSOLE, static_cast<Console const*>(nullptr)));
    EXPECT_TRUE(is(FILE, static_cast<File const*>(nullptr)));
    EXPECT_TRUE(is(AMERICAN_OPTION_EXAMPLE, static_cast<AmericanOptionExample const*>(nullptr)));
    EXPECT_TRUE(is(ASIAN_OPTION_EXAMPLE, static_cast<AsianOptionExample const*>(nullptr)));
    EXPECT_TRUE(is(BARRIER_OPTION_EXAMPLE, static_cast<BarrierOptionExample const*>(nullptr)));
    EXPECT_TRUE(is(BARRIER_REVERSE_CONVERTIBLE_EXAMPLE,
                   static_cast<BarrierReverseConvertibleExample const*>(nullptr)));
    EXPECT_TRUE(
        is(BUTTERFLY_SPREAD_EXAMPLE, static_cast<ButterflySpreadOptionExample const*>(nullptr)));
    EXPECT_TRUE(is(CONDOR_SPREAD_EXAMPLE, static_cast<CondorSpreadExample const*>(nullptr)));
    EXPECT_TRUE(is(DIGITAL_OPTION_EXAMPLE, static_cast<DigitalOptionExample const*>(nullptr)));
    EXPECT_TRUE(
        is(DOUBLE_BARRIER_OPTION_EXAMPLE, static_cast<DoubleBarrierOptionExample const*>(nullptr)));
    EXPECT_TRUE(is(EUROPEAN_OPTION_EXAMPLE, static_cast<EuropeanOptionExample const*>(nullptr)));
    EXPECT_TRUE(
        is(MULTI_ASSET_OPTION_EXAMPLE, static_cast<MultiAssetOptionExample const*>(nullptr)));
    EXPECT_TRUE(
        is(REVERSE_CONVERTIBLE_EXAMPLE, static_cast<ReverseConvertibleExample const*>(nullptr)));
    EXPECT_TRUE(is(RISK_REVERSAL_EXAMPLE, static_cast<RiskReversalExample const*>(nullptr)));
    EXPECT_TRUE(is(SPREAD_OPTION_EXAMPLE, static_cast<SpreadOptionExample const*>(nullptr)));
    EXPECT_TRUE(is(STRADDLE_EXAMPLE, static_cast<StraddleExample const*>(nullptr)));
    EXPECT_TRUE(is(STRANGLE_EXAMPLE, static_cast<StrangleExample const*>(nullptr)));
    EXPECT_TRUE(is(AUTOCALL, static_cast<Autocall const*>(nullptr)));
    EXPECT_TRUE(is(VANILLA, static_cast<Vanilla const*>(nullptr)));
    for (auto const kind :
         {AIRGBAG_CERTIFICATE_EXAMPLE, BONUS_CERTIFICATE_EXAMPLE, CAPPED_BONUS_CERTIFICATE_EXAMPLE,
          DISCOUNT_CERTIFICATE_EXAMPLE, OUT_PERFORMANCE_BONUS_CERTIFICATE_EXAMPLE,
          TWIN_WIN_CERTIFICATE_EXAMPLE}) {
        EXPECT_EQ(Toolkit::read_product_of(kind, Json::Value{}), nullptr);
    }
}

TEST(ProductJson, ADigitalOptionReadsTheFiveKeysOfAEuropeanOne) {
    auto const json = parse(R"({"PayoffKind": "PUT_TYPE", "Ticker": "AAA",
        "PaymentCurrency": "EUR", "MaturityDate": "2025-06-30", "Strike": 95.5})");
    auto const product = Toolkit::read_product_of(ContractKind::DIGITAL_OPTION_EXAMPLE, json);
    auto const* digital = dynamic_cast<DigitalOptionExample const*>(product.get());
    ASSERT_NE(digital, nullptr);
    EXPECT_EQ(digital->PayoffKind, PayoffKind::PUT_TYPE);
    EXPECT_EQ(digital->Ticker, "AAA");
    EXPECT_EQ(digital->PaymentCurrency, "EUR");
    EXPECT_EQ(digital->MaturityDate, "2025-06-30");
    EXPECT_EQ(digital->Strike, 95.5f);
    EXPECT_EQ(written(*digital), json);
}

TEST(ProductJson, AnAutocallReadsAllItsKeysAndWritesThemBack) {
    auto const json = parse(R"({
        "Schedule": [{"ObservationDate": "2025-06-30", "PaymentDate": "2025-07-02", "PaymentCurrency": "EUR", "Notional": 1000.0,
                      "BarrierKind": "KNOCK_OUT", "AutocallBarrier": 100.0, "AutocallBarrierSpreadLeft": 1.0,
                      "AutocallBarrierSpreadRight": 2.0, "PhoenixCoupon": 105.0, "CouponBarrier": 80.0, "BonusCoupon": 4.0,
                      "CouponBarrierSpreadLeft": 3.0, "CouponBarrierSpreadRight": 5.0}],
        "Basket": [{"Ticker": "AAA", "Weight": 100.0}], "FinalPayment": [{"X": 0.0, "Y": 0.5}, {"X": 1.0, "Y": 100.0}],
        "BonusCouponWithMemory": true, "BasketKind": "WORST_OF", "StrikeKind": "LOOKBACK_MIN", "ForwardStartDate": "2024-06-30"})");
    Autocall product;
    Toolkit::deserialize(json, product);
    EXPECT_EQ(written(product), json);
    EXPECT_EQ(product.Schedule.at(0).CouponBarrierSpreadRight, 5.0f);
    EXPECT_EQ(product.Schedule.at(0).AutocallBarrierSpreadRight, 2.0f);
    EXPECT_EQ(product.BasketKind, BasketKind::WORST_OF);
    EXPECT_TRUE(product.build());
}

TEST(ProductJson, AVanillaReadsAllItsKeysAndWritesThemBack) {
    auto const json = parse(R"({"Cliquet": [{
        "CashName": "cash", "CashValue": 2.0, "DeltaName": "delta", "DeltaValue": 0.5, "NotionalName": "", "NotionalValue": 3.0,
        "Direction": "REC", "FixingDate": "2025-06-30",
        "Options": [{"Kind": "PUT_TYPE", "QuantityName": "q", "QuantityValue": 4.0, "StrikeName": "K", "StrikeValue": 100.0}],
        "PaymentCurrency": "EUR", "PaymentDate": "2025-07-02",
        "Payoffs": [{"StrikeDate": "2025-01-02", "QuantityName": "p", "QuantityValue": 5.0,
                     "Points": [{"X": 0.5, "Y": 1.0}, {"X": 1.5, "Y": 2.0}]}],
        "Ticker": "AAA"}]})");
    Vanilla product;
    Toolkit::deserialize(json, product);
    EXPECT_EQ(written(product), json);
    EXPECT_EQ(product.Cliquet.at(0).Direction, Vanilla::Direction::REC);
    EXPECT_TRUE(product.build());
}

TEST(ProductJson, ABarrierOptionReadsAllItsKeysAndWritesThemBack) {
    auto const json = parse(
        R"({"PayoffKind": "PUT_TYPE", "BarrierKind": "KNOCK_OUT", "BarrierType": "UP", "Ticker": "AAA",
        "PaymentCurrency": "EUR", "Strike": 100.0, "BarrierLevel": 120.0, "Rebate": 3.0, "Schedule": ["2025-03-31", "2025-06-30"],
        "MaturityDate": "2025-12-31"})");
    BarrierOptionExample product;
    Toolkit::deserialize(json, product);
    EXPECT_EQ(written(product), json);
    EXPECT_TRUE(product.build());
}

TEST(ProductJson, AnEmptyRecordIsReadForEveryKind) {
    for (std::size_t kind = 0; kind < Toolkit::product_table.size(); ++kind) {
        auto const product = Toolkit::read_product_of(static_cast<ContractKind>(kind), parse("{}"));
        if (product == nullptr) continue;
        EXPECT_NO_THROW(std::ignore = product->build());
    }
}

}  // namespace
