// From the results of the core to the records of the caller.

#include "api/bridge/results.hpp"

#include <string>

#include "support/precompiled.hpp"

namespace {

using ximCORE::Pricing::MCResult;
using ximCORE::Pricing::Results;

MCResult estimate(double mean) {
    MCResult result;
    result.mean = mean;
    return result;
}

Results::Rows rows(std::size_t size, double mean) {
    Results::Rows made(size);
    for (std::size_t i = 0; i < size; ++i)
        made.unsafe_get(i) = {"A" + std::to_string(i), estimate(mean + static_cast<double>(i))};
    return made;
}

Results::Pairs pairs(std::size_t size, double mean) {
    Results::Pairs made(size);
    for (std::size_t i = 1; i < size; ++i)
        for (std::size_t j = 0; j < i; ++j)
            made.unsafe_get(i, j) = {"A" + std::to_string(i), "A" + std::to_string(j),
                                     estimate(mean)};
    return made;
}

TEST(BridgedResults, TakeTheFourNumbersOfAnEstimate) {
    MCResult from;
    from.lower_bound = 1.5;
    from.upper_bound = 2.5;
    from.mean = 2.0;
    from.standard_error = 0.25;
    ximAPI::PricingResult to;
    ximAPI::Toolkit::set_pricing_result(from, to);
    EXPECT_EQ(to.Lower, 1.5F);
    EXPECT_EQ(to.Upper, 2.5F);
    EXPECT_EQ(to.Mean, 2.0F);
    EXPECT_EQ(to.Stddev, 0.25F);
}

TEST(BridgedResults, PutEachGreekInItsOwnPlace) {
    Results from;
    from.results = {{"PRICE", estimate(1.0)}, {"DELTA@A0", estimate(10.0)}};
    from.price = estimate(1.0);
    from.delta = rows(2, 10.0);
    from.gamma = rows(2, 20.0);
    from.vega = rows(2, 30.0);
    from.volga = rows(2, 40.0);
    from.vanna = rows(2, 50.0);
    from.xgamma = pairs(2, 60.0);
    from.xvolga = pairs(2, 70.0);
    from.xvanna = pairs(2, 80.0);
    from.cega = pairs(2, 90.0);
    ximAPI::PricingResults to;
    ximAPI::Toolkit::set_pricing_results(from, to);
    EXPECT_EQ(to.Price.Value.Mean, 1.0F);
    ASSERT_EQ(to.All.size(), 2U);
    EXPECT_EQ(to.All[1].Name, "DELTA@A0");
    EXPECT_EQ(to.All[1].Value.Mean, 10.0F);
    float expected = 10.0F;
    for (auto const* greek : {&to.Delta, &to.Gamma, &to.Vega, &to.Volga, &to.Vanna}) {
        ASSERT_EQ(greek->size(), 2U);
        EXPECT_EQ((*greek)[0].Value.Mean, expected);
        EXPECT_EQ((*greek)[1].Ticker, "A1");
        EXPECT_EQ((*greek)[1].Value.Mean, expected + 1.0F);
        expected += 10.0F;
    }
    for (auto const* greek : {&to.XGamma, &to.XVolga, &to.XVanna, &to.Cega}) {
        ASSERT_EQ(greek->size(), 1U);
        EXPECT_EQ((*greek)[0].FirstTicker, "A1");
        EXPECT_EQ((*greek)[0].SecondTicker, "A0");
        EXPECT_EQ((*greek)[0].Value.Mean, expected);
        expected += 10.0F;
    }
}

TEST(BridgedResults, GreeksThatWereNotComputedComeOutEmpty) {
    ximAPI::PricingResults to;
    to.Delta.resize(3);
    to.Cega.resize(3);
    to.All.resize(3);
    ximAPI::Toolkit::set_pricing_results(Results(), to);
    EXPECT_TRUE(to.Delta.empty());
    EXPECT_TRUE(to.Cega.empty());
    EXPECT_TRUE(to.All.empty());
}

TEST(BridgedResults, RowsAndPairsAreCountedInEightBits) {
    Results from;
    from.delta = rows(255, 0.0);
    from.vega = rows(300, 0.0);
    from.cega = pairs(24, 0.0);  // 276 pairs
    ximAPI::PricingResults to;
    ximAPI::Toolkit::set_pricing_results(from, to);
    EXPECT_EQ(to.Delta.size(), 255U);
    EXPECT_EQ(to.Vega.size(), 300U - 256U);
    ASSERT_EQ(to.Cega.size(), 276U - 256U);
    EXPECT_EQ(to.Cega[3].FirstTicker, "A3") << "the pairs run row by row";
    EXPECT_EQ(to.Cega[3].SecondTicker, "A0");
}

}  // namespace
