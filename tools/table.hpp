// Tables of texts, and how a value of an answer reads in them.
#pragma once

#include <json/value.h>

#include <iosfwd>
#include <string>
#include <vector>

namespace xim {

/// A table of texts. The first row is its head; numbers stand to the right.
class Table {
 public:
    explicit Table(std::vector<std::string> head) : m_rows{std::move(head)} {}

    void add(std::vector<std::string> row) { m_rows.push_back(std::move(row)); }
    void print(std::ostream& out) const;

 private:
    static bool is_number(std::string const& text);
    bool is_number_column(std::size_t column) const;

    std::vector<std::vector<std::string>> m_rows;
};

/// An estimated value with its confidence bounds; not a number where the answer has none.
struct Estimate {
    double mean;
    double lower;
    double upper;
};

Estimate read_estimate(Json::Value const& json);

/// Not a number for anything but a number.
double value_of(Json::Value const& json);

/// Seven digits; "nan" for anything but a number.
std::string number(Json::Value const& value);
std::string number(double value);

/// Empty for anything but a text.
std::string text(Json::Value const& value);

}  // namespace xim
