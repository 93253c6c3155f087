#include "core/contract/moving.hpp"

#include <utility>

namespace ximCORE::Contract {

void NamedValues::set(std::string const& name, double value) {
    m_known[name] = value;
    m_open.erase(name);
}

void NamedValues::open(std::string const& name) {
    auto node = m_known.extract(name);
    if (!node) return;
    m_open.insert(std::move(node));
    if (m_conditional) m_journal.push_back(name);
}

NamedValues::Branches::Branches(NamedValues& values)
    : m_values(values),
      m_was_conditional(std::exchange(values.m_conditional, true)),
      m_first(values.m_journal.size()) {}

void NamedValues::Branches::end_branch() {
    auto const first = m_values.m_journal.begin() + static_cast<std::ptrdiff_t>(m_first);
    for (auto name = first; name != m_values.m_journal.end(); ++name) {
        m_values.m_known.insert(m_values.m_open.extract(*name));
        m_opened.push_back(std::move(*name));
    }
    m_values.m_journal.erase(first, m_values.m_journal.end());
}

NamedValues::Branches::~Branches() {
    m_values.m_conditional = m_was_conditional;
    for (auto const& name : m_opened) m_values.open(name);
}

NamedValues::Map NamedValues::c_get_last() const {
    auto last = m_known;
    last.insert(m_open.begin(), m_open.end());
    return last;
}

}  // namespace ximCORE::Contract
