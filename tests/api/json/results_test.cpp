// The results records: the shapes that are not a plain member per key.

#include <gtest/gtest.h>
#include <json/value.h>
#include <json/writer.h>

#include <memory>
#include <string>
#include <vector>

#include "api/json/document.hpp"
#include "api/json/fields_analysis.hpp"
#include "api/json/fields_configuration.hpp"
#include "api/json/fields_results.hpp"

namespace ximAPI::Toolkit {
namespace {

Json::Value json_of(char const* text) {
    Json::Value root;
    std::string error;
    EXPECT_TRUE(parse(text, root, error)) << error;
    return root;
}

template <class R>
Json::Value written(R const& record) {
    Json::Value json;
    serialize(record, json);
    return json;
}

std::vector<std::string> keys_of(Json::Value const& json) {
    return json.getMemberNames();
}

TEST(PricingResultsRecord, WritesThePriceAsAnArrayOfOneAlsoWhenNothingWasPriced) {
    EXPECT_EQ(written(PricingResults{})["Price"],
              json_of(R"([{"Value": {"Lower": 0.0, "Upper": 0.0, "Mean": 0.0, "Stddev": 0.0}}])"));
    PricingResults results;
    results.Price.Value = {.Lower = 1.0F, .Upper = 2.0F, .Mean = 1.5F, .Stddev = 0.25F};
    auto json = json_of(R"({"Price": [1, 2, 3]})");
    serialize(results, json);
    EXPECT_EQ(json["Price"],
              json_of(R"([{"Value": {"Lower": 1.0, "Upper": 2.0, "Mean": 1.5, "Stddev": 0.25}}])"));
}

TEST(PricingResultsRecord, ReadsThePriceOfTheFirstElement) {
    PricingResults results;
    deserialize(json_of(R"({"Price": [{"Value": {"Mean": 3}}, {"Value": {"Mean": 4}}]})"), results);
    EXPECT_EQ(results.Price.Value.Mean, 3.0F);
    deserialize(json_of(R"({"Price": []})"), results);
    EXPECT_EQ(results.Price.Value.Mean, 0.0F);
}

TEST(PricingResultsRecord, HasAnArrayPerGreek) {
    PricingResults results;
    results.Delta = {{.Ticker = "A", .Value = {}}};
    results.Cega = {{.FirstTicker = "A",
                     .SecondTicker = "B",
                     .Value = {.Lower = 0, .Upper = 0, .Mean = 7, .Stddev = 0}}};
    auto const json = written(results);
    EXPECT_EQ(keys_of(json),
              (std::vector<std::string>{"All", "Cega", "Delta", "Gamma", "Price", "Vanna", "Vega",
                                        "Volga", "XGamma", "XVanna", "XVolga"}));
    EXPECT_EQ(json["Delta"][0]["Ticker"], Json::Value{"A"});
    EXPECT_EQ(json["Cega"][0]["SecondTicker"], Json::Value{"B"});
    EXPECT_EQ(json["Cega"][0]["Value"]["Mean"].asDouble(), 7.0);
}

TEST(LogRecord, KeepsItsLevelWhenItReadsTheTextThatItWrote) {
    Log const error{LogLevel::ERROR, "text"};
    EXPECT_EQ(written(error)["Level"], Json::Value{"ERROR"});
    Log read{LogLevel::SUCCESS, ""};
    deserialize(written(error), read);
    EXPECT_EQ(read.Level, LogLevel::SUCCESS);
    EXPECT_EQ(read.Message, "text");
    deserialize(json_of(R"({"Level": "ERR"})"), read);
    EXPECT_EQ(read.Level, LogLevel::ERROR);
}

TEST(Ladder1DRecord, AlwaysWritesTheResultKindAbsoluteAndNeverReadsIt) {
    auto json = json_of(R"({"ResultKind": {"not": "a text"}})");
    Ladder1DResults results;
    deserialize(json, results);
    serialize(results, json);
    EXPECT_EQ(json["ResultKind"], Json::Value{"ABSOLUTE"});
}

TEST(Ladder2DRecord, NestsItsCellsByRowsAndColumns) {
    Ladder2DResults results;
    results.Plots.Rows = {1.0F, 2.0F};
    results.Plots.Cols = {3.0F};
    results.Plots.Data = {{Ladder2DPlot{}}, {Ladder2DPlot{}}};
    results.Plots.Data[1][0].Results.Price.Value.Mean = 5.0F;
    auto const json = written(results)["Plots"];
    EXPECT_EQ(json["Rows"], json_of("[1.0, 2.0]"));
    EXPECT_EQ(json["Data"].size(), 2U);
    EXPECT_EQ(json["Data"][1][0]["Results"]["Price"][0]["Value"]["Mean"].asDouble(), 5.0);
}

TEST(SolverRecord, HasTheKeysOfItsTargetAtItsOwnLevel) {
    ImpliedContractFeatureResults results;
    deserialize(
        json_of(
            R"({"FeaturesToSolve": [{"Name": "strike", "Precision": 4}], "HasLower": true, "Price": 98.5})"),
        results);
    EXPECT_TRUE(results.Target.HasLower);
    EXPECT_EQ(results.Target.Price, 98.5F);
    EXPECT_EQ(results.FeaturesToSolve.at(0).Precision, 4);
    EXPECT_EQ(keys_of(written(results)),
              (std::vector<std::string>{"FeaturesToSolve", "HasLower", "HasUpper", "Lower", "Price",
                                        "Upper"}));
}

TEST(ZeroCouponRecord, IsAnArrayOfOneWithThePriceBesideItsKeys) {
    StaticReplication1DResults results;
    results.ZeroCoupon = {
        .Price = 95.0F,
        .ZeroCoupon = {.MaturityDate = "2024-05-03", .Value = 0.95F, .Quantity = 100.0F}};
    auto const json = written(results)["ZeroCoupon"];
    ASSERT_EQ(json.size(), 1U);
    EXPECT_EQ(keys_of(json[0]),
              (std::vector<std::string>{"MaturityDate", "Price", "Quantity", "Value"}));
    EXPECT_EQ(json[0]["Price"].asDouble(), 95.0);
    EXPECT_EQ(json[0]["MaturityDate"], Json::Value{"2024-05-03"});
}

TEST(UnderlyingRecord, NeverReadsItsAssetClass) {
    Underlying underlying;
    underlying.AssetClass = AssetClass::INDEX;
    EXPECT_EQ(written(underlying)["AssetClass"], Json::Value{"INDEX"});
    deserialize(json_of(R"({"AssetClass": "FUND", "AssetKind": "FOREIGN_EXCHANGE"})"), underlying);
    EXPECT_EQ(underlying.AssetClass, AssetClass::INDEX);
    EXPECT_EQ(underlying.AssetKind, AssetKind::FOREIGN_EXCHANGE);
}

TEST(ContractResultsRecord, HasFiveFlagsWithoutAJsonForm) {
    ContractResults results;
    results.WithScript = results.WithUnderlyings = results.WithFixings = results.WithCorrelation =
        results.WithEvents = true;
    EXPECT_EQ(keys_of(written(results)),
              (std::vector<std::string>{"CorrelationMatrix", "Events", "Fixings", "Script",
                                        "Underlyings"}));
    deserialize(json_of("{}"), results);
    EXPECT_TRUE(results.WithScript && results.WithUnderlyings && results.WithFixings &&
                results.WithCorrelation && results.WithEvents);
}

TEST(ContractResultsRecord, TheEventsOfAContractAreWrittenAndNeverRead) {
    ContractResults results;
    results.Events = {{EventKind::NOTHING, "2024-01-01", std::make_shared<EndEvent>()}};
    auto const json = written(results);
    EXPECT_EQ(json["Events"],
              json_of(R"([{"Type": "NOTHING", "Date": "2024-01-01", "Attributes": {}}])"));
    ContractResults read;
    deserialize(json, read);
    EXPECT_TRUE(read.Events.empty());
    deserialize(json_of(R"({"Events": "not an array"})"), read);
    EXPECT_TRUE(read.Events.empty());
}

TEST(CorrelationMatrixRecord, NestsItsCells) {
    CorrelationMatrix matrix;
    matrix.Rows = matrix.Cols = {"A"};
    matrix.Data = {{{.Value = 100.0F, .HasValue = true}}};
    EXPECT_EQ(
        written(matrix),
        json_of(
            R"({"Rows": ["A"], "Cols": ["A"], "Data": [[{"Value": 100.0, "HasValue": true}]]})"));
}

// ---- events
// ----------------------------------------------------------------------------------------------------------

// kind | keys of the attributes
std::vector<std::pair<EventKind, std::vector<std::string>>> const c_keys_by_kind{
    {EventKind::PAYMENT, {"Currency", "HasValue", "Script", "Value"}},
    {EventKind::RECEIPT, {"Currency", "HasValue", "Script", "Value"}},
    {EventKind::FIXING, {"HasValue", "Ticker", "Value"}},
    {EventKind::SETTING, {"HasValue", "Name", "Script", "Value"}},
    {EventKind::BARRIER,
     {"EndLeft", "EndRight", "HasValue", "Script", "SpreadLeft", "SpreadRight", "StartLeft",
      "StartRight", "Value", "WithSpread"}},
    {EventKind::PURCHASE, {"End", "Quantity", "Start"}},
    {EventKind::SALE, {"End", "Quantity", "Start"}},
    {EventKind::CHOICE, {"ChoiceOwnership", "Ends", "HasValue", "Starts", "Value"}},
    {EventKind::NOTHING, {}},
};

TEST(EventRecord, EachKindHasTheKeysOfItsClass) {
    EXPECT_EQ(c_keys_by_kind.size(), texts<EventKind>.size());
    for (auto const& [kind, keys] : c_keys_by_kind) {
        Event const event{kind, "2024-01-01", make_event(kind)};
        ASSERT_NE(event.Attributes, nullptr);
        auto const json = written(event);
        EXPECT_EQ(json["Type"], Json::Value{std::string{to_text(kind)}});
        ASSERT_TRUE(json["Attributes"].isObject());
        EXPECT_EQ(keys_of(json["Attributes"]), keys) << to_text(kind);
    }
    EXPECT_EQ(make_event(static_cast<EventKind>(9)), nullptr);
}

TEST(EventRecord, TheValueIsABooleanOfABarrierAnIntegerOfAChoiceAndElseANumber) {
    BarrierEvent barrier;
    ChoiceEvent choice;
    Json::Value json;
    barrier.serialize(json);
    EXPECT_EQ(json["Value"], Json::Value{false});
    choice.serialize(json);
    EXPECT_EQ(json["Value"], Json::Value{0});
    for (auto kind : {EventKind::PAYMENT, EventKind::FIXING, EventKind::SETTING}) {
        make_event(kind)->serialize(json);
        EXPECT_TRUE(json["Value"].isDouble());
        EXPECT_EQ(json["Value"].asDouble(), 0.0);
    }
}

TEST(EventRecord, OfAnUnknownKindKeepsTheKindThatItHad) {
    Event event{EventKind::CHOICE, "", nullptr};
    deserialize(json_of(R"({"Type": "UNKNOWN", "Attributes": {"Starts": [1, 2], "Ends": [3, 4]}})"),
                event);
    auto const* choice = dynamic_cast<ChoiceEvent const*>(event.Attributes.get());
    ASSERT_NE(choice, nullptr);
    EXPECT_EQ(choice->Ends, (std::vector<std::int32_t>{3, 4}));
}

// ---- data
// ------------------------------------------------------------------------------------------------------------

TEST(ObservationRecord, WritesItsKindAsBasketOrAsAnEmptyText) {
    Observation observation;
    EXPECT_EQ(written(observation)["Kind"], Json::Value{"BASKET"});
    observation.Kind = static_cast<ObservableKind>(1);
    EXPECT_EQ(written(observation)["Kind"], Json::Value{""});
}

TEST(ObservationRecord, MakesABasketOfTheSameObjectWhateverItsKind) {
    for (char const* kind : {R"("BASKET")", R"("UNKNOWN")", "null"}) {
        auto const text =
            std::string{R"({"Kind": )"} + kind +
            R"(, "Basket": [{"Ticker": "A", "Weight": 50}], "ForwardStartDate": "2021-05-03",
                               "BasketKind": "WORST_OF", "StrikeKind": "LOOKBACK_MIN"})";
        Observation observation;
        deserialize(json_of(text.c_str()), observation);
        auto const* basket = dynamic_cast<BasketObservable const*>(observation.Object.get());
        ASSERT_NE(basket, nullptr);
        EXPECT_EQ(basket->Basket.at(0).Ticker, "A");
        EXPECT_EQ(basket->Basket.at(0).Weight, 50.0F);
        EXPECT_EQ(basket->ForwardStartDate, "2021-05-03");
        EXPECT_EQ(basket->BasketKind, BasketKind::WORST_OF);
        EXPECT_EQ(basket->StrikeKind, StrikeKind::LOOKBACK_MIN);
    }
}

TEST(ObservationRecord, WritesAllItsKeysAsAnElementOfAnArray) {
    auto json = json_of(
        R"({"Observations": [{"Basket": [{"Ticker": "A", "Weight": 1}], "Of the caller": 1}]})");
    DataResults results;
    deserialize(json, results);
    serialize(results, json);
    EXPECT_EQ(keys_of(json["Observations"][0]),
              (std::vector<std::string>{"Basket", "BasketKind", "ForwardStartDate", "Kind",
                                        "StrikeKind", "TimeSeries"}));
    EXPECT_EQ(json["Observations"][0]["Basket"][0]["Ticker"], Json::Value{"A"});
    EXPECT_EQ(keys_of(written(Observation{})), keys_of(json["Observations"][0]));
}

TEST(DiffusionRecord, HasAnEpochOf64Bits) {
    ModelDiffusionSeries point;
    point.Epoch = 1'000'000'000'000;
    ModelDiffusionSeries read;
    deserialize(written(point), read);
    EXPECT_EQ(read.Epoch, 1'000'000'000'000);
}

}  // namespace
}  // namespace ximAPI::Toolkit
