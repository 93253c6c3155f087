// Laws that hold for every ready product, over random terms.

#include <gtest/gtest.h>

#include <set>

#include "api/json/document.hpp"
#include "api/json/products.hpp"
#include "api/json/records.hpp"
#include "support/matchers.hpp"

namespace ximTest {
namespace {

using namespace ximAPI;
using Toolkit::deserialize;
using Toolkit::serialize;

using ProductRecords =
    RecordList<AmericanOptionExample, AsianOptionExample, Autocall, BarrierOptionExample,
               BarrierReverseConvertibleExample, ButterflySpreadOptionExample, CondorSpreadExample,
               DigitalOptionExample, DoubleBarrierOptionExample, EuropeanOptionExample,
               MultiAssetOptionExample, ReverseConvertibleExample, RiskReversalExample,
               SpreadOptionExample, StraddleExample, StrangleExample, Vanilla>;

void for_each_product(auto&& visit) {
    for_each_of(ProductRecords{}, visit);
}

Json::Value written(auto const& product) {
    Json::Value json;
    serialize(product, json);
    return json;
}

TEST(EveryProduct, IsInTheTableOfKinds) {
    std::size_t products = 0;
    for_each_product([&]<class P>() {
        auto const is_its_row = [](Toolkit::ProductRow const& row) {
            return row.reader == &Toolkit::read_product<P>;
        };
        EXPECT_EQ(std::ranges::count_if(Toolkit::product_table, is_its_row), 1) << name_of<P>();
        ++products;
    });
    auto const with_reader = std::ranges::count_if(
        Toolkit::product_table, [](auto const& row) { return row.reader != nullptr; });
    EXPECT_EQ(static_cast<std::size_t>(with_reader), products + 2);  // CONSOLE and FILE
}

TEST(EveryProduct, ReadsBackWhatItWrote) {
    Random random{20231105};
    for_each_product([&]<class P>() {
        for (int round = 0; round < 20; ++round) {
            P original;
            randomise(original, random);
            P copy;
            deserialize(written(original), copy);
            ASSERT_EQ(written(copy), written(original)) << name_of<P>();
        }
    });
}

TEST(EveryProduct, HasEachKeyOnceAndNoneOfTheContract) {
    for_each_product([]<class P>() {
        std::set<std::string> keys{"IntradayPayments", "IntradayChoices",
                                   "IntradayFixings",  "Date",
                                   "PremiumCurrency",  "Kind"};
        std::apply(
            [&](auto const&... field) {
                bool const is_new = (keys.insert(field.key).second && ...);
                EXPECT_TRUE(is_new) << name_of<P>();
            },
            Toolkit::fields<P>);
    });
}

// Any text stands for a date or a ticker while a product is built: it is read when the work starts.
TEST(EveryProduct, IsBuiltOrRefusedWithOneReason) {
    Random random{23051994};
    std::size_t built = 0;
    std::size_t refused = 0;
    for_each_product([&]<class P>() {
        for (int round = 0; round < 200; ++round) {
            P product;
            randomise(product, random);
            auto& log = ximCORE::Toolbox::Log::s_add(ximCORE::Toolbox::Log::Level::INFO,
                                                     std::stringstream("terms"));
            log.clear();
            if (product.build()) {
                EXPECT_NE(product.encoded, nullptr) << name_of<P>();
                EXPECT_TRUE(log.empty()) << name_of<P>() << ": " << log.front().text;
                ++built;
            } else {
                EXPECT_EQ(product.encoded, nullptr) << name_of<P>();
                EXPECT_EQ(log.size(), 1U) << name_of<P>();
                ++refused;
            }
            log.clear();
        }
    });
    EXPECT_GT(built, refused);
    EXPECT_GT(refused, 0U);
}

TEST(EveryProduct, BuiltTwiceIsTheSame) {
    Random random{3};
    for_each_product([&]<class P>() {
        P product;
        randomise(product, random);
        bool const first = product.build();
        bool const second = product.build();
        EXPECT_EQ(first, second) << name_of<P>();
    });
}

}  // namespace
}  // namespace ximTest
