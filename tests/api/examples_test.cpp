// Every request of examples/ is priced and described; those of examples/analysis are answered by
// the routes whose records they hold.

#include <array>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "api/route_call.hpp"
#include "support/precompiled.hpp"

namespace {

using namespace ximAPI::testing;
namespace fs = std::filesystem;

/// The requests in a folder of examples/, without those below it that are left out.
std::vector<std::string> requests_of(std::string const& folder,
                                     std::vector<std::string> const& without = {}) {
    std::vector<std::string> names;
    fs::path const root = fs::path(XIM_ROOT) / "examples" / folder;
    for (auto const& entry : fs::recursive_directory_iterator(root)) {
        std::string const parent = entry.path().parent_path().filename().string();
        if (entry.path().extension() == ".json" &&
            std::find(without.begin(), without.end(), parent) == without.end()) {
            names.push_back(fs::relative(entry.path(), fs::path(XIM_ROOT)).string());
        }
    }
    std::sort(names.begin(), names.end());
    return names;
}

/// The record of a route, which a request for it holds.
struct AnalysisRoute {
    char const* outer;
    char const* inner;
    char const* path;
    char const* list;  ///< a member of the answered record that is not empty
};

constexpr std::array<AnalysisRoute, 8> c_analysis_routes{{
    {"Pricer", "StaticReplication1D", "/GetStaticReplication1D", "Vanillas"},
    {"Pricer", "MCDetails", "/GetMCPriceWithDetails", "Decomposition"},
    {"ModelConfiguration", "BlackScholesModel", "/GetBlackScholesCalibration", "Volatility"},
    {"ModelConfiguration", "BlackScholesTermStructureModel",
     "/GetBlackScholesTermStructureCalibration", "Volatility"},
    {"ModelConfiguration", "HestonStochasticVolatilityModel", "/GetHestonImpliedVolatility",
     "Slice"},
    {"Model", "Repricing", "/GetModelImpliedVolatility", "Slice"},
    {"Model", "Diffusion", "/GetModelDiffusion", "Series"},
    {"Data", "ImpliedVolatilityComputationTester", "/TestImpliedVolatilityComputation", "Values"},
}};

/// A number anywhere in the value is not finite: it is written as null.
bool has_null(Json::Value const& value) {
    if (value.isNull()) return true;
    return (value.isArray() || value.isObject()) &&
           std::any_of(value.begin(), value.end(), has_null);
}

std::string case_name(::testing::TestParamInfo<std::string> const& parameter) {
    std::string name =
        fs::path(parameter.param).lexically_relative("examples").replace_extension().string();
    std::replace_if(
        name.begin(), name.end(), [](unsigned char c) { return std::isalnum(c) == 0; }, '_');
    return name;
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

// By adjoints the price is the simulated one, for all markets of the examples are without rates,
// and the delta is that of a small bump but for what goes through a name.
TEST_P(Examples, HasItsPriceAndItsDeltaByAdjoints) {
    Json::Value request = read();
    Json::Value& pricer = request["PricerConfiguration"];
    pricer["MonteCarloTrials"] = 500;
    pricer["MonteCarloNbThreads"] = 2;
    pricer["WithGreeks"] = pricer["ComputeDelta"] = true;
    pricer["DeltaSpotBump"] = 0.1;
    pricer["DeltaDirection"] = "CENTER";
    auto const price_by = [&](char const* method) {
        pricer["Method"] = method;
        auto answer = call_route("/GetPrice", request);
        EXPECT_TRUE(answer.success) << answer.log();
        return answer;
    };
    auto const simulated = price_by("MONTE_CARLO");
    auto const adjoint = price_by("AUTOMATIC_ADJOINT_DIFFERENTIATION");
    EXPECT_EQ(adjoint.messages("ERROR"), simulated.messages("ERROR"));
    for (char const* key : {"Mean", "Stddev"})
        EXPECT_FLOAT_EQ(adjoint.price()[key].asFloat(), simulated.price()[key].asFloat()) << key;
    auto const script =
        call_route("/GetContract", read()).document["Contract"]["Script"].asString();
    if (script.find("AmountRef") != std::string::npos) return;
    auto const& rows = simulated.document["Pricer"]["Pricer"]["Delta"];
    for (Json::ArrayIndex i = 0; i < rows.size(); ++i) {
        double const delta = rows[i]["Value"]["Mean"].asDouble();
        double const price = std::abs(simulated.price()["Mean"].asDouble());
        EXPECT_NEAR(adjoint.greek("Delta", i)["Mean"].asDouble(), delta,
                    0.002 * (std::abs(delta) + price));
    }
}

TEST_P(Examples, IsDescribed) {
    auto const answer = call_route("/GetContract", read());
    ASSERT_TRUE(answer.success) << answer.log();
    EXPECT_FALSE(answer.document["Contract"]["Script"].asString().empty());
    EXPECT_FALSE(answer.document["Contract"]["Events"].empty());
}

/// The table of the examples names a file by its place below examples/.
void expect_line_in_readme(std::string const& request) {
    std::ifstream file("examples/README.md");
    std::string const readme(std::istreambuf_iterator<char>(file), {});
    EXPECT_NE(readme.find("`" + fs::relative(request, "examples").string() + "`"),
              std::string::npos);
}

TEST_P(Examples, HasALineInTheReadme) {
    expect_line_in_readme(GetParam());
}

INSTANTIATE_TEST_SUITE_P(All, Examples,
                         ::testing::ValuesIn(requests_of("", {"market", "analysis"})), case_name);

class AnalysisExamples : public Examples {};

TEST_P(AnalysisExamples, IsAnsweredByTheRoutesOfItsRecords) {
    Json::Value request = read();
    if (request.isMember("PricerConfiguration")) {
        request["PricerConfiguration"]["MonteCarloTrials"] = 2000;
    }
    int nb_routes = 0;
    for (auto const& [outer, inner, path, list] : c_analysis_routes) {
        if (!request[outer].isObject() || !request[outer].isMember(inner)) continue;
        ++nb_routes;
        auto const answer = call_route(path, request);
        ASSERT_TRUE(answer.success) << path << '\n' << answer.log();
        EXPECT_TRUE(answer.messages("ERROR").empty()) << answer.log();
        Json::Value const& record = answer.document[outer][inner];
        EXPECT_FALSE(record[list].empty()) << path;
        EXPECT_FALSE(has_null(record)) << path << record;
    }
    EXPECT_GT(nb_routes, 0);
}

TEST_P(AnalysisExamples, HasALineInTheReadme) {
    expect_line_in_readme(GetParam());
}

INSTANTIATE_TEST_SUITE_P(All, AnalysisExamples, ::testing::ValuesIn(requests_of("analysis")),
                         case_name);

/// Each route has an example.
TEST(AnalysisRoutes, HaveAnExample) {
    for (auto const& [outer, inner, path, list] : c_analysis_routes) {
        auto const names = requests_of("analysis");
        EXPECT_TRUE(std::any_of(names.begin(), names.end(), [&](std::string const& name) {
            std::ifstream file(fs::path(XIM_ROOT) / name);
            auto const request = parse_json({std::istreambuf_iterator<char>(file), {}});
            return request[outer].isObject() && request[outer].isMember(inner);
        })) << path;
    }
}

}  // namespace
