// Every request of examples/ is priced and described.

#include <cmath>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "api/route_call.hpp"
#include "support/precompiled.hpp"

namespace {

using namespace ximAPI::testing;
namespace fs = std::filesystem;

std::vector<std::string> example_names() {
    std::vector<std::string> names;
    for (auto const& entry : fs::recursive_directory_iterator(fs::path(XIM_ROOT) / "examples")) {
        if (entry.path().extension() == ".json" &&
            entry.path().parent_path().filename() != "market") {
            names.push_back(fs::relative(entry.path(), fs::path(XIM_ROOT)).string());
        }
    }
    std::sort(names.begin(), names.end());
    return names;
}

/// Market files are named from the root of the repository.
class Examples : public ::testing::TestWithParam<std::string> {
 protected:
    Examples() : m_before(fs::current_path()) { fs::current_path(XIM_ROOT); }
    ~Examples() override { fs::current_path(m_before); }

    static Json::Value read() {
        std::ifstream file(GetParam());
        return parse_json({std::istreambuf_iterator<char>(file), {}});
    }

 private:
    fs::path m_before;
};

TEST_P(Examples, IsPriced) {
    Json::Value request = read();
    request["PricerConfiguration"]["MonteCarloTrials"] = 2000;
    auto const answer = call_route("/GetPrice", request);
    ASSERT_TRUE(answer.success) << answer.log();
    EXPECT_TRUE(answer.messages("ERROR").empty()) << answer.log();
    EXPECT_TRUE(std::isfinite(answer.price()["Mean"].asDouble()));
    EXPECT_NE(answer.price()["Mean"].asDouble(), 0.0);
}

TEST_P(Examples, IsDescribed) {
    auto const answer = call_route("/GetContract", read());
    ASSERT_TRUE(answer.success) << answer.log();
    EXPECT_FALSE(answer.document["Contract"]["Script"].asString().empty());
    EXPECT_FALSE(answer.document["Contract"]["Events"].empty());
}

TEST_P(Examples, HasALineInTheReadme) {
    std::ifstream file("examples/README.md");
    std::string const readme(std::istreambuf_iterator<char>(file), {});
    EXPECT_NE(readme.find("`" + fs::relative(GetParam(), "examples").string() + "`"),
              std::string::npos);
}

INSTANTIATE_TEST_SUITE_P(
    All, Examples, ::testing::ValuesIn(example_names()), [](auto const& parameter) {
        std::string name =
            fs::path(parameter.param).lexically_relative("examples").replace_extension().string();
        std::replace_if(
            name.begin(), name.end(), [](unsigned char c) { return std::isalnum(c) == 0; }, '_');
        return name;
    });

}  // namespace
