// Prices two ready products from C++. A European call: fill its record, put it into the contract,
// ask for the price, compare it with the formula. An autocall: price the note, and again with its
// coupons doubled. The program leaves with 1 when the call disagrees with the formula by more than
// four standard errors, or the better note is not worth more.

#include <cmath>
#include <cstdio>
#include <memory>
#include <string>
#include <utility>
#include <vector>
#include <ximAPI/products/autocall.hpp>
#include <ximAPI/products/examples.hpp>
#include <ximAPI/ximAPI.hpp>

namespace {

char const* const c_today = "2021-05-03";

/// Prices a product on the demonstration data. Prints the log of a call that fails.
bool price(std::unique_ptr<ximAPI::ICashFlow> product, std::string const& currency,
           ximAPI::PricingResult& result) {
    ximAPI::Data data;
    ximAPI::Contract contract;
    contract.Date = c_today;
    contract.PremiumCurrency = currency;
    contract.Product = std::move(product);
    ximAPI::Model model;
    model.CalibrationDate = c_today;
    model.Name = ximAPI::ModelName::BLACK_SCHOLES_MODEL;
    ximAPI::Pricer pricer;
    pricer.MonteCarloTrials = 20000;
    ximAPI::PricingResults results;
    std::vector<ximAPI::Log> logs;
    if (!GetPrice(data, contract, model, pricer, results, logs)) {
        WriteLogger(logs);
        return false;
    }
    result = results.Price.Value;
    return true;
}

std::unique_ptr<ximAPI::EuropeanOptionExample> make_call() {
    auto call = std::make_unique<ximAPI::EuropeanOptionExample>();
    call->PayoffKind = ximAPI::PayoffKind::CALL_TYPE;
    call->Ticker = "^GSPC";
    call->PaymentCurrency = "USD";
    call->MaturityDate = "2022-05-03";
    call->Strike = 4150.0F;
    return call;
}

/// Three yearly observations: the note ends at par and the coupon once the index is back at its
/// start level, and pays the coupon while the index is above 70 % of it. At the end it pays par
/// above 60 %, the performance below.
std::unique_ptr<ximAPI::Autocall> make_note(float coupon_pct) {
    auto note = std::make_unique<ximAPI::Autocall>();
    note->ForwardStartDate = c_today;
    note->Basket.push_back({"^STOXX50E", 100.0F});
    note->BasketKind = ximAPI::BasketKind::BASKET;
    for (char const* date : {"2022-05-03", "2023-05-03", "2024-05-03"}) {
        ximAPI::Autocall::ScheduleStatement observation;
        observation.ObservationDate = date;
        observation.PaymentDate = date;
        observation.PaymentCurrency = "EUR";
        observation.Notional = 1000.0F;
        observation.BarrierKind = ximAPI::BarrierKind::KNOCK_OUT;
        observation.AutocallBarrier = 100.0F;
        observation.PhoenixCoupon = 100.0F + coupon_pct;
        observation.CouponBarrier = 70.0F;
        observation.BonusCoupon = coupon_pct;
        note->Schedule.push_back(observation);
    }
    note->FinalPayment = {{0.0F, 0.0F}, {0.6F, 600.0F}, {0.6F, 1000.0F}, {1.0F, 1000.0F}};
    return note;
}

/// Black and Scholes (1973), without rates, one year: S N(d1) - K N(d2).
double formula(double spot, double strike, double volatility) {
    auto const cumulative = [](double x) { return 0.5 * std::erfc(-x / std::sqrt(2.0)); };
    double const d1 = std::log(spot / strike) / volatility + 0.5 * volatility;
    return spot * cumulative(d1) - strike * cumulative(d1 - volatility);
}

void print(char const* name, ximAPI::PricingResult const& result) {
    std::printf("%-20s %10.4f  (standard error %.4f)\n", name, static_cast<double>(result.Mean),
                static_cast<double>(result.Stddev));
}

}  // namespace

int main() {
    ximAPI::PricingResult call;
    ximAPI::PricingResult note;
    ximAPI::PricingResult better_note;
    if (!price(make_call(), "USD", call) || !price(make_note(4.0F), "EUR", note) ||
        !price(make_note(8.0F), "EUR", better_note)) {
        return 1;
    }
    double const exact = formula(4153.925, 4150.0, 0.2);
    print("call", call);
    std::printf("%-20s %10.4f\n", "its formula", exact);
    print("autocall, 4 %", note);
    print("autocall, 8 %", better_note);
    bool const close =
        std::abs(static_cast<double>(call.Mean) - exact) < 4.0 * static_cast<double>(call.Stddev);
    return close && better_note.Mean > note.Mean ? 0 : 1;
}
