// Adjoint forms of the amounts but for the operators, which stand beside their `eval`.

#include <algorithm>
#include <cmath>

#include "core/contract/adjoint.hpp"
#include "core/contract/iff.hpp"
#include "core/contract/sorted.hpp"

namespace ximCORE::Contract {

using Modeling::FixingGrid;
using Toolbox::AAD::SweepType;
using Toolbox::AAD::Tape;

double Amount::eval_antithetic(FixingGrid& grid, Variables& variables) {
    return eval(grid, variables);
}

void Amount::aeval(Tape&, SweepType sweep, bool, FixingGrid& grid, Variables& variables,
                   double& value, double&) {
    if (sweep == SweepType::FORWARD) value = eval(grid, variables);
}

double Fixing::eval_antithetic(FixingGrid& grid, Variables&) {
    if (m_equity_like && !m_conversion)
        return grid.get_equity_like(m_date, *m_equity_like).get_value(true);
    auto const read = [&](Data::Underlying& underlying) {
        if (!underlying.c_is_equity_like()) return underlying.eval(m_date, grid);
        Tape unused;  // an equity-like level keeps nothing
        double value{};
        double no_adjoint{};
        underlying.aeval(m_date, unused, SweepType::FORWARD, true, grid, value, no_adjoint);
        return value;
    };
    double const level = m_underlying ? read(*m_underlying) : 0.0;
    return m_conversion ? level * read(*m_conversion) : level;
}

void Fixing::aeval_converted(Tape& tape, SweepType sweep, bool antithetic, FixingGrid& grid,
                             double& value, double& adjoint) {
    double level{};
    double rate{1.0};
    double level_adjoint{adjoint};
    double rate_adjoint{};
    auto const side = [&](auto const& underlying, double& result, double& result_adjoint) {
        if (underlying)
            underlying->aeval(m_date, tape, sweep, antithetic, grid, result, result_adjoint);
    };
    if (sweep == SweepType::FORWARD) {
        side(m_underlying, level, level_adjoint);
        side(m_conversion, rate, rate_adjoint);
        value = level * rate;
        if (!m_conversion) return;
        tape.dpush(level);
        tape.dpush(rate);
        return;
    }
    if (m_conversion) {
        std::ignore = tape.dpop(rate);
        std::ignore = tape.dpop(level);
        rate_adjoint = adjoint * level;
        level_adjoint = adjoint * rate;
    }
    side(m_conversion, rate, rate_adjoint);
    side(m_underlying, level, level_adjoint);
}

double Iff::eval_antithetic(FixingGrid& grid, Variables& variables) {
    auto& chosen = m_event->eval_antithetic(grid, variables) ? m_then : m_else;
    return chosen->eval_antithetic(grid, variables);
}

void Iff::aeval(Tape& tape, SweepType sweep, bool antithetic, FixingGrid& grid,
                Variables& variables, double& value, double& adjoint) {
    bool truth{};
    if (sweep == SweepType::BACKWARD)
        std::ignore = tape.bpop(truth);
    else
        truth = truth_on_side(*m_event, antithetic, grid, variables);
    aeval_on_path(truth ? *m_then : *m_else, tape, sweep, antithetic, grid, variables, value,
                  adjoint);
    if (sweep == SweepType::FORWARD) tape.bpush(truth);
}

double Sorted::eval_antithetic(FixingGrid& grid, Variables& variables) {
    for (std::size_t i = 0; i < m_amounts.size(); ++i)
        m_values[i] = m_amounts[i]->eval_antithetic(grid, variables);
    return select();
}

std::size_t Sorted::c_find(double value) const {
    auto const found = std::ranges::find_if(m_values, [value](double candidate) {
        return candidate == value || (std::isnan(candidate) && std::isnan(value));
    });
    return static_cast<std::size_t>(found - m_values.begin());
}

/// The one amount that counts is swept a second time, instead of all of them backward.
void Sorted::aeval(Tape& tape, SweepType sweep, bool antithetic, FixingGrid& grid,
                   Variables& variables, double& value, double& adjoint) {
    double place{};
    if (sweep == SweepType::FORWARD) {
        for (std::size_t i = 0; i < m_amounts.size(); ++i)
            m_values[i] = value_on_side(*m_amounts[i], antithetic, grid, variables);
        place = static_cast<double>(c_find(select()));
    } else {
        std::ignore = tape.dpop(place);
    }
    auto& chosen = *m_amounts[static_cast<std::size_t>(place)];
    aeval_on_path(chosen, tape, sweep, antithetic, grid, variables, value, adjoint);
    if (sweep == SweepType::FORWARD) tape.dpush(place);
}

}  // namespace ximCORE::Contract
