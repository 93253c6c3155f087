#include "ximAPI/products/autocall.hpp"

#include <algorithm>
#include <cstddef>
#include <string>

#include "dsl/products/basket.hpp"
#include "dsl/products/payoffs.hpp"

namespace ximAPI {

using namespace ximDSL;

namespace {

using Statement = Autocall::ScheduleStatement;

/// Empty for an empty basket and a kind without performance.
AmountPtr make_performance(Autocall const& terms, std::string const& date) {
    auto const performance = [&](auto const& item) {
        return spot(item.Ticker, date) / spot(item.Ticker, terms.ForwardStartDate);
    };
    auto const weighted = [&](auto const& item) {
        return 0.01f * CstRef("Weight", item.Weight) * performance(item);
    };
    return fold_basket(terms.Basket, terms.BasketKind, performance, weighted);
}

/// Whether the performance at the observation triggers the barrier; empty for an unknown kind.
EventPtr make_event(Autocall const& terms, Statement const& statement, AmountPtr const& barrier) {
    auto const p = make_performance(terms, statement.ObservationDate);
    switch (statement.BarrierKind) {
        case BarrierKind::KNOCK_OUT:
            return p >= barrier;
        // Relied on: a performance exactly on the barrier does not trigger a knock-in.
        case BarrierKind::KNOCK_IN:
            return p <= barrier;
        default:
            return {};
    }
}

/// The bonus coupon of an observation that does not redeem the note.
CashFlowPtr make_coupon(Autocall const& terms, Statement const& s, AmountPtr const& N) {
    if (s.BonusCoupon == 0.0f) return End();
    auto const B = 0.01f * CstRef("BonusCoupon", s.BonusCoupon);
    auto const C = 0.01f * CstRef("CouponBarrier", s.CouponBarrier);
    auto const event = make_event(terms, s, C);
    auto const with_memory = terms.BonusCouponWithMemory;
    auto const missed = with_memory ? Set("BonusCoupon", AmountRef("BonusCoupon") + B) : End();
    // Relied on: a payment leaves the memory as it is, so that a later coupon pays the old misses
    // again.
    auto const G = with_memory ? B + AmountRef("BonusCoupon") : B;
    return If(event, 0.01f * s.CouponBarrierSpreadLeft, 0.01f * s.CouponBarrierSpreadRight)(
        Pay(N * G, s.PaymentDate, s.PaymentCurrency), missed);
}

/// One observation, with what follows it.
CashFlowPtr make_observation(Autocall const& terms, Statement const& s, CashFlowPtr const& rest) {
    auto const N = CstRef("Notional", s.Notional);
    auto const A = 0.01f * CstRef("AutocallBarrier", s.AutocallBarrier);
    auto const P = 0.01f * CstRef("PhoenixCoupon", s.PhoenixCoupon);
    auto const event = make_event(terms, s, A);
    return If(event, 0.01f * s.AutocallBarrierSpreadLeft, 0.01f * s.AutocallBarrierSpreadRight)(
        Pay(N * P, s.PaymentDate, s.PaymentCurrency), make_coupon(terms, s, N) & rest);
}

/// The piecewise linear payment at the end. The last segment takes all that the others leave, the
/// points between two segments included.
CashFlowPtr make_final_payment(Autocall const& terms) {
    auto const& points = terms.FinalPayment;
    if (points.size() < 2) return End();
    auto const& last = terms.Schedule.back();
    auto const p = make_performance(terms, last.ObservationDate);
    CashFlowPtr rest;
    for (auto i = points.size() - 1; i-- > 0;) {
        auto const& u = points[i];
        auto const& v = points[i + 1];
        if (u.X == v.X) continue;
        auto const slope = (v.Y - u.Y) / (v.X - u.X);
        auto const payment = Pay(u.Y + slope * (p - u.X), last.PaymentDate, last.PaymentCurrency);
        if (rest == nullptr) {
            rest = payment;
        } else if (i == 0) {
            rest = If(p < v.X, 0.0f)(payment, rest);
        } else {
            rest = If(p > u.X && p < v.X, 0.0f)(payment, rest);
        }
    }
    return rest;
}

/// Why these terms make no autocall; empty if they do.
std::string find_fault(Autocall const& terms) {
    auto const is_known = [](Statement const& statement) {
        return statement.BarrierKind == BarrierKind::KNOCK_IN ||
               statement.BarrierKind == BarrierKind::KNOCK_OUT;
    };
    auto const has_performance = make_performance(terms, "") != nullptr;
    if (terms.Schedule.empty() || !std::ranges::all_of(terms.Schedule, is_known) ||
        !has_performance) {
        return "Cannot build autocall";
    }
    auto const& points = terms.FinalPayment;
    auto const with_points = points.size() >= 2;
    if (with_points && points.back().X == points[points.size() - 2].X)
        return "Final payment ends with a jump";
    return {};
}

}  // namespace

Autocall::Autocall() = default;
Autocall::~Autocall() = default;

bool Autocall::build() {
    auto const fault = find_fault(*this);
    if (!fault.empty()) return refuse(fault);
    auto contract = make_final_payment(*this);
    for (auto statement = Schedule.rbegin(); statement != Schedule.rend(); ++statement) {
        contract = make_observation(*this, *statement, contract);
    }
    if (BonusCouponWithMemory) contract = Set("BonusCoupon", Cst(0.0f)) & contract;
    return encode(contract);
}

}  // namespace ximAPI
