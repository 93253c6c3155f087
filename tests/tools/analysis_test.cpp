// The commands of the analysis routes as a person uses them: tables, pictures and errors.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>

#include "tools/run_xim.hpp"

namespace {

using namespace xim::testing;

using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

/// A command, its example and what its table and its picture hold.
struct Case {
    char const* name;
    char const* words;
    char const* in_table;
    char const* in_picture;
};

void PrintTo(Case const& one, std::ostream* out) {
    *out << one.name;
}

class Analyses : public ::testing::TestWithParam<Case> {
 protected:
    ~Analyses() override { std::filesystem::remove(c_get_picture()); }

    static std::string c_get_picture() {
        return ::testing::TempDir() + "xim_analysis_" + GetParam().name + ".svg";
    }
};

TEST_P(Analyses, PrintATableAndDrawAPicture) {
    Outcome const outcome = run_xim(std::string(GetParam().words) + " --plot " + c_get_picture());
    ASSERT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_THAT(outcome.err, Not(HasSubstr("ERROR")));
    EXPECT_THAT(outcome.out, HasSubstr(GetParam().in_table));
    std::string const picture = read(c_get_picture());
    EXPECT_THAT(picture, HasSubstr("</svg>"));
    EXPECT_THAT(picture, HasSubstr(GetParam().in_picture));
}

INSTANTIATE_TEST_SUITE_P(
    All, Analyses,
    ::testing::Values(
        Case{"replicate", "replicate examples/analysis/replicate_reverse_convertible.json",
             "201 levels", "Payoff and replication"},
        Case{"details", "details examples/analysis/details_autocall.json --trials 2000",
             "Conditions, of the paths that reach them", "Convergence"},
        Case{"calibrate", "calibrate examples/analysis/calibrate_basket.json", "Until",
             "ALPHA, flat"},
        Case{"smile_heston", "smile examples/analysis/heston_strike.json", "strike", "Heston, 1 y"},
        Case{"smile_model", "smile examples/analysis/model_implied_volatility.json --trials 2000",
             "Market", "forward moneyness, %"},
        Case{"diffuse", "diffuse examples/analysis/diffusion_basket.json --paths 5", "Paths 0 to 4",
             "mean"}),
    [](auto const& one) { return std::string(one.param.name); });

TEST(Analysis, ReplicatesAContractWhoseRequestHasNoGrid) {
    Outcome const outcome = run_xim("replicate examples/products/reverse_convertible.json");
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_THAT(outcome.out, HasSubstr("201 levels, 2076."));
}

TEST(Analysis, SaysWhyAContractIsNotReplicated) {
    Outcome const outcome = run_xim("replicate examples/autocall.json");
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.out, IsEmpty());
    EXPECT_THAT(outcome.err,
                HasSubstr("ERROR: Contract non eligible to static replication method"));
    EXPECT_THAT(outcome.err, HasSubstr("The request failed."));
}

TEST(Analysis, PrintsOneRowOfTheConvergenceAtTheEnd) {
    Outcome const outcome = run_xim("details examples/european_call.json --trials 1000");
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_THAT(outcome.out, HasSubstr("\nConvergence\n"));
    EXPECT_THAT(outcome.out, HasSubstr("  991  ")) << "every tenth path";
}

TEST(Analysis, PutsOtherStrikesIntoASmile) {
    Outcome const outcome = run_xim("smile examples/analysis/heston_strike.json --spaces 80 120 3");
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    for (char const* strike : {"\n      80  ", "\n     100  ", "\n     120  "}) {
        EXPECT_THAT(outcome.out, HasSubstr(strike));
    }
}

TEST(Analysis, RefusesASmileWithoutStrikes) {
    Outcome const outcome = run_xim("smile examples/analysis/heston_strike.json --spaces 80 120 0");
    EXPECT_EQ(outcome.status, 2);
    EXPECT_THAT(outcome.err, HasSubstr("--spaces wants 1 to"));
}

TEST(Analysis, ReproducesAPathByItsNumber) {
    std::string const request = "diffuse examples/analysis/diffusion_basket.json";
    Outcome const once = run_xim(request);
    Outcome const again = run_xim(request);
    EXPECT_EQ(once.status, 0) << once.err;
    EXPECT_THAT(once.out, HasSubstr("Path 0"));
    EXPECT_EQ(once.out, again.out);
}

TEST(Analysis, RefusesAPathBeyondTheTrials) {
    Outcome const outcome =
        run_xim("diffuse examples/analysis/diffusion_basket.json --trials 3 --paths 4");
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.err, HasSubstr("Path 3 failed."));
    EXPECT_THAT(outcome.out, IsEmpty());
}

TEST(Analysis, NamesTheRecordThatIsMissing) {
    std::string const file = ::testing::TempDir() + "xim_analysis_empty.json";
    std::ofstream(file) << "{}";
    for (char const* command : {"replicate ", "details ", "calibrate "}) {
        Outcome const outcome = run_xim(command + file);
        EXPECT_EQ(outcome.status, 2);
        EXPECT_THAT(outcome.err, HasSubstr("\"ContractConfiguration\"")) << command;
    }
    Outcome const smile = run_xim("smile " + file);
    EXPECT_EQ(smile.status, 2);
    EXPECT_THAT(smile.err, HasSubstr("\"HestonStochasticVolatilityModel\""));
    Outcome const diffusion = run_xim("diffuse " + file);
    EXPECT_EQ(diffusion.status, 2);
    EXPECT_THAT(diffusion.err, HasSubstr("\"Model\".\"Diffusion\""));
    std::filesystem::remove(file);
}

TEST(Analysis, FailsOnAMissingFile) {
    for (char const* command : {"replicate", "details", "calibrate", "smile", "diffuse"}) {
        Outcome const outcome = run_xim(std::string(command) + " nowhere.json");
        EXPECT_EQ(outcome.status, 2);
        EXPECT_THAT(outcome.err, HasSubstr("Cannot read nowhere.json")) << command;
    }
}

TEST(Analysis, RefusesAPlotOfAnotherTypeBeforeItRuns) {
    Outcome const outcome =
        run_xim("replicate examples/analysis/replicate_twin_win.json --plot twin.pdf");
    EXPECT_EQ(outcome.status, 2);
    EXPECT_THAT(outcome.err, HasSubstr("twin.pdf"));
    EXPECT_THAT(outcome.out, IsEmpty());
}

TEST(Analysis, FailsWithoutPaths) {
    Outcome const outcome = run_xim("details examples/european_call.json --trials 0");
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.err, HasSubstr("The simulation gave no result."));
    EXPECT_THAT(outcome.out, IsEmpty());
}

TEST(Analysis, RefusesAPathBeyondAllNumbers) {
    std::string const file = ::testing::TempDir() + "xim_analysis_path.json";
    std::ofstream(file) << R"({"Model": {"Diffusion": {"Trajectory": 2147483647}}})";
    Outcome const outcome = run_xim("diffuse " + file);
    EXPECT_EQ(outcome.status, 2);
    EXPECT_THAT(outcome.err, HasSubstr("too large"));
    std::filesystem::remove(file);
}

TEST(Analysis, NamesARecordOfTheWrongKind) {
    std::string const file = ::testing::TempDir() + "xim_analysis_wrong.json";
    std::ofstream(file)
        << R"({"ContractConfiguration": {}, "PricerConfiguration": 1, "Pricer": "x", "Model": {"Diffusion": 1}})";
    for (char const* command : {"replicate ", "details ", "diffuse "}) {
        Outcome const outcome = run_xim(command + file);
        EXPECT_EQ(outcome.status, 2) << command;
        EXPECT_THAT(outcome.out, IsEmpty()) << command;
        EXPECT_THAT(outcome.err, Not(IsEmpty())) << command;
    }
    std::filesystem::remove(file);
}

TEST(Analysis, ShowsWhereAScriptIsRejected) {
    std::string const file = ::testing::TempDir() + "xim_analysis_script.json";
    std::ofstream(file) << R"_({"ContractConfiguration": {"Date": "2021-05-03", "PremiumCurrency":
        "USD", "Kind": "CONSOLE", "Script": "Pay(Spott(^GSPC,2022-05-03),2022-05-03,USD)"}})_";
    for (char const* command : {"replicate ", "details ", "calibrate "}) {
        Outcome const outcome = run_xim(command + file);
        EXPECT_EQ(outcome.status, 1) << command;
        EXPECT_THAT(outcome.err, HasSubstr("unknown word \"Spott\"")) << command;
    }
    std::filesystem::remove(file);
}

TEST(Analysis, FailsWhenTheMarketLacksAVolatility) {
    Outcome const outcome = run_xim("details examples/european_call.json --date 2020-05-04");
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.err, HasSubstr("Cannot find Black-Scholes volatility"));
    EXPECT_THAT(outcome.out, IsEmpty());
}

}  // namespace
