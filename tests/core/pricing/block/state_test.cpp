// What a state reads from a calibrated helper, and what a bumped one shares with the central one.

#include "core/pricing/block/state.hpp"

#include <limits>

#include "support/both_engines.hpp"
#include "support/helper_user.hpp"

namespace ximCORE::Pricing::Block {
namespace {

using Modeling::Bump;
using Testing::TreeBuilder;
using Change = State::Change;

class StateTest : public BothEnginesTest {
 protected:
    StateTest() {
        add_currency("EUR");
        auto const a = add_share("A", 100.0, 0.25);
        auto const b = add_share("B", 80.0, 0.375);
        correlate(*a, *b, 0.5);
        activate_block_greeks(0, 0, 0);
    }

    void with_helper(HelperUser::Work const& work) {
        TreeBuilder tree;
        int const product =
            tree.binary(TreeBuilder::mul, tree.fixing("A", half_year), tree.fixing("B", one_year));
        auto const priced = contract(tree, tree.pay(product, one_year, "EUR"));
        Pricing::with_helper(*priced, today, work);
    }

    static State read(Modeling::MCHelper& helper, State const* central = nullptr) {
        State state;
        EXPECT_TRUE(state.read(helper, central));
        return state;
    }
};

TEST_F(StateTest, APathHasTheStepsOfTheVolatilityAndTheRowOfTheCorrelations) {
    with_helper([](Modeling::MCHelper& helper) {
        helper.switch_to_central();
        State const state = read(helper);
        ASSERT_EQ(state.paths.size(), 2U);
        for (std::size_t u = 0; u < 2; ++u) {
            auto const& [loadings, diffusions, drifts] = *state.paths[u];
            double const sigma = u == 0 ? 0.25 : 0.375;
            ASSERT_EQ(loadings.size(), u + 1);
            EXPECT_NEAR(loadings[u], u == 0 ? 1.0 : std::sqrt(0.75), 1e-12);
            EXPECT_NEAR(loadings[0], u == 0 ? 1.0 : 0.5, 1e-12);
            ASSERT_EQ(diffusions.size(), helper.c_get_nb_fixing_dates());
            for (std::size_t k = 0; k < diffusions.size(); ++k) {
                double const step = helper.c_get_time_steps()[k];
                EXPECT_NEAR(diffusions[k], sigma * std::sqrt(step), 1e-12);
                EXPECT_NEAR(drifts[k], -0.5 * sigma * sigma * step, 1e-12);
            }
            EXPECT_EQ(state.forwards[u]->size(), diffusions.size());
        }
    });
}

TEST_F(StateTest, ABumpedStateSharesWhatTheBumpLeavesAlone) {
    with_helper([](Modeling::MCHelper& helper) {
        helper.switch_to_central();
        State const central = read(helper);
        helper.select(Bump::delta_up, 0);
        State const spot = read(helper, &central);
        EXPECT_EQ(spot.c_get_change(central, 0), Change::forward);
        EXPECT_EQ(spot.c_get_change(central, 1), Change::none);
        EXPECT_EQ(spot.paths[0], central.paths[0]);
        EXPECT_NEAR(spot.forwards[0]->at(0) / central.forwards[0]->at(0), 1.0 + c_engine_bump,
                    1e-12);
        helper.select(Bump::vega_up, 1);
        State const volatility = read(helper, &central);
        EXPECT_EQ(volatility.c_get_change(central, 0), Change::none);
        EXPECT_EQ(volatility.c_get_change(central, 1), Change::path);
        EXPECT_EQ(volatility.forwards[1], central.forwards[1]);
        helper.select(Bump::cega_up, 1, 0);
        State const correlation = read(helper, &central);
        EXPECT_EQ(correlation.c_get_change(central, 0), Change::none);
        EXPECT_EQ(correlation.c_get_change(central, 1), Change::path);
        helper.switch_to_central();
        State const again = read(helper, &central);
        EXPECT_EQ(again.paths, central.paths);
        EXPECT_EQ(again.forwards, central.forwards);
    });
}

TEST_F(StateTest, APathThatIsNoNumberDiffersFromAnyOther) {
    State::Path path{{1.0}, {std::numeric_limits<double>::quiet_NaN()}, {0.0}};
    EXPECT_FALSE(path == path);
    State central;
    central.paths = {std::make_shared<State::Path const>(path)};
    central.forwards = {std::make_shared<State::Forwards const>(1, 100.0)};
    EXPECT_EQ(central.c_get_change(central, 0), Change::none);
    State other = central;
    other.paths = {std::make_shared<State::Path const>(path)};
    EXPECT_EQ(other.c_get_change(central, 0), Change::path);
}

}  // namespace
}  // namespace ximCORE::Pricing::Block
