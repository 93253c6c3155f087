#include "api/json/document.hpp"

#include <gtest/gtest.h>
#include <json/value.h>

#include <string>

namespace ximAPI::Toolkit {
namespace {

std::string repeated(std::string const& piece, std::size_t count) {
    std::string text;
    text.reserve(piece.size() * count);
    for (std::size_t index = 0; index < count; ++index) text += piece;
    return text;
}

TEST(Document, KeepsTheCommentsOfMembersThatNothingWrites) {
    Json::Value root;
    std::string error;
    ASSERT_TRUE(parse("{\n // mine\n \"a\": 1\n}", root, error));
    EXPECT_NE(render(root).find("// mine"), std::string::npos);
}

TEST(Document, ThatIsNoJsonLeavesWhatWasReadable) {
    Json::Value root;
    std::string error;
    EXPECT_FALSE(parse("hello", root, error));
    EXPECT_TRUE(root.isNull());
    EXPECT_NE(error, "");
    EXPECT_FALSE(parse("", root, error));
    EXPECT_TRUE(root.isNull());
    EXPECT_FALSE(parse(R"({"a": 1, "b": )", root, error));
    EXPECT_EQ(root["a"].asInt(), 1);
}

TEST(Document, NestedBeyondTheLimitOfJsoncppRaisesItsException) {
    Json::Value root;
    std::string error;
    EXPECT_THROW(std::ignore = parse(repeated("[", 1001).c_str(), root, error), Json::Exception);
}

TEST(Refusal, AcceptsAnOrdinaryDocument) {
    EXPECT_EQ(find_refusal(R"({"a": [1, 2, {"b": "[[[["}], "c": "\"[\\"} // [[[)"), "");
    EXPECT_EQ(find_refusal(""), "");
}

TEST(Refusal, NamesALengthAboveTheLimit) {
    std::string const text(c_document_limit, ' ');
    EXPECT_EQ(find_refusal(text), "");
    EXPECT_EQ(find_refusal(text + " "), "Request longer than 64 MiB");
}

TEST(Refusal, NamesANestingAboveTheLimit) {
    auto const nested = [](std::size_t depth) {
        return repeated("[", depth) + repeated("]", depth);
    };
    EXPECT_EQ(find_refusal(nested(900)), "");
    EXPECT_EQ(find_refusal(nested(901)), "Request nested deeper than 900");
    EXPECT_EQ(find_refusal(repeated(R"({"a":)", 901)), "Request nested deeper than 900");
    EXPECT_EQ(find_refusal(repeated("[]", 5000)), "");
    EXPECT_EQ(find_refusal(repeated("]", 5000) + nested(901)), "Request nested deeper than 900");
}

TEST(Refusal, DoesNotCountBracketsInStringsAndComments) {
    auto const many = repeated("[", 2000);
    EXPECT_EQ(find_refusal("\"" + many + "\""), "");
    EXPECT_EQ(find_refusal("\"\\\"" + many + "\\\\\""), "");
    EXPECT_EQ(find_refusal("// " + many + "\n{}"), "");
    EXPECT_EQ(find_refusal("/* \" " + many + " */ {}"), "");
    EXPECT_EQ(find_refusal("/* // */" + many), "Request nested deeper than 900");
    EXPECT_EQ(find_refusal("// \"\n" + many), "Request nested deeper than 900");
    EXPECT_EQ(find_refusal("\"a\"" + many), "Request nested deeper than 900");
    EXPECT_EQ(find_refusal("\"a\\\\\"" + many), "Request nested deeper than 900");
}

TEST(Refusal, IsNotMisledByTextsThatEndInTheMiddle) {
    for (char const* text : {"\"", "\"\\", "/", "/*", "//", "[\"", "/* *", "\"abc"})
        EXPECT_EQ(find_refusal(text), "");
}

TEST(Refusal, NamesLongArraysFarInside) {
    auto const text = repeated("[", 800) + repeated("0,", 300000) + "0" + repeated("]", 800);
    EXPECT_EQ(find_refusal(text), "Request with a too long answer");
    EXPECT_EQ(find_refusal("[" + repeated("0,", 300000) + "0]"), "");
}

TEST(Refusal, NamesTooManyComments) {
    EXPECT_EQ(find_refusal("[1" + repeated("/**/", 1000) + "]"), "");
    EXPECT_EQ(find_refusal("[1" + repeated("/**/", 100000) + "]"),
              "Request with too many comments");
}

}  // namespace
}  // namespace ximAPI::Toolkit
