// What a person hears of a request that says something it cannot mean.

#include "tools/remarks.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <json/reader.h>

#include <filesystem>
#include <sstream>
#include <string>
#include <vector>

#include "tools/command.hpp"
#include "tools/report.hpp"
#include "tools/run_xim.hpp"

namespace {

using namespace xim::testing;

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::SizeIs;

Json::Value parse(std::string const& text) {
    Json::Value value;
    std::istringstream stream(text);
    stream >> value;
    return value;
}

std::vector<std::filesystem::path> find_examples() {
    std::vector<std::filesystem::path> files;
    for (char const* folder : {"", "products", "analysis"}) {
        for (auto const& entry : std::filesystem::directory_iterator(
                 std::filesystem::path(XIM_ROOT) / "examples" / folder)) {
            if (entry.path().extension() == ".json") files.push_back(entry.path());
        }
    }
    return files;
}

Json::Value example(std::string const& name) {
    return parse(read(std::string(XIM_ROOT) + "/examples/" + name));
}

TEST(Remarks, LeaveEveryExampleAlone) {
    auto const files = find_examples();
    ASSERT_THAT(files, Not(IsEmpty()));
    for (auto const& file : files)
        EXPECT_THAT(xim::find_remarks(parse(read(file.string()))), IsEmpty()) << file;
}

TEST(Remarks, LeaveAnAnswerAloneThatIsARequestAgain) {
    Json::Value request = example("european_call.json");
    request["PricerConfiguration"]["MonteCarloTrials"] = 100;
    request["DataConfiguration"]["WithoutLogin"] = false;
    for (char const* route : {"/GetPrice", "/GetContract", "/GetBlackScholesCalibration"}) {
        xim::Answer const answer = xim::run(route, request.toStyledString());
        ASSERT_TRUE(answer.success) << answer.text;
        EXPECT_THAT(xim::find_remarks(answer.document), IsEmpty()) << route;
    }
}

/// Every product has an example, and each knows its keys.
TEST(Remarks, NameAnUnknownKeyOfEveryContract) {
    for (auto const& file : find_examples()) {
        Json::Value request = parse(read(file.string()));
        if (!request.isMember("ContractConfiguration")) continue;
        request["ContractConfiguration"]["Strikee"] = 100;
        EXPECT_THAT(xim::find_remarks(request),
                    ElementsAre("\"ContractConfiguration\".\"Strikee\" is an unknown key."))
            << file;
    }
}

TEST(Remarks, NameAnUnknownKeyAnywhere) {
    Json::Value request =
        parse(R"({"PricerConfig": {}, "DataConfiguration": {"Sources": [{"Path": "a"}]},
        "PricerConfiguration": {"MonteCarloTrial": 5, "DayCounter": {"Base": "ACT_365"}, "WithGreek": true},
        "Pricer": {"Ladder1D": {"Plots": [{"BumpValue": 1}, {"Bump": 2}]}}})");
    EXPECT_THAT(xim::find_remarks(request),
                ElementsAre("\"PricerConfig\" is an unknown key.",
                            "\"DataConfiguration\".\"Sources\"[0].\"Path\" is an unknown key.",
                            "\"PricerConfiguration\".\"DayCounter\".\"Base\" is an unknown key.",
                            "\"PricerConfiguration\".\"MonteCarloTrial\" is an unknown key.",
                            "\"PricerConfiguration\".\"WithGreek\" is an unknown key.",
                            "\"Pricer\".\"Ladder1D\".\"Plots\"[1].\"Bump\" is an unknown key."));
}

TEST(Remarks, SayWhichTextCountsInPlaceOfAnUnknownOne) {
    Json::Value request = example("products/european_option.json");
    request["ContractConfiguration"]["PayoffKind"] = "PUT";
    request["PricerConfiguration"]["Method"] = "MONTECARLO";
    EXPECT_THAT(xim::find_remarks(request),
                ElementsAre("\"ContractConfiguration\".\"PayoffKind\": \"PUT\" is unknown, "
                            "\"CALL_TYPE\" counts.",
                            "\"PricerConfiguration\".\"Method\": \"MONTECARLO\" is unknown, "
                            "\"MONTE_CARLO\" counts."));
}

TEST(Remarks, NameTheMemberOfAWrongType) {
    Json::Value request = example("european_call.json");
    request["PricerConfiguration"]["MonteCarloTrials"] = "many";
    request["ModelConfiguration"] = 3;
    EXPECT_THAT(
        xim::find_remarks(request),
        ElementsAre("\"ModelConfiguration\" is not a JSON object.",
                    HasSubstr("\"PricerConfiguration\".\"MonteCarloTrials\": Value is not")));
}

TEST(Remarks, NameANumberWhereATextBelongs) {
    Json::Value request = example("european_call.json");
    request["ContractConfiguration"]["Script"] = 3;
    EXPECT_THAT(xim::find_remarks(request),
                ElementsAre("\"ContractConfiguration\".\"Script\" is no text."));
}

TEST(Remarks, AskForTheScript) {
    EXPECT_THAT(xim::find_remarks(parse(R"({"ContractConfiguration": {"Scirpt": "End"}})")),
                ElementsAre("\"ContractConfiguration\".\"Scirpt\" is an unknown key.",
                            "\"ContractConfiguration\" has no \"Script\"."));
}

TEST(Gaps, NameAbsentDates) {
    Json::Value request = example("european_call.json");
    EXPECT_THAT(xim::find_gaps(request, "/GetPrice"), IsEmpty());
    request["ContractConfiguration"].removeMember("Date");
    request["ModelConfiguration"].removeMember("CalibrationDate");
    EXPECT_THAT(xim::find_gaps(request, "/GetPrice"),
                ElementsAre("\"ContractConfiguration\" has no \"Date\".",
                            "\"ModelConfiguration\" has no \"CalibrationDate\"."));
    EXPECT_THAT(xim::find_gaps(request, "/GetContract"), SizeIs(1));
    EXPECT_THAT(xim::find_gaps(request, "/GetModelImpliedVolatility"), SizeIs(1));
    request.removeMember("ModelConfiguration");
    EXPECT_THAT(xim::find_gaps(request, "/GetPrice"), SizeIs(2));
}

TEST(Gaps, NameWhatASimulationNeeds) {
    Json::Value request = example("european_call.json");
    request["PricerConfiguration"]["MonteCarloTrials"] = 0;
    request["PricerConfiguration"].removeMember("MonteCarloNbThreads");
    EXPECT_THAT(xim::find_gaps(request, "/GetPrice"), SizeIs(2));
    EXPECT_THAT(xim::find_gaps(request, "/GetContract"), IsEmpty());
    request["PricerConfiguration"]["Method"] = "FINITE_DIFFERENCE";
    EXPECT_THAT(xim::find_gaps(request, "/GetPrice"), IsEmpty());
}

TEST(Gaps, NameTheGridOfAReplication) {
    Json::Value request = example("european_call.json");
    Json::Value& pricer = request["PricerConfiguration"];
    pricer["Method"] = "STATIC_REPLICATION";
    EXPECT_THAT(xim::find_gaps(request, "/GetPrice"),
                ElementsAre(HasSubstr("ClosedFormMoneynessGridSize")));
    pricer["ClosedFormMoneynessGridSize"] = 100;
    pricer["ClosedFormMoneynessGridLowerBound"] = 0.5;
    pricer["ClosedFormMoneynessGridUpperBound"] = 1.5;
    EXPECT_THAT(xim::find_gaps(request, "/GetPrice"), IsEmpty());
}

TEST(Gaps, NameATrajectoryBeyondTheTrials) {
    Json::Value request = example("analysis/diffusion_basket.json");
    request["Model"]["Diffusion"]["Trajectory"] =
        request["PricerConfiguration"]["MonteCarloTrials"];
    EXPECT_THAT(xim::find_gaps(request, "/GetModelDiffusion"),
                ElementsAre("\"Trajectory\" must stay below \"MonteCarloTrials\"."));
}

TEST(Xim, SaysWhyAPriceIsNoNumber) {
    Outcome const outcome = run_xim("price examples/european_call.json --trials 0");
    EXPECT_THAT(outcome.err, HasSubstr("WARNING: A simulation needs \"PricerConfiguration\"."
                                       "\"MonteCarloTrials\" above 0.\n"));
}

TEST(Xim, NamesAMarketFileThatIsNoJson) {
    Outcome const outcome = run_xim("price examples/european_call.json --market README.md");
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.err, HasSubstr("WARNING: The market file README.md is no JSON.\n"));
}

TEST(Xim, AsksForTheSolver) {
    Outcome const outcome = run_xim("solve examples/european_call.json");
    EXPECT_EQ(outcome.status, 2);
    EXPECT_EQ(outcome.err, "The request has no \"Pricer\".\"Solver\".\n");
}

TEST(Report, CountsEqualRecordsInARow) {
    std::ostringstream out;
    xim::report_log(
        parse(R"({"Logger": [{"Level": "ERROR", "Message": "a"}, {"Level": "INFO", "Message": "x"},
        {"Level": "ERROR", "Message": "a"}, {"Level": "WARNING", "Message": "a"},
        {"Level": "ERROR", "Message": "a"}]})"),
        out);
    EXPECT_EQ(out.str(), "ERROR: a (2 times)\nWARNING: a\nERROR: a\n");
}

TEST(Xim, NamesAnUnknownCommand) {
    Outcome const outcome = run_xim("prize examples/european_call.json");
    EXPECT_EQ(outcome.status, 2);
    EXPECT_EQ(outcome.err, "Unknown command prize; xim --help lists all.\n");
}

TEST(Xim, RefusesAPictureThatCannotBeWrittenBeforeItWorks) {
    Outcome const outcome =
        run_xim("replicate examples/analysis/replicate_twin_win.json --plot /nonexistent/x.svg");
    EXPECT_EQ(outcome.status, 2);
    EXPECT_THAT(outcome.out, IsEmpty());
    EXPECT_EQ(outcome.err, "Cannot write /nonexistent/x.svg\n");
}

TEST(Xim, LeavesNoPictureBehindWhenTheRequestFails) {
    std::string const file = ::testing::TempDir() + "xim_left.svg";
    std::filesystem::remove(file);
    EXPECT_NE(run_xim("replicate examples/autocall.json --plot " + file).status, 0);
    EXPECT_FALSE(std::filesystem::exists(file));
}

TEST(Xim, SaysHowManyPathsThereMayBe) {
    Outcome const outcome = run_xim("diffuse examples/analysis/diffusion_basket.json --paths 0");
    EXPECT_NE(outcome.status, 0);
    EXPECT_THAT(outcome.err, HasSubstr("1"));
    EXPECT_THAT(outcome.err, Not(HasSubstr("0.000000")));
}

}  // namespace
