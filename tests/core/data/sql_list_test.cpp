#include "core/data/sql_list.hpp"

#include <gtest/gtest.h>

#include "core/data/api.hpp"

namespace ximCORE::Data {
namespace {

using In = API::GetSpotsIn;

std::string list(std::vector<In> const& requests) {
    std::string out;
    make_string(requests, out, &In::ticker, API::Ticker::c_size);
    return out;
}

TEST(SqlList, QuotesSortsAndJoinsItsTexts) {
    EXPECT_EQ(list({{"", "B"}, {"", "A"}}), "'A', 'B'");
    EXPECT_EQ(list({}), "");
}

TEST(SqlList, HoldsADuplicateOnce) {
    EXPECT_EQ(list({{"d1", "A"}, {"d2", "B"}, {"d3", "A"}}), "'A', 'B'");
}

TEST(SqlList, LeavesOutWhatCouldEndItsQuotes) {
    for (auto const* text : {"A'", "' OR '1'='1", "A\"", "A\\", "A\nB", "\x1F", "\x01"})
        EXPECT_EQ(list({{"", text}, {"", "A"}}), "'A'") << text;
}

TEST(SqlList, LeavesOutWhatNoReplyCouldHold) {
    EXPECT_EQ(list({{"", "ABCDEFGHIJKLMNOP"}, {"", "ABCDEFGHIJKLMNO"}}), "'ABCDEFGHIJKLMNO'");
}

TEST(SqlList, KeepsTheOtherCharactersOfTickers) {
    EXPECT_EQ(list({{"", "^GSPC"}, {"", "EURUSD=X"}, {"", "A%_;--#"}, {"", "caf\xC3\xA9"}}),
              "'A%_;--#', 'EURUSD=X', '^GSPC', 'caf\xC3\xA9'");
}

}  // namespace
}  // namespace ximCORE::Data
