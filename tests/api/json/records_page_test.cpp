// docs/records.md names every enumeration, every record, and every key with its type, a unit and a
// meaning: exactly those of the tables in the code.

#include <gtest/gtest.h>

#include <fstream>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "api/json/products.hpp"
#include "api/json/reference.hpp"

namespace ximTest {
namespace {

using Cells = std::vector<std::string>;

struct Page {
    std::map<std::string, std::vector<Cells>> tables;  // by heading: the cells of each row below it
    std::vector<std::string> headings;
};

/// The trimmed cells of "| a | b |".
Cells cells_of(std::string const& line) {
    Cells cells;
    std::stringstream stream{line.substr(1)};
    for (std::string cell; std::getline(stream, cell, '|');) {
        auto const from = cell.find_first_not_of(' ');
        auto const to = cell.find_last_not_of(' ');
        cells.push_back(from == std::string::npos ? "" : cell.substr(from, to - from + 1));
    }
    return cells;
}

Page read_page() {
    std::ifstream file{XIM_ROOT "/docs/records.md"};
    EXPECT_TRUE(file.is_open());
    Page page;
    std::string heading;
    for (std::string line; std::getline(file, line);) {
        if (line.rfind("## ", 0) == 0) heading = line.substr(3);
        if (line.rfind("### ", 0) == 0) {
            heading = line.substr(4);
            page.headings.push_back(heading);
        }
        if (line.rfind("| ", 0) != 0) continue;
        auto cells = cells_of(line);
        if (cells[0] != "key" && cells[0] != "name")
            page.tables[heading].push_back(std::move(cells));
    }
    return page;
}

std::string row_text(std::string const& key, std::string const& type) {
    return "| " + key + " | " + type + " |";
}

TEST(RecordsPage, HasASectionForEachRecordAndNoOther) {
    auto const page = read_page();
    std::multiset<std::string> found{page.headings.begin(), page.headings.end()};
    std::multiset<std::string> expected;
    for_each_record([&]<class R>() { expected.insert(name_of<R>()); });
    expected.insert("Log");  // the section of the log is named like its record
    found.insert("Log");
    EXPECT_EQ(found, expected);
}

TEST(RecordsPage, HasARowForEachKeyWithItsType) {
    auto const page = read_page();
    for_each_record([&]<class R>() {
        auto const found = page.tables.find(name_of<R>());
        ASSERT_NE(found, page.tables.end()) << name_of<R>();
        std::vector<std::string> written;
        for (auto const& cells : found->second) {
            ASSERT_EQ(cells.size(), 4U) << name_of<R>() << cells[0];
            written.push_back(row_text(cells[0], cells[1]));
        }
        std::vector<std::string> expected;
        for (auto const& row : rows_of<R>()) {
            expected.push_back(
                row_text(row.key == c_same_level ? row.key : quoted(row.key), row.type));
        }
        EXPECT_EQ(written, expected) << name_of<R>();
    });
}

TEST(RecordsPage, TellsUnitAndMeaningOfEachKey) {
    auto const page = read_page();
    for (auto const& [heading, rows] : page.tables) {
        if (heading == "Enumerations") continue;
        for (auto const& cells : rows) {
            EXPECT_NE(cells.at(2), "") << heading << " " << cells[0];
            EXPECT_NE(cells.at(3), "") << heading << " " << cells[0];
        }
    }
}

template <class E>
void expect_enumeration(std::map<std::string, std::string>& rows) {
    std::string texts;
    for (auto const& text : ximAPI::Toolkit::texts<E>) {
        texts += (texts.empty() ? "" : ", ") + quoted(std::string{text});
    }
    auto const name = quoted(name_of<E>());
    EXPECT_EQ(rows[name], texts) << name;
    rows.erase(name);
}

template <class... E>
void expect_enumerations(std::map<std::string, std::string>& rows) {
    (expect_enumeration<E>(rows), ...);
}

TEST(RecordsPage, ListsTheTextsOfEachEnumeration) {
    using namespace ximAPI;
    std::map<std::string, std::string> rows;
    auto const page = read_page();
    for (auto const& cells : page.tables.at("Enumerations")) rows[cells.at(0)] = cells.at(1);
    expect_enumerations<LogLevel, ModelName, BlackScholesCalibrationKind, Calendar, Basis,
                        SmoothingType, PricingMethod, SpotVolatilityDynamic, GreekDirection,
                        BoundaryCondition, PayoffKind, BarrierKind, BarrierType, BasketKind,
                        StrikeKind, ObservableKind, ContractKind, AssetClass, AssetKind, EventKind,
                        LadderKind, BumpKind, BumpUnit, InitialGuessMethod, PriceKind, SpaceKind,
                        SequenceKind>(rows);
    EXPECT_TRUE(rows.empty()) << "no enumeration: " << rows.begin()->first;
}

/// Each record and enumeration inside a record has its own place on the page.
TEST(RecordsPage, ExplainsEveryTypeThatItNames) {
    auto const page = read_page();
    std::set<std::string> known{page.headings.begin(), page.headings.end()};
    for (auto const& cells : page.tables.at("Enumerations"))
        known.insert(cells[0].substr(1, cells[0].size() - 2));
    for_each_record([&]<class R>() {
        for (auto const& row : rows_of<R>()) {
            auto const from = row.type.find('`');
            if (from == std::string::npos || row.type.rfind("always", 0) == 0) continue;
            auto const name = row.type.substr(from + 1, row.type.rfind('`') - from - 1);
            EXPECT_TRUE(known.count(name) == 1) << name_of<R>() << " " << row.key << " " << name;
        }
    });
}

}  // namespace
}  // namespace ximTest
