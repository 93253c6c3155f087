// Ready products: options on one fixing, on an average, on a basket, and with a choice of dates.
#include "dsl/products/basket.hpp"
#include "dsl/products/payoffs.hpp"
#include "ximAPI/products/examples.hpp"

namespace ximAPI {

using namespace ximDSL;

EuropeanOptionExample::EuropeanOptionExample() = default;
EuropeanOptionExample::~EuropeanOptionExample() = default;

bool EuropeanOptionExample::build() {
    auto const level = spot(Ticker, MaturityDate);
    return encode(
        Pay(option(PayoffKind, level, CstRef("Strike", Strike)), MaturityDate, PaymentCurrency));
}

DigitalOptionExample::DigitalOptionExample() = default;
DigitalOptionExample::~DigitalOptionExample() = default;

bool DigitalOptionExample::build() {
    auto const level = spot(Ticker, MaturityDate);
    auto const strike = CstRef("Strike", Strike);
    EventPtr event;
    if (PayoffKind == ximAPI::PayoffKind::CALL_TYPE) event = level > strike;
    // Relied on: the put pays where the call does, above the strike.
    if (PayoffKind == ximAPI::PayoffKind::PUT_TYPE) event = strike < level;
    return encode(If(event, 0.0f, 0.0f)(Pay(1.0f, MaturityDate, PaymentCurrency), End()));
}

AmericanOptionExample::AmericanOptionExample() = default;
AmericanOptionExample::~AmericanOptionExample() = default;

bool AmericanOptionExample::build() {
    auto contract = End();
    for (auto date = Schedule.rbegin(); date != Schedule.rend(); ++date) {
        auto const payoff = option(PayoffKind, spot(Ticker, *date), CstRef("Strike", Strike));
        contract = Either(*date, 1)({Pay(payoff, *date, PaymentCurrency), contract});
    }
    return encode(contract);
}

AsianOptionExample::AsianOptionExample() = default;
AsianOptionExample::~AsianOptionExample() = default;

bool AsianOptionExample::build() {
    if (Schedule.empty()) return refuse("Asian option without dates");
    auto sum = Cst(0.0f);
    for (auto const& date : Schedule) sum = sum + spot(Ticker, date);
    auto const average = sum / static_cast<float>(Schedule.size());
    return encode(
        Pay(option(PayoffKind, average, CstRef("Strike", Strike)), PaymentDate, PaymentCurrency));
}

MultiAssetOptionExample::MultiAssetOptionExample() = default;
MultiAssetOptionExample::~MultiAssetOptionExample() = default;

bool MultiAssetOptionExample::build() {
    auto const level = [&](auto const& item) { return spot(item.Ticker, MaturityDate); };
    auto const weighted = [&](auto const& item) {
        return 0.01f * CstRef("Weight", item.Weight) * level(item);
    };
    // Relied on: a rainbow is a worst-of here.
    auto const kind =
        BasketKind == ximAPI::BasketKind::RAINBOW ? ximAPI::BasketKind::WORST_OF : BasketKind;
    auto const basket = fold_basket(Basket, kind, level, weighted);
    if (basket == nullptr) return encode(End());
    return encode(
        Pay(option(PayoffKind, basket, CstRef("Strike", Strike)), MaturityDate, PaymentCurrency));
}

}  // namespace ximAPI
