#include "dsl/script/recognisers.hpp"

#include <algorithm>
#include <memory>
#include <string>

#include "dsl/cashflow.hpp"

namespace ximAPI::Toolkit {

namespace {

using namespace ximDSL;
using enum Argument;

std::string text(Reading const& reading, std::size_t index) {
    return std::string(reading.texts[index]);
}

/// The nested node number `index`, whose family has been checked.
template <class T>
std::shared_ptr<T> node(Reading const& reading, std::size_t index) {
    return std::static_pointer_cast<T>(reading.nodes[index]);
}

template <short sign>
NodePtr make_payment(Reading const& r) {
    return std::make_shared<PayReceive>(node<Amount>(r, 0), text(r, 1), text(r, 2), sign);
}

template <short sign>
NodePtr make_purchase(Reading const& r) {
    return std::make_shared<BuySell>(text(r, 0), r.numbers[0], node<CashFlow>(r, 0), sign);
}

NodePtr make_setter(Reading const& r) {
    return std::make_shared<RefAmountSetter>(text(r, 0), node<Amount>(r, 0));
}

NodePtr make_end(Reading const&) {
    return std::make_shared<Nothing>();
}

NodePtr make_exercise(Reading const& r) {
    std::vector<CashFlowPtr> alternatives;
    for (std::size_t index = 0; index < r.nodes.size(); ++index)
        alternatives.push_back(node<CashFlow>(r, index));
    // Relied on: in a script "Callable" makes the same choice as "Putable".
    return std::make_shared<IfExercise>(true, text(r, 1), alternatives);
}

NodePtr make_barrier(Reading const& r) {
    auto const spread = [&](std::size_t index) {
        return index < r.numbers.size() ? r.numbers[index] : 0.0f;
    };
    return std::make_shared<Barrier>(node<Event>(r, 0), node<CashFlow>(r, 1), node<CashFlow>(r, 2),
                                     spread(0), spread(1));
}

NodePtr make_condition(Reading const& r) {
    return std::make_shared<Iff>(node<Event>(r, 0), node<Amount>(r, 1), node<Amount>(r, 2));
}

NodePtr make_fixing(Reading const& r) {
    return std::make_shared<Fixing>(text(r, 0), text(r, 1), "");
}

NodePtr make_reference(Reading const& r) {
    return std::make_shared<Ref>(text(r, 0), r.numbers[0]);
}

NodePtr make_constant(Reading const& r) {
    return std::make_shared<DeterministicAmount>(r.numbers[0]);
}

NodePtr make_amount_reference(Reading const& r) {
    return std::make_shared<RefAmount>(text(r, 0));
}

// clang-format off
constexpr auto statement_constructs = std::to_array<Construct>({
    // word      signature                                          first bracket                 count            second bracket   count
    {"Pay",      "Pay(amount, date, currency)",                     {amount, date, currency},     3, 3,            statement,       0, 0,              make_payment<1>},
    {"Receive",  "Receive(amount, date, currency)",                 {amount, date, currency},     3, 3,            statement,       0, 0,              make_payment<-1>},
    {"Buy",      "Buy(date, quantity, statement)",                  {date, quantity, statement},  3, 3,            statement,       0, 0,              make_purchase<1>},
    {"Sell",     "Sell(date, quantity, statement)",                 {date, quantity, statement},  3, 3,            statement,       0, 0,              make_purchase<-1>},
    {"Set",      "Set(name, amount)",                               {name, amount},               2, 2,            statement,       0, 0,              make_setter},
    {"End",      "End()",                                           {nothing},                    1, 1,            statement,       0, 0,              make_end},
    {"Either",   "Either(Putable, date)(statement, statement...)",  {ownership, date},            2, 2,            statement,       1, Construct::any, make_exercise},
    {"If",       "If(event, left spread, right spread)(statement, statement)", {event, spread, spread}, 1, Construct::any, statement, 2, 2,            make_barrier},
});

constexpr auto expression_constructs = std::to_array<Construct>({
    {"Spot",      "Spot(ticker, date)",                             {ticker, date},               2, 2,            amount,          0, 0,              make_fixing},
    {"CstRef",    "CstRef(name, value)",                            {name, value},                2, 2,            amount,          0, 0,              make_reference},
    {"Cst",       "Cst(value)",                                     {value},                      1, 1,            amount,          0, 0,              make_constant},
    {"AmountRef", "AmountRef(name)",                                {name},                       1, 1,            amount,          0, 0,              make_amount_reference},
    {"If",        "If(event)(amount, amount)",                      {event, spread, spread},      1, Construct::any, amount,        2, 2,              make_condition},
});
// clang-format on

template <Amount::Id id>
NodePtr make_unary() {
    return std::make_shared<AmountUnaryOperation>(id);
}
template <Amount::Id id>
NodePtr make_binary() {
    return std::make_shared<AmountBinaryOperation>(id);
}
template <Event::Id id>
NodePtr make_comparison() {
    return std::make_shared<EventAmountBinaryOperation>(id);
}
template <Event::Id id>
NodePtr make_combination() {
    return std::make_shared<EventBinaryOperation>(id);
}
NodePtr make_both() {
    return std::make_shared<CashFlowBinaryOperation>();
}

constexpr auto functions = std::to_array<Operator>({
    {"Max", make_binary<Amount::Id::max>},
    {"Min", make_binary<Amount::Id::min>},
    {"Sin", make_unary<Amount::Id::sin>},
    {"Cos", make_unary<Amount::Id::cos>},
    {"Tan", make_unary<Amount::Id::tan>},
    {"Abs", make_unary<Amount::Id::abs>},
    {"Exp", make_unary<Amount::Id::exp>},
    {"Log", make_unary<Amount::Id::log>},
    {"Sqr", make_unary<Amount::Id::square_root>},
});

// Tried in this order: the longer one of two with the same beginning comes first.
constexpr auto operators = std::to_array<Operator>({
    {"-", make_binary<Amount::Id::subtract>},
    {"+", make_binary<Amount::Id::add>},
    {"*", make_binary<Amount::Id::multiply>},
    {"/", make_binary<Amount::Id::divide>},
    {"<=", make_comparison<Event::Id::lower_or_equal>},
    {">=", make_comparison<Event::Id::greater_or_equal>},
    {"&&", make_combination<Event::Id::both>},
    {"||", make_combination<Event::Id::either>},
    {"<", make_comparison<Event::Id::lower>},
    {">", make_comparison<Event::Id::greater>},
});

constexpr auto statement_operators = std::to_array<Operator>({{"&", make_both}});

Operator const* find_operator(std::span<Operator const> rows, std::string_view text) {
    auto const row =
        std::ranges::find_if(rows, [&](auto const& one) { return text.starts_with(one.word); });
    return row == rows.end() ? nullptr : &*row;
}

bool is_digit(char character) {
    return character >= '0' && character <= '9';
}

}  // namespace

std::span<Construct const> get_statement_constructs() {
    return statement_constructs;
}
std::span<Construct const> get_expression_constructs() {
    return expression_constructs;
}
std::span<Operator const> get_functions() {
    return functions;
}

Construct const* find_construct(std::span<Construct const> constructs, std::string_view text) {
    auto const row = std::ranges::find_if(constructs, [&](auto const& one) {
        return text.starts_with(one.word) && text.substr(one.word.size()).starts_with('(');
    });
    return row == constructs.end() ? nullptr : &*row;
}

Operator const* is_function(std::string_view text) {
    return find_operator(functions, text);
}
Operator const* is_operator(std::string_view text) {
    return find_operator(operators, text);
}
Operator const* is_CashFlowBinaryOperation(std::string_view text) {
    return find_operator(statement_operators, text);
}

std::size_t is_Float(std::string_view text) {
    if (text.empty() || !is_digit(text.front())) return 0;
    auto point_allowed = true;
    std::size_t length = 1;
    while (length < text.size() &&
           (is_digit(text[length]) || (text[length] == '.' && point_allowed))) {
        point_allowed = point_allowed && text[length] != '.';
        ++length;
    }
    return length;
}

}  // namespace ximAPI::Toolkit
