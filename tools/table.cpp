#include "table.hpp"

#include <algorithm>
#include <cmath>
#include <iomanip>
#include <ostream>
#include <sstream>

namespace xim {

void Table::print(std::ostream& out) const {
    std::vector<std::size_t> widths(m_rows.front().size(), 0);
    for (auto const& row : m_rows) {
        for (std::size_t column = 0; column < row.size(); ++column) {
            widths[column] = std::max(widths[column], row[column].size());
        }
    }
    for (auto const& row : m_rows) {
        std::string line;
        for (std::size_t column = 0; column < row.size(); ++column) {
            std::string const blanks(widths[column] - row[column].size(), ' ');
            bool const to_the_right =
                is_number(row[column]) || (&row == &m_rows.front() && is_number_column(column));
            line += to_the_right ? blanks + row[column] : row[column] + blanks;
            line += "  ";
        }
        out << "  " << line.substr(0, line.find_last_not_of(' ') + 1) << '\n';
    }
}

bool Table::is_number(std::string const& text) {
    return !text.empty() && text.find_first_not_of("0123456789.-+e") == std::string::npos &&
           text.find_first_of("0123456789") != std::string::npos &&
           std::count(text.begin(), text.end(), '-') < 2;
}

bool Table::is_number_column(std::size_t column) const {
    return std::any_of(m_rows.begin() + 1, m_rows.end(),
                       [column](auto const& row) { return is_number(row[column]); });
}

double value_of(Json::Value const& json) {
    return json.isNumeric() ? json.asDouble() : std::nan("");
}

Estimate read_estimate(Json::Value const& json) {
    return {value_of(json["Mean"]), value_of(json["Lower"]), value_of(json["Upper"])};
}

std::string number(Json::Value const& value) {
    return number(value_of(value));
}

std::string number(double value) {
    if (std::isnan(value)) {
        return "nan";
    }
    std::ostringstream text;
    text << std::setprecision(7) << value;
    return text.str();
}

std::string text(Json::Value const& value) {
    return value.isString() ? value.asString() : "";
}

}  // namespace xim
