#include "core/contract/either.hpp"

#include <algorithm>

#include "core/contract/payments.hpp"
#include "core/contract/text.hpp"

namespace ximCORE::Contract {

Either::Either(signed char ownership, Toolbox::Date const& date,
               std::vector<Child<CashFlow>> alternatives)
    : m_date(date), m_ownership(ownership), m_alternatives(std::move(alternatives)) {}

void Either::reduce() {
    each([](auto& alternative) {
        alternative->reduce();
        alternative.adopt();
    });
    reduce_alternatives();
}

void Either::reduce_alternatives() {
    if (std::ranges::all_of(m_alternatives,
                            [](auto const& alternative) { return alternative->c_is_nothing(); }))
        replace_by(std::make_shared<Nothing>());
}

bool Either::accumulate(Harvest& harvest) {
    hand_out(harvest.fixing_dates, &m_date);
    hand_out(harvest.pillar_dates, &m_date);
    hand_out(harvest.choice_dates, &m_date);
    return Composite::accumulate(harvest);
}

void Either::accumulate_events(std::vector<CashFlow const*>& list, std::uint64_t base) {
    auto const position = [&] { return static_cast<int>(list.size() + base); };
    list.push_back(this);
    m_starts.clear();
    m_ends.clear();
    for (auto& alternative : m_alternatives) {
        m_starts.push_back(position());
        alternative->accumulate_events(list, base);
        m_ends.push_back(position() - 1);
    }
}

void Either::accumulate_cashflows_internal(std::vector<std::shared_ptr<CashFlow>*>& out) {
    for (auto& alternative : m_alternatives) {
        alternative->accumulate_cashflows_internal(out);
        out.push_back(&alternative.get());
    }
}

Toolbox::Date Either::c_get_maturity_date(Toolbox::Date const& fallback) const {
    if (m_alternatives.empty()) return fallback;
    auto latest = m_alternatives.front()->c_get_maturity_date(fallback);
    for (auto const& alternative : m_alternatives)
        latest = std::max(latest, alternative->c_get_maturity_date(fallback));
    return latest;
}

bool Either::eval(double&) {
    return std::ranges::all_of(m_alternatives, [](auto const& alternative) {
        double unused{1.0};
        return alternative->eval(unused);
    });
}

void Either::c_to_string(std::string& text, std::uint64_t& indent, std::uint64_t const& step,
                         std::uint64_t width) const {
    text.append("Either(").append(c_get_choice_ownership() ? "Putable" : "Callable");
    text.append(", \"").append(m_date.c_str()).append("\") ({");
    indent += step;
    for (std::size_t i = 0; i < m_alternatives.size(); ++i) {
        if (i > 0) text += ',';
        start_line(text, indent, width);
        m_alternatives[i]->c_to_string(text, indent, step, width);
    }
    indent -= step;
    text += "})";
}

void Either::move(Toolbox::Date const& date, NamedValues& values, EventManager* manager,
                  Intraday const& intraday, bool, FixingOverrides const& fixings) {
    bool const is_open = date < m_date || (date == m_date && intraday.IntradayChoices);
    if (!is_open) {
        for (auto& alternative : m_alternatives) {
            alternative->move(date, values, manager, intraday, false, fixings);
            alternative.adopt();
        }
        reduce_alternatives();
        return;
    }
    NamedValues::Branches branches(values);
    for (auto& alternative : m_alternatives) {
        alternative->move(date, values, manager, intraday, true, fixings);
        alternative.adopt();
        branches.end_branch();
    }
}

}  // namespace ximCORE::Contract
