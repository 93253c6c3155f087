// Ready products: reverse convertibles.
#include "dsl/products/payoffs.hpp"
#include "ximAPI/products/examples.hpp"

namespace ximAPI {

using namespace ximDSL;

namespace {

/// The share that is paid instead of the coupon is the coupon over the strike.
constexpr char const* c_no_strike = "Reverse convertible without strike";

}  // namespace

ReverseConvertibleExample::ReverseConvertibleExample() = default;
ReverseConvertibleExample::~ReverseConvertibleExample() = default;

bool ReverseConvertibleExample::build() {
    if (Strike == 0.0f) return refuse(c_no_strike);
    auto const level = spot(Ticker, MaturityDate);
    return encode(
        If(level > Strike, 0.0f)(Pay(Coupon, MaturityDate, PaymentCurrency),
                                 Pay((Coupon / Strike) * level, MaturityDate, PaymentCurrency)));
}

BarrierReverseConvertibleExample::BarrierReverseConvertibleExample() = default;
BarrierReverseConvertibleExample::~BarrierReverseConvertibleExample() = default;

bool BarrierReverseConvertibleExample::build() {
    if (Strike == 0.0f) return refuse(c_no_strike);
    auto const level = spot(Ticker, MaturityDate);
    return encode(If(level > BarrierLevel, 0.0f)(
        Pay(Coupon, MaturityDate, PaymentCurrency),
        Pay((Coupon / Strike) * level, MaturityDate, PaymentCurrency)));
}

}  // namespace ximAPI
