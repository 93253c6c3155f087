#include "core/toolbox/log.hpp"

#include <algorithm>
#include <utility>

namespace ximCORE::Toolbox {

namespace {

thread_local std::vector<Log::Entry>* t_collected =
    nullptr;  // where this thread's records go; null: the process' log
thread_local std::size_t t_limit = std::numeric_limits<std::size_t>::max();

}  // namespace

std::vector<Log::Entry>& Log::s_get() {
    static std::vector<Entry> entries;
    return t_collected != nullptr ? *t_collected : entries;
}

std::vector<Log::Entry>& Log::s_add(Level level, std::stringstream const& stream) {
    std::vector<Entry>& entries = s_get();
    if (entries.size() < t_limit) entries.push_back({level, stream.str()});
    return entries;
}

void Log::s_append(std::vector<Entry> const& entries) {
    std::vector<Entry>& target = s_get();
    std::size_t const room = t_limit - std::min(t_limit, target.size());
    std::size_t const count = std::min(room, entries.size());
    target.insert(target.end(), entries.begin(),
                  entries.begin() + static_cast<std::ptrdiff_t>(count));
}

Log::Collector::Collector(std::vector<Entry>& entries, std::size_t limit)
    : m_outer(std::exchange(t_collected, &entries)), m_outer_limit(std::exchange(t_limit, limit)) {}

Log::Collector::~Collector() {
    t_collected = m_outer;
    t_limit = m_outer_limit;
}

}  // namespace ximCORE::Toolbox
