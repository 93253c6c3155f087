// The text entry: routes, what becomes of the document, and what leaves as an exception.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <json/value.h>
#include <json/writer.h>

#include <stdexcept>
#include <string>
#include <tuple>
#include <vector>

#include "api/json/document.hpp"
#include "api/routes.hpp"
#include "core/toolbox/errors.hpp"
#include "core/toolbox/log.hpp"
#include "ximAPI/ximAPI.hpp"

namespace ximAPI::Toolkit {
namespace {

Json::Value json_of(std::string const& text) {
    Json::Value root;
    std::string error;
    EXPECT_TRUE(parse(text.c_str(), root, error)) << error << text;
    return root;
}

struct Answer {
    bool result{};
    std::string text;
    Json::Value root;
};

Answer call(char const* path, std::string const& in) {
    std::vector<char> out(1U << 20U, '#');
    Answer answer;
    answer.result = ::Request(path, in.c_str(), out.data());
    answer.text = out.data();
    answer.root = json_of(answer.text);
    return answer;
}

class RequestTest : public ::testing::Test {
 protected:
    void SetUp() override { ximCORE::Toolbox::Log::s_get().clear(); }
};

// ---- routes
// ----------------------------------------------------------------------------------------------------------

std::vector<std::string> const c_paths{"/GetModelDiffusion",
                                       "/GetData",
                                       "/GetContract",
                                       "/GetPrice",
                                       "/GetLadder",
                                       "/GetLadder1D",
                                       "/GetLadder2D",
                                       "/GetImpliedContractFeature",
                                       "/GetConnectionStatus",
                                       "/GetStaticReplication1D",
                                       "/GetBlackScholesCalibration",
                                       "/GetBlackScholesTermStructureCalibration",
                                       "/GetModelImpliedVolatility",
                                       "/GetHestonImpliedVolatility",
                                       "/TestImpliedVolatilityComputation",
                                       "/GetMCPriceWithDetails",
                                       "/GetSequence",
                                       "/GetSchedule"};

TEST_F(RequestTest, KnowsEighteenRoutesInTheirOrder) {
    ASSERT_EQ(route_table.size(), c_paths.size());
    for (std::size_t index = 0; index < c_paths.size(); ++index)
        EXPECT_EQ(route_table[index].path, c_paths[index]);
}

TEST_F(RequestTest, FindsARouteByItsExactPathAlone) {
    for (auto const& path : c_paths) EXPECT_EQ(find_route(path.c_str())->path, path);
    for (char const* path :
         {"", "/", "GetPrice", "/getprice", "/GetPrice/", "/GetPrice ", "/GetPric", "/GetPrices"}) {
        EXPECT_EQ(find_route(path), nullptr) << path;
    }
    EXPECT_EQ(find_route(nullptr), nullptr);
}

TEST_F(RequestTest, AnswersAnUnknownPathWithTheParsedInputAndANullLogger) {
    auto const answer = call("/Unknown", R"({"a": [1, {"b": "text"}], "Sequence": {"Size": 3}})");
    EXPECT_FALSE(answer.result);
    EXPECT_EQ(answer.root,
              json_of(R"({"a": [1, {"b": "text"}], "Sequence": {"Size": 3}, "Logger": null})"));
}

TEST_F(RequestTest, ServesEveryRoute) {
    for (auto const& route : route_table) EXPECT_NE(route.run, nullptr) << route.path;
}

TEST_F(RequestTest, AsksForAllFivePartsOfTheReportOnAContract) {
    auto const results = make_record<ContractResults>();
    EXPECT_TRUE(results.WithScript && results.WithUnderlyings && results.WithFixings &&
                results.WithCorrelation && results.WithEvents);
    EXPECT_FALSE(ContractResults{}.WithScript);
}

// ---- the document
// ----------------------------------------------------------------------------------------------------

TEST_F(RequestTest, WritesTheRecordsOfASuccessfulCallBack) {
    auto const answer =
        call("/GetSequence",
             R"({"Sequence": {"Kind": "UNIFORM", "UpperValue": 10, "Size": 3, "x": 1}})");
    EXPECT_TRUE(answer.result);
    EXPECT_EQ(
        answer.root,
        json_of(
            R"({"Sequence": {"Kind": "UNIFORM", "LowerValue": 0.0, "UpperValue": 10.0, "Size": 3, "x": 1,
                                       "Values": [0.0, 5.0, 10.0]}, "Logger": null})"));
}

TEST_F(RequestTest, LeavesEveryMemberOfAFailedCallAsItCame) {
    auto const in =
        R"json({"ContractConfiguration": {"Kind": "CONSOLE", "Script": "no contract", "Date": "2021-05-03"},
        "DataConfiguration": {"Attempts": 1.5}, "Pricer": {"Pricer": {"Price": [{"Value": {"Mean": 7}}]}},
        "PricerConfiguration": {"Method": "MONTE_CARLO"}})json";
    auto answer = call("/GetPrice", in);
    EXPECT_FALSE(answer.result);
    auto const logger = answer.root["Logger"];
    answer.root.removeMember("Logger");
    EXPECT_EQ(answer.root, json_of(in));
    ASSERT_GE(logger.size(), 2U);
    auto const& last = logger[logger.size() - 1];
    EXPECT_EQ(last["Level"].asString(), "FAILURE");
    EXPECT_THAT(last["Message"].asString(),
                ::testing::StartsWith("Execution of GetPrice ended at "));
    EXPECT_EQ(logger[0]["Level"].asString(), "INFO");
}

TEST_F(RequestTest, ReplacesALogThatCameWithTheDocument) {
    for (char const* old :
         {"[]", R"([{"Level": "ERROR", "Message": "old"}])", "12", R"({"a": 1})"}) {
        auto const answer = call("/GetSequence", std::string{R"({"Logger": )"} + old + "}");
        EXPECT_TRUE(answer.result);
        EXPECT_TRUE(answer.root["Logger"].isNull()) << old;
    }
}

TEST_F(RequestTest, KeepsCommentsAndMembersThatTheRouteDoesNotKnow) {
    auto const answer =
        call("/GetSequence", "{\n // of the caller\n \"a\": 1.25,\n \"b\": null\n}");
    EXPECT_NE(answer.text.find("// of the caller"), std::string::npos);
    EXPECT_EQ(answer.root["a"].asDouble(), 1.25);
    EXPECT_TRUE(answer.root.isMember("b"));
}

TEST_F(RequestTest, TakesATextThatIsNoJsonForAnEmptyDocument) {
    for (char const* in : {"", "   ", "hello", "}", "\"", "{", "[", "nul"}) {
        Json::Value root;
        std::string error;
        std::ignore = parse(in, root, error);
        if (!root.isNull() && !root.isObject()) continue;
        auto const answer = call("/GetSequence", in);
        EXPECT_TRUE(answer.result) << in;
        EXPECT_EQ(answer.root["Sequence"]["Kind"].asString(), "UNIFORM") << in;
    }
}

TEST_F(RequestTest, ATextThatIsNoJsonCountsAsWhatWasReadableOfIt) {
    auto const answer = call(
        "/GetSequence", R"({"Sequence": {"Kind": "CONSTANT", "LowerValue": 7, "Size": 2}, "x": )");
    EXPECT_TRUE(answer.result);
    EXPECT_EQ(answer.root["Sequence"]["Values"], json_of("[7.0, 7.0]"));
}

TEST_F(RequestTest, WritesNullForANumberThatIsNotFinite) {
    auto const answer = call(
        "/GetSequence",
        R"({"Sequence": {"Kind": "CHEBYCHEV", "LowerValue": -3e38, "UpperValue": 3e38, "Size": 2}})");
    EXPECT_TRUE(answer.result);
    EXPECT_TRUE(answer.root["Sequence"]["Values"][1].isNull());
}

// ---- calls without a frame
// -------------------------------------------------------------------------------------------

TEST_F(RequestTest, TheRecordOfAFailedScheduleComesOutWithTheNextCallThatTakesALog) {
    auto const answer = call(
        "/GetSchedule",
        R"({"Schedule": {"StartDate": "2024-01-01", "EndDate": "2024-02-01", "DateShift": ""}})");
    EXPECT_FALSE(answer.result);
    EXPECT_TRUE(answer.root["Logger"].isNull());
    EXPECT_FALSE(answer.root["Schedule"].isMember("Dates"));
    auto const next = call("/GetPrice", R"({"ContractConfiguration": {"Kind": "CONSOLE"}})");
    ASSERT_GE(next.root["Logger"].size(), 3U);
    EXPECT_EQ(next.root["Logger"][0]["Level"].asString(), "ERROR");
    EXPECT_EQ(next.root["Logger"][1]["Level"].asString(), "INFO");
}

// ---- exceptions
// ------------------------------------------------------------------------------------------------------

/// The call raises `E` and writes nothing.
template <class E>
void expect_exception(char const* path, char const* in) {
    char out[8] = "as was";
    EXPECT_THROW(std::ignore = ::Request(path, in, out), E);
    EXPECT_STREQ(out, "as was");
}

TEST_F(RequestTest, RaisesForAWrongTypeWithNothingWritten) {
    expect_exception<Json::Exception>("/GetSequence", R"({"Sequence": {"LowerValue": "abc"}})");
    expect_exception<Json::Exception>("/GetSequence", R"({"Sequence": 12})");
    expect_exception<Json::Exception>("/GetSequence", R"({"Sequence": {"Values": [[1]]}})");
    expect_exception<Json::Exception>("/GetData", R"({"Data": "text"})");
}

TEST_F(RequestTest, RaisesForARootThatIsNoObject) {
    for (char const* in : {"[1, 2]", "[]"}) {
        expect_exception<Json::Exception>("/GetSequence", in);
        expect_exception<Json::Exception>("/Unknown", in);
    }
}

TEST_F(RequestTest, RaisesForANestingBeyondTheLimitOfJsoncpp) {
    expect_exception<Json::Exception>("/GetSequence", std::string(1001, '[').c_str());
}

TEST_F(RequestTest, RaisesForANullDocument) {
    expect_exception<std::exception>("/GetSequence", nullptr);
}

TEST_F(RequestTest, RaisesForADateOrAShiftThatDoesNotRead) {
    expect_exception<ximCORE::Toolbox::ConstructorException>(
        "/GetSchedule", R"({"Schedule": {"StartDate": "soon"}})");
    expect_exception<ximCORE::Toolbox::ConstructorException>(
        "/GetSchedule",
        R"({"Schedule": {"StartDate": "2024-01-01", "EndDate": "2024-02-01", "DateShift": "3m"}})");
    expect_exception<std::out_of_range>(
        "/GetSchedule",
        R"({"Schedule": {"StartDate": "2024-01-01", "EndDate": "2024-02-01", "DateShift": "+99999999999d"}})");
}

}  // namespace
}  // namespace ximAPI::Toolkit
