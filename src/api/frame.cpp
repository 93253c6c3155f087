#include "api/frame.hpp"

#include <cstdio>
#include <ctime>
#include <exception>
#include <sstream>
#include <stdexcept>

#include "api/json/texts.hpp"
#include "core/data/cache.hpp"
#include "core/data/scenario.hpp"
#include "core/toolbox/log.hpp"
#include "ximAPI/ximAPI.hpp"

namespace ximAPI::Toolkit {

namespace {

using CoreLog = ximCORE::Toolbox::Log;

static_assert(static_cast<int>(CoreLog::Level::FAILURE) == static_cast<int>(LogLevel::FAILURE));

/// The local time with the newline of `ctime`; null if it has none.
char const* local_time() {
    std::time_t const now = std::time(nullptr);
    return std::ctime(&now);
}

/// Moves the log of the process behind what `logs` holds.
void hand_over(std::vector<Log>& logs) {
    auto& entries = CoreLog::s_get();
    for (auto const& entry : entries) {
        logs.push_back({static_cast<LogLevel>(entry.level), entry.text});
    }
    entries.clear();
}

}  // namespace

bool Begin(std::string_view name) {
    std::stringstream stream;
    stream << "Execution of " << name << " started at " << local_time();
    CoreLog::s_add(CoreLog::Level::INFO, stream);
    return true;
}

bool End(std::string_view name, bool result, std::vector<Log>& logs) {
    std::stringstream stream;
    stream << "Execution of " << name << " ended at " << local_time();
    CoreLog::s_add(result ? CoreLog::Level::SUCCESS : CoreLog::Level::FAILURE, stream);
    hand_over(logs);
    // The scenarios first: their items would otherwise look into an empty cache.
    ximCORE::Data::MarketDataScenario::s_get().clear();
    ximCORE::Data::MarketDataCache::s_get().clear();
    return result;
}

bool request(std::string_view name, std::vector<Log>& logs, Work const& work) {
    if (!Begin(name)) return End(name, false, logs);
    bool result = false;
    try {
        result = work();
    } catch (...) {
        CoreLog::s_log(CoreLog::Level::EXCEPTION, current_exception_text());
    }
    return End(name, result, logs);
}

std::string current_exception_text() {
    try {
        throw;
    } catch (std::exception const& exception) {
        return exception.what();
    } catch (...) {
        return "Unknown exception";
    }
}

}  // namespace ximAPI::Toolkit

void WriteLogger(std::vector<ximAPI::Log> const& logs) {
    for (auto const& log : logs) {
        auto const level = ximAPI::Toolkit::to_text(log.Level);
        if (level.empty()) throw std::runtime_error("Unknown log level");
        std::printf("[%s] -- %s\n", level.data(), log.Message.c_str());
    }
}
