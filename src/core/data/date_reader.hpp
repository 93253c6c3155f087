// Reads the dates of many records, each text once.

#pragma once

#include <string>
#include <unordered_map>

#include "core/toolbox/date.hpp"

namespace ximCORE::Data {

class DateReader {
 public:
    /// The date of a text, valid as long as the reader. Throws ConstructorException, after an ERROR
    /// record, for a text that is no date.
    Toolbox::Date const& read(std::string const& text);
    /// As `read`, with null in place of the exception.
    Toolbox::Date const* find(std::string const& text);

 private:
    std::unordered_map<std::string, Toolbox::Date> m_dates;
};

}  // namespace ximCORE::Data
