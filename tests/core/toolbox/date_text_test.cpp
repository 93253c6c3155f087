#include "core/toolbox/date_text.hpp"

#include <gtest/gtest.h>

#include <array>
#include <optional>
#include <random>
#include <regex>
#include <string>
#include <vector>

#include "support/matchers.hpp"

using namespace ximCORE::Toolbox;

namespace {

/// The four forms as expressions, and the groups of year, month and day in each.
struct Form {
    std::regex expression;
    std::size_t year;
    std::size_t month;
    std::size_t day;
};

std::vector<Form> const& forms() {
    static std::string const months = "(Jan|Feb|Mar|Apr|May|Jun|Jul|Aug|Sep|Oct|Nov|Dec)";
    static std::vector<Form> const forms{
        {std::regex("([0-9]+)-([0-9]{1,2})-([0-9]{1,2})"), 1, 2, 3},
        {std::regex(
             "([0-9]+)-([0-9]{1,2})-([0-9]{1,2}) ([0-9]{1,2})[:]([0-9]{1,2})[:]([0-9]{1,2})"),
         1, 2, 3},
        {std::regex(months + " ([1-9]{1,2}), ([0-9]+)"), 3, 1, 2},
        {std::regex(
             "(Mon|Tue|Wed|Thu|Fri|Sat|Sun)[ \t]+" + months +
             "[ \t]+([0-9]{1,2})[ \t]+([0-9]{2})[:]([0-9]{2})[:]([0-9]{2})[ \t]+([0-9]+)[ \n]+"),
         7, 2, 3},
    };
    return forms;
}

std::optional<DateFields> read_by_expression(std::string const& text) {
    for (Form const& form : forms()) {
        std::smatch match;
        if (std::regex_match(text, match, form.expression)) {
            std::string const month = match[form.month];
            unsigned char const named = get_month_from_abreviated_month(month);
            try {
                return DateFields{std::stoi(match[form.year]),
                                  named != 0 ? named : std::stoi(month),
                                  std::stoi(match[form.day])};
            } catch (std::out_of_range const&) {
                return std::nullopt;
            }
        }
    }
    return std::nullopt;
}

/// A text that reads, with up to three characters replaced, left out, doubled or put in.
std::string mutate(std::string text, std::string const& alphabet, std::mt19937& random) {
    for (unsigned count = static_cast<unsigned>(random() % 4); count > 0 && !text.empty();
         --count) {
        std::size_t const position = random() % text.size();
        char const letter = alphabet[random() % alphabet.size()];
        switch (random() % 4) {
            case 0:
                text[position] = letter;
                break;
            case 1:
                text.erase(position, 1);
                break;
            case 2:
                text.insert(position, 1, text[position]);
                break;
            default:
                text.insert(position, 1, letter);
                break;
        }
    }
    return text;
}

void expect_same(std::string const& text) {
    std::optional<DateFields> const expected = read_by_expression(text);
    std::optional<DateFields> const actual = read_date_text(text);
    ASSERT_EQ(actual.has_value(), expected.has_value()) << '"' << text << '"';
    if (expected) {
        EXPECT_EQ(actual->year, expected->year) << text;
        EXPECT_EQ(actual->month, expected->month) << text;
        EXPECT_EQ(actual->day, expected->day) << text;
    }
}

TEST(DateText, AcceptsExactlyWhatTheExpressionsAccept) {
    std::array<std::string, 7> const seeds{"2024-3-5",
                                           "2024-12-31",
                                           "2024-03-05 10:20:30",
                                           "24-1-1 1:2:3",
                                           "Mar 15, 2024",
                                           "Wed Mar  6 10:20:30 2024\n",
                                           "Sun\tSep \t16\t10:20:30 99999999 \n\n"};
    std::mt19937 random(8);
    int accepted = 0;
    for (int i = 0; i < 6000; ++i) {
        std::string const text =
            mutate(seeds[random() % seeds.size()], "0123456789-: ,\t\nMarSepWd", random);
        ASSERT_NO_FATAL_FAILURE(expect_same(text));
        accepted += read_date_text(text).has_value() ? 1 : 0;
    }
    EXPECT_GT(accepted, 1500);  // both answers are met often
    EXPECT_LT(accepted, 5000);
}

TEST(DateText, AcceptsNoTextOfChanceThatTheExpressionsRefuse) {
    std::mt19937 random(9);
    for (int i = 0; i < 6000; ++i) {
        std::string text;
        for (unsigned length = static_cast<unsigned>(random() % 12); length > 0; --length) {
            text += "01239--: ,\n"[random() % 11];
        }
        ASSERT_NO_FATAL_FAILURE(expect_same(text));
    }
}

TEST(DateText, EveryMonthAndDayOfTheWeekIsKnown) {
    std::string const months[]{"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                               "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
    std::string const days[]{"Mon", "Tue", "Wed", "Thu", "Fri", "Sat", "Sun"};
    int number = 0;
    for (std::string const& month : months) {
        EXPECT_EQ(get_month_from_abreviated_month(month), ++number);
        expect_same(month + " 5, 2024");
        for (std::string const& day : days) {
            expect_same(day + " " + month + " 5 10:20:30 2024\n");
            EXPECT_TRUE(read_date_text(day + " " + month + " 5 10:20:30 2024\n"));
        }
    }
    EXPECT_EQ(get_month_from_abreviated_month("Sept"), 0);
    EXPECT_EQ(get_month_from_abreviated_month(""), 0);
}

TEST(DateText, AZeroByteIsNoEnd) {
    EXPECT_FALSE(read_date_text(std::string("2024-01-01\0", 11)));
    EXPECT_FALSE(read_date_text(std::string("2024-01-01\0x", 12)));
}

TEST(ShiftText, AcceptsExactlyWhatTheExpressionAccepts) {
    std::regex const expression("(\\+|\\-)([0-9]+)(d|m|y|bd)");
    std::mt19937 random(10);
    int accepted = 0;
    for (int i = 0; i < 10'000; ++i) {
        std::string const seed = std::string(1, "+-"[random() % 2]) +
                                 std::to_string(random() % 1000) +
                                 (std::array<std::string, 4>{"d", "m", "y", "bd"})[random() % 4];
        std::string const text = mutate(seed, "+-0123456789dmybDMw ", random);
        std::smatch match;
        bool const expected = std::regex_match(text, match, expression);
        std::optional<ShiftText> const actual = read_shift_text(text);
        ASSERT_EQ(actual.has_value(), expected) << '"' << text << '"';
        if (expected) {
            EXPECT_EQ(std::string(1, actual->sign), match[1].str());
            EXPECT_EQ(actual->count, match[2].str());
            EXPECT_EQ(actual->unit, match[3].str());
            ++accepted;
        }
    }
    EXPECT_GT(accepted, 2500);
    EXPECT_LT(accepted, 9000);
}

TEST(Digits, StopAtTheLargestNumberOf32Bits) {
    EXPECT_EQ(read_digits("2147483647"), 2147483647);
    EXPECT_EQ(read_digits("0000000000000000012"), 12);
    EXPECT_EQ(read_digits("2147483648"), std::nullopt);
    EXPECT_EQ(read_digits(""), std::nullopt);
}

}  // namespace
