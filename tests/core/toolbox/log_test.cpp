#include "core/toolbox/log.hpp"

#include <gtest/gtest.h>

#include <thread>

#include "support/matchers.hpp"

using namespace ximCORE::Toolbox;

namespace {

/// Empties the log of the process before and after each case.
class LogTest : public testing::Test {
 protected:
    LogTest() { Log::s_get().clear(); }
    ~LogTest() override { Log::s_get().clear(); }
};

TEST_F(LogTest, LevelsStandInTheOrderOfTheirNumbers) {
    using enum Log::Level;
    int expected = 0;
    for (Log::Level const level : {INFO, WARNING, ERROR, EXCEPTION, SUCCESS, FAILURE}) {
        EXPECT_EQ(static_cast<int>(level), expected++);
    }
}

TEST_F(LogTest, AddingReturnsTheWholeSequence) {
    std::stringstream first;
    first << "a " << 1;
    std::stringstream second;
    second << "several\nlines\n";
    Log::s_add(Log::Level::INFO, first);
    std::vector<Log::Entry> const& entries = Log::s_add(Log::Level::FAILURE, second);
    ASSERT_EQ(entries.size(), 2U);
    EXPECT_EQ(entries[0].level, Log::Level::INFO);
    EXPECT_EQ(entries[0].text, "a 1");
    EXPECT_EQ(entries[1].level, Log::Level::FAILURE);
    EXPECT_EQ(entries[1].text, "several\nlines\n");
    EXPECT_EQ(&entries, &Log::s_get());
}

TEST_F(LogTest, TheTextIsTheStreamsContentAtThatMoment) {
    std::stringstream stream;
    stream << "before";
    Log::s_add(Log::Level::INFO, stream);
    stream << " and after";
    EXPECT_EQ(Log::s_get().back().text, "before");
}

TEST_F(LogTest, PartsAreStreamedIntoOneRecord) {
    Log::s_log(Log::Level::WARNING, "x = ", 2, ", y = ", 0.5);
    ASSERT_EQ(Log::s_get().size(), 1U);
    EXPECT_EQ(Log::s_get().front().text, "x = 2, y = 0.5");
}

TEST_F(LogTest, ACollectorTakesTheRecordsOfItsThreadAlone) {
    std::vector<Log::Entry> collected;
    std::thread worker([&] {
        Log::Collector const collector(collected);
        Log::s_log(Log::Level::ERROR, "from the worker");
    });
    worker.join();
    EXPECT_TRUE(Log::s_get().empty());
    Log::s_log(Log::Level::INFO, "from the caller");
    Log::s_append(collected);
    ASSERT_EQ(Log::s_get().size(), 2U);
    EXPECT_EQ(Log::s_get()[0].text, "from the caller");
    EXPECT_EQ(Log::s_get()[1].text, "from the worker");
}

TEST_F(LogTest, CollectorsOfOneThreadNest) {
    std::vector<Log::Entry> outer;
    std::vector<Log::Entry> inner;
    {
        Log::Collector const outer_collector(outer);
        {
            Log::Collector const inner_collector(inner);
            Log::s_log(Log::Level::INFO, "inner");
        }
        Log::s_log(Log::Level::INFO, "outer");
    }
    EXPECT_EQ(inner.size(), 1U);
    ASSERT_EQ(outer.size(), 1U);
    EXPECT_EQ(outer.front().text, "outer");
    EXPECT_TRUE(Log::s_get().empty());
}

TEST_F(LogTest, ACollectorWithALimitKeepsTheFirstRecords) {
    std::vector<Log::Entry> collected;
    std::vector<Log::Entry> const others{{Log::Level::INFO, "b"}, {Log::Level::INFO, "c"}};
    {
        Log::Collector const collector(collected, 2);
        Log::s_log(Log::Level::ERROR, "a");
        {
            std::vector<Log::Entry> inner;
            Log::Collector const unlimited(inner);
            for (int i = 0; i < 5; ++i) Log::s_log(Log::Level::INFO, i);
            EXPECT_EQ(inner.size(), 5U);
        }
        Log::s_append(others);
        Log::s_log(Log::Level::ERROR, "d");
        Log::s_append(others);
    }
    ASSERT_EQ(collected.size(), 2U);
    EXPECT_EQ(collected[0].text, "a");
    EXPECT_EQ(collected[1].text, "b");
    for (int i = 0; i < 5; ++i) Log::s_log(Log::Level::INFO, "unlimited again");
    EXPECT_EQ(Log::s_get().size(), 5U);
}

}  // namespace
