// Matchers that every suite uses: relative nearness, records in the log, exceptions.
#pragma once

#include <gmock/gmock.h>

#include <cmath>
#include <exception>
#include <ostream>
#include <string>
#include <typeinfo>
#include <utility>
#include <vector>

#include "core/toolbox/log.hpp"

namespace ximTest {

using ximCORE::Toolbox::Log;

/// The records that `call` adds to the log, in order. None reaches the log of the process, and an
/// exception of the call ends it quietly: its kind is the affair of `Raises`.
template <class Call>
std::vector<Log::Entry> records_of(Call const& call) {
    std::vector<Log::Entry> entries;
    Log::Collector const collector(entries);
    try {
        call();
    } catch (std::exception const&) {
        return entries;
    }
    return entries;
}

/// The texts of those among them that have `level`.
template <class Call>
std::vector<std::string> texts_of(Log::Level level, Call const& call) {
    std::vector<std::string> texts;
    for (Log::Entry& entry : records_of(call)) {
        if (entry.level == level) {
            texts.push_back(std::move(entry.text));
        }
    }
    return texts;
}

/// |actual - expected| is not above `tolerance` times |expected|; 0 is near itself alone, NaN near
/// nothing.
MATCHER_P2(IsNearRel, expected, tolerance,
           (negation ? "is not" : "is") + std::string(" within ") +
               testing::PrintToString(tolerance) + " (relative) of " +
               testing::PrintToString(expected)) {
    double const difference = static_cast<double>(arg) - static_cast<double>(expected);
    *result_listener << "relative difference "
                     << difference / std::abs(static_cast<double>(expected));
    return std::abs(difference) <= tolerance * std::abs(static_cast<double>(expected));
}

/// EXPECT_THAT([&] { ... }, LogsError("Cannot ...")): the call adds exactly one ERROR record, and
/// this is its text. Records of other levels and an exception of the call are not looked at.
MATCHER_P(LogsError, text,
          (negation ? "does not log" : "logs") + std::string(" one error: ") + text) {
    std::vector<std::string> const texts = texts_of(Log::Level::ERROR, arg);
    *result_listener << "errors logged: " << testing::PrintToString(texts);
    return texts.size() == 1 && texts.front() == text;
}

/// EXPECT_THAT([&] { ... }, LogsWarning("...")): the same of level WARNING.
MATCHER_P(LogsWarning, text,
          (negation ? "does not log" : "logs") + std::string(" one warning: ") + text) {
    std::vector<std::string> const texts = texts_of(Log::Level::WARNING, arg);
    *result_listener << "warnings logged: " << testing::PrintToString(texts);
    return texts.size() == 1 && texts.front() == text;
}

/// EXPECT_THAT([&] { ... }, LogsNothing()): the call adds no record of any level.
MATCHER(LogsNothing, negation ? "logs something" : "logs nothing") {
    std::vector<Log::Entry> const entries = records_of(arg);
    if (!entries.empty()) {
        *result_listener << "first of " << entries.size() << " records: " << entries.front().text;
    }
    return entries.empty();
}

/// The call ends with an exception of exactly this class, and of this text if one is given. Its
/// records are dropped.
template <class Exception>
class RaisesMatcher {
 public:
    using is_gtest_matcher = void;

    RaisesMatcher() = default;
    explicit RaisesMatcher(std::string text) : m_has_text(true), m_text(std::move(text)) {}

    template <class Call>
    bool MatchAndExplain(Call const& call, std::ostream* listener) const {
        std::vector<Log::Entry> dropped;
        Log::Collector const collector(dropped);
        try {
            call();
        } catch (std::exception const& caught) {
            if (listener != nullptr) {
                *listener << "raised " << typeid(caught).name() << " (" << caught.what() << ")";
            }
            return typeid(caught) == typeid(Exception) && (!m_has_text || m_text == caught.what());
        }
        if (listener != nullptr) {
            *listener << "raised nothing";
        }
        return false;
    }
    void DescribeTo(std::ostream* out) const {
        *out << "raises " << typeid(Exception).name() << " " << m_text;
    }
    void DescribeNegationTo(std::ostream* out) const {
        *out << "does not raise " << typeid(Exception).name() << " " << m_text;
    }

 private:
    bool m_has_text{false};
    std::string m_text;
};

/// EXPECT_THAT([&] { ... }, Raises<ConstructorException>())
template <class Exception>
RaisesMatcher<Exception> Raises() {
    return RaisesMatcher<Exception>{};
}
/// EXPECT_THAT([&] { ... }, Raises<std::runtime_error>("Unknown error"))
template <class Exception>
RaisesMatcher<Exception> Raises(std::string text) {
    return RaisesMatcher<Exception>(std::move(text));
}

}  // namespace ximTest
