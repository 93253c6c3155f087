// The files that describe a source: "Kind" and "Data".

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <streambuf>
#include <string>

#include "core/data/gateway.hpp"
#include "support/market.hpp"
#include "support/matchers.hpp"

namespace ximCORE::Data {
namespace {

using ximTest::LogsError;
using ximTest::LogsNothing;
using ximTest::LogsWarning;

class DescriptionTest : public Testing::MarketTest {
 protected:
    MarketDataGateway gateway;

    Spot const& spot_of_a() const {
        auto const a = cache().get_underlying("A", Level::silent);
        return *cache().get_spot(today, a.get(), Level::silent);
    }
    bool push(std::string const& text) {
        std::istringstream stream(text);
        return gateway._push_back_internal(stream);
    }
};

/// A stream of blanks without an end, as a device file gives.
class Endless final : public std::streambuf {
 protected:
    int_type underflow() override {
        setg(m_blanks.data(), m_blanks.data(), m_blanks.data() + m_blanks.size());
        return traits_type::to_int_type(m_blanks.front());
    }

 private:
    std::string m_blanks = std::string(1 << 16, ' ');
};

TEST_F(DescriptionTest, RefusesAFileWithoutAnEnd) {
    Endless blanks;
    std::istream stream(&blanks);
    bool result = true;
    EXPECT_THAT([&] { result = gateway._push_back_internal(stream); },
                LogsError("Cannot read market data: longer than 256 MiB"));
    EXPECT_FALSE(result);
    EXPECT_TRUE(gateway.c_get_sources().empty());
}

TEST_F(DescriptionTest, OpensAMarketOfKindManual) {
    EXPECT_TRUE(push(R"(// a market
        {"Kind": "manual", "Data": [{"type": "Spot", "ticker": "A", "date": "2023-01-01",
                                     "bid": 1, "ask": 3}]})"));
    EXPECT_EQ(gateway.c_get_sources().size(), 1u);
    EXPECT_EQ(spot_of_a().c_get_val(), 2.0);
}

TEST_F(DescriptionTest, PrefersTheEarlierOfTwoFiles) {
    for (auto const* price : {"1", "2"})
        EXPECT_TRUE(push(R"({"Kind": "manual", "Data": [{"type": "Spot", "ticker": "A", "date":
                             "2023-01-01", "bid": )" +
                         std::string(price) + R"(, "ask": )" + price + "}]}"));
    EXPECT_EQ(spot_of_a().c_get_val(), 1.0);
}

struct BadDescription {
    char const* text;
    char const* error;
};

constexpr BadDescription bad_descriptions[] = {
    {R"({"Data": []})", "Missing Kind"},
    {R"({"Kind": 5, "Data": []})", "Missing Kind"},
    {R"({"Kind": null, "Data": []})", "Missing Kind"},
    {R"({"Kind": ["manual"], "Data": []})", "Missing Kind"},
    {R"([])", "Missing Kind"},
    {R"(5)", "Missing Kind"},
    {R"("manual")", "Missing Kind"},
    {R"({"Kind": "manual"})", "Missing Data"},
    {R"({"Kind": "manual", "Data": null})", "Missing Data"},
    {R"({"Kind": "unheard of"})", "Missing Data"},
    {R"({"Kind": "MANUAL", "Data": []})", "Unknown kind MANUAL"},
    {R"({"Kind": "yFinance", "Data": {}})", "Unknown kind yFinance"},
    {R"({"Kind": "yfinance"})", "Missing Data"},
    {R"({"Kind": "", "Data": {}})", "Unknown kind "},
};

TEST_F(DescriptionTest, RefusesABadDescriptionWithItsReason) {
    for (auto const& bad : bad_descriptions)
        EXPECT_THAT([&] { EXPECT_FALSE(push(bad.text)); }, LogsError(std::string(bad.error)))
            << bad.text;
    EXPECT_TRUE(gateway.c_get_sources().empty());
}

TEST_F(DescriptionTest, RefusesTextThatIsNoJsonWithoutARecord) {
    for (auto const* text : {"", "{", "no json", "{\"Kind\": }"})
        EXPECT_THAT([&] { EXPECT_FALSE(push(text)); }, LogsNothing()) << text;
}

TEST_F(DescriptionTest, RefusesDeepNestingWithAnError) {
    auto const texts = ximTest::texts_of(Toolbox::Log::Level::ERROR, [&] {
        EXPECT_FALSE(push(R"({"Kind": "manual", "Data": )" + std::string(100000, '[')));
    });
    ASSERT_EQ(texts.size(), 1u);
    EXPECT_THAT(texts[0], ::testing::StartsWith("Cannot read market data: "));
}

TEST_F(DescriptionTest, RefusesABaseWithoutCredentials) {
    EXPECT_THAT([&] { EXPECT_FALSE(push(R"({"Kind": "base", "Data": []})")); },
                LogsWarning("Cannot parse credentials"));
    EXPECT_TRUE(gateway.c_get_sources().empty());
}

TEST_F(DescriptionTest, TakesAnyShapeOfManualData) {
    for (auto const* data : {"5", "\"text\"", "{}", "[[], 5, null]", "true"})
        EXPECT_TRUE(push(R"({"Kind": "manual", "Data": )" + std::string(data) + "}")) << data;
}

TEST_F(DescriptionTest, WarnsOfAFileThatIsNotThereAndGoesOn) {
    EXPECT_THAT([&] { EXPECT_FALSE(gateway.push_back("/nowhere/market.json")); },
                LogsWarning("Cannot find file /nowhere/market.json"));
    auto const path = std::filesystem::path(::testing::TempDir()) / "gateway_test_market.json";
    std::ofstream(path) << R"({"Kind": "manual", "Data": []})";
    EXPECT_TRUE(gateway.push_back(path.c_str()));
    std::filesystem::remove(path);
    EXPECT_FALSE(gateway.push_back(::testing::TempDir().c_str()));
    EXPECT_EQ(gateway.c_get_sources().size(), 1u);
}

}  // namespace
}  // namespace ximCORE::Data
