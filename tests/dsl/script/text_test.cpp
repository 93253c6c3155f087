#include "dsl/script/text.hpp"

#include <gtest/gtest.h>

#include <limits>
#include <locale>
#include <regex>

#include "support/matchers.hpp"

namespace {

using namespace ximAPI::Toolkit;
using ximTest::Raises;

TEST(CleanScript, RemovesWhatTheExpressionOfBlanksAndQuotesMatches) {
    std::regex const decoration("[\\s\"]+");
    std::string every;
    for (int character = 1; character < 256; ++character)
        every += std::string("a") + static_cast<char>(character);
    EXPECT_EQ(clean_script(every), std::regex_replace(every, decoration, ""));
    EXPECT_EQ(clean_script(""), "");
    EXPECT_EQ(clean_script("  \"\" \n"), "");
}

TEST(CleanScript, ALongTextIsNoBurden) {
    std::string const blanks(5'000'000, ' ');
    EXPECT_EQ(clean_script(blanks + "End()" + blanks), "End()");
}

TEST(CleanScript, OffsetsPointBackIntoTheScript) {
    std::string const script = " E\"n\td( )";
    auto const offsets = get_offsets(script);
    auto const cleaned = clean_script(script);
    ASSERT_EQ(offsets.size(), cleaned.size());
    for (std::size_t i = 0; i < cleaned.size(); ++i) EXPECT_EQ(script[offsets[i]], cleaned[i]);
}

TEST(ReadNumber, TakesWhatStandsAtTheStart) {
    EXPECT_EQ(read_number("1.5"), 1.5f);
    EXPECT_EQ(read_number("-1.5"), -1.5f);
    EXPECT_EQ(read_number("+1e-3"), 0.001f);
    EXPECT_EQ(read_number(" 2x"), 2.0f);
    EXPECT_EQ(read_number("0x10"), 16.0f);
    EXPECT_EQ(read_number("inf"), std::numeric_limits<float>::infinity());
    EXPECT_TRUE(std::isnan(read_number("nan")));
    std::size_t length{};
    std::ignore = read_number("12.5%", &length);
    EXPECT_EQ(length, 4u);
}

TEST(ReadNumber, RaisesTheTextStof) {
    for (auto const* text : {"", "x", "-", "e5", "(1)"}) {
        EXPECT_THAT([&] { std::ignore = read_number(text); }, Raises<std::invalid_argument>("stof"))
            << text;
    }
    EXPECT_THAT([] { std::ignore = read_number("1e39"); }, Raises<std::out_of_range>("stof"));
    EXPECT_THAT([] { std::ignore = read_number("-1e39"); }, Raises<std::out_of_range>("stof"));
}

TEST(ReadNumber, AgreesWithTheStandardConversion) {
    for (auto const* text : {"1", "1.", ".5", "1e", "1e+", "1e38", "3.4028235e38", "1e-40", "1e-46",
                             "0x1p3", "infinity", "NAN", "1_0", "--1"}) {
        auto const outcome = [&](auto const& convert) -> std::string {
            try {
                return std::to_string(convert());
            } catch (std::exception const& error) {
                return error.what();
            }
        };
        EXPECT_EQ(outcome([&] { return read_number(text); }),
                  outcome([&] { return std::stof(text); }))
            << text;
    }
}

TEST(ReadDigits, NeverFails) {
    EXPECT_EQ(read_digits("1.25"), 1.25f);
    EXPECT_EQ(read_digits("1."), 1.0f);
    EXPECT_EQ(read_digits(std::string(100, '9')), std::numeric_limits<float>::infinity());
}

}  // namespace
