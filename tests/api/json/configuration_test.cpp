// The configuration records: what reading leaves, what writing sets, and the product of a contract.

#include <gtest/gtest.h>
#include <json/value.h>
#include <json/writer.h>

#include <limits>
#include <string>
#include <vector>

#include "api/json/document.hpp"
#include "api/json/fields_configuration.hpp"
#include "api/json/products.hpp"

namespace ximAPI::Toolkit {
namespace {

Json::Value json_of(char const* text) {
    Json::Value root;
    std::string error;
    EXPECT_TRUE(parse(text, root, error)) << error;
    return root;
}

template <class R>
R read(char const* text) {
    R record;
    deserialize(json_of(text), record);
    return record;
}

template <class R>
Json::Value written(R const& record) {
    Json::Value json;
    serialize(record, json);
    return json;
}

// ---- rules of reading and writing
// ------------------------------------------------------------------------------------

TEST(Reading, AnAbsentTextNumberOrBooleanOverwritesWhatWasThere) {
    Data data;
    data.Username = "me";
    data.Attempts = 3;
    data.SuccessOnSpotRequestFailure = true;
    data.Sources.resize(2);
    deserialize(json_of("{}"), data);
    EXPECT_EQ(data.Username, "");
    EXPECT_EQ(data.Attempts, 0);
    EXPECT_FALSE(data.SuccessOnSpotRequestFailure);
    EXPECT_TRUE(data.Sources.empty());
}

TEST(Reading, FitsTheVectorToTheSizeOfTheArray) {
    Data data;
    data.Sources.resize(5);
    deserialize(json_of(R"({"Sources": [{"File": "a", "IsActivated": true}, {}]})"), data);
    ASSERT_EQ(data.Sources.size(), 2U);
    EXPECT_EQ(data.Sources[0].File, "a");
    EXPECT_TRUE(data.Sources[0].IsActivated);
    EXPECT_EQ(data.Sources[1].File, "");
}

TEST(Reading, ATextNumberOrBooleanInThePlaceOfAnArrayRaises) {
    std::vector<std::string> dates{"2024-01-01"};
    for (Json::Value const& json : {Json::Value("2025-01-01"), Json::Value(5), Json::Value(true)})
        EXPECT_THROW(deserialize(json, dates), Json::LogicError) << json;
    EXPECT_THAT(dates, testing::ElementsAre("2024-01-01"));
    for (Json::Value const& json : {Json::Value(), Json::Value(Json::objectValue)}) {
        deserialize(json, dates);
        EXPECT_TRUE(dates.empty()) << json;
    }
}

TEST(Reading, NumbersAreFloatsAndAreWrittenBackAsDoubles) {
    auto const pricer = read<Pricer>(R"({"DeltaSpotBump": 0.1})");
    EXPECT_EQ(pricer.DeltaSpotBump, 0.1F);
    auto const json = written(pricer)["DeltaSpotBump"];
    ASSERT_TRUE(json.isDouble());
    EXPECT_EQ(json.asDouble(), 0.100000001490116119384765625);  // the float nearest to 0.1
    EXPECT_NE(render(json).find("0.100000001490116"), std::string::npos);
}

TEST(Reading, TakesANumberForATextAndATruncatedNumberForAnInteger) {
    auto const data = read<Data>(R"({"Username": 12, "Attempts": 2.75})");
    EXPECT_EQ(data.Username, "12");
    EXPECT_EQ(data.Attempts, 2);
}

TEST(Reading, ATextInThePlaceOfAFloatRaisesTheExceptionOfJsoncpp) {
    EXPECT_THROW(read<Pricer>(R"({"DeltaSpotBump": "abc"})"), Json::Exception);
    EXPECT_THROW(read<Pricer>(R"({"MonteCarloTrials": "100"})"), Json::Exception);
    EXPECT_THROW(read<Pricer>(R"({"WithGreeks": "true"})"), Json::Exception);
    EXPECT_THROW(read<Contract>(R"({"Date": {}})"), Json::Exception);
}

TEST(Reading, AnIntegerBeyondItsWidthRaisesTheExceptionOfJsoncpp) {
    EXPECT_THROW(read<Pricer>(R"({"MonteCarloTrials": 2147483648})"), Json::Exception);
    EXPECT_THROW(read<Pricer>(R"({"MonteCarloTrials": 1e30})"), Json::Exception);
    EXPECT_EQ(read<Pricer>(R"({"MonteCarloTrials": -2147483648})").MonteCarloTrials,
              std::numeric_limits<std::int32_t>::min());
}

TEST(Writing, ANumberThatIsNotFiniteIsNull) {
    Pricer pricer;
    pricer.DeltaSpotBump = std::numeric_limits<float>::quiet_NaN();
    pricer.GammaSpotBump = std::numeric_limits<float>::infinity();
    pricer.VegaVolatilityBump = -std::numeric_limits<float>::infinity();
    auto const json = written(pricer);
    EXPECT_TRUE(json["DeltaSpotBump"].isNull());
    EXPECT_TRUE(json["GammaSpotBump"].isNull());
    EXPECT_TRUE(json["VegaVolatilityBump"].isNull());
}

TEST(Writing, AnEmptyVectorIsAnEmptyArrayWhereOneStoodAndNullWhereNothingDid) {
    Data const data;
    EXPECT_TRUE(written(data)["Sources"].isNull());
    auto json = json_of(R"({"Sources": [{"File": "a"}]})");
    serialize(data, json);
    EXPECT_EQ(json["Sources"], Json::Value{Json::arrayValue});
}

TEST(Writing, ElementsOfAnArrayAreWrittenAnew) {
    auto json = json_of(R"({"Sources": [{"File": "a", "Of the caller": 1}], "Of the caller": 1})");
    Data data;
    deserialize(json, data);
    serialize(data, json);
    EXPECT_FALSE(json["Sources"][0].isMember("Of the caller"));
    EXPECT_TRUE(json.isMember("Of the caller"));
}

TEST(Writing, AValueOutsideItsEnumerationIsAnEmptyText) {
    Model model;
    model.Name = static_cast<ModelName>(6);
    EXPECT_EQ(written(model)["Name"], Json::Value{""});
}

// ---- data and model
// --------------------------------------------------------------------------------------------------

TEST(DataRecord, StartsEmpty) {
    Data const data;
    EXPECT_EQ(data.Username + data.Password, "");
    EXPECT_EQ(data.Attempts, 0);
    EXPECT_FALSE(data.SuccessOnRepoRequestFailure || data.SuccessOnSpotRequestFailure ||
                 data.SuccessOnFXSpotRequestFailure || data.SuccessOnVolatilityRequestFailure ||
                 data.SuccessOnYieldRequestFailure || data.SuccessOnCorrelationRequestFailure ||
                 data.WithoutLogin);
    EXPECT_TRUE(data.Sources.empty());
}

TEST(DataRecord, WritesWithoutLoginOnlyWhenItIsOn) {
    Data data;
    EXPECT_FALSE(written(data).isMember("WithoutLogin"));
    data.WithoutLogin = true;
    EXPECT_EQ(written(data)["WithoutLogin"], Json::Value{true});
    EXPECT_TRUE(read<Data>(R"({"WithoutLogin": true})").WithoutLogin);
    EXPECT_FALSE(read<Data>("{}").WithoutLogin);
}

TEST(DataRecord, CarriesTheFieldsThatNothingReads) {
    auto const json = written(read<Data>(
        R"({"Attempts": 4, "SuccessOnRepoRequestFailure": true, "SuccessOnYieldRequestFailure": true})"));
    EXPECT_EQ(json["Attempts"].asInt(), 4);
    EXPECT_TRUE(json["SuccessOnRepoRequestFailure"].asBool());
    EXPECT_TRUE(json["SuccessOnYieldRequestFailure"].asBool());
}

TEST(ModelRecord, WritesTheNameThatItRead) {
    auto const model = read<Model>(R"({"Name": "FREE_MODEL"})");
    EXPECT_EQ(model.Name, ModelName::FREE_MODEL);
    EXPECT_EQ(written(model)["Name"], Json::Value{"FREE_MODEL"});
}

TEST(ModelRecord, StartsAtTheFirstValues) {
    auto const model = read<Model>("{}");
    EXPECT_EQ(model.Name, ModelName::DEFAULT_MODEL);
    EXPECT_EQ(model.BlackScholesCalibrationKind, BlackScholesCalibrationKind::MANUAL);
}

TEST(ModelRecord, NestsItsTenor) {
    auto const model = read<Model>(
        R"({"BlackScholesVolatilityCalibrationTenor": {"Shift": "+1y", "Calendar": "DUMMY"}})");
    EXPECT_EQ(model.BlackScholesVolatilityCalibrationTenor.Shift, "+1y");
    EXPECT_EQ(written(model)["BlackScholesVolatilityCalibrationTenor"]["Shift"],
              Json::Value{"+1y"});
}

// ---- pricer
// ----------------------------------------------------------------------------------------------------------

TEST(PricerRecord, ReadFromItsMethodAloneHasNoTrialsNoThreadsAndNoBumps) {
    auto const pricer = read<Pricer>(R"({"Method": "MONTE_CARLO"})");
    EXPECT_EQ(pricer.Method, PricingMethod::MONTE_CARLO);
    EXPECT_EQ(pricer.MonteCarloTrials, 0);
    EXPECT_EQ(pricer.MonteCarloNbThreads, 0);
    for (float bump :
         {pricer.DeltaSpotBump, pricer.GammaSpotBump, pricer.XGammaSpotBump,
          pricer.VegaVolatilityBump, pricer.VolgaVolatilityBump, pricer.XVolgaVolatilityBump,
          pricer.VannaVolatilityBump, pricer.VannaSpotBump, pricer.XVannaVolatilityBump,
          pricer.XVannaSpotBump, pricer.CegaCorrelationBump}) {
        EXPECT_EQ(bump, 0.0F);
    }
    EXPECT_EQ(pricer.DeltaDirection, GreekDirection::CENTER);
    EXPECT_EQ(pricer.VegaDirection, GreekDirection::CENTER);
    EXPECT_EQ(pricer.CegaDirection, GreekDirection::CENTER);
}

TEST(PricerRecord, IgnoresTheOrdinarySpellingOfSymetric) {
    EXPECT_EQ(read<Pricer>(R"({"SmoothingType": "SYMETRIC"})").SmoothingType,
              SmoothingType::SYMETRIC);
    EXPECT_EQ(read<Pricer>(R"({"SmoothingType": "SYMMETRIC"})").SmoothingType, SmoothingType::NONE);
}

// key | value before reading, as JSON
std::vector<std::pair<std::string, Json::Value>> const c_pricer_before_reading{
    {"SmoothingType", "NONE"},
    {"Method", "MONTE_CARLO"},
    {"SpotVolatilityDynamic", "STICKY_STRIKE"},
    {"DeltaDirection", "CENTER"},
    {"VegaDirection", "CENTER"},
    {"CegaDirection", "CENTER"},
    {"FiniteDifferenceBoundaryCondition", "DIRICHLET"},
    {"MonteCarloTrials", 100000},
    {"MonteCarloTimeStep", 2},
    {"MonteCarloSeed", 19940523},
    {"MonteCarloNbThreads", 1},
    {"MonteCarloConfidenceLevel", 97.5},
    {"MonteCarloAntitheticFactor", 50.0},
    {"FiniteDifferenceTimeStep", 2},
    {"FiniteDifferenceExplicitRate", 0.0},
    {"FiniteDifferenceUseRichardsonRombergExtrapolation", false},
    {"ClosedFormMoneynessGridSize", 100},
    {"ClosedFormMoneynessGridLowerBound", 50.0},
    {"ClosedFormMoneynessGridUpperBound", 150.0},
    {"WithGreeks", false},
    {"ComputeDelta", false},
    {"DeltaSpotBump", 1.0},
    {"ComputeGamma", false},
    {"GammaSpotBump", 1.0},
    {"ComputeXGamma", false},
    {"XGammaSpotBump", 1.0},
    {"ComputeVega", false},
    {"VegaVolatilityBump", 1.0},
    {"ComputeVolga", false},
    {"VolgaVolatilityBump", 1.0},
    {"ComputeXVolga", false},
    {"XVolgaVolatilityBump", 1.0},
    {"ComputeVanna", false},
    {"VannaVolatilityBump", 1.0},
    {"VannaSpotBump", 1.0},
    {"ComputeXVanna", false},
    {"XVannaVolatilityBump", 1.0},
    {"XVannaSpotBump", 1.0},
    {"ComputeCega", false},
    {"CegaCorrelationBump", 1.0},
};

TEST(PricerRecord, StartsAtItsValuesBeforeReading) {
    auto const json = written(Pricer{});
    for (auto const& [key, value] : c_pricer_before_reading) EXPECT_EQ(json[key], value) << key;
    EXPECT_EQ(json["DayCounter"]["Basis"], Json::Value{"ACT_365"});
    EXPECT_EQ(json["DayCounter"]["Calendar"], Json::Value{"DUMMY"});
    EXPECT_EQ(json.size(), c_pricer_before_reading.size() + 1);
}

TEST(PricerRecord, WritesTheDirectionOfTheCegaDirectlyAfterTheBoundaryCondition) {
    std::vector<std::string> keys;
    std::apply([&](auto const&... field) { (keys.emplace_back(field.key), ...); }, fields<Pricer>);
    ASSERT_EQ(keys.size(), c_pricer_before_reading.size() + 1);
    EXPECT_EQ(keys[6], "FiniteDifferenceBoundaryCondition");
    EXPECT_EQ(keys[7], "CegaDirection");
}

// ---- contract and product
// --------------------------------------------------------------------------------------------

TEST(ContractRecord, AnUnknownOrAbsentKindLeavesTheKind) {
    Contract contract;
    contract.Kind = ContractKind::FILE;
    deserialize(json_of(R"({"Kind": "UNKNOWN"})"), contract);
    EXPECT_EQ(contract.Kind, ContractKind::FILE);
    deserialize(json_of("{}"), contract);
    EXPECT_EQ(contract.Kind, ContractKind::FILE);
    EXPECT_EQ(read<Contract>("{}").Kind, ContractKind::CONSOLE);
}

TEST(ContractRecord, ReadsTheKeysOfItsProductAtItsOwnLevel) {
    auto const contract = read<Contract>(
        R"json({"Kind": "CONSOLE", "Script": "Pay(1,2024-01-01,USD)", "Date": "2023-01-02",
                "PremiumCurrency": "EUR", "IntradayFixings": true})json");
    EXPECT_EQ(contract.Date, "2023-01-02");
    EXPECT_EQ(contract.PremiumCurrency, "EUR");
    EXPECT_TRUE(contract.IntradayFixings);
    EXPECT_FALSE(contract.IntradayPayments);
    auto const* console = dynamic_cast<Console const*>(contract.Product.get());
    ASSERT_NE(console, nullptr);
    EXPECT_EQ(console->script, "Pay(1,2024-01-01,USD)");
}

TEST(ContractRecord, OfTheKindFileHasAFile) {
    auto const contract = read<Contract>(R"({"Kind": "FILE", "File": "/tmp/a contract"})");
    auto const* file = dynamic_cast<File const*>(contract.Product.get());
    ASSERT_NE(file, nullptr);
    EXPECT_EQ(file->file, "/tmp/a contract");
}

TEST(ContractRecord, AContractIsWrittenWithoutTheKeysOfItsProduct) {
    auto json = json_of(R"({"Kind": "CONSOLE", "Script": "as it came"})");
    Contract contract;
    deserialize(json, contract);
    dynamic_cast<Console&>(*contract.Product).script = "changed";
    serialize(contract, json);
    EXPECT_EQ(json["Script"], Json::Value{"as it came"});
    EXPECT_EQ(written(contract).getMemberNames(),
              (std::vector<std::string>{"Date", "IntradayChoices", "IntradayFixings",
                                        "IntradayPayments", "Kind", "PremiumCurrency"}));
}

TEST(ContractRecord, OfAKindWithoutReadingHasNoProduct) {
    for (char const* kind :
         {"AIRGBAG_CERTIFICATE_EXAMPLE", "BONUS_CERTIFICATE_EXAMPLE",
          "CAPPED_BONUS_CERTIFICATE_EXAMPLE", "DISCOUNT_CERTIFICATE_EXAMPLE",
          "OUT_PERFORMANCE_BONUS_CERTIFICATE_EXAMPLE", "TWIN_WIN_CERTIFICATE_EXAMPLE"}) {
        Json::Value json;
        json["Kind"] = kind;
        Contract contract;
        contract.Product = std::make_unique<Console>();
        deserialize(json, contract);
        EXPECT_EQ(to_text(contract.Kind), kind);
        EXPECT_EQ(contract.Product, nullptr) << kind;
    }
}

TEST(ContractRecord, OfAKindOutsideTheEnumerationHasNoProduct) {
    EXPECT_EQ(read_product_of(static_cast<ContractKind>(25), json_of("{}")), nullptr);
    EXPECT_EQ(read_product_of(static_cast<ContractKind>(-1), json_of("{}")), nullptr);
}

}  // namespace
}  // namespace ximAPI::Toolkit
