// Ready products: reverse convertibles.
#include "dsl/products/payoffs.hpp"
#include "ximAPI/products/examples.hpp"

namespace ximAPI {

using namespace ximDSL;

ReverseConvertibleExample::ReverseConvertibleExample() = default;
ReverseConvertibleExample::~ReverseConvertibleExample() = default;

bool ReverseConvertibleExample::build() {
    auto const level = spot(Ticker, MaturityDate);
    return encode(
        If(level > Strike, 0.0f)(Pay(Coupon, MaturityDate, PaymentCurrency),
                                 Pay((Coupon / Strike) * level, MaturityDate, PaymentCurrency)));
}

BarrierReverseConvertibleExample::BarrierReverseConvertibleExample() = default;
BarrierReverseConvertibleExample::~BarrierReverseConvertibleExample() = default;

bool BarrierReverseConvertibleExample::build() {
    auto const level = spot(Ticker, MaturityDate);
    return encode(If(level > BarrierLevel, 0.0f)(
        Pay(Coupon, MaturityDate, PaymentCurrency),
        Pay((Coupon / Strike) * level, MaturityDate, PaymentCurrency)));
}

}  // namespace ximAPI
