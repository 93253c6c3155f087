#include "core/data/text_field.hpp"

#include <gtest/gtest.h>

#include <string>

#include "support/matchers.hpp"

namespace ximCORE::Data {
namespace {

using ximTest::LogsNothing;
using ximTest::LogsWarning;

TEST(TextField, StartsEmptyAndUnset) {
    TextField<4> field;
    EXPECT_FALSE(field.has());
    EXPECT_STREQ(field.c_str(), "");
}

TEST(TextField, KeepsTheFirstText) {
    TextField<4> field;
    field.set("EUR");
    field.set("USD");
    EXPECT_STREQ(field.c_str(), "EUR");
}

TEST(TextField, DoesNotStoreATextThatDoesNotFit) {
    TextField<4> field;
    EXPECT_THAT([&] { field.set("EURO"); }, LogsWarning("Text too long: EURO"));
    EXPECT_FALSE(field.has());
    EXPECT_STREQ(field.c_str(), "");
}

TEST(TextField, CutsANameAtItsWidth) {
    TextField<32> field;
    EXPECT_THAT([&] { field.set_cut(std::string(40, 'x')); }, LogsNothing());
    EXPECT_EQ(std::string(field.c_str()), std::string(31, 'x'));
}

TEST(TextField, NeverCutsACharacter) {
    // U+00E9 has two bytes, U+20AC three, U+1F600 four.
    EXPECT_EQ(cut_at_character("ab\xC3\xA9", 3), "ab");
    EXPECT_EQ(cut_at_character("ab\xC3\xA9", 4), "ab\xC3\xA9");
    EXPECT_EQ(cut_at_character("a\xE2\x82\xAC"
                               "b",
                               3),
              "a");
    EXPECT_EQ(cut_at_character("\xF0\x9F\x98\x80", 3), "");
}

}  // namespace
}  // namespace ximCORE::Data
