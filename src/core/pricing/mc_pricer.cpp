#include "core/pricing/mc_pricer.hpp"

#include "core/modeling/mc_helper.hpp"
#include "core/modeling/model.hpp"
#include "core/pricing/block/block_pricer.hpp"

namespace ximCORE::Pricing {

bool MCPricer::run_core(Contract::Contract& contract, Modeling::Model* model) {
    auto* const helper = model == nullptr ? nullptr : model->safe_new_MC_helper();
    if (helper == nullptr) return false;
    auto& options = IMCPricer::s_options;
    options.ran_in_blocks = Block::price(contract, *helper, get_results());
    if (!options.ran_in_blocks && !compute(contract, model)) return false;
    shift_greeks();
    return true;
}

Modeling::Helper* MCPricer::_c_safe_new_helper(Modeling::Model* model) const {
    return model == nullptr ? nullptr : model->safe_new_MC_helper();
}

void MCPricer::_c_safe_delete_helper(Modeling::Model* model) const {
    if (model != nullptr) model->safe_delete_MC_helper();
}

std::unique_ptr<IMCThread> MCPricer::_new_thread() {
    return std::make_unique<MCThread>(*this);
}

MCThread::MCThread(MCPricer& pricer) : m_results(pricer.c_get_results()), m_pricer(&pricer) {
    for (auto const* greek : Greeks::evaluation_order)
        // Relied on: a cross vanna is assigned, so that each thread keeps its last trial alone
        m_active.push_back({greek, simulation_rule(*greek), greek == &Greeks::xvanna});
}

bool MCThread::_compute_price(std::uint64_t trial) {
    m_helper->switch_to_central();
    _launch(trial);
    double const central = m_path_value;
    m_results.price += central;
    for (auto const& active : m_active) {
        for_each_cell(*active.greek, m_results, [&](std::size_t i, std::size_t j, auto& cell) {
            auto const revalue = [&](Modeling::Bump bump) {
                m_helper->select(bump, i, j);
                _launch(trial);
                m_helper->switch_to_central();
                return m_path_value;
            };
            double const difference = combine(*active.greek, active.rule, central, revalue);
            if (active.assigned) {
                cell.result = difference;
            } else {
                cell.result += difference;
            }
        });
    }
    return true;
}

void MCThread::_agregate_thread_results() {
    auto& results = m_pricer->get_results();
    results.price += m_results.price;
    for (auto const* greek : Greeks::table)
        for_each_cell(*greek, results, [&](std::size_t i, std::size_t j, auto& cell) {
            cell.result += result_at(*greek, m_results, i, j);
        });
}

}  // namespace ximCORE::Pricing
