#include "core/pricing/mc_details.hpp"

#include <limits>

#include "core/contract/cashflow.hpp"
#include "core/contract/contract.hpp"
#include "core/contract/event.hpp"
#include "core/contract/fixing.hpp"
#include "core/modeling/mc_helper.hpp"
#include "core/modeling/model.hpp"
#include "core/toolbox/log.hpp"

namespace ximCORE::Pricing {

namespace {

/// False, after an ERROR record, when a rank cannot count the list.
bool is_countable(std::size_t size, char const* what) {
    bool const is_small = size <= static_cast<std::size_t>(std::numeric_limits<short>::max());
    if (!is_small) Toolbox::Log::s_log(Toolbox::Log::Level::ERROR, "Contract with too many ", what);
    return is_small;
}

InspectorResults::Fixing make_record(Contract::Fixing const& fixing) {
    auto const& underlying = fixing.c_get_underlying();
    InspectorResults::Fixing record;
    record.date = fixing.c_get_fixing_date();
    record.underlying = underlying;
    if (auto const& own = fixing.c_get_currency())
        record.currency = own->c_str();
    else if (underlying != nullptr && underlying->c_get_currency() != nullptr)
        record.currency = underlying->c_get_currency()->c_str();
    return record;
}

InspectorResults::Barrier make_record(Contract::Event const& event, Toolbox::Date const& fallback) {
    InspectorResults::Barrier record;
    record.date = fallback;
    std::ignore = event.unsafe_get_constatation_date(record.date);
    event.c_write(record.script);
    return record;
}

bool has_helper(Modeling::Model* model) {
    return model != nullptr && model->safe_new_MC_helper() != nullptr;
}

}  // namespace

// InspectorResults

void InspectorResults::populate(Toolbox::Date const& date) {
    MCResult running;
    for (auto& payment : payments) {
        double const years =
            PricerOptions::s_options.day_counter.c_year_fraction(date, payment.date);
        duration = duration + years * payment.killed_here;
        running = running + payment.killed_here;
        // a path ends once: each sum is over the same paths
        duration.count = running.count = payment.killed_here.count;
        payment.is_killed = payment.killed_here;
        payment.has_been_killed = payment.has_been_killed_copy = running;
    }
}

void InspectorResults::agregate() {
    duration.agregate();
    for (auto& payment : payments)
        for (auto result : {&Payment::value, &Payment::is_killed, &Payment::has_been_killed,
                            &Payment::has_been_killed_copy, &Payment::positive, &Payment::exists,
                            &Payment::killed_here})
            (payment.*result).agregate();
    for (auto& fixing : fixings) fixing.value.agregate();
    for (auto& barrier : barriers) barrier.hit.agregate();
    for (auto& result : convergence) result.agregate();
}

// MCDetails

bool MCDetails::run_internal(Contract::Contract& contract, Modeling::Model* model) {
    if (!has_helper(model) || contract.c_get_currency() == nullptr) return false;
    auto& helper = *model->safe_new_MC_helper();
    helper.switch_to_central();
    if (!helper.calibrate(model->c_get_calibration_date(), *contract.c_get_currency(),
                          m_information) ||
        !compute(contract, model)) {
        m_results = {};
        return true;
    }
    m_results.populate(contract.c_get_date());
    m_results.agregate();
    return true;
}

bool MCDetails::_prepare_contract(Contract::Contract const& contract) {
    m_results = {};
    if (!IPricer::_prepare_contract(contract)) return false;
    auto& cashflow = *contract.c_get_cashflow();
    std::vector<Contract::Fixing const*> fixings;
    std::vector<Contract::Event*> barriers;
    cashflow.scan_fixings(fixings, true);
    cashflow.scan_barriers(barriers, true);
    if (!is_countable(fixings.size(), "fixings") || !is_countable(barriers.size(), "conditions"))
        return false;
    m_results.fixings = Toolbox::Array1D<InspectorResults::Fixing>(fixings.size());
    m_results.barriers = Toolbox::Array1D<InspectorResults::Barrier>(barriers.size());
    for (std::size_t i = 0; i < fixings.size(); ++i)
        m_results.fixings.unsafe_get(i) = make_record(*fixings[i]);
    for (std::size_t i = 0; i < barriers.size(); ++i)
        m_results.barriers.unsafe_get(i) = make_record(*barriers[i], contract.c_get_date());
    return true;
}

void MCDetails::_prepare_results() {
    auto const& dates = m_information.payment_dates;
    m_results.payments = Toolbox::Array1D<InspectorResults::Payment>(dates.size());
    for (std::size_t i = 0; i < dates.size(); ++i)
        m_results.payments.unsafe_get(i).date = *dates[i];
}

Modeling::Helper* MCDetails::_c_safe_new_helper(Modeling::Model* model) const {
    return model == nullptr ? nullptr : model->safe_new_MC_helper();
}

void MCDetails::_c_safe_delete_helper(Modeling::Model* model) const {
    if (model != nullptr) model->safe_delete_MC_helper();
}

std::unique_ptr<IMCThread> MCDetails::_new_thread() {
    return std::make_unique<MCThreadInspector>(*this);
}

// MCThreadInspector

MCThreadInspector::MCThreadInspector(MCDetails& details)
    : m_details(&details),
      m_fixing_buffer(details.m_results.fixings.c_get_size()),
      m_event_buffer(details.m_results.barriers.c_get_size()),
      m_results(details.m_results) {
    auto const& options = MCPricerOptions::s_options;
    if (options.nb_threads == 0) return;
    // the last worker takes the remainder of the trials
    m_trial_results.reserve(options.trials / options.nb_threads +
                            options.trials % options.nb_threads);
}

double MCThreadInspector::_eval_casfhlow_internal(double) {
    m_variables.clear();
    // Relied on: a path that meets no payment counts as ended on the first date
    short kill_rank = 0;
    m_cashflow->eval_details(m_helper->get_fixing_grid(), m_variables, m_fixing_buffer,
                             m_event_buffer, m_flows, kill_rank);
    note_fixings();
    note_events();
    return note_payments(kill_rank);
}

double MCThreadInspector::note_payments(short kill_rank) {
    auto const& discount_factors = m_helper->c_get_discount_factors();
    double total = 0.0;
    for (std::size_t k = 0; k < m_flows.c_get_size(); ++k) {
        double const x = m_flows.unsafe_get(k) * discount_factors.get(k);
        auto& payment = m_results.payments.unsafe_get(k);
        total += x;
        payment.value += x;
        payment.exists += x != 0.0 ? 1.0 : 0.0;
        payment.positive += x > 0.0 ? 1.0 : 0.0;
        payment.killed_here += static_cast<std::size_t>(kill_rank) == k ? 1.0 : 0.0;
        m_flows.unsafe_get(k) = 0.0;
    }
    return total;
}

void MCThreadInspector::note_fixings() {
    for (std::size_t i = 0; i < m_fixing_buffer.c_get_size(); ++i) {
        auto& [value, set] = m_fixing_buffer.unsafe_get(i);
        if (set) m_results.fixings.unsafe_get(i).value += value;
        set = false;
    }
}

void MCThreadInspector::note_events() {
    for (std::size_t i = 0; i < m_event_buffer.c_get_size(); ++i) {
        auto& [value, set] = m_event_buffer.unsafe_get(i);
        if (set) m_results.barriers.unsafe_get(i).hit += static_cast<double>(value);
        set = false;
    }
}

bool MCThreadInspector::_compute_price(std::uint64_t trial) {
    _launch(trial);
    m_trial_results.emplace_back() += m_path_value;
    return true;
}

void MCThreadInspector::_agregate_thread_results() {
    auto& total = m_details->m_results;
    for (std::size_t k = 0; k < total.payments.c_get_size(); ++k) {
        auto const& own = m_results.payments.get(k);
        auto& payment = total.payments.unsafe_get(k);
        payment.value += own.value;
        payment.positive += own.positive;
        payment.exists += own.exists;
        payment.killed_here += own.killed_here;
    }
    for (std::size_t i = 0; i < total.fixings.c_get_size(); ++i)
        total.fixings.unsafe_get(i).value += m_results.fixings.unsafe_get(i).value;
    for (std::size_t i = 0; i < total.barriers.c_get_size(); ++i)
        total.barriers.unsafe_get(i).hit += m_results.barriers.unsafe_get(i).hit;
    total.convergence.reserve(MCPricerOptions::s_options.trials);
    for (auto const& trial : m_trial_results) {
        MCResult const last = total.convergence.empty() ? MCResult() : total.convergence.back();
        total.convergence.push_back(last + trial);
    }
    m_trial_results = {};
}

}  // namespace ximCORE::Pricing
