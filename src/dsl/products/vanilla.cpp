#include "ximAPI/products/vanilla.hpp"

#include <cstddef>

#include "dsl/products/payoffs.hpp"

namespace ximAPI {

using namespace ximDSL;

namespace {

AmountPtr make_value(std::string const& name, float value) {
    return name.empty() ? Cst(value) : CstRef(name, value);
}

AmountPtr make_option(Vanilla::Option const& option, AmountPtr const& S) {
    auto const q = make_value(option.QuantityName, option.QuantityValue);
    auto const K = make_value(option.StrikeName, option.StrikeValue);
    return option.Kind == PayoffKind::CALL_TYPE ? q * Max(S - K, 0.0f) : q * Max(K - S, 0.0f);
}

/// `total` with the terms of the payoff added: one below the first point, one for each segment, one
/// above the last point. All bounds belong to their segments.
AmountPtr add_payoff(AmountPtr total, Vanilla::Payoff const& payoff, AmountPtr const& P) {
    auto const& points = payoff.Points;
    if (points.size() < 2) return total;
    auto const q = make_value(payoff.QuantityName, payoff.QuantityValue);
    auto const line = [&](std::size_t i) {
        auto const& [x, y] = points[i];
        auto const slope = (points[i + 1].Y - y) / (points[i + 1].X - x);
        return y + slope * (P - x);
    };
    auto const last = points.size() - 1;
    total = total + q * If(P <= points[0].X)(line(0));
    for (std::size_t i = 0; i < last; ++i) {
        if (points[i].X == points[i + 1].X) continue;
        // Relied on: a performance exactly on a point counts in both segments.
        total = total + q * If(P >= points[i].X && P <= points[i + 1].X)(line(i));
    }
    return total + q * If(P >= points[last].X)(line(last - 1));
}

CashFlowPtr make_payment(Vanilla::CliquetItem const& item) {
    auto const S = spot(item.Ticker, item.FixingDate);
    auto const C = make_value(item.CashName, item.CashValue);
    auto const D = make_value(item.DeltaName, item.DeltaValue);
    auto X = make_value(item.NotionalName, item.NotionalValue) + D * S;
    for (auto const& option : item.Options) X = X + make_option(option, S);
    for (auto const& payoff : item.Payoffs)
        X = add_payoff(X, payoff, S / spot(item.Ticker, payoff.StrikeDate));
    return item.Direction == Vanilla::Direction::PAY
               ? Pay(C * X, item.PaymentDate, item.PaymentCurrency)
               : Receive(C * X, item.PaymentDate, item.PaymentCurrency);
}

/// Whether a payoff has no line to go on with on its left or right.
bool has_outer_jump(Vanilla::Payoff const& payoff) {
    auto const& points = payoff.Points;
    if (points.size() < 2) return false;
    return points[0].X == points[1].X || points.back().X == points[points.size() - 2].X;
}

}  // namespace

Vanilla::Vanilla() = default;
Vanilla::~Vanilla() = default;

bool Vanilla::build() {
    CashFlowPtr total;
    for (auto const& item : Cliquet) {
        for (auto const& payoff : item.Payoffs) {
            if (has_outer_jump(payoff)) return refuse("Payoff starts or ends with a jump");
        }
        total = total == nullptr ? make_payment(item) : total & make_payment(item);
    }
    return encode(total);
}

}  // namespace ximAPI
