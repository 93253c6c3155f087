// docs/products.md has a section for each ready product, with its keys and its example, and all
// files that it shows exist.

#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <regex>
#include <set>

#include "api/json/products.hpp"
#include "api/route_call.hpp"
#include "support/precompiled.hpp"

namespace {

using namespace ximAPI::testing;
using ::testing::HasSubstr;
namespace fs = std::filesystem;

std::string read_text(fs::path const& path) {
    std::ifstream file(path);
    return {std::istreambuf_iterator<char>(file), {}};
}

/// The sections by their heading.
std::map<std::string, std::string> sections() {
    std::map<std::string, std::string> found;
    std::istringstream page(read_text(XIM_ROOT "/docs/products.md"));
    std::string heading;
    for (std::string line; std::getline(page, line);) {
        if (line.starts_with("## ")) heading = line;
        found[heading] += line + "\n";
    }
    return found;
}

void collect_keys(Json::Value const& value, std::set<std::string>& keys) {
    if (value.isArray()) {
        for (Json::Value const& element : value) collect_keys(element, keys);
    }
    if (!value.isObject()) return;
    for (auto const& key : value.getMemberNames()) {
        keys.insert(key);
        collect_keys(value[key], keys);
    }
}

/// The keys of the product in an example, those inside its lists included.
std::set<std::string> keys_of(Json::Value contract) {
    for (char const* key : {"Date", "PremiumCurrency", "Kind"}) contract.removeMember(key);
    std::set<std::string> keys;
    collect_keys(contract, keys);
    return keys;
}

TEST(ProductsPage, TellsTheKeysAndTheExampleOfEachProduct) {
    auto const pages = sections();
    std::size_t products = 0;
    for (auto const& entry : fs::directory_iterator(XIM_ROOT "/examples/products")) {
        Json::Value const contract = parse_json(read_text(entry.path()))["ContractConfiguration"];
        std::string const name = entry.path().stem().string();
        std::string const kind = "`" + contract["Kind"].asString() + "`";
        auto const section = std::find_if(pages.begin(), pages.end(), [&](auto const& page) {
            return page.second.find(kind + " pays") != std::string::npos;
        });
        ASSERT_NE(section, pages.end()) << kind;
        EXPECT_THAT(section->second, HasSubstr("(../examples/products/" + name + ".json)"));
        for (auto const& key : keys_of(contract)) {
            bool const is_shared = key == "Ticker" || key == "Weight";  // of a basket: told above
            auto const& text = is_shared ? pages.at("## Keys and units") : section->second;
            EXPECT_NE(text.find("`" + key + "`"), std::string::npos) << kind << " " << key;
        }
        ++products;
    }
    EXPECT_EQ(products, 17U);
}

TEST(ProductsPage, NamesEveryKind) {
    std::string const page = read_text(XIM_ROOT "/docs/products.md");
    for (auto const& row : ximAPI::Toolkit::product_table) {
        if (row.kind == ximAPI::ContractKind::CONSOLE || row.kind == ximAPI::ContractKind::FILE) {
            continue;
        }
        EXPECT_THAT(page, HasSubstr("`" + std::string(row.text) + "`"));
    }
}

TEST(ProductsPage, ShowsFilesThatExist) {
    std::string const page = read_text(XIM_ROOT "/docs/products.md");
    std::regex const link(R"(\]\(([^)]+)\))");
    std::size_t links = 0;
    for (std::sregex_iterator at(page.begin(), page.end(), link), end; at != end; ++at, ++links) {
        EXPECT_TRUE(fs::exists(fs::path(XIM_ROOT "/docs") / (*at)[1].str())) << (*at)[1];
    }
    EXPECT_GE(links, 17U + 16U);  // an example each, and a picture for one underlying
}

}  // namespace
