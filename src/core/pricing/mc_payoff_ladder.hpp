// The simulation of a contract ladder without sensitivities: one path serves all points. A trial
// diffuses once and revalues the contract once per point on the same fixings, so that the points
// share their random numbers and the paths are paid for once.

#pragma once

#include <memory>
#include <vector>

#include "core/pricing/contract_ladder.hpp"
#include "core/pricing/mc_engine.hpp"

namespace ximCORE::Pricing {

class MCPayoffLadder final : public IPricer, public IMCPricer {
 public:
    /// Calibrates the model's helper, which is set for the contract, and runs all trials. Fills the
    /// price of each point, and nothing else of its results. False when the market data is not
    /// complete. Without a point the trials evaluate nothing.
    [[nodiscard]] bool run_internal(Contract::Contract& contract, Modeling::Model* model) override;

    [[nodiscard]] std::vector<ContractLadderResults>& get_extented_results() { return m_points; }

 protected:
    [[nodiscard]] std::unique_ptr<IMCThread> _new_thread() override;

 private:
    std::vector<ContractLadderResults> m_points;
};

/// Per trial: no allocation, no look-up by text.
class MCThreadPayoffLadder final : public IMCThread {
 public:
    explicit MCThreadPayoffLadder(MCPayoffLadder& pricer);
    ~MCThreadPayoffLadder() override;

    /// Takes a copy of the tree, whose numbers this worker alone overwrites, and works out the
    /// numbers of each point. Throws as `update_feature_value`.
    void _set_cashflow(std::shared_ptr<Contract::CashFlow> const& cashflow) override;
    void _agregate_thread_results() override;

 protected:
    /// Adds weight times the value of each point to that of the trial.
    void _eval_cashflow(double weight) override;
    /// Always true.
    [[nodiscard]] bool _compute_price(std::uint64_t trial) override;

 private:
    /// A number of the tree that a point shifts.
    struct Move {
        double* place;
        double shifted;
        double original;
    };
    struct Point {
        std::vector<Move> moves;
        double value{0.0};  ///< of the trial in hand
        MCResult price;
    };

    MCPayoffLadder* m_pricer;
    std::vector<Point> m_points;
    std::uint64_t m_path{0};  ///< number of the path in the grid
};

}  // namespace ximCORE::Pricing
