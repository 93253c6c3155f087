// Prices the same call three ways from C++: as a script, as a tree built with the functions of the
// contract language, and by the formula, and prints the three. It leaves with 1 when they disagree
// by more than four standard errors.

#include <cmath>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>
#include <ximAPI/ximAPI.hpp>

namespace {

constexpr float c_strike = 4150.0F;
char const* const c_today = "2021-05-03";
char const* const c_maturity = "2022-05-03";

/// Prices a product on the demonstration data. Prints the log of a call that fails.
bool price(std::unique_ptr<ximAPI::ICashFlow> product, ximAPI::PricingResult& result) {
    ximAPI::Data data;
    ximAPI::Contract contract;
    contract.Date = c_today;
    contract.PremiumCurrency = "USD";
    contract.Product = std::move(product);
    ximAPI::Model model;
    model.CalibrationDate = c_today;
    model.Name = ximAPI::ModelName::BLACK_SCHOLES_MODEL;
    ximAPI::Pricer pricer;
    pricer.MonteCarloTrials = 50000;
    ximAPI::PricingResults results;
    std::vector<ximAPI::Log> logs;
    if (!GetPrice(data, contract, model, pricer, results, logs)) {
        WriteLogger(logs);
        return false;
    }
    result = results.Price.Value;
    return true;
}

/// Black and Scholes (1973), without rates: S N(d1) - K N(d2).
double formula(double spot, double strike, double volatility, double years) {
    auto const cumulative = [](double x) { return 0.5 * std::erfc(-x / std::sqrt(2.0)); };
    double const total = volatility * std::sqrt(years);
    double const d1 = std::log(spot / strike) / total + 0.5 * total;
    return spot * cumulative(d1) - strike * cumulative(d1 - total);
}

}  // namespace

int main() {
    ximAPI::PricingResult by_script;
    ximAPI::PricingResult by_tree;
    std::string const script = "Pay(Max(Spot(^GSPC, 2022-05-03) - 4150, 0), 2022-05-03, USD)";
    bool const priced =
        price(std::make_unique<ximAPI::Console>(script), by_script) &&
        price(std::make_unique<ximAPI::CashFlow>(
                  ximDSL::Pay(ximDSL::Max(ximDSL::Spot("^GSPC", c_maturity, "") - c_strike, 0.0F),
                              c_maturity, "USD")),
              by_tree);
    if (!priced) {
        return 1;
    }
    double const exact = formula(4153.925, static_cast<double>(c_strike), 0.2, 1.0);
    std::printf("script   %.4f  (standard error %.4f)\n", static_cast<double>(by_script.Mean),
                static_cast<double>(by_script.Stddev));
    std::printf("tree     %.4f\n", static_cast<double>(by_tree.Mean));
    std::printf("formula  %.4f\n", exact);
    bool const same = by_script.Mean == by_tree.Mean;
    bool const close = std::abs(static_cast<double>(by_script.Mean) - exact) <
                       4.0 * static_cast<double>(by_script.Stddev);
    return same && close ? 0 : 1;
}
