#include "core/toolbox/log.hpp"

#include <utility>

namespace ximCORE::Toolbox {

namespace {

thread_local std::vector<Log::Entry>* t_collected =
    nullptr;  // where this thread's records go; null: the process' log

}  // namespace

std::vector<Log::Entry>& Log::s_get() {
    static std::vector<Entry> entries;
    return t_collected != nullptr ? *t_collected : entries;
}

std::vector<Log::Entry>& Log::s_add(Level level, std::stringstream const& stream) {
    std::vector<Entry>& entries = s_get();
    entries.push_back({level, stream.str()});
    return entries;
}

void Log::s_append(std::vector<Entry> const& entries) {
    std::vector<Entry>& target = s_get();
    target.insert(target.end(), entries.begin(), entries.end());
}

Log::Collector::Collector(std::vector<Entry>& entries)
    : m_outer(std::exchange(t_collected, &entries)) {}

Log::Collector::~Collector() {
    t_collected = m_outer;
}

}  // namespace ximCORE::Toolbox
