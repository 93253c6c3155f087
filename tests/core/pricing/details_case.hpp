// A simulation with details, and the same counts made by a plain one: each path of the plain loops
// says what it paid, where it ended and what it met.

#pragma once

#include <cmath>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "core/pricing/mc_details.hpp"
#include "support/simulation_test.hpp"

namespace ximCORE::Pricing {

/// What one path leaves behind.
struct PathNotes {
    Values flows;                                ///< [payment date], undiscounted
    std::size_t end{0};                          ///< payment date of the last payment met
    std::vector<std::optional<double>> fixings;  ///< those met
    std::vector<std::optional<bool>> events;     ///< those met
};

/// The observations of all paths.
struct Tally {
    explicit Tally(std::size_t nb_payments)
        : value(nb_payments),
          exists(nb_payments),
          positive(nb_payments),
          killed(nb_payments),
          has_been_killed(nb_payments) {}

    std::vector<Values> value, exists, positive, killed, has_been_killed;  // [payment date][path]
    Values duration;
    std::vector<Values> fixings, events;
    Values trials;  ///< values of the trials, both halves weighed
};

class DetailsTest : public SimulationTest {
 protected:
    explicit DetailsTest(std::size_t count_of_shares = 1) : SimulationTest(count_of_shares) {
        plain.times = {years(half_year), years(one_year), years(two_years)};
    }

    /// Describes a path by the levels, [underlying][half a year, one, two years].
    using Describe = std::function<PathNotes(std::vector<Values> const& levels)>;

    /// Simulates plainly under the settings in force. The contract reads or pays on each of the
    /// three dates and reads each share, so that both simulations use the same numbers.
    Tally count(std::vector<Date> const& payments, Describe const& describe) {
        Tally tally(payments.size());
        plain.payoff = [&](std::vector<Values> const& levels) {
            return note(tally, payments, describe(levels));
        };
        draw();
        tally.trials = central_values;
        return tally;
    }

    std::unique_ptr<MCDetails> run_details(
        Contract::Contract& priced, int threads = 1,
        Modeling::ModelName name = Modeling::ModelName::black_scholes) const {
        MCPricerOptions::s_options.nb_threads = static_cast<std::uint8_t>(threads);
        auto const model = Modeling::get_model(today, name);
        auto details = std::make_unique<MCDetails>();
        EXPECT_TRUE(model->get_dependencies(priced));
        EXPECT_TRUE(details->run(priced, model.get()));
        return details;
    }

    void expect_details(InspectorResults const& results, Tally const& tally) const {
        ASSERT_EQ(results.payments.c_get_size(), tally.value.size());
        ASSERT_EQ(results.fixings.c_get_size(), tally.fixings.size());
        ASSERT_EQ(results.barriers.c_get_size(), tally.events.size());
        expect_payments(results, tally);
        for (std::size_t i = 0; i < tally.fixings.size(); ++i) {
            SCOPED_TRACE("fixing " + std::to_string(i));
            expect_observations(results.fixings.get(i).value, tally.fixings[i]);
        }
        for (std::size_t i = 0; i < tally.events.size(); ++i) {
            SCOPED_TRACE("condition " + std::to_string(i));
            expect_observations(results.barriers.get(i).hit, tally.events[i]);
        }
        expect_observations(results.duration, tally.duration);
        expect_convergence(results.convergence, tally.trials);
    }

 private:
    double note(Tally& tally, std::vector<Date> const& payments, PathNotes const& path) const {
        double value = 0.0;
        for (std::size_t k = 0; k < payments.size(); ++k) {
            double const flow = std::exp(-c_rate * years(payments[k])) * path.flows[k];
            value += flow;
            tally.value[k].push_back(flow);
            tally.exists[k].push_back(flow != 0.0);
            tally.positive[k].push_back(flow > 0.0);
            tally.killed[k].push_back(path.end == k);
            tally.has_been_killed[k].push_back(path.end <= k);
        }
        tally.duration.push_back(years(payments[path.end]));
        note_met(tally.fixings, path.fixings);
        note_met(tally.events, path.events);
        return value;
    }
    static void note_met(std::vector<Values>& lists, auto const& met) {
        lists.resize(met.size());
        for (std::size_t i = 0; i < met.size(); ++i)
            if (met[i].has_value()) lists[i].push_back(*met[i]);
    }

    void expect_payments(InspectorResults const& results, Tally const& tally) const {
        for (std::size_t k = 0; k < tally.value.size(); ++k) {
            SCOPED_TRACE("payment " + std::to_string(k));
            auto const& payment = results.payments.get(k);
            expect_observations(payment.value, tally.value[k]);
            expect_observations(payment.exists, tally.exists[k]);
            expect_observations(payment.positive, tally.positive[k]);
            expect_observations(payment.killed_here, tally.killed[k]);
            expect_observations(payment.is_killed, tally.killed[k]);
            expect_observations(payment.has_been_killed, tally.has_been_killed[k]);
            expect_observations(payment.has_been_killed_copy, tally.has_been_killed[k]);
        }
    }
    /// By sums, so that numbers that are all equal compare too.
    void expect_observations(MCResult const& actual, Values const& expected) const {
        ASSERT_EQ(actual.count, expected.size());
        if (expected.empty()) {
            EXPECT_TRUE(std::isnan(actual.mean));
            return;
        }
        EXPECT_NEAR(actual.mean, Testing::mean(expected), 1e-11 * (1.0 + level));
        double const error = Testing::standard_error(expected);
        EXPECT_NEAR(actual.standard_error, error, 1e-7 * error + 1e-8);
        EXPECT_NEAR(actual.upper_bound - actual.mean, 2.2414 * error, 5e-4 * error + 1e-7);
        EXPECT_NEAR(actual.mean - actual.lower_bound, 2.2414 * error, 5e-4 * error + 1e-7);
    }
    void expect_convergence(std::vector<MCResult> const& actual, Values const& trials) const {
        ASSERT_EQ(actual.size(), trials.size());
        Values first;
        for (std::size_t k = 0; k < trials.size(); ++k) {
            first.push_back(trials[k]);
            ASSERT_EQ(actual[k].count, k + 1);
            if (k > 20 && k % 97 != 0 && k + 1 != trials.size()) continue;
            EXPECT_NEAR(actual[k].mean, Testing::mean(first), 1e-11 * (1.0 + level)) << k;
            if (k == 0) continue;
            double const error = Testing::standard_error(first);
            EXPECT_NEAR(actual[k].standard_error, error, 1e-7 * error + 1e-7) << k;
        }
    }
};

}  // namespace ximCORE::Pricing
