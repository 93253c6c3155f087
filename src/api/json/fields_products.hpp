// The fields of the product forms of a contract and of the observables, one table each.
#pragma once

#include "api/json/engine.hpp"
#include "ximAPI/cashflow.hpp"
#include "ximAPI/observable.hpp"
#include "ximAPI/products/autocall.hpp"
#include "ximAPI/products/examples.hpp"
#include "ximAPI/products/vanilla.hpp"

namespace ximAPI::Toolkit {

// clang-format off
template <> inline constexpr auto fields<Console> = std::tuple{Field{"Script", &Console::script}};
template <> inline constexpr auto fields<File> = std::tuple{Field{"File", &File::file}};

template <> inline constexpr auto fields<BasketObservable::BasketItem> = std::tuple{
    Field{"Ticker", &BasketObservable::BasketItem::Ticker},
    Field{"Weight", &BasketObservable::BasketItem::Weight}};
template <> inline constexpr auto fields<BasketObservable> = std::tuple{
    Field{"Basket", &BasketObservable::Basket},
    Field{"ForwardStartDate", &BasketObservable::ForwardStartDate},
    Field{"StrikeKind", &BasketObservable::StrikeKind},
    Field{"BasketKind", &BasketObservable::BasketKind}};
template <> inline constexpr auto fields<BasketStatement> = std::tuple{
    Field{"Ticker", &BasketStatement::Ticker},
    Field{"Weight", &BasketStatement::Weight}};

template <> inline constexpr auto fields<Autocall::ScheduleStatement> = std::tuple{
    Field{"ObservationDate", &Autocall::ScheduleStatement::ObservationDate},
    Field{"PaymentDate", &Autocall::ScheduleStatement::PaymentDate},
    Field{"PaymentCurrency", &Autocall::ScheduleStatement::PaymentCurrency},
    Field{"Notional", &Autocall::ScheduleStatement::Notional},
    Field{"BarrierKind", &Autocall::ScheduleStatement::BarrierKind},
    Field{"AutocallBarrier", &Autocall::ScheduleStatement::AutocallBarrier},
    Field{"AutocallBarrierSpreadLeft", &Autocall::ScheduleStatement::AutocallBarrierSpreadLeft},
    Field{"AutocallBarrierSpreadRight", &Autocall::ScheduleStatement::AutocallBarrierSpreadRight},
    Field{"PhoenixCoupon", &Autocall::ScheduleStatement::PhoenixCoupon},
    Field{"CouponBarrier", &Autocall::ScheduleStatement::CouponBarrier},
    Field{"BonusCoupon", &Autocall::ScheduleStatement::BonusCoupon},
    Field{"CouponBarrierSpreadLeft", &Autocall::ScheduleStatement::CouponBarrierSpreadLeft},
    Field{"CouponBarrierSpreadRight", &Autocall::ScheduleStatement::CouponBarrierSpreadRight}};
template <> inline constexpr auto fields<Autocall::Point> = std::tuple{
    Field{"X", &Autocall::Point::X},
    Field{"Y", &Autocall::Point::Y}};
template <> inline constexpr auto fields<Autocall> = std::tuple{
    Field{"Schedule", &Autocall::Schedule},
    Field{"Basket", &Autocall::Basket},
    Field{"FinalPayment", &Autocall::FinalPayment},
    Field{"BonusCouponWithMemory", &Autocall::BonusCouponWithMemory},
    Field{"BasketKind", &Autocall::BasketKind},
    Field{"StrikeKind", &Autocall::StrikeKind},
    Field{"ForwardStartDate", &Autocall::ForwardStartDate}};

template <> inline constexpr auto texts<Vanilla::Direction> = std::to_array<std::string_view>({"PAY", "REC"});
template <> inline constexpr auto fields<Vanilla::Option> = std::tuple{
    Field{"Kind", &Vanilla::Option::Kind},
    Field{"QuantityName", &Vanilla::Option::QuantityName},
    Field{"QuantityValue", &Vanilla::Option::QuantityValue},
    Field{"StrikeName", &Vanilla::Option::StrikeName},
    Field{"StrikeValue", &Vanilla::Option::StrikeValue}};
template <> inline constexpr auto fields<Vanilla::Point> = std::tuple{
    Field{"X", &Vanilla::Point::X},
    Field{"Y", &Vanilla::Point::Y}};
template <> inline constexpr auto fields<Vanilla::Payoff> = std::tuple{
    Field{"StrikeDate", &Vanilla::Payoff::StrikeDate},
    Field{"QuantityName", &Vanilla::Payoff::QuantityName},
    Field{"QuantityValue", &Vanilla::Payoff::QuantityValue},
    Field{"Points", &Vanilla::Payoff::Points}};
template <> inline constexpr auto fields<Vanilla::CliquetItem> = std::tuple{
    Field{"CashName", &Vanilla::CliquetItem::CashName},
    Field{"CashValue", &Vanilla::CliquetItem::CashValue},
    Field{"DeltaName", &Vanilla::CliquetItem::DeltaName},
    Field{"DeltaValue", &Vanilla::CliquetItem::DeltaValue},
    Field{"NotionalName", &Vanilla::CliquetItem::NotionalName},
    Field{"NotionalValue", &Vanilla::CliquetItem::NotionalValue},
    Field{"Direction", &Vanilla::CliquetItem::Direction},
    Field{"FixingDate", &Vanilla::CliquetItem::FixingDate},
    Field{"Options", &Vanilla::CliquetItem::Options},
    Field{"PaymentCurrency", &Vanilla::CliquetItem::PaymentCurrency},
    Field{"PaymentDate", &Vanilla::CliquetItem::PaymentDate},
    Field{"Payoffs", &Vanilla::CliquetItem::Payoffs},
    Field{"Ticker", &Vanilla::CliquetItem::Ticker}};
template <> inline constexpr auto fields<Vanilla> = std::tuple{Field{"Cliquet", &Vanilla::Cliquet}};

template <> inline constexpr auto fields<EuropeanOptionExample> = std::tuple{
    Field{"PayoffKind", &EuropeanOptionExample::PayoffKind},
    Field{"Ticker", &EuropeanOptionExample::Ticker},
    Field{"PaymentCurrency", &EuropeanOptionExample::PaymentCurrency},
    Field{"MaturityDate", &EuropeanOptionExample::MaturityDate},
    Field{"Strike", &EuropeanOptionExample::Strike}};
template <> inline constexpr auto fields<DigitalOptionExample> = std::tuple{
    Field{"PayoffKind", &DigitalOptionExample::PayoffKind},
    Field{"Ticker", &DigitalOptionExample::Ticker},
    Field{"PaymentCurrency", &DigitalOptionExample::PaymentCurrency},
    Field{"MaturityDate", &DigitalOptionExample::MaturityDate},
    Field{"Strike", &DigitalOptionExample::Strike}};
template <> inline constexpr auto fields<AmericanOptionExample> = std::tuple{
    Field{"PayoffKind", &AmericanOptionExample::PayoffKind},
    Field{"Ticker", &AmericanOptionExample::Ticker},
    Field{"PaymentCurrency", &AmericanOptionExample::PaymentCurrency},
    Field{"Strike", &AmericanOptionExample::Strike},
    Field{"Schedule", &AmericanOptionExample::Schedule}};
template <> inline constexpr auto fields<AsianOptionExample> = std::tuple{
    Field{"PayoffKind", &AsianOptionExample::PayoffKind},
    Field{"Ticker", &AsianOptionExample::Ticker},
    Field{"PaymentCurrency", &AsianOptionExample::PaymentCurrency},
    Field{"PaymentDate", &AsianOptionExample::PaymentDate},
    Field{"Strike", &AsianOptionExample::Strike},
    Field{"Schedule", &AsianOptionExample::Schedule}};
template <> inline constexpr auto fields<SpreadOptionExample> = std::tuple{
    Field{"PayoffKind", &SpreadOptionExample::PayoffKind},
    Field{"Ticker", &SpreadOptionExample::Ticker},
    Field{"PaymentCurrency", &SpreadOptionExample::PaymentCurrency},
    Field{"MaturityDate", &SpreadOptionExample::MaturityDate},
    Field{"StrikeLeft", &SpreadOptionExample::StrikeLeft},
    Field{"StrikeRight", &SpreadOptionExample::StrikeRight}};
template <> inline constexpr auto fields<ButterflySpreadOptionExample> = std::tuple{
    Field{"PayoffKind", &ButterflySpreadOptionExample::PayoffKind},
    Field{"Ticker", &ButterflySpreadOptionExample::Ticker},
    Field{"PaymentCurrency", &ButterflySpreadOptionExample::PaymentCurrency},
    Field{"MaturityDate", &ButterflySpreadOptionExample::MaturityDate},
    Field{"StrikeLeft", &ButterflySpreadOptionExample::StrikeLeft},
    Field{"StrikeCenter", &ButterflySpreadOptionExample::StrikeCenter},
    Field{"StrikeRight", &ButterflySpreadOptionExample::StrikeRight}};
template <> inline constexpr auto fields<CondorSpreadExample> = std::tuple{
    Field{"PayoffKind", &CondorSpreadExample::PayoffKind},
    Field{"Ticker", &CondorSpreadExample::Ticker},
    Field{"PaymentCurrency", &CondorSpreadExample::PaymentCurrency},
    Field{"MaturityDate", &CondorSpreadExample::MaturityDate},
    Field{"StrikeExtremeLeft", &CondorSpreadExample::StrikeExtremeLeft},
    Field{"StrikeLeft", &CondorSpreadExample::StrikeLeft},
    Field{"StrikeRight", &CondorSpreadExample::StrikeRight},
    Field{"StrikeExtremeRight", &CondorSpreadExample::StrikeExtremeRight}};
template <> inline constexpr auto fields<RiskReversalExample> = std::tuple{
    Field{"PayoffKind", &RiskReversalExample::PayoffKind},
    Field{"Ticker", &RiskReversalExample::Ticker},
    Field{"PaymentCurrency", &RiskReversalExample::PaymentCurrency},
    Field{"MaturityDate", &RiskReversalExample::MaturityDate},
    Field{"PutStrike", &RiskReversalExample::PutStrike},
    Field{"CallStrike", &RiskReversalExample::CallStrike}};
template <> inline constexpr auto fields<StrangleExample> = std::tuple{
    Field{"Ticker", &StrangleExample::Ticker},
    Field{"PaymentCurrency", &StrangleExample::PaymentCurrency},
    Field{"MaturityDate", &StrangleExample::MaturityDate},
    Field{"PutStrike", &StrangleExample::PutStrike},
    Field{"CallStrike", &StrangleExample::CallStrike}};
template <> inline constexpr auto fields<StraddleExample> = std::tuple{
    Field{"Ticker", &StraddleExample::Ticker},
    Field{"PaymentCurrency", &StraddleExample::PaymentCurrency},
    Field{"MaturityDate", &StraddleExample::MaturityDate},
    Field{"Strike", &StraddleExample::Strike}};
template <> inline constexpr auto fields<MultiAssetOptionExample> = std::tuple{
    Field{"PayoffKind", &MultiAssetOptionExample::PayoffKind},
    Field{"Basket", &MultiAssetOptionExample::Basket},
    Field{"BasketKind", &MultiAssetOptionExample::BasketKind},
    Field{"PaymentCurrency", &MultiAssetOptionExample::PaymentCurrency},
    Field{"MaturityDate", &MultiAssetOptionExample::MaturityDate},
    Field{"Strike", &MultiAssetOptionExample::Strike}};
template <> inline constexpr auto fields<BarrierOptionExample> = std::tuple{
    Field{"PayoffKind", &BarrierOptionExample::PayoffKind},
    Field{"BarrierKind", &BarrierOptionExample::BarrierKind},
    Field{"BarrierType", &BarrierOptionExample::BarrierType},
    Field{"Ticker", &BarrierOptionExample::Ticker},
    Field{"PaymentCurrency", &BarrierOptionExample::PaymentCurrency},
    Field{"Strike", &BarrierOptionExample::Strike},
    Field{"BarrierLevel", &BarrierOptionExample::BarrierLevel},
    Field{"Rebate", &BarrierOptionExample::Rebate},
    Field{"Schedule", &BarrierOptionExample::Schedule},
    Field{"MaturityDate", &BarrierOptionExample::MaturityDate}};
template <> inline constexpr auto fields<DoubleBarrierOptionExample> = std::tuple{
    Field{"PayoffKind", &DoubleBarrierOptionExample::PayoffKind},
    Field{"BarrierKind", &DoubleBarrierOptionExample::BarrierKind},
    Field{"Ticker", &DoubleBarrierOptionExample::Ticker},
    Field{"PaymentCurrency", &DoubleBarrierOptionExample::PaymentCurrency},
    Field{"Strike", &DoubleBarrierOptionExample::Strike},
    Field{"LowerBarrierLevel", &DoubleBarrierOptionExample::LowerBarrierLevel},
    Field{"UpperBarrierLevel", &DoubleBarrierOptionExample::UpperBarrierLevel},
    Field{"Rebate", &DoubleBarrierOptionExample::Rebate},
    Field{"Schedule", &DoubleBarrierOptionExample::Schedule},
    Field{"MaturityDate", &DoubleBarrierOptionExample::MaturityDate}};
template <> inline constexpr auto fields<ReverseConvertibleExample> = std::tuple{
    Field{"Ticker", &ReverseConvertibleExample::Ticker},
    Field{"PaymentCurrency", &ReverseConvertibleExample::PaymentCurrency},
    Field{"Strike", &ReverseConvertibleExample::Strike},
    Field{"Coupon", &ReverseConvertibleExample::Coupon},
    Field{"MaturityDate", &ReverseConvertibleExample::MaturityDate}};
template <> inline constexpr auto fields<BarrierReverseConvertibleExample> = std::tuple{
    Field{"Ticker", &BarrierReverseConvertibleExample::Ticker},
    Field{"PaymentCurrency", &BarrierReverseConvertibleExample::PaymentCurrency},
    Field{"Strike", &BarrierReverseConvertibleExample::Strike},
    Field{"Coupon", &BarrierReverseConvertibleExample::Coupon},
    Field{"BarrierLevel", &BarrierReverseConvertibleExample::BarrierLevel},
    Field{"MaturityDate", &BarrierReverseConvertibleExample::MaturityDate}};
// clang-format on

}  // namespace ximAPI::Toolkit
