// The nodes of a contract on a space grid: point by point they are what they are on a path, and a
// roll-back meets each part once.

#include <Eigen/Core>
#include <cmath>

#include "core/contract/either.hpp"
#include "core/contract/if.hpp"
#include "core/contract/payments.hpp"
#include "core/modeling/black_scholes_pde_helper.hpp"
#include "support/pricing_test.hpp"

namespace ximCORE::Pricing {
namespace {

using Modeling::BlackScholesPDEHelper;
using Modeling::FixingGrid;
using Modeling::PDEHelper;
using Testing::TreeBuilder;
using Toolbox::Grid;
using Toolbox::IntGrid;

class PDENodes : public PricingTest {
 protected:
    PDENodes() {
        std::ignore = yield_curve(*currency("EUR"));
        std::ignore = add_share("AAA", 100.0, 0.3);
        BlackScholesPDEHelper::s_quantile_level = 0.9999F;
        BlackScholesPDEHelper::s_grid_size = 41;
        PDEHelper::s_time_step = 30;
    }
    ~PDENodes() override {
        BlackScholesPDEHelper::s_quantile_level = 97.5F;
        BlackScholesPDEHelper::s_grid_size = 100;
        PDEHelper::s_time_step = 1;
    }

    /// A contract with its helper calibrated and, for the comparison, the cells of a path.
    struct OnGrid {
        std::unique_ptr<Contract::Contract> contract;
        Contract::ContractInformation information;
        BlackScholesPDEHelper helper;
        FixingGrid path;
        Contract::Variables variables;

        template <class Node>
        Node& root() {
            return dynamic_cast<Node&>(*contract->c_get_cashflow());
        }
        /// Puts the level of one point of the space grid into all cells of the path.
        void go_to(Eigen::Index i) {
            double const level = 100.0 * std::exp(helper.c_get_grid()[i]);
            for (short fixing = 0; fixing < static_cast<short>(information.fixing_dates.size());
                 ++fixing)
                std::ignore = path.set_equity_like(fixing, 0, level);
        }
    };

    std::unique_ptr<OnGrid> on_grid(TreeBuilder& tree, int root) {
        auto result = std::make_unique<OnGrid>();
        result->contract = contract(tree, root);
        auto& cashflow = *result->contract->c_get_cashflow();
        auto& information = result->information;
        EXPECT_TRUE(cashflow.scan_all(information, true));
        auto& helper = result->helper;
        helper.set(today, Toolbox::DayCounter(), information, &cashflow);
        helper.switch_to_central();
        EXPECT_TRUE(helper.calibrate(today, *currency("EUR"), information));
        helper.calibrate_solver();
        result->path.init(information.fixing_dates.size(), information.maturity_dates.size(),
                          information.equity_like_underlyings.size(), information.currencies.size(),
                          information.payment_dates.size());
        cashflow.c_set_fixing_grid_internal(result->path);
        return result;
    }

    /// The amount on the grid is at each point what it is on a path through that point.
    void expect_amount_as_on_a_path(TreeBuilder& tree, int amount, std::string const& what) {
        auto const at = on_grid(tree, tree.pay(amount, one_year, "EUR"));
        auto& node = at->root<Contract::PayReceive>().c_get_amount();
        Grid const values = node.eval(&at->helper);
        ASSERT_EQ(values.size(), 41) << what;
        for (Eigen::Index i = 0; i < values.size(); ++i) {
            at->go_to(i);
            double const expected = node.eval(at->path, at->variables);
            if (std::isnan(expected))
                EXPECT_TRUE(std::isnan(values[i])) << what;
            else
                EXPECT_NEAR(values[i], expected, 1e-11 * (1.0 + std::abs(expected))) << what;
        }
    }

    /// The same for an event, plain and smoothed in each direction.
    void expect_event_as_on_a_path(TreeBuilder& tree, int event, std::string const& what) {
        auto const at = on_grid(
            tree, tree.condition(event, tree.pay(tree.number(1), one_year, "EUR"), tree.nothing()));
        auto& node = at->root<Contract::If>().c_get_event();
        IntGrid const plain = node.eval(&at->helper);
        Grid const lhs = at->helper.c_make_grid_of_double(7.0);
        Grid const rhs = at->helper.c_make_grid_of_double(11.0);
        for (int const direction : {-1, 0, 1}) {
            Grid const smoothed =
                node.smooth_eval(&at->helper, lhs, rhs, at->helper.c_make_grid_of_int(direction));
            for (Eigen::Index i = 0; i < plain.size(); ++i) {
                at->go_to(i);
                EXPECT_EQ(plain[i] != 0, node.eval(at->path, at->variables)) << what;
                EXPECT_NEAR(smoothed[i],
                            node.smooth_eval(at->path, at->variables, 7.0, 11.0, direction), 1e-12)
                    << what << ", direction " << direction;
            }
        }
    }

    static std::string text(int x) { return std::to_string(x); }
};

TEST_F(PDENodes, AmountsAreAtEachPointWhatTheyAreOnAPath) {
    for (int code = 0; code <= 26; ++code) {
        TreeBuilder tree;
        int const share = tree.fixing("AAA", one_year);
        int const other = tree.right(TreeBuilder::div_number, share, 50.0);
        int amount{};
        if (code <= 5)
            amount = tree.amount_of(code, text(share) + "," + text(other));
        else if (code <= 13)
            amount = tree.amount_of(code, text(other));
        else if (code <= 19)
            amount = tree.amount_of(code, "3," + text(other));
        else
            amount = tree.amount_of(code, text(other) + ",3");
        expect_amount_as_on_a_path(tree, amount, "code " + text(code));
    }
}

TEST_F(PDENodes, ConditionalAndSortedAmountsAreToo) {
    for (int const kind : {0, 1, 2, 3}) {
        TreeBuilder tree;
        int const share = tree.fixing("AAA", one_year);
        int const other = tree.right(TreeBuilder::sub_number, share, 20.0);
        int const number = tree.number(95.0);
        int const amount =
            kind == 3 ? tree.amount_of(29, text(tree.compare(TreeBuilder::greater, share, 105.0)) +
                                               "," + text(other) + "," + text(number))
                      : tree.amount_of(32, text(kind) + "," + text(share) + "," + text(other) +
                                               "," + text(number));
        expect_amount_as_on_a_path(tree, amount, "kind " + text(kind));
    }
}

TEST_F(PDENodes, EventsAreAtEachPointWhatTheyAreOnAPath) {
    for (int code = 1; code <= 20; ++code) {
        if (code == 7 || code == 8) continue;
        TreeBuilder tree;
        int const share = tree.fixing("AAA", one_year);
        int const other = tree.number(102.0);
        int event{};
        if (code <= 6)
            event = tree.event_of(code, text(share) + "," + text(other));
        else if (code <= 14)
            event = tree.event_of(code, "102," + text(share));
        else
            event = tree.event_of(code, text(share) + ",102");
        expect_event_as_on_a_path(tree, event, "code " + text(code));
    }
}

TEST_F(PDENodes, LogicalEventsWeighTheirSidesAsOnAPath) {
    for (int code = 0; code <= 2; ++code) {
        TreeBuilder tree;
        int const share = tree.fixing("AAA", one_year);
        int const above = tree.compare(TreeBuilder::greater, share, 95.0);
        int const below = tree.compare(TreeBuilder::lower, share, 110.0);
        int const both = tree.event_of(7, text(above) + "," + text(below));
        int const event = code == 0   ? tree.event_of(0, text(both))
                          : code == 1 ? both
                                      : tree.event_of(8, text(above) + "," + text(below));
        expect_event_as_on_a_path(tree, event, "code " + text(code));
    }
}

TEST_F(PDENodes, ADeepEventOfOrsIsWeighedInOneWalk) {
    TreeBuilder tree;
    int const share = tree.fixing("AAA", one_year);
    int event = tree.compare(TreeBuilder::greater, share, 60.0);
    for (int k = 1; k <= 40; ++k)
        event = tree.event_of(
            8, text(event) + "," + text(tree.compare(TreeBuilder::greater, share, 60.0 + 2.0 * k)));
    expect_event_as_on_a_path(tree, event, "forty sides");
}

// How far a roll-back goes -------------------------------------------------------------------

/// Counts the steps that it is asked for, and does none.
class CountingSolver final : public Toolbox::XTPDE {
 public:
    std::size_t steps{0};

    void set_space_grid(std::vector<GridParameters> const& grids) override {
        m_space_values = Grid::LinSpaced(grids.front().size, -1.0, 1.0);
        m_space_size = static_cast<std::size_t>(grids.front().size);
    }
    void init() override {}
    void solve(std::size_t const& first, std::size_t const& last, Grid&, bool) override {
        steps += _c_get_index(first) - _c_get_index(last);
    }
};

class CountingHelper final : public PDEHelper {
 public:
    CountingHelper() : PDEHelper(1, 0, std::make_unique<CountingSolver>()) {}

    void calibrate_solver() override {}
    Grid c_eval(Toolbox::Date const&, Data::Underlying const*) const override {
        return 100.0 * c_get_grid().exp();
    }
    std::size_t c_get_steps() const {
        return static_cast<CountingSolver const&>(c_get_solver()).steps;
    }

 protected:
    void _set_space_grid() override { _get_solver().set_space_grid({{5, -1.0, 1.0}}); }
};

class PDERollBack : public PDENodes {
 protected:
    PDERollBack() { PDEHelper::s_time_step = 1; }

    Date day(int days) const {
        Date date(today);
        for (int k = 0; k < days; ++k) ++date;
        return Date(date.c_get_year(), date.c_get_month(), date.c_get_day());
    }

    std::size_t count_steps(TreeBuilder& tree, int root) {
        auto const priced = contract(tree, root);
        Contract::ContractInformation information;
        EXPECT_TRUE(priced->c_get_cashflow()->scan_all(information, true));
        CountingHelper helper;
        helper.set(today, Toolbox::DayCounter(), information, nullptr);
        EXPECT_TRUE(helper.calibrate_method(today, information));
        Date start(today);
        start.set_pillar_rank(0);
        Grid values;
        priced->c_get_cashflow()->compute_PDE_price(start, &helper, values);
        EXPECT_EQ(values.size(), 5);
        return helper.c_get_steps();
    }

    /// Paid `lag` days after the first of `dates` observations where the share is above 100.
    int autocall(TreeBuilder& tree, int dates, int horizon, int lag) {
        int rest = tree.pay(tree.number(100), day(horizon + lag), "EUR");
        for (int k = dates; k > 0; --k) {
            int const at = horizon * k / dates;
            int const called =
                tree.compare(TreeBuilder::greater, tree.fixing("AAA", day(at)), 100.0);
            rest = tree.condition(called, tree.pay(tree.number(110), day(at + lag), "EUR"), rest);
        }
        return rest;
    }
};

TEST_F(PDERollBack, ACallRollsFromItsPaymentToNowOnce) {
    TreeBuilder tree;
    int const call = tree.call(tree.fixing("AAA", day(100)), 100.0);
    EXPECT_EQ(count_steps(tree, tree.pay(call, day(120), "EUR")), 120U);
}

TEST_F(PDERollBack, AnAutocallRollsEachIntervalOnceWhateverItsDates) {
    for (int const dates : {1, 30, 60}) {
        TreeBuilder tree;
        // the chain of conditions once over the horizon, the lag of each payment once
        auto const expected = static_cast<std::size_t>(600 + 2 * (dates + 1));
        EXPECT_EQ(count_steps(tree, autocall(tree, dates, 600, 2)), expected) << dates;
    }
}

TEST_F(PDERollBack, ANestedChoiceRollsEachAlternativeOnce) {
    TreeBuilder tree;
    int rest = tree.pay(tree.call(tree.fixing("AAA", day(400)), 100.0), day(400), "EUR");
    for (int k = 3; k > 0; --k) {
        int const now =
            tree.pay(tree.call(tree.fixing("AAA", day(100 * k)), 100.0), day(100 * k), "EUR");
        rest = tree.choice(1, day(100 * k), {now, rest});
    }
    EXPECT_EQ(count_steps(tree, rest), 400U);
}

TEST_F(PDERollBack, AListOfManyPaymentsIsWalkedInALoop) {
    TreeBuilder tree;
    int list = tree.pay(tree.number(1), day(1), "EUR");
    for (int k = 0; k < 20000; ++k) list = tree.both(tree.pay(tree.number(1), day(1), "EUR"), list);
    EXPECT_EQ(count_steps(tree, list), 20001U);
}

TEST_F(PDERollBack, ConditionsMayNestThousandsDeep) {
    TreeBuilder tree;
    int const dates = 9900;
    int rest = tree.nothing();
    for (int k = dates; k > 0; --k) {
        int const called =
            tree.compare(TreeBuilder::greater, tree.fixing("AAA", day(1 + k / 200)), 100.0);
        rest = tree.condition(called, tree.pay(tree.number(1), day(1 + k / 200), "EUR"), rest);
    }
    EXPECT_EQ(count_steps(tree, rest), 50U);
}

TEST_F(PDERollBack, PillarRanksStartAtOneBehindTheValuationDate) {
    TreeBuilder tree;
    auto const priced =
        contract(tree, tree.both(tree.pay(tree.number(1), today, "EUR"),
                                 tree.pay(tree.fixing("AAA", one_year), two_years, "EUR")));
    Contract::ContractInformation information;
    ASSERT_TRUE(priced->c_get_cashflow()->scan_all(information, true));
    std::vector<short> ranks;
    for (auto const* date : information.pillar_dates) ranks.push_back(date->c_get_pillar_rank());
    EXPECT_THAT(ranks, ::testing::ElementsAre(1, 2, 3));
}

}  // namespace
}  // namespace ximCORE::Pricing
