#include "core/contract/payments.hpp"

#include <algorithm>
#include <cmath>

#include "core/contract/event_manager.hpp"
#include "core/contract/text.hpp"
#include "core/data/cache.hpp"
#include "core/data/missing.hpp"

namespace ximCORE::Contract {

namespace {

/// A flow on the current path; payments are reached without a virtual call.
void flow_on_path(CashFlow& cashflow, Modeling::FixingGrid& grid, Variables& variables,
                  Toolbox::Array1D<double>& flows) {
    if (cashflow.c_get_shape() == CashFlow::Shape::payment)
        static_cast<PayReceive&>(cashflow).eval(grid, variables, flows);
    else
        cashflow.eval(grid, variables, flows);
}

}  // namespace

// Nothing

bool Nothing::eval(double& value) {
    value = 0.0;
    return true;
}

void Nothing::c_to_string(std::string& text, std::uint64_t&, std::uint64_t const&,
                          std::uint64_t) const {
    text += "End()";
}

std::shared_ptr<CashFlow> Nothing::clone() const {
    return std::make_shared<Nothing>(*this);
}

// PayReceive

PayReceive::PayReceive(Child<Amount> amount, Toolbox::Date const& date, std::string currency,
                       short sign)
    : Composite(Shape::payment),
      m_date(date),
      m_amount(std::move(amount)),
      m_scale(sign),
      m_sign(sign),
      m_currency_name(std::move(currency)) {}

bool PayReceive::resolve(Toolbox::Date const&, Data::Currency const* pricing) {
    auto& cache = Data::MarketDataCache::s_get();
    if (!m_currency) m_currency = cache.get_currency(m_currency_name, Data::Level::silent);
    m_conversion.reset();
    if (pricing && !(*m_currency == *pricing))
        m_conversion = std::make_shared<Fixing>(
            m_date, cache.get_currency_pair(*m_currency, *pricing, Data::Level::silent));
    return m_currency->c_is_set();
}

void PayReceive::c_open(Modeling::FixingGrid& grid) const {
    if (m_currency) grid.open_stochastic_rates_adjustment(*m_currency, m_date);
}

void PayReceive::reduce() {
    m_amount->reduce();
    m_amount.adopt();
    double value{};
    if (m_amount->c_is_deterministic(value) && value == 0.0)
        replace_by(std::make_shared<Nothing>());
}

bool PayReceive::accumulate(Harvest& harvest) {
    hand_out(harvest.payments, this);
    if (m_currency)
        hand_out(harvest.currencies, m_currency.get());
    else if (harvest.everything)
        return Data::missing_text(Data::Level::error, "Cannot find currency ", m_currency_name);
    hand_out(harvest.maturity_dates, &m_date);
    hand_out(harvest.fixing_dates, &m_date);
    hand_out(harvest.pillar_dates, &m_date);
    hand_out(harvest.payment_dates, &m_date);
    return m_amount.accumulate(harvest) && (!m_conversion || m_conversion->accumulate(harvest));
}

void PayReceive::accumulate_events(std::vector<CashFlow const*>& list, std::uint64_t) {
    list.push_back(this);
}

void PayReceive::eval(Modeling::FixingGrid& grid, Variables& variables,
                      Toolbox::Array1D<double>& flows) {
    double const rate = m_conversion ? m_conversion->eval(grid, variables) : 1.0;
    add_flow(rate, value_on_path(*m_amount, grid, variables), grid, flows);
}

void PayReceive::add_flow(double rate, double amount, Modeling::FixingGrid& grid,
                          Toolbox::Array1D<double>& flows) const {
    double flow = rate * amount;
    double const adjustment = grid.get_stochastic_rates_adjustment(*m_currency, m_date).value;
    if (adjustment != 0.0) flow *= std::exp(-adjustment);
    auto const rank =
        static_cast<std::size_t>(static_cast<std::ptrdiff_t>(m_date.c_get_payment_rank()));
    flows.unsafe_get(rank) += flow * m_scale;
}

bool PayReceive::eval(double& value) {
    double amount{};
    double rate{1.0};
    if (!m_amount->eval(amount, Data::Level::error)) return false;
    if (m_conversion && !m_conversion->eval(rate, Data::Level::error)) return false;
    value *= amount * rate * m_scale;
    return true;
}

void PayReceive::c_to_string(std::string& text, std::uint64_t& indent, std::uint64_t const& step,
                             std::uint64_t width) const {
    std::string amount;
    m_amount->c_to_string(amount, false);
    text += c_get_payreceive() ? "Pay(" : "Receive(";
    append_lines(text, amount, indent + step, width);
    text.append(", \"")
        .append(m_date.c_str())
        .append("\", \"")
        .append(m_currency_name)
        .append("\")");
}

void PayReceive::move(Toolbox::Date const& date, NamedValues& values, EventManager* manager,
                      Intraday const& intraday, bool in_choice, FixingOverrides const& fixings) {
    bool const is_past = date > m_date || (date == m_date && !intraday.IntradayPayments);
    if (is_past && in_choice) return;
    m_amount->move(date, values.c_get_known(), intraday, fixings, is_past);
    m_amount.adopt();
    double value{};
    bool const is_zero = m_amount->c_is_deterministic(value) && value == 0.0;
    if (is_past && manager) manager->add_PayReceive(this, &value);
    if (is_past || (is_zero && !in_choice)) replace_by(std::make_shared<Nothing>());
}

std::shared_ptr<CashFlow> PayReceive::clone() const {
    auto copy = std::make_shared<PayReceive>(*this);
    copy->m_amount.clone();
    if (m_conversion) copy->m_conversion = std::make_shared<Fixing>(*m_conversion);
    return copy;
}

// BuySell

BuySell::BuySell(Toolbox::Date const& date, double quantity, Child<CashFlow> child, short sign)
    : m_date(date), m_quantity(quantity), m_child(std::move(child)), m_sign(sign) {}

void BuySell::scale_payments() {
    std::vector<PayReceive*> payments;
    m_child->accumulate_payments(payments);
    for (auto* payment : payments) payment->scale(m_sign * m_quantity);
}

void BuySell::reduce() {
    m_child->reduce();
    m_child.adopt();
    if (m_child->c_is_nothing() || m_quantity == 0.0) replace_by(std::make_shared<Nothing>());
}

bool BuySell::accumulate(Harvest& harvest) {
    hand_out(harvest.purchases, this);
    return Composite::accumulate(harvest);
}

void BuySell::accumulate_events(std::vector<CashFlow const*>& list, std::uint64_t base) {
    list.push_back(this);
    m_start =
        static_cast<int>(list.size());  // Relied on: the positions of a purchase leave out the base
    m_child->accumulate_events(list, base);
    m_end = static_cast<int>(list.size()) - 1;
}

void BuySell::accumulate_cashflows_internal(std::vector<std::shared_ptr<CashFlow>*>& out) {
    m_child->accumulate_cashflows_internal(out);
    out.push_back(&m_child.get());
}

void BuySell::c_to_string(std::string& text, std::uint64_t& indent, std::uint64_t const& step,
                          std::uint64_t width) const {
    text.append(c_get_buysell() ? "Buy(\"" : "Sell(\"").append(m_date.c_str()).append("\", ");
    text.append(to_string_wtz(m_quantity)).append(", ");
    m_child->c_to_string(text, indent, step, width);
    text += ')';
}

void BuySell::move(Toolbox::Date const& date, NamedValues& values, EventManager* manager,
                   Intraday const& intraday, bool, FixingOverrides const& fixings) {
    m_child->move(std::max(date, m_date), values, manager, intraday, false, fixings);
    m_child.adopt();
    if (m_child->c_is_nothing()) replace_by(std::make_shared<Nothing>());
}

std::shared_ptr<CashFlow> BuySell::clone() const {
    return copy_tree(*this);
}

// RefAmountSetter

RefAmountSetter::RefAmountSetter(std::string name, Child<Amount> amount)
    : m_name(std::move(name)), m_amount(std::move(amount)) {}

void RefAmountSetter::reduce() {
    m_amount->reduce();
    m_amount.adopt();
}

bool RefAmountSetter::accumulate(Harvest& harvest) {
    hand_out(harvest.names, NamedSlot{&m_name, &m_rank});
    return Composite::accumulate(harvest);
}

void RefAmountSetter::accumulate_events(std::vector<CashFlow const*>& list, std::uint64_t) {
    list.push_back(this);
}

void RefAmountSetter::eval(Modeling::FixingGrid& grid, Variables& variables,
                           Toolbox::Array1D<double>&) {
    variables.write(m_rank, value_on_path(*m_amount, grid, variables));
}

bool RefAmountSetter::eval(double& value) {
    value = 0.0;
    return true;
}

void RefAmountSetter::c_to_string(std::string& text, std::uint64_t& indent,
                                  std::uint64_t const& step, std::uint64_t width) const {
    std::string amount;
    m_amount->c_to_string(amount, false);
    text.append("Set(\"").append(m_name).append("\", ");
    append_lines(text, amount, indent + step, width);
    text += ')';
}

bool RefAmountSetter::c_is_past(Toolbox::Date const& date, Intraday const& intraday) const {
    Toolbox::Date observed(date);
    std::ignore =
        m_amount->unsafe_get_constatation_date(observed);  // without a fixing: the date itself
    return date > observed || (date == observed && !intraday.IntradayFixings);
}

void RefAmountSetter::move(Toolbox::Date const& date, NamedValues& values, EventManager* manager,
                           Intraday const& intraday, bool, FixingOverrides const& fixings) {
    bool const is_open = values.c_is_conditional();
    m_amount->move(date, values.c_get_known(), intraday, fixings,
                   !is_open && c_is_past(date, intraday));
    m_amount.adopt();
    double value{};
    if (is_open || !m_amount->c_is_deterministic(value)) {
        values.open(m_name);
        return;
    }
    values.set(m_name, value);
    if (manager) manager->add_RefAmountSetter(this, &value);
    replace_by(std::make_shared<Nothing>());
}

std::shared_ptr<CashFlow> RefAmountSetter::clone() const {
    return copy_tree(*this);
}

// CashFlowBinaryOperation

CashFlowBinaryOperation::CashFlowBinaryOperation(Child<CashFlow> left, Child<CashFlow> right)
    : CashFlow(Shape::list), m_left(std::move(left)), m_right(std::move(right)) {}

CashFlowBinaryOperation::~CashFlowBinaryOperation() {
    replace_by(nullptr);
    auto rest = std::move(m_right.get());
    while (rest && rest.use_count() == 1 && rest->c_get_shape() == Shape::list) {
        auto next = std::move(static_cast<CashFlowBinaryOperation&>(*rest).m_right.get());
        rest = std::move(next);
    }
}

CashFlowBinaryOperation* CashFlowBinaryOperation::c_get_next() const {
    auto* right = m_right.c_get().get();
    return right && right->c_get_shape() == Shape::list
               ? static_cast<CashFlowBinaryOperation*>(right)
               : nullptr;
}

template <class Visit>
bool CashFlowBinaryOperation::c_all_members(Visit&& visit) const {
    auto const* node = this;
    for (; auto const* next = node->c_get_next(); node = next)
        if (!visit(*node->m_left)) return false;
    return visit(*node->m_left) && visit(*node->m_right);
}

std::vector<CashFlowBinaryOperation*> CashFlowBinaryOperation::spine() {
    std::vector<CashFlowBinaryOperation*> nodes;
    for (auto* node = this; node; node = node->c_get_next()) nodes.push_back(node);
    return nodes;
}

void CashFlowBinaryOperation::c_accumulate_numbers(ChildNumbers& out) const {
    out.cashflows.push_back(m_left.c_get_number());
    out.cashflows.push_back(m_right.c_get_number());
}

bool CashFlowBinaryOperation::populate(NodeLists const& lists) {
    for (auto* node = this;;) {
        if (!node->m_left.populate(lists) || !node->m_right.link(lists)) return false;
        auto* next = node->c_get_next();
        if (!next) return node->m_right->populate(lists);
        node = next;
    }
}

void CashFlowBinaryOperation::join() {
    m_left.adopt();
    m_right.adopt();
    if (m_left->c_is_nothing())
        replace_by(m_right.c_get());  // Nothing, when both are
    else if (m_right->c_is_nothing())
        replace_by(m_left.c_get());
}

void CashFlowBinaryOperation::reduce() {
    auto const nodes = spine();
    for (auto* node : nodes) node->m_left->reduce();
    nodes.back()->m_right->reduce();
    std::for_each(nodes.rbegin(), nodes.rend(), [](auto* node) { node->join(); });
}

bool CashFlowBinaryOperation::accumulate(Harvest& harvest) {
    return c_all_members([&](CashFlow& member) { return member.accumulate(harvest); });
}

void CashFlowBinaryOperation::accumulate_events(std::vector<CashFlow const*>& list,
                                                std::uint64_t base) {
    std::ignore = c_all_members([&](CashFlow& member) {
        member.accumulate_events(list, base);
        return true;
    });
}

void CashFlowBinaryOperation::accumulate_cashflows_internal(
    std::vector<std::shared_ptr<CashFlow>*>& out) {
    auto const nodes = spine();
    for (auto* node : nodes) {
        node->m_left->accumulate_cashflows_internal(out);
        out.push_back(&node->m_left.get());
    }
    nodes.back()->m_right->accumulate_cashflows_internal(out);
    std::for_each(nodes.rbegin(), nodes.rend(),
                  [&](auto* node) { out.push_back(&node->m_right.get()); });
}

Toolbox::Date CashFlowBinaryOperation::c_get_maturity_date(Toolbox::Date const& fallback) const {
    auto const* node = this;
    auto latest = m_left->c_get_maturity_date(fallback);
    while (auto const* next = node->c_get_next()) {
        node = next;
        latest = std::max(latest, node->m_left->c_get_maturity_date(fallback));
    }
    return std::max(latest, node->m_right->c_get_maturity_date(fallback));
}

void CashFlowBinaryOperation::eval(Modeling::FixingGrid& grid, Variables& variables,
                                   Toolbox::Array1D<double>& flows) {
    auto* node = this;
    for (; auto* next = node->c_get_next(); node = next)
        flow_on_path(*node->m_left, grid, variables, flows);
    flow_on_path(*node->m_left, grid, variables, flows);
    flow_on_path(*node->m_right, grid, variables, flows);
}

bool CashFlowBinaryOperation::eval(double& value) {
    std::vector<double> values;
    bool const is_known = c_all_members([&](CashFlow& member) {
        values.push_back(1.0);
        return member.eval(values.back());
    });
    if (!is_known) return false;
    double sum = values.back();  // from the right, as the list is joined
    for (auto member = values.rbegin() + 1; member != values.rend(); ++member) sum = *member + sum;
    value = sum;
    return true;
}

void CashFlowBinaryOperation::c_to_string(std::string& text, std::uint64_t& indent,
                                          std::uint64_t const& step, std::uint64_t width) const {
    bool is_first = true;
    std::ignore = c_all_members([&](CashFlow const& member) {
        if (!is_first) {
            text += " &";
            start_line(text, indent, width);
        }
        is_first = false;
        member.c_to_string(text, indent, step, width);
        return true;
    });
}

void CashFlowBinaryOperation::move(Toolbox::Date const& date, NamedValues& values,
                                   EventManager* manager, Intraday const& intraday, bool in_choice,
                                   FixingOverrides const& fixings) {
    auto const nodes = spine();
    for (auto* node : nodes)
        node->m_left->move(date, values, manager, intraday, in_choice, fixings);
    nodes.back()->m_right->move(date, values, manager, intraday, in_choice, fixings);
    std::for_each(nodes.rbegin(), nodes.rend(), [](auto* node) { node->join(); });
}

std::shared_ptr<CashFlow> CashFlowBinaryOperation::clone() const {
    std::vector<std::shared_ptr<CashFlow>> members;
    std::ignore = c_all_members([&](CashFlow const& member) {
        members.push_back(member.clone());
        return true;
    });
    auto list = std::move(members.back());
    for (auto member = members.rbegin() + 1; member != members.rend(); ++member)
        list = std::make_shared<CashFlowBinaryOperation>(Child<CashFlow>(std::move(*member)),
                                                         Child<CashFlow>(std::move(list)));
    return list;
}

}  // namespace ximCORE::Contract
