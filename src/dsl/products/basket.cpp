// The performance of a basket, and the observable that reads it on a list of dates.
#include "dsl/products/basket.hpp"

#include <utility>

#include "core/toolbox/log.hpp"
#include "dsl/amount.hpp"
#include "dsl/encoded.hpp"
#include "ximAPI/observable.hpp"

namespace ximAPI {

using ximCORE::Toolbox::Log;

IObservable::IObservable() = default;
IObservable::~IObservable() = default;

BasketObservable::BasketObservable() = default;
BasketObservable::~BasketObservable() = default;

bool BasketObservable::build(std::vector<std::string> const& dates) {
    encoded.reset();
    std::vector<ximDSL::Observation> observations;
    observations.reserve(dates.size());
    for (auto const& date : dates) {
        observations.emplace_back(date, GetBasketPerformance(*this, date));
    }
    auto fresh = std::make_unique<ximDSL::Encoded>();
    if (GetBasketPerformance(*this, ForwardStartDate) == nullptr ||
        !ximDSL::encode(observations, *fresh)) {
        auto const& text = fresh->text_with_comma;
        Log::s_log(Log::Level::ERROR,
                   text.empty() ? "Basket without performance" : "Text with a comma: " + text);
        return false;
    }
    encoded = std::move(fresh);
    return true;
}

ximDSL::AmountPtr GetBasketPerformance(BasketObservable const& basket, std::string const& date) {
    using namespace ximDSL;
    auto const performance = [&](auto const& item) {
        return Spot(item.Ticker, date, "") / Spot(item.Ticker, basket.ForwardStartDate, "");
    };
    auto const weighted = [&](auto const& item) { return item.Weight * 0.01f * performance(item); };
    return fold_basket(basket.Basket, basket.BasketKind, performance, weighted);
}

}  // namespace ximAPI
