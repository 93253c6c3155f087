#include <cstddef>

#include "api/bridge/results.hpp"
#include "api/entries/pricing.hpp"
#include "api/frame.hpp"
#include "core/data/underlying.hpp"
#include "core/pricing/mc_details.hpp"
#include "ximAPI/ximAPI.hpp"

namespace ximAPI {

namespace {

using Toolkit::set_pricing_result;
using ximCORE::Pricing::InspectorResults;
using ximCORE::Pricing::MCResult;
using ximCORE::Toolbox::Date;

constexpr double c_percent = 100.0;

void set_percentage(MCResult const& from, PricingResult& to) {
    MCResult percentage = c_percent * from;
    percentage.agregate();
    set_pricing_result(percentage, to);
}

void set_decomposition(InspectorResults const& from, std::vector<Decomposition>& to) {
    to.clear();
    for (auto const& payment : from.payments) {
        Decomposition& record = to.emplace_back();
        record.Date = Date(payment.date).c_str();
        set_pricing_result(payment.value, record.Price);
        set_percentage(payment.exists, record.ProbaExists);
        set_percentage(payment.positive, record.ProbaPositive);
        set_percentage(payment.is_killed, record.ProbaIsKilled);
        set_percentage(payment.has_been_killed, record.ProbaHasBeenKilled);
    }
}

void set_forward_fixings(InspectorResults const& from, std::vector<ForwardFixing>& to) {
    to.clear();
    for (auto const& fixing : from.fixings) {
        ForwardFixing& record = to.emplace_back();
        record.FixingDate = Date(fixing.date).c_str();
        record.Currency = fixing.currency;
        record.Ticker = fixing.underlying->c_str();
        set_pricing_result(fixing.value, record.Value);
    }
}

void set_barriers(InspectorResults const& from, std::vector<Barrier>& to) {
    to.clear();
    for (auto const& barrier : from.barriers) {
        Barrier& record = to.emplace_back();
        record.EventDate = Date(barrier.date).c_str();
        record.EventScript = barrier.script;
        set_pricing_result(barrier.hit, record.ProbaIn);
    }
}

/// The power of ten above n / size, 1 for more points than trials.
std::size_t step_of(std::size_t n, std::size_t size) {
    std::size_t step = 1;
    // Relied on: the step is above the plain quotient, so that fewer points come than asked for
    for (std::size_t quotient = n / size; quotient > 0; quotient /= 10) step *= 10;
    return step;
}

void set_convergence(std::vector<MCResult> const& from, std::int32_t size,
                     std::vector<Convergence>& to) {
    to.clear();
    if (size < 1) return;
    std::size_t const step = step_of(from.size(), static_cast<std::size_t>(size));
    for (std::size_t index = 0; index < from.size(); index += step) {
        Convergence& record = to.emplace_back();
        // Relied on: a point is numbered by its last trial, counted from 0
        record.Trials = static_cast<std::int32_t>(index);
        set_pricing_result(from[index], record.Result);
    }
}

bool price_with_details(Data& data, Contract const& contract, Model const& model, Pricer pricer,
                        MCPriceWithDetailsResults& results) {
    pricer.Method = PricingMethod::MONTE_CARLO;
    auto const what = Toolkit::make_pricing_case(data, contract, model, pricer);
    if (what == nullptr || !Toolkit::is_eligible(*what)) {
        return false;
    }
    ximCORE::Pricing::MCDetails engine;
    if (!engine.run(what->contract, what->model.get())) {
        return false;
    }
    InspectorResults const& details = engine.c_get_results();
    set_decomposition(details, results.Decomposition);
    set_forward_fixings(details, results.ForwardFixings);
    set_barriers(details, results.Barriers);
    set_pricing_result(details.duration, results.Duration);
    set_convergence(details.convergence, results.ConvergenceSize, results.Convergence);
    return true;
}

}  // namespace

}  // namespace ximAPI

bool GetMCPriceWithDetails(ximAPI::Data& data, ximAPI::Contract& contract, ximAPI::Model& model,
                           ximAPI::Pricer& pricer, ximAPI::MCPriceWithDetailsResults& results,
                           std::vector<ximAPI::Log>& logs) {
    return ximAPI::Toolkit::request("GetMCPriceWithDetails", logs, [&]() -> bool {
        return ximAPI::price_with_details(data, contract, model, pricer, results);
    });
}
