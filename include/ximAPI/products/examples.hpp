// Ready products: each turns a handful of terms into a contract. Where a sentence names a level
// ("Strike"), the contract keeps it under that name, so that it can be solved for or bumped.
// Payments without a date of their own are made at `MaturityDate`, all in `PaymentCurrency`; "spot"
// is the fixing of `Ticker` at `MaturityDate`. A payoff is the positive part of spot - strike
// (CALL_TYPE) or strike - spot (PUT_TYPE); an enumeration out of range makes no contract: `build`
// answers false after "Contract empty".
#pragma once

#include <string>
#include <vector>

#include "ximAPI/cashflow.hpp"
#include "ximAPI/enums.hpp"
#include "ximAPI/export.hpp"
#include "ximAPI/products/basket.hpp"

namespace ximAPI {

/// Pays the payoff.
class XIM_EXPORT EuropeanOptionExample final : public ICashFlow {
 public:
    EuropeanOptionExample();
    ~EuropeanOptionExample() override;
    [[nodiscard]] bool build() override;

    ximAPI::PayoffKind PayoffKind{};
    std::string Ticker;
    std::string PaymentCurrency;
    std::string MaturityDate;
    float Strike{};
};

/// Pays 1 if the spot is above the strike; a put pays as the call does.
class XIM_EXPORT DigitalOptionExample final : public ICashFlow {
 public:
    DigitalOptionExample();
    ~DigitalOptionExample() override;
    [[nodiscard]] bool build() override;

    ximAPI::PayoffKind PayoffKind{};
    std::string Ticker;
    std::string PaymentCurrency;
    std::string MaturityDate;
    float Strike{};
};

/// On each date of the schedule the holder takes the payoff of that date, paid at once, or goes on.
/// Without dates it pays nothing.
class XIM_EXPORT AmericanOptionExample final : public ICashFlow {
 public:
    AmericanOptionExample();
    ~AmericanOptionExample() override;
    [[nodiscard]] bool build() override;

    ximAPI::PayoffKind PayoffKind{};
    std::string Ticker;
    std::string PaymentCurrency;
    float Strike{};
    std::vector<std::string> Schedule;
};

/// Pays, at `PaymentDate`, the payoff of the average fixing over the schedule. Without dates
/// `build` answers false after "Asian option without dates".
class XIM_EXPORT AsianOptionExample final : public ICashFlow {
 public:
    AsianOptionExample();
    ~AsianOptionExample() override;
    [[nodiscard]] bool build() override;

    ximAPI::PayoffKind PayoffKind{};
    std::string Ticker;
    std::string PaymentCurrency;
    std::string PaymentDate;
    float Strike{};
    std::vector<std::string> Schedule;
};

/// Pays the payoffs at both strikes: the sum of two long options.
class XIM_EXPORT SpreadOptionExample final : public ICashFlow {
 public:
    SpreadOptionExample();
    ~SpreadOptionExample() override;
    [[nodiscard]] bool build() override;

    ximAPI::PayoffKind PayoffKind{};
    std::string Ticker;
    std::string PaymentCurrency;
    std::string MaturityDate;
    float StrikeLeft{};
    float StrikeRight{};
};

/// Pays the payoffs at the left and the right strike, receives twice the one at the centre.
class XIM_EXPORT ButterflySpreadOptionExample final : public ICashFlow {
 public:
    ButterflySpreadOptionExample();
    ~ButterflySpreadOptionExample() override;
    [[nodiscard]] bool build() override;

    ximAPI::PayoffKind PayoffKind{};
    std::string Ticker;
    std::string PaymentCurrency;
    std::string MaturityDate;
    float StrikeLeft{}, StrikeCenter{}, StrikeRight{};
};

/// Pays the payoffs at the extreme strikes, receives those at the inner ones.
class XIM_EXPORT CondorSpreadExample final : public ICashFlow {
 public:
    CondorSpreadExample();
    ~CondorSpreadExample() override;
    [[nodiscard]] bool build() override;

    ximAPI::PayoffKind PayoffKind{};
    std::string Ticker;
    std::string PaymentCurrency;
    std::string MaturityDate;
    float StrikeExtremeLeft{}, StrikeLeft{}, StrikeRight{}, StrikeExtremeRight{};
};

/// Pays the call, receives the put. `PayoffKind` has no effect.
class XIM_EXPORT RiskReversalExample final : public ICashFlow {
 public:
    RiskReversalExample();
    ~RiskReversalExample() override;
    [[nodiscard]] bool build() override;

    ximAPI::PayoffKind PayoffKind{};
    std::string Ticker;
    std::string PaymentCurrency;
    std::string MaturityDate;
    float PutStrike{};
    float CallStrike{};
};

/// Pays the put and the call.
class XIM_EXPORT StrangleExample final : public ICashFlow {
 public:
    StrangleExample();
    ~StrangleExample() override;
    [[nodiscard]] bool build() override;

    std::string Ticker;
    std::string PaymentCurrency;
    std::string MaturityDate;
    float PutStrike{};
    float CallStrike{};
};

/// Pays the put and the call at one strike.
class XIM_EXPORT StraddleExample final : public ICashFlow {
 public:
    StraddleExample();
    ~StraddleExample() override;
    [[nodiscard]] bool build() override;

    std::string Ticker;
    std::string PaymentCurrency;
    std::string MaturityDate;
    float Strike{};
};

/// Pays the payoff of a basket of fixings (levels, not performances): BASKET adds weight (percent,
/// under the name "Weight") times level, WORST_OF and RAINBOW take the smallest, BEST_OF the
/// largest level. Without items it pays nothing.
class XIM_EXPORT MultiAssetOptionExample final : public ICashFlow {
 public:
    MultiAssetOptionExample();
    ~MultiAssetOptionExample() override;
    [[nodiscard]] bool build() override;

    ximAPI::PayoffKind PayoffKind{};
    std::vector<BasketStatement> Basket;
    ximAPI::BasketKind BasketKind{};
    std::string PaymentCurrency;
    std::string MaturityDate;
    float Strike{};
};

/// The option comes to life (KNOCK_IN), or dies into the rebate (KNOCK_OUT), on the first date of
/// the schedule whose fixing is below (DOWN) or above (UP) the level. A knock-in that never comes
/// to life pays the rebate. Option and rebate are paid at maturity. Without dates it pays nothing.
class XIM_EXPORT BarrierOptionExample final : public ICashFlow {
 public:
    BarrierOptionExample();
    ~BarrierOptionExample() override;
    [[nodiscard]] bool build() override;

    ximAPI::PayoffKind PayoffKind{};
    ximAPI::BarrierKind BarrierKind{};
    ximAPI::BarrierType BarrierType{};
    std::string Ticker;
    std::string PaymentCurrency;
    float Strike{};
    float BarrierLevel{};
    float Rebate{};
    std::vector<std::string> Schedule;
    std::string MaturityDate;
};

/// The same for the event that the fixing lies between the two levels: a KNOCK_IN pays the option
/// on the first date inside the corridor. The option has no floor at zero: it pays spot - strike,
/// or strike - spot.
class XIM_EXPORT DoubleBarrierOptionExample final : public ICashFlow {
 public:
    DoubleBarrierOptionExample();
    ~DoubleBarrierOptionExample() override;
    [[nodiscard]] bool build() override;

    ximAPI::PayoffKind PayoffKind{};
    ximAPI::BarrierKind BarrierKind{};
    std::string Ticker;
    std::string PaymentCurrency;
    float Strike{}, LowerBarrierLevel{}, UpperBarrierLevel{}, Rebate{};
    std::vector<std::string> Schedule;
    std::string MaturityDate;
};

/// Pays the coupon if the spot is above the strike, else the coupon times spot / strike. With a
/// strike of 0 `build` answers false after "Reverse convertible without strike".
class XIM_EXPORT ReverseConvertibleExample final : public ICashFlow {
 public:
    ReverseConvertibleExample();
    ~ReverseConvertibleExample() override;
    [[nodiscard]] bool build() override;

    std::string Ticker;
    std::string PaymentCurrency;
    float Strike{};
    float Coupon{};
    std::string MaturityDate;
};

/// The same, with the spot compared to the barrier level.
class XIM_EXPORT BarrierReverseConvertibleExample final : public ICashFlow {
 public:
    BarrierReverseConvertibleExample();
    ~BarrierReverseConvertibleExample() override;
    [[nodiscard]] bool build() override;

    std::string Ticker;
    std::string PaymentCurrency;
    float Strike{};
    float Coupon{};
    float BarrierLevel{};
    std::string MaturityDate;
};

}  // namespace ximAPI
