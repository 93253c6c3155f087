// The anatomy of a simulation: what each payment date is worth and how often it is reached, what
// each fixing averages, how often each condition holds, how long the contract lives, and how the
// price converges with the number of trials. No sensitivities.

#pragma once

#include <memory>
#include <string>
#include <vector>

#include "core/contract/details.hpp"
#include "core/pricing/mc_engine.hpp"
#include "core/pricing/mc_result.hpp"
#include "core/pricing/pricer.hpp"
#include "core/toolbox/date.hpp"

namespace ximCORE::Data {
class Underlying;
}

namespace ximCORE::Pricing {

/// Probabilities are fractions. With an antithetic factor both halves of a trial are observations
/// of their own, unweighted; only `convergence` counts trials.
struct InspectorResults {
    struct Payment {
        Toolbox::Date date;
        MCResult value;                 ///< discounted flow, in the contract's currency
        MCResult is_killed;             ///< a path ends here; made by `populate`, as the next two
        MCResult has_been_killed;       ///< a path has ended up to this date
        MCResult has_been_killed_copy;  ///< the same
        MCResult positive;              ///< the discounted flow is above 0
        MCResult exists;                ///< the discounted flow is not 0
        MCResult killed_here;           ///< the last payment that a path meets is here
    };
    /// Only paths that meet the fixing count: without any the mean is 0 / 0.
    struct Fixing {
        Toolbox::Date date;
        std::shared_ptr<Data::Underlying> underlying;
        MCResult value;        ///< in `currency`
        std::string currency;  ///< the fixing's own, or else that of the underlying
    };
    /// Only paths that meet the condition count.
    struct Barrier {
        Toolbox::Date date;  ///< the earliest fixing of the event; the contract's date without one
        std::string script;
        MCResult hit;
    };

    Toolbox::Array1D<Payment> payments;  ///< by date
    Toolbox::Array1D<Fixing> fixings;    ///< by date, underlying, currency
    Toolbox::Array1D<Barrier> barriers;  ///< by date, script
    /// Element k: the statistic of the first k + 1 trials. One `MCResult` (72 bytes) a trial.
    std::vector<MCResult> convergence;
    MCResult duration;  ///< expected life in years

    /// Derives from `killed_here` of each payment the two running ones and adds to the duration the
    /// life of the paths that end there, from `date` with the day counter of the settings.
    void populate(Toolbox::Date const& date);
    /// Closes all statistics.
    void agregate();
};

class MCDetails final : public IPricer, public IMCPricer {
 public:
    /// Calibrates the model's helper and runs all trials. False without a model, a helper or a
    /// currency. Relied on: incomplete market data answers true all the same, with empty results;
    /// the market layer has reported it.
    [[nodiscard]] bool run_internal(Contract::Contract& contract, Modeling::Model* model) override;

    [[nodiscard]] InspectorResults const& c_get_results() const { return m_results; }

 protected:
    /// Adds the lists of fixings and conditions. False, after an ERROR record, when there are more
    /// than a rank can count. The text of a condition with a square root raises
    /// `std::runtime_error` "Unknown error".
    [[nodiscard]] bool _prepare_contract(Contract::Contract const& contract) override;
    void _prepare_results() override;
    [[nodiscard]] Modeling::Helper* _c_safe_new_helper(Modeling::Model* model) const override;
    void _c_safe_delete_helper(Modeling::Model* model) const override;
    [[nodiscard]] std::unique_ptr<IMCThread> _new_thread() override;

 private:
    friend class MCThreadInspector;

    InspectorResults m_results;
};

/// Per trial: no allocation; the list of trials is reserved with the worker.
class MCThreadInspector final : public IMCThread {
 public:
    explicit MCThreadInspector(MCDetails& details);

    /// Adds its statistics to the results, and its trials behind those in the convergence.
    void _agregate_thread_results() override;

 protected:
    double _eval_casfhlow_internal(double weight) override;
    /// Always true.
    [[nodiscard]] bool _compute_price(std::uint64_t trial) override;

 private:
    /// Adds the discounted flows, and what became of the path that ended at `kill_rank`. Gives
    /// their sum and empties them.
    [[nodiscard]] double note_payments(short kill_rank);
    /// Adds what the path met, and clears the flags.
    void note_fixings();
    void note_events();

    MCDetails* m_details;
    Contract::FixingDetails m_fixing_buffer;
    Contract::EventDetails m_event_buffer;
    InspectorResults m_results;
    std::vector<MCResult> m_trial_results;
};

}  // namespace ximCORE::Pricing
