#include "core/data/date_reader.hpp"

#include "core/toolbox/errors.hpp"

namespace ximCORE::Data {

Toolbox::Date const& DateReader::read(std::string const& text) {
    auto found = m_dates.find(text);
    if (found == m_dates.end()) found = m_dates.emplace(text, Toolbox::Date(text)).first;
    return found->second;
}

Toolbox::Date const* DateReader::find(std::string const& text) {
    try {
        return &read(text);
    } catch (Toolbox::ConstructorException const&) {
        return nullptr;  // the date has left its record
    }
}

}  // namespace ximCORE::Data
