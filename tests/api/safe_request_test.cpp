// The safe text entry: whatever comes in, an answer that is JSON comes out.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <json/value.h>
#include <json/writer.h>

#include <random>
#include <string>
#include <vector>

#include "api/json/document.hpp"
#include "core/toolbox/log.hpp"
#include "ximAPI/ximAPI.hpp"

namespace ximAPI::Toolkit {
namespace {

struct Answer {
    bool result{};
    bool is_json{};
    std::string text;
    Json::Value root;

    [[nodiscard]] std::string level() const { return root["Logger"][0]["Level"].asString(); }
    [[nodiscard]] std::string message() const { return root["Logger"][0]["Message"].asString(); }
};

Answer call(char const* path, char const* in) {
    Answer answer;
    char* out = nullptr;
    answer.result = RequestSafely(path, in, &out);
    EXPECT_NE(out, nullptr);
    answer.text = out;
    ReleaseAnswer(out);
    std::string error;
    answer.is_json = parse(answer.text.c_str(), answer.root, error) && answer.root.isObject();
    return answer;
}

void expect_refusal(char const* path, char const* in, std::string const& message) {
    auto const answer = call(path, in);
    EXPECT_FALSE(answer.result);
    EXPECT_TRUE(answer.is_json);
    ASSERT_EQ(answer.root["Logger"].size(), 1U);
    EXPECT_EQ(answer.level(), "ERROR");
    EXPECT_EQ(answer.message(), message);
}

class SafeRequest : public ::testing::Test {
 protected:
    void SetUp() override { ximCORE::Toolbox::Log::s_get().clear(); }
};

TEST_F(SafeRequest, AnswersAsRequestDoes) {
    // path | document
    std::vector<std::pair<char const*, char const*>> const calls{
        {"/GetSequence", "{}"},
        {"/GetSequence",
         R"({"Sequence": {"Kind": "CHEBYCHEV", "LowerValue": 1, "UpperValue": 2, "Size": 5}, "a": 1})"},
        {"/GetSequence", "{\n// of the caller\n\"a\": [1]}"},
        {"/GetSchedule",
         R"({"Schedule": {"StartDate": "2024-01-01", "EndDate": "2024-02-01", "DateShift": "+1m"}})"},
        {"/GetSchedule",
         R"({"Schedule": {"StartDate": "2024-03-01", "EndDate": "2024-02-01", "DateShift": "+1m"}})"},
    };
    for (auto const& [path, in] : calls) {
        std::vector<char> out(1U << 16U);
        bool const result = ::Request(path, in, out.data());
        auto const answer = call(path, in);
        EXPECT_EQ(answer.result, result) << in;
        EXPECT_EQ(answer.text, out.data());
    }
}

TEST_F(SafeRequest, RefusesNullArguments) {
    expect_refusal(nullptr, "{}", "Request without path");
    expect_refusal("/GetSequence", nullptr, "Request without document");
    EXPECT_FALSE(RequestSafely("/GetSequence", "{}", nullptr));
    ReleaseAnswer(nullptr);
}

TEST_F(SafeRequest, NamesAnUnknownPathAndKeepsTheDocument) {
    expect_refusal("/Unknown", R"({"a": 1})", "Unknown path /Unknown");
    expect_refusal("", "{}", "Unknown path ");
    expect_refusal("/GetNothing", "{}", "Unknown path /GetNothing");
    EXPECT_EQ(call("/Unknown", R"({"a": 1})").root["a"].asInt(), 1);
}

TEST_F(SafeRequest, RefusesADocumentThatIsNoJsonAndRunsNothing) {
    for (char const* in : {"", "   ", "hello", "{", "[", "\"", R"({"Sequence": {"Size": 2}, )",
                           "\xff\xfe", "{]", "nul"}) {
        auto const answer = call("/GetSequence", in);
        EXPECT_FALSE(answer.result) << in;
        EXPECT_TRUE(answer.is_json) << in;
        EXPECT_EQ(answer.level(), "ERROR");
        EXPECT_THAT(answer.message(), ::testing::StartsWith("Cannot read request: "));
        EXPECT_FALSE(answer.root["Sequence"].isMember("Values"));
    }
}

TEST_F(SafeRequest, RefusesADocumentThatIsTooLongOrTooDeep) {
    expect_refusal("/GetSequence", std::string(c_document_limit + 1, ' ').c_str(),
                   "Request longer than 64 MiB");
    expect_refusal("/GetSequence", std::string(901, '[').c_str(), "Request nested deeper than 900");
    expect_refusal("/GetSequence", std::string(10'000'000, '[').c_str(),
                   "Request nested deeper than 900");
}

TEST_F(SafeRequest, AnswersADocumentAtTheLimitOfNesting) {
    auto const deep = std::string(899, '[') + std::string(899, ']');
    auto const answer = call("/GetSequence", ("{\"a\": " + deep + "}").c_str());
    EXPECT_TRUE(answer.result) << answer.text.substr(0, 200);
    EXPECT_TRUE(answer.is_json);
}

TEST_F(SafeRequest, TurnsAnExceptionIntoARecordAndKeepsTheDocument) {
    // path | document
    std::vector<std::pair<char const*, char const*>> const calls{
        {"/GetSequence", R"({"Sequence": {"LowerValue": "abc"}, "a": 1})"},
        {"/GetSequence", R"({"Sequence": 12, "a": 1})"},
        {"/GetSequence", R"({"Sequence": {"Size": 1e300}, "a": 1})"},
        {"/GetSequence", R"({"Sequence": {"Size": 2147483647}, "a": 1})"},
        {"/GetPrice", R"({"ContractConfiguration": {"Date": {}}, "a": 1})"},
        {"/GetPrice", R"({"Pricer": [], "a": 1})"},
        {"/GetSchedule", R"({"Schedule": {"StartDate": "soon"}, "a": 1})"},
    };
    for (auto const& [path, in] : calls) {
        auto const answer = call(path, in);
        EXPECT_FALSE(answer.result) << in;
        EXPECT_EQ(answer.root["a"].asInt(), 1) << in;
        ASSERT_EQ(answer.root["Logger"].size(), 1U) << in;
        EXPECT_EQ(answer.level(), "EXCEPTION");
        EXPECT_NE(answer.message(), "");
    }
}

TEST_F(SafeRequest, AnswersARootThatIsNoObjectByAnObjectWithTheLog) {
    for (char const* in : {"[1, 2]", "[]"}) {
        auto const answer = call("/GetSequence", in);
        EXPECT_FALSE(answer.result);
        EXPECT_TRUE(answer.is_json);
        EXPECT_EQ(answer.level(), "EXCEPTION");
        EXPECT_EQ(answer.root.size(), 1U);
    }
    EXPECT_TRUE(call("/GetSequence", "null").result);
}

TEST_F(SafeRequest, AnswersAnyMutilatedDocumentByJson) {
    std::string const whole =
        R"({"Sequence": {"Kind": "UNIFORM", "LowerValue": 1.5, "Size": 3, "UpperValue": 2, "Values": [1, 2]}, /* c */
            "Schedule": {"StartDate": "2024-01-01", "EndDate": "2024-03-01", "DateShift": "+1m", "Dates": ["x\n"]}})";
    std::string const pieces = "{}[]\",:0159-+eE.nulltruefalse\\/* \t\nSzeé";
    std::mt19937_64 random{5};
    auto const below = [&](std::size_t n) {
        return std::uniform_int_distribution<std::size_t>{0, n - 1}(random);
    };
    for (int round = 0; round < 3000; ++round) {
        auto text = whole;
        for (auto count = 1 + below(4); count > 0; --count) {
            auto const at = below(text.size());
            if (below(3) == 0) {
                text.erase(at, below(20));
            } else {
                text[at] = pieces[below(pieces.size())];
            }
            if (text.empty()) text = "{";
        }
        EXPECT_TRUE(call(round % 2 == 0 ? "/GetSequence" : "/GetSchedule", text.c_str()).is_json)
            << text;
    }
}

}  // namespace
}  // namespace ximAPI::Toolkit
