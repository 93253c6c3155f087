#include "core/pricing/mc_engine.hpp"

#include <functional>
#include <thread>
#include <tuple>
#include <vector>

#include "core/contract/cashflow.hpp"
#include "core/contract/contract.hpp"
#include "core/modeling/mc_helper.hpp"
#include "core/modeling/model.hpp"
#include "core/toolbox/log.hpp"

namespace ximCORE::Pricing {

namespace {

using Toolbox::Log;
using Records = std::vector<Log::Entry>;

/// A tape that runs short reports so on each path; more records of one worker say nothing new.
constexpr std::size_t c_max_records = 1000;

/// The trials of a worker, with its first records in `records` in place of the log.
void run_collected(IMCThread* worker, std::uint64_t first, std::uint64_t last, Records& records) {
    Log::Collector const collector(records, c_max_records);
    run_thread(worker, first, last);
}

/// The same on the caller's thread.
void run_here(IMCThread* worker, std::uint64_t last) {
    Records records;
    try {
        run_collected(worker, 0, last, records);
    } catch (...) {
        Log::s_append(records);
        throw;
    }
    Log::s_append(records);
}

/// A tree of its own for a worker.
std::shared_ptr<Contract::CashFlow> make_tree(Contract::Contract const& contract) {
    auto tree = contract.get_origin()->clone();
    auto const& reduced = tree->c_get_reducted();
    return reduced != nullptr ? reduced : tree;
}

}  // namespace

void IMCThread::_set_cashflow(std::shared_ptr<Contract::CashFlow> const& cashflow) {
    m_cashflow = cashflow;
    m_variables = Contract::Variables(m_cashflow->rank_names());
}

void IMCThread::_set_MC_helper(Modeling::MCHelper* helper) {
    m_helper = helper;
    m_flows = Toolbox::Array1D<double>(helper->c_get_discount_factors().c_get_size());
}

bool IMCThread::run(std::uint64_t first, std::uint64_t last) {
    for (std::uint64_t trial = first; trial < last; ++trial)
        if (!_compute_price(trial)) return false;
    return true;
}

void IMCThread::clean() {
    Contract::CashFlow::s_release(m_cashflow);
}

double IMCThread::_eval_casfhlow_internal(double) {
    m_variables.clear();
    m_cashflow->eval(m_helper->get_fixing_grid(), m_variables, m_flows);
    auto const& discount_factors = m_helper->c_get_discount_factors();
    if (discount_factors.c_get_size() < m_flows.c_get_size()) Toolbox::raise_segmentation_fault();
    double const* discount_factor = discount_factors.begin();
    double value = 0.0;
    for (auto& flow : m_flows) {
        value += *discount_factor++ * flow;
        flow = 0.0;
    }
    return value;
}

void IMCThread::_eval_cashflow(double weight) {
    m_path_value += weight * _eval_casfhlow_internal(weight);
}

void IMCThread::_launch(std::uint64_t trial) {
    m_path_value = 0.0;
    m_helper->diffuse(trial);
    _eval_cashflow(1.0 - m_antithetic_factor);
    if (m_antithetic_factor > 0.0) {
        m_helper->apply_antithetic(trial);
        m_helper->diffuse(trial);
        m_helper->apply_antithetic(trial);
        _eval_cashflow(m_antithetic_factor);
    }
}

void run_thread(IMCThread* worker, std::uint64_t first, std::uint64_t last) {
    // a thread has no result: the worker keeps what it gathered
    std::ignore = worker->run(first, last);
}

bool IMCPricer::compute(Contract::Contract& contract, Modeling::Model* model) {
    auto* const helper = model == nullptr ? nullptr : model->safe_new_MC_helper();
    if (helper == nullptr || contract.get_current() == nullptr) return false;
    // more trials than were drawn would be met on a worker's path
    auto const& normals = helper->c_get_normals();
    if (normals == nullptr || normals->c_get_trials() < s_options.trials)
        Toolbox::raise_segmentation_fault();
    Workers workers(s_options.nb_threads);
    for (auto& worker : workers) {
        worker = _new_thread();
        if (worker == nullptr) return false;
    }
    if (workers.c_get_size() == 0) {
        Log::s_log(Log::Level::ERROR, "Monte Carlo without threads");
        Toolbox::raise_segmentation_fault();
    }
    auto& first = *workers.unsafe_get(0);
    if (workers.c_get_size() > 1) {
        _run_threads(contract, *helper, workers);
        return true;
    }
    first._set_cashflow(contract.get_current());
    first._set_MC_helper(helper);
    run_here(&first, s_options.trials);
    first._agregate_thread_results();
    return true;
}

void IMCPricer::_run_threads(Contract::Contract const& contract, Modeling::MCHelper& helper,
                             Workers& workers) {
    std::uint64_t const size = workers.c_get_size();
    std::uint64_t const trials = s_options.trials;
    std::uint64_t const per_worker = trials / size;
    std::vector<std::unique_ptr<Modeling::MCHelper>> clones;
    helper.switch_to_central();
    for (auto& worker : workers) {
        worker->_set_cashflow(make_tree(contract));
        clones.push_back(helper.c_clone());
        worker->_set_MC_helper(clones.back().get());
    }
    std::vector<Records> records(size);  // [worker]
    {
        // joined in the order of start, also when one cannot start
        std::vector<std::jthread> threads;
        for (std::uint64_t i = 0; i < size; ++i) {
            std::uint64_t const first = i * per_worker;
            std::uint64_t const last = i + 1 == size ? trials : first + per_worker;
            threads.emplace_back(run_collected, workers.unsafe_get(i).get(), first, last,
                                 std::ref(records[i]));
        }
    }
    for (auto const& of_worker : records) Log::s_append(of_worker);
    for (auto& worker : workers) {
        worker->_agregate_thread_results();
        worker->_c_agregate_thread_helpers(&helper);
    }
    for (auto& worker : workers) worker->clean();
}

}  // namespace ximCORE::Pricing
