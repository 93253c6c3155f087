// Ready products with terms that make no sense: each request of examples/products, spoiled in every
// way below, ends with a clear record or with a contract that the documentation states.

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <map>
#include <vector>

#include "api/route_call.hpp"
#include "support/precompiled.hpp"

namespace {

using namespace ximAPI::testing;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
namespace fs = std::filesystem;

/// Called for each member below the contract; may change or remove it.
using Spoil = std::function<void(Json::Value& object, std::string const& key)>;

void walk(Json::Value& value, Spoil const& spoil) {
    if (value.isArray()) {
        for (Json::Value& element : value) walk(element, spoil);
    }
    if (!value.isObject()) return;
    for (auto const& key : value.getMemberNames()) {
        spoil(value, key);
        if (value.isMember(key)) walk(value[key], spoil);
    }
}

/// The request of a product, its market file named absolutely, with few trials and no greeks.
Json::Value example(std::string const& name) {
    std::ifstream file(XIM_ROOT "/examples/products/" + name + ".json");
    Json::Value request = parse_json({std::istreambuf_iterator<char>(file), {}});
    if (request.isMember("DataConfiguration")) {
        Json::Value& source = request["DataConfiguration"]["Sources"][0]["File"];
        source = XIM_ROOT "/" + source.asString();
    }
    request["PricerConfiguration"]["MonteCarloTrials"] = 50;
    request["PricerConfiguration"]["WithGreeks"] = false;
    return request;
}

/// The keys of the product alone are spoiled.
Json::Value spoiled(std::string const& name, Spoil const& spoil) {
    Json::Value request = example(name);
    Json::Value& contract = request["ContractConfiguration"];
    Json::Value const whole = contract;
    contract.removeMember("Kind");
    contract.removeMember("Date");
    walk(contract, spoil);
    contract["Kind"] = whole["Kind"];
    contract["Date"] = whole["Date"];
    return request;
}

RouteAnswer price(Json::Value const& request) {
    return call_route("/GetPrice", request);
}

void expect_a_reason(RouteAnswer const& answer, std::string const& what) {
    if (answer.success) return;
    EXPECT_FALSE(answer.messages("ERROR").empty() && answer.messages("EXCEPTION").empty())
        << what << "\n"
        << answer.log();
}

/// Either a number or a reason; the description of the contract likewise.
void expect_number_or_reason(Json::Value const& request, std::string const& what) {
    auto const priced = price(request);
    expect_a_reason(priced, what);
    if (priced.success) {
        EXPECT_TRUE(priced.price()["Mean"].isDouble()) << what;
    }
    expect_a_reason(call_route("/GetContract", request), what);
}

std::vector<std::string> product_names() {
    std::vector<std::string> names;
    for (auto const& entry : fs::directory_iterator(XIM_ROOT "/examples/products"))
        names.push_back(entry.path().stem().string());
    std::sort(names.begin(), names.end());
    return names;
}

class BadTerms : public ::testing::TestWithParam<std::string> {
 protected:
    [[nodiscard]] static bool is_one_of(std::vector<std::string> const& names) {
        return std::find(names.begin(), names.end(), GetParam()) != names.end();
    }
};

std::map<std::string, std::string> const c_first_texts{
    {"PayoffKind", "CALL_TYPE"}, {"BarrierKind", "KNOCK_IN"}, {"BarrierType", "DOWN"},
    {"BasketKind", "BASKET"},    {"Direction", "PAY"},        {"Kind", "CALL_TYPE"}};

TEST_P(BadTerms, UnknownAndMissingTextsCountAsTheFirstOfTheirEnumeration) {
    auto const set = [](std::string const& text, bool first) {
        return [text, first](Json::Value& object, std::string const& key) {
            auto const found = c_first_texts.find(key);
            if (found != c_first_texts.end()) object[key] = first ? found->second : text;
        };
    };
    auto const remove = [](Json::Value& object, std::string const& key) {
        if (c_first_texts.contains(key)) object.removeMember(key);
    };
    auto const first = price(spoiled(GetParam(), set("", true)));
    ASSERT_TRUE(first.success) << first.log();
    for (auto const& request : {spoiled(GetParam(), set("UNKNOWN", false)),
                                spoiled(GetParam(), set("", false)), spoiled(GetParam(), remove)}) {
        auto const answer = price(request);
        ASSERT_TRUE(answer.success) << answer.log();
        EXPECT_EQ(answer.price()["Mean"], first.price()["Mean"]);
    }
}

TEST_P(BadTerms, AZeroStrikeIsAStrikeUnlessItDivides) {
    auto const answer = price(spoiled(GetParam(), [](Json::Value& object, std::string const& key) {
        if (key.find("Strike") != std::string::npos && object[key].isNumeric()) object[key] = 0;
    }));
    if (is_one_of({"reverse_convertible", "barrier_reverse_convertible"})) {
        EXPECT_FALSE(answer.success);
        EXPECT_THAT(answer.messages("ERROR"), ElementsAre("Reverse convertible without strike"));
    } else {
        ASSERT_TRUE(answer.success) << answer.log();
        EXPECT_TRUE(std::isfinite(answer.price()["Mean"].asDouble()));
    }
}

TEST_P(BadTerms, EmptyListsPayNothingOrAreRefused) {
    auto const answer = price(spoiled(GetParam(), [](Json::Value& object, std::string const& key) {
        if (object[key].isArray()) object[key] = Json::Value(Json::arrayValue);
    }));
    std::map<std::string, std::string> const refusals{
        {"asian_option", "Asian option without dates"},
        {"autocall", "Cannot build autocall"},
        {"vanilla", "Contract empty"}};
    if (auto const refusal = refusals.find(GetParam()); refusal != refusals.end()) {
        EXPECT_FALSE(answer.success);
        EXPECT_THAT(answer.messages("ERROR"), ElementsAre(refusal->second));
        return;
    }
    ASSERT_TRUE(answer.success) << answer.log();
    if (is_one_of(
            {"american_option", "barrier_option", "double_barrier_option", "multi_asset_option"})) {
        EXPECT_EQ(answer.price()["Mean"].asDouble(), 0.0);
    }
}

TEST_P(BadTerms, DatesOutOfOrderAreTakenAsTheyStand) {
    auto const reversed = [](Json::Value& object, std::string const& key) {
        if (key != "Schedule") return;
        Json::Value const before = object[key];
        for (Json::ArrayIndex i = 0; i < before.size(); ++i)
            object[key][i] = before[before.size() - 1 - i];
    };
    auto const paid_first = [](Json::Value& object, std::string const& key) {
        if (key == "MaturityDate" || key == "PaymentDate") object[key] = "2021-06-01";
    };
    for (Spoil const& spoil : {Spoil(reversed), Spoil(paid_first)}) {
        auto const answer = price(spoiled(GetParam(), spoil));
        ASSERT_TRUE(answer.success) << answer.log();
        EXPECT_TRUE(std::isfinite(answer.price()["Mean"].asDouble()));
    }
}

TEST_P(BadTerms, WhatLiesBehindTheValuationDateNeedsItsFixingAndPaysNoMore) {
    auto const answer = price(spoiled(GetParam(), [](Json::Value& object, std::string const& key) {
        if (key == "MaturityDate" || key == "PaymentDate" || key == "FixingDate" ||
            key == "ObservationDate") {
            object[key] = "2021-04-01";
        } else if (key == "Schedule" && object[key][0].isString()) {
            object[key] = parse_json(R"(["2021-03-01", "2021-04-01"])");
        }
    }));
    if (is_one_of({"autocall", "multi_asset_option"})) {  // their market file has no history
        EXPECT_FALSE(answer.success);
        EXPECT_THAT(answer.messages("ERROR"),
                    Contains(HasSubstr("Cannot find spot at '2021-04-01'")));
    } else {
        ASSERT_TRUE(answer.success) << answer.log();
        EXPECT_EQ(answer.price()["Mean"].asDouble(), 0.0);
    }
}

TEST_P(BadTerms, ATextThatIsNoDateIsNamed) {
    for (std::string const text : {"2022-13-45", "soon", ""}) {
        auto const answer =
            price(spoiled(GetParam(), [&](Json::Value& object, std::string const& key) {
                if (key.find("Date") != std::string::npos) object[key] = text;
                if (key == "Schedule" && object[key][0].isString()) object[key][0] = text;
            }));
        EXPECT_FALSE(answer.success);
        EXPECT_THAT(answer.messages("ERROR"), Contains("Cannot read date " + text));
    }
}

TEST_P(BadTerms, AnUnknownUnderlyingIsNamed) {
    for (std::string const ticker : {"NOBODY", ""}) {
        auto const answer =
            price(spoiled(GetParam(), [&](Json::Value& object, std::string const& key) {
                if (key == "Ticker") object[key] = ticker;
            }));
        EXPECT_FALSE(answer.success);
        EXPECT_THAT(answer.messages("ERROR"),
                    Contains(::testing::AnyOf(HasSubstr("ticker " + ticker),
                                              HasSubstr("ticker '" + ticker + "'"))));
    }
}

TEST_P(BadTerms, AnUnknownCurrencyIsAnError) {
    for (std::string const currency : {"ZZZ", ""}) {
        auto const answer =
            price(spoiled(GetParam(), [&](Json::Value& object, std::string const& key) {
                if (key == "PaymentCurrency") object[key] = currency;
            }));
        EXPECT_FALSE(answer.success);
        EXPECT_THAT(answer.messages("ERROR"), ::testing::Not(IsEmpty())) << answer.log();
    }
}

TEST_P(BadTerms, ATextInPlaceOfANumberIsAnException) {
    auto const answer = price(spoiled(GetParam(), [](Json::Value& object, std::string const& key) {
        if (object[key].isNumeric()) object[key] = "abc";
    }));
    EXPECT_FALSE(answer.success);
    EXPECT_THAT(answer.messages("EXCEPTION"), ElementsAre("Value is not convertible to float."));
}

TEST_P(BadTerms, AKindAloneIsNothingOrRefused) {
    Json::Value request = spoiled(GetParam(), [](Json::Value& object, std::string const& key) {
        if (key != "PremiumCurrency") object.removeMember(key);
    });
    auto const answer = price(request);
    expect_a_reason(answer, GetParam());
    if (answer.success) {
        EXPECT_EQ(answer.price()["Mean"].asDouble(), 0.0);
    }
}

TEST_P(BadTerms, EachMemberMayBeMissingOrNull) {
    // the walk meets the same members in the same order each time
    int count = 0;
    std::ignore = spoiled(GetParam(), [&](Json::Value&, std::string const&) { ++count; });
    ASSERT_GT(count, 4);
    for (int target = 0; target < count; ++target) {
        for (bool const null : {false, true}) {
            int index = 0;
            std::string spoiled_key;
            auto const request =
                spoiled(GetParam(), [&](Json::Value& object, std::string const& key) {
                    if (index++ != target) return;
                    spoiled_key = key;
                    if (null) {
                        object[key] = Json::Value();
                    } else {
                        object.removeMember(key);
                    }
                });
            expect_number_or_reason(request, spoiled_key);
        }
    }
}

TEST_P(BadTerms, NumbersBeyondTheRangeOfARecordEndTheCall) {
    for (double const number : {1e39, -1e39, 1e-45, -1.0}) {
        auto const request = spoiled(GetParam(), [&](Json::Value& object, std::string const& key) {
            if (object[key].isNumeric() && !object[key].isBool()) object[key] = number;
        });
        expect_a_reason(price(request), std::to_string(number));
        expect_a_reason(call_route("/GetContract", request), std::to_string(number));
    }
}

INSTANTIATE_TEST_SUITE_P(All, BadTerms, ::testing::ValuesIn(product_names()),
                         [](auto const& parameter) { return parameter.param; });

TEST(ProductExamples, HaveARequestForEachKind) {
    EXPECT_THAT(product_names(),
                ElementsAre("american_option", "asian_option", "autocall", "barrier_option",
                            "barrier_reverse_convertible", "butterfly_spread", "condor_spread",
                            "digital_option", "double_barrier_option", "european_option",
                            "multi_asset_option", "reverse_convertible", "risk_reversal",
                            "spread_option", "straddle", "strangle", "vanilla"));
}

TEST(AutocallTerms, ThatMakeNoNoteAreRefused) {
    auto const errors = [](std::string const& key, char const* value) {
        Json::Value request = example("autocall");
        request["ContractConfiguration"][key] = parse_json(value);
        return price(request).messages("ERROR");
    };
    EXPECT_THAT(errors("Schedule", "[]"), ElementsAre("Cannot build autocall"));
    EXPECT_THAT(errors("Basket", "[]"), ElementsAre("Cannot build autocall"));
    EXPECT_THAT(errors("BasketKind", R"("RAINBOW")"), ElementsAre("Cannot build autocall"));
    EXPECT_THAT(errors("FinalPayment", R"([{"X": 0, "Y": 0}, {"X": 1, "Y": 1}, {"X": 1, "Y": 2}])"),
                ElementsAre("Final payment ends with a jump"));
    EXPECT_THAT(errors("FinalPayment", R"([{"X": 1, "Y": 100}])"), IsEmpty());
}

TEST(VanillaTerms, ThatMakeNoContractAreRefused) {
    auto const errors = [](char const* points) {
        Json::Value request = example("vanilla");
        Json::Value& item = request["ContractConfiguration"]["Cliquet"][0];
        item["Payoffs"][0]["Points"] = parse_json(points);
        return price(request).messages("ERROR");
    };
    EXPECT_THAT(errors(R"([{"X": 1, "Y": 0}, {"X": 1, "Y": 1}, {"X": 2, "Y": 2}])"),
                ElementsAre("Payoff starts or ends with a jump"));
    EXPECT_THAT(errors(R"([{"X": 0, "Y": 0}, {"X": 1, "Y": 1}, {"X": 1, "Y": 2}])"),
                ElementsAre("Payoff starts or ends with a jump"));
    EXPECT_THAT(errors(R"([{"X": 1, "Y": 0}])"), IsEmpty());
}

}  // namespace
