// The closed form engine: the contract prices itself, part by part, and is priced again under each
// market move that a sensitivity asks for. No model, no helper, no grid.

#pragma once

#include "core/pricing/greek_evaluation.hpp"
#include "core/pricing/pricer.hpp"
#include "core/pricing/static_replication.hpp"

namespace ximCORE::Contract {
class CashFlow;
}

namespace ximCORE::Data {
class Currency;
}

namespace ximCORE::Pricing {

/// What is not a sum of payoffs of one fixing each is refused, after an ERROR record. All on the
/// caller's thread; the scenario is moved while it runs.
class CFPricer final : public Pricer {
 public:
    CFPricer();

 protected:
    /// On a failure under a move, the scenario keeps the move: the caller ends the request there.
    [[nodiscard]] bool run_core(Contract::Contract& contract, Modeling::Model* model) override;

 private:
    [[nodiscard]] static bool _compute_price(Toolbox::Date const& date,
                                             Contract::CashFlow const& cashflow,
                                             Data::Currency const& currency, double& price);

    [[nodiscard]] EvaluationRule _c_get_rule(Greek const& greek) const;

    /// -1 left, 0 centred, +1 right, as the settings were at construction.
    struct Directions {
        signed char delta;
        signed char vega;
        signed char cega;
        signed char rho;
    };
    Directions m_directions;
    StaticReplication1D::Reuse m_reuse;  ///< for the valuations of all runs
};

}  // namespace ximCORE::Pricing
