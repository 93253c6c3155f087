#include "core/data/missing.hpp"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

#include "support/matchers.hpp"

namespace ximCORE::Data {
namespace {

using ximTest::LogsError;
using ximTest::LogsNothing;
using ximTest::LogsWarning;
using ximTest::Raises;

struct Owner {
    char const* c_str() const { return "ABC"; }
};

void report(Level level) {
    missing(level, "Cannot find it of '", Owner{});
}

TEST(SetOnce, KeepsTheFirstValue) {
    SetOnce<float> field;
    EXPECT_FALSE(field.has());
    field.set(1.5F);
    field.set(2.5F);
    EXPECT_TRUE(field.has());
    EXPECT_EQ(field.get(), 1.5F);
}

TEST(SetOnce, CountsAnEmptyTextAsAbsent) {
    SetOnce<std::string> field;
    field.set_text("");
    EXPECT_FALSE(field.has());
    field.set_text("first");
    EXPECT_EQ(field.get(), "first");
}

TEST(SetOnce, ShowsAValueThatStillCountsAsMissing) {
    SetOnce<std::string> field("shown", false);
    EXPECT_FALSE(field.has());
    EXPECT_EQ(field.get(), "shown");
    field.set("set");
    EXPECT_EQ(field.get(), "set");
}

TEST(Missing, IsSilentAtLevelSilent) {
    EXPECT_THAT([] { report(Level::silent); }, LogsNothing());
}

TEST(Missing, WritesOneRecordOfTheSeverityOfTheLevel) {
    EXPECT_THAT([] { report(Level::warning); }, LogsWarning("Cannot find it of 'ABC'"));
    EXPECT_THAT([] { report(Level::error); }, LogsError("Cannot find it of 'ABC'"));
}

TEST(Missing, AnswersFalseAtEveryLevel) {
    std::vector<Toolbox::Log::Entry> dropped;
    Toolbox::Log::Collector const collector(dropped);
    for (auto const level : {Level::silent, Level::warning, Level::error})
        EXPECT_FALSE(missing(level, "Cannot find it of '", Owner{}));
}

TEST(Missing, RefusesAnIllegalLevel) {
    EXPECT_THAT([] { report(static_cast<Level>(3)); }, Raises<std::runtime_error>("Unknown error"));
}

}  // namespace
}  // namespace ximCORE::Data
