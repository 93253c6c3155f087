#include "core/contract/iff.hpp"

#include "core/contract/fixing.hpp"

namespace ximCORE::Contract {

Iff::Iff(Child<Event> event, Child<Amount> then, Child<Amount> otherwise)
    : m_event(std::move(event)), m_then(std::move(then)), m_else(std::move(otherwise)) {}

double Iff::eval(Modeling::FixingGrid& grid, Variables& variables) {
    return value_on_path(m_event->eval(grid, variables) ? *m_then : *m_else, grid, variables);
}

bool Iff::eval(double& value, Data::Level level) {
    bool truth{};
    return m_event->eval(truth, level) && (truth ? m_then : m_else)->eval(value, level);
}

void Iff::reduce() {
    each([](auto& child) {
        child->reduce();
        child.adopt();
    });
    choose();
}

void Iff::move(Toolbox::Date const& date, NamedValues::Map const& known, Intraday const& intraday,
               FixingOverrides const& fixings, bool fix) {
    each([&](auto& child) {
        child->move(date, known, intraday, fixings, fix);
        child.adopt();
    });
    choose();
}

void Iff::choose() {
    bool truth{};
    double then{};
    double otherwise{};
    if (m_event->c_is_deterministic(truth))
        replace_by(truth ? m_then.c_get() : m_else.c_get());
    else if (m_then->c_is_deterministic(then) && m_else->c_is_deterministic(otherwise) &&
             then == otherwise)
        replace_by(m_then.c_get());
}

void Iff::c_to_string(std::string& text, bool) const {
    text += "If(";
    m_event->c_to_string(text);
    text += ") (";
    m_then->c_to_string(text, false);
    text += ", ";
    m_else->c_to_string(text, false);
    text += ')';
}

}  // namespace ximCORE::Contract
