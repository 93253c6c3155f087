#include "core/toolbox/tape.hpp"

#include "core/toolbox/log.hpp"

namespace ximCORE::Toolbox::AAD {

void Tape::dpush(double value) {
    m_doubles.push_back(value);
}

void Tape::bpush(bool value) {
    m_booleans.push_back(value);
}

bool Tape::dpop(double& value) {
    if (m_doubles.empty()) {
        Log::s_log(Log::Level::ERROR, "Cannot pop back an empty double stack");
        return false;
    }
    value = m_doubles.back();
    m_doubles.pop_back();
    return value != 0.0;
}

bool Tape::bpop(bool& value) {
    if (m_booleans.empty()) {
        Log::s_log(Log::Level::ERROR, "Cannot pop back an empty boolean stack");
        return false;
    }
    value = m_booleans.back();
    m_booleans.pop_back();
    return value;
}

void Tape::clear() {
    m_doubles.clear();
    m_booleans.clear();
}

}  // namespace ximCORE::Toolbox::AAD
