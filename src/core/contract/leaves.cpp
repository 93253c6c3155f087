#include "core/contract/leaves.hpp"

#include "core/contract/text.hpp"

namespace ximCORE::Contract {

bool DeterministicAmount::eval(double& value, Data::Level) {
    return c_is_deterministic(value);
}

bool DeterministicAmount::c_is_deterministic(double& value) const {
    value = m_value;
    return true;
}

void DeterministicAmount::c_to_string(std::string& text, bool) const {
    text += to_string_wtz(m_value);
}

std::shared_ptr<Amount> DeterministicAmount::clone() const {
    return std::make_shared<DeterministicAmount>(*this);
}

bool DeterministicEvent::eval(bool& value, Data::Level) {
    return c_is_deterministic(value);
}

bool DeterministicEvent::c_is_deterministic(bool& value) const {
    value = m_value;
    return true;
}

bool DeterministicEvent::weigh(Weighing const&, Weights& weights) {
    weights.towards = weights.opposite = m_value ? 1.0 : 0.0;
    return true;
}

void DeterministicEvent::c_to_string(std::string& text) const {
    text += m_value ? "true" : "false";
}

std::shared_ptr<Event> DeterministicEvent::clone() const {
    return std::make_shared<DeterministicEvent>(*this);
}

bool Ref::eval(double& value, Data::Level) {
    value = m_value;
    return true;
}

bool Ref::accumulate(Harvest& harvest) {
    if (harvest.tag && *harvest.tag == m_name) hand_out(harvest.tags, &m_value);
    return true;
}

void Ref::move(Toolbox::Date const&, NamedValues::Map const&, Intraday const&,
               FixingOverrides const&, bool fix) {
    replace_by(fix ? std::make_shared<DeterministicAmount>(m_value) : nullptr);
}

void Ref::c_to_string(std::string& text, bool) const {
    text.append("CstRef(\"").append(m_name).append("\", ").append(to_string_wtz(m_value)) += ')';
}

std::shared_ptr<Amount> Ref::clone() const {
    return std::make_shared<Ref>(*this);
}

bool RefAmount::eval(double&, Data::Level) {
    return false;
}

bool RefAmount::accumulate(Harvest& harvest) {
    hand_out(harvest.names, NamedSlot{&m_name, &m_rank});
    return true;
}

void RefAmount::move(Toolbox::Date const&, NamedValues::Map const& known, Intraday const&,
                     FixingOverrides const&, bool) {
    auto const found = known.find(m_name);
    replace_by(found == known.end() ? nullptr
                                    : std::make_shared<DeterministicAmount>(found->second));
}

void RefAmount::c_to_string(std::string& text, bool) const {
    text.append("AmountRef(\"").append(m_name).append("\")");
}

std::shared_ptr<Amount> RefAmount::clone() const {
    return std::make_shared<RefAmount>(*this);
}

}  // namespace ximCORE::Contract
