#include "core/toolbox/tape.hpp"

#include <gtest/gtest.h>

#include <random>
#include <vector>

#include "support/matchers.hpp"

using namespace ximCORE::Toolbox::AAD;
using ximTest::LogsError;
using ximTest::LogsNothing;

namespace {

TEST(Tape, SweepsAreForwardThenBackward) {
    EXPECT_EQ(static_cast<int>(SweepType::FORWARD), 0);
    EXPECT_EQ(static_cast<int>(SweepType::BACKWARD), 1);
}

TEST(Tape, ValuesPopInTheReverseOrderOfThePushes) {
    Tape tape;
    for (int i = 0; i < 5000; ++i) {  // many blocks
        tape.dpush(i + 0.5);
        tape.bpush(i % 3 == 0);
    }
    for (int i = 4999; i >= 0; --i) {
        double number = 0.0;
        bool flag = false;
        EXPECT_TRUE(tape.dpop(number));
        EXPECT_EQ(tape.bpop(flag), i % 3 == 0);
        EXPECT_EQ(number, i + 0.5);
        EXPECT_EQ(flag, i % 3 == 0);
    }
    EXPECT_TRUE(tape.c_is_empty());
}

TEST(Tape, APopAnswersTheTruthOfWhatItPopped) {
    Tape tape;
    tape.dpush(0.0);
    tape.dpush(-2.0);
    tape.bpush(false);
    double number = 1.0;
    bool flag = true;
    EXPECT_TRUE(tape.dpop(number));
    EXPECT_EQ(number, -2.0);
    EXPECT_FALSE(tape.dpop(number));
    EXPECT_EQ(number, 0.0);
    EXPECT_FALSE(tape.bpop(flag));
    EXPECT_FALSE(flag);
}

TEST(Tape, DoublesAndBooleansDoNotInterfere) {
    Tape tape;
    tape.dpush(1.5);
    tape.bpush(true);
    tape.bpush(false);
    tape.dpush(2.5);
    double number = 0.0;
    bool flag = true;
    EXPECT_THAT([&] { tape.dpop(number); }, LogsNothing());
    EXPECT_EQ(number, 2.5);
    tape.dpop(number);
    EXPECT_EQ(number, 1.5);
    tape.bpop(flag);
    EXPECT_FALSE(flag);
    EXPECT_FALSE(tape.c_is_empty());
    tape.bpop(flag);
    EXPECT_TRUE(flag);
}

TEST(Tape, APopFromAnEmptyStackIsLoggedAndLeavesItsArgument) {
    Tape tape;
    tape.bpush(true);
    double number = 4.5;
    EXPECT_THAT([&] { EXPECT_FALSE(tape.dpop(number)); },
                LogsError("Cannot pop back an empty double stack"));
    EXPECT_EQ(number, 4.5);
    tape.clear();
    bool flag = true;
    EXPECT_THAT([&] { EXPECT_FALSE(tape.bpop(flag)); },
                LogsError("Cannot pop back an empty boolean stack"));
    EXPECT_TRUE(flag);
}

TEST(Tape, AfterClearBothStacksAreEmptyAndUsable) {
    Tape tape;
    for (int i = 0; i < 1000; ++i) {
        tape.dpush(i);
        tape.bpush(true);
    }
    tape.clear();
    EXPECT_TRUE(tape.c_is_empty());
    tape.dpush(3.0);
    double number = 0.0;
    tape.dpop(number);
    EXPECT_EQ(number, 3.0);
}

}  // namespace
