// Cash flows on the space grid of a finite difference pricing: each node takes its value at the
// date where it is decided and rolls it back once to the date that its parent asks for. Nothing is
// discounted.

#include <Eigen/Core>
#include <algorithm>
#include <memory>
#include <string>
#include <tuple>
#include <vector>

#include "core/contract/either.hpp"
#include "core/contract/if.hpp"
#include "core/contract/payments.hpp"
#include "core/modeling/pde_helper.hpp"
#include "core/pricing/options.hpp"
#include "core/toolbox/math.hpp"

namespace ximCORE::Contract {

namespace {

using Modeling::PDEHelper;
using Pricing::SmoothingType;
using Toolbox::Date;
using Toolbox::Grid;
using Toolbox::IntGrid;

/// The earliest fixing date below, `date` without one. A grid knows one date at a time: a WARNING
/// says when there are several, or one before the date at which the value is asked for. On the
/// heap: the recursion over nested conditions is deep, and its frames are small.
std::unique_ptr<Date const> get_observed(Component& component, Date const& date,
                                         PDEHelper& helper) {
    std::vector<Date*> dates;
    component.accumulate_fixing_dates(dates);
    if (dates.empty()) return std::make_unique<Date const>(date);
    auto const [earliest, latest] =
        std::ranges::minmax_element(dates, [](auto const* a, auto const* b) { return *a < *b; });
    if (**earliest < **latest || **earliest < date)
        helper.warn_once(std::string("Finite difference reads several dates at ") +
                         (*earliest)->c_str());
    return std::make_unique<Date const>(**earliest);
}

/// -sgn, 0 or +sgn of the gap between the branches for LOWER, SYMETRIC, UPPER; a gap of 0 counts as
/// positive.
IntGrid ramp_directions(Grid const& gap, SmoothingType type) {
    int const sign = static_cast<int>(type) - static_cast<int>(SmoothingType::SYMETRIC);
    return gap.unaryExpr([sign](double x) { return Toolbox::Math::sgn(x) * sign; }).cast<int>();
}

}  // namespace

void CashFlow::compute_PDE_price(Date const&, PDEHelper* helper, Grid& values) {
    values = helper->c_make_grid_of_double(0.0);
}

Grid CashFlow::get_value_at_pillar_date(Date const& date, PDEHelper* helper) {
    Grid values;
    compute_PDE_price(date, helper, values);
    return values;
}

void PayReceive::compute_PDE_price(Date const& date, PDEHelper* helper, Grid& values) {
    auto const observed = get_observed(*m_amount, date, *helper);
    values = m_conversion ? m_conversion->eval(helper) : helper->c_make_grid_of_double(1.0);
    std::ignore =
        helper->run(m_date, *observed, values);  // a payment before its fixing stays as it is
    values *= m_amount->eval(helper) * m_scale;
    std::ignore = helper->run(*observed, date, values);
}

void BuySell::compute_PDE_price(Date const& date, PDEHelper* helper, Grid& values) {
    m_child->compute_PDE_price(date, helper, values);
}

void CashFlowBinaryOperation::compute_PDE_price(Date const& date, PDEHelper* helper, Grid& values) {
    auto const nodes = spine();
    nodes.back()->m_right->compute_PDE_price(date, helper, values);
    std::for_each(nodes.rbegin(), nodes.rend(), [&](auto* node) {
        values = node->m_left->get_value_at_pillar_date(date, helper) + values;
    });
}

void If::compute_PDE_price(Date const& date, PDEHelper* helper, Grid& values) {
    auto const observed = get_observed(*m_event, date, *helper);
    m_else->compute_PDE_price(*observed, helper, values);
    mix(m_then->get_value_at_pillar_date(*observed, helper), helper, values);
    std::ignore = helper->run(*observed, date, values);
}

void If::mix(Grid const& then, PDEHelper* helper, Grid& values) {
    Grid const gap = then - values;
    auto const type = Pricing::PricerOptions::s_options.smoothing;
    if (!m_with_spread || type == SmoothingType::NONE)
        values += m_event->eval(helper).cast<double>() * gap;
    else
        values += m_event->smooth_eval(helper, helper->c_make_grid_of_double(m_spread_lhs),
                                       helper->c_make_grid_of_double(m_spread_rhs),
                                       ramp_directions(gap, type)) *
                  gap;
}

void Either::compute_PDE_price(Date const& date, PDEHelper* helper, Grid& values) {
    Date const& choice = m_date < date ? date : m_date;  // a choice behind us is made now
    CashFlow::compute_PDE_price(choice, helper, values);
    for (std::size_t i = 0; i < m_alternatives.size(); ++i) {
        Grid const value = m_alternatives[i]->get_value_at_pillar_date(choice, helper);
        if (i == 0)
            values = value;
        else if (c_get_choice_ownership())
            values = values.max(value);
        else
            values = values.min(value);
    }
    std::ignore = helper->run(choice, date, values);
}

}  // namespace ximCORE::Contract
