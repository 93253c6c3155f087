// A note that is observed on a schedule: it redeems early when the performance of its basket
// crosses a barrier, pays coupons against a second barrier on the way, and at the end a piecewise
// linear function of the performance.
#pragma once

#include <string>
#include <vector>

#include "ximAPI/cashflow.hpp"
#include "ximAPI/enums.hpp"
#include "ximAPI/export.hpp"
#include "ximAPI/products/basket.hpp"

namespace ximAPI {

/// The performance p of the basket is its level over the level at the forward start date: BASKET
/// adds weight * p of the items, WORST_OF and BEST_OF take the smallest and the largest p.
/// Barriers, coupons and spreads are in percent.
class XIM_EXPORT Autocall final : public ICashFlow {
 public:
    /// One observation. KNOCK_OUT triggers with p at or above a barrier, KNOCK_IN strictly below
    /// it.
    struct ScheduleStatement {
        std::string ObservationDate;
        std::string PaymentDate;
        std::string PaymentCurrency;
        float Notional{};
        ximAPI::BarrierKind BarrierKind{};
        float AutocallBarrier{};
        float AutocallBarrierSpreadLeft{};
        float AutocallBarrierSpreadRight{};
        /// Paid, times the notional, at an early redemption, and nothing else: capital and coupon,
        /// 105 for par and five.
        float PhoenixCoupon{};
        float CouponBarrier{};
        float CouponBarrierSpreadLeft{};
        float CouponBarrierSpreadRight{};
        /// Paid, times the notional, if the note goes on and the coupon barrier is crossed; 0 for
        /// none.
        float BonusCoupon{};
    };

    /// A performance (1 for the level at the start) and the cash amount then paid.
    struct Point {
        float X{};
        float Y{};
    };

    Autocall();
    ~Autocall() override;

    /// False after "Cannot build autocall" (no observation, no item, RAINBOW, an unknown barrier
    /// kind) or "Final payment ends with a jump" (the last two points have the same x).
    [[nodiscard]] bool build() override;

    std::vector<ScheduleStatement> Schedule;
    std::vector<BasketStatement> Basket;
    /// In increasing order of x; two points with the same x make a jump. The outer segments go on
    /// beyond the points. With fewer than two points nothing is paid at the end.
    std::vector<Point> FinalPayment;
    /// Missed bonus coupons add up and are paid with every later one; a payment does not reset
    /// them.
    bool BonusCouponWithMemory{};
    ximAPI::BasketKind BasketKind{};
    /// Carried for the caller; the contract does not depend on it.
    ximAPI::StrikeKind StrikeKind{};
    std::string ForwardStartDate;
};

}  // namespace ximAPI
