#include <cmath>

#include "api/entries/pricing.hpp"
#include "api/frame.hpp"
#include "core/pricing/cf_details.hpp"
#include "ximAPI/ximAPI.hpp"

namespace ximAPI {

namespace {

using Portfolio = ximCORE::Pricing::StaticReplication1D::Results;

/// Smaller quantities are rounding.
bool is_held(double quantity) {
    constexpr double c_threshold = 0.0001;
    return std::abs(quantity) >= c_threshold;
}

void set_zero_coupon(Portfolio::ZeroCoupon const& held, PricedZeroCoupon& zero_coupon) {
    zero_coupon = {};
    if (!is_held(held.quantity)) {
        return;
    }
    zero_coupon.Price = static_cast<float>(held.price);
    zero_coupon.ZeroCoupon = {.MaturityDate = held.date.c_str(),
                              .Value = static_cast<float>(held.price / held.quantity),
                              .Quantity = static_cast<float>(held.quantity)};
}

void add_vanillas(ximCORE::Toolbox::Array1D<Portfolio::Option> const& options, PayoffKind kind,
                  std::vector<CallPut>& vanillas) {
    for (auto const& option : options) {
        if (is_held(option.quantity)) {
            vanillas.push_back({.MaturityDate = option.date.c_str(),
                                .Price = static_cast<float>(option.price),
                                .PayoffKind = kind,
                                .Quantity = static_cast<float>(option.quantity),
                                .Strike = static_cast<float>(option.strike)});
        }
    }
}

void set_results(Portfolio const& portfolio, StaticReplication1DResults& results) {
    set_zero_coupon(portfolio.zero_coupon, results.ZeroCoupon);
    results.Vanillas.clear();
    add_vanillas(portfolio.puts, PayoffKind::PUT_TYPE, results.Vanillas);
    add_vanillas(portfolio.calls, PayoffKind::CALL_TYPE, results.Vanillas);
    results.Replication.clear();
    for (std::uint64_t i = 0; i < portfolio.spots.c_get_size(); ++i) {
        results.Replication.push_back(
            {.Spot = static_cast<float>(portfolio.spots.get(i)),
             .Replication = static_cast<float>(portfolio.replication.get(i)),
             .Payoff = static_cast<float>(portfolio.payoffs.get(i))});
    }
}

bool replicate(Data& data, Contract const& contract, Pricer const& pricer,
               StaticReplication1DResults& results) {
    auto const what = Toolkit::make_free_case(data, contract, pricer);
    ximCORE::Pricing::CFDetails details;
    if (what == nullptr || !details.run(what->contract, what->model.get())) {
        return false;
    }
    set_results(details.c_get_results(), results);
    return true;
}

}  // namespace

}  // namespace ximAPI

bool GetStaticReplication1D(ximAPI::Data& data, ximAPI::Contract& contract, ximAPI::Pricer& pricer,
                            ximAPI::StaticReplication1DResults& results,
                            std::vector<ximAPI::Log>& logs) {
    return ximAPI::Toolkit::request("GetStaticReplication1D", logs, [&]() -> bool {
        return ximAPI::replicate(data, contract, pricer, results);
    });
}
