#include "core/contract/reflection.hpp"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <map>

#include "core/contract/either.hpp"
#include "core/contract/encoded_graph.hpp"
#include "core/contract/if.hpp"
#include "core/contract/iff.hpp"
#include "core/contract/operations.hpp"
#include "core/contract/payments.hpp"
#include "core/contract/sorted.hpp"
#include "core/toolbox/log.hpp"

namespace ximCORE::Contract {

namespace {

using AmountPtr = std::shared_ptr<Amount>;
using EventPtr = std::shared_ptr<Event>;
using CashFlowPtr = std::shared_ptr<CashFlow>;
using Toolbox::Date;

/// The fields of a payload, one after the other; a missing one is empty.
class Fields {
 public:
    explicit Fields(std::string const& payload) : m_rest(payload) {}

    bool c_is_at_end() const { return m_at_end; }
    std::string text() {
        auto const comma = m_rest.find(',');
        std::string field(m_rest.substr(0, comma));
        m_at_end = comma == std::string_view::npos;
        m_rest.remove_prefix(m_at_end ? m_rest.size() : comma + 1);
        return field;
    }
    int integer() { return std::stoi(text()); }
    double number() { return std::stod(text()); }
    Date date() { return Date(text()); }
    /// A negative number becomes one that no list has.
    template <class Node>
    Child<Node> child() {
        return Child<Node>(static_cast<std::uint64_t>(integer()));
    }
    template <class Node>
    std::vector<Child<Node>> children() {
        std::vector<Child<Node>> list;
        while (!m_at_end) list.push_back(child<Node>());
        return list;
    }

 private:
    std::string_view m_rest;
    bool m_at_end{false};
};

// Each maker reads its fields in the order of the payload.

template <class Node>
AmountPtr reflect_AmountUnaryOperation(Fields fields) {
    return std::make_shared<Node>(fields.child<Amount>());
}

template <class Node>
AmountPtr reflect_AmountBinaryOperation(Fields fields) {
    auto left = fields.child<Amount>();
    return std::make_shared<Node>(std::move(left), fields.child<Amount>());
}

template <class Node>
AmountPtr reflect_LeftAmountHybridOperation(Fields fields) {
    double const constant = fields.number();
    return std::make_shared<Node>(constant, fields.child<Amount>());
}

template <class Node>
AmountPtr reflect_RightAmountHybridOperation(Fields fields) {
    auto child = fields.child<Amount>();
    return std::make_shared<Node>(fields.number(), std::move(child));
}

AmountPtr reflect_DeterministicAmount(Fields fields) {
    return std::make_shared<DeterministicAmount>(fields.number());
}

AmountPtr reflect_Fixing(Fields fields) {
    auto underlying = fields.text();
    auto const date = fields.date();
    return std::make_shared<Fixing>(date, std::move(underlying), fields.text(),
                                    Toolbox::DateShift("", nullptr));
}

AmountPtr reflect_Iff(Fields fields) {
    auto event = fields.child<Event>();
    auto then = fields.child<Amount>();
    return std::make_shared<Iff>(std::move(event), std::move(then), fields.child<Amount>());
}

AmountPtr reflect_Ref(Fields fields) {
    auto name = fields.text();
    return std::make_shared<Ref>(fields.number(), std::move(name));
}

AmountPtr reflect_RefAmount(Fields fields) {
    return std::make_shared<RefAmount>(fields.text());
}

AmountPtr reflect_Sorted(Fields fields) {
    int const rank = fields.integer();
    return std::make_shared<Sorted>(rank, fields.children<Amount>());
}

template <class Node>
EventPtr reflect_EventUnaryOperation(Fields fields) {
    return std::make_shared<Node>(fields.child<Event>());
}

template <class Node>
EventPtr reflect_EventBinaryOperation(Fields fields) {
    auto left = fields.child<Event>();
    return std::make_shared<Node>(std::move(left), fields.child<Event>());
}

template <class Node>
EventPtr reflect_EventAmountBinaryOperation(Fields fields) {
    auto left = fields.child<Amount>();
    return std::make_shared<Node>(std::move(left), fields.child<Amount>());
}

template <class Node>
EventPtr reflect_LeftEventAmountHybridOperation(Fields fields) {
    double const constant = fields.number();
    return std::make_shared<Node>(constant, fields.child<Amount>());
}

template <class Node>
EventPtr reflect_RightEventAmountHybridOperation(Fields fields) {
    auto child = fields.child<Amount>();
    return std::make_shared<Node>(fields.number(), std::move(child));
}

EventPtr reflect_DeterministicEvent(Fields fields) {
    return std::make_shared<DeterministicEvent>(fields.integer() != 0);
}

CashFlowPtr reflect_CashFlowBinaryOperation(Fields fields) {
    auto left = fields.child<CashFlow>();
    return std::make_shared<CashFlowBinaryOperation>(std::move(left), fields.child<CashFlow>());
}

CashFlowPtr reflect_If(Fields fields) {
    auto event = fields.child<Event>();
    auto then = fields.child<CashFlow>();
    auto otherwise = fields.child<CashFlow>();
    double const lhs = std::abs(fields.number());
    double const rhs = std::abs(fields.number());
    return std::make_shared<If>(std::move(event), std::move(then), std::move(otherwise), lhs, rhs);
}

CashFlowPtr reflect_Either(Fields fields) {
    auto const ownership = static_cast<signed char>(fields.integer());
    auto const date = fields.date();
    return std::make_shared<Either>(ownership, date, fields.children<CashFlow>());
}

CashFlowPtr reflect_RefAmountSetter(Fields fields) {
    auto name = fields.text();
    return std::make_shared<RefAmountSetter>(std::move(name), fields.child<Amount>());
}

CashFlowPtr reflect_BuySell(Fields fields) {
    auto const date = fields.date();
    double const quantity = fields.number();
    auto child = fields.child<CashFlow>();
    return std::make_shared<BuySell>(date, quantity, std::move(child),
                                     static_cast<short>(fields.integer()));
}

CashFlowPtr reflect_PayReceive(Fields fields) {
    auto amount = fields.child<Amount>();
    auto const date = fields.date();
    auto currency = fields.text();
    auto const sign = static_cast<short>(fields.integer());
    return std::make_shared<PayReceive>(std::move(amount), date, std::move(currency), sign);
}

CashFlowPtr reflect_Nothing(Fields) {
    return std::make_shared<Nothing>();
}

// The makers by code.

constexpr std::array<AmountPtr (*)(Fields), 33> c_amount_makers{
    reflect_AmountBinaryOperation<AmountBinaryAddOperation>,
    reflect_AmountBinaryOperation<AmountBinaryDivOperation>,
    reflect_AmountBinaryOperation<AmountBinaryMaxOperation>,
    reflect_AmountBinaryOperation<AmountBinaryMinOperation>,
    reflect_AmountBinaryOperation<AmountBinaryMulOperation>,
    reflect_AmountBinaryOperation<AmountBinarySubOperation>,
    reflect_AmountUnaryOperation<AmountUnaryAbsOperation>,
    reflect_AmountUnaryOperation<AmountUnaryCosOperation>,
    reflect_AmountUnaryOperation<AmountUnaryExpOperation>,
    reflect_AmountUnaryOperation<AmountUnaryLogOperation>,
    reflect_AmountUnaryOperation<AmountUnarySinOperation>,
    reflect_AmountUnaryOperation<AmountUnarySqrtOperation>,
    reflect_AmountUnaryOperation<AmountUnarySubOperation>,
    reflect_AmountUnaryOperation<AmountUnaryTanOperation>,
    reflect_LeftAmountHybridOperation<LeftAmountHybridAddOperation>,
    reflect_LeftAmountHybridOperation<LeftAmountHybridDivOperation>,
    reflect_LeftAmountHybridOperation<LeftAmountHybridMaxOperation>,
    reflect_LeftAmountHybridOperation<LeftAmountHybridMinOperation>,
    reflect_LeftAmountHybridOperation<LeftAmountHybridMulOperation>,
    reflect_LeftAmountHybridOperation<LeftAmountHybridSubOperation>,
    reflect_RightAmountHybridOperation<RightAmountHybridAddOperation>,
    reflect_RightAmountHybridOperation<RightAmountHybridDivOperation>,
    reflect_RightAmountHybridOperation<RightAmountHybridMaxOperation>,
    reflect_RightAmountHybridOperation<RightAmountHybridMinOperation>,
    reflect_RightAmountHybridOperation<RightAmountHybridMulOperation>,
    reflect_RightAmountHybridOperation<RightAmountHybridPowOperation>,
    reflect_RightAmountHybridOperation<RightAmountHybridSubOperation>,
    reflect_DeterministicAmount,
    reflect_Fixing,
    reflect_Iff,
    reflect_Ref,
    reflect_RefAmount,
    reflect_Sorted};

constexpr std::array<EventPtr (*)(Fields), 22> c_event_makers{
    reflect_EventUnaryOperation<EventUnaryNotOperation>,
    reflect_EventAmountBinaryOperation<EventAmountBinaryEqualOperation>,
    reflect_EventAmountBinaryOperation<EventAmountBinaryGreaterOperation>,
    reflect_EventAmountBinaryOperation<EventAmountBinaryGreaterOrEqualOperation>,
    reflect_EventAmountBinaryOperation<EventAmountBinaryLowerOperation>,
    reflect_EventAmountBinaryOperation<EventAmountBinaryLowerOrEqualOperation>,
    reflect_EventAmountBinaryOperation<EventAmountBinaryNotEqualOperation>,
    reflect_EventBinaryOperation<EventBinaryAndOperation>,
    reflect_EventBinaryOperation<EventBinaryOrOperation>,
    reflect_LeftEventAmountHybridOperation<LeftEventAmountHybridEqualOperation>,
    reflect_LeftEventAmountHybridOperation<LeftEventAmountHybridGreaterOperation>,
    reflect_LeftEventAmountHybridOperation<LeftEventAmountHybridGreaterOrEqualOperation>,
    reflect_LeftEventAmountHybridOperation<LeftEventAmountHybridLowerOperation>,
    reflect_LeftEventAmountHybridOperation<LeftEventAmountHybridLowerOrEqualOperation>,
    reflect_LeftEventAmountHybridOperation<LeftEventAmountHybridNotEqualOperation>,
    reflect_RightEventAmountHybridOperation<RightEventAmountHybridEqualOperation>,
    reflect_RightEventAmountHybridOperation<RightEventAmountHybridGreaterOperation>,
    reflect_RightEventAmountHybridOperation<RightEventAmountHybridGreaterOrEqualOperation>,
    reflect_RightEventAmountHybridOperation<RightEventAmountHybridLowerOperation>,
    reflect_RightEventAmountHybridOperation<RightEventAmountHybridLowerOrEqualOperation>,
    reflect_RightEventAmountHybridOperation<RightEventAmountHybridNotEqualOperation>,
    reflect_DeterministicEvent};

constexpr std::array<CashFlowPtr (*)(Fields), 7> c_cashflow_makers{reflect_CashFlowBinaryOperation,
                                                                   reflect_If,
                                                                   reflect_Either,
                                                                   reflect_RefAmountSetter,
                                                                   reflect_BuySell,
                                                                   reflect_PayReceive,
                                                                   reflect_Nothing};

/// Relied on: the code is taken as one byte.
template <class Makers>
auto reflect(Makers const& makers, unsigned long long op, std::string const& payload) {
    auto const code = static_cast<unsigned char>(op);
    return code < makers.size() ? makers[code](Fields(payload))
                                : decltype(makers[0](Fields(payload))){};
}

bool refuse() {
    Toolbox::Log::s_log(Toolbox::Log::Level::ERROR, "Cannot read contract");
    return false;
}

/// Places a node at its number. False when the number is outside or taken, or the node's code
/// unknown.
template <class Node>
bool place(std::vector<std::shared_ptr<Node>>& list, int id, std::shared_ptr<Node> node) {
    auto const index = static_cast<std::size_t>(static_cast<std::ptrdiff_t>(id));
    if (index >= list.size() || list[index] != nullptr || node == nullptr) return false;
    list[index] = std::move(node);
    return true;
}

/// Makes the nodes of the three families. False unless the counts are those of the nodes, and each
/// number has one.
bool make_nodes(EncodedTree const& encoded, NodeLists& lists) {
    auto const has = [&](char tag, std::uint64_t count) {
        auto const found = std::ranges::count(encoded.nodes, tag, &EncodedNode::tag);
        return static_cast<std::uint64_t>(found) == count;
    };
    if (!has('a', encoded.amounts) || !has('e', encoded.events) || !has('c', encoded.cashflows))
        return false;
    lists.amounts.resize(encoded.amounts);
    lists.events.resize(encoded.events);
    lists.cashflows.resize(encoded.cashflows);
    for (auto const& [tag, id, op, payload] : encoded.nodes) {
        auto const code = static_cast<unsigned long long>(op);
        if (tag == 'a' && !place(lists.amounts, id, reflect_amount(code, payload))) return false;
        if (tag == 'e' && !place(lists.events, id, reflect_event(code, payload))) return false;
        if (tag == 'c' && !place(lists.cashflows, id, reflect_cashflow(code, payload)))
            return false;
    }
    return true;
}

/// Counts what one more root adds; false beyond the limits.
bool is_small(Extent const& extent, std::uint64_t& nodes) {
    nodes += extent.nodes;
    return extent.depth <= c_max_depth && nodes <= c_max_nodes;
}

bool populate_root(EncodedTree const& encoded, NodeLists const& lists) {
    auto const index = static_cast<std::size_t>(static_cast<std::ptrdiff_t>(encoded.root));
    if (index >= lists.cashflows.size()) return false;
    EncodedGraph graph(lists);
    std::uint64_t nodes = 0;
    if (!graph.check() || !is_small(graph.c_get_cashflow(index), nodes)) return false;
    auto& root = *lists.cashflows[index];
    constexpr auto max_names = static_cast<std::size_t>(std::numeric_limits<short>::max());
    return root.populate(lists) && root.rank_names().size() <= max_names;
}

/// The observations by their numbers. False unless these are 0, 1, 2, ...
bool make_items(EncodedTree const& encoded, std::vector<Observable::Item>& items) {
    std::map<int, Observable::Item> by_number;
    for (auto const& node : encoded.nodes)
        if (node.tag == 'o' && !by_number.emplace(node.id, reflect_observable(node.payload)).second)
            return false;
    for (auto& [number, item] : by_number) {
        if (number != static_cast<int>(items.size())) return false;
        items.push_back(std::move(item));
    }
    return true;
}

bool populate_items(NodeLists const& lists, std::vector<Observable::Item>& items) {
    EncodedGraph graph(lists);
    if (!graph.check()) return false;
    std::uint64_t nodes = 0;
    return std::ranges::all_of(items, [&](Observable::Item& item) {
        return item.amount_number < lists.amounts.size() &&
               is_small(graph.c_get_amount(item.amount_number), nodes) && item.populate(lists);
    });
}

}  // namespace

AmountPtr reflect_amount(unsigned long long op, std::string const& payload) {
    return reflect(c_amount_makers, op, payload);
}

EventPtr reflect_event(unsigned long long op, std::string const& payload) {
    return reflect(c_event_makers, op, payload);
}

CashFlowPtr reflect_cashflow(unsigned long long op, std::string const& payload) {
    return reflect(c_cashflow_makers, op, payload);
}

Observable::Item reflect_observable(std::string const& payload) {
    Fields fields(payload);
    Observable::Item item;
    item.date = fields.date();
    item.amount_number = static_cast<std::uint64_t>(fields.integer());
    return item;
}

bool reflect_contract(EncodedTree const& encoded, CashFlowPtr& root) {
    NodeLists lists;
    if (!make_nodes(encoded, lists)) return refuse();
    if (lists.cashflows.empty()) {
        Toolbox::Log::s_log(Toolbox::Log::Level::ERROR, "Contract empty");
        return false;
    }
    if (!populate_root(encoded, lists)) return refuse();
    root = lists.cashflows[static_cast<std::size_t>(encoded.root)];
    return true;
}

bool reflect_observations(EncodedTree const& encoded, std::vector<Observable::Item>& items) {
    NodeLists lists;
    std::vector<Observable::Item> found;
    if (!make_nodes(encoded, lists) || !make_items(encoded, found) || !populate_items(lists, found))
        return refuse();
    items = std::move(found);
    return true;
}

}  // namespace ximCORE::Contract
