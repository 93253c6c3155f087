#include "core/pricing/mc_pricer.hpp"
#include "support/simulation_test.hpp"

namespace ximCORE::Pricing {
namespace {

TEST_F(OneShareTest, TheReportNamesItsRowsInOrder) {
    auto const priced = european_call();
    activate_all(0, 0, 0);
    PricerOptions::s_options.greeks.rho.activate = true;
    PricerOptions::s_options.greeks.epsilonn.activate = true;
    auto const pricer = run(*priced);
    std::vector<std::string> reported;
    for (auto const& row : pricer->c_get_results().results) reported.push_back(row.name);
    EXPECT_THAT(reported, testing::ElementsAre("PRICE", "RHO@", "DELTA@A", "GAMMA@A", "VEGA//@A",
                                               "VOLGA//@A", "VANNA//@A"));
}

TEST_F(ThreeShareTest, TheReportNamesItsPairsTheLaterUnderlyingFirst) {
    auto const priced = basket();
    MCPricerOptions::s_options.trials = 2;
    PricerOptions::s_options.greeks.cega.activate = true;
    auto const pricer = run(*priced);
    std::vector<std::string> reported;
    for (auto const& row : pricer->c_get_results().results) reported.push_back(row.name);
    EXPECT_THAT(reported, testing::ElementsAre("PRICE", "CEGA@B#A", "CEGA@C#A", "CEGA@C#B"));
}

TEST_F(OneShareTest, RhoIsCalibratedAndNeverFilled) {
    auto const priced = european_call();
    PricerOptions::s_options.greeks.rho.activate = true;
    auto const pricer = run(*priced);
    EXPECT_EQ(pricer->c_get_results().rho.get(0).result.count, 0U);
    EXPECT_TRUE(std::isnan(pricer->c_get_results().rho.get(0).result.mean));
}

TEST_F(OneShareTest, ARunLeavesTheModelWithoutHelper) {
    auto const priced = european_call();
    auto const model = Modeling::get_model(today, Modeling::ModelName::black_scholes);
    MCPricer pricer;
    ASSERT_TRUE(model->get_dependencies(*priced));
    MCPricerOptions::s_options.trials = 1;
    ASSERT_TRUE(pricer.run(*priced, model.get()));
    auto* const fresh = model->safe_new_MC_helper();
    EXPECT_EQ(fresh->c_get_normals(), nullptr);
}

TEST_F(OneShareTest, AModelWithoutSimulationEndsTheRun) {
    auto const priced = european_call();
    auto const model = Modeling::get_model(today, Modeling::ModelName::free);
    EXPECT_FALSE(MCPricer().run(*priced, model.get()));
    EXPECT_FALSE(MCPricer().run(*priced, nullptr));
}

}  // namespace
}  // namespace ximCORE::Pricing
