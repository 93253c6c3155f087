#include "dsl/encoded.hpp"

#include <clocale>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "dsl/encoded_reader.hpp"
#include "support/matchers.hpp"
#include "ximAPI/cashflow.hpp"

namespace {

using namespace ximDSL;
using ximTest::text_of;
using ximTest::text_of_script;

/// A path in the folder for temporary files, of its own for each test, removed at the end.
class ContractFile : public testing::Test {
 protected:
    ~ContractFile() override { std::filesystem::remove(path); }

    void write(std::string const& text) const { std::ofstream(path) << text; }
    [[nodiscard]] std::string read() const {
        std::ifstream file(path);
        return {std::istreambuf_iterator<char>(file), {}};
    }

    std::string const path = testing::TempDir() + "xim_" +
                             testing::UnitTest::GetInstance()->current_test_info()->name() + ".txt";
};

TEST(Encoded, APaymentHasALinePerNodeInPostOrder) {
    EXPECT_EQ(text_of_script("Pay(2*Spot(AAA,2025-06-30),2025-07-01,EUR)"),
              "0 3 0 1\n"
              "a 1 27 2\n"
              "a 2 28 AAA,2025-06-30,\n"
              "a 0 4 1,2\n"
              "c 0 5 0,2025-07-01,EUR,1\n");
}

TEST(Encoded, NumbersHaveSixSignificantDigits) {
    EXPECT_EQ(text_of(Pay(1234567.0f, "d", "c") & Pay(0.123456789f, "d", "c")),
              "0 2 0 3\n"
              "a 0 27 1.23457e+06\n"
              "c 1 5 0,d,c,1\n"
              "a 1 27 0.123457\n"
              "c 2 5 1,d,c,1\n"
              "c 0 0 1,2\n");
    EXPECT_DOUBLE_EQ(ximTest::value_of("1234567"), 1234570.0);
}

TEST(Encoded, NumbersAreWrittenAlikeInEveryLocale) {
    struct Comma : std::numpunct<char> {
        char do_decimal_point() const override { return ','; }
        char do_thousands_sep() const override { return '.'; }
        std::string do_grouping() const override { return "\3"; }
    };
    auto const outer = std::locale::global(std::locale(std::locale::classic(), new Comma));
    auto const text = text_of(Pay(1234.5f, "d", "c"));
    std::locale::global(outer);
    EXPECT_EQ(text, "0 1 0 1\na 0 27 1234.5\nc 0 5 0,d,c,1\n");
}

TEST(Encoded, TwoParentsOfANodeNameTheSameItem) {
    auto const x = Spot("AAA", "d", "");
    EXPECT_EQ(text_of(Pay(x, "d", "c") & Pay(x, "d", "c")),
              "0 1 0 3\n"
              "a 0 28 AAA,d,\n"
              "c 1 5 0,d,c,1\n"
              "c 2 5 0,d,c,1\n"
              "c 0 0 1,2\n");
}

TEST(Encoded, ATreeThatDoublesAtEachLevelIsWrittenOnce) {
    auto x = Cst(1.0f);
    for (int level = 0; level < 200; ++level) x = x + x;
    Encoded encoded;
    ASSERT_TRUE(Pay(x, "d", "c")->encode(encoded));
    EXPECT_EQ(encoded.amounts, 201u);
    EXPECT_EQ(encoded.items.size(), 202u);
}

TEST(Encoded, AChoiceStandsInFrontOfItsAlternatives) {
    EXPECT_EQ(text_of(Either("2025-01-02", 1)({End(), Pay(1.0f, "d", "c")})),
              "0 1 0 3\n"
              "c 0 2 1,2025-01-02,1,2\n"
              "c 1 6 0\n"
              "a 0 27 1\n"
              "c 2 5 0,d,c,1\n");
}

TEST(Encoded, SortedAmountsStandInFrontOfTheirAmounts) {
    auto const sorted = Sorted({Spot("A", "d", ""), Spot("B", "d", "")});
    EXPECT_EQ(text_of(Pay(sorted[1], "d", "c")),
              "0 3 0 1\n"
              "a 0 32 1,1,2\n"
              "a 1 28 A,d,\n"
              "a 2 28 B,d,\n"
              "c 0 5 0,d,c,1\n");
}

TEST(Encoded, CountsAreAddedToThoseOfTheForm) {
    Encoded encoded;
    ASSERT_TRUE(Pay(1.0f, "d", "c")->encode(encoded));
    ASSERT_TRUE(Pay(2.0f, "d", "c")->encode(encoded));
    EXPECT_EQ(text_of(encoded), "1 2 0 2\na 0 27 1\nc 0 5 0,d,c,1\na 1 27 2\nc 1 5 1,d,c,1\n");
}

TEST(Encoded, ATreeIsWrittenOnlyOnce) {
    auto const contract = Pay(1.0f, "d", "c");
    Encoded first;
    ASSERT_TRUE(contract->encode(first));
    EXPECT_EQ(text_of(contract), "0 0 0 0\n");
}

TEST(Encoded, AMissingChildFailsInsteadOfCrashing) {
    Encoded encoded;
    EXPECT_FALSE(Pay(AmountPtr{}, "d", "c")->encode(encoded));
    EXPECT_FALSE((End() & CashFlowPtr{})->encode(encoded));
    EXPECT_FALSE(ximDSL::encode({Observation("d", {})}, encoded));
}

TEST(Encoded, ObservationsHaveNeitherRootNorCashFlows) {
    auto const shared = Spot("A", "d", "");
    Encoded encoded;
    ASSERT_TRUE(
        ximDSL::encode({Observation("d1", shared + 1.0f), Observation("d2", shared)}, encoded));
    EXPECT_EQ(text_of(encoded),
              "0 2 0 0\n"
              "a 1 28 A,d,\n"
              "a 0 20 1,1\n"
              "o 0 0 d1,0\n"
              "o 1 0 d2,1\n");
}

TEST(Encoded, AChainOfManyNodesIsEncodedAndReleased) {
    auto amount = Cst(0.0f);
    for (int i = 0; i < 200'000; ++i) amount = amount + 1.0f;
    auto left = End();
    for (int i = 0; i < 50'000; ++i) left = left & End();
    Encoded encoded;
    ASSERT_TRUE((Pay(amount, "d", "c") & left)->encode(encoded));
    EXPECT_EQ(encoded.amounts, 200'001u);
    EXPECT_EQ(encoded.cashflows, 100'003u);
}

TEST_F(ContractFile, SaveWritesWhatFileReadsBack) {
    auto const make = [] {
        auto const spot = Spot("AAA", "2025-06-30", "");
        return If(spot > 100.0f, 0.01f)(Pay(spot, "2025-07-01", "EUR"), Set("x", spot) & End());
    };
    ASSERT_TRUE(Save(make(), path));
    ximAPI::File file(path);
    EXPECT_EQ(text_of(file), text_of(make()));
    EXPECT_EQ(read(), text_of(make()));
}

TEST_F(ContractFile, SaveAnswersFalseIfTheFileCannotBeOpened) {
    EXPECT_FALSE(Save(End(), path + "/no/folder"));
    EXPECT_FALSE(Save(CashFlowPtr{}, path));
    EXPECT_FALSE(Save(std::vector{Observation("d", Cst(1.0f))}, path + "/no/folder"));
}

TEST_F(ContractFile, AFailedSaveLeavesTheTreeFresh) {
    auto const contract = Pay(1.0f, "d", "c");
    ASSERT_FALSE(Save(contract, path + "/no/folder"));
    ASSERT_TRUE(Save(contract, path));
    EXPECT_EQ(read(), "0 1 0 1\na 0 27 1\nc 0 5 0,d,c,1\n");
}

TEST_F(ContractFile, SavesObservations) {
    ASSERT_TRUE(Save(std::vector{Observation("2025-01-02", Spot("A", "2025-01-02", ""))}, path));
    EXPECT_EQ(read(), "0 1 0 0\na 0 28 A,2025-01-02,\no 0 0 2025-01-02,0\n");
}

TEST_F(ContractFile, ALastLineWithoutLineFeedReadsTheSame) {
    write("0 1 0 1\na 0 28 AAA,d,\nc 0 5 0,d,EUR,1");
    ximAPI::File file(path);
    EXPECT_EQ(text_of(file), "0 1 0 1\na 0 28 AAA,d,\nc 0 5 0,d,EUR,1\n");
}

TEST_F(ContractFile, AShortOrBadFileGivesAShorterList) {
    for (auto const* text : {"", "x", "0 18446744073709551615 9999999999 7\n", "0 1 0 1\na 0 28",
                             "0 0 0 1\nc zero 6 0\n"}) {
        write(text);
        ximAPI::File file(path);
        ASSERT_TRUE(file.build()) << text;
        EXPECT_TRUE(file.encoded->items.empty()) << text;
    }
}

TEST_F(ContractFile, AMissingFileLogsItsPathWithoutABlank) {
    ximAPI::File file("/no/such/file");
    EXPECT_THAT([&] { EXPECT_FALSE(file.build()); },
                ximTest::LogsError("Cannot find file/no/such/file"));
    EXPECT_EQ(file.encoded, nullptr);
}

}  // namespace
