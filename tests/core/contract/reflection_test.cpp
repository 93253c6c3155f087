#include "core/contract/contract_test_case.hpp"
#include "core/contract/either.hpp"

namespace ximCORE::Testing {
namespace {

class Reflection : public ContractCase {
 protected:
    /// Refused with this record.
    static void expect_refusal(EncodedTree const& tree, char const* text = "Cannot read contract") {
        std::shared_ptr<CashFlow> root;
        EXPECT_THAT([&] { EXPECT_FALSE(reflect_contract(tree, root)); }, LogsError(text));
        EXPECT_EQ(root, nullptr);
    }
    /// A payment of 1 + 2, which reads.
    static Encoder good() {
        Encoder encoder;
        encoder.pay(encoder.add(encoder.number(1), encoder.number(2)), "2024-01-01");
        return encoder;
    }
};

TEST_F(Reflection, EveryCodeMakesANode) {
    std::vector<std::string> payloads(33, "0,0");
    payloads[27] = "1.5";
    payloads[28] = "A,2024-01-01,";
    payloads[29] = "0,0,0";
    payloads[30] = "k,1";
    payloads[31] = "k";
    for (unsigned op = 0; op < 33; ++op) EXPECT_NE(reflect_amount(op, payloads[op]), nullptr) << op;
    for (unsigned op = 0; op < 22; ++op) EXPECT_NE(reflect_event(op, "0,0"), nullptr) << op;
    std::vector<std::string> const flows{
        "0,0", "0,0,0,0,0", "1,2024-01-01,0", "k,0", "2024-01-01,1,0,1", "0,2024-01-01,EUR,1", ""};
    for (unsigned op = 0; op < 7; ++op) EXPECT_NE(reflect_cashflow(op, flows[op]), nullptr) << op;
}

TEST_F(Reflection, OtherCodesMakeNone) {
    EXPECT_EQ(reflect_amount(33, "0,0"), nullptr);
    EXPECT_EQ(reflect_amount(255, "0,0"), nullptr);
    EXPECT_EQ(reflect_event(22, "0,0"), nullptr);
    EXPECT_EQ(reflect_cashflow(7, "0,0"), nullptr);
}

TEST_F(Reflection, ACodeIsTakenAsOneByte) {
    EXPECT_NE(reflect_cashflow(256 + 6, "0"), nullptr);
}

TEST_F(Reflection, AGoodTreeReads) {
    std::shared_ptr<CashFlow> root;
    EXPECT_THAT([&] { EXPECT_TRUE(reflect_contract(good().tree, root)); }, LogsNothing());
    EXPECT_EQ(text(*root), "Pay(1 + 2, \"2024-01-01\", \"EUR\")");
}

TEST_F(Reflection, TheOrderOfTheNodesPlaysNoPart) {
    auto tree = good().tree;
    std::reverse(tree.nodes.begin(), tree.nodes.end());
    std::shared_ptr<CashFlow> root;
    EXPECT_TRUE(reflect_contract(tree, root));
    EXPECT_EQ(text(*root), "Pay(1 + 2, \"2024-01-01\", \"EUR\")");
}

TEST_F(Reflection, NodesOfOtherFamiliesAreSkipped) {
    auto tree = good().tree;
    tree.nodes.push_back({'o', 0, 0, "2024-01-01,0"});
    tree.nodes.push_back({'x', 99, 99, ""});
    std::shared_ptr<CashFlow> root;
    EXPECT_TRUE(reflect_contract(tree, root));
}

TEST_F(Reflection, ASharedNodeStaysShared) {
    Encoder encoder;
    int const shared = encoder.spot("A", "2023-07-02");
    auto const root = encoder.read(encoder.pay(encoder.add(shared, shared), "2024-01-01"));
    std::vector<Fixing const*> fixings;
    root->c_accumulate_fixings(fixings);
    ASSERT_EQ(fixings.size(), 2U);
    EXPECT_EQ(fixings[0], fixings[1]);
}

TEST_F(Reflection, SpreadsAreTakenByTheirSize) {
    Encoder encoder;
    int const end = encoder.nothing();
    auto const root = encoder.read(encoder.condition(encoder.truth(true), end, end, -0.01, 0.02));
    EXPECT_EQ(static_cast<If&>(*root).c_get_spread_lhs(), 0.01);
    EXPECT_EQ(static_cast<If&>(*root).c_get_spread_rhs(), 0.02);
    EXPECT_TRUE(static_cast<If&>(*root).c_get_with_spread());
    auto const none = encoder.read(encoder.condition(encoder.truth(true), end, end, 0, 0));
    EXPECT_FALSE(static_cast<If&>(*none).c_get_with_spread());
    auto const nan = encoder.read(encoder.c(1, payload(0, end, end, "nan", "0")));
    EXPECT_TRUE(static_cast<If&>(*nan).c_get_with_spread());
}

TEST_F(Reflection, AChoiceCanHaveOneAlternative) {
    Encoder encoder;
    auto const root = encoder.read(encoder.c(2, payload(1, "2023-07-02", encoder.nothing())));
    EXPECT_EQ(static_cast<Either&>(*root).c_get_alternatives().size(), 1U);
    EXPECT_TRUE(static_cast<Either&>(*root).c_get_choice_ownership());
}

TEST_F(Reflection, WithoutCashFlowsTheContractIsEmpty) {
    Encoder encoder;
    encoder.number(1);
    encoder.tree.nodes.push_back({'o', 0, 0, "2024-01-01,0"});
    expect_refusal(encoder.tree, "Contract empty");
    expect_refusal({}, "Contract empty");
}

TEST_F(Reflection, BadNumbersAndDatesThrowWhatTheirReadersThrow) {
    auto const read = [](int op, char const* fields) {
        Encoder encoder;
        encoder.number(1);
        encoder.c(op, fields);
        std::shared_ptr<CashFlow> root;
        std::ignore = reflect_contract(encoder.tree, root);
    };
    EXPECT_THAT([&] { read(5, "x,2024-01-01,EUR,1"); }, Raises<std::invalid_argument>("stoi"));
    EXPECT_THAT([&] { read(5, "0,2024-01-01,EUR"); }, Raises<std::invalid_argument>("stoi"));
    EXPECT_THAT([&] { read(5, "99999999999,2024-01-01,EUR,1"); },
                Raises<std::out_of_range>("stoi"));
    EXPECT_THAT([&] { read(5, "0,2024-13-01,EUR,1"); }, Raises<Toolbox::ConstructorException>());
    EXPECT_THAT([&] { read(4, "2024-01-01,x,0,1"); }, Raises<std::invalid_argument>("stod"));
    EXPECT_THAT([&] { read(4, "2024-01-01,1e999,0,1"); }, Raises<std::out_of_range>("stod"));
}

// Encoded forms that no writer makes

TEST_F(Reflection, ANumberOutsideItsFamilyIsRefused) {
    for (auto const* child : {"3", "-1", "2147483647", "-2147483648"}) {
        auto tree = good().tree;
        tree.nodes[2].payload = std::string(child) + ",1";
        expect_refusal(tree);
    }
}

TEST_F(Reflection, AnIdOutsideItsCountIsRefused) {
    for (int const id : {3, -1, 2147483647, -2147483647 - 1}) {
        auto tree = good().tree;
        tree.nodes[0].id = id;
        expect_refusal(tree);
    }
}

TEST_F(Reflection, AMissingNodeIsRefused) {
    auto tree = good().tree;
    tree.nodes.erase(tree.nodes.begin());
    expect_refusal(tree);
    tree.amounts = 2;
    expect_refusal(tree);
}

TEST_F(Reflection, ADoubledNodeIsRefused) {
    auto tree = good().tree;
    tree.nodes[1].id = 0;
    expect_refusal(tree);
    auto longer = good().tree;
    longer.nodes.push_back(longer.nodes[0]);
    expect_refusal(longer);
}

TEST_F(Reflection, CountsThatTheNodesDoNotFillAreRefusedBeforeAnythingIsMade) {
    for (auto const count : {std::uint64_t{4}, std::uint64_t{1} << 40, ~std::uint64_t{0}}) {
        auto amounts = good().tree;
        amounts.amounts = count;
        expect_refusal(amounts);
        auto events = good().tree;
        events.events = count;
        expect_refusal(events);
        auto cashflows = good().tree;
        cashflows.cashflows = count;
        expect_refusal(cashflows);
    }
}

TEST_F(Reflection, AnUnknownCodeIsRefused) {
    for (std::size_t node : {std::size_t{0}, std::size_t{3}}) {
        auto tree = good().tree;
        tree.nodes[node].op = 77;
        expect_refusal(tree);
    }
}

TEST_F(Reflection, ARootWithoutNodeIsRefused) {
    for (int const root : {1, -1, 2147483647, -2147483647 - 1}) {
        auto tree = good().tree;
        tree.root = root;
        expect_refusal(tree);
    }
}

TEST_F(Reflection, ANodeBelowItselfIsRefused) {
    auto itself = good().tree;
    itself.nodes[2].payload = "2,1";
    expect_refusal(itself);
    Encoder round;
    round.both(1, 1);
    round.both(2, 2);
    round.both(0, 0);
    expect_refusal(round.tree);
    Encoder spine;
    spine.nothing();
    spine.both(0, 1);
    spine.tree.root = 1;
    expect_refusal(spine.tree);
    Encoder through_event;
    through_event.number(1);
    through_event.iff(0, 0, 1);
    through_event.above(1, 0);
    through_event.pay(0, "2024-01-01");
    expect_refusal(through_event.tree);  // even where the root does not reach it
}

TEST_F(Reflection, ARankOutsideItsAmountsIsRefused) {
    for (char const* fields : {"1,0", "-1,0", "0", "2147483647,0,0"}) {
        Encoder encoder;
        encoder.number(1);
        encoder.pay(encoder.a(32, fields), "2024-01-01");
        expect_refusal(encoder.tree);
    }
}

TEST_F(Reflection, ATreeThatDoublesAtEachLevelIsRefused) {
    Encoder encoder;
    int node = encoder.number(1);
    for (int i = 0; i < 18; ++i) node = encoder.add(node, node);
    encoder.pay(node, "2024-01-01");
    std::shared_ptr<CashFlow> root;
    EXPECT_TRUE(reflect_contract(encoder.tree, root));
    for (int i = 0; i < 60; ++i) node = encoder.add(node, node);
    encoder.pay(node, "2024-01-01");
    encoder.tree.root = 1;
    expect_refusal(encoder.tree);
}

TEST_F(Reflection, MoreNamesThanARankCanCountAreRefused) {
    auto const names = [](int count) {
        Encoder encoder;
        int list = encoder.nothing();
        for (int i = 0; i < count; ++i)
            list = encoder.both(encoder.set("n" + std::to_string(i), encoder.number(1)), list);
        encoder.tree.root = list;
        return encoder.tree;
    };
    std::shared_ptr<CashFlow> root;
    EXPECT_TRUE(reflect_contract(names(32767), root));
    expect_refusal(names(32768));
}

// Observation lists

class ObservationList : public Reflection {
 protected:
    static bool read(EncodedTree const& tree, std::vector<Observable::Item>& items) {
        return reflect_observations(tree, items);
    }
    static Encoder good_list() {
        Encoder encoder;
        int const first = encoder.spot("A", "2022-12-01");
        int const second = encoder.spot("A", "2023-07-02");
        encoder.tree.nodes.push_back({'o', 1, 0, payload("2023-07-02", second)});
        encoder.tree.nodes.push_back({'o', 0, 0, payload("2022-12-01", first)});
        return encoder;
    }
    static void expect_list_refusal(EncodedTree const& tree) {
        std::vector<Observable::Item> items;
        EXPECT_THAT([&] { EXPECT_FALSE(read(tree, items)); }, LogsError("Cannot read contract"));
        EXPECT_TRUE(items.empty());
    }
};

TEST_F(ObservationList, ItemsComeInTheOrderOfTheirNumbers) {
    std::vector<Observable::Item> items;
    ASSERT_TRUE(read(good_list().tree, items));
    ASSERT_EQ(items.size(), 2U);
    EXPECT_STREQ(items[0].date.c_str(), "2022-12-01");
    EXPECT_STREQ(items[1].date.c_str(), "2023-07-02");
    EXPECT_EQ(items[1].amount_number, 1U);
    ASSERT_NE(items[1].amount, nullptr);
    EXPECT_EQ(items[1].values.size(), 1U);
    EXPECT_EQ(items[1].minimum, std::numeric_limits<double>::max());
    EXPECT_EQ(items[1].maximum, std::numeric_limits<double>::min());
}

TEST_F(ObservationList, AnEmptyListReads) {
    std::vector<Observable::Item> items;
    EXPECT_TRUE(read({}, items));
    EXPECT_TRUE(items.empty());
}

TEST_F(ObservationList, WhatNoWriterMakesIsRefused) {
    auto gap = good_list().tree;
    gap.nodes.back().id = 2;
    expect_list_refusal(gap);
    auto doubled = good_list().tree;
    doubled.nodes.back().id = 1;
    expect_list_refusal(doubled);
    auto outside = good_list().tree;
    outside.nodes.back().payload = "2022-12-01,7";
    expect_list_refusal(outside);
    auto negative = good_list().tree;
    negative.nodes.back().payload = "2022-12-01,-1";
    expect_list_refusal(negative);
    auto cycle = good_list().tree;
    cycle.nodes[0] = {'a', 0, 0, "0,0"};
    expect_list_refusal(cycle);
    auto unknown = good_list().tree;
    unknown.nodes[0].op = 40;
    expect_list_refusal(unknown);
}

}  // namespace
}  // namespace ximCORE::Testing
