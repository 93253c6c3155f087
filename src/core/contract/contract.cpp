#include "core/contract/contract.hpp"

#include <algorithm>
#include <stdexcept>
#include <tuple>

#include "core/contract/payments.hpp"
#include "core/data/cache.hpp"
#include "core/toolbox/errors.hpp"
#include "core/toolbox/log.hpp"

namespace ximCORE::Contract {

namespace {

using Toolbox::Log;

bool report_empty() {
    Log::s_log(Log::Level::ERROR, "Contract empty");
    return false;
}

template <class T>
bool has_doubles(std::vector<T*> pointers) {
    std::ranges::sort(pointers);
    return std::ranges::adjacent_find(pointers) != pointers.end();
}

/// Whether a payment or a place of a named value hangs under several parents: purchases scale
/// payments and moving fixes names differently for each parent.
bool shares_state(CashFlow& root) {
    std::vector<PayReceive*> payments;
    root.accumulate_payments(payments);
    std::vector<NamedSlot> slots;
    root.accumulate_names(slots);
    std::vector<short*> names;
    for (auto const& slot : slots) names.push_back(slot.rank);
    return has_doubles(std::move(payments)) || has_doubles(std::move(names));
}

}  // namespace

Contract::Contract(Toolbox::Date const& date, std::string const& currency)
    : m_date(date), m_currency_name(currency) {}

Contract::Contract(Toolbox::Date const& date, std::string const& currency,
                   std::shared_ptr<CashFlow> const& root)
    : Contract(date, currency) {
    if (set(root)) return;
    report_empty();
    throw Toolbox::ConstructorException();
}

bool Contract::set(std::shared_ptr<CashFlow> const& root) {
    m_root = root;
    if (!m_root) return false;
    if (shares_state(*m_root)) m_root = m_root->clone();
    m_root->reduce();
    take_over_root();
    m_root->scale();
    return true;
}

void Contract::clean() {
    m_root.reset();
}

void Contract::take_over_root() {
    if (auto reduced = m_root->c_get_reducted()) m_root = std::move(reduced);
}

bool Contract::get_dependencies() {
    if (!m_currency)
        m_currency =
            Data::MarketDataCache::s_get().get_currency(m_currency_name, Data::Level::silent);
    bool const is_complete = !m_root || m_root->get_dependencies(m_date, m_currency.get());
    return is_complete && m_currency->c_is_set();
}

bool Contract::move(Toolbox::Date const& date, FixingOverrides const& fixings,
                    EventManager* manager) {
    if (!m_root) return report_empty();
    if (!m_currency)
        std::ignore = get_dependencies();  // what stays unknown is reported where it is needed
    NamedValues values;
    try {
        m_root->move(date, values, manager, s_intraday, false, fixings);
    } catch (std::runtime_error const& error) {
        Log::s_log(Log::Level::ERROR, error.what());
        return false;
    }
    take_over_root();
    for (auto const& [name, value] : values.c_get_last()) {
        auto setter = std::make_shared<RefAmountSetter>(
            name, Child<Amount>(std::make_shared<DeterministicAmount>(value)));
        m_root = std::make_shared<CashFlowBinaryOperation>(Child<CashFlow>(std::move(setter)),
                                                           Child<CashFlow>(std::move(m_root)));
    }
    m_date = date;
    return true;
}

}  // namespace ximCORE::Contract
