// Amounts that are read back on a list of dates: the performance of a basket.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "ximAPI/dsl.hpp"
#include "ximAPI/enums.hpp"
#include "ximAPI/export.hpp"

namespace ximDSL {
struct Encoded;
}

namespace ximAPI {

/// Anything that gives an amount per date. The object owns its encoded form and drops it at the
/// next `build`.
class XIM_EXPORT IObservable {
 public:
    IObservable();
    IObservable(IObservable const&) = delete;
    IObservable& operator=(IObservable const&) = delete;
    virtual ~IObservable();

    /// Makes `encoded` anew: one observation per date, in order. False, with `encoded` empty, after
    /// an ERROR record.
    [[nodiscard]] virtual bool build(std::vector<std::string> const& dates) = 0;

    std::unique_ptr<ximDSL::Encoded> encoded;
};

/// The performance of a basket since its forward start date.
class XIM_EXPORT BasketObservable final : public IObservable {
 public:
    /// One underlying; the weight is in percent.
    struct BasketItem {
        std::string Ticker;
        float Weight{};
    };

    BasketObservable();
    ~BasketObservable() override;

    /// False after "Basket without performance" if the basket is empty or its kind is RAINBOW,
    /// which has none.
    [[nodiscard]] bool build(std::vector<std::string> const& dates) override;

    std::vector<BasketItem> Basket;
    std::string ForwardStartDate;
    ximAPI::BasketKind BasketKind{};
    /// Carried for the caller; no computation reads it.
    ximAPI::StrikeKind StrikeKind{};
};

/// The performance of the basket at `date`: with p the level at `date` over the level at the
/// forward start date, BASKET is the sum of weight * p, WORST_OF the smallest and BEST_OF the
/// largest p. Empty for an empty basket and for RAINBOW.
XIM_EXPORT ximDSL::AmountPtr GetBasketPerformance(BasketObservable const& basket,
                                                  std::string const& date);

}  // namespace ximAPI
