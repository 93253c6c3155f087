#include "core/contract/if.hpp"

#include <algorithm>
#include <cmath>
#include <limits>

#include "core/contract/event_manager.hpp"
#include "core/contract/payments.hpp"
#include "core/contract/text.hpp"
#include "core/pricing/options.hpp"
#include "core/toolbox/math.hpp"

namespace ximCORE::Contract {

namespace {

using Pricing::SmoothingType;
using Toolbox::Math;

SmoothingType smoothing_type() {
    return Pricing::PricerOptions::s_options.smoothing;
}

/// The direction of the ramp for a gap between the branches: -sgn, 0 or +sgn for LOWER, SYMETRIC,
/// UPPER. Relied on: a gap of 0 counts as positive.
int ramp_direction(double gap, SmoothingType type) {
    return Math::sgn(gap) * (static_cast<int>(type) - static_cast<int>(SmoothingType::SYMETRIC));
}

/// Out of line, so that the recursion over nested conditions carries no date.
[[gnu::noinline]] bool is_past(Component const& observed, Toolbox::Date const& date,
                               Intraday const& intraday) {
    Toolbox::Date constatation(date);
    std::ignore =
        observed.unsafe_get_constatation_date(constatation);  // without a fixing: the date itself
    return date > constatation || (date == constatation && !intraday.IntradayFixings);
}

std::string percent(double spread) {
    return to_string_wtz(Math::get_percentage(spread)) + '%';
}

}  // namespace

If::If(Child<Event> event, Child<CashFlow> then, Child<CashFlow> otherwise, double spread_lhs,
       double spread_rhs)
    : m_event(std::move(event)),
      m_then(std::move(then)),
      m_else(std::move(otherwise)),
      m_spread_lhs(spread_lhs),
      m_spread_rhs(spread_rhs),
      m_with_spread(spread_lhs != 0.0 || spread_rhs != 0.0) {}

void If::allocate_flows(std::uint64_t nb_payments) {
    if (!m_with_spread) return;
    m_then_flows = Toolbox::Array1D<double>(nb_payments);
    m_else_flows = Toolbox::Array1D<double>(nb_payments);
    m_then_adjoints = Toolbox::Array1D<double>(nb_payments);
    m_else_adjoints = Toolbox::Array1D<double>(nb_payments);
}

void If::allocate_variables(Variables const& layout) {
    if (!m_with_spread) return;
    m_then_variables = layout;
    m_else_variables = layout;
}

void If::reduce() {
    each([](auto& child) {
        child->reduce();
        child.adopt();
    });
    bool truth{};
    if (m_event->c_is_deterministic(truth))
        replace_by(truth ? m_then.c_get() : m_else.c_get());
    else
        reduce_branches();
}

void If::reduce_branches() {
    if (m_then->c_is_nothing() && m_else->c_is_nothing()) replace_by(std::make_shared<Nothing>());
}

bool If::accumulate(Harvest& harvest) {
    hand_out(harvest.conditions, this);
    hand_out(harvest.barriers, m_event.c_get().get());
    return Composite::accumulate(harvest);
}

void If::accumulate_events(std::vector<CashFlow const*>& list, std::uint64_t base) {
    auto const position = [&] { return static_cast<int>(list.size() + base); };
    list.push_back(this);
    m_start_lhs = position();
    m_then->accumulate_events(list, base);
    m_start_rhs = position();
    m_end_lhs = m_start_rhs - 1;
    m_else->accumulate_events(list, base);
    m_end_rhs = position() - 1;
}

void If::accumulate_cashflows_internal(std::vector<std::shared_ptr<CashFlow>*>& out) {
    for (auto* branch : {&m_then, &m_else}) {
        (*branch)->accumulate_cashflows_internal(out);
        out.push_back(&branch->get());
    }
}

Toolbox::Date If::c_get_maturity_date(Toolbox::Date const& fallback) const {
    return std::max(m_then->c_get_maturity_date(fallback), m_else->c_get_maturity_date(fallback));
}

void If::eval(Modeling::FixingGrid& grid, Variables& variables, Toolbox::Array1D<double>& flows) {
    if (m_with_spread && smoothing_type() != SmoothingType::NONE)
        eval_smoothed(grid, variables, flows);
    else
        choose(m_event->eval(grid, variables)).eval(grid, variables, flows);
}

void If::eval_smoothed(Modeling::FixingGrid& grid, Variables& variables,
                       Toolbox::Array1D<double>& flows) {
    m_then_variables = variables;
    m_else_variables = variables;
    m_then->eval(grid, m_then_variables, m_then_flows);
    m_else->eval(grid, m_else_variables, m_else_flows);
    mix_branches(grid, variables, flows);
}

void If::mix_branches(Modeling::FixingGrid& grid, Variables& variables,
                      Toolbox::Array1D<double>& flows) {
    Weights weights;  // for a positive gap, and for a negative one
    std::ignore = m_event->weigh(c_weighing(grid, variables), weights);
    mix(flows, weights);
}

Weighing If::c_weighing(Modeling::FixingGrid& grid, Variables& variables) const {
    return {&grid, &variables, m_spread_lhs, m_spread_rhs, ramp_direction(1.0, smoothing_type())};
}

/// e + p (t - e) in each slot, and the working slots back to 0.
void If::mix(Toolbox::Array1D<double>& flows, Weights const& weights) {
    std::uint64_t const size = flows.c_get_size();
    if (m_then_flows.c_get_size() < size || m_else_flows.c_get_size() < size)
        Toolbox::raise_segmentation_fault();
    double* __restrict const flow = flows.begin();
    double* __restrict const then = m_then_flows.begin();
    double* __restrict const otherwise = m_else_flows.begin();
    if (std::isnan(weights.towards + weights.opposite)) {  // counts only where there is a gap
        for (std::uint64_t i = 0; i < size; ++i)
            flow[i] +=
                then[i] == otherwise[i] ? otherwise[i] : std::numeric_limits<double>::quiet_NaN();
    } else {
        double const rising = weights.towards;
        double const falling = weights.opposite;
        for (std::uint64_t i = 0; i < size; ++i) {  // without branches, for several slots at a time
            double const gap = then[i] - otherwise[i];
            double const gain = gap < 0.0 ? 0.0 : gap;
            double const loss = gap > 0.0 ? 0.0 : gap;
            flow[i] += rising * gain + falling * loss + otherwise[i];
        }
    }
    std::fill_n(then, size, 0.0);
    std::fill_n(otherwise, size, 0.0);
}

bool If::eval(double& value) {
    if (m_with_spread && smoothing_type() != SmoothingType::NONE && eval_smoothed(value))
        return true;
    bool truth{};
    if (!m_event->eval(truth, Data::Level::error)) return false;
    double chosen{1.0};
    if (!choose(truth).eval(chosen)) return false;
    value = chosen;
    return true;
}

bool If::eval_smoothed(double& value) {
    double then{1.0};
    double otherwise{1.0};
    if (!m_then->eval(then) || !m_else->eval(otherwise)) return false;
    double const gap = then - otherwise;
    double weight{};
    // Relied on: here, and only here, the widths are scaled by the size of the gap
    if (!m_event->smooth_eval(m_spread_lhs * std::abs(gap), m_spread_rhs * std::abs(gap), weight,
                              ramp_direction(gap, smoothing_type())))
        return false;
    value = gap * weight + otherwise;
    return true;
}

void If::emit(Emitter& emitter) const {
    auto const body = [&](Child<CashFlow> const& flow) {
        return flow->c_is_nothing() ? Emitter::Body() : [&] { flow->emit(emitter); };
    };
    if (!m_with_spread || smoothing_type() == SmoothingType::NONE) {
        emitter.branch(m_event->emit(emitter), body(m_then), body(m_else));
        return;
    }
    Ramp const ramp{m_spread_lhs, m_spread_rhs, ramp_direction(1.0, smoothing_type())};
    emitter.mix(m_event->emit_weights(emitter, ramp), body(m_then), body(m_else));
}

void If::c_to_string(std::string& text, std::uint64_t& indent, std::uint64_t const& step,
                     std::uint64_t width) const {
    std::string event;
    m_event->c_to_string(event);
    text += "If(";
    append_lines(text, event, indent + step, width);
    if (m_with_spread)
        text.append(", ").append(percent(m_spread_lhs)).append(", ").append(percent(m_spread_rhs));
    text += ") (";
    indent += step;
    start_line(text, indent, width);
    m_then->c_to_string(text, indent, step, width);
    text += ',';
    start_line(text, indent, width);
    m_else->c_to_string(text, indent, step, width);
    indent -= step;
    start_line(text, indent, width);
    text += ')';
}

void If::move(Toolbox::Date const& date, NamedValues& values, EventManager* manager,
              Intraday const& intraday, bool in_choice, FixingOverrides const& fixings) {
    m_event->move(date, values.c_get_known(), intraday, fixings, is_past(*m_event, date, intraday));
    m_event.adopt();
    bool truth{};
    if (m_event->c_is_deterministic(truth)) {
        if (manager) manager->add_If(this, &truth);
        auto& chosen = truth ? m_then : m_else;
        chosen->move(date, values, manager, intraday, in_choice, fixings);
        chosen.adopt();
        replace_by(chosen.c_get());
        return;
    }
    NamedValues::Branches branches(values);
    for (auto* branch : {&m_then, &m_else}) {
        (*branch)->move(date, values, manager, intraday, in_choice, fixings);
        branch->adopt();
        branches.end_branch();
    }
    reduce_branches();
}

}  // namespace ximCORE::Contract
