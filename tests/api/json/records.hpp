// All records with a JSON form, and what their tables of fields say about them: the laws and the
// reference page walk these.
#pragma once

#include <cxxabi.h>
#include <json/value.h>

#include <cstdint>
#include <cstdlib>
#include <memory>
#include <random>
#include <string>
#include <tuple>
#include <type_traits>
#include <typeinfo>
#include <vector>

#include "api/json/engine.hpp"
#include "api/json/fields_analysis.hpp"
#include "api/json/fields_configuration.hpp"
#include "api/json/fields_products.hpp"
#include "api/json/fields_results.hpp"

namespace ximTest {

template <class... R>
struct RecordList {};

using AllRecords = RecordList<
    // configuration
    ximAPI::Log, ximAPI::DataSource, ximAPI::Data, ximAPI::DateShift, ximAPI::DayCounter,
    ximAPI::Model, ximAPI::Pricer, ximAPI::Contract,
    // product forms
    ximAPI::Console, ximAPI::File, ximAPI::BasketObservable::BasketItem, ximAPI::BasketObservable,
    // prices and greeks
    ximAPI::PricingResult, ximAPI::PriceResult, ximAPI::NameValueResult, ximAPI::TickerValueResult,
    ximAPI::XGreek, ximAPI::PricingResults,
    // ladders and solver
    ximAPI::LadderScenario, ximAPI::LadderPlot, ximAPI::LadderResults, ximAPI::Ladder1DPlot,
    ximAPI::Ladder1DResults, ximAPI::Ladder2DPlot, ximAPI::Ladder2DPlots, ximAPI::Ladder2DResults,
    ximAPI::FeatureToSolve, ximAPI::Target, ximAPI::ImpliedContractFeatureResults,
    // the report on a contract
    ximAPI::PaymentEvent, ximAPI::FixingEvent, ximAPI::SettingEvent, ximAPI::BarrierEvent,
    ximAPI::PurchaseEvent, ximAPI::ChoiceEvent, ximAPI::Event, ximAPI::Underlying, ximAPI::Fixing,
    ximAPI::Correlation, ximAPI::CorrelationMatrix, ximAPI::ContractResults,
    // data
    ximAPI::Observable, ximAPI::Observation, ximAPI::DataResults,
    // analyses
    ximAPI::TickerVolatility, ximAPI::BlackScholesCalibrationResults,
    ximAPI::TermStructureVolatility, ximAPI::TickerTermStructureVolatility,
    ximAPI::BlackScholesTermStructureCalibrationResults, ximAPI::ModelDiffusionSeries,
    ximAPI::ModelDiffusionResults, ximAPI::ModelImpliedVolatilitySlice,
    ximAPI::ModelImpliedVolatilityResults, ximAPI::OptionSpaceValue,
    ximAPI::HestonImpliedVolatilityResults, ximAPI::SpaceResult, ximAPI::ValueResult,
    ximAPI::TestImpliedVolatilityComputationError,
    ximAPI::TestImpliedVolatilityComputationErrorMatrix,
    ximAPI::TestImpliedVolatilityComputationResults, ximAPI::Replication, ximAPI::CallPut,
    ximAPI::ZeroCoupon, ximAPI::PricedZeroCoupon, ximAPI::StaticReplication1DResults,
    ximAPI::Decomposition, ximAPI::ForwardFixing, ximAPI::Convergence, ximAPI::Barrier,
    ximAPI::MCPriceWithDetailsResults,
    // sequence and schedule
    ximAPI::SequenceResults, ximAPI::ScheduleResults>;

template <class... R>
void for_each_of(RecordList<R...>, auto&& visit) {
    (visit.template operator()<R>(), ...);
}
/// Calls `visit.operator()<R>()` for each record R.
void for_each_record(auto&& visit) {
    for_each_of(AllRecords{}, visit);
}

/// The name of a type without the namespace of the library: "Vanilla::Option".
template <class T>
std::string name_of() {
    std::unique_ptr<char, decltype(&std::free)> const text{
        abi::__cxa_demangle(typeid(T).name(), nullptr, nullptr, nullptr), &std::free};
    std::string name{text.get()};
    std::string const prefix{"ximAPI::"};
    return name.rfind(prefix, 0) == 0 ? name.substr(prefix.size()) : name;
}

template <class T>
struct ElementOf {};
template <class T>
struct ElementOf<std::vector<T>> {
    using type = T;
};
template <class T>
concept Vector = requires {
    typename ElementOf<T>::type;
};

// ---- random records
// --------------------------------------------------------------------------------------------------

using Random = std::mt19937_64;

inline std::size_t below(Random& random, std::size_t n) {
    return std::uniform_int_distribution<std::size_t>{0, n - 1}(random);
}

inline void randomise(bool& value, Random& random) {
    value = below(random, 2) == 1;
}
inline void randomise(std::int32_t& value, Random& random) {
    value = std::uniform_int_distribution<std::int32_t>{INT32_MIN, INT32_MAX}(random);
}
inline void randomise(std::int64_t& value, Random& random) {
    value = std::uniform_int_distribution<std::int64_t>{INT64_MIN, INT64_MAX}(random);
}
/// Of any size and sign.
inline void randomise(float& value, Random& random) {
    auto const mantissa = std::uniform_real_distribution<float>{-1.0F, 1.0F}(random);
    value = std::ldexp(mantissa, std::uniform_int_distribution<int>{-100, 100}(random));
}
/// Quotes, newlines, backslashes and letters beyond ASCII included.
inline void randomise(std::string& value, Random& random) {
    static std::vector<std::string> const pieces{"a", "Z",  "0", " ",  "\"", "\\", "\n",
                                                 "/", "\t", "é", "日", "{",  "]"};
    value.clear();
    for (auto count = below(random, 12); count > 0; --count)
        value += pieces[below(random, pieces.size())];
}
/// Only values whose text reads back.
template <ximAPI::Toolkit::Enumeration E>
void randomise(E& value, Random& random) {
    auto const drawn = static_cast<E>(below(random, ximAPI::Toolkit::texts<E>.size()));
    if (ximAPI::Toolkit::from_text<E>(ximAPI::Toolkit::to_text(drawn)) == drawn) value = drawn;
}
template <class T>
void randomise(std::vector<T>& values, Random& random);
template <ximAPI::Toolkit::Record R>
void randomise(R& record, Random& random);

template <class R, class T>
void randomise_field(ximAPI::Toolkit::Field<R, T> const& field, R& record, Random& random) {
    randomise(record.*field.member, random);
}
template <class R, class T>
void randomise_field(ximAPI::Toolkit::Merged<R, T> const& field, R& record, Random& random) {
    randomise(record.*field.member, random);
}
template <class R, class T>
void randomise_field(ximAPI::Toolkit::Single<R, T> const& field, R& record, Random& random) {
    randomise(record.*field.member, random);
}
template <class R>
void randomise_field(ximAPI::Toolkit::WhenTrue<R> const& field, R& record, Random& random) {
    randomise(record.*field.member, random);
}
template <class R, class T>
void randomise_field(ximAPI::Toolkit::WriteOnly<R, T> const&, R&, Random&) {}
template <class R>
void randomise_field(ximAPI::Toolkit::Constant const&, R&, Random&) {}
inline void randomise_field(ximAPI::Toolkit::Chosen<ximAPI::Contract> const&, ximAPI::Contract&,
                            Random&) {}
inline void randomise_field(ximAPI::Toolkit::Chosen<ximAPI::Event> const&, ximAPI::Event& event,
                            Random& random);
inline void randomise_field(ximAPI::Toolkit::Chosen<ximAPI::Observation> const&,
                            ximAPI::Observation& observation, Random& random);

template <class T>
void randomise(std::vector<T>& values, Random& random) {
    values.clear();
    values.resize(below(random, 4));
    for (std::size_t index = 0; index < values.size(); ++index) randomise(values[index], random);
}
template <ximAPI::Toolkit::Record R>
void randomise(R& record, Random& random) {
    std::apply([&](auto const&... field) { (randomise_field(field, record, random), ...); },
               ximAPI::Toolkit::fields<R>);
}

template <class E>
bool randomise_attributes(ximAPI::Event& event, Random& random) {
    auto* attributes = dynamic_cast<E*>(event.Attributes.get());
    if (attributes != nullptr) randomise(*attributes, random);
    return attributes != nullptr;
}
inline void randomise_field(ximAPI::Toolkit::Chosen<ximAPI::Event> const&, ximAPI::Event& event,
                            Random& random) {
    using namespace ximAPI;
    event.Attributes = make_event(event.Type);
    std::ignore = randomise_attributes<PaymentEvent>(event, random) ||
                  randomise_attributes<FixingEvent>(event, random) ||
                  randomise_attributes<SettingEvent>(event, random) ||
                  randomise_attributes<BarrierEvent>(event, random) ||
                  randomise_attributes<PurchaseEvent>(event, random) ||
                  randomise_attributes<ChoiceEvent>(event, random);
}
inline void randomise_field(ximAPI::Toolkit::Chosen<ximAPI::Observation> const&,
                            ximAPI::Observation& observation, Random& random) {
    auto basket = std::make_unique<ximAPI::BasketObservable>();
    randomise(*basket, random);
    observation.Object = std::move(basket);
}

}  // namespace ximTest
