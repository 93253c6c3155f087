// Perturbations, their text keys, and the stack of shifts on the cached items.

#include "core/data/scenario.hpp"

#include <gtest/gtest.h>

#include <random>
#include <stdexcept>

#include "support/market.hpp"
#include "support/matchers.hpp"

namespace ximCORE::Data {
namespace {

using ximTest::IsNearRel;
using ximTest::Raises;

class ScenarioTest : public Testing::MarketTest {
 protected:
    static MarketDataScenario& scenario() { return MarketDataScenario::s_get(); }

    double spot_of(Underlying const& underlying) const {
        double value = 0.0;
        EXPECT_TRUE(underlying.eval(today, value, Level::error));
        return value;
    }

    std::size_t depth_of(Underlying const& underlying) const {
        return cache().get_spot(today, &underlying, Level::silent)->c_get_shifts().size();
    }

    static MarketDataPerturbationItem item(std::string const& key, double value,
                                           Shift::Kind kind = Shift::Kind::additive) {
        return {key, kind, Shift::Unit::none, value};
    }
};

TEST_F(ScenarioTest, ShiftsOneSpotAndGivesAllOthersANeutralSlot) {
    auto const a = share("A");
    auto const b = share("B");
    set_spot(*a, 100.0);
    set_spot(*b, 50.0);
    scenario().push_back(item("spot@A", 1.0));
    EXPECT_EQ(spot_of(*a), 101.0);
    EXPECT_EQ(spot_of(*b), 50.0);
    EXPECT_EQ(depth_of(*a), 1u);
    EXPECT_EQ(depth_of(*b), 1u);
    scenario().pop_back();
    EXPECT_EQ(spot_of(*a), 100.0);
    EXPECT_EQ(depth_of(*b), 0u);
}

TEST_F(ScenarioTest, AppliesLaterShiftsToTheOutputOfEarlierOnes) {
    auto const a = share("A");
    set_spot(*a, 100.0);
    scenario().push_back(item("spot@A", 1.0));
    scenario().push_back(
        MarketDataPerturbationItem("spot@A", Shift::Kind::hybrid, Shift::Unit::percentage, 10.0));
    EXPECT_THAT(spot_of(*a), IsNearRel(111.1, 1e-14));
}

TEST_F(ScenarioTest, AssignsWhateverTheInput) {
    auto const a = share("A");
    set_spot(*a, 100.0);
    scenario().push_back(MarketDataPerturbationItem("spot@A", Shift::Kind::assignment,
                                                    Shift::Unit::percentage, 25.0));
    EXPECT_EQ(spot_of(*a), 0.25);
}

TEST_F(ScenarioTest, ShiftsACorrelationInBothOrders) {
    auto const a = share("A");
    auto const b = share("B");
    auto const c = share("C");
    for (auto const& [first, second] : {std::pair(a, b), std::pair(b, a), std::pair(a, c)})
        set_correlation(*first, *second, 0.25);
    scenario().push_back(item("correlation@A#B", 0.5));
    auto const correlation = [&](auto const& first, auto const& second) {
        double value = 0.0;
        auto* own = cache().get_correlation(today, first.get(), second.get(), Level::silent);
        EXPECT_TRUE(own->eval(value, Level::error));
        return value;
    };
    EXPECT_EQ(correlation(a, b), 0.75);
    EXPECT_EQ(correlation(b, a), 0.75);
    EXPECT_EQ(correlation(a, c), 0.25);
}

TEST_F(ScenarioTest, ShiftsVolatilitiesForwardsAndYieldsEachByTheirKey) {
    auto const a = share("A", "EUR");
    set_spot(*a, 100.0);
    set_volatility(*a, 0.25);
    ASSERT_TRUE(forward_curve(*a).get_dependencies());
    auto const volatility = [&] {
        double value = 0.0;
        auto* own = cache().get_blackscholes_volatility(today, a.get(), Level::silent);
        EXPECT_TRUE(own->eval(value));
        return value;
    };
    auto const forward = [&] {
        double value = 0.0;
        EXPECT_TRUE(forward_curve(*a).eval_absolute(one_year, value));
        return value;
    };
    scenario().push_back(item("volatility@A", 0.5));
    EXPECT_EQ(volatility(), 0.75);
    EXPECT_EQ(forward(), 100.0);
    scenario().push_back(item("forward@A", 2.0));
    EXPECT_EQ(volatility(), 0.75);
    EXPECT_EQ(forward(), 102.0);
    static_cast<void>(yield_curve(*currency("EUR")));
    scenario().pop_back();
    scenario().push_back(item("yield@EUR", 0.01));
    EXPECT_THAT(forward(), IsNearRel(100.0 * std::exp(-0.01), 1e-12));
    EXPECT_EQ(volatility(), 0.75);
}

TEST_F(ScenarioTest, DoesNothingForAnUnknownType) {
    auto const a = share("A");
    set_spot(*a, 100.0);
    auto const unknown = item("colour@A", 5.0);
    EXPECT_EQ(unknown.c_get_item(), nullptr);
    scenario().push_back(unknown);
    EXPECT_EQ(spot_of(*a), 100.0);
    EXPECT_EQ(depth_of(*a), 1u);
}

TEST_F(ScenarioTest, RefusesKeysWithoutTheirSeparators) {
    for (auto const* key : {"", "spot", "A", "colour", "correlation@A", "correlation@"})
        EXPECT_THAT([&] { static_cast<void>(item(key, 1.0)); }, Raises<std::out_of_range>()) << key;
}

TEST_F(ScenarioTest, SplitsAKeyAtItsFirstSeparator) {
    auto const at = item("spot@A@B", 1.0);
    auto const& spot = dynamic_cast<MarketDataSpotPerturbationItem const&>(*at.c_get_item());
    EXPECT_STREQ(spot.c_get_underlying()->c_str(), "A@B");
    auto const hash = item("correlation@A#B#C", 1.0);
    auto const& pair =
        dynamic_cast<MarketDataCorrelationPerturbationItem const&>(*hash.c_get_item());
    EXPECT_STREQ(pair.c_get_first_underlying()->c_str(), "A");
    EXPECT_STREQ(pair.c_get_second_underlying()->c_str(), "B#C");
}

TEST_F(ScenarioTest, ReachesACurrencyPairByItsTicker) {
    auto const pair = cache().get_currency_pair(*currency("EUR"), *currency("USD"), Level::silent);
    pair->set_ticker("EUR-USD");
    set_spot(*pair, 1.1);
    scenario().push_back(item("spot@EUR-USD", 1.0));
    EXPECT_THAT(spot_of(*pair), IsNearRel(2.1, 1e-7));
}

TEST_F(ScenarioTest, ShiftsNothingForATickerThatNoItemHas) {
    auto const a = share("A");
    set_spot(*a, 100.0);
    scenario().push_back(item("spot@B", 1.0));
    EXPECT_EQ(spot_of(*a), 100.0);
}

TEST_F(ScenarioTest, PopsNothingFromAnEmptyStack) {
    auto const a = share("A");
    set_spot(*a, 100.0);
    scenario().pop_back();
    EXPECT_EQ(scenario().c_get_size(), 0u);
    auto const one = item("spot@A", 1.0);
    cache().pop_back_perturbation_item(one, 0);
    EXPECT_EQ(spot_of(*a), 100.0);
}

TEST_F(ScenarioTest, PopsOncePerElementFromTheEnd) {
    auto const a = share("A");
    set_spot(*a, 100.0);
    scenario().push_back(item("spot@A", 1.0));
    scenario().push_back({item("spot@A", 2.0), item("spot@A", 4.0)});
    EXPECT_EQ(spot_of(*a), 107.0);
    scenario().pop_back({item("spot@B", 0.0), item("spot@B", 0.0)});
    EXPECT_EQ(spot_of(*a), 101.0);
    EXPECT_EQ(scenario().c_get_size(), 1u);
}

TEST_F(ScenarioTest, ClearsAllSlots) {
    auto const a = share("A");
    set_spot(*a, 100.0);
    scenario().push_back({item("spot@A", 1.0), item("spot@A", 2.0)});
    scenario().clear();
    EXPECT_EQ(spot_of(*a), 100.0);
    EXPECT_EQ(scenario().c_get_size(), 0u);
}

TEST_F(ScenarioTest, PushesOnceWhenTheDepthIsReachedAlready) {
    auto const a = share("A");
    set_spot(*a, 100.0);
    auto const one = item("spot@A", 1.0);
    auto* spot = cache().get_spot(today, a.get(), Level::silent);
    spot->push_back_perturbation_step(one, 1);
    spot->push_back_perturbation_step(one, 1);
    EXPECT_EQ(spot_of(*a), 101.0);
}

TEST_F(ScenarioTest, LetsAnItemMadeLaterStartAtItsOwnDepth) {
    auto const a = share("A");
    scenario().push_back(item("spot@A", 1.0));
    set_spot(*a, 100.0);
    EXPECT_EQ(spot_of(*a), 100.0);
    scenario().push_back(item("spot@A", 2.0));
    EXPECT_EQ(spot_of(*a), 102.0);
    EXPECT_EQ(depth_of(*a), 1u);
}

TEST_F(ScenarioTest, MarksTheDependentsOfAShiftedItemDirtyAndNotTheItemItself) {
    auto const a = share("A");
    set_spot(*a, 100.0);
    auto* spot = cache().get_spot(today, a.get(), Level::silent);
    auto& curve = forward_curve(*a);
    ASSERT_TRUE(curve.get_dependencies());
    ASSERT_TRUE(curve.get_dependencies());
    EXPECT_EQ(spot->c_get_dependents().size(), 1u);
    spot->build();
    curve.build();
    scenario().push_back(item("spot@B", 1.0));
    EXPECT_FALSE(curve.c_is_dirty());
    scenario().push_back(item("spot@A", 1.0));
    EXPECT_TRUE(curve.c_is_dirty());
    EXPECT_FALSE(spot->c_is_dirty());
    curve.build();
    scenario().pop_back();
    EXPECT_FALSE(curve.c_is_dirty());
}

TEST_F(ScenarioTest, MarksASurfaceDirtyThroughItsForwardUnderStickyOption) {
    MarketDataScenario::s_spot_volatility_dynamic_kind = SpotVolatilityDynamic::sticky_option;
    auto const a = share("A");
    set_spot(*a, 100.0);
    ASSERT_TRUE(forward_curve(*a).get_dependencies());
    surface(*a).build();
    scenario().push_back(item("spot@A", 1.0));
    EXPECT_TRUE(surface(*a).c_is_dirty());
}

TEST_F(ScenarioTest, CopiesShareTheirItem) {
    auto const first = item("spot@A", 1.0);
    auto const second = first;
    EXPECT_EQ(first.c_get_item(), second.c_get_item());
    EXPECT_NE(first.c_get_item(), nullptr);
}

TEST_F(ScenarioTest, PopsUndoPushesOverRandomStacks) {
    std::mt19937_64 random(17);
    auto const a = share("A");
    auto const b = share("B");
    set_spot(*a, 100.0);
    set_spot(*b, 50.0);
    std::vector<double> values;
    for (int step = 0; step < 500; ++step) {
        if (random() % 2 == 0 || values.empty()) {
            values.push_back(spot_of(*a));
            auto const* key = random() % 3 == 0 ? "spot@B" : "spot@A";
            auto const kind = static_cast<Shift::Kind>(random() % 4);
            scenario().push_back(item(key, static_cast<double>(random() % 7), kind));
        } else {
            scenario().pop_back();
            EXPECT_EQ(spot_of(*a), values.back());
            values.pop_back();
        }
        EXPECT_EQ(depth_of(*b), values.size());
    }
}

}  // namespace
}  // namespace ximCORE::Data
