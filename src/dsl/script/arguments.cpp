#include "dsl/script/arguments.hpp"

#include <algorithm>

namespace ximAPI::Toolkit {

Brackets::Brackets(std::string_view text)
    : m_text(text), m_partner(text.size(), std::string_view::npos) {
    std::vector<std::size_t> open;
    for (std::size_t position = 0; position < text.size(); ++position) {
        if (text[position] == '(') {
            open.push_back(position);
            m_depth = std::max(m_depth, open.size());
        } else if (text[position] == ')' && !open.empty()) {
            m_partner[open.back()] = position;
            open.pop_back();
        }
    }
}

std::ptrdiff_t Brackets::parse_args(std::size_t open,
                                    std::vector<std::string_view>& arguments) const {
    if (open >= m_text.size() || m_partner[open] == std::string_view::npos) return -1;
    auto const close = m_partner[open];
    auto start = open + 1;
    for (auto position = start; position < close; ++position) {
        if (m_text[position] == '(') {
            position = m_partner[position];
        } else if (m_text[position] == ',') {
            arguments.push_back(m_text.substr(start, position - start));
            start = position + 1;
        }
    }
    arguments.push_back(m_text.substr(start, close - start));
    return static_cast<std::ptrdiff_t>(arguments.size());
}

}  // namespace ximAPI::Toolkit
