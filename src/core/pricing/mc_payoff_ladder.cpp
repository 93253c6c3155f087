#include "core/pricing/mc_payoff_ladder.hpp"

#include "core/contract/cashflow.hpp"
#include "core/contract/contract.hpp"
#include "core/contract/path_constants.hpp"
#include "core/modeling/mc_helper.hpp"
#include "core/modeling/model.hpp"
#include "core/pricing/block/block_pricer.hpp"

namespace ximCORE::Pricing {

bool MCPayoffLadder::run_internal(Contract::Contract& contract, Modeling::Model* model) {
    auto* const helper = model == nullptr ? nullptr : model->safe_new_MC_helper();
    if (helper == nullptr || !prepare_pricer(contract)) return false;
    auto const& currency = contract.c_get_currency();
    helper->switch_to_central();
    // paths through states that a missing quote has left empty would read beyond them
    if (currency == nullptr ||
        !helper->calibrate(model->c_get_calibration_date(), *currency, m_information))
        return false;
    for (auto& point : m_points) point.results = {};
    IMCPricer::s_options.ran_in_blocks = Block::price(contract, *helper, m_points);
    if (!IMCPricer::s_options.ran_in_blocks && !compute(contract, model)) return false;
    for (auto& point : m_points) point.results.price.agregate();
    return true;
}

std::unique_ptr<IMCThread> MCPayoffLadder::_new_thread() {
    return std::make_unique<MCThreadPayoffLadder>(*this);
}

MCThreadPayoffLadder::MCThreadPayoffLadder(MCPayoffLadder& pricer) : m_pricer(&pricer) {}

MCThreadPayoffLadder::~MCThreadPayoffLadder() {
    clean();
}

void MCThreadPayoffLadder::_set_cashflow(std::shared_ptr<Contract::CashFlow> const& cashflow) {
    IMCThread::_set_cashflow(cashflow->clone());
    auto const& points = m_pricer->get_extented_results();
    m_points.assign(points.size(), {});
    ContractFeatures features;
    for (std::size_t i = 0; i < points.size(); ++i) {
        add_features(points[i], *m_cashflow, features);
        for (auto const& [name, shift] : points[i].shifts) {
            auto const& [places, originals] = features[name];
            for (std::size_t place = 0; place < places.size(); ++place)
                m_points[i].moves.push_back(
                    {places[place], shift.c_eval(originals[place]), originals[place]});
        }
    }
    std::set<std::string> names;
    for (auto const& [name, feature] : features) names.insert(name);
    Contract::keep_path_constants(*m_cashflow, names, m_path);
}

void MCThreadPayoffLadder::_eval_cashflow(double weight) {
    ++m_path;
    for (auto& point : m_points) {
        m_path_value = 0.0;
        for (auto const& move : point.moves) *move.place = move.shifted;
        IMCThread::_eval_cashflow(weight);
        for (auto const& move : point.moves) *move.place = move.original;
        point.value += m_path_value;
    }
}

bool MCThreadPayoffLadder::_compute_price(std::uint64_t trial) {
    for (auto& point : m_points) point.value = 0.0;
    _launch(trial);
    for (auto& point : m_points) point.price += point.value;
    return true;
}

void MCThreadPayoffLadder::_agregate_thread_results() {
    auto& points = m_pricer->get_extented_results();
    for (std::size_t i = 0; i < m_points.size(); ++i) points[i].results.price += m_points[i].price;
}

}  // namespace ximCORE::Pricing
