// Ready products: sums and differences of options on one fixing.
#include "dsl/products/payoffs.hpp"
#include "ximAPI/products/examples.hpp"

namespace ximAPI {

using namespace ximDSL;

SpreadOptionExample::SpreadOptionExample() = default;
SpreadOptionExample::~SpreadOptionExample() = default;

bool SpreadOptionExample::build() {
    auto const level = spot(Ticker, MaturityDate);
    auto const payoff = [&](AmountPtr const& strike) { return option(PayoffKind, level, strike); };
    // Relied on: both legs are paid.
    return encode(Pay(payoff(CstRef("StrikeLeft", StrikeLeft)), MaturityDate, PaymentCurrency) &
                  Pay(payoff(CstRef("StrikeRight", StrikeRight)), MaturityDate, PaymentCurrency));
}

ButterflySpreadOptionExample::ButterflySpreadOptionExample() = default;
ButterflySpreadOptionExample::~ButterflySpreadOptionExample() = default;

bool ButterflySpreadOptionExample::build() {
    auto const level = spot(Ticker, MaturityDate);
    auto const payoff = [&](AmountPtr const& strike) { return option(PayoffKind, level, strike); };
    return encode(
        Pay(1.0f * payoff(CstRef("StrikeLeft", StrikeLeft)), MaturityDate, PaymentCurrency) &
        Receive(2.0f * payoff(CstRef("StrikeCenter", StrikeCenter)), MaturityDate,
                PaymentCurrency) &
        Pay(1.0f * payoff(CstRef("StrikeRight", StrikeRight)), MaturityDate, PaymentCurrency));
}

CondorSpreadExample::CondorSpreadExample() = default;
CondorSpreadExample::~CondorSpreadExample() = default;

bool CondorSpreadExample::build() {
    auto const level = spot(Ticker, MaturityDate);
    auto const payoff = [&](AmountPtr const& strike) { return option(PayoffKind, level, strike); };
    return encode(
        Pay(payoff(CstRef("StrikeExtremeLeft", StrikeExtremeLeft)), MaturityDate, PaymentCurrency) &
        Receive(payoff(CstRef("StrikeLeft", StrikeLeft)), MaturityDate, PaymentCurrency) &
        Receive(payoff(CstRef("StrikeRight", StrikeRight)), MaturityDate, PaymentCurrency) &
        Pay(payoff(CstRef("StrikeExtremeRight", StrikeExtremeRight)), MaturityDate,
            PaymentCurrency));
}

RiskReversalExample::RiskReversalExample() = default;
RiskReversalExample::~RiskReversalExample() = default;

bool RiskReversalExample::build() {
    auto const level = spot(Ticker, MaturityDate);
    return encode(
        Receive(Max(CstRef("PutStrike", PutStrike) - level, 0.0f), MaturityDate, PaymentCurrency) &
        Pay(Max(level - CstRef("CallStrike", CallStrike), 0.0f), MaturityDate, PaymentCurrency));
}

StrangleExample::StrangleExample() = default;
StrangleExample::~StrangleExample() = default;

bool StrangleExample::build() {
    auto const level = spot(Ticker, MaturityDate);
    return encode(
        Pay(Max(CstRef("PutStrike", PutStrike) - level, 0.0f), MaturityDate, PaymentCurrency) &
        Pay(Max(level - CstRef("CallStrike", CallStrike), 0.0f), MaturityDate, PaymentCurrency));
}

StraddleExample::StraddleExample() = default;
StraddleExample::~StraddleExample() = default;

bool StraddleExample::build() {
    auto const level = spot(Ticker, MaturityDate);
    auto const strike = CstRef("Strike", Strike);
    return encode(Pay(Max(strike - level, 0.0f), MaturityDate, PaymentCurrency) &
                  Pay(Max(level - strike, 0.0f), MaturityDate, PaymentCurrency));
}

}  // namespace ximAPI
