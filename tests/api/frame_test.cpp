#include "api/frame.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "core/data/cache.hpp"
#include "core/data/level.hpp"
#include "core/data/perturbation.hpp"
#include "core/data/scenario.hpp"
#include "core/toolbox/containers.hpp"
#include "core/toolbox/errors.hpp"
#include "core/toolbox/log.hpp"
#include "ximAPI/ximAPI.hpp"

namespace ximAPI::Toolkit {
namespace {

using CoreLog = ximCORE::Toolbox::Log;
using ximCORE::Data::MarketDataCache;
using ximCORE::Data::MarketDataScenario;

std::vector<LogLevel> levels_of(std::vector<Log> const& logs) {
    std::vector<LogLevel> levels;
    for (auto const& log : logs) levels.push_back(log.Level);
    return levels;
}

/// A shift of nothing.
ximCORE::Data::MarketDataPerturbationItem make_shift() {
    using ximCORE::Data::MarketDataShift;
    return {std::shared_ptr<ximCORE::Data::IMarketDataPerturbationItem const>{},
            MarketDataShift::Kind::additive, MarketDataShift::Unit::none, 0.0};
}

class Frame : public ::testing::Test {
 protected:
    void SetUp() override { CoreLog::s_get().clear(); }

    bool run(Work const& work) { return request("Name", logs, work); }

    std::vector<Log> logs;
};

TEST_F(Frame, WrapsTheRecordsOfTheWorkInStartAndEnd) {
    EXPECT_TRUE(run([] {
        CoreLog::s_log(CoreLog::Level::WARNING, "of the work");
        return true;
    }));
    ASSERT_EQ(levels_of(logs), (std::vector{LogLevel::INFO, LogLevel::WARNING, LogLevel::SUCCESS}));
    EXPECT_THAT(logs[0].Message, ::testing::StartsWith("Execution of Name started at "));
    EXPECT_EQ(logs[1].Message, "of the work");
    EXPECT_THAT(logs[2].Message, ::testing::StartsWith("Execution of Name ended at "));
    EXPECT_EQ(logs[0].Message.back(), '\n');
    EXPECT_EQ(logs[2].Message.back(), '\n');
}

TEST_F(Frame, EndsAFalseResultAtLevelFailure) {
    EXPECT_FALSE(run([] { return false; }));
    EXPECT_EQ(levels_of(logs), (std::vector{LogLevel::INFO, LogLevel::FAILURE}));
}

TEST_F(Frame, TurnsAnExceptionIntoARecordBehindThoseOfTheWork) {
    EXPECT_FALSE(run([]() -> bool {
        CoreLog::s_log(CoreLog::Level::ERROR, "of the work");
        throw std::runtime_error("x");
    }));
    ASSERT_EQ(levels_of(logs), (std::vector{LogLevel::INFO, LogLevel::ERROR, LogLevel::EXCEPTION,
                                            LogLevel::FAILURE}));
    EXPECT_EQ(logs[2].Message, "x");
}

TEST_F(Frame, NamesAnExceptionThatIsNoneOfTheStandardUnknown) {
    EXPECT_FALSE(run([]() -> bool { throw 1; }));
    ASSERT_EQ(levels_of(logs),
              (std::vector{LogLevel::INFO, LogLevel::EXCEPTION, LogLevel::FAILURE}));
    EXPECT_EQ(logs[1].Message, "Unknown exception");
}

TEST_F(Frame, ReportsAnIndexOutsideAContainerAsSegmentationFault) {
    EXPECT_FALSE(run([] {
        ximCORE::Toolbox::Array1D<double> const array(3);
        return array.get(3) > 0.0;
    }));
    ASSERT_EQ(logs.size(), 3U);
    EXPECT_EQ(logs[1].Level, LogLevel::EXCEPTION);
    EXPECT_EQ(logs[1].Message, "Segmentation fault");
}

TEST_F(Frame, ReportsARefusedConstructionByTheDefaultText) {
    EXPECT_FALSE(run([]() -> bool { throw ximCORE::Toolbox::ConstructorException{}; }));
    EXPECT_EQ(logs.at(1).Message, "std::exception");
}

TEST_F(Frame, EndsAnEmptyWorkAsAnException) {
    EXPECT_FALSE(run(Work{}));
    EXPECT_EQ(levels_of(logs),
              (std::vector{LogLevel::INFO, LogLevel::EXCEPTION, LogLevel::FAILURE}));
    EXPECT_EQ(logs[1].Message, std::bad_function_call{}.what());
}

TEST_F(Frame, KeepsTheRecordsOfTheCallerInFront) {
    logs = {{LogLevel::ERROR, "of the caller"}};
    EXPECT_TRUE(run([] { return true; }));
    ASSERT_EQ(logs.size(), 3U);
    EXPECT_EQ(logs[0].Message, "of the caller");
}

TEST_F(Frame, HandsOverWhatWasLoggedSinceTheLastEnd) {
    CoreLog::s_log(CoreLog::Level::ERROR, "before");
    EXPECT_TRUE(run([] { return true; }));
    EXPECT_EQ(levels_of(logs), (std::vector{LogLevel::ERROR, LogLevel::INFO, LogLevel::SUCCESS}));
    EXPECT_TRUE(CoreLog::s_get().empty());
}

TEST_F(Frame, StartsACallAfterAFailedOneWithAnEmptyLogAndAnEmptyCache) {
    EXPECT_FALSE(run([]() -> bool {
        std::ignore = MarketDataCache::s_get().get_currency("USD", ximCORE::Data::Level::silent);
        MarketDataScenario::s_get().push_back(make_shift());
        throw std::runtime_error("x");
    }));
    EXPECT_TRUE(MarketDataCache::s_get().c_get_currencies().empty());
    EXPECT_TRUE(MarketDataScenario::s_get().c_get_perturbation_items().empty());
    logs.clear();
    bool empty_at_start = false;
    EXPECT_TRUE(run([&] {
        empty_at_start =
            CoreLog::s_get().size() == 1 && MarketDataCache::s_get().c_get_currencies().empty();
        return true;
    }));
    EXPECT_TRUE(empty_at_start);
    EXPECT_EQ(levels_of(logs), (std::vector{LogLevel::INFO, LogLevel::SUCCESS}));
}

TEST_F(Frame, BeginAndEndGiveTheirResults) {
    EXPECT_TRUE(Begin("Name"));
    EXPECT_TRUE(End("Name", true, logs));
    EXPECT_FALSE(End("Name", false, logs));
    EXPECT_EQ(levels_of(logs), (std::vector{LogLevel::INFO, LogLevel::SUCCESS, LogLevel::FAILURE}));
}

TEST(WriteLoggerTest, PrintsALinePerRecordInOrder) {
    ::testing::internal::CaptureStdout();
    WriteLogger({{LogLevel::INFO, "a"}, {LogLevel::ERROR, "100%s"}, {LogLevel::FAILURE, ""}});
    EXPECT_EQ(::testing::internal::GetCapturedStdout(),
              "[INFO] -- a\n[ERROR] -- 100%s\n[FAILURE] -- \n");
}

TEST(WriteLoggerTest, PrintsNothingForNoRecords) {
    ::testing::internal::CaptureStdout();
    WriteLogger({});
    EXPECT_EQ(::testing::internal::GetCapturedStdout(), "");
}

TEST(WriteLoggerTest, RaisesAtALevelOutsideTheSixAfterTheRecordsBefore) {
    ::testing::internal::CaptureStdout();
    std::string text;
    try {
        WriteLogger({{LogLevel::WARNING, "first"}, {static_cast<LogLevel>(6), "second"}});
    } catch (std::runtime_error const& error) {
        text = error.what();
    }
    EXPECT_EQ(text, "Unknown log level");
    EXPECT_EQ(::testing::internal::GetCapturedStdout(), "[WARNING] -- first\n");
}

}  // namespace
}  // namespace ximAPI::Toolkit
