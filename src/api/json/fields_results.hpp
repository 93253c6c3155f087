// The fields of the results records: what the routes answer, and what they read as parameters of
// the call. Those of the analyses stand in fields_analysis.hpp.
#pragma once

#include <memory>

#include "api/json/engine.hpp"
#include "api/json/fields_products.hpp"
#include "ximAPI/events.hpp"
#include "ximAPI/results/contract.hpp"
#include "ximAPI/results/data.hpp"
#include "ximAPI/results/ladder.hpp"
#include "ximAPI/results/pricing.hpp"
#include "ximAPI/results/schedule.hpp"
#include "ximAPI/results/sequence.hpp"
#include "ximAPI/results/solver.hpp"

namespace ximAPI::Toolkit {

/// The attributes of an event, an object also when there are none.
inline void write_attributes(Event const& event, Json::Value& json) {
    json = Json::Value{Json::objectValue};
    if (event.Attributes) event.Attributes->serialize(json);
}
inline void read_attributes(Json::Value const& json, Event& event) {
    event.Attributes = make_event(event.Type);
    if (event.Attributes) event.Attributes->deserialize(json);
}

/// The keys of the basket, all of them also when no object is set.
inline void write_observed(Observation const& observation, Json::Value& json) {
    if (auto const* basket = dynamic_cast<BasketObservable const*>(observation.Object.get())) {
        serialize(*basket, json);
    } else {
        serialize(BasketObservable{}, json);
    }
}
/// A basket is the only thing to observe, so that it is read whatever "Kind" says.
inline void read_observed(Json::Value const& json, Observation& observation) {
    auto basket = std::make_unique<BasketObservable>();
    deserialize(json, *basket);
    observation.Object = std::move(basket);
}

// clang-format off

// ---- prices and greeks

template <> inline constexpr auto fields<PricingResult> = std::tuple{
    Field{"Lower", &PricingResult::Lower}, Field{"Upper", &PricingResult::Upper},
    Field{"Mean", &PricingResult::Mean}, Field{"Stddev", &PricingResult::Stddev}};
template <> inline constexpr auto fields<PriceResult> = std::tuple{Field{"Value", &PriceResult::Value}};
template <> inline constexpr auto fields<NameValueResult> = std::tuple{
    Field{"Name", &NameValueResult::Name}, Field{"Value", &NameValueResult::Value}};
template <> inline constexpr auto fields<TickerValueResult> = std::tuple{
    Field{"Ticker", &TickerValueResult::Ticker}, Field{"Value", &TickerValueResult::Value}};
template <> inline constexpr auto fields<XGreek> = std::tuple{
    Field{"FirstTicker", &XGreek::FirstTicker}, Field{"SecondTicker", &XGreek::SecondTicker},
    Field{"Value", &XGreek::Value}};
template <> inline constexpr auto fields<PricingResults> = std::tuple{
    Field{"All", &PricingResults::All}, Single{"Price", &PricingResults::Price},
    Field{"Delta", &PricingResults::Delta}, Field{"Gamma", &PricingResults::Gamma},
    Field{"Vega", &PricingResults::Vega}, Field{"Volga", &PricingResults::Volga},
    Field{"Vanna", &PricingResults::Vanna}, Field{"XGamma", &PricingResults::XGamma},
    Field{"XVolga", &PricingResults::XVolga}, Field{"XVanna", &PricingResults::XVanna},
    Field{"Cega", &PricingResults::Cega}};

// ---- ladders

template <> inline constexpr auto fields<LadderScenario> = std::tuple{
    Field{"BumpKind", &LadderScenario::BumpKind}, Field{"BumpUnit", &LadderScenario::BumpUnit},
    Field{"BumpValue", &LadderScenario::BumpValue}, Field{"Name", &LadderScenario::Name}};
template <> inline constexpr auto fields<LadderPlot> = std::tuple{
    Field{"Results", &LadderPlot::Results}, Field{"Scenarios", &LadderPlot::Scenarios}};
template <> inline constexpr auto fields<LadderResults> = std::tuple{
    Field{"LadderKind", &LadderResults::LadderKind}, Field{"Plots", &LadderResults::Plots},
    Field{"OutputNames", &LadderResults::OutputNames},
    Field{"CentralResult", &LadderResults::CentralResult}};
template <> inline constexpr auto fields<Ladder1DPlot> = std::tuple{
    Field{"BumpValue", &Ladder1DPlot::BumpValue}, Field{"Results", &Ladder1DPlot::Results}};
template <> inline constexpr auto fields<Ladder1DResults> = std::tuple{
    Field{"Name", &Ladder1DResults::Name}, Field{"LadderKind", &Ladder1DResults::LadderKind},
    Field{"BumpKind", &Ladder1DResults::BumpKind}, Field{"BumpUnit", &Ladder1DResults::BumpUnit},
    Constant{"ResultKind", "ABSOLUTE"},
    Field{"Plots", &Ladder1DResults::Plots},
    Field{"CentralResult", &Ladder1DResults::CentralResult},
    Field{"OutputNames", &Ladder1DResults::OutputNames}};
template <> inline constexpr auto fields<Ladder2DPlot> = std::tuple{Field{"Results", &Ladder2DPlot::Results}};
template <> inline constexpr auto fields<Ladder2DPlots> = std::tuple{
    Field{"Rows", &Ladder2DPlots::Rows}, Field{"Cols", &Ladder2DPlots::Cols},
    Field{"Data", &Ladder2DPlots::Data}};
template <> inline constexpr auto fields<Ladder2DResults> = std::tuple{
    Field{"LadderKind", &Ladder2DResults::LadderKind},
    Field{"FirstName", &Ladder2DResults::FirstName},
    Field{"FirstBumpKind", &Ladder2DResults::FirstBumpKind},
    Field{"FirstBumpUnit", &Ladder2DResults::FirstBumpUnit},
    Field{"FirstBumpValues", &Ladder2DResults::FirstBumpValues},
    Field{"SecondName", &Ladder2DResults::SecondName},
    Field{"SecondBumpKind", &Ladder2DResults::SecondBumpKind},
    Field{"SecondBumpUnit", &Ladder2DResults::SecondBumpUnit},
    Field{"SecondBumpValues", &Ladder2DResults::SecondBumpValues},
    Field{"Plots", &Ladder2DResults::Plots},
    Field{"OutputNames", &Ladder2DResults::OutputNames},
    Field{"CentralResult", &Ladder2DResults::CentralResult}};

// ---- solver

template <> inline constexpr auto fields<FeatureToSolve> = std::tuple{
    Field{"Name", &FeatureToSolve::Name}, Field{"Min", &FeatureToSolve::Min},
    Field{"Max", &FeatureToSolve::Max}, Field{"Precision", &FeatureToSolve::Precision},
    Field{"HasRoot", &FeatureToSolve::HasRoot}, Field{"Root", &FeatureToSolve::Root},
    Field{"HasLower", &FeatureToSolve::HasLower}, Field{"Lower", &FeatureToSolve::Lower},
    Field{"HasUpper", &FeatureToSolve::HasUpper}, Field{"Upper", &FeatureToSolve::Upper}};
template <> inline constexpr auto fields<Target> = std::tuple{
    Field{"HasLower", &Target::HasLower}, Field{"HasUpper", &Target::HasUpper},
    Field{"Lower", &Target::Lower}, Field{"Price", &Target::Price}, Field{"Upper", &Target::Upper}};
template <> inline constexpr auto fields<ImpliedContractFeatureResults> = std::tuple{
    Field{"FeaturesToSolve", &ImpliedContractFeatureResults::FeaturesToSolve},
    Merged{&ImpliedContractFeatureResults::Target}};

// ---- the report on a contract

template <> inline constexpr auto fields<PaymentEvent> = std::tuple{
    Field{"Currency", &PaymentEvent::Currency}, Field{"Script", &PaymentEvent::Script},
    Field{"HasValue", &PaymentEvent::HasValue}, Field{"Value", &PaymentEvent::Value}};
template <> inline constexpr auto fields<FixingEvent> = std::tuple{
    Field{"Ticker", &FixingEvent::Ticker}, Field{"HasValue", &FixingEvent::HasValue},
    Field{"Value", &FixingEvent::Value}};
template <> inline constexpr auto fields<SettingEvent> = std::tuple{
    Field{"Name", &SettingEvent::Name}, Field{"Script", &SettingEvent::Script},
    Field{"HasValue", &SettingEvent::HasValue}, Field{"Value", &SettingEvent::Value}};
template <> inline constexpr auto fields<BarrierEvent> = std::tuple{
    Field{"WithSpread", &BarrierEvent::WithSpread}, Field{"SpreadLeft", &BarrierEvent::SpreadLeft},
    Field{"SpreadRight", &BarrierEvent::SpreadRight}, Field{"Script", &BarrierEvent::Script},
    Field{"StartLeft", &BarrierEvent::StartLeft}, Field{"StartRight", &BarrierEvent::StartRight},
    Field{"EndLeft", &BarrierEvent::EndLeft}, Field{"EndRight", &BarrierEvent::EndRight},
    Field{"HasValue", &BarrierEvent::HasValue}, Field{"Value", &BarrierEvent::Value}};
template <> inline constexpr auto fields<PurchaseEvent> = std::tuple{
    Field{"Quantity", &PurchaseEvent::Quantity}, Field{"Start", &PurchaseEvent::Start},
    Field{"End", &PurchaseEvent::End}};
template <> inline constexpr auto fields<ChoiceEvent> = std::tuple{
    Field{"ChoiceOwnership", &ChoiceEvent::ChoiceOwnership}, Field{"Starts", &ChoiceEvent::Starts},
    Field{"Ends", &ChoiceEvent::Ends}, Field{"HasValue", &ChoiceEvent::HasValue},
    Field{"Value", &ChoiceEvent::Value}};
template <> inline constexpr auto fields<Event> = std::tuple{
    Field{"Type", &Event::Type}, Field{"Date", &Event::Date},
    Chosen<Event>{"Attributes", &write_attributes, &read_attributes}};

template <> inline constexpr auto fields<Underlying> = std::tuple{
    Field{"Ticker", &Underlying::Ticker}, Field{"CompleteName", &Underlying::CompleteName},
    Field{"QuoteCurrency", &Underlying::QuoteCurrency}, Field{"LastQuote", &Underlying::LastQuote},
    Field{"HasLastQuote", &Underlying::HasLastQuote}, Field{"IsQuanto", &Underlying::IsQuanto},
    Field{"IsInBasket", &Underlying::IsInBasket}, Field{"AssetClass", &Underlying::AssetClass},
    Field{"AssetKind", &Underlying::AssetKind}};
template <> inline constexpr auto fields<Fixing> = std::tuple{
    Field{"Date", &Fixing::Date}, Field{"QuoteCurrency", &Fixing::QuoteCurrency},
    Field{"Ticker", &Fixing::Ticker}, Field{"Quote", &Fixing::Quote},
    Field{"HasQuote", &Fixing::HasQuote}, Field{"Edit", &Fixing::Edit},
    Field{"IsPast", &Fixing::IsPast}};
template <> inline constexpr auto fields<Correlation> = std::tuple{
    Field{"Value", &Correlation::Value}, Field{"HasValue", &Correlation::HasValue}};
template <> inline constexpr auto fields<CorrelationMatrix> = std::tuple{
    Field{"Rows", &CorrelationMatrix::Rows}, Field{"Cols", &CorrelationMatrix::Cols},
    Field{"Data", &CorrelationMatrix::Data}};
template <> inline constexpr auto fields<ContractResults> = std::tuple{
    Field{"Script", &ContractResults::Script}, Field{"Underlyings", &ContractResults::Underlyings},
    Field{"Fixings", &ContractResults::Fixings},
    Field{"CorrelationMatrix", &ContractResults::CorrelationMatrix},
    // Relied on: the events of a contract are written and never read
    WriteOnly{"Events", &ContractResults::Events}};

// ---- data

template <> inline constexpr auto fields<Observable> = std::tuple{
    Field{"Date", &Observable::Date}, Field{"Epoch", &Observable::Epoch},
    Field{"Value", &Observable::Value}, Field{"Status", &Observable::Status}};
template <> inline constexpr auto fields<Observation> = std::tuple{
    Field{"TimeSeries", &Observation::TimeSeries}, Field{"Kind", &Observation::Kind},
    Chosen<Observation>{"", &write_observed, &read_observed}};
template <> inline constexpr auto fields<DataResults> = std::tuple{
    Field{"Observations", &DataResults::Observations}, Field{"Schedule", &DataResults::Schedule}};

// ---- sequence and schedule

template <> inline constexpr auto fields<SequenceResults> = std::tuple{
    Field{"Kind", &SequenceResults::Kind}, Field{"LowerValue", &SequenceResults::LowerValue},
    Field{"Size", &SequenceResults::Size}, Field{"UpperValue", &SequenceResults::UpperValue},
    Field{"Values", &SequenceResults::Values}};
template <> inline constexpr auto fields<ScheduleResults> = std::tuple{
    Field{"Calendar", &ScheduleResults::Calendar}, Field{"Dates", &ScheduleResults::Dates},
    Field{"DateShift", &ScheduleResults::DateShift}, Field{"EndDate", &ScheduleResults::EndDate},
    Field{"StartDate", &ScheduleResults::StartDate}};
// clang-format on

}  // namespace ximAPI::Toolkit
