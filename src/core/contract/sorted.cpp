#include "core/contract/sorted.hpp"

#include <algorithm>
#include <cmath>

#include "core/contract/fixing.hpp"

namespace ximCORE::Contract {

Sorted::Sorted(int rank, std::vector<Child<Amount>> amounts)
    : m_rank(rank),
      m_amounts(std::move(amounts)),
      m_values(m_amounts.size()),
      m_order(m_amounts.size()) {}

bool Sorted::populate(NodeLists const& lists) {
    return m_rank >= 0 && static_cast<std::size_t>(m_rank) < m_amounts.size() &&
           Composite::populate(lists);
}

double Sorted::select() {
    std::ranges::copy(m_values, m_order.begin());
    auto const place = m_order.begin() + m_rank;
    std::nth_element(m_order.begin(), place, m_order.end(), [](double a, double b) {
        return a < b || (std::isnan(b) && !std::isnan(a));  // an order even with NaN
    });
    return *place;
}

double Sorted::eval(Modeling::FixingGrid& grid, Variables& variables) {
    for (std::size_t i = 0; i < m_amounts.size(); ++i)
        m_values[i] = value_on_path(*m_amounts[i], grid, variables);
    return select();
}

bool Sorted::eval(double& value, Data::Level level) {
    double unused{};
    for (auto const& amount : m_amounts)
        if (amount->eval(unused, level)) return false;
    value = select();
    return true;
}

void Sorted::reduce() {
    each([](auto& amount) {
        amount->reduce();
        amount.adopt();
    });
    reduce_amounts();
}

void Sorted::move(Toolbox::Date const& date, NamedValues::Map const& known,
                  Intraday const& intraday, FixingOverrides const& fixings, bool fix) {
    each([&](auto& amount) {
        amount->move(date, known, intraday, fixings, fix);
        amount.adopt();
    });
    reduce_amounts();
}

void Sorted::reduce_amounts() {
    bool is_constant = true;
    for (std::size_t i = 0; i < m_amounts.size(); ++i)
        is_constant = m_amounts[i]->c_is_deterministic(m_values[i]) && is_constant;
    if (is_constant) replace_by(std::make_shared<DeterministicAmount>(select()));
}

void Sorted::c_to_string(std::string& text, bool) const {
    text += "Sorted({";
    for (std::size_t i = 0; i < m_amounts.size(); ++i) {
        if (i > 0) text += ", ";
        m_amounts[i]->c_to_string(text, false);
    }
    text.append("})[").append(std::to_string(m_rank)) += ']';
}

}  // namespace ximCORE::Contract
