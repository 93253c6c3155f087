// Ready products: options that come to life or die at a barrier.
#include "dsl/products/payoffs.hpp"
#include "ximAPI/products/examples.hpp"

namespace ximAPI {

using namespace ximDSL;

namespace {

/// What a barrier option pays at an event, and at the end if none came.
struct Branches {
    CashFlowPtr at_event;
    CashFlowPtr at_end;
};

/// One condition per date, the next date standing in the other branch; `End()` without dates.
/// `make_event` gives the event of a date, `make_branches` the payments, anew for each date.
template <class MakeEvent, class MakeBranches>
CashFlowPtr along(std::vector<std::string> const& schedule, MakeEvent const& make_event,
                  MakeBranches const& make_branches) {
    if (schedule.empty()) return End();
    CashFlowPtr rest = make_branches().at_end;
    for (auto date = schedule.rbegin(); date != schedule.rend(); ++date) {
        rest = If(make_event(*date), 0.0f)(make_branches().at_event, rest);
    }
    return rest;
}

/// Both empty for an unknown kind.
Branches place(BarrierKind kind, CashFlowPtr const& vanilla, CashFlowPtr const& rebate) {
    switch (kind) {
        case BarrierKind::KNOCK_IN:
            return {vanilla, rebate};
        case BarrierKind::KNOCK_OUT:
            return {rebate, vanilla};
        default:
            return {};
    }
}

}  // namespace

BarrierOptionExample::BarrierOptionExample() = default;
BarrierOptionExample::~BarrierOptionExample() = default;

bool BarrierOptionExample::build() {
    auto const event = [&](std::string const& date) -> EventPtr {
        auto const barrier = CstRef("BarrierLevel", BarrierLevel);
        switch (BarrierType) {
            case ximAPI::BarrierType::DOWN:
                return spot(Ticker, date) < barrier;
            case ximAPI::BarrierType::UP:
                return spot(Ticker, date) > barrier;
            default:
                return {};
        }
    };
    auto const branches = [&] {
        auto const payoff =
            option(PayoffKind, spot(Ticker, MaturityDate), CstRef("Strike", Strike));
        return place(BarrierKind, Pay(payoff, MaturityDate, PaymentCurrency),
                     Pay(CstRef("Rebate", Rebate), MaturityDate, PaymentCurrency));
    };
    return encode(along(Schedule, event, branches));
}

DoubleBarrierOptionExample::DoubleBarrierOptionExample() = default;
DoubleBarrierOptionExample::~DoubleBarrierOptionExample() = default;

bool DoubleBarrierOptionExample::build() {
    // Relied on: the event is to be inside the corridor.
    auto const event = [&](std::string const& date) {
        auto const level = spot(Ticker, date);
        return level > CstRef("LowerBarrierLevel", LowerBarrierLevel) &&
               level < CstRef("UpperBarrierLevel", UpperBarrierLevel);
    };
    // Relied on: this option has no floor at zero.
    auto const branches = [&] {
        auto const payoff =
            call_put(PayoffKind, spot(Ticker, MaturityDate), CstRef("Strike", Strike));
        return place(BarrierKind, Pay(payoff, MaturityDate, PaymentCurrency),
                     Pay(CstRef("Rebate", Rebate), MaturityDate, PaymentCurrency));
    };
    return encode(along(Schedule, event, branches));
}

}  // namespace ximAPI
