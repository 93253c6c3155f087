#include "dsl/script/arguments.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

namespace {

using namespace ximAPI::Toolkit;
using Texts = std::vector<std::string_view>;
using testing::ElementsAre;

/// The arguments of the bracket at `open`, or none and the answer -1.
std::pair<std::ptrdiff_t, Texts> arguments_of(std::string_view text, std::size_t open = 0) {
    Texts arguments;
    auto const count = Brackets(text).parse_args(open, arguments);
    return {count, arguments};
}

TEST(ParseArgs, SplitsAtTheCommasDirectlyInside) {
    EXPECT_THAT(arguments_of("(a,b(c,d),(e))rest(f)").second, ElementsAre("a", "b(c,d)", "(e)"));
    EXPECT_EQ(arguments_of("(a,b(c,d),(e))rest(f)").first, 3);
    EXPECT_THAT(arguments_of("x(1,2)", 1).second, ElementsAre("1", "2"));
}

TEST(ParseArgs, AnEmptyBracketHoldsOneEmptyArgument) {
    EXPECT_EQ(arguments_of("()"), (std::pair<std::ptrdiff_t, Texts>{1, {""}}));
    EXPECT_THAT(arguments_of("(,)").second, ElementsAre("", ""));
}

TEST(ParseArgs, ABracketThatNeverClosesAnswersMinusOne) {
    for (auto const* text : {"", "(", "(a", "(a,b", "((a)", "(a,(b)"})
        EXPECT_EQ(arguments_of(text).first, -1) << text;
    EXPECT_EQ(arguments_of("a(b)").first, -1);
    EXPECT_EQ(arguments_of("(a)", 7).first, -1);
}

TEST(ParseArgs, OnlyRoundBracketsCount) {
    EXPECT_THAT(arguments_of("({a,b},[c,d])").second, ElementsAre("{a", "b}", "[c", "d]"));
}

TEST(ParseArgs, AddsToWhatTheListHolds) {
    Texts arguments{"before"};
    EXPECT_EQ(Brackets("(a,b)").parse_args(0, arguments), 3);
    EXPECT_THAT(arguments, ElementsAre("before", "a", "b"));
}

TEST(ParseArgs, AClosingBracketWithoutPartnerIsAPlainCharacter) {
    EXPECT_THAT(arguments_of(")(a)", 1).second, ElementsAre("a"));
}

TEST(Brackets, DepthCountsTheOpenOnes) {
    EXPECT_EQ(Brackets("").c_get_depth(), 0u);
    EXPECT_EQ(Brackets("()()").c_get_depth(), 1u);
    EXPECT_EQ(Brackets(")((a)(b(").c_get_depth(), 3u);
}

}  // namespace
