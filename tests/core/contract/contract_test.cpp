#include "core/contract/contract.hpp"

#include "core/contract/contract_test_case.hpp"
#include "core/contract/observable.hpp"

namespace ximCORE::Testing {
namespace {

using ::testing::ElementsAre;

class ContractObject : public ContractCase {};

TEST_F(ContractObject, IsMadeWithARootAndRefusesNone) {
    Encoder encoder;
    Contract const made(today, "EUR", encoder.read(encoder.pay(encoder.number(1), "2024-01-01")));
    EXPECT_EQ(text(made), "Pay(1, \"2024-01-01\", \"EUR\")");
    EXPECT_EQ(made.get_origin(), made.get_current());
    EXPECT_EQ(made.c_get_cashflow(), made.get_current().get());
    EXPECT_THAT([&] { Contract(today, "EUR", nullptr); }, Raises<Toolbox::ConstructorException>());
    EXPECT_THAT([&] { Contract(today, "EUR", nullptr); }, LogsError("Contract empty"));
}

TEST_F(ContractObject, SettingNoRootAnswersFalse) {
    Contract empty(today, "EUR");
    EXPECT_FALSE(empty.set(nullptr));
    EXPECT_EQ(empty.c_get_cashflow(), nullptr);
}

TEST_F(ContractObject, CleaningDropsTheRoot) {
    Encoder encoder;
    auto on = contract(encoder, encoder.nothing());
    on.clean();
    EXPECT_EQ(on.get_current(), nullptr);
}

TEST_F(ContractObject, ASharedEventStaysSharedWhereNothingHangsOnIt) {
    Encoder encoder;
    int const event = encoder.above(encoder.spot("A", "2023-07-02"), 100);
    int const one = encoder.pay(encoder.number(1), "2024-01-01");
    int const two = encoder.pay(encoder.number(2), "2024-01-01");
    auto const on =
        contract(encoder, encoder.both(encoder.condition(event, one, encoder.nothing()),
                                       encoder.condition(event, two, encoder.nothing())));
    std::vector<Event*> barriers;
    on.c_get_cashflow()->accumulate_barriers(barriers);
    ASSERT_EQ(barriers.size(), 2U);
    EXPECT_EQ(barriers[0], barriers[1]);
}

// Observations

class Observing : public ContractCase {
 protected:
    /// The performance of A since 2022-12-01 (level 100), on three dates.
    Observing() {
        quote("A", "2022-12-01", 100);
        quote("A", "2022-12-31", 110);
        Encoder encoder;
        int number = 0;
        for (auto const* date : {"2022-12-31", "2023-01-01", "2023-07-02"}) {
            int const ratio =
                encoder.a(1, payload(encoder.spot("A", date), encoder.spot("A", "2022-12-01")));
            encoder.tree.nodes.push_back({'o', number++, 0, payload(date, ratio)});
        }
        std::vector<Observable::Item> items;
        EXPECT_TRUE(reflect_observations(encoder.tree, items));
        EXPECT_TRUE(observable.set(std::move(items)));
    }

    Observable observable;
};

TEST_F(Observing, AsksForTodaysFixingEvenIntraday) {
    Contract::s_intraday.IntradayFixings = true;
    EXPECT_TRUE(observable.get_dependencies(today));
    EXPECT_EQ(cache().c_get_spots().size(), 3U);  // 1 December, 31 December and today
}

TEST_F(Observing, IsIncompleteWhileAnUnderlyingIsUnknown) {
    Encoder encoder;
    encoder.tree.nodes.push_back(
        {'o', 0, 0, payload("2023-07-02", encoder.spot("NEW", "2023-07-02"))});
    std::vector<Observable::Item> items;
    ASSERT_TRUE(reflect_observations(encoder.tree, items));
    ASSERT_TRUE(observable.set(std::move(items)));
    EXPECT_FALSE(observable.get_dependencies(today));
    share("NEW");
    EXPECT_TRUE(observable.get_dependencies(today));
}

TEST_F(Observing, EachItemIsAvailableOrNot) {
    std::ignore = observable.get_dependencies(today);
    EXPECT_TRUE(observable.eval());
    auto const& items = observable.c_get_items();
    EXPECT_TRUE(items[0].available);
    EXPECT_NEAR(items[0].value, 1.1, 1e-12);
    EXPECT_FALSE(items[1].available);
    EXPECT_EQ(items[1].value, 0.0);
    EXPECT_THAT(errors(),
                ElementsAre("Cannot find spot at '2023-01-01' for underlying with ticker 'A'",
                            "Cannot find spot at '2023-07-02' for underlying with ticker 'A'"));
}

TEST_F(Observing, RefusesNoItemsAndItemsWithoutAmount) {
    EXPECT_FALSE(observable.set({}));
    EXPECT_FALSE(observable.set(std::vector<Observable::Item>(1)));
    EXPECT_EQ(observable.c_get_items().size(), 3U);
}

TEST_F(Observing, MovesAndReadsAPath) {
    quote("A", "2023-01-01", 120);
    std::ignore = observable.get_dependencies(today);
    ASSERT_TRUE(observable.move(today));
    ContractInformation information;
    ASSERT_TRUE(observable.scan_all(information, true));
    ASSERT_EQ(information.fixing_dates.size(), 1U);
    Modeling::FixingGrid grid;
    grid.init(1, 0, 1, 1, 0);
    grid.open_all();
    EXPECT_TRUE(grid.set_equity_like(0, 0, 150.0));
    EXPECT_TRUE(observable.eval(0, grid));
    observable.agregate();
    auto const& items = observable.c_get_items();
    EXPECT_NEAR(items[0].value, 1.1, 1e-12);
    EXPECT_NEAR(items[1].value, 1.2, 1e-12);
    EXPECT_NEAR(items[2].value, 1.5, 1e-12);
    EXPECT_TRUE(items[2].available);
    EXPECT_EQ(items[2].minimum, items[2].value);
    EXPECT_EQ(items[2].maximum, items[2].value);
}

TEST_F(Observing, TodaysFixingStaysOpenIntradayWhenItMoves) {
    Contract::s_intraday.IntradayFixings = true;
    std::ignore = observable.get_dependencies(today);
    ASSERT_TRUE(observable.move(today));
    ContractInformation information;
    ASSERT_TRUE(observable.scan_all(information, true));
    EXPECT_EQ(information.fixing_dates.size(), 2U);
}

TEST_F(Observing, AMissingPastFixingEndsTheMove) {
    std::ignore = observable.get_dependencies(today);
    EXPECT_FALSE(observable.move(today));
    EXPECT_THAT(errors(), ::testing::Contains("Cannot find fixing"));
}

TEST_F(Observing, ExtremesAreWidenedByEachMean) {
    quote("A", "2023-01-01", 120);
    std::ignore = observable.get_dependencies(today);
    ASSERT_TRUE(observable.move(today));
    ContractInformation information;
    ASSERT_TRUE(observable.scan_all(information, true));
    Modeling::FixingGrid grid;
    grid.init(1, 0, 1, 1, 0);
    grid.open_all();
    for (double const level : {150.0, 90.0}) {
        std::ignore = grid.set_equity_like(0, 0, level);
        std::ignore = observable.eval(0, grid);
        observable.agregate();
    }
    EXPECT_NEAR(observable.c_get_items()[2].minimum, 0.9, 1e-12);
    EXPECT_NEAR(observable.c_get_items()[2].maximum, 1.5, 1e-12);
}

TEST_F(Observing, AMaximumBelowZeroStaysAtTheSmallestPositiveNumber) {
    Encoder encoder;
    encoder.tree.nodes.push_back({'o', 0, 0, payload("2023-07-02", encoder.number(-1))});
    std::vector<Observable::Item> items;
    ASSERT_TRUE(reflect_observations(encoder.tree, items));
    ASSERT_TRUE(observable.set(std::move(items)));
    Modeling::FixingGrid grid;
    std::ignore = observable.eval(0, grid);
    observable.agregate();
    EXPECT_EQ(observable.c_get_items()[0].maximum, std::numeric_limits<double>::min());
    EXPECT_EQ(observable.c_get_items()[0].minimum, -1.0);
}

TEST_F(Observing, ANameOfAnObservationReadsZero) {
    Encoder encoder;
    encoder.tree.nodes.push_back({'o', 0, 0, payload("2023-07-02", encoder.reference("x"))});
    std::vector<Observable::Item> items;
    ASSERT_TRUE(reflect_observations(encoder.tree, items));
    ASSERT_TRUE(observable.set(std::move(items)));
    Modeling::FixingGrid grid;
    EXPECT_TRUE(observable.eval(0, grid));
    EXPECT_EQ(observable.c_get_items()[0].values[0], 0.0);
}

}  // namespace
}  // namespace ximCORE::Testing
