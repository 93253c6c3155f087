#include <algorithm>
#include <map>
#include <set>

#include "core/pricing/greek_evaluation.hpp"
#include "support/matchers.hpp"

namespace ximCORE::Pricing {
namespace {

using Modeling::Bump;
using Modeling::move_table;
using Modeling::Quantity;

std::vector<std::string> labels(std::span<Greek const* const> greeks) {
    std::vector<std::string> result;
    for (auto const* greek : greeks) result.emplace_back(greek->label);
    return result;
}

TEST(Greeks, StandInTheOrderOfTheReport) {
    EXPECT_THAT(labels(Greeks::table),
                testing::ElementsAre("RHO@", "DELTA@", "GAMMA@", "VEGA//@", "VOLGA//@", "VANNA//@",
                                     "CEGA@", "XGAMMA@", "XVOLGA@", "XVANNA@"));
}

TEST(Greeks, AreCalibratedInTheirOrderAndRhoLast) {
    EXPECT_THAT(labels(Greeks::calibration_order),
                testing::ElementsAre("DELTA@", "GAMMA@", "XGAMMA@", "VEGA//@", "VOLGA//@",
                                     "XVOLGA@", "VANNA//@", "XVANNA@", "CEGA@", "RHO@"));
}

TEST(Greeks, AllButRhoAreEvaluated) {
    EXPECT_EQ(Greeks::evaluation_order.size(), Greeks::table.size() - 1);
    EXPECT_EQ(std::ranges::count(Greeks::evaluation_order, &Greeks::rho), 0);
    for (auto const* greek : Greeks::evaluation_order)
        EXPECT_EQ(std::ranges::count(Greeks::table, greek), 1);
}

TEST(Greeks, ShareNoStateAndUseThemAll) {
    std::set<Bump> used;
    std::size_t count = 0;
    for (auto const* greek : Greeks::table)
        for (auto const bump : greek->c_get_states()) {
            used.insert(bump);
            ++count;
        }
    EXPECT_EQ(count, Modeling::nb_bumps);
    EXPECT_EQ(used.size(), Modeling::nb_bumps);
}

TEST(Greeks, PairsUseStatesOfPairsAndRowsThoseOfRows) {
    for (auto const* greek : Greeks::table)
        for (auto const bump : greek->c_get_states())
            EXPECT_EQ(Modeling::is_row(bump), greek->shape != Shape::pairs) << greek->label;
}

TEST(Greeks, MoveUpFirstAndMixedOnesInTheOrderOfTheirSigns) {
    constexpr int signs[4][2] = {{1, 1}, {-1, 1}, {1, -1}, {-1, -1}};
    for (auto const* greek : Greeks::table) {
        auto const states = greek->c_get_states();
        for (std::size_t k = 0; k < states.size(); ++k) {
            auto const& [first, second] = move_table.at(Modeling::index_of(states[k]));
            if (greek->difference == Difference::mixed) {
                EXPECT_EQ(first.sign, signs[k][0]) << greek->label << k;
                EXPECT_EQ(second.sign, signs[k][1]) << greek->label << k;
            } else {
                EXPECT_EQ(first.sign, k == 0 ? 1 : -1) << greek->label;
                EXPECT_EQ(second.quantity, Quantity::nothing) << greek->label;
            }
        }
    }
}

TEST(Greeks, ReadTheirOwnRecordOfTheSettings) {
    Options::Greeks switches;
    double bump = 0.0;
    for (auto* record : {&switches.rho, &switches.delta, &switches.vega, &switches.cega})
        record->bump = ++bump;
    for (auto* record : {&switches.gamma, &switches.volga, &switches.xgamma, &switches.xvolga})
        record->bump = ++bump;
    for (auto* record : {&switches.vanna, &switches.xvanna}) {
        record->spot_bump = ++bump;
        record->vol_bump = bump + 100.0;
    }
    std::map<std::string_view, double> const expected{
        {"RHO@", 1.0},     {"DELTA@", 2.0},   {"VEGA//@", 3.0}, {"CEGA@", 4.0},
        {"GAMMA@", 5.0},   {"VOLGA//@", 6.0}, {"XGAMMA@", 7.0}, {"XVOLGA@", 8.0},
        {"VANNA//@", 9.0}, {"XVANNA@", 10.0}};
    for (auto const* greek : Greeks::table) {
        auto const setting = greek->c_get_setting(switches);
        bool const two_bumps = greek == &Greeks::vanna || greek == &Greeks::xvanna;
        EXPECT_EQ(setting.first_bp, expected.at(greek->label));
        EXPECT_EQ(setting.second_bp, expected.at(greek->label) + (two_bumps ? 100.0 : 0.0));
    }
}

/// Up states are worth 7, down states 4, mixed ones 10, 20, 40, 80 in their order; the central
/// value is 5.
double difference(Greek const& greek, EvaluationRule const& rule, std::vector<Bump>& revalued) {
    return combine(greek, rule, 5.0, [&](Bump bump) {
        revalued.push_back(bump);
        auto const states = greek.c_get_states();
        auto const k = std::ranges::find(states, bump) - states.begin();
        if (greek.difference == Difference::mixed) return 10.0 * static_cast<double>(1 << k);
        return k == 0 ? 7.0 : 4.0;
    });
}

TEST(Combine, ADirectionalDifferenceRevaluesTheSidesThatItNeeds) {
    std::vector<Bump> revalued;
    EXPECT_EQ(difference(Greeks::delta, {0, 0}, revalued), 7.0 - 4.0);
    EXPECT_EQ(difference(Greeks::delta, {1, 1}, revalued), 7.0 - 5.0);
    EXPECT_EQ(difference(Greeks::delta, {-1, -1}, revalued), 5.0 - 4.0);
    EXPECT_THAT(revalued, testing::ElementsAre(Bump::delta_up, Bump::delta_down, Bump::delta_up,
                                               Bump::delta_down));
}

TEST(Combine, TheReferenceTermOfADownDifferenceNeedsAReferenceDirection) {
    std::vector<Bump> revalued;
    EXPECT_EQ(difference(Greeks::vega, {-1, 0}, revalued), -4.0);
    EXPECT_EQ(difference(Greeks::vega, {-1, 1}, revalued), 5.0 - 4.0);
    EXPECT_EQ(difference(Greeks::vega, {0, 1}, revalued), 7.0 - 4.0);
    EXPECT_EQ(difference(Greeks::vega, {1, 0}, revalued), 7.0 - 5.0);
}

TEST(Combine, TheReferenceTermGrowsWithTheDirection) {
    std::vector<Bump> revalued;
    // the direction of a correlation is 2 for the right side
    EXPECT_EQ(difference(Greeks::cega, {2, 2}, revalued), 7.0 - 2.0 * 5.0);
    EXPECT_THAT(revalued, testing::ElementsAre(Bump::cega_up));
}

TEST(Combine, AConvexityIsUpAndDownAgainstTwiceTheCentralValue) {
    std::vector<Bump> revalued;
    EXPECT_EQ(difference(Greeks::volga, {1, 1}, revalued), 7.0 + 4.0 - 10.0);
    EXPECT_THAT(revalued, testing::ElementsAre(Bump::volga_up, Bump::volga_down));
}

TEST(Combine, AMixedDifferenceAddsTheEqualSigns) {
    std::vector<Bump> revalued;
    EXPECT_EQ(difference(Greeks::xvanna, {1, 1}, revalued), 10.0 - 20.0 - 40.0 + 80.0);
    EXPECT_THAT(revalued, testing::ElementsAre(
                              Bump::cross_delta_up_vega_up, Bump::cross_delta_down_vega_up,
                              Bump::cross_delta_up_vega_down, Bump::cross_delta_down_vega_down));
}

}  // namespace
}  // namespace ximCORE::Pricing
