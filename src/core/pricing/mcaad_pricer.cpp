#include "core/pricing/mcaad_pricer.hpp"

#include <tuple>

#include "core/contract/cashflow.hpp"
#include "core/modeling/mc_helper.hpp"
#include "core/modeling/model.hpp"
#include "core/pricing/block/block_pricer.hpp"

namespace ximCORE::Pricing {

using Toolbox::AAD::SweepType;

bool MCAADPricer::run_internal(Contract::Contract& contract, Modeling::Model* model) {
    return price(contract, model);
}

bool MCAADPricer::run_core(Contract::Contract& contract, Modeling::Model* model) {
    auto* const helper = model == nullptr ? nullptr : model->safe_new_MC_helper();
    if (helper == nullptr) return false;
    auto const& date = model->c_get_calibration_date();
    m_tape.clear();  // what a calibration that failed has left
    helper->switch_to_central();
    if (!helper->acalibrate_internal(m_tape, SweepType::FORWARD, date, m_information)) return false;
    auto& options = IMCPricer::s_options;
    options.ran_in_blocks = Block::differentiate(contract, *helper, m_results);
    if (!options.ran_in_blocks && !compute(contract, model)) return false;
    bool const success =
        helper->acalibrate_internal(m_tape, SweepType::BACKWARD, date, m_information);
    // Relied on: sensitivities by adjoints have a count of 1 and no error, and no bump scales them
    _accumulate_adjoints(model);
    return success;
}

void MCAADPricer::_accumulate_adjoints(Modeling::Model* model) {
    auto const& helper = *model->safe_new_MC_helper();
    helper.c_accumulate_delta(m_results.delta);
    helper.c_accumulate_vega(m_results.vega);
    helper.c_accumulate_cega(m_results.cega);
}

Modeling::Helper* MCAADPricer::_c_safe_new_helper(Modeling::Model* model) const {
    return model == nullptr ? nullptr : model->safe_new_MC_helper();
}

void MCAADPricer::_c_safe_delete_helper(Modeling::Model* model) const {
    if (model != nullptr) model->safe_delete_MC_helper();
}

std::unique_ptr<IMCThread> MCAADPricer::_new_thread() {
    return std::make_unique<MCAADThread>(*this);
}

MCAADThread::MCAADThread(MCAADPricer& pricer)
    : m_results(pricer.c_get_results()),
      m_pricer(&pricer),
      m_seed(1.0 / static_cast<double>(MCPricerOptions::s_options.trials)) {}

void MCAADThread::_set_MC_helper(Modeling::MCHelper* helper) {
    IMCThread::_set_MC_helper(helper);
    m_flow_adjoints = Toolbox::Array1D<double>(m_flows.c_get_size());
}

bool MCAADThread::_compute_price(std::uint64_t trial) {
    m_helper->get_fixing_grid().reset();
    m_path_value = 0.0;
    m_flow_adjoint = m_seed;
    _alaunch(m_tape, SweepType::FORWARD, trial);
    m_results.price += m_path_value;
    _alaunch(m_tape, SweepType::BACKWARD, trial);
    return true;
}

void MCAADThread::_alaunch(Tape& tape, SweepType sweep, std::uint64_t trial) {
    if (m_antithetic_factor != 0.0) {
        _alaunch_pair(tape, sweep, trial);
        return;
    }
    auto& grid = m_helper->get_fixing_grid();
    if (sweep == SweepType::FORWARD) {
        m_helper->adiffuse(tape, sweep, false, trial);
        _aeval(tape, sweep, false, grid, m_path_value, m_flow_adjoint);
    } else {
        _aeval(tape, sweep, false, grid, m_path_value, m_flow_adjoint);
        m_helper->adiffuse(tape, sweep, false, trial);
    }
}

void MCAADThread::_alaunch_pair(Tape& tape, SweepType sweep, std::uint64_t trial) {
    auto& grid = m_helper->get_fixing_grid();
    double const factor = m_antithetic_factor;
    double value_main = 0.0;
    double value_antithetic = 0.0;
    double weight_main = (1.0 - factor) * m_flow_adjoint;
    double weight_antithetic = factor * m_flow_adjoint;
    if (sweep == SweepType::FORWARD) {
        m_helper->adiffuse(tape, sweep, false, trial);
        _aeval(tape, sweep, false, grid, value_main, weight_main);
        m_helper->apply_antithetic(trial);
        m_helper->adiffuse(tape, sweep, true, trial);
        _aeval(tape, sweep, true, grid, value_antithetic, weight_antithetic);
        m_path_value = factor * value_antithetic + (1.0 - factor) * value_main;
        m_helper->apply_antithetic(trial);
        tape.dpush(value_main);
        tape.dpush(value_antithetic);
    } else {
        // the answers are the truth of the numbers, not a success
        std::ignore = tape.dpop(value_antithetic);
        std::ignore = tape.dpop(value_main);
        m_helper->apply_antithetic(trial);
        _aeval(tape, sweep, true, grid, value_antithetic, weight_antithetic);
        m_helper->adiffuse(tape, sweep, true, trial);
        m_helper->apply_antithetic(trial);
        _aeval(tape, sweep, false, grid, value_main, weight_main);
        m_helper->adiffuse(tape, sweep, false, trial);
    }
}

void MCAADThread::_aeval(Tape& tape, SweepType sweep, bool antithetic, Modeling::FixingGrid& grid,
                         double& value, double& adjoint) {
    auto const& discount_factors = m_helper->c_get_discount_factors();
    if (discount_factors.c_get_size() < m_flows.c_get_size()) Toolbox::raise_segmentation_fault();
    double const* const discount_factor = discount_factors.begin();
    std::size_t const nb_payments = m_flows.c_get_size();
    if (sweep == SweepType::FORWARD) {
        m_variables.clear();
        m_cashflow->aeval(tape, sweep, antithetic, grid, m_variables, m_flows, m_flow_adjoints);
        for (std::size_t k = 0; k < nb_payments; ++k) {
            double& flow = m_flows.unsafe_get(k);
            value += flow * discount_factor[k];
            flow = 0.0;
        }
    } else {
        for (std::size_t k = nb_payments; k-- > 0;)
            m_flow_adjoints.unsafe_get(k) = discount_factor[k] * adjoint;
        m_cashflow->aeval(tape, sweep, antithetic, grid, m_variables, m_flows, m_flow_adjoints);
    }
}

void MCAADThread::_agregate_thread_results() {
    m_pricer->get_results().price += m_results.price;
}

void MCAADThread::_c_agregate_thread_helpers(Modeling::MCHelper* target) const {
    m_helper->c_accumulate_adjoints(target);
}

}  // namespace ximCORE::Pricing
