// The command line as a person uses it: what it prints where, and its exit status.

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

/// A request with another script, in a file that is removed at the end of the test.
class RequestFile {
 public:
    explicit RequestFile(std::string const& script, std::string const& date = "2021-05-03")
        : m_path(::testing::TempDir() + "xim_request_" +
                 ::testing::UnitTest::GetInstance()->current_test_info()->name() + ".json") {
        std::ofstream(m_path) << R"({"ContractConfiguration": {"Date": ")" << date
                              << R"(", "PremiumCurrency": "USD", "Kind": "CONSOLE", "Script": ")"
                              << script << R"("}, "ModelConfiguration": {"CalibrationDate": ")"
                              << date << R"(", "Name": "BLACK_SCHOLES_MODEL"},
             "PricerConfiguration": {"MonteCarloTrials": 100, "MonteCarloNbThreads": 1}})";
    }
    ~RequestFile() { std::filesystem::remove(m_path); }
    RequestFile(RequestFile const&) = delete;
    RequestFile& operator=(RequestFile const&) = delete;

    [[nodiscard]] std::string const& c_get_path() const { return m_path; }

 private:
    std::string m_path;
};

TEST(Xim, PricesForAPerson) {
    Outcome const outcome = run_xim("price examples/european_call.json --trials 1000");
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_THAT(outcome.out, HasSubstr("Price "));
    EXPECT_THAT(outcome.out, HasSubstr(" USD\n"));
    EXPECT_THAT(outcome.out, HasSubstr("Standard error"));
    EXPECT_THAT(outcome.out, HasSubstr("Delta  ^GSPC"));
    EXPECT_THAT(outcome.out, HasSubstr("Vega   ^GSPC"));
    EXPECT_THAT(outcome.err, HasSubstr("WARNING: By not providing data sources"));
}

TEST(Xim, SaysWhichEngineRanWhereOneIsAskedFor) {
    std::string const price = "price examples/european_call.json --trials 1000";
    Outcome const usual = run_xim(price);
    Outcome const block = run_xim(price + " --engine block");
    Outcome const reference = run_xim(price + " --engine reference");
    EXPECT_EQ(block.out, usual.out + "Engine           block\n");
    EXPECT_EQ(reference.out, usual.out + "Engine           reference\n");
    EXPECT_EQ(reference.err, usual.err);
    Outcome const ladder = run_xim("ladder examples/ladder_spot.json --trials 10 --engine block");
    EXPECT_THAT(ladder.out, ::testing::EndsWith("Engine           block\n"));
}

TEST(Xim, AModelThatIsNotLognormalRunsOnTheReferenceEngine) {
    Outcome const outcome =
        run_xim("price examples/local_volatility.json --trials 10 --engine block");
    EXPECT_THAT(outcome.out, ::testing::EndsWith("Engine           reference\n"));
}

TEST(Xim, RefusesAnUnknownEngine) {
    Outcome const outcome = run_xim("price examples/european_call.json --engine fast");
    EXPECT_NE(outcome.status, 0);
    EXPECT_THAT(outcome.err, HasSubstr("--engine"));
}

TEST(Xim, PrintsTheAnswerOfARoute) {
    Outcome const outcome = run_xim("/GetPrice examples/european_call.json --trials 10");
    EXPECT_EQ(outcome.status, 0);
    EXPECT_THAT(outcome.out, HasSubstr("\"Logger\""));
    EXPECT_THAT(outcome.out, HasSubstr("\"PricerConfiguration\""));
}

TEST(Xim, DescribesAContract) {
    Outcome const outcome = run_xim("contract examples/autocall.json");
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    for (char const* heading :
         {"Script\n", "Underlyings\n", "Fixings\n", "Events\n", "BARRIER", "^STOXX50E"}) {
        EXPECT_THAT(outcome.out, HasSubstr(heading));
    }
}

TEST(Xim, PricesOnAMarketFileWithoutALogin) {
    Outcome const outcome = run_xim(
        "price examples/worst_of_call.json --market examples/market/two_equities.json --trials "
        "100");
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_THAT(outcome.out, HasSubstr("Cega   BETA / ALPHA"));
    EXPECT_THAT(outcome.err, IsEmpty());
}

TEST(Xim, PrintsALadderOverOneAxis) {
    Outcome const outcome = run_xim("ladder examples/ladder_spot.json --trials 100");
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_THAT(outcome.out, HasSubstr("Prices in USD\n"));
    EXPECT_THAT(outcome.out, HasSubstr("spot@^GSPC moved by, %"));
    EXPECT_THAT(outcome.out, HasSubstr("(central)"));
    EXPECT_THAT(outcome.out, HasSubstr("\n                     -30  "));
    EXPECT_THAT(outcome.out, HasSubstr("Vega ^GSPC"));
}

TEST(Xim, PrintsALadderOverTwoAxes) {
    Outcome const outcome = run_xim("ladder examples/ladder_spot_volatility.json --trials 100");
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_THAT(outcome.out, HasSubstr("Down: spot@^STOXX50E moved by, %\n"));
    EXPECT_THAT(outcome.out, HasSubstr("Across: volatility@^STOXX50E plus, %\n"));
    EXPECT_THAT(outcome.out, HasSubstr("\n  -40  "));
}

TEST(Xim, DrawsALadder) {
    for (char const* name : {"ladder_spot", "ladder_spot_volatility"}) {
        for (char const* type : {".svg", ".png"}) {
            std::string const file = ::testing::TempDir() + "xim plot's " + name + type;
            Outcome const outcome = run_xim(std::string("ladder examples/") + name +
                                            ".json --trials 100 --plot \"" + file + '"');
            EXPECT_EQ(outcome.status, 0) << outcome.err;
            std::string const picture = read(file);
            EXPECT_THAT(picture, HasSubstr(type == std::string(".svg") ? "</svg>" : "PNG"));
            if (type == std::string(".svg")) {
                EXPECT_THAT(picture, HasSubstr("Price"));
                EXPECT_THAT(picture, HasSubstr("spot@^"));
            }
            std::remove(file.c_str());
        }
    }
}

TEST(Xim, SaysWhatIsMissingForAPlot) {
    Outcome const outcome = run_xim(
        "ladder examples/ladder_spot.json --trials 10 --plot /tmp/xim_never.svg", "PATH=/nowhere");
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.err, HasSubstr("gnuplot-nox"));
    EXPECT_THAT(outcome.out, HasSubstr("Prices in USD")) << "the table comes all the same";
}

TEST(Xim, RefusesAPlotOfAnotherType) {
    Outcome const outcome =
        run_xim("ladder examples/ladder_spot.json --trials 10 --plot ladder.pdf");
    EXPECT_EQ(outcome.status, 2);
    EXPECT_THAT(outcome.err, HasSubstr("ladder.pdf"));
}

TEST(Xim, FailsOnARequestWithoutALadder) {
    Outcome const outcome = run_xim("ladder examples/european_call.json");
    EXPECT_EQ(outcome.status, 2);
    EXPECT_THAT(outcome.err, HasSubstr("Ladder2D"));
}

TEST(Xim, SolvesForAFeature) {
    Outcome const outcome = run_xim("solve examples/autocall_coupon.json --trials 1000");
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_THAT(outcome.out, HasSubstr("Target price     100 EUR"));
    EXPECT_THAT(outcome.out, HasSubstr("coupon   "));
}

TEST(Xim, ShowsWhereAScriptIsRejected) {
    RequestFile const request("Pay(Sqrt(4), 2022-05-03, USD)");
    Outcome const outcome = run_xim("price " + request.c_get_path());
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.out, IsEmpty());
    EXPECT_THAT(outcome.err, HasSubstr("Pay(Sqrt(4), 2022-05-03, USD)"));
    EXPECT_THAT(outcome.err, HasSubstr("^"));
    EXPECT_THAT(outcome.err, HasSubstr("Sqr"));
    EXPECT_THAT(outcome.err, HasSubstr("1:5: error"));
}

TEST(Xim, NamesAMissingQuote) {
    RequestFile const request("Pay(Spot(^GSPC,2021-05-01),2022-05-03,USD)");
    Outcome const outcome = run_xim("price " + request.c_get_path());
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.err, HasSubstr("ERROR: Cannot find spot at '2021-05-01'"));
}

TEST(Xim, NamesAnUnknownTicker) {
    RequestFile const request("Pay(Spot(NOBODY,2022-05-03),2022-05-03,USD)");
    Outcome const outcome = run_xim("price " + request.c_get_path());
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.err, HasSubstr("NOBODY"));
}

TEST(Xim, FailsOnAMissingFile) {
    Outcome const outcome = run_xim("price nowhere.json");
    EXPECT_EQ(outcome.status, 2);
    EXPECT_THAT(outcome.err, HasSubstr("Cannot read nowhere.json"));
}

TEST(Xim, FailsOnTextThatIsNoJson) {
    Outcome const outcome = run_xim("price README.md");
    EXPECT_EQ(outcome.status, 2);
    EXPECT_THAT(outcome.err, HasSubstr("README.md: "));
}

TEST(Xim, FailsOnAnUnknownRoute) {
    Outcome const outcome = run_xim("/GetNothing examples/european_call.json");
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.out, HasSubstr("Unknown path /GetNothing"));
}

TEST(Xim, ExplainsItselfWithoutWords) {
    Outcome const outcome = run_xim("--help");
    EXPECT_EQ(outcome.status, 0);
    EXPECT_THAT(outcome.out, HasSubstr("price"));
    EXPECT_THAT(outcome.out, HasSubstr("/ROUTE"));
    EXPECT_THAT(run_xim("").status, Not(0));
}

}  // namespace
